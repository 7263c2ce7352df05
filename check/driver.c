/* The switch driver: what it delivers, and what it is given. See platform/l2_multicast.h. */
#include <string.h>

#include "check/memory.h"
#include "check/report.h"
#include "check/tasks.h"
#include "check/watch.h"

enum { READ_BUFFER = 2048, LONGEST_READ = 2000, LONGEST_SENT = 2008, ETHERNET_HEADER = 14 };

static bool is_opened;
static __thread uint32_t frame_length;

bool driver_was_opened(void) { return __atomic_load_n(&is_opened, __ATOMIC_RELAXED); }
uint32_t frame_now(void) { return frame_length; }

int32_t checked_L2_multicast_init(void) {
    const Place before = call_enter(AT_L2_multicast_init);
    const int32_t result = neighbours.L2_multicast_init();
    call_leave(before);
    __atomic_store_n(&is_opened, true, __ATOMIC_RELAXED);
    return result;
}

int32_t checked_L2_multicast_set_filter_method(uint32_t method) {
    const Place before = call_enter(AT_L2_multicast_set_filter_method);
    const int32_t result = neighbours.L2_multicast_set_filter_method(method);
    call_leave(before);
    return result;
}

/* ---- Frames that come in --------------------------------------------------------------------- */

/* Neither is a length or a port: what stays so was not stored. */
enum { NO_LENGTH = 0x7EEEEEEE, NO_PORT = 0xEE };

/* The packet task's alone, as the library's own buffer is. */
static struct {
    uint8_t bytes[READ_BUFFER];
    uint8_t guard[GUARD_SIZE];
    bool is_guarded;
} frame;

static void check_frame_read(uint32_t length, uint8_t port) {
    const Place at = AT_L2_multicast_read_msg;
    if (length == NO_LENGTH) {
        BREACH(at, "answers 0, a frame, and stores no length");
    } else if (length > READ_BUFFER) {
        BREACH(at, "a frame of %u bytes in a buffer of %d", length, READ_BUFFER);
    } else if (length > LONGEST_READ) {
        BREACH(at, "a frame of %u bytes: the library drops what has more than %d", length,
               LONGEST_READ);
    } else if (length < ETHERNET_HEADER) {
        BREACH(at, "a frame of %u bytes, less than an Ethernet header", length);
    }
    if (port == NO_PORT) {
        BREACH(at, "answers 0, a frame, and stores no port");
    } else if (!is_port(port)) {
        BREACH(at, "port %d is none of 0 to 5 and 29", port);
    }
}

int32_t checked_L2_multicast_read_msg(uint8_t* buf, uint8_t* port, uint32_t* len) {
    uint32_t length = NO_LENGTH;
    uint8_t from = NO_PORT;
    if (!frame.is_guarded) guard_set(frame.guard);
    frame.is_guarded = true;
    tasks_measure_now_and_then();
    const Place before = call_enter(AT_L2_multicast_read_msg);
    const int32_t result = neighbours.L2_multicast_read_msg(frame.bytes, &from, &length);
    call_leave(before);

    const size_t beyond = guard_overrun(frame.guard);
    if (beyond != 0) {
        BREACH(AT_L2_multicast_read_msg, "writes %zu bytes behind the buffer of %d", beyond,
               READ_BUFFER);
    }
    if (length != NO_LENGTH) *len = length;
    if (from != NO_PORT) *port = from;
    if (result != 0) return result;
    check_frame_read(length, from);
    frame_length = *len < READ_BUFFER ? *len : READ_BUFFER;
    memcpy(buf, frame.bytes, frame_length);
    return result;
}

/* ---- Frames that go out ---------------------------------------------------------------------- */

int32_t checked_L2_multicast_send_msg(uint8_t* bytes, uint8_t port, uint16_t len, uint8_t src_port,
                                      uint32_t vlan) {
    const Place at = AT_L2_multicast_send_msg;
    if (len > LONGEST_SENT) {
        BREACH(at, "is given a frame of %d bytes: no more than %d leave", len, LONGEST_SENT);
    } else if (len < ETHERNET_HEADER) {
        BREACH(at, "is given a frame of %d bytes, less than an Ethernet header", len);
    }
    if (bytes == NULL) BREACH(at, "is given no frame, and a length of %d", len);
    if (!is_port(port)) BREACH(at, "is given port %d, none of 0 to 5 and 29", port);
    const Place before = call_enter(at);
    const int32_t result = neighbours.L2_multicast_send_msg(bytes, port, len, src_port, vlan);
    call_leave(before);
    return result;
}

/* ---- Switch entries and the ONU id ----------------------------------------------------------- */

int32_t checked_L2_multicast_set_port_iptv_entry(int16_t port, L2MulticastMac mac, uint16_t vlan) {
    const Place before = call_enter(AT_L2_multicast_set_port_iptv_entry);
    const int32_t result = neighbours.L2_multicast_set_port_iptv_entry(port, mac, vlan);
    call_leave(before);
    return result;
}

int32_t checked_L2_multicast_remove_port_iptv_entry(int16_t port, L2MulticastMac mac,
                                                    uint16_t vlan) {
    const Place before = call_enter(AT_L2_multicast_remove_port_iptv_entry);
    const int32_t result = neighbours.L2_multicast_remove_port_iptv_entry(port, mac, vlan);
    call_leave(before);
    return result;
}

int32_t checked_L2_multicast_get_onu_id(uint8_t* onu_id) {
    enum { ONE = 0xA5, ANOTHER = 0x5A };
    const Place before = call_enter(AT_L2_multicast_get_onu_id);
    uint8_t id = ONE;
    int32_t result = neighbours.L2_multicast_get_onu_id(&id);
    if (id == ONE) { /* that may be its id: asked once more */
        id = ANOTHER;
        result = neighbours.L2_multicast_get_onu_id(&id);
    }
    call_leave(before);
    if (id == ANOTHER) {
        BREACH(AT_L2_multicast_get_onu_id, "stores no id and answers %d: the library takes 0",
               (int)result);
        return result;
    }
    *onu_id = id;
    return result;
}
