/*
 * Core, driver and task layer that break what platform/ asks of them, each in the way that the case
 * says. What no case needs is in bench/paths/neighbours.c.
 */
#include <pthread.h>
#include <signal.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/msg.h>
#include <time.h>
#include <unistd.h>

#include "platform/group_dump.h"
#include "platform/l2_multicast.h"
#include "platform/pal.h"
#include "platform/protocol_core.h"
#include "tests/check/case.h"

static const char* wanted = "";

void case_use(const char* name) { wanted = name; }
bool case_is(const char* name) { return strcmp(wanted, name) == 0; }

/* ---- Call-backs ------------------------------------------------------------------------------ */

static IgmpSendPacket igmp_send;
static IgmpTableChange igmp_add;
static IgmpTableChange igmp_del;
static MldSendPacket mld_send;
static MldTableChange mld_add;
static MldTableChange mld_del;

/* An IGMPv2 report for 239.1.1.1, and an IPv6 packet without a payload. */
static uint8_t ipv4_packet[] = {0x45, 0, 0,    28,   0,    0,    0,    0,   1, 2,
                                0,    0, 10,   0,    0,    2,    239,  1,   1, 1,
                                0x16, 0, 0xf9, 0xfd, 0xef, 0x01, 0x01, 0x01};
static uint8_t ipv6_packet[40] = {0x60, 0, 0, 0, 0, 0, 0x3A, 1};

static void send_both(uint16_t port) {
    IgmpVlanTag tag = {0x8100, 100, 0};
    igmp_send(port, ipv4_packet, &tag, sizeof ipv4_packet);
    mld_send(ipv6_packet, port, &tag, sizeof ipv6_packet);
}

static void change_both(uint32_t group, uint16_t port) {
    IgmpGroupEntry igmp = {{0}, group, {0}, 100, port};
    MldGroupEntry mld = {{0}, {0, 0, 0, 1}, {0}, 100, port};
    igmp_add(&igmp);
    igmp_del(&igmp);
    mld_add(&mld);
    mld_del(&mld);
}

enum { GROUP = (int)0xEF010101 };

static void call_all_back(void) {
    send_both(0);
    change_both((uint32_t)GROUP, 0);
}

static int32_t answer_to_registration(void) { return case_is("refused") ? 7 : 0; }

static int32_t register_change(IgmpTableChange change) {
    IgmpGroupEntry group = {{0}, (uint32_t)GROUP, {0}, 100, 0};
    if (case_is("during")) change(&group);
    return answer_to_registration();
}
static int32_t register_mld_change(MldTableChange change) {
    MldGroupEntry group = {{0}, {0, 0, 0, 1}, {0}, 100, 0};
    if (case_is("during")) change(&group);
    return answer_to_registration();
}

int32_t igmp_register_switch_send_pkt(IgmpSendPacket send) {
    IgmpVlanTag tag = {0x8100, 100, 0};
    igmp_send = send;
    if (case_is("during")) send(0, ipv4_packet, &tag, sizeof ipv4_packet);
    return answer_to_registration();
}
int32_t igmp_register_switch_add_table(IgmpTableChange add) {
    igmp_add = add;
    return register_change(add);
}
int32_t igmp_register_switch_del_table(IgmpTableChange del) {
    igmp_del = del;
    return register_change(del);
}
int32_t mld_register_switch_send_pkt(MldSendPacket send) {
    mld_send = send;
    if (case_is("during")) send(ipv6_packet, 0, NULL, sizeof ipv6_packet);
    return answer_to_registration();
}
int32_t mld_register_switch_add_table(MldTableChange add) {
    mld_add = add;
    return register_mld_change(add);
}
int32_t mld_register_switch_del_table(MldTableChange del) {
    mld_del = del;
    if (case_is("early")) call_all_back();
    return register_mld_change(del);
}

/* The step of start-up between the registrations and the driver. */
int32_t mld_proxy_snoop_set_globle(uint16_t mode) {
    (void)mode;
    if (case_is("before_driver")) call_all_back();
    return 0;
}

/* ---- The core -------------------------------------------------------------------------------- */

int32_t igmp_pkt_recv(uint8_t* ip_packet, uint16_t ip_total_length, uint32_t port,
                      uint32_t group_vlan, void* record) {
    (void)ip_total_length, (void)port, (void)group_vlan, (void)record;
    if (case_is("change_packet")) ip_packet[8] = 64;
    if (case_is("clean")) call_all_back();
    return 0;
}

