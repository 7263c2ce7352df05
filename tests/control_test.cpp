// Forwarding in control mode: upstream under the tags that name the node and the user port, and
// what sets it apart downstream. What it shares with snooping mode is in snooping_test.cpp.
#include <gmock/gmock.h>

#include "tests/support/console.h"
#include "tests/support/forwarding.h"
#include "tests/support/fresh_library.h"

namespace {

using namespace mc_test;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint16_t kPriority5 = 0xA064;  // VID 100
constexpr std::uint8_t kNoOnuId = 255;

// ---- Upstream, both sides ----------------------------------------------------------------------

template <class Handler>
class ControlUpstream : public StartedTest {};
TYPED_TEST_SUITE(ControlUpstream, ControlHandlers, TypeNames);

TYPED_TEST(ControlUpstream, UntaggedReportGetsTheOnuIdAndThePort) {
    using Side = typename TypeParam::Side;
    set_onu_id(7);
    const Bytes report = Side::report();
    EXPECT_EQ(forward<TypeParam>(report, 4, 0), report);
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report({7, 5})}));
    EXPECT_EQ(sent().at(0).frame.size(), report.size() + 8);
    EXPECT_EQ(from_byte(first_bytes(sent().at(0).frame, 20), 12),
              (Bytes{0x81, 0x00, 0x00, 0x07, 0x81, 0x00, 0x00, 0x05}));
}

TYPED_TEST(ControlUpstream, TagOfAReportIsReplaced) {
    using Side = typename TypeParam::Side;
    set_onu_id(7);
    const Bytes report = Side::report({0xF064});
    EXPECT_EQ(forward<TypeParam>(report, 4, 100), report);
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report({7, 5})}));
    EXPECT_EQ(sent().at(0).frame.size(), report.size() + 4);
}

TYPED_TEST(ControlUpstream, InnerTagOfADoubleTaggedReportStaysBehindTheNewOnes) {
    using Side = typename TypeParam::Side;
    set_onu_id(7);
    const Bytes report = Side::report({kPriority5, 0x60C8});
    EXPECT_EQ(forward<TypeParam>(report, 4, 200), report);
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report({7, 5, 0x60C8})}));
}

TYPED_TEST(ControlUpstream, OnuId0IsSentAs128) {
    using Side = typename TypeParam::Side;
    set_onu_id(0);
    forward<TypeParam>(Side::report(), 4, 0);
    forward<TypeParam>(Side::report({kPriority5}), 4, 100);
    EXPECT_THAT(sent(),
                ElementsAre(Sent{29, Side::report({128, 5})}, Sent{29, Side::report({128, 5})}));
}

TYPED_TEST(ControlUpstream, OtherOnuIdsAreSentAsTheyAre) {
    using Side = typename TypeParam::Side;
    for (const std::uint8_t onu_id : Bytes{1, 127, 128, 254}) {
        forget_calls();
        set_onu_id(onu_id);
        forward<TypeParam>(Side::report(), 0, 0);
        EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report({onu_id, 1})}));
    }
}

TYPED_TEST(ControlUpstream, PortsAreCountedFrom1) {
    using Side = typename TypeParam::Side;
    set_onu_id(7);
    for (std::uint32_t port = 0; port < 6; ++port) {
        forget_calls();
        forward<TypeParam>(Side::report(), port, 0);
        const auto inner = static_cast<std::uint16_t>(port + 1);
        EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report({7, inner})}));
    }
}

// The number of the port, not its place in the table.
TYPED_TEST(ControlUpstream, PortNumberMakesTheInnerTag) {
    using Side = typename TypeParam::Side;
    set_onu_id(7);
    std::swap(Side::ports()[1].port_id, Side::ports()[4].port_id);
    Side::ports()[0].port_id = 28;
    forward<TypeParam>(Side::report(), 4, 0);
    forward<TypeParam>(Side::report(), 28, 0);
    EXPECT_THAT(sent(),
                ElementsAre(Sent{29, Side::report({7, 5})}, Sent{29, Side::report({7, 29})}));
}

TYPED_TEST(ControlUpstream, OnuIdIsReadForEveryFrameAndItsStatusIgnored) {
    using Side = typename TypeParam::Side;
    answer("L2_multicast_get_onu_id", kFailure);
    set_onu_id(7);
    forward<TypeParam>(Side::report(), 0, 0);
    set_onu_id(8);
    forward<TypeParam>(Side::report(), 0, 0);
    EXPECT_EQ(count_of("L2_multicast_get_onu_id"), 2u);
    EXPECT_THAT(sent(),
                ElementsAre(Sent{29, Side::report({7, 1})}, Sent{29, Side::report({8, 1})}));
}

