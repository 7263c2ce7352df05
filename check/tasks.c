#include "check/tasks.h"

#include <pthread.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

#include "check/memory.h"
#include "check/report.h"
#include "check/watch.h"

#pragma weak pthread_getattr_np /* older C libraries have none: stacks are not looked at then */

enum { MOST_TASKS = 4, LONGEST_NAME = 15, PATIENCE = 1000 /* milliseconds */ };

typedef struct Task {
    char name[LONGEST_NAME + 1];
    PalTaskEntry entry;
    uint32_t stack_asked;
    pthread_t creator;
    uint64_t created; /* milliseconds */
    bool is_promised; /* pal_task_create has answered 0 */
    bool is_refused;  /* or something else: */
    int32_t answer;
    bool is_settled; /* it runs, or was complained of */
    uint32_t runs;
    /* The stack below what the task began with, painted: from its lowest byte on. */
    uint8_t* painted;
    uint8_t* top;
    bool has_ended;
} Task;

static Task tasks[MOST_TASKS];
static int task_count;
static int awaited;

/* ---- How deep a stack has been --------------------------------------------------------------- */

enum { PAINT = 0xB3, FRESH_FRAMES = 1024, PAGE_AT_LEAST = 4096 };

static uint32_t stack_used(const Task* task) {
    const uint8_t* at = __atomic_load_n(&task->painted, __ATOMIC_ACQUIRE);
    if (at == NULL || !memory_readable(at, 1)) return 0;
    while (at < task->top && *at == PAINT) ++at;
    return (uint32_t)(task->top - at);
}

static void measure(const Task* task) {
    if (task->has_ended) return;
    const uint32_t used = stack_used(task);
    if (used > task->stack_asked / 8 * 7) {
        BREACH(AT_pal_task_create, "%s has taken %u bytes of the stack of %u that it was to have",
               task->name, used, task->stack_asked);
    }
}

/* Of a task that was given more than it asked for, what it asked for. */
__attribute__((noinline)) static void paint(Task* task, uint8_t* lowest) {
    uint8_t* const top = __builtin_frame_address(0);
    uint8_t* const from = top - FRESH_FRAMES;
    task->top = top;
    if ((size_t)(from - lowest) > task->stack_asked) lowest = from - task->stack_asked;
    while (lowest < from && !memory_writable(lowest)) lowest += PAGE_AT_LEAST; /* a guard page */
    if (lowest >= from) return;
    for (volatile uint8_t* at = lowest; at < from; ++at) *at = PAINT; /* no call: it is our stack */
    __atomic_store_n(&task->painted, lowest, __ATOMIC_RELEASE);
}

static void look_at_stack(Task* task) {
    pthread_attr_t attributes;
    void* lowest = NULL;
    size_t size = 0;
    if (pthread_getattr_np == NULL || pthread_getattr_np(pthread_self(), &attributes) != 0) return;
    pthread_attr_getstack(&attributes, &lowest, &size);
    pthread_attr_destroy(&attributes);
    if (size < task->stack_asked) {
        BREACH(AT_pal_task_create, "%s has a stack of %zu bytes and was to have %u", task->name,
               size, task->stack_asked);
    }
    paint(task, lowest);
}

void tasks_measure_now_and_then(void) {
    enum { SELDOM = 1024 };
    static uint32_t times;
    const uint32_t n = ++times;
    if (n % SELDOM != 0 && (n & (n - 1)) != 0) return;
    for (int i = 0; i < task_count; ++i) measure(&tasks[i]);
}

/* ---- The body of a task ---------------------------------------------------------------------- */

static void complain_of_refused(const Task* task) {
    BREACH(AT_pal_task_create, "%s runs, although the answer is %d", task->name, (int)task->answer);
}

