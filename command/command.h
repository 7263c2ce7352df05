/*
 * The command channel: management processes post records on System V message queue 81, one task
 * takes them one by one. Nothing is sent back.
 *
 * A record, big-endian throughout, fields packed:
 *
 *    0        4             8
 *    +--------+-------------+---------------------------+
 *    |  code  | dump length | payload, up to 124 bytes  |
 *    +--------+-------------+---------------------------+
 *
 * The code travels as the message's type word (a C long, native order), the rest as message text of
 * at most 128 bytes. The dump length only says how much of the record a hex dump shows. Bytes that
 * a short message does not carry keep what the message before it left there.
 */
#pragma once

#include <stdint.h>

#include "common/export.h"

MC_C_BEGIN

enum { MC_QUEUE_KEY = 81, MC_RECORD_TEXT = 128, MC_RECORD_SIZE = 132 };

/* Body of "tMCCmd". Returns -1 when the queue cannot be opened, and otherwise never. */
MC_EXPORT int32_t recv_igmp_interface_msg(void);

/* Runs the command in a record of MC_RECORD_SIZE bytes. Always returns 0. */
MC_EXPORT int32_t process_interface_msg(const uint8_t* record);

MC_C_END
