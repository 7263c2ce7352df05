#include "node/core/membership.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>

#include "node/core/address.h"
#include "node/core/admission.h"
#include "node/core/bounds.h"
#include "node/core/hosts.h"
#include "node/core/querier.h"
#include "node/core/upstream.h"

namespace devcore {
namespace {

std::string name_of(const GroupKey& key) { return text(key.family, key.group); }

// What a timer of the group is about.
std::string about(const GroupKey& key) { return name_of(key) + " on port " + port_text(key.port); }

Group* find_group(const GroupKey& key) {
    const auto found = core().groups.find(key);
    return found == core().groups.end() ? nullptr : &found->second;
}

// ---- Ageing -------------------------------------------------------------------------------------

// What a family's memberships age by.
struct AgeRule {
    std::uint64_t interval;
    std::uint64_t since_us;

    [[nodiscard]] std::uint64_t aged_at(std::uint64_t heard_us) const {
        return std::max(heard_us, since_us) + interval;
    }
};

std::optional<AgeRule> age_rule(Family family) {
    const auto interval = membership_interval(family);
    if (!interval) return std::nullopt;
    return AgeRule{*interval, age_switch(family).since_us};
}

void run_ageing(const GroupKey& key);

void arm_ageing(const GroupKey& key, Group& group) {
    core().timers.stop(group.age_timer);
    const auto rule = age_rule(key.family);
    if (!rule || group.pieces.empty()) return;
    group.age_timer = core().timers.start(
        rule->aged_at(group.pieces.front().heard_us),
        {"membership", [key] { return about(key); }, [key] { run_ageing(key); }});
}

// ---- Switch entries -----------------------------------------------------------------------------

// Asks the call-back for an entry or its removal; one that is not registered refuses.
template <class Entry, class Change>
bool change_entry(Change change, const GroupKey& key, Entry entry) {
    entry.vlan = key.vlan;
    entry.port = static_cast<std::uint16_t>(key.port);
    return change != nullptr && change(&entry) == 0;
}

// Of the call that this thread is in.
thread_local const GroupKey* key_in_hand = nullptr;

struct InHand {
    explicit InHand(const GroupKey& key) { key_in_hand = &key; }
    ~InHand() { key_in_hand = nullptr; }
    InHand(const InHand&) = delete;
    InHand& operator=(const InHand&) = delete;
};

bool change_entry(const GroupKey& key, bool add) {
    const InHand in_hand(key);
    const CallBacks& call = core().call_backs;
    if (key.family == Family::kIpv4) {
        IgmpGroupEntry entry{};
        entry.group = to_ipv4(key.group);
        return change_entry(add ? call.add : call.remove, key, entry);
    }
    MldGroupEntry entry{};
    std::copy(key.group.end() - sizeof entry.group_tail, key.group.end(), entry.group_tail);
    return change_entry(add ? call.mld_add : call.mld_remove, key, entry);
}

void note_programmed(const GroupKey& key, Group& group, bool programmed) {
    Counters& counters = core().counters;
    group.programmed = programmed;
    ++(programmed ? counters.entries_added : counters.add_failures);
    if (programmed) {
        trace(Trace::kEntries, place_of(key),
              [&] { return "entry of " + name_of(key) + " added"; });
    } else {
        trace(Trace::kDrops, place_of(key),
              [&] { return "the switch takes no entry of " + name_of(key); });
    }
}

void unprogram(const GroupKey& key) {
    Counters& counters = core().counters;
    const bool removed = change_entry(key, false);
    ++(removed ? counters.entries_removed : counters.remove_failures);
    trace(removed ? Trace::kEntries : Trace::kDrops, place_of(key),
          [&] { return "entry of " + name_of(key) + (removed ? " removed" : " not removed"); });
}

// ---- Memberships --------------------------------------------------------------------------------

// The stream waits for the entry, so that comes before all that is to be remembered.
Group& add_group(const GroupKey& key) {
    const bool programmed = change_entry(key, true);
    Group& group = core().groups[key];
    group.joined_us = core().now_us;
    Port& port = *find_port(key.port);
    if (key.family == Family::kIpv4) {
        group.bandwidth = imputed_bandwidth(port, key.vlan, to_ipv4(key.group));
        port.bandwidth += group.bandwidth;
        ++port.groups;
    } else {
        ++port.mld_groups;
    }
    upstream_joined(key);
    trace(Trace::kMemberships, place_of(key), [&] { return name_of(key) + " joined"; });
    note_programmed(key, group, programmed);
    return group;
}

void remove_group(const GroupKey& key, const char* why) {
    const auto found = core().groups.find(key);
    if (found == core().groups.end()) return;
    core().timers.stop(found->second.age_timer);
    core().timers.stop(found->second.leave_timer);
    const bool programmed = found->second.programmed;
    const Books books = books_of(key, found->second);
    close_books(books);
    if (key.family == Family::kIpv4) {
        books.port.bandwidth -= found->second.bandwidth;
        --books.port.groups;
    } else {
        --books.port.mld_groups;
    }
    upstream_left(key);
    // Gone before a call-back can look.
    core().groups.erase(found);
    trace(Trace::kMemberships, place_of(key), [&] { return name_of(key) + " " + why; });
    if (programmed) unprogram(key);
    upstream_changed(key);
}

// The hosts want something else together, perhaps.
void refresh(const GroupKey& key, Group& group) {
    arm_ageing(key, group);
    upstream_changed(key);
}

void run_ageing(const GroupKey& key) {
    Group* const group = find_group(key);
    const auto rule = age_rule(key.family);
    if (group == nullptr || !rule) return;
    age_hosts(books_of(key, *group),
              [&rule](std::uint64_t heard_us) { return rule->aged_at(heard_us) <= core().now_us; });
    if (group->hosts.empty()) {
        remove_group(key, "aged");
    } else {
        refresh(key, *group);
    }
}

void continue_leave(const GroupKey& key) {
    Group* const group = find_group(key);
    if (group == nullptr) return;
    if (group->queries_left == 0) {
        remove_group(key, "left, no host answered");
        return;
    }
    --group->queries_left;
    group->leave_timer = core().timers.start(
        core().now_us + core().settings.last_member_query_interval * kSecond,
        {"last member query", [key] { return about(key); }, [key] { continue_leave(key); }});
    send_group_query(key, oldest_version(group->tally));
}

void begin_leave(const GroupKey& key, Group& group) {
    core().timers.stop(group.age_timer);
    group.queries_left = core().settings.last_member_query_count;
    if (find_port(key.port)->fast_leave || group.queries_left == 0) {
        remove_group(key, "left");
    } else {
        continue_leave(key);
    }
}

// What the SSM map makes of the record of a host that cannot name sources.
std::optional<Record> with_mapped_sources(const Reporter& from, const Record& record) {
    if (from.family != Family::kIpv4 || from.version >= 3 || !joins(record)) return std::nullopt;
    std::vector<Address> sources = ssm_map_sources(to_ipv4(record.group));
    if (sources.empty()) return std::nullopt;
    return Record{RecordType::kIsInclude, record.group, std::move(sources)};
}

// Why a record is not looked at, whatever is known of its group.
std::optional<Drop> refusal(const Reporter& from, const Record& record) {
    if (!is_multicast(from.family, record.group)) return Drop::kNotMulticast;
    if (is_link_local_group(from.family, record.group)) return Drop::kLinkLocalGroup;
    const bool any_source =
        record.type == RecordType::kIsExclude || record.type == RecordType::kToExclude;
    if (from.family == Family::kIpv4 && any_source && is_ssm(to_ipv4(record.group))) {
        return Drop::kSourceNeeded;
    }
    return std::nullopt;
}

// A host's record, for a membership that is there.
void update(const GroupKey& key, Group& group, const Reporter& from, const Record& record) {
    const bool is_join = joins(record);
    if (!is_join && !group.hosts.contains(from.host)) return;
    const auto refused = apply_record(books_of(key, group), from, record);
    if (refused) note_refusal(place_of(key), *refused);
    if (group.hosts.empty()) {
        begin_leave(key, group);
        return;
    }
    core().timers.stop(group.leave_timer);
    if (is_join) group.last_reporter = from.host;
    refresh(key, group);
}

// Why there is no room for a record; nothing when there is, or when it needs none.
std::optional<Drop> refuse_record(const GroupKey& key, const Group* group, const Reporter& from,
                                  const Record& record) {
    if (!joins(record)) return std::nullopt;
    if (group == nullptr) {
        if (const auto drop = refuse_join(key)) return drop;
    }
    return refuse_for_room(*find_port(key.port), group, from, record);
}

}  // namespace

void print_record(Family family, const Record& record) {
    std::printf("  record of type %u, group %s, %zu sources\n", static_cast<unsigned>(record.type),
                text(family, record.group).c_str(), record.sources.size());
}

void take_record(const Reporter& from, const Record& received) {
    const Place place{from.family, from.port, from.vlan};
    const std::optional<Record> mapped = with_mapped_sources(from, received);
    const Record& record = mapped ? *mapped : received;
    if (const auto drop = refusal(from, record)) {
        note_drop(place, *drop);
        return;
    }
    const GroupKey key{from.port, from.vlan, from.family, record.group};
    Group* group = find_group(key);
    if (group == nullptr && !joins(record)) return;
    if (const auto drop = refuse_record(key, group, from, record)) {
        note_refusal(place, *drop);
        return;
    }
    if (group != nullptr) {
        const bool is_wanting = joins(record) && !group->programmed;
        if (is_wanting) note_programmed(key, *group, change_entry(key, true));
    } else {
        group = &add_group(key);
    }
    update(key, *group, from, record);
}

void remove_groups_if(const std::function<bool(const GroupKey&)>& unwanted) {
    std::vector<GroupKey> keys;
    for (const auto& [key, group] : core().groups) {
        if (unwanted(key)) keys.push_back(key);
    }
    for (const GroupKey& key : keys) remove_group(key, "taken away");
}

void remove_group_of(const GroupKey& key) { remove_group(key, "taken away"); }

void forget_mld_groups() {
    Core& state = core();
    for (auto& [key, group] : state.groups) {
        if (key.family != Family::kIpv6) continue;
        state.timers.stop(group.age_timer);
        state.timers.stop(group.leave_timer);
        close_books(books_of(key, group));
    }
    for (Port& port : state.ports) port.mld_groups = 0;
    std::erase_if(state.groups, [](const auto& one) { return one.first.family == Family::kIpv6; });
}

void rearm_ageing() {
    for (auto& [key, group] : core().groups) arm_ageing(key, group);
}

std::optional<std::uint64_t> membership_interval(Family family) {
    // What the library sends unless it is told otherwise: a switch, as 0 is.
    constexpr std::uint32_t kAsComputed = 1;
    const Settings& settings = core().settings;
    if (!age_switch(family).on || settings.general_member_interval == 0) return std::nullopt;
    if (settings.general_member_interval != kAsComputed) {
        return settings.general_member_interval * kSecond;
    }
    // RFC 3376, 8.4.
    const std::uint64_t queries = std::uint64_t{settings.robustness} * settings.query_interval;
    return (queries + settings.query_max_resp_time) * kSecond;
}

std::vector<Membership> memberships() {
    const Lock lock;
    std::vector<Membership> all;
    for (const auto& [key, group] : core().groups) {
        Membership one;
        one.port = key.port;
        one.vlan = key.vlan;
        one.family = key.family;
        one.group = key.group;
        const Filter filter = filter_of(group.tally);
        one.version = oldest_version(group.tally);
        one.exclude = filter.exclude;
        one.sources.assign(filter.sources.begin(), filter.sources.end());
        for (const auto& [address, host] : group.hosts) one.reporters.push_back(address);
        one.joined_us = group.joined_us;
        one.expires_us = expires_at(key, group);
        one.programmed = group.programmed;
        all.push_back(std::move(one));
    }
    return all;
}

std::optional<EntryOwner> entry_in_hand() {
    if (key_in_hand == nullptr) return std::nullopt;
    return EntryOwner{key_in_hand->port, key_in_hand->vlan, key_in_hand->family,
                      key_in_hand->group};
}

std::optional<std::uint64_t> expires_at(const GroupKey& key, const Group& group) {
    if (group.leave_timer) {
        const std::uint64_t step = core().settings.last_member_query_interval * kSecond;
        return group.leave_timer->first + group.queries_left * step;
    }
    const auto rule = age_rule(key.family);
    if (!rule || group.pieces.empty()) return std::nullopt;
    return rule->aged_at(group.pieces.back().heard_us);
}

}  // namespace devcore
