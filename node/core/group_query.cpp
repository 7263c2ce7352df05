#include "node/core/group_query.h"

#include <algorithm>
#include <cstddef>
#include <span>

#include "node/core/address.h"
#include "node/core/membership.h"
#include "node/core/query_message.h"

namespace devcore {
namespace {

constexpr std::uint8_t kIgmpVersion2 = 2;  // the first with group queries
constexpr std::size_t kMostSourceBytes = 1360;
}  // namespace

bool asks_in_newest_version(Family family, std::uint8_t version) {
    const std::uint8_t spoken = family == Family::kIpv4 ? core().settings.version : version;
    return spoken >= newest_version(family);
}

void send_group_query(const GroupKey& key, const GroupQuery& query) {
    const bool is_igmp = key.family == Family::kIpv4;
    const bool is_newest = asks_in_newest_version(key.family, query.version);
    const std::size_t most = kMostSourceBytes / address_length(key.family);
    const std::uint8_t spoken =
        is_igmp ? std::max(core().settings.version, kIgmpVersion2) : query.version;
    const auto kind = query.sources.empty()
                          ? (is_igmp ? Sent::kIgmpGroupQuery : Sent::kMldGroupQuery)
                          : (is_igmp ? Sent::kIgmpSourceQuery : Sent::kMldSourceQuery);
    std::span<const Address> left = query.sources;
    do {
        const auto some = left.first(std::min(left.size(), most));
        send_packet(
            place_of(key), kind, 0,
            query_packet({key.family, spoken, key.group, core().settings.last_member_query_interval,
                          is_newest && query.suppresses, some}));
        left = left.subspan(some.size());
    } while (!left.empty());
}

}  // namespace devcore
