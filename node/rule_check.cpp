#include "node/rule_check.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <set>
#include <span>

#include "common/ethernet.h"
#include "node/driver/ports.h"

namespace node {
namespace {

using driver::kUserPorts;
using Vlans = std::vector<std::uint16_t>;

std::span<const PortVlanCfgEntry> rules_of(const RuleSet& set, std::size_t port) {
    return {set.rules[port], static_cast<std::size_t>(mc::rules_in_use(set.counts[port]))};
}

std::string listed(const Vlans& vlans) {
    std::string text;
    for (const std::uint16_t vlan : vlans)
        text += (text.empty() ? "" : ", ") + std::to_string(vlan);
    return text;
}

// ---- The core's own queries ---------------------------------------------------------------------

// What the search for the VLANs of a packet of the core comes to: it walks the rules of port 0
// whatever the port, and goes on in the next block with each match, at the place where it is.
Vlans sent_in(const RuleSet& set, std::size_t port, std::uint16_t vlan) {
    Vlans found;
    const std::size_t used = rules_of(set, port).size();
    for (std::size_t j = 0; j < used && found.size() < MC_RESULT_VLANS; ++j) {
        const PortVlanCfgEntry& rule = set.rules[found.size()][j];
        if (rule.in_data_vlan == vlan) found.push_back(rule.out_dn_vlan);
    }
    if (found.empty()) found.push_back(vlan);
    std::ranges::replace(found, std::uint16_t{MC_NO_VLAN}, vlan);
    return found;
}

void check_own_queries(const RuleSet& set, std::size_t port, std::vector<std::string>& lines) {
    for (const PortVlanCfgEntry& rule : rules_of(set, port)) {
        if (rule.in_data_vlan == MC_NO_VLAN || rule.out_dn_vlan == MC_NO_VLAN) continue;
        const Vlans sent = sent_in(set, port, rule.in_data_vlan);
        if (sent == Vlans{rule.out_dn_vlan}) continue;
        lines.push_back("the rules let the node's own queries for VLAN " +
                        std::to_string(rule.in_data_vlan) + " leave port " + std::to_string(port) +
                        " in VLAN " + listed(sent) + ", not in " +
                        std::to_string(rule.out_dn_vlan) + ": give port 0 such a rule first");
    }
}

// ---- The network's queries ----------------------------------------------------------------------

// The tag that a port gives to a frame of the VLAN; nothing when it has no rule for it.
std::optional<std::uint16_t> passed_in(const RuleSet& set, std::size_t port, std::uint16_t vlan) {
    std::optional<std::uint16_t> tag;
    for (const PortVlanCfgEntry& rule : rules_of(set, port)) {
        if ((rule.in_dn_vlan & mc::kVidMask) == vlan) tag = rule.out_dn_vlan;
    }
    return tag;
}

// A port writes its tag into the frame itself, and ports behind it see the frame as it then is.
void check_network_queries(const RuleSet& set, std::uint16_t vlan,
                           std::vector<std::string>& lines) {
    std::uint16_t tag = vlan;
    std::string ports;
    std::string by;
    for (std::size_t port = 0; port < kUserPorts; ++port) {
        const auto given = passed_in(set, port, vlan);
        if (given && *given != 0 && *given != MC_NO_VLAN) {
            tag = *given;
            by = std::to_string(port);
        } else if (!given && tag != vlan) {
            ports += (ports.empty() ? "" : ", ") + std::to_string(port);
        }
    }
    if (ports.empty()) return;
    lines.push_back("the rules let the network's queries in VLAN " + std::to_string(vlan) +
                    " leave ports without a rule for it (" + ports + ") as port " + by +
                    " gets them, tagged " + std::to_string(tag));
}

std::set<std::uint16_t> network_vlans(const RuleSet& set) {
    std::set<std::uint16_t> vlans;
    for (std::size_t port = 0; port < kUserPorts; ++port) {
        for (const PortVlanCfgEntry& rule : rules_of(set, port)) {
            if (rule.in_dn_vlan != MC_NO_VLAN) {
                vlans.insert(static_cast<std::uint16_t>(rule.in_dn_vlan & mc::kVidMask));
            }
        }
    }
    return vlans;
}

}  // namespace

std::vector<std::string> odd_rules(const RuleSet& set) {
    std::vector<std::string> lines;
    for (std::size_t port = 0; port < kUserPorts; ++port) check_own_queries(set, port, lines);
    for (const std::uint16_t vlan : network_vlans(set)) check_network_queries(set, vlan, lines);
    return lines;
}

void look_at_rules(void (*say)(const std::string& line)) {
    static std::vector<std::string> said;
    std::vector<std::string> found = odd_rules({PortVlanCfg, setVlanCfgNumber});
    for (const std::string& line : found) {
        if (std::ranges::find(said, line) == said.end()) say(line);
    }
    said = std::move(found);
}

}  // namespace node