TYPED_TEST(ControlUpstream, NeitherRulesNorSignallingVlansHaveASay) {
    using Side = typename TypeParam::Side;
    set_onu_id(7);
    add_up_rule<Side>(2, 100, 4000);
    for (IgmpPortParm& port : globle_parm.port) port.sig_vlan = 9;
    forward<TypeParam>(Side::report({kPriority5}), 2, 100);
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report({7, 3})}));
}

TYPED_TEST(ControlUpstream, TestUplinkTakesThePlaceOfTheUplink) {
    using Side = typename TypeParam::Side;
    Side::set_test_uplink(3);
    set_onu_id(7);
    forward<TypeParam>(Side::report(), 2, 0);
    EXPECT_THAT(sent(), ElementsAre(Sent{3, Side::report({7, 3})}));
}

TYPED_TEST(ControlUpstream, FailingSendIsSaidByTheDriversDoorAlone) {
    using Side = typename TypeParam::Side;
    answer("L2_multicast_send_msg", kFailure);
    expect_said(Side::mask(), kErr,
                "\r\n[MC_DBG_ERR]:  uplink L2_multicast_send_msg Fail ,ret = 77.",
                [] { forward<TypeParam>(Side::report(), 2, 0); });
}

// The id is said as the driver gave it.
TYPED_TEST(ControlUpstream, SaysTheOnuId) {
    using Side = typename TypeParam::Side;
    const std::size_t length = Side::report().size();
    set_onu_id(7);
    expect_said(Side::mask(), kDbg,
                TypeParam::enters(4, 2) + "\r\n[MC_DBG_DBG]: igmp_adapt_control_handle onu_id = 7" +
                    Side::sends(29, length + 8),
                [] { forward<TypeParam>(Side::report(), 4, 0); });
    set_onu_id(0);
    expect_said(Side::mask(), kDbg,
                TypeParam::enters(4, 2) + "\r\n[MC_DBG_DBG]: igmp_adapt_control_handle onu_id = 0" +
                    Side::sends(29, length + 8),
                [] { forward<TypeParam>(Side::report(), 4, 0); });
}

TYPED_TEST(ControlUpstream, NothingIsAskedForAFrameThatGoesDown) {
    using Side = typename TypeParam::Side;
    forward<TypeParam>(Side::query(), 29, 0);
    EXPECT_EQ(count_of("L2_multicast_get_onu_id"), 0u);
}

// ---- Upstream without an ONU id: where the sides differ ----------------------------------------

class IgmpControlUpstream : public StartedTest {};

TEST_F(IgmpControlUpstream, OnuId255MeansNoOuterTag) {
    set_onu_id(kNoOnuId);
    const Bytes tagged_report = Igmp::report({0xF064});
    EXPECT_EQ(forward<IgmpControl>(tagged_report, 0, 100), tagged_report);
    EXPECT_EQ(forward<IgmpControl>(Igmp::report(), 5, 0), Igmp::report());
    EXPECT_EQ(forward<IgmpControl>(Igmp::report({kPriority5, 200}), 0, 200),
              Igmp::report({kPriority5, 200}));
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Igmp::report({1})}, Sent{29, Igmp::report({6})},
                                    Sent{29, Igmp::report({1, 200})}));
    EXPECT_EQ(sent().at(0).frame.size(), tagged_report.size());
    EXPECT_EQ(sent().at(1).frame.size(), Igmp::report().size() + 4);
}

TEST_F(IgmpControlUpstream, OnuId255IsSaidToo) {
    set_onu_id(kNoOnuId);
    expect_said(mc_debug, kDbg,
                IgmpControl::enters(4, 2) +
                    "\r\n[MC_DBG_DBG]: igmp_adapt_control_handle onu_id = 255" +
                    Igmp::sends(29, Igmp::report().size() + 4),
                [] { forward<IgmpControl>(Igmp::report(), 4, 0); });
}

class MldControlUpstream : public StartedTest {};

