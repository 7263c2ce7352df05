#include "node/core/host_answers.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

#include "node/core/chance.h"
#include "node/core/report_message.h"
#include "node/core/router_query.h"
#include "node/core/router_version.h"
#include "node/core/upstream.h"

namespace mcore {
namespace {

// More sources than that, of several queries, are answered as if all of the group were asked for.
constexpr std::size_t kMostSourcesAsked = 512;

template <class Each>
void for_groups_of(const RouterLink& link, const Each& each) {
    const auto& all = core().upstream;
    for (auto at = all.lower_bound({link, {}}); at != all.end() && at->first.link == link; ++at) {
        each(at->first, at->second);
    }
}

std::string about(const UpstreamKey& key) {
    return text(key.link.family, key.group) + " in VLAN " + std::to_string(key.link.vlan);
}

// ---- Answers ------------------------------------------------------------------------------------

// What holds of a group, or of the sources asked for.
Record current_state(const Address& group, const Filter& filter,
                     const std::vector<Address>& asked) {
    if (asked.empty()) {
        const auto type = filter.exclude ? RecordType::kIsExclude : RecordType::kIsInclude;
        return {type, group, filter.sources};
    }
    Record record{RecordType::kIsInclude, group, {}};
    for (const Address& source : asked) {
        const bool is_listed = std::ranges::binary_search(filter.sources, source);
        if (is_listed != filter.exclude) record.sources.push_back(source);
    }
    return record;
}

bool says_something(const Record& record) {
    return record.type == RecordType::kIsExclude || !record.sources.empty();
}

void send_general_answer(const RouterLink& link) {
    core().routers[link].answer_timer.reset();
    std::vector<Record> records;
    for_groups_of(link, [&records](const UpstreamKey& key, const Upstream& upstream) {
        Record record = current_state(key.group, upstream.reported, {});
        if (says_something(record)) records.push_back(std::move(record));
    });
    send_records(link, records);
}

void send_group_answer(const UpstreamKey& key) {
    const auto answer = core().answers_due.extract(key);
    const Upstream* const upstream = find_upstream(key);
    if (upstream == nullptr) return;
    if (!speaks_records(key.link)) {
        send_report(key, host_version(key.link));
        return;
    }
    const Record record = current_state(key.group, upstream->reported, answer.mapped().sources);
    if (says_something(record)) send_records(key.link, {record});
}

// ---- When ---------------------------------------------------------------------------------------

void set_timer(const UpstreamKey& key, AnswerDue& answer, std::uint64_t due_us) {
    core().timers.stop(answer.timer);
    answer.timer = core().timers.start(due_us, {"answer upstream", [key] { return about(key); },
                                                [key] { send_group_answer(key); }});
}

void answer_all_at(const RouterLink& link, std::uint64_t due_us) {
    auto& timer = core().routers[link].answer_timer;
    core().timers.stop(timer);
    timer = core().timers.start(
        due_us,
        {"answer upstream", [link] { return "all groups in VLAN " + std::to_string(link.vlan); },
         [link] { send_general_answer(link); }});
}

void add_sources(std::vector<Address>& asked, const std::vector<Address>& more) {
    asked.insert(asked.end(), more.begin(), more.end());
    std::ranges::sort(asked);
    asked.erase(std::unique(asked.begin(), asked.end()), asked.end());
    if (asked.size() > kMostSourcesAsked) asked.clear();
}

void answer_group_at(const RouterQuery& query, std::uint64_t due_us) {
    const UpstreamKey key{query.link, query.group};
    if (find_upstream(key) == nullptr) return;
    const auto [found, is_first] = core().answers_due.try_emplace(key);
    AnswerDue& answer = found->second;
    const bool is_about_all = query.sources.empty() || (!is_first && answer.sources.empty());
    if (is_about_all) {
        answer.sources.clear();
    } else {
        add_sources(answer.sources, query.sources);
    }
    if (is_first || due_us < answer.timer->first) set_timer(key, answer, due_us);
}

void answer_with_report(const UpstreamKey& key, std::uint64_t response_us) {
    AnswerDue& answer = core().answers_due[key];
    const std::uint64_t latest = core().now_us + response_us;
    if (answer.timer && answer.timer->first <= latest) return;
    set_timer(key, answer, core().now_us + random_delay(response_us));
}

void answer_with_reports(const RouterQuery& query) {
    const UpstreamKey asked{query.link, query.group};
    if (query.is_general()) {
        for_groups_of(query.link, [&query](const UpstreamKey& key, const Upstream&) {
            answer_with_report(key, query.response_us);
        });
    } else if (find_upstream(asked) != nullptr) {
        answer_with_report(asked, query.response_us);
    }
}

}  // namespace

void answer_query(const RouterQuery& query) {
    if (!speaks_records(query.link)) {
        answer_with_reports(query);
        return;
    }
    const std::uint64_t due_us = core().now_us + random_delay(query.response_us);
    const auto& general = core().routers[query.link].answer_timer;
    if (general && general->first <= due_us) return;
    if (query.is_general()) {
        answer_all_at(query.link, due_us);
    } else {
        answer_group_at(query, due_us);
    }
}

void forget_answers(const RouterLink& link) {
    Core& state = core();
    state.timers.stop(state.routers[link].answer_timer);
    auto& due = state.answers_due;
    for (auto at = due.lower_bound({link, {}}); at != due.end() && at->first.link == link;) {
        state.timers.stop(at->second.timer);
        at = due.erase(at);
    }
}

std::optional<std::uint64_t> next_answer(const UpstreamKey& key) {
    std::optional<std::uint64_t> next;
    const auto router = core().routers.find(key.link);
    if (router != core().routers.end() && router->second.answer_timer) {
        next = router->second.answer_timer->first;
    }
    const auto answer = core().answers_due.find(key);
    if (answer != core().answers_due.end() && (!next || answer->second.timer->first < *next)) {
        next = answer->second.timer->first;
    }
    return next;
}

}  // namespace mcore
