/*
 * The commands of the queue: a code each, and the fields of its record, for command/message.h.
 *
 * Written by mc_command_header; codes and fields come from command/config_commands.h and
 * command/debug_commands.h, where the library reads them, and what the values mean from
 * tools/command_table.cpp. Change those, then write it again:
 *
 *     build/native/tools/mc_command_header >command/command_codes.h
 *
 * A field is MC_FIELD(offset, width), both in bytes, the offset counted from the start of the
 * record; its value is big-endian and unsigned. Behind it stand the values that make sense. The
 * library checks almost none of them: the sender must. Ports are port numbers, 0 to 5 and 29 for
 * the uplink, unless the field says otherwise. VLANs are VLAN ids (IEEE 802.1Q, 9.6), 65535 where
 * there may be none; IPv4 addresses are words, 239.1.1.1 is 0xEF010101. Names of commands are
 * those of mcctl; fields have the names of the library's records.
 *
 * Times are in the core's own unit. The robustness variable is that of RFC 3376, 8.1, the query
 * interval 8.2, the query response interval 8.3, the last member query interval and count 8.8
 * and 8.9; the group membership (ageing) interval is 8.4. The range of source-specific multicast
 * is that of RFC 4607.
 *
 * No command has a result: the library reports on its console, under the error category of
 * common/masks.h, and runs one record at a time, on its command task.
 */
#pragma once

#include "command/message.h"

/* clang-format off */

/* Multicast mode. */
enum {
    MC_CMD_MODE = 1, /* the code */
    MC_CMD_MODE_MODE = MC_FIELD(8, 1) /* snooping (1), control (3), proxy (100): the mode */
};

/* Fast leave of one port. */
enum {
    MC_CMD_FAST_LEAVE = 2, /* the code */
    MC_CMD_FAST_LEAVE_PORT = MC_FIELD(8, 1), /* 0 to 5, uplink (29): the port */
    MC_CMD_FAST_LEAVE_MODE = MC_FIELD(9, 1) /* on (1), off (0): whether a leave takes effect at once */
};

/* How many groups a port may join. */
enum {
    MC_CMD_GROUP_LIMIT = 3, /* the code */
    MC_CMD_GROUP_LIMIT_PORT = MC_FIELD(8, 1), /* 0 to 5: the port */
    MC_CMD_GROUP_LIMIT_LIMIT = MC_FIELD(9, 2) /* 0 to 65535: number of groups; 0: no limit */
};

/* Default multicast VLAN of IGMP and MLD. */
enum {
    MC_CMD_DEFAULT_VLAN = 4, /* the code */
    MC_CMD_DEFAULT_VLAN_VLAN = MC_FIELD(8, 2) /* 1 to 4094: the VLAN */
};

/* VLAN learning. */
enum {
    MC_CMD_LEARNING = 5, /* the code */
    MC_CMD_LEARNING_ENABLE = MC_FIELD(8, 1) /* on (1), off (0): whether VLANs are learnt */
};

/* Adds a group to the table without ports. */
enum {
    MC_CMD_AUTH_PRIVATE_ADD = 6, /* the code */
    MC_CMD_AUTH_PRIVATE_ADD_GROUP = MC_FIELD(8, 4), /* 224.0.0.0 to 239.255.255.255: the group */
    MC_CMD_AUTH_PRIVATE_ADD_VLAN = MC_FIELD(12, 2), /* 1 to 4094: VLAN of the group */
    MC_CMD_AUTH_PRIVATE_ADD_UNUSED = MC_FIELD(14, 1) /* 0 to 255: not used by the receiver */
};

/* Deletes a group from the table without ports. */
enum {
    MC_CMD_AUTH_PRIVATE_DELETE = 7, /* the code */
    MC_CMD_AUTH_PRIVATE_DELETE_GROUP = MC_FIELD(8, 4), /* 224.0.0.0 to 239.255.255.255: the group */
    MC_CMD_AUTH_PRIVATE_DELETE_VLAN = MC_FIELD(12, 2), /* 1 to 4094: VLAN of the group */
    MC_CMD_AUTH_PRIVATE_DELETE_UNUSED = MC_FIELD(14, 1) /* 0 to 255: not used by the receiver */
};

/* Empties the table without ports. */
enum {
    MC_CMD_AUTH_PRIVATE_CLEAR = 8 /* the code */
};

/* Changes the control list of a port, address by address: long ranges keep the node busy. */
enum {
    MC_CMD_CONTROL_LIST = 9, /* the code */
    MC_CMD_CONTROL_LIST_PORT = MC_FIELD(8, 2), /* 0 to 5: the port */
    MC_CMD_CONTROL_LIST_ADD_DELETE = MC_FIELD(10, 1), /* add (0), delete (1), clear (2): what to do with each address */
    MC_CMD_CONTROL_LIST_VLAN = MC_FIELD(11, 2), /* 1 to 4094: VLAN of the groups */
    MC_CMD_CONTROL_LIST_START = MC_FIELD(13, 4), /* 224.0.0.0 to 239.255.255.255: first group */
    MC_CMD_CONTROL_LIST_END = MC_FIELD(17, 4) /* 224.0.0.0 to 239.255.255.255: last group */
};

