// What the words for the bounds of the core mean; both sub-commands take them.
#pragma once

#include <cstdint>
#include <string>

#include "node/core/multicast_core.h"

namespace node {

// The options as they stand on the command line, empty for the default.
struct BoundWords {
    std::string sources;
    std::string group_sources;
    std::string hosts;
    std::string groups;
    std::string addresses;
    std::string ranges;
};

// The value of each of them. Throws UsageError.
[[nodiscard]] std::uint32_t parse_bound(const std::string& text);

// Throws UsageError.
[[nodiscard]] mcore::Bounds meaning_of(const BoundWords& words);

}  // namespace node
