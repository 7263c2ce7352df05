/*
 * A protocol core that answers nothing: it takes every call and knows no group. Each function says
 * what a real one does. 0 is success; any other status goes back to whoever asked the library, and
 * is printed under the error category.
 *
 * Settings come on the thread of IgmpInit, then on the command task; packets on the packet task
 * (and on the command task for the test frame, code 40). A real core has timers of its own besides,
 * on threads of its own, so it locks what they share. It may call back from inside its packet
 * input and from its timers, and holds no lock then that a setting needs.
 *
 * Addresses are IPv4 words in native order, 239.1.1.1 being 0xEF010101. Ports are port numbers;
 * 0xFFFF is the uplink here where the library says so. Times are in the core's own unit; what
 * start-up gives are the seconds of RFC 3376: 125, 10, 1.
 */
#include <stdio.h>
#include <string.h>

#include "platform/group_dump.h"
#include "platform/protocol_core.h"

/* Switches that the library shows and sets by themselves: traces of IGMPv3, received and sent. */
uint32_t igmpv3_rcv;
uint32_t igmpv3_snd;

/* ---- Start-up, first of all, in this order ---- */

/* Empties groups, ports and settings. */
int32_t igmp_data_init(void) { return 0; }
/* Starts the timer tasks. What the two words mean is the core's own: 50 and 51 here, 50 for MLD. */
int32_t igmp_task_init(uint32_t first, uint32_t second) { return 0; }
/* The same two for MLD. */
int32_t mld_data_init(void) { return 0; }
int32_t mld_task_init(uint32_t first) { return 0; }

/* ---- What the library gives to be called ---- */

/*
 * A core calls these only after they were registered, and not at all when it has answered a
 * registration with a failure:
 *
 *     igmp.send     to send a query on a user port or a report on the uplink (0xFFFF): the packet
 *                   begins with its IP header; the tag's vid may come back translated
 *     igmp.add      when a membership begins: the switch gets its entry. Not 0: it has none
 *     igmp.del      when it ends
 */
static struct {
    IgmpSendPacket send;
    IgmpTableChange add;
    IgmpTableChange del;
} igmp;
static struct {
    MldSendPacket send;
    MldTableChange add;
    MldTableChange del;
} mld;

int32_t igmp_register_switch_send_pkt(IgmpSendPacket send) {
    igmp.send = send;
    return 0;
}
int32_t igmp_register_switch_add_table(IgmpTableChange add) {
    igmp.add = add;
    return 0;
}
int32_t igmp_register_switch_del_table(IgmpTableChange del) {
    igmp.del = del;
    return 0;
}
int32_t mld_register_switch_send_pkt(MldSendPacket send) {
    mld.send = send;
    return 0;
}
int32_t mld_register_switch_add_table(MldTableChange add) {
    mld.add = add;
    return 0;
}
int32_t mld_register_switch_del_table(MldTableChange del) {
    mld.del = del;
    return 0;
}

/* ---- Packets ---- */

/* The time, for the stamp of the first frame. */
int32_t igmp_time_now(uint32_t* now) {
    *now = 0;
    return 0;
}

/*
 * An IGMP message (RFC 1112, 2236, 3376). ip_total_length is what the header claims: check it, the
 * header's length and both checksums before anything is believed. The bytes are the library's, in
 * the frame that it forwards next: read them, and keep a copy of what outlives the call. The result
 * is not looked at on the way from a frame; it is that of igmpL2PktProc.
 */
int32_t igmp_pkt_recv(uint8_t* ip_packet, uint16_t ip_total_length, uint32_t port,
                      uint32_t group_vlan, void* record) {
    return 0;
}
/* An IPv6 packet with MLD (RFC 2710, 3810), or without: the extension headers were not looked at.
 */
int32_t mld_pkt_recv(uint8_t* ip_packet, uint32_t length, uint32_t port, uint32_t group_vlan,
                     MldReceiveRecord* record) {
    return 0;
}

/* ---- Settings of the whole node ---- */

/* 1 snooping, 2 proxy, 3 control. In proxy mode no frame is forwarded: the core alone answers. */
int32_t igmp_mode_switch_globle(uint32_t mode) { return 0; }
/*
 * RFC 3376, 8.1 (robustness), 8.2, 8.3, 8.8, 8.9, and the ageing of memberships: 1 at the start,
 * then what code 22 has stored; 0 is none.
 */
