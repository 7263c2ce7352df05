// The displays: tables on the console, a heading and aligned columns each.
#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <set>
#include <string>

#include "node/core/address.h"
#include "node/core/membership.h"
#include "node/core/pal_tasks.h"
#include "node/core/state.h"

namespace mcore {
namespace {

using GroupFilterFunction = std::function<bool(const GroupKey&)>;

std::string seconds_text(std::uint64_t us) { return std::to_string(us / kSecond) + " s"; }

std::string limit_text(std::uint32_t limit) { return limit == 0 ? "none" : std::to_string(limit); }

const char* yes_no(bool value) { return value ? "yes" : "no"; }
const char* on_off(bool value) { return value ? "on" : "off"; }

const char* mode_text(Mode mode) {
    switch (mode) {
        case Mode::kSnooping:
            return "snooping";
        case Mode::kProxy:
            return "proxy";
        case Mode::kControl:
            return "control";
    }
    return "";
}

const char* mld_mode_text(std::uint16_t mode) {
    if (mode == kMldProxy) return "proxy";
    return mode == 2 ? "snooping" : "control";
}

std::string tag_text(const IgmpUplinkTag& tag) {
    if (tag.first == kNoUplinkTag.first && tag.second == kNoUplinkTag.second) return "none";
    char line[32];
    std::snprintf(line, sizeof line, "%04x %04x %02x", unsigned{tag.first}, unsigned{tag.second},
                  unsigned{tag.third});
    return line;
}

std::string ipv4_text(std::uint32_t address) { return text(Family::kIpv4, from_ipv4(address)); }

// ---- Memberships --------------------------------------------------------------------------------

void print_group(const GroupKey& key, const Group& group) {
    const std::uint64_t now = core().now_us;
    const auto end = expires_at(key, group);
    const Filter filter = filter_of(group.tally);
    const std::string left = end ? seconds_text(*end - std::min(now, *end)) : "never";
    std::printf("%-7s %5u %-40s %3u %-8s %7zu %9zu %8s %9s %s\n", port_text(key.port).c_str(),
                unsigned{key.vlan}, text(key.family, key.group).c_str(),
                unsigned{oldest_version(group.tally)}, filter.exclude ? "exclude" : "include",
                filter.sources.size(), group.hosts.size(),
                seconds_text(now - group.joined_us).c_str(), left.c_str(),
                group.programmed ? "programmed" : "not programmed");
    for (const Address& source : filter.sources) {
        std::printf("%14s source   %s\n", "", text(key.family, source).c_str());
    }
    for (const auto& [address, host] : group.hosts) {
        std::printf("%14s reporter %s, version %u\n", "", text(key.family, address).c_str(),
                    unsigned{host.version});
    }
}

void print_groups(const char* title, const GroupFilterFunction& wanted) {
    std::printf("%s\n%-7s %5s %-40s %3s %-8s %7s %9s %8s %9s %s\n", title, "port", "vlan", "group",
                "ver", "mode", "sources", "reporters", "age", "ends in", "switch");
    std::size_t count = 0;
    for (const auto& [key, group] : core().groups) {
        if (!wanted(key)) continue;
        print_group(key, group);
        ++count;
    }
    std::printf("memberships: %zu\n", count);
}

std::size_t count_groups(const GroupFilterFunction& wanted) {
    std::size_t count = 0;
    for (const auto& [key, group] : core().groups) {
        if (wanted(key)) ++count;
    }
    return count;
}

void print_proxy_group(const UpstreamGroup& group) {
    std::printf("%5u %-40s %3u %-8s %7u", unsigned{group.vlan},
                text(group.family, group.group).c_str(), unsigned{group.version},
                group.exclude ? "exclude" : "include", unsigned{group.reports_left});
    for (const Address& source : group.sources) {
        std::printf(" %s", text(group.family, source).c_str());
    }
    std::printf("\n");
}

// The version is the one in which the router is spoken to.
void print_proxy_groups(Family family, std::uint32_t only) {
    std::printf("Groups reported upstream\n%5s %-40s %3s %-8s %7s %s\n", "vlan", "group", "ver",
                "mode", "repeats", "sources");
    for (const UpstreamGroup& group : upstream_groups()) {
        const bool is_asked = only == 0 || group.group == from_ipv4(only);
        if (group.family == family && is_asked) print_proxy_group(group);
    }
}

// ---- Router ports -------------------------------------------------------------------------------

void print_router_ports() {
    std::printf("Router ports\n%-7s %5s %-40s %-13s %9s\n", "port", "vlan", "router", "known by",
                "ends in");
    for (const RouterPort& router : router_ports()) {
        const std::uint64_t left = router.expires_us - std::min(core().now_us, router.expires_us);
        std::printf("%-7s %5u %-40s %-13s %9s\n", port_text(router.port).c_str(),
                    unsigned{router.vlan}, text(router.family, router.address).c_str(),
                    router.sign == RouterSign::kQuery ? "query" : "advertisement",
                    seconds_text(left).c_str());
    }
}

// ---- VLANs --------------------------------------------------------------------------------------

void print_vlan(std::uint16_t vlan) {
    const Settings& settings = core().settings;
    const auto groups = [vlan](Family family) {
        return count_groups(
            [&](const GroupKey& key) { return key.vlan == vlan && key.family == family; });
    };
    std::printf("%5u %-6s %-12s %-11s %7zu %7zu\n", unsigned{vlan},
                yes_no(settings.vlans.contains(vlan)), yes_no(vlan == settings.default_vid),
                yes_no(vlan == settings.mld_default_vid), groups(Family::kIpv4),
                groups(Family::kIpv6));
}

void print_vlans(const char* title) {
    const Settings& settings = core().settings;
    std::set<std::uint16_t> vlans = settings.vlans;
    vlans.insert({settings.default_vid, settings.mld_default_vid});
    std::printf("%s\n%5s %-6s %-12s %-11s %7s %7s\n", title, "vlan", "listed", "IGMP default",
                "MLD default", "IGMP", "MLD");
    for (const std::uint16_t vlan : vlans) print_vlan(vlan);
    std::printf("learning: %s\n", on_off(settings.vlan_learning));
}

// ---- Ports --------------------------------------------------------------------------------------

void print_port_heading(const char* title) {
    std::printf("%s\n%-7s %-8s %-8s %-10s %8s %8s %10s %10s %s\n", title, "port", "IGMP", "MLD",
                "fast leave", "groups", "limit", "bandwidth", "limit", "range auth");
}

void print_port(const Port& port) {
    const std::string bandwidth =
        port.bandwidth_limited ? std::to_string(port.bandwidth_limit) : "none";
    std::printf("%-7s %-8s %-8s %-10s %8" PRIu32 " %8s %10" PRIu64 " %10s %s\n",
                port_text(port.number).c_str(), port.declared ? "declared" : "-",
                port.mld_declared ? "declared" : "-", on_off(port.fast_leave), port.groups,
                limit_text(port.group_limit).c_str(), port.bandwidth, bandwidth.c_str(),
                on_off(port.range_auth));
}

void print_ranges(const Port& port, std::uint32_t only) {
    for (const AuthRange& range : port.ranges) {
        if (only != 0 && (only < range.start || only > range.end)) continue;
        std::printf("%-7s range        %-15s to %-15s vlan %5u bandwidth %" PRIu32 "\n",
                    port_text(port.number).c_str(), ipv4_text(range.start).c_str(),
                    ipv4_text(range.end).c_str(), unsigned{range.vlan}, range.bandwidth);
    }
    for (const auto& [place, last] : port.control_list) {
        const auto& [vlan, first] = place;
        if (only != 0 && (only < first || only > last)) continue;
        const std::string to = first == last ? "" : "to " + ipv4_text(last);
        std::printf("%-7s control list %-15s %-18s vlan %5u\n", port_text(port.number).c_str(),
                    ipv4_text(first).c_str(), to.c_str(), unsigned{vlan});
    }
}

// ---- Settings and counts ------------------------------------------------------------------------

void print_number(const char* what, std::uint64_t value) {
    std::printf("  %-32s %" PRIu64 "\n", what, value);
}

void print_text(const char* what, const std::string& value) {
    std::printf("  %-32s %s\n", what, value.c_str());
}

void print_times() {
    const Settings& settings = core().settings;
    print_number("robustness", settings.robustness);
    print_text("query interval", std::to_string(settings.query_interval) + " s");
    print_text("query response time", std::to_string(settings.query_max_resp_time) + " s");
    print_text("last member query interval",
               std::to_string(settings.last_member_query_interval) + " s");
    print_number("last member query count", settings.last_member_query_count);
}

void print_ageing(Family family) {
    const auto interval = membership_interval({family, kUplinkNumber, 0});
    print_text("ageing", interval ? "after " + seconds_text(*interval) : "off");
}

template <class Kind, std::size_t kKinds>
void print_counts(const char* title, const std::array<std::uint64_t, kKinds>& counts) {
    std::printf("%s\n", title);
    for (std::size_t i = 0; i < kKinds; ++i) {
        print_number(name(static_cast<Kind>(i)).data(), counts[i]);
    }
}

void print_timers() {
    std::printf("Timers\n%9s  %-20s %s\n", "due in", "what", "about");
    for (const auto& [id, timer] : core().timers.all()) {
        const std::uint64_t left = id.first - std::min(core().now_us, id.first);
        std::printf("%9s  %-20s %s\n", seconds_text(left).c_str(), timer.what,
                    timer.about().c_str());
    }
}

}  // namespace
}  // namespace mcore

