// The walk over the rule table that finds the rule of an upstream frame.
//
// A block (the rules of one logical port) is searched when its door is the frame's port: the port
// number in rule j of the block. j is carried from block to block on purpose: it starts at 0 and
// keeps the value that a search ended with. After an unsuccessful search of n rules the next
// block's door is therefore its rule n, and with n = 10 rule 0 of the block behind it. How many
// rules are searched depends on the port that the frame came in on, not on the block.
#pragma once

#include <algorithm>
#include <cstdint>

#include "adapt/tables.h"
#include "common/diagnostics.h"
#include "common/ethernet.h"
#include "packet/frame_port.h"

namespace mc {

struct RuleWalk {
    const RuleTable& doors;  // whose port numbers open a block
    const RuleTable& rules;  // whose upstream VLANs are compared
    int blocks;
    int used;  // rules to search in a block that opens
};

// The first of so many rules whose in_up_vlan has this VID; null when none has.
inline const PortVlanCfgEntry* first_with_vid(const PortVlanCfgEntry* rule, int used,
                                              std::uint32_t vid) {
    for (const PortVlanCfgEntry* const end = rule + used; rule != end; ++rule) {
        if ((rule->in_up_vlan & kVidMask) == vid) return rule;
    }
    return nullptr;
}

// The rule of a frame; null when there is none. `trace` tells of a rule that was compared; only a
// console that follows the flow is told.
template <class Side, class Trace>
const PortVlanCfgEntry* find_upstream_rule(const RuleWalk& walk, const FramePort& at, Trace trace) {
    const auto port = static_cast<std::int32_t>(at.port);
    int blocks = walk.blocks;
    const PortVlanCfgEntry* door = first_rule(walk.doors);
    for (int block = 0; block < blocks; ++block, door += MC_RULES) {
        if (door->portNO != port) continue;
        const PortVlanCfgEntry* const rules = walk.rules[block];
        const PortVlanCfgEntry* const found = first_with_vid(rules, walk.used, at.vid);
        if (Side::says(kFlow)) {
            std::for_each(rules, found != nullptr ? found + 1 : rules + walk.used, trace);
        }
        if (found != nullptr) return found;
        door = walk.doors[block] + walk.used;
        // Rule 10 of the last block would lie behind the table.
        if (walk.used == MC_RULES) blocks = within(blocks, MC_PORTS - 1);
    }
    return nullptr;
}

}  // namespace mc
