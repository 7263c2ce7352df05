// The walk over the rule table that finds the rule of an upstream frame.
//
// A block (the rules of one logical port) is searched when its door is the frame's port: the port
// number in rule j of the block. j is carried from block to block on purpose: it starts at 0, keeps
// the value that the last searched block ended with, and goes back to 0 when there is nothing to
// search. After an unsuccessful search of n rules the next block's door is therefore its rule n,
// and with n = 10 rule 0 of the block behind it. How many rules are searched depends on the port
// that the frame came in on, not on the block.
#pragma once

#include <cstdint>
#include <optional>

#include "adapt/tables.h"
#include "common/ethernet.h"

namespace mc {

struct RuleWalk {
    const RuleTable& doors;  // whose port numbers open a block
    const RuleTable& rules;  // whose upstream VLANs are compared
    int blocks;
    int used;  // rules to search in a block that opens
};

struct RulePosition {
    int block;
    int index;
};

// The first rule whose in_up_vlan has the frame's VID. `examine` is called for each rule compared.
template <class Examine>
std::optional<RulePosition> walk_upstream_rules(const RuleWalk& walk, std::uint32_t port,
                                                std::uint32_t vid, Examine examine) {
    int j = 0;
    for (int block = 0; block < walk.blocks; ++block) {
        const PortVlanCfgEntry* const door = rule_at(walk.doors, block, j);
        if (door == nullptr || door->portNO != static_cast<std::int32_t>(port)) continue;
        for (j = 0; j < walk.used; ++j) {
            const PortVlanCfgEntry& rule = walk.rules[block][j];
            examine(rule);
            if ((rule.in_up_vlan & kVidMask) == vid) return RulePosition{block, j};
        }
    }
    return std::nullopt;
}

}  // namespace mc