using mcore::core;
using mcore::Family;
using mcore::GroupKey;
using mcore::Lock;
using mcore::Port;

// ---- IGMP ---------------------------------------------------------------------------------------

int32_t igmp_display_all_group(void) {
    const Lock lock;
    mcore::print_groups("IGMP memberships",
                        [](const GroupKey& key) { return key.family == Family::kIpv4; });
    return 0;
}

int32_t igmp_display_special_group(uint32_t group) {
    const Lock lock;
    const mcore::Address address = mcore::from_ipv4(group);
    mcore::print_groups("IGMP memberships of one group", [&](const GroupKey& key) {
        return key.family == Family::kIpv4 && key.group == address;
    });
    return 0;
}

// Port 255 stands for all ports, VLAN 0 for all VLANs; the flag changes nothing.
int32_t igmp_show_vlan_config(uint32_t port, uint16_t vlan, uint16_t /*flag*/) {
    const Lock lock;
    const bool all_ports = port == mcore::kAllPorts;
    if (!all_ports && mcore::find_port(port) == nullptr) return 1;
    mcore::print_vlans("VLANs");
    mcore::print_groups("Memberships", [&](const GroupKey& key) {
        return (all_ports || key.port == port) && (vlan == 0 || key.vlan == vlan);
    });
    return 0;
}

