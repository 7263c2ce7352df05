/*
 * The IGMP frame path: reception and classification, forwarding by multicast mode, and the
 * call-backs through which the protocol core sends packets and programs the switch.
 *
 * Frames are whole Ethernet frames without FCS, network byte order. A frame buffer may be rewritten
 * in place (VLAN tags). Reception and the mode handlers run on the thread that delivers the frame,
 * normally the packet task; the call-backs run on whatever thread is inside the core.
 */
#pragma once

#include <stdint.h>

#include "adapt/records.h"
#include "common/export.h"
#include "platform/l2_multicast.h"
#include "platform/protocol_core.h"

MC_C_BEGIN

/* ---- Reception ------------------------------------------------------------------------------ */

/* Body of "tMCPktRecv": takes frames from the driver for ever. */
MC_EXPORT int32_t igmp_adapt_pkt_recv_task(void);

/*
 * Classifies an IGMP frame, hands its packet to the core and forwards it by mode. len: bytes of the
 * frame, at most 2000. port: port number. Returns the core's status, 0 for an over-long frame, and
 * -1 for any other drop and for an uplink frame that snooping or control mode keeps from the core.
 *
 * The headers up to the IPv4 protocol field are read where the framing puts them, whatever len
 * says: the buffer must be readable to 34 bytes past its 14-byte Ethernet header. A null frame is
 * refused.
 */
MC_EXPORT int32_t igmpL2PktProc(uint8_t* frame, uint32_t len, uint32_t port);

/*
 * For host modules that deliver frames themselves. kind 1: igmpL2PktProc(frame, len, port); the
 * result is 0, or that of the console output when a failure was reported there. Any other kind: 1,
 * and nothing happens. The buffer must be readable to 34 bytes past its Ethernet header.
 */
MC_EXPORT int32_t MuticastReceive(uint8_t* frame, uint32_t len, uint32_t port, uint32_t kind);

/* ---- Forwarding by mode ---------------------------------------------------------------------- */

/*
 * frame: len bytes, 14 to 2000, received on port with VID vid (0: untagged). A frame of any other
 * length is dropped.
 */
MC_EXPORT void igmp_adapt_snoop_handle(uint8_t* frame, uint32_t port, uint32_t len, uint32_t vid);
/* The same in control mode. */
MC_EXPORT void igmp_adapt_control_handle(uint8_t* frame, uint32_t port, uint32_t len, uint32_t vid);

/*
 * Collects, for each logical port, the VLANs (at most 4) that its rules give a frame that comes
 * down with VID vid. Returns a static table, overwritten by the next call; counts receives how many
 * of a port's entries are valid. All four entries of a port without one are 0xFFFF.
 */
MC_EXPORT McResultVlans* searchDownSnoopPortCfgVlan(uint32_t vid, uint16_t counts[MC_PORTS]);

/* ---- Status export, see adapt/status_layout.h for the segment's layout ---------------------- */

/*
 * Copies the core's status of a port (8 bits, a port number) into the segment. 0, or -1: the port
 * is unknown, the core delivered nothing, or there is no segment.
 */
MC_EXPORT int32_t igmp_hal_sync_if_status(uint32_t port);
/*
 * The same for the core's groups on a port; 255 stands for all ports. One call at a time: the
 * groups pass through one static buffer.
 */
MC_EXPORT int32_t igmp_hal_sync_grp_infor(uint32_t port);

/* ---- Call-backs of the core, see platform/protocol_core.h ---- */

/*
 * Wraps an IPv4 packet into an Ethernet frame and sends it: once with the core's tag, or once for
 * each rule of the port that translates the VLAN. A packet that does not fit a frame of 1518 bytes
 * is dropped.
 */
MC_EXPORT void send_pkt_igmp(uint16_t port, uint8_t* ip_packet, IgmpVlanTag* tag, uint16_t ip_len);
/* Hands a frame to the driver; the driver's status. */
MC_EXPORT int32_t l2_igmp_send_pkt(uint8_t* frame, uint16_t len, uint16_t port);
/* 0, or tablereturn when the driver fails. */
MC_EXPORT int32_t igmp_add_grp(IgmpGroupEntry* grp);
/* The driver's status. */
MC_EXPORT int32_t igmp_del_grp(IgmpGroupEntry* grp);

MC_C_END
