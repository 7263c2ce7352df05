// The web interface's set: one rule a port, derived from its downstream half.
#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "adapt/records.h"
#include "adapt/tables.h"
#include "common/diagnostics.h"
#include "common/ethernet.h"
#include "platform/protocol_core.h"
#include "vlan/igmp_table.h"
#include "vlan/rules.h"
#include "vlan/vlan.h"

namespace {

using mc::igmp_checked_line;
using mc::igmp_checked_ret;
using mc::igmp_says;
using mc::IgmpTable;
using mc::kConfig;
using mc::kFlow;

// Takes the data VLAN of the port's first rule back from the core, 4095 when there is no rule. A
// request for the default VLAN takes nothing back.
void withdraw_old_vlan(int port, std::uint16_t requested_vlan) {
    if (requested_vlan == globle_parm.defaultVlan) return;
    const auto vid = static_cast<std::uint16_t>(PortVlanCfg[port][0].in_data_vlan & mc::kVidMask);
    if (igmp_says(kConfig)) std::printf("\r\n[MC_DBG_CFG]: \r\n temp_var = %d\r\n", vid);
    igmp_checked_ret(igmp_vlan_del(vid), "\r\n[MC_DBG_ERR]: \n ERROR!igmp_vlan_del Fail(%d)");
}

// Drops the first template VLAN that is the data VLAN of the first rule of the port at the same
// position: list entry i is compared with port i, not with the requested port. Kept on purpose.
void drop_one_template_vlan() {
    const int compared = std::min<int>(IgmpTable::list_used(), MC_PORTS);
    for (int i = 0; i < compared; ++i) {
        if (PortVlan[i] != PortVlanCfg[i][0].in_data_vlan) continue;
        PortVlan[i] = 0;
        globle_parm.TemplateVlan[i] = 0;
        IgmpTable::lower_list_used();
        break;
    }
    IgmpTable::pack_lists();
}

void empty_port(int port) {
    std::fill_n(PortVlanCfg[port], MC_RULES, mc::kEmptyRule);
    setVlanCfgNumber[port] = 0;
}

// These two go by the report level, not by the category mask, and name the operation and a line.
void report_port_invalid(int port) {
    constexpr int kReportedLine = 56;
    if (igmp_adapt < -1) return;
    std::printf("\r\n [IGMP_ERROR]%s(%d): ", "onu_std_omci_web_set_vlan", kReportedLine);
    std::printf("\n port(%d) is invalid!", port);
    std::puts("\r");
}

void report_logical_port(int logical) {
    constexpr int kReportedLine = 63;
    if (igmp_adapt <= 0) return;
    std::printf("\r\n [IGMP_INFORMATION]%s(%d): ", "onu_std_omci_web_set_vlan", kReportedLine);
    std::printf("\n logicPort is %d", logical);
    std::puts("\r");
}

// The request gives the downstream half and the data VLAN; the rest follows from them.
void derive_rule(PortVlanCfgEntry& rule) {
    rule.in_up_vlan = rule.out_dn_vlan;
    rule.prouptagmode = rule.prodntagmode;
    rule.out_up_vlan = rule.in_dn_vlan;
    if (rule.prodntagmode == MC_TAG_MODE_TAG) {
        rule.in_up_vlan = 0;
        rule.out_dn_vlan = 0;
    }
    if (rule.datedntagmode == MC_TAG_MODE_TAG) rule.out_data_vlan = 0;
    if (rule.prodntagmode == MC_TAG_MODE_UNTAG) {
        rule.in_up_vlan = rule.in_dn_vlan;
        rule.out_dn_vlan = rule.in_dn_vlan;
    }
    if (rule.datedntagmode == MC_TAG_MODE_UNTAG) rule.out_data_vlan = rule.in_data_vlan;
}

// The list is not searched for the VLAN: it is entered again with every request.
[[nodiscard]] bool has_list_room(std::uint16_t vlan) {
    if (IgmpTable::list_used() < MC_TEMPLATE_VLANS) return true;
    mc::say_list_full<IgmpTable>(vlan);
    return false;
}

}  // namespace

std::int32_t onu_std_omci_web_set_vlan(PortVlanCfgEntry* rule) {
    if (rule == nullptr) return -1;
    if (igmp_says(kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: onu_std_omci_web_set_vlan is in! port_index = %d\n",
                    rule->portNO);
    }
    const std::uint32_t port = mc::port_number(*rule);
    if (port >= MC_PORTS) {
        if (igmp_says(kFlow)) {
            std::printf(
                "\r\n[MC_DBG_DBG]: onu_std_omci_web_set_vlan port is illegel! port_index = %d\n",
                rule->portNO);
        }
        return -1;
    }
    // Unlike an OMCI set, in EPON mode or not.
    static_cast<void>(IgmpTable::learn_vlans());
    const int cleared = static_cast<int>(port);
    withdraw_old_vlan(cleared, rule->in_data_vlan);
    drop_one_template_vlan();
    empty_port(cleared);

    // From here on the port is a port number, which the uplink's index is not.
    const int logical = mc::logical_port(portState, port);
    if (logical == mc::kNoPort) {
        report_port_invalid(rule->portNO);
        return -1;
    }
    report_logical_port(logical);
    derive_rule(*rule);
    if (setVlanCfgNumber[logical] >= MC_RULES) return -1;
    if (!has_list_room(rule->in_data_vlan)) return -1;
    if (!mc::has_free_slot<IgmpTable>(logical)) return -1;
    mc::store_rule<IgmpTable>(logical, *rule);
    static_cast<void>(mc::append_to_list<IgmpTable>(rule->in_data_vlan));  // there is room
    return igmp_checked_line(igmp_vlan_add(rule->in_data_vlan & mc::kVidMask),
                             "\r\n[MC_DBG_ERR]: \n ERROR!igmp_standard_vlan_add Fail");
}
