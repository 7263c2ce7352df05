// Which frames reach the library, by the driver over captures and by the kernel's filter for live
// ports, and what becomes of frames on their way out of a live port.
#include <gmock/gmock.h>
#include <pcap/pcap.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "node/driver/frame_check.h"
#include "node/driver/trap_filter.h"
#include "node/live/egress.h"
#include "node/live/trap_program.h"
#include "support/frame_pieces.h"

namespace {

using namespace frame_pieces;
using driver::Refusal;
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
        {"router advertisement", kMacs + kIpv6Type + ipv6_header(58) + icmpv6(151),
         TrapVerdict::kMld},
        {"router termination", kMacs + kIpv6Type + ipv6_header(58) + icmpv6(153),
         TrapVerdict::kMld},
        {"inverse neighbour discovery", kMacs + kIpv6Type + ipv6_header(58) + icmpv6(144),
         TrapVerdict::kOther},
        {"ICMPv6 before router discovery", kMacs + kIpv6Type + ipv6_header(58) + icmpv6(150),
         TrapVerdict::kOther},
        {"ICMPv6 after router discovery", kMacs + kIpv6Type + ipv6_header(58) + icmpv6(154),
         TrapVerdict::kOther},
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

// ---- What is refused behind the trap ------------------------------------------------------------

/* A message in a frame, for either family. */
struct Side {
    const char* name;
    Bytes (*frame)(const Bytes& message);
    std::uint8_t query, report, newest_report, leave;
    std::size_t address;
};

constexpr std::size_t kPacketAt = 14;

Bytes igmp_frame_of(const Bytes& message) {
    return kMacs + kIpv4Type + ipv4_header(2, static_cast<std::uint8_t>(message.size())) +
           igmp(message);
}

Bytes mld_frame_of(const Bytes& message) {
    return kMacs + kIpv6Type + ipv6_header(0, static_cast<std::uint8_t>(8 + message.size())) +
           kHopByHop + icmpv6(message);
}

class FrameCheck : public ::testing::TestWithParam<Side> {
 protected:
    /* Type, code and what else stands before the group. */
    static Bytes header(std::uint8_t type, const Bytes& rest = {}) {
        Bytes bytes = Bytes{type, 0, 0, 0} + rest;
        bytes.resize(GetParam().address == 4 ? 4 : 8, 0);
        return bytes;
    }
    static Bytes addresses(std::size_t count) { return Bytes(count * GetParam().address, 0xEE); }
    static Bytes frame(const Bytes& message) { return GetParam().frame(message); }

