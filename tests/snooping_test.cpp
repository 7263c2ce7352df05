// Forwarding downstream, which all four handlers do alike but for what stands in tests of its own
// here and in control_test.cpp; and forwarding upstream in snooping mode.
#include <gmock/gmock.h>

#include <atomic>
#include <chrono>

#include "adapt/adapt.h"
#include "settings/settings.h"
#include "tests/support/console.h"
#include "tests/support/forwarding.h"
#include "tests/support/fresh_library.h"
#include "tests/support/side_by_side.h"

namespace {

using namespace mc_test;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

// VID 100 as a TCI: plain, with priority 5, with priority 5 and the DEI bit.
constexpr std::uint16_t kPlain = 100;
constexpr std::uint16_t kPriority5 = 0xA064;
constexpr std::uint16_t kPriority5Dei = 0xB064;

// ---- Downstream, all handlers ------------------------------------------------------------------

template <class Handler>
class Downstream : public StartedTest {};
TYPED_TEST_SUITE(Downstream, AllHandlers, TypeNames);

TYPED_TEST(Downstream, QueryWithoutRulesReachesEveryUserPortUnchangedAndNotTheUplink) {
    using Side = typename TypeParam::Side;
    ASSERT_EQ(Side::rules()[0][0].prodntagmode, MC_TAG_MODE_EMPTY);
    for (const Bytes& query :
         {Side::query(), Side::query({kPriority5Dei}), Side::query({kPlain, 200})}) {
        forget_calls();
        EXPECT_EQ(forward<TypeParam>(query, 29, 100), query);
        EXPECT_EQ(sent(), to_all_user_ports(query));
    }
}

TYPED_TEST(Downstream, UntaggedQueryGetsTheResultVlanAsATagBehindItsMacs) {
    using Side = typename TypeParam::Side;
    add_down_rule<Side>(0, 0, 300);
    const Bytes query = Side::query();
    EXPECT_EQ(forward<TypeParam>(query, 29, 0), query);
    EXPECT_EQ(sent(), to_ports({0}, Side::query({300})) + to_ports({1, 2, 3, 4, 5}, query));
    EXPECT_EQ(sent().at(0).frame.size(), query.size() + 4);
    EXPECT_EQ(from_byte(first_bytes(sent().at(0).frame, 16), 12), (Bytes{0x81, 0x00, 0x01, 0x2C}));
}

TYPED_TEST(Downstream, TaggedQueryIsRewrittenInPlaceAndStaysSoForLaterPortsAndTheCaller) {
    using Side = typename TypeParam::Side;
    add_down_rule<Side>(2, 100, 300);
    add_down_rule<Side>(4, 100, 0x612D);
    const Bytes buffer = forward<TypeParam>(Side::query({kPriority5}), 29, 100);
    EXPECT_EQ(sent(), to_ports({0, 1}, Side::query({kPriority5})) +
                          to_ports({2, 3}, Side::query({300})) +
                          to_ports({4, 5}, Side::query({0x612D})));
    EXPECT_EQ(buffer, Side::query({0x612D}));
}

TYPED_TEST(Downstream, OnlyTheOuterTagOfADoubleTaggedQueryIsRewritten) {
    using Side = typename TypeParam::Side;
    add_down_rule<Side>(0, 200, 300);
    const Bytes buffer = forward<TypeParam>(Side::query({kPriority5, 200}), 29, 200);
    EXPECT_EQ(sent(), to_all_user_ports(Side::query({300, 200})));
    EXPECT_EQ(buffer, Side::query({300, 200}));
}

Bytes session_frame() { return ethernet().pppoe().carrying(0x0057, {1, 2, 3, 4}); }
Bytes tagged_session_frame() { return ethernet().tagged_pppoe().carrying(0x0057, {1, 2, 3, 4}); }

TYPED_TEST(Downstream, PppoeQueryCountsAsUntaggedUnlessATagComesFirst) {
    using Side = typename TypeParam::Side;
    add_down_rule<Side>(0, 100, 300);
    const Bytes session = session_frame();
    forward<TypeParam>(session, 29, 100);
    EXPECT_EQ(sent().at(0), (Sent{0, with_tag_inserted(session, 300)}));
    forget_calls();
    const Bytes tagged_session = tagged_session_frame();
    forward<TypeParam>(tagged_session, 29, 100);
    EXPECT_EQ(sent().at(0), (Sent{0, with_bytes_12_to_15(tagged_session, 300)}));
}

TYPED_TEST(Downstream, ResultVlanKeepsItsPriorityAndLosesItsDeiBit) {
    using Side = typename TypeParam::Side;
    add_down_rule<Side>(0, 100, 0xF12C);
    add_down_rule<Side>(0, 100, 0x1001);
    add_down_rule<Side>(0, 100, 0xFFFE);
    for (const Bytes& query : {Side::query(), Side::query({kPriority5Dei})}) {
        forget_calls();
        forward<TypeParam>(query, 29, 100);
        EXPECT_EQ(first_sent(3), to_ports({0}, Side::query({0xE12C})) +
                                     to_ports({0}, Side::query({0x0001})) +
                                     to_ports({0}, Side::query({0xEFFE})));
    }
}

TYPED_TEST(Downstream, SeveralResultsOfAPortLeaveOneByOneInTheOrderOfItsRules) {
    using Side = typename TypeParam::Side;
    add_down_rule<Side>(1, 100, 302);
    add_down_rule<Side>(1, 999, 7);
    add_down_rule<Side>(1, 100, 301);
    forward<TypeParam>(Side::query(), 29, 100);
    EXPECT_EQ(sent(), to_ports({0}, Side::query()) + to_ports({1}, Side::query({302})) +
                          to_ports({1}, Side::query({301})) +
                          to_ports({2, 3, 4, 5}, Side::query()));
    forget_calls();
    forward<TypeParam>(Side::query({kPlain}), 29, 100);
    EXPECT_EQ(sent(), to_ports({0}, Side::query({kPlain})) + to_ports({1}, Side::query({302})) +
                          to_ports({1}, Side::query({301})) +
                          to_ports({2, 3, 4, 5}, Side::query({301})));
}

TYPED_TEST(Downstream, EachPortGoesByItsOwnRules) {
    using Side = typename TypeParam::Side;
    for (int p = 0; p < 6; ++p) add_down_rule<Side>(p, 100, static_cast<std::uint16_t>(301 + p));
    add_down_rule<Side>(6, 100, 777);
    forward<TypeParam>(Side::query(), 29, 100);
    EXPECT_EQ(sent(), to_ports({0}, Side::query({301})) + to_ports({1}, Side::query({302})) +
                          to_ports({2}, Side::query({303})) + to_ports({3}, Side::query({304})) +
                          to_ports({4}, Side::query({305})) + to_ports({5}, Side::query({306})));
}

TYPED_TEST(Downstream, RulesAreMatchedByTheirLow12BitsOnly) {
    using Side = typename TypeParam::Side;
    add_down_rule<Side>(0, 0xF064, 300);  // 100
    add_down_rule<Side>(1, 0x1000, 301);  // 0, as an untagged frame has it
    forward<TypeParam>(Side::query(), 29, 100);
    EXPECT_EQ(sent(), to_ports({0}, Side::query({300})) + to_ports({1, 2, 3, 4, 5}, Side::query()));
    forget_calls();
    forward<TypeParam>(Side::query(), 29, 0);
    EXPECT_EQ(sent(), to_ports({0}, Side::query()) + to_ports({1}, Side::query({301})) +
                          to_ports({2, 3, 4, 5}, Side::query()));
}

TYPED_TEST(Downstream, VidOfTheFrameIsComparedWhole) {
    using Side = typename TypeParam::Side;
    add_down_rule<Side>(0, 100, 300);
    forward<TypeParam>(Side::query(), 29, 0x1064);
    EXPECT_EQ(sent(), to_all_user_ports(Side::query()));
}

// The downstream VLAN as received decides, no other VLAN of the rule.
TYPED_TEST(Downstream, NoOtherVlanOfARuleIsCompared) {
    using Side = typename TypeParam::Side;
    PortVlanCfgEntry& rule = add_rule<Side>(0);
    rule.in_up_vlan = rule.out_up_vlan = rule.in_data_vlan = rule.out_data_vlan = 100;
    rule.out_dn_vlan = 100;
    forward<TypeParam>(Side::query(), 29, 100);
    EXPECT_EQ(sent(), to_all_user_ports(Side::query()));
}

// Not even the port number in a rule is looked at: the block is the port's.
TYPED_TEST(Downstream, APortsBlockIsSearchedWhateverPortItsRulesName) {
    using Side = typename TypeParam::Side;
    add_down_rule<Side>(0, 100, 300);
    Side::rules()[0][0].portNO = 5;
    forward<TypeParam>(Side::query(), 29, 100);
    EXPECT_EQ(sent().at(0), (Sent{0, Side::query({300})}));
}

TYPED_TEST(Downstream, OnlyRulesInUseAreSearched) {
    using Side = typename TypeParam::Side;
    add_down_rule<Side>(0, 100, 300);
    add_down_rule<Side>(0, 100, 301);
    Side::rule_counts()[0] = 1;
    forward<TypeParam>(Side::query(), 29, 100);
    EXPECT_EQ(sent(), to_ports({0}, Side::query({300})) + to_ports({1, 2, 3, 4, 5}, Side::query()));
}

TYPED_TEST(Downstream, NoMoreThanFourResultsOfAPortAreUsed) {
    using Side = typename TypeParam::Side;
    for (int j = 0; j < 10; ++j) add_down_rule<Side>(5, 100, static_cast<std::uint16_t>(301 + j));
    forward<TypeParam>(Side::query(), 29, 100);
    EXPECT_EQ(sent(), to_ports({0, 1, 2, 3, 4}, Side::query()) + to_ports({5}, Side::query({301})) +
                          to_ports({5}, Side::query({302})) + to_ports({5}, Side::query({303})) +
                          to_ports({5}, Side::query({304})));
}

TYPED_TEST(Downstream, ResultWithoutAVlanIsNotSentAndSaidToBeAnError) {
    using Side = typename TypeParam::Side;
    add_down_rule<Side>(3, 100, 300);
    add_down_rule<Side>(3, 100, MC_NO_VLAN);
    add_down_rule<Side>(3, 100, 301);
    add_down_rule<Side>(4, 100, MC_NO_VLAN);
    expect_said(Side::mask(), kErr,
                "\r\n[MC_DBG_ERR]: searchDownSnoopPortCfgVlan is error,never here !!\r\n"
                "\r\n[MC_DBG_ERR]: searchDownSnoopPortCfgVlan is error,never here !!\r\n",
                [] { forward<TypeParam>(Side::query(), 29, 100); });
    EXPECT_EQ(sent(), to_ports({0, 1, 2}, Side::query()) + to_ports({3}, Side::query({300})) +
                          to_ports({3}, Side::query({301})) + to_ports({5}, Side::query()));
}

TYPED_TEST(Downstream, WalkEndsAtTheFirstPortThatIsNoUserPort) {
    using Side = typename TypeParam::Side;
    for (const std::uint32_t type : {0u, 1u, 3u}) {
        TypeParam::walked_ports()[3].port_type = type;
        forget_calls();
        forward<TypeParam>(Side::query(), 29, 0);
        EXPECT_EQ(sent(), to_ports({0, 1, 2}, Side::query()));
    }
    TypeParam::walked_ports()[0].port_type = MC_PORT_UPLINK;
    forget_calls();
    forward<TypeParam>(Side::query(), 29, 0);
    EXPECT_THAT(sent(), IsEmpty());
}

TYPED_TEST(Downstream, FramesGoToThePortNumbersOfTheTable) {
    using Side = typename TypeParam::Side;
    portState[0].port_id = mldInitParams.port[0].port_id = 0xABCD0011;
    add_down_rule<Side>(1, 100, 300);
    portState[1].port_id = mldInitParams.port[1].port_id = 0xABCD0012;
    portState[2].port_id = mldInitParams.port[2].port_id = 0x00010000 + MC_UPLINK_PORT;
    forward<TypeParam>(Side::query(), 29, 100);
    EXPECT_EQ(sent(), to_ports({0x11}, Side::query()) + to_ports({0x12}, Side::query({300})) +
                          to_ports({29, 3, 4, 5}, Side::query()));
}

// The driver takes the low byte of a port number, the line before it says 16 bits; and only these
// 16 bits make the uplink.
TYPED_TEST(Downstream, PortNumbersAreCutTo16Bits) {
    using Side = typename TypeParam::Side;
    Side::set_test_uplink(4);
    const Bytes query = Side::query();
    for (auto* table : {&portState, &mldInitParams.port}) {
        (*table)[0].port_id = 0x00050123;
        (*table)[1].port_id = 0x00050100 + MC_UPLINK_PORT;
        (*table)[2].port_type = MC_PORT_UPLINK;
    }
    add_down_rule<Side>(1, 100, 300);
    const std::string text = said(Side::mask(), kDbg, [&] { forward<TypeParam>(query, 29, 100); });
    EXPECT_THAT(text, HasSubstr(Side::sends(0x0123, query.size())));
    EXPECT_THAT(text, HasSubstr(Side::sends(0x0100 + MC_UPLINK_PORT, query.size() + 4)));
    EXPECT_EQ(sent(), to_ports({0x23}, query) + to_ports({29}, Side::query({300})));
}

TYPED_TEST(Downstream, AnyPortOfTypeUplinkSendsDown) {
    using Side = typename TypeParam::Side;
    Side::ports()[6] = {17, MC_PORT_UPLINK};
    forward<TypeParam>(Side::query(), 17, 0);
    EXPECT_EQ(sent(), to_all_user_ports(Side::query()));
}

TYPED_TEST(Downstream, FailingSendDoesNotKeepTheFrameFromThePortsBehind) {
    using Side = typename TypeParam::Side;
    add_down_rule<Side>(1, 100, 300);
    add_down_rule<Side>(1, 100, 301);
    fail_call("L2_multicast_send_msg", 1);
    fail_call("L2_multicast_send_msg", 2);
    fail_call("L2_multicast_send_msg", 7, -1);
    expect_said(Side::mask(), kErr,
                "\r\n[MC_DBG_ERR]:  uplink L2_multicast_send_msg Fail ,ret = 77."
                "\r\n[MC_DBG_ERR]:  uplink L2_multicast_send_msg Fail ,ret = 77."
                "\r\n[MC_DBG_ERR]:  uplink L2_multicast_send_msg Fail ,ret = -1.",
                [] { forward<TypeParam>(Side::query(), 29, 100); });
    EXPECT_EQ(sent(), to_ports({0}, Side::query()) + to_ports({1}, Side::query({300})) +
                          to_ports({1}, Side::query({301})) +
                          to_ports({2, 3, 4, 5}, Side::query()));
}

TYPED_TEST(Downstream, ReceivePortAndGroupVlanTravelWithTheFrame) {
    using Side = typename TypeParam::Side;
    srcPortNum = 1;
    mldInitParams.srcPortNum = 1;
    Side::receive_port() = 9;
    ponVlan = 4001;
    forward<TypeParam>(Side::query(), 29, 0);
    EXPECT_EQ(sent_frames().size(), 6u);
    EXPECT_EQ(sent_frames().at(5), (SentFrame{Side::query(), 5, 9, 4001}));
}

TYPED_TEST(Downstream, SaysWhatItSearchesAndWhatItPasses) {
    using Side = typename TypeParam::Side;
    add_down_rule<Side>(0, 0xF064, 300);
    add_down_rule<Side>(0, 101, 301);
    add_down_rule<Side>(1, 100, 0);
    const Bytes query = Side::query({kPlain});
    const std::size_t untagged = query.size() - (std::is_same_v<TypeParam, IgmpSnooping> ? 4 : 0);
    std::string text =
        TypeParam::enters(29, 1) +
        "\r\n[MC_DBG_DBG]: recieve paket from uplink,search vlan config for snooping!\r\n"
        "\r\n[MC_DBG_DBG]: searchDownSnoopPortCfgVlan from downlink,vlan(100) config "
        "search!,cfgvlan(100)\r\n"
        "\r\n[MC_DBG_DBG]: searchDownSnoopPortCfgVlan from downlink,vlan(100) config "
        "search!,cfgvlan(101)\r\n"
        "\r\n[MC_DBG_DBG]: searchDownSnoopPortCfgVlan from downlink,vlan(100) config "
        "search!,cfgvlan(100)\r\n" +
        Side::sends(0, query.size()) + Side::sends(1, untagged);
    for (const unsigned port : {2u, 3u, 4u, 5u}) {
        text += TypeParam::passes_down() + Side::sends(port, query.size());
    }
    expect_said(Side::mask(), kDbg, text, [&] { forward<TypeParam>(query, 29, 100); });
}

// ---- Downstream untagging: one handler shortens the frame, three do not ------------------------

class IgmpSnoopingDownstream : public StartedTest {};

TEST_F(IgmpSnoopingDownstream, ResultVlan0TakesTheTagAndFourBytesOfLength) {
    add_down_rule<Igmp>(1, 100, 0);
    const Bytes query = Igmp::query({kPriority5});
    EXPECT_EQ(forward<IgmpSnooping>(query, 29, 100), query);
    EXPECT_EQ(sent(),
              to_ports({0}, query) + to_ports({1}, Igmp::query()) + to_ports({2, 3, 4, 5}, query));

    forget_calls();
    const Bytes twice = Igmp::query({kPriority5, 200});
    EXPECT_EQ(forward<IgmpSnooping>(twice, 29, 100), twice);
    EXPECT_EQ(sent().at(1), (Sent{1, Igmp::query({200})}));

    // A frame without a tag loses its ethertype and two bytes of its packet.
    forget_calls();
    const Bytes untagged = Igmp::query();
    EXPECT_EQ(forward<IgmpSnooping>(untagged, 29, 100), untagged);
    EXPECT_EQ(sent().at(1), (Sent{1, without_bytes_12_to_15(untagged)}));
    EXPECT_EQ(sent().at(1).frame.size(), untagged.size() - 4);
}

TEST_F(IgmpSnoopingDownstream, ResultVlan0BetweenOthersSeesTheRewrittenFrame) {
    add_down_rule<Igmp>(0, 100, 300);
    add_down_rule<Igmp>(0, 100, 0);
    add_down_rule<Igmp>(0, 100, 301);
    forward<IgmpSnooping>(Igmp::query({kPlain}), 29, 100);
    EXPECT_EQ(sent(), to_ports({0}, Igmp::query({300})) + to_ports({0}, Igmp::query()) +
                          to_ports({0, 1, 2, 3, 4, 5}, Igmp::query({301})));
    forget_calls();
    forward<IgmpSnooping>(Igmp::query(), 29, 100);
    EXPECT_EQ(sent(), to_ports({0}, Igmp::query({300})) +
                          to_ports({0}, without_bytes_12_to_15(Igmp::query())) +
                          to_ports({0}, Igmp::query({301})) +
                          to_ports({1, 2, 3, 4, 5}, Igmp::query()));
}

template <class Handler>
class UntaggedAtFullLength : public StartedTest {};
using KeepLength = ::testing::Types<IgmpControl, MldSnooping, MldControl>;
TYPED_TEST_SUITE(UntaggedAtFullLength, KeepLength, TypeNames);

TYPED_TEST(UntaggedAtFullLength, ResultVlan0TakesTheTagAndRepeatsTheLastFourBytes) {
    using Side = typename TypeParam::Side;
    add_down_rule<Side>(1, 100, 0);
    const Bytes query = Side::query({kPriority5});
    const Bytes last = last_bytes(query, 4);
    ASSERT_NE(last, (Bytes{0, 0, 0, 0}));
    EXPECT_EQ(forward<TypeParam>(query, 29, 100), query);
    EXPECT_EQ(sent(), to_ports({0}, query) + to_ports({1}, Side::query() + last) +
                          to_ports({2, 3, 4, 5}, query));
    EXPECT_EQ(sent().at(1).frame.size(), query.size());

    forget_calls();
    const Bytes twice = Side::query({kPriority5, 200});
    EXPECT_EQ(forward<TypeParam>(twice, 29, 100), twice);
    EXPECT_EQ(sent().at(1), (Sent{1, Side::query({200}) + last}));

    // A frame without a tag loses its ethertype and two bytes of its packet.
    forget_calls();
    const Bytes untagged = Side::query();
    EXPECT_EQ(forward<TypeParam>(untagged, 29, 100), untagged);
    EXPECT_EQ(sent().at(1), (Sent{1, without_bytes_12_to_15(untagged) + last}));
}

// What travels along is what the working copy held before: a tag inserted for an earlier result has
// moved the frame on by four bytes, a rewrite in place has not touched the copy.
TYPED_TEST(UntaggedAtFullLength, FourBytesOfTheWorkingCopyTravelAlong) {
    using Side = typename TypeParam::Side;
    add_down_rule<Side>(0, 100, 300);
    add_down_rule<Side>(0, 100, 0);
    add_down_rule<Side>(0, 100, 0);
    const Bytes untagged = Side::query();
    const Bytes four_before_last = first_bytes(last_bytes(untagged, 8), 4);
    ASSERT_NE(four_before_last, last_bytes(untagged, 4));
    forward<TypeParam>(untagged, 29, 100);
    EXPECT_EQ(sent(), to_ports({0}, Side::query({300})) +
                          to_ports({0, 0}, without_bytes_12_to_15(untagged) + four_before_last) +
                          to_ports({1, 2, 3, 4, 5}, untagged));

    forget_calls();
    const Bytes query = Side::query({kPlain});
    forward<TypeParam>(query, 29, 100);
    EXPECT_EQ(sent(), to_ports({0}, Side::query({300})) +
                          to_ports({0, 0}, Side::query() + last_bytes(query, 4)) +
                          to_ports({1, 2, 3, 4, 5}, Side::query({300})));
}

// A port begins with a working copy of its own.
TYPED_TEST(UntaggedAtFullLength, FourBytesDoNotTravelFromPortToPort) {
    using Side = typename TypeParam::Side;
    add_down_rule<Side>(0, 100, 300);
    add_down_rule<Side>(1, 100, 0);
    const Bytes untagged = Side::query();
    forward<TypeParam>(untagged, 29, 100);
    EXPECT_EQ(sent().at(1), (Sent{1, without_bytes_12_to_15(untagged) + last_bytes(untagged, 4)}));
}

// ---- Downstream in IGMP snooping only: tag mode and signalling VLAN ----------------------------

TEST_F(IgmpSnoopingDownstream, TagModeOfAPortsFirstSlotUntagsWhatNoRuleTakes) {
    PortVlanCfg[1][0].prodntagmode = MC_TAG_MODE_TAG;  // the port has no rule in use
    add_down_rule<Igmp>(2, 999, 7);
    PortVlanCfg[2][0].prodntagmode = MC_TAG_MODE_TAG;
    PortVlanCfg[3][1].prodntagmode = MC_TAG_MODE_TAG;  // not the first
    const Bytes query = Igmp::query({kPriority5});
    EXPECT_EQ(forward<IgmpSnooping>(query, 29, 100), query);
    EXPECT_EQ(sent(),
              to_ports({0}, query) + to_ports({1, 2}, Igmp::query()) + to_ports({3, 4, 5}, query));

    forget_calls();
    forward<IgmpSnooping>(Igmp::query({kPriority5, 200}), 29, 200);
    EXPECT_EQ(sent().at(1), (Sent{1, Igmp::query({200})}));

    forget_calls();
    forward<IgmpSnooping>(Igmp::query(), 29, 0);
    EXPECT_EQ(sent().at(1), (Sent{1, without_bytes_12_to_15(Igmp::query())}));
}

TEST_F(IgmpSnoopingDownstream, UntaggingByTagModeIsSaidToBeAPass) {
    PortVlanCfg[0][0].prodntagmode = MC_TAG_MODE_TAG;
    portState[1].port_type = MC_PORT_UPLINK;
    expect_said(mc_debug, kDbg,
                IgmpSnooping::enters(29, 1) +
                    "\r\n[MC_DBG_DBG]: recieve paket from uplink,search vlan config for "
                    "snooping!\r\n" +
                    IgmpSnooping::passes_down() + Igmp::sends(0, Igmp::query().size()),
                [] { forward<IgmpSnooping>(Igmp::query({kPlain}), 29, 100); });
}

TEST_F(IgmpSnoopingDownstream, NoOtherTagModeUntags) {
    const Bytes query = Igmp::query({kPriority5});
    for (const int mode : {0, 2, 3, 4, -1}) {
        PortVlanCfg[1][0].prodntagmode = static_cast<std::int8_t>(mode);
        PortVlanCfg[1][0].prouptagmode = PortVlanCfg[1][0].datedntagmode = MC_TAG_MODE_TAG;
        forget_calls();
        forward<IgmpSnooping>(query, 29, 100);
        EXPECT_EQ(sent(), to_all_user_ports(query));
    }
}

TEST_F(IgmpSnoopingDownstream, TagModeHasNoSayWhereARuleMatches) {
    add_down_rule<Igmp>(1, 100, 300);
    PortVlanCfg[1][0].prodntagmode = MC_TAG_MODE_TAG;
    forward<IgmpSnooping>(Igmp::query(), 29, 100);
    EXPECT_EQ(sent().at(1), (Sent{1, Igmp::query({300})}));
}

TEST_F(IgmpSnoopingDownstream, SignallingVlanOverrulesThePortsRulesAndIsWrittenWhole) {
    add_down_rule<Igmp>(2, 100, 300);
    add_down_rule<Igmp>(2, 100, 0);
    globle_parm.port[2].sig_vlan_b = 0xF007;
    const Bytes buffer = forward<IgmpSnooping>(Igmp::query({kPriority5}), 29, 100);
    EXPECT_EQ(sent(), to_ports({0, 1}, Igmp::query({kPriority5})) +
                          to_ports({2, 3, 4, 5}, Igmp::query({0xF007})));
    EXPECT_EQ(buffer, Igmp::query({0xF007}));

    forget_calls();
    EXPECT_EQ(forward<IgmpSnooping>(Igmp::query({kPriority5, 200}), 29, 200),
              Igmp::query({0xF007, 200}));
    EXPECT_EQ(sent().at(2), (Sent{2, Igmp::query({0xF007, 200})}));
}

// The tag replaces the ethertype and the first bytes of the packet, and later ports take the frame
// for a tagged one.
TEST_F(IgmpSnoopingDownstream, SignallingVlanIsWrittenOverTheBytesOfAnUntaggedFrame) {
    globle_parm.port[1].sig_vlan_b = 0x1007;
    add_down_rule<Igmp>(3, 0, 300);
    const Bytes query = Igmp::query();
    const Bytes buffer = forward<IgmpSnooping>(query, 29, 0);
    EXPECT_EQ(sent(), to_ports({0}, query) + to_ports({1, 2}, with_bytes_12_to_15(query, 0x1007)) +
                          to_ports({3, 4, 5}, with_bytes_12_to_15(query, 300)));
    EXPECT_EQ(buffer, with_bytes_12_to_15(query, 300));
    EXPECT_EQ(sent().at(1).frame.size(), query.size());
}

TEST_F(IgmpSnoopingDownstream, SignallingVlan0Untags) {
    add_down_rule<Igmp>(2, 100, 300);
    globle_parm.port[2].sig_vlan_b = 0;
    const Bytes query = Igmp::query({kPriority5});
    EXPECT_EQ(forward<IgmpSnooping>(query, 29, 100), query);
    EXPECT_EQ(sent(),
              to_ports({0, 1}, query) + to_ports({2}, Igmp::query()) + to_ports({3, 4, 5}, query));

    forget_calls();
    forward<IgmpSnooping>(Igmp::query({kPriority5, 200}), 29, 100);
    EXPECT_EQ(sent().at(2), (Sent{2, Igmp::query({200})}));

    forget_calls();
    forward<IgmpSnooping>(Igmp::query(), 29, 100);
    EXPECT_EQ(sent().at(2), (Sent{2, without_bytes_12_to_15(Igmp::query())}));
}

TEST_F(IgmpSnoopingDownstream, UntaggingByASignallingVlanSeesTheRewrittenFrame) {
    globle_parm.port[0].sig_vlan_b = 0xFFFE;
    globle_parm.port[1].sig_vlan_b = 0;
    const Bytes query = Igmp::query();
    forward<IgmpSnooping>(query, 29, 0);
    EXPECT_EQ(sent().at(0), (Sent{0, with_bytes_12_to_15(query, 0xFFFE)}));
    EXPECT_EQ(sent().at(1), (Sent{1, without_bytes_12_to_15(query)}));
    EXPECT_EQ(sent().at(2), (Sent{2, with_bytes_12_to_15(query, 0xFFFE)}));
}

TEST_F(IgmpSnoopingDownstream, OnlyTheSecondCompanionOfASignallingVlanWorksDownstream) {
    for (IgmpPortParm& port : globle_parm.port) port.sig_vlan = port.sig_vlan_a = 7;
    forward<IgmpSnooping>(Igmp::query({kPlain}), 29, 100);
    EXPECT_EQ(sent(), to_all_user_ports(Igmp::query({kPlain})));
}

// By the place of the port in the table, not by its number.
TEST_F(IgmpSnoopingDownstream, SignallingVlanBelongsToTheLogicalPort) {
    std::swap(portState[0].port_id, portState[5].port_id);
    globle_parm.port[5].sig_vlan_b = 7;
    forward<IgmpSnooping>(Igmp::query({kPlain}), 29, 100);
    EXPECT_EQ(sent(),
              to_ports({5, 1, 2, 3, 4}, Igmp::query({kPlain})) + to_ports({0}, Igmp::query({7})));
}

TEST_F(IgmpSnoopingDownstream, SignallingVlanIsSentWithoutAWord) {
    globle_parm.port[0].sig_vlan_b = 7;
    globle_parm.port[1].sig_vlan_b = 0;
    portState[2].port_type = MC_PORT_UPLINK;
    const std::size_t length = Igmp::query({kPlain}).size();
    expect_said(mc_debug, kDbg,
                IgmpSnooping::enters(29, 1) +
                    "\r\n[MC_DBG_DBG]: recieve paket from uplink,search vlan config for "
                    "snooping!\r\n" +
                    Igmp::sends(0, length) + Igmp::sends(1, length - 4),
                [] { forward<IgmpSnooping>(Igmp::query({kPlain}), 29, 100); });
}

class MldSnoopingDownstream : public StartedTest {};

TEST_F(MldSnoopingDownstream, NeitherTagModesNorSignallingVlansWork) {
    for (int p = 0; p < MC_PORTS; ++p) {
        mldInitParams.mldPortVlanCfg[p][0].prodntagmode = MC_TAG_MODE_TAG;
        PortVlanCfg[p][0].prodntagmode = MC_TAG_MODE_TAG;
        globle_parm.port[p].sig_vlan = globle_parm.port[p].sig_vlan_b = 7;
    }
    const Bytes query = Mld::query({kPriority5});
    EXPECT_EQ(forward<MldSnooping>(query, 29, 100), query);
    EXPECT_EQ(sent(), to_all_user_ports(query));
}

TEST_F(MldSnoopingDownstream, GoesByItsOwnRulesAndPorts) {
    add_down_rule<Igmp>(0, 100, 300);
    portState[1].port_type = MC_PORT_UPLINK;
    portState[2].port_id = 17;
    forward<MldSnooping>(Mld::query(), 29, 100);
    EXPECT_EQ(sent(), to_all_user_ports(Mld::query()));
    forget_calls();
    forward<IgmpSnooping>(Igmp::query(), 29, 100);
    EXPECT_EQ(sent(), to_ports({0}, Igmp::query({300})));
}

// ---- What the core's next MLD packet will be tagged with ---------------------------------------

template <class Handler>
class MldTagScratch : public StartedTest {
 protected:
    static std::vector<unsigned> tag() {
        return {mldInitParams.tag_tpid, mldInitParams.tag_vid, mldInitParams.tag_pri};
    }
    static void set_tag(std::uint16_t tpid, std::uint16_t vid, std::uint8_t pri) {
        mldInitParams.tag_tpid = tpid;
        mldInitParams.tag_vid = vid;
        mldInitParams.tag_pri = pri;
    }
};
using MldHandlers = ::testing::Types<MldSnooping, MldControl>;
TYPED_TEST_SUITE(MldTagScratch, MldHandlers, TypeNames);

TYPED_TEST(MldTagScratch, HoldsTheLastTagWrittenDownstream) {
    add_down_rule<Mld>(0, 100, 300);
    add_down_rule<Mld>(0, 100, 0xB12D);
    for (const Bytes& query : {Mld::query(), Mld::query({kPlain})}) {
        this->set_tag(1, 2, 3);
        std::vector<std::vector<unsigned>> at_send;
        during("L2_multicast_send_msg", [&] { at_send.push_back(this->tag()); });
        forward<TypeParam>(query, 29, 100);
        ASSERT_EQ(at_send.size(), 7u);
        EXPECT_THAT(at_send[0], ElementsAre(0x8100u, 300u, 0u));
        EXPECT_THAT(at_send[1], ElementsAre(0x8100u, 0x12Du, 5u));
        EXPECT_THAT(this->tag(), ElementsAre(0x8100u, 0x12Du, 5u));
    }
    EXPECT_THAT(mldInitParams.tag_inner, Each(0));
}

TYPED_TEST(MldTagScratch, IsLeftAloneByFramesThatAreNotTagged) {
    add_down_rule<Mld>(0, 100, 0);
    add_down_rule<Mld>(1, 100, MC_NO_VLAN);
    this->set_tag(1, 2, 3);
    forward<TypeParam>(Mld::query({kPriority5}), 29, 100);
    EXPECT_EQ(sent_frames().size(), 5u);
    EXPECT_THAT(this->tag(), ElementsAre(1u, 2u, 3u));
}

TYPED_TEST(MldTagScratch, IsLeftAloneByIgmpFrames) {
    add_down_rule<Igmp>(0, 100, 300);
    add_up_rule<Igmp>(1, 100, 4000);
    globle_parm.port[2].sig_vlan = globle_parm.port[2].sig_vlan_b = 7;
    this->set_tag(1, 2, 3);
    for (const std::uint32_t port : {29u, 1u, 2u}) {
        forward<IgmpSnooping>(Igmp::query({kPlain}), port, 100);
        forward<IgmpControl>(Igmp::query({kPlain}), port, 100);
    }
    EXPECT_THAT(this->tag(), ElementsAre(1u, 2u, 3u));
}

class MldSnoopingUpstream : public StartedTest {};

TEST_F(MldSnoopingUpstream, TagScratchHoldsTheVlanOfTheRule) {
    add_up_rule<Mld>(2, 100, 0xBFA0);
    for (const Bytes& report : {Mld::report(), Mld::report({kPlain})}) {
        mldInitParams.tag_tpid = mldInitParams.tag_vid = mldInitParams.tag_pri = 1;
        forward<MldSnooping>(report, 2, 100);
        EXPECT_EQ(mldInitParams.tag_tpid, 0x8100);
        EXPECT_EQ(mldInitParams.tag_vid, 0xFA0);
        EXPECT_EQ(mldInitParams.tag_pri, 5);
    }
    mldInitParams.tag_tpid = mldInitParams.tag_vid = mldInitParams.tag_pri = 1;
    forward<MldSnooping>(Mld::report({kPlain}), 3, 100);
    EXPECT_EQ(mldInitParams.tag_tpid, 1);
    EXPECT_EQ(mldInitParams.tag_vid, 1);
    EXPECT_EQ(mldInitParams.tag_pri, 1);
    EXPECT_THAT(mldInitParams.tag_inner, Each(0));
}

// ---- Upstream in snooping mode -----------------------------------------------------------------

template <class Handler>
class SnoopingUpstream : public StartedTest {};
TYPED_TEST_SUITE(SnoopingUpstream, SnoopingHandlers, TypeNames);

TYPED_TEST(SnoopingUpstream, TaggedReportLeavesWithTheVlanOfItsRule) {
    using Side = typename TypeParam::Side;
    add_up_rule<Side>(2, 100, 4000);
    EXPECT_EQ(forward<TypeParam>(Side::report({kPriority5}), 2, 100), Side::report({4000}));
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report({4000})}));
}

