/*
 * The protocol core: IGMP versions 1 to 3 and MLD, group membership, snooping and proxying, timers,
 * authorised groups and the displays of all that. Imported, never defined here.
 *
 * Unless a comment says otherwise a function returns 0 on success and the core's own status
 * otherwise. Records and words passed by address are in native byte order. IPv4 addresses are in
 * host order. Ports are port numbers: 0 to 5 for user ports, 29 for the uplink, which the core
 * itself calls 0xFFFF where a comment says so. Time values are passed through in the core's own
 * unit.
 *
 * The core calls the registered call-backs from inside its packet input functions (on the caller's
 * thread) and from its own timer tasks.
 */
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "common/export.h"
#include "common/static_assert.h"

MC_C_BEGIN

/* ---- Records shared with the core ------------------------------------------------------------ */

/* The 802.1Q tag of a packet that the core sends. The call-back rewrites vid when it translates. */
typedef struct IgmpVlanTag {
    uint16_t tpid;
    uint16_t vid;
    uint8_t priority; /* PCP */
} IgmpVlanTag;

/* A membership that enters or leaves the switch. Only the named fields are read. */
typedef struct IgmpGroupEntry {
    uint8_t reserved0[4];
    uint32_t group; /* IPv4 group address, host order */
    uint8_t reserved8[44];
    uint16_t vlan;
    uint16_t port; /* handed to the driver as a signed value */
} IgmpGroupEntry;

/* The same for an IPv6 group. */
typedef struct MldGroupEntry {
    uint8_t reserved0[20];
    uint8_t group_tail[4]; /* the last four bytes of the IPv6 group address */
    uint8_t reserved24[28];
    uint16_t vlan;
    uint16_t port;
} MldGroupEntry;

/* One tag for IGMP messages on the uplink. The reset value is {0x8100, 0xFFFF, 0}. */
typedef struct IgmpUplinkTag {
    uint16_t first;
    uint16_t second;
    uint8_t third;
} IgmpUplinkTag;

/* The extra arguments of igmp_oam_control_2, in the order in which the OAM command carries them. */
typedef struct IgmpOamControl {
    uint32_t word;
    uint8_t byte_a;
    uint8_t byte_b;
} IgmpOamControl;

/* What travels with an MLD packet into the core. */
typedef struct MldReceiveRecord {
    uint16_t frame_word;
    uint32_t time_stamp; /* filled by igmp_time_now for the first frame after start-up */
} MldReceiveRecord;

static_assert(offsetof(IgmpVlanTag, priority) == 4, "tag");
static_assert(offsetof(IgmpGroupEntry, group) == 4, "group record");
static_assert(offsetof(IgmpGroupEntry, vlan) == 52, "group record");
static_assert(offsetof(IgmpGroupEntry, port) == 54, "group record");
static_assert(offsetof(MldGroupEntry, group_tail) == 20, "group record");
static_assert(offsetof(MldGroupEntry, vlan) == 52, "group record");
static_assert(offsetof(MldGroupEntry, port) == 54, "group record");

/* ---- Initialisation ------------------------------------------------------------------------- */

int32_t igmp_data_init(void);
int32_t igmp_task_init(uint32_t first, uint32_t second);
int32_t mld_data_init(void);
int32_t mld_task_init(uint32_t first);

/* ---- Call-backs ----------------------------------------------------------------------------- */

/*
 * Sends an IPv4 packet of ip_len bytes, which begins with its IP header, on a port; 0xFFFF is the
 * uplink. The packet and the tag are the core's; the tag's vid may come back translated.
 */
typedef void (*IgmpSendPacket)(uint16_t port, uint8_t* ip_packet, IgmpVlanTag* tag,
                               uint16_t ip_len);
