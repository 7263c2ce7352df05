// The reports of changes (RFC 3376, 5.1; RFC 3810, 6.1): at once, and for fear of losses again,
// until each change was reported as often as the robustness says.
//
//   what changes                     what is reported so often, in a version with records
//   the filter mode                  TO_IN or TO_EX, with the sources as they then are; takes the
//                                    place of what was pending for sources
//   sources, the mode staying        each one as ALLOW or BLOCK, by what holds when it is said;
//                                    within TO_IN or TO_EX while the mode is still to be repeated
//
// Without records a first member is a report, repeated likewise (RFC 2236, 3; RFC 2710, 4). The
// last member is one leave or done, which no RFC repeats. Changes of the filter cannot be told.
//
// A new change is told at once, and with it what is pending of the same group. What is pending of
// all groups of a VLAN is repeated together, which takes the fewest packets: at random intervals
// within the Unsolicited Report Interval, 1 second in all versions (RFC 3376, 8.11).
#pragma once

#include <cstdint>
#include <vector>

#include "node/core/state.h"

namespace mcore {

struct FilterChange {
    bool mode = false;
    std::vector<Address> sources;  // sorted; listed anew or no more, if the mode is the same
};

[[nodiscard]] FilterChange change_between(const Filter& from, const Filter& to);

enum class Standing : std::uint8_t {
    kNew,    // first member
    kKnown,  // no more than the filter has changed
    kGone,   // last member
};

// Says and repeats that Upstream::reported has changed; without an Upstream, nothing is wanted now.
void report_change(const UpstreamKey& key, const FilterChange& change, Standing standing);
// The same of a group that is new, among many: the first report is due with that of the others.
void note_new_group(const UpstreamKey& key);
void report_noted(const RouterLink& link);

void forget_changes(const RouterLink& link);

// How often the last change of a group is still to be repeated.
[[nodiscard]] std::uint8_t reports_left(const ChangeToRepeat& change);

}  // namespace mcore
