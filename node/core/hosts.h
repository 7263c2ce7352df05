// The hosts of a group: what a record makes of each, what all want together, and in which order
// they age. Each change costs what it changes: nothing here walks over the other hosts or sources.
#pragma once

#include <cstdint>
#include <optional>

#include "node/core/membership.h"
#include "node/core/state.h"

namespace devcore {

// Where the wants of a group's hosts are counted.
struct Books {
    Group& group;
    Port& port;
    Upstream* upstream;  // null but in proxy mode
};

[[nodiscard]] Books books_of(const GroupKey& key, Group& group);

// Whether a host that does not hold the group would hold it then.
[[nodiscard]] bool joins(const Record& record);

// Why a join is refused altogether, for want of room; nothing when there is some. The group is null
// when this is its first join.
[[nodiscard]] std::optional<Drop> refuse_for_room(const Port& port, const Group* group,
                                                  const Reporter& from, const Record& record);

// A host's record, which may be its first one if it joins. Some of the sources can be too many:
// they are passed over, and why comes back. The host may hold nothing any more, and is not known
// then; of the last one last_left remembers what it held.
[[nodiscard]] std::optional<Drop> apply_record(const Books& books, const Reporter& from,
                                               const Record& record);

// Takes out what was heard so long ago that is_aged says so.
template <class IsAged>
void age_hosts(const Books& books, const IsAged& is_aged);

// The group goes away.
void close_books(const Books& books);

// ---- Pieces of the template ----

void end_oldest_piece(const Books& books);

template <class IsAged>
void age_hosts(const Books& books, const IsAged& is_aged) {
    const Pieces& pieces = books.group.pieces;
    while (!pieces.empty() && is_aged(pieces.front().heard_us)) end_oldest_piece(books);
}

}  // namespace devcore
