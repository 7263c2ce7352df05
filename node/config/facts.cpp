#include "node/config/facts.h"

#include <cstddef>
#include <cstdint>

#include "adapt/records.h"
#include "adapt/tables.h"
#include "mld/record.h"
#include "node/config/status_word.h"

namespace config {
namespace {

using std::to_string;
using Facts = std::vector<Fact>;

// ---- Values -------------------------------------------------------------------------------------

template <class Values>
std::string list(const Values& values) {
    std::string text;
    for (const auto& value : values) text += (text.empty() ? "" : " ") + to_string(value);
    return text.empty() ? "nothing" : text;
}

std::string range_text(const mcore::GroupRange& range) {
    return ipv4_word(range.start) + "-" + ipv4_word(range.end) + "/" + to_string(range.vlan) + "/" +
           to_string(range.bandwidth);
}

std::string ranges_text(const std::vector<mcore::GroupRange>& ranges) {
    std::string text;
    for (const mcore::GroupRange& range : ranges) {
        text += (text.empty() ? "" : " ") + range_text(range);
    }
    return text.empty() ? "nothing" : text;
}

std::string rule_text(const PortVlanCfgEntry& rule) {
    std::string text = to_string(rule.prouptagmode) + "." + to_string(rule.prodntagmode) + "." +
                       to_string(rule.datedntagmode);
    for (const std::uint16_t vlan : {rule.in_up_vlan, rule.out_up_vlan, rule.in_dn_vlan,
                                     rule.out_dn_vlan, rule.in_data_vlan, rule.out_data_vlan}) {
        text += " " + vlan_word(vlan);
    }
    return text + (rule.rule_flag != 0 ? " flag " + to_string(rule.rule_flag) : "");
}

std::string rules_text(const PortVlanCfgEntry (&rules)[MC_RULES], std::int32_t count) {
    std::string text;
    for (int i = 0; i < mc::within(count, MC_RULES); ++i) {
        text += (text.empty() ? "" : "; ") + rule_text(rules[i]);
    }
    return text.empty() ? "none" : text;
}

std::string copies_text(const IgmpPortParm& port) {
    std::vector<mcore::GroupRange> ranges;
    for (const AuthGroupEntry& entry : port.auth_group) {
        if (entry.vlan == 0) continue;
        ranges.push_back(
            {entry.start_groupAdress, entry.end_groupAdress, entry.bandwidth, entry.vlan});
    }
    return ranges_text(ranges);
}

// ---- Facts --------------------------------------------------------------------------------------

void add_both(Facts& facts, const std::string& name, std::uint32_t library, std::uint32_t core) {
    facts.push_back({name + " of the library", to_string(library)});
    facts.push_back({name + " of the core", to_string(core)});
}

void add_modes(Facts& facts, const mcore::Configuration& core) {
    add_both(facts, "mode", globle_parm.multiMode, core.mode);
    facts.push_back({"mode of the frame path", to_string(proxy_adapt_mode)});
    add_both(facts, "mode of MLD", mldInitParams.multiMode, core.mld_mode);
    add_both(facts, "version", globle_parm.version, core.version);
    facts.push_back({"fast leave as others see it", on_off(fast_leave_word() == kFastLeaveOn)});
    facts.push_back({"table return", to_string(tablereturn)});
    facts.push_back({"rules are taken as given", to_string(flag_omci_version)});
}

void add_times(Facts& facts, const mcore::Configuration& core) {
    const IgmpGlobleParm& parm = globle_parm;
    add_both(facts, "robustness", parm.robustness, core.robustness);
    add_both(facts, "query interval", parm.query_interval, core.query_interval);
    add_both(facts, "response interval", parm.query_max_resp_time, core.query_max_resp_time);
    add_both(facts, "last member interval", parm.last_member_query_interval,
             core.last_member_query_interval);
    add_both(facts, "last member count", parm.last_member_query_count,
             core.last_member_query_count);
    add_both(facts, "ageing interval", parm.general_member_interval, core.general_member_interval);
    facts.push_back({"ageing", on_off(core.ageing)});
    facts.push_back({"ageing of MLD", on_off(core.mld_ageing)});
}

void add_sources(Facts& facts, const mcore::Configuration& core) {
    const bool is_own = core.own_ip && *core.own_ip == core.proxy_ip;
    facts.push_back({"proxy address", is_own ? "its own" : ipv4_word(core.proxy_ip)});
    facts.push_back({"SSM range of the library", ipv4_word(globle_parm.ssm_ip_start) + "-" +
                                                     ipv4_word(globle_parm.ssm_ip_end)});
    facts.push_back(
        {"SSM range of the core", ipv4_word(core.ssm_start) + "-" + ipv4_word(core.ssm_end)});
    facts.push_back({"SSM map", list(globle_parm.ssm_map)});
}

void add_vlans(Facts& facts, const mcore::Configuration& core) {
    add_both(facts, "default VLAN", globle_parm.defaultVlan, core.default_vid);
    facts.push_back({"default VLAN of the frame path", to_string(defaultVlan)});
    facts.push_back({"default VLAN of the library for MLD", to_string(mldInitParams.defaultVlan)});
    facts.push_back({"default VLAN of the core for MLD", to_string(core.mld_default_vid)});
    add_both(facts, "VLAN learning", globle_parm.learningMode, core.vlan_learning ? 1 : 0);
    facts.push_back({"VLANs of the core", list(core.vlans)});
    facts.push_back({"template VLANs", list(PortVlan)});
    facts.push_back({"copy of the template VLANs", list(globle_parm.TemplateVlan)});
    facts.push_back({"template VLANs in use", to_string(setVlanNumber)});
    facts.push_back({"template VLANs of MLD", list(mldInitParams.portVlan)});
    std::string groups;
    for (const auto& [vlan, group] : core.private_list) {
        groups += (groups.empty() ? "" : " ") + ipv4_word(group) + "/" + to_string(vlan);
    }
    facts.push_back({"private groups", groups.empty() ? "nothing" : groups});
}

void add_port(Facts& facts, std::size_t i, const mcore::PortConfiguration& core) {
    const IgmpPortParm& parm = globle_parm.port[i];
    const std::string port = (i == MC_PORTS - 1 ? "uplink" : "port " + to_string(i)) + ", ";
    add_both(facts, port + "fast leave", parm.leavemod, core.fast_leave ? 1 : 0);
    add_both(facts, port + "group limit", parm.grouplimit, core.group_limit);
    add_both(facts, port + "bandwidth limit", parm.max_bandwidth, core.bandwidth_limit);
    facts.push_back({port + "bandwidth limit, whether it holds, and the extra word",
                     on_off(core.bandwidth_limited) + " " + to_string(core.bandwidth_extra)});
    facts.push_back({port + "signalling VLANs", vlan_word(parm.sig_vlan) + " " +
                                                    vlan_word(parm.sig_vlan_a) + " " +
                                                    vlan_word(parm.sig_vlan_b)});
    facts.push_back({port + "range authorisation", on_off(core.range_auth)});
    facts.push_back({port + "authorised ranges of the core", ranges_text(core.ranges)});
    facts.push_back({port + "authorised ranges of the library", copies_text(parm)});
    facts.push_back({port + "control list", ranges_text(core.control_list)});
    facts.push_back({port + "rules", rules_text(PortVlanCfg[i], setVlanCfgNumber[i])});
    facts.push_back({port + "rules of MLD",
                     rules_text(mldInitParams.mldPortVlanCfg[i], mldInitParams.vlancfgnum[i])});
}

}  // namespace

std::vector<Fact> facts_of(const Running& running) {
    Facts facts;
    add_modes(facts, running.core);
    add_times(facts, running.core);
    add_sources(facts, running.core);
    add_vlans(facts, running.core);
    for (std::size_t i = 0; i < running.core.ports.size(); ++i) {
        add_port(facts, i, running.core.ports[i]);
    }
    return facts;
}

std::vector<std::string> differing(const std::vector<Fact>& running,
                                   const std::vector<Fact>& made) {
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < running.size() && i < made.size(); ++i) {
        if (running[i] == made[i]) continue;
        lines.push_back(running[i].name + " is " + running[i].value + ", from this file " +
                        made[i].value);
    }
    return lines;
}

}  // namespace config
