/*
 * The records that every room of the library reads and writes: the port table, the multicast VLAN
 * rules, the template VLAN list, the global IGMP parameters and the scalars of the packet path.
 *
 * All of them are static, zero at load unless a comment says otherwise, and live as long as the
 * process. Start-up (adapt_init in adapt/adapt.h) fills them. Afterwards the command task writes
 * what is configured, the packet task srcPortNum and ponVlan, and both and the core's own tasks
 * read, without a lock: single fields change in place, and a frame may see a rule half written.
 *
 * Integers are in native byte order. VLAN ids are 12-bit values (IEEE 802.1Q VID) in 16-bit fields;
 * 0xFFFF stands for "no VLAN".
 */
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "common/export.h"
#include "common/masks.h"
#include "common/static_assert.h"

MC_C_BEGIN

/* How large the records are, and the numbers that stand for something. */
enum {
    MC_PORTS = 7,              /* logical ports 0 to 6: six user ports, then the uplink */
    MC_RULES = 10,             /* multicast VLAN rules a port */
    MC_TEMPLATE_VLANS = 10,    /* entries of the template VLAN list */
    MC_AUTH_GROUPS = 8,        /* authorised group ranges a port */
    MC_UPLINK_PORT = 29,       /* the uplink's port number; larger numbers are illegal */
    MC_CORE_UPLINK = 0xFFFF,   /* what the protocol core calls the uplink */
    MC_NO_TEST_UPLINK = 65534, /* testuplink: the real uplink is in use */
    MC_RESULT_VLANS = 4,       /* VLANs that a search of the rules finds for one frame */
    MC_NO_VLAN = 0xFFFF,
    MC_DEFAULT_VLAN = 4088,          /* the default multicast VLAN until it is changed */
    MC_DEFAULT_PROXY_IP = 0x0A190E14 /* 10.25.14.20 */
};

/* Kind of a port, in a port_type field. 0 marks an empty entry of the MLD port table. */
enum { MC_PORT_UPLINK = 1, MC_PORT_USER = 2 };

/* Tag mode of a rule. */
enum {
    MC_TAG_MODE_UNTAG = 0,
    MC_TAG_MODE_TAG = 1,
    MC_TAG_MODE_TRANSLATE = 2,
    MC_TAG_MODE_TRANSLATE_TOO = 3,
    MC_TAG_MODE_EMPTY = 4 /* the rule slot is not in use */
};

/* Internal multicast mode: proxy_adapt_mode and globle_parm.multiMode. */
enum { MC_MODE_SNOOPING = 1, MC_MODE_PROXY = 2, MC_MODE_CONTROL = 3 };

/* One port of the switch. The position of the entry in its table is the logical port. */
typedef struct PortStateEntry {
    uint32_t port_id;   /* port number as the core and the driver know it: 0 to 5, 29 */
    uint32_t port_type; /* MC_PORT_USER or MC_PORT_UPLINK */
} PortStateEntry;

/*
 * One multicast VLAN rule. "up" is the direction from the user port to the uplink, "dn" the other
 * one; "in" is the VLAN as received, "out" the VLAN as sent. An empty slot holds port number 255,
 * tag modes 4, VLANs 0xFFFF and flag 0; the used slots of a port come first.
 */
typedef struct PortVlanCfgEntry {
    int8_t portNO;          /* port number; 255 (read as -1) = slot not in use */
    int8_t prouptagmode;    /* tag mode of upstream protocol frames */
    uint16_t in_up_vlan;    /* VLAN of upstream protocol frames as received (low 12 bits) */
    uint16_t out_up_vlan;   /* VLAN that they carry towards the network */
    int8_t prodntagmode;    /* tag mode of downstream protocol frames */
    uint16_t in_dn_vlan;    /* VLAN of downstream protocol frames as received */
    uint16_t out_dn_vlan;   /* VLAN that they carry towards the user port */
    int8_t datedntagmode;   /* tag mode of downstream multicast data */
    uint16_t in_data_vlan;  /* multicast (data) VLAN of the rule */
    uint16_t out_data_vlan; /* VLAN of the data as delivered to the user port */
    /* Travels with the rule; 0 from start-up, nothing on the frame path reads it. */
    uint8_t rule_flag;
} PortVlanCfgEntry;

/* A range of groups that a port may join. */
typedef struct AuthGroupEntry {
    uint32_t bandwidth;         /* bandwidth that a group of the range counts for */
    uint32_t start_groupAdress; /* IPv4 group address, host order */
    uint32_t end_groupAdress;   /* the last one */
    uint16_t vlan;              /* 0 = entry not in use */
    uint8_t reserved[2];        /* padding */
} AuthGroupEntry;

/* What one port is set to. */
typedef struct IgmpPortParm {
    uint16_t leavemod;      /* leave mode; only the low byte has a meaning */
    uint16_t grouplimit;    /* most groups on the port; 0 until it is first set */
    uint32_t max_bandwidth; /* bandwidth limit */
    uint8_t auth_group_num; /* entries of auth_group in use */
    uint8_t reserved[5];    /* padding */
    uint16_t sig_vlan;      /* signalling VLAN of the port; 0xFFFF = none */
    uint16_t sig_vlan_a;    /* first companion of sig_vlan */
    uint16_t sig_vlan_b; /* second companion; the snooping handler tags downstream frames with it */
    AuthGroupEntry auth_group[MC_AUTH_GROUPS]; /* ranges that the port may join */
} IgmpPortParm;

