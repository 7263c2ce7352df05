// How the core tells what happens (events.h). Everything here is called with the core locked.
#pragma once

#include <optional>
#include <span>

#include "node/core/events.h"
#include "node/core/membership.h"
#include "node/core/state.h"
#include "node/core/trace.h"

namespace mcore {

struct Packet;

// Whether somebody watches: the one thing that is looked at when nobody does.
inline constinit bool events_are_watched = false;

void tell(const Place& place, Happening what);

// Tells what make gives; it is not made up while nobody watches.
template <class Make>
void tell_event(const Place& place, const Make& make) {
    if (events_are_watched) tell(place, make());
}

// What a packet says whose message is whole as far as its kind goes.
[[nodiscard]] Message message_of(const Packet& packet);

// A packet as the core sends it.
[[nodiscard]] Message sent_message_of(const Place& place, std::span<const std::uint8_t> packet);

// A membership may want something else than before, or is new.
void tell_membership(const GroupKey& key, const Group& group);
void tell_end(const GroupKey& key, EndReason why);

// Of one family, or all there is: it ends without a trace.
void tell_all_ends(std::optional<Family> family);

}  // namespace mcore
