// The tables of the IGMP side, as the story in vlan/rules.h needs them.
#pragma once

#include <cstdint>
#include <cstdio>

#include "adapt/records.h"
#include "adapt/tables.h"
#include "command/dumps.h"
#include "common/diagnostics.h"
#include "vlan/rules.h"

namespace mc {

struct IgmpRules {
    static bool says(Category category) { return igmp_says(category); }
    static const PortTable& ports() { return portState; }
    static RuleTable& rules() { return PortVlanCfg; }
    static std::int32_t (&rule_counts())[MC_PORTS] { return setVlanCfgNumber; }
    static std::uint16_t default_vlan() { return globle_parm.defaultVlan; }
    static bool taken_as_given() { return flag_omci_version != 0; }

    static std::uint16_t (&list())[MC_TEMPLATE_VLANS] { return PortVlan; }
    static std::uint16_t (&mirror())[MC_TEMPLATE_VLANS] { return globle_parm.TemplateVlan; }
    static int list_used() { return template_vlans_in_use(); }
    static void set_list_used(int used) { setVlanNumber = used; }
    static void lower_list_used() { --setVlanNumber; }
    static void pack_lists();

    static void pack_port(std::uint32_t port);

    // Has the core learn VLANs by itself; the core's status.
    static std::int32_t learn_vlans();

    static bool dumps_changes() { return igmp_adapt == 1; }
    static void say_before_add() {
        if (igmp_says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: \n before add multicast_vlan!");
    }
    static void say_after_add() {
        if (igmp_says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: \n after add multicast_vlan!");
    }
    static void dump() { static_cast<void>(debugPrint()); }
};

}  // namespace mc