TYPED_TEST(SnoopingUpstream, UntaggedReportLeavesWithTheVlanOfItsRuleInserted) {
    using Side = typename TypeParam::Side;
    add_up_rule<Side>(2, 0, 4000);
    EXPECT_EQ(forward<TypeParam>(Side::report(), 2, 0), Side::report());
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report({4000})}));
}

TYPED_TEST(SnoopingUpstream, OnlyTheOuterTagOfADoubleTaggedReportIsRewritten) {
    using Side = typename TypeParam::Side;
    add_up_rule<Side>(2, 200, 4000);
    EXPECT_EQ(forward<TypeParam>(Side::report({kPriority5, 200}), 2, 200),
              Side::report({4000, 200}));
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report({4000, 200})}));
}

TYPED_TEST(SnoopingUpstream, ReportWithoutARuleLeavesUnchanged) {
    using Side = typename TypeParam::Side;
    add_up_rule<Side>(2, 999, 4000);
    add_up_rule<Side>(3, 100, 4001);
    for (const Bytes& report :
         {Side::report(), Side::report({kPriority5Dei}), Side::report({kPlain, 200})}) {
        forget_calls();
        EXPECT_EQ(forward<TypeParam>(report, 2, 100), report);
        EXPECT_THAT(sent(), ElementsAre(Sent{29, report}));
    }
}

