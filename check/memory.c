#include "check/memory.h"

#include <errno.h>
#include <linux/futex.h>
#include <string.h>
#include <sys/syscall.h>
#include <unistd.h>

enum { WORD = 4, GUARD_BYTE = 0xA7, GUARD_BEGINNING = 64 };

static uintptr_t page_size(void) {
    static uintptr_t size;
    if (size == 0) size = (uintptr_t)sysconf(_SC_PAGESIZE);
    return size;
}

static uintptr_t word_of(uintptr_t address) { return address / WORD * WORD; }

/*
 * Asks to wait, no time at all, while the word has a value that it hardly has: it is read, and
 * nothing else happens.
 */
static bool word_readable(uintptr_t address) {
    const struct {
        long seconds;
        long nanoseconds;
    } at_once = {0, 0};
    const uint32_t hardly = 0x9E6D63A7;
    return syscall(SYS_futex, word_of(address), FUTEX_WAIT_PRIVATE, hardly, &at_once, NULL, 0) ==
               0 ||
           errno != EFAULT;
}

bool memory_readable(const void* bytes, size_t size) {
    if (size == 0) return true;
    const uintptr_t begin = (uintptr_t)bytes;
    const uintptr_t last = begin + size - 1;
    if (last < begin) return false;
    for (uintptr_t at = begin; at < last; at = (at / page_size() + 1) * page_size()) {
        if (!word_readable(at)) return false;
    }
    return word_readable(last);
}

/* The kernel adds 0 to the word in one step: what another thread stores is not lost. */
bool memory_writable(void* bytes) {
    static uint32_t nobody_waits;
    const int add_nothing = FUTEX_OP(FUTEX_OP_ADD, 0, FUTEX_OP_CMP_EQ, 0);
    return syscall(SYS_futex, &nobody_waits, FUTEX_WAKE_OP_PRIVATE, 0, 0, word_of((uintptr_t)bytes),
                   add_nothing) >= 0 ||
           errno != EFAULT;
}

void guard_set(uint8_t* guard) { memset(guard, GUARD_BYTE, GUARD_SIZE); }

size_t guard_overrun(uint8_t* guard) {
    size_t at = 0;
    while (at < GUARD_BEGINNING && guard[at] == GUARD_BYTE) ++at;
    if (at == GUARD_BEGINNING) return 0;
    size_t end = GUARD_SIZE;
    while (guard[end - 1] == GUARD_BYTE) --end;
    guard_set(guard);
    return end;
}
