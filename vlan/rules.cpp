// What setting and deleting a rule do to the tables of either side.
#include "vlan/rules.h"

#include <algorithm>
#include <cstdint>

#include "adapt/records.h"
#include "adapt/tables.h"
#include "common/ethernet.h"

namespace mc {

void pack_rules(McRuleBlock& block) {
    PortVlanCfgEntry* end = block;
    for (const PortVlanCfgEntry& rule : block) {
        if (rule.in_up_vlan == MC_NO_VLAN) continue;
        if (end != &rule) *end = rule;  // a frame may be reading those that stay where they are
        ++end;
    }
    std::fill(end, std::end(block), kEmptyRule);
}

void normalise_upstream(PortVlanCfgEntry& rule) {
    if (rule.in_up_vlan != 0 && rule.in_up_vlan != MC_NO_VLAN) return;
    rule.in_up_vlan = 0;
    rule.out_dn_vlan = 0;
    rule.out_data_vlan = 0;
}

void append_rule(McRuleBlock& block, std::int32_t& count, const PortVlanCfgEntry& rule) {
    PortVlanCfgEntry& slot = block[count++];
    const std::uint8_t flag = slot.rule_flag;
    slot = rule;
    slot.rule_flag = flag;
}

PortVlanCfgEntry* find_rule(McRuleBlock& block, std::uint16_t in_up_vlan) {
    auto* const found = std::ranges::find(block, in_up_vlan, &PortVlanCfgEntry::in_up_vlan);
    return found != std::end(block) ? found : nullptr;
}

bool any_has_data_vlan(const RuleTable& rules, const std::int32_t (&counts)[MC_PORTS],
                       std::uint32_t vlan) {
    for (int p = 0; p < MC_PORTS; ++p) {
        const int used = rules_in_use(counts[p]);
        for (int j = 0; j < used; ++j) {
            if ((rules[p][j].in_data_vlan & kVidMask) == vlan) return true;
        }
    }
    return false;
}

}  // namespace mc
