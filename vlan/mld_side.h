// The tables of the MLD side, as the story in vlan/rules.h needs them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "adapt/records.h"
#include "adapt/tables.h"
#include "command/dumps.h"
#include "common/diagnostics.h"
#include "mld/record.h"
#include "vlan/rules.h"

namespace mc {

struct MldRules {
    static bool says(Category category) { return mld_says(category); }
    static const PortTable& ports() { return mldInitParams.port; }
    static RuleTable& rules() { return mldInitParams.mldPortVlanCfg; }
    static std::int32_t (&rule_counts())[MC_PORTS] { return mldInitParams.vlancfgnum; }
    static std::uint16_t default_vlan() { return mldInitParams.defaultVlan; }
    static bool taken_as_given() { return mldInitParams.mld_flag_omci_version != 0; }

    // The count is the byte that every MLD frame overwrites with its port: a frame between two sets
    // moves the place of the next entry. Kept on purpose, but never behind the list.
    static std::int32_t (&list())[MC_TEMPLATE_VLANS] { return mldInitParams.portVlan; }
    static std::uint16_t (&mirror())[MC_TEMPLATE_VLANS] { return mldInitParams.TemplateVlan; }
    static int list_used() { return std::min<int>(mldInitParams.srcPortNum, MC_TEMPLATE_VLANS); }
    static void set_list_used(int used) {
        mldInitParams.srcPortNum = static_cast<std::uint8_t>(used);
    }
    static void lower_list_used() { --mldInitParams.srcPortNum; }
    static void pack_lists();

    static void pack_port(std::uint32_t port);

    static bool dumps_changes() { return mldInitParams.mld_adapt == 1; }
    static void say_before_add() {
        if (mld_says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: \n mld before add multicast_vlan!");
    }
    static void say_after_add() {
        if (mld_says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: \n mld after add multicast_vlan!");
    }
    static void dump() { static_cast<void>(mldPrint()); }
};

}  // namespace mc
