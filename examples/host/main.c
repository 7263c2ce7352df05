/*
 * A host process for the multicast adaptation layer, to start from: a core that answers nothing
 * (core.c), a driver over one packet socket (driver.c), tasks that are POSIX threads (pal.c), and
 * a guard of the command queue (queue.c).
 *
 *     host INTERFACE      until SIGINT or SIGTERM; needs CAP_NET_RAW and, for the segment,
 * CAP_IPC_OWNER
 *
 * Status 0 after a signal, 1 when it cannot start, 2 for wrong words, 3 when the queue is removed.
 */
#include <errno.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "adapt/adapt.h"
#include "common/masks.h"
#include "host.h"

enum { TASKS_OF_THE_LIBRARY = 2 };

/* One line, and the status to end with. */
static int cannot(const char* what, const char* why) {
    fprintf(stderr, "host: %s: %s\n", what, why);
    return 1;
}

/*
 * Blocked before IgmpInit, so that the threads it makes have them blocked: a signal that interrupts
 * the command task runs its last record again.
 */
static void block_signals(sigset_t* signals) {
    sigfillset(signals);
    sigdelset(signals, SIGSEGV);
    sigdelset(signals, SIGBUS);
    sigdelset(signals, SIGFPE);
    sigdelset(signals, SIGILL);
    pthread_sigmask(SIG_BLOCK, signals, NULL);
}

static void wait_for_the_end(const sigset_t* signals) {
    int signal = 0;
    while (sigwait(signals, &signal) != 0 || (signal != SIGINT && signal != SIGTERM)) {
    }
}

int main(int argc, char** argv) {
    sigset_t signals;
    if (argc != 2) {
        fprintf(stderr, "usage: host INTERFACE\n");
        return 2;
    }
    setvbuf(stdout, NULL, _IOLBF, 0); /* the library's console */
    block_signals(&signals);
    if (queue_prepare() != 0) return cannot("command queue", strerror(errno));
    driver_use(argv[1]);

    mc_debug = mld_debug = MC_DEBUG_ERRORS; /* failures of start-up are said; 0 in service */
    IgmpInit();                             /* always 0, so look at what it should have done */
    if (!driver_is_open()) return cannot(argv[1], "the driver did not open it");
    if (tasks_running() != TASKS_OF_THE_LIBRARY) return cannot("tasks", "not all of them run");
    if (mc_status_global == NULL || mc_status_global == (uint8_t*)~(uintptr_t)0) {
        return cannot("status segment", "not attached");
    }
    printf("host: running on %s\n", argv[1]);

    wait_for_the_end(&signals);
    /* Nothing in the library is torn down: its tasks end with the process, wherever they are. */
    fflush(stdout);
    _exit(queue_is_lost() ? 3 : 0);
}
