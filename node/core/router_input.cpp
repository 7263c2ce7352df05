#include "node/core/router_input.h"

#include <cstddef>

#include "common/bytes.h"
#include "node/core/address.h"
#include "node/core/message.h"
#include "node/core/routers.h"

namespace devcore {
namespace {

// Where a query has what; see query_message.h.
struct QueryLayout {
    std::size_t group;
    std::size_t robustness;  // the newest version only, and the interval behind it
    std::size_t shortest_newest;
};
constexpr QueryLayout kIgmpLayout{4, 8, 12};
constexpr QueryLayout kMldLayout{8, 24, 28};

const QueryLayout& layout_of(Family family) {
    return family == Family::kIpv4 ? kIgmpLayout : kMldLayout;
}

// Version 1 says nothing, and means 10 seconds (RFC 3376, 7.2.1).
std::uint64_t igmp_response_us(std::span<const std::uint8_t> message, bool is_newest) {
    constexpr std::uint64_t kTenth = kSecond / 10;
    constexpr std::uint32_t kV1Tenths = 100;
    if (is_newest) return decode_time(message[1]) * kTenth;
    return (message[1] == 0 ? kV1Tenths : message[1]) * kTenth;
}

std::uint64_t mld_response_us(std::span<const std::uint8_t> message, bool is_newest) {
    constexpr std::uint64_t kMillisecond = kSecond / 1000;
    const auto code = static_cast<std::uint16_t>(mc::load_be16(&message[4]));
    return (is_newest ? decode_mld_time(code) : code) * kMillisecond;
}

HeardQuery read_query(Family family, std::span<const std::uint8_t> message) {
    constexpr std::uint8_t kRobustnessMask = 7;
    const QueryLayout& layout = layout_of(family);
    const bool is_newest = message.size() >= layout.shortest_newest;
    HeardQuery query;
    query.is_general = load_address(family, &message[layout.group]) == Address{};
    if (is_newest) {
        query.robustness = message[layout.robustness] & kRobustnessMask;
        query.query_interval = decode_time(message[layout.robustness + 1]);
    }
    query.response_us = family == Family::kIpv4 ? igmp_response_us(message, is_newest)
                                                : mld_response_us(message, is_newest);
    return query;
}

}  // namespace

std::optional<Drop> take_user_query(const Packet& packet) {
    const QueryLayout& layout = layout_of(packet.place.family);
    const std::size_t length = packet.message.size();
    const bool is_between = length > layout.robustness && length < layout.shortest_newest;
    if (length < layout.robustness || is_between) return Drop::kTruncated;
    if (!is_served_vlan(packet)) return Drop::kUnknownVlan;
    return hear_querier(packet.place, packet.source,
                        read_query(packet.place.family, packet.message));
}

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

}  // namespace devcore