TYPED_TEST(SnoopingUpstream, RuleWithoutAnUpstreamVlanLeavesTheReportUnchanged) {
    using Side = typename TypeParam::Side;
    add_up_rule<Side>(2, 100, MC_NO_VLAN);
    add_up_rule<Side>(2, 100, 4000);  // comes too late
    EXPECT_EQ(forward<TypeParam>(Side::report({kPlain}), 2, 100), Side::report({kPlain}));
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report({kPlain})}));
}

TYPED_TEST(SnoopingUpstream, VlanOfTheRuleKeepsItsPriorityAndLosesItsDeiBit) {
    using Side = typename TypeParam::Side;
    add_up_rule<Side>(2, 0xF064, 0xFFA0);
    for (const Bytes& report : {Side::report(), Side::report({kPriority5Dei})}) {
        forget_calls();
        forward<TypeParam>(report, 2, 100);
        EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report({0xEFA0})}));
    }
}

// Unlike downstream 0 is a VLAN like any other.
TYPED_TEST(SnoopingUpstream, UpstreamVlan0IsATag) {
    using Side = typename TypeParam::Side;
    add_up_rule<Side>(2, 100, 0);
    for (const Bytes& report : {Side::report(), Side::report({kPriority5})}) {
        forget_calls();
        forward<TypeParam>(report, 2, 100);
        EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report({0})}));
    }
}

