/*
 * The call-backs that the library registers: when and where they come, and whether what they point
 * to is there. The core is given a wrapper of each. See platform/protocol_core.h.
 */
#include "check/memory.h"
#include "check/report.h"
#include "check/tasks.h"
#include "check/watch.h"

/* ---- When and where -------------------------------------------------------------------------- */

typedef enum Step { BEING_REGISTERED, REGISTERED, REFUSED } Step;

/* What has become of the registration of each. */
static struct {
    Step step;
    int32_t answer;
} registration[PLACES];

static Place registered_by(Place call_back) {
    return (Place)(AT_igmp_register_switch_send_pkt + (call_back - AT_igmp_send));
}

/*
 * Packets come in on a task of the library, and a core may answer them at once; where timers have
 * no thread of their own, they run while that task waits for a frame. Anywhere else a call-back
 * comes from a thread of the core, or from a setting, which is not looked at.
 */
static void check_place(Place call_back) {
    const Place from = call_now();
    switch (from) {
        case AT_igmp_pkt_recv:
        case AT_mld_pkt_recv:
        case AT_L2_multicast_read_msg:
            return;
        case NO_PLACE:
            if (frame_now() == 0) return;
            BREACH(call_back, "called on the packet task, which is in no call of the core");
            return;
        default:
            BREACH(call_back, "called from inside %s", place_name(from));
    }
}

static void check_turn(Place call_back) {
    switch (registration[call_back].step) {
        case BEING_REGISTERED:
            BREACH(call_back, "called before %s has returned",
                   place_name(registered_by(call_back)));
            return;
        case REFUSED:
            BREACH(call_back, "called although %s has answered %d",
                   place_name(registered_by(call_back)), (int)registration[call_back].answer);
            break;
        case REGISTERED:
            if (!driver_was_opened()) BREACH(call_back, "called before L2_multicast_init");
            break;
    }
    check_place(call_back);
}

/* ---- What they point to ---------------------------------------------------------------------- */

typedef struct IpHeader {
    int version;
    uint16_t size;
    uint16_t length_at;    /* its 16 bits of length */
    uint16_t length_omits; /* bytes that the length does not count */
} IpHeader;
static const IpHeader ipv4 = {4, 20, 2, 0};
static const IpHeader ipv6 = {6, 40, 4, 40};

static void check_header(Place at, const IpHeader* header, const uint8_t* packet, uint16_t len) {
    const int version = packet[0] >> 4;
    if (version != header->version) {
        BREACH(at, "a packet with version %d in its header, not %d", version, header->version);
        return;
    }
    const uint8_t* const field = packet + header->length_at;
    const uint32_t claimed = ((uint32_t)field[0] << 8 | field[1]) + header->length_omits;
    if (claimed > len) BREACH(at, "a packet of %d bytes, whose header claims %u", len, claimed);
}

/* Whether the library can be given it. */
static bool check_packet(Place at, const IpHeader* header, const uint8_t* packet, uint16_t len) {
    enum { LONGEST_PACKET = 1500 };
    if (packet == NULL) {
        BREACH(at, "no packet, and a length of %d", len);
        return true;
    }
    const uint16_t read = len > header->size ? len : header->size;
    if (!memory_readable(packet, read)) {
        BREACH(at, "a packet of %d bytes, of which not all can be read", len);
        return false;
    }
    if (len < header->size) {
        BREACH(at, "a packet of %d bytes: its IP header alone has %d", len, header->size);
        return true;
    }
    if (len > LONGEST_PACKET) {
        BREACH(at, "a packet of %d bytes is not sent: no more than %d fit a frame", len,
               LONGEST_PACKET);
    }
    check_header(at, header, packet, len);
    return true;
}

static bool check_tag(Place at, IgmpVlanTag* tag) {
    if (tag == NULL) {
        BREACH(at, "no tag: the packet is not sent");
        return true;
    }
    if (!memory_readable(tag, sizeof *tag)) {
        BREACH(at, "a tag that can not be read");
        return false;
    }
    if ((uintptr_t)tag % _Alignof(IgmpVlanTag) != 0) {
        BREACH(at, "a tag at an odd address");
        return false; /* not every processor reads there */
    }
    if (!memory_writable(&tag->vid)) {
        BREACH(at, "a tag that can not be written: a translated vid is stored there");
        return false;
    }
    return true;
}

static void check_port(Place at, uint16_t port) {
    enum { UPLINK_OF_THE_CORE = 0xFFFF };
    if (!is_port(port) && port != UPLINK_OF_THE_CORE) {
        BREACH(at, "port %d is none of 0 to 5, 29 and 65535", port);
    }
}

