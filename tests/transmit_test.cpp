// What the core sends and what it programs: packets wrapped into frames, frames handed to the
// driver, forwarding entries. What both sides do alike runs over both.
#include <gmock/gmock.h>

#include "adapt/adapt.h"
#include "tests/support/console.h"
#include "tests/support/frames.h"
#include "tests/support/fresh_library.h"
#include "tests/support/hex_dump.h"
#include "tests/support/rules.h"
#include "tests/support/sides.h"

namespace {

using namespace mc_test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

constexpr std::uint16_t kPort = 3;
constexpr int kBlock = 3;  // logical number of that port

// A query or report for 1,2,3,4 at the end of its destination address; whatever the side, that is
// where it is looked for.
Bytes core_packet(std::size_t length) {
    Bytes packet = counted_bytes(length);
    if (length > 31) {
        packet[16] = 0xEF;
        packet[17] = 0x81;
        packet[18] = 0x01;
        packet[19] = 0x01;
        packet[28] = 0x12;
        packet[29] = 0x34;
        packet[30] = 0x56;
        packet[31] = 0x78;
    }
    return packet;
}

template <class Side>
class SendPacket : public StartedTest {
 protected:
    SendPacket() {
        Side::receive_port() = 4;
        ponVlan = 777;
        const Bytes own = {0x02, 0x00, 0x00, 0x00, 0x00, 0x99};
        std::copy(own.begin(), own.end(), Side::own_mac());
    }

    // A tag group: TPID, tag control field, and a type that is that of IPv4 on both sides.
    static Bytes group(std::uint16_t tci, std::uint16_t tpid = 0x8100) {
        return be16(tpid) + be16(tci) + Bytes{0x08, 0x00};
    }
    static Bytes macs() {
        return Side::destination(packet()) + Bytes{0x02, 0x00, 0x00, 0x00, 0x00, 0x99};
    }
    static Bytes packet() { return core_packet(48); }

