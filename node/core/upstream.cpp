#include "node/core/upstream.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "node/core/address.h"
#include "node/core/membership.h"
#include "node/core/message.h"

namespace devcore {
namespace {

constexpr std::uint32_t kAllRouters = 0xE0000002;  // 224.0.0.2
constexpr std::uint32_t kV3Routers = 0xE0000016;   // 224.0.0.22
constexpr std::uint32_t kTestGroup = 0xEFFF0102;   // 239.255.1.2
constexpr std::uint8_t kVersion3 = 3;

bool is_proxy() { return core().settings.mode == Mode::kProxy; }

SendTag uplink_tag(std::uint16_t vlan) {
    const IgmpUplinkTag& outer = core().ports[kUserPorts].outer;
    if (outer.first == kNoUplinkTag.first && outer.second == kNoUplinkTag.second) return {vlan, 0};
    return {static_cast<std::uint16_t>(outer.first & 0x0FFF),
            static_cast<std::uint8_t>(outer.first >> 13)};
}

std::vector<Address> list(const std::set<Address>& sources) {
    return {sources.begin(), sources.end()};
}

std::set<Address> without(const std::set<Address>& from, const std::set<Address>& taken) {
    std::set<Address> rest;
    std::set_difference(from.begin(), from.end(), taken.begin(), taken.end(),
                        std::inserter(rest, rest.end()));
    return rest;
}

void print_sent(const std::vector<Record>& records) {
    if (igmpv3_snd == 0) return;
    for (const Record& record : records) print_record(Family::kIpv4, record);
}

void send_records(std::uint16_t vlan, const std::vector<Record>& records) {
    print_sent(records);
    for (const Bytes& report : igmp_v3_reports(records)) {
        send_igmp(Sent::kIgmpReport, kCoreUplink, uplink_tag(vlan), kV3Routers, report);
    }
}

void send_report(std::uint16_t vlan, std::uint32_t group) {
    const IgmpType type = core().settings.version == 1 ? IgmpType::kV1Report : IgmpType::kV2Report;
    send_igmp(Sent::kIgmpReport, kCoreUplink, uplink_tag(vlan), group, igmp_message(type, group));
}

void send_leave(std::uint16_t vlan, std::uint32_t group) {
    send_igmp(Sent::kIgmpLeave, kCoreUplink, uplink_tag(vlan), kAllRouters,
              igmp_message(IgmpType::kLeave, group));
}

// What makes an upstream router want `to` instead of `from` (RFC 3376, 5.1); nothing if equal.
std::vector<Record> changes(std::uint32_t group, const Filter& from, const Filter& to) {
    const Address address = from_ipv4(group);
    if (from.exclude != to.exclude) {
        const auto type = to.exclude ? RecordType::kToExclude : RecordType::kToInclude;
        return {{type, address, list(to.sources)}};
    }
    const Filter& more = to.exclude ? from : to;
    const Filter& less = to.exclude ? to : from;
    std::vector<Record> records;
    const auto allowed = without(more.sources, less.sources);
    if (!allowed.empty()) records.push_back({RecordType::kAllowSources, address, list(allowed)});
    const auto blocked = without(less.sources, more.sources);
    if (!blocked.empty()) records.push_back({RecordType::kBlockSources, address, list(blocked)});
    return records;
}

// What all hosts want, made up anew.
Filter wanted(const Upstream& upstream) {
    const std::int32_t excluding = upstream.tally.excluding;
    if (excluding == 0) return filter_of(upstream.tally);
    Filter filter{true, {}};
    const auto from = upstream.unwanted.lower_bound({excluding, Address{}});
    for (auto at = from; at != upstream.unwanted.end() && at->first == excluding; ++at) {
        filter.sources.insert(filter.sources.end(), at->second);
    }
    return filter;
}

bool is_listed(const Upstream& upstream, const Address& source) {
    const Votes votes = votes_for(upstream.tally, source);
    if (!upstream.reported.exclude) return votes.including > 0;
    return votes.including == 0 && votes.excluding == upstream.tally.excluding;
}

void report_change(const VlanGroup& place, const std::vector<Record>& records, bool is_first) {
    const auto& [vlan, group] = place;
    if (core().settings.version >= kVersion3) {
        send_records(vlan, records);
    } else if (is_first) {
        send_report(vlan, group);
    }
}

// The filter's mode may be another one, or other sources count as excluded by all.
void report_anew(const VlanGroup& place, Upstream& upstream) {
    Filter now = wanted(upstream);
    const auto records = changes(place.second, upstream.reported, now);
    const bool is_first = !std::exchange(upstream.is_reported, true);
    upstream.reported = std::move(now);
    upstream.excluding = upstream.tally.excluding;
    upstream.changed.clear();
    report_change(place, records, is_first);
}

// Nothing but votes for sources can have changed.
void report_sources(const VlanGroup& place, Upstream& upstream) {
    std::set<Address>& listed = upstream.reported.sources;
    std::set<Address> added;
    std::set<Address> removed;
    for (const Address& source : std::exchange(upstream.changed, {})) {
        if (is_listed(upstream, source)) {
            if (listed.insert(source).second) added.insert(source);
        } else if (listed.erase(source) > 0) {
            removed.insert(source);
        }
    }
    const bool excludes = upstream.reported.exclude;
    report_change(
        place, changes(place.second, {excludes, std::move(removed)}, {excludes, std::move(added)}),
        false);
}

void report_end(const VlanGroup& place) {
    const auto& [vlan, group] = place;
    if (core().settings.version >= kVersion3) {
        const std::vector<Record> records{{RecordType::kToInclude, from_ipv4(group), {}}};
        print_sent(records);
        send_igmp(Sent::kIgmpLeave, kCoreUplink, uplink_tag(vlan), kV3Routers,
                  igmp_v3_reports(records).front());
    } else if (core().settings.version == 2) {
        send_leave(vlan, group);
    }
}

// What a version 3 query is told about a group (RFC 3376, 5.2).
Record current_state(std::uint32_t group, const Filter& filter, const std::vector<Address>& asked) {
    const Address address = from_ipv4(group);
    if (asked.empty()) {
        const auto type = filter.exclude ? RecordType::kIsExclude : RecordType::kIsInclude;
        return {type, address, list(filter.sources)};
    }
    Record record{RecordType::kIsInclude, address, {}};
    for (const Address& source : asked) {
        if (filter.sources.contains(source) != filter.exclude) record.sources.push_back(source);
    }
    return record;
}

bool says_something(const Record& record) {
    return record.type == RecordType::kIsExclude || !record.sources.empty();
}

void answer(const UpstreamQuery& query) {
    if (!is_proxy()) return;
    std::vector<Record> records;
    for (const auto& [place, upstream] : core().upstream) {
        const auto& [vlan, group] = place;
        if (vlan != query.vlan || (query.group != 0 && query.group != group)) continue;
        if (!upstream.is_reported) continue;
        if (core().settings.version < kVersion3) {
            send_report(vlan, group);
            continue;
        }
        const Record record = current_state(group, upstream.reported, query.sources);
        if (says_something(record)) records.push_back(record);
    }
    if (!records.empty()) send_records(query.vlan, records);
}

}  // namespace

Upstream* find_upstream(std::uint16_t vlan, std::uint32_t group) {
    const auto found = core().upstream.find({vlan, group});
    return found == core().upstream.end() ? nullptr : &found->second;
}

void add_votes(Upstream& upstream, const Address& source, const Votes& more) {
    const Votes before = votes_for(upstream.tally, source);
    add_votes(upstream.tally, source, more);
    const Votes after = votes_for(upstream.tally, source);
    const auto is_unwanted = [](const Votes& v) { return v.including == 0 && v.excluding > 0; };
    if (is_unwanted(before)) upstream.unwanted.erase({before.excluding, source});
    if (is_unwanted(after)) upstream.unwanted.insert({after.excluding, source});
    upstream.changed.insert(source);
}

void add_tally(Upstream& upstream, const Tally& tally, std::int32_t sign) {
    upstream.tally.excluding += sign * tally.excluding;
    for (const auto& [source, votes] : tally.sources) {
        add_votes(upstream, source, {sign * votes.including, sign * votes.excluding});
    }
}

void upstream_joined(std::uint16_t vlan, std::uint32_t group) {
    if (is_proxy()) ++core().upstream[{vlan, group}].members;
}

void upstream_left(std::uint16_t vlan, std::uint32_t group) {
    Upstream* const upstream = find_upstream(vlan, group);
    if (upstream != nullptr) --upstream->members;
}

void upstream_changed(std::uint16_t vlan, std::uint32_t group) {
    const VlanGroup place{vlan, group};
    Upstream* const upstream = find_upstream(vlan, group);
    if (upstream == nullptr) return;
    if (upstream->members == 0) {
        const bool is_reported = upstream->is_reported;
        core().upstream.erase(place);
        if (is_reported) report_end(place);
    } else if (!upstream->is_reported || upstream->excluding != upstream->tally.excluding) {
        report_anew(place, *upstream);
    } else {
        report_sources(place, *upstream);
    }
}

void start_upstream() {
    for (const auto& [key, group] : core().groups) {
        if (key.family != Family::kIpv4) continue;
        upstream_joined(key.vlan, to_ipv4(key.group));
        add_tally(*find_upstream(key.vlan, to_ipv4(key.group)), group.tally, 1);
    }
    for (auto& [place, upstream] : core().upstream) report_anew(place, upstream);
}

void stop_upstream() { core().upstream.clear(); }

void answer_query(const UpstreamQuery& query) {
    const auto about = [query] {
        const std::string groups =
            query.group == 0 ? "all groups" : text(Family::kIpv4, from_ipv4(query.group));
        return groups + " in VLAN " + std::to_string(query.vlan);
    };
    core().timers.start(core().now_us + query.response_us / 2,
                        {"answer upstream", about, [query] { answer(query); }});
}

}  // namespace devcore

// ---- Test messages ------------------------------------------------------------------------------

namespace {

// Where a test message goes: upstream, whatever the mode, in the VLAN given, 0 for the default.
bool can_test(std::uint16_t port) {
    return devcore::find_declared_port(port) != nullptr &&
           devcore::core().call_backs.send != nullptr;
}

std::uint16_t test_vlan(std::uint16_t vlan) {
    return vlan == 0 ? devcore::core().settings.default_vid : vlan;
}

}  // namespace

// The port only has to be one: a report has its place upstream.
int32_t test_igmp_report_v2_l3(uint16_t port, uint16_t vlan) {
    const devcore::Lock lock;
    if (!can_test(port)) return 1;
    devcore::send_igmp(devcore::Sent::kIgmpReport, devcore::kCoreUplink,
                       devcore::uplink_tag(test_vlan(vlan)), devcore::kTestGroup,
                       devcore::igmp_message(devcore::IgmpType::kV2Report, devcore::kTestGroup));
    return 0;
}

int32_t test_igmp_leave_v2_l3(uint16_t port, uint16_t vlan) {
    const devcore::Lock lock;
    if (!can_test(port)) return 1;
    devcore::send_leave(test_vlan(vlan), devcore::kTestGroup);
    return 0;
}
