/*
 * _exit in a build that counts coverage: the counts are written first, which otherwise only exit does.
 * Linked with --wrap=_exit.
 */
void __gcov_dump(void);
_Noreturn void __real__exit(int status);
_Noreturn void __wrap__exit(int status);

_Noreturn void __wrap__exit(int status) {
    __gcov_dump();
    __real__exit(status);
}
