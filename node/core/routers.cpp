#include "node/core/routers.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "node/core/address.h"
#include "node/core/event_watch.h"
#include "node/core/querier.h"
#include "node/core/router_query.h"
#include "node/core/source_address.h"

namespace mcore {
namespace {

// No port has more in earnest; each costs a timer.
constexpr std::size_t kRoutersPerPort = 32;

// Not part of the core: it stays when the core begins anew.
struct RouterPortWatch {
    std::function<void(std::uint32_t, bool)> changed;
    std::array<bool, kUserPorts> told{};
};

RouterPortWatch& watch() {
    static RouterPortWatch* const the_watch = new RouterPortWatch;
    return *the_watch;
}

Place segment_of(const RouterKey& key) { return {key.family, key.port, key.vlan}; }

bool is_on(const RouterKey& key, const Place& segment) {
    return key.port == segment.port && key.vlan == segment.vlan && key.family == segment.family;
}

std::size_t count_routers(std::uint32_t port) {
    const auto& routers = core().user_routers;
    return static_cast<std::size_t>(
        std::count_if(routers.begin(), routers.end(),
                      [port](const auto& one) { return one.first.port == port; }));
}

// 0.0.0.0 wins over nobody.
bool wins_over_node(const RouterKey& key) {
    if (key.sign != RouterSign::kQuery) return false;
    const Address own = querier_address(key.family);
    return own == Address{} || key.address < own;
}

// The one that asks in the node's place: of several the first, as they are sorted by address.
UserRouters::const_iterator find_querier(const Place& segment) {
    return std::ranges::find_if(core().user_routers, [&segment](const auto& one) {
        return is_on(one.first, segment) && wins_over_node(one.first);
    });
}

void take_out(const RouterKey& key, EndReason why) {
    const Place segment = segment_of(key);
    const auto found = core().user_routers.find(key);
    if (found == core().user_routers.end()) return;
    core().timers.stop(found->second.timer);
    core().user_routers.erase(found);
    trace(Trace::kMemberships, segment,
          [&] { return "router " + text(key.family, key.address) + " " + std::string(name(why)); });
    tell_event(segment, [&] { return RouterChanged{key.address, key.sign, false, why}; });
    tell_router_ports();
    if (wins_over_node(key) && !is_outvoted(segment)) take_over(segment);
}

std::optional<Drop> hear(const RouterKey& key, std::uint64_t present_us,
                         const QuerierValues& says = {}) {
    const auto found = core().user_routers.find(key);
    const bool is_new = found == core().user_routers.end();
    if (is_new && count_routers(key.port) >= kRoutersPerPort) return Drop::kRouterBound;
    UserRouter& router = is_new ? core().user_routers[key] : found->second;
    router.robustness = static_cast<std::uint8_t>(says.robustness);
    router.query_interval = says.query_interval;
    core().timers.stop(router.timer);
    const auto about = [key] {
        return text(key.family, key.address) + " on port " + port_text(key.port);
    };
    router.timer =
        core().timers.start(core().now_us + present_us,
                            {"router present", about, [key] { take_out(key, EndReason::kAged); }});
    if (is_new) {
        trace(Trace::kMemberships, segment_of(key),
              [&] { return "router " + text(key.family, key.address) + " heard"; });
        tell_event(segment_of(key), [&] { return RouterChanged{key.address, key.sign, true, {}}; });
        tell_router_ports();
    }
    return std::nullopt;
}

// The node's own values in place of those that are not said.
QuerierValues with_own(const QuerierValues& said) {
    const Settings& settings = core().settings;
    return {said.robustness != 0 ? said.robustness : settings.robustness,
            said.query_interval != 0 ? said.query_interval : settings.query_interval};
}

// The other querier present interval (RFC 3376, 8.5; RFC 3810, 9.5), of what the other one says of
// itself; where it says nothing, of the node's own values (RFC 3376, 4.1.6 and 4.1.7).
std::uint64_t other_querier_present_us(const RouterQuery& query) {
    const QuerierValues values = with_own({query.robustness, query.query_interval});
    const std::uint64_t robustness = values.robustness;
    // What other queries leave for an answer is shorter, and no query response interval.
    const std::uint64_t response_us =
        query.is_general() ? query.response_us : core().settings.query_max_resp_time * kSecond;
    return robustness * values.query_interval * kSecond + response_us / 2;
}

RouterKey key_of(const Place& place, RouterSign sign, const Address& address) {
    return {place.port, static_cast<std::uint16_t>(place.vlan), place.family, sign, address};
}

}  // namespace

std::optional<Drop> hear_querier(const Place& place, const Address& address,
                                 const RouterQuery& query) {
    // A switch that asks for itself, as this one does, and no router (RFC 4541, 2.1.1).
    if (address == Address{}) return std::nullopt;
    return hear(key_of(place, RouterSign::kQuery, address), other_querier_present_us(query),
                {query.robustness, query.query_interval});
}

// Dead is who has not been heard for three of the intervals that it has announced, as
// advertisements may get lost (RFC 4286, NeighborDeadInterval). No router announces less than 4
// seconds.
std::optional<Drop> hear_advertisement(const Place& place, const Address& address,
                                       std::uint8_t interval_s) {
    constexpr std::uint64_t kMissed = 3;
    constexpr std::uint8_t kShortestInterval = 4;
    if (address == Address{}) return std::nullopt;
    return hear(key_of(place, RouterSign::kAdvertisement, address),
                kMissed * std::max(interval_s, kShortestInterval) * kSecond);
}

// Not at once: a host could have its port switched with every packet.
void hear_termination(const Place& place, const Address& address) {
    const RouterKey key = key_of(place, RouterSign::kAdvertisement, address);
    if (core().user_routers.contains(key)) static_cast<void>(hear(key, kSecond));
}

bool is_outvoted(const Place& segment) {
    return find_querier(segment) != core().user_routers.end();
}

QuerierValues querier_values(const Place& segment) {
    const auto querier = find_querier(segment);
    if (querier == core().user_routers.end()) return with_own({});
    return with_own({querier->second.robustness, querier->second.query_interval});
}

bool is_router_port(const Place& segment) {
    return std::ranges::any_of(core().user_routers,
                               [&segment](const auto& one) { return is_on(one.first, segment); });
}

void forget_routers_if(const std::function<bool(const RouterKey&)>& unwanted) {
    std::vector<RouterKey> keys;
    for (const auto& [key, router] : core().user_routers) {
        if (unwanted(key)) keys.push_back(key);
    }
    for (const RouterKey& key : keys) take_out(key, EndReason::kTakenAway);
}

void tell_router_ports() {
    RouterPortWatch& watching = watch();
    if (!watching.changed) return;
    std::array<bool, kUserPorts> now{};
    for (const auto& [key, router] : core().user_routers) now.at(key.port) = true;
    for (std::uint32_t port = 0; port < kUserPorts; ++port) {
        if (std::exchange(watching.told.at(port), now.at(port)) == now.at(port)) continue;
        watching.changed(port, now.at(port));
    }
}

void watch_router_ports(std::function<void(std::uint32_t, bool)> changed) {
    const Lock lock;
    watch() = {std::move(changed), {}};
    tell_router_ports();
}

std::vector<RouterPort> router_ports() {
    const Lock lock;
    std::vector<RouterPort> all;
    for (const auto& [key, router] : core().user_routers) {
        all.push_back({key.port, key.vlan, key.family, key.sign, key.address, router.timer->first});
    }
    return all;
}

}  // namespace mcore
