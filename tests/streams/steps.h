/*
 * Steps of a random stream: a frame, a command, a rule, a call-back of the core. Each draws its
 * chances from who runs the stream, and tells on standard output what it does and what comes of it.
 *
 * C, and little of its library: it also runs on processors for which there is none.
 */
#pragma once

#include <stdint.h>

#include "adapt/status_layout.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
    STREAM_SEGMENT = MC_STATUS_SIZE,
    STREAM_READABLE = 64, /* bytes of a frame's buffer that the library and the core may look at */
    STREAM_CODES = 120    /* commands are drawn below it */
};

/* ---- From who runs the stream ---- */

uint32_t chance(void);
/* Room for a frame, until the next one. */
uint8_t* frame_room(uint32_t bytes);
/* Whether a web set may leave a rule that counts as an empty slot. */
int wants_empty_web_rules(void);
/* A frame that the library hands to the driver. */
void on_sent(const uint8_t* frame, uint32_t len, uint32_t port);

/* ---- The steps ---- */

uint32_t below(uint32_t limit);
int one_in(uint32_t n);

/* Other tables, modes, masks: mostly what commands could have made, at times what they could not.
 */
void some_configuration(void);
void a_frame_comes(void);
/* A command without the queue. */
void a_command_comes(void);
/* Its record alone, of MC_RECORD_SIZE bytes. */
void some_record(uint8_t* record);
/* Whether a command with this code walks over a range of numbers that its record gives. */
int walks_a_range(long code);
void a_rule_changes(void);
void core_sends(void);
void core_programs(void);

/* For on_sent: the length of the frame that came, and the port that the core sends to just now, -1
 * when a frame is forwarded. */
uint32_t length_that_came(void);
int32_t port_the_core_sends_to(void);

/* The scalars, and sums over the tables and a segment. */
void tell_records(const uint8_t* segment);

#ifdef __cplusplus
}
#endif
