// Multicast VLAN rules: how they are written down, and how they get into a side's tables.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

#include "adapt/records.h"
#include "tests/support/sides.h"

namespace mc_test {

// ---- Rules -------------------------------------------------------------------------------------

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

// What a frame from a user port is measured against on reception.
inline Rule upstream_rule(int port, std::uint16_t in_up_vlan, std::uint16_t in_data_vlan) {
    Rule rule{};
    rule.portNO = static_cast<std::int8_t>(port);
    rule.in_up_vlan = in_up_vlan;
    rule.in_data_vlan = in_data_vlan;
    rule.out_up_vlan = MC_NO_VLAN;
    return rule;
}

// What a packet of the core towards a user port is measured against.
inline Rule downstream_rule(int port, std::uint16_t in_data_vlan, std::uint16_t out_dn_vlan) {
    Rule rule{};
    rule.portNO = static_cast<std::int8_t>(port);
    rule.in_data_vlan = in_data_vlan;
    rule.out_dn_vlan = out_dn_vlan;
    return rule;
}

// ---- Into the tables ---------------------------------------------------------------------------

// A rule in a slot. The port number goes into the IGMP table too, where MLD reception looks for it.
template <class Side>
void set_rule(int block, int index, const Rule& rule) {
    Side::rules()[block][index] = rule;
    PortVlanCfg[block][index].portNO = rule.portNO;
}

// Appends a rule to a port's block, which by itself neither matches nor translates.
template <class Side>
Rule& add_rule(int logical) {
    std::int32_t& count = Side::rule_counts()[logical];
    Rule& rule = Side::rules()[logical][count++];
    rule.portNO = static_cast<std::int8_t>(Side::ports()[logical].port_id);
    return rule;
}

template <class Side>
void add_down_rule(int logical, std::uint16_t in, std::uint16_t out) {
    Rule& rule = add_rule<Side>(logical);
    rule.in_dn_vlan = in;
    rule.out_dn_vlan = out;
}

// The VLAN towards the network stands in the IGMP table for both sides.
template <class Side>
void add_up_rule(int logical, std::uint16_t in, std::uint16_t out) {
    const int index = Side::rule_counts()[logical];
    add_rule<Side>(logical).in_up_vlan = in;
    PortVlanCfg[logical][index].out_up_vlan = out;
}

// Rules that the ports of these rules have already, and VLANs that are listed already.
template <class Side>
void given_rules(const std::vector<Rule>& rules) {
    for (const Rule& rule : rules) {
        const int logical = rule.portNO == 29 ? 6 : rule.portNO;
        Side::rules()[logical][Side::rule_counts()[logical]++] = rule;
    }
}

template <class Side>
void given_vlans(const std::vector<std::uint16_t>& vlans) {
    std::copy(vlans.begin(), vlans.end(), std::begin(Side::list()));
    std::copy(vlans.begin(), vlans.end(), std::begin(Side::mirror()));
    Side::set_used(static_cast<int>(vlans.size()));
}

}  // namespace mc_test
