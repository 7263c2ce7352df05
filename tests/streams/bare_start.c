/*
 * What the library and random_streams need of a C library, for a processor that no C library at
 * hand runs on: MIPS without a floating-point unit, which is what has microMIPS in the emulator.
 * Two system calls, the memory functions, and the printf that the console texts need.
 */
#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

int main(int argc, char** argv);
void bare_start(long* stack);

enum { SYS_EXIT = 4001, SYS_WRITE = 4004 };

static void system_call(long number, long a, long b, long c) {
    register long v0 __asm__("$2") = number;
    register long a0 __asm__("$4") = a;
    register long a1 __asm__("$5") = b;
    register long a2 __asm__("$6") = c;
    register long a3 __asm__("$7");
    __asm__ volatile("syscall"
                     : "+r"(v0), "=r"(a3)
                     : "r"(a0), "r"(a1), "r"(a2)
                     : "memory", "$1", "$3", "$8", "$9", "$10", "$11", "$12", "$13", "$14", "$15",
                       "$24", "$25");
}

static char pending[4096];
static size_t pending_bytes;

static void flush(void) {
    system_call(SYS_WRITE, 1, (long)pending, (long)pending_bytes);
    pending_bytes = 0;
}

static int put(int c) {
    pending[pending_bytes++] = (char)c;
    if (pending_bytes == sizeof pending) flush();
    return 1;
}

/* The kernel leaves argc on the stack, argv behind it. */
__asm__(
    ".globl __start\n.type __start, @function\n.ent __start\n__start:\n"
    "move $4, $29\nla $25, bare_start\nli $8, -8\nand $29, $29, $8\naddiu $29, $29, -16\njalr $25\n"
    ".end __start\n");

void bare_start(long* stack) {
    const int status = main((int)stack[0], (char**)(stack + 1));
    flush();
    system_call(SYS_EXIT, status, 0, 0);
}

void* memcpy(void* to, const void* from, size_t n) {
    for (size_t i = 0; i < n; ++i) ((char*)to)[i] = ((const char*)from)[i];
    return to;
}

void* memmove(void* to, const void* from, size_t n) {
    if ((const char*)to <= (const char*)from) return memcpy(to, from, n);
    while (n-- > 0) ((char*)to)[n] = ((const char*)from)[n];
    return to;
}

void* memset(void* to, int byte, size_t n) {
    for (size_t i = 0; i < n; ++i) ((char*)to)[i] = (char)byte;
    return to;
}

static int put_text(const char* text) {
    int printed = 0;
    for (; *text != '\0'; ++text) printed += put(*text);
    return printed;
}

/* digits: the least to print, zeros in front. */
static int put_number(uint32_t value, uint32_t base, int digits) {
    char text[10];
    int length = 0;
    int printed = 0;
    do {
        text[length++] = "0123456789abcdef"[value % base];
        value /= base;
    } while (value != 0);
    for (; digits > length; --digits) printed += put('0');
    while (length > 0) printed += put(text[--length]);
    return printed;
}

/* %d, %u, %x and %s; of what may stand before the letter, l (as wide as the rest), 02 and .2. */
int vprintf(const char* format, va_list arguments) {
    int printed = 0;
    for (; *format != '\0'; ++format) {
        if (*format != '%') {
            printed += put(*format);
            continue;
        }
        int digits = 0;
        for (++format; *format == '.' || *format == 'l' || (*format >= '0' && *format <= '9');
             ++format) {
            if (*format >= '0' && *format <= '9') digits = *format - '0';
        }
        if (*format == 's') {
            printed += put_text(va_arg(arguments, const char*));
            continue;
        }
        uint32_t value = va_arg(arguments, uint32_t);
        if (*format == 'd' && (int32_t)value < 0) {
            printed += put('-');
            value = 0 - value;
        }
        printed += put_number(value, *format == 'x' ? 16 : 10, digits);
    }
    return printed;
}

int printf(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int printed = vprintf(format, arguments);
    va_end(arguments);
    return printed;
}

int puts(const char* text) { return put_text(text) + put('\n'); }
int putchar(int c) {
    put(c);
    return c;
}

unsigned sleep(unsigned seconds) { return seconds; }
