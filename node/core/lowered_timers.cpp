#include "node/core/lowered_timers.h"

#include <cstddef>

#include "node/core/address.h"
#include "node/core/membership.h"
#include "node/core/routers.h"

namespace mcore {
namespace {

// Whoever asks about more at a time is no router; each costs a timer.
constexpr std::size_t kMostLowered = 4096;

// An earlier query's time stands: what it lowered cannot last longer.
void lower(const GroupKey& key, const Address& source, std::uint64_t after_us) {
    auto& lowered = core().lowered_timers;
    const std::pair subject{key, source};
    if (lowered.size() >= kMostLowered || !lowered.insert(subject).second) return;
    const std::uint64_t since_us = core().now_us;
    core().timers.start(since_us + after_us, {"lowered timer", [key] { return name_of(key); },
                                              [subject, since_us] {
                                                  core().lowered_timers.erase(subject);
                                                  end_unheard(subject.first, subject.second,
                                                              since_us);
                                              }});
}

}  // namespace

void lower_timers(const Place& place, const RouterQuery& query) {
    if (query.is_general() || query.suppresses) return;
    if (is_proxy(place.family) && !is_outvoted(place)) return;
    const GroupKey key{place.port, static_cast<std::uint16_t>(place.vlan), place.family,
                       query.group};
    const auto found = core().groups.find(key);
    if (found == core().groups.end()) return;
    const std::uint64_t after_us = query.response_us * core().settings.last_member_query_count;
    if (query.sources.empty()) lower(key, Address{}, after_us);
    for (const Address& source : query.sources) {
        if (found->second.tally.sources.contains(source)) lower(key, source, after_us);
    }
}

}  // namespace mcore
