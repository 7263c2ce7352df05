// The filter that an entry of the switch is to have (watch_filters in multicast_core.h). It is made
// up when votes have changed, and only of so many sources as the switch takes: a report costs no
// walk over the others.
#pragma once

#include "node/core/membership.h"
#include "node/core/state.h"

namespace mcore {

// What a membership that begins with the record is going to want.
[[nodiscard]] Filter first_filter(const Record& record);

// Tells what the membership wants now, if that is something else than before.
void tell_filter(const GroupKey& key, Group& group);

[[nodiscard]] EntryOwner owner_of(const GroupKey& key, const Filter& filter);

}  // namespace mcore
