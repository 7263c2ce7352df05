#include "node/core/chance.h"

#include "node/core/multicast_core.h"
#include "node/core/state.h"

namespace mcore {
namespace {

// A counter, scrambled until each of its bits is spread over all of the word.
std::uint64_t next_number() {
    std::uint64_t word = core().chance += 0x9E3779B97F4A7C15;
    word = (word ^ word >> 30) * 0xBF58476D1CE4E5B9;
    word = (word ^ word >> 27) * 0x94D049BB133111EB;
    return word ^ word >> 31;
}

}  // namespace

// Times are so much shorter than the word that no remainder is noticeably likelier than another.
std::uint64_t random_delay(std::uint64_t most_us) {
    return most_us == 0 ? 0 : 1 + next_number() % most_us;
}

void seed_chance(std::uint64_t seed) {
    const Lock lock;
    core().chance = seed;
}

}  // namespace mcore
