// Every load, by everyone who can do something for it.
#include <benchmark/benchmark.h>

#include <string>

#include "bench/paths/contenders.h"
#include "bench/paths/paths_bench.h"

namespace bench {
namespace {

void time_frames(benchmark::State& state, const Contender& contender, const Load& load) {
    if (!prepare_for(contender, load)) return state.SkipWithError("nothing to do for this load");
    for ([[maybe_unused]] auto _ : state) {
        run_prepared();
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations());
}

}  // namespace

void register_frames() {
    const Contender library = contenders().front();
    benchmark::RegisterBenchmark("nothing", time_frames, library, Load{.way = Way::kNothing});
    for (const auto& named : reviewed_loads()) {
        for (const auto& contender : contenders()) {
            if (!prepare_for(contender, named.load)) continue;
            const std::string name = std::string(named.name) + "/" + std::string(contender.name);
            benchmark::RegisterBenchmark(name.c_str(), time_frames, contender, named.load);
        }
    }
}

}  // namespace bench
