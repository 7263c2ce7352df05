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
 * The core calls the registered call-backs from inside its packet input functions and settings (on
 * the caller's thread) and from its own timer tasks: after the registration has returned 0, and
 * after L2_multicast_init, which start-up calls behind the registrations. From inside a
 * registration, igmp_time_now and the status functions it does not.
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
    uint16_t tpid;    /* tag protocol identifier */
    uint16_t vid;     /* VLAN id */
    uint8_t priority; /* PCP */
} IgmpVlanTag;

/* A membership that enters or leaves the switch. Only the named fields are read. */
typedef struct IgmpGroupEntry {
    uint8_t reserved0[4];  /* not read */
    uint32_t group;        /* IPv4 group address, host order */
    uint8_t reserved8[44]; /* not read */
    uint16_t vlan;         /* the group's VLAN */
    uint16_t port;         /* handed to the driver as a signed value */
} IgmpGroupEntry;

/* The same for an IPv6 group. */
typedef struct MldGroupEntry {
    uint8_t reserved0[20];  /* not read */
    uint8_t group_tail[4];  /* the last four bytes of the IPv6 group address */
    uint8_t reserved24[28]; /* not read */
    uint16_t vlan;          /* the group's VLAN */
    uint16_t port;          /* as in IgmpGroupEntry */
} MldGroupEntry;

/* One tag for IGMP messages on the uplink. The reset value is {0x8100, 0xFFFF, 0}. */
typedef struct IgmpUplinkTag {
    uint16_t first;  /* tag protocol identifier */
    uint16_t second; /* VLAN id */
    uint8_t third;   /* priority */
} IgmpUplinkTag;

/* The extra arguments of igmp_oam_control_2, in the order in which the OAM command carries them. */
typedef struct IgmpOamControl {
    uint32_t word;  /* passed on */
    uint8_t byte_a; /* passed on */
    uint8_t byte_b; /* passed on */
} IgmpOamControl;

