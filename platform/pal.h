/* The platform layer that ships with the protocol core. Imported, never defined here. */
#pragma once

#include <stdint.h>

#include "common/export.h"

MC_C_BEGIN

/* A task body. The task ends when it returns; the result is not looked at. */
typedef int32_t (*PalTaskEntry)(void);

/*
 * Starts a task. task_id receives its number. priority and the fourth argument are in the platform
 * layer's own terms (the library passes 29 or 40, and 0); stack_size is in bytes; the layer keeps
 * no pointer to name. Returns 0 when the task runs, or is about to: once, on a thread of its own
 * that has at least so much stack. After anything else it never runs.
 */
int32_t pal_task_create(uint32_t* task_id, const char* name, uint32_t priority, uint32_t option,
                        uint32_t stack_size, PalTaskEntry entry);

/* Memory displays and statistics. They print on the console and return 0. */
int32_t pal_mem_show(void);
int32_t pal_mem_reset(void);           /* sets the statistics back */
int32_t pal_mtype_show(uint32_t type); /* one type of memory */
/* The range of types that is recorded. */
int32_t pal_mrecord_range_set(uint32_t first, uint32_t second);

MC_C_END
