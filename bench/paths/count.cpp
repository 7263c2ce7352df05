// Gives the library one frame of a load between two marks, for who counts instructions:
//
//     paths_count LOAD        runs paths_counted, then paths_over, behind a run that is not counted
//     paths_count             lists the loads
#include <cstdio>
#include <cstdlib>

#include "bench/paths/cases.h"

extern "C" {

// What runs inside this function is counted: by its name, or from its first instruction to that of
// the next one.
__attribute__((noinline)) void paths_counted(void) {
    bench::run_prepared();
    asm volatile("");  // no jump in place of the call
}

__attribute__((noinline)) void paths_over(void) { asm volatile(""); }

}  // extern "C"

int main(int argc, char** argv) {
    if (argc == 1) {
        for (const auto& named : bench::reviewed_loads()) {
            std::printf("%-18.*s %.*s\n", static_cast<int>(named.name.size()), named.name.data(),
                        static_cast<int>(named.meaning.size()), named.meaning.data());
        }
        return EXIT_SUCCESS;
    }
    const auto load = argc == 2 ? bench::load_named(argv[1]) : std::nullopt;
    if (!load) {
        std::fprintf(stderr, "paths_count: no such load; without an argument it lists them\n");
        return 2;
    }
    bench::prepare(*load);
    bench::run_prepared();
    paths_counted();
    paths_over();
    return EXIT_SUCCESS;
}
