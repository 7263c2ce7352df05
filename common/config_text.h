// The lines in which configuration records are shown on the console, whoever shows them.
#pragma once

#include <cstdint>
#include <span>

#include "adapt/records.h"

namespace mc {

// The three lines of a rule.
void print_rule(const PortVlanCfgEntry& rule);

// The line of one logical port's settings, then one for each authorised range in use.
void print_port_settings(int logical, std::uint16_t grouplimit, std::uint16_t leavemod,
                         std::uint32_t max_bandwidth, std::span<const AuthGroupEntry> groups);

}  // namespace mc
