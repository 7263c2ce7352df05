#include "node/core/entry_filter.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "node/core/hosts.h"

namespace mcore {
namespace {

// Not part of the core: it stays when the core begins anew.
struct FilterWatch {
    std::size_t most_sources = 0;
    std::function<void(const EntryOwner&)> changed;
};

FilterWatch& watch() {
    static FilterWatch* const the_watch = new FilterWatch;
    return *the_watch;
}

bool is_told(std::size_t sources) { return watch().changed && sources <= watch().most_sources; }

// In include mode all sources that are named are wanted. In exclude mode there may be fewer that
// nobody wants than are named; to let these pass too is the lesser evil.
Filter make_up(const Tally& tally) {
    return is_told(tally.sources.size()) ? filter_of(tally) : Filter{true, {}};
}

}  // namespace

Filter first_filter(const Record& record) {
    if (!is_told(record.sources.size())) return {true, {}};
    Filter filter{excludes(record), record.sources};
    std::ranges::sort(filter.sources);
    filter.sources.erase(std::unique(filter.sources.begin(), filter.sources.end()),
                         filter.sources.end());
    return filter;
}

void tell_filter(const GroupKey& key, Group& group) {
    if (!std::exchange(group.wants_changed, false)) return;
    Filter filter = make_up(group.tally);
    if (filter == group.filter) return;
    group.filter = std::move(filter);
    if (group.programmed && watch().changed) watch().changed(owner_of(key, group.filter));
}

EntryOwner owner_of(const GroupKey& key, const Filter& filter) {
    return {key.port, key.vlan, key.family, key.group, filter};
}

void watch_filters(std::size_t most_sources, std::function<void(const EntryOwner&)> changed) {
    const Lock lock;
    watch() = {most_sources, std::move(changed)};
    for (auto& [key, group] : core().groups) {
        group.wants_changed = true;
        tell_filter(key, group);
    }
}

}  // namespace mcore
