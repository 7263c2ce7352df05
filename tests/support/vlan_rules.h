// The rule tables of both sides behind one face, for tests of the VLAN operations, and what these
// operations leave on the console: lines by category, and the configuration dumps.
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
#include "vlan/vlan.h"

namespace mc_test {

// ---- Rules -------------------------------------------------------------------------------------

using Rule = PortVlanCfgEntry;

struct Vlans {
    std::uint16_t in;
    std::uint16_t out;
};

enum TagMode : std::int8_t { kUntag = 0, kTag = 1, kTranslate = 2, kTranslateToo = 3 };

// The tag modes of the three halves of a rule; a single one stands for all of them.
struct TagModes {
    TagModes(int all) : up(all), dn(all), data(all) {}  // NOLINT: a plain number reads best
    TagModes(int up_mode, int dn_mode, int data_mode) : up(up_mode), dn(dn_mode), data(data_mode) {}
    int up;
    int dn;
    int data;
};

inline Rule rule(int port, TagModes modes, Vlans up, Vlans dn, Vlans data) {
    return {static_cast<std::int8_t>(port),
            static_cast<std::int8_t>(modes.up),
            up.in,
            up.out,
            static_cast<std::int8_t>(modes.dn),
            dn.in,
            dn.out,
            static_cast<std::int8_t>(modes.data),
            data.in,
            data.out,
            0};
}

// A tagging rule that is used only for what it is found by: its upstream and its data VLAN.
inline Rule simple_rule(int port, std::uint16_t up, std::uint16_t data) {
    return rule(port, kTag, {up, 11}, {12, 13}, {data, 14});
}

inline Rule empty_rule() {
    return rule(255, 4, {0xFFFF, 0xFFFF}, {0xFFFF, 0xFFFF}, {0xFFFF, 0xFFFF});
}

inline Rule flagged(Rule rule, std::uint8_t flag) {
    rule.rule_flag = flag;
    return rule;
}

inline std::string text(const Rule& rule) {
    const auto half = [](const char* name, int mode, unsigned in, unsigned out) {
        return std::string(", ") + name + " " + std::to_string(mode) + ": " + std::to_string(in) +
               ">" + std::to_string(out);
    };
    return "port " + std::to_string(rule.portNO) +
           half("up", rule.prouptagmode, rule.in_up_vlan, rule.out_up_vlan) +
           half("dn", rule.prodntagmode, rule.in_dn_vlan, rule.out_dn_vlan) +
           half("data", rule.datedntagmode, rule.in_data_vlan, rule.out_data_vlan) + ", flag " +
           std::to_string(rule.rule_flag);
}

inline std::vector<std::string> texts(const std::vector<Rule>& rules) {
    std::vector<std::string> all;
    for (const Rule& rule : rules) all.push_back(text(rule));
    return all;
}

inline std::vector<std::string> texts(const Rule (&block)[MC_RULES]) {
    return texts(std::vector<Rule>(block, block + MC_RULES));
}

// The ten slots of a port with these rules at the front.
inline std::vector<std::string> ten_slots(std::vector<Rule> rules) {
    rules.resize(MC_RULES, empty_rule());
    return texts(rules);
}

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

// ---- Sides -------------------------------------------------------------------------------------

// What is printed: under a category of a side, or, with the mask null, under none.
struct Line {
    const std::uint32_t* mask;
    std::uint32_t category;
    std::string text;
};
using Lines = std::vector<Line>;

inline Lines operator+(Lines head, const Lines& tail) {
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
}

inline Line always(std::string text) { return {nullptr, 0, std::move(text)}; }

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

struct IgmpVlans {
    static constexpr const char* kName = "Igmp";

    static std::uint32_t& mask() { return mc_debug; }
    static std::int32_t& level() { return igmp_adapt; }
    static PortStateEntry (&ports())[MC_PORTS] { return portState; }
    static Rule (&rules())[MC_PORTS][MC_RULES] { return PortVlanCfg; }
    static std::int32_t (&counts())[MC_PORTS] { return setVlanCfgNumber; }
    static auto& list() { return PortVlan; }
    static auto& mirror() { return globle_parm.TemplateVlan; }
    static int used() { return setVlanNumber; }
    static void set_used(int used) { setVlanNumber = used; }
    static std::uint16_t& default_vlan() { return globle_parm.defaultVlan; }
    static void take_as_given() { flag_omci_version = 1; }

    static std::int32_t set(Rule& rule) { return onu_std_omci_set_multicast_vlan(&rule); }
    static std::int32_t remove(Rule& rule) { return onu_std_omci_delete_multicast_vlan(&rule); }
    static std::int32_t set_nothing() { return onu_std_omci_set_multicast_vlan(nullptr); }
    static std::int32_t remove_nothing() { return onu_std_omci_delete_multicast_vlan(nullptr); }
    static McRuleBlock* sort_rules(std::uint32_t port) {
        return sortPortVlanCfg(PortVlanCfg, port);
    }
    static std::uint16_t* sort_list(std::uint16_t* list) { return sortMcVlan(list); }

    // Every set asks for the ONU id; a data VLAN that is new goes to the core.
    static std::vector<std::string> calls_of_set() { return {"L2_multicast_get_onu_id()"}; }
    static std::vector<std::string> calls_of_new_vlan(int vid) {
        return {"L2_multicast_get_onu_id()", call("igmp_vlan_add", vid)};
    }

