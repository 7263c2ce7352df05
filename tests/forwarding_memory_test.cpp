// Forwarding at the edges of its memory: the shortest and the longest frames, tables and counts
// that do not fit. Frames lie on the heap without a byte to spare; a sanitizer sees every access
// outside. What leaves is compared byte by byte with plain edits of what came in.
#include <gmock/gmock.h>

#include <limits>

#include "tests/support/console.h"
#include "tests/support/forwarding.h"
#include "tests/support/fresh_library.h"

namespace {

using namespace mc_test;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::size_t kLongest = 2000;

// Around the header lengths, the buffer of a single Ethernet frame, and the longest.
constexpr std::size_t kLengths[] = {16,   17,   18,   19,   20,   60,  1514,
                                    1517, 1518, 1519, 1996, 1999, 2000};

// No two neighbouring bytes of the frame are equal, so that no shift goes unseen.
Bytes frame_of(std::size_t length, const Bytes& behind_macs) {
    Bytes frame(std::max(length, 12 + behind_macs.size()));
    for (std::size_t i = 0; i < frame.size(); ++i) frame[i] = static_cast<std::uint8_t>(i * 7 + 3);
    std::copy(behind_macs.begin(), behind_macs.end(), frame.begin() + 12);
    frame.resize(length);
    return frame;
}

Bytes untagged_frame(std::size_t length) { return frame_of(length, {0x08, 0x00}); }
Bytes tagged_frame(std::size_t length) { return frame_of(length, {0x81, 0x00, 0xA0, 0x64}); }
Bytes double_tagged_frame(std::size_t length) {
    return frame_of(length, {0x81, 0x00, 0xA0, 0x64, 0x81, 0x00, 0x00, 0xC8});
}

bool is_tagged(const Bytes& frame) { return frame[12] == 0x81 && frame[13] == 0x00; }

// The plain edits.
Bytes under_vlan(const Bytes& frame, std::uint16_t tci) {
    return is_tagged(frame) ? with_bytes_12_to_15(frame, tci) : with_tag_inserted(frame, tci);
}

template <class Handler>
Bytes untagged_down(const Bytes& frame) {
    const Bytes rest = without_bytes_12_to_15(frame);
    if (std::is_same_v<Handler, IgmpSnooping>) return rest;
    // The received length stays: what the working copy holds behind the rest comes along.
    return rest + last_bytes(frame, 4);
}

Bytes stamped(const Bytes& frame, std::initializer_list<std::uint16_t> tcis) {
    Bytes result = first_bytes(frame, 12);
    for (const std::uint16_t tci : tcis) result = result + be16(0x8100) + be16(tci);
    return result + from_byte(frame, is_tagged(frame) ? 16 : 12);
}

template <class Handler>
class FrameMemory : public StartedTest {
 protected:
    // Runs the check on frames of every framing and many lengths.
    template <class Check>
    void with_many_frames(Check check) {
        for (const std::size_t length : kLengths) {
            for (const auto& make : {untagged_frame, tagged_frame, double_tagged_frame}) {
                SCOPED_TRACE(length);
                forget_calls();
                check(make(length));
            }
        }
    }
};
TYPED_TEST_SUITE(FrameMemory, AllHandlers, TypeNames);

TYPED_TEST(FrameMemory, FramesPassDownWhole) {
    this->with_many_frames([](const Bytes& frame) {
        EXPECT_EQ(forward<TypeParam>(frame, 29, 100), frame);
        EXPECT_EQ(sent(), to_all_user_ports(frame));
    });
}

TYPED_TEST(FrameMemory, FramesGoDownUnderAVlan) {
    add_down_rule<typename TypeParam::Side>(5, 100, 300);
    this->with_many_frames([](const Bytes& frame) {
        forward<TypeParam>(frame, 29, 100);
        EXPECT_EQ(sent(), to_ports({0, 1, 2, 3, 4}, frame) + to_ports({5}, under_vlan(frame, 300)));
    });
}

TYPED_TEST(FrameMemory, FramesGoDownUntagged) {
    add_down_rule<typename TypeParam::Side>(5, 100, 0);
    this->with_many_frames([](const Bytes& frame) {
        EXPECT_EQ(forward<TypeParam>(frame, 29, 100), frame);
        EXPECT_EQ(sent(), to_ports({0, 1, 2, 3, 4}, frame) +
                              to_ports({5}, untagged_down<TypeParam>(frame)));
    });
}

TYPED_TEST(FrameMemory, FramesGoDownUnderTwoVlansAndUntagged) {
    using Side = typename TypeParam::Side;
    add_down_rule<Side>(5, 100, 300);
    add_down_rule<Side>(5, 100, 301);
    add_down_rule<Side>(5, 100, 0);
    this->with_many_frames([](const Bytes& frame) {
        forward<TypeParam>(frame, 29, 100);
        EXPECT_EQ(first_sent(7), to_ports({0, 1, 2, 3, 4}, frame) +
                                     to_ports({5}, under_vlan(frame, 300)) +
                                     to_ports({5}, under_vlan(frame, 301)));
        ASSERT_EQ(sent().size(), 8u);
        const Bytes rest = without_bytes_12_to_15(frame);
        EXPECT_EQ(first_bytes(sent().at(7).frame, rest.size()), rest);
    });
}

template <class Handler>
class SnoopingMemory : public FrameMemory<Handler> {};
TYPED_TEST_SUITE(SnoopingMemory, SnoopingHandlers, TypeNames);

TYPED_TEST(SnoopingMemory, FramesGoUp) {
    add_up_rule<typename TypeParam::Side>(2, 100, 4000);
    this->with_many_frames([](const Bytes& frame) {
        EXPECT_EQ(forward<TypeParam>(frame, 2, 999), frame);
        EXPECT_EQ(forward<TypeParam>(frame, 2, 100),
                  is_tagged(frame) ? under_vlan(frame, 4000) : frame);
        EXPECT_THAT(sent(), ElementsAre(Sent{29, frame}, Sent{29, under_vlan(frame, 4000)}));
    });
}

template <class Handler>
class ControlMemory : public FrameMemory<Handler> {};
TYPED_TEST_SUITE(ControlMemory, ControlHandlers, TypeNames);

// What is left of the frame when one port's last copy has gone out; the driver may do with the
// bytes that it is handed as it likes.
std::vector<Bytes> last_of_port_5;
void look_and_scribble(const std::uint8_t* frame, std::size_t len, unsigned port) {
    if (port == 5) last_of_port_5.emplace_back(frame, frame + len);
    auto* const bytes = const_cast<std::uint8_t*>(frame);
    std::fill(bytes + 20, bytes + len, std::uint8_t{0xEE});
}

// The four bytes behind an untagged frame come from the frame as it was before its first copy.
TYPED_TEST(ControlMemory, WhatTheDriverDoesToAFrameIsNotSeenBehindTheUntaggedOne) {
    add_down_rule<typename TypeParam::Side>(5, 100, 300);
    add_down_rule<typename TypeParam::Side>(5, 100, 0);
    const Bytes frame = tagged_frame(60);
    last_of_port_5.clear();
    take_frames_unrecorded(look_and_scribble);
    forward<TypeParam>(frame, 29, 100);
    ASSERT_EQ(last_of_port_5.size(), 2u);
    EXPECT_EQ(last_of_port_5[0], under_vlan(frame, 300));
    EXPECT_EQ(last_bytes(last_of_port_5[1], 4), last_bytes(frame, 4));
}

TYPED_TEST(ControlMemory, FramesGoUpStamped) {
    set_onu_id(7);
    this->with_many_frames([](const Bytes& frame) {
        EXPECT_EQ(forward<TypeParam>(frame, 2, 100), frame);
        EXPECT_THAT(sent(), ElementsAre(Sent{29, stamped(frame, {7, 3})}));
    });
}

using IgmpControlMemory = FrameMemory<IgmpControl>;

TEST_F(IgmpControlMemory, FramesGoUpWithoutAnOnuId) {
    set_onu_id(255);
    this->with_many_frames([](const Bytes& frame) {
        EXPECT_EQ(forward<IgmpControl>(frame, 2, 100), frame);
        EXPECT_THAT(sent(), ElementsAre(Sent{29, stamped(frame, {3})}));
    });
}

using IgmpSnoopingMemory = FrameMemory<IgmpSnooping>;

TEST_F(IgmpSnoopingMemory, FramesGoUpUnderASignallingVlan) {
    globle_parm.port[2].sig_vlan = 7;
    this->with_many_frames([](const Bytes& frame) {
        forward<IgmpSnooping>(frame, 2, 100);
        EXPECT_THAT(sent(), ElementsAre(Sent{29, under_vlan(frame, 7)}));
    });
}

TEST_F(IgmpSnoopingMemory, FramesGoDownByTagModeAndSignallingVlans) {
    PortVlanCfg[0][0].prodntagmode = MC_TAG_MODE_TAG;
    globle_parm.port[1].sig_vlan_b = 0;
    globle_parm.port[5].sig_vlan_b = 0xF007;
    this->with_many_frames([](const Bytes& frame) {
        forward<IgmpSnooping>(frame, 29, 100);
        EXPECT_EQ(sent(), to_ports({0, 1}, without_bytes_12_to_15(frame)) +
                              to_ports({2, 3, 4}, frame) +
                              to_ports({5}, with_bytes_12_to_15(frame, 0xF007)));
    });
}

// ---- Frames that end within a tag --------------------------------------------------------------

template <class Handler>
class ShortestFrames : public StartedTest {};
TYPED_TEST_SUITE(ShortestFrames, AllHandlers, TypeNames);

TYPED_TEST(ShortestFrames, FrameWithoutRoomForATagCountsAsUntagged) {
    using Side = typename TypeParam::Side;
    add_down_rule<Side>(0, 100, 300);
    for (const std::size_t length : {14u, 15u}) {
        for (const Bytes& frame : {untagged_frame(length), tagged_frame(length)}) {
            forget_calls();
            EXPECT_EQ(forward<TypeParam>(frame, 29, 100), frame);
            EXPECT_EQ(sent(), to_ports({0}, with_tag_inserted(frame, 300)) +
                                  to_ports({1, 2, 3, 4, 5}, frame));
        }
    }
}

// There is nothing behind byte 16 that could move up. Where the length stays, so do the bytes of
// the working copy; where it shrinks, the MACs remain.
TYPED_TEST(ShortestFrames, FrameWithoutRoomForATagIsUntaggedWithinItsBytes) {
    using Side = typename TypeParam::Side;
    add_down_rule<Side>(0, 100, 0);
    for (const std::size_t length : {14u, 15u}) {
        for (const Bytes& frame : {untagged_frame(length), tagged_frame(length)}) {
            forget_calls();
            forward<TypeParam>(frame, 29, 100);
            const bool shrinks = std::is_same_v<TypeParam, IgmpSnooping>;
            EXPECT_EQ(sent(), to_ports({0}, shrinks ? first_bytes(frame, 12) : frame) +
                                  to_ports({1, 2, 3, 4, 5}, frame));
        }
    }
}

TYPED_TEST(ShortestFrames, FrameWithoutRoomForATagGoesUp) {
    using Side = typename TypeParam::Side;
    add_up_rule<Side>(2, 100, 4000);
    set_onu_id(7);
    const bool snooping =
        std::is_same_v<TypeParam, IgmpSnooping> || std::is_same_v<TypeParam, MldSnooping>;
    for (const std::size_t length : {14u, 15u}) {
        for (const Bytes& frame : {untagged_frame(length), tagged_frame(length)}) {
            forget_calls();
            EXPECT_EQ(forward<TypeParam>(frame, 2, 100), frame);
            const Bytes with_port = with_tag_inserted(with_tag_inserted(frame, 3), 7);
            EXPECT_THAT(sent(), ElementsAre(Sent{
                                    29, snooping ? with_tag_inserted(frame, 4000) : with_port}));
        }
    }
}

TEST_F(IgmpSnoopingMemory, SignallingVlanIsNotWrittenBehindAFrame) {
    globle_parm.port[1].sig_vlan_b = 7;
    globle_parm.port[2].sig_vlan_b = 0;
    globle_parm.port[4].sig_vlan_b = 0xFFFE;
    for (const std::size_t length : {14u, 15u}) {
        for (const Bytes& frame : {untagged_frame(length), tagged_frame(length)}) {
            const std::string refusal = line(
                "\r\n[MC_DBG_ERR]: frame of %d bytes has no room for a tag, abord!\r\n", length);
            const auto received = [&] { EXPECT_EQ(forward<IgmpSnooping>(frame, 29, 0), frame); };
            expect_said(mc_debug, kErr, refusal + refusal, received);
            forget_calls();
            received();
            EXPECT_EQ(sent(), to_ports({0}, frame) + to_ports({2}, first_bytes(frame, 12)) +
                                  to_ports({3, 5}, frame));
        }
    }
    const Bytes just_long_enough = untagged_frame(16);
    EXPECT_EQ(said(mc_debug, kErr, [&] { forward<IgmpSnooping>(just_long_enough, 29, 0); }), "");
}

// ---- Frames that are none ----------------------------------------------------------------------

template <class Handler>
class FrameRefusal : public StartedTest {
 protected:
    template <class Action>
    static void expect_refused(std::uint32_t len, Action action) {
        expect_said(
            Handler::Side::mask(), kErr,
            line("\r\n[MC_DBG_ERR]: frame of %d bytes can not be forwarded, abord!\r\n", len),
            action);
        EXPECT_THAT(calls(), IsEmpty());
        EXPECT_EQ(said(Handler::Side::mask(), kDbg, action), "");
    }
};
TYPED_TEST_SUITE(FrameRefusal, AllHandlers, TypeNames);

TYPED_TEST(FrameRefusal, ShorterThanAnEthernetHeader) {
    for (const std::uint32_t port : {2u, 29u, 30u}) {
        this->expect_refused(13, [=] { forward<TypeParam>(untagged_frame(13), port, 0); });
        this->expect_refused(0, [=] { forward<TypeParam>(Bytes{}, port, 0); });
    }
}

TYPED_TEST(FrameRefusal, LongerThanReceptionLetsThrough) {
    for (const std::uint32_t port : {2u, 29u, 30u}) {
        this->expect_refused(kLongest + 1,
                             [=] { forward<TypeParam>(untagged_frame(kLongest + 1), port, 0); });
    }
    // Not a byte of such a frame is touched.
    ExactFrame frame(untagged_frame(60));
    for (const std::uint32_t length : {65536u + 60, 0xFFFFFFFFu}) {
        this->expect_refused(length, [&] { TypeParam::handle(frame.data(), 29, length, 0); });
    }
}

TYPED_TEST(FrameRefusal, NoFrame) {
    for (const std::uint32_t port : {2u, 29u, 30u}) {
        this->expect_refused(60, [=] { TypeParam::handle(nullptr, port, 60, 0); });
    }
}

// ---- Counts and tables that do not fit ---------------------------------------------------------

template <class Handler>
class RuleMemory : public StartedTest {
 protected:
    static void fill_every_rule(std::uint16_t in_dn, std::uint16_t in_up) {
        for (int p = 0; p < MC_PORTS; ++p) {
            for (auto& rule : Handler::Side::rules()[p]) {
                rule.portNO = static_cast<std::int8_t>(p);
                rule.in_dn_vlan = in_dn;
                rule.in_up_vlan = in_up;
                rule.out_dn_vlan = 300;
            }
        }
    }
    static void set_every_count(std::int32_t count) {
        for (std::int32_t& each : Handler::Side::rule_counts()) each = count;
    }
};
TYPED_TEST_SUITE(RuleMemory, AllHandlers, TypeNames);

constexpr std::int32_t kTooMany[] = {11, 70, 1000, std::numeric_limits<std::int32_t>::max()};
constexpr std::int32_t kBelowNone[] = {-1, std::numeric_limits<std::int32_t>::min()};

TYPED_TEST(RuleMemory, CountAboveTenSearchesTheTenRulesOfThePort) {
    using Side = typename TypeParam::Side;
    this->fill_every_rule(999, 999);
    Side::rules()[0][9].in_dn_vlan = 100;
    Side::rules()[1][0].in_dn_vlan = 200;
    for (const std::int32_t count : kTooMany) {
        this->set_every_count(count);
        forget_calls();
        forward<TypeParam>(Side::query(), 29, 100);
        EXPECT_EQ(sent(),
                  to_ports({0}, Side::query({300})) + to_ports({1, 2, 3, 4, 5}, Side::query()));
        forget_calls();
        forward<TypeParam>(Side::query(), 29, 200);
        EXPECT_EQ(sent(), to_ports({0}, Side::query()) + to_ports({1}, Side::query({300})) +
                              to_ports({2, 3, 4, 5}, Side::query()));
        const std::string examined =
            said(Side::mask(), kDbg, [] { forward<TypeParam>(Side::query(), 29, 5); });
        std::size_t lines = 0;
        for (std::size_t at = 0; (at = examined.find("cfgvlan", at)) != std::string::npos; ++at) {
            ++lines;
        }
        const std::size_t rows = std::is_same_v<Side, Igmp> ? 7 : 6;
        EXPECT_EQ(lines, rows * 10);
    }
}

TYPED_TEST(RuleMemory, CountBelow0IsNoRule) {
    using Side = typename TypeParam::Side;
    this->fill_every_rule(100, 100);
    for (const std::int32_t count : kBelowNone) {
        this->set_every_count(count);
        forget_calls();
        forward<TypeParam>(Side::query(), 29, 100);
        EXPECT_EQ(sent(), to_all_user_ports(Side::query()));
    }
}

TYPED_TEST(RuleMemory, SeventyMatchesFitTheResults) {
    using Side = typename TypeParam::Side;
    this->fill_every_rule(100, 100);
    this->set_every_count(10);
    forward<TypeParam>(Side::query(), 29, 100);
    EXPECT_EQ(sent(),
              to_ports({0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5},
                       Side::query({300})));
}

template <class Handler>
class UpstreamRuleMemory : public RuleMemory<Handler> {};
TYPED_TEST_SUITE(UpstreamRuleMemory, SnoopingHandlers, TypeNames);

TYPED_TEST(UpstreamRuleMemory, CountAboveTenSearchesTenRulesOfABlock) {
    using Side = typename TypeParam::Side;
    this->fill_every_rule(999, 999);
    Side::rules()[2][9].in_up_vlan = 100;
    PortVlanCfg[2][9].out_up_vlan = 4000;
    Side::rules()[3][0].in_up_vlan = 200;  // behind port 2's block
    PortVlanCfg[3][0].out_up_vlan = 4001;
    for (const std::int32_t count : kTooMany) {
        this->set_every_count(count);
        forget_calls();
        forward<TypeParam>(Side::report(), 2, 100);
        forward<TypeParam>(Side::report(), 2, 200);
        EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report({4000})}, Sent{29, Side::report()}));
    }
}

