/*
 * What the wrappers share: the neighbours' own functions, the call that a thread is in, and which
 * ports there are.
 */
#pragma once

#include <stdbool.h>

#include "check/places.h"

/* The neighbours' own functions, under their names; found by attach_to_library. */
typedef struct Neighbours {
#define NEIGHBOUR(name) __typeof__(name)* name;
    WATCHED_IMPORTS(NEIGHBOUR)
#undef NEIGHBOUR
} Neighbours;
extern Neighbours neighbours;

/* What the library calls instead. */
#define WRAPPER(name) __typeof__(name) checked_##name;
WATCHED_IMPORTS(WRAPPER)
#undef WRAPPER

/* The innermost function that this thread is in, NO_PLACE outside of all. */
Place call_now(void);
/* Goes into one, and says which one it was before; back with call_leave. */
Place call_enter(Place place);
void call_leave(Place before);

/* User ports 0 to 5 and the uplink. */
bool is_port(uint32_t port);

/* Whether L2_multicast_init has returned. */
bool driver_was_opened(void);
/* How many bytes the frame has that this thread has read last, 0 if it reads none. */
uint32_t frame_now(void);
