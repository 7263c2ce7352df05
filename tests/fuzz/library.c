/*
 * Fuzzing of the library, for libFuzzer, through the door that MC_FUZZ_DOOR names.
 *
 * FRAMES: frames into both paths in every mode, over tables that no command could have made.
 *
 * COMMANDS: records of every length through the command task's loop, frames in between.
 *
 * OPERATIONS: rules, switch entries and packets of the core, over tables that operations made. What
 * these promise is checked after every step.
 *
 * Each byte of an input is a chance: which step comes, what is in it, whether a neighbour fails.
 */
#include <setjmp.h>
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/msg.h>
#include <sys/shm.h>

#include "adapt/adapt.h"
#include "adapt/records.h"
#include "command/command.h"
#include "mld/mld.h"
#include "mld/record.h"
#include "tests/fuzz/chances.h"
#include "tests/fuzz/fresh_library.h"
#include "tests/streams/steps.h"

enum Door { FRAMES, COMMANDS, OPERATIONS };

enum { TWO_TAGS = 8, LONGEST_SENT = 2000 + TWO_TAGS, LONGEST_BUILT = 1518 };

static void configure(void) {
    draw_from(chance() | 1);
    some_configuration();
    draw_from(0);
}

/* ---- What is checked ------------------------------------------------------------------------- */

/* On the heap and as long as it says, so that the sanitizer sees one byte too far. */
uint8_t* frame_room(uint32_t bytes) {
    static uint8_t* room;
    free(room);
    room = malloc(bytes);
    must(room != NULL, "memory");
    return room;
}

/* The rule is kept, and a delete takes another one then: no promise holds any more. */
int wants_empty_web_rules(void) { return MC_FUZZ_DOOR != OPERATIONS; }

void on_sent(const uint8_t* frame, uint32_t len, uint32_t port) {
    static volatile uint8_t sum;
    for (uint32_t i = 0; i < len; ++i) sum = (uint8_t)(sum + frame[i]); /* all of it is there */
    must(len <= LONGEST_SENT, "a frame is longer than any that comes in, and two tags");
    if (MC_FUZZ_DOOR == COMMANDS) return; /* a test frame, a test uplink */
    const int32_t asked = port_the_core_sends_to();
    if (asked >= 0) {
        must(len <= LONGEST_BUILT, "a packet of the core in a frame that is too long");
        must(asked == MC_CORE_UPLINK || port <= MC_UPLINK_PORT, "the core sends to no port");
    } else {
        must(len <= length_that_came() + TWO_TAGS,
             "a frame is longer than what came, and two tags");
    }
    if (MC_FUZZ_DOOR != OPERATIONS) return; /* any port may stand in the table */
    must(port < MC_PORTS - 1 || port == MC_UPLINK_PORT || (int32_t)port == asked,
         "a frame leaves on a port that is not there");
}

static int is_used(const PortVlanCfgEntry* rule) { return rule->in_up_vlan != MC_NO_VLAN; }

static void check_rules(PortVlanCfgEntry (*rules)[MC_RULES], const int32_t* counts) {
    for (int p = 0; p < MC_PORTS; ++p) {
        must(counts[p] >= 0 && counts[p] <= MC_RULES, "a count of rules is out of bounds");
        for (int j = 1; j < MC_RULES; ++j) {
            must(!is_used(&rules[p][j]) || is_used(&rules[p][j - 1]), "a gap between rules");
        }
    }
}

static void check_list(const uint16_t* list, const uint16_t* mirror, int used) {
    for (int i = 0; i < MC_TEMPLATE_VLANS; ++i) {
        must(list[i] == mirror[i], "the template list and its mirror differ");
        must(i < used || list[i] == 0, "a template VLAN behind the count");
    }
}

static void check_tables(void) {
    must(setVlanNumber >= 0 && setVlanNumber <= MC_TEMPLATE_VLANS, "the template list's count");
    check_rules(PortVlanCfg, setVlanCfgNumber);
    check_rules(mldInitParams.mldPortVlanCfg, mldInitParams.vlancfgnum);
    check_list(PortVlan, globle_parm.TemplateVlan, setVlanNumber);
}

/* ---- The machine: messages from the input, no segment but a block of memory ------------------ */

static jmp_buf out_of_the_task;
static uint8_t segment[STREAM_SEGMENT];

int msgget(key_t key, int flags) { return (void)key, (void)flags, one_in(200) ? -1 : 1; }

ssize_t msgrcv(int queue, void* message, size_t size, long type, int flags) {
    uint8_t record[MC_RECORD_SIZE];
    (void)queue, (void)type, (void)flags;
    if (chances_left() == 0) longjmp(out_of_the_task, 1);
    while (one_in(4) && chances_left() != 0) {
        one_in(2) ? a_frame_comes() : core_sends();
    }
    if (one_in(20)) return -1; /* interrupted, or longer than the room */
    some_record(record);
    const long code = record[3];
    memcpy(message, &code, sizeof code);
    size_t length = one_in(4) ? below((uint32_t)size + 1) : size;
    /* Behind a short one stands what was there: a range of any length, walked address by address.
     */
    if (walks_a_range(code)) length = size;
    memcpy((uint8_t*)message + sizeof code, record + 4, length);
    return (ssize_t)length;
}

int shmget(key_t key, size_t size, int flags) { return (void)key, (void)size, (void)flags, 1; }
void* shmat(int id, const void* address, int flags) {
    return (void)id, (void)address, (void)flags, segment;
}

/* ---- The doors ------------------------------------------------------------------------------- */

/* As after loading and start-up. */
static void start_over(void) {
    unload_library();
    /* A start that the driver ends early is one that a task never sees. */
    draw_from(1);
    while (adapt_init() != 0) {
    }
    draw_from(0);
}

static void come_frames(void) {
    configure();
    while (chances_left() != 0) {
        if (one_in(16)) configure();
        one_in(6) ? core_sends() : a_frame_comes();
    }
}

static void come_commands(void) {
    if (one_in(2)) mc_debug = mld_debug = chance() & 0x3F;
    if (setjmp(out_of_the_task) == 0) recv_igmp_interface_msg();
}

static void come_operations(void) {
    if (one_in(4)) mc_debug = mld_debug = chance() & 0x3F;
    while (chances_left() != 0) {
        switch (below(6)) {
            case 0:
                core_sends();
                break;
            case 1:
                core_programs();
                break;
            case 2:
                a_frame_comes();
                break;
            default:
                a_rule_changes();
                break;
        }
        check_tables();
    }
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    begin_chances(data, 0);
    start_over();
    begin_chances(data, size);
    const enum Door door = MC_FUZZ_DOOR;
    switch (door) {
        case FRAMES:
            come_frames();
            break;
        case COMMANDS:
            come_commands();
            break;
        case OPERATIONS:
            come_operations();
            break;
    }
    return 0;
}