TYPED_TEST(UpstreamRuleMemory, CountBelow0IsNoRule) {
    using Side = typename TypeParam::Side;
    this->fill_every_rule(100, 100);
    for (auto& block : PortVlanCfg) {
        for (auto& rule : block) rule.out_up_vlan = 4000;
    }
    for (const std::int32_t count : kBelowNone) {
        this->set_every_count(count);
        forget_calls();
        forward<TypeParam>(Side::report(), 2, 100);
        EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report()}));
    }
}

// Every block opens and is searched in vain, by whatever rule the index has come to.
TYPED_TEST(UpstreamRuleMemory, WalkOverABlockThatAlwaysOpensEndsWithTheTable) {
    using Side = typename TypeParam::Side;
    this->fill_every_rule(999, 999);
    for (auto& block : Side::rules()) {
        for (auto& rule : block) rule.portNO = 3;
    }
    for (const std::int32_t count : {1, 9, 10, 11}) {
        this->set_every_count(count);
        forget_calls();
        const std::string examined =
            said(Side::mask(), kDbg, [] { forward<TypeParam>(Side::report(), 3, 100); });
        EXPECT_THAT(sent(), ElementsAre(Sent{29, Side::report()}));
        std::size_t lines = 0;
        for (std::size_t at = 0; (at = examined.find("cfgvlan", at)) != std::string::npos; ++at) {
            ++lines;
        }
        // With ten rules the last block would open by a rule behind the table.
        const auto searched = static_cast<std::size_t>(std::min(count, 10));
        EXPECT_EQ(lines, searched * (searched == 10 ? 6 : 7));
    }
}