int32_t mld_pkt_recv(uint8_t* ip_packet, uint32_t length, uint32_t port, uint32_t group_vlan,
                     MldReceiveRecord* record) {
    (void)group_vlan;
    if (case_is("change_packet")) ip_packet[7] = 64;
    printf("mld_pkt_recv %u bytes from %u at %u\n", length, port, record->time_stamp);
    if (case_is("clean")) call_all_back();
    return 0;
}

int32_t igmp_time_now(uint32_t* now) {
    if (case_is("no_time")) return 3;
    if (case_is("inside_time")) call_all_back();
    *now = 0xA5A5A5A5;
    return 0;
}

static void store_words(uint8_t* buf, uint32_t count) {
    const uint32_t words[4] = {1, 2, 3, 4};
    memcpy(buf, words, count * sizeof *words);
}

int32_t igmp_if_gather_if_status(uint32_t port, uint32_t size, uint8_t* buf) {
    (void)port;
    if (case_is("status_word")) return store_words(buf, 3), 16;
    if (case_is("status_short")) return store_words(buf, 3), 12;
    store_words(buf, 4);
    if (case_is("status_long")) return 20;
    if (case_is("status_beyond")) memset(buf + size, 1, 8);
    return 16;
}

static int32_t store_groups(uint8_t* buf, uint32_t count, uint32_t stored) {
    memcpy(buf, &count, sizeof count);
    memset(buf + IGMP_GROUP_DUMP_RECORDS, 1, stored * IGMP_GROUP_RECORD_SIZE);
    return (int32_t)(IGMP_GROUP_DUMP_RECORDS + stored * IGMP_GROUP_RECORD_SIZE);
}

int32_t igmp_gather_grp_info(uint32_t port, uint32_t size, uint8_t* buf) {
    (void)port;
    if (case_is("groups_answer_1")) return 1;
    if (case_is("groups_order")) return store_groups(buf, __builtin_bswap32(2), 2);
    if (case_is("groups_fewer")) return store_groups(buf, 3, 2);
    if (case_is("groups_not_stored")) return store_groups(buf, 3, 2) + IGMP_GROUP_RECORD_SIZE;
    if (case_is("groups_long")) return store_groups(buf, 1, 1), (int32_t)size + 1;
    if (case_is("groups_beyond")) memset(buf + size, 1, 1000);
    return store_groups(buf, 2, 2);
}

/* ---- The driver ------------------------------------------------------------------------------ */

static volatile bool is_done;
static int command_tasks;

/* A command task without a queue ends. */
int msgget(key_t key, int flags) {
    (void)key, (void)flags;
    return case_is("no_queue") ? -1 : 1;
}

/* The command task waits for a command here, in the place of the C library's. */
ssize_t msgrcv(int queue, void* message, size_t size, long type, int flags) {
    (void)queue, (void)message, (void)size, (void)type, (void)flags;
    __atomic_add_fetch(&command_tasks, 1, __ATOMIC_RELAXED);
    for (;;) pause();
}

static int command_tasks_waiting(void) { return __atomic_load_n(&command_tasks, __ATOMIC_RELAXED); }

static bool is_over(void) {
    const int awaited = case_is("not_started") || case_is("no_queue") ? 0
                        : case_is("twice")                            ? 2
                                                                      : 1;
    return is_done && command_tasks_waiting() >= awaited;
}

void case_wait(void) {
    const struct timespec moment = {0, 1000000};
    for (int i = 0; i < 5000 && !is_over(); ++i) nanosleep(&moment, NULL);
}

enum { ADDRESSES_AND_TYPE = 14 };

static uint32_t store_frame(uint8_t* buf, bool is_mld) {
    static const uint8_t to_igmp[] = {1, 0, 0x5E, 1, 1, 1, 2, 0, 0, 0, 0, 2, 0x08, 0x00};
    static const uint8_t to_mld[] = {0x33, 0x33, 0, 0, 0, 1, 2, 0, 0, 0, 0, 2, 0x86, 0xDD};
    memcpy(buf, is_mld ? to_mld : to_igmp, ADDRESSES_AND_TYPE);
    if (is_mld) {
        memcpy(buf + ADDRESSES_AND_TYPE, ipv6_packet, sizeof ipv6_packet);
        return ADDRESSES_AND_TYPE + sizeof ipv6_packet;
    }
    memcpy(buf + ADDRESSES_AND_TYPE, ipv4_packet, sizeof ipv4_packet);
    return ADDRESSES_AND_TYPE + sizeof ipv4_packet;
}