TYPED_TEST(SnoopingUpstream, VidOfTheFrameIsComparedWhole) {
    using Side = typename TypeParam::Side;
    add_up_rule<Side>(2, 100, 4000);
    forward<TypeParam>(Side::report(), 2, 0x1064);
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report()}));
}

TYPED_TEST(SnoopingUpstream, FirstMatchingRuleWins) {
    using Side = typename TypeParam::Side;
    add_up_rule<Side>(2, 999, 4000);
    add_up_rule<Side>(2, 100, 4001);
    add_up_rule<Side>(2, 100, 4002);
    forward<TypeParam>(Side::report(), 2, 100);
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report({4001})}));
}

TYPED_TEST(SnoopingUpstream, NoOtherVlanOfARuleIsCompared) {
    using Side = typename TypeParam::Side;
    PortVlanCfgEntry& rule = add_rule<Side>(2);
    rule.out_up_vlan = rule.in_dn_vlan = rule.out_dn_vlan = 100;
    rule.in_data_vlan = rule.out_data_vlan = 100;
    forward<TypeParam>(Side::report(), 2, 100);
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report()}));
}

TYPED_TEST(SnoopingUpstream, OnlyRulesInUseAreSearched) {
    using Side = typename TypeParam::Side;
    add_up_rule<Side>(2, 999, 4000);
    add_up_rule<Side>(2, 100, 4001);
    Side::rule_counts()[2] = 1;
    forward<TypeParam>(Side::report(), 2, 100);
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report()}));
}

