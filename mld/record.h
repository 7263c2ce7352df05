/*
 * The whole state of the MLD side in one record: what the IGMP side keeps in globle_parm,
 * portState, PortVlanCfg, setVlanCfgNumber, PortVlan and its scalars (adapt/records.h). The same
 * rules of lifetime and threads hold.
 */
#pragma once

#include <stdint.h>

#include "adapt/records.h"
#include "common/export.h"
#include "common/static_assert.h"

MC_C_BEGIN

/* MLD multicast mode: the low byte of mldInitParams.multiMode. Not the codes of the IGMP side. */
enum { MLD_MODE_SNOOPING = 2, MLD_MODE_CONTROL = 3 };

/* What one port is set to, as IgmpPortParm. No command sets it. */
typedef struct MldPortParm {
    uint16_t leavemod;                         /* leave mode */
    uint16_t grouplimit;                       /* most groups on the port */
    uint32_t max_bandwidth;                    /* bandwidth limit */
    uint8_t reserved[4];                       /* not used */
    AuthGroupEntry auth_group[MC_AUTH_GROUPS]; /* ranges that the port may join */
} MldPortParm;

/* The record of the MLD side. */
typedef struct MldInitParams {
    uint32_t testuplink; /* port number treated as the uplink; 65534 = none */
    /*
     * Port number of the last MLD frame received, and at the same time the number of entries of
     * portVlan in use. The two share the byte on purpose: a frame moves the place of the next
     * template entry, and a new template entry changes the source port of the next transmission.
     */
    uint8_t srcPortNum;
    int32_t mld_adapt; /* report level of the MLD VLAN operations; 1 = dump after every change */
    uint32_t mld_flag_omci_version; /* non-zero: rules are not normalised; nothing sets it */
    uint8_t reserved[8];            /* not used */
    PortStateEntry port[MC_PORTS];  /* the port table */
    MldPortParm mldport[MC_PORTS];  /* by logical port */
    uint16_t TemplateVlan[MC_TEMPLATE_VLANS];            /* mirror of portVlan, for the dumps */
    int32_t vlancfgnum[MC_PORTS];                        /* rules in use, by logical port */
    int32_t portVlan[MC_TEMPLATE_VLANS];                 /* template VLAN list; 0 = empty entry */
    uint16_t defaultVlan;                                /* default multicast VLAN */
    uint16_t multiMode;                                  /* MLD_MODE_... */
    uint16_t learningMode;                               /* VLAN learning switch */
    uint8_t robustness;                                  /* RFC 3810, 9.1 */
    uint8_t version;                                     /* as globle_parm has it */
    uint32_t query_interval;                             /* RFC 3810, 9.2 */
    uint32_t query_max_resp_time;                        /* query response interval, 9.3 */
    uint32_t last_member_query_interval;                 /* last listener query interval, 9.8 */
    uint32_t last_member_query_count;                    /* last listener query count, 9.9 */
    uint32_t general_member_interval;                    /* group membership (ageing) interval */
    uint32_t ssm_ip_start;                               /* as globle_parm has it */
    uint32_t ssm_ip_end;                                 /* as globle_parm has it */
    uint32_t ssm_map[5];                                 /* as globle_parm has it */
    uint32_t proxy_ip;                                   /* as globle_parm has it */
    PortVlanCfgEntry mldPortVlanCfg[MC_PORTS][MC_RULES]; /* rules, by logical port */
    /* The tag of the last MLD frame received or re-tagged; the core's own packets leave with it. */
    uint16_t tag_tpid;
    uint16_t tag_vid;     /* low 12 bits */
    uint8_t tag_pri;      /* three priority bits (PCP) */
    uint8_t tag_inner[4]; /* inner tag of the control handler: 81 00, then port + 1, big-endian */
} MldInitParams;

static_assert(sizeof(MldPortParm) == 140, "port block");
static_assert(offsetof(MldInitParams, port) == 24, "MLD record");
static_assert(offsetof(MldInitParams, mldport) == 80, "MLD record");
static_assert(offsetof(MldInitParams, TemplateVlan) == 1060, "MLD record");
static_assert(offsetof(MldInitParams, vlancfgnum) == 1080, "MLD record");
static_assert(offsetof(MldInitParams, portVlan) == 1108, "MLD record");
static_assert(offsetof(MldInitParams, mldPortVlanCfg) == 1208, "MLD record");
static_assert(offsetof(MldInitParams, tag_tpid) == 2608, "MLD record");
static_assert(offsetof(MldInitParams, tag_inner) == 2613, "MLD record");

extern MC_EXPORT MldInitParams mldInitParams; /* the one record */

MC_C_END
