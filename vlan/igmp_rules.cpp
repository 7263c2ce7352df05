// The IGMP side's rules: packing, set and delete.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "adapt/records.h"
#include "common/diagnostics.h"
#include "platform/l2_multicast.h"
#include "platform/protocol_core.h"
#include "vlan/igmp_table.h"
#include "vlan/rules.h"
#include "vlan/vlan.h"

namespace mc {

namespace {

constinit McRuleBlock temPortVlanCfg[MC_PORTS]{};
constinit std::uint16_t tempPortVlan[MC_TEMPLATE_VLANS]{};

// The fields of a request behind its port, in their order.
void say_request(const PortVlanCfgEntry& rule) {
    if (igmp_says(kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: %d, %d, %d, %d, %d, %d, %d, %d, %d.\r\n", rule.prouptagmode,
                    rule.in_up_vlan, rule.out_up_vlan, rule.prodntagmode, rule.in_dn_vlan,
                    rule.out_dn_vlan, rule.datedntagmode, rule.in_data_vlan, rule.out_data_vlan);
    }
}

struct IgmpSet : TagModeLines<IgmpTable>, PortLines<IgmpTable> {
    using Table = IgmpTable;

    static void say_entered(const PortVlanCfgEntry& rule) {
        if (igmp_says(kFlow)) {
            std::printf(
                "\r\n[MC_DBG_DBG]: [onu_std_omci_set_multicast_vlan]: is in! port_index = %d\r\n",
                rule.portNO);
        }
        say_request(rule);
    }
    static void say_list_entry(int vlan) {
        if (igmp_says(kConfig)) std::printf("\r\n[MC_DBG_CFG]: ***portVlan[j]= %d", vlan);
    }
};

struct IgmpDelete : TagModeLines<IgmpTable>, PortLines<IgmpTable> {
    using Table = IgmpTable;

    static void say_entered(const PortVlanCfgEntry& rule) {
        if (igmp_says(kFlow)) {
            std::printf(
                "\r\n[MC_DBG_DBG]: [onu_std_omci_delete_multicast_vlan] is in! port_index = %d\n",
                rule.portNO);
        }
        say_request(rule);
    }
    // Under no category, kept on purpose: whoever asks for dumps sees it.
    static void say_packed() { std::printf("\n setp one!"); }
    static void say_not_withdrawn() {
        if (igmp_says(kErrors)) {
            std::printf("\r\n[MC_DBG_ERR]: ERROR!igmp_adapt_vlan_change Fail");
        }
    }
};

// An ONU without an OMCI id runs in EPON mode, where the core learns VLANs by itself. Returns what
// the core says to that, 0 in any other mode.
[[nodiscard]] std::int32_t learn_vlans_in_epon_mode() {
    std::uint8_t onu_id = 0;
    static_cast<void>(L2_multicast_get_onu_id(&onu_id));
    if (onu_id != L2_MULTICAST_NO_ONU_ID) return 0;
    if (igmp_says(kFlow)) {
        std::puts("\r\n[MC_DBG_DBG]: epon mode,omci_set_igmp_dynamic_enable is in!");
    }
    return IgmpTable::learn_vlans();
}

// Whether an eleventh VLAN would have to enter the template list.
[[nodiscard]] bool list_is_full_for(std::uint16_t vlan) {
    return IgmpTable::list_used() == MC_TEMPLATE_VLANS &&
           std::ranges::find(PortVlan, vlan) == std::end(PortVlan);
}

// A data VLAN that is new enters the template list, which has room, the core and the MLD side.
[[nodiscard]] std::int32_t announce_vlan(PortVlanCfgEntry& rule) {
    static_cast<void>(append_to_list<IgmpTable>(rule.in_data_vlan));
    trace_new_vlan<IgmpTable>(rule.in_data_vlan);
    igmp_checked_ret(igmp_vlan_add(rule.in_data_vlan & kVidMask),
                     "\r\n[MC_DBG_ERR]: \n ERROR!igmp_standard_vlan_add Fail %d\r\n");
    if (igmp_says(kConfig)) {
        std::puts("\r\n[MC_DBG_CFG]: \nmld_onu_std_omci_set_multicast_vlan is in!");
    }
    return igmp_checked_line(mld_onu_std_omci_set_multicast_vlan(&rule),
                             "\r\n[MC_DBG_ERR]: \n ERROR!mld_onu_std_omci_set_multicast_vlan Fail");
}

// A rule from a port, a tag mode and one or two VLANs. Modes 0 and 3 give an untagging rule for one
// VLAN; mode 1 has no upstream VLAN of its own.
PortVlanCfgEntry rule_from_mode(std::int32_t port, std::int32_t mode, std::int32_t vlan,
                                std::int32_t vlan2) {
    auto tag_mode = static_cast<std::int8_t>(mode);
    auto a = static_cast<std::uint16_t>(vlan);
    auto b = static_cast<std::uint16_t>(vlan2);
    switch (mode) {
        case MC_TAG_MODE_TAG:
            b = a;
            a = MC_NO_VLAN;
            break;
        case MC_TAG_MODE_UNTAG:
        case MC_TAG_MODE_TRANSLATE_TOO:
            tag_mode = MC_TAG_MODE_UNTAG;
            b = a;
            break;
        default:
            break;
    }
    return {
        .portNO = static_cast<std::int8_t>(port),
        .prouptagmode = tag_mode,
        .in_up_vlan = a,
        .out_up_vlan = b,
        .prodntagmode = tag_mode,
        .in_dn_vlan = b,
        .out_dn_vlan = a,
        .datedntagmode = tag_mode,
        .in_data_vlan = b,
        .out_data_vlan = a,
        .rule_flag = 0,
    };
}

}  // namespace

std::int32_t IgmpTable::learn_vlans() {
    globle_parm.learningMode = 1;
    return igmp_checked_line(igmp_vlan_learning_set(1),
                             "\r\n[MC_DBG_ERR]: \n ERROR!igmp_adapt_vlan_learning Fail");
}

void IgmpTable::pack_port(std::uint32_t port) {
    std::memcpy(PortVlanCfg, sortPortVlanCfg(PortVlanCfg, port), sizeof(PortVlanCfg));
}

void IgmpTable::pack_lists() {
    std::copy_n(sortMcVlan(PortVlan), MC_TEMPLATE_VLANS, PortVlan);
    std::copy_n(sortMcVlan(globle_parm.TemplateVlan), MC_TEMPLATE_VLANS, globle_parm.TemplateVlan);
}

}  // namespace mc

