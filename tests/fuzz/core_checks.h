// What the multicast core promises about its tables, looked at from beside: everything that it
// keeps as a count or a merge is made up anew from the hosts.
#pragma once

#include <set>

#include "node/core/state.h"

namespace fuzz {

// The switch as the call-backs were told of it.
struct Switch {
    std::set<mcore::GroupKey> entries;
    std::uint64_t added = 0;
    std::uint64_t removed = 0;
    std::uint64_t add_failures = 0;
    std::uint64_t remove_failures = 0;
    bool was_asked = true;  // for each of them: without a call-back the core refuses by itself
};

// Ends the run when something does not hold. No port or group has more than `most` says; the switch
// is null where somebody else answers for it.
void check_core(const Switch* table, const mcore::Bounds& most);

}  // namespace fuzz
