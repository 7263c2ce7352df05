// The groups upstream, as others see them.
#include <utility>

#include "node/core/host_answers.h"
#include "node/core/host_reports.h"
#include "node/core/multicast_core.h"
#include "node/core/router_version.h"
#include "node/core/state.h"
#include "node/core/upstream.h"

namespace mcore {
namespace {

UpstreamGroup row_of(const UpstreamKey& key, const Filter& filter) {
    UpstreamGroup row;
    row.family = key.link.family;
    row.vlan = key.link.vlan;
    row.group = key.group;
    row.exclude = filter.exclude;
    row.sources = filter.sources;
    row.version = host_version(key.link);
    const auto change = core().changes_to_repeat.find(key);
    if (change != core().changes_to_repeat.end()) row.reports_left = reports_left(change->second);
    return row;
}

}  // namespace

std::vector<UpstreamGroup> upstream_groups() {
    const Lock lock;
    std::map<UpstreamKey, UpstreamGroup> rows;
    for (const auto& [key, upstream] : core().upstream) {
        UpstreamGroup row = row_of(key, upstream.reported);
        row.answers = next_answer(key);
        rows.emplace(key, std::move(row));
    }
    for (const auto& [key, change] : core().changes_to_repeat) {
        if (find_upstream(key) == nullptr) rows.emplace(key, row_of(key, {}));
    }
    std::vector<UpstreamGroup> all;
    all.reserve(rows.size());
    for (auto& [key, row] : rows) all.push_back(std::move(row));
    return all;
}

}  // namespace mcore
