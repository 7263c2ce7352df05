// What routers say: queries of both families, and Multicast Router Discovery
// (RFC 4286), whose messages are IGMP and ICMPv6 messages too.
#pragma once

#include <cstdint>
#include <optional>

#include "node/core/input.h"

namespace devcore {

// The host side answers those of the network; the others are of routers behind user ports.
[[nodiscard]] std::optional<Drop> take_router_query(const Packet& packet, const RouterQuery& query);

enum class Discovery : std::uint8_t { kAdvertisement, kSolicitation, kTermination };

// Nothing for a type of another kind of message.
[[nodiscard]] std::optional<Discovery> discovery_of(Family family, std::uint8_t type);
[[nodiscard]] std::optional<Drop> take_discovery(const Packet& packet, Discovery kind);

}  // namespace devcore
