/*
 * What the doors share: an input as a row of chances, and the end of a run in which a check fails.
 */
#pragma once

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

void begin_chances(const uint8_t* data, size_t size);
size_t chances_left(void);

/* The next byte; 0 at the end. */
uint8_t next_byte(void);
/* The next byte, spread over a word. */
uint32_t chance(void);
/* From here on chance() draws from a seed that is not 0, or again from the input. */
void draw_from(uint32_t seed);

/* Ends the run, as a finding, when it does not hold. */
void must(int holds, const char* what);

#ifdef __cplusplus
}
#endif
