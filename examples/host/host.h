/* What the parts of the host say to each other. The library's own headers say the rest. */
#pragma once

/* driver.c: before IgmpInit, the interface that carries all ports; after it, whether it is open. */
void driver_use(const char* interface_name);
int driver_is_open(void);

/* pal.c: how many tasks run that pal_task_create was asked for. */
int tasks_running(void);

/* queue.c: before IgmpInit, makes the command queue anew, for this user alone. 0, or -1 and errno.
 */
int queue_prepare(void);
/* Whether the queue was taken away; SIGTERM comes to the process then. */
int queue_is_lost(void);
