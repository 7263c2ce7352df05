#include "node/core/relay.h"

#include "node/core/message.h"
#include "node/core/routers.h"

namespace devcore {

void relay_to_routers(const Packet& packet, std::span<const std::uint8_t> ip) {
    if (core().user_routers.empty()) return;
    const Family family = packet.place.family;
    const Sent kind = family == Family::kIpv4 ? Sent::kIgmpRelayed : Sent::kMldRelayed;
    for (std::uint32_t port = 0; port < kUserPorts; ++port) {
        const Place segment{family, port, packet.place.vlan};
        if (port == packet.place.port || !is_router_port(segment)) continue;
        send_packet(segment, kind, 0, {ip.begin(), ip.end()});
    }
}

}  // namespace devcore
