// The membership engine, one for both families: it takes group records, as IGMPv3 and MLDv2 have
// them, and keeps what each host behind each port wants. Messages of older versions come as the
// records that mean the same: a report excludes nothing, a leave or done includes nothing.
//
// Hosts are told apart by their source address. What a port wants is what its hosts want together,
// by the rules of RFC 3376, 3.2, so the compatibility modes for older hosts (RFC 3376, 7.3.2;
// RFC 3810, 8.3.2) need little code: such a host holds its group in EXCLUDE({}) until it leaves or
// ages, so what others block or exclude takes no source away for as long. What they said counts
// again after that, where a router that ignored it would have to be told anew. Only leaves are
// ignored beside a host of IGMPv1.
//
//   what comes                           what happens
//   first join of a port, VLAN, group    admission; an entry in the switch; upstream in proxy mode
//   a join again                         refreshed; an entry that failed before is tried again
//   a leave, another host known          nothing but that the host is forgotten
//   a leave of the last known host       fast leave: taken away at once
//                                        otherwise: queries, and taken away if unanswered
//   sources that nobody known wants      likewise (last_members.h)
//   a leave of an unknown host           nothing
//   nothing for the membership interval  taken away
//
// A host of an old version stays silent when it hears another one report its group, so there can
// be hosts that are not known. A group query brings them out; fast leave does not wait for them.
//
// What is beyond a bound (bounds.h) is refused, and what is there stays: a group or a host that is
// new, or those of a record's sources that have no room.
//
// A membership whose entry the switch refused is kept all the same: it counts towards limits and
// upstream, and is only not programmed.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "node/core/state.h"
#include "node/core/trace.h"

namespace mcore {

// Numbered as on the wire, the same in IGMPv3 and MLDv2.
enum class RecordType : std::uint8_t {
    kIsInclude = 1,
    kIsExclude = 2,
    kToInclude = 3,
    kToExclude = 4,
    kAllowSources = 5,
    kBlockSources = 6,
};

struct Record {
    RecordType type;
    Address group;
    std::vector<Address> sources;
};

// For igmpv3_rcv and igmpv3_snd.
void print_record(Family family, const Record& record);

// What hosts speak that can name sources.
[[nodiscard]] constexpr std::uint8_t newest_version(Family family) {
    return family == Family::kIpv4 ? 3 : 2;
}

struct Reporter {
    Family family;
    std::uint32_t port;  // a declared user port
    std::uint16_t vlan;
    Address host;
    std::uint8_t version;  // of the message
};

// "239.1.1.1 on port 2", for those who are shown timers.
[[nodiscard]] std::string name_of(const GroupKey& key);

// A question of the group is over: it ends if nobody is left, or is what its hosts want.
void settle(const GroupKey& key, Group& group);

// A record with a group that is no membership, or that is not admitted, is counted as a drop.
void take_record(const Reporter& from, const Record& received);

// Takes memberships away at once, out of the switch too.
void remove_groups_if(const std::function<bool(const GroupKey&)>& unwanted);
void remove_group_of(const GroupKey& key);

// Takes out of a port's memberships what was not heard of after that time, as if it had aged.
void end_unheard(std::uint32_t port, std::uint64_t since_us);
// The same for one source of a group, or without one (all 0) for its hosts in exclude mode.
void end_unheard(const GroupKey& key, const Address& source, std::uint64_t since_us);

// Forgets them, and leaves the switch alone: it begins anew as well.
void forget_mld_groups();

// To be called when a setting that ageing depends on has changed.
void rearm_ageing();

// How long a membership lives without a report; nothing when it does not age. It depends on the
// querier of the segment.
[[nodiscard]] std::optional<std::uint64_t> membership_interval(const Place& segment);

// When a membership ends if nothing more is heard of it; nothing when it does not age.
[[nodiscard]] std::optional<std::uint64_t> expires_at(const GroupKey& key, const Group& group);

[[nodiscard]] inline Place place_of(const GroupKey& key) {
    return {key.family, key.port, key.vlan};
}

}  // namespace mcore
