// The record of what a node has found on its bridge, as text for people and for the next node:
//
//     # What mc_node found on br0 ...
//     boot 0d4a6a2c-8f4e-4a07-9a39-4a2b0c1a4f4e
//     netns 4026531840 1
//     bridge br0 12
//     mcast_snooping 1                  and the other settings of a bridge
//     port eth1 5 mcast_router 1        a line for each port, the number is its index
//
// The beginning says of which bridge it is. The numbers of a network namespace are its inode, which
// another one has after it, and its cookie, which no other ever has before the next boot.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "node/live/originals.h"

namespace live {

struct Place {
    std::string boot;
    std::uint64_t netns = 0;
    std::uint64_t netns_cookie = 0;  // 0 on kernels that have none
    std::string bridge;

    bool operator==(const Place&) const = default;
};

struct Record {
    Place place;
    Originals originals;

    bool operator==(const Record&) const = default;
};

[[nodiscard]] std::string text_of(const Record& record);

// Nothing when it is no such text, whole and without anything else in it.
[[nodiscard]] std::optional<Record> parse_record(const std::string& text);

}  // namespace live
