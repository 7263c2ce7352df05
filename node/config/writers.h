// The writers of the groups of a configuration: the commands that make what there is now of what a
// fresh node has, one function for what one command sets. Each looks at records and core itself;
// where the two differ, the core's value is what holds.
#pragma once

#include "node/config/running_config.h"

namespace config {

// ---- Protocol (protocol_lines.cpp) --------------------------------------------------------------

void write_mld_mode(const Running& running, Lines& lines);
void write_mode(const Running& running, Lines& lines);
void write_version(const Running& running, Lines& lines);
void write_times(const Running& running, Lines& lines);
void write_ageing(const Running& running, Lines& lines);
void write_proxy_address(const Running& running, Lines& lines);
void write_ssm_range(const Running& running, Lines& lines);
void write_ssm_map(const Running& running, Lines& lines);
void write_table_return(const Running& running, Lines& lines);

// ---- Ports (port_lines.cpp) ---------------------------------------------------------------------

void write_fast_leave(const Running& running, Lines& lines);
void write_group_limits(const Running& running, Lines& lines);
void write_bandwidth_limits(const Running& running, Lines& lines);
void write_signalling_vlans(const Running& running, Lines& lines);

// ---- VLANs (vlan_lines.cpp) ---------------------------------------------------------------------

void write_default_vlan(const Running& running, Lines& lines);
// The rules, then what they leave to say of learning and of the core's list.
void write_rules_and_lists(const Running& running, Lines& lines);

// ---- Authorisation (group_lines.cpp) ------------------------------------------------------------

void write_ranges(const Running& running, Lines& lines);
void write_private_groups(const Running& running, Lines& lines);
void write_control_lists(const Running& running, Lines& lines);

}  // namespace config