/* Puts one setting of a port back to its default. */
enum {
    MC_CMD_CLEAR_PORT = 12, /* the code */
    MC_CMD_CLEAR_PORT_PORT = MC_FIELD(8, 1), /* 0 to 5: the port */
    MC_CMD_CLEAR_PORT_TYPE = MC_FIELD(9, 1) /* leave-mode (0), uplink-tags (1), group-limit (2): the setting */
};

/* Signalling VLANs of a port, used instead of the rules in snooping mode. */
enum {
    MC_CMD_SIGNALLING_VLAN = 13, /* the code */
    MC_CMD_SIGNALLING_VLAN_PORT = MC_FIELD(8, 1), /* 0 to 5, uplink (6): the port */
    MC_CMD_SIGNALLING_VLAN_OUTER_TCI = MC_FIELD(9, 2), /* 0 to 65535: only traced */
    MC_CMD_SIGNALLING_VLAN_OUTER_VID = MC_FIELD(11, 2), /* 1 to 4094, none (65535): VLAN of IGMP that goes up */
    MC_CMD_SIGNALLING_VLAN_INNER_TCI = MC_FIELD(13, 2), /* 0 to 65535: only traced */
    MC_CMD_SIGNALLING_VLAN_INNER_VID = MC_FIELD(15, 2), /* 1 to 4094, none (65535): second VLAN, stored with the first */
    MC_CMD_SIGNALLING_VLAN_DOWN_VID = MC_FIELD(17, 2) /* 1 to 4094, none (65535), untagged (0): VLAN of IGMP that goes down */
};

/* The protocol's parameters, all five at once. Times are in the core's unit. */
enum {
    MC_CMD_PARAMETERS = 14, /* the code */
    MC_CMD_PARAMETERS_ROBUSTNESS = MC_FIELD(9, 1), /* 1 to 255: robustness variable */
    MC_CMD_PARAMETERS_MAX_RESPONSE_TIME = MC_FIELD(10, 2), /* 1 to 65535: longest time to answer a query */
    MC_CMD_PARAMETERS_LAST_MEMBER_QUERY_INTERVAL = MC_FIELD(12, 2), /* 1 to 65535: between two queries after a leave */
    MC_CMD_PARAMETERS_LAST_MEMBER_QUERY_COUNT = MC_FIELD(14, 2), /* 1 to 65535: number of queries after a leave */
    MC_CMD_PARAMETERS_QUERY_INTERVAL = MC_FIELD(16, 2) /* 1 to 65535: between two general queries */
};

/* Builds a rule as service-set does and deletes it from IGMP and MLD. */
enum {
    MC_CMD_VLAN_SERVICE_REMOVE = 16, /* the code */
    MC_CMD_VLAN_SERVICE_REMOVE_PORT = MC_FIELD(8, 4), /* 0 to 5, uplink (29): the port */
    MC_CMD_VLAN_SERVICE_REMOVE_MODE = MC_FIELD(12, 4), /* 0 to 3, untag (0), tag (1), translate (2): tag mode of the rule; 3 acts as untag */
    MC_CMD_VLAN_SERVICE_REMOVE_VLAN = MC_FIELD(16, 4), /* 1 to 4094: VLAN at the uplink; in mode translate, VLAN at the port */
    MC_CMD_VLAN_SERVICE_REMOVE_VLAN2 = MC_FIELD(20, 4) /* 1 to 4094: VLAN at the uplink, in mode translate */
};

/* Builds a rule from a tag mode and VLANs and adds it to IGMP and MLD. */
enum {
    MC_CMD_VLAN_SERVICE_SET = 17, /* the code */
    MC_CMD_VLAN_SERVICE_SET_PORT = MC_FIELD(8, 4), /* 0 to 5, uplink (29): the port */
    MC_CMD_VLAN_SERVICE_SET_MODE = MC_FIELD(12, 4), /* 0 to 3, untag (0), tag (1), translate (2): tag mode of the rule; 3 acts as untag */
    MC_CMD_VLAN_SERVICE_SET_VLAN = MC_FIELD(16, 4), /* 1 to 4094: VLAN at the uplink; in mode translate, VLAN at the port */
    MC_CMD_VLAN_SERVICE_SET_VLAN2 = MC_FIELD(20, 4) /* 1 to 4094: VLAN at the uplink, in mode translate */
};

/* The core's global fast leave, kept for all seven ports. */
enum {
    MC_CMD_FAST_LEAVE_GLOBAL = 20, /* the code */
    MC_CMD_FAST_LEAVE_GLOBAL_MODE = MC_FIELD(8, 1) /* on (1), off (0): whether a leave takes effect at once */
};

