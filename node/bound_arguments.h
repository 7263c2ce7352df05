// What the words for the bounds of the core mean; both sub-commands take them.
#pragma once

#include <array>
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

// Which option, without its dashes, is for which bound.
struct BoundOption {
    const char* name;
    std::string BoundWords::*word;
    std::uint32_t mcore::Bounds::*bound;
};

inline constexpr std::array<BoundOption, 6> kBoundOptions{{
    {"most-sources", &BoundWords::sources, &mcore::Bounds::sources_per_host},
    {"most-group-sources", &BoundWords::group_sources, &mcore::Bounds::sources_per_group},
    {"most-hosts", &BoundWords::hosts, &mcore::Bounds::hosts_per_group},
    {"most-groups", &BoundWords::groups, &mcore::Bounds::groups_per_port},
    {"most-addresses", &BoundWords::addresses, &mcore::Bounds::addresses_per_port},
    {"most-ranges", &BoundWords::ranges, &mcore::Bounds::control_list_ranges},
}};

// The default of such an option; empty for another name.
[[nodiscard]] std::string fresh_bound(const std::string& name);

// The value of each of them. Throws UsageError.
[[nodiscard]] std::uint32_t parse_bound(const std::string& text);

// Throws UsageError.
[[nodiscard]] mcore::Bounds meaning_of(const BoundWords& words);

}  // namespace node