template <class Handler>
class PortMemory : public StartedTest {};
TYPED_TEST_SUITE(PortMemory, AllHandlers, TypeNames);

// The MLD side has results for six ports only, and its control handler walks the table of the other
// side: the uplink of one table can be a user port in the other.
TYPED_TEST(PortMemory, TableOfSevenUserPortsServesNoMoreThanThereAreResultsFor) {
    using Side = typename TypeParam::Side;
    for (auto* table : {&portState, &mldInitParams.port}) {
        if (table == &Side::ports()) continue;
        (*table)[6] = {6, MC_PORT_USER};
    }
    add_down_rule<Side>(6, 0, 300);
    ExactFrame frame(Side::query());
    TypeParam::handle(frame.data(), 29, frame.len(), 0);
    EXPECT_EQ(sent(), to_all_user_ports(Side::query()));
}

// The first entry with the number counts; were it the uplink, the walk would end with it.
TYPED_TEST(PortMemory, TableOfSevenUserPortsHasNoUplink) {
    using Side = typename TypeParam::Side;
    Side::ports()[6].port_type = MC_PORT_USER;
    set_onu_id(7);
    forward<TypeParam>(Side::report(), 29, 0);
    EXPECT_EQ(sent().size(), 1u);
    EXPECT_EQ(sent().at(0).port, 29u);
}

