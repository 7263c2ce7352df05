/* The platform layer over POSIX threads. A real one is part of the device's system. */
#include <limits.h>
#include <pthread.h>
#include <sched.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "host.h"
#include "platform/pal.h"

enum { MOST_TASKS = 8, LONGEST_NAME = 15 };

/* A task that was asked for. The record stays: its thread reads it whenever it starts. */
struct Task {
    char name[LONGEST_NAME + 1];
    PalTaskEntry entry;
    pthread_t thread;
};
static struct Task tasks[MOST_TASKS];
static int count; /* tasks are made by the thread of IgmpInit alone */

int tasks_running(void) { return count; }

static void* run(void* given) {
    const struct Task* const task = given;
    pthread_setname_np(pthread_self(), task->name);
    task->entry(); /* the packet task never comes back, the command task without a queue */
    return NULL;
}

/* Whole pages, and no less than a thread can be started with. */
static size_t whole_stack(uint32_t asked) {
    const size_t page = (size_t)sysconf(_SC_PAGESIZE);
    const size_t least = (size_t)PTHREAD_STACK_MIN;
    const size_t size = asked > least ? asked : least;
    return (size + page - 1) / page * page;
}

/*
 * A real one maps the priorities to its own: 29 for the packet task, 40 for the command task. A
 * smaller number is taken for more urgent here. Real-time scheduling takes CAP_SYS_NICE and a
 * processor that the two tasks may keep busy; without the right, threads run as all others do.
 */
static int start_urgent(pthread_t* thread, pthread_attr_t* attributes, uint32_t priority,
                        struct Task* task) {
    const int least = sched_get_priority_min(SCHED_RR);
    struct sched_param urgency = {0};
    urgency.sched_priority = least + (priority < 40 ? 40 - (int)priority : 0);
    pthread_attr_setinheritsched(attributes, PTHREAD_EXPLICIT_SCHED);
    pthread_attr_setschedpolicy(attributes, SCHED_RR);
    pthread_attr_setschedparam(attributes, &urgency);
    if (pthread_create(thread, attributes, run, task) == 0) return 0;
    pthread_attr_setinheritsched(attributes, PTHREAD_INHERIT_SCHED);
    return pthread_create(thread, attributes, run, task);
}

/* Starts a task and returns at once; not 0: the library goes on without it. */
int32_t pal_task_create(uint32_t* task_id, const char* name, uint32_t priority, uint32_t option,
                        uint32_t stack_size, PalTaskEntry entry) {
    pthread_attr_t attributes;
    struct Task* const task = &tasks[count];
    int failed;
    if (count == MOST_TASKS || pthread_attr_init(&attributes) != 0) return 1;
    strncpy(task->name, name, LONGEST_NAME);
    task->entry = entry;
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_attr_setstacksize(&attributes, whole_stack(stack_size));
    failed = start_urgent(&task->thread, &attributes, priority, task);
    pthread_attr_destroy(&attributes);
    if (failed) return 1;
    *task_id = (uint32_t)++count;
    return 0;
}

/* Displays for codes 103 to 106, on the console. A real one prints the pools of its allocator. */
int32_t pal_mem_show(void) {
    printf("no memory of its own\n");
    return 0;
}
int32_t pal_mem_reset(void) { return 0; }
int32_t pal_mtype_show(uint32_t type) { return 0; }
int32_t pal_mrecord_range_set(uint32_t first, uint32_t last) { return 0; }