TEST_F(MldControlUpstream, OnuId255IsATagLikeAnyOther) {
    set_onu_id(kNoOnuId);
    forward<MldControl>(Mld::report(), 3, 0);
    forward<MldControl>(Mld::report({0xF064}), 0, 100);
    forward<MldControl>(Mld::report({kPriority5, 200}), 0, 200);
    EXPECT_THAT(sent(),
                ElementsAre(Sent{29, Mld::report({255, 4})}, Sent{29, Mld::report({255, 1})},
                            Sent{29, Mld::report({255, 1, 200})}));
    EXPECT_EQ(sent().at(0).frame.size(), Mld::report().size() + 8);
}

TEST_F(MldControlUpstream, BothTagsAreKept) {
    const auto received = [](std::uint8_t onu_id, const Bytes& report, std::uint32_t port) {
        mldInitParams.tag_tpid = mldInitParams.tag_vid = mldInitParams.tag_pri = 1;
        set_onu_id(onu_id);
        forward<MldControl>(report, port, 100);
    };
    received(7, Mld::report({0xF064}), 4);
    EXPECT_EQ(mldInitParams.tag_tpid, 0x8100);
    EXPECT_EQ(mldInitParams.tag_vid, 7);
    EXPECT_EQ(mldInitParams.tag_pri, 0);
    EXPECT_THAT(mldInitParams.tag_inner, ElementsAre(0x81, 0x00, 0x00, 0x05));
    received(0, Mld::report(), 0);
    EXPECT_EQ(mldInitParams.tag_vid, 128);
    EXPECT_THAT(mldInitParams.tag_inner, ElementsAre(0x81, 0x00, 0x00, 0x01));
    received(kNoOnuId, Mld::report(), 5);
    EXPECT_EQ(mldInitParams.tag_tpid, 0x8100);
    EXPECT_EQ(mldInitParams.tag_vid, 255);
    EXPECT_EQ(mldInitParams.tag_pri, 0);
    EXPECT_THAT(mldInitParams.tag_inner, ElementsAre(0x81, 0x00, 0x00, 0x06));
}

TEST_F(IgmpControlUpstream, KeepsNoTag) {
    set_onu_id(7);
    forward<IgmpControl>(Igmp::report(), 4, 0);
    EXPECT_EQ(mldInitParams.tag_tpid, 0);
    EXPECT_EQ(mldInitParams.tag_vid, 0);
    EXPECT_THAT(mldInitParams.tag_inner, Each(0));
}

// ---- Downstream --------------------------------------------------------------------------------

template <class Handler>
class ControlDownstream : public StartedTest {};
TYPED_TEST_SUITE(ControlDownstream, ControlHandlers, TypeNames);

TYPED_TEST(ControlDownstream, ResultVlan0UntagsAndKeepsTheReceivedLength) {
    using Side = typename TypeParam::Side;
    add_down_rule<Side>(1, 100, 0);
    const Bytes query = Side::query({kPriority5});
    EXPECT_EQ(forward<TypeParam>(query, 29, 100), query);
    EXPECT_EQ(sent(), to_ports({0}, query) + to_ports({1}, Side::query() + last_bytes(query, 4)) +
                          to_ports({2, 3, 4, 5}, query));
}

TYPED_TEST(ControlDownstream, NeitherTagModesNorSignallingVlansWork) {
    using Side = typename TypeParam::Side;
    for (int p = 0; p < MC_PORTS; ++p) {
        Side::rules()[p][0].prodntagmode = MC_TAG_MODE_TAG;
        globle_parm.port[p].sig_vlan = globle_parm.port[p].sig_vlan_b = 7;
    }
    globle_parm.port[3].sig_vlan_b = 0;
    const Bytes query = Side::query({kPriority5});
    EXPECT_EQ(forward<TypeParam>(query, 29, 100), query);
    EXPECT_EQ(sent(), to_all_user_ports(query));
}

class IgmpControlDownstream : public StartedTest {};

TEST_F(IgmpControlDownstream, GoesByThePortTableOfItsSide) {
    add_down_rule<Igmp>(0, 100, 300);
    mldInitParams.port[0].port_id = 17;
    mldInitParams.port[1].port_id = 18;
    mldInitParams.port[1].port_type = MC_PORT_UPLINK;
    forward<IgmpControl>(Igmp::query(), 29, 100);
    EXPECT_EQ(sent(), to_ports({0}, Igmp::query({300})) + to_ports({1, 2, 3, 4, 5}, Igmp::query()));
}

class MldControlDownstream : public StartedTest {};