/* Ageing interval; all parameters go to the core again. */
enum {
    MC_CMD_AGEING_INTERVAL = 22, /* the code */
    MC_CMD_AGEING_INTERVAL_INTERVAL = MC_FIELD(8, 4) /* 0 to 4294967295: in the core's unit; 0: no ageing */
};

/* IGMP version. */
enum {
    MC_CMD_VERSION = 27, /* the code */
    MC_CMD_VERSION_VERSION = MC_FIELD(8, 1) /* 1 to 3: the version */
};

/* Source address of what the proxy sends. */
enum {
    MC_CMD_PROXY_ADDRESS = 28, /* the code */
    MC_CMD_PROXY_ADDRESS_ADDRESS = MC_FIELD(8, 4) /* 0.0.0.0 to 223.255.255.255: no multicast address */
};

/* Groups of source-specific multicast. */
enum {
    MC_CMD_SSM_RANGE = 29, /* the code */
    MC_CMD_SSM_RANGE_START = MC_FIELD(8, 4), /* 224.0.0.0 to 239.255.255.255, none (0.0.0.0): first group */
    MC_CMD_SSM_RANGE_END = MC_FIELD(12, 4) /* 224.0.0.0 to 239.255.255.255, none (0.0.0.0): last group */
};

/* Mapping of groups to sources: words whose meaning is the core's. The sixth word of the record is not used. */
enum {
    MC_CMD_SSM_MAP = 30, /* the code */
    MC_CMD_SSM_MAP_WORD_0 = MC_FIELD(8, 4), /* numbers of 32 bits and IPv4 addresses: first word */
    MC_CMD_SSM_MAP_WORD_1 = MC_FIELD(12, 4), /* numbers of 32 bits and IPv4 addresses: second word */
    MC_CMD_SSM_MAP_WORD_2 = MC_FIELD(16, 4), /* numbers of 32 bits and IPv4 addresses: third word */
    MC_CMD_SSM_MAP_WORD_3 = MC_FIELD(20, 4), /* numbers of 32 bits and IPv4 addresses: fourth word */
    MC_CMD_SSM_MAP_WORD_4 = MC_FIELD(24, 4), /* numbers of 32 bits and IPv4 addresses: fifth word */
    MC_CMD_SSM_MAP_UNUSED = MC_FIELD(28, 4) /* 0 */
};

/* Adds a VLAN, or a range of them, to the core's list. */
enum {
    MC_CMD_CORE_VLAN_ADD = 32, /* the code */
    MC_CMD_CORE_VLAN_ADD_FIRST = MC_FIELD(8, 2), /* 1 to 4094: the first VLAN */
    MC_CMD_CORE_VLAN_ADD_LAST = MC_FIELD(10, 2) /* 1 to 4094: the last VLAN; left out: only the first */
};

/* Deletes a VLAN from the core's list. */
enum {
    MC_CMD_CORE_VLAN_DELETE = 33, /* the code */
    MC_CMD_CORE_VLAN_DELETE_VLAN = MC_FIELD(8, 2) /* 1 to 4094: the VLAN */
};

/* Empties the core's list of VLANs. */
enum {
    MC_CMD_CORE_VLAN_DELETE_ALL = 34 /* the code */
};

/* All groups. */
enum {
    MC_CMD_SHOW_GROUPS = 35 /* the code */
};

/* One group. */
enum {
    MC_CMD_SHOW_GROUP = 36, /* the code */
    MC_CMD_SHOW_GROUP_GROUP = MC_FIELD(8, 4) /* 224.0.0.0 to 239.255.255.255: the group */
};

/* Report level of the library (selector adapt: 0 silent, 1 everything; without a sub-selector ageing goes off too), or switches of the core (sub-selector igmp). */
enum {
    MC_CMD_DEBUG_CLI = 37, /* the code */
    MC_CMD_DEBUG_CLI_VALUE = MC_FIELD(8, 4), /* 0 to 4294967295: the value */
    MC_CMD_DEBUG_CLI_SELECTOR = MC_FIELD(12, 1), /* 0 to 255, adapt (97): which switch */
    MC_CMD_DEBUG_CLI_SUB_SELECTOR = MC_FIELD(13, 1) /* 0 to 255, none (0), igmp (105): whose switch */
};

/* Configuration and version of the library. */
enum {
    MC_CMD_SHOW_CONFIG = 39 /* the code */
};

/* Handles the built-in report as if it had come in on the port. */
enum {
    MC_CMD_TEST_FRAME = 40, /* the code */
    MC_CMD_TEST_FRAME_PORT = MC_FIELD(8, 1) /* 0 to 5, uplink (29): the port */
};