/* Nobody calls the core here, on the library's packet task. */
unsigned sleep(unsigned seconds) {
    (void)seconds;
    if (case_is("from_nowhere")) {
        call_all_back();
        is_done = true;
    }
    for (;;) pause();
}

static void use_stack(size_t size) {
    volatile uint8_t* const bytes = __builtin_alloca(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = 1;
}

/* As many frames as the case wants, of both sides in turn; then the packet task is kept. */
int32_t L2_multicast_read_msg(uint8_t* buf, uint8_t* port, uint32_t* len) {
    static uint32_t times;
    const uint32_t frames = case_is("often") ? 9 : case_is("clean") ? 8 : 2;
    if (times == 2 && case_is("from_nowhere")) return 1;
    if (times == frames) {
        is_done = true;
        for (;;) pause();
    }
    const uint32_t size = store_frame(buf, times++ % 2 != 0);
    if (!case_is("no_length")) *len = size;
    if (!case_is("no_port")) *port = 2;
    if (case_is("length_0")) *len = 0;
    if (case_is("length_13")) *len = 13;
    if (case_is("length_2001")) *len = 2001;
    if (case_is("length_2049")) *len = 2049;
    if (case_is("port_6") || case_is("often")) *port = 6;
    if (case_is("beyond")) memset(buf, 1, 2048 + 100);
    if (case_is("deep")) use_stack(46000);
    return 0;
}

int32_t L2_multicast_send_msg(uint8_t* frame, uint8_t port, uint16_t len, uint8_t src_port,
                              uint32_t vlan) {
    (void)src_port, (void)vlan;
    if (frame == NULL || len < ADDRESSES_AND_TYPE + 4) return 1;
    printf("sent %d bytes on %d, type and tag %02x%02x%02x%02x\n", len, port, frame[12], frame[13],
           frame[14], frame[15]);
    return 0;
}

int32_t L2_multicast_set_port_iptv_entry(int16_t port, L2MulticastMac mac, uint16_t vlan) {
    (void)port, (void)mac, (void)vlan;
    if (case_is("inside_driver")) send_both(0);
    return 0;
}

int32_t L2_multicast_get_onu_id(uint8_t* onu_id) {
    if (!case_is("no_onu_id")) *onu_id = 0xA5;
    return case_is("no_onu_id") ? 5 : 0;
}

/* ---- Tasks ----------------------------------------------------------------------------------- */

static void* run(void* entry) {
    if (case_is("refused_late")) usleep(100000);
    ((PalTaskEntry)(uintptr_t)entry)();
    return NULL;
}

static void start(uint32_t stack_size, PalTaskEntry entry) {
    enum { PAGE = 4096 };
    pthread_attr_t attributes;
    pthread_t thread;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_attr_setstacksize(&attributes, (stack_size + PAGE - 1) / PAGE * PAGE);
    pthread_create(&thread, &attributes, run, (void*)(uintptr_t)entry);
    pthread_attr_destroy(&attributes);
}

int32_t pal_task_create(uint32_t* task_id, const char* name, uint32_t priority, uint32_t option,
                        uint32_t stack_size, PalTaskEntry entry) {
    const bool is_command_task = strcmp(name, "tMCCmd") == 0;
    (void)priority, (void)option;
    if (!case_is("no_number")) *task_id = is_command_task ? 2 : 1;
    if (case_is("not_started") && is_command_task) return 0;
    if (case_is("same_thread") && is_command_task) {
        entry();
    }
    start(case_is("small_stack") ? 32768 : stack_size, entry);
    if (case_is("twice") && is_command_task) start(stack_size, entry);
    if (case_is("refused_task") && is_command_task) {
        while (command_tasks_waiting() == 0) usleep(1000);
        return 1;
    }
    if (case_is("refused_late") && is_command_task) return 1;
    return 0;
}

/* ---- What a thread of the core does ---------------------------------------------------------- */

/* So many bytes, the last of a page behind which there is none. */
static uint8_t* at_the_edge(size_t size) {
    const size_t page = (size_t)sysconf(_SC_PAGESIZE);
    uint8_t* const pages =
        mmap(NULL, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    munmap(pages + page, page);
    return pages + page - size;
}

static void send_of_length(uint16_t length) {
    static uint8_t large[2000];
    IgmpVlanTag tag = {0x8100, 100, 0};
    memcpy(large, ipv4_packet, sizeof ipv4_packet);
    igmp_send(0, large, &tag, length);
    memcpy(large, ipv6_packet, sizeof ipv6_packet);
    mld_send(large, 0, NULL, length);
}

static void send_from_the_edge(void) {
    uint8_t* const packet = at_the_edge(30);
    IgmpVlanTag tag = {0x8100, 100, 0};
    memcpy(packet, ipv4_packet, sizeof ipv4_packet);
    igmp_send(0, packet, &tag, 31);
    packet[0] = 0x60;
    mld_send(packet, 0, NULL, 30); /* shorter than its header, which is read all the same */
}

/* The first bytes are the last of a page that is not there. */
static void send_from_nowhere(void) {
    const size_t page = (size_t)sysconf(_SC_PAGESIZE);
    uint8_t* const pages =
        mmap(NULL, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    IgmpVlanTag tag = {0x8100, 100, 0};
    munmap(pages, page);
    igmp_send(0, pages + page - 10, &tag, sizeof ipv4_packet);
}

static void send_claiming(void) {
    IgmpVlanTag tag = {0x8100, 100, 0};
    igmp_send(0, ipv4_packet, &tag, sizeof ipv4_packet - 1);
    ipv6_packet[5] = 1;
    mld_send(ipv6_packet, 0, NULL, sizeof ipv6_packet);
}

static void send_each_others(void) {
    uint8_t four[40] = {0x45};
    uint8_t six[40] = {0x60};
    IgmpVlanTag tag = {0x8100, 100, 0};
    igmp_send(0, six, &tag, sizeof six);
    mld_send(four, 0, NULL, sizeof four);
}

static void send_with_tag(IgmpVlanTag* tag) {
    igmp_send(0, ipv4_packet, tag, sizeof ipv4_packet);
    mld_send(ipv6_packet, 0, tag, sizeof ipv6_packet); /* it is not read there */
}

static void send_nothing(void) {
    IgmpVlanTag tag = {0x8100, 100, 0};
    igmp_send(0, NULL, &tag, 28);
    mld_send(NULL, 0, NULL, 40);
}

static void change_at(void* igmp, void* mld) {
    igmp_add(igmp);
    igmp_del(igmp);
    mld_add(mld);
    mld_del(mld);
}

static void change_at_odd_address(void) {
    const IgmpGroupEntry igmp = {{0}, (uint32_t)GROUP, {0}, 100, 0};
    const MldGroupEntry mld = {{0}, {0, 0, 0, 1}, {0}, 100, 0};
    uint8_t* const of_igmp = at_the_edge(65);
    uint8_t* const of_mld = at_the_edge(65);
    memcpy(of_igmp, &igmp, sizeof igmp);
    memcpy(of_mld, &mld, sizeof mld);
    change_at(of_igmp, of_mld);
}

void case_act(void) {
    static const IgmpVlanTag constant = {0x8100, 100, 0};
    if (case_is("refused") || case_is("inside_driver")) call_all_back();
    if (case_is("clean")) {
        send_both(29);
        send_both(0xFFFF);
        change_both((uint32_t)GROUP, 5);
    }
    if (case_is("send_port")) send_both(6);
    if (case_is("send_short")) send_of_length(19);
    if (case_is("send_long")) send_of_length(1501);
    if (case_is("send_edge")) send_from_the_edge();
    if (case_is("send_nowhere")) send_from_nowhere();
    if (case_is("send_claim")) send_claiming();
    if (case_is("send_version")) send_each_others();
    if (case_is("send_nothing")) send_nothing();
    if (case_is("no_tag")) send_with_tag(NULL);
    if (case_is("wild_tag")) send_with_tag((void*)at_the_edge(4));
    if (case_is("odd_tag")) send_with_tag((void*)(at_the_edge(64) + 1));
    if (case_is("constant_tag")) send_with_tag((IgmpVlanTag*)(uintptr_t)&constant);
    if (case_is("no_entry")) change_at(NULL, NULL);
    if (case_is("odd_entry")) change_at_odd_address();
    if (case_is("wild_entry")) change_at(at_the_edge(52), at_the_edge(52));
    if (case_is("entry_port")) change_both((uint32_t)GROUP, 0xFFFF);
    if (case_is("entry_group")) change_both(__builtin_bswap32((uint32_t)GROUP), 0);
}
