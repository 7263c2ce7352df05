/*
 * The library's neighbours at their cheapest: each answers 0 and does nothing else, so that what is
 * counted and timed is the library. None of them looks at its arguments, so one body serves them
 * all.
 */
#include "platform/l2_multicast.h"
#include "platform/pal.h"
#include "platform/protocol_core.h"

uint32_t igmpv3_rcv;
uint32_t igmpv3_snd;

static int32_t quiet(void) { return 0; }

/* The signatures differ on purpose. */
#ifndef __clang__
#pragma GCC diagnostic ignored "-Wattribute-alias"
#endif
/* Weak: who wants to see a call has a function of its own. */
#define QUIET(name) __typeof__(name) name __attribute__((weak, alias("quiet")))

QUIET(igmp_data_init);
QUIET(igmp_task_init);
QUIET(mld_data_init);
QUIET(mld_task_init);
QUIET(igmp_register_switch_send_pkt);
QUIET(igmp_register_switch_add_table);
QUIET(igmp_register_switch_del_table);
QUIET(mld_register_switch_send_pkt);
QUIET(mld_register_switch_add_table);
QUIET(mld_register_switch_del_table);
QUIET(igmp_time_now);
QUIET(igmp_pkt_recv);
QUIET(mld_pkt_recv);
QUIET(igmp_mode_switch_globle);
QUIET(igmp_para_globle_set);
QUIET(igmp_para_rv_globle_set);
QUIET(igmp_para_qi_globle_set);
QUIET(igmp_para_qri_globle_set);
QUIET(igmp_para_lmqi_globle_set);
QUIET(igmp_para_lmqc_globle_set);
QUIET(igmp_version_globle_set);
QUIET(igmp_ssm_ip_globle_set);
QUIET(igmp_ssm_map_change);
QUIET(igmp_vlan_learning_set);
QUIET(igmp_fast_leave_enable_globle);
QUIET(igmp_default_vid_set);
QUIET(igmp_globle_proxyip_set);
QUIET(igmp_aging_function_set);
QUIET(igmp_del_all_group);
QUIET(mld_api_set_default_vlan);
QUIET(mld_proxy_snoop_set_globle);
QUIET(mld_pack_set_age_switch);
QUIET(igmp_vlan_add);
QUIET(igmp_vlan_del);
QUIET(igmp_vlan_del_all);
QUIET(igmp_port_add_all_vlan);
QUIET(mld_port_conf_set);
QUIET(igmp_if_fast_leave_enable);
QUIET(igmp_if_max_group_num_set);
QUIET(igmp_if_max_bandwidth_set);
QUIET(igmp_if_snp_uplinkvlan_set);
QUIET(igmp_if_add_auth_group_cfg);
QUIET(igmp_if_delete_auth_group_cfg);
QUIET(igmp_if_delete_auth_group_cfg_all);
QUIET(igmp_if_grp_range_auth_enable);
QUIET(add_to_auth_group_api);
QUIET(auth_group_delete_api);
QUIET(auth_group_delete_all_api);
QUIET(igmp_set_multicast_control);
QUIET(igmp_oam_control_2);
QUIET(igmp_if_gather_if_status);
QUIET(igmp_gather_grp_info);
QUIET(igmp_display_all_group);
QUIET(igmp_display_special_group);
QUIET(igmp_show_vlan_config);
QUIET(show_igmp_all_proxy_group);
QUIET(show_igmp_special_proxy_group);
QUIET(igmp_show_vlan_instance);
QUIET(show_igmpv3_globle);
QUIET(show_igmp_packet_statistic);
QUIET(show_igmp_if_list);
QUIET(igmp_timer_show_api);
QUIET(igmp_auth_group_show_api);
QUIET(igmp_if_show_if_cfg);
QUIET(igmp_if_show_if_status);
QUIET(igmp_if_show_auth_group_cfg);
QUIET(mld_unpack_show_mld_sys);
QUIET(mld_unpack_show_mld_thread);
QUIET(mld_unpack_show_vlan_global);
QUIET(mld_show_if_list);
QUIET(igmp_warn_printf_set);
QUIET(igmp_dbg_set);
QUIET(igmp_dbg_unset);
QUIET(igmp_set_debug_level);
QUIET(igmp_set_debug_pkt_port);
QUIET(igmp_set_debug_switch);
QUIET(igmp_no_debug_all);
QUIET(mld_set_mld_debug_port);
QUIET(mld_set_mld_debug);
QUIET(test_igmp_report_v2_l3);
QUIET(test_igmp_leave_v2_l3);

QUIET(L2_multicast_init);
QUIET(L2_multicast_set_filter_method);
QUIET(L2_multicast_read_msg);
QUIET(L2_multicast_send_msg);
QUIET(L2_multicast_set_port_iptv_entry);
QUIET(L2_multicast_remove_port_iptv_entry);

QUIET(pal_task_create);
QUIET(pal_mem_show);
QUIET(pal_mem_reset);
QUIET(pal_mtype_show);
QUIET(pal_mrecord_range_set);

__attribute__((weak)) int32_t L2_multicast_get_onu_id(uint8_t* onu_id) {
    *onu_id = 7;
    return 0;
}
