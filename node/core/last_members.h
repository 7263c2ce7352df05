// Who is asked before a group or a source ends that a host has given up: the last member queries
// (RFC 3376, 6.4.2 and 6.6.3; RFC 3810, 7.4.2 and 7.6.3).
//
//   the last known host in exclude mode gives it up     a question about the group
//   nobody known wants a source any more                a question about the source
//
// Last member query count times, last member query interval apart, the first time at once. Until
// the last of these intervals is over what was given up is held as if a host wanted it. An answer
// needs no look at the questions: it makes a host known. Only the queries that follow then have the
// S flag, and those of an older version, which has none, end.
//
// The sources of a question count as addresses until it is over, answered or not, and there is none
// where they have no room: what is given up then ends at once, as with fast leave.
#pragma once

#include <cstdint>
#include <optional>

#include "node/core/hosts.h"

namespace mcore {

// A departure that gives something up.
void ask_last_members(const GroupKey& key, Group& group, Departure departure);

// When the last question of a group is over; it must have one.
[[nodiscard]] std::uint64_t last_answer_due(const Group& group);

// Ends all questions, and what they hold, at once.
void forget_questions(const Books& books);

// Stops the timers of a group that goes away.
void stop_questions(Group& group);

}  // namespace mcore