/* Adds a multicast VLAN rule to a port. */
enum {
    MC_CMD_VLAN_ADD = 50, /* the code */
    MC_CMD_VLAN_ADD_PORTNO = MC_FIELD(8, 1), /* 0 to 5, uplink (29): the port that gets the rule */
    MC_CMD_VLAN_ADD_PROUPTAGMODE = MC_FIELD(9, 1), /* 0 to 3, untag (0), tag (1), translate (2): tag mode of what goes up */
    MC_CMD_VLAN_ADD_IN_UP_VLAN = MC_FIELD(10, 2), /* 1 to 4094, none (65535), untagged (0): VLAN of IGMP as the port receives it */
    MC_CMD_VLAN_ADD_OUT_UP_VLAN = MC_FIELD(12, 2), /* 1 to 4094, none (65535), untagged (0): VLAN of IGMP as the uplink sends it */
    MC_CMD_VLAN_ADD_PRODNTAGMODE = MC_FIELD(14, 1), /* 0 to 3, untag (0), tag (1), translate (2): tag mode of IGMP that goes down */
    MC_CMD_VLAN_ADD_IN_DN_VLAN = MC_FIELD(16, 2), /* 1 to 4094, none (65535), untagged (0): VLAN of IGMP as the uplink receives it */
    MC_CMD_VLAN_ADD_OUT_DN_VLAN = MC_FIELD(18, 2), /* 1 to 4094, none (65535), untagged (0): VLAN of IGMP as the port sends it */
    MC_CMD_VLAN_ADD_DATEDNTAGMODE = MC_FIELD(20, 1), /* 0 to 3, untag (0), tag (1), translate (2): tag mode of data that goes down */
    MC_CMD_VLAN_ADD_IN_DATA_VLAN = MC_FIELD(22, 2), /* 1 to 4094, untagged (0): VLAN of the data as the uplink receives it */
    MC_CMD_VLAN_ADD_OUT_DATA_VLAN = MC_FIELD(24, 2), /* 1 to 4094, none (65535), untagged (0): VLAN of the data as the port sends it */
    MC_CMD_VLAN_ADD_RULE_FLAG = MC_FIELD(26, 1), /* 0 */
    MC_CMD_VLAN_ADD_UNUSED = MC_FIELD(27, 1) /* 0 */
};

/* Deletes a multicast VLAN rule of a port, on the IGMP side only. */
enum {
    MC_CMD_VLAN_DELETE = 51, /* the code */
    MC_CMD_VLAN_DELETE_PORTNO = MC_FIELD(8, 1), /* 0 to 5, uplink (29): the port that has the rule */
    MC_CMD_VLAN_DELETE_PROUPTAGMODE = MC_FIELD(9, 1), /* 0 to 3, untag (0), tag (1), translate (2): decides what fills --up-in none, as in vlan add */
    MC_CMD_VLAN_DELETE_IN_UP_VLAN = MC_FIELD(10, 2), /* 1 to 4094, none (65535), untagged (0): the rule to delete is the first one with this VLAN */
    MC_CMD_VLAN_DELETE_OUT_UP_VLAN = MC_FIELD(12, 2), /* 0 */
    MC_CMD_VLAN_DELETE_PRODNTAGMODE = MC_FIELD(14, 1), /* 0 */
    MC_CMD_VLAN_DELETE_IN_DN_VLAN = MC_FIELD(16, 2), /* 1 to 4094, none (65535), untagged (0): fills --up-in none in mode untag */
    MC_CMD_VLAN_DELETE_OUT_DN_VLAN = MC_FIELD(18, 2), /* 1 to 4094, none (65535), untagged (0): fills --up-in none in mode translate */
    MC_CMD_VLAN_DELETE_DATEDNTAGMODE = MC_FIELD(20, 1), /* 0 */
    MC_CMD_VLAN_DELETE_IN_DATA_VLAN = MC_FIELD(22, 2), /* 1 to 4094, untagged (0): leaves the core's list when no other rule needs it */
    MC_CMD_VLAN_DELETE_OUT_DATA_VLAN = MC_FIELD(24, 2), /* 0 */
    MC_CMD_VLAN_DELETE_RULE_FLAG = MC_FIELD(26, 1), /* 0 */
    MC_CMD_VLAN_DELETE_UNUSED = MC_FIELD(27, 1) /* 0 */
};

/* Multicast mode by the standard's number: the node refuses 1 and 2, every other number selects snooping. */
enum {
    MC_CMD_MODE_STANDARD = 52, /* the code */
    MC_CMD_MODE_STANDARD_MODE = MC_FIELD(8, 1) /* 0 to 255: the standard's number */
};