int32_t show_igmp_all_proxy_group(void) {
    const Lock lock;
    mcore::print_proxy_groups(Family::kIpv4, 0);
    return 0;
}

int32_t show_igmp_special_proxy_group(uint32_t group) {
    const Lock lock;
    mcore::print_proxy_groups(Family::kIpv4, group);
    return 0;
}

int32_t igmp_show_vlan_instance(void) {
    const Lock lock;
    mcore::print_vlans("VLAN instances");
    return 0;
}

int32_t show_igmpv3_globle(void) {
    const Lock lock;
    const mcore::Settings& settings = core().settings;
    std::printf("IGMP settings\n");
    mcore::print_text("mode", mcore::mode_text(settings.mode));
    mcore::print_number("version", settings.version);
    mcore::print_times();
    mcore::print_ageing(Family::kIpv4);
    mcore::print_number("default VLAN", settings.default_vid);
    mcore::print_text("proxy address", mcore::ipv4_text(settings.proxy_ip));
    const std::string range =
        mcore::ipv4_text(settings.ssm_start) + " to " + mcore::ipv4_text(settings.ssm_end);
    mcore::print_text("SSM range", settings.ssm_start == 0 ? "none" : range);
    for (int i = 0; settings.ssm_map != nullptr && i < 5; ++i) {
        mcore::print_text(i == 0 ? "SSM map" : "", mcore::ipv4_text(settings.ssm_map[i]));
    }
    const Port& uplink = core().ports[mcore::kUserPorts];
    mcore::print_text("outer uplink tag", mcore::tag_text(uplink.outer));
    mcore::print_text("inner uplink tag", mcore::tag_text(uplink.inner));
    if (const auto& control = core().last_oam_control) {
        std::printf("  %-32s port %u vlan %u group %s bytes %02x %02x\n", "last OAM control",
                    unsigned{control->port}, unsigned{control->vlan},
                    mcore::ipv4_text(control->rest.word).c_str(), unsigned{control->rest.byte_a},
                    unsigned{control->rest.byte_b});
    }
    return 0;
}

