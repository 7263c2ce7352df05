// The commands that fill the rule tables of both sides as they are.
//
// A command says less than the tables hold, for the two sides go apart:
//
//     command              IGMP side     MLD side
//     vlan add             the rule      the rule, if its data VLAN is new to the IGMP side
//     vlan service-set     the rule      the rule, and once more if its data VLAN is new
//     vlan web-set         the rule      nothing
//     vlan delete          less a rule   nothing
//
// So each rule gets the command that does to both sides what they show, in an order in which that
// holds; a rule of the MLD side alone is added and deleted. Tables that have come about otherwise
// get the commands that come closest: see running_config.h.
#pragma once

#include <cstdint>
#include <set>
#include <vector>

#include "adapt/records.h"
#include "adapt/tables.h"
#include "node/config/words.h"

namespace config {

struct RuleTables {
    const mc::RuleTable& igmp;
    const std::int32_t (&igmp_counts)[MC_PORTS];
    const mc::RuleTable& mld;
    const std::int32_t (&mld_counts)[MC_PORTS];
    std::vector<std::uint16_t> listed;  // the IGMP side's template VLANs
    std::uint16_t default_vlan;         // stays on the list when its last rule goes
};

struct RulePlan {
    Lines lines;
    std::set<std::uint16_t> core_vlans;  // what the lines put on the core's list
    bool learns = false;                 // they switch VLAN learning on
};

[[nodiscard]] RulePlan plan_rules(const RuleTables& tables);

}  // namespace config
