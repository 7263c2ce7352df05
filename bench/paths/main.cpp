// paths_bench: how long a frame takes through the library, and a command through its queue. The
// options are Google Benchmark's.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>

#include "bench/paths/own_ipc.h"
#include "bench/paths/paths_bench.h"

int main(int argc, char** argv) {
    constexpr int kWrongArguments = 2;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return kWrongArguments;
    if (!bench::enter_own_ipc()) {
        std::perror("paths_bench: this needs an IPC namespace of its own");
        return EXIT_FAILURE;
    }
    bench::register_frames();
    bench::register_commands();
    benchmark::RunSpecifiedBenchmarks();
    return EXIT_SUCCESS;
}
