#include "node/metrics/node_metrics.h"

#include <array>
#include <cstddef>
#include <map>
#include <tuple>
#include <utility>

#include "node/driver/ports.h"
#include "node/report/values.h"
#include "platform/protocol_core.h"

namespace metrics {
namespace {

const char* protocol(mcore::Family family) {
    return family == mcore::Family::kIpv4 ? "IGMP" : "MLD";
}

// ---- Frames -------------------------------------------------------------------------------------

Labels labels_of(const PortNumbers& port) {
    Labels labels{{"port", port.name}};
    if (!port.interface.empty()) labels.push_back({"interface", port.interface});
    return labels;
}

Labels with(Labels labels, std::string_view name, std::string_view value) {
    labels.push_back({name, std::string(value)});
    return labels;
}

void add_frames(Exposition& text, const std::vector<PortNumbers>& ports) {
    text.counter("mc_frames_received", "Frames handed to the library, by port and protocol.");
    for (const PortNumbers& port : ports) {
        text.sample(with(labels_of(port), "protocol", "IGMP"), port.igmp);
        text.sample(with(labels_of(port), "protocol", "MLD"), port.mld);
    }
    text.counter("mc_frames_taken",
                 "What became of them: handed to the core, sent on, both or neither.");
    for (const PortNumbers& port : ports) {
        const driver::FateCounts& fates = port.fates;
        text.sample(with(labels_of(port), "fate", "core and sent on"), fates.core_and_sent);
        text.sample(with(labels_of(port), "fate", "core only"), fates.core_only);
        text.sample(with(labels_of(port), "fate", "sent on only"), fates.sent_only);
        text.sample(with(labels_of(port), "fate", "dropped"), fates.dropped());
    }
    text.counter("mc_frames_sent", "Frames sent out of a port.");
    for (const PortNumbers& port : ports) text.sample(labels_of(port), port.sent);
    text.counter("mc_frame_send_failures", "Frames that a port did not take.");
    for (const PortNumbers& port : ports) text.sample(labels_of(port), port.send_failed);
}

// ---- Drops --------------------------------------------------------------------------------------

void add_drops(Exposition& text, const report::Drops& drops, const mcore::Counters& counters) {
    text.counter("mc_drops", "Frames and parts of messages that came to nothing, by reason.");
    const auto add = [&text](std::string_view by, std::string_view reason, std::uint64_t count) {
        text.sample({{"by", std::string(by)}, {"reason", std::string(reason)}}, count);
    };
    for (const report::Count& count : drops.driver) add("driver", count.name, count.value);
    for (const report::Count& count : drops.library) add("library", count.name, count.value);
    for (std::size_t i = 0; i < mcore::kDropReasons; ++i) {
        add("core", mcore::name(static_cast<mcore::Drop>(i)), counters.drops[i]);
    }
    text.counter("mc_joins_refused", "Joins, or parts of them, that the core did not grant.");
    for (std::size_t i = 0; i < mcore::kDropReasons; ++i) {
        const auto reason = static_cast<mcore::Drop>(i);
        if (!mcore::is_refused_join(reason)) continue;
        text.sample({{"reason", std::string(mcore::name(reason))}}, counters[reason]);
    }
}

// ---- What the core has seen and holds -----------------------------------------------------------

template <class Kind, std::size_t size>
void add_kinds(Exposition& text, const std::array<std::uint64_t, size>& counts) {
    for (std::size_t i = 0; i < size; ++i) {
        text.sample({{"kind", std::string(mcore::name(static_cast<Kind>(i)))}}, counts[i]);
    }
}

void add_messages(Exposition& text, const mcore::Counters& counters) {
    text.counter("mc_messages_received", "Messages that the core understood, by kind.");
    add_kinds<mcore::Received>(text, counters.received);
    text.counter("mc_messages_sent", "Messages of the core, by kind.");
    add_kinds<mcore::Sent>(text, counters.sent);
}

// A host counts in each of its groups.
void add_memberships(Exposition& text, const std::vector<mcore::Membership>& memberships) {
    using Kind = std::tuple<std::uint32_t, mcore::Family, std::uint8_t>;
    std::map<Kind, std::pair<std::uint64_t, std::uint64_t>> kinds;
    for (const mcore::Membership& member : memberships) {
        auto& [groups, hosts] = kinds[{member.port, member.family, member.version}];
        ++groups;
        hosts += member.reporters.size();
    }
    const auto add = [&](auto value_of) {
        for (const auto& [kind, counts] : kinds) {
            const auto& [port, family, version] = kind;
            text.sample({{"port", report::port_text(port)},
                         {"protocol", protocol(family)},
                         {"version", std::to_string(version)}},
                        value_of(counts));
        }
    };
    text.gauge("mc_memberships", "Groups that ports receive, each VLAN by itself.");
    add([](const auto& counts) { return counts.first; });
    text.gauge("mc_reporters", "Hosts known to want them, by group.");
    add([](const auto& counts) { return counts.second; });
}

// Limits of 0 are none, and left out.
void add_limits(Exposition& text) {
    enum Word : std::size_t { kGroups, kGroupLimit, kBandwidth, kBandwidthLimit, kWords };
    std::array<std::array<std::uint32_t, kWords>, driver::kUserPorts> ports{};
    for (std::uint32_t port = 0; port < ports.size(); ++port) {
        auto& words = ports[port];
        static_cast<void>(igmp_if_gather_if_status(port, sizeof words,
                                                   reinterpret_cast<std::uint8_t*>(words.data())));
    }
    const auto add = [&](Word word, bool is_limit) {
        for (std::size_t port = 0; port < ports.size(); ++port) {
            const std::uint32_t value = ports[port][word];
            if (is_limit && value == 0) continue;
            text.sample({{"port", driver::name_of_slot(port)}}, value);
        }
    };
    text.gauge("mc_port_groups", "IGMP groups that count against the limit of a port.");
    add(kGroups, false);
    text.gauge("mc_port_group_limit", "How many a port may join.");
    add(kGroupLimit, true);
    text.gauge("mc_port_bandwidth", "Bandwidth of these groups, in the unit of the commands.");
    add(kBandwidth, false);
    text.gauge("mc_port_bandwidth_limit", "How much a port may ask for, in the same unit.");
    add(kBandwidthLimit, true);
}

// ---- The switch ---------------------------------------------------------------------------------

void add_switch(Exposition& text, const NodeNumbers& numbers) {
    const mcore::Counters& counters = numbers.core.counters;
    std::uint64_t programmed = 0;
    for (const mcore::Membership& member : numbers.core.memberships) {
        if (member.programmed) ++programmed;
    }
    text.gauge("mc_switch_entries", "Memberships that the switch has.");
    text.sample({}, programmed);
    text.counter("mc_switch_entry_changes", "Entries added to the switch and taken from it.");
    text.sample({{"change", "add"}, {"result", "done"}}, counters.entries_added);
    text.sample({{"change", "add"}, {"result", "failed"}}, counters.add_failures);
    text.sample({{"change", "remove"}, {"result", "done"}}, counters.entries_removed);
    text.sample({{"change", "remove"}, {"result", "failed"}}, counters.remove_failures);
    text.histogram("mc_switch_entry_latency_seconds",
                   "From the arrival of a report to the entry in the switch that it makes.");
    text.sample({}, numbers.entry_latency);
    text.gauge("mc_router_ports", "Signs of routers behind user ports.");
    text.sample({}, numbers.core.router_ports.size());
    text.gauge("mc_upstream_groups", "Groups that proxy mode reports upstream.");
    text.sample({}, numbers.core.upstream.size());
}

}  // namespace

std::string families(const NodeNumbers& numbers) {
    Exposition text;
    add_frames(text, numbers.ports);
    add_drops(text, numbers.drops, numbers.core.counters);
    add_messages(text, numbers.core.counters);
    add_memberships(text, numbers.core.memberships);
    add_limits(text);
    add_switch(text, numbers);
    return text.families();
}

}  // namespace metrics
