// Which frames reach the library, by the driver over captures and by the kernel's filter for live
// ports, and what becomes of frames on their way out of a live port.
#include <gmock/gmock.h>
#include <pcap/pcap.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "node/driver/trap_filter.h"
#include "node/live/egress.h"
#include "node/live/trap_program.h"
#include "support/frame_pieces.h"

namespace {

using namespace frame_pieces;
using driver::TrapVerdict;

struct TrapCase {
    const char* name;
    Bytes frame;
    TrapVerdict verdict;
};

// ---- The trap -----------------------------------------------------------------------------------

std::vector<TrapCase> trap_cases() {
    const Bytes report6 = ipv6_header(0) + kHopByHop + icmpv6(143);
    return {
        {"IGMP", kMacs + kIpv4Type + ipv4(2), TrapVerdict::kIgmp},
        {"IGMP, one tag", kMacs + kTag100 + kIpv4Type + ipv4(2), TrapVerdict::kIgmp},
        {"IGMP, two tags", kMacs + kTag200 + kTag100 + kIpv4Type + ipv4(2), TrapVerdict::kIgmp},
        {"IGMP, PPPoE", kMacs + kPppoeSession + kPppIpv4 + ipv4(2), TrapVerdict::kIgmp},
        {"IGMP, PPPoE with a type", kMacs + kPppoeSession + kIpv4Type + ipv4(2),
         TrapVerdict::kIgmp},
        {"IGMP, tag and PPPoE", kMacs + kTag100 + kPppoeSession + kPppIpv4 + ipv4(2),
         TrapVerdict::kIgmp},
        {"MLD query", kMacs + kIpv6Type + ipv6_header(58) + icmpv6(130), TrapVerdict::kMld},
        {"MLD report", kMacs + kIpv6Type + ipv6_header(58) + icmpv6(131), TrapVerdict::kMld},
        {"MLD done", kMacs + kIpv6Type + ipv6_header(58) + icmpv6(132), TrapVerdict::kMld},
        {"MLDv2 report", kMacs + kIpv6Type + ipv6_header(58) + icmpv6(143), TrapVerdict::kMld},
        {"MLD, router alert", kMacs + kIpv6Type + report6, TrapVerdict::kMld},
        {"MLD, 16 bytes of hop-by-hop",
         kMacs + kIpv6Type + ipv6_header(0) + kLongHopByHop + icmpv6(131), TrapVerdict::kMld},
        {"MLD, one tag", kMacs + kTag100 + kIpv6Type + report6, TrapVerdict::kMld},
        {"MLD, two tags", kMacs + kTag200 + kTag100 + kIpv6Type + report6, TrapVerdict::kMld},
        {"MLD, PPPoE", kMacs + kPppoeSession + kPppIpv6 + report6, TrapVerdict::kMld},

        {"UDP", kMacs + kIpv4Type + ipv4(17), TrapVerdict::kOther},
        {"three tags", kMacs + kTag200 + kTag200 + kTag100 + kIpv4Type + ipv4(2),
         TrapVerdict::kOther},
        {"a service tag", kMacs + kServiceTag + kTag100 + kIpv4Type + ipv4(2), TrapVerdict::kOther},
        {"ARP", kMacs + Bytes{0x08, 0x06} + ipv4(2), TrapVerdict::kOther},
        {"PPPoE, link control", kMacs + kPppoeSession + Bytes{0xC0, 0x21} + ipv4(2),
         TrapVerdict::kOther},
        {"IPv4 type, IPv6 packet", kMacs + kIpv4Type + report6, TrapVerdict::kOther},
        {"IPv6 type, IPv4 packet", kMacs + kIpv6Type + ipv4(2), TrapVerdict::kOther},
        {"neighbour solicitation", kMacs + kIpv6Type + ipv6_header(58) + icmpv6(135),
         TrapVerdict::kOther},
        {"UDP behind hop-by-hop",
         kMacs + kIpv6Type + ipv6_header(0) + Bytes{17, 0, 0, 0, 0, 0, 0, 0} + icmpv6(131),
         TrapVerdict::kOther},
        {"MLD, tag and PPPoE", kMacs + kTag100 + kPppoeSession + kPppIpv6 + report6,
         TrapVerdict::kMld},
        {"neighbour advertisement behind hop-by-hop",
         kMacs + kIpv6Type + ipv6_header(0) + kHopByHop + icmpv6(136), TrapVerdict::kOther},
        {"one below the MLD types", kMacs + kIpv6Type + ipv6_header(58) + icmpv6(129),
         TrapVerdict::kOther},
        {"one above the old MLD types", kMacs + kIpv6Type + ipv6_header(58) + icmpv6(133),
         TrapVerdict::kOther},
        {"nothing", {}, TrapVerdict::kTooShort},
    };
}

TEST(TrapFilter, TellsFramesApartByTheirFraming) {
    for (const TrapCase& each : trap_cases()) {
        EXPECT_EQ(driver::classify(each.frame), each.verdict) << each.name;
    }
}

TEST(TrapFilter, NeverReadsBehindTheEnd) {
    const Bytes frames[]{
        kMacs + kTag200 + kTag100 + kIpv4Type + ipv4(2), mld_frame(),
        kMacs + kPppoeSession + kPppIpv6 + ipv6_header(0) + kHopByHop + icmpv6(143)};
    for (const Bytes& frame : frames) {
        for (std::size_t size = 0; size < frame.size(); ++size) {
            // An exact copy on the heap, so that a sanitizer sees the first byte too many.
            const auto exact = std::make_unique<std::uint8_t[]>(size);
            std::copy_n(frame.begin(), size, exact.get());
            EXPECT_NE(driver::classify({exact.get(), size}), TrapVerdict::kOther) << size;
        }
    }
}

// ---- The kernel's filter ------------------------------------------------------------------------

/* libpcap runs the kernel's programs too; the instructions are the same under another name. */
bool kernel_takes(const Bytes& frame) {
    std::vector<bpf_insn> program;
    for (const sock_filter& one : live::trap_program()) {
        program.push_back({one.code, one.jt, one.jf, one.k});
    }
    const auto length = static_cast<u_int>(frame.size());
    return bpf_filter(program.data(), frame.data(), length, length) != 0;
}

TEST(TrapProgram, TakesWhatTheTrapTakes) {
    for (const TrapCase& each : trap_cases()) {
        const bool is_trapped =
            each.verdict == TrapVerdict::kIgmp || each.verdict == TrapVerdict::kMld;
        EXPECT_TRUE(!is_trapped || kernel_takes(each.frame)) << each.name;
    }
}

// A frame that it takes too much is refused in the driver; but it should not take the streams.
TEST(TrapProgram, LeavesOtherTrafficInTheKernel) {
    for (const TrapCase& each : trap_cases()) {
        if (each.verdict != TrapVerdict::kOther) continue;
        EXPECT_FALSE(kernel_takes(each.frame)) << each.name;
    }
}

TEST(TrapProgram, RefusesAFrameThatEndsBeforeItCanBeTold) {
    const Bytes frame =
        kMacs + kTag100 + kPppoeSession + kPppIpv6 + ipv6_header(0) + kHopByHop + icmpv6(143);
    const std::size_t told_at = frame.size() - 23;  // behind the ICMPv6 type
    for (std::size_t size = 0; size < told_at; ++size) {
        EXPECT_FALSE(kernel_takes(Bytes(frame.begin(), frame.begin() + static_cast<long>(size))))
            << size;
    }
    EXPECT_TRUE(kernel_takes(frame));
}

// ---- The way out of a live port -----------------------------------------------------------------

constexpr std::uint16_t kDefaultVid = 4088;
const Bytes kTag4088{0x81, 0x00, 0x0F, 0xF8};
const Bytes kTag0{0x81, 0x00, 0x00, 0x00};

/* What is on the wire. */
Bytes sent(const Bytes& frame) {
    const live::Egress egress = live::egress_of(frame, kDefaultVid);
    return Bytes(frame.begin(), frame.begin() + 12) +
           Bytes(egress.head.begin(), egress.head.begin() + static_cast<long>(egress.head_length)) +
           Bytes(frame.begin() + static_cast<long>(egress.rest), frame.end());
}

TEST(Egress, TheTagOfTheDefaultVlanComesOff) {
    EXPECT_EQ(sent(kMacs + kTag4088 + kIpv4Type + ipv4(2)), kMacs + kIpv4Type + ipv4(2));
    const Bytes prioritised{0x81, 0x00, 0xAF, 0xF8};
    EXPECT_EQ(sent(kMacs + prioritised + kIpv4Type + ipv4(2)), kMacs + kIpv4Type + ipv4(2));
}

TEST(Egress, EveryOtherFrameStaysAsItIs) {
    const Bytes packet6 = ipv6_header(0) + kHopByHop + icmpv6(131);
    const Bytes frames[]{
        kMacs + kIpv4Type + ipv4(2),
        kMacs + kTag100 + kIpv4Type + ipv4(2),
        kMacs + kTag0 + kIpv4Type + ipv4(2),
        kMacs + kTag100 + kTag4088 + kIpv4Type + ipv4(2),
        kMacs + kServiceTag + kIpv4Type + ipv4(2),
        kMacs + kIpv6Type + packet6,
        kMacs + kTag100 + kIpv6Type + packet6,
        kMacs + kTag0 + kIpv6Type + packet6,
        kMacs + kPppoeSession + kPppIpv6 + packet6,
    };
    for (const Bytes& frame : frames) EXPECT_EQ(sent(frame), frame);
}

TEST(Egress, WhatTheCoreSendsAsMldGetsItsTypeBack) {
    const Bytes query = ipv6_header(0) + kHopByHop + icmpv6(130);
    // After an untagged frame, after none, after one of VID 100 and priority 5, whose TCI stands
    // where the TPID should.
    EXPECT_EQ(sent(kMacs + kTag0 + kIpv4Type + query), kMacs + kIpv6Type + query);
    EXPECT_EQ(sent(kMacs + kTag4088 + kIpv4Type + query), kMacs + kIpv6Type + query);
    const Bytes tci_twice{0xA0, 0x64, 0xA0, 0x64};
    const Bytes tag{0x81, 0x00, 0xA0, 0x64};
    EXPECT_EQ(sent(kMacs + tci_twice + kIpv4Type + query), kMacs + tag + kIpv6Type + query);
}

TEST(Egress, AFrameTooShortForATagStaysAsItIs) {
    const Bytes frame = kMacs + kTag4088 + kIpv4Type + ipv4(2);
    for (std::size_t size = 12; size <= 18; ++size) {
        const Bytes cut(frame.begin(), frame.begin() + static_cast<long>(size));
        EXPECT_EQ(sent(cut), cut) << size;
    }
}

}  // namespace
