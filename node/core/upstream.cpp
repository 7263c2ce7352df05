#include "node/core/upstream.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <set>
#include <string>

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

// What all ports want of a group; nothing when no port is a member.
std::optional<Filter> wanted(std::uint16_t vlan, std::uint32_t group) {
    std::vector<Filter> filters;
    for (std::uint32_t port = 0; port < kUserPorts; ++port) {
        const auto found = core().groups.find({port, vlan, Family::kIpv4, from_ipv4(group)});
        if (found != core().groups.end()) filters.push_back(found->second.filter);
    }
    if (filters.empty()) return std::nullopt;
    return merge(filters);
}

void report_change(const VlanGroup& place, const Filter& from, const Filter& to, bool is_first) {
    const auto& [vlan, group] = place;
    if (core().settings.version >= kVersion3) {
        send_records(vlan, changes(group, from, to));
    } else if (is_first) {
        send_report(vlan, group);
    }
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
    for (const auto& [place, filter] : core().upstream) {
        const auto& [vlan, group] = place;
        if (vlan != query.vlan || (query.group != 0 && query.group != group)) continue;
        if (core().settings.version < kVersion3) {
            send_report(vlan, group);
            continue;
        }
        const Record record = current_state(group, filter, query.sources);
        if (says_something(record)) records.push_back(record);
    }
    if (!records.empty()) send_records(query.vlan, records);
}

}  // namespace

void upstream_changed(std::uint16_t vlan, std::uint32_t group) {
    if (!is_proxy()) return;
    auto& reported = core().upstream;
    const VlanGroup place{vlan, group};
    const std::optional<Filter> now = wanted(vlan, group);
    const auto found = reported.find(place);
    const bool is_first = found == reported.end();
    const Filter before = is_first ? Filter{} : found->second;
    if (now) {
        reported[place] = *now;
        report_change(place, before, *now, is_first);
    } else if (!is_first) {
        reported.erase(found);
        report_end(place);
    }
}

void start_upstream() {
    // Calls out, so it must not walk the table meanwhile.
    std::set<VlanGroup> places;
    for (const auto& [key, group] : core().groups) {
        if (key.family == Family::kIpv4) places.insert({key.vlan, to_ipv4(key.group)});
    }
    for (const auto& [vlan, group] : places) upstream_changed(vlan, group);
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
