#include "tests/fuzz/core_checks.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "node/core/address.h"
#include "node/core/host_reports.h"
#include "node/core/membership.h"
#include "tests/fuzz/chances.h"

namespace fuzz {
namespace {

using mcore::Address;
using mcore::core;
using mcore::Family;
using mcore::Filter;
using mcore::Group;
using mcore::GroupKey;
using mcore::Host;
using mcore::Port;
using mcore::Tally;
using mcore::Upstream;
using mcore::UpstreamKey;
using mcore::VlanGroup;
using mcore::Votes;

// What a host wants, or a question holds as if one did.
struct Wish {
    bool exclude;
    std::uint8_t version;
    std::set<Address> sources;
};
using Wishes = std::vector<Wish>;

void add_questions(Wishes& wishes, const Group& group) {
    if (!group.last_members) return;
    for (const mcore::Question& question : group.last_members->questions) {
        wishes.push_back({question.is_of_group,
                          question.version,
                          {question.sources.begin(), question.sources.end()}});
    }
}

Wishes wishes_of(const Group& group) {
    Wishes wishes;
    for (const auto& [address, host] : group.hosts) {
        wishes.push_back({host.exclude, host.version, {}});
        for (const auto& [source, piece] : host.sources) wishes.back().sources.insert(source);
    }
    add_questions(wishes, group);
    return wishes;
}

// ---- Merges from scratch ------------------------------------------------------------------------

void add_to(Tally& tally, const Wishes& wishes) {
    for (const Wish& wish : wishes) {
        if (wish.exclude) ++tally.excluding;
        ++tally.of_version[wish.version];
        for (const Address& source : wish.sources) {
            Votes& votes = tally.sources[source];
            ++(wish.exclude ? votes.excluding : votes.including);
        }
    }
}

// RFC 3376, 3.2, word by word.
Filter merge(const Wishes& wishes) {
    std::set<Address> included;
    std::optional<std::set<Address>> excluded;  // by all that exclude
    for (const Wish& wish : wishes) {
        if (!wish.exclude) {
            included.insert(wish.sources.begin(), wish.sources.end());
        } else if (!excluded) {
            excluded = wish.sources;
        } else {
            std::erase_if(*excluded,
                          [&](const Address& each) { return !wish.sources.contains(each); });
        }
    }
    if (!excluded) return {false, {included.begin(), included.end()}};
    std::erase_if(*excluded, [&](const Address& each) { return included.contains(each); });
    return {true, {excluded->begin(), excluded->end()}};
}

bool equal(const Tally& a, const Tally& b) {
    return a.excluding == b.excluding && a.sources == b.sources;
}

// ---- Groups -------------------------------------------------------------------------------------

void check_host(const Host& host, const mcore::Bounds& most) {
    must(host.exclude || !host.sources.empty(), "a host is kept that holds nothing");
    must(host.version >= 1 && host.version <= 3, "a host's version");
    must(host.sources.size() <= most.sources_per_host, "sources of a host are beyond the bound");
}

void check_pieces(const Group& group) {
    std::size_t expected = 0;
    for (const auto& [address, host] : group.hosts) {
        expected += host.exclude ? 1 : host.sources.size();
    }
    must(group.pieces.size() == expected, "not each host and source ages once");
    std::uint64_t before = 0;
    for (const mcore::Piece& piece : group.pieces) {
        must(piece.heard_us >= before && piece.heard_us <= core().now_us, "the order of ageing");
        before = piece.heard_us;
        const auto host = group.hosts.find(*piece.host);
        must(host != group.hosts.end() && &host->first == piece.host, "the host that ages");
        must((piece.source == nullptr) == host->second.exclude, "what ages of a host");
        if (piece.source == nullptr) continue;
        const auto source = host->second.sources.find(*piece.source);
        must(source != host->second.sources.end() && &source->first == piece.source,
             "the source that ages");
    }
}

void check_tally(const Group& group) {
    Tally tally;
    add_to(tally, wishes_of(group));
    must(equal(tally, group.tally), "the votes of a group are not those of its hosts");
    must(tally.of_version == group.tally.of_version, "the versions of a group's hosts");
    must(filter_of(group.tally) == merge(wishes_of(group)), "the merged sources of a group");
}

std::optional<std::uint64_t> age_due(const GroupKey& key, const Group& group) {
    const auto interval = mcore::membership_interval(mcore::place_of(key));
    if (!interval || group.pieces.empty()) return std::nullopt;
    return std::max(group.pieces.front().heard_us, mcore::age_switch(key.family).since_us) +
           *interval;
}

void check_timers(const GroupKey& key, const Group& group) {
    const auto& all = core().timers.all();
    const auto due = age_due(key, group);
    must(due.has_value() == group.age_timer.has_value(), "whether a group ages");
    // By the values of another querier from the next report on.
    const mcore::Counters& counters = core().counters;
    const bool may_lag =
        counters[mcore::Received::kIgmpQuery] + counters[mcore::Received::kMldQuery] > 0;
    must(!due || ((may_lag || group.age_timer->first == *due) && all.contains(*group.age_timer)),
         "when a group ages");
    must(!group.hosts.empty() || group.last_members, "a group that nobody wants or is asked for");
    if (!group.last_members) return;
    must(!group.last_members->questions.empty(), "an empty list of questions");
    for (const mcore::Question& question : group.last_members->questions) {
        must(question.timer && all.contains(*question.timer), "the timer of a question");
        must(question.is_of_group || !question.sources.empty(), "a question about nothing");
    }
}

// The questions' own.
void check_questions(const Group& group) {
    if (!group.last_members) return;
    Wishes wishes;
    add_questions(wishes, group);
    Tally tally;
    add_to(tally, wishes);
    must(equal(tally, group.last_members->tally), "the votes of the questions");
    must(tally.of_version == group.last_members->tally.of_version, "the versions asked for");
}

bool is_in_ranges(const Port& port, std::uint16_t vlan, std::uint32_t group) {
    return std::ranges::any_of(port.ranges, [&](const mcore::AuthRange& range) {
        return (range.vlan == vlan || range.vlan == mcore::kEveryVlan) && range.start <= group &&
               group <= range.end;
    });
}

void check_authorised(const GroupKey& key, const Port& port) {
    const mcore::Settings& settings = core().settings;
    must(key.vlan == mcore::default_vid(key.family) || settings.vlans.contains(key.vlan),
         "a membership in a VLAN that is not there");
    if (key.family != Family::kIpv4) return;
    const VlanGroup place{key.vlan, mcore::to_ipv4(key.group)};
    must(!port.range_auth || is_in_ranges(port, place.first, place.second),
         "a membership outside the port's ranges");
    must(settings.private_list.empty() || settings.private_list.contains(place),
         "a membership that is not on the private list");
    must(port.control_list.empty() || mcore::is_on_list(port.control_list, place),
         "a membership that is not on the control list");
}

void check_group(const GroupKey& key, const Group& group, const mcore::Bounds& most) {
    const Port* const port = mcore::find_port(key.port);
    must(port != nullptr && !port->is_uplink, "a membership of no user port");
    must(is_multicast(key.family, key.group) && !is_link_local_group(key.family, key.group),
         "a membership in no group that can be joined");
    std::size_t addresses = 0;
    for (const auto& [address, host] : group.hosts) {
        check_host(host, most);
        addresses += 1 + host.sources.size();
    }
    Wishes questions;
    add_questions(questions, group);
    for (const Wish& question : questions) addresses += question.sources.size();
    must(addresses == group.addresses, "the addresses of a group");
    must(group.hosts.size() <= most.hosts_per_group, "hosts of a group are beyond the bound");
    must(group.tally.sources.size() <= most.sources_per_group,
         "sources of a group are beyond the bound");
    must(group.joined_us <= core().now_us, "a membership of the future");
    check_pieces(group);
    check_tally(group);
    check_questions(group);
    check_timers(key, group);
    check_authorised(key, *port);
}

// ---- Ports --------------------------------------------------------------------------------------

struct Sums {
    std::uint32_t groups = 0;
    std::uint32_t mld_groups = 0;
    std::uint64_t bandwidth = 0;
    std::uint32_t addresses = 0;
};

Sums sums_of(const Port& port) {
    Sums sums;
    for (const auto& [key, group] : core().groups) {
        if (key.port != port.number) continue;
        ++(key.family == Family::kIpv4 ? sums.groups : sums.mld_groups);
        sums.bandwidth += group.bandwidth;
        sums.addresses += group.addresses;
    }
    return sums;
}

void check_control_list(const mcore::ControlList& list) {
    const std::pair<const VlanGroup, std::uint32_t>* before = nullptr;
    for (const auto& range : list) {
        must(range.first.second <= range.second, "a range of a control list ends before it begins");
        const bool is_apart = before == nullptr || before->first.first != range.first.first ||
                              before->second + 1 < range.first.second;
        must(is_apart, "ranges of a control list overlap or touch");
        before = &range;
    }
}

void check_port(const Port& port, const mcore::Bounds& most) {
    const Sums sums = sums_of(port);
    must(sums.groups == port.groups, "the groups of a port");
    must(sums.mld_groups == port.mld_groups, "the MLD groups of a port");
    must(sums.bandwidth == port.bandwidth, "the bandwidth of a port");
    must(sums.addresses == port.addresses, "the addresses of a port");
    must(port.groups <= most.groups_per_port, "groups of a port are beyond the bound");
    must(port.mld_groups <= most.groups_per_port, "MLD groups of a port are beyond the bound");
    must(port.addresses <= most.addresses_per_port, "addresses of a port are beyond the bound");
    must(port.control_list.size() <= most.control_list_ranges,
         "ranges of a control list are beyond the bound");
    check_control_list(port.control_list);
}

// ---- Upstream -----------------------------------------------------------------------------------

std::map<UpstreamKey, std::vector<const Group*>> members_upstream() {
    std::map<UpstreamKey, std::vector<const Group*>> members;
    for (const auto& [key, group] : core().groups) {
        if (mcore::is_proxy(key.family)) members[upstream_key(key)].push_back(&group);
    }
    return members;
}

bool runs(const std::optional<mcore::Timers::Id>& timer) {
    return timer && core().timers.all().contains(*timer);
}

void check_routers() {
    for (const auto& [link, router] : core().routers) {
        must(mcore::is_proxy(link.family), "a router outside proxy mode");
        for (const auto& timer : router.older_present) {
            must(!timer || runs(timer), "the timer of an older querier");
        }
        must(!router.answer_timer || runs(router.answer_timer), "the timer of a general answer");
        must(!router.repeat_timer || runs(router.repeat_timer), "the timer of repeated reports");
    }
}

void check_repeated() {
    for (const auto& [key, change] : core().changes_to_repeat) {
        const auto router = core().routers.find(key.link);
        must(router != core().routers.end() && runs(router->second.repeat_timer),
             "a change that nobody will repeat");
        must(mcore::reports_left(change) > 0, "a change that is repeated no more");
        const mcore::SourceToRepeat* before = nullptr;
        for (const mcore::SourceToRepeat& one : change.sources) {
            must(one.times > 0, "a source that is repeated no more");
            must(before == nullptr || before->source < one.source, "the order of sources repeated");
            before = &one;
        }
    }
}

void check_answers() {
    for (const auto& [key, answer] : core().answers_due) {
        must(core().routers.contains(key.link) && runs(answer.timer), "an answer never given");
        must(std::ranges::is_sorted(answer.sources), "the order of sources asked for");
    }
}

void check_reported(const Upstream& upstream, const std::vector<const Group*>& members) {
    Tally tally;
    Wishes wishes;
    for (const Group* const group : members) {
        for (Wish& wish : wishes_of(*group)) wishes.push_back(std::move(wish));
    }
    add_to(tally, wishes);
    must(upstream.members == members.size(), "the ports that are members upstream");
    must(equal(tally, upstream.tally), "the votes upstream are not those of the hosts");
    must(upstream.is_reported && upstream.reported == merge(wishes),
         "what was reported upstream is not what the hosts want");
    must(upstream.changed.empty(), "a change that is not reported");
    std::set<std::pair<std::int32_t, Address>> unwanted;
    for (const auto& [source, votes] : tally.sources) {
        if (votes.including == 0) unwanted.insert({votes.excluding, source});
    }
    must(unwanted == upstream.unwanted, "the sources that nobody includes");
}

void check_upstream() {
    const auto members = members_upstream();
    must(core().upstream.size() == members.size(), "the groups upstream");
    for (const auto& [key, upstream] : core().upstream) {
        must(members.contains(key), "a group upstream that no port is in");
        check_reported(upstream, members.at(key));
    }
    check_routers();
    check_repeated();
    check_answers();
}

// ---- Router side --------------------------------------------------------------------------------

void check_queries() {
    const auto& all = core().timers.all();
    for (const Family family : {Family::kIpv4, Family::kIpv6}) {
        const auto& timer = core().query_rounds[family == Family::kIpv4 ? 0 : 1].timer;
        must(mcore::is_proxy(family) == timer.has_value(), "whether general queries are sent");
        must(!timer || all.contains(*timer), "the query timer");
    }
}

void check_user_routers() {
    constexpr std::size_t kMostOfPort = 32;
    std::map<std::uint32_t, std::size_t> of_port;
    for (const auto& [key, router] : core().user_routers) {
        must(router.timer && core().timers.all().contains(*router.timer),
             "a router that does not age");
        must(key.port < mcore::kUserPorts && key.address != Address{}, "a router that is none");
        must(++of_port[key.port] <= kMostOfPort, "routers of a port are beyond the bound");
    }
}

// ---- Switch -------------------------------------------------------------------------------------

void check_switch(const Switch& table) {
    std::set<GroupKey> believed;
    for (const auto& [key, group] : core().groups) {
        if (group.programmed) believed.insert(key);
    }
    must(believed == table.entries, "what the core believes to be in the switch");
    const mcore::Counters& counters = core().counters;
    must(counters.entries_added == table.added, "the count of entries added");
    must(counters.entries_removed == table.removed, "the count of entries removed");
    must(!table.was_asked || counters.add_failures == table.add_failures,
         "the count of entries not added");
    must(counters.remove_failures == table.remove_failures, "the count of entries not removed");
}

}  // namespace

void check_core(const Switch* table, const mcore::Bounds& most) {
    for (const auto& [key, group] : core().groups) check_group(key, group, most);
    for (const Port& port : core().ports) check_port(port, most);
    check_upstream();
    check_queries();
    check_user_routers();
    if (table != nullptr) check_switch(*table);
}

}  // namespace fuzz
