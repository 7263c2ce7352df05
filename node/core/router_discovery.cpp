#include "node/core/router_discovery.h"

#include <cstddef>

#include "node/core/routers.h"

namespace mcore {
std::optional<Discovery> discovery_of(Family family, std::uint8_t type) {
    const int first = family == Family::kIpv4 ? 0x30 : 151;
    const int kind = type - first;
    if (kind < 0 || kind > static_cast<int>(Discovery::kTermination)) return std::nullopt;
    return static_cast<Discovery>(kind);
}

// What the uplink's routers say is the library's to forward; nobody asks for routers here.
std::optional<Drop> take_discovery(const Packet& packet, Discovery kind) {
    constexpr std::size_t kAdvertisementLength = 8;
    const Place& place = packet.place;
    if (kind == Discovery::kSolicitation || find_port(place.port)->is_uplink) return std::nullopt;
    if (!is_served_vlan(packet)) return Drop::kUnknownVlan;
    if (kind == Discovery::kTermination) {
        hear_termination(place, packet.source);
        return std::nullopt;
    }
    if (packet.message.size() < kAdvertisementLength) return Drop::kTruncated;
    return hear_advertisement(place, packet.source, packet.message[1]);
}

}  // namespace mcore