/* Adds a range of groups that a port may join and switches range authorisation on. */
enum {
    MC_CMD_AUTH_ADD = 53, /* the code */
    MC_CMD_AUTH_ADD_PORT = MC_FIELD(8, 1), /* 0 to 5, uplink (29): the port */
    MC_CMD_AUTH_ADD_START = MC_FIELD(9, 4), /* 224.0.0.0 to 239.255.255.255: first group */
    MC_CMD_AUTH_ADD_END = MC_FIELD(13, 4), /* 224.0.0.0 to 239.255.255.255: last group */
    MC_CMD_AUTH_ADD_BANDWIDTH = MC_FIELD(17, 4), /* 0 to 4294967295: imputed bandwidth, bytes per second */
    MC_CMD_AUTH_ADD_VLAN = MC_FIELD(21, 2) /* 1 to 4094: VLAN of the groups */
};

/* Deletes a range of groups of a port. */
enum {
    MC_CMD_AUTH_DELETE = 54, /* the code */
    MC_CMD_AUTH_DELETE_PORT = MC_FIELD(8, 1), /* 0 to 5, uplink (29): the port */
    MC_CMD_AUTH_DELETE_START = MC_FIELD(9, 4), /* 224.0.0.0 to 239.255.255.255: first group */
    MC_CMD_AUTH_DELETE_END = MC_FIELD(13, 4), /* 224.0.0.0 to 239.255.255.255: last group */
    MC_CMD_AUTH_DELETE_BANDWIDTH = MC_FIELD(17, 4), /* 0 to 4294967295: imputed bandwidth, bytes per second */
    MC_CMD_AUTH_DELETE_VLAN = MC_FIELD(21, 2) /* 1 to 4094: VLAN of the groups */
};

/* Deletes all ranges of a port. */
enum {
    MC_CMD_AUTH_CLEAR = 55, /* the code */
    MC_CMD_AUTH_CLEAR_PORT = MC_FIELD(8, 1) /* 0 to 5, uplink (29): the port */
};

/* The same by the standard's request. */
enum {
    MC_CMD_GROUP_LIMIT_STANDARD = 56, /* the code */
    MC_CMD_GROUP_LIMIT_STANDARD_PORT = MC_FIELD(8, 1), /* 0 to 5: the port */
    MC_CMD_GROUP_LIMIT_STANDARD_LIMIT = MC_FIELD(9, 2) /* 0 to 65535: number of groups; 0: no limit */
};

/* How much multicast traffic a port may ask for. */
enum {
    MC_CMD_BANDWIDTH_LIMIT = 57, /* the code */
    MC_CMD_BANDWIDTH_LIMIT_PORT = MC_FIELD(8, 1), /* 0 to 5, uplink (29): the port */
    MC_CMD_BANDWIDTH_LIMIT_ENABLE = MC_FIELD(9, 1), /* on (1), off (0): whether the limit holds */
    MC_CMD_BANDWIDTH_LIMIT_BANDWIDTH = MC_FIELD(10, 4), /* 0 to 4294967295: the limit */
    MC_CMD_BANDWIDTH_LIMIT_EXTRA = MC_FIELD(14, 2) /* 0 to 65535: handed to the core as it is */
};

/* Puts the IGMP side back to its start-up defaults. */
enum {
    MC_CMD_CLEAR_ALL = 64 /* the code */
};

/* The same by the standard's request. */
enum {
    MC_CMD_SHOW_STANDARD_VLAN = 66, /* the code */
    MC_CMD_SHOW_STANDARD_VLAN_VLAN = MC_FIELD(8, 2), /* 1 to 4094, all (0): the VLAN */
    MC_CMD_SHOW_STANDARD_VLAN_PORT = MC_FIELD(10, 4), /* 0 to 5, uplink (29), all (255): the port */
    MC_CMD_SHOW_STANDARD_VLAN_FLAG = MC_FIELD(14, 2) /* 0 to 65535: handed to the core as it is */
};

/* All groups of the proxy. */
enum {
    MC_CMD_SHOW_PROXY_GROUPS = 67 /* the code */
};

/* One group of the proxy. */
enum {
    MC_CMD_SHOW_PROXY_GROUP = 68, /* the code */
    MC_CMD_SHOW_PROXY_GROUP_GROUP = MC_FIELD(8, 4) /* 224.0.0.0 to 239.255.255.255: the group */
};

/* VLAN instances of the core. */
enum {
    MC_CMD_SHOW_VLAN_INSTANCES = 69 /* the code */
};

/* Globals of IGMPv3. */
enum {
    MC_CMD_SHOW_IGMPV3 = 70 /* the code */
};

/* Packet statistics. */
enum {
    MC_CMD_SHOW_STATISTICS = 71 /* the code */
};

/* The list of interfaces. */
enum {
    MC_CMD_SHOW_INTERFACES = 72 /* the code */
};

/* Timers of the core. */
enum {
    MC_CMD_SHOW_TIMERS = 73 /* the code */
};

/* Authorised groups. */
enum {
    MC_CMD_SHOW_AUTH_GROUPS = 74 /* the code */
};

/* Warnings of the core. */
enum {
    MC_CMD_DEBUG_WARNINGS = 75, /* the code */
    MC_CMD_DEBUG_WARNINGS_ENABLE = MC_FIELD(8, 1) /* on (1), off (0): whether to print them */
};

