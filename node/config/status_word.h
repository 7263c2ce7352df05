// A setting that only the status segment holds.
#pragma once

#include <cstdint>

namespace config {

inline constexpr std::uint32_t kFastLeaveOn = 2;

// What the last fast-leave command for all user ports has left there, 1 for off; 0 before the first
// one, and without a segment.
[[nodiscard]] std::uint32_t fast_leave_word();

}  // namespace config
