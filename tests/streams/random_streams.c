/*
 * Random frames, commands and call-backs through the library, every word of it told: what the core
 * and the driver are called with, what the console hears, what is answered, and what the records
 * hold afterwards. The same numbers give the same text on every machine, whatever the library is
 * built with, so two builds are compared by comparing what they print.
 *
 *     random_streams SEED STEPS
 */
#include <stdint.h>
#include <stdio.h>
#include <sys/msg.h>
#include <sys/shm.h>

#include "adapt/adapt.h"
#include "adapt/records.h"
#include "tests/streams/steps.h"

static uint32_t chance_state;

uint32_t chance(void) {
    chance_state ^= chance_state << 13;
    chance_state ^= chance_state >> 17;
    chance_state ^= chance_state << 5;
    return chance_state;
}

uint8_t* frame_room(uint32_t bytes) {
    static uint8_t room[2200];
    return bytes <= sizeof room ? room : NULL;
}

int wants_empty_web_rules(void) { return 1; }

void on_sent(const uint8_t* frame, uint32_t len, uint32_t port) {
    (void)frame, (void)len, (void)port; /* told already */
}

/* ---- The machine: no queue and no segment of its own is touched ------------------------------ */

int msgget(key_t key, int flags) { return (void)key, (void)flags, -1; }
ssize_t msgrcv(int queue, void* message, size_t size, long type, int flags) {
    return (void)queue, (void)message, (void)size, (void)type, (void)flags, -1;
}
int shmget(key_t key, size_t size, int flags) { return (void)key, (void)size, (void)flags, -1; }
void* shmat(int id, const void* address, int flags) {
    return (void)id, (void)address, (void)flags, (void*)-1;
}

static uint32_t number_in(const char* text) {
    uint32_t number = 0;
    for (; *text >= '0' && *text <= '9'; ++text) number = number * 10 + (uint32_t)(*text - '0');
    return number;
}

int main(int argc, char** argv) {
    static uint8_t segment[STREAM_SEGMENT];
    if (argc != 3 || number_in(argv[1]) == 0 || number_in(argv[2]) == 0) {
        puts("usage: random_streams SEED STEPS, both above 0");
        return 2;
    }
    chance_state = number_in(argv[1]);
    const uint32_t steps = number_in(argv[2]);
    printf("%d\n", adapt_init());
    mc_status_global = segment;
    for (uint32_t i = 0; i < steps; ++i) {
        if (i % 20 == 0) some_configuration();
        printf("# %u\n", i);
        switch (below(8)) {
            case 0:
                a_command_comes();
                break;
            case 1:
                a_rule_changes();
                break;
            case 2:
                core_sends();
                break;
            case 3:
                core_programs();
                break;
            default:
                a_frame_comes();
                break;
        }
        tell_records(segment);
    }
    return 0;
}
