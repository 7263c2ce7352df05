#include "node/core/last_members.h"

#include <algorithm>
#include <string>
#include <utility>

#include "node/core/bounds.h"
#include "node/core/group_query.h"
#include "node/core/membership.h"

namespace mcore {
namespace {

std::uint64_t query_interval_us() { return core().settings.last_member_query_interval * kSecond; }

// Whether a host that is known wants all of it.
bool is_answered(const Group& group, const Question& question) {
    if (question.is_of_group) return known_excluding(group) > 0;
    return std::ranges::none_of(
        question.sources, [&group](const Address& source) { return is_unwanted(group, source); });
}

void send_in_newest_version(const GroupKey& key, const Group& group, const Question& question) {
    const std::uint8_t version = newest_version(key.family);
    if (question.is_of_group) {
        send_group_query(key, {version, is_answered(group, question), {}});
        return;
    }
    GroupQuery answered{version, true, {}};
    GroupQuery unanswered{version, false, {}};
    for (const Address& source : question.sources) {
        (is_unwanted(group, source) ? unanswered : answered).sources.push_back(source);
    }
    if (!answered.sources.empty()) send_group_query(key, answered);
    if (!unanswered.sources.empty()) send_group_query(key, unanswered);
}

void end_question(const GroupKey& key, Group& group, std::list<Question>::iterator question) {
    count_question(books_of(key, group), *question, -1);
    group.last_members->questions.erase(question);
    if (group.last_members->questions.empty()) group.last_members.reset();
    settle(key, group);
}

// The next query, or the end. The group is there as long as its questions are.
void continue_question(const GroupKey& key, Group& group, std::list<Question>::iterator question) {
    question->timer.reset();
    const std::uint8_t version =
        question->is_of_group ? oldest_version(group.tally) : newest_version(key.family);
    const bool names_sources = asks_in_newest_version(key.family, version);
    if (question->queries_left == 0 || (!names_sources && is_answered(group, *question))) {
        end_question(key, group, question);
        return;
    }
    --question->queries_left;
    question->timer =
        core().timers.start(core().now_us + query_interval_us(),
                            {"last member query", [key] { return name_of(key); },
                             [key, &group, question] { continue_question(key, group, question); }});
    if (names_sources) {
        send_in_newest_version(key, group, *question);
    } else {
        send_group_query(key, {version, false, {}});
    }
}

bool has_room(const Port& port, const Group& group, const Departure& departure) {
    const auto& counted = group.tally.sources;
    const auto more = static_cast<std::size_t>(std::ranges::count_if(
        departure.sources,
        [&counted](const Address& source) { return !counted.contains(source); }));
    return port.addresses + departure.sources.size() <= bounds().addresses_per_port &&
           counted.size() + more <= bounds().sources_per_group;
}

}  // namespace

void ask_last_members(const GroupKey& key, Group& group, Departure departure) {
    const Port& port = *find_port(key.port);
    const std::uint32_t count = core().settings.last_member_query_count;
    if (port.fast_leave || count == 0 || !has_room(port, group, departure)) return;
    if (!group.last_members) group.last_members = std::make_unique<LastMembers>();
    auto& questions = group.last_members->questions;
    const auto question =
        questions.insert(questions.end(), {departure.is_of_group, std::move(departure.sources),
                                           departure.version, count, std::nullopt});
    count_question(books_of(key, group), *question, 1);
    continue_question(key, group, question);
}

std::uint64_t last_answer_due(const Group& group) {
    const Question& last = group.last_members->questions.back();
    return last.timer->first + last.queries_left * query_interval_us();
}

void forget_questions(const Books& books) {
    if (!books.group.last_members) return;
    stop_questions(books.group);
    for (const Question& question : books.group.last_members->questions) {
        count_question(books, question, -1);
    }
    books.group.last_members.reset();
}

// cppcheck-suppress constParameter ; the timers of its questions are reset
void stop_questions(Group& group) {
    if (!group.last_members) return;
    for (Question& question : group.last_members->questions) core().timers.stop(question.timer);
}

}  // namespace mcore
