/* The protocol core: what it makes of packets, and what it stores. See platform/protocol_core.h. */
#include <string.h>

#include "check/memory.h"
#include "check/report.h"
#include "check/watch.h"
#include "platform/group_dump.h"

/* ---- Packets --------------------------------------------------------------------------------- */

enum { READ_BUFFER = 2048, ETHERNET_HEADER = 14 };

/* A packet as it was. The frame it lies in is known on the packet task alone. */
static struct {
    uint8_t bytes[READ_BUFFER];
    uint32_t size;
} packet;

static void keep_packet(const uint8_t* bytes, uint32_t claimed) {
    const uint32_t there = frame_now() > ETHERNET_HEADER ? frame_now() - ETHERNET_HEADER : 0;
    if (there == 0) return;
    packet.size = claimed < there ? claimed : there;
    memcpy(packet.bytes, bytes, packet.size);
}

static void check_packet_unchanged(Place at, const uint8_t* bytes) {
    if (frame_now() == 0 || memcmp(packet.bytes, bytes, packet.size) == 0) return;
    uint32_t where = 0;
    while (packet.bytes[where] == bytes[where]) ++where;
    BREACH(at, "changes byte %u of the packet, which is forwarded next", where);
}

int32_t checked_igmp_pkt_recv(uint8_t* ip_packet, uint16_t ip_total_length, uint32_t port,
                              uint32_t group_vlan, void* record) {
    keep_packet(ip_packet, ip_total_length);
    const Place before = call_enter(AT_igmp_pkt_recv);
    const int32_t result =
        neighbours.igmp_pkt_recv(ip_packet, ip_total_length, port, group_vlan, record);
    call_leave(before);
    check_packet_unchanged(AT_igmp_pkt_recv, ip_packet);
    return result;
}

int32_t checked_mld_pkt_recv(uint8_t* ip_packet, uint32_t length, uint32_t port,
                             uint32_t group_vlan, MldReceiveRecord* record) {
    keep_packet(ip_packet, length);
    const Place before = call_enter(AT_mld_pkt_recv);
    const int32_t result = neighbours.mld_pkt_recv(ip_packet, length, port, group_vlan, record);
    call_leave(before);
    check_packet_unchanged(AT_mld_pkt_recv, ip_packet);
    return result;
}

int32_t checked_igmp_time_now(uint32_t* now) {
    const uint32_t one = 0xA5A5A5A5, another = 0x5A5A5A5A;
    const Place before = call_enter(AT_igmp_time_now);
    uint32_t time = one;
    int32_t result = neighbours.igmp_time_now(&time);
    if (time == one) { /* that may be the time: asked once more */
        time = another;
        result = neighbours.igmp_time_now(&time);
    }
    call_leave(before);
    if (time == another) {
        BREACH(AT_igmp_time_now, "stores no time and answers %d: the library takes 0", (int)result);
        return result;
    }
    *now = time;
    return result;
}

/* ---- Status ---------------------------------------------------------------------------------- */

enum { STATUS_WORDS = 4, STATUS_BYTES = 16, LARGEST_DUMP = 15000 };

/* The command task's alone, as the library's own buffers are; behind the answer lies its guard. */
static union {
    uint8_t bytes[LARGEST_DUMP + GUARD_SIZE];
    uint32_t words[STATUS_WORDS];
} answer;

typedef __typeof__(igmp_gather_grp_info) Gather;

/* Has the core fill what is prepared in answer, and passes it on. */
static int32_t gather(Place at, Gather* ask, uint32_t port, uint32_t size) {
    uint8_t* const guard = answer.bytes + size;
    guard_set(guard);
    const Place before = call_enter(at);
    const int32_t result = ask(port, size, answer.bytes);
    call_leave(before);
    const size_t beyond = guard_overrun(guard);
    if (beyond != 0) {
        BREACH(at, "writes %zu bytes behind the buffer of %u", beyond, size);
    }
    if (result > 0 && (uint32_t)result > size) {
        BREACH(at, "answers %d bytes in a buffer of %u", (int)result, size);
    }
    return result;
}

/* A word that stays as it was prepared has not been delivered; the library shall read 0. */
static uint32_t untouched_word(uint32_t i) { return 0xC3A5965Au + i; }

int32_t checked_igmp_if_gather_if_status(uint32_t port, uint32_t size, uint8_t* buf) {
    const Place at = AT_igmp_if_gather_if_status;
    if (size != STATUS_BYTES) return neighbours.igmp_if_gather_if_status(port, size, buf);
    for (uint32_t i = 0; i < STATUS_WORDS; ++i) answer.words[i] = untouched_word(i);
    const int32_t result = gather(at, neighbours.igmp_if_gather_if_status, port, size);
    if (result > 0 && result < STATUS_BYTES) {
        BREACH(at, "answers %d bytes: a status has %d", (int)result, STATUS_BYTES);
    }
    for (uint32_t i = 0; i < STATUS_WORDS; ++i) {
        if (answer.words[i] != untouched_word(i)) continue;
        if (result > 0 && (uint32_t)result > i * sizeof(uint32_t)) {
            BREACH(at, "answers %d bytes and has not stored word %u", (int)result, i);
        }
        answer.words[i] = 0;
    }
    memcpy(buf, answer.bytes, size);
    return result;
}

static bool is_empty(const uint8_t* record) {
    for (int i = 0; i < IGMP_GROUP_RECORD_SIZE; ++i) {
        if (record[i] != 0) return false;
    }
    return true;
}

/* The library believes the number of records, whatever the result says. */
static void check_groups(int32_t result, uint32_t size) {
    const Place at = AT_igmp_gather_grp_info;
    const uint32_t most = (size - IGMP_GROUP_DUMP_RECORDS) / IGMP_GROUP_RECORD_SIZE;
    const uint32_t count = answer.words[0];
    if (result < IGMP_GROUP_DUMP_RECORDS) {
        BREACH(at, "answers %d bytes: the number of records alone has %d", (int)result,
               IGMP_GROUP_DUMP_RECORDS);
        return;
    }
    if (count > most) {
        BREACH(at, "%u records, where %u fit: the number is a word in native byte order", count,
               most);
        return;
    }
    const uint32_t needed = IGMP_GROUP_DUMP_RECORDS + count * IGMP_GROUP_RECORD_SIZE;
    if ((uint32_t)result < needed) {
        BREACH(at, "answers %d bytes: %u records take %u", (int)result, count, needed);
        return;
    }
    const uint8_t* record = answer.bytes + IGMP_GROUP_DUMP_RECORDS;
    for (uint32_t i = 0; i < count; ++i, record += IGMP_GROUP_RECORD_SIZE) {
        if (!is_empty(record)) continue;
        BREACH(at, "record %u of %u is not stored: all its bytes are 0", i, count);
        return;
    }
}

int32_t checked_igmp_gather_grp_info(uint32_t port, uint32_t size, uint8_t* buf) {
    if (size < IGMP_GROUP_DUMP_RECORDS || size > LARGEST_DUMP) {
        return neighbours.igmp_gather_grp_info(port, size, buf);
    }
    memset(answer.bytes, 0, size);
    const int32_t result =
        gather(AT_igmp_gather_grp_info, neighbours.igmp_gather_grp_info, port, size);
    if (result > 0) check_groups(result, size);
    memcpy(buf, answer.bytes, size);
    return result;
}
