/*
 * What can happen to the library, step by step, and neighbours that tell what they are called with.
 * See steps.h.
 */
#include "tests/streams/steps.h"

#include <stdio.h>
#include <string.h>

#include "adapt/adapt.h"
#include "adapt/records.h"
#include "command/command.h"
#include "igmp/igmp.h"
#include "mld/mld.h"
#include "mld/record.h"
#include "platform/l2_multicast.h"
#include "platform/protocol_core.h"
#include "vlan/vlan.h"

enum { LONGEST = 2200, NONE = MC_NO_VLAN };

/* ---- Chance ---------------------------------------------------------------------------------- */

uint32_t below(uint32_t limit) { return chance() >> 3 & 0xFFFFFF ? (chance() >> 4) % limit : 0; }
int one_in(uint32_t n) { return below(n) == 0; }

/* VLANs that meet each other often, and those at the edges. */
static uint16_t some_vlan(void) {
    static const uint16_t kVlans[] = {0,    1,    100,  101,    300,    3000,
                                      4088, 4095, NONE, 0x8064, 0x1064, 0x8864};
    return one_in(8) ? (uint16_t)chance() : kVlans[below(sizeof kVlans / sizeof *kVlans)];
}

static uint32_t some_port(void) {
    switch (below(10)) {
        case 0:
            return MC_UPLINK_PORT;
        case 1:
            return MC_CORE_UPLINK;
        case 2:
            return below(70);
        default:
            return below(MC_PORTS);
    }
}

/* ---- Telling --------------------------------------------------------------------------------- */

static void tell_bytes(const char* what, const uint8_t* bytes, uint32_t len) {
    printf("%s", what);
    for (uint32_t i = 0; i < len; ++i) printf(" %02x", bytes[i]);
    puts("");
}

static uint32_t sum_of(uint32_t sum, uint32_t value) { return sum * 31 + value; }

static uint32_t sum_of_rules(uint32_t sum, PortVlanCfgEntry (*rules)[MC_RULES],
                             const int32_t* counts) {
    for (int p = 0; p < MC_PORTS; ++p) {
        sum = sum_of(sum, (uint32_t)counts[p]);
        for (int j = 0; j < MC_RULES; ++j) {
            const PortVlanCfgEntry* const rule = &rules[p][j];
            sum = sum_of(sum, (uint8_t)rule->portNO);
            sum = sum_of(sum, (uint8_t)rule->prouptagmode);
            sum = sum_of(sum, (uint32_t)rule->in_up_vlan << 16 | rule->out_up_vlan);
            sum = sum_of(sum, (uint8_t)rule->prodntagmode);
            sum = sum_of(sum, (uint32_t)rule->in_dn_vlan << 16 | rule->out_dn_vlan);
            sum = sum_of(sum, (uint8_t)rule->datedntagmode);
            sum = sum_of(sum, (uint32_t)rule->in_data_vlan << 16 | rule->out_data_vlan);
            sum = sum_of(sum, rule->rule_flag);
        }
    }
    return sum;
}

static uint32_t sum_of_port(uint32_t sum, uint32_t leave_mode, uint32_t limit, uint32_t bandwidth,
                            const AuthGroupEntry* groups) {
    sum = sum_of(sum_of(sum_of(sum, leave_mode), limit), bandwidth);
    for (int i = 0; i < MC_AUTH_GROUPS; ++i) {
        sum = sum_of(sum_of(sum, groups[i].bandwidth), groups[i].start_groupAdress);
        sum = sum_of(sum_of(sum, groups[i].end_groupAdress), groups[i].vlan);
    }
    return sum;
}

