// The check that operations on one port make of its number.
#pragma once

#include <cstdint>

namespace mc {

// Logical port of a port number below 30 that is in portState. Otherwise says why it is refused,
// under the error category, and returns kNoPort.
[[nodiscard]] int accept_port(std::uint8_t port);

// The same without the range check, for operations that make a narrower one of their own.
[[nodiscard]] int accept_known_port(std::uint8_t port);

}  // namespace mc
