/*
 * The L2 multicast driver: frames that the switch traps to the processor, frames sent on a port,
 * and the switch's multicast forwarding entries. Imported, never defined here. Every function
 * returns 0 on success unless it says otherwise. None of them calls the core or its call-backs but
 * L2_multicast_read_msg, while it waits.
 */
#pragma once

#include <stdint.h>

#include "common/export.h"

MC_C_BEGIN

/* A MAC address as the driver takes it: by value. */
typedef struct L2MulticastMac {
    uint8_t byte[6]; /* in the order of the wire */
} L2MulticastMac;

/* Opens the driver. Called once, during start-up. */
int32_t L2_multicast_init(void);

/* Selects how the switch matches multicast entries; the library asks for method 2. */
int32_t L2_multicast_set_filter_method(uint32_t method);

/*
 * Delivers the next trapped frame, without FCS: its bytes to buf (at most 2048), its length in
 * bytes to *len (14 or more; what has more than 2000 is dropped), its port number to *port (0 to 5
 * for user ports, 29 for the uplink). Returns 0 when a frame was delivered, all three of it;
 * anything else means "nothing now", and the caller asks again after a second. Called by the packet
 * task only.
 */
int32_t L2_multicast_read_msg(uint8_t* buf, uint8_t* port, uint32_t* len);

/*
 * Sends len bytes at frame on a port: 14 to 2008, a frame received and two more tags. src_port and
 * vlan describe the last frame received: its port number and its group VLAN. The frame is the
 * caller's and may be gone after the call. Called from the packet task and from the core's tasks.
 */
int32_t L2_multicast_send_msg(uint8_t* frame, uint8_t port, uint16_t len, uint8_t src_port,
                              uint32_t vlan);

/* Adds the port to the forwarding entry of a group MAC address in a VLAN. */
int32_t L2_multicast_set_port_iptv_entry(int16_t port, L2MulticastMac mac, uint16_t vlan);
/* Takes the port away from it. */
int32_t L2_multicast_remove_port_iptv_entry(int16_t port, L2MulticastMac mac, uint16_t vlan);

/* The ONU id of a node that was given none: it runs in EPON mode. */
enum { L2_MULTICAST_NO_ONU_ID = 255 };

/* Stores the ONU id, one byte, in any case: the result is not looked at. */
int32_t L2_multicast_get_onu_id(uint8_t* onu_id);

MC_C_END