void tell_records(const uint8_t* segment) {
    uint32_t igmp = sum_of_rules(0, PortVlanCfg, setVlanCfgNumber);
    uint32_t mld = sum_of_rules(0, mldInitParams.mldPortVlanCfg, mldInitParams.vlancfgnum);
    uint32_t shared = 0;
    for (int i = 0; i < MC_TEMPLATE_VLANS; ++i) {
        igmp = sum_of(sum_of(igmp, PortVlan[i]), globle_parm.TemplateVlan[i]);
        mld =
            sum_of(sum_of(mld, (uint32_t)mldInitParams.portVlan[i]), mldInitParams.TemplateVlan[i]);
    }
    for (int p = 0; p < MC_PORTS; ++p) {
        const IgmpPortParm* const port = &globle_parm.port[p];
        igmp = sum_of_port(igmp, port->leavemod, port->grouplimit, port->max_bandwidth,
                           port->auth_group);
        igmp = sum_of(sum_of(igmp, port->auth_group_num), port->sig_vlan);
        igmp = sum_of(sum_of(igmp, port->sig_vlan_a), port->sig_vlan_b);
    }
    for (uint32_t i = 0; i < STREAM_SEGMENT; ++i) shared = sum_of(shared, segment[i]);
    printf("vlans %d %u port %u mode %u %u default %u test %d group %u\n", setVlanNumber,
           PortVlan[0], srcPortNum, proxy_adapt_mode, globle_parm.multiMode, defaultVlan,
           testuplink, ponVlan);
    printf("mld %u tag %x %u %u mode %u default %u test %u debug %x %x\n", mldInitParams.srcPortNum,
           mldInitParams.tag_tpid, mldInitParams.tag_vid, mldInitParams.tag_pri,
           mldInitParams.multiMode, mldInitParams.defaultVlan, mldInitParams.testuplink, mc_debug,
           mld_debug);
    printf("interval %u %u version %u %u ssm %x proxy %x sums %x %x %x\n",
           globle_parm.query_interval, globle_parm.general_member_interval, globle_parm.version,
           globle_parm.robustness, globle_parm.ssm_map[4], globle_parm.proxy_ip, igmp, mld, shared);
}

/* ---- Neighbours that tell -------------------------------------------------------------------- */

int32_t L2_multicast_send_msg(uint8_t* frame, uint8_t port, uint16_t len, uint8_t src_port,
                              uint32_t vlan) {
    printf("send port %u len %u from %u vlan %u", port, len, src_port, vlan);
    tell_bytes(":", frame, len);
    on_sent(frame, len, port);
    /* A driver may do with the bytes as it likes. */
    if (len != 0 && one_in(6)) frame[below(len)] ^= 0x55;
    return one_in(10) ? (int32_t)below(5) - 2 : 0;
}

int32_t L2_multicast_set_port_iptv_entry(int16_t port, L2MulticastMac mac, uint16_t vlan) {
    printf("set entry port %d vlan %u", port, vlan);
    tell_bytes(":", mac.byte, sizeof mac.byte);
    return one_in(3) ? 2 : 0;
}

int32_t L2_multicast_remove_port_iptv_entry(int16_t port, L2MulticastMac mac, uint16_t vlan) {
    printf("remove entry port %d vlan %u", port, vlan);
    tell_bytes(":", mac.byte, sizeof mac.byte);
    return one_in(3) ? 2 : 0;
}

static uint8_t onu_id;

int32_t L2_multicast_get_onu_id(uint8_t* id) {
    *id = onu_id;
    return 0;
}

int32_t igmp_pkt_recv(uint8_t* ip_packet, uint16_t ip_total_length, uint32_t port,
                      uint32_t group_vlan, void* record) {
    printf("igmp packet len %u port %u vlan %u record %d", ip_total_length, port, group_vlan,
           record != NULL);
    tell_bytes(":", ip_packet, 20);
    if (one_in(3)) core_sends();
    return one_in(8) ? 3 : 0;
}

int32_t mld_pkt_recv(uint8_t* ip_packet, uint32_t length, uint32_t port, uint32_t group_vlan,
                     MldReceiveRecord* record) {
    printf("mld packet len %u port %u vlan %u record %u %u", length, port, group_vlan,
           record->frame_word, record->time_stamp);
    tell_bytes(":", ip_packet, 40);
    if (one_in(3)) core_sends();
    return one_in(8) ? 3 : 0;
}

