// What several hosts want together (RFC 3376, 3.2), kept as counts: a change of one host costs what
// the change says, however many others there are.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>

#include "node/core/multicast_core.h"

namespace mcore {

// How many hosts name a source, or how many more.
struct Votes {
    std::int32_t including = 0;
    std::int32_t excluding = 0;

    bool operator==(const Votes&) const = default;
};

constexpr std::size_t kVersions = 4;  // 1 to 3; there is no 0

struct Tally {
    std::int32_t excluding = 0;                        // hosts in exclude mode
    std::array<std::int32_t, kVersions> of_version{};  // hosts
    std::map<Address, Votes> sources;                  // named by a host at least
};

[[nodiscard]] Votes votes_for(const Tally& tally, const Address& source);

void add_votes(Tally& tally, const Address& source, const Votes& more);

// Sources that all hosts in exclude mode exclude and none includes; without such hosts those that
// one includes. Walks over all sources.
[[nodiscard]] Filter filter_of(const Tally& tally);

[[nodiscard]] std::uint8_t oldest_version(const Tally& tally);

}  // namespace mcore
