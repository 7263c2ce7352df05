/*
 * Start-up of the multicast adaptation layer and the small switches around it.
 *
 * A host process calls IgmpInit once, on its own thread; two tasks run afterwards for the life of
 * the process, and nothing is ever torn down. Nothing guards against a second call.
 */
#pragma once

#include <stdint.h>

#include "adapt/records.h"
#include "common/export.h"

MC_C_BEGIN

/*
 * Initialises the protocol core, the records, the call-backs and the driver, then starts the packet
 * task and the command task. Always returns 0: a failing step is reported on the console (most only
 * under the error category, which is off at start) and start-up goes on.
 */
MC_EXPORT int32_t IgmpInit(void);

/* The steps of IgmpInit. */

/*
 * Everything but the tasks. A driver that cannot be opened or configured ends it early, and its
 * status is returned; otherwise the status of the last step, igmp_globle_proxyip_set.
 */
MC_EXPORT int32_t adapt_init(void);
/* Registers the IGMP call-backs and declares the ports to the core; the result of the latter. */
MC_EXPORT int32_t igmp_adapt_init(void);
/* Starts "tMCPktRecv", then "tMCCmd". Returns 0 when both run, otherwise -1. */
MC_EXPORT int32_t igmp_adapt_task_init(void);
/* Creates or attaches the shared status segment and clears it. Returns 0, or -1: not attached. */
MC_EXPORT int32_t mc_hal_init_share_memory(void);
/* Sets sys_mac to the node's fixed address 00:00:00:11:00:11. */
MC_EXPORT void igmp_get_cpu_mac(void);

/* Fills globle_parm with its defaults and pushes them to the core. Also resets defaultVlan. */
MC_EXPORT void initIgmpGlobleParmeter(void);
/* Stores the group membership (ageing) interval. The core hears of it when parameters are next set.
 */
MC_EXPORT void setIgmpAgeEnable(uint32_t value);

MC_EXPORT IgmpGlobleParm* getIgmpGlobleParmeter(void); /* globle_parm */
MC_EXPORT int32_t* getPortVlanConfigNumber(void);      /* setVlanCfgNumber: MC_PORTS counters */
MC_EXPORT int32_t getTemplateVlanNumber(void);         /* setVlanNumber */

/*
 * Treats a port as the uplink: its frames count as port 29's, and what is sent to port 29 leaves on
 * it. 65534 restores the real uplink. Any value is taken. Returns 0.
 */
MC_EXPORT int32_t igmp_adapt_set_test_uplink(int32_t port);
/* Stores 1 for a value above 0 and 0 otherwise, and returns what it stored; see tablereturn. */
MC_EXPORT int32_t igmp_set_table_return(int32_t value);

/* Entry points of other products of the family. Here they only trace, and return 0. */
MC_EXPORT int32_t igmp_driver_enable(void);
MC_EXPORT int32_t igmp_driver_disable(void); /* the same */
/* Hook in front of a mode change. Does nothing and returns 0. */
MC_EXPORT int32_t flood_trap(uint32_t mode);

MC_C_END
