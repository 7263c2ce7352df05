// Multicast Router Discovery (RFC 4286): what routers behind user ports say of themselves, in
// messages that are IGMP and ICMPv6 messages too.
#pragma once

#include <cstdint>
#include <optional>

#include "node/core/input.h"

namespace mcore {

enum class Discovery : std::uint8_t { kAdvertisement, kSolicitation, kTermination };

// Nothing for a type of another kind of message.
[[nodiscard]] std::optional<Discovery> discovery_of(Family family, std::uint8_t type);
[[nodiscard]] std::optional<Drop> take_discovery(const Packet& packet, Discovery kind);

}  // namespace mcore
