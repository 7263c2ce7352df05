#include "command/dumps.h"

#include <cstdio>

#include "adapt/records.h"
#include "adapt/tables.h"
#include "common/config_text.h"
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

// As many rules as the IGMP side counts, whatever the MLD side holds. Kept on purpose, as is the
// IGMP side's count of template VLANs.
void print_mld_rules() {
    for (int p = 0; p < MC_PORTS; ++p) {
        const int used = mc::rules_in_use(setVlanCfgNumber[p]);
        for (int j = 0; j < used; ++j) mc::print_rule(mldInitParams.mldPortVlanCfg[p][j]);
    }
}

}  // namespace

std::int32_t debugPrint() {
    print_igmp_rules();
    mc::print_igmp_ports();
    print_template_vlans(globle_parm.TemplateVlan);
    return mc::print_igmp_globals();
}

std::int32_t mldPrint() {
    print_mld_rules();
    mc::print_mld_ports();
    print_template_vlans(mldInitParams.TemplateVlan);
    return mc::print_mld_globals();
}
