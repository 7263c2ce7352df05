// _exit in a build that counts coverage: the counts are written first, which otherwise only exit
// does. Linked with --wrap=_exit, hence the names.
extern "C" {

void __gcov_dump();
[[noreturn]] void __real__exit(int status);

[[noreturn]] void __wrap__exit(int status) {
    __gcov_dump();
    __real__exit(status);
}
}