/* Sends a test report. */
enum {
    MC_CMD_TEST_REPORT = 76, /* the code */
    MC_CMD_TEST_REPORT_PORT = MC_FIELD(8, 4), /* 0 to 5: the port */
    MC_CMD_TEST_REPORT_VLAN = MC_FIELD(12, 2) /* 1 to 4094, none (0): the VLAN */
};

/* Sends a test leave. */
enum {
    MC_CMD_TEST_LEAVE = 77, /* the code */
    MC_CMD_TEST_LEAVE_PORT = MC_FIELD(8, 4), /* 0 to 5: the port */
    MC_CMD_TEST_LEAVE_VLAN = MC_FIELD(12, 2) /* 1 to 4094, none (0): the VLAN */
};

/* Exports the status of a port to shared memory. */
enum {
    MC_CMD_EXPORT_STATUS = 78, /* the code */
    MC_CMD_EXPORT_STATUS_PORT = MC_FIELD(8, 1) /* 0 to 5, uplink (29): the port */
};

/* Exports the groups of all ports to shared memory. */
enum {
    MC_CMD_EXPORT_GROUPS = 79 /* the code */
};

/* Configuration of a port. */
enum {
    MC_CMD_SHOW_PORT_CONFIG = 80, /* the code */
    MC_CMD_SHOW_PORT_CONFIG_PORT = MC_FIELD(8, 1) /* 0 to 5, uplink (29): the port */
};

/* Status of a port. */
enum {
    MC_CMD_SHOW_PORT_STATUS = 81, /* the code */
    MC_CMD_SHOW_PORT_STATUS_PORT = MC_FIELD(8, 1) /* 0 to 5, uplink (29): the port */
};

/* One authorised group of a port. */
enum {
    MC_CMD_SHOW_AUTH_GROUP = 82, /* the code */
    MC_CMD_SHOW_AUTH_GROUP_PORT = MC_FIELD(8, 1), /* 0 to 5, uplink (29): the port */
    MC_CMD_SHOW_AUTH_GROUP_GROUP = MC_FIELD(9, 4) /* 224.0.0.0 to 239.255.255.255: the group */
};

/* Fast leave of the six user ports; the mode is shown to other processes. */
enum {
    MC_CMD_FAST_LEAVE_ALL = 83, /* the code */
    MC_CMD_FAST_LEAVE_ALL_MODE = MC_FIELD(8, 4) /* on (2), off (1): whether a leave takes effect at once */
};

/* Changes the control list of a port as OAM does; the record counts ports from 1. */
enum {
    MC_CMD_OAM_CONTROL = 84, /* the code */
    MC_CMD_OAM_CONTROL_ADD_DELETE = MC_FIELD(8, 1), /* delete (0), add (1), clear (2): what to do */
    MC_CMD_OAM_CONTROL_PORT_FROM_1 = MC_FIELD(9, 2), /* 0 to 5: the port, plus 1 */
    MC_CMD_OAM_CONTROL_VLAN = MC_FIELD(11, 2), /* 1 to 4094: VLAN of the group */
    MC_CMD_OAM_CONTROL_WORD = MC_FIELD(13, 4), /* 224.0.0.0 to 239.255.255.255: the group */
    MC_CMD_OAM_CONTROL_BYTE_A = MC_FIELD(17, 1), /* 0 to 255: handed to the core */
    MC_CMD_OAM_CONTROL_BYTE_B = MC_FIELD(18, 1) /* 0 to 255: handed to the core */
};

/* Treats a user port as the uplink. */
enum {
    MC_CMD_TEST_UPLINK = 85, /* the code */
    MC_CMD_TEST_UPLINK_PORT = MC_FIELD(8, 4) /* 0 to 5, uplink (29), none (65534): the port */
};

/* Diagnostics of the library. On switches a category that is on already off. */
enum {
    MC_CMD_DEBUG = 86, /* the code */
    MC_CMD_DEBUG_OFFSET = MC_FIELD(8, 4), /* 1 to 7, flow (1), errors (3), tx (4), rx (5), config (6), all (7): what to print */
    MC_CMD_DEBUG_ENABLE = MC_FIELD(12, 4) /* on (1), off (0): on toggles, off switches off */
};

/* Range authorisation of a port. */
enum {
    MC_CMD_AUTH_RANGE = 87, /* the code */
    MC_CMD_AUTH_RANGE_PORT = MC_FIELD(8, 2), /* 0 to 5, uplink (29): the port */
    MC_CMD_AUTH_RANGE_ENABLE = MC_FIELD(10, 1) /* on (1), off (0): whether only authorised groups are joined */
};