McRuleBlock* sortPortVlanCfg(McRuleBlock* table, std::uint32_t port) {
    std::memcpy(mc::temPortVlanCfg, table, sizeof(mc::temPortVlanCfg));
    const int logical = mc::packed_port<mc::IgmpTable>(port);
    if (logical != mc::kNoPort) mc::pack_rules(mc::temPortVlanCfg[logical]);
    return mc::temPortVlanCfg;
}

std::uint16_t* sortMcVlan(std::uint16_t* list) { return mc::packed_copy(list, mc::tempPortVlan); }

std::int32_t IsSameVlanExist(std::uint32_t vlan) {
    return mc::data_vlan_in_use<mc::IgmpTable>(vlan) ? 0 : 1;
}

std::int32_t onu_std_omci_set_multicast_vlan(PortVlanCfgEntry* rule) {
    using mc::IgmpSet;
    using mc::IgmpTable;
    if (rule == nullptr) return -1;
    IgmpSet::say_entered(*rule);
    const std::int32_t pending = mc::learn_vlans_in_epon_mode();
    const int logical = mc::accept_new_rule<IgmpSet>(*rule);
    if (logical == mc::kNoPort) return -1;
    if (mc::list_is_full_for(rule->in_data_vlan)) {
        mc::say_list_full<IgmpTable>(rule->in_data_vlan);
        return -1;
    }
    mc::store_rule<IgmpTable>(logical, *rule);
    if (mc::list_has<IgmpSet>(rule->in_data_vlan)) return pending;
    return mc::announce_vlan(*rule);
}

std::int32_t igmp_port_vlan_and_mode_set(std::int32_t port, std::int32_t mode, std::int32_t vlan,
                                         std::int32_t vlan2) {
    if (mc::igmp_says(mc::kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: igmp_port_vlan_and_mode_set is in! port_index = %d\n", port);
    }
    flag_omci_version = 1;
    PortVlanCfgEntry rule = mc::rule_from_mode(port, mode, vlan, vlan2);
    mc::igmp_checked_line(onu_std_omci_set_multicast_vlan(&rule),
                          "\r\n[MC_DBG_ERR]: \n ERROR!onu_std_omci_set_multicast_vlan Fail");
    // A new data VLAN has reached the MLD side already; the rule is given to it again all the same.
    return mc::igmp_checked_line(
        mld_onu_std_omci_set_multicast_vlan(&rule),
        "\r\n[MC_DBG_ERR]: \n ERROR!mld_onu_std_omci_set_multicast_vlan Fail");
}

std::int32_t onu_std_omci_delete_multicast_vlan(PortVlanCfgEntry* rule) {
    if (rule == nullptr) return -1;
    return mc::delete_rule<mc::IgmpDelete>(*rule);
}

std::int32_t igmp_service_remove_port_config(std::int32_t port, std::int32_t mode,
                                             std::int32_t vlan, std::int32_t vlan2) {
    if (mc::igmp_says(mc::kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: igmp_service_remove_port_config is in! port_index = %d\n",
                    port);
    }
    PortVlanCfgEntry rule = mc::rule_from_mode(port, mode, vlan, vlan2);
    mc::igmp_checked(onu_std_omci_delete_multicast_vlan(&rule),
                     "\r\n[MC_DBG_ERR]: \n ERROR!onu_std_omci_delete_multicast_vlan Fail");
    return mc::igmp_checked(
        mld_onu_std_omci_delete_multicast_vlan(&rule),
        "\r\n[MC_DBG_ERR]: \n ERROR!mld_onu_std_omci_delete_multicast_vlan Fail");
}
