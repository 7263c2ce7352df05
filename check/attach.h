/*
 * The way in: the library's table of imported functions is changed, so that it calls the wrappers.
 * It works whether core and driver are shared libraries or linked into the program, whose own
 * functions the loader finds before those of a library that is preloaded.
 */
#pragma once

#include <stdbool.h>

/* False where the library is not loaded; a host is told so by a line. */
bool attach_to_library(void);
