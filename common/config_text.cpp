#include "common/config_text.h"

#include <cstdio>

namespace mc {

void print_rule(const PortVlanCfgEntry& rule) {
    std::printf("portNO(%u), prouptagmode(%u), in_up_vlan(%u), out_up_vlan(%u)\r\n", rule.portNO,
                rule.prouptagmode, rule.in_up_vlan, rule.out_up_vlan);
    std::printf("portNO(%u), prodntagmode(%u), in_dn_vlan(%u), out_dn_vlan(%u)\r\n", rule.portNO,
                rule.prodntagmode, rule.in_dn_vlan, rule.out_dn_vlan);
    std::printf("portNO(%u), datedntagmode(%u), in_data_vlan(%u), out_data_vlan(%u)\r\n",
                rule.portNO, rule.datedntagmode, rule.in_data_vlan, rule.out_data_vlan);
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

}  // namespace mc
