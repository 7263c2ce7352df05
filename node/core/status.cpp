// Status for other processes.
//
// A port's status is four words in native byte order: memberships, group limit, bandwidth in use,
// bandwidth limit; a limit of 0 is none. A group dump is a native word, the number of records that
// follow, and for each IGMP membership 25 bytes, big-endian:
//
//   0  port                       14  seconds since it was joined
//   1  version                    18  seconds to its end, FFFFFFFF when it does not age
//   2  group                      22  filter mode, 1 include, 2 exclude
//   6  VLAN                       23  number of sources, 255 at most
//  10  last reporter              24  flags, bit 0: programmed
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "common/bytes.h"
#include "node/core/address.h"
#include "node/core/membership.h"
#include "node/core/state.h"
#include "platform/group_dump.h"

namespace {

using mcore::core;
using mcore::Group;
using mcore::GroupKey;
using mcore::kSecond;

constexpr std::uint32_t kRecord = IGMP_GROUP_RECORD_SIZE;
constexpr std::uint32_t kWord = 4;
constexpr std::uint32_t kStatusWords = 4;
constexpr std::uint32_t kNever = 0xFFFFFFFF;

std::uint32_t seconds(std::uint64_t us) { return static_cast<std::uint32_t>(us / kSecond); }

void write_record(std::uint8_t* record, const GroupKey& key, const Group& group) {
    constexpr std::size_t kMostSources = 255;
    const std::uint64_t now = core().now_us;
    const auto end = mcore::expires_at(key, group);
    const mcore::Filter filter = filter_of(group.tally);
    record[0] = static_cast<std::uint8_t>(key.port);
    record[1] = oldest_version(group.tally);
    mc::store_be32(record + 2, mcore::to_ipv4(key.group));
    mc::store_be32(record + 6, key.vlan);
    mc::store_be32(record + 10, mcore::to_ipv4(group.last_reporter));
    mc::store_be32(record + 14, seconds(now - group.joined_us));
    mc::store_be32(record + 18, end ? seconds(*end - std::min(now, *end)) : kNever);
    record[22] = filter.exclude ? 2 : 1;
    record[23] = static_cast<std::uint8_t>(std::min(filter.sources.size(), kMostSources));
    record[24] = group.programmed ? 1 : 0;
}

}  // namespace

int32_t igmp_if_gather_if_status(uint32_t port, uint32_t size, uint8_t* buf) {
    const mcore::Lock lock;
    const mcore::Port* const found = mcore::find_declared_port(port);
    const std::uint32_t length = kStatusWords * kWord;
    if (found == nullptr || buf == nullptr || size < length) return 0;
    const std::uint32_t words[kStatusWords] = {
        found->groups, found->group_limit,
        static_cast<std::uint32_t>(std::min<std::uint64_t>(found->bandwidth, UINT32_MAX)),
        found->bandwidth_limited ? found->bandwidth_limit : 0};
    std::memcpy(buf, words, length);
    return static_cast<int32_t>(length);
}

int32_t igmp_gather_grp_info(uint32_t port, uint32_t size, uint8_t* buf) {
    const mcore::Lock lock;
    if (buf == nullptr || size < kWord) return 0;
    if (port != mcore::kAllPorts && mcore::find_declared_port(port) == nullptr) return 0;
    std::uint32_t count = 0;
    std::uint32_t used = kWord;
    for (const auto& [key, group] : core().groups) {
        const bool is_asked = port == mcore::kAllPorts || port == key.port;
        if (key.family != mcore::Family::kIpv4 || !is_asked) continue;
        if (size - used < kRecord) break;
        write_record(buf + used, key, group);
        used += kRecord;
        ++count;
    }
    std::memcpy(buf, &count, kWord);
    return static_cast<int32_t>(used);
}
