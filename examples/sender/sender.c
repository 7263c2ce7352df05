/*
 * Sets a VLAN rule of a port, by the command queue:
 *
 *     sender PORT USER_VLAN NETWORK_VLAN      e.g. sender 2 100 4000
 *
 * IGMP of the port in USER_VLAN goes up in NETWORK_VLAN and comes down translated back, and so does
 * the stream. Status 1 when nobody can take the command, 2 for wrong words.
 */
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ipc.h>
#include <sys/msg.h>

#include "adapt/records.h"
#include "command/command_codes.h"

static void describe_rule(McMessage* message, uint32_t port, uint32_t user, uint32_t network) {
    mc_message_start(message, MC_CMD_VLAN_ADD);
    mc_message_set(message, MC_CMD_VLAN_ADD_PORTNO, port);
    mc_message_set(message, MC_CMD_VLAN_ADD_PROUPTAGMODE, MC_TAG_MODE_TRANSLATE);
    mc_message_set(message, MC_CMD_VLAN_ADD_IN_UP_VLAN, user);
    mc_message_set(message, MC_CMD_VLAN_ADD_OUT_UP_VLAN, network);
    mc_message_set(message, MC_CMD_VLAN_ADD_PRODNTAGMODE, MC_TAG_MODE_TRANSLATE);
    mc_message_set(message, MC_CMD_VLAN_ADD_IN_DN_VLAN, network);
    mc_message_set(message, MC_CMD_VLAN_ADD_OUT_DN_VLAN, user);
    mc_message_set(message, MC_CMD_VLAN_ADD_DATEDNTAGMODE, MC_TAG_MODE_TRANSLATE);
    mc_message_set(message, MC_CMD_VLAN_ADD_IN_DATA_VLAN, network);
    mc_message_set(message, MC_CMD_VLAN_ADD_OUT_DATA_VLAN, user);
}

/* The library checks almost nothing, so the sender does. -1 for what is no number up to most. */
static long number(const char* word, long most) {
    char* end;
    const long value = strtol(word, &end, 10);
    return end != word && *end == '\0' && value >= 0 && value <= most ? value : -1;
}

int main(int argc, char** argv) {
    const long port = argc == 4 ? number(argv[1], 5) : -1;
    const long user = argc == 4 ? number(argv[2], 4094) : -1;
    const long network = argc == 4 ? number(argv[3], 4094) : -1;
    McMessage message;
    int queue;
    if (port < 0 || user < 1 || network < 1) {
        fprintf(stderr, "usage: sender PORT USER_VLAN NETWORK_VLAN\n");
        return 2;
    }
    describe_rule(&message, (uint32_t)port, (uint32_t)user, (uint32_t)network);
    queue = msgget(MC_QUEUE_KEY, 0); /* never made here: it is the library's */
    if (queue == -1 || msgsnd(queue, &message, sizeof message.text, IPC_NOWAIT) == -1) {
        fprintf(stderr, "sender: queue %d: %s\n", MC_QUEUE_KEY, strerror(errno));
        return 1;
    }
    return 0;
}
