/*
 * A command as another process posts it: the message for msgsnd on queue MC_QUEUE_KEY. Codes and
 * fields are in command/command_codes.h, the record is drawn in command/command.h.
 *
 *     McMessage message;
 *     mc_message_start(&message, MC_CMD_FAST_LEAVE);
 *     mc_message_set(&message, MC_CMD_FAST_LEAVE_PORT, 2);
 *     mc_message_set(&message, MC_CMD_FAST_LEAVE_MODE, 1);
 *     msgsnd(queue, &message, sizeof message.text, IPC_NOWAIT);
 *
 * The whole text is posted, since the library keeps what the record before it left behind the end
 * of a short one. A longer message stops the queue. Nothing comes back: the library reports on its
 * console, under the error category of common/masks.h. Records run one by one, in the order of the
 * queue, on the library's command task.
 */
#pragma once

#include <stdint.h>

#include "command/command.h"

/* The message. Its text begins with the dump length. */
typedef struct McMessage {
    long type; /* the command's code, native byte order; msgsnd takes none below 1 */
    uint8_t text[MC_RECORD_TEXT]; /* the record without its code, big-endian */
} McMessage;

/* A field of a record: its offset, counted from the record's begin, below its width in bytes. */
#define MC_FIELD(offset, width) ((width) << 8 | (offset))

/* Stores a big-endian number; offset counts from the begin of the record, code included. */
static inline void mc_message_store(McMessage* message, uint32_t offset, uint32_t width,
                                    uint32_t value) {
    uint32_t i;
    for (i = 0; i < width; ++i) {
        message->text[offset - 4 + i] = value >> 8 * (width - 1 - i) & 0xFF;
    }
}

/* An empty record of a command: all fields 0. */
static inline void mc_message_start(McMessage* message, long code) {
    uint32_t i;
    message->type = code;
    for (i = 0; i < MC_RECORD_TEXT; ++i) message->text[i] = 0;
    mc_message_store(message, 4, 4, 8);
}

/*
 * Sets a field of the command that the message was started with, in any order. Of the value the
 * field takes as many low bytes as it is wide. The dump length, which only says how much of the
 * record the library prints under the configuration category, grows up to the last field set.
 */
static inline void mc_message_set(McMessage* message, uint32_t field, uint32_t value) {
    const uint32_t offset = field & 0xFF;
    const uint32_t width = field >> 8;
    if (message->text[3] < offset + width) mc_message_store(message, 4, 4, offset + width);
    mc_message_store(message, offset, width, value);
}