/* Programs the switch, or takes an entry back. The core keeps the record. Returns 0 when done. */
typedef int32_t (*IgmpTableChange)(IgmpGroupEntry* group);
/* The MLD counterparts. The tag is not read: packets leave with the tag of the last MLD frame. */
typedef void (*MldSendPacket)(uint8_t* packet, uint16_t port, void* tag, uint16_t len);
typedef int32_t (*MldTableChange)(MldGroupEntry* group);

int32_t igmp_register_switch_send_pkt(IgmpSendPacket send);
int32_t igmp_register_switch_add_table(IgmpTableChange add);
int32_t igmp_register_switch_del_table(IgmpTableChange del);
int32_t mld_register_switch_send_pkt(MldSendPacket send);
int32_t mld_register_switch_add_table(MldTableChange add);
int32_t mld_register_switch_del_table(MldTableChange del);

/* ---- Packet input --------------------------------------------------------------------------- */

/* Stores the core's time. */
int32_t igmp_time_now(uint32_t* now);

/*
 * Hands over an IPv4 packet as it stands in the received frame. ip_total_length is what its header
 * claims, unchecked. port is 0xFFFF for the uplink. group_vlan is the multicast VLAN that the
 * configuration assigns to the frame. The last argument is always null.
 */
int32_t igmp_pkt_recv(uint8_t* ip_packet, uint16_t ip_total_length, uint32_t port,
                      uint32_t group_vlan, void* record);

/* The same for an IPv6 packet; length = payload length + 40, unchecked; the uplink is port 29. */
int32_t mld_pkt_recv(uint8_t* ip_packet, uint32_t length, uint32_t port, uint32_t group_vlan,
                     MldReceiveRecord* record);

/* ---- Global settings ------------------------------------------------------------------------ */

int32_t igmp_mode_switch_globle(uint32_t mode); /* 1 snooping, 2 proxy, 3 control */
int32_t igmp_para_globle_set(uint8_t robustness, uint32_t query_interval,
                             uint32_t query_max_resp_time, uint32_t last_member_query_interval,
                             uint32_t last_member_query_count, uint32_t general_member_interval);
int32_t igmp_para_rv_globle_set(uint8_t robustness);
int32_t igmp_para_qi_globle_set(uint16_t query_interval);
int32_t igmp_para_qri_globle_set(uint16_t query_max_resp_time);
int32_t igmp_para_lmqi_globle_set(uint16_t last_member_query_interval);
int32_t igmp_para_lmqc_globle_set(uint16_t last_member_query_count);
int32_t igmp_version_globle_set(uint8_t version); /* IGMP 1, 2 or 3 */
int32_t igmp_ssm_ip_globle_set(uint32_t start, uint32_t end);
int32_t igmp_ssm_map_change(uint32_t* five_words); /* read in place: they stay where they are */
int32_t igmp_vlan_learning_set(uint8_t enable);
int32_t igmp_fast_leave_enable_globle(uint8_t mode);
int32_t igmp_default_vid_set(uint16_t vlan);
int32_t igmp_globle_proxyip_set(uint32_t address);
int32_t igmp_aging_function_set(uint8_t enable);
int32_t igmp_del_all_group(void);
int32_t mld_api_set_default_vlan(uint16_t vlan);
int32_t mld_proxy_snoop_set_globle(uint16_t mode); /* 2 snooping, 3 control */
int32_t mld_pack_set_age_switch(uint8_t enable);

/* The core's list of multicast VLANs. */
int32_t igmp_vlan_add(uint16_t vlan);
int32_t igmp_vlan_del(uint16_t vlan);
int32_t igmp_vlan_del_all(void);

/* ---- Per-port settings ---------------------------------------------------------------------- */

int32_t igmp_port_add_all_vlan(uint32_t port); /* declares a port; 0xFFFF = the uplink */
int32_t mld_port_conf_set(uint32_t port, uint32_t port_type);
int32_t igmp_if_fast_leave_enable(uint8_t port, uint8_t mode);
int32_t igmp_if_max_group_num_set(uint8_t port, uint16_t limit);
int32_t igmp_if_max_bandwidth_set(uint8_t port, uint8_t enable, uint32_t bandwidth, uint16_t extra);
/* The records are valid for the length of the call only. */
int32_t igmp_if_snp_uplinkvlan_set(uint8_t port, IgmpUplinkTag* outer, IgmpUplinkTag* inner);