/* The global IGMP parameters. The time fields are in the unit of igmp_para_globle_set. */
typedef struct IgmpGlobleParm {
    IgmpPortParm port[MC_PORTS];              /* by logical port */
    uint16_t TemplateVlan[MC_TEMPLATE_VLANS]; /* mirror of PortVlan */
    uint16_t defaultVlan;                     /* default multicast VLAN */
    uint16_t multiMode;                       /* MC_MODE_... */
    uint16_t learningMode;                    /* VLAN learning switch */
    uint8_t robustness;                       /* RFC 3376, 8.1 */
    uint8_t version;                          /* IGMP version */
    uint32_t query_interval;                  /* 8.2 */
    uint32_t query_max_resp_time;             /* query response interval, 8.3 */
    uint32_t last_member_query_interval;      /* 8.8 */
    uint32_t last_member_query_count;         /* 8.9 */
    uint32_t general_member_interval;         /* group membership (ageing) interval */
    uint32_t ssm_ip_start;                    /* first SSM group (RFC 4607), host order */
    uint32_t ssm_ip_end;                      /* the last one */
    uint32_t ssm_map[5];                      /* words of the core */
    uint32_t proxy_ip;    /* IPv4 source of the core's own reports, host order */
    char build_date[20];  /* fixed text */
    char build_time[20];  /* fixed text */
    char version_str[20]; /* fixed text */
} IgmpGlobleParm;

/* What a search of the rules finds for one port. */
typedef uint16_t McResultVlans[MC_RESULT_VLANS];

static_assert(sizeof(PortStateEntry) == 8, "two words");
static_assert(sizeof(PortVlanCfgEntry) == 20, "also the layout of a rule inside a command record");
static_assert(offsetof(PortVlanCfgEntry, in_up_vlan) == 2, "rule");
static_assert(offsetof(PortVlanCfgEntry, prodntagmode) == 6, "rule");
static_assert(offsetof(PortVlanCfgEntry, in_dn_vlan) == 8, "rule");
static_assert(offsetof(PortVlanCfgEntry, datedntagmode) == 12, "rule");
static_assert(offsetof(PortVlanCfgEntry, in_data_vlan) == 14, "rule");
static_assert(offsetof(PortVlanCfgEntry, rule_flag) == 18, "rule");
static_assert(sizeof(AuthGroupEntry) == 16, "three words, a half, two bytes kept");
static_assert(offsetof(IgmpPortParm, sig_vlan) == 14, "port block");
static_assert(offsetof(IgmpPortParm, auth_group) == 20, "port block");
static_assert(sizeof(IgmpPortParm) == 148, "port block");
static_assert(offsetof(IgmpGlobleParm, TemplateVlan) == 1036, "behind seven port blocks");
static_assert(offsetof(IgmpGlobleParm, query_interval) == 1064, "global fields");
static_assert(offsetof(IgmpGlobleParm, proxy_ip) == 1112, "global fields");
static_assert(offsetof(IgmpGlobleParm, version_str) == 1156, "global fields");
static_assert(sizeof(IgmpGlobleParm) == 1176, "global fields");

extern MC_EXPORT IgmpGlobleParm globle_parm; /* what the IGMP side is set to */
extern MC_EXPORT PortVlanCfgEntry PortVlanCfg[MC_PORTS][MC_RULES]; /* rules, by logical port */
extern MC_EXPORT int32_t setVlanCfgNumber[MC_PORTS];   /* rules in use, by logical port */
extern MC_EXPORT PortStateEntry portState[MC_PORTS];   /* the port table */
extern MC_EXPORT uint16_t PortVlan[MC_TEMPLATE_VLANS]; /* template VLAN list; 0 = empty entry */
extern MC_EXPORT int32_t setVlanNumber;                /* its entries in use */

/* MC_MODE_...; 0 until start-up sets it. */
extern MC_EXPORT uint8_t proxy_adapt_mode;
/* Base of the shared status segment, see adapt/status_layout.h. */
extern MC_EXPORT uint8_t* mc_status_global;
/* Port number of the last IGMP frame received. */
extern MC_EXPORT uint8_t srcPortNum;
/* Group VLAN of the last frame classified. */
extern MC_EXPORT uint32_t ponVlan;
/* The node's own MAC address. */
extern MC_EXPORT uint8_t sys_mac[6];
/* Group VLAN of a frame that no template VLAN claims; 4088 at load. */
extern MC_EXPORT uint16_t defaultVlan;
/* Port number treated as the uplink; 65534 at load: none. */
extern MC_EXPORT int32_t testuplink;
/* 1 at load: the core hears of a failing switch entry; 0: it does not. */
extern MC_EXPORT int32_t tablereturn;
/* Report level of the VLAN operations; -1 at load. */
extern MC_EXPORT int32_t igmp_adapt;
/* 1 once a VLAN was set by port and mode: rules are no longer normalised. */
extern MC_EXPORT uint32_t flag_omci_version;

/* The node's own MAC address on the MLD side. Nothing sets it: it stays 00:00:00:00:00:00. */
extern MC_EXPORT uint8_t mld_sys_mac[6];

/*
 * A report that the test command feeds into the receive path: 802.1Q tag with VID 100, IPv4 with
 * the router alert option, IGMPv2 membership report (RFC 2236) for 239.255.1.1, padded to 68 bytes.
 */
enum { MC_JION_BUFFER_SIZE = 68 };
extern MC_EXPORT uint8_t jion_buffer[MC_JION_BUFFER_SIZE]; /* the report itself */

MC_C_END
