// The answers to a router's queries, each at a random time within the response time asked for.
//
// With records (RFC 3376, 5.2; RFC 3810, 6.2), a timer for each VLAN and one for each group asked
// for:
//
//   a query, with a delay drawn            what happens
//   an answer to a general one is due      nothing: that answer says it all
//   before
//   general                                the one answer to general ones is due then
//   of a group with no answer due          an answer is due then, about the sources asked for
//   of a group with one due                due at the earlier time; about the sources of both, or
//                                          about all of the group if either asked for it
//
// Without records, a timer for each group, which a query draws anew unless it ends within the
// response time (RFC 2236, 3; RFC 2710, 4). Reports of other hosts suppress none: on the
// point-to-point uplink of an optical network unit no other host is heard, and the network's router
// wants to know each unit that has members (RFC 3376, A.2).
#pragma once

#include "node/core/router_version.h"
#include "node/core/state.h"

namespace mcore {

void answer_query(const RouterQuery& query);

void forget_answers(const RouterLink& link);

// When the next answer about a group is due; nothing when none is.
[[nodiscard]] std::optional<std::uint64_t> next_answer(const UpstreamKey& key);

}  // namespace mcore
