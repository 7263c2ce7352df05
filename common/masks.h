/*
 * The diagnostics masks of the two sides, 0 at load: a default system is silent. The categories are
 * in common/diagnostics.h; the command task switches them, every task reads them.
 */
#pragma once

#include <stdint.h>

#include "common/export.h"

MC_C_BEGIN

extern MC_EXPORT uint32_t mc_debug;  /* the IGMP side */
extern MC_EXPORT uint32_t mld_debug; /* the MLD side */

MC_C_END
