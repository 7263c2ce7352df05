// The ports of the node as the library numbers them: user ports 0 to 5 and the uplink, port number
// 29. Tables of the drivers hold one slot a port, in that order, the uplink last.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace driver {

inline constexpr std::size_t kUserPorts = 6;
inline constexpr std::size_t kSlots = kUserPorts + 1;
inline constexpr std::size_t kUplinkSlot = kUserPorts;
inline constexpr std::uint8_t kUplinkPort = 29;

template <class T>
using PerPort = std::array<T, kSlots>;

// The slot of a port number; nothing for a number that the switch does not have.
constexpr std::optional<std::size_t> slot_of_port(std::int64_t port) {
    if (port == kUplinkPort) return kUplinkSlot;
    if (port < 0 || port >= static_cast<std::int64_t>(kUserPorts)) return std::nullopt;
    return static_cast<std::size_t>(port);
}

constexpr std::uint8_t port_of_slot(std::size_t slot) {
    return slot == kUplinkSlot ? kUplinkPort : static_cast<std::uint8_t>(slot);
}

// "port0" to "port5" and "uplink": what a port is called in summaries and in file names.
inline std::string name_of_slot(std::size_t slot) {
    return slot == kUplinkSlot ? "uplink" : "port" + std::to_string(slot);
}

}  // namespace driver