int32_t show_igmp_packet_statistic(void) {
    const Lock lock;
    const mcore::Counters& counters = core().counters;
    mcore::print_counts<mcore::Received>("Received", counters.received);
    mcore::print_counts<mcore::Drop>("Dropped", counters.drops);
    mcore::print_counts<mcore::Sent>("Sent", counters.sent);
    std::printf("Switch entries\n");
    mcore::print_number("added", counters.entries_added);
    mcore::print_number("removed", counters.entries_removed);
    mcore::print_number("add failed", counters.add_failures);
    mcore::print_number("remove failed", counters.remove_failures);
    return 0;
}

int32_t show_igmp_if_list(void) {
    const Lock lock;
    mcore::print_port_heading("Ports");
    for (const Port& port : core().ports) mcore::print_port(port);
    mcore::print_router_ports();
    return 0;
}

int32_t igmp_timer_show_api(void) {
    const Lock lock;
    mcore::print_timers();
    return 0;
}

int32_t igmp_auth_group_show_api(void) {
    const Lock lock;
    std::printf("Authorised groups\n");
    for (const auto& [vlan, group] : core().settings.private_list) {
        std::printf("%-7s private list %-15s %-18s vlan %5u\n", "all",
                    mcore::ipv4_text(group).c_str(), "", unsigned{vlan});
    }
    for (const Port& port : core().ports) mcore::print_ranges(port, 0);
    return 0;
}

int32_t igmp_if_show_if_cfg(uint8_t port) {
    const Lock lock;
    const Port* const found = mcore::find_declared_port(port);
    if (found == nullptr) return 1;
    mcore::print_port_heading("Port settings");
    mcore::print_port(*found);
    mcore::print_text("outer tag", mcore::tag_text(found->outer));
    mcore::print_text("inner tag", mcore::tag_text(found->inner));
    mcore::print_number("bandwidth, extra value", found->bandwidth_extra);
    mcore::print_ranges(*found, 0);
    return 0;
}

int32_t igmp_if_show_if_status(uint8_t port) {
    const Lock lock;
    const Port* const found = mcore::find_declared_port(port);
    if (found == nullptr) return 1;
    mcore::print_port_heading("Port status");
    mcore::print_port(*found);
    mcore::print_groups("Memberships of the port",
                        [&](const GroupKey& key) { return key.port == found->number; });
    return 0;
}

// Group 0 stands for all groups.
int32_t igmp_if_show_auth_group_cfg(uint8_t port, uint32_t group) {
    const Lock lock;
    const Port* const found = mcore::find_declared_port(port);
    if (found == nullptr) return 1;
    std::printf("Authorised groups of port %s, range authorisation %s\n",
                mcore::port_text(found->number).c_str(), mcore::on_off(found->range_auth));
    mcore::print_ranges(*found, group);
    return 0;
}

// ---- MLD. The option changes nothing. -----------------------------------------------------------

int32_t mld_unpack_show_mld_sys(uint32_t /*option*/) {
    const Lock lock;
    const mcore::Settings& settings = core().settings;
    std::printf("MLD settings\n");
    mcore::print_text("mode", mcore::mld_mode_text(settings.mld_mode));
    mcore::print_times();
    mcore::print_ageing(Family::kIpv6);
    mcore::print_number("default VLAN", settings.mld_default_vid);
    return 0;
}

int32_t mld_unpack_show_mld_thread(uint32_t /*option*/) {
    const Lock lock;
    mcore::print_tasks();
    mcore::print_timers();
    return 0;
}

int32_t mld_unpack_show_vlan_global(uint32_t /*option*/) {
    const Lock lock;
    mcore::print_vlans("VLANs");
    return 0;
}

int32_t mld_show_if_list(void) {
    const Lock lock;
    mcore::print_port_heading("Ports");
    for (const Port& port : core().ports) mcore::print_port(port);
    mcore::print_router_ports();
    mcore::print_groups("MLD memberships",
                        [](const GroupKey& key) { return key.family == Family::kIpv6; });
    if (mcore::is_proxy(Family::kIpv6)) mcore::print_proxy_groups(Family::kIpv6, 0);
    return 0;
}
