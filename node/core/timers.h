// The core's timers, on its own clock. They are kept in the order in which they fall due; those due
// at the same time run in the order in which they were started.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace mcore {

constexpr std::uint64_t kSecond = 1'000'000;  // of the clock

class Timers {
 public:
    // When it is due, and a number that no other timer has.
    using Id = std::pair<std::uint64_t, std::uint64_t>;

    struct Timer {
        const char* what;                    // for the display
        std::function<std::string()> about;  // likewise
        std::function<void()> run;
    };

    Id start(std::uint64_t due_us, Timer timer);
    // Forgets a timer. One that has run is not there any more, which is no error.
    void stop(std::optional<Id>& id);

    [[nodiscard]] std::optional<std::uint64_t> next() const;
    // The earliest timer, which is then gone; there must be one.
    [[nodiscard]] Timer take_next();

    [[nodiscard]] const std::map<Id, Timer>& all() const { return timers_; }

 private:
    std::map<Id, Timer> timers_;
    std::uint64_t last_number_ = 0;
};

}  // namespace mcore
