// The core's own queries. General queries go to the user ports in proxy mode only: in snooping and
// control mode the network's querier serves the hosts, and the library forwards its queries.
// Group queries after a leave (group_query.h) are sent in every mode.
#pragma once

#include <cstdint>

#include "node/core/state.h"

namespace devcore {

// Asks at once and from then on every query interval.
void start_general_queries();
void stop_general_queries();
// The interval has changed: it counts from now.
void restart_general_queries();

}  // namespace devcore
