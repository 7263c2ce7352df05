/* The library's tasks: started once, each on a thread of its own, with the stack that it needs. */
#pragma once

/* Complains of those that were promised and have not started; cheap while none is awaited. */
void tasks_look_for_late_ones(void);
/* How deep the stacks have been, at growing intervals. */
void tasks_measure_now_and_then(void);
/* Both for the last time, and a line about each task's stack. */
void tasks_at_the_end(void);
