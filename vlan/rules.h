// Setting and deleting a rule, told once for both sides.
//
// IgmpTable (vlan/igmp_table.h) and MldTable (vlan/mld_table.h) are the tables of a side. An Op (in
// igmp_rules.cpp and mld_rules.cpp) names its Table and holds what an operation on it says and does
// differently. Categories on the console are the side's own.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "adapt/port_lookup.h"
#include "adapt/records.h"
#include "adapt/tables.h"
#include "common/diagnostics.h"
#include "common/ethernet.h"
#include "platform/protocol_core.h"
#include "vlan/vlan.h"

namespace mc {

// ---- Packing -----------------------------------------------------------------------------------

// Moves the rules in use to the front, in their order, and empties the slots behind them.
void pack_rules(McRuleBlock& block);

// The same for a list of VLANs, where 0 is an empty entry.
template <class Entry>
void pack_list(Entry (&list)[MC_TEMPLATE_VLANS]) {
    Entry* end = list;
    for (const Entry entry : list) {
        if (entry != 0) *end++ = entry;
    }
    std::fill(end, std::end(list), Entry{0});
}

// Packs a copy of a list, which a caller then copies back.
inline std::uint16_t* packed_copy(const std::uint16_t* list,
                                  std::uint16_t (&copy)[MC_TEMPLATE_VLANS]) {
    std::copy_n(list, MC_TEMPLATE_VLANS, copy);
    pack_list(copy);
    return copy;
}

// Logical port of the rules to pack; says what it looked up.
template <class Table>
int packed_port(std::uint32_t port) {
    if (Table::says(kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: sortPortVlanCfg usport = %d\r\n", port);
    }
    const int logical = accept_port<Table>(port);
    if (Table::says(kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: checkPortlogic logicPort = %d\r\n", logical);
    }
    return logical;
}

// ---- What set and delete share -----------------------------------------------------------------

// A port number as a request carries it, in 8 bits.
inline std::uint32_t port_number(const PortVlanCfgEntry& rule) {
    return static_cast<std::uint8_t>(rule.portNO);
}

// The tag mode lines of every operation but the MLD set, which has its own.
template <class Table>
struct TagModeLines {
    static void say_untag_mode(int mode) {
        if (Table::says(kFlow)) {
            std::printf("\r\n[MC_DBG_DBG]: multicast_vlan tagmode = %d, is untag mode!\n", mode);
        }
    }
    static void say_translate_mode(int mode) {
        if (Table::says(kFlow)) {
            std::printf("\r\n[MC_DBG_DBG]: multicast_vlan tagmode = %d, is translate mode!\n",
                        mode);
        }
    }
    static void say_tag_mode(int mode) {
        if (Table::says(kFlow)) {
            std::printf("\r\n[MC_DBG_DBG]: multicast_vlan tagmode = %d, is tag mode!\n", mode);
        }
    }
};

// The port lines of the same operations.
template <class Table>
struct PortLines {
    static void say_port_invalid(int port) {
        if (Table::says(kErrors)) mc::say_port_invalid(static_cast<std::uint32_t>(port));
    }
    static void say_logical_port(int logical) {
        if (Table::says(kFlow)) std::printf("\r\n[MC_DBG_DBG]: \n logicPort is %d", logical);
    }
};

// Fills upstream VLANs that an OMCI request leaves open from its downstream ones, by tag mode.
template <class Op>
void normalise_by_tag_mode(PortVlanCfgEntry& rule) {
    if (Op::Table::taken_as_given()) return;
    const std::int8_t mode = rule.prouptagmode;
    const bool open = rule.in_up_vlan == MC_NO_VLAN;
    switch (mode) {
        case MC_TAG_MODE_UNTAG:
            Op::say_untag_mode(mode);
            if (open) {
                rule.in_up_vlan = rule.in_dn_vlan;
                rule.out_up_vlan = rule.out_dn_vlan;
            }
            return;
        case MC_TAG_MODE_TRANSLATE:
        case MC_TAG_MODE_TRANSLATE_TOO:
            Op::say_translate_mode(mode);
            if (open) rule.in_up_vlan = rule.out_dn_vlan;
            return;
        default:
            Op::say_tag_mode(mode);
            return;
    }
}

// A rule without an upstream VLAN is kept as one for untagged frames: 0 still counts as in use.
void normalise_upstream(PortVlanCfgEntry& rule);

// Port numbers of 128 and above are no port, even where a port table holds such a number: in the
// rule they are negative.
template <class Op>
[[nodiscard]] int accept_rule_port(const PortVlanCfgEntry& rule) {
    const int logical =
        rule.portNO < 0 ? kNoPort : logical_port(Op::Table::ports(), port_number(rule));
    if (logical == kNoPort) {
        Op::say_port_invalid(rule.portNO);
    } else {
        Op::say_logical_port(logical);
    }
    return logical;
}

// ---- Set ---------------------------------------------------------------------------------------

// Whether slot `count` of a port can take a rule. A full port is refused without a message.
template <class Table>
[[nodiscard]] bool has_free_slot(int logical) {
    const std::int32_t count = Table::rule_counts()[logical];
    if (count < 0 || count >= MC_RULES) return false;
    if (Table::rules()[logical][count].in_data_vlan == MC_NO_VLAN) return true;
    if (Table::says(kErrors)) std::puts("\r\n[MC_DBG_ERR]: \n PortVlan storege is wrong!");
    return false;
}

// Completes a request and finds its port; kNoPort when the request is refused.
template <class Op>
[[nodiscard]] int accept_new_rule(PortVlanCfgEntry& rule) {
    normalise_by_tag_mode<Op>(rule);
    const int logical = accept_rule_port<Op>(rule);
    if (logical == kNoPort) return kNoPort;
    normalise_upstream(rule);
    return has_free_slot<typename Op::Table>(logical) ? logical : kNoPort;
}

// Writes a rule into the next slot of a port that has_free_slot. The count is raised first, so for
// a moment a frame may see the slot half written; the slot's flag stays as it is.
void append_rule(McRuleBlock& block, std::int32_t& count, const PortVlanCfgEntry& rule);

template <class Table>
void say_list_full(std::uint16_t vlan) {
    if (Table::says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n no room for vlan(%d) in the template vlan list!", vlan);
    }
}

// Whether the template list holds a VLAN, told entry by entry.
template <class Op>
[[nodiscard]] bool list_has(std::uint16_t vlan) {
    using Table = typename Op::Table;
    bool found = false;
    const int used = Table::list_used();
    for (int j = 0; j < used; ++j) {
        Op::say_list_entry(Table::list()[j]);
        if (Table::list()[j] != vlan) continue;
        found = true;
        if (!Table::dumps_changes()) continue;
        if (Table::says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: \n PortVlan is  already exist!");
        Table::dump();
    }
    return found;
}

// Enters a VLAN at the end of the template list and its mirror. False, and said so, when there is
// no room. The count is read once: on the MLD side another task moves it at any time.
template <class Table>
[[nodiscard]] bool append_to_list(std::uint16_t vlan) {
    const int used = Table::list_used();
    if (used >= MC_TEMPLATE_VLANS) {
        say_list_full<Table>(vlan);
        return false;
    }
    Table::list()[used] = vlan;
    Table::mirror()[used] = vlan;
    Table::set_list_used(used + 1);
    if (!Table::dumps_changes()) return true;
    if (Table::says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: \n after add PortVlan!");
    Table::dump();
    return true;
}

template <class Table>
void store_rule(int logical, const PortVlanCfgEntry& rule) {
    if (Table::dumps_changes()) {
        Table::say_before_add();
        Table::dump();
    }
    append_rule(Table::rules()[logical], Table::rule_counts()[logical], rule);
    if (Table::dumps_changes()) {
        Table::say_after_add();
        Table::dump();
    }
}

template <class Table>
void trace_new_vlan(std::uint16_t vlan) {
    if (Table::says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: temp_var = %d\n", vlan & kVidMask);
    }
}

// ---- Delete ------------------------------------------------------------------------------------

// The first slot of a port with this upstream VLAN, all ten looked at; null when there is none.
PortVlanCfgEntry* find_rule(McRuleBlock& block, std::uint16_t in_up_vlan);
// Whether a rule in use, of any port, has this data VLAN.
bool any_has_data_vlan(const RuleTable& rules, const std::int32_t (&counts)[MC_PORTS],
                       std::uint32_t vlan);

template <class Table>
bool data_vlan_in_use(std::uint32_t vlan) {
    const bool found = any_has_data_vlan(Table::rules(), Table::rule_counts(), vlan);
    if (found && Table::says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: \nIsSameVlanExist is find");
    return found;
}

template <class Table>
void remove_from_list(std::uint16_t vlan) {
    const int used = Table::list_used();
    for (int i = 0; i < used; ++i) {
        if (Table::list()[i] != vlan) continue;
        Table::list()[i] = 0;
        Table::mirror()[i] = 0;
        Table::lower_list_used();
        break;
    }
    Table::pack_lists();
}

template <class Op>
[[nodiscard]] std::int32_t delete_rule(PortVlanCfgEntry& rule) {
    using Table = typename Op::Table;
    Op::say_entered(rule);
    normalise_by_tag_mode<Op>(rule);
    const int logical = accept_rule_port<Op>(rule);
    if (logical == kNoPort) return -1;
    if (Table::rule_counts()[logical] == 0) {
        if (Table::says(kFlow)) {
            std::printf("\r\n[MC_DBG_DBG]: \n vlan is not been disposed,use default vlan!");
        }
        return -1;
    }
    normalise_upstream(rule);
    PortVlanCfgEntry* const found = find_rule(Table::rules()[logical], rule.in_up_vlan);
    if (found == nullptr) {
        if (Table::says(kErrors)) std::puts("\r\n[MC_DBG_ERR]: \n delete PortVlanCfg is not find!");
        return 0;
    }
    *found = kEmptyRule;
    --Table::rule_counts()[logical];
    Table::pack_port(port_number(rule));
    if (Table::dumps_changes()) {
        Op::say_packed();
        Table::dump();
    }
    if (data_vlan_in_use<Table>(rule.in_data_vlan)) return 0;
    if (rule.in_data_vlan == Table::default_vlan())
        return 0;  // the default VLAN is never withdrawn

    const auto vid = static_cast<std::uint16_t>(rule.in_data_vlan & kVidMask);
    if (Table::says(kConfig)) std::printf("\r\n[MC_DBG_CFG]: del temp_var = %d\r\n", vid);
    const std::int32_t status = igmp_vlan_del(vid);
    if (status != 0) Op::say_not_withdrawn();
    remove_from_list<Table>(rule.in_data_vlan);
    return status;
}

}  // namespace mc