    static Line dbg(const std::string& text) {
        return {&mc_debug, kDbg, "\r\n[MC_DBG_DBG]: " + text};
    }
    static Line err(const std::string& text) {
        return {&mc_debug, kErr, "\r\n[MC_DBG_ERR]: " + text};
    }
    static Line cfg(const std::string& text) {
        return {&mc_debug, kCfg, "\r\n[MC_DBG_CFG]: " + text};
    }

    static Line dump(const Shown& shown) {
        std::string all;
        for (const Rule& rule : shown.rules) all += "\n" + rule_lines(rule);
        return always(all + default_port_lines() + template_lines(shown.vlans) +
                      "defaultVlan(4088), general_member_interval(1), "
                      "last_member_query_count(2)\r\n"
                      "last_member_query_interval(1), learningMode(" +
                      std::to_string(shown.learning) +
                      "), multiMode(1)\r\n"
                      "query_interval(125), query_max_resp_time(10), robustness(2), "
                      "version(3)\r\n");
    }
};

struct MldVlans {
    static constexpr const char* kName = "Mld";

    static std::uint32_t& mask() { return mld_debug; }
    static std::int32_t& level() { return mldInitParams.mld_adapt; }
    static PortStateEntry (&ports())[MC_PORTS] { return mldInitParams.port; }
    static Rule (&rules())[MC_PORTS][MC_RULES] { return mldInitParams.mldPortVlanCfg; }
    static std::int32_t (&counts())[MC_PORTS] { return mldInitParams.vlancfgnum; }
    static auto& list() { return mldInitParams.portVlan; }
    static auto& mirror() { return mldInitParams.TemplateVlan; }
    static int used() { return mldInitParams.srcPortNum; }
    static void set_used(int used) { mldInitParams.srcPortNum = static_cast<std::uint8_t>(used); }
    static std::uint16_t& default_vlan() { return mldInitParams.defaultVlan; }
    static void take_as_given() { mldInitParams.mld_flag_omci_version = 1; }

    static std::int32_t set(Rule& rule) { return mld_onu_std_omci_set_multicast_vlan(&rule); }
    static std::int32_t remove(Rule& rule) { return mld_onu_std_omci_delete_multicast_vlan(&rule); }
    static std::int32_t set_nothing() { return mld_onu_std_omci_set_multicast_vlan(nullptr); }
    static std::int32_t remove_nothing() { return mld_onu_std_omci_delete_multicast_vlan(nullptr); }
    static McRuleBlock* sort_rules(std::uint32_t port) {
        return mldsortPortVlanCfg(mldInitParams.mldPortVlanCfg, port);
    }
    static std::uint16_t* sort_list(std::uint16_t* list) { return sortmldVlan(list); }

    // The MLD set has no neighbour.
    static std::vector<std::string> calls_of_set() { return {}; }
    static std::vector<std::string> calls_of_new_vlan(int /*vid*/) { return {}; }

    static Line dbg(const std::string& text) {
        return {&mld_debug, kDbg, "\r\n[MC_DBG_DBG]: " + text};
    }
    static Line err(const std::string& text) {
        return {&mld_debug, kErr, "\r\n[MC_DBG_ERR]: " + text};
    }
    static Line cfg(const std::string& text) {
        return {&mld_debug, kCfg, "\r\n[MC_DBG_CFG]: " + text};
    }

    // The rules and VLANs that the IGMP side's counts make visible.
    static Line dump(const Shown& shown) {
        std::string all;
        for (const Rule& rule : shown.rules) all += rule_lines(rule);
        return always(all + default_port_lines() + template_lines(shown.vlans) +
                      "defaultVlan(4088), general_member_interval(1), "
                      "last_member_query_count(2)\r\n"
                      "last_member_query_interval(1), learningMode(" +
                      std::to_string(shown.learning) +
                      "), multiMode(2)\r\n"
                      "query_interval(125), query_max_resp_time(10), robustness(2), "
                      "version(3)\r\n");
    }
};

using VlanSides = ::testing::Types<IgmpVlans, MldVlans>;

struct VlanSideNames {
    template <class Side>
    static std::string GetName(int /*position*/) {
        return Side::kName;
    }
};

// After start-up, on an ONU with an OMCI id: nothing is learnt unless a test asks for it.
class VlanTest : public StartedTest {
 protected:
    VlanTest() { set_onu_id(1); }
};

// ---- Given and expected ------------------------------------------------------------------------

// Rules that the ports of these rules have already, and VLANs that are listed already.
template <class Side>
void given_rules(const std::vector<Rule>& rules) {
    for (const Rule& rule : rules) {
        const int logical = rule.portNO == 29 ? 6 : rule.portNO;
        Side::rules()[logical][Side::counts()[logical]++] = rule;
    }
}

template <class Side>
void given_vlans(const std::vector<std::uint16_t>& vlans) {
    std::copy(vlans.begin(), vlans.end(), std::begin(Side::list()));
    std::copy(vlans.begin(), vlans.end(), std::begin(Side::mirror()));
    Side::set_used(static_cast<int>(vlans.size()));
}

// These rules in the first slots of a logical port, nothing behind them, and the right count.
template <class Side>
void expect_rules(int logical, const std::vector<Rule>& rules) {
    SCOPED_TRACE(std::string(Side::kName) + " rules of logical port " + std::to_string(logical));
    EXPECT_EQ(texts(Side::rules()[logical]), ten_slots(rules));
    EXPECT_EQ(Side::counts()[logical], static_cast<std::int32_t>(rules.size()));
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
