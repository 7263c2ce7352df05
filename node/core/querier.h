// When the core asks.
//
// In proxy mode it is the querier of the user ports, unless another router asks there: general
// queries, a burst of them at first (startup query count and interval, RFC 3376, 8.6 and 8.7;
// RFC 3810, 9.6 and 9.7), and then one every query interval. In snooping and control mode the
// network's querier serves the hosts, and the library forwards its queries; the core asks once
// when the node starts, as the switch has just lost its entries, and when a link has come up
// (RFC 4541, 2.1.1). Queries about a group (group_query.h) are sent in every mode.
#pragma once

#include <cstdint>

#include "node/core/state.h"
#include "node/core/trace.h"

namespace mcore {

// A user port has been declared: it is asked once the clock is moved, when the node is ready.
void ask_at_startup(Family family);
// The same for a link that has come up, at once.
void ask_port(const Port& port);

// The node becomes the querier, or is it no more.
void start_general_queries(Family family);
void stop_general_queries(Family family);
// The interval has changed: it counts from now.
void restart_general_queries();
// What the queries say has changed: the hosts are to know at once.
void repeat_general_query(Family family);
// The other querier of a segment has gone.
void take_over(const Place& segment);

}  // namespace mcore