TYPED_TEST(SnoopingUpstream, EveryUserPortSendsToTheUplink) {
    using Side = typename TypeParam::Side;
    for (int p = 0; p < 6; ++p) add_up_rule<Side>(p, 100, static_cast<std::uint16_t>(4000 + p));
    for (std::uint32_t port = 0; port < 6; ++port) {
        forget_calls();
        forward<TypeParam>(Side::report(), port, 100);
        const auto vlan = static_cast<std::uint16_t>(4000 + port);
        EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report({vlan})}));
    }
}

TYPED_TEST(SnoopingUpstream, TestUplinkTakesThePlaceOfTheUplink) {
    using Side = typename TypeParam::Side;
    Side::set_test_uplink(4);
    add_up_rule<Side>(2, 100, 4000);
    forward<TypeParam>(Side::report(), 2, 100);
    forward<TypeParam>(Side::report(), 2, 101);
    EXPECT_THAT(sent(), ElementsAre(Sent{4, Side::report({4000})}, Sent{4, Side::report()}));
}

TYPED_TEST(SnoopingUpstream, FailingSendIsSaidByTheDriversDoorAlone) {
    using Side = typename TypeParam::Side;
    answer("L2_multicast_send_msg", kFailure);
    expect_said(Side::mask(), kErr,
                "\r\n[MC_DBG_ERR]:  uplink L2_multicast_send_msg Fail ,ret = 77.",
                [] { forward<TypeParam>(Side::report(), 2, 100); });
}

