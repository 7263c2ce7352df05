#include "node/replay/replay_summary.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <vector>

#include "node/driver/ports.h"
#include "node/replay/split_summary.h"
#include "node/report/fates.h"
#include "node/report/json.h"
#include "node/report/table.h"
#include "node/report/values.h"

namespace replay {
namespace {

using capture::Counters;
using capture::FramesIn;
using capture::FramesOut;
using capture::SwitchEntry;
using driver::MacAddress;
using report::Align;
using report::fixed;
using report::Json;
using report::mac_text;
using report::number;
using report::port_text;
using report::seconds;
using report::Table;

constexpr std::uint64_t kMicrosecondsPerSecond = 1'000'000;

// ---- Values as text ----

// "2026-11-21 07:03:10.987486 UTC"
std::string date(std::uint64_t stamp_us) {
    const auto second = static_cast<std::time_t>(stamp_us / kMicrosecondsPerSecond);
    const auto fraction = static_cast<unsigned>(stamp_us % kMicrosecondsPerSecond);
    std::tm parts{};
    gmtime_r(&second, &parts);
    std::array<char, 32> day{};
    std::strftime(day.data(), day.size(), "%Y-%m-%d %H:%M:%S", &parts);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%s.%06u UTC", day.data(), fraction);
    return text.data();
}

FramesIn total_in(const Counters& counters) {
    FramesIn sum;
    for (const FramesIn& port : counters.in) {
        sum.igmp += port.igmp;
        sum.mld += port.mld;
        sum.not_trapped += port.not_trapped;
        sum.too_long += port.too_long;
        sum.truncated += port.truncated;
        sum.refused += port.refused;
        sum.out_of_order += port.out_of_order;
        sum.fates += port.fates;
    }
    return sum;
}

// ---- Tables ----

std::string captures_text(const Summary& summary) {
    Table table("Captures", {{"port", Align::kLeft}, {"file", Align::kLeft}});
    for (const capture::Input& input : summary.arguments.inputs) {
        table.add({summary.arguments.split ? "split" : port_text(input.port), input.file.string()});
    }
    if (const auto& output = summary.arguments.output) {
        table.add({"sent", (*output / "port0.pcap").string() + " to port5.pcap, uplink.pcap"});
    }
    return table.text();
}

std::string time_text(const Summary& summary) {
    std::string text = "Time\n";
    if (const auto& span = summary.report.span) {
        text += "  from  " + date(span->first_us) + "\n";
        text += "  to    " + date(span->last_us) + "\n";
        text += "  span  " + fixed(seconds(span->last_us - span->first_us), 6) + " s";
        if (span->end_us > span->last_us) {
            text += ", timers ran on for " + fixed(seconds(span->end_us - span->last_us), 6) + " s";
        }
        text += "\n";
    } else {
        text += "  the captures hold no frame\n";
    }
    return text + "  took  " + fixed(summary.took_s, 3) + " s" +
           (summary.interrupted ? ", interrupted: this is what was replayed until then\n" : "\n");
}

// Empty when none were to run: most replays have none.
std::string commands_text(const Summary& summary) {
    const std::vector<TimedCommand>& commands = summary.arguments.commands;
    if (commands.empty()) return "";
    Table table("Commands", {{"at s"}, {"command", Align::kLeft}});
    for (std::size_t i = 0; i < summary.commands_run; ++i) {
        table.add({fixed(seconds(commands[i].after_us), 3), commands[i].words});
    }
    const std::size_t left = commands.size() - summary.commands_run;
    if (left == 0) return table.text();
    return table.text() + "  not run: " + number(left) + ", behind the end of the replay\n";
}

std::string frames_in_text(const Counters& counters) {
    Table table("Frames in", {{"port", Align::kLeft},
                              {"total"},
                              {"IGMP"},
                              {"MLD"},
                              {"not trapped"},
                              {"too long"},
                              {"truncated"},
                              {"refused"},
                              {"out of order"}});
    const auto add = [&table](const std::string& name, const FramesIn& in) {
        table.add({name, number(in.total()), number(in.igmp), number(in.mld),
                   number(in.not_trapped), number(in.too_long), number(in.truncated),
                   number(in.refused.total()), number(in.out_of_order)});
    };
    for (std::size_t slot = 0; slot < driver::kSlots; ++slot) {
        add(driver::name_of_slot(slot), counters.in[slot]);
    }
    add("all", total_in(counters));
    return table.text();
}

std::string frames_taken_text(const Counters& counters) {
    std::vector<report::PortFates> ports;
    for (std::size_t slot = 0; slot < driver::kSlots; ++slot) {
        ports.push_back({driver::name_of_slot(slot), counters.in[slot].fates});
    }
    return report::fates_text(ports);
}

std::string frames_out_text(const Counters& counters) {
    Table table("Frames out", {{"port", Align::kLeft}, {"sent"}, {"failed"}});
    FramesOut sum;
    for (std::size_t slot = 0; slot < driver::kSlots; ++slot) {
        const FramesOut& out = counters.out[slot];
        table.add({driver::name_of_slot(slot), number(out.sent), number(out.failed)});
        sum.sent += out.sent;
        sum.failed += out.failed;
    }
    table.add({"all", number(sum.sent), number(sum.failed)});
    return table.text() + "  refused: " + number(counters.send_invalid_port) +
           " for a port that the switch does not have, " + number(counters.send_empty) +
           " without bytes\n";
}

// ---- What the core knows ----

// The frames that the driver kept from the library, those of which the library made nothing, and
// the sends that were refused.
report::Drops drops_of(const Counters& counters) {
    const FramesIn in = total_in(counters);
    std::vector<report::Count> drops{{"not trapped", in.not_trapped},
                                     {"longer than 2000 bytes", in.too_long},
                                     {"truncated in the capture", in.truncated},
                                     {"sent to an unknown port", counters.send_invalid_port},
                                     {"sent without bytes", counters.send_empty}};
    report::add_refusals(drops, in.refused);
    return {drops, report::library_drops(in.fates)};
}

// The MAC address that the frames of the group carry (RFC 1112, RFC 2464).
MacAddress group_mac(const mcore::Membership& member) {
    const mcore::Address& group = member.group;
    if (member.family == mcore::Family::kIpv6) {
        return {0x33, 0x33, group[12], group[13], group[14], group[15]};
    }
    return {0x01, 0x00, 0x5E, static_cast<std::uint8_t>(group[1] & 0x7F), group[2], group[3]};
}

// The groups that a switch entry lets through to its port, as far as the core knows them.
std::vector<std::string> groups_behind(const Summary& summary, const SwitchEntry& entry) {
    std::vector<std::string> groups;
    for (const mcore::Membership& member : summary.core.memberships) {
        if (member.port != entry.port || member.vlan != entry.vlan) continue;
        if (group_mac(member) != entry.mac) continue;
        groups.push_back(mcore::text(member.family, member.group));
    }
    return groups;
}

std::string switch_text(const Summary& summary) {
    Table table("Switch entries", {{"port", Align::kLeft},
                                   {"VLAN"},
                                   {"MAC", Align::kLeft},
                                   {"set"},
                                   {"groups", Align::kLeft}});
    const capture::SwitchTable& switch_table = summary.report.table;
    for (const auto& [entry, times] : switch_table.entries) {
        std::string groups;
        for (const std::string& group : groups_behind(summary, entry)) {
            groups += groups.empty() ? group : ", " + group;
        }
        table.add({port_text(entry.port), number(entry.vlan), mac_text(entry.mac), number(times),
                   groups.empty() ? "unknown" : groups});
    }
    return table.text() + "  changes: " + number(switch_table.added) + " added, " +
           number(switch_table.repeated) + " set again, " + number(switch_table.removed) +
           " taken away, " + number(switch_table.absent) + " taken away while absent, " +
           number(switch_table.invalid_port) + " refused for an unknown port\n" + "  " +
           report::entry_changes_text(summary.core) + "\n";
}

// ---- JSON ----

Json texts_json(const std::vector<std::string>& texts) {
    Json rows = Json::array();
    for (const std::string& text : texts) rows.add(text);
    return rows;
}

Json captures_json(const Summary& summary) {
    Json rows = Json::array();
    for (const capture::Input& input : summary.arguments.inputs) {
        const bool is_split = summary.arguments.split.has_value();
        rows.add(Json::object({{"port", is_split ? Json() : Json(input.port)},
                               {"name", is_split ? "split" : port_text(input.port)},
                               {"file", input.file.string()}}));
    }
    return rows;
}

Json time_json(const Summary& summary) {
    const auto& span = summary.report.span;
    if (!span) return {};
    return Json::object({{"first_us", span->first_us},
                         {"last_us", span->last_us},
                         {"end_us", span->end_us},
                         {"span_s", seconds(span->last_us - span->first_us)}});
}

Json commands_json(const Summary& summary) {
    const std::vector<TimedCommand>& commands = summary.arguments.commands;
    Json rows = Json::array();
    for (std::size_t i = 0; i < summary.commands_run; ++i) {
        const auto& code = commands[i].code;
        rows.add(Json::object({{"at_s", seconds(commands[i].after_us)},
                               {"code", code ? Json(*code) : Json()},
                               {"command", commands[i].words}}));
    }
    return rows;
}

Json frames_in_json(const Counters& counters) {
    Json rows = Json::array();
    for (std::size_t slot = 0; slot < driver::kSlots; ++slot) {
        const FramesIn& in = counters.in[slot];
        rows.add(Json::object({{"port", driver::port_of_slot(slot)},
                               {"name", driver::name_of_slot(slot)},
                               {"total", in.total()},
                               {"igmp", in.igmp},
                               {"mld", in.mld},
                               {"not_trapped", in.not_trapped},
                               {"too_long", in.too_long},
                               {"truncated", in.truncated},
                               {"refused", in.refused.total()},
                               {"out_of_order", in.out_of_order},
                               {"taken", report::fates_json(in.fates)}}));
    }
    return rows;
}

Json frames_out_json(const Counters& counters) {
    Json rows = Json::array();
    for (std::size_t slot = 0; slot < driver::kSlots; ++slot) {
        rows.add(Json::object({{"port", driver::port_of_slot(slot)},
                               {"name", driver::name_of_slot(slot)},
                               {"sent", counters.out[slot].sent},
                               {"failed", counters.out[slot].failed}}));
    }
    return rows;
}

Json switch_json(const Summary& summary) {
    const capture::SwitchTable& table = summary.report.table;
    Json rows = Json::array();
    for (const auto& [entry, times] : table.entries) {
        rows.add(Json::object({{"port", entry.port},
                               {"vlan", entry.vlan},
                               {"mac", mac_text(entry.mac)},
                               {"set", times},
                               {"groups", texts_json(groups_behind(summary, entry))}}));
    }
    return Json::object({{"entries", rows},
                         {"added", table.added},
                         {"set_again", table.repeated},
                         {"removed", table.removed},
                         {"removed_absent", table.absent},
                         {"refused_port", table.invalid_port}});
}

}  // namespace

std::string as_text(const Summary& summary) {
    const Counters& counters = summary.report.counters;
    // The library's own lines do not end in a line feed, so the first one may have to end theirs.
    const std::string parts[]{
        captures_text(summary),
        split_text(summary.report.split),
        time_text(summary),
        commands_text(summary),
        frames_in_text(counters),
        frames_taken_text(counters),
        frames_out_text(counters),
        report::messages_text(summary.core),
        report::drops_text(drops_of(counters), summary.core),
        report::memberships_text(summary.core),
        report::upstream_text(summary.core),
        report::router_ports_text(summary.core),
        switch_text(summary),
    };
    const bool on_console = summary.arguments.debug != 0 || summary.commands_run > 0;
    std::string text = on_console ? "\n\n" : "";
    for (const std::string& part : parts) {
        if (!part.empty()) text += (&part == parts ? "" : "\n") + part;
    }
    return text;
}

std::string as_json(const Summary& summary) {
    const Counters& counters = summary.report.counters;
    const auto& output = summary.arguments.output;
    const Json object = Json::object({
        {"captures", captures_json(summary)},
        {"split", split_json(summary.report.split)},
        {"output", output ? Json(output->string()) : Json()},
        {"interrupted", summary.interrupted},
        {"failures", texts_json(summary.report.failures)},
        {"time", time_json(summary)},
        {"commands", commands_json(summary)},
        {"commands_not_run", summary.arguments.commands.size() - summary.commands_run},
        {"frames_in", frames_in_json(counters)},
        {"frames_out", frames_out_json(counters)},
        {"core", report::core_json(summary.core)},
        {"drops", report::drops_json(drops_of(counters), summary.core)},
        {"memberships", report::memberships_json(summary.core)},
        {"upstream", report::upstream_json(summary.core)},
        {"router_ports", report::router_ports_json(summary.core)},
        {"switch", switch_json(summary)},
    });
    return object.text();
}

}  // namespace replay
