/*
 * What the library imports, each name once: WATCHED has a wrapper in driver.c, call_backs.c,
 * core.c or tasks.c, OTHER is only looked for. Types and contracts are those of platform/.
 */
#pragma once

#include "platform/l2_multicast.h"
#include "platform/pal.h"
#include "platform/protocol_core.h"

#define WATCHED_IMPORTS(WATCHED)                 \
    WATCHED(L2_multicast_init)                   \
    WATCHED(L2_multicast_set_filter_method)      \
    WATCHED(L2_multicast_read_msg)               \
    WATCHED(L2_multicast_send_msg)               \
    WATCHED(L2_multicast_set_port_iptv_entry)    \
    WATCHED(L2_multicast_remove_port_iptv_entry) \
    WATCHED(L2_multicast_get_onu_id)             \
    WATCHED(pal_task_create)                     \
    WATCHED(igmp_register_switch_send_pkt)       \
    WATCHED(igmp_register_switch_add_table)      \
    WATCHED(igmp_register_switch_del_table)      \
    WATCHED(mld_register_switch_send_pkt)        \
    WATCHED(mld_register_switch_add_table)       \
    WATCHED(mld_register_switch_del_table)       \
    WATCHED(igmp_time_now)                       \
    WATCHED(igmp_pkt_recv)                       \
    WATCHED(mld_pkt_recv)                        \
    WATCHED(igmp_if_gather_if_status)            \
    WATCHED(igmp_gather_grp_info)

#define OTHER_IMPORTS(OTHER)                 \
    OTHER(pal_mem_show)                      \
    OTHER(pal_mem_reset)                     \
    OTHER(pal_mtype_show)                    \
    OTHER(pal_mrecord_range_set)             \
    OTHER(igmp_data_init)                    \
    OTHER(igmp_task_init)                    \
    OTHER(mld_data_init)                     \
    OTHER(mld_task_init)                     \
    OTHER(igmp_mode_switch_globle)           \
    OTHER(igmp_para_globle_set)              \
    OTHER(igmp_para_rv_globle_set)           \
    OTHER(igmp_para_qi_globle_set)           \
    OTHER(igmp_para_qri_globle_set)          \
    OTHER(igmp_para_lmqi_globle_set)         \
    OTHER(igmp_para_lmqc_globle_set)         \
    OTHER(igmp_version_globle_set)           \
    OTHER(igmp_ssm_ip_globle_set)            \
    OTHER(igmp_ssm_map_change)               \
    OTHER(igmp_vlan_learning_set)            \
    OTHER(igmp_fast_leave_enable_globle)     \
    OTHER(igmp_default_vid_set)              \
    OTHER(igmp_globle_proxyip_set)           \
    OTHER(igmp_aging_function_set)           \
    OTHER(igmp_del_all_group)                \
    OTHER(mld_api_set_default_vlan)          \
    OTHER(mld_proxy_snoop_set_globle)        \
    OTHER(mld_pack_set_age_switch)           \
    OTHER(igmp_vlan_add)                     \
    OTHER(igmp_vlan_del)                     \
    OTHER(igmp_vlan_del_all)                 \
    OTHER(igmp_port_add_all_vlan)            \
    OTHER(mld_port_conf_set)                 \
    OTHER(igmp_if_fast_leave_enable)         \
    OTHER(igmp_if_max_group_num_set)         \
    OTHER(igmp_if_max_bandwidth_set)         \
    OTHER(igmp_if_snp_uplinkvlan_set)        \
    OTHER(igmp_if_add_auth_group_cfg)        \
    OTHER(igmp_if_delete_auth_group_cfg)     \
    OTHER(igmp_if_delete_auth_group_cfg_all) \
    OTHER(igmp_if_grp_range_auth_enable)     \
    OTHER(add_to_auth_group_api)             \
    OTHER(auth_group_delete_api)             \
    OTHER(auth_group_delete_all_api)         \
    OTHER(igmp_set_multicast_control)        \
    OTHER(igmp_oam_control_2)                \
    OTHER(igmp_display_all_group)            \
    OTHER(igmp_display_special_group)        \
    OTHER(igmp_show_vlan_config)             \
    OTHER(show_igmp_all_proxy_group)         \
    OTHER(show_igmp_special_proxy_group)     \
    OTHER(igmp_show_vlan_instance)           \
    OTHER(show_igmpv3_globle)                \
    OTHER(show_igmp_packet_statistic)        \
    OTHER(show_igmp_if_list)                 \
    OTHER(igmp_timer_show_api)               \
    OTHER(igmp_auth_group_show_api)          \
    OTHER(igmp_if_show_if_cfg)               \
    OTHER(igmp_if_show_if_status)            \
    OTHER(igmp_if_show_auth_group_cfg)       \
    OTHER(mld_unpack_show_mld_sys)           \
    OTHER(mld_unpack_show_mld_thread)        \
    OTHER(mld_unpack_show_vlan_global)       \
    OTHER(mld_show_if_list)                  \
    OTHER(igmp_warn_printf_set)              \
    OTHER(igmp_dbg_set)                      \
    OTHER(igmp_dbg_unset)                    \
    OTHER(igmp_set_debug_level)              \
    OTHER(igmp_set_debug_pkt_port)           \
    OTHER(igmp_set_debug_switch)             \
    OTHER(igmp_no_debug_all)                 \
    OTHER(mld_set_mld_debug_port)            \
    OTHER(mld_set_mld_debug)                 \
    OTHER(test_igmp_report_v2_l3)            \
    OTHER(test_igmp_leave_v2_l3)
