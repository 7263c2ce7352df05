/*
 * Attaches to the library when the program is loaded, and sums up when it ends, by exit or by
 * _exit.
 */
#include <stdlib.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "check/attach.h"
#include "check/report.h"
#include "check/tasks.h"
#include "common/export.h"

static bool is_attached;

__attribute__((constructor)) static void begin(void) { is_attached = attach_to_library(); }

__attribute__((destructor)) static void end(void) {
    static bool is_over;
    if (!is_attached || !report_is_due() || __atomic_exchange_n(&is_over, true, __ATOMIC_RELAXED)) {
        return;
    }
    tasks_at_the_end();
    report_summary();
}

/* A host whose tasks never end leaves by this one: in the place of the C library's. */
MC_EXPORT _Noreturn void _exit(int status) {
    end();
    for (;;) syscall(SYS_exit_group, status);
}
