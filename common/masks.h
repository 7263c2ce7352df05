/*
 * The diagnostics masks of the two sides, words in native byte order: each bit lets one category of
 * lines onto standard output, 0, their value at load, none. Code 86 of the command queue switches
 * both, on the command task; a host may store any value at any time, on any thread. Every task of
 * the library reads them without a lock, so a line more or less may come.
 */
#pragma once

#include <stdint.h>

#include "common/export.h"

MC_C_BEGIN

/* The categories. Bits of no category have no meaning. */
enum {
    MC_DEBUG_FLOW = 0x01,          /* lines that begin with "[MC_DBG_DBG]: " */
    MC_DEBUG_ERRORS = 0x04,        /* "[MC_DBG_ERR]: " */
    MC_DEBUG_TRANSMIT_DUMP = 0x08, /* every frame sent, in hex */
    MC_DEBUG_RECEIVE_DUMP = 0x10,  /* every frame received, in hex */
    MC_DEBUG_CONFIG = 0x20         /* "[MC_DBG_CFG]: ", and every command record in hex */
};

extern MC_EXPORT uint32_t mc_debug;  /* the IGMP side */
extern MC_EXPORT uint32_t mld_debug; /* the MLD side */

MC_C_END
