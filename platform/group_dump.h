/*
 * What igmp_gather_grp_info delivers, as the library reads it: a word in native byte order, the
 * number of records, then the records, packed, each of
 *
 *    0      2                          22             25
 *    +------+--------------------------+--------------+
 *    | pair | five words, not aligned  | three bytes  |
 *    +------+--------------------------+--------------+
 *
 * The library does not look into a record. Each byte goes into the status segment as it is, where
 * the words are aligned (adapt/status_layout.h), so what the fields mean and their byte order are
 * agreed between core and reader; big-endian suits a reader that takes the segment's other words.
 * The buffer belongs to the library, which clears it before each call; the call is made on the
 * command task.
 */
#pragma once

enum {
    IGMP_GROUP_DUMP_RECORDS = 4, /* where the records begin */
    IGMP_GROUP_RECORD_SIZE = 25, /* of one record, in bytes */
    IGMP_GROUP_RECORD_PAIR = 0,  /* two bytes */
    IGMP_GROUP_RECORD_WORDS = 2, /* five words */
    IGMP_GROUP_RECORD_REST = 22  /* three bytes */
};
