/*
 * Prints ports and groups from the status segment, as they are there: "mcctl export groups" and
 * "mcctl export status", codes 79 and 78, have the library bring them up to date. Needs root: the
 * segment has no permission bits.
 *
 * The words of a port and the fields of a group are what the core puts there: these are those of
 * the core that mc_node has. Status 1 when there is no segment, or it is not ours to read.
 */
#include <errno.h>
#include <inttypes.h>
#include <stdio.h>
#include <string.h>
#include <sys/ipc.h>
#include <sys/shm.h>

#include "adapt/status_layout.h"

static void print_port(const uint8_t* segment, uint32_t logical_port) {
    printf("port %" PRIu32 ": %" PRIu32 " groups, limit %" PRIu32 "\n", logical_port,
           mc_status_port_word(segment, logical_port, 0),
           mc_status_group_limit(segment, logical_port));
}

static void print_group(const uint8_t* group) {
    const uint8_t* const address = group + MC_STATUS_GROUP_WORDS;
    printf("group %u.%u.%u.%u on port %u in VLAN %" PRIu32 ", IGMPv%u\n", address[0], address[1],
           address[2], address[3], group[MC_STATUS_GROUP_PAIR],
           mc_status_word(group, MC_STATUS_GROUP_WORDS + 4), group[MC_STATUS_GROUP_PAIR + 1]);
}

int main(void) {
    const int id = shmget(MC_STATUS_KEY, MC_STATUS_SIZE, 0);
    const void* const attached = id == -1 ? (void*)-1 : shmat(id, NULL, SHM_RDONLY);
    uint8_t copy[MC_STATUS_SIZE]; /* the library may be writing: what was checked is what is used */
    uint32_t i;
    if (attached == (void*)-1) {
        fprintf(stderr, "status: segment %d: %s\n", MC_STATUS_KEY, strerror(errno));
        return 1;
    }
    memcpy(copy, attached, sizeof copy);
    shmdt(attached);
    printf("mode %" PRIu32 ", fast leave %" PRIu32 "\n", mc_status_word(copy, MC_STATUS_MODE),
           mc_status_word(copy, MC_STATUS_FAST_LEAVE));
    for (i = 0; i < MC_PORTS; ++i) print_port(copy, i);
    for (i = 0; i < mc_status_group_count(copy); ++i) print_group(mc_status_group(copy, i));
    return 0;
}
