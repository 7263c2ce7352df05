// Reception of IGMP frames: the packet task's loop, the host's own door, and what classification
// does on this side only. What both sides do alike is in framing_test.cpp.
#include <gmock/gmock.h>
#include <stdio.h>

#include "tests/support/console.h"
#include "tests/support/frames.h"
#include "tests/support/fresh_library.h"
#include "tests/support/hex_dump.h"
#include "tests/support/reception.h"
#include "tests/support/rules.h"
#include "tests/support/sides.h"

namespace {

using namespace mc_test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class IgmpReception : public ReceptionTest<Igmp> {};

// ---- Group VLAN --------------------------------------------------------------------------------

TEST_F(IgmpReception, AReportWithoutRulesAndTemplatesReachesTheCoreWith4088) {
    EXPECT_EQ(Igmp::receive(Igmp::report(), 2), 0);
    EXPECT_THAT(calls(), ElementsAre("igmp_time_now()",
                                     call("igmp_pkt_recv", Igmp::packet(), 32, 2, 4088, "null")));
}

TEST_F(IgmpReception, AFrameFromTheUplinkReachesTheCoreAsPort65535) {
    EXPECT_EQ(Igmp::receive(Igmp::report(), 29), 0);
    EXPECT_EQ(last_call("igmp_pkt_recv").text,
              call("igmp_pkt_recv", Igmp::packet(), 32, 0xFFFF, 4088, "null"));
}

TEST_F(IgmpReception, ATemplateVlanIsFoundByItsLow12BitsAndTakenWhole) {
    given_vlans<Igmp>({300, 0xA0C8, 200});
    EXPECT_EQ(group_vlan(200, 29), 0xA0C8u);
    EXPECT_EQ(group_vlan(300, 29), 300u);
}

TEST_F(IgmpReception, OnlyTheTemplateVlansInUseAreSearched) {
    given_vlans<Igmp>({100, 200, 300});
    EXPECT_EQ(group_vlan(300, 29), 300u);
    setVlanNumber = 2;
    EXPECT_EQ(group_vlan(300, 29), 4088u);
    setVlanNumber = 0;
    EXPECT_EQ(group_vlan(100, 29), 4088u);
    setVlanNumber = -1;
    EXPECT_EQ(group_vlan(100, 29), 4088u);
}

TEST_F(IgmpReception, ATemplateCountOutOfRangeSearchesTenEntries) {
    given_vlans<Igmp>({1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
    setVlanNumber = 99;
    EXPECT_EQ(group_vlan(10, 29), 10u);
    EXPECT_EQ(group_vlan(11, 29), 4088u);
}

TEST_F(IgmpReception, ATemplateEntryOf65535MeansTheDefaultVlan) {
    given_vlans<Igmp>({0xFFFF});
    EXPECT_EQ(group_vlan(0xFFF, 29), 4088u);
}

TEST_F(IgmpReception, ATemplateEntryOf0TakesFramesWithoutAVlan) {
    given_vlans<Igmp>({0});
    EXPECT_EQ(group_vlan(10, 2), 0u);
}

TEST_F(IgmpReception, TheDefaultVlanIsNotTheOneOfTheParameterRecord) {
    defaultVlan = 4001;
    globle_parm.defaultVlan = 4002;
    EXPECT_EQ(group_vlan(10, 2), 4001u);
}

// Only six blocks are searched: the uplink's never is, whatever stands in it.
TEST_F(IgmpReception, TheUplinksRulesAreNotSearched) {
    given_vlans<Igmp>({100});
    PortVlanCfg[6][0] = upstream_rule(2, 10, 100);
    setVlanCfgNumber[2] = 1;
    EXPECT_EQ(group_vlan(10, 2), 4088u);
    PortVlanCfg[5][0] = upstream_rule(2, 10, 100);
    EXPECT_EQ(group_vlan(10, 2), 100u);
}

// ---- Packet ------------------------------------------------------------------------------------

TEST_F(IgmpReception, TheTotalLengthIsWhatTheHeaderClaims) {
    Bytes frame = Igmp::report();
    for (const std::uint32_t claimed : {0u, 20u, 1500u, 0xFFFFu}) {
        frame[16] = static_cast<std::uint8_t>(claimed >> 8);
        frame[17] = static_cast<std::uint8_t>(claimed);
        EXPECT_EQ(Igmp::receive(frame, 2), 0);
        EXPECT_EQ(last_call("igmp_pkt_recv").numbers.at(0), claimed);
    }
}

TEST_F(IgmpReception, WrongChecksumsAreTheCoresAffair) {
    Bytes frame = Igmp::report();
    frame[24] ^= 0xFF;     // of the IPv4 header
    frame.back() ^= 0xFF;  // the group, so that the IGMP checksum is wrong
    EXPECT_EQ(Igmp::receive(frame, 2), 0);
    EXPECT_EQ(count_of("igmp_pkt_recv"), 1u);
}

TEST_F(IgmpReception, AUdpPacketIsDroppedWithTheTextOfAnOwnFrame) {
    const Bytes packet = ipv4_packet("192.0.2.20", "239.255.1.1", Bytes(16), {.protocol = 17});
    const Bytes frame = ethernet().tag(100).ipv4(packet);
    for (const std::uint8_t mode : {MC_MODE_SNOOPING, MC_MODE_PROXY, MC_MODE_CONTROL}) {
        proxy_adapt_mode = mode;
        expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: Error! Igmp Packet comes from myself!\r\n",
                    [&] { EXPECT_EQ(Igmp::receive(frame, 2), -1); });
        EXPECT_THAT(calls(), IsEmpty());
    }
}

// The group VLAN is settled by then.
TEST_F(IgmpReception, AUdpPacketLeavesItsGroupVlan) {
    given_vlans<Igmp>({100});
    const Bytes packet = ipv4_packet("192.0.2.20", "239.255.1.1", Bytes(16), {.protocol = 17});
    EXPECT_EQ(Igmp::receive(ethernet().tag(100).ipv4(packet), 29), -1);
    EXPECT_EQ(ponVlan, 100u);
}

TEST_F(IgmpReception, TheNodesAddressIsKnownFromTheStart) {
    const Bytes frame = ethernet().from("00:00:00:11:00:11").ipv4(Igmp::packet());
    EXPECT_EQ(Igmp::receive(frame, 2), -1);
    EXPECT_THAT(calls_of({"igmp_pkt_recv"}), IsEmpty());
}

TEST_F(IgmpReception, APortNumberOfMoreThan8BitsIsIllegalAndRecordedByItsLowByte) {
    expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: The port no(258) is illegal, abord!<*_*>\r\n",
                [] { EXPECT_EQ(Igmp::receive(Igmp::report(), 258), -1); });
    EXPECT_EQ(srcPortNum, 2);
}

// ---- Flow trace --------------------------------------------------------------------------------

TEST_F(IgmpReception, TracesAFrameThatARuleTakes) {
    given_vlans<Igmp>({300, 200});
    set_rule<Igmp>(2, 0, upstream_rule(2, 0xF00A, 100));
    set_rule<Igmp>(2, 1, upstream_rule(2, 20, 200));
    setVlanCfgNumber[2] = 3;
    expect_said(
        mc_debug, kDbg,
        "\r\n[MC_DBG_DBG]: igmpL2PktProc is in! 2\n"
        "\r\n[MC_DBG_DBG]: \r\n[INFO][IGMP-RCV] : Rcieve L2 data on interface 2(2):\r\n"
        "\r\n[MC_DBG_DBG]: in searchRecievePktPortCfgVlan vlan_id = 20 usPort = 2 \r\n"
        "\r\n[MC_DBG_DBG]: recieve paket from downlink,vlan(20) config search!,cfgvlan(10)\r\n"
        "\r\n[MC_DBG_DBG]: recieve paket from downlink,vlan(20) config search!,cfgvlan(20)\r\n"
        "\r\n[MC_DBG_DBG]: in searchVlan vlan = 200\r\n"
        "\r\n[MC_DBG_DBG]: \n vlan is 200"
        "\r\n[MC_DBG_DBG]: out searchVlan vlan = 200\r\n"
        "\r\n[MC_DBG_DBG]: GROUP_VLAN = 200\r\n"
        "\r\n[MC_DBG_DBG]: IP TOTAL LENGTH = 32\r\n"
        "\r\n[MC_DBG_DBG]: PROTOL TYPE = 2"
        "\r\n[MC_DBG_DBG]: IGMP MODE = 2\r\n",
        [] { Igmp::receive(Igmp::report({20}), 2); });
}

TEST_F(IgmpReception, TracesAFrameFromTheUplink) {
    expect_said(mc_debug, kDbg,
                "\r\n[MC_DBG_DBG]: igmpL2PktProc is in! 29\n"
                "\r\n[MC_DBG_DBG]: \r\n[INFO][IGMP-RCV] : Rcieve L2 data on interface 29(29):\r\n"
                "\r\n[MC_DBG_DBG]: in searchRecievePktPortCfgVlan vlan_id = 20 usPort = 29 \r\n"
                "\r\n[MC_DBG_DBG]: recieve paket from uplink,no need vlan config search!\r"
                "\r\n[MC_DBG_DBG]: in searchVlan vlan = 20\r\n"
                "\r\n[MC_DBG_DBG]: out searchVlan vlan = 65535\r\n"
                "\r\n[MC_DBG_DBG]: GROUP_VLAN = 4088\r\n"
                "\r\n[MC_DBG_DBG]: IP TOTAL LENGTH = 32\r\n"
                "\r\n[MC_DBG_DBG]: PROTOL TYPE = 2"
                "\r\n[MC_DBG_DBG]: IGMP MODE = 2\r\n"
                "\r\n[MC_DBG_DBG]: The port no is (29)\r\n",
                [] { Igmp::receive(Igmp::report({20}), 29); });
}

TEST_F(IgmpReception, TracesATestUplinksFrameUnderBothPorts) {
    testuplink = 2;
    const std::string text = said(mc_debug, kDbg, [] { Igmp::receive(Igmp::report(), 2); });
    EXPECT_THAT(text, HasSubstr("igmpL2PktProc is in! 2\n"));
    EXPECT_THAT(text, HasSubstr("Rcieve L2 data on interface 29(29):\r\n"));
}

TEST_F(IgmpReception, TracesTheLowByteOfThePortOnTheWayIn) {
    EXPECT_EQ(said(mc_debug, kDbg, [] { Igmp::receive(Igmp::report(), 258); }),
              "\r\n[MC_DBG_DBG]: igmpL2PktProc is in! 2\n");
}

TEST_F(IgmpReception, TracesAnOwnFrame) {
    const Bytes frame = ethernet().from("00:00:00:11:00:11").ipv4(Igmp::packet());
    expect_said(mc_debug, kDbg,
                "\r\n[MC_DBG_DBG]: igmpL2PktProc is in! 2\n"
                "\r\n[MC_DBG_DBG]: Error! Igmp Packet comes from myself!\r\n",
                [&] { Igmp::receive(frame, 2); });
}

TEST_F(IgmpReception, TracesAFrameFromAnUnknownPort) {
    proxy_adapt_mode = MC_MODE_SNOOPING;
    EXPECT_THAT(
        said(mc_debug, kDbg, [] { Igmp::receive(Igmp::report({20}), 7); }),
        HasSubstr("\r\n[MC_DBG_DBG]: in searchRecievePktPortCfgVlan vlan_id = 20 usPort = 7 \r\n"
                  "\r\n[MC_DBG_DBG]: \n [checkPortState]port(7) is not find!"
                  "\r\n[MC_DBG_DBG]: in searchVlan vlan = 0\r\n"
                  "\r\n[MC_DBG_DBG]: out searchVlan vlan = 65535\r\n"
                  "\r\n[MC_DBG_DBG]: GROUP_VLAN = 4088\r\n"
                  "\r\n[MC_DBG_DBG]: IP TOTAL LENGTH = 32\r\n"
                  "\r\n[MC_DBG_DBG]: PROTOL TYPE = 2"
                  "\r\n[MC_DBG_DBG]: IGMP MODE = 1\r\n"
                  "\r\n[MC_DBG_DBG]: \n [checkPortState]port(7) is not find!"
                  "\r\n[MC_DBG_DBG]: IGMP MODE is Snooping\r\n"));
}

TEST_F(IgmpReception, ReportsAFrameFromAnUnknownPort) {
    expect_said(mc_debug, kErr,
                "\r\n[MC_DBG_ERR]: \n [checkPortState]port(7) is not find!"
                "\r\n[MC_DBG_ERR]: port number is invalid!\r",
                [] { Igmp::receive(Igmp::report({20}), 7); });
}

// ---- Frames that a host module delivers itself -------------------------------------------------

class HostDelivery : public IgmpReception {
 protected:
    static std::int32_t deliver_as(std::uint32_t kind, const Bytes& bytes = Igmp::report()) {
        FrameBuffer frame(bytes);
        return MuticastReceive(frame.data(), frame.len(), 2, kind);
    }
    static constexpr const char* kText = "\r\n[MC_DBG_ERR]: \n ERROR!Pkt recive Fail !";
};

TEST_F(HostDelivery, AFrameOfKind1IsReceived) {
    EXPECT_EQ(deliver_as(1), 0);
    EXPECT_EQ(last_call("igmp_pkt_recv").text, Igmp::core_call(Igmp::packet(), 2, 4088));
}

TEST_F(HostDelivery, EveryOtherKindIsLeftAlone) {
    for (const std::uint32_t kind : {0u, 2u, 3u, 257u, 0xFFFFFFFFu}) {
        EXPECT_EQ(said(mc_debug, kAllCategories, [&] { EXPECT_EQ(deliver_as(kind), 1); }), "");
    }
    EXPECT_EQ(MuticastReceive(nullptr, 0, 2, 0), 1);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(HostDelivery, AFailureIsReportedAndTheReportsOwnResultReturned) {
    answer("igmp_pkt_recv", kFailure);
    int of_puts = -1;
    printed([&] { of_puts = puts(kText); });
    std::int32_t result = -1;
    EXPECT_EQ(said(mc_debug, kErr, [&] { result = deliver_as(1); }), std::string(kText) + "\n");
    EXPECT_EQ(result, of_puts);
}

TEST_F(HostDelivery, AFailureThatIsNotReportedIsASuccess) {
    answer("igmp_pkt_recv", kFailure);
    EXPECT_EQ(said(mc_debug, kAllCategories & ~kErr, [] { EXPECT_EQ(deliver_as(1), 0); })
                  .find("Pkt recive Fail"),
              std::string::npos);
    EXPECT_EQ(deliver_as(1), 0);
    EXPECT_EQ(deliver_as(1, Bytes(13)), 0);
}

TEST_F(HostDelivery, AnOverlongFrameIsNoFailure) {
    EXPECT_EQ(said(mc_debug, kErr, [] { EXPECT_EQ(deliver_as(1, Bytes(2001)), 0); }),
              "\r\n[MC_DBG_ERR]: usLength  = 2001\r\n");
}

// ---- The packet task ---------------------------------------------------------------------------

class PacketTask : public IgmpReception {
 protected:
    PacketTask() { mldInitParams.multiMode = Mld::kProxy; }
    static std::vector<std::string> core_calls() {
        return calls_of({"igmp_pkt_recv", "mld_pkt_recv"});
    }
};

TEST_F(PacketTask, RoutesFramesByTheIpv4MulticastAddress) {
    deliver(Igmp::report(), 2);
    deliver(Mld::framed(ethernet(), Mld::packet()), 4);
    run_packet_task();
    EXPECT_THAT(core_calls(), ElementsAre(Igmp::core_call(Igmp::packet(), 2, 4088),
                                          Mld::core_call(Mld::packet(), 4, 0)));
}

// Three bytes decide; what they do not name goes to the MLD side, which then tells what it is.
TEST_F(PacketTask, RoutesAllOtherFramesToTheMldSide) {
    for (const char* const address :
         {"01:00:5f:00:00:01", "01:01:5e:00:00:01", "00:00:5e:00:00:01", "02:00:00:00:00:01"}) {
        deliver(ethernet().to(address).ipv4(Igmp::packet()), 2);
    }
    deliver(ethernet().to("01:00:5e:ff:ff:ff").ipv6(Mld::packet()), 2);
    mc_debug = kErr;
    EXPECT_EQ(said(mld_debug, kErr, [] { run_packet_task(); }),
              "\r\n[MC_DBG_ERR]: Not ip pkt recieved,abord!(2048)\r\n"
              "\r\n[MC_DBG_ERR]: Not ip pkt recieved,abord!(2048)\r\n"
              "\r\n[MC_DBG_ERR]: Not ip pkt recieved,abord!(2048)\r\n"
              "\r\n[MC_DBG_ERR]: Not ip pkt recieved,abord!(2048)\r\n"
              "\r\n[MC_DBG_ERR]: Not ip pkt recieved,abord!(34525)\r\n");
    EXPECT_THAT(core_calls(), IsEmpty());
    EXPECT_EQ(mldInitParams.srcPortNum, 2);
}

TEST_F(PacketTask, SleepsASecondWhenTheDriverHasNothing) {
    run_packet_task(3);
    EXPECT_THAT(
        calls(),
        ElementsAre("L2_multicast_read_msg()", "sleep(1)", "L2_multicast_read_msg()", "sleep(1)",
                    "L2_multicast_read_msg()", "sleep(1)", "L2_multicast_read_msg()"));
}

// A frame that the driver takes back is not looked at.
TEST_F(PacketTask, IgnoresWhatAFailingReadLeftInTheBuffer) {
    fail_call("L2_multicast_read_msg", 1, -5);
    deliver(Igmp::report(), 2);
    run_packet_task();
    EXPECT_THAT(calls(),
                ElementsAre("L2_multicast_read_msg()", "sleep(1)", "L2_multicast_read_msg()"));
}

TEST_F(PacketTask, GoesOnAfterFramesThatFail) {
    answer("igmp_pkt_recv", kFailure);
    deliver(Igmp::report(), 2);
    deliver(Igmp::report(), 30);
    deliver(Bytes(3), 2);
    deliver(Igmp::report(), 3);
    run_packet_task();
    EXPECT_EQ(count_of("igmp_pkt_recv"), 2u);
    EXPECT_EQ(count_of("sleep"), 0u);
}

TEST_F(PacketTask, BytesOfAnEarlierFrameStayBehindAShorterOne) {
    const Bytes frame = Igmp::report();
    deliver(frame, 2);
    deliver(Bytes(frame.begin(), frame.begin() + 6), 3, 46);
    run_packet_task();
    EXPECT_THAT(core_calls(), ElementsAre(Igmp::core_call(Igmp::packet(), 2, 4088),
                                          Igmp::core_call(Igmp::packet(), 3, 4088)));
}

// The tag of the frame before, which the short one's length does not cover.
TEST_F(PacketTask, TheLengthCheckGoesByWhatStandsInTheBuffer) {
    deliver(Igmp::report({100}), 2);
    deliver(Bytes{0x01, 0x00, 0x5e}, 2);
    EXPECT_EQ(said(mc_debug, kErr, [] { run_packet_task(); }),
              "\r\n[MC_DBG_ERR]: Too short frame,abord!(3)\r\n");
}

TEST_F(PacketTask, BeginsWithAnEmptyBuffer) {
    deliver({}, 2, 40);
    EXPECT_EQ(said(mld_debug, 0x10, [] { run_packet_task(); }), hex_dump(Bytes(40)));
}

TEST_F(PacketTask, TakesFramesThatFillTheBuffer) {
    deliver(padded(Igmp::report(), 2048), 2);
    deliver(padded(Igmp::report(), 2000), 2);
    EXPECT_EQ(said(mc_debug, kErr, [] { run_packet_task(); }),
              "\r\n[MC_DBG_ERR]: usLength  = 2048\r\n");
    EXPECT_EQ(count_of("igmp_pkt_recv"), 1u);
}

}  // namespace