/* Adds a range of groups and leaves range authorisation as it is. */
enum {
    MC_CMD_AUTH_ADD_ONLY = 88, /* the code */
    MC_CMD_AUTH_ADD_ONLY_PORT = MC_FIELD(8, 1), /* 0 to 5, uplink (29): the port */
    MC_CMD_AUTH_ADD_ONLY_START = MC_FIELD(9, 4), /* 224.0.0.0 to 239.255.255.255: first group */
    MC_CMD_AUTH_ADD_ONLY_END = MC_FIELD(13, 4), /* 224.0.0.0 to 239.255.255.255: last group */
    MC_CMD_AUTH_ADD_ONLY_BANDWIDTH = MC_FIELD(17, 4), /* 0 to 4294967295: imputed bandwidth, bytes per second */
    MC_CMD_AUTH_ADD_ONLY_VLAN = MC_FIELD(21, 2) /* 1 to 4094: VLAN of the groups */
};

/* Traces a VLAN in the core. */
enum {
    MC_CMD_DEBUG_VLAN = 89, /* the code */
    MC_CMD_DEBUG_VLAN_VLAN = MC_FIELD(8, 2), /* 1 to 4094: the VLAN */
    MC_CMD_DEBUG_VLAN_SELECTOR = MC_FIELD(10, 1) /* 1 to 7: what to trace, by the core's numbers */
};

/* Stops tracing a VLAN in the core. */
enum {
    MC_CMD_DEBUG_NO_VLAN = 90, /* the code */
    MC_CMD_DEBUG_NO_VLAN_VLAN = MC_FIELD(8, 2), /* 1 to 4094: the VLAN */
    MC_CMD_DEBUG_NO_VLAN_SELECTOR = MC_FIELD(10, 1) /* 1 to 7: what to trace, by the core's numbers */
};

/* Switches a trace level of the core on. */
enum {
    MC_CMD_DEBUG_LEVEL = 91, /* the code */
    MC_CMD_DEBUG_LEVEL_LEVEL = MC_FIELD(8, 4) /* 0 to 4294967295: the level */
};

/* Switches a trace level of the core off. */
enum {
    MC_CMD_DEBUG_NO_LEVEL = 92, /* the code */
    MC_CMD_DEBUG_NO_LEVEL_LEVEL = MC_FIELD(8, 4) /* 0 to 4294967295: the level */
};

/* Traces the packets of a port in the core. */
enum {
    MC_CMD_DEBUG_PACKETS = 93, /* the code */
    MC_CMD_DEBUG_PACKETS_SWITCHES = MC_FIELD(8, 4), /* 0 to 4294967295: switches of the core */
    MC_CMD_DEBUG_PACKETS_PORT = MC_FIELD(12, 2) /* 0 to 5, uplink (29), all (255), none (65534): the port */
};

/* Switches further traces of the core on. */
enum {
    MC_CMD_DEBUG_OTHER = 94, /* the code */
    MC_CMD_DEBUG_OTHER_SWITCHES = MC_FIELD(8, 4) /* 0 to 4294967295: switches of the core */
};

/* Switches traces of the core off, those of packets always. */
enum {
    MC_CMD_DEBUG_STOP = 95, /* the code */
    MC_CMD_DEBUG_STOP_SWITCHES = MC_FIELD(8, 4) /* 0 to 4294967295, everything (65535): switches of the core */
};

/* VLANs and their groups. */
enum {
    MC_CMD_SHOW_VLAN = 96, /* the code */
    MC_CMD_SHOW_VLAN_VLAN = MC_FIELD(8, 2), /* 1 to 4094, all (0): the VLAN */
    MC_CMD_SHOW_VLAN_PORT = MC_FIELD(10, 4), /* 0 to 5, uplink (29), all (255): the port */
    MC_CMD_SHOW_VLAN_FLAG = MC_FIELD(14, 2) /* 0 to 65535: handed to the core as it is */
};

/* Robustness variable. */
enum {
    MC_CMD_ROBUSTNESS = 97, /* the code */
    MC_CMD_ROBUSTNESS_ROBUSTNESS = MC_FIELD(8, 1) /* 1 to 255: robustness variable */
};

/* Time between two general queries. */
enum {
    MC_CMD_QUERY_INTERVAL = 98, /* the code */
    MC_CMD_QUERY_INTERVAL_INTERVAL = MC_FIELD(8, 2) /* 1 to 65535: in the core's unit */
};

/* Longest time to answer a query. */
enum {
    MC_CMD_RESPONSE_INTERVAL = 99, /* the code */
    MC_CMD_RESPONSE_INTERVAL_INTERVAL = MC_FIELD(8, 2) /* 1 to 65535: in the core's unit */
};

/* Time between two queries after a leave. */
enum {
    MC_CMD_LAST_MEMBER_INTERVAL = 100, /* the code */
    MC_CMD_LAST_MEMBER_INTERVAL_INTERVAL = MC_FIELD(8, 2) /* 1 to 65535: in the core's unit */
};

