// Where another router asks behind a user port, its queries about a group or its sources end what
// nobody answers for within the last member query time, as its own timers do (RFC 3376, 6.6.1;
// RFC 3810, 7.6.1). A query with the S flag lowers none. Queries of the node itself need none of
// this: last_members.h knows what they are about.
#pragma once

#include "node/core/router_query.h"
#include "node/core/trace.h"

namespace mcore {

void lower_timers(const Place& place, const RouterQuery& query);

}  // namespace mcore
