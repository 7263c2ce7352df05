// Setting and deleting a rule, told once for both sides.
//
// IgmpRules (vlan/igmp_rules.cpp) and MldRules (vlan/mld_rules.cpp) hold the tables of a side. An
// Op names its Side and holds what an operation on it says and does differently. Categories on the
// console are the side's own.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "adapt/records.h"
#include "adapt/tables.h"
#include "common/diagnostics.h"
#include "common/ethernet.h"
#include "platform/protocol_core.h"
#include "vlan/vlan.h"

namespace mc {

// ---- Packing -----------------------------------------------------------------------------------

// Moves the rules in use to the front, in their order, and empties the slots behind them.
inline void pack_rules(McRuleBlock& block) {
    auto* const end = std::remove_if(std::begin(block), std::end(block), [](const auto& rule) {
        return rule.in_up_vlan == MC_NO_VLAN;
    });
    std::fill(end, std::end(block), kEmptyRule);
}

// The same for a list of VLANs, where 0 is an empty entry.
template <class Entry>
void pack_list(Entry (&list)[MC_TEMPLATE_VLANS]) {
    Entry* const end = std::remove(std::begin(list), std::end(list), Entry{0});
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
template <class Side>
int packed_port(std::uint32_t port) {
    if (Side::says(kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: sortPortVlanCfg usport = %d\r\n", port);
    }
    int logical = kNoPort;
    if (port > MC_UPLINK_PORT) {
        if (Side::says(kErrors)) {
            std::printf("\r\n[MC_DBG_ERR]: \n port(%d) is invalid!", port);
        }
    } else {
        logical = logical_port(Side::ports(), port);
        if (logical == kNoPort && Side::says(kErrors)) {
            std::printf("\r\n[MC_DBG_ERR]: \n [checkPortState]port(%d) is not find!", port);
        }
    }
    if (Side::says(kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: checkPortlogic logicPort = %d\r\n", logical);
    }
    return logical;
}

// ---- What set and delete share -----------------------------------------------------------------

// A port number as a request carries it; 128 and above are no port and must not be taken for
// negative.
inline std::uint32_t port_number(const PortVlanCfgEntry& rule) {
    return static_cast<std::uint8_t>(rule.portNO);
}

// The tag mode lines of every operation but the MLD set, which has its own.
template <class Side>
struct TagModeLines {
    static void say_untag_mode(int mode) {
        if (Side::says(kFlow)) {
            std::printf("\r\n[MC_DBG_DBG]: multicast_vlan tagmode = %d, is untag mode!\n", mode);
        }
    }
    static void say_translate_mode(int mode) {
        if (Side::says(kFlow)) {
            std::printf("\r\n[MC_DBG_DBG]: multicast_vlan tagmode = %d, is translate mode!\n",
                        mode);
        }
    }
    static void say_tag_mode(int mode) {
        if (Side::says(kFlow)) {
            std::printf("\r\n[MC_DBG_DBG]: multicast_vlan tagmode = %d, is tag mode!\n", mode);
        }
    }
};

// The port lines of the same operations.
template <class Side>
struct PortLines {
    static void say_port_invalid(int port) {
        if (Side::says(kErrors)) {
            std::printf("\r\n[MC_DBG_ERR]: \n port(%d) is invalid!", port);
        }
    }
    static void say_logical_port(int logical) {
        if (Side::says(kFlow)) std::printf("\r\n[MC_DBG_DBG]: \n logicPort is %d", logical);
    }
};

// Fills upstream VLANs that an OMCI request leaves open from its downstream ones, by tag mode.
template <class Op>
void normalise_by_tag_mode(PortVlanCfgEntry& rule) {
    if (Op::Side::taken_as_given()) return;
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
inline void normalise_upstream(PortVlanCfgEntry& rule) {
    if (rule.in_up_vlan != 0 && rule.in_up_vlan != MC_NO_VLAN) return;
    rule.in_up_vlan = 0;
    rule.out_dn_vlan = 0;
    rule.out_data_vlan = 0;
}

template <class Op>
[[nodiscard]] int accept_rule_port(const PortVlanCfgEntry& rule) {
    const int logical = logical_port(Op::Side::ports(), port_number(rule));
    if (logical == kNoPort) {
        Op::say_port_invalid(rule.portNO);
    } else {
        Op::say_logical_port(logical);
    }
    return logical;
}

// ---- Set ---------------------------------------------------------------------------------------

// Whether slot `count` of a port can take a rule. A full port is refused without a message.
template <class Side>
[[nodiscard]] bool has_free_slot(int logical) {
    const std::int32_t count = Side::rule_counts()[logical];
    if (count < 0 || count >= MC_RULES) return false;
    if (Side::rules()[logical][count].in_data_vlan == MC_NO_VLAN) return true;
    if (Side::says(kErrors)) std::puts("\r\n[MC_DBG_ERR]: \n PortVlan storege is wrong!");
    return false;
}

// Completes a request and finds its port; kNoPort when the request is refused.
template <class Op>
[[nodiscard]] int accept_new_rule(PortVlanCfgEntry& rule) {
    normalise_by_tag_mode<Op>(rule);
    const int logical = accept_rule_port<Op>(rule);
    if (logical == kNoPort) return kNoPort;
    normalise_upstream(rule);
    return has_free_slot<typename Op::Side>(logical) ? logical : kNoPort;
}

// Writes a rule into the next slot of a port that has_free_slot. The count is raised first, so for
// a moment a frame may see the slot half written; the slot's flag stays as it is.
template <class Side>
void append_rule(int logical, const PortVlanCfgEntry& rule) {
    const std::int32_t count = Side::rule_counts()[logical]++;
    PortVlanCfgEntry& slot = Side::rules()[logical][count];
    const std::uint8_t flag = slot.rule_flag;
    slot = rule;
    slot.rule_flag = flag;
}

// Whether an eleventh VLAN would have to enter the template list.
template <class Side>
[[nodiscard]] bool list_is_full_for(std::uint16_t vlan) {
    const auto& list = Side::list();
    return Side::list_used() == MC_TEMPLATE_VLANS &&
           std::find(std::begin(list), std::end(list), vlan) == std::end(list);
}

template <class Side>
void say_list_full(std::uint16_t vlan) {
    if (Side::says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n no room for vlan(%d) in the template vlan list!", vlan);
    }
}

// Whether the template list holds a VLAN, told entry by entry.
template <class Op>
[[nodiscard]] bool list_has(std::uint16_t vlan) {
    using Side = typename Op::Side;
    bool found = false;
    for (int j = 0; j < Side::list_used(); ++j) {
        Op::say_list_entry(Side::list()[j]);
        if (Side::list()[j] != vlan) continue;
        found = true;
        if (!Side::dumps_changes()) continue;
        if (Side::says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: \n PortVlan is  already exist!");
        Side::dump();
    }
    return found;
}

// Enters a VLAN at the end of the template list and its mirror; there must be room.
template <class Side>
void append_to_list(std::uint16_t vlan) {
    const int used = Side::list_used();
    Side::list()[used] = vlan;
    Side::mirror()[used] = vlan;
    Side::set_list_used(used + 1);
    if (!Side::dumps_changes()) return;
    if (Side::says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: \n after add PortVlan!");
    Side::dump();
}

template <class Side>
void store_rule(int logical, const PortVlanCfgEntry& rule) {
    if (Side::dumps_changes()) {
        Side::say_before_add();
        Side::dump();
    }
    append_rule<Side>(logical, rule);
    if (Side::dumps_changes()) {
        Side::say_after_add();
        Side::dump();
    }
}

template <class Side>
void trace_new_vlan(std::uint16_t vlan) {
    if (Side::says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: temp_var = %d\n", vlan & kVidMask);
    }
}

// ---- Delete ------------------------------------------------------------------------------------

// The first slot of a port with this upstream VLAN, all ten looked at; null when there is none.
template <class Side>
PortVlanCfgEntry* find_rule(int logical, std::uint16_t in_up_vlan) {
    McRuleBlock& block = Side::rules()[logical];
    auto* const found = std::ranges::find(block, in_up_vlan, &PortVlanCfgEntry::in_up_vlan);
    return found != std::end(block) ? found : nullptr;
}

// Whether a rule in use, of any port, has this data VLAN.
template <class Side>
bool data_vlan_in_use(std::uint32_t vlan) {
    for (int p = 0; p < MC_PORTS; ++p) {
        const int used = rules_in_use(Side::rule_counts()[p]);
        for (int j = 0; j < used; ++j) {
            if ((Side::rules()[p][j].in_data_vlan & kVidMask) != vlan) continue;
            if (Side::says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: \nIsSameVlanExist is find");
            return true;
        }
    }
    return false;
}

template <class Side>
void remove_from_list(std::uint16_t vlan) {
    const int used = Side::list_used();
    for (int i = 0; i < used; ++i) {
        if (Side::list()[i] != vlan) continue;
        Side::list()[i] = 0;
        Side::mirror()[i] = 0;
        Side::lower_list_used();
        break;
    }
    Side::pack_lists();
}

template <class Op>
[[nodiscard]] std::int32_t delete_rule(PortVlanCfgEntry& rule) {
    using Side = typename Op::Side;
    Op::say_entered(rule);
    normalise_by_tag_mode<Op>(rule);
    const int logical = accept_rule_port<Op>(rule);
    if (logical == kNoPort) return -1;
    if (Side::rule_counts()[logical] == 0) {
        if (Side::says(kFlow)) {
            std::printf("\r\n[MC_DBG_DBG]: \n vlan is not been disposed,use default vlan!");
        }
        return -1;
    }
    normalise_upstream(rule);
    PortVlanCfgEntry* const found = find_rule<Side>(logical, rule.in_up_vlan);
    if (found == nullptr) {
        if (Side::says(kErrors)) std::puts("\r\n[MC_DBG_ERR]: \n delete PortVlanCfg is not find!");
        return 0;
    }
    *found = kEmptyRule;
    --Side::rule_counts()[logical];
    Side::pack_port(port_number(rule));
    if (Side::dumps_changes()) {
        Op::say_packed();
        Side::dump();
    }
    if (data_vlan_in_use<Side>(rule.in_data_vlan)) return 0;
    if (rule.in_data_vlan == Side::default_vlan()) return 0;  // the default VLAN is never withdrawn

    const auto vid = static_cast<std::uint16_t>(rule.in_data_vlan & kVidMask);
    if (Side::says(kConfig)) std::printf("\r\n[MC_DBG_CFG]: del temp_var = %d\r\n", vid);
    const std::int32_t status = igmp_vlan_del(vid);
    if (status != 0) Op::say_not_withdrawn();
    remove_from_list<Side>(rule.in_data_vlan);
    return status;
}

}  // namespace mc
