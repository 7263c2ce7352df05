/*
 * The command queue, guarded. The library's command task runs its last record again when a receive
 * fails, without a pause, and two things make it fail: a message that is too long, which stays the
 * first, and a queue that is removed. This msgrcv, which the program exports (-rdynamic), is the
 * one that the library finds; it takes off what is too long, and ends the process when the queue is
 * gone.
 */
#include <dlfcn.h>
#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <unistd.h>

#include "command/command.h"
#include "host.h"

typedef ssize_t Receive(int queue, void* message, size_t size, long type, int flags);

/* With room for a byte that no record has. */
struct LongMessage {
    long type;
    char text[MC_RECORD_TEXT + 1];
};

static volatile sig_atomic_t is_lost;

int queue_is_lost(void) { return is_lost; }

/* The library takes the queue that is there: one with mode 0666, or of somebody else, must go. */
int queue_prepare(void) {
    const int old = msgget(MC_QUEUE_KEY, 0);
    if (old != -1 && msgctl(old, IPC_RMID, NULL) != 0) return -1;
    return msgget(MC_QUEUE_KEY, IPC_CREAT | IPC_EXCL | 0600) == -1 ? -1 : 0;
}

static Receive* receive_of_c_library(void) {
    Receive* found;
    *(void**)&found = dlsym(RTLD_NEXT, "msgrcv"); /* the form that POSIX asks for */
    return found;
}

/* To go back to the library would be to run the last record once more. */
static void end_commands(void) {
    fprintf(stderr, "host: queue %d: %s\n", MC_QUEUE_KEY, strerror(errno));
    is_lost = 1;
    kill(getpid(), SIGTERM);
    for (;;) pause();
}

static ssize_t receive_record(int queue, void* record, long type) {
    Receive* const receive = receive_of_c_library();
    struct LongMessage message;
    for (;;) {
        const ssize_t size = receive(queue, &message, sizeof message.text, type, MSG_NOERROR);
        if (size < 0) {
            if (errno != EINTR) end_commands();
        } else if (size > MC_RECORD_TEXT) {
            fprintf(stderr, "host: a message of more than %d bytes was dropped\n", MC_RECORD_TEXT);
        } else {
            memcpy(record, &message, sizeof message.type + (size_t)size);
            return size;
        }
    }
}

ssize_t msgrcv(int queue, void* message, size_t size, long type, int flags) {
    if (size == MC_RECORD_TEXT && flags == 0) return receive_record(queue, message, type);
    return receive_of_c_library()(queue, message, size, type, flags);
}
