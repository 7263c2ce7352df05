/* What a host is told to do wrong: one case a run, by name. */
#pragma once

#include <stdbool.h>

/* Before IgmpInit. */
void case_use(const char* name);
bool case_is(const char* name);

/* After IgmpInit, on the thread of the host: what a thread of the core would do. */
void case_act(void);
/* Waits until the packet task has read all frames of the case, and the command task waits. */
void case_wait(void);
