#include "node/live/source_filter.h"

#include <algorithm>
#include <iterator>
#include <tuple>
#include <utility>
#include <vector>

#include "node/live/multicast_database.h"

namespace live {
namespace {

using mcore::Address;
using mcore::Filter;

bool can_send(mcore::Family family, const Address& source) {
    const bool is_ipv4 = family == mcore::Family::kIpv4;
    const bool is_multicast = is_ipv4 ? (source[0] & 0xF0) == 0xE0 : source[0] == 0xFF;
    return !is_multicast && source != Address{};
}

}  // namespace

std::vector<Address> not_listed(const std::vector<Address>& sources, const Filter& filter) {
    std::vector<Address> rest;
    std::ranges::set_difference(sources, filter.sources, std::back_inserter(rest));
    return rest;
}

Filter merge(const Filter& one, const Filter& other) {
    if (one.exclude != other.exclude) {
        const auto& [excluding, including] =
            one.exclude ? std::tie(one, other) : std::tie(other, one);
        return {true, not_listed(excluding.sources, including)};
    }
    Filter both{one.exclude, {}};
    const auto into = std::back_inserter(both.sources);
    if (both.exclude) {
        std::ranges::set_intersection(one.sources, other.sources, into);
    } else {
        std::ranges::set_union(one.sources, other.sources, into);
    }
    return both;
}

Filter acceptable(mcore::Family family, Filter filter) {
    std::erase_if(filter.sources,
                  [family](const Address& source) { return !can_send(family, source); });
    const bool wants_none = !filter.exclude && filter.sources.empty();
    if (wants_none || filter.sources.size() > kMostSources) return {true, {}};
    return filter;
}

}  // namespace live
