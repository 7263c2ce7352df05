#include "node/core/upstream.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

#include "node/core/host_reports.h"
#include "node/core/router_version.h"

namespace mcore {
namespace {

// What all hosts want, made up anew.
Filter wanted(const Upstream& upstream) {
    const std::int32_t excluding = upstream.tally.excluding;
    if (excluding == 0) return filter_of(upstream.tally);
    Filter filter{true, {}};
    const auto from = upstream.unwanted.lower_bound({excluding, Address{}});
    for (auto at = from; at != upstream.unwanted.end() && at->first == excluding; ++at) {
        filter.sources.push_back(at->second);
    }
    return filter;
}

bool is_listed(const Upstream& upstream, const Address& source) {
    const Votes votes = votes_for(upstream.tally, source);
    if (!upstream.reported.exclude) return votes.including > 0;
    return votes.including == 0 && votes.excluding == upstream.tally.excluding;
}

// The filter's mode may be another one, or other sources count as excluded by all.
Filter make_up_anew(Upstream& upstream) {
    Filter before = std::exchange(upstream.reported, wanted(upstream));
    upstream.is_reported = true;
    upstream.excluding = upstream.tally.excluding;
    upstream.changed.clear();
    return before;
}

void report_anew(const UpstreamKey& key, Upstream& upstream) {
    const Standing standing = upstream.is_reported ? Standing::kKnown : Standing::kNew;
    const Filter before = make_up_anew(upstream);
    report_change(key, change_between(before, upstream.reported), standing);
}

// Takes off the list which of the sources are on it, and puts the others there.
void toggle(std::vector<Address>& listed, const std::vector<Address>& sources) {
    if (sources.size() == 1) {  // which is common, and needs no second list
        const auto at = std::ranges::lower_bound(listed, sources.front());
        if (at != listed.end() && *at == sources.front()) {
            listed.erase(at);
        } else {
            listed.insert(at, sources.front());
        }
        return;
    }
    std::vector<Address> toggled;
    std::ranges::set_symmetric_difference(listed, sources, std::back_inserter(toggled));
    listed = std::move(toggled);
}

// Nothing but votes for sources can have changed.
FilterChange update_sources(Upstream& upstream) {
    FilterChange change{false, std::exchange(upstream.changed, {})};
    std::vector<Address>& changed = change.sources;
    std::ranges::sort(changed);
    changed.erase(std::unique(changed.begin(), changed.end()), changed.end());
    std::vector<Address>& listed = upstream.reported.sources;
    std::erase_if(changed, [&](const Address& source) {
        return std::ranges::binary_search(listed, source) == is_listed(upstream, source);
    });
    if (!changed.empty()) toggle(listed, changed);
    return change;
}

void report_end(const UpstreamKey& key) {
    const Upstream upstream = std::move(core().upstream.extract(key).mapped());
    if (upstream.is_reported) {
        report_change(key, change_between(upstream.reported, {}), Standing::kGone);
    }
}

}  // namespace

Upstream* find_upstream(const UpstreamKey& key) {
    const auto found = core().upstream.find(key);
    return found == core().upstream.end() ? nullptr : &found->second;
}

void add_votes(Upstream& upstream, const Address& source, const Votes& more) {
    const Votes before = votes_for(upstream.tally, source);
    add_votes(upstream.tally, source, more);
    const Votes after = votes_for(upstream.tally, source);
    const auto is_unwanted = [](const Votes& v) { return v.including == 0 && v.excluding > 0; };
    if (is_unwanted(before)) upstream.unwanted.erase({before.excluding, source});
    if (is_unwanted(after)) upstream.unwanted.insert({after.excluding, source});
    upstream.changed.push_back(source);
}

void add_tally(Upstream& upstream, const Tally& tally, std::int32_t sign) {
    upstream.tally.excluding += sign * tally.excluding;
    for (const auto& [source, votes] : tally.sources) {
        add_votes(upstream, source, {sign * votes.including, sign * votes.excluding});
    }
}

void upstream_joined(const GroupKey& key) {
    if (is_proxy(key.family)) ++core().upstream[upstream_key(key)].members;
}

void upstream_left(const GroupKey& key) {
    Upstream* const upstream = find_upstream(upstream_key(key));
    if (upstream != nullptr) --upstream->members;
}

void upstream_changed(const GroupKey& key) {
    const UpstreamKey place = upstream_key(key);
    Upstream* const upstream = find_upstream(place);
    if (upstream == nullptr) return;
    if (upstream->members == 0) {
        report_end(place);
    } else if (!upstream->is_reported || upstream->excluding != upstream->tally.excluding) {
        report_anew(place, *upstream);
    } else {
        report_change(place, update_sources(*upstream), Standing::kKnown);
    }
}

void start_upstream(Family family) {
    std::set<RouterLink> links;
    for (const auto& [key, group] : core().groups) {
        if (key.family != family) continue;
        upstream_joined(key);
        add_tally(*find_upstream(upstream_key(key)), group.tally, 1);
        links.insert({family, key.vlan});
    }
    for (auto& [key, upstream] : core().upstream) {
        if (key.link.family != family) continue;
        make_up_anew(upstream);
        note_new_group(key);
    }
    for (const RouterLink& link : links) report_noted(link);
}

void stop_upstream(Family family) {
    forget_routers(family);
    std::erase_if(core().upstream,
                  [family](const auto& one) { return one.first.link.family == family; });
}

}  // namespace mcore
