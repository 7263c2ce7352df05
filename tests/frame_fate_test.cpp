// What the node says about frames of which the library makes nothing, held against what the
// library then does; and how it tells what became of each frame.
#include "node/driver/frame_fate.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <thread>

#include "igmp/igmp.h"
#include "mld/mld.h"
#include "mld/record.h"
#include "node/core/handed.h"
#include "node/driver/trap_filter.h"
#include "tests/support/frames.h"
#include "tests/support/fresh_library.h"
#include "tests/support/neighbours.h"
#include "tests/support/sides.h"

namespace mc_test {
namespace {

using driver::FateCounts;
using driver::LibraryDrop;
using driver::TrapVerdict;

constexpr std::uint16_t kPppIpv4 = 0x0021;
constexpr std::uint16_t kPppoe = 0x8864;
constexpr std::uint32_t kPort = 2;
constexpr const char* kUnicast = "02:00:00:00:00:99";

Bytes report() { return Igmp::packet(); }
Bytes mld_report() { return Mld::packet(); }

// A session header, with what stands in the place of the protocol.
Bytes session(std::uint16_t protocol) { return be16(0x1100) + be32(0x00010022) + be16(protocol); }

// As the packet task does with what the driver gives it.
void give_to_library(const Bytes& bytes) {
    FrameBuffer frame(bytes);
    const bool is_igmp = bytes[0] == 0x01 && bytes[1] == 0x00 && bytes[2] == 0x5E;
    const auto receive = is_igmp ? igmpL2PktProc : mldL2PktProc;
    static_cast<void>(receive(frame.data(), frame.len(), kPort));
}

class FrameFate : public StartedTest {
 protected:
    FrameFate() { driver::know_own_frames({sys_mac, mld_sys_mac}); }

    static bool is_dropped(const Bytes& frame) {
        EXPECT_NE(driver::classify(frame), TrapVerdict::kOther) << "the trap keeps it";
        forget_calls();
        give_to_library(frame);
        return sent_frames().empty() && calls_of({Igmp::kCore, Mld::kCore}).empty();
    }

    static std::string explanation(const Bytes& frame) {
        return is_dropped(frame) ? std::string(name(driver::explain_drop(frame))) : "taken";
    }
};

// ---- Why
// -----------------------------------------------------------------------------------------

TEST_F(FrameFate, WhatTheLibraryTakesIsNotExplained) {
    EXPECT_EQ(explanation(ethernet().ipv4(report())), "taken");
    EXPECT_EQ(explanation(ethernet().tag(100).ipv4(report())), "taken");
    EXPECT_EQ(explanation(ethernet().tag(200).tag(100).ipv4(report())), "taken");
    EXPECT_EQ(explanation(ethernet().pppoe().ipv4(report())), "taken");
    EXPECT_EQ(explanation(ethernet().ipv6(mld_report())), "taken");
    EXPECT_EQ(explanation(ethernet().to(kUnicast).ipv6(mld_report())), "taken");
}

TEST_F(FrameFate, UnicastIgmpIsNamed) {
    EXPECT_EQ(explanation(ethernet().to(kUnicast).ipv4(report())),
              "IGMP to a MAC address of no IPv4 group");
    EXPECT_EQ(explanation(ethernet().to("33:33:00:00:00:16").ipv4(report())),
              "IGMP to a MAC address of no IPv4 group");
}

TEST_F(FrameFate, MldToAnIpv4GroupIsNamed) {
    EXPECT_EQ(explanation(ethernet().to("01:00:5e:00:00:16").ipv6(mld_report())),
              "MLD to a MAC address of an IPv4 group");
}

TEST_F(FrameFate, OwnFramesThatComeBackAreNamed) {
    const char* const igmp_side = "00:0a:0b:0c:0d:0e";
    const Bytes mac = mac_bytes(igmp_side);
    std::ranges::copy(mac, sys_mac);
    EXPECT_EQ(explanation(ethernet().from(igmp_side).ipv4(report())), "sent by the node itself");
    // Each side has an address of its own.
    EXPECT_EQ(explanation(ethernet().from(igmp_side).ipv6(mld_report())), "taken");
    std::ranges::copy(mac, mld_sys_mac);
    EXPECT_EQ(explanation(ethernet().from(igmp_side).ipv6(mld_report())),
              "sent by the node itself");
}

TEST_F(FrameFate, FramingsOfPppoeThatTheLibraryDoesNotKnowAreNamed) {
    const Bytes ppp = session(kPppIpv4) + report();
    EXPECT_EQ(explanation(ethernet().to("01:00:5e:01:01:01").carrying(kPppoe, ppp)),
              "PPPoE with a PPP protocol number");
    EXPECT_EQ(explanation(ethernet().to("01:00:5e:01:01:01").tag(100).carrying(kPppoe, ppp)),
              "PPPoE behind a tag");
    EXPECT_EQ(explanation(ethernet().to("01:00:5e:01:01:01").tag(1).tag(100).carrying(kPppoe, ppp)),
              "PPPoE behind a tag");
}

TEST_F(FrameFate, ATagThatReadsLikePppoeIsNamed) {
    EXPECT_EQ(explanation(ethernet().tag(0x864, 4).ipv4(report())),
              "tag of VID 2148 and priority 4, taken for PPPoE");
}

// ---- Which
// ---------------------------------------------------------------------------------------

class FrameInHand : public FrameFate {
 protected:
    static FateCounts counted() {
        FateCounts counts;
        if (const auto fate = driver::put_down()) count(*fate, counts);
        return counts;
    }
    static void take_report() { driver::take_in_hand(kPort, ethernet().ipv4(report())); }
};

TEST_F(FrameInHand, IsInOneKind) {
    take_report();
    { const mcore::Handing to_core; }
    driver::note_sent();
    EXPECT_EQ(counted().core_and_sent, 1U);

    take_report();
    { const mcore::Handing to_core; }
    EXPECT_EQ(counted().core_only, 1U);

    take_report();
    driver::note_sent();
    driver::note_sent();
    EXPECT_EQ(counted().sent_only, 1U);

    driver::take_in_hand(kPort, ethernet().to(kUnicast).ipv4(report()));
    const FateCounts dropped = counted();
    EXPECT_EQ(dropped.drops[static_cast<std::size_t>(LibraryDrop::kIgmpToNoGroup)], 1U);
    EXPECT_EQ(dropped.total(), 1U);
}

TEST_F(FrameInHand, WhatTheCoreSendsMeanwhileIsNotTheFrame) {
    take_report();
    {
        const mcore::Handing to_core;
        driver::note_sent();
    }
    EXPECT_EQ(counted().core_only, 1U);
}

TEST_F(FrameInHand, WhatOtherThreadsDoIsNotItsFate) {
    take_report();
    std::thread([] {
        const mcore::Handing to_core;
        driver::note_sent();
    }).join();
    EXPECT_EQ(counted().dropped(), 1U);
}

TEST_F(FrameInHand, IsCountedOnce) {
    take_report();
    driver::note_sent();
    EXPECT_EQ(counted().total(), 1U);
    EXPECT_EQ(counted().total(), 0U);
    driver::note_sent();
    EXPECT_EQ(counted().total(), 0U);
}

}  // namespace
}  // namespace mc_test
