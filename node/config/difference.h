// From one configuration to another: the commands that change what a node has into what it is to
// have, and nothing else.
//
// Both are lines as running_config.h writes them, of the whole configuration: what the wanted lines
// do not name goes back to what a fresh node has. Commands that allow more come before those that
// allow less, so that a stream that is to stay stays. A rule is taken away where the next wanted
// one cannot follow behind it, on both sides of the library.
//
// What commands do to each other's settings (a rule brings its VLAN to the core's list) is not
// foreseen here: whoever needs to know runs them in a fresh node and asks again.
#pragma once

#include <cstdint>
#include <optional>

#include "node/config/words.h"

namespace config {

struct Change {
    std::optional<std::uint32_t> own_ip;  // what "proxy-address" goes back to
    bool all_rules_anew = false;          // even those that are as they should be
};

[[nodiscard]] Lines difference(const Lines& running, const Lines& wanted, const Change& change);

}  // namespace config
