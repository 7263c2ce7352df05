// What the dispatcher runs: a function a command. The records that they read are described where
// their table is, in command/dispatch.cpp.
#pragma once

#include <cstdint>

#include "command/record.h"

namespace mc {

// ---- Configuration (command/config_commands.cpp) ----
void set_mode(const CommandRecord& record);
void set_port_leave_mode(const CommandRecord& record);
void set_group_limit(const CommandRecord& record);
void set_default_vlan(const CommandRecord& record);
void set_vlan_learning(const CommandRecord& record);
void add_private_group(const CommandRecord& record);
void delete_private_group(const CommandRecord& record);
void clear_private_groups(const CommandRecord& record);
void set_control_list(const CommandRecord& record);
void clear_port_parameters(const CommandRecord& record);
void set_signalling_vlan(const CommandRecord& record);
void set_global_parameters(const CommandRecord& record);
void remove_service_port(const CommandRecord& record);
void set_port_vlan_mode(const CommandRecord& record);
void set_leave_mode(const CommandRecord& record);
void set_ageing_interval(const CommandRecord& record);
void set_version(const CommandRecord& record);
void set_proxy_address(const CommandRecord& record);
void set_ssm_range(const CommandRecord& record);
void set_ssm_map(const CommandRecord& record);
void add_vlans(const CommandRecord& record);
void delete_vlan(const CommandRecord& record);
void delete_all_vlans(const CommandRecord& record);
void set_rule(const CommandRecord& record);
void delete_rule(const CommandRecord& record);
void set_standard_mode(const CommandRecord& record);
void add_standard_groups(const CommandRecord& record);
void delete_standard_groups(const CommandRecord& record);
void clear_standard_groups(const CommandRecord& record);
void set_standard_group_limit(const CommandRecord& record);
void set_bandwidth_limit(const CommandRecord& record);
void clear_all_parameters(const CommandRecord& record);
void set_fast_leave_mode(const CommandRecord& record);
void set_oam_control(const CommandRecord& record);
void set_range_authorisation(const CommandRecord& record);
void add_groups(const CommandRecord& record);
void set_robustness(const CommandRecord& record);
void set_query_interval(const CommandRecord& record);
void set_response_interval(const CommandRecord& record);
void set_last_member_interval(const CommandRecord& record);
void set_last_member_count(const CommandRecord& record);
void set_ageing(const CommandRecord& record);
void set_web_rule(const CommandRecord& record);
void set_table_return(const CommandRecord& record);
void set_mld_ageing(const CommandRecord& record);

// The stored protocol parameters, given to the core once more so that it hears of a changed ageing
// interval.
std::int32_t push_stored_parameters();

// ---- Debug, show and test (command/debug_commands.cpp) ----
void show_all_groups(const CommandRecord& record);
void show_group(const CommandRecord& record);
void debug_from_cli(const CommandRecord& record);
void show_configuration(const CommandRecord& record);
void inject_test_frame(const CommandRecord& record);
void show_standard_vlan(const CommandRecord& record);
void show_proxy_groups(const CommandRecord& record);
void show_proxy_group(const CommandRecord& record);
void show_vlan_instances(const CommandRecord& record);
void show_igmpv3_globals(const CommandRecord& record);
void show_packet_statistics(const CommandRecord& record);
void show_interfaces(const CommandRecord& record);
void show_timers(const CommandRecord& record);
void show_authorised_groups(const CommandRecord& record);
void set_warnings(const CommandRecord& record);
void test_report(const CommandRecord& record);
void test_leave(const CommandRecord& record);
void export_port_status(const CommandRecord& record);
void export_groups(const CommandRecord& record);
void show_port_configuration(const CommandRecord& record);
void show_port_status(const CommandRecord& record);
void show_port_authorised_group(const CommandRecord& record);
void set_test_uplink(const CommandRecord& record);
void switch_debug_mask(const CommandRecord& record);
void set_vlan_debug(const CommandRecord& record);
void unset_vlan_debug(const CommandRecord& record);
void set_debug_level(const CommandRecord& record);
void unset_debug_level(const CommandRecord& record);
void set_packet_debug(const CommandRecord& record);
void set_other_debug(const CommandRecord& record);
void unset_debug(const CommandRecord& record);
void show_vlan(const CommandRecord& record);
void show_memory(const CommandRecord& record);
void reset_memory_statistics(const CommandRecord& record);
void show_memory_type(const CommandRecord& record);
void set_memory_type_range(const CommandRecord& record);
void show_mld(const CommandRecord& record);
void set_mld_port_debug(const CommandRecord& record);
void set_mld_debug(const CommandRecord& record);

}  // namespace mc
