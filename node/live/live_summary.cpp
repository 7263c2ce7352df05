#include "node/live/live_summary.h"

#include <cstddef>
#include <cstdint>
#include <vector>

#include "node/report/fates.h"
#include "node/report/json.h"
#include "node/report/table.h"
#include "node/report/values.h"

namespace live {
namespace {

using report::Align;
using report::Json;
using report::number;
using report::port_text;
using report::Table;

const char* state_text(EntryState state) {
    switch (state) {
        case EntryState::kAbsent:
            return "no";
        case EntryState::kOurs:
            return "yes";
        case EntryState::kForeign:
            return "not by the node";
    }
    return "";
}

std::string vlans_text(const EntryReport& entry) {
    std::string text;
    for (const std::uint16_t vlan : entry.vlans) text += (text.empty() ? "" : ", ") + number(vlan);
    return text;
}

std::string ports_text(const Report& report) {
    Table table("Ports", {{"port", Align::kLeft},
                          {"interface", Align::kLeft},
                          {"IGMP"},
                          {"MLD"},
                          {"dropped"},
                          {"sent"},
                          {"failed"}});
    for (std::size_t slot = 0; slot < driver::kSlots; ++slot) {
        const PortCounters& port = report.ports[slot];
        if (port.interface.empty()) continue;
        table.add({driver::name_of_slot(slot), port.interface, number(port.igmp), number(port.mld),
                   number(port.socket_dropped), number(port.sent), number(port.send_failed)});
    }
    return table.text();
}

std::string frames_taken_text(const Report& report) {
    std::vector<report::PortFates> ports;
    for (std::size_t slot = 0; slot < driver::kSlots; ++slot) {
        const PortCounters& port = report.ports[slot];
        if (!port.interface.empty()) ports.push_back({driver::name_of_slot(slot), port.fates});
    }
    return report::fates_text(ports);
}

std::string entries_text(const Summary& summary) {
    Table table("Groups for the multicast database of " + summary.bridge,
                {{"port", Align::kLeft},
                 {"group", Align::kLeft},
                 {"sources", Align::kLeft},
                 {"for VLAN", Align::kLeft},
                 {"in it", Align::kLeft}});
    for (const EntryReport& entry : summary.report.entries) {
        table.add(
            {port_text(entry.port), mcore::text(entry.group.family, entry.group.address),
             report::filter_text(entry.group.family, entry.filter.exclude, entry.filter.sources),
             vlans_text(entry), state_text(entry.state)});
    }
    return table.text() + "  " + report::entry_changes_text(summary.core) + "\n";
}

Json ports_json(const Report& report) {
    Json rows = Json::array();
    for (std::size_t slot = 0; slot < driver::kSlots; ++slot) {
        const PortCounters& port = report.ports[slot];
        if (port.interface.empty()) continue;
        rows.add(Json::object({{"port", driver::port_of_slot(slot)},
                               {"name", driver::name_of_slot(slot)},
                               {"interface", port.interface},
                               {"igmp", port.igmp},
                               {"mld", port.mld},
                               {"not_trapped", port.not_trapped},
                               {"too_long", port.too_long},
                               {"refused", port.refused.total()},
                               {"taken", report::fates_json(port.fates)},
                               {"socket_dropped", port.socket_dropped},
                               {"sent", port.sent},
                               {"send_failed", port.send_failed}}));
    }
    return rows;
}

Json vlans_json(const EntryReport& entry) {
    Json rows = Json::array();
    for (const std::uint16_t vlan : entry.vlans) rows.add(vlan);
    return rows;
}

Json entries_json(const Report& report) {
    Json rows = Json::array();
    for (const EntryReport& entry : report.entries) {
        rows.add(Json::object(
            {{"port", entry.port},
             {"group", mcore::text(entry.group.family, entry.group.address)},
             {"filter", entry.filter.exclude ? "exclude" : "include"},
             {"sources", report::addresses_json(entry.group.family, entry.filter.sources)},
             {"vlans", vlans_json(entry)},
             {"in_database", entry.state != EntryState::kAbsent},
             {"ours", entry.state == EntryState::kOurs}}));
    }
    return rows;
}

}  // namespace

report::Drops drops_of(const Report& report) {
    PortCounters sum;
    for (const PortCounters& port : report.ports) {
        sum.not_trapped += port.not_trapped;
        sum.too_long += port.too_long;
        sum.refused += port.refused;
        sum.fates += port.fates;
        sum.socket_dropped += port.socket_dropped;
        sum.send_failed += port.send_failed;
    }
    std::vector<report::Count> drops{{"not trapped", sum.not_trapped},
                                     {"longer than 2000 bytes", sum.too_long},
                                     {"no room in the socket", sum.socket_dropped},
                                     {"not sent", sum.send_failed},
                                     {"sent to an unknown port", report.send_invalid_port}};
    report::add_refusals(drops, sum.refused);
    return {drops, report::library_drops(sum.fates)};
}

std::string as_text(const Summary& summary) {
    const std::string upstream = report::upstream_text(summary.core);
    return ports_text(summary.report) + "\n" + frames_taken_text(summary.report) + "\n" +
           report::messages_text(summary.core) + "\n" +
           report::drops_text(drops_of(summary.report), summary.core) + "\n" +
           report::memberships_text(summary.core) + "\n" + upstream +
           (upstream.empty() ? "" : "\n") + report::router_ports_text(summary.core) + "\n" +
           entries_text(summary) + "\nRan for " + report::fixed(summary.ran_s, 1) + " s\n";
}

std::string as_json(const Summary& summary) {
    const Json object = Json::object({
        {"live", Json::object({{"bridge", summary.bridge},
                               {"ran_s", summary.ran_s},
                               {"ports", ports_json(summary.report)},
                               {"entries", entries_json(summary.report)}})},
        {"core", report::core_json(summary.core)},
        {"drops", report::drops_json(drops_of(summary.report), summary.core)},
        {"memberships", report::memberships_json(summary.core)},
        {"upstream", report::upstream_json(summary.core)},
        {"router_ports", report::router_ports_json(summary.core)},
    });
    return object.text();
}

}  // namespace live
