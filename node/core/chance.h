// Random delays of the host side, so that not all hosts of a network answer at once. The numbers
// follow from the seed alone: replays and tests, which never set it, come out the same each time.
#pragma once

#include <cstdint>

namespace mcore {

constexpr std::uint64_t kFixedSeed = 1;

// From 1 to most_us; 0 if that is 0, for there is no time to spread over.
[[nodiscard]] std::uint64_t random_delay(std::uint64_t most_us);

}  // namespace mcore