// A port number need not be an index of the parameters.
TYPED_TEST(PortMemory, UserPortWithAHighNumberHasNoSignallingVlan) {
    using Side = typename TypeParam::Side;
    for (IgmpPortParm& port : globle_parm.port) port.sig_vlan = 7;
    set_onu_id(7);
    for (const std::uint32_t number : {7u, 28u, 29u}) {
        Side::ports()[6] = {100, MC_PORT_UPLINK};
        Side::ports()[0] = {number, MC_PORT_USER};
        forget_calls();
        forward<TypeParam>(Side::report(), number, 0);
        const auto inner = static_cast<std::uint16_t>(number + 1);
        const bool snooping =
            std::is_same_v<TypeParam, IgmpSnooping> || std::is_same_v<TypeParam, MldSnooping>;
        EXPECT_THAT(sent(),
                    ElementsAre(Sent{29, snooping ? Side::report() : Side::report({7, inner})}));
    }
}

class SearchMemory : public StartedTest {};

TEST_F(SearchMemory, SevenCountsAreWrittenAndNoMore) {
    const std::unique_ptr<std::uint16_t[]> counts(new std::uint16_t[MC_PORTS]);
    for (int p = 0; p < MC_PORTS; ++p) {
        for (int j = 0; j < MC_RULES; ++j) add_down_rule<Igmp>(p, 100, 300);
        setVlanCfgNumber[p] = 11;
    }
    searchDownSnoopPortCfgVlan(100, counts.get());
    EXPECT_THAT(std::vector<std::uint16_t>(counts.get(), counts.get() + MC_PORTS), Each(4));
    for (std::int32_t& count : setVlanCfgNumber) count = -1;
    searchDownSnoopPortCfgVlan(100, counts.get());
    EXPECT_THAT(std::vector<std::uint16_t>(counts.get(), counts.get() + MC_PORTS), Each(0));
}

}  // namespace
