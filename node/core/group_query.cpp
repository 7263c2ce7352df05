#include "node/core/group_query.h"

#include <algorithm>
#include <cstddef>
#include <span>

#include "common/bytes.h"
#include "node/core/address.h"
#include "node/core/membership.h"
#include "node/core/message.h"

namespace devcore {
namespace {

constexpr std::uint8_t kIgmpVersion2 = 2;  // the first with group queries
constexpr std::size_t kMostSourceBytes = 1360;
constexpr std::uint8_t kSuppresses = 8;
constexpr std::size_t kIgmpChecksumAt = 2;

using Sources = std::span<const Address>;

// A message of the newest version ends in flags with robustness, the query interval and the number
// of sources.
void add_sources(Family family, Bytes& query, bool suppresses, Sources sources) {
    constexpr std::size_t kFlagsBehind = 4;
    constexpr std::size_t kCountBehind = 2;
    if (suppresses) query[query.size() - kFlagsBehind] |= kSuppresses;
    mc::store_be16(query.data() + query.size() - kCountBehind,
                   static_cast<std::uint32_t>(sources.size()));
    for (const Address& source : sources) {
        query.insert(query.end(), source.begin(),
                     source.begin() + static_cast<std::ptrdiff_t>(address_length(family)));
    }
}

void send_igmp_query(const GroupKey& key, const GroupQuery& query, Sources sources) {
    const Settings& settings = core().settings;
    const std::uint32_t group = to_ipv4(key.group);
    const std::uint8_t spoken = std::max(settings.version, kIgmpVersion2);
    Bytes message = igmp_query({spoken, group, settings.last_member_query_interval});
    if (asks_in_newest_version(key.family, query.version)) {
        add_sources(key.family, message, query.suppresses, sources);
        mc::store_be16(message.data() + kIgmpChecksumAt, 0);
        mc::store_be16(message.data() + kIgmpChecksumAt, internet_checksum(message));
    }
    send_igmp(sources.empty() ? Sent::kIgmpGroupQuery : Sent::kIgmpSourceQuery,
              static_cast<std::uint16_t>(key.port), {key.vlan, 0}, group, message);
}

// Length and checksum of a packet to which something was added.
void finish_mld_packet(Bytes& packet) {
    constexpr std::size_t kHeader = 40;
    constexpr std::size_t kLengthAt = 4;
    constexpr std::size_t kSourceAt = 8;
    constexpr std::size_t kDestinationAt = 24;
    constexpr std::size_t kMessageAt = 48;
    constexpr std::size_t kChecksumAt = kMessageAt + 2;
    mc::store_be16(packet.data() + kLengthAt, static_cast<std::uint32_t>(packet.size() - kHeader));
    mc::store_be16(packet.data() + kChecksumAt, 0);
    mc::store_be16(packet.data() + kChecksumAt,
                   icmpv6_checksum(&packet[kSourceAt], &packet[kDestinationAt],
                                   std::span(packet).subspan(kMessageAt)));
}

void send_mld_query(const GroupKey& key, const GroupQuery& query, Sources sources) {
    Bytes packet =
        mld_group_query(query.version, key.group, core().settings.last_member_query_interval);
    if (asks_in_newest_version(key.family, query.version)) {
        add_sources(key.family, packet, query.suppresses, sources);
        finish_mld_packet(packet);
    }
    send_mld(sources.empty() ? Sent::kMldGroupQuery : Sent::kMldSourceQuery,
             static_cast<std::uint16_t>(key.port), key.vlan, std::move(packet));
}

}  // namespace

bool asks_in_newest_version(Family family, std::uint8_t version) {
    const std::uint8_t spoken = family == Family::kIpv4 ? core().settings.version : version;
    return spoken >= newest_version(family);
}

void send_group_query(const GroupKey& key, const GroupQuery& query) {
    const std::size_t most = kMostSourceBytes / address_length(key.family);
    Sources left = query.sources;
    do {
        const Sources some = left.first(std::min(left.size(), most));
        if (key.family == Family::kIpv4) {
            send_igmp_query(key, query, some);
        } else {
            send_mld_query(key, query, some);
        }
        left = left.subspan(some.size());
    } while (!left.empty());
}

}  // namespace devcore
