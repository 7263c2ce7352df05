#include "command/config_text.h"

#include <cstdio>

#include "mld/record.h"

namespace mc {

namespace {

// The parameters of a console line with %lu: the records hold 32 bits on every machine.
unsigned long lu(std::uint32_t value) { return value; }

}  // namespace

void print_rule_behind_upstream(const PortVlanCfgEntry& rule) {
    std::printf("portNO(%u), prodntagmode(%u), in_dn_vlan(%u), out_dn_vlan(%u)\r\n", rule.portNO,
                rule.prodntagmode, rule.in_dn_vlan, rule.out_dn_vlan);
    std::printf("portNO(%u), datedntagmode(%u), in_data_vlan(%u), out_data_vlan(%u)\r\n",
                rule.portNO, rule.datedntagmode, rule.in_data_vlan, rule.out_data_vlan);
}

void print_rules(const RuleTable& rules, const std::int32_t (&counts)[MC_PORTS]) {
    for (int p = 0; p < MC_PORTS; ++p) {
        const int used = rules_in_use(counts[p]);
        for (int j = 0; j < used; ++j) {
            const PortVlanCfgEntry& rule = rules[p][j];
            std::printf("portNO(%u), prouptagmode(%u), in_up_vlan(%u), out_up_vlan(%u)\r\n",
                        rule.portNO, rule.prouptagmode, rule.in_up_vlan, rule.out_up_vlan);
            print_rule_behind_upstream(rule);
        }
    }
}

void print_port_settings(int logical, std::uint16_t grouplimit, std::uint16_t leavemod,
                         std::uint32_t max_bandwidth, std::span<const AuthGroupEntry> groups) {
    std::printf("portNO(%d) grouplimit(%d) leavemod(%d) max_bandwidth(%d)\r\n", logical, grouplimit,
                leavemod, max_bandwidth);
    for (const AuthGroupEntry& group : groups) {
        if (group.vlan == 0) continue;
        std::printf("start_groupAdress(%x) end_groupAdress(%x) bandwidth(%d) vlan(%d)\r\n",
                    group.start_groupAdress, group.end_groupAdress, group.bandwidth, group.vlan);
    }
}

void print_template_entry(int index, int vlan, std::uint16_t mirrored) {
    std::printf("-%d-", vlan);
    std::printf("TemplateVlan(%u)\t", mirrored);
    const bool line_is_full = index == 3 || index == 6 || index == 9;
    if (line_is_full || index + 1 >= setVlanNumber) std::puts("\r");
}

std::int32_t print_igmp_globals() {
    const IgmpGlobleParm& igmp = globle_parm;
    std::printf("defaultVlan(%u), general_member_interval(%lu), last_member_query_count(%lu)\r\n",
                igmp.defaultVlan, lu(igmp.general_member_interval),
                lu(igmp.last_member_query_count));
    std::printf("last_member_query_interval(%lu), learningMode(%u), multiMode(%u)\r\n",
                lu(igmp.last_member_query_interval), igmp.learningMode, igmp.multiMode);
    return std::printf(
        "query_interval(%lu), query_max_resp_time(%lu), robustness(%u), version(%u)\r\n",
        lu(igmp.query_interval), lu(igmp.query_max_resp_time), igmp.robustness, igmp.version);
}

std::int32_t print_mld_globals() {
    const MldInitParams& mld = mldInitParams;
    std::printf("defaultVlan(%u), general_member_interval(%u), last_member_query_count(%u)\r\n",
                mld.defaultVlan, mld.general_member_interval, mld.last_member_query_count);
    std::printf("last_member_query_interval(%u), learningMode(%u), multiMode(%u)\r\n",
                mld.last_member_query_interval, mld.learningMode, mld.multiMode);
    return std::printf(
        "query_interval(%u), query_max_resp_time(%u), robustness(%u), version(%u)\r\n",
        mld.query_interval, mld.query_max_resp_time, mld.robustness, mld.version);
}

}  // namespace mc
