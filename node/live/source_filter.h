// Source filters of one group and port, as the switch can have them.
#pragma once

#include <vector>

#include "node/core/multicast_core.h"

namespace live {

// What both want together (RFC 3376, 3.2).
[[nodiscard]] mcore::Filter merge(const mcore::Filter& one, const mcore::Filter& other);

// Those of the sources that the filter does not list.
[[nodiscard]] std::vector<mcore::Address> not_listed(const std::vector<mcore::Address>& sources,
                                                     const mcore::Filter& filter);

// Without sources that no datagram can come from and that the kernel refuses, and as a filter that
// wants all if the kernel does not take what is left.
[[nodiscard]] mcore::Filter acceptable(mcore::Family family, mcore::Filter filter);

}  // namespace live
