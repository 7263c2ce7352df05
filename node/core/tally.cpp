#include "node/core/tally.h"

namespace mcore {

Votes votes_for(const Tally& tally, const Address& source) {
    const auto found = tally.sources.find(source);
    return found == tally.sources.end() ? Votes{} : found->second;
}

void add_votes(Tally& tally, const Address& source, const Votes& more) {
    const auto found = tally.sources.try_emplace(source).first;
    Votes& votes = found->second;
    votes.including += more.including;
    votes.excluding += more.excluding;
    if (votes == Votes{}) tally.sources.erase(found);
}

Filter filter_of(const Tally& tally) {
    Filter filter{tally.excluding > 0, {}};
    for (const auto& [source, votes] : tally.sources) {
        const bool is_unwanted = votes.including == 0 && votes.excluding == tally.excluding;
        if (filter.exclude ? is_unwanted : votes.including > 0) {
            filter.sources.push_back(source);
        }
    }
    return filter;
}

std::uint8_t oldest_version(const Tally& tally) {
    for (std::size_t version = 1; version < kVersions; ++version) {
        if (tally.of_version[version] > 0) return static_cast<std::uint8_t>(version);
    }
    return UINT8_MAX;
}

}  // namespace mcore
