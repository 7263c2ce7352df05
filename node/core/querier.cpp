#include "node/core/querier.h"

#include <set>
#include <string>

#include "node/core/message.h"

namespace devcore {
namespace {

constexpr std::uint32_t kAllHosts = 0xE0000001;  // 224.0.0.1
constexpr std::uint32_t kGeneral = 0;

// Where the port's members are, and where its first ones would be.
std::set<std::uint16_t> queried_vlans(const Port& port) {
    const Settings& settings = core().settings;
    std::set<std::uint16_t> vlans{settings.default_vid};
    for (const auto& [key, group] : core().groups) {
        const bool is_here = key.port == port.number && key.family == Family::kIpv4;
        if (is_here && settings.vlans.contains(key.vlan)) vlans.insert(key.vlan);
    }
    return vlans;
}

void send_general_queries() {
    const Settings& settings = core().settings;
    const Bytes query = igmp_query({settings.version, kGeneral, settings.query_max_resp_time});
    for (const Port& port : core().ports) {
        if (!port.declared || port.is_uplink) continue;
        for (const std::uint16_t vlan : queried_vlans(port)) {
            send_igmp(Sent::kIgmpGeneralQuery, static_cast<std::uint16_t>(port.number), {vlan, 0},
                      kAllHosts, query);
        }
    }
}

}  // namespace

void start_general_queries() {
    send_general_queries();
    restart_general_queries();
}

void stop_general_queries() { core().timers.stop(core().query_timer); }

void restart_general_queries() {
    stop_general_queries();
    if (core().settings.mode != Mode::kProxy) return;
    core().query_timer = core().timers.start(
        core().now_us + core().settings.query_interval * kSecond,
        {"general query", [] { return std::string("all user ports"); }, start_general_queries});
}

}  // namespace devcore
