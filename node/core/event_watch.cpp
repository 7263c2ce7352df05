#include "node/core/event_watch.h"

#include <map>
#include <utility>

#include "node/core/tally.h"

namespace mcore {
namespace {

// Not part of the core: it stays when the core begins anew.
struct EventWatch {
    std::function<void(const Event&)> happened;
    std::map<GroupKey, MembershipState> told;  // of the memberships there are
};

EventWatch& watch() {
    static EventWatch* const the_watch = new EventWatch;
    return *the_watch;
}

std::uint32_t number_of(std::uint32_t port) {
    const Port* const found = find_port(port);
    return found == nullptr ? port : found->number;
}

MembershipState state_of(const Group& group) {
    MembershipState state{oldest_version(group.tally), filter_of(group.tally), {}};
    for (const auto& [address, host] : group.hosts) state.reporters.push_back(address);
    return state;
}

}  // namespace

void tell(const Place& place, Happening what) {
    watch().happened({core().now_us, number_of(place.port), place.family,
                      static_cast<std::uint16_t>(place.vlan), std::move(what)});
}

void tell_membership(const GroupKey& key, const Group& group) {
    if (!events_are_watched) return;
    MembershipState state = state_of(group);
    const auto [told, is_new] = watch().told.try_emplace(key);
    if (!is_new && told->second == state) return;
    told->second = state;
    if (is_new) {
        tell(place_of(key), MembershipJoined{key.group, std::move(state)});
    } else {
        tell(place_of(key), MembershipChanged{key.group, std::move(state)});
    }
}

void tell_end(const GroupKey& key, EndReason why) {
    if (!events_are_watched || watch().told.erase(key) == 0) return;
    tell(place_of(key), MembershipLeft{key.group, why});
}

void tell_all_ends(std::optional<Family> family) {
    if (!events_are_watched) return;
    const std::map<GroupKey, MembershipState> told = watch().told;
    for (const auto& [key, state] : told) {
        if (!family || key.family == *family) tell_end(key, EndReason::kBegunAnew);
    }
    if (family) return;  // its routers are taken out one by one
    for (const auto& [key, router] : core().user_routers) {
        tell({key.family, key.port, key.vlan},
             RouterChanged{key.address, key.sign, false, EndReason::kBegunAnew});
    }
}

void watch_events(std::function<void(const Event&)> happened) {
    const Lock lock;
    events_are_watched = static_cast<bool>(happened);
    watch() = {std::move(happened), {}};
    for (const auto& [key, group] : core().groups) tell_membership(key, group);
}

void tell_command(const CommandRun& command) {
    const Lock lock;
    tell_event({}, [&command] { return command; });
}

std::string_view name(EndReason why) {
    switch (why) {
        case EndReason::kLeft:
            return "left";
        case EndReason::kNotAnswered:
            return "left, no host answered";
        case EndReason::kAged:
            return "aged";
        case EndReason::kLinkDown:
            return "lost with the link";
        case EndReason::kTakenAway:
            return "taken away";
        case EndReason::kBegunAnew:
            return "forgotten";
    }
    return {};
}

}  // namespace mcore
