// The records of a side under one set of names: what the IGMP side keeps in the globals of
// adapt/records.h, and the MLD side in its one record. Whatever is told once for both sides builds
// on these two.
#pragma once

#include <algorithm>
#include <cstdint>

#include "adapt/records.h"
#include "adapt/tables.h"
#include "common/bytes.h"
#include "common/diagnostics.h"
#include "mld/record.h"

namespace mc {

struct IgmpView {
    [[gnu::always_inline]] static bool says(Category category) { return igmp_says(category); }
    // Whether every change of a rule is followed by a dump.
    static bool dumps_changes() { return igmp_adapt == 1; }

    static PortTable& ports() { return portState; }
    static RuleTable& rules() { return PortVlanCfg; }
    static std::int32_t (&rule_counts())[MC_PORTS] { return setVlanCfgNumber; }
    static std::uint16_t default_vlan() { return globle_parm.defaultVlan; }

    // The template VLAN list, its mirror, and how many of its entries are in use.
    static std::uint16_t (&list())[MC_TEMPLATE_VLANS] { return PortVlan; }
    static std::uint16_t (&mirror())[MC_TEMPLATE_VLANS] { return globle_parm.TemplateVlan; }
    static int list_used() { return template_vlans_in_use(); }
    static void set_list_used(int used) { setVlanNumber = used; }
    static void lower_list_used() { --setVlanNumber; }
};

struct MldView {
    [[gnu::always_inline]] static bool says(Category category) { return mld_says(category); }
    static bool dumps_changes() { return mldInitParams.mld_adapt == 1; }

    static PortTable& ports() { return mldInitParams.port; }
    static RuleTable& rules() { return mldInitParams.mldPortVlanCfg; }
    static std::int32_t (&rule_counts())[MC_PORTS] { return mldInitParams.vlancfgnum; }
    static std::uint16_t default_vlan() { return mldInitParams.defaultVlan; }

    // The count is the byte that every MLD frame overwrites with its port, from another task: a
    // frame between two sets moves the place of the next entry. Kept on purpose, but never behind
    // the list: who works by the count reads it once.
    static std::int32_t (&list())[MC_TEMPLATE_VLANS] { return mldInitParams.portVlan; }
    static std::uint16_t (&mirror())[MC_TEMPLATE_VLANS] { return mldInitParams.TemplateVlan; }
    static int list_used() {
        return std::min<int>(read_once(mldInitParams.srcPortNum), MC_TEMPLATE_VLANS);
    }
    static void set_list_used(int used) {
        mldInitParams.srcPortNum = static_cast<std::uint8_t>(used);
    }
    static void lower_list_used() {
        const std::uint8_t count = read_once(mldInitParams.srcPortNum);
        if (count != 0) mldInitParams.srcPortNum = static_cast<std::uint8_t>(count - 1);
    }
};

}  // namespace mc
