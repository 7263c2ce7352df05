#include "tests/fuzz/chances.h"

#include <stdio.h>
#include <stdlib.h>

static const uint8_t* input;
static size_t left;
static uint32_t drawn_from;

void begin_chances(const uint8_t* data, size_t size) {
    input = data;
    left = size;
    drawn_from = 0;
}

size_t chances_left(void) { return left; }

uint8_t next_byte(void) {
    if (left == 0) return 0;
    --left;
    return *input++;
}

void draw_from(uint32_t seed) { drawn_from = seed; }

uint32_t chance(void) {
    if (drawn_from != 0) {
        drawn_from ^= drawn_from << 13;
        drawn_from ^= drawn_from >> 17;
        drawn_from ^= drawn_from << 5;
        return drawn_from;
    }
    if (left == 0) return 0;
    return (uint32_t)(next_byte() + 1) * 0x9E3779B1u;
}

void must(int holds, const char* what) {
    if (holds) return;
    fprintf(stderr, "broken: %s\n", what);
    abort();
}
