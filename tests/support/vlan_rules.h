// For tests of the VLAN operations: all that they write, and what they leave on the console, which
// is lines by category and the configuration dumps.
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "adapt/records.h"
#include "command/dumps.h"
#include "mld/record.h"
#include "tests/support/console.h"
#include "tests/support/fresh_library.h"
#include "tests/support/neighbours.h"
#include "tests/support/rules.h"
#include "tests/support/sides.h"

namespace mc_test {

// ---- All that the VLAN operations write --------------------------------------------------------

struct Tables {
    IgmpGlobleParm parm;
    Rule rules[MC_PORTS][MC_RULES];
    std::int32_t counts[MC_PORTS];
    std::uint16_t list[MC_TEMPLATE_VLANS];
    std::int32_t used;
    std::uint16_t default_vlan;
    std::uint32_t flag;
    MldInitParams mld;

    static Tables now() {
        Tables tables;
        std::memset(&tables, 0, sizeof tables);
        std::memcpy(&tables.parm, &globle_parm, sizeof globle_parm);
        std::memcpy(tables.rules, PortVlanCfg, sizeof PortVlanCfg);
        std::memcpy(tables.counts, setVlanCfgNumber, sizeof setVlanCfgNumber);
        std::memcpy(tables.list, PortVlan, sizeof PortVlan);
        tables.used = setVlanNumber;
        tables.default_vlan = defaultVlan;
        tables.flag = flag_omci_version;
        std::memcpy(&tables.mld, &mldInitParams, sizeof mldInitParams);
        return tables;
    }

    void put_back() const {
        std::memcpy(&globle_parm, &parm, sizeof globle_parm);
        std::memcpy(PortVlanCfg, rules, sizeof PortVlanCfg);
        std::memcpy(setVlanCfgNumber, counts, sizeof setVlanCfgNumber);
        std::memcpy(PortVlan, list, sizeof PortVlan);
        setVlanNumber = used;
        defaultVlan = default_vlan;
        flag_omci_version = flag;
        std::memcpy(&mldInitParams, &mld, sizeof mldInitParams);
    }

    bool operator==(const Tables& other) const {
        return std::memcmp(this, &other, sizeof *this) == 0;
    }
};

// Runs the action and expects it to write nothing at all.
inline void expect_no_change(const std::function<void()>& action) {
    const Tables before = Tables::now();
    action();
    EXPECT_TRUE(Tables::now() == before);
}

// ---- Dumps -------------------------------------------------------------------------------------

// The lines of a rule in a dump. The port is the signed byte of the record, so that an empty slot
// shows as a large number.
inline std::string rule_lines(const Rule& rule) {
    const auto n = [](std::int64_t value) { return std::to_string(value); };
    const std::string port =
        "portNO(" + n(static_cast<std::uint32_t>(std::int32_t{rule.portNO})) + "), ";
    return port + "prouptagmode(" + n(rule.prouptagmode) + "), in_up_vlan(" + n(rule.in_up_vlan) +
           "), out_up_vlan(" + n(rule.out_up_vlan) + ")\r\n" + port + "prodntagmode(" +
           n(rule.prodntagmode) + "), in_dn_vlan(" + n(rule.in_dn_vlan) + "), out_dn_vlan(" +
           n(rule.out_dn_vlan) + ")\r\n" + port + "datedntagmode(" + n(rule.datedntagmode) +
           "), in_data_vlan(" + n(rule.in_data_vlan) + "), out_data_vlan(" + n(rule.out_data_vlan) +
           ")\r\n";
}

inline std::string default_port_lines() {
    std::string all;
    for (int port = 0; port < MC_PORTS; ++port) {
        all +=
            "portNO(" + std::to_string(port) + ") grouplimit(0) leavemod(0) max_bandwidth(0)\r\n";
    }
    return all;
}

inline std::string template_lines(const std::vector<int>& vlans) {
    std::string all;
    for (std::size_t i = 0; i < vlans.size(); ++i) {
        all += "TemplateVlan(" + std::to_string(vlans[i]) + ")\t";
        if (i == 3 || i == 6 || i == 9 || i + 1 == vlans.size()) all += "\r\n";
    }
    return all;
}

// What a dump shows besides the start-up values.
struct Shown {
    std::vector<Rule> rules;
    std::vector<int> vlans;
    int learning = 0;
};

// A dump of the side's configuration. That of the MLD side shows as many rules and VLANs as the
// IGMP side counts.
template <class Side>
Line dump(const Shown& shown) {
    std::string all;
    for (const Rule& rule : shown.rules) all += Side::kDumpRuleStart + rule_lines(rule);
    return always(all + default_port_lines() + template_lines(shown.vlans) +
                  "defaultVlan(4088), general_member_interval(1), last_member_query_count(2)\r\n" +
                  line("last_member_query_interval(1), learningMode(%d), multiMode(%d)\r\n",
                       shown.learning, Side::kDumpedMode) +
                  "query_interval(125), query_max_resp_time(10), robustness(2), version(3)\r\n");
}

// ---- Expected ----------------------------------------------------------------------------------

// These rules in the first slots of a logical port, nothing behind them, and the right count.
template <class Side>
void expect_rules(int logical, const std::vector<Rule>& rules) {
    SCOPED_TRACE(std::string(Side::kName) + " rules of logical port " + std::to_string(logical));
    EXPECT_EQ(texts(Side::rules()[logical]), ten_slots(rules));
    EXPECT_EQ(Side::rule_counts()[logical], static_cast<std::int32_t>(rules.size()));
}

template <class Side>
std::vector<int> listed() {
    return {std::begin(Side::list()), std::end(Side::list())};
}
template <class Side>
std::vector<int> mirrored() {
    return {std::begin(Side::mirror()), std::end(Side::mirror())};
}

// These VLANs at the front of the list and of its mirror, zeros behind them, and the right count.
template <class Side>
void expect_vlans(std::vector<int> vlans) {
    SCOPED_TRACE(std::string(Side::kName) + " template VLANs");
    EXPECT_EQ(Side::used(), static_cast<int>(vlans.size()));
    vlans.resize(MC_TEMPLATE_VLANS, 0);
    EXPECT_EQ(listed<Side>(), vlans);
    EXPECT_EQ(mirrored<Side>(), vlans);
}

// Expects the action to print exactly these lines, each only under its own category of its own
// side, whatever else is switched on. The action runs many times, each time from the tables and the
// list of calls as they are now, and they are in the end as one run leaves them.
inline void expect_console(const Lines& lines, const std::function<void()>& action) {
    const Tables before = Tables::now();
    for (const std::uint32_t igmp : {0u, kDbg, kErr, kCfg, ~(kDbg | kErr | kCfg), ~0u}) {
        for (const std::uint32_t mld : {0u, kDbg, kErr, kCfg, ~(kDbg | kErr | kCfg), ~0u}) {
            std::string expected;
            for (const Line& line : lines) {
                const std::uint32_t mask = line.mask == &mc_debug ? igmp : mld;
                if (line.mask == nullptr || (mask & line.category) != 0) expected += line.text;
            }
            before.put_back();
            forget_calls();
            mld_debug = mld;
            const std::string text = said(mc_debug, igmp, action);
            mld_debug = 0;
            EXPECT_EQ(text, expected) << std::hex << "mc_debug " << igmp << ", mld_debug " << mld;
            if (text != expected) return;
        }
    }
}

}  // namespace mc_test
