#include "node/core/host_reports.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

#include "node/core/chance.h"
#include "node/core/report_message.h"
#include "node/core/router_version.h"
#include "node/core/upstream.h"

namespace mcore {
namespace {

constexpr std::uint64_t kUnsolicitedReportInterval = kSecond;

using Changes = std::map<UpstreamKey, ChangeToRepeat>;

bool is_told(const ChangeToRepeat& change) {
    return change.filter_mode == 0 && change.sources.empty();
}

// ---- What is pending ----------------------------------------------------------------------------

// Sources that are pending already are counted anew.
void note_sources(ChangeToRepeat& pending, const std::vector<Address>& sources,
                  std::uint8_t times) {
    std::vector<SourceToRepeat> merged;
    merged.reserve(pending.sources.size() + sources.size());
    auto old = pending.sources.begin();
    for (const Address& source : sources) {
        for (; old != pending.sources.end() && old->source < source; ++old) merged.push_back(*old);
        if (old != pending.sources.end() && old->source == source) ++old;
        merged.push_back({source, times});
    }
    merged.insert(merged.end(), old, pending.sources.end());
    pending.sources = std::move(merged);
}

void note_change(ChangeToRepeat& pending, const FilterChange& change, std::uint8_t times) {
    if (change.mode) {
        pending.filter_mode = times;
        pending.sources.clear();
    } else {
        note_sources(pending, change.sources, times);
    }
}

void count_as_told(ChangeToRepeat& pending) {
    if (pending.filter_mode > 0) --pending.filter_mode;
    for (SourceToRepeat& source : pending.sources) --source.times;
    std::erase_if(pending.sources, [](const SourceToRepeat& one) { return one.times == 0; });
}

// ---- Records ------------------------------------------------------------------------------------

// What holds now; nothing is wanted of a group that is gone.
const Filter& reported(const UpstreamKey& key) {
    static const Filter nothing{};
    const Upstream* const upstream = find_upstream(key);
    return upstream == nullptr ? nothing : upstream->reported;
}

void append_records(const UpstreamKey& key, const ChangeToRepeat& pending,
                    std::vector<Record>& records) {
    const Filter& filter = reported(key);
    if (pending.filter_mode > 0) {
        const auto type = filter.exclude ? RecordType::kToExclude : RecordType::kToInclude;
        records.push_back({type, key.group, filter.sources});
        return;
    }
    Record allowed{RecordType::kAllowSources, key.group, {}};
    Record blocked{RecordType::kBlockSources, key.group, {}};
    for (const SourceToRepeat& one : pending.sources) {
        const bool is_listed = std::ranges::binary_search(filter.sources, one.source);
        (is_listed != filter.exclude ? allowed : blocked).sources.push_back(one.source);
    }
    if (!allowed.sources.empty()) records.push_back(std::move(allowed));
    if (!blocked.sources.empty()) records.push_back(std::move(blocked));
}

// ---- Telling ------------------------------------------------------------------------------------

// Tells what is pending of a group once, as a message or as records to be sent.
void tell(const UpstreamKey& key, ChangeToRepeat& pending, std::vector<Record>& records) {
    if (speaks_records(key.link)) {
        append_records(key, pending, records);
    } else {
        send_report(key, host_version(key.link));
    }
    count_as_told(pending);
}

void repeat_later(const RouterLink& link) {
    auto& timer = core().routers[link].repeat_timer;
    if (timer) return;
    timer = core().timers.start(
        core().now_us + random_delay(kUnsolicitedReportInterval),
        {"repeated reports", [link] { return "VLAN " + std::to_string(link.vlan); },
         [link] {
             core().routers[link].repeat_timer.reset();
             report_noted(link);
         }});
}

void tell_at_once(Changes::iterator found) {
    const RouterLink link = found->first.link;
    std::vector<Record> records;
    tell(found->first, found->second, records);
    if (is_told(found->second)) {
        core().changes_to_repeat.erase(found);
    } else {
        repeat_later(link);
    }
    send_records(link, records);
}

}  // namespace

FilterChange change_between(const Filter& from, const Filter& to) {
    FilterChange change{from.exclude != to.exclude, {}};
    if (change.mode) return change;
    std::ranges::set_symmetric_difference(from.sources, to.sources,
                                          std::back_inserter(change.sources));
    return change;
}

void report_change(const UpstreamKey& key, const FilterChange& change, Standing standing) {
    Changes& changes = core().changes_to_repeat;
    if (speaks_records(key.link)) {
        if (!change.mode && change.sources.empty()) return;
        const auto found = changes.try_emplace(key).first;
        note_change(found->second, change, host_robustness(key.link));
        tell_at_once(found);
    } else if (standing == Standing::kNew) {
        note_new_group(key);
        tell_at_once(changes.find(key));
    } else if (standing == Standing::kGone) {
        changes.erase(key);
        send_leave(key, host_version(key.link));
    }
}

void note_new_group(const UpstreamKey& key) {
    FilterChange change{true, {}};
    if (speaks_records(key.link)) change = change_between({}, reported(key));
    note_change(core().changes_to_repeat[key], change, host_robustness(key.link));
}

void report_noted(const RouterLink& link) {
    Changes& changes = core().changes_to_repeat;
    std::vector<Record> records;
    bool is_all_told = true;
    for (auto at = changes.lower_bound({link, {}});
         at != changes.end() && at->first.link == link;) {
        tell(at->first, at->second, records);
        if (is_told(at->second)) {
            at = changes.erase(at);
        } else {
            is_all_told = false;
            ++at;
        }
    }
    send_records(link, records);
    if (!is_all_told) repeat_later(link);
}

void forget_changes(const RouterLink& link) {
    core().timers.stop(core().routers[link].repeat_timer);
    Changes& changes = core().changes_to_repeat;
    for (auto at = changes.lower_bound({link, {}});
         at != changes.end() && at->first.link == link;) {
        at = changes.erase(at);
    }
}

std::uint8_t reports_left(const ChangeToRepeat& change) {
    std::uint8_t most = change.filter_mode;
    for (const SourceToRepeat& source : change.sources) most = std::max(most, source.times);
    return most;
}

}  // namespace mcore
