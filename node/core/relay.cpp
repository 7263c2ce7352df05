#include "node/core/relay.h"

#include <cstddef>
#include <utility>

#include "node/core/address.h"
#include "node/core/message.h"
#include "node/core/routers.h"

namespace mcore {

namespace {

constexpr std::size_t kMostBytes = 1500;  // that Ethernet carries

Bytes packet_anew(const Packet& packet, std::span<const std::uint8_t> ip) {
    const Family family = packet.place.family;
    const bool is_igmp = family == Family::kIpv4;
    const Address destination = load_address(family, &ip[is_igmp ? 16 : 24]);
    Bytes message(packet.message.begin(), packet.message.end());
    if (is_igmp) return ipv4_packet(to_ipv4(packet.source), to_ipv4(destination), message);
    return ipv6_packet(packet.source, destination, std::move(message));
}

}  // namespace

void relay_to_routers(const Packet& packet, std::span<const std::uint8_t> ip) {
    if (core().user_routers.empty()) return;
    const Family family = packet.place.family;
    const Sent kind = family == Family::kIpv4 ? Sent::kIgmpRelayed : Sent::kMldRelayed;
    for (std::uint32_t port = 0; port < kUserPorts; ++port) {
        const Place segment{family, port, packet.place.vlan};
        if (port == packet.place.port || !is_router_port(segment)) continue;
        Bytes relayed = packet_anew(packet, ip);
        if (relayed.size() <= kMostBytes) send_packet(segment, kind, 0, std::move(relayed));
    }
}

}  // namespace mcore
