// Look-ups that every room makes in the port tables and the rule tables.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "adapt/records.h"
#include "common/bytes.h"
#include "common/ethernet.h"

namespace mc {

using PortTable = PortStateEntry[MC_PORTS];
using RuleTable = PortVlanCfgEntry[MC_PORTS][MC_RULES];

constexpr int kNoPort = -1;

// Logical port of a port number: the first entry that holds it, kNoPort when none does.
inline int logical_port(const PortTable& ports, std::uint32_t port_id) {
    for (int k = 0; k < MC_PORTS; ++k) {
        if (ports[k].port_id == port_id) return k;
    }
    return kNoPort;
}

// A count of entries as a number that is safe to walk to. By value, unlike std::clamp: that is
// shorter wherever it is not optimised away.
constexpr int within(std::int32_t count, int most) {
    return count < 0 ? 0 : count < most ? count : most;
}

// The rules of a port in use. The count is read once: another task may be changing it.
inline int rules_in_use(const std::int32_t& count) { return within(read_once(count), MC_RULES); }

// A table is walked as one array, block behind block.
inline const PortVlanCfgEntry* first_rule(const RuleTable& rules) { return &rules[0][0]; }

// The rule of one table that stands where a rule of another one stands.
inline const PortVlanCfgEntry& same_place(const RuleTable& table, const PortVlanCfgEntry& rule,
                                          const RuleTable& other) {
    const std::ptrdiff_t place = &rule - first_rule(other);
    return *(first_rule(table) + place);
}

constexpr PortVlanCfgEntry kEmptyRule = {
    .portNO = -1,  // 255 in the byte
    .prouptagmode = MC_TAG_MODE_EMPTY,
    .in_up_vlan = MC_NO_VLAN,
    .out_up_vlan = MC_NO_VLAN,
    .prodntagmode = MC_TAG_MODE_EMPTY,
    .in_dn_vlan = MC_NO_VLAN,
    .out_dn_vlan = MC_NO_VLAN,
    .datedntagmode = MC_TAG_MODE_EMPTY,
    .in_data_vlan = MC_NO_VLAN,
    .out_data_vlan = MC_NO_VLAN,
    .rule_flag = 0,
};

// Empties every slot of every port and sets the counts to 0.
inline void clear_rules(RuleTable& rules, std::int32_t (&counts)[MC_PORTS]) {
    for (auto& block : rules) std::fill_n(block, MC_RULES, kEmptyRule);
    std::fill_n(counts, MC_PORTS, 0);
}

// The entries of the template VLAN list in use.
inline int template_vlans_in_use() { return within(read_once(setVlanNumber), MC_TEMPLATE_VLANS); }

// The first template VLAN whose low 12 bits are vid; null when there is none.
inline const std::uint16_t* find_template_vlan(std::uint32_t vid) {
    const std::uint16_t* const end = PortVlan + template_vlans_in_use();
    for (const std::uint16_t* entry = PortVlan; entry != end; ++entry) {
        if ((*entry & kVidMask) == vid) return entry;
    }
    return nullptr;
}

inline void clear_template_list() {
    std::fill_n(PortVlan, template_vlans_in_use(), std::uint16_t{0});
    setVlanNumber = 0;
}

// The port table as it is wired: user ports 0 to 5, then the uplink.
inline void fill_ports(PortTable& ports) {
    for (std::uint32_t i = 0; i < MC_PORTS - 1; ++i) ports[i] = {i, MC_PORT_USER};
    ports[MC_PORTS - 1] = {MC_UPLINK_PORT, MC_PORT_UPLINK};
}

}  // namespace mc
