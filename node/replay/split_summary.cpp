#include "node/replay/split_summary.h"

#include <cstdint>

#include "node/driver/ports.h"
#include "node/report/printable.h"
#include "node/report/table.h"
#include "node/report/values.h"

namespace replay {
namespace {

using capture::Party;
using capture::Split;
using capture::SplitRow;
using capture::Why;
using report::Align;
using report::Json;
using report::number;

std::string why_text(const SplitRow& row) {
    switch (row.why) {
        case Why::kTable:
            return "line " + number(row.line) + " of the table";
        case Why::kRouter:
            return "sent " + capture::names(row.signs);
        case Why::kHost:
            return row.is_shared ? "host, shares the port" : "host";
        case Why::kSilentHost:
            return row.is_shared ? "host without IGMP or MLD, shares the port"
                                 : "host without IGMP or MLD";
        case Why::kNoSender:
            return "too short for an address";
    }
    return "";
}

std::string vlan_text(std::uint16_t vlan) {
    return vlan == capture::kNoVlan ? "none" : number(vlan);
}

std::string address_cell(const Party& party) {
    return party.kind == Party::Kind::kAddress ? report::mac_text(party.mac) : "-";
}

std::string vlan_cell(const Party& party) {
    return party.kind == Party::Kind::kVlan ? vlan_text(party.vlan) : "-";
}

const char* method(const Split& split) {
    if (split.rules.table) return "table";
    return split.rules.hosts_by_vlan ? "vlan" : "mac";
}

// "hosts" or "routers" when all frames are theirs; nothing when both sent some, or nobody.
const char* only_side(const Split& split) {
    bool hosts = false;
    bool routers = false;
    for (const SplitRow& row : split.rows) {
        if (row.seen.frames == 0 || row.why == Why::kNoSender) continue;
        (row.port == driver::kUplinkPort ? routers : hosts) = true;
    }
    if (hosts == routers) return nullptr;
    return hosts ? "hosts" : "routers";
}

std::string title(const Split& split) {
    if (split.rules.table) return "Split by the table " + report::printable(*split.rules.table);
    return split.rules.hosts_by_vlan ? "Split, hosts by VLAN" : "Split, hosts by address";
}

}  // namespace

std::string split_text(const std::optional<Split>& split) {
    if (!split) return "";
    report::Table table(title(*split), {{"address", Align::kLeft},
                                        {"VLAN"},
                                        {"frames"},
                                        {"IGMP, MLD"},
                                        {"port", Align::kLeft},
                                        {"why", Align::kLeft}});
    for (const SplitRow& row : split->rows) {
        table.add({address_cell(row.party), vlan_cell(row.party), number(row.seen.frames),
                   number(row.seen.messages), report::port_text(row.port), why_text(row)});
    }
    const char* side = only_side(*split);
    if (side == nullptr) return table.text();
    return table.text() + "  one side only: all frames are from " + side + "\n";
}

Json split_json(const std::optional<Split>& split) {
    if (!split) return {};
    Json rows = Json::array();
    for (const SplitRow& row : split->rows) {
        const bool has_address = row.party.kind == Party::Kind::kAddress;
        const bool has_vlan = row.party.kind == Party::Kind::kVlan;
        rows.add(Json::object({{"address", has_address ? Json(address_cell(row.party)) : Json()},
                               {"vlan", has_vlan ? Json(row.party.vlan) : Json()},
                               {"frames", row.seen.frames},
                               {"igmp_mld", row.seen.messages},
                               {"port", row.port},
                               {"name", report::port_text(row.port)},
                               {"why", why_text(row)}}));
    }
    const char* side = only_side(*split);
    return Json::object({{"hosts_from", method(*split)},
                         {"table", split->rules.table ? Json(*split->rules.table) : Json()},
                         {"only", side != nullptr ? Json(side) : Json()},
                         {"senders", rows}});
}

}  // namespace replay
