// The lines in which configuration records are shown on the console, whoever shows them.
#pragma once

#include <cstdint>
#include <span>

#include "adapt/records.h"
#include "adapt/tables.h"

namespace mc {

void print_port_settings(int logical, std::uint16_t grouplimit, std::uint16_t leavemod,
                         std::uint32_t max_bandwidth, std::span<const AuthGroupEntry> groups);
void print_template_entry(int index, int vlan, std::uint16_t mirrored);

// The lines of a rule behind its first one, which some displays begin differently.
void print_rule_behind_upstream(const PortVlanCfgEntry& rule);

// As many rules of each port as counts says.
void print_rules(const RuleTable& rules, const std::int32_t (&counts)[MC_PORTS]);

// The line of one logical port's settings, then one for each authorised range in use.
template <class Port>
void print_port(int logical, const Port& port) {
    print_port_settings(logical, port.grouplimit, port.leavemod, port.max_bandwidth,
                        port.auth_group);
}

// The same for all logical ports.
template <class Port>
void print_ports(const Port (&ports)[MC_PORTS]) {
    for (int p = 0; p < MC_PORTS; ++p) print_port(p, ports[p]);
}

// All ten entries of a template VLAN list beside their mirror, used or not. A line ends behind the
// 4th, 7th and 10th, and behind each one from the last in use on; the IGMP side's count decides
// that for both sides, kept on purpose.
template <class Entry>
void print_template_list(const Entry (&list)[MC_TEMPLATE_VLANS],
                         const std::uint16_t (&mirror)[MC_TEMPLATE_VLANS]) {
    for (int i = 0; i < MC_TEMPLATE_VLANS; ++i) print_template_entry(i, list[i], mirror[i]);
}

// The three lines of a side's global parameters; what the last printf returned.
std::int32_t print_igmp_globals();
std::int32_t print_mld_globals();

}  // namespace mc