    static Bytes query(std::uint8_t said, std::size_t there) {
        return frame(header(GetParam().query) + addresses(1) + Bytes{2, 125, 0, said} +
                     addresses(there));
    }
    /* A record that says that it has so many sources. */
    static Bytes report(std::uint8_t said, std::size_t there) {
        return frame(Bytes{GetParam().newest_report, 0, 0, 0, 0, 0, 0, 1, 4, 0, 0, said} +
                     addresses(1 + there));
    }
};

INSTANTIATE_TEST_SUITE_P(BothFamilies, FrameCheck,
                         ::testing::Values(Side{"Igmp", igmp_frame_of, 0x11, 0x16, 0x22, 0x17, 4},
                                           Side{"Mld", mld_frame_of, 130, 131, 143, 132, 16}),
                         [](const auto& one) { return one.param.name; });

std::optional<Refusal> refused(const Bytes& frame, bool from_uplink = false) {
    return driver::refuse(frame, from_uplink);
}

TEST_P(FrameCheck, WhatIsWholePassesInEveryFraming) {
    for (const std::uint8_t type : {GetParam().query, GetParam().report, GetParam().leave}) {
        EXPECT_EQ(refused(frame(header(type) + addresses(1))), std::nullopt) << int{type};
    }
    EXPECT_EQ(refused(query(2, 2)), std::nullopt);
    EXPECT_EQ(refused(report(2, 2)), std::nullopt);
    EXPECT_EQ(refused(padded(report(1, 1), 200)), std::nullopt) << "padding";
    Bytes tagged = report(2, 2);
    tagged.insert(tagged.begin() + 12, kTag100.begin(), kTag100.end());
    EXPECT_EQ(refused(tagged), std::nullopt);
}

TEST_P(FrameCheck, AMessageWithAWrongChecksumIsRefused) {
    Bytes wrong = report(2, 2);
    wrong.back() ^= 1;
    EXPECT_EQ(refused(wrong), Refusal::kChecksum);
    EXPECT_EQ(refused(wrong, true), Refusal::kChecksum);
}

TEST_P(FrameCheck, AMessageThatSaysMoreThanItHoldsIsRefused) {
    EXPECT_EQ(refused(report(2, 1)), Refusal::kTruncated);
    EXPECT_EQ(refused(query(2, 1)), Refusal::kTruncated);
    for (const std::uint8_t type : {GetParam().query, GetParam().report, GetParam().leave}) {
        Bytes message = header(type) + addresses(1);
        message.resize(message.size() - 2);
        EXPECT_EQ(refused(frame(message)), Refusal::kTruncated) << int{type};
        message.resize(4);
        EXPECT_EQ(refused(frame(message)), Refusal::kTruncated) << int{type};
    }
    EXPECT_EQ(refused(frame(Bytes{GetParam().newest_report, 0, 0, 0, 0, 0})), Refusal::kTruncated);
    // Longer than a query without sources and shorter than one with.
    EXPECT_EQ(refused(frame(header(GetParam().query) + addresses(1) + Bytes{2, 125})),
              Refusal::kTruncated);
}

TEST_P(FrameCheck, AFrameCutAnywhereIsRefusedAndNotReadPastItsEnd) {
    const Bytes whole = report(2, 2);
    const std::size_t trapped = GetParam().address == 4 ? kPacketAt + 10 : kPacketAt + 49;
    for (std::size_t size = trapped; size < whole.size(); ++size) {
        const auto exact = std::make_unique<std::uint8_t[]>(size);
        std::copy_n(whole.begin(), size, exact.get());
        EXPECT_EQ(driver::refuse({exact.get(), size}, false), Refusal::kTruncated) << size;
    }
}

TEST_P(FrameCheck, ReportsAndLeavesOfTheUplinkAreRefused) {
    for (const std::uint8_t type : {GetParam().report, GetParam().leave}) {
        EXPECT_EQ(refused(frame(header(type) + addresses(1)), true), Refusal::kReportFromUplink);
    }
    EXPECT_EQ(refused(report(2, 2), true), Refusal::kReportFromUplink);
    EXPECT_EQ(refused(query(2, 2), true), std::nullopt);
}

TEST_P(FrameCheck, WhatIsUnknownPassesWithItsChecksum) {
    EXPECT_EQ(refused(frame(Bytes{0x30, 0, 0, 0}), true), std::nullopt);
}

TEST(FrameCheckOfIpv4, AHeaderWithAWrongChecksumIsRefused) {
    Bytes wrong = igmp_frame();
    wrong[kPacketAt + 1] = 0xC0;
    EXPECT_EQ(refused(wrong), Refusal::kIpChecksum);
}

TEST(FrameCheckOfIpv4, AHeaderThatIsTooShortOrTooLongIsRefused) {
    for (const std::uint8_t first : Bytes{0x44, 0x4F}) {
        Bytes wrong = igmp_frame();
        wrong[kPacketAt] = first;
        EXPECT_EQ(refused(wrong), Refusal::kTruncated);
    }
}

TEST(FrameCheckOfIpv4, AFragmentIsNotLookedInto) {
    Bytes header = ipv4_header(2, 8);
    header[6] = 0x20;  // more fragments
    header[10] = header[11] = 0;
    const Bytes message{0x16, 0, 1, 2, 239, 1, 1, 1};
    EXPECT_EQ(refused(kMacs + kIpv4Type + with_checksum(header, checksum(header), 10) + message),
              std::nullopt);
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
