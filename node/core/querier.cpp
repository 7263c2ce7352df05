#include "node/core/querier.h"

#include <array>
#include <cstddef>
#include <set>
#include <string>

#include "node/core/query_message.h"
#include "node/core/routers.h"

namespace mcore {
namespace {

constexpr std::array kFamilies{Family::kIpv4, Family::kIpv6};
constexpr std::uint8_t kMldVersion = 2;
constexpr std::uint32_t kStartupShare = 4;  // of the query interval

QueryRound& round_of(Family family) { return core().query_rounds[family == Family::kIpv4 ? 0 : 1]; }

bool is_asked(Family family, const Port& port) {
    return !port.is_uplink && (family == Family::kIpv4 ? port.declared : port.mld_declared);
}

void send_general_query(const Place& segment) {
    const bool is_igmp = segment.family == Family::kIpv4;
    const Settings& settings = core().settings;
    const Query query{segment.family, is_igmp ? settings.version : kMldVersion, Address{},
                      settings.query_max_resp_time};
    send_packet(segment, is_igmp ? Sent::kIgmpGeneralQuery : Sent::kMldGeneralQuery, 0,
                query_packet(query));
}

// Where the port's members are, and where its first ones would be. MLD packets leave with a tag
// that the core does not choose: one of them says it all.
std::set<std::uint16_t> queried_vlans(Family family, const Port& port) {
    std::set<std::uint16_t> vlans{default_vid(family)};
    if (family == Family::kIpv6) return vlans;
    for (const auto& [key, group] : core().groups) {
        const bool is_here = key.port == port.number && key.family == family;
        if (is_here && core().settings.vlans.contains(key.vlan)) vlans.insert(key.vlan);
    }
    return vlans;
}

void ask(Family family, const Port& port, const std::set<std::uint16_t>& vlans) {
    for (const std::uint16_t vlan : vlans) {
        const Place segment{family, port.number, vlan};
        if (!is_proxy(family) || !is_outvoted(segment)) send_general_query(segment);
    }
}

void ask_all_ports(Family family) {
    for (const Port& port : core().ports) {
        if (is_asked(family, port)) ask(family, port, queried_vlans(family, port));
    }
}

void run_round(Family family);

std::string all_user_ports() { return "all user ports"; }

// The next round: a startup query, or one of those from then on.
void await_round(Family family) {
    QueryRound& round = round_of(family);
    core().timers.stop(round.timer);
    const std::uint64_t interval_us = core().settings.query_interval * kSecond;
    const std::uint64_t wait_us =
        round.startup_left > 0 ? interval_us / kStartupShare : interval_us;
    round.timer = core().timers.start(core().now_us + wait_us, {"general query", all_user_ports,
                                                                [family] { run_round(family); }});
}

void run_round(Family family) {
    QueryRound& round = round_of(family);
    if (round.startup_left > 0) --round.startup_left;
    ask_all_ports(family);
    await_round(family);
}

}  // namespace

void ask_at_startup(Family family) {
    auto& timer = round_of(family).startup_timer;
    core().timers.stop(timer);
    timer = core().timers.start(core().now_us, {"startup query", all_user_ports, [family] {
                                                    round_of(family).startup_timer.reset();
                                                    if (!is_proxy(family)) ask_all_ports(family);
                                                }});
}

// The members that the port had may be known no more, so every VLAN counts in which there can be
// some; hosts can have many of them learnt, and then the first must do.
void ask_port(const Port& port) {
    constexpr std::size_t kMostVlans = 32;
    for (const Family family : kFamilies) {
        if (!is_asked(family, port)) continue;
        std::set<std::uint16_t> vlans = queried_vlans(family, port);
        if (family == Family::kIpv4) {
            const auto& listed = core().settings.vlans;
            for (auto at = listed.begin(); at != listed.end() && vlans.size() < kMostVlans; ++at) {
                vlans.insert(*at);
            }
        }
        ask(family, port, vlans);
    }
}

void start_general_queries(Family family) {
    round_of(family).startup_left = core().settings.robustness;
    run_round(family);
}

void stop_general_queries(Family family) {
    round_of(family).startup_left = 0;
    core().timers.stop(round_of(family).timer);
}

void restart_general_queries() {
    for (const Family family : kFamilies) {
        if (is_proxy(family)) await_round(family);
    }
}

void repeat_general_query(Family family) {
    if (!is_proxy(family)) return;
    ask_all_ports(family);
    await_round(family);
}

// From then on it is asked with the others.
void take_over(const Place& segment) {
    const Port& port = *find_port(segment.port);
    if (!is_proxy(segment.family) || !is_asked(segment.family, port)) return;
    send_general_query(segment);
}

}  // namespace mcore