    static void rule(int block, int index, int port, std::uint16_t data, std::uint16_t out) {
        set_rule<Side>(block, index, downstream_rule(port, data, out));
    }
    // The calls of the driver that send these frames.
    static std::string sent(const Bytes& frame, unsigned port = kPort) {
        return call("L2_multicast_send_msg", frame, port, frame.size(), 4, 777);
    }
};
TYPED_TEST_SUITE(SendPacket, Sides, TypeNames);

// ---- Once, with the core's VLAN ----------------------------------------------------------------

TYPED_TEST(SendPacket, WithoutARuleThePacketLeavesOnceWithTheCoresVlan) {
    using Side = TypeParam;
    EXPECT_EQ(Side::send(this->packet(), kPort, {.vid = 100}), 100);
    EXPECT_THAT(calls(), ElementsAre(this->sent(this->macs() + this->group(100) + this->packet())));
}

TYPED_TEST(SendPacket, TheTagIsTpidPriorityAndVlan) {
    using Side = TypeParam;
    Side::send(this->packet(), kPort, {.tpid = 0x88A8, .vid = 100, .priority = 5});
    Side::send(this->packet(), kPort, {.tpid = 0x9100, .vid = 0xFFFF, .priority = 0});
    Side::send(this->packet(), kPort, {.vid = 1, .priority = 0xFF});
    EXPECT_THAT(calls(),
                ElementsAre(this->sent(this->macs() + this->group(0xA064, 0x88A8) + this->packet()),
                            this->sent(this->macs() + this->group(0xFFFF, 0x9100) + this->packet()),
                            this->sent(this->macs() + this->group(0xE001) + this->packet())));
}

TYPED_TEST(SendPacket, Port65535IsTheUplink) {
    using Side = TypeParam;
    Side::send(this->packet(), 0xFFFF, {.vid = 100});
    Side::send(this->packet(), 29, {.vid = 100});
    const std::string up = this->sent(this->macs() + this->group(100) + this->packet(), 29);
    EXPECT_THAT(calls(), ElementsAre(up, up));
}

TYPED_TEST(SendPacket, WhatGoesToTheUplinkLeavesOnTheTestUplink) {
    using Side = TypeParam;
    Side::set_test_uplink(2);
    Side::send(this->packet(), 0xFFFF, {.vid = 100});
    EXPECT_THAT(calls(),
                ElementsAre(this->sent(this->macs() + this->group(100) + this->packet(), 2)));
}

TYPED_TEST(SendPacket, WhatGoesToTheUplinkIsNotTranslated) {
    using Side = TypeParam;
    this->rule(0, 0, 29, 100, 200);
    Side::rule_counts()[6] = 1;
    EXPECT_EQ(Side::send(this->packet(), 29, {.vid = 100}), 100);
    EXPECT_THAT(calls(),
                ElementsAre(this->sent(this->macs() + this->group(100) + this->packet(), 29)));
}

TYPED_TEST(SendPacket, AnUnknownPortGetsThePacketUntranslated) {
    using Side = TypeParam;
    this->rule(0, 0, 7, 100, 200);
    EXPECT_EQ(Side::send(this->packet(), 7, {.vid = 100}), 100);
    EXPECT_THAT(calls(),
                ElementsAre(this->sent(this->macs() + this->group(100) + this->packet(), 7)));
}

TYPED_TEST(SendPacket, APortAbove29IsIllegal) {
    using Side = TypeParam;
    for (const auto port : std::initializer_list<std::uint16_t>{30, 255, 256, 0xFFFE}) {
        EXPECT_EQ(said(Side::mask(), kErr, [&] { Side::send(this->packet(), port, {.vid = 100}); }),
                  "\r\n[MC_DBG_ERR]: The port no(" + std::to_string(port) +
                      ") is illegal, abord!<*_*>\r\n");
        EXPECT_EQ(said(Side::mask(), 0, [&] { Side::send(this->packet(), port, {.vid = 100}); }),
                  "");
    }
    EXPECT_THAT(calls(), IsEmpty());
}

TYPED_TEST(SendPacket, WithoutAPacketTheDestinationStaysZero) {
    using Side = TypeParam;
    Side::send_packet(nullptr, 8, kPort, {.vid = 100});
    const Bytes frame =
        Bytes(6) + Bytes{0x02, 0x00, 0x00, 0x00, 0x00, 0x99} + this->group(100) + Bytes(8);
    EXPECT_THAT(calls(), ElementsAre(this->sent(frame)));
}

// Whatever length comes with the packet: the core's buffer holds the address all the same.
TYPED_TEST(SendPacket, TheDestinationIsThatOfThePacketWhateverItsLength) {
    using Side = TypeParam;
    for (const std::uint16_t length : std::initializer_list<std::uint16_t>{0, 1, 19, 20, 31, 32}) {
        forget_calls();
        Bytes packet = this->packet();
        EXPECT_EQ(Side::send_packet(packet.data(), length, kPort, {.vid = 100}), 100);
        const Bytes sent(packet.begin(), packet.begin() + length);
        EXPECT_THAT(calls(), ElementsAre(this->sent(this->macs() + this->group(100) + sent)));
    }
}

// ---- Translated by rules -----------------------------------------------------------------------

TYPED_TEST(SendPacket, AMatchingRuleTranslatesTheVlanAndRewritesTheTag) {
    using Side = TypeParam;
    this->rule(0, 0, kPort, 100, 200);
    Side::rule_counts()[kBlock] = 1;
    EXPECT_EQ(Side::send(this->packet(), kPort, {.vid = 100, .priority = 6}), 200);
    EXPECT_THAT(calls(),
                ElementsAre(this->sent(this->macs() + this->group(0xC0C8) + this->packet())));
}

TYPED_TEST(SendPacket, ARuleWithoutAVlanKeepsTheCoresOne) {
    using Side = TypeParam;
    this->rule(0, 0, kPort, 100, 0xFFFF);
    Side::rule_counts()[kBlock] = 1;
    EXPECT_EQ(Side::send(this->packet(), kPort, {.vid = 100}), 100);
    EXPECT_THAT(calls(), ElementsAre(this->sent(this->macs() + this->group(100) + this->packet())));
}

TYPED_TEST(SendPacket, ATranslatedVlanOf0IsOneToo) {
    using Side = TypeParam;
    this->rule(0, 0, kPort, 100, 0);
    Side::rule_counts()[kBlock] = 1;
    EXPECT_EQ(Side::send(this->packet(), kPort, {.vid = 100}), 0);
    EXPECT_THAT(calls(), ElementsAre(this->sent(this->macs() + this->group(0) + this->packet())));
}

TYPED_TEST(SendPacket, All16BitsOfTheDataVlanAreCompared) {
    using Side = TypeParam;
    this->rule(0, 0, kPort, 0xF064, 200);
    Side::rule_counts()[kBlock] = 1;
    EXPECT_EQ(Side::send(this->packet(), kPort, {.vid = 100}), 100);
    EXPECT_EQ(Side::send(this->packet(), kPort, {.vid = 0xF064}), 200);
}

TYPED_TEST(SendPacket, WithTwoMatchesTheSecondFrameCarriesBothTags) {
    using Side = TypeParam;
    this->rule(0, 0, kPort, 100, 200);
    this->rule(1, 1, kPort, 100, 300);
    Side::rule_counts()[kBlock] = 2;
    EXPECT_EQ(Side::send(this->packet(), kPort, {.vid = 100, .priority = 1}), 300);
    EXPECT_THAT(calls(),
                ElementsAre(this->sent(this->macs() + this->group(0x20C8) + this->packet()),
                            this->sent(this->macs() + this->group(0x20C8) + this->group(0x212C) +
                                       this->packet())));
}

// The second rule keeps the VLAN that is in the tag by then.
TYPED_TEST(SendPacket, ARuleWithoutAVlanKeepsTheOneTranslatedBefore) {
    using Side = TypeParam;
    this->rule(0, 0, kPort, 100, 200);
    this->rule(1, 1, kPort, 100, 0xFFFF);
    Side::rule_counts()[kBlock] = 2;
    EXPECT_EQ(Side::send(this->packet(), kPort, {.vid = 100}), 200);
    EXPECT_THAT(calls(), ElementsAre(this->sent(this->macs() + this->group(200) + this->packet()),
                                     this->sent(this->macs() + this->group(200) + this->group(200) +
                                                this->packet())));
}

TYPED_TEST(SendPacket, FourMatchesSendFourFrames) {
    using Side = TypeParam;
    for (int i = 0; i < 4; ++i) {
        this->rule(i, i, kPort, 100, static_cast<std::uint16_t>(201 + i));
    }
    this->rule(0, 0, kPort, 100, 201);
    Side::rule_counts()[kBlock] = 4;
    EXPECT_EQ(Side::send(this->packet(), kPort, {.vid = 100}), 204);
    const Bytes one = this->macs() + this->group(201);
    const Bytes two = one + this->group(202);
    const Bytes three = two + this->group(203);
    const Bytes four = three + this->group(204);
    EXPECT_THAT(calls(),
                ElementsAre(this->sent(one + this->packet()), this->sent(two + this->packet()),
                            this->sent(three + this->packet()), this->sent(four + this->packet())));
}

TYPED_TEST(SendPacket, MoreThanFourMatchesSendFourFrames) {
    using Side = TypeParam;
    for (int block = 0; block < MC_PORTS; ++block) {
        for (int i = 0; i < MC_RULES; ++i) this->rule(block, i, kPort, 100, 200);
    }
    for (const std::int32_t count : {5, 10, 11, 99}) {
        forget_calls();
        Side::rule_counts()[kBlock] = count;
        Side::send(this->packet(), kPort, {.vid = 100});
        EXPECT_EQ(sent_frames().size(), 4u) << count;
    }
}

// The walk is not over the port's own rules: it begins in block 0 and goes to the next block with
// every match, while the position in the block moves on.
TYPED_TEST(SendPacket, TheSearchedBlockIsTheNumberOfMatchesSoFar) {
    using Side = TypeParam;
    this->rule(kBlock, 0, kPort, 100, 900);  // the port's own block only lets the search begin
    this->rule(0, 0, 1, 55, 1);
    this->rule(0, 1, 1, 100, 201);
    this->rule(0, 2, 1, 100, 901);  // by then block 1 is looked at
    this->rule(1, 0, 1, 100, 902);  // rule 0 is over by then
    this->rule(1, 1, 1, 100, 903);
    this->rule(1, 2, 1, 100, 202);
    this->rule(2, 3, 1, 100, 203);
    Side::rule_counts()[kBlock] = 4;
    EXPECT_EQ(Side::send(this->packet(), kPort, {.vid = 100}), 203);
    EXPECT_EQ(hex(sent_frames().back().frame),
              hex(this->macs() + this->group(201) + this->group(202) + this->group(203) +
                  this->packet()));
    EXPECT_EQ(sent_frames().size(), 3u);
}

TYPED_TEST(SendPacket, ThePortsCountSaysHowManyRulesAreLookedAt) {
    using Side = TypeParam;
    this->rule(0, 0, kPort, 55, 1);
    this->rule(0, 1, kPort, 100, 200);
    Side::rule_counts()[0] = 2;
    for (const std::int32_t count : {1, 0, -1}) {
        Side::rule_counts()[kBlock] = count;
        EXPECT_EQ(Side::send(this->packet(), kPort, {.vid = 100}), 100) << count;
    }
    Side::rule_counts()[kBlock] = 2;
    EXPECT_EQ(Side::send(this->packet(), kPort, {.vid = 100}), 200);
}

TYPED_TEST(SendPacket, NothingIsSearchedUnlessABlockBeginsWithThePort) {
    using Side = TypeParam;
    this->rule(0, 0, 1, 100, 200);
    this->rule(0, 1, kPort, 100, 200);
    Side::rule_counts()[kBlock] = 2;
    EXPECT_EQ(Side::send(this->packet(), kPort, {.vid = 100}), 100);
    this->rule(6, 0, kPort, 55, 1);
    EXPECT_EQ(Side::send(this->packet(), kPort, {.vid = 100}), 200);
}

// The number in a rule is a signed byte, so that 200 is none that a packet can go to.
TYPED_TEST(SendPacket, ARuleOfPort200TranslatesNothing) {
    using Side = TypeParam;
    Side::ports()[1].port_id = 200;
    for (int block = 0; block < MC_PORTS; ++block) this->rule(block, 0, 200, 100, 200);
    for (std::int32_t& count : Side::rule_counts()) count = 1;
    EXPECT_EQ(Side::send(this->packet(), kPort, {.vid = 100}), 100);
    forget_calls();
    EXPECT_EQ(Side::send(this->packet(), 200, {.vid = 100}), 100);
    EXPECT_EQ(Side::send(this->packet(), 0xFFC8, {.vid = 100}), 100);
    EXPECT_THAT(calls(), IsEmpty());
}

TYPED_TEST(SendPacket, APortNumberIsFoundInTheTableOfPorts) {
    using Side = TypeParam;
    Side::ports()[1].port_id = 17;
    this->rule(0, 0, 17, 100, 200);
    Side::rule_counts()[1] = 1;
    EXPECT_EQ(Side::send(this->packet(), 17, {.vid = 100}), 200);
}

// ---- Long packets ------------------------------------------------------------------------------

constexpr std::size_t kCapacity = 1518;

std::string does_not_fit(std::size_t length) {
    return "\r\n[MC_DBG_ERR]: packet of " + std::to_string(length) +
           " bytes does not fit the frame, abord!\r\n";
}

TYPED_TEST(SendPacket, APacketThatFillsTheFrameIsSentAndOneByteMoreIsDropped) {
    using Side = TypeParam;
    const Bytes fits = core_packet(kCapacity - 18);
    EXPECT_EQ(said(Side::mask(), kErr, [&] { Side::send(fits, kPort, {.vid = 100}); }), "");
    EXPECT_THAT(calls(), ElementsAre(this->sent(this->macs() + this->group(100) + fits)));

    for (const std::size_t length : {kCapacity - 17, kCapacity, std::size_t{0xFFFF}}) {
        expect_said(Side::mask(), kErr, does_not_fit(length),
                    [&] { Side::send(core_packet(length), kPort, {.vid = 100}); });
        EXPECT_THAT(calls(), IsEmpty());
    }
}

TYPED_TEST(SendPacket, EveryTagGroupTakesItsShareOfTheFrame) {
    using Side = TypeParam;
    for (int i = 0; i < 4; ++i) this->rule(i, i, kPort, 100, 200);
    Side::rule_counts()[kBlock] = 4;
    for (std::size_t groups = 1; groups <= 4; ++groups) {
        const std::size_t fits = kCapacity - 12 - 6 * groups;
        forget_calls();
        EXPECT_EQ(
            said(Side::mask(), kErr, [&] { Side::send(core_packet(fits), kPort, {.vid = 100}); })
                .empty(),
            groups == 4);
        ASSERT_EQ(sent_frames().size(), groups);
        EXPECT_EQ(sent_frames().back().frame.size(), kCapacity);
        forget_calls();
        EXPECT_THAT(said(Side::mask(), kErr,
                         [&] { Side::send(core_packet(fits + 1), kPort, {.vid = 100}); }),
                    StartsWith(does_not_fit(fits + 1)));
        EXPECT_EQ(sent_frames().size(), groups - 1);
    }
}

// Between two sends nothing of the first frame stays.
TYPED_TEST(SendPacket, AFrameHoldsNothingOfTheOneBefore) {
    using Side = TypeParam;
    Side::send(core_packet(1500), kPort, {.vid = 100});
    forget_calls();
    Side::send_packet(nullptr, 100, kPort, {.vid = 100});
    const Bytes frame =
        Bytes(6) + Bytes{0x02, 0x00, 0x00, 0x00, 0x00, 0x99} + this->group(100) + Bytes(100);
    EXPECT_THAT(calls(), ElementsAre(this->sent(frame)));
}

// ---- Flow trace --------------------------------------------------------------------------------

TYPED_TEST(SendPacket, TracesAPacketThatRulesTranslate) {
    using Side = TypeParam;
    this->rule(0, 0, kPort, 55, 1);
    this->rule(0, 1, kPort, 100, 200);
    this->rule(1, 2, kPort, 100, 300);
    Side::rules()[0][0].in_up_vlan = 0xF00A;
    Side::rules()[0][1].in_up_vlan = 20;
    Side::rules()[1][2].in_up_vlan = 30;
    Side::rule_counts()[kBlock] = 3;
    expect_said(Side::mask(), kDbg,
                "\r\n[MC_DBG_DBG]: The port no is (3)\r\n"
                "\r\n[MC_DBG_DBG]: checkPortState 3"
                "\r\n[MC_DBG_DBG]: searchSendPktPortCfgVlan ,vlan(100)"
                "\r\n[MC_DBG_DBG]: searchSendPktPortCfgVlan from downlink,vlan(100) config "
                "search!,cfgvlan(61450)\r\n"
                "\r\n[MC_DBG_DBG]: searchSendPktPortCfgVlan from downlink,vlan(100) config "
                "search!,cfgvlan(20)\r\n"
                "\r\n[MC_DBG_DBG]: searchSendPktPortCfgVlan from downlink,vlan(100) config "
                "search!,cfgvlan(30)\r\n"
                "\r\n[MC_DBG_DBG]: [send_pkt_igmp]: searchSendPktPortCfgVlan num 2\r\n" +
                    Side::sends(3, 66) + Side::sends(3, 72),
                [&] { Side::send(this->packet(), kPort, {.vid = 100}); });
}

TYPED_TEST(SendPacket, TracesAPacketForTheUplink) {
    using Side = TypeParam;
    expect_said(Side::mask(), kDbg,
                "\r\n[MC_DBG_DBG]: The port no is (29)\r\n"
                "\r\n[MC_DBG_DBG]: checkPortState 29" +
                    Side::sends(29, 66),
                [&] { Side::send(this->packet(), 0xFFFF, {.vid = 100}); });
}

TYPED_TEST(SendPacket, TracesAPacketForAnUnknownPort) {
    using Side = TypeParam;
    expect_said(Side::mask(), kDbg,
                "\r\n[MC_DBG_DBG]: The port no is (7)\r\n"
                "\r\n[MC_DBG_DBG]: checkPortState 7"
                "\r\n[MC_DBG_DBG]: \n [checkPortState]port(7) is not find!"
                "\r\n[MC_DBG_DBG]: searchSendPktPortCfgVlan ,vlan(100)"
                "\r\n[MC_DBG_DBG]: [send_pkt_igmp]: searchSendPktPortCfgVlan num 0\r\n" +
                    Side::sends(7, 66),
                [&] { Side::send(this->packet(), 7, {.vid = 100}); });
}

// The sides end the last line differently.
TYPED_TEST(SendPacket, ReportsAnUnknownPort) {
    using Side = TypeParam;
    const std::string end = std::is_same_v<Side, Igmp> ? "\r\n" : "\r";
    expect_said(Side::mask(), kErr,
                "\r\n[MC_DBG_ERR]: \n [checkPortState]port(7) is not find!"
                "\r\n[MC_DBG_ERR]: port number is invalid!" +
                    end,
                [&] { Side::send(this->packet(), 7, {.vid = 100}); });
}

TYPED_TEST(SendPacket, TracesAnIllegalPort) {
    using Side = TypeParam;
    expect_said(Side::mask(), kDbg, "\r\n[MC_DBG_DBG]: The port no is (30)\r\n",
                [&] { Side::send(this->packet(), 30, {.vid = 100}); });
}

// ---- One side only -----------------------------------------------------------------------------

class IgmpSendPacket : public SendPacket<Igmp> {};
class MldSendPacket : public SendPacket<Mld> {};

TEST_F(IgmpSendPacket, TheDestinationIsTheGroupsMacAddress) {
    Igmp::send(ipv4_packet("192.0.2.1", "239.129.1.1", {}), 29, {.vid = 100});
    const Bytes frame = sent_frames().at(0).frame;
    EXPECT_EQ(mac(Bytes(frame.begin(), frame.begin() + 6)), "01:00:5e:01:01:01");
}

TEST_F(IgmpSendPacket, WithoutATagNothingIsSent) {
    Bytes packet = core_packet(40);
    expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: send_pkt_igmp without a tag, abord!\r\n",
                [&] { send_pkt_igmp(3, packet.data(), nullptr, 40); });
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(MldSendPacket, TheDestinationIsTakenFromBytes28To31OfThePacket) {
    Bytes packet = counted_bytes(32);
    Mld::send(packet, 29, {.vid = 100});
    const Bytes frame = sent_frames().at(0).frame;
    EXPECT_EQ(mac(Bytes(frame.begin(), frame.begin() + 6)), "33:33:1c:1d:1e:1f");
}

TEST_F(MldSendPacket, TheCoresTagRecordIsNotRead) {
    mldInitParams.tag_tpid = 0x8100;
    mldInitParams.tag_vid = 100;
    Bytes packet = core_packet(48);
    IgmpVlanTag tag = {0x9100, 55, 7};
    send_pkt_mld(packet.data(), 29, &tag, 48);
    EXPECT_THAT(calls(), ElementsAre(sent(macs() + group(100) + packet, 29)));
    EXPECT_EQ(tag.vid, 55);
}

// With the tag word of the frame, which is no TPID, and behind it the type of IPv4.
TEST_F(MldSendPacket, APacketLeavesWithTheTagOfTheLastFrame) {
    mldInitParams.multiMode = Mld::kProxy;
    FrameBuffer frame(Mld::framed(ethernet().tag(100, 5), Mld::packet()));
    mldL2PktProc(frame.data(), frame.len(), 4);
    forget_calls();
    ponVlan = 777;
    Bytes packet = core_packet(48);
    send_pkt_mld(packet.data(), 0xFFFF, nullptr, 48);
    EXPECT_THAT(calls(), ElementsAre(sent(macs() + group(0xA064, 0xA064) + packet, 29)));
}

TEST_F(MldSendPacket, ATranslatedVlanIsThatOfTheNextPacketToo) {
    rule(0, 0, kPort, 100, 200);
    mldInitParams.vlancfgnum[kBlock] = 1;
    Mld::send(packet(), kPort, {.vid = 100});
    forget_calls();
    Bytes again = packet();
    send_pkt_mld(again.data(), 29, nullptr, 48);
    EXPECT_THAT(calls(), ElementsAre(sent(macs() + group(200) + packet(), 29)));
}

TEST_F(MldSendPacket, RulesOfTheIgmpTableDoNotTranslate) {
    PortVlanCfg[0][0] = downstream_rule(kPort, 100, 200);
    setVlanCfgNumber[kBlock] = 1;
    mldInitParams.vlancfgnum[kBlock] = 1;
    EXPECT_EQ(Mld::send(packet(), kPort, {.vid = 100}), 100);
}

// ---- Frames handed to the driver ---------------------------------------------------------------

template <class Side>
class Transmit : public SendPacket<Side> {};
TYPED_TEST_SUITE(Transmit, Sides, TypeNames);

TYPED_TEST(Transmit, TheLastReceivePortAndGroupVlanTravelAlong) {
    using Side = TypeParam;
    FrameBuffer frame(counted_bytes(60));
    EXPECT_EQ(Side::transmit(frame.data(), 60, 3), 0);
    Side::receive_port() = 29;
    ponVlan = 4088;
    EXPECT_EQ(Side::transmit(frame.data(), 60, 3), 0);
    EXPECT_THAT(calls(),
                ElementsAre(call("L2_multicast_send_msg", counted_bytes(60), 3, 60, 4, 777),
                            call("L2_multicast_send_msg", counted_bytes(60), 3, 60, 29, 4088)));
}

TYPED_TEST(Transmit, ThePortIsReducedTo8Bits) {
    using Side = TypeParam;
    FrameBuffer frame(counted_bytes(60));
    Side::transmit(frame.data(), 60, 0x103);
    Side::transmit(frame.data(), 60, 0xFFFF);
    EXPECT_EQ(sent_frames()[0].port, 3u);
    EXPECT_EQ(sent_frames()[1].port, 255u);
}

TYPED_TEST(Transmit, TheUplinkIsReplacedByTheTestUplink) {
    using Side = TypeParam;
    FrameBuffer frame(counted_bytes(60));
    Side::transmit(frame.data(), 60, 29);
    Side::set_test_uplink(0x1FF02);
    Side::transmit(frame.data(), 60, 29);
    Side::transmit(frame.data(), 60, 5);
    Side::set_test_uplink(0);
    Side::transmit(frame.data(), 60, 29);
    EXPECT_EQ(sent_frames()[0].port, 29u);
    EXPECT_EQ(sent_frames()[1].port, 2u);
    EXPECT_EQ(sent_frames()[2].port, 5u);
    EXPECT_EQ(sent_frames()[3].port, 0u);
}

TYPED_TEST(Transmit, TracesEveryFrame) {
    using Side = TypeParam;
    FrameBuffer frame(counted_bytes(60));
    expect_said(Side::mask(), kDbg, Side::sends(3, 60),
                [&] { Side::transmit(frame.data(), 60, 3); });
    Side::set_test_uplink(0x1FF02);
    expect_said(Side::mask(), kDbg, Side::sends(0xFF02, 60),
                [&] { Side::transmit(frame.data(), 60, 29); });
}

TYPED_TEST(Transmit, ReportsTheDriversFailureWhateverThePort) {
    using Side = TypeParam;
    answer("L2_multicast_send_msg", -3);
    FrameBuffer frame(counted_bytes(60));
    expect_said(Side::mask(), kErr,
                "\r\n[MC_DBG_ERR]:  uplink L2_multicast_send_msg Fail ,ret = -3.",
                [&] { Side::transmit(frame.data(), 60, 3); });
}

TYPED_TEST(Transmit, AFailureThatIsNotReportedIsTheDriversStatus) {
    using Side = TypeParam;
    answer("L2_multicast_send_msg", kFailure);
    FrameBuffer frame(counted_bytes(60));
    EXPECT_EQ(Side::transmit(frame.data(), 60, 3), kFailure);
    std::int32_t status = 0;
    said(Side::mask(), kAllCategories & ~kErr,
         [&] { status = Side::transmit(frame.data(), 60, 3); });
    EXPECT_EQ(status, kFailure);
}

TYPED_TEST(Transmit, AFailureStopsNoFurtherFrame) {
    using Side = TypeParam;
    answer("L2_multicast_send_msg", kFailure);
    this->rule(0, 0, kPort, 100, 200);
    this->rule(1, 1, kPort, 100, 300);
    Side::rule_counts()[kBlock] = 2;
    EXPECT_EQ(Side::send(this->packet(), kPort, {.vid = 100}), 300);
    EXPECT_EQ(sent_frames().size(), 2u);
}

TYPED_TEST(Transmit, DumpsEveryFrame) {
    using Side = TypeParam;
    for (const std::size_t length : {0, 1, 15, 16, 17, 32, 33, 1518}) {
        FrameBuffer frame(counted_bytes(length));
        expect_said(Side::mask(), 0x08,
                    Side::sent_heading(3, length) + hex_dump(counted_bytes(length)),
                    [&] { Side::transmit(frame.data(), static_cast<std::uint16_t>(length), 3); });
    }
}

TYPED_TEST(Transmit, DumpsNoFrameWhereThereIsNone) {
    using Side = TypeParam;
    EXPECT_EQ(said(Side::mask(), 0x08, [] { Side::transmit(nullptr, 0, 3); }),
              Side::sent_heading(3, 0));
    EXPECT_THAT(calls(), ElementsAre("L2_multicast_send_msg(null, 3, 0, 4, 777)"));
}

TYPED_TEST(Transmit, DumpsUnderThePortThatWasAskedFor) {
    using Side = TypeParam;
    Side::set_test_uplink(2);
    FrameBuffer frame(counted_bytes(8));
    EXPECT_THAT(said(Side::mask(), 0x08, [&] { Side::transmit(frame.data(), 8, 29); }),
                StartsWith(Side::sent_heading(29, 8)));
}

class IgmpTransmit : public SendPacket<Igmp> {};
class MldTransmit : public SendPacket<Mld> {};

TEST_F(IgmpTransmit, AReportedFailureIsTheDriversStatusToo) {
    answer("L2_multicast_send_msg", kFailure);
    FrameBuffer frame(counted_bytes(60));
    std::int32_t status = 0;
    said(mc_debug, kErr, [&] { status = l2_igmp_send_pkt(frame.data(), 60, 3); });
    EXPECT_EQ(status, kFailure);
}

TEST_F(MldTransmit, AReportedFailureIsTheLengthOfTheReport) {
    FrameBuffer frame(counted_bytes(60));
    for (const std::int32_t failure : {1, -12345}) {
        answer("L2_multicast_send_msg", failure);
        std::int32_t status = 0;
        const std::string report =
            said(mld_debug, kErr, [&] { status = mld_l2_igmp_send_pkt(frame.data(), 60, 3); });
        EXPECT_EQ(status, static_cast<std::int32_t>(report.size()));
        EXPECT_GT(status, 0);
    }
}

// ---- Forwarding entries ------------------------------------------------------------------------

template <class Side>
class Entries : public StartedTest {
 protected:
    static void add_and_delete(std::uint16_t vlan, std::uint16_t port) {
        auto entry = Side::entry(vlan, port);
        EXPECT_EQ(Side::add_entry(&entry), 0);
        EXPECT_EQ(Side::delete_entry(&entry), 0);
    }
    static std::int32_t add(std::uint16_t vlan = 100, std::uint16_t port = 3) {
        auto entry = Side::entry(vlan, port);
        return Side::add_entry(&entry);
    }
    static std::int32_t remove(std::uint16_t vlan = 100, std::uint16_t port = 3) {
        auto entry = Side::entry(vlan, port);
        return Side::delete_entry(&entry);
    }
    static std::string mac_line() {
        return std::string("\r\n[MC_DBG_DBG]: gmac address   : ") + Side::kEntryMac;
    }
};
TYPED_TEST_SUITE(Entries, Sides, TypeNames);

TYPED_TEST(Entries, AreAddedAndRemovedUnderTheirMacAddress) {
    using Side = TypeParam;
    this->add_and_delete(100, 3);
    this->add_and_delete(4095, 5);
    EXPECT_THAT(calls(),
                ElementsAre(call("L2_multicast_set_port_iptv_entry", 3, Side::kEntryMac, 100),
                            call("L2_multicast_remove_port_iptv_entry", 3, Side::kEntryMac, 100),
                            call("L2_multicast_set_port_iptv_entry", 5, Side::kEntryMac, 4095),
                            call("L2_multicast_remove_port_iptv_entry", 5, Side::kEntryMac, 4095)));
}

TYPED_TEST(Entries, HaveASignedPort) {
    using Side = TypeParam;
    this->add_and_delete(100, 0xFFFF);
    EXPECT_THAT(calls(),
                ElementsAre(call("L2_multicast_set_port_iptv_entry", -1, Side::kEntryMac, 100),
                            call("L2_multicast_remove_port_iptv_entry", -1, Side::kEntryMac, 100)));
    EXPECT_THAT(said(Side::mask(), kDbg, [this] { this->add(100, 0xFFFF); }),
                HasSubstr("portNo = -1 "));
}

TYPED_TEST(Entries, WithoutARecordAreNone) {
    using Side = TypeParam;
    EXPECT_EQ(said(Side::mask(), kAllCategories,
                   [] {
                       EXPECT_EQ(Side::add_entry(nullptr), -1);
                       EXPECT_EQ(Side::delete_entry(nullptr), -1);
                   }),
              "");
    EXPECT_THAT(calls(), IsEmpty());
}

TYPED_TEST(Entries, AreTracedWhenTheyAreAdded) {
    using Side = TypeParam;
    expect_said(
        Side::mask(), kDbg,
        this->mac_line() + "\r\n[MC_DBG_DBG]: " + Side::kAddEntry + " portNo = 3 vlan = 100\r\n",
        [this] { this->add(); });
}

TYPED_TEST(Entries, ThatTheDriverRefusesAreReported) {
    using Side = TypeParam;
    answer("L2_multicast_set_port_iptv_entry", -4);
    answer("L2_multicast_remove_port_iptv_entry", -5);
    expect_said(Side::mask(), kErr,
                "\r\n[MC_DBG_ERR]: \n ERROR!L2_multicast_set_port_iptv_entry Fail -4",
                [this] { this->add(); });
    expect_said(Side::mask(), kErr,
                "\r\n[MC_DBG_ERR]: \n ERROR!L2_multicast_remove_port_iptv_entry Fail -5",
                [this] { this->remove(); });
}

TYPED_TEST(Entries, ThatTheDriverTakesAreNoErrors) {
    using Side = TypeParam;
    EXPECT_EQ(said(Side::mask(), kErr,
                   [this] {
                       EXPECT_EQ(this->add(), 0);
                       EXPECT_EQ(this->remove(), 0);
                   }),
              "");
}

TYPED_TEST(Entries, ThatTheDriverRefusesWithAOneAreReportedToo) {
    using Side = TypeParam;
    answer("L2_multicast_set_port_iptv_entry", 1);
    answer("L2_multicast_remove_port_iptv_entry", 1);
    EXPECT_THAT(said(Side::mask(), kErr, [this] { this->add(); }), HasSubstr("Fail 1"));
    EXPECT_THAT(said(Side::mask(), kErr, [this] { this->remove(); }), HasSubstr("Fail 1"));
}

TYPED_TEST(Entries, ThatTheDriverKeepsGiveItsStatus) {
    answer("L2_multicast_remove_port_iptv_entry", kFailure);
    for (const int answer_of_table : {0, 1, 7}) {
        tablereturn = answer_of_table;
        EXPECT_EQ(this->remove(), kFailure);
        EXPECT_EQ(tablereturn, answer_of_table);
    }
}

TYPED_TEST(Entries, AndPacketsAreSilentUnderTheOtherSidesMask) {
    using Side = TypeParam;
    answer("L2_multicast_set_port_iptv_entry", kFailure);
    answer("L2_multicast_send_msg", kFailure);
    EXPECT_EQ(said(Side::other_mask(), kAllCategories,
                   [this] {
                       this->add();
                       this->remove();
                       Side::send(core_packet(48), 7, {.vid = 100});
                   }),
              "");
}

class IgmpEntries : public Entries<Igmp> {};

TEST_F(IgmpEntries, HaveTheLow23BitsOfTheGroupInTheirMacAddress) {
    IgmpGroupEntry entry = Igmp::entry(100, 3);
    entry.group = ipv4_number("239.129.1.1");
    EXPECT_EQ(igmp_add_grp(&entry), 0);
    entry.group = ipv4_number("224.127.254.253");
    EXPECT_EQ(igmp_add_grp(&entry), 0);
    EXPECT_THAT(calls(),
                ElementsAre("L2_multicast_set_port_iptv_entry(3, 01:00:5e:01:01:01, 100)",
                            "L2_multicast_set_port_iptv_entry(3, 01:00:5e:7f:fe:fd, 100)"));
}

TEST_F(IgmpEntries, TheCoreHearsOfAFailingAddByDefault) {
    answer("L2_multicast_set_port_iptv_entry", kFailure);
    EXPECT_EQ(add(), 1);
    igmp_set_table_return(0);
    EXPECT_EQ(add(), 0);
    igmp_set_table_return(1);
    EXPECT_EQ(add(), 1);
}

TEST_F(IgmpEntries, AFailingAddBringsTheAnswerInto0Or1) {
    answer("L2_multicast_set_port_iptv_entry", kFailure);
    tablereturn = 7;
    EXPECT_EQ(add(), 1);
    EXPECT_EQ(tablereturn, 1);
    tablereturn = -7;
    EXPECT_EQ(add(), 0);
    EXPECT_EQ(tablereturn, 0);
}

TEST_F(IgmpEntries, ASuccessfulAddLeavesTheAnswerAlone) {
    tablereturn = 7;
    EXPECT_EQ(add(), 0);
    EXPECT_EQ(tablereturn, 7);
}

TEST_F(IgmpEntries, AFailingAddTracesTheAnswer) {
    answer("L2_multicast_set_port_iptv_entry", -4);
    expect_said(mc_debug, kCfg, "\r\n[MC_DBG_CFG]: \n ERROR!tablereturn 1", [] { add(); });
    tablereturn = 0;
    expect_said(mc_debug, kCfg, "\r\n[MC_DBG_CFG]: \n ERROR!tablereturn 0", [] { add(); });
}

// The port stands in another category than that of the add.
TEST_F(IgmpEntries, ARemovalIsTracedInTwoCategories) {
    expect_said(mc_debug, kDbg, mac_line(), [] { remove(); });
    expect_said(mc_debug, kCfg, "\r\n[MC_DBG_CFG]: igmp_del_grp portNo = 3 vlan = 100\r\n",
                [] { remove(); });
}

class MldEntries : public Entries<Mld> {};

// Unlike on the IGMP side.
TEST_F(MldEntries, AFailingAddIsTheDriversStatusWhateverTheIgmpSideAnswers) {
    answer("L2_multicast_set_port_iptv_entry", kFailure);
    for (const int answer_of_table : {0, 1, 7}) {
        tablereturn = answer_of_table;
        EXPECT_EQ(add(), kFailure);
        EXPECT_EQ(tablereturn, answer_of_table);
    }
    EXPECT_EQ(said(mld_debug, kCfg, [] { add(); }), "");
}

TEST_F(MldEntries, ARemovalIsTracedInOneCategory) {
    expect_said(mld_debug, kDbg,
                mac_line() + "\r\n[MC_DBG_DBG]: mld_del_grp portNo = 3 vlan = 100\r\n",
                [] { remove(); });
}

// ---- Call-backs inside the core ----------------------------------------------------------------

class CallBack : public StartedTest {};

// A query that arrives makes the core answer: what it sends carries where the query came from.
TEST_F(CallBack, APacketSentWhileAFrameIsLookedAtCarriesThatFramesPort) {
    proxy_adapt_mode = MC_MODE_PROXY;
    given_vlans<Igmp>({100});
    during("igmp_pkt_recv", [] {
        const Bytes report = Igmp::packet();
        EXPECT_EQ(Igmp::send(report, 0xFFFF, {.vid = 100}), 100);
        IgmpGroupEntry entry = Igmp::entry(100, 3);
        EXPECT_EQ(igmp_add_grp(&entry), 0);
    });
    FrameBuffer frame(Igmp::framed(ethernet().tag(100), Igmp::packet()));
    EXPECT_EQ(igmpL2PktProc(frame.data(), frame.len(), 29), 0);
    ASSERT_EQ(sent_frames().size(), 1u);
    EXPECT_EQ(sent_frames()[0].port, 29u);
    EXPECT_EQ(sent_frames()[0].src_port, 29u);
    EXPECT_EQ(sent_frames()[0].vlan, 100u);
    EXPECT_EQ(last_call("L2_multicast_set_port_iptv_entry").text,
              call("L2_multicast_set_port_iptv_entry", 3, Igmp::kEntryMac, 100));
}

}  // namespace
