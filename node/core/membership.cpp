#include "node/core/membership.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>

#include "node/core/address.h"
#include "node/core/admission.h"
#include "node/core/bounds.h"
#include "node/core/entry_filter.h"
#include "node/core/event_watch.h"
#include "node/core/hosts.h"
#include "node/core/last_members.h"
#include "node/core/routers.h"
#include "node/core/upstream.h"

namespace mcore {
namespace {

std::string group_text(const GroupKey& key) { return text(key.family, key.group); }

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

std::optional<AgeRule> age_rule(const GroupKey& key) {
    const auto interval = membership_interval(place_of(key));
    if (!interval) return std::nullopt;
    return AgeRule{*interval, age_switch(key.family).since_us};
}

void run_ageing(const GroupKey& key);

void arm_ageing(const GroupKey& key, Group& group) {
    core().timers.stop(group.age_timer);
    const auto rule = age_rule(key);
    if (!rule || group.pieces.empty()) return;
    group.age_timer = core().timers.start(
        rule->aged_at(group.pieces.front().heard_us),
        {"membership", [key] { return name_of(key); }, [key] { run_ageing(key); }});
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
struct InHand;
thread_local const InHand* now_in_hand = nullptr;

struct InHand {
    InHand(const GroupKey& key_of_entry, const Filter* filter_of_entry)
        : key(key_of_entry), filter(filter_of_entry) {
        now_in_hand = this;
    }
    ~InHand() { now_in_hand = nullptr; }
    InHand(const InHand&) = delete;
    InHand& operator=(const InHand&) = delete;

    const GroupKey& key;
    const Filter* filter;  // null when the entry goes
};

bool change_entry(const GroupKey& key, const Filter* filter) {
    const InHand in_hand(key, filter);
    const bool add = filter != nullptr;
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
    tell_event(place_of(key), [&] { return EntryChanged{key.group, true, programmed}; });
    if (programmed) {
        trace(Trace::kEntries, place_of(key),
              [&] { return "entry of " + group_text(key) + " added"; });
    } else {
        trace(Trace::kDrops, place_of(key),
              [&] { return "the switch takes no entry of " + group_text(key); });
    }
}

void unprogram(const GroupKey& key) {
    Counters& counters = core().counters;
    const bool removed = change_entry(key, nullptr);
    ++(removed ? counters.entries_removed : counters.remove_failures);
    tell_event(place_of(key), [&] { return EntryChanged{key.group, false, removed}; });
    trace(removed ? Trace::kEntries : Trace::kDrops, place_of(key),
          [&] { return "entry of " + group_text(key) + (removed ? " removed" : " not removed"); });
}

// ---- Memberships --------------------------------------------------------------------------------

// The stream waits for the entry, so that comes before all that is to be remembered.
Group& add_group(const GroupKey& key, const Record& record) {
    Filter filter = first_filter(record);
    const bool programmed = change_entry(key, &filter);
    Group& group = core().groups[key];
    group.filter = std::move(filter);
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
    trace(Trace::kMemberships, place_of(key), [&] { return group_text(key) + " joined"; });
    note_programmed(key, group, programmed);
    return group;
}

void remove_group(const GroupKey& key, EndReason why) {
    const auto found = core().groups.find(key);
    if (found == core().groups.end()) return;
    core().timers.stop(found->second.age_timer);
    stop_questions(found->second);
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
    trace(Trace::kMemberships, place_of(key),
          [&] { return group_text(key) + " " + std::string(name(why)); });
    tell_end(key, why);
    if (programmed) unprogram(key);
    upstream_changed(key);
}

bool is_over(const Group& group) { return group.hosts.empty() && !group.last_members; }

// The hosts want something else together, perhaps.
void tell_wants(const GroupKey& key, Group& group) {
    tell_membership(key, group);
    tell_filter(key, group);
    upstream_changed(key);
}

void refresh(const GroupKey& key, Group& group) {
    arm_ageing(key, group);
    tell_wants(key, group);
}

void settle_as(const GroupKey& key, Group& group, EndReason why) {
    if (is_over(group)) {
        remove_group(key, why);
    } else {
        refresh(key, group);
    }
}

template <class IsAged>
void end_aged(const GroupKey& key, Group& group, EndReason why, const IsAged& is_aged) {
    age_hosts(books_of(key, group), is_aged);
    settle_as(key, group, why);
}

void run_ageing(const GroupKey& key) {
    Group* const group = find_group(key);
    const auto rule = age_rule(key);
    if (group == nullptr || !rule) return;
    end_aged(key, *group, EndReason::kAged,
             [&rule](std::uint64_t heard_us) { return rule->aged_at(heard_us) <= core().now_us; });
}

// What the SSM map makes of the record of a host that cannot name sources: its join is one of the
// mapped sources, its leave is what it is.
std::optional<Record> with_mapped_sources(const Reporter& from, const Record& record) {
    const bool is_older = from.version < newest_version(from.family);
    if (from.family != Family::kIpv4 || !is_older) return std::nullopt;
    std::vector<Address> sources = ssm_map_sources(to_ipv4(record.group));
    if (sources.empty()) return std::nullopt;
    if (!joins(record)) return record;
    return Record{RecordType::kIsInclude, record.group, std::move(sources)};
}

// Why a record is not looked at, whatever is known of its group.
std::optional<Drop> refusal(const Reporter& from, const Record& record) {
    if (!is_multicast(from.family, record.group)) return Drop::kNotMulticast;
    if (is_link_local_group(from.family, record.group)) return Drop::kLinkLocalGroup;
    return std::nullopt;
}

// Why a record about a source-specific group is ignored (RFC 4604, 2.2.1 to 2.2.4). A host of an
// older version counts for as much as the SSM map makes of it: its leave, then, counts too.
std::optional<Drop> refuse_without_source(const Reporter& from, const Record& received,
                                          bool is_mapped) {
    if (!is_ssm(from.family, received.group) || is_mapped) return std::nullopt;
    if (from.version < newest_version(from.family)) return Drop::kSsmOlderVersion;
    if (excludes(received)) return Drop::kSourceNeeded;
    return std::nullopt;
}

void tell_refused(const Reporter& from, const Record& record, Drop reason, bool is_partly = false) {
    tell_event({from.family, from.port, from.vlan}, [&] {
        return RecordRefused{reason, record.group, from.host, joins(record), is_partly};
    });
}

// A host's record, for a membership that is there.
void update(const GroupKey& key, Group& group, const Reporter& from, const Record& record) {
    const bool is_join = joins(record);
    if (!is_join && !group.hosts.contains(from.host)) return;
    Applied applied = apply_record(books_of(key, group), from, record);
    if (applied.refused) {
        note_refusal(place_of(key), *applied.refused);
        tell_refused(from, record, *applied.refused, true);
    }
    if (is_join) group.last_reporter = from.host;
    if (applied.departure.gives_up()) ask_last_members(key, group, std::move(applied.departure));
    if (is_over(group)) {
        remove_group(key, EndReason::kLeft);
    } else {
        refresh(key, group);
    }
}

// Beside a known host of IGMPv1, which cannot leave, nobody's leave counts (RFC 3376, 7.3.2).
bool ignores_leaves(const GroupKey& key, const Group& group, const Record& record) {
    return key.family == Family::kIpv4 && record.type == RecordType::kToInclude &&
           is_known(group, 1);
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

// What is only asked for makes room for what is wanted.
void make_room(const GroupKey& key, Group& group) {
    const Books books = books_of(key, group);
    if (group.last_members && is_nearly_full(books)) forget_questions(books);
}

}  // namespace

std::string name_of(const GroupKey& key) {
    return text(key.family, key.group) + " on port " + port_text(key.port);
}

void print_record(Family family, const Record& record) {
    std::printf("  record of type %u, group %s, %zu sources\n", static_cast<unsigned>(record.type),
                text(family, record.group).c_str(), record.sources.size());
}

void take_record(const Reporter& from, const Record& received) {
    const Place place{from.family, from.port, from.vlan};
    const std::optional<Record> mapped = with_mapped_sources(from, received);
    const Record& record = mapped ? *mapped : received;
    auto drop = refusal(from, record);
    if (!drop) drop = refuse_without_source(from, record, mapped.has_value());
    if (drop) {
        note_drop(place, *drop);
        tell_refused(from, record, *drop);
        return;
    }
    const GroupKey key{from.port, from.vlan, from.family, record.group};
    Group* group = find_group(key);
    if (group == nullptr && !joins(record)) return;
    if (group != nullptr && ignores_leaves(key, *group, record)) {
        note_drop(place, Drop::kOlderHostPresent);
        tell_refused(from, record, Drop::kOlderHostPresent);
        return;
    }
    if (group != nullptr && joins(record)) make_room(key, *group);
    drop = refuse_record(key, group, from, record);
    if (drop) {
        note_refusal(place, *drop);
        tell_refused(from, record, *drop);
        if (group != nullptr && is_over(*group)) {
            remove_group(key, EndReason::kLeft);
        } else if (group != nullptr) {
            tell_wants(key, *group);  // for a question that made room in vain
        }
        return;
    }
    if (group != nullptr) {
        const bool is_wanting = joins(record) && !group->programmed;
        if (is_wanting) note_programmed(key, *group, change_entry(key, &group->filter));
    } else {
        group = &add_group(key, record);
    }
    update(key, *group, from, record);
}

void settle(const GroupKey& key, Group& group) { settle_as(key, group, EndReason::kNotAnswered); }

void remove_groups_if(const std::function<bool(const GroupKey&)>& unwanted) {
    std::vector<GroupKey> keys;
    for (const auto& [key, group] : core().groups) {
        if (unwanted(key)) keys.push_back(key);
    }
    for (const GroupKey& key : keys) remove_group(key, EndReason::kTakenAway);
}

void end_unheard(const GroupKey& key, const Address& source, std::uint64_t since_us) {
    Group* const group = find_group(key);
    if (group == nullptr) return;
    end_unheard_pieces(books_of(key, *group), source, since_us);
    settle_as(key, *group, EndReason::kAged);
}

// One that is being left has a timer of its own.
void end_unheard(std::uint32_t port, std::uint64_t since_us) {
    std::vector<GroupKey> keys;
    const auto& groups = core().groups;
    const auto end = groups.lower_bound({port + 1, 0, Family::kIpv4, {}});
    for (auto at = groups.lower_bound({port, 0, Family::kIpv4, {}}); at != end; ++at) {
        keys.push_back(at->first);
    }
    for (const GroupKey& key : keys) {
        Group* const group = find_group(key);
        const bool is_old = group != nullptr && !group->pieces.empty() &&
                            group->pieces.front().heard_us <= since_us;
        if (!is_old) continue;
        end_aged(key, *group, EndReason::kLinkDown,
                 [since_us](std::uint64_t heard_us) { return heard_us <= since_us; });
    }
}

void remove_group_of(const GroupKey& key) { remove_group(key, EndReason::kTakenAway); }

void forget_mld_groups() {
    tell_all_ends(Family::kIpv6);
    Core& state = core();
    for (auto& [key, group] : state.groups) {
        if (key.family != Family::kIpv6) continue;
        state.timers.stop(group.age_timer);
        stop_questions(group);
        close_books(books_of(key, group));
    }
    for (Port& port : state.ports) port.mld_groups = 0;
    std::erase_if(state.groups, [](const auto& one) { return one.first.family == Family::kIpv6; });
}

void rearm_ageing() {
    for (auto& [key, group] : core().groups) arm_ageing(key, group);
}

std::optional<std::uint64_t> membership_interval(const Place& segment) {
    // What the library sends unless it is told otherwise: a switch, as 0 is.
    constexpr std::uint32_t kAsComputed = 1;
    const Settings& settings = core().settings;
    if (!age_switch(segment.family).on || settings.general_member_interval == 0)
        return std::nullopt;
    if (settings.general_member_interval != kAsComputed) {
        return settings.general_member_interval * kSecond;
    }
    // RFC 3376, 8.4; RFC 3810, 9.4.
    const QuerierValues querier = querier_values(segment);
    const std::uint64_t queries = std::uint64_t{querier.robustness} * querier.query_interval;
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
    if (now_in_hand == nullptr) return std::nullopt;
    const Filter* const filter = now_in_hand->filter;
    return owner_of(now_in_hand->key, filter == nullptr ? Filter{true, {}} : *filter);
}

std::optional<std::uint64_t> expires_at(const GroupKey& key, const Group& group) {
    if (group.last_members && group.hosts.empty()) return last_answer_due(group);
    const auto rule = age_rule(key);
    if (!rule || group.pieces.empty()) return std::nullopt;
    return rule->aged_at(group.pieces.back().heard_us);
}

}  // namespace mcore
