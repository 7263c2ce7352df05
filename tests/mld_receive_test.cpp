// Reception of MLD frames: what classification does on this side only. What both sides do alike is
// in framing_test.cpp, the packet task that feeds both in igmp_receive_test.cpp.
#include <gmock/gmock.h>

#include "tests/support/console.h"
#include "tests/support/frames.h"
#include "tests/support/fresh_library.h"
#include "tests/support/reception.h"
#include "tests/support/rules.h"
#include "tests/support/sides.h"

namespace {

using namespace mc_test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr std::uint8_t kUplink = MC_UPLINK_PORT;

class MldReception : public ReceptionTest<Mld> {};

// ---- The tag that is kept ----------------------------------------------------------------------

class MldTagScratch : public MldReception {
 protected:
    MldTagScratch() {
        mldInitParams.tag_tpid = 0x1111;
        mldInitParams.tag_vid = 0x222;
        mldInitParams.tag_pri = 3;
    }
    static void expect_scratch(unsigned tpid, unsigned vid, unsigned priority) {
        EXPECT_EQ(mldInitParams.tag_tpid, tpid);
        EXPECT_EQ(mldInitParams.tag_vid, vid);
        EXPECT_EQ(mldInitParams.tag_pri, priority);
    }
    static void expect_untouched_by(std::int32_t result, const Bytes& frame, std::uint32_t port) {
        EXPECT_EQ(Mld::receive(frame, port), result);
        expect_scratch(0x1111, 0x222, 3);
    }
};

TEST_F(MldTagScratch, AnUntaggedFrameLeavesNoVlan) {
    Mld::receive(Mld::report(), 2);
    expect_scratch(0x8100, 0, 0);
}

// The whole tag control field stands where the TPID belongs.
TEST_F(MldTagScratch, ASingleTaggedFrameLeavesItsTagControlField) {
    Mld::receive(Mld::framed(ethernet().tag(100, 5, true), Mld::packet()), 2);
    expect_scratch(0xB064, 100, 5);
}

TEST_F(MldTagScratch, ADoubleTaggedFrameLeavesTheInnerVlanWithoutPriority) {
    Mld::receive(Mld::framed(ethernet().tag(100, 5).tag(200, 6, true), Mld::packet()), 2);
    expect_scratch(0x8100, 200, 0);
}

TEST_F(MldTagScratch, APppoeFrameLeavesNoVlan) {
    Mld::receive(Mld::framed(ethernet().pppoe(), Mld::packet()), 2);
    expect_scratch(0x8100, 0, 0);
}

TEST_F(MldTagScratch, APppoeFrameBehindATagLeavesTheTagThatToldIt) {
    Mld::receive(Mld::framed(ethernet().tagged_pppoe(), Mld::packet()), 2);
    expect_scratch(0x8864, 0x864, 4);
}

TEST_F(MldTagScratch, ADroppedFrameLeavesItsTagOnceItWasParsed) {
    FrameBuffer tagged(Mld::framed(ethernet().tag(100, 5), Mld::packet()));
    EXPECT_EQ(mldL2PktProc(tagged.data(), 17, 2), -1);
    expect_scratch(0xA064, 100, 5);

    FrameBuffer session(Mld::framed(ethernet().tagged_pppoe(), Mld::packet()));
    EXPECT_EQ(mldL2PktProc(session.data(), 21, 2), -1);
    expect_scratch(0x8864, 0x864, 4);

    EXPECT_EQ(Mld::receive(ethernet().tag(200, 1).ipv4(Igmp::packet()), 2), -1);
    expect_scratch(0x20C8, 200, 1);

    FrameBuffer untagged(Mld::report());
    EXPECT_EQ(mldL2PktProc(untagged.data(), 13, 2), -1);
    expect_scratch(0x8100, 0, 0);
}

TEST_F(MldTagScratch, AFrameThatIsDroppedBeforeThatLeavesItAlone) {
    expect_untouched_by(0, padded(Mld::report(), 2001), 2);
    expect_untouched_by(-1, Mld::report(), 30);
    expect_untouched_by(-1, Mld::framed(ethernet().from("00:00:00:00:00:00"), Mld::packet()), 2);
    EXPECT_EQ(mldL2PktProc(nullptr, 60, 2), -1);
    expect_scratch(0x1111, 0x222, 3);
}

TEST_F(MldTagScratch, IsSetBeforeTheCoreIsCalled) {
    during("mld_pkt_recv", [] { expect_scratch(0xA064, 100, 5); });
    Mld::receive(Mld::framed(ethernet().tag(100, 5), Mld::packet()), 2);
    EXPECT_EQ(count_of("mld_pkt_recv"), 1u);
}

// What the core sends while it looks at the frame may translate the VLAN, and the handler then
// searches for the translated one.
TEST_F(MldTagScratch, IsWhatTheHandlerGetsAsItThenIs) {
    mldInitParams.multiMode = MLD_MODE_SNOOPING;
    during("mld_pkt_recv", [] { mldInitParams.tag_vid = 200; });
    EXPECT_THAT(said(mld_debug, kDbg,
                     [] {
                         set_rule<Mld>(2, 0, upstream_rule(2, 1, 1));
                         mldInitParams.vlancfgnum[2] = 1;
                         Mld::receive(Mld::report({100}), 2);
                     }),
                HasSubstr("searchUpSnoopPortCfgVlan from downlink,vlan = 200 config "
                          "search!,cfgvlan = 1\r\n"));
}

TEST_F(MldTagScratch, GivesTheHandlerTheInnerVlanOfADoubleTaggedFrame) {
    mldInitParams.multiMode = MLD_MODE_SNOOPING;
    set_rule<Mld>(2, 0, upstream_rule(2, 200, 1));
    PortVlanCfg[2][0].out_up_vlan = 300;
    mldInitParams.vlancfgnum[2] = 1;
    Mld::receive(Mld::framed(ethernet().tag(100).tag(200), Mld::packet()), 2);
    ASSERT_EQ(sent_frames().size(), 1u);
    EXPECT_EQ(hex(sent_frames()[0].frame),
              hex(Mld::framed(ethernet().tag(300).tag(200), Mld::packet())));
}

// ---- Group VLAN --------------------------------------------------------------------------------

// The byte that counts the template VLANs has just been overwritten with the receive port.
TEST_F(MldReception, AsManyTemplateVlansAreSearchedAsTheReceivePortsNumberSays) {
    given_vlans<Mld>({100, 200, 300, 400, 500, 600, 700, 800, 900, 1000});
    for (int block = 0; block < MC_PORTS; ++block) {
        for (int port = 0; port < 6; ++port) mldInitParams.vlancfgnum[port] = 1;
        set_rule<Mld>(block, 0, upstream_rule(block, 10, 300));
    }
    EXPECT_EQ(group_vlan(10, 0), 4088u);
    EXPECT_EQ(group_vlan(10, 1), 4088u);
    EXPECT_EQ(group_vlan(10, 2), 4088u);
    EXPECT_EQ(group_vlan(10, 3), 300u);
    EXPECT_EQ(group_vlan(10, 4), 300u);
    EXPECT_EQ(group_vlan(10, 5), 300u);
}

TEST_F(MldReception, AFrameFromPort0AlwaysGetsTheDefaultVlan) {
    given_vlans<Mld>({100});
    set_rule<Mld>(0, 0, upstream_rule(0, 10, 100));
    mldInitParams.vlancfgnum[0] = 1;
    EXPECT_EQ(group_vlan(10, 0), 4088u);
    mldInitParams.defaultVlan = 4000;
    EXPECT_EQ(group_vlan(10, 0), 4000u);
}

// Behind the ten entries lie other fields of the record, of which one would match.
TEST_F(MldReception, NothingIsSearchedBehindTheTenTemplateVlans) {
    given_vlans<Mld>({100, 200, 300, 400, 500, 600, 700, 800, 900, 1000});
    EXPECT_EQ(group_vlan(1000, kUplink), 1000u);
    mldInitParams.query_interval = 125;
    EXPECT_EQ(group_vlan(125, kUplink), 4088u);
}

TEST_F(MldReception, TheSearchGoesByTheTestUplinksOwnNumber) {
    mldInitParams.testuplink = 2;
    given_vlans<Mld>({100, 200, 300});
    EXPECT_EQ(group_vlan(200, 2), 200u);
    EXPECT_EQ(group_vlan(300, 2), 4088u);
}

TEST_F(MldReception, ATemplateVlanIsTakenByItsLow12Bits) {
    mldInitParams.portVlan[0] = 0x7FFFA064;
    mldInitParams.portVlan[1] = -1;
    EXPECT_EQ(group_vlan(100, kUplink), 100u);
    EXPECT_EQ(group_vlan(0xFFF, kUplink), 0xFFFu);
}

// Empty entries are 0 and count like any other.
TEST_F(MldReception, AnEmptyTemplateEntryTakesFramesWithoutAVlan) {
    EXPECT_EQ(group_vlan(10, 2), 0u);
    EXPECT_EQ(Mld::receive(Mld::report(), kUplink), 0);
    EXPECT_EQ(ponVlan, 0u);
    EXPECT_EQ(group_vlan(10, kUplink), 4088u);
}

TEST_F(MldReception, BlocksAreOpenedByTheIgmpTable) {
    given_vlans<Mld>({100, 200});
    mldInitParams.mldPortVlanCfg[2][0] = upstream_rule(2, 10, 100);
    mldInitParams.vlancfgnum[2] = 1;
    EXPECT_EQ(group_vlan(10, 2), 4088u) << "the MLD table's own port number opens nothing";

    PortVlanCfg[2][0] = upstream_rule(2, 999, 200);
    EXPECT_EQ(group_vlan(10, 2), 100u) << "opened by the IGMP rule, compared with the MLD one";

    mldInitParams.mldPortVlanCfg[2][0].portNO = 5;
    EXPECT_EQ(group_vlan(10, 2), 100u);
    EXPECT_EQ(group_vlan(999, 2), 4088u);
}

TEST_F(MldReception, TheMldCountSaysHowManyRulesAreSearched) {
    given_vlans<Mld>({100, 200});
    set_rule<Mld>(2, 0, upstream_rule(2, 1, 1));
    set_rule<Mld>(2, 1, upstream_rule(2, 10, 100));
    setVlanCfgNumber[2] = 2;
    mldInitParams.vlancfgnum[2] = 1;
    EXPECT_EQ(group_vlan(10, 2), 4088u);
    setVlanCfgNumber[2] = 0;
    mldInitParams.vlancfgnum[2] = 2;
    EXPECT_EQ(group_vlan(10, 2), 100u);
}

// Unlike on the IGMP side.
TEST_F(MldReception, TheUplinksBlockIsSearchedToo) {
    given_vlans<Mld>({100, 200});
    set_rule<Mld>(6, 0, upstream_rule(2, 10, 100));
    mldInitParams.vlancfgnum[2] = 1;
    EXPECT_EQ(group_vlan(10, 2), 100u);
}

TEST_F(MldReception, TheCarriedIndexOpensTheLastBlockByItsOwnRule) {
    given_vlans<Mld>({100, 200});
    for (int i = 0; i < 9; ++i) set_rule<Mld>(0, i, upstream_rule(2, 3000, 1));
    set_rule<Mld>(6, 0, upstream_rule(255, 10, 100));
    PortVlanCfg[6][9].portNO = 2;
    mldInitParams.vlancfgnum[2] = 9;
    EXPECT_EQ(group_vlan(10, 2), 100u);
    // One rule more, and the door would lie behind the table.
    mldInitParams.vlancfgnum[2] = 10;
    set_rule<Mld>(0, 9, upstream_rule(2, 3000, 1));
    EXPECT_EQ(group_vlan(10, 2), 4088u);
}

// ---- What the core gets ------------------------------------------------------------------------

TEST_F(MldReception, TheReceiveRecordHoldsAWordOfTheFrameAndTheFirstTime) {
    set_time(123456);
    Mld::receive(Mld::report(), 2);
    EXPECT_EQ(last_call("mld_pkt_recv").text,
              call("mld_pkt_recv", Mld::packet(), 72, 2, 0, fields(0x333F, 123456)));
    set_time(999999);
    Mld::receive(ethernet().to("ff:fa:00:00:00:01").ipv6(Mld::packet()), 3);
    EXPECT_EQ(last_call("mld_pkt_recv").text,
              call("mld_pkt_recv", Mld::packet(), 72, 3, 0, fields(0x0006, 123456)))
        << "the word wraps, the time stays";
}

TEST_F(MldReception, TheTimeIsTakenEvenWithAFrameThatIsDropped) {
    set_time(5);
    Mld::receive(Mld::report(), 30);
    set_time(6);
    Mld::receive(Mld::report(), 2);
    EXPECT_EQ(last_call("mld_pkt_recv").text,
              call("mld_pkt_recv", Mld::packet(), 72, 2, 0, fields(0x333F, 5)));
}

// 40 more than the header says, and more than 16 bits can hold.
TEST_F(MldReception, TheTotalLengthIsThePayloadLengthAndTheHeader) {
    Bytes frame = Mld::report();
    for (const std::uint32_t claimed : {0u, 32u, 1500u, 0xFFFFu}) {
        frame[18] = static_cast<std::uint8_t>(claimed >> 8);
        frame[19] = static_cast<std::uint8_t>(claimed);
        EXPECT_EQ(Mld::receive(frame, 2), 0);
        EXPECT_EQ(last_call("mld_pkt_recv").numbers.at(0), claimed + 40);
    }
}

TEST_F(MldReception, AnyIpv6PacketGoesToTheCore) {
    const Bytes udp =
        ipv6_packet("fe80::20", "ff02::fb", Bytes(16), {.router_alert = false, .next_header = 17});
    EXPECT_EQ(Mld::receive(ethernet().ipv6(udp), 2), 0);
    EXPECT_EQ(last_call("mld_pkt_recv").bytes.at(0), udp);
}

TEST_F(MldReception, TheUplinkKeepsItsNumber) {
    Mld::receive(Mld::report(), kUplink);
    EXPECT_EQ(last_call("mld_pkt_recv").numbers.at(1), 29);
}

TEST_F(MldReception, OfThePort8BitsCount) {
    EXPECT_EQ(Mld::receive(Mld::report(), 0x102), 0);
    EXPECT_EQ(last_call("mld_pkt_recv").numbers.at(1), 2);
    EXPECT_EQ(mldInitParams.srcPortNum, 2);
}

// No start-up step sets the node's address on this side.
TEST_F(MldReception, FramesFromTheZeroAddressAreTheNodesOwn) {
    expect_said(mld_debug, kDbg,
                "\r\n[MC_DBG_DBG]: mldL2PktProc is in! 2\n"
                "\r\n[MC_DBG_DBG]: Error! mld Packet comes from myself!\r\n",
                [] {
                    EXPECT_EQ(
                        Mld::receive(ethernet().from("00:00:00:00:00:00").ipv6(Mld::packet()), 2),
                        -1);
                });
    EXPECT_EQ(Mld::receive(ethernet().from("00:00:00:11:00:11").ipv6(Mld::packet()), 2), 0);
}

TEST_F(MldReception, LeavesTheIgmpSidesReceivePortAlone) {
    srcPortNum = 4;
    Mld::receive(Mld::report(), 2);
    EXPECT_EQ(srcPortNum, 4);
}

// ---- Mode --------------------------------------------------------------------------------------

TEST_F(MldReception, TheModeIsTheLowByte) {
    mldInitParams.multiMode = 0x0302;
    EXPECT_EQ(Mld::receive(Mld::report(), kUplink), -1);
    EXPECT_EQ(sent_frames().size(), 6u);
    mldInitParams.multiMode = 0x0201;
    EXPECT_EQ(Mld::receive(Mld::report(), kUplink), 0);
    EXPECT_EQ(sent_frames().size(), 6u);
}

// The IGMP side's code for snooping is no mode here.
TEST_F(MldReception, InMode1TheFrameGoesToTheCoreAndToNoHandler) {
    mldInitParams.multiMode = 1;
    EXPECT_EQ(Mld::receive(Mld::report(), 2), 0);
    EXPECT_EQ(Mld::receive(Mld::report(), kUplink), 0);
    EXPECT_EQ(count_of("mld_pkt_recv"), 2u);
    EXPECT_THAT(sent_frames(), IsEmpty());
}

TEST_F(MldReception, InSnoopingModeAnUplinkFrameIsForwardedButKeptFromTheCore) {
    mldInitParams.multiMode = MLD_MODE_SNOOPING;
    EXPECT_EQ(Mld::receive(Mld::report({100}), kUplink), -1);
    EXPECT_THAT(calls_of({"mld_pkt_recv"}), IsEmpty());
    EXPECT_EQ(sent_frames().size(), 6u);
    EXPECT_EQ(sent_frames()[5], (SentFrame{Mld::report({100}), 5, 29, 4088}));
}

// ---- Flow trace --------------------------------------------------------------------------------

TEST_F(MldReception, TracesAFrameThatARuleTakes) {
    mldInitParams.portVlan[0] = 300;
    mldInitParams.portVlan[1] = 0x10C8;
    set_rule<Mld>(2, 0, upstream_rule(2, 0xF00A, 100));
    set_rule<Mld>(2, 1, upstream_rule(2, 20, 200));
    mldInitParams.vlancfgnum[2] = 3;
    expect_said(
        mld_debug, kDbg,
        "\r\n[MC_DBG_DBG]: mldL2PktProc is in! 2\n"
        "\r\n[MC_DBG_DBG]: \r\n[INFO]Rcieve L2 data on interface 2(2):\r\n"
        "\r\n[MC_DBG_DBG]: in mldsearchRecievePktPortCfgVlan vlan_id = 20 usPort = 2 \r\n"
        "\r\n[MC_DBG_DBG]: recieve paket from downlink,vlan(20) config search!,cfgvlan(10)\r\n"
        "\r\n[MC_DBG_DBG]: recieve paket from downlink,vlan(20) config search!,cfgvlan(20)\r\n"
        "\r\n[MC_DBG_DBG]: in searchVlan vlan = 200\r\n"
        "\r\n[MC_DBG_DBG]: \n vlan is 4296"
        "\r\n[MC_DBG_DBG]: GROUP_VLAN = 200\r\n"
        "\r\n[MC_DBG_DBG]: IP TOTAL LENGTH = 72\r\n"
        "\r\n[MC_DBG_DBG]: MLD MODE = 1\r\n",
        [] { Mld::receive(Mld::report({20}), 2); });
}

TEST_F(MldReception, TracesAFrameFromTheUplink) {
    expect_said(mld_debug, kDbg,
                "\r\n[MC_DBG_DBG]: mldL2PktProc is in! 29\n"
                "\r\n[MC_DBG_DBG]: \r\n[INFO]Rcieve L2 data on interface 29(29):\r\n"
                "\r\n[MC_DBG_DBG]: in mldsearchRecievePktPortCfgVlan vlan_id = 20 usPort = 29 \r\n"
                "\r\n[MC_DBG_DBG]: recieve paket from uplink,no need vlan config search!\r\n"
                "\r\n[MC_DBG_DBG]: in searchVlan vlan = 20\r\n"
                "\r\n[MC_DBG_DBG]: GROUP_VLAN = 4088\r\n"
                "\r\n[MC_DBG_DBG]: IP TOTAL LENGTH = 72\r\n"
                "\r\n[MC_DBG_DBG]: MLD MODE = 1\r\n",
                [] { Mld::receive(Mld::report({20}), kUplink); });
}

TEST_F(MldReception, TracesAFrameFromAnUnknownPort) {
    given_vlans<Mld>({100, 100, 100, 100, 100, 100, 100, 100, 100, 100});
    mldInitParams.multiMode = MLD_MODE_SNOOPING;
    EXPECT_THAT(
        said(mld_debug, kDbg, [] { Mld::receive(Mld::report({20}), 7); }),
        HasSubstr("\r\n[MC_DBG_DBG]: in mldsearchRecievePktPortCfgVlan vlan_id = 20 usPort = 7 \r\n"
                  "\r\n[MC_DBG_DBG]: \n [checkPortState]port(7) is not find!"
                  "\r\n[MC_DBG_DBG]: in searchVlan vlan = 0\r\n"
                  "\r\n[MC_DBG_DBG]: GROUP_VLAN = 4088\r\n"
                  "\r\n[MC_DBG_DBG]: IP TOTAL LENGTH = 72\r\n"
                  "\r\n[MC_DBG_DBG]: MLD MODE = 2\r\n"
                  "\r\n[MC_DBG_DBG]: \n [checkPortState]port(7) is not find!"
                  "\r\n[MC_DBG_DBG]: mld MODE is Snooping\r\n"));
}

// The second line ends: on this side it goes out as a whole one.
TEST_F(MldReception, ReportsAFrameFromAnUnknownPort) {
    expect_said(mld_debug, kErr,
                "\r\n[MC_DBG_ERR]: \n [checkPortState]port(7) is not find!"
                "\r\n[MC_DBG_ERR]: port number is invalid!\r\n",
                [] { Mld::receive(Mld::report({20}), 7); });
}

TEST_F(MldReception, TracesTheCoresRefusal) {
    answer("mld_pkt_recv", -9);
    EXPECT_THAT(said(mld_debug, kDbg, [] { EXPECT_EQ(Mld::receive(Mld::report(), 2), -9); }),
                ::testing::EndsWith("\r\n[MC_DBG_DBG]: MLD MODE = 1\r\n"
                                    "\r\n[MC_DBG_DBG]: mld_pkt_recv ret = -9\r\n"));
}

}  // namespace