// The rule that opens a block is not always its first: its index is carried from block to block.
// Port 3's two rules are searched in whatever block opens.

template <class Side>
void open_block(int block, int door, std::int8_t port) {
    Side::rules()[block][door].portNO = port;
}

template <class Side>
void put_up_rule(int block, int index, std::uint16_t in, std::uint16_t out) {
    Side::rules()[block][index].in_up_vlan = in;
    PortVlanCfg[block][index].out_up_vlan = out;
}

TYPED_TEST(SnoopingUpstream, BlockOfAnotherPortIsSearchedWhenItsFirstRuleNamesThePort) {
    using Side = typename TypeParam::Side;
    Side::rule_counts()[3] = 2;  // the count of the port that the frame came in on
    open_block<Side>(6, 0, 3);
    put_up_rule<Side>(6, 1, 100, 4000);
    forward<TypeParam>(Side::report(), 3, 100);
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report({4000})}));
}

TYPED_TEST(SnoopingUpstream, AfterASearchOfTwoRulesTheNextBlockOpensByItsThird) {
    using Side = typename TypeParam::Side;
    Side::rule_counts()[3] = 2;
    open_block<Side>(1, 0, 3);
    open_block<Side>(2, 0, 3);  // no longer looked at
    put_up_rule<Side>(2, 0, 100, 4000);
    open_block<Side>(4, 2, 3);
    put_up_rule<Side>(4, 1, 100, 4001);
    forward<TypeParam>(Side::report(), 3, 100);
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report({4001})}));
}

TYPED_TEST(SnoopingUpstream, AfterASearchOfTenRulesABlockOpensByTheFirstRuleOfTheNext) {
    using Side = typename TypeParam::Side;
    Side::rule_counts()[3] = 10;
    open_block<Side>(1, 0, 3);
    open_block<Side>(5, 0, 3);  // opens block 4
    put_up_rule<Side>(4, 9, 100, 4000);
    put_up_rule<Side>(5, 0, 100, 4001);
    forward<TypeParam>(Side::report(), 3, 100);
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report({4000})}));
}

TYPED_TEST(SnoopingUpstream, NothingBehindTheLastBlockOpensIt) {
    using Side = typename TypeParam::Side;
    Side::rule_counts()[3] = 10;
    open_block<Side>(5, 0, 3);
    open_block<Side>(6, 0, 3);
    put_up_rule<Side>(6, 0, 100, 4000);
    forward<TypeParam>(Side::report(), 3, 100);
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report()}));
}

// Two blocks are searched before the third one opens by the rule behind the port's last.
TYPED_TEST(SnoopingUpstream, CarriedIndexStaysTheSameFromSearchToSearch) {
    using Side = typename TypeParam::Side;
    Side::rule_counts()[3] = 1;
    open_block<Side>(0, 0, 3);
    open_block<Side>(1, 1, 3);
    open_block<Side>(2, 1, 3);
    put_up_rule<Side>(2, 0, 100, 4000);
    forward<TypeParam>(Side::report(), 3, 100);
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report({4000})}));
}

// The number in a rule is a signed byte, so that 200 is none that a frame can come from.
TYPED_TEST(SnoopingUpstream, RuleOfPort200OpensNoBlock) {
    using Side = typename TypeParam::Side;
    Side::ports()[0].port_id = 200;
    for (int block = 0; block < MC_PORTS; ++block) {
        put_up_rule<Side>(block, 0, 100, 4000);
        open_block<Side>(block, 0, -56);
        Side::rule_counts()[block] = 1;
    }
    forward<TypeParam>(Side::report(), 3, 100);
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report()}));
    for (const std::uint32_t port : {200u, 0xFFFFFFC8u}) {
        EXPECT_THAT(said(Side::mask(), kAllCategories,
                         [port] { forward<TypeParam>(Side::report(), port, 100); }),
                    Not(HasSubstr("cfgvlan")));
    }
    EXPECT_EQ(sent().size(), 1u);
}

TYPED_TEST(SnoopingUpstream, PortWithoutRulesFindsNoneInABlockThatOpens) {
    using Side = typename TypeParam::Side;
    open_block<Side>(1, 0, 3);
    put_up_rule<Side>(1, 0, 100, 4000);
    Side::rule_counts()[1] = 1;
    forward<TypeParam>(Side::report(), 3, 100);
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report()}));
}

TYPED_TEST(SnoopingUpstream, CountIsThatOfTheLogicalPortOfTheFrame) {
    using Side = typename TypeParam::Side;
    std::swap(Side::ports()[0], Side::ports()[3]);
    Side::rule_counts()[0] = 1;  // now port 3
    open_block<Side>(2, 0, 3);
    put_up_rule<Side>(2, 0, 100, 4000);
    forward<TypeParam>(Side::report(), 3, 100);
    forward<TypeParam>(Side::report(), 0, 100);
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report({4000})}, Sent{29, Side::report()}));
}

TYPED_TEST(SnoopingUpstream, SaysWhatItSearchesAndFinds) {
    using Side = typename TypeParam::Side;
    add_up_rule<Side>(2, 0xF065, 3999);
    add_up_rule<Side>(2, 100, 4000);
    add_up_rule<Side>(2, 102, 4001);
    const std::size_t length = Side::report().size();
    expect_said(Side::mask(), kDbg,
                TypeParam::enters(2, 2) +
                    "\r\n[MC_DBG_DBG]: searchUpSnoopPortCfgVlan from downlink,vlan = 100 config "
                    "search!,cfgvlan = 101\r\n"
                    "\r\n[MC_DBG_DBG]: searchUpSnoopPortCfgVlan from downlink,vlan = 100 config "
                    "search!,cfgvlan = 100\r\n" +
                    TypeParam::found_up(4000) + Side::sends(29, length + 4),
                [] { forward<TypeParam>(Side::report(), 2, 100); });
}

// The words of the IGMP side stand on both, and behind the send.
TYPED_TEST(SnoopingUpstream, SaysThatAReportPassesWithoutARule) {
    using Side = typename TypeParam::Side;
    expect_said(Side::mask(), kDbg,
                TypeParam::enters(2, 2) + TypeParam::found_up(65535) +
                    Side::sends(29, Side::report().size()) +
                    "\r\n[MC_DBG_DBG]: Enter igmp_snoop_handle,downlink can't find vlanconfig! "
                    "direct pass!\r\n",
                [] { forward<TypeParam>(Side::report(), 2, 100); });
}

// ---- Upstream: what differs --------------------------------------------------------------------

class IgmpSnoopingUpstream : public StartedTest {};

TEST_F(IgmpSnoopingUpstream, SignallingVlanOverrulesTheRules) {
    add_up_rule<Igmp>(1, 100, 4000);
    globle_parm.port[1].sig_vlan = 7;
    EXPECT_EQ(forward<IgmpSnooping>(Igmp::report({kPriority5}), 1, 100), Igmp::report({7}));
    EXPECT_EQ(forward<IgmpSnooping>(Igmp::report(), 1, 100), Igmp::report());
    EXPECT_EQ(forward<IgmpSnooping>(Igmp::report({kPriority5, 200}), 1, 200),
              Igmp::report({7, 200}));
    EXPECT_EQ(forward<IgmpSnooping>(Igmp::report({kPriority5}), 2, 100),
              Igmp::report({kPriority5}));
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Igmp::report({7})}, Sent{29, Igmp::report({7})},
                                    Sent{29, Igmp::report({7, 200})},
                                    Sent{29, Igmp::report({kPriority5})}));
}

TEST_F(IgmpSnoopingUpstream, SignallingVlanLosesItsDeiBitAnd0IsATag) {
    globle_parm.port[1].sig_vlan = 0xF007;
    globle_parm.port[2].sig_vlan = 0xFFFE;
    globle_parm.port[3].sig_vlan = 0;
    for (const std::uint32_t port : {1u, 2u, 3u}) forward<IgmpSnooping>(Igmp::report(), port, 0);
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Igmp::report({0xE007})},
                                    Sent{29, Igmp::report({0xEFFE})}, Sent{29, Igmp::report({0})}));
}

