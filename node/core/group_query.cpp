#include "node/core/group_query.h"

#include <algorithm>
#include <cstddef>
#include <span>

#include "node/core/address.h"
#include "node/core/membership.h"
#include "node/core/query_message.h"
#include "node/core/routers.h"

namespace mcore {
namespace {

constexpr std::uint8_t kIgmpVersion2 = 2;  // the first with group queries
constexpr std::size_t kMostSourceBytes = 1360;

Sent kind_of(Family family, bool has_sources) {
    if (family == Family::kIpv4) {
        return has_sources ? Sent::kIgmpSourceQuery : Sent::kIgmpGroupQuery;
    }
    return has_sources ? Sent::kMldSourceQuery : Sent::kMldGroupQuery;
}

// IGMP is spoken in the version set; a host that speaks MLDv2 only would not answer an older query.
std::uint8_t spoken(Family family, std::uint8_t version) {
    return family == Family::kIpv4 ? std::max(core().settings.version, kIgmpVersion2) : version;
}

}  // namespace

bool asks_in_newest_version(Family family, std::uint8_t version) {
    return spoken(family, version) >= newest_version(family);
}

void send_group_query(const GroupKey& key, const GroupQuery& query) {
    // There the other querier has heard of the leave too.
    if (is_proxy(key.family) && is_outvoted(place_of(key))) return;
    const std::size_t most = kMostSourceBytes / address_length(key.family);
    std::span<const Address> left = query.sources;
    do {
        const auto some = left.first(std::min(left.size(), most));
        send_packet(
            place_of(key), kind_of(key.family, !some.empty()), 0,
            query_packet({key.family, spoken(key.family, query.version), key.group,
                          core().settings.last_member_query_interval, query.suppresses, some}));
        left = left.subspan(some.size());
    } while (!left.empty());
}

}  // namespace mcore