/* What travels with an MLD packet into the core. */
typedef struct MldReceiveRecord {
    uint16_t frame_word; /* first two bytes of the frame, plus 12 */
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

/* Prepares the core's IGMP data. Called once, first of all. */
int32_t igmp_data_init(void);
/* Starts the core's IGMP tasks. The words are in its own terms: the library passes 50 and 51. */
int32_t igmp_task_init(uint32_t first, uint32_t second);
/* The same for MLD; the word is 50. */
int32_t mld_data_init(void);
/* Starts the core's MLD tasks. */
int32_t mld_task_init(uint32_t first);

/* ---- Call-backs ----------------------------------------------------------------------------- */

/*
 * Sends an IPv4 packet of ip_len bytes, 20 to 1500, which begins with its IP header, on a port;
 * 0xFFFF is the uplink. The packet and the tag are the core's, and both are there; the tag's vid
 * may come back translated.
 */
typedef void (*IgmpSendPacket)(uint16_t port, uint8_t* ip_packet, IgmpVlanTag* tag,
                               uint16_t ip_len);
/*
 * Programs the switch, or takes an entry back. The record is the core's, whole and aligned, with a
 * multicast address and a port number 0 to 5 or 29. Returns 0 when done.
 */
typedef int32_t (*IgmpTableChange)(IgmpGroupEntry* group);
/*
 * The MLD counterparts, for packets of 40 to 1500 bytes. The tag is not read: packets leave with
 * the tag of the last MLD frame.
 */
typedef void (*MldSendPacket)(uint8_t* packet, uint16_t port, void* tag, uint16_t len);
/* The same for IPv6 groups. */
typedef int32_t (*MldTableChange)(MldGroupEntry* group);

int32_t igmp_register_switch_send_pkt(IgmpSendPacket send);  /* called for each packet */
int32_t igmp_register_switch_add_table(IgmpTableChange add); /* whenever a port joins */
int32_t igmp_register_switch_del_table(IgmpTableChange del); /* whenever it has left */
int32_t mld_register_switch_send_pkt(MldSendPacket send);    /* the same for MLD */
int32_t mld_register_switch_add_table(MldTableChange add);   /* the same for MLD */
int32_t mld_register_switch_del_table(MldTableChange del);   /* the same for MLD */

/* ---- Packet input --------------------------------------------------------------------------- */

/* Stores the core's time, in any case: the result is not looked at. */
int32_t igmp_time_now(uint32_t* now);

/*
 * Hands over an IPv4 packet as it stands in the received frame. ip_total_length is what its header
 * claims, unchecked. It is only read: the frame is forwarded next. port is 0xFFFF for the uplink.
 * group_vlan is the multicast VLAN that the configuration assigns to the frame. The last argument
 * is always null.
 */
int32_t igmp_pkt_recv(uint8_t* ip_packet, uint16_t ip_total_length, uint32_t port,
                      uint32_t group_vlan, void* record);

/* The same for an IPv6 packet; length = payload length + 40, unchecked; the uplink is port 29. */
int32_t mld_pkt_recv(uint8_t* ip_packet, uint32_t length, uint32_t port, uint32_t group_vlan,
                     MldReceiveRecord* record);

/* ---- Global settings ------------------------------------------------------------------------ */

int32_t igmp_mode_switch_globle(uint32_t mode); /* 1 snooping, 2 proxy, 3 control */
/* All timers and counts at once (RFC 3376, section 8), and the ageing interval. */
int32_t igmp_para_globle_set(uint8_t robustness, uint32_t query_interval,
                             uint32_t query_max_resp_time, uint32_t last_member_query_interval,
                             uint32_t last_member_query_count, uint32_t general_member_interval);
int32_t igmp_para_rv_globle_set(uint8_t robustness);      /* robustness variable (RFC 3376, 8.1) */
int32_t igmp_para_qi_globle_set(uint16_t query_interval); /* query interval (8.2) */
int32_t igmp_para_qri_globle_set(uint16_t query_max_resp_time); /* query response interval (8.3) */
/* Last member query interval (8.8). */
int32_t igmp_para_lmqi_globle_set(uint16_t last_member_query_interval);
/* Last member query count (8.9). */
int32_t igmp_para_lmqc_globle_set(uint16_t last_member_query_count);
int32_t igmp_version_globle_set(uint8_t version); /* IGMP 1, 2 or 3 */
/* First and last group of SSM (RFC 4607). */
int32_t igmp_ssm_ip_globle_set(uint32_t start, uint32_t end);
int32_t igmp_ssm_map_change(uint32_t* five_words);   /* read in place: they stay where they are */
int32_t igmp_vlan_learning_set(uint8_t enable);      /* 1: VLANs are learnt; 0: not */
int32_t igmp_fast_leave_enable_globle(uint8_t mode); /* leave mode of all ports */
int32_t igmp_default_vid_set(uint16_t vlan);         /* default VLAN of the IGMP side */
int32_t igmp_globle_proxyip_set(uint32_t address);   /* source of the core's own reports */
int32_t igmp_aging_function_set(uint8_t enable);     /* 1: memberships age; 0: not */
int32_t igmp_del_all_group(void);                    /* ends all memberships */
int32_t mld_api_set_default_vlan(uint16_t vlan);     /* default VLAN of the MLD side */
int32_t mld_proxy_snoop_set_globle(uint16_t mode);   /* 2 snooping, 3 control */
int32_t mld_pack_set_age_switch(uint8_t enable);     /* as igmp_aging_function_set */

/* The core's list of multicast VLANs. */
int32_t igmp_vlan_add(uint16_t vlan);
int32_t igmp_vlan_del(uint16_t vlan); /* takes one out */
int32_t igmp_vlan_del_all(void);      /* empties the list */

/* ---- Per-port settings ---------------------------------------------------------------------- */

int32_t igmp_port_add_all_vlan(uint32_t port); /* declares a port; 0xFFFF = the uplink */
/* Declares a port, 29 = the uplink, and its type. */
int32_t mld_port_conf_set(uint32_t port, uint32_t port_type);
int32_t igmp_if_fast_leave_enable(uint8_t port, uint8_t mode);   /* leave mode of one port */
int32_t igmp_if_max_group_num_set(uint8_t port, uint16_t limit); /* most groups of a port */
/* Bandwidth limit of a port. All but the port is passed on as the command gives it. */
int32_t igmp_if_max_bandwidth_set(uint8_t port, uint8_t enable, uint32_t bandwidth, uint16_t extra);
/* The records are valid for the length of the call only. */
int32_t igmp_if_snp_uplinkvlan_set(uint8_t port, IgmpUplinkTag* outer, IgmpUplinkTag* inner);

/* ---- Authorised groups ---------------------------------------------------------------------- */

/* Adds a range of groups, start to end, that the port may join in the VLAN. */
int32_t igmp_if_add_auth_group_cfg(uint8_t port, uint32_t start, uint32_t end, uint32_t bandwidth,
                                   uint16_t vlan);
/* Deletes a range. */
int32_t igmp_if_delete_auth_group_cfg(uint8_t port, uint32_t start, uint32_t end,
                                      uint32_t bandwidth, uint16_t vlan);
/* All ranges; 65535 = of any VLAN. */
int32_t igmp_if_delete_auth_group_cfg_all(uint8_t port, uint16_t vlan);
/* 1: only ranges may be joined. */
int32_t igmp_if_grp_range_auth_enable(uint8_t port, uint8_t enable);
/* A group of the table without a port. */
int32_t add_to_auth_group_api(uint32_t group, uint16_t vlan);
int32_t auth_group_delete_api(uint32_t group, uint16_t vlan); /* takes it out; VLAN 0 comes too */
int32_t auth_group_delete_all_api(void);                      /* empties that table */
/* One group of a port's control list. action: 1 adds, 0 deletes, 2 is anything else. */
int32_t igmp_set_multicast_control(uint16_t port, uint32_t action, int16_t vlan, uint32_t group);
/* A request of the OAM, passed on. port counts from 0. rest is valid for the call only. */
int32_t igmp_oam_control_2(uint8_t add_delete, uint16_t port, uint16_t vlan, IgmpOamControl* rest);

/* ---- Status --------------------------------------------------------------------------------- */

/*
 * Fills buf with at most size bytes, the four words of a port's status, and returns how much it
 * stored, so 16; 0 or less: nothing.
 */
int32_t igmp_if_gather_if_status(uint32_t port, uint32_t size, uint8_t* buf);
/*
 * The same for groups: a word, the number of records, then as many packed records of 25 bytes. Port
 * 255 stands for all ports.
 */
int32_t igmp_gather_grp_info(uint32_t port, uint32_t size, uint8_t* buf);

/* ---- Displays, debug switches and tests. They print on the console. ---- */

extern uint32_t igmpv3_rcv; /* trace of received IGMPv3; stored by the debug command */
extern uint32_t igmpv3_snd; /* trace of sent IGMPv3; stored by the debug command */

int32_t igmp_display_all_group(void);               /* all memberships */
int32_t igmp_display_special_group(uint32_t group); /* those of one group */
/* What a VLAN is set to. */
int32_t igmp_show_vlan_config(uint32_t port, uint16_t vlan, uint16_t flag);
int32_t show_igmp_all_proxy_group(void);               /* all groups that the proxy reports */
int32_t show_igmp_special_proxy_group(uint32_t group); /* one of them */
int32_t igmp_show_vlan_instance(void);                 /* the VLANs at work */
int32_t show_igmpv3_globle(void);                      /* global parameters */
int32_t show_igmp_packet_statistic(void);              /* counts of packets */
int32_t show_igmp_if_list(void);                       /* the ports */
int32_t igmp_timer_show_api(void);                     /* the timers */
int32_t igmp_auth_group_show_api(void);                /* the table without a port */
int32_t igmp_if_show_if_cfg(uint8_t port);             /* settings of a port */
int32_t igmp_if_show_if_status(uint8_t port);          /* status of a port */
int32_t igmp_if_show_auth_group_cfg(uint8_t port, uint32_t group); /* its range with a group */
int32_t mld_unpack_show_mld_sys(uint32_t option);                  /* MLD globals; option is 0 */
int32_t mld_unpack_show_mld_thread(uint32_t option);               /* MLD tasks; option is 0 */
int32_t mld_unpack_show_vlan_global(uint32_t option);              /* MLD VLANs; option is 0 */
int32_t mld_show_if_list(void);                                    /* MLD ports */

int32_t igmp_warn_printf_set(uint8_t enable);            /* 1: warnings are printed */
int32_t igmp_dbg_set(uint16_t vlan, uint8_t selector);   /* traces one kind of event in a VLAN */
int32_t igmp_dbg_unset(uint16_t vlan, uint8_t selector); /* and no longer */
/* On 1: sets the level; 0: takes it back. */
int32_t igmp_set_debug_level(uint32_t level, uint32_t on);
int32_t igmp_set_debug_pkt_port(uint16_t port);             /* 65534 = none */
int32_t igmp_set_debug_switch(uint32_t which, uint32_t on); /* the same for a set of switches */
int32_t igmp_no_debug_all(void);                            /* switches all traces off */
int32_t mld_set_mld_debug_port(uint32_t port);              /* 255 = all, 65534 = none */
int32_t mld_set_mld_debug(uint32_t mask, uint32_t port);    /* traces of a port */

int32_t test_igmp_report_v2_l3(uint16_t port, uint16_t vlan); /* sends a report of IGMPv2 */
int32_t test_igmp_leave_v2_l3(uint16_t port, uint16_t vlan);  /* sends a leave of IGMPv2 */

MC_C_END
