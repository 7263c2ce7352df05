// Looks for sets of VLAN rules with which queries leave user ports in other VLANs than the rules
// say. The library takes such a set, and a member behind such a port ends unasked.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "adapt/records.h"
#include "adapt/tables.h"

namespace node {

struct RuleSet {
    const mc::RuleTable& rules;
    const std::int32_t (&counts)[MC_PORTS];
};

// A line for each finding; the same set has the same lines.
[[nodiscard]] std::vector<std::string> odd_rules(const RuleSet& set);

// Says what is new in the library's own rules since the last look. For the command task, between
// two commands: no other changes them.
void look_at_rules(void (*say)(const std::string& line));

}  // namespace node
