#include "check/report.h"

#include <stdarg.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/uio.h>
#include <unistd.h>

/* A line is built on the stack, which is small in a task of the library. */
enum { LONGEST_LINE = 256 };

static uint32_t calls;
static pid_t caller; /* who has made the first of them */
static uint32_t breaches;
static uint32_t breaches_at[PLACES];

const char* place_name(Place place) {
    static const char* const names[PLACES] = {"the library",
#define NAME_OF_IMPORT(name) #name,
                                              WATCHED_IMPORTS(NAME_OF_IMPORT)
#undef NAME_OF_IMPORT
#define NAME_OF_CALL_BACK(name, kind) "call-back " #name,
                                                  CALL_BACKS(NAME_OF_CALL_BACK)
#undef NAME_OF_CALL_BACK
    };
    return names[place];
}

static uint32_t count(uint32_t* counter) {
    return __atomic_add_fetch(counter, 1, __ATOMIC_RELAXED);
}

/* A line goes out by one call: those of several threads stay apart. */
static void write_line(char* line, size_t length) {
    if (length > LONGEST_LINE - 2) length = LONGEST_LINE - 2;
    line[length++] = '\n';
    while (length > 0) {
        const ssize_t written = write(STDERR_FILENO, line, length);
        if (written <= 0) return; /* nobody else is left to tell */
        line += written;
        length -= (size_t)written;
    }
}

static size_t append(char* line, size_t length, const char* format, va_list arguments) {
    const int added = vsnprintf(line + length, LONGEST_LINE - length, format, arguments);
    length += added > 0 ? (size_t)added : 0;
    return length < LONGEST_LINE ? length : LONGEST_LINE - 1;
}

static size_t append_words(char* line, size_t length, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    length = append(line, length, format, arguments);
    va_end(arguments);
    return length;
}

static bool is_fatal(void) {
    const char* const wish = getenv("MC_CHECK");
    return wish != NULL && strcmp(wish, "abort") == 0;
}

static bool is_power_of_two(uint32_t n) { return (n & (n - 1)) == 0; }

void report_breach(Breach* breach, Place place, const char* format, ...) {
    const uint32_t times = count(&breach->times[place]);
    count(&breaches_at[place]);
    count(&breaches);
    if (!is_power_of_two(times)) return;
    char line[LONGEST_LINE];
    va_list arguments;
    va_start(arguments, format);
    size_t length = append_words(line, 0, "mc_check: %s: ", place_name(place));
    length = append(line, length, format, arguments);
    va_end(arguments);
    if (times > 1) length = append_words(line, length, ", %u times so far", times);
    write_line(line, length);
    if (is_fatal()) abort();
}

void report_note(const char* format, ...) {
    char line[LONGEST_LINE];
    va_list arguments;
    va_start(arguments, format);
    const size_t begun = append_words(line, 0, "mc_check: ");
    const size_t length = append(line, begun, format, arguments);
    va_end(arguments);
    write_line(line, length);
}

void report_list(const char* what, const char* names) {
    const struct iovec parts[] = {{(void*)(uintptr_t)what, strlen(what)},
                                  {(void*)(uintptr_t)names, strlen(names)},
                                  {(void*)(uintptr_t) "\n", 1}};
    if (writev(STDERR_FILENO, parts, sizeof parts / sizeof *parts) < 0) return;
}

void report_call(void) {
    if (count(&calls) == 1) caller = getpid();
}

bool report_is_due(void) { return caller == getpid(); }

void report_summary(void) {
    if (breaches == 0) {
        report_note("no breach in %u calls", calls);
        return;
    }
    report_note("%u breaches in %u calls", breaches, calls);
    for (int place = 0; place < PLACES; ++place) {
        if (breaches_at[place] == 0) continue;
        report_note("%u of them: %s", breaches_at[place], place_name((Place)place));
    }
}
