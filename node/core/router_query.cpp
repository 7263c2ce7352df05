#include "node/core/router_query.h"

#include <cstddef>
#include <span>

#include "common/bytes.h"
#include "node/core/address.h"
#include "node/core/host_answers.h"
#include "node/core/lowered_timers.h"
#include "node/core/message.h"
#include "node/core/router_version.h"
#include "node/core/routers.h"

namespace mcore {
namespace {

using Message = std::span<const std::uint8_t>;

// Where a query has what. Behind the group there are, in the newest version only, 4 bytes and the
// sources.
struct QueryLayout {
    std::size_t group;
    std::size_t older;   // length of the versions before
    std::size_t newest;  // that of the newest without sources
};
constexpr QueryLayout kIgmpLayout{4, 8, 12};
constexpr QueryLayout kMldLayout{8, 24, 28};

const QueryLayout& layout_of(Family family) {
    return family == Family::kIpv4 ? kIgmpLayout : kMldLayout;
}

// The version follows from the length and, for IGMPv1, from a response time of 0, which then means
// 10 seconds (RFC 3376, 7.1; RFC 3810, 8.1).
void read_igmp_version(Message message, bool is_newest, RouterQuery& query) {
    constexpr std::uint64_t kTenth = kSecond / 10;
    constexpr std::uint32_t kVersion1Tenths = 100;
    const std::uint8_t code = message[1];
    if (is_newest) {
        query.version = 3;
        query.response_us = decode_time(code) * kTenth;
    } else {
        query.version = code == 0 ? 1 : 2;
        query.response_us = (code == 0 ? kVersion1Tenths : code) * kTenth;
    }
}

void read_mld_version(Message message, bool is_newest, RouterQuery& query) {
    constexpr std::uint64_t kMillisecond = kSecond / 1000;
    constexpr std::size_t kResponseTimeAt = 4;
    const auto code = static_cast<std::uint16_t>(mc::load_be16(&message[kResponseTimeAt]));
    query.version = is_newest ? 2 : 1;
    query.response_us = (is_newest ? decode_mld_time(code) : code) * kMillisecond;
}

// False when the sources do not fit.
bool read_newest(Family family, Message behind_group, RouterQuery& query) {
    constexpr std::uint8_t kSuppresses = 8;
    constexpr std::uint8_t kRobustnessMask = 7;
    constexpr std::size_t kFixed = 4;
    const std::size_t address = address_length(family);
    const std::size_t sources = mc::load_be16(&behind_group[2]);
    if (behind_group.size() < kFixed + sources * address) return false;
    query.suppresses = (behind_group[0] & kSuppresses) != 0;
    query.robustness = behind_group[0] & kRobustnessMask;
    query.query_interval = decode_time(behind_group[1]);
    for (std::size_t i = 0; i < sources; ++i) {
        query.sources.push_back(load_address(family, behind_group.data() + kFixed + i * address));
    }
    return true;
}

void take_uplink_query(const RouterQuery& query) {
    if (!is_proxy(query.link.family)) return;
    learn_router(query);
    answer_query(query);
}

std::optional<Drop> take_user_query(const Packet& packet, const RouterQuery& query) {
    if (!is_served_vlan(packet)) return Drop::kUnknownVlan;
    const auto drop = hear_querier(packet.place, packet.source, query);
    if (!drop) lower_timers(packet.place, query);
    return drop;
}

}  // namespace

std::optional<RouterQuery> read_query(const Packet& packet) {
    const Family family = packet.place.family;
    const QueryLayout& layout = layout_of(family);
    const Message message = packet.message;
    const bool is_newest = message.size() > layout.older;
    if (message.size() < (is_newest ? layout.newest : layout.older)) return std::nullopt;
    RouterQuery query;
    query.link = {family, packet.vlan()};
    query.group = load_address(family, &message[layout.group]);
    if (family == Family::kIpv4) {
        read_igmp_version(message, is_newest, query);
    } else {
        read_mld_version(message, is_newest, query);
    }
    if (is_newest && !read_newest(family, message.subspan(layout.older), query)) {
        return std::nullopt;
    }
    return query;
}

std::optional<Drop> take_query(const Packet& packet) {
    const auto query = read_query(packet);
    if (!query) return Drop::kTruncated;
    if (!find_port(packet.place.port)->is_uplink) return take_user_query(packet, *query);
    take_uplink_query(*query);
    return std::nullopt;
}

}  // namespace mcore
