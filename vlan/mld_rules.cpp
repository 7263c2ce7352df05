// The MLD side's rules: packing, set and delete.
#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "adapt/records.h"
#include "common/diagnostics.h"
#include "mld/record.h"
#include "vlan/mld_table.h"
#include "vlan/rules.h"
#include "vlan/vlan.h"

namespace mc {

namespace {

constinit std::uint16_t tempPortVlan[MC_TEMPLATE_VLANS]{};

struct MldSet {
    using Table = MldTable;

    static void say_entered(const PortVlanCfgEntry& rule) {
        if (mld_says(kFlow)) {
            std::printf(
                "\r\n[MC_DBG_DBG]: mld_onu_std_omci_set_multicast_vlan is in! port_index = %d\n",
                rule.portNO);
        }
    }
    static void say_untag_mode(int mode) {
        if (mld_says(kFlow)) {
            std::printf("\r\n[MC_DBG_DBG]: mld multicast_vlan tagmode = %d, is untag mode!\n",
                        mode);
        }
    }
    static void say_translate_mode(int mode) {
        if (mld_says(kFlow)) {
            std::printf("\r\n[MC_DBG_DBG]: mld multicast_vlan tagmode = %d, is translate mode!\n",
                        mode);
        }
    }
    static void say_tag_mode(int mode) {
        if (mld_says(kFlow)) {
            std::printf("\r\n[MC_DBG_DBG]: mld multicast_vlan tagmode = %d, is tag mode!\n", mode);
        }
    }
    static void say_port_invalid(int port) {
        if (mld_says(kErrors)) {
            std::printf("\r\n[MC_DBG_ERR]: mld port(%d) is invalid!\r\n", port);
        }
    }
    static void say_logical_port(int logical) {
        if (mld_says(kFlow)) {
            std::printf("\r\n[MC_DBG_DBG]: mld logicPort is %d\r\n", logical);
            std::printf("\r\n[MC_DBG_DBG]: mld vlancfgtem(%d)\r\n",
                        mldInitParams.vlancfgnum[logical]);
        }
    }
    static void say_list_entry(int vlan) {
        if (mld_says(kConfig)) std::printf("\r\n[MC_DBG_CFG]: ***mld portVlan[j]= %d", vlan);
    }
};

struct MldDelete : TagModeLines<MldTable>, PortLines<MldTable> {
    using Table = MldTable;

    // The IGMP operation's name stands here, kept on purpose.
    static void say_entered(const PortVlanCfgEntry& rule) {
        if (mld_says(kFlow)) {
            std::printf(
                "\r\n[MC_DBG_DBG]: onu_std_omci_delete_multicast_vlan is in! port_index = %d\n",
                rule.portNO);
        }
    }
    static void say_packed() {
        if (mld_says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: \n setp one!");
    }
    static void say_not_withdrawn() {
        if (mld_says(kErrors)) std::puts("\r\n[MC_DBG_ERR]: ERROR!mld_adapt_vlan_change Fail");
    }
};

}  // namespace

void MldTable::pack_port(std::uint32_t port) {
    static_cast<void>(mldsortPortVlanCfg(mldInitParams.mldPortVlanCfg, port));
}

void MldTable::pack_lists() {
    pack_list(mldInitParams.portVlan);
    std::copy_n(sortmldVlan(mldInitParams.TemplateVlan), MC_TEMPLATE_VLANS,
                mldInitParams.TemplateVlan);
}

}  // namespace mc

McRuleBlock* mldsortPortVlanCfg(McRuleBlock* table, std::uint32_t port) {
    const int logical = mc::packed_port<mc::MldTable>(port);
    if (logical != mc::kNoPort) mc::pack_rules(table[logical]);
    return table;
}

std::uint16_t* sortmldVlan(std::uint16_t* list) { return mc::packed_copy(list, mc::tempPortVlan); }

std::int32_t* mldgetPortVlanConfigNumber() { return mldInitParams.vlancfgnum; }

std::int32_t mld_onu_std_omci_set_multicast_vlan(PortVlanCfgEntry* rule) {
    using mc::MldSet;
    using mc::MldTable;
    if (rule == nullptr) return -1;
    MldSet::say_entered(*rule);
    const int logical = mc::accept_new_rule<MldSet>(*rule);
    if (logical == mc::kNoPort) return -1;
    mc::store_rule<MldTable>(logical, *rule);
    if (mc::list_has<MldSet>(rule->in_data_vlan)) return 0;
    // The rule stays: it is only the place of the list entry that a frame's port may have taken.
    if (!mc::append_to_list<MldTable>(rule->in_data_vlan)) return -1;
    mc::trace_new_vlan<MldTable>(rule->in_data_vlan);
    return 0;
}

std::int32_t mld_onu_std_omci_delete_multicast_vlan(PortVlanCfgEntry* rule) {
    if (rule == nullptr) return -1;
    return mc::delete_rule<mc::MldDelete>(*rule);
}
