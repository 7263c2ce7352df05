#include "command/dumps.h"

#include <cstdio>

#include "adapt/records.h"
#include "adapt/tables.h"
#include "command/config_text.h"
#include "mld/record.h"

namespace {

// The entries in use of a template VLAN list. A line holds four entries first and three from then
// on.
void print_template_vlans(const std::uint16_t (&vlans)[MC_TEMPLATE_VLANS]) {
    const int used = mc::template_vlans_in_use();
    for (int i = 0; i < used; ++i) {
        std::printf("TemplateVlan(%u)\t", vlans[i]);
        const bool line_is_full = i != 0 && i % 3 == 0;
        if (line_is_full || i == used - 1) std::puts("\r");
    }
}

void print_igmp_rules() {
    for (int p = 0; p < MC_PORTS; ++p) {
        const int used = mc::rules_in_use(setVlanCfgNumber[p]);
        for (int j = 0; j < used; ++j) {
            const PortVlanCfgEntry& rule = PortVlanCfg[p][j];
            std::printf("\nportNO(%u), prouptagmode(%u), in_up_vlan(%u), out_up_vlan(%u)\r\n",
                        rule.portNO, rule.prouptagmode, rule.in_up_vlan, rule.out_up_vlan);
            mc::print_rule_behind_upstream(rule);
        }
    }
}

// One port as the show command prints it: its settings, and its signalling VLANs behind.
void print_port_with_signalling(int p) {
    const IgmpPortParm& port = globle_parm.port[p];
    mc::print_port(p, port);
    std::printf("port(%d) svlan(%d) svlan_s(%d) cvlan(%d) \r\n", p, port.sig_vlan, port.sig_vlan_a,
                port.sig_vlan_b);
}

}  // namespace

namespace mc {

void print_configuration() {
    std::printf("MC HAL Version Num: %s.\r\n", globle_parm.version_str);
    std::printf("MC HAL Compile Data %s: %s.\r\n", globle_parm.build_date, globle_parm.build_time);
    print_rules(PortVlanCfg, setVlanCfgNumber);
    for (int p = 0; p < MC_PORTS; ++p) print_port_with_signalling(p);
    print_template_list(PortVlan, globle_parm.TemplateVlan);
    static_cast<void>(print_igmp_globals());
    std::printf("testuplink = (%d),mlddefaultVlan(%u),tablereturn = (%d)\r\n", testuplink,
                mldInitParams.defaultVlan, tablereturn);
}

}  // namespace mc

std::int32_t debugPrint() {
    print_igmp_rules();
    mc::print_ports(globle_parm.port);
    print_template_vlans(globle_parm.TemplateVlan);
    return mc::print_igmp_globals();
}

std::int32_t mldPrint() {
    // As many rules as the IGMP side counts, whatever the MLD side holds. Kept on purpose, as is
    // the IGMP side's count of template VLANs.
    mc::print_rules(mldInitParams.mldPortVlanCfg, setVlanCfgNumber);
    mc::print_ports(mldInitParams.mldport);
    print_template_vlans(mldInitParams.TemplateVlan);
    return mc::print_mld_globals();
}
