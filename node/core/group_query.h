// Queries about a group, and about some of its sources (RFC 3376, 4.1; RFC 3810, 5.1).
#pragma once

#include <cstdint>
#include <vector>

#include "node/core/state.h"

namespace mcore {

struct GroupQuery {
    std::uint8_t version;          // of the oldest host that is asked
    bool suppresses = false;       // the S flag: routers do not lower their timers
    std::vector<Address> sources;  // none: about the group
};

// Whether the hosts are asked in a version that names sources and has the flag.
[[nodiscard]] bool asks_in_newest_version(Family family, std::uint8_t version);

// As many packets as the sources need; none where another router is the querier of a proxy's port
// (RFC 3376, 6.6.2).
void send_group_query(const GroupKey& key, const GroupQuery& query);

}  // namespace mcore
