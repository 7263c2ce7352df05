#include "node/core/router_version.h"

#include <algorithm>
#include <string>

#include "node/core/host_answers.h"
#include "node/core/host_reports.h"
#include "node/core/membership.h"
#include "node/core/router_query.h"

namespace mcore {
namespace {

constexpr std::uint8_t kDefaultRobustness = 2;        // RFC 3376, 8.1
constexpr std::uint32_t kDefaultQueryInterval = 125;  // RFC 3376, 8.2

std::uint8_t newest_spoken(Family family) {
    return family == Family::kIpv4 ? core().settings.version : newest_version(family);
}

std::uint8_t spoken_to(const Router& router, std::uint8_t newest) {
    for (std::uint8_t version = 1; version < newest; ++version) {
        if (router.older_present[version - 1]) return version;
    }
    return newest;
}

void drop_pending(const RouterLink& link) {
    forget_changes(link);
    forget_answers(link);
}

// Of a router that is spoken to in another version afterwards nothing stays pending.
template <class Change>
void change_router(const RouterLink& link, const Change& change) {
    const std::uint8_t before = host_version(link);
    change(core().routers[link]);
    if (host_version(link) != before) drop_pending(link);
}

void end_older_router(const RouterLink& link, std::uint8_t version) {
    change_router(link, [version](Router& router) { router.older_present[version - 1].reset(); });
}

// The Older Version Querier Present Timeout (RFC 3376, 8.12; RFC 3810, 9.12).
std::uint64_t older_present_us(const RouterQuery& query) {
    const Router& router = core().routers[query.link];
    const std::uint64_t interval =
        router.query_interval != 0 ? router.query_interval : core().settings.query_interval;
    return host_robustness(query.link) * interval * kSecond + query.response_us;
}

std::string about(const RouterLink& link, std::uint8_t version) {
    const char* const family = link.family == Family::kIpv4 ? "IGMPv" : "MLDv";
    return family + std::to_string(version) + " in VLAN " + std::to_string(link.vlan);
}

void see_older_router(const RouterQuery& query) {
    const RouterLink link = query.link;
    const std::uint8_t version = query.version;
    change_router(link, [&](Router& router) {
        auto& timer = router.older_present[version - 1];
        core().timers.stop(timer);
        timer =
            core().timers.start(core().now_us + older_present_us(query),
                                {"older querier", [link, version] { return about(link, version); },
                                 [link, version] { end_older_router(link, version); }});
    });
}

// Only a general one shows that a router speaks IGMPv2 (RFC 3376, 7.2.1); of MLDv1 each query does.
bool shows_older_router(const RouterQuery& query) {
    return query.link.family == Family::kIpv6 || query.is_general();
}

}  // namespace

void learn_router(const RouterQuery& query) {
    Router& router = core().routers[query.link];
    if (query.version < newest_version(query.link.family)) {
        if (shows_older_router(query)) see_older_router(query);
        return;
    }
    router.robustness = query.robustness != 0 ? query.robustness : kDefaultRobustness;
    router.query_interval =
        query.query_interval != 0 ? query.query_interval : kDefaultQueryInterval;
}

std::uint8_t host_version(const RouterLink& link) {
    const std::uint8_t newest = newest_spoken(link.family);
    const auto found = core().routers.find(link);
    return found == core().routers.end() ? newest : spoken_to(found->second, newest);
}

bool speaks_records(const RouterLink& link) {
    return host_version(link) == newest_version(link.family);
}

std::uint8_t host_robustness(const RouterLink& link) {
    const auto found = core().routers.find(link);
    const bool is_known = found != core().routers.end() && found->second.robustness != 0;
    return is_known ? found->second.robustness : core().settings.robustness;
}

void host_version_was_set(std::uint8_t before) {
    for (const auto& [link, router] : core().routers) {
        if (link.family != Family::kIpv4) continue;
        if (spoken_to(router, before) != host_version(link)) drop_pending(link);
    }
}

void forget_routers(Family family) {
    for (auto& [link, router] : core().routers) {
        if (link.family != family) continue;
        drop_pending(link);
        for (auto& timer : router.older_present) core().timers.stop(timer);
    }
    std::erase_if(core().routers, [family](const auto& one) { return one.first.family == family; });
}

}  // namespace mcore