static int32_t run(Task* task) {
    const Place at = AT_pal_task_create;
    const uint32_t runs = __atomic_add_fetch(&task->runs, 1, __ATOMIC_RELAXED);
    if (task->is_refused) complain_of_refused(task);
    if (runs > 1) {
        BREACH(at, "%s runs %u times", task->name, runs);
        return task->entry();
    }
    if (pthread_equal(pthread_self(), task->creator)) {
        BREACH(at, "%s runs on the thread that asked for it, which does not go on", task->name);
        return task->entry();
    }
    look_at_stack(task);
    const int32_t result = task->entry();
    measure(task);
    task->has_ended = true;
    return result;
}

/* A body has no argument: each task has one of its own. */
static int32_t body_0(void) { return run(&tasks[0]); }
static int32_t body_1(void) { return run(&tasks[1]); }
static int32_t body_2(void) { return run(&tasks[2]); }
static int32_t body_3(void) { return run(&tasks[3]); }
static const PalTaskEntry bodies[MOST_TASKS] = {body_0, body_1, body_2, body_3};

/* ---- Starting one ---------------------------------------------------------------------------- */

static uint64_t milliseconds(void) {
    struct timespec now = {0, 0};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (uint64_t)now.tv_sec * 1000 + (uint64_t)now.tv_nsec / 1000000;
}

void tasks_look_for_late_ones(void) {
    if (__atomic_load_n(&awaited, __ATOMIC_RELAXED) == 0) return;
    for (int i = 0; i < task_count; ++i) {
        Task* const task = &tasks[i];
        if (!task->is_promised || task->is_settled) continue;
        const bool runs = __atomic_load_n(&task->runs, __ATOMIC_RELAXED) != 0;
        if (!runs && milliseconds() - task->created <= PATIENCE) continue;
        if (__atomic_exchange_n(&task->is_settled, true, __ATOMIC_RELAXED)) continue;
        __atomic_sub_fetch(&awaited, 1, __ATOMIC_RELAXED);
        if (!runs) {
            BREACH(AT_pal_task_create, "%s was to run, and has not begun for %d milliseconds",
                   task->name, PATIENCE);
        }
    }
}

static void prepare(Task* task, const char* name, uint32_t stack_size, PalTaskEntry entry) {
    snprintf(task->name, sizeof task->name, "%s", name);
    task->entry = entry;
    task->stack_asked = stack_size;
    task->creator = pthread_self();
    task->created = milliseconds();
}

int32_t checked_pal_task_create(uint32_t* task_id, const char* name, uint32_t priority,
                                uint32_t option, uint32_t stack_size, PalTaskEntry entry) {
    const Place at = AT_pal_task_create;
    const uint32_t no_id = 0xEEEEEEEE;
    for (int i = 0; i < task_count; ++i) {
        if (tasks[i].entry == entry) {
            BREACH(at, "%s is asked for again: IgmpInit was called before", name);
        }
    }
    if (task_count == MOST_TASKS) {
        return neighbours.pal_task_create(task_id, name, priority, option, stack_size, entry);
    }
    Task* const task = &tasks[task_count];
    prepare(task, name, stack_size, entry);
    const PalTaskEntry body = bodies[task_count++];
    uint32_t id = no_id;
    const Place before = call_enter(at);
    const int32_t result =
        neighbours.pal_task_create(&id, name, priority, option, stack_size, body);
    call_leave(before);
    if (id != no_id) *task_id = id;
    if (result != 0) {
        task->answer = result;
        task->is_refused = true;
        if (__atomic_load_n(&task->runs, __ATOMIC_RELAXED) != 0) complain_of_refused(task);
        return result;
    }
    if (id == no_id) BREACH(at, "answers 0 for %s and stores no number", task->name);
    __atomic_add_fetch(&awaited, 1, __ATOMIC_RELAXED);
    task->is_promised = true;
    return result;
}

void tasks_at_the_end(void) {
    tasks_look_for_late_ones();
    for (int i = 0; i < task_count; ++i) {
        measure(&tasks[i]);
        if (tasks[i].painted == NULL || tasks[i].has_ended) continue;
        report_note("%s has taken %u bytes of a stack of %u", tasks[i].name, stack_used(&tasks[i]),
                    tasks[i].stack_asked);
    }
}