static bool check_entry(Place at, const void* entry, size_t size, size_t alignment) {
    if (entry == NULL) {
        BREACH(at, "no group record");
        return true;
    }
    if ((uintptr_t)entry % alignment != 0) {
        BREACH(at, "a group record at an address that is no multiple of %zu", alignment);
        return false; /* not every processor reads there */
    }
    if (memory_readable(entry, size)) return true;
    BREACH(at, "a group record of %zu bytes, of which not all can be read", size);
    return false;
}

static void check_entry_port(Place at, uint16_t port) {
    if (!is_port(port)) {
        BREACH(at, "port %d in the group record is none of 0 to 5 and 29", port);
    }
}

static void check_group(Place at, uint32_t group) {
    if (group >> 28 != 0xE) {
        BREACH(at, "group %u.%u.%u.%u is no multicast address; it stands in host order",
               group >> 24, group >> 16 & 0xFF, group >> 8 & 0xFF, group & 0xFF);
    }
}

/* ---- The wrappers ---------------------------------------------------------------------------- */

static struct {
    IgmpSendPacket igmp_send;
    IgmpTableChange igmp_add;
    IgmpTableChange igmp_del;
    MldSendPacket mld_send;
    MldTableChange mld_add;
    MldTableChange mld_del;
} library;

/* What would end the process is not passed on. */
enum { NOT_PASSED_ON = -1 };

static void igmp_send(uint16_t port, uint8_t* packet, IgmpVlanTag* tag, uint16_t len) {
    check_turn(AT_igmp_send);
    check_port(AT_igmp_send, port);
    const bool has_packet = check_packet(AT_igmp_send, &ipv4, packet, len);
    const bool has_tag = check_tag(AT_igmp_send, tag);
    if (!has_packet || !has_tag) return;
    const Place before = call_enter(AT_igmp_send);
    library.igmp_send(port, packet, tag, len);
    call_leave(before);
}

static void mld_send(uint8_t* packet, uint16_t port, void* tag, uint16_t len) {
    check_turn(AT_mld_send);
    check_port(AT_mld_send, port);
    if (!check_packet(AT_mld_send, &ipv6, packet, len)) return;
    const Place before = call_enter(AT_mld_send);
    library.mld_send(packet, port, tag, len);
    call_leave(before);
}

static int32_t igmp_change(Place at, IgmpTableChange change, IgmpGroupEntry* group) {
    check_turn(at);
    if (!check_entry(at, group, sizeof *group, _Alignof(__typeof__(*group)))) return NOT_PASSED_ON;
    if (group != NULL) {
        check_group(at, group->group);
        check_entry_port(at, group->port);
    }
    const Place before = call_enter(at);
    const int32_t result = change(group);
    call_leave(before);
    return result;
}

static int32_t mld_change(Place at, MldTableChange change, MldGroupEntry* group) {
    check_turn(at);
    if (!check_entry(at, group, sizeof *group, _Alignof(__typeof__(*group)))) return NOT_PASSED_ON;
    if (group != NULL) check_entry_port(at, group->port);
    const Place before = call_enter(at);
    const int32_t result = change(group);
    call_leave(before);
    return result;
}

static int32_t igmp_add(IgmpGroupEntry* group) {
    return igmp_change(AT_igmp_add, library.igmp_add, group);
}
static int32_t igmp_del(IgmpGroupEntry* group) {
    return igmp_change(AT_igmp_del, library.igmp_del, group);
}
static int32_t mld_add(MldGroupEntry* group) {
    return mld_change(AT_mld_add, library.mld_add, group);
}
static int32_t mld_del(MldGroupEntry* group) {
    return mld_change(AT_mld_del, library.mld_del, group);
}

/* ---- Registration ---------------------------------------------------------------------------- */

static Place registration_begins(Place call_back) {
    registration[call_back].step = BEING_REGISTERED;
    return call_enter(registered_by(call_back));
}

static int32_t registration_ends(Place call_back, Place before, int32_t answer) {
    call_leave(before);
    registration[call_back].answer = answer;
    registration[call_back].step = answer == 0 ? REGISTERED : REFUSED;
    return answer;
}

/* Keeps the library's own, and has the core keep the wrapper. */
#define REGISTERS(function, Type, call_back)                                              \
    int32_t checked_##function(Type of_the_library) {                                     \
        library.call_back = of_the_library;                                               \
        const Place before = registration_begins(AT_##call_back);                         \
        return registration_ends(AT_##call_back, before, neighbours.function(call_back)); \
    }

REGISTERS(igmp_register_switch_send_pkt, IgmpSendPacket, igmp_send)
REGISTERS(igmp_register_switch_add_table, IgmpTableChange, igmp_add)
REGISTERS(igmp_register_switch_del_table, IgmpTableChange, igmp_del)
REGISTERS(mld_register_switch_send_pkt, MldSendPacket, mld_send)
REGISTERS(mld_register_switch_add_table, MldTableChange, mld_add)
REGISTERS(mld_register_switch_del_table, MldTableChange, mld_del)
