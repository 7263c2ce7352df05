/*
 * The MLD side: start-up of its record, its parameters, and its frame path. What igmp/igmp.h says
 * of frames, threads and buffers holds here too; diagnostics are gated by mld_debug.
 */
#pragma once

#include <stdint.h>

#include "common/export.h"
#include "mld/record.h"
#include "platform/protocol_core.h"

MC_C_BEGIN

/* ---- Start-up ------------------------------------------------------------------------------- */

/* The scalar defaults. Leaves the port table, the rules, the template list and srcPortNum alone. */
MC_EXPORT void initmldGlobleParmeter(void);
MC_EXPORT void mldinitPortStateNode(void); /* the port table */
MC_EXPORT void mldinitVlancfgNode(void);   /* no rules */
/* Registers the call-backs and pushes ports and mode; the status of mld_proxy_snoop_set_globle. */
MC_EXPORT int32_t mld_adapt_init(void);
/* Declares the used entries of the port table to the core: 0, or -1 at the first one refused. */
MC_EXPORT int32_t mld_adapt_port_conf_set(void);

/* ---- Settings and displays ------------------------------------------------------------------ */

/*
 * on 0: clears the bits of mask in mld_debug. Otherwise toggles the category: sets the bits when
 * none of them is set, clears them when any is.
 */
MC_EXPORT void mld_adapt_set_debug(uint32_t mask, uint32_t on);
/* Stores the parameters (robustness: 8 bits) and pushes them; the core's status. */
MC_EXPORT int32_t mld_omci_set_igmp_global_parmeter(uint32_t robustness, uint32_t query_interval,
                                                    uint32_t query_max_resp_time,
                                                    uint32_t last_member_query_interval,
                                                    uint32_t last_member_query_count);
/* Prints the MLD configuration. */
MC_EXPORT void mld_adapt_globe(void);

/* ---- Frames --------------------------------------------------------------------------------- */

/*
 * The counterpart of igmpL2PktProc. port: 8 bits. Returns the core's status, 0 for an over-long
 * frame, -1 for any other drop and for an uplink frame that the mode keeps from the core.
 */
MC_EXPORT int32_t mldL2PktProc(uint8_t* frame, uint32_t len, uint32_t port);
/* The counterparts of the IGMP side's handlers. */
MC_EXPORT void mld_adapt_snoop_handle(uint8_t* frame, uint32_t port, uint32_t len, uint32_t vid);
/* The same in control mode. */
MC_EXPORT void mld_adapt_control_handle(uint8_t* frame, uint32_t port, uint32_t len, uint32_t vid);

/* Call-backs of the core. The tag is not read: packets leave with the tag of the last frame. */
MC_EXPORT void send_pkt_mld(uint8_t* packet, uint16_t port, void* tag, uint16_t len);
/* The driver's status; on failure with errors traced, what the trace printed: not 0 either way. */
MC_EXPORT int32_t mld_l2_igmp_send_pkt(uint8_t* frame, uint16_t len, uint16_t port);
MC_EXPORT int32_t mld_add_grp(MldGroupEntry* group); /* the driver's status */
MC_EXPORT int32_t mld_del_grp(MldGroupEntry* group); /* the driver's status */

MC_C_END