int32_t igmp_para_globle_set(uint8_t robustness, uint32_t query_interval,
                             uint32_t query_max_resp_time, uint32_t last_member_query_interval,
                             uint32_t last_member_query_count, uint32_t general_member_interval) {
    return 0;
}
/* One of them each. */
int32_t igmp_para_rv_globle_set(uint8_t robustness) { return 0; }
int32_t igmp_para_qi_globle_set(uint16_t query_interval) { return 0; }
int32_t igmp_para_qri_globle_set(uint16_t query_max_resp_time) { return 0; }
int32_t igmp_para_lmqi_globle_set(uint16_t last_member_query_interval) { return 0; }
int32_t igmp_para_lmqc_globle_set(uint16_t last_member_query_count) { return 0; }
/* The highest version spoken: 1, 2 or 3. */
int32_t igmp_version_globle_set(uint8_t version) { return 0; }
/* The range of source-specific multicast (RFC 4607). */
int32_t igmp_ssm_ip_globle_set(uint32_t start, uint32_t end) { return 0; }
/* Groups mapped to sources: five words, which stay where they are and may be read later. */
int32_t igmp_ssm_map_change(uint32_t* five_words) { return 0; }
/* Whether VLANs are learnt from what comes in. */
int32_t igmp_vlan_learning_set(uint8_t enable) { return 0; }
/* Whether a leave ends a membership at once, without last member queries. */
int32_t igmp_fast_leave_enable_globle(uint8_t mode) { return 0; }
/* The VLAN of what has none. */
int32_t igmp_default_vid_set(uint16_t vlan) { return 0; }
/* IPv4 source of the core's own messages. */
int32_t igmp_globle_proxyip_set(uint32_t address) { return 0; }
/* Whether memberships end when nobody reports them. */
int32_t igmp_aging_function_set(uint8_t enable) { return 0; }
/* Ends all memberships, and has the switch forget each, by igmp.del. */
int32_t igmp_del_all_group(void) { return 0; }
/* The counterparts of MLD; its mode is 2 for snooping and 3 for control. */
int32_t mld_api_set_default_vlan(uint16_t vlan) { return 0; }
int32_t mld_proxy_snoop_set_globle(uint16_t mode) { return 0; }
int32_t mld_pack_set_age_switch(uint8_t enable) { return 0; }

/* The list of multicast VLANs: groups are kept in these only. */
int32_t igmp_vlan_add(uint16_t vlan) { return 0; }
int32_t igmp_vlan_del(uint16_t vlan) { return 0; }
int32_t igmp_vlan_del_all(void) { return 0; }

/* ---- Settings of a port ---- */

/* Declares a port, at start-up: 0 to 5, and 0xFFFF. */
int32_t igmp_port_add_all_vlan(uint32_t port) { return 0; }
/* The same for MLD: 0 to 5, and 29; type 2 is a user port, 1 the uplink. */
int32_t mld_port_conf_set(uint32_t port, uint32_t port_type) { return 0; }
/* Fast leave of the port. */
int32_t igmp_if_fast_leave_enable(uint8_t port, uint8_t mode) { return 0; }
/* Most groups on the port. */
int32_t igmp_if_max_group_num_set(uint8_t port, uint16_t limit) { return 0; }
/* Most bandwidth of the groups joined on the port, counted by what each range is said to take. */
int32_t igmp_if_max_bandwidth_set(uint8_t port, uint8_t enable, uint32_t bandwidth,
                                  uint16_t extra) {
    return 0;
}
/* Tags of IGMP messages of the port on the uplink. The records are gone after the call. */
int32_t igmp_if_snp_uplinkvlan_set(uint8_t port, IgmpUplinkTag* outer, IgmpUplinkTag* inner) {
    return 0;
}

/* ---- Authorised groups ---- */

/* Ranges of groups that a port may join, and whether only these: a core keeps them. */
int32_t igmp_if_add_auth_group_cfg(uint8_t port, uint32_t start, uint32_t end, uint32_t bandwidth,
                                   uint16_t vlan) {
    return 0;
}
int32_t igmp_if_delete_auth_group_cfg(uint8_t port, uint32_t start, uint32_t end,
                                      uint32_t bandwidth, uint16_t vlan) {
    return 0;
}
int32_t igmp_if_delete_auth_group_cfg_all(uint8_t port, uint16_t vlan) { return 0; }
int32_t igmp_if_grp_range_auth_enable(uint8_t port, uint8_t enable) { return 0; }
/* The table without ports. A deletion comes six times, five of them with VLAN 0. */
int32_t add_to_auth_group_api(uint32_t group, uint16_t vlan) { return 0; }
int32_t auth_group_delete_api(uint32_t group, uint16_t vlan) { return 0; }
int32_t auth_group_delete_all_api(void) { return 0; }
/* The control list of a port, an address a call; action 1 adds, 0 deletes, 2 is anything else. */
int32_t igmp_set_multicast_control(uint16_t port, uint32_t action, int16_t vlan, uint32_t group) {
    return 0;
}
/* The same as OAM has it. The record is gone after the call. */
int32_t igmp_oam_control_2(uint8_t add_delete, uint16_t port, uint16_t vlan, IgmpOamControl* rest) {
    return 0;
}

