// Lines on the console about single packets and events, for those who switched them on, and the
// counts that go with them. A line begins with the core's time in seconds.
//
//   kinds      packets received and sent, memberships, switch entries, timers, drops
//   warnings   drops and failures of a call-back, of all ports (igmp_warn_printf_set)
//   VLAN       selector 1 to 6 is one kind of a VLAN, 7 is all; VLAN 0 stands for all VLANs
//   port       packets of a port (igmp_set_debug_pkt_port), 255 for all
//   switch     a mask of kinds, of all ports (igmp_set_debug_switch)
//   level      1 drops, 2 memberships and entries, 3 packets, 4 timers, of all ports
//   MLD        packets of a port, and a mask of kinds of a port, 255 for all
//
// igmpv3_rcv not 0 prints the group records of an IGMPv3 report, igmpv3_snd those of a sent one.
#pragma once

#include <cstdint>
#include <string>

#include "node/core/state.h"

namespace mcore {

enum class Trace : std::uint32_t {
    kReceived = 0x01,
    kSent = 0x02,
    kMemberships = 0x04,
    kEntries = 0x08,
    kTimers = 0x10,
    kDrops = 0x20,
};
constexpr std::uint32_t kAllTraces = 0x3F;

struct Place {
    Family family;
    std::uint32_t port;
    std::uint32_t vlan;
};

[[nodiscard]] bool traced(Trace kind, const Place& place);

void print_trace(const Place& place, const std::string& line);

// Prints a line, "12.000000 port 2 vlan 100: " before it, when its kind is switched on there; it is
// not made up otherwise.
template <class MakeLine>
void trace(Trace kind, const Place& place, const MakeLine& make_line) {
    if (core().trace.are_silent() || !traced(kind, place)) return;
    print_trace(place, make_line());
}

// They count, and print a line.
void note_received(const Place& place, Received kind, const Address& host);
void note_drop(const Place& place, Drop reason);

}  // namespace mcore
