// The IGMP side's rules: packing, set and delete.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "adapt/records.h"
#include "common/diagnostics.h"
#include "platform/l2_multicast.h"
#include "platform/protocol_core.h"
#include "vlan/igmp_side.h"
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

struct IgmpSet : TagModeLines<IgmpRules>, PortLines<IgmpRules> {
    using Side = IgmpRules;

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

struct IgmpDelete : TagModeLines<IgmpRules>, PortLines<IgmpRules> {
    using Side = IgmpRules;

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
    constexpr std::uint8_t kNoOnuId = 255;
    std::uint8_t onu_id = 0;
    static_cast<void>(L2_multicast_get_onu_id(&onu_id));
    if (onu_id != kNoOnuId) return 0;
    if (igmp_says(kFlow)) {
        std::puts("\r\n[MC_DBG_DBG]: epon mode,omci_set_igmp_dynamic_enable is in!");
    }
    return IgmpRules::learn_vlans();
}

// A data VLAN that is new enters the template list, the core and the MLD side.
[[nodiscard]] std::int32_t announce_vlan(PortVlanCfgEntry& rule) {
    append_to_list<IgmpRules>(rule.in_data_vlan);
    trace_new_vlan<IgmpRules>(rule.in_data_vlan);
    const std::int32_t added = igmp_vlan_add(rule.in_data_vlan & kVidMask);
    if (added != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!igmp_standard_vlan_add Fail %d\r\n", added);
    }
    if (igmp_says(kConfig)) {
        std::puts("\r\n[MC_DBG_CFG]: \nmld_onu_std_omci_set_multicast_vlan is in!");
    }
    const std::int32_t status = mld_onu_std_omci_set_multicast_vlan(&rule);
    if (status != 0 && igmp_says(kErrors)) {
        std::puts("\r\n[MC_DBG_ERR]: \n ERROR!mld_onu_std_omci_set_multicast_vlan Fail");
    }
    return status;
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

std::int32_t IgmpRules::learn_vlans() {
    globle_parm.learningMode = 1;
    const std::int32_t status = igmp_vlan_learning_set(1);
    if (status != 0 && igmp_says(kErrors)) {
        std::puts("\r\n[MC_DBG_ERR]: \n ERROR!igmp_adapt_vlan_learning Fail");
    }
    return status;
}

void IgmpRules::pack_port(std::uint32_t port) {
    std::memcpy(PortVlanCfg, sortPortVlanCfg(PortVlanCfg, port), sizeof(PortVlanCfg));
}

void IgmpRules::pack_lists() {
    std::copy_n(sortMcVlan(PortVlan), MC_TEMPLATE_VLANS, PortVlan);
    std::copy_n(sortMcVlan(globle_parm.TemplateVlan), MC_TEMPLATE_VLANS, globle_parm.TemplateVlan);
}

}  // namespace mc

McRuleBlock* sortPortVlanCfg(McRuleBlock* table, std::uint32_t port) {
    std::memcpy(mc::temPortVlanCfg, table, sizeof(mc::temPortVlanCfg));
    const int logical = mc::packed_port<mc::IgmpRules>(port);
    if (logical != mc::kNoPort) mc::pack_rules(mc::temPortVlanCfg[logical]);
    return mc::temPortVlanCfg;
}

std::uint16_t* sortMcVlan(std::uint16_t* list) { return mc::packed_copy(list, mc::tempPortVlan); }

std::int32_t IsSameVlanExist(std::uint32_t vlan) {
    return mc::data_vlan_in_use<mc::IgmpRules>(vlan) ? 0 : 1;
}

std::int32_t onu_std_omci_set_multicast_vlan(PortVlanCfgEntry* rule) {
    using mc::IgmpRules;
    using mc::IgmpSet;
    if (rule == nullptr) return -1;
    IgmpSet::say_entered(*rule);
    const std::int32_t pending = mc::learn_vlans_in_epon_mode();
    const int logical = mc::accept_new_rule<IgmpSet>(*rule);
    if (logical == mc::kNoPort) return -1;
    if (mc::list_is_full_for<IgmpRules>(rule->in_data_vlan)) {
        mc::say_list_full<IgmpRules>(rule->in_data_vlan);
        return -1;
    }
    mc::store_rule<IgmpRules>(logical, *rule);
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
    if (onu_std_omci_set_multicast_vlan(&rule) != 0 && mc::igmp_says(mc::kErrors)) {
        std::puts("\r\n[MC_DBG_ERR]: \n ERROR!onu_std_omci_set_multicast_vlan Fail");
    }
    // A new data VLAN has reached the MLD side already; the rule is given to it again all the same.
    const std::int32_t status = mld_onu_std_omci_set_multicast_vlan(&rule);
    if (status != 0 && mc::igmp_says(mc::kErrors)) {
        std::puts("\r\n[MC_DBG_ERR]: \n ERROR!mld_onu_std_omci_set_multicast_vlan Fail");
    }
    return status;
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
    if (onu_std_omci_delete_multicast_vlan(&rule) != 0 && mc::igmp_says(mc::kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!onu_std_omci_delete_multicast_vlan Fail");
    }
    const std::int32_t status = mld_onu_std_omci_delete_multicast_vlan(&rule);
    if (status != 0 && mc::igmp_says(mc::kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!mld_onu_std_omci_delete_multicast_vlan Fail");
    }
    return status;
}