TEST_F(MldControlDownstream, IgmpPortTableSaysHowFarTheWalkGoes) {
    mldInitParams.port[1].port_type = MC_PORT_UPLINK;
    forward<MldControl>(Mld::query(), 29, 0);
    EXPECT_EQ(sent(), to_all_user_ports(Mld::query()));

    forget_calls();
    portState[4].port_type = MC_PORT_UPLINK;
    forward<MldControl>(Mld::query(), 29, 0);
    EXPECT_EQ(sent(), to_ports({0, 1, 2, 3}, Mld::query()));

    forget_calls();
    forward<MldSnooping>(Mld::query(), 29, 0);
    EXPECT_EQ(sent(), to_ports({0}, Mld::query()));
}

// What no rule takes goes to the ports of the IGMP table, what a rule takes to those of the MLD
// table at the same place.
TEST_F(MldControlDownstream, RuleDecidesWhichTablesPortAFrameLeavesOn) {
    for (std::uint32_t p = 0; p < 6; ++p) {
        portState[p].port_id = 0x10000 + 10 + p;
        mldInitParams.port[p].port_id = 0x20000 + 20 + p;
    }
    add_down_rule<Mld>(1, 100, 300);
    add_down_rule<Mld>(2, 100, 0);
    const Bytes query = Mld::query();
    forward<MldControl>(query, 29, 100);
    EXPECT_EQ(sent(), to_ports({10}, query) + to_ports({21}, Mld::query({300})) +
                          to_ports({22}, without_bytes_12_to_15(query) + last_bytes(query, 4)) +
                          to_ports({13, 14, 15}, query));

    forget_calls();
    forward<MldControl>(Mld::query({kPriority5}), 29, 100);
    EXPECT_EQ(first_sent(2),
              to_ports({10}, Mld::query({kPriority5})) + to_ports({21}, Mld::query({300})));

    forget_calls();
    forward<MldSnooping>(query, 29, 100);
    EXPECT_EQ(sent().at(0), (Sent{20, query}));
}

TEST_F(MldControlDownstream, MldPortTableSaysWhatTheReceivePortIs) {
    portState[6].port_type = MC_PORT_USER;  // the uplink, to the IGMP side
    portState[2].port_id = 77;
    set_onu_id(7);
    forward<MldControl>(Mld::query(), 29, 0);
    EXPECT_EQ(sent().size(), 6u);
    forget_calls();
    forward<MldControl>(Mld::report(), 2, 0);
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Mld::report({7, 3})}));
}

TEST_F(MldControlDownstream, GoesByTheMldRules) {
    add_down_rule<Igmp>(0, 100, 300);
    forward<MldControl>(Mld::query(), 29, 100);
    EXPECT_EQ(sent(), to_all_user_ports(Mld::query()));
}

// ---- By the door of reception ------------------------------------------------------------------

template <class Side>
class ControlMode : public StartedTest {
 protected:
    ControlMode() {
        proxy_adapt_mode = MC_MODE_CONTROL;
        mldInitParams.multiMode = MLD_MODE_CONTROL;
        set_onu_id(7);
    }
};
TYPED_TEST_SUITE(ControlMode, Sides, TypeNames);

TYPED_TEST(ControlMode, ReportGoesToTheCoreAndUpStamped) {
    EXPECT_EQ(receive<TypeParam>(TypeParam::report(), 4), TypeParam::report());
    EXPECT_EQ(count_of("igmp_pkt_recv") + count_of("mld_pkt_recv"), 1u);
    EXPECT_EQ(sent_frames(), (std::vector<SentFrame>{{TypeParam::report({7, 5}), 29, 4, ponVlan}}));
}

TYPED_TEST(ControlMode, QueryGoesDownByTheRulesAlone) {
    add_down_rule<TypeParam>(1, 100, 300);
    EXPECT_EQ(receive<TypeParam>(TypeParam::query({kPriority5}), 29), TypeParam::query({300}));
    EXPECT_EQ(count_of("igmp_pkt_recv") + count_of("mld_pkt_recv"), 0u);
    EXPECT_EQ(sent(), to_ports({0}, TypeParam::query({kPriority5})) +
                          to_ports({1, 2, 3, 4, 5}, TypeParam::query({300})));
}

TYPED_TEST(ControlMode, PortOutsideTheTableGetsNothingOut) {
    receive<TypeParam>(TypeParam::report(), 6);
    EXPECT_THAT(sent(), IsEmpty());
}

}  // namespace