/* ---- Authorised groups ---------------------------------------------------------------------- */

int32_t igmp_if_add_auth_group_cfg(uint8_t port, uint32_t start, uint32_t end, uint32_t bandwidth,
                                   uint16_t vlan);
int32_t igmp_if_delete_auth_group_cfg(uint8_t port, uint32_t start, uint32_t end,
                                      uint32_t bandwidth, uint16_t vlan);
int32_t igmp_if_delete_auth_group_cfg_all(uint8_t port, uint16_t vlan);
int32_t igmp_if_grp_range_auth_enable(uint8_t port, uint8_t enable);
int32_t add_to_auth_group_api(uint32_t group, uint16_t vlan);
int32_t auth_group_delete_api(uint32_t group, uint16_t vlan);
int32_t auth_group_delete_all_api(void);
int32_t igmp_set_multicast_control(uint16_t port, uint32_t action, int16_t vlan, uint32_t group);
int32_t igmp_oam_control_2(uint8_t add_delete, uint16_t port, uint16_t vlan, IgmpOamControl* rest);

/* ---- Status --------------------------------------------------------------------------------- */

/* Both fill buf with at most size bytes and return how much they delivered; 0 or less: nothing.
 * The status of a port is four words. A group dump is a word, the number of records, then packed
 * records of 25 bytes; port 255 stands for all ports. */
int32_t igmp_if_gather_if_status(uint32_t port, uint32_t size, uint8_t* buf);
int32_t igmp_gather_grp_info(uint32_t port, uint32_t size, uint8_t* buf);

/* ---- Displays, debug switches and tests. They print on the console. ---- */

extern uint32_t igmpv3_rcv;
extern uint32_t igmpv3_snd;

int32_t igmp_display_all_group(void);
int32_t igmp_display_special_group(uint32_t group);
int32_t igmp_show_vlan_config(uint32_t port, uint16_t vlan, uint16_t flag);
int32_t show_igmp_all_proxy_group(void);
int32_t show_igmp_special_proxy_group(uint32_t group);
int32_t igmp_show_vlan_instance(void);
int32_t show_igmpv3_globle(void);
int32_t show_igmp_packet_statistic(void);
int32_t show_igmp_if_list(void);
int32_t igmp_timer_show_api(void);
int32_t igmp_auth_group_show_api(void);
int32_t igmp_if_show_if_cfg(uint8_t port);
int32_t igmp_if_show_if_status(uint8_t port);
int32_t igmp_if_show_auth_group_cfg(uint8_t port, uint32_t group);
int32_t mld_unpack_show_mld_sys(uint32_t option);
int32_t mld_unpack_show_mld_thread(uint32_t option);
int32_t mld_unpack_show_vlan_global(uint32_t option);
int32_t mld_show_if_list(void);

int32_t igmp_warn_printf_set(uint8_t enable);
int32_t igmp_dbg_set(uint16_t vlan, uint8_t selector);
int32_t igmp_dbg_unset(uint16_t vlan, uint8_t selector);
int32_t igmp_set_debug_level(uint32_t level, uint32_t on);
int32_t igmp_set_debug_pkt_port(uint16_t port); /* 65534 = none */
int32_t igmp_set_debug_switch(uint32_t which, uint32_t on);
int32_t igmp_no_debug_all(void);
int32_t mld_set_mld_debug_port(uint32_t port); /* 255 = all, 65534 = none */
int32_t mld_set_mld_debug(uint32_t mask, uint32_t port);

int32_t test_igmp_report_v2_l3(uint16_t port, uint16_t vlan);
int32_t test_igmp_leave_v2_l3(uint16_t port, uint16_t vlan);

MC_C_END
