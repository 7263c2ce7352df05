// What can come again and again, and is said less and less: the first time, the second, the fourth,
// the eighth and so on.
#pragma once

#include <bit>
#include <cstdint>

namespace report {

class Recurring {
 public:
    // Counts one more; whether this one is to be said.
    [[nodiscard]] bool is_due() { return std::has_single_bit(++times_); }

    [[nodiscard]] std::uint64_t times() const { return times_; }

 private:
    std::uint64_t times_ = 0;
};

}  // namespace report