/* ---- Status, for the segment (codes 78 and 79) ---- */

/* Four words of a port, native order, into size bytes (16). How many bytes; 0: nothing. */
int32_t igmp_if_gather_if_status(uint32_t port, uint32_t size, uint8_t* buf) {
    const uint32_t words[4] = {0, 0, 0, 0}; /* groups on the port, its limits, say */
    if (size < sizeof words) return 0;
    memcpy(buf, words, sizeof words);
    return sizeof words;
}
/* The groups of a port, 255 for all: platform/group_dump.h. Never more than size bytes. */
int32_t igmp_gather_grp_info(uint32_t port, uint32_t size, uint8_t* buf) {
    const uint32_t records = 0;
    if (size < IGMP_GROUP_DUMP_RECORDS) return 0;
    memcpy(buf, &records, sizeof records);
    return IGMP_GROUP_DUMP_RECORDS;
}

/* ---- Displays: each prints on the console ---- */

/* All groups, or one, with reporters, sources and timers. */
int32_t igmp_display_all_group(void) {
    printf("no groups: this core keeps none\n");
    return 0;
}
int32_t igmp_display_special_group(uint32_t group) { return 0; }
/* The VLANs, of one or all (0), on a port or all. */
int32_t igmp_show_vlan_config(uint32_t port, uint16_t vlan, uint16_t flag) { return 0; }
/* What the proxy has joined upstream. */
int32_t show_igmp_all_proxy_group(void) { return 0; }
int32_t show_igmp_special_proxy_group(uint32_t group) { return 0; }
int32_t igmp_show_vlan_instance(void) { return 0; }
/* Settings, counters, ports, timers. */
int32_t show_igmpv3_globle(void) { return 0; }
int32_t show_igmp_packet_statistic(void) { return 0; }
int32_t show_igmp_if_list(void) { return 0; }
int32_t igmp_timer_show_api(void) { return 0; }
/* Authorised groups, and what a port is set to. */
int32_t igmp_auth_group_show_api(void) { return 0; }
int32_t igmp_if_show_if_cfg(uint8_t port) { return 0; }
int32_t igmp_if_show_if_status(uint8_t port) { return 0; }
int32_t igmp_if_show_auth_group_cfg(uint8_t port, uint32_t group) { return 0; }
/* The same of MLD. */
int32_t mld_unpack_show_mld_sys(uint32_t option) { return 0; }
int32_t mld_unpack_show_mld_thread(uint32_t option) { return 0; }
int32_t mld_unpack_show_vlan_global(uint32_t option) { return 0; }
int32_t mld_show_if_list(void) { return 0; }

/* ---- Traces of the core: what the switches mean is its own ---- */

int32_t igmp_warn_printf_set(uint8_t enable) { return 0; }
int32_t igmp_dbg_set(uint16_t vlan, uint8_t selector) { return 0; }
int32_t igmp_dbg_unset(uint16_t vlan, uint8_t selector) { return 0; }
int32_t igmp_set_debug_level(uint32_t level, uint32_t on) { return 0; }
int32_t igmp_set_debug_pkt_port(uint16_t port) { return 0; }
int32_t igmp_set_debug_switch(uint32_t which, uint32_t on) { return 0; }
int32_t igmp_no_debug_all(void) { return 0; }
int32_t mld_set_mld_debug_port(uint32_t port) { return 0; }
int32_t mld_set_mld_debug(uint32_t mask, uint32_t port) { return 0; }

/* ---- Tests (codes 76 and 77): a made-up report or leave of a port, as if it had come in ---- */

int32_t test_igmp_report_v2_l3(uint16_t port, uint16_t vlan) { return 0; }
int32_t test_igmp_leave_v2_l3(uint16_t port, uint16_t vlan) { return 0; }