/* Number of queries after a leave. */
enum {
    MC_CMD_LAST_MEMBER_COUNT = 101, /* the code */
    MC_CMD_LAST_MEMBER_COUNT_COUNT = MC_FIELD(8, 2) /* 1 to 65535: number of queries */
};

/* Ageing of IGMP memberships. */
enum {
    MC_CMD_AGEING = 102, /* the code */
    MC_CMD_AGEING_ENABLE = MC_FIELD(8, 1) /* on (1), off (0): whether memberships age */
};

/* Memory by type. */
enum {
    MC_CMD_SHOW_MEMORY = 103 /* the code */
};

/* Resets the memory statistics. */
enum {
    MC_CMD_MEMORY_RESET = 104 /* the code */
};

/* Memory of one type. */
enum {
    MC_CMD_SHOW_MEMORY_TYPE = 105, /* the code */
    MC_CMD_SHOW_MEMORY_TYPE_TYPE = MC_FIELD(8, 4) /* 0 to 4294967295: the type */
};

/* Which memory types show memory prints. */
enum {
    MC_CMD_MEMORY_RANGE = 106, /* the code */
    MC_CMD_MEMORY_RANGE_FIRST = MC_FIELD(8, 4), /* 0 to 4294967295: the first type */
    MC_CMD_MEMORY_RANGE_LAST = MC_FIELD(12, 4) /* 0 to 4294967295: the last type */
};

/* Replaces all rules of a port by one; what goes up follows from what goes down. */
enum {
    MC_CMD_VLAN_WEB_SET = 110, /* the code */
    MC_CMD_VLAN_WEB_SET_PORTNO = MC_FIELD(8, 1), /* 0 to 5: the port whose rules are replaced */
    MC_CMD_VLAN_WEB_SET_PROUPTAGMODE = MC_FIELD(9, 1), /* 0 */
    MC_CMD_VLAN_WEB_SET_IN_UP_VLAN = MC_FIELD(10, 2), /* 0 */
    MC_CMD_VLAN_WEB_SET_OUT_UP_VLAN = MC_FIELD(12, 2), /* 0 */
    MC_CMD_VLAN_WEB_SET_PRODNTAGMODE = MC_FIELD(14, 1), /* 0 to 3, untag (0), tag (1), translate (2): tag mode of IGMP */
    MC_CMD_VLAN_WEB_SET_IN_DN_VLAN = MC_FIELD(16, 2), /* 1 to 4094, none (65535), untagged (0): VLAN of IGMP at the uplink; not none in mode untag */
    MC_CMD_VLAN_WEB_SET_OUT_DN_VLAN = MC_FIELD(18, 2), /* 1 to 4094, none (65535), untagged (0): VLAN of IGMP at the port; not none in modes translate and 3 */
    MC_CMD_VLAN_WEB_SET_DATEDNTAGMODE = MC_FIELD(20, 1), /* 0 to 3, untag (0), tag (1), translate (2): tag mode of data that goes down */
    MC_CMD_VLAN_WEB_SET_IN_DATA_VLAN = MC_FIELD(22, 2), /* 1 to 4094, untagged (0): VLAN of the data as the uplink receives it */
    MC_CMD_VLAN_WEB_SET_OUT_DATA_VLAN = MC_FIELD(24, 2), /* 1 to 4094, none (65535), untagged (0): VLAN of the data as the port sends it, in mode translate */
    MC_CMD_VLAN_WEB_SET_RULE_FLAG = MC_FIELD(26, 1), /* 0 */
    MC_CMD_VLAN_WEB_SET_UNUSED = MC_FIELD(27, 1) /* 0 */
};

/* State and interfaces of MLD. */
enum {
    MC_CMD_SHOW_MLD = 111 /* the code */
};

/* The core's traces of MLD packets, on all ports or none. */
enum {
    MC_CMD_MLD_DEBUG_PORTS = 112, /* the code */
    MC_CMD_MLD_DEBUG_PORTS_VALUE = MC_FIELD(8, 4) /* on (1), off (0): whether to trace */
};

/* The core's traces of MLD. */
enum {
    MC_CMD_MLD_DEBUG = 113, /* the code */
    MC_CMD_MLD_DEBUG_VALUE = MC_FIELD(8, 4), /* on (1), off (0): whether to trace */
    MC_CMD_MLD_DEBUG_PORT = MC_FIELD(12, 4) /* 0 to 5, uplink (29), all (255): the port */
};

/* Whether the switch table's failures are reported to the core. */
enum {
    MC_CMD_TABLE_RETURN = 114, /* the code */
    MC_CMD_TABLE_RETURN_VALUE = MC_FIELD(8, 4) /* on (1), off (0): whether failures are reported */
};

/* Ageing of MLD memberships. */
enum {
    MC_CMD_MLD_AGEING = 115, /* the code */
    MC_CMD_MLD_AGEING_ENABLE = MC_FIELD(8, 1) /* on (1), off (0): whether memberships age */
};
