// The lines in which configuration records are shown on the console, whoever shows them.
#pragma once

#include <cstdint>
#include <span>

#include "adapt/records.h"

namespace mc {

// The lines of a rule: one for each half of its protocol frames, one for its data.
void print_rule(const PortVlanCfgEntry& rule);
void print_rule_behind_upstream(const PortVlanCfgEntry& rule);  // all lines but the first

// The line of one logical port's settings, then one for each authorised range in use.
void print_port_settings(int logical, std::uint16_t grouplimit, std::uint16_t leavemod,
                         std::uint32_t max_bandwidth, std::span<const AuthGroupEntry> groups);

// The same for all logical ports of a side.
void print_igmp_ports();
void print_mld_ports();

// The three lines of a side's global parameters; what the last printf returned.
std::int32_t print_igmp_globals();
std::int32_t print_mld_globals();

}  // namespace mc
