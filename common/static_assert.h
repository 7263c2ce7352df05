/*
 * static_assert for C99 too, which has none: compilers take it as an extension there. C libraries
 * define it in <assert.h> from C11 on only.
 */
#pragma once

#include <assert.h>

#if !defined(__cplusplus) && !defined(static_assert)
#define static_assert __extension__ _Static_assert
#endif
