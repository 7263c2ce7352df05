#include "node/config/change_plan.h"

#include <optional>
#include <utility>

#include "node/config/difference.h"
#include "node/config/fresh_node.h"

namespace config {
namespace {

Lines joined(Lines lines, const Lines& others) {
    lines.insert(lines.end(), others.begin(), others.end());
    return lines;
}

// Nothing when it does not come right.
std::optional<Lines> plan(const Snapshot& running, const Lines& wanted, Lines posted, bool anew) {
    constexpr int kRounds = 6;
    const FreshNode start = started_as(running);
    for (int i = 0; i < kRounds; ++i) {
        Lines now = running.commands();
        if (!posted.empty()) now = fresh_node_after(start, joined(now, posted)).commands();
        const Lines more = difference(now, wanted, {running.own_ip, anew && i == 0});
        if (more.empty()) return posted;
        posted = joined(std::move(posted), more);
    }
    return std::nullopt;
}

}  // namespace

Lines plan_changes(const Snapshot& running, const Lines& wanted) {
    if (auto changes = plan(running, wanted, {}, false)) return *changes;
    if (auto changes = plan(running, wanted, {}, true)) return *changes;
    if (auto changes = plan(running, wanted, {"clear all"}, true)) return *changes;
    return difference(running.commands(), wanted, {running.own_ip, false});
}

}  // namespace config