// By the number of the port, not by its place in the table.
TEST_F(IgmpSnoopingUpstream, SignallingVlanBelongsToThePortNumber) {
    std::swap(portState[0].port_id, portState[5].port_id);
    globle_parm.port[5].sig_vlan = 7;
    forward<IgmpSnooping>(Igmp::report(), 5, 0);
    forward<IgmpSnooping>(Igmp::report(), 0, 0);
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Igmp::report({7})}, Sent{29, Igmp::report()}));
}

TEST_F(IgmpSnoopingUpstream, CompanionsOfASignallingVlanDoNotWorkUpstream) {
    globle_parm.port[1].sig_vlan_a = globle_parm.port[1].sig_vlan_b = 7;
    forward<IgmpSnooping>(Igmp::report({kPlain}), 1, 100);
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Igmp::report({kPlain})}));
}

TEST_F(IgmpSnoopingUpstream, SignallingVlanIsUsedWithoutASearch) {
    globle_parm.port[1].sig_vlan = 7;
    add_up_rule<Igmp>(1, 100, 4000);
    expect_said(mc_debug, kDbg,
                IgmpSnooping::enters(1, 2) + Igmp::sends(29, Igmp::report().size() + 4),
                [] { forward<IgmpSnooping>(Igmp::report(), 1, 100); });
}

TEST_F(MldSnoopingUpstream, SignallingVlansDoNotWork) {
    for (IgmpPortParm& port : globle_parm.port) port.sig_vlan = 7;
    forward<MldSnooping>(Mld::report({kPlain}), 1, 100);
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Mld::report({kPlain})}));
}

// The MLD rule selects the position, the IGMP rule there supplies the VLAN.
TEST_F(MldSnoopingUpstream, VlanComesFromTheIgmpRuleAtThePositionOfTheMldRule) {
    add_rule<Mld>(2).in_up_vlan = 999;
    PortVlanCfgEntry& rule = add_rule<Mld>(2);
    rule.in_up_vlan = 100;
    rule.out_up_vlan = 3000;
    EXPECT_EQ(forward<MldSnooping>(Mld::report({kPriority5}), 2, 100),
              Mld::report({kPriority5}));  // no IGMP rule there
    PortVlanCfg[2][0].out_up_vlan = 4000;
    PortVlanCfg[2][1].out_up_vlan = 4001;
    EXPECT_EQ(forward<MldSnooping>(Mld::report({kPriority5}), 2, 100), Mld::report({4001}));
    EXPECT_THAT(sent(),
                ElementsAre(Sent{29, Mld::report({kPriority5})}, Sent{29, Mld::report({4001})}));
}

TEST_F(MldSnoopingUpstream, PositionComesFromTheMldTableAlone) {
    add_up_rule<Igmp>(2, 100, 4000);
    forward<MldSnooping>(Mld::report(), 2, 100);
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Mld::report()}));

    forget_calls();
    add_up_rule<Mld>(3, 100, 4001);
    PortVlanCfg[3][0].portNO = 5;  // does not keep the block shut
    PortVlanCfg[3][0].in_up_vlan = 999;
    forward<MldSnooping>(Mld::report(), 3, 100);
    EXPECT_THAT(sent(), ElementsAre(Sent{29, Mld::report({4001})}));
}

// ---- Ports that are none -----------------------------------------------------------------------

template <class Handler>
class ReceivePort : public StartedTest {};
TYPED_TEST_SUITE(ReceivePort, AllHandlers, TypeNames);

TYPED_TEST(ReceivePort, Above29IsInvalid) {
    using Side = typename TypeParam::Side;
    expect_said(Side::mask(), kErr,
                "\r\n[MC_DBG_ERR]: \n port(30) is invalid!"
                "\r\n[MC_DBG_ERR]: invalid port !!\r\n",
                [] { forward<TypeParam>(Side::query(), 30, 0); });
    expect_said(Side::mask(), kDbg, TypeParam::enters(30, -1),
                [] { forward<TypeParam>(Side::query(), 30, 0); });
    expect_said(Side::mask(), kErr,
                "\r\n[MC_DBG_ERR]: \n port(-1) is invalid!"
                "\r\n[MC_DBG_ERR]: invalid port !!\r\n",
                [] { forward<TypeParam>(Side::query(), 0xFFFFFFFF, 0); });
    EXPECT_THAT(calls(), IsEmpty());
}

TYPED_TEST(ReceivePort, Above29IsInvalidEvenInThePortTable) {
    using Side = typename TypeParam::Side;
    Side::ports()[0].port_id = 30;
    Side::ports()[6].port_id = 31;
    forward<TypeParam>(Side::query(), 30, 0);
    forward<TypeParam>(Side::query(), 31, 0);
    EXPECT_THAT(calls(), IsEmpty());
}

TYPED_TEST(ReceivePort, OutsideThePortTableIsNotFound) {
    using Side = typename TypeParam::Side;
    for (const std::uint32_t port : {6u, 28u}) {
        const auto received = [port] { forward<TypeParam>(Side::query(), port, 0); };
        const std::string not_found =
            line("\r\n[MC_DBG_DBG]: \n [checkPortState]port(%d) is not find!", port);
        expect_said(Side::mask(), kErr, "\r\n[MC_DBG_ERR]: invalid port !!\r\n", received);
        expect_said(Side::mask(), kDbg, not_found + TypeParam::enters(port, -1), received);
        EXPECT_EQ(
            said(Side::mask(), kDbg | kErr, received),
            not_found + TypeParam::enters(port, -1) + "\r\n[MC_DBG_ERR]: invalid port !!\r\n");
    }
    EXPECT_THAT(calls(), IsEmpty());
}

TYPED_TEST(ReceivePort, OfNeitherTypeIsInvalid) {
    using Side = typename TypeParam::Side;
    Side::ports()[2].port_type = 0;
    Side::ports()[3].port_type = 3;
    expect_said(Side::mask(), kErr, "\r\n[MC_DBG_ERR]: invalid port !!\r\n",
                [] { forward<TypeParam>(Side::query(), 2, 0); });
    expect_said(Side::mask(), kDbg, TypeParam::enters(3, 3),
                [] { forward<TypeParam>(Side::query(), 3, 0); });
    EXPECT_THAT(calls(), IsEmpty());
}

TYPED_TEST(ReceivePort, IsLookedUpInThePortTableOfItsSide) {
    using Side = typename TypeParam::Side;
    Side::ports()[4] = {17, MC_PORT_USER};
    set_onu_id(255);
    forward<TypeParam>(Side::report(), 4, 0);
    EXPECT_THAT(sent(), IsEmpty());
    forward<TypeParam>(Side::report(), 17, 0);
    EXPECT_EQ(sent().size(), 1u);
}

// ---- By the door of reception ------------------------------------------------------------------

template <class Side>
class SnoopingMode : public StartedTest {};
TYPED_TEST_SUITE(SnoopingMode, Sides, TypeNames);

TYPED_TEST(SnoopingMode, ReportGoesToTheCoreAndUpByItsRule) {
    add_up_rule<TypeParam>(2, 100, 4000);
    EXPECT_EQ(receive<TypeParam>(TypeParam::report({kPriority5}), 2), TypeParam::report({4000}));
    EXPECT_EQ(count_of("igmp_pkt_recv") + count_of("mld_pkt_recv"), 1u);
    EXPECT_EQ(sent_frames(), (std::vector<SentFrame>{{TypeParam::report({4000}), 29, 2, ponVlan}}));
}

TYPED_TEST(SnoopingMode, QueryGoesDownByTheRulesAlone) {
    add_down_rule<TypeParam>(0, 0, 300);
    receive<TypeParam>(TypeParam::query(), 29);
    EXPECT_EQ(count_of("igmp_pkt_recv") + count_of("mld_pkt_recv"), 0u);
    EXPECT_EQ(sent(), to_ports({0}, TypeParam::query({300})) +
                          to_ports({1, 2, 3, 4, 5}, TypeParam::query()));
}

TYPED_TEST(SnoopingMode, InnerVlanOfADoubleTaggedReportPicksTheRule) {
    add_up_rule<TypeParam>(2, 100, 3999);
    add_up_rule<TypeParam>(2, 200, 4000);
    receive<TypeParam>(TypeParam::report({kPlain, 200}), 2);
    EXPECT_THAT(sent(), ElementsAre(Sent{29, TypeParam::report({4000, 200})}));
}

class MldSnoopingMode : public StartedTest {};

