/*
 * The shared status segment: System V shared memory, key 82, through which other processes read
 * what the library knows.
 *
 *   offset   size       field
 *   0        4          number of group records in use, 0 to 512
 *   4        512 x 28   group records
 *   14340    7 x 16     status of each logical port, four words that the core fills
 *   14452    4          fast leave mode of all ports, as last commanded (code 83): 2 is on
 *   14456    4          reserved
 *   14460    7 x 4      group limit of each logical port, 0 to 65535
 *   14488    4          1 from the reset of the parameters, then the internal multicast mode
 *
 * The words of the table are big-endian on every machine. A group record is what the core delivers
 * (platform/group_dump.h), spread to where its words are aligned:
 *
 *    0      2   4                        24             27  28
 *    +------+---+------------------------+--------------+---+
 *    | pair | 0 | five words             | three bytes  | 0 |
 *    +------+---+------------------------+--------------+---+
 *
 * Its bytes, and what they mean, are the core's: the library changes none. So are the meaning and
 * the unit of a port's four words.
 *
 * The library writes, on its command task and during start-up; everybody else reads. Limits and
 * modes are stored when they change, port status and groups only on request (codes 78 and 79).
 * Nothing is locked: the number of groups is stored before the records, so a reader may see a table
 * half written, and a word of two values. Records behind the number are left over from before.
 *
 * The segment is created without permission bits: only root and processes with CAP_IPC_OWNER attach
 * it. It outlives the process that made it; the next start clears it.
 */
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "adapt/records.h"
#include "common/static_assert.h"

/* Key, size and places in the segment; sizes and places in bytes. */
enum {
    MC_STATUS_KEY = 82,             /* of shmget */
    MC_STATUS_SIZE = 14492,         /* of the segment */
    MC_STATUS_GROUP_COUNT = 0,      /* a word */
    MC_STATUS_GROUP_TABLE = 4,      /* MC_STATUS_GROUPS records */
    MC_STATUS_PORTS = 14340,        /* MC_PORTS records, by logical port */
    MC_STATUS_FAST_LEAVE = 14452,   /* a word */
    MC_STATUS_GROUP_LIMITS = 14460, /* MC_PORTS words, by logical port */
    MC_STATUS_MODE = 14488          /* a word: MC_MODE_... */
};

/* The records in the segment; sizes and places in bytes. */
enum {
    MC_STATUS_GROUPS = 512,    /* group records that there is room for */
    MC_STATUS_GROUP_SIZE = 28, /* of a group record */
    MC_STATUS_GROUP_PAIR = 0,  /* in a group record: two bytes */
    MC_STATUS_GROUP_WORDS = 4, /* in a group record: five words */
    MC_STATUS_GROUP_REST = 24, /* in a group record: three bytes */
    MC_STATUS_PORT_SIZE = 16   /* of a port's status */
};

/* Sums of constants of two enumerations are no longer good C++. */
static_assert(MC_STATUS_PORTS - MC_STATUS_GROUP_TABLE == 512 * 28, "status segment");
static_assert(+MC_STATUS_GROUPS == 512 && +MC_STATUS_GROUP_SIZE == 28, "status segment");
static_assert(MC_STATUS_FAST_LEAVE - MC_STATUS_PORTS == 16 * MC_PORTS, "status segment");
static_assert(+MC_STATUS_PORT_SIZE == 16, "status segment");
static_assert(MC_STATUS_MODE - MC_STATUS_GROUP_LIMITS == 4 * MC_PORTS, "status segment");
static_assert(MC_STATUS_SIZE - MC_STATUS_MODE == 4, "status segment");

/* The big-endian word at a place in the segment, or in a copy of it; any address will do. */
static inline uint32_t mc_status_word(const uint8_t* segment, uint32_t place) {
    const uint8_t* const p = segment + place;
    return p[0] * 0x1000000u + p[1] * 0x10000u + p[2] * 0x100u + p[3];
}

/* A word of the status of a logical port, 0 to MC_PORTS - 1; which is 0 to 3. */
static inline uint32_t mc_status_port_word(const uint8_t* segment, uint32_t logical_port,
                                           uint32_t which) {
    return mc_status_word(segment,
                          MC_STATUS_PORTS + logical_port * MC_STATUS_PORT_SIZE + 4 * which);
}

/* The group limit of a logical port. */
static inline uint32_t mc_status_group_limit(const uint8_t* segment, uint32_t logical_port) {
    return mc_status_word(segment, MC_STATUS_GROUP_LIMITS + 4 * logical_port);
}

/* How many group records are in use; never more than there is room for. */
static inline uint32_t mc_status_group_count(const uint8_t* segment) {
    const uint32_t count = mc_status_word(segment, MC_STATUS_GROUP_COUNT);
    const uint32_t room = MC_STATUS_GROUPS;
    return count < room ? count : room;
}

/* A group record, MC_STATUS_GROUP_SIZE bytes; index is below mc_status_group_count. */
static inline const uint8_t* mc_status_group(const uint8_t* segment, size_t index) {
    return segment + MC_STATUS_GROUP_TABLE + index * MC_STATUS_GROUP_SIZE;
}
