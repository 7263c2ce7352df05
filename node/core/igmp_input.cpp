// IGMP packets as they come in.
//
//   IPv4 header, 20 bytes or more          message
//   0  version 4, header length in words   0  type
//   2  total length                        1  response time of a query
//   6  fragment flags and offset           2  checksum of the message
//   8  TTL 1, protocol 2                   4  group, in queries and in versions 1 and 2
//  10  checksum of the header              6  number of records, in reports of version 3
//  12  source                              8  records
//
// A message with another TTL than 1 is none (RFC 3376, 4): it comes from beyond the link, or from
// nobody that speaks IGMP. That it has come without the router alert option says less. To ignore it
// then is a defence that RFC 3376, 9.2, leaves open, at the price of hosts that leave the option
// out, and a frame that comes from a port of the switch has not passed a router. A source of
// 0.0.0.0 is one like any other (RFC 3376, 4.2.13); whether others are of the subnet cannot be
// known here.
//
// The version set is the one that the core speaks. All versions are understood whatever it is: an
// older one is a compatibility mode of a router (RFC 3376, 7.3.1), and a host that speaks a newer
// one changes to that of the queries by and by. Only leaves are ignored by a router of version 1,
// as the same clause demands.
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
#include "node/core/upstream.h"

namespace mcore {
namespace {

constexpr std::size_t kShortestIpHeader = 20;
constexpr std::size_t kShortestMessage = 8;
constexpr std::size_t kTerminationLength = 4;  // of a router, the shortest of all (RFC 4286)
constexpr std::uint8_t kProtocolIgmp = 2;
constexpr std::uint16_t kFragmentMask = 0x3FFF;  // more fragments, and the offset

// Finds the message in the IP packet; says what is wrong with them otherwise.
std::optional<Drop> open_packet(std::span<const std::uint8_t> ip, Packet& packet) {
    if (ip.size() < kShortestIpHeader || ip.size() > kLongestPacket) return Drop::kBadLength;
    if (ip[0] >> 4 != 4 || ip[9] != kProtocolIgmp) return Drop::kNotIp;
    const std::size_t header = (ip[0] & 0x0FU) * std::size_t{4};
    if (header < kShortestIpHeader || header + kTerminationLength > ip.size()) {
        return Drop::kBadLength;
    }
    if (internet_checksum(ip.first(header)) != 0) return Drop::kIpChecksum;
    if ((mc::load_be16(&ip[6]) & kFragmentMask) != 0) return Drop::kFragment;
    if (ip[8] != 1) return Drop::kHopLimit;
    packet.source = load_address(Family::kIpv4, &ip[12]);
    packet.message = ip.subspan(header);
    if (internet_checksum(packet.message) != 0) return Drop::kChecksum;
    return std::nullopt;
}

std::optional<Received> kind_of(std::uint8_t type) {
    switch (static_cast<IgmpType>(type)) {
        case IgmpType::kQuery:
            return Received::kIgmpQuery;
        case IgmpType::kV1Report:
            return Received::kIgmpV1Report;
        case IgmpType::kV2Report:
            return Received::kIgmpV2Report;
        case IgmpType::kLeave:
            return Received::kIgmpLeave;
        case IgmpType::kV3Report:
            return Received::kIgmpV3Report;
    }
    return std::nullopt;
}

std::uint8_t version_of(Received report) {
    switch (report) {
        case Received::kIgmpV1Report:
            return 1;
        case Received::kIgmpV3Report:
            return 3;
        default:
            return 2;
    }
}

std::optional<Drop> take_report_or_leave(const Packet& packet, Received kind) {
    if (const auto drop = refuse_place(packet)) return drop;
    const std::uint8_t version = version_of(kind);
    const Settings& settings = core().settings;
    const bool is_version1_router = settings.mode == Mode::kProxy && settings.version == 1;
    if (kind == Received::kIgmpLeave && is_version1_router) return Drop::kLeaveInVersion1;
    if (kind == Received::kIgmpV3Report) return take_report(packet, version);
    const auto type =
        kind == Received::kIgmpLeave ? RecordType::kToInclude : RecordType::kIsExclude;
    take_older_message(packet, version, type, load_address(Family::kIpv4, &packet.message[4]));
    return std::nullopt;
}

std::optional<Drop> take_packet(std::span<const std::uint8_t> ip, Packet& packet) {
    if (find_declared_port(packet.place.port) == nullptr) return Drop::kUnknownPort;
    packet.place.port = find_port(packet.place.port)->number;
    if (const auto drop = open_packet(ip, packet)) return drop;
    const std::optional<Received> kind = kind_of(packet.message[0]);
    const auto discovery = discovery_of(Family::kIpv4, packet.message[0]);
    if (!kind && !discovery) return Drop::kUnknownType;
    if (kind && packet.message.size() < kShortestMessage) return Drop::kBadLength;
    note_message(packet, kind.value_or(Received::kIgmpDiscovery));
    if (discovery) return take_discovery(packet, *discovery);
    if (*kind == Received::kIgmpQuery) return take_query(packet);
    const auto drop = take_report_or_leave(packet, *kind);
    if (!drop) relay_to_routers(packet, ip);
    return drop;
}

}  // namespace
}  // namespace mcore

// 0 when the message was understood and was for the core, 1 when it was dropped as a whole.
int32_t igmp_pkt_recv(uint8_t* ip_packet, uint16_t ip_total_length, uint32_t port,
                      uint32_t group_vlan, void* /*record*/) {
    if (ip_packet == nullptr) return 1;
    const mcore::Handing handing;
    const mcore::Lock lock;
    mcore::Packet packet = mcore::packet_from(mcore::Family::kIpv4, port, group_vlan);
    const auto drop = mcore::take_packet({ip_packet, ip_total_length}, packet);
    if (drop) mcore::note_dropped(packet, *drop);
    return drop ? 1 : 0;
}
