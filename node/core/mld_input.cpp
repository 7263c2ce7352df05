// MLD packets as they come in.
//
//   IPv6 header, 40 bytes      hop-by-hop header, if any    message (ICMPv6)
//   0  version 6               0  next header 58            0  type
//   6  next header, 0 or 58    1  length in 8 bytes, -1     2  checksum, with pseudo-header
//   7  hop limit 1                                          6  number of records, MLDv2 report
//   8  source                                               8  group, or records
//  24  destination
//
// Only messages from link-local addresses, with the router alert option and a hop limit of 1, are
// taken (RFC 2710, 3; RFC 3810, 5 and 6.2). A host whose address is not ready yet reports from ::,
// which a router ignores (RFC 3590, 4; RFC 3810, 5.2.13). A switch may learn from it, but has
// nothing to learn: such a host reports groups of link-local scope, which are flooded, and all its
// groups again as soon as it has its address.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "common/bytes.h"
#include "node/core/address.h"
#include "node/core/handed.h"
#include "node/core/input.h"
#include "node/core/message.h"
#include "node/core/relay.h"
#include "node/core/router_discovery.h"
#include "node/core/router_query.h"

namespace mcore {
namespace {

constexpr std::size_t kIpv6Header = 40;
constexpr std::size_t kSourceAt = 8;
constexpr std::size_t kDestinationAt = 24;
constexpr std::size_t kGroupAt = 8;
constexpr std::size_t kShortestMessage = 8;    // a report without records
constexpr std::size_t kOlderMessage = 24;      // one group
constexpr std::size_t kTerminationLength = 4;  // of a router, the shortest of all (RFC 4286)
constexpr std::uint8_t kNextHopByHop = 0;
constexpr std::uint8_t kNextIcmpv6 = 58;

// Whether the options of a hop-by-hop header hold a router alert for MLD (RFC 2711, 2.1).
bool has_router_alert(std::span<const std::uint8_t> options) {
    constexpr std::uint8_t kPad1 = 0;
    constexpr std::uint8_t kRouterAlert = 5;
    constexpr std::uint8_t kAlertLength = 2;
    while (options.size() > 1) {
        if (options[0] == kPad1) {
            options = options.subspan(1);
            continue;
        }
        const std::size_t length = 2 + std::size_t{options[1]};
        if (length > options.size()) return false;
        if (options[0] == kRouterAlert) {
            return options[1] == kAlertLength && mc::load_be16(&options[2]) == 0;
        }
        options = options.subspan(length);
    }
    return false;
}

// Where the ICMPv6 message begins; nothing when there is none within the packet.
std::optional<std::size_t> message_offset(std::span<const std::uint8_t> ip) {
    std::uint8_t next = ip[6];
    std::size_t at = kIpv6Header;
    if (next == kNextHopByHop && at + 2 <= ip.size()) {
        next = ip[at];
        at += (ip[at + 1] + std::size_t{1}) * 8;
    }
    if (next != kNextIcmpv6 || at + kTerminationLength > ip.size()) return std::nullopt;
    return at;
}

std::optional<Drop> open_packet(std::span<const std::uint8_t> ip, Packet& packet) {
    if (ip.size() < kIpv6Header || ip.size() > kLongestPacket) return Drop::kBadLength;
    if (ip[0] >> 4 != 6) return Drop::kNotIp;
    const auto offset = message_offset(ip);
    if (!offset) return Drop::kNotIp;
    packet.source = load_address(Family::kIpv6, &ip[kSourceAt]);
    packet.message = ip.subspan(*offset);
    if (icmpv6_checksum(&ip[kSourceAt], &ip[kDestinationAt], packet.message) != 0) {
        return Drop::kChecksum;
    }
    return std::nullopt;
}

// Why a message that has come unharmed is not to be believed.
std::optional<Drop> disbelieve(std::span<const std::uint8_t> ip, const Packet& packet) {
    if (ip[7] != 1) return Drop::kHopLimit;
    const std::span options = ip.first(ip.size() - packet.message.size()).subspan(kIpv6Header);
    if (options.size() < 2 || !has_router_alert(options.subspan(2))) return Drop::kNoRouterAlert;
    if (packet.source == Address{}) return Drop::kUnspecifiedSource;
    if (!is_link_local_host(packet.source)) return Drop::kSource;
    return std::nullopt;
}

std::optional<Received> kind_of(std::uint8_t type) {
    switch (type) {
        case 130:
            return Received::kMldQuery;
        case 131:
            return Received::kMldV1Report;
        case 132:
            return Received::kMldDone;
        case 143:
            return Received::kMldV2Report;
        default:
            return std::nullopt;
    }
}

std::optional<Drop> take_report_or_done(const Packet& packet, Received kind) {
    if (const auto drop = refuse_place(packet)) return drop;
    if (kind == Received::kMldV2Report) return take_report(packet, 2);
    if (packet.message.size() < kOlderMessage) return Drop::kTruncated;
    const auto type = kind == Received::kMldDone ? RecordType::kToInclude : RecordType::kIsExclude;
    take_older_message(packet, 1, type, load_address(Family::kIpv6, &packet.message[kGroupAt]));
    return std::nullopt;
}

std::optional<Drop> take_packet(std::span<const std::uint8_t> ip, Packet& packet) {
    const Port* const port = find_port(packet.place.port);
    if (port == nullptr || !port->mld_declared) return Drop::kUnknownPort;
    packet.place.port = port->number;
    if (const auto drop = open_packet(ip, packet)) return drop;
    const std::optional<Received> kind = kind_of(packet.message[0]);
    const auto discovery = discovery_of(Family::kIpv6, packet.message[0]);
    if (!kind && !discovery) return Drop::kUnknownType;
    if (kind && packet.message.size() < kShortestMessage) return Drop::kTruncated;
    if (const auto drop = disbelieve(ip, packet)) return drop;
    note_message(packet, kind.value_or(Received::kMldDiscovery));
    if (discovery) return take_discovery(packet, *discovery);
    if (*kind == Received::kMldQuery) return take_query(packet);
    const auto drop = take_report_or_done(packet, *kind);
    if (!drop) relay_to_routers(packet, ip);
    return drop;
}

}  // namespace
}  // namespace mcore

// 0 when the message was understood and was for the core, 1 when it was dropped as a whole.
int32_t mld_pkt_recv(uint8_t* ip_packet, uint32_t length, uint32_t port, uint32_t group_vlan,
                     MldReceiveRecord* /*record*/) {
    if (ip_packet == nullptr) return 1;
    const mcore::Handing handing;
    const mcore::Lock lock;
    mcore::Packet packet = mcore::packet_from(mcore::Family::kIpv6, port, group_vlan);
    const auto drop = mcore::take_packet({ip_packet, length}, packet);
    if (drop) mcore::note_dropped(packet, *drop);
    return drop ? 1 : 0;
}