int32_t igmp_if_gather_if_status(uint32_t port, uint32_t size, uint8_t* buf) {
    printf("port status of %u, %u bytes\n", port, size);
    for (uint32_t i = 0; i + 4 <= size; i += 4) {
        const uint32_t word = chance();
        memcpy(buf + i, &word, 4);
    }
    return (int32_t)below(3) - 1;
}

int32_t igmp_gather_grp_info(uint32_t port, uint32_t size, uint8_t* buf) {
    enum { RECORD = 25 };
    const uint32_t count = one_in(4) ? chance() : below(8);
    tell_bytes("groups, as the buffer comes", buf, 32);
    printf("groups of %u, %u bytes\n", port, size);
    memcpy(buf, &count, 4);
    for (uint32_t at = 4; at + RECORD <= size && at < 4 + 8 * RECORD; at += RECORD) {
        for (uint32_t i = 0; i < RECORD; ++i) buf[at + i] = (uint8_t)chance();
    }
    return (int32_t)below(4) - 1;
}

/* The core's settings, each told with what it is called with. */
#define TELLS_1(name, type)                           \
    int32_t name(type a) {                            \
        printf(#name " %d\n", (int32_t)a);            \
        return one_in(6) ? (int32_t)below(9) - 4 : 0; \
    }
#define TELLS_2(name, type_a, type_b)                     \
    int32_t name(type_a a, type_b b) {                    \
        printf(#name " %d %d\n", (int32_t)a, (int32_t)b); \
        return one_in(6) ? (int32_t)below(9) - 4 : 0;     \
    }
TELLS_1(igmp_vlan_add, uint16_t)
TELLS_1(igmp_vlan_del, uint16_t)
TELLS_1(igmp_mode_switch_globle, uint32_t)
TELLS_1(mld_proxy_snoop_set_globle, uint16_t)
TELLS_1(mld_api_set_default_vlan, uint16_t)
TELLS_1(igmp_para_rv_globle_set, uint8_t)
TELLS_1(igmp_para_qi_globle_set, uint16_t)
TELLS_1(igmp_para_qri_globle_set, uint16_t)
TELLS_1(igmp_para_lmqi_globle_set, uint16_t)
TELLS_1(igmp_para_lmqc_globle_set, uint16_t)
TELLS_1(igmp_version_globle_set, uint8_t)
TELLS_1(igmp_vlan_learning_set, uint8_t)
TELLS_1(igmp_fast_leave_enable_globle, uint8_t)
TELLS_1(igmp_default_vid_set, uint16_t)
TELLS_1(igmp_globle_proxyip_set, uint32_t)
TELLS_1(igmp_aging_function_set, uint8_t)
TELLS_1(mld_pack_set_age_switch, uint8_t)
TELLS_1(igmp_set_debug_pkt_port, uint16_t)
TELLS_1(pal_mtype_show, uint32_t)
TELLS_2(igmp_ssm_ip_globle_set, uint32_t, uint32_t)
TELLS_2(igmp_if_fast_leave_enable, uint8_t, uint8_t)
TELLS_2(igmp_if_max_group_num_set, uint8_t, uint16_t)
TELLS_2(igmp_if_grp_range_auth_enable, uint8_t, uint8_t)
TELLS_2(add_to_auth_group_api, uint32_t, uint16_t)
TELLS_2(auth_group_delete_api, uint32_t, uint16_t)
TELLS_2(igmp_if_delete_auth_group_cfg_all, uint8_t, uint16_t)
TELLS_2(igmp_dbg_set, uint16_t, uint8_t)
TELLS_2(igmp_dbg_unset, uint16_t, uint8_t)
TELLS_2(igmp_set_debug_level, uint32_t, uint32_t)
TELLS_2(igmp_set_debug_switch, uint32_t, uint32_t)
TELLS_2(mld_set_mld_debug, uint32_t, uint32_t)
TELLS_2(test_igmp_report_v2_l3, uint16_t, uint16_t)
TELLS_2(test_igmp_leave_v2_l3, uint16_t, uint16_t)

int32_t igmp_para_globle_set(uint8_t robustness, uint32_t query_interval,
                             uint32_t query_max_resp_time, uint32_t last_member_query_interval,
                             uint32_t last_member_query_count, uint32_t general_member_interval) {
    printf("igmp_para_globle_set %u %u %u %u %u %u\n", robustness, query_interval,
           query_max_resp_time, last_member_query_interval, last_member_query_count,
           general_member_interval);
    return one_in(6) ? -1 : 0;
}

int32_t igmp_if_snp_uplinkvlan_set(uint8_t port, IgmpUplinkTag* outer, IgmpUplinkTag* inner) {
    printf("igmp_if_snp_uplinkvlan_set %u: %x %x %x, %x %x %x\n", port, outer->first, outer->second,
           outer->third, inner->first, inner->second, inner->third);
    return one_in(6) ? -1 : 0;
}

int32_t igmp_if_add_auth_group_cfg(uint8_t port, uint32_t start, uint32_t end, uint32_t bandwidth,
                                   uint16_t vlan) {
    printf("igmp_if_add_auth_group_cfg %u %x %x %u %u\n", port, start, end, bandwidth, vlan);
    return one_in(6) ? -1 : 0;
}

int32_t igmp_oam_control_2(uint8_t add_delete, uint16_t port, uint16_t vlan, IgmpOamControl* rest) {
    printf("igmp_oam_control_2 %u %u %u %x %u %u\n", add_delete, port, vlan, rest->word,
           rest->byte_a, rest->byte_b);
    return one_in(6) ? -1 : 0;
}

/* ---- What happens ---------------------------------------------------------------------------- */

static int32_t core_port = -1;

int32_t port_the_core_sends_to(void) { return core_port; }

void core_sends(void) {
    static uint8_t packet[LONGEST];
    uint8_t* const handed = one_in(12) ? NULL : packet;
    const uint16_t len = (uint16_t)(one_in(4) ? below(1600) : 20 + below(60));
    const uint16_t port = (uint16_t)some_port();
    for (uint32_t i = 0; i < 64; ++i) packet[i] = (uint8_t)chance();
    core_port = port;
    if (one_in(2)) {
        send_pkt_mld(handed, port, NULL, len);
    } else {
        IgmpVlanTag tag = {(uint16_t)(one_in(2) ? chance() : 0x8100), some_vlan(),
                           (uint8_t)below(8)};
        send_pkt_igmp(port, handed, one_in(20) ? NULL : &tag, len);
        printf("tag %x %u\n", tag.tpid, tag.vid);
    }
    core_port = -1;
}

void core_programs(void) {
    IgmpGroupEntry igmp = {.group = chance(), .vlan = some_vlan(), .port = (uint16_t)some_port()};
    MldGroupEntry mld = {.vlan = some_vlan(), .port = (uint16_t)some_port()};
    for (uint32_t i = 0; i < sizeof mld.group_tail; ++i) mld.group_tail[i] = (uint8_t)chance();
    printf("= %d\n", one_in(2) ? igmp_add_grp(&igmp) : igmp_del_grp(&igmp));
    printf("= %d\n", one_in(2) ? mld_add_grp(&mld) : mld_del_grp(&mld));
}

static void some_rules(PortVlanCfgEntry (*rules)[MC_RULES], int32_t* counts,
                       const PortStateEntry* ports) {
    for (int p = 0; p < MC_PORTS; ++p) {
        counts[p] = one_in(8) ? (int32_t)below(30) - 10 : (int32_t)below(one_in(3) ? 11 : 4);
        for (int j = 0; j < MC_RULES; ++j) {
            PortVlanCfgEntry* const rule = &rules[p][j];
            rule->portNO = (int8_t)(one_in(5) ? chance() : ports[p].port_id);
            rule->prouptagmode = (int8_t)below(5);
            rule->prodntagmode = (int8_t)below(5);
            rule->datedntagmode = (int8_t)below(5);
            rule->in_up_vlan = some_vlan();
            rule->out_up_vlan = some_vlan();
            rule->in_dn_vlan = some_vlan();
            rule->out_dn_vlan = some_vlan();
            rule->in_data_vlan = some_vlan();
            rule->out_data_vlan = some_vlan();
            rule->rule_flag = (uint8_t)below(2);
        }
    }
}

static void some_ports(PortStateEntry* ports) {
    for (uint32_t p = 0; p < MC_PORTS; ++p) {
        ports[p].port_id = p + 1 < MC_PORTS ? p : MC_UPLINK_PORT;
        ports[p].port_type = p + 1 < MC_PORTS ? MC_PORT_USER : MC_PORT_UPLINK;
    }
    if (one_in(4)) {
        PortStateEntry* const changed = &ports[below(MC_PORTS)];
        changed->port_id = below(40);
        changed->port_type = below(4);
    }
}

/* Another configuration, mostly one that commands could have made. */
void some_configuration(void) {
    some_ports(portState);
    some_ports(mldInitParams.port);
    some_rules(PortVlanCfg, setVlanCfgNumber, portState);
    some_rules(mldInitParams.mldPortVlanCfg, mldInitParams.vlancfgnum, mldInitParams.port);
    setVlanNumber = one_in(4) ? (int32_t)below(30) - 10 : (int32_t)below(11);
    for (int i = 0; i < MC_TEMPLATE_VLANS; ++i) {
        PortVlan[i] = some_vlan();
        mldInitParams.portVlan[i] = some_vlan();
    }
    for (int p = 0; p < MC_PORTS; ++p) {
        globle_parm.port[p].sig_vlan = one_in(4) ? some_vlan() : NONE;
        globle_parm.port[p].sig_vlan_b = one_in(4) ? some_vlan() : NONE;
    }
    proxy_adapt_mode = (uint8_t)below(5);
    mldInitParams.multiMode = (uint16_t)below(5);
    testuplink = one_in(4) ? (int32_t)below(8) : MC_NO_TEST_UPLINK;
    mldInitParams.testuplink = one_in(4) ? below(8) : MC_NO_TEST_UPLINK;
    onu_id = (uint8_t)(one_in(3) ? 255 : one_in(4) ? 0 : chance());
    defaultVlan = some_vlan();
    mldInitParams.defaultVlan = some_vlan();
    mc_debug = one_in(2) ? 0 : chance() & 0x3D;
    mld_debug = one_in(2) ? 0 : chance() & 0x3D;
    tablereturn = (int32_t)below(2);
    igmp_adapt = one_in(6) ? 1 : -1;
    mldInitParams.mld_adapt = one_in(6) ? 1 : -1;
    flag_omci_version = below(2);
}

static uint8_t* frame;
static uint32_t frame_length;

uint32_t length_that_came(void) { return frame_length; }

static void append16(uint32_t* at, uint16_t value) {
    frame[(*at)++] = (uint8_t)(value >> 8);
    frame[(*at)++] = (uint8_t)value;
}

/* How long a frame is: mostly as long as reports are. */
static uint32_t some_length(void) {
    switch (below(8)) {
        case 0:
            return below(40);
        case 1:
            return below(LONGEST);
        default:
            return 60 + below(40);
    }
}

/* Fills the frame, as far as the library may look at it whatever its length is. */
static void fill_frame(void) {
    static const uint8_t kOwnAddress[6] = {0, 0, 0, 0x11, 0, 0x11};
    uint32_t at = 12;
    for (uint32_t i = 0; i < STREAM_READABLE; ++i) frame[i] = (uint8_t)chance();
    frame[0] = 1;
    if (one_in(8)) memset(frame + 6, 0, 6);
    if (one_in(8)) memcpy(frame + 6, kOwnAddress, sizeof kOwnAddress);
    for (uint32_t tags = one_in(2) ? 1 : below(4); tags > 0; --tags) {
        append16(&at, 0x8100);
        append16(&at, some_vlan());
    }
    if (one_in(12)) append16(&at, 0x8864);
    append16(&at, (uint16_t)(one_in(8) ? chance() : one_in(2) ? 0x0800 : 0x86DD));
    frame[at + 9] = one_in(6) ? 17 : 2;
}

void a_frame_comes(void) {
    const uint32_t len = some_length();
    frame_length = len;
    frame = frame_room(len > STREAM_READABLE ? len : STREAM_READABLE);
    fill_frame();
    const uint32_t port = one_in(10) ? chance() : some_port();
    const uint32_t vid = one_in(10) ? chance() : some_vlan() & 0xFFF;
    uint8_t* const handed = one_in(50) ? NULL : frame;
    switch (below(12)) {
        case 0:
            igmp_adapt_snoop_handle(handed, port, len, vid);
            break;
        case 1:
            igmp_adapt_control_handle(handed, port, len, vid);
            break;
        case 2:
            mld_adapt_snoop_handle(handed, port, len, vid);
            break;
        case 3:
            mld_adapt_control_handle(handed, port, len, vid);
            break;
        case 4:
        case 5:
        case 6:
            printf("= %d\n", mldL2PktProc(handed, len, port));
            break;
        case 7:
            printf("= %d\n", MuticastReceive(handed, len, port, below(3)));
            break;
        default:
            printf("= %d\n", igmpL2PktProc(handed, len, port));
            break;
    }
    tell_bytes("frame", frame, STREAM_READABLE);
}

/* What goes to the list of groups that a port may join, and to the core's list of VLANs. */
int walks_a_range(long code) { return code == 9 || code == 32; }

/* Any code, the payload made of values that mean something somewhere. */
void some_record(uint8_t* record) {
    for (uint32_t i = 0; i < MC_RECORD_SIZE; ++i) record[i] = (uint8_t)(one_in(3) ? chance() : 0);
    memset(record, 0, 3);
    record[3] = (uint8_t)below(STREAM_CODES);
    record[8] = (uint8_t)(one_in(2) ? below(8) : record[8]);
    /* Address by address: one will do. */
    if (record[3] == 9) memset(record + 12, 0, 16);
    if (record[3] == 32) memset(record + 8, 0, 4);
}

void a_command_comes(void) {
    uint8_t record[MC_RECORD_SIZE];
    some_record(record);
    printf("command %u: %d\n", record[3], process_interface_msg(record));
}

/* What a web set makes the upstream VLAN of a rule from. */
static uint16_t* upstream_of_web_rule(PortVlanCfgEntry* rule) {
    return rule->prodntagmode == MC_TAG_MODE_UNTAG ? &rule->in_dn_vlan : &rule->out_dn_vlan;
}

void a_rule_changes(void) {
    PortVlanCfgEntry rule = {.portNO = (int8_t)(one_in(6) ? chance() : below(MC_PORTS)),
                             .prouptagmode = (int8_t)below(5),
                             .in_up_vlan = some_vlan(),
                             .out_up_vlan = some_vlan(),
                             .prodntagmode = (int8_t)below(5),
                             .in_dn_vlan = some_vlan(),
                             .out_dn_vlan = some_vlan(),
                             .datedntagmode = (int8_t)below(5),
                             .in_data_vlan = some_vlan(),
                             .out_data_vlan = some_vlan()};
    int32_t (*const operations[])(PortVlanCfgEntry*) = {
        onu_std_omci_set_multicast_vlan, onu_std_omci_delete_multicast_vlan,
        onu_std_omci_web_set_vlan, mld_onu_std_omci_set_multicast_vlan,
        mld_onu_std_omci_delete_multicast_vlan};
    if (!wants_empty_web_rules() && *upstream_of_web_rule(&rule) == NONE) {
        *upstream_of_web_rule(&rule) = 1;
    }
    printf("= %d", operations[below(sizeof operations / sizeof *operations)](&rule));
    printf(" up %d %u %u down %d %u %u data %d %u %u\n", rule.prouptagmode, rule.in_up_vlan,
           rule.out_up_vlan, rule.prodntagmode, rule.in_dn_vlan, rule.out_dn_vlan,
           rule.datedntagmode, rule.in_data_vlan, rule.out_data_vlan);
}
