// The hosts of a group: what a record makes of each, what all want together, and in which order
// they age. Each change costs what it changes: nothing here walks over the other hosts or sources.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "node/core/membership.h"
#include "node/core/state.h"

namespace mcore {

// Where the wants of a group's hosts are counted.
struct Books {
    Group& group;
    Port& port;
    Upstream* upstream;  // null but in proxy mode
};

[[nodiscard]] Books books_of(const GroupKey& key, Group& group);

// Whether a host that does not hold the group would hold it then.
[[nodiscard]] bool joins(const Record& record);

// IS_EX and TO_EX.
[[nodiscard]] bool excludes(const Record& record);

// Why a join is refused altogether, for want of room; nothing when there is some. The group is null
// when this is its first join.
[[nodiscard]] std::optional<Drop> refuse_for_room(const Port& port, const Group* group,
                                                  const Reporter& from, const Record& record);

// Whether a join could be refused for what questions hold.
[[nodiscard]] bool is_nearly_full(const Books& books);

// What a host gave up and nobody known wants besides: the group, of which it wanted all but these
// sources, or these sources.
struct Departure {
    bool is_of_group = false;
    std::vector<Address> sources;  // sorted
    std::uint8_t version = 0;      // of the host

    [[nodiscard]] bool gives_up() const { return is_of_group || !sources.empty(); }
};

struct Applied {
    std::optional<Drop> refused;
    Departure departure;
};

// A host's record, which may be its first one if it joins. Some of the sources can be too many:
// they are passed over, and why comes back. The host may hold nothing any more, and is not known
// then.
[[nodiscard]] Applied apply_record(const Books& books, const Reporter& from, const Record& record);

// Counts what a question of the group holds, or with -1 what it holds no more.
void count_question(const Books& books, const Question& question, std::int32_t sign);

// Of the hosts alone, without questions.
[[nodiscard]] std::int32_t known_excluding(const Group& group);
[[nodiscard]] bool is_unwanted(const Group& group, const Address& source);
[[nodiscard]] bool is_known(const Group& group, std::uint8_t version);

// Takes out what was heard so long ago that is_aged says so.
template <class IsAged>
void age_hosts(const Books& books, const IsAged& is_aged);

// Takes out what was not heard of after that time: the source, with every host that names it, or
// without one (all 0) the hosts in exclude mode.
void end_unheard_pieces(const Books& books, const Address& source, std::uint64_t since_us);

// The group goes away.
void close_books(const Books& books);

// ---- Pieces of the template ----

void end_oldest_piece(const Books& books);

template <class IsAged>
void age_hosts(const Books& books, const IsAged& is_aged) {
    const Pieces& pieces = books.group.pieces;
    while (!pieces.empty() && is_aged(pieces.front().heard_us)) end_oldest_piece(books);
}

}  // namespace mcore
