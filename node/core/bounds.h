// What the core refuses for want of room (Bounds in multicast_core.h).
#pragma once

#include "node/core/state.h"
#include "node/core/trace.h"

namespace mcore {

[[nodiscard]] const Bounds& bounds();

// Counts it as a drop. The first one of a port at a bound is said on the console, whatever is
// switched on there.
void note_refusal(const Place& place, Drop reason);

}  // namespace mcore
