/*
 * Whether memory is there, asked of the kernel without a signal: a futex call looks at the word and
 * answers EFAULT. And a guard behind a buffer, which tells how far somebody has written beyond it.
 */
#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

/* Every page of so many bytes. size 0: nothing is asked. */
bool memory_readable(const void* bytes, size_t size);
/* Of one page; the word is written with what it holds. */
bool memory_writable(void* bytes);

enum { GUARD_SIZE = 8192 };

void guard_set(uint8_t* guard);
/* How many bytes behind the buffer were written, 0 when none; the guard is set again. */
size_t guard_overrun(uint8_t* guard);
