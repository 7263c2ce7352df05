#include "node/core/trace.h"

#include <cinttypes>
#include <cstddef>
#include <cstdio>
#include <iterator>

namespace mcore {
namespace {

constexpr std::uint32_t bit(Trace kind) { return static_cast<std::uint32_t>(kind); }
constexpr std::uint32_t kPackets = bit(Trace::kReceived) | bit(Trace::kSent);

// What each level switches on; levels that mean nothing here are only stored.
constexpr std::uint32_t kLevels[] = {0, bit(Trace::kDrops),
                                     bit(Trace::kMemberships) | bit(Trace::kEntries), kPackets,
                                     bit(Trace::kTimers)};

constexpr std::uint32_t kHighestLevel = 31;
constexpr std::uint8_t kLastSelector = 7;  // all kinds
constexpr std::uint16_t kAnyVlan = 0;

bool is_port(std::uint32_t wanted, std::uint32_t port) {
    return wanted == kAllPorts ||
           (find_port(wanted) != nullptr && find_port(wanted) == find_port(port));
}

std::uint32_t vlan_kinds(std::uint32_t vlan) {
    const auto& vlans = core().trace.vlans;
    const auto found = vlans.find(static_cast<std::uint16_t>(vlan));
    return found == vlans.end() ? 0 : found->second;
}

std::uint32_t igmp_kinds(const Place& place) {
    const TraceSettings& settings = core().trace;
    std::uint32_t kinds = settings.switches | vlan_kinds(place.vlan) | vlan_kinds(kAnyVlan);
    if (settings.warnings) kinds |= bit(Trace::kDrops);
    if (is_port(settings.packet_port, place.port)) kinds |= kPackets;
    for (std::uint32_t level = 0; level < std::size(kLevels); ++level) {
        if ((settings.levels >> level & 1) != 0) kinds |= kLevels[level];
    }
    return kinds;
}

std::uint32_t mld_kinds(const Place& place) {
    const TraceSettings& settings = core().trace;
    std::uint32_t kinds = 0;
    if (is_port(settings.mld_port, place.port)) kinds |= settings.mld_kinds;
    if (is_port(settings.mld_packet_port, place.port)) kinds |= kPackets;
    if (settings.warnings) kinds |= bit(Trace::kDrops);
    return kinds;
}

}  // namespace

bool traced(Trace kind, const Place& place) {
    const std::uint32_t kinds =
        place.family == Family::kIpv4 ? igmp_kinds(place) : mld_kinds(place);
    return (kinds & bit(kind)) != 0;
}

void print_trace(const Place& place, const std::string& line) {
    const std::uint64_t now = core().now_us;
    std::printf("%" PRIu64 ".%06" PRIu64 " port %s vlan %" PRIu32 ": %s\n", now / kSecond,
                now % kSecond, port_text(place.port).c_str(), place.vlan, line.c_str());
}

void note_received(const Place& place, Received kind, const Address& host) {
    ++core().counters.received[static_cast<std::size_t>(kind)];
    trace(Trace::kReceived, place, [&] {
        return "received " + std::string(name(kind)) + " from " + text(place.family, host);
    });
}

void note_drop(const Place& place, Drop reason) {
    ++core().counters.drops[static_cast<std::size_t>(reason)];
    trace(Trace::kDrops, place, [&] { return "dropped, " + std::string(name(reason)); });
}

}  // namespace mcore

using mcore::core;
using mcore::Lock;
using mcore::TraceSettings;

std::uint32_t igmpv3_rcv = 0;
std::uint32_t igmpv3_snd = 0;

namespace {

// The kinds of a selector; 0 for one that does not exist.
std::uint32_t selected(std::uint8_t selector) {
    if (selector == mcore::kLastSelector) return mcore::kAllTraces;
    return selector >= 1 && selector < mcore::kLastSelector ? 1U << (selector - 1) : 0;
}

void switch_bits(std::uint32_t& mask, std::uint32_t bits, bool on) {
    mask = on ? mask | bits : mask & ~bits;
}

}  // namespace

int32_t igmp_warn_printf_set(uint8_t enable) {
    const Lock lock;
    core().trace.warnings = enable != 0;
    return 0;
}

int32_t igmp_dbg_set(uint16_t vlan, uint8_t selector) {
    const Lock lock;
    if (selected(selector) == 0) return 1;
    core().trace.vlans[vlan] |= selected(selector);
    return 0;
}

int32_t igmp_dbg_unset(uint16_t vlan, uint8_t selector) {
    const Lock lock;
    if (selected(selector) == 0) return 1;
    auto& vlans = core().trace.vlans;
    const auto found = vlans.find(vlan);
    if (found == vlans.end()) return 0;
    found->second &= ~selected(selector);
    if (found->second == 0) vlans.erase(found);
    return 0;
}

int32_t igmp_set_debug_level(uint32_t level, uint32_t on) {
    const Lock lock;
    if (level > mcore::kHighestLevel) return 1;
    switch_bits(core().trace.levels, 1U << level, on != 0);
    return 0;
}

int32_t igmp_set_debug_pkt_port(uint16_t port) {
    const Lock lock;
    core().trace.packet_port = port;
    return 0;
}

int32_t igmp_set_debug_switch(uint32_t which, uint32_t on) {
    const Lock lock;
    switch_bits(core().trace.switches, which, on != 0);
    return 0;
}

int32_t igmp_no_debug_all(void) {
    const Lock lock;
    TraceSettings& settings = core().trace;
    TraceSettings silent;
    silent.mld_packet_port = settings.mld_packet_port;
    silent.mld_kinds = settings.mld_kinds;
    silent.mld_port = settings.mld_port;
    settings = silent;
    igmpv3_rcv = 0;
    igmpv3_snd = 0;
    return 0;
}

int32_t mld_set_mld_debug_port(uint32_t port) {
    const Lock lock;
    core().trace.mld_packet_port = port;
    return 0;
}

int32_t mld_set_mld_debug(uint32_t mask, uint32_t port) {
    const Lock lock;
    core().trace.mld_kinds = mask;
    core().trace.mld_port = port;
    return 0;
}