// The TPID of a frame that leaves as it came is its TCI, as reception keeps it.
TEST_F(MldSnoopingMode, TagOfTheLastFrameIsTheOneItLeftWith) {
    receive<Mld>(Mld::report({kPriority5}), 2);
    EXPECT_EQ(mldInitParams.tag_tpid, kPriority5);
    EXPECT_EQ(mldInitParams.tag_vid, 100);
    EXPECT_EQ(mldInitParams.tag_pri, 5);
    add_up_rule<Mld>(2, 100, 0x6FA0);
    receive<Mld>(Mld::report({kPriority5}), 2);
    EXPECT_EQ(mldInitParams.tag_tpid, 0x8100);
    EXPECT_EQ(mldInitParams.tag_vid, 0xFA0);
    EXPECT_EQ(mldInitParams.tag_pri, 3);
}

// ---- While another task resets the parameters --------------------------------------------------

// Signalling VLANs that come and go; frames carry VLAN 100 until one of them replaces it.
constexpr std::uint16_t kUp = 7;
constexpr std::uint16_t kDown = 9;

// What left neither under VLAN 100 nor under a signalling VLAN.
std::atomic<const char*> wrong = nullptr;

void look_at(const std::uint8_t* frame, std::size_t len, unsigned port) {
    const bool tagged = len == Igmp::report({kPlain}).size() && frame[12] == 0x81;
    if (!tagged) {
        wrong = port == MC_UPLINK_PORT ? "upstream, untagged" : "downstream, untagged";
        return;
    }
    const int vid = (frame[14] << 8 | frame[15]) & 0x0FFF;
    const int signalling = port == MC_UPLINK_PORT ? kUp : kDown;
    if (vid != kPlain && vid != signalling) {
        wrong = port == MC_UPLINK_PORT ? "upstream, another VLAN" : "downstream, another VLAN";
    }
}

struct Reset {
    const char* name;
    void (*run)();

    friend std::ostream& operator<<(std::ostream& out, const Reset& reset) {
        return out << reset.name;
    }
};

class DuringAReset : public StartedTest, public ::testing::WithParamInterface<Reset> {};
INSTANTIATE_TEST_SUITE_P(
    Igmp, DuringAReset,
    ::testing::Values(Reset{"OfTheParameters", [] { initIgmpGlobleParmeter(); }},
                      Reset{"OfEverything", [] { omci_clear_igmp_all_parmeter(); }}),
    [](const auto& reset) { return reset.param.name; });

TEST_P(DuringAReset, NoFrameLeavesByHalfOfIt) {
    const auto reset_and_set = [reset = GetParam().run] {
        reset();
        for (std::uint32_t port = 0; port <= 5; ++port) {
            igmp_adapt_set_sig_vlan(port, kUp, MC_NO_VLAN, kDown);
        }
        return true;
    };
    const auto forward_both_ways = [report = Igmp::report({kPlain}),
                                    query = Igmp::query({kPlain})] {
        for (const std::uint32_t port : {0u, 3u, 5u}) {
            Bytes frame = report;
            igmp_adapt_snoop_handle(frame.data(), port, 50, kPlain);
        }
        Bytes frame = query;
        igmp_adapt_snoop_handle(frame.data(), MC_UPLINK_PORT, 50, kPlain);
        return wrong == nullptr;
    };
    ASSERT_EQ(Igmp::report({kPlain}).size(), 50u);
    ASSERT_EQ(Igmp::query({kPlain}).size(), 50u);
    wrong = nullptr;
    take_frames_unrecorded(look_at);
    run_side_by_side(std::chrono::milliseconds(700), forward_both_ways, reset_and_set);
    EXPECT_STREQ(wrong, nullptr);
}

// ---- The table of downstream results -----------------------------------------------------------

class DownstreamSearch : public StartedTest {
 protected:
    static std::vector<std::uint16_t> row(const McResultVlans* table, int p) {
        return {table[p], table[p] + MC_RESULT_VLANS};
    }
    std::uint16_t counts_[MC_PORTS] = {9, 9, 9, 9, 9, 9, 9};
};

TEST_F(DownstreamSearch, FillsTheFourSlotsOfAPortWithoutAMatch) {
    const McResultVlans* table = searchDownSnoopPortCfgVlan(100, counts_);
    EXPECT_THAT(counts_, Each(0));
    for (int p = 0; p < MC_PORTS; ++p) EXPECT_THAT(row(table, p), Each(MC_NO_VLAN));
}

TEST_F(DownstreamSearch, ListsTheVlansOfTheMatchingRulesInOrderForAllSevenPorts) {
    add_down_rule<Igmp>(0, 100, 0);
    add_down_rule<Igmp>(0, 101, 1);
    add_down_rule<Igmp>(0, 0xF064, 0xFFFF);
    add_down_rule<Igmp>(6, 100, 0xF12C);
    const McResultVlans* table = searchDownSnoopPortCfgVlan(100, counts_);
    EXPECT_THAT(counts_, ElementsAre(2, 0, 0, 0, 0, 0, 1));
    EXPECT_THAT(row(table, 0), ElementsAre(0, 0xFFFF, 0, 0));
    EXPECT_THAT(row(table, 6), ElementsAre(0xF12C, 0, 0, 0));
}

TEST_F(DownstreamSearch, KeepsOlderValuesBehindTheCount) {
    add_down_rule<Igmp>(2, 100, 301);
    add_down_rule<Igmp>(2, 100, 302);
    add_down_rule<Igmp>(2, 100, 303);
    searchDownSnoopPortCfgVlan(100, counts_);
    add_down_rule<Igmp>(2, 200, 400);
    const McResultVlans* table = searchDownSnoopPortCfgVlan(200, counts_);
    EXPECT_EQ(counts_[2], 1);
    EXPECT_THAT(row(table, 2), ElementsAre(400, 302, 303, 0));
    searchDownSnoopPortCfgVlan(999, counts_);
    EXPECT_THAT(row(table, 2), Each(MC_NO_VLAN));
    searchDownSnoopPortCfgVlan(200, counts_);
    EXPECT_THAT(row(table, 2), ElementsAre(400, MC_NO_VLAN, MC_NO_VLAN, MC_NO_VLAN));
}

TEST_F(DownstreamSearch, StopsAtFourVlans) {
    for (int j = 0; j < 10; ++j) {
        add_down_rule<Igmp>(3, 100, static_cast<std::uint16_t>(301 + j));
    }
    add_down_rule<Igmp>(4, 100, 400);
    const McResultVlans* table = searchDownSnoopPortCfgVlan(100, counts_);
    EXPECT_THAT(counts_, ElementsAre(0, 0, 0, 4, 1, 0, 0));
    EXPECT_THAT(row(table, 3), ElementsAre(301, 302, 303, 304));
    EXPECT_EQ(row(table, 4)[0], 400);
}

TEST_F(DownstreamSearch, ReturnsTheSameTableEveryTime) {
    const McResultVlans* table = searchDownSnoopPortCfgVlan(100, counts_);
    EXPECT_EQ(searchDownSnoopPortCfgVlan(200, counts_), table);
}

// The MLD side has a table of its own.
TEST_F(DownstreamSearch, TableIsNotTouchedByMldFrames) {
    add_down_rule<Igmp>(0, 100, 300);
    add_down_rule<Mld>(0, 100, 400);
    const McResultVlans* table = searchDownSnoopPortCfgVlan(100, counts_);
    forward<MldSnooping>(Mld::query(), 29, 100);
    forward<MldControl>(Mld::query(), 29, 200);
    EXPECT_THAT(row(table, 0), ElementsAre(300, 0, 0, 0));
}

TEST_F(DownstreamSearch, SaysEveryRuleThatItCompares) {
    add_down_rule<Igmp>(0, 100, 300);
    add_down_rule<Igmp>(6, 0xF065, 301);
    expect_said(mc_debug, kDbg,
                "\r\n[MC_DBG_DBG]: recieve paket from uplink,search vlan config for snooping!\r\n"
                "\r\n[MC_DBG_DBG]: searchDownSnoopPortCfgVlan from downlink,vlan(4095) config "
                "search!,cfgvlan(100)\r\n"
                "\r\n[MC_DBG_DBG]: searchDownSnoopPortCfgVlan from downlink,vlan(4095) config "
                "search!,cfgvlan(101)\r\n",
                [this] { searchDownSnoopPortCfgVlan(4095, counts_); });
}

}  // namespace
