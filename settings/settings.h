/*
 * Operations on the multicast mode, the global protocol parameters and the settings of one port.
 *
 * Each one stores the value in the configuration records, cut to the width of its field, hands it
 * to the protocol core and returns the core's status unchanged: 0 is success. A core that refuses
 * is reported under the error category; the stored value stays. Only port numbers are
 * range-checked, and a refused port returns -1.
 *
 * Arguments are 32 bits wide in registers; where a comment gives fewer bits, the low ones count.
 * Times and counts are in the unit of the core. Called on the command task and during start-up.
 */
#pragma once

#include <stdint.h>

#include "common/export.h"

MC_C_BEGIN

/* ---- Multicast mode ------------------------------------------------------------------------- */

/* mode (8 bits): 3 selects control, 100 proxy, everything else snooping. */
MC_EXPORT int32_t omci_set_multicast_mode(uint32_t mode);
/* The standard's mode (8 bits): 1 and 2 are refused with -1, everything else selects snooping. */
MC_EXPORT int32_t onu_std_omci_set_multicast_mode(uint32_t std_mode);

/* ---- Protocol parameters (RFC 3376, section 8) ----------------------------------------------- */

MC_EXPORT int32_t omci_set_para_rv_globle(uint32_t robustness);                   /* 8 bits */
MC_EXPORT int32_t omci_set_para_qi_globle(uint32_t query_interval);               /* 16 bits */
MC_EXPORT int32_t omci_set_para_qri_globle(uint32_t query_response_interval);     /* 16 bits */
MC_EXPORT int32_t omci_set_para_lmqi_globle(uint32_t last_member_query_interval); /* 16 bits */
MC_EXPORT int32_t omci_set_para_lmqc_globle(uint32_t last_member_query_count);    /* 16 bits */
/* All five at once, together with the stored ageing interval. robustness: 8 bits; others: 32. */
MC_EXPORT int32_t omci_set_igmp_global_parmeter(uint32_t robustness, uint32_t query_interval,
                                                uint32_t query_max_resp_time,
                                                uint32_t last_member_query_interval,
                                                uint32_t last_member_query_count);
MC_EXPORT int32_t omci_igmp_version_globle_set(uint32_t version); /* 8 bits: IGMP 1, 2 or 3 */
/* Range of source-specific multicast (RFC 4607): first and last address, host order. */
MC_EXPORT int32_t omci_igmp_ssm_ip_globle_set(uint32_t start, uint32_t end);
/* Five words that map groups to sources, passed on. */
MC_EXPORT int32_t omci_igmp_ssm_map_globle_set(uint32_t w0, uint32_t w1, uint32_t w2, uint32_t w3,
                                               uint32_t w4);
MC_EXPORT int32_t omci_set_igmp_dynamic_enable(uint32_t enable); /* 8 bits: VLAN learning */
/* Leave mode of all seven ports (8 bits). Returns the status of the last port's push. */
MC_EXPORT int32_t omci_set_igmp_leave_mode(uint32_t mode);
/*
 * Default multicast VLAN of both sides (16 bits). When the default it replaces is a template VLAN,
 * that old VLAN is handed to the core's list again, and that status is the result.
 */
MC_EXPORT int32_t omci_set_igmp_default_vlan(uint32_t vlan);
/* Puts the IGMP side back to its start-up defaults; the status of igmp_del_all_group. */
MC_EXPORT int32_t omci_clear_igmp_all_parmeter(void);

/* Entry points without a function: they trace and return 0. */
MC_EXPORT int32_t omci_set_igmp_vid(void);
MC_EXPORT int32_t omci_get_voip_igmp_vid(void);  /* no function */
MC_EXPORT int32_t omci_set_multicast_vlan(void); /* no function */
MC_EXPORT int32_t omci_set_igmp_age_time(void);  /* no function */

/* ---- Settings of one port. port: a port number, 8 bits ---- */

/* Ports below 30 that are in the port table. mode: 8 bits, fast leave. */
MC_EXPORT int32_t omci_set_port_igmp_leave_mode(uint32_t port, uint32_t mode);
/* Ports below 7, so never the uplink. limit: 16 bits; 0 means no limit and is kept as 1024. */
MC_EXPORT int32_t omci_set_port_igmpgroup_limit(uint32_t port, uint32_t limit);
/* The same, as the standard's command asks for it. */
MC_EXPORT int32_t onu_std_omci_set_port_igmpgroup_limit(uint32_t port, uint32_t limit);
/* enable 8 bits, extra 16 bits, only passed on. 0 for a good port, even when the core fails. */
MC_EXPORT int32_t onu_std_max_multi_bandwidth_limit(uint32_t port, uint32_t enable,
                                                    uint32_t bandwidth, uint32_t extra);
/* Tags of IGMP on the uplink. A word holds a tag's first field below and its second one above. */
MC_EXPORT int32_t omci_set_port_up_igmp_vlan(uint32_t port, uint32_t outer, uint32_t inner);
/*
 * Signalling VLANs, 16 bits each, of a logical port, 0 to 6; a larger one stores nothing. vlan 0
 * means none. Returns 0.
 */
MC_EXPORT int32_t igmp_adapt_set_sig_vlan(uint32_t logical_port, uint32_t vlan, uint32_t a,
                                          uint32_t b);
/* Resets a setting of a port below 7: type (8 bits) 0 leave mode, 1 uplink tags, 2 group limit. */
MC_EXPORT int32_t omci_clear_igmp_parmeter(uint32_t port, uint32_t type);
/* Declares all ports to the core. 0, or -1 at the first port that it refuses. */
MC_EXPORT int32_t igmp_adapt_port_conf_set(void);

MC_C_END
