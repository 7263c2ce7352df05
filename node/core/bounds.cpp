#include "node/core/bounds.h"

#include <cinttypes>
#include <cstdio>
#include <optional>
#include <string>

namespace mcore {
namespace {

// Not part of the core: they stay when the core begins anew.
Bounds& the_bounds() {
    static Bounds bounds;
    return bounds;
}

std::optional<std::uint32_t> bound_of(Drop reason) {
    switch (reason) {
        case Drop::kSourceBound:
            return bounds().sources_per_host;
        case Drop::kGroupSourceBound:
            return bounds().sources_per_group;
        case Drop::kHostBound:
            return bounds().hosts_per_group;
        case Drop::kGroupBound:
            return bounds().groups_per_port;
        case Drop::kAddressBound:
            return bounds().addresses_per_port;
        case Drop::kControlListBound:
            return bounds().control_list_ranges;
        default:
            return std::nullopt;
    }
}

}  // namespace

const Bounds& bounds() { return the_bounds(); }

void set_bounds(const Bounds& bounds) {
    const Lock lock;
    the_bounds() = bounds;
}

void note_refusal(const Place& place, Drop reason) {
    note_drop(place, reason);
    const auto bound = bound_of(reason);
    Port& port = *find_port(place.port);
    const std::uint64_t bit = std::uint64_t{1} << static_cast<unsigned>(reason);
    if (!bound || (port.bounds_met & bit) != 0) return;
    port.bounds_met |= bit;
    std::printf("port %s: the %s is met (%" PRIu32 "); what is beyond it is refused\n",
                port_text(place.port).c_str(), std::string(name(reason)).c_str(), *bound);
}

}  // namespace mcore
