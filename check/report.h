/*
 * What is said: one line for a breach at its 1st, 2nd, 4th, 8th ... time, and a summary at the end.
 *
 *     mc_check: FUNCTION: what is wrong (numbers)
 *
 * With MC_CHECK=abort in the environment the first breach ends the process.
 */
#pragma once

#include <stdbool.h>
#include <stdint.h>

#include "check/places.h"

/* One thing that can be wrong, and how often it was, by the function where. */
typedef struct Breach {
    uint32_t times[PLACES];
} Breach;

void report_breach(Breach* breach, Place place, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

/* Each use is a breach of its own, with its text whole. */
#define BREACH(place, ...)                        \
    do {                                          \
        static Breach here;                       \
        report_breach(&here, place, __VA_ARGS__); \
    } while (0)

/* A line that is no breach. */
void report_note(const char* format, ...) __attribute__((format(printf, 1, 2)));

/* One that may be long: what, and the names behind it. */
void report_list(const char* what, const char* names);

/* Counts a call that was looked at. */
void report_call(void);

/*
 * Whether the calls were those of this process: not of the one that it was forked from, nor of one
 * that has only started something else.
 */
bool report_is_due(void);
/* How many breaches there were, and where. */
void report_summary(void);
