// The addresses that the core's own messages leave from.
#pragma once

#include "node/core/multicast_core.h"

namespace mcore {

// Of MLD messages: the one that was set, else one made of the proxy address, which tells nodes
// apart as long as each has one of its own.
[[nodiscard]] Address mld_source();

// Of a querier's queries, which elections go by.
[[nodiscard]] Address querier_address(Family family);

}  // namespace mcore
