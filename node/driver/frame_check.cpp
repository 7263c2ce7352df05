#include "node/driver/frame_check.h"

#include <numeric>

#include "common/bytes.h"
#include "node/core/checksum.h"
#include "node/core/group_records.h"
#include "node/driver/trap_filter.h"

namespace driver {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kIpv4Header = 20;
constexpr std::size_t kIpv6Header = 40;
constexpr std::uint8_t kNextHopByHop = 0;

// What a message needs, by family.
struct Family {
    std::size_t address;  // bytes
    std::size_t older;    // a message of an older version, or a query
    std::size_t query;    // a query that names sources
    std::uint8_t query_type;
    std::uint8_t newest_report;
    std::array<std::uint8_t, 3> older_types;  // reports and leaves
};
constexpr Family kIgmp{4, 8, 12, 0x11, 0x22, {0x12, 0x16, 0x17}};
constexpr Family kMld{16, 24, 28, 130, 143, {131, 132, 132}};

bool is_older(const Family& family, std::uint8_t type) {
    const auto& types = family.older_types;
    return type == types[0] || type == types[1] || type == types[2];
}

// Whether all is there that the message speaks of. One of an unknown type speaks of nothing known.
bool is_whole(const Family& family, Bytes message) {
    const std::uint8_t type = message[0];
    if (type == family.newest_report) {
        return message.size() >= mcore::kReportHeader &&
               mcore::walk_records(family.address, message, [](auto) {});
    }
    if (is_older(family, type)) return message.size() >= family.older;
    if (type != family.query_type) return true;
    if (message.size() <= family.older) return message.size() == family.older;
    if (message.size() < family.query) return false;
    const std::size_t sources = mc::load_be16(&message[family.query - 2]);
    return message.size() >= family.query + sources * family.address;
}

std::optional<Refusal> refuse_message(const Family& family, Bytes message, bool from_uplink) {
    if (!is_whole(family, message)) return Refusal::kTruncated;
    const bool is_report = message[0] == family.newest_report || is_older(family, message[0]);
    if (from_uplink && is_report) return Refusal::kReportFromUplink;
    return std::nullopt;
}

constexpr std::size_t kShortestMessage = 4;  // type and checksum

std::optional<Refusal> refuse_ipv4(Bytes packet, bool from_uplink) {
    constexpr std::uint16_t kFragmentMask = 0x3FFF;  // more fragments, and the offset
    if (packet.size() < kIpv4Header) return Refusal::kTruncated;
    const std::size_t header = (packet[0] & 0x0FU) * std::size_t{4};
    const std::size_t total = mc::load_be16(&packet[2]);
    if (header < kIpv4Header || header + kShortestMessage > total || total > packet.size()) {
        return Refusal::kTruncated;
    }
    if (mcore::internet_checksum(packet.first(header)) != 0) return Refusal::kIpChecksum;
    if ((mc::load_be16(&packet[6]) & kFragmentMask) != 0) return std::nullopt;
    const Bytes message = packet.first(total).subspan(header);
    if (mcore::internet_checksum(message) != 0) return Refusal::kChecksum;
    return refuse_message(kIgmp, message, from_uplink);
}

std::optional<Refusal> refuse_ipv6(Bytes packet, bool from_uplink) {
    constexpr std::size_t kSourceAt = 8;
    constexpr std::size_t kDestinationAt = 24;
    if (packet.size() < kIpv6Header) return Refusal::kTruncated;
    const std::size_t total = kIpv6Header + mc::load_be16(&packet[4]);
    std::size_t header = kIpv6Header;
    if (packet[6] == kNextHopByHop && packet.size() > kIpv6Header + 1) {
        header += (packet[kIpv6Header + 1] + std::size_t{1}) * 8;
    }
    if (header + kShortestMessage > total || total > packet.size()) return Refusal::kTruncated;
    const Bytes message = packet.first(total).subspan(header);
    if (mcore::icmpv6_checksum(&packet[kSourceAt], &packet[kDestinationAt], message) != 0) {
        return Refusal::kChecksum;
    }
    return refuse_message(kMld, message, from_uplink);
}

}  // namespace

std::string_view name(Refusal reason) {
    switch (reason) {
        case Refusal::kIpChecksum:
            return "wrong IP header checksum";
        case Refusal::kChecksum:
            return "wrong checksum";
        case Refusal::kTruncated:
            return "truncated message";
        case Refusal::kReportFromUplink:
            return "report from the uplink";
    }
    return "";
}

std::optional<Refusal> refuse(Bytes frame, bool from_uplink) {
    const Bytes packet = packet_of(frame);
    return packet[0] >> 4 == 4 ? refuse_ipv4(packet, from_uplink)
                               : refuse_ipv6(packet, from_uplink);
}

std::uint64_t RefusalCounts::total() const {
    return std::accumulate(of.begin(), of.end(), std::uint64_t{0});
}

RefusalCounts& RefusalCounts::operator+=(const RefusalCounts& more) {
    for (std::size_t i = 0; i < of.size(); ++i) of[i] += more.of[i];
    return *this;
}

}  // namespace driver
