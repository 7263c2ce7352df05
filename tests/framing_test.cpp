// What both sides do alike with a received frame: the framing, the checks on the way, the rules
// that give it its VLAN, and who gets it by mode. Every body runs over both.
#include <gmock/gmock.h>

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
using ::testing::Not;
using ::testing::StartsWith;

constexpr std::uint32_t kPort = 3;
constexpr int kBlock = 3;  // of the rules of that port

// Every template VLAN is set, so that a VLAN of 0 is none of them.
template <class Side>
class FrameTest : public ReceptionTest<Side> {
 protected:
    FrameTest() { given_vlans<Side>({100, 200, 300, 0x864, 400, 500, 600, 700, 800, 900}); }

    static std::uint32_t group_vlan(std::uint16_t vid, std::uint32_t port = kPort) {
        return ReceptionTest<Side>::group_vlan(vid, port);
    }

    static void expect_dropped(const Bytes& bytes, std::uint32_t port, const std::string& error) {
        expect_dropped(bytes, static_cast<std::uint32_t>(bytes.size()), port, error);
    }
    // The same frame with a shorter length.
    static void expect_dropped(const Bytes& bytes, std::uint32_t len, std::uint32_t port,
                               const std::string& error) {
        expect_said(Side::mask(), kErr, error,
                    [&] { EXPECT_EQ(Side::receive(bytes, len, port), -1) << len; });
        EXPECT_THAT(calls_of({Side::kCore}), IsEmpty());
        EXPECT_THAT(sent_frames(), IsEmpty());
    }
};

// ---- Framing -----------------------------------------------------------------------------------

// A way to frame a packet, with what is made of it.
struct FramingCase {
    const char* name;
    EthernetBuilder headers;
    std::uint32_t least;    // the length that is just enough
    std::uint32_t vid;      // 0: untagged
    std::string too_short;  // the line for a frame one byte shorter
    std::uint32_t type_at;  // where the ethertype is read
};

std::vector<FramingCase> framing_cases() {
    return {
        {"untagged", ethernet(), 14, 0,
         "\r\n[MC_DBG_ERR]: Ethernet Frame too short ,abord!<*_*>(13)\r\n", 12},
        {"single-tagged", ethernet().tag(100, 5, true), 18, 100,
         "\r\n[MC_DBG_ERR]: Too short frame,abord!(17)\r\n", 16},
        {"double-tagged", ethernet().tag(100, 5).tag(200, 6), 18, 200,
         "\r\n[MC_DBG_ERR]: Too short frame,abord!(17)\r\n", 20},
        {"PPPoE", ethernet().pppoe(), 22, 0,
         "\r\n[MC_DBG_ERR]: Frame PPPoE header,but too short ,abord!<*_*>(21)\r\n", 20},
        {"PPPoE behind a tag", ethernet().tagged_pppoe(), 22, 0x864,
         "\r\n[MC_DBG_ERR]: Frame PPPoE header and vlan tag,but too short ,abord!<*_*>(21)\r\n",
         20},
    };
}

template <class Side>
class Framing : public FrameTest<Side> {};
TYPED_TEST_SUITE(Framing, Sides, TypeNames);

// From the uplink, where the frame's own VLAN is what the template list is asked for.
TYPED_TEST(Framing, TheVlanAndThePacketAreFoundInEveryFraming) {
    using Side = TypeParam;
    for (const FramingCase& framing : framing_cases()) {
        SCOPED_TRACE(framing.name);
        forget_calls();
        EXPECT_EQ(Side::receive(Side::framed(framing.headers, Side::packet()), MC_UPLINK_PORT), 0);
        const std::uint32_t vlan = framing.vid != 0 ? framing.vid : std::uint32_t{MC_DEFAULT_VLAN};
        EXPECT_THAT(this->core_calls(), ElementsAre(this->core_call(MC_UPLINK_PORT, vlan)));
    }
}

TYPED_TEST(Framing, AFrameOfTheLeastLengthIsAcceptedAndOneByteLessIsTooShort) {
    using Side = TypeParam;
    for (const FramingCase& framing : framing_cases()) {
        SCOPED_TRACE(framing.name);
        const Bytes frame = Side::framed(framing.headers, Side::packet());
        forget_calls();
        EXPECT_EQ(said(Side::mask(), kErr, [&] { Side::receive(frame, framing.least, kPort); }),
                  "");
        EXPECT_EQ(this->core_calls().size(), 1u);
        this->expect_dropped(frame, framing.least - 1, kPort, framing.too_short);
    }
}

// Whatever framing the bytes behind its end happen to show.
TYPED_TEST(Framing, AFrameShorterThanItsAddressesIsTooShort) {
    using Side = TypeParam;
    this->expect_dropped(Bytes{}, kPort,
                         "\r\n[MC_DBG_ERR]: Ethernet Frame too short ,abord!<*_*>(0)\r\n");
    this->expect_dropped(Bytes(11), kPort,
                         "\r\n[MC_DBG_ERR]: Ethernet Frame too short ,abord!<*_*>(11)\r\n");
    this->expect_dropped(Side::report({100}), 13, kPort,
                         "\r\n[MC_DBG_ERR]: Too short frame,abord!(13)\r\n");
    this->expect_dropped(Side::framed(ethernet().pppoe(), Side::packet()), 5, kPort,
                         "\r\n[MC_DBG_ERR]: Frame PPPoE header,but too short ,abord!<*_*>(5)\r\n");
}

TYPED_TEST(Framing, AFrameWithAnotherEthertypeIsDropped) {
    using Side = TypeParam;
    for (const FramingCase& framing : framing_cases()) {
        SCOPED_TRACE(framing.name);
        Bytes frame = Side::framed(framing.headers, Side::packet());
        for (const std::uint16_t type : {Side::kOtherEtherType, std::uint16_t{0x0806}}) {
            frame[framing.type_at] = static_cast<std::uint8_t>(type >> 8);
            frame[framing.type_at + 1] = static_cast<std::uint8_t>(type);
            this->expect_dropped(
                frame, kPort,
                "\r\n[MC_DBG_ERR]: Not ip pkt recieved,abord!(" + std::to_string(type) + ")\r\n");
        }
    }
}

// Real sessions carry 0021 or 0057 where an ethertype is looked for.
TYPED_TEST(Framing, APppoeSessionWithARealProtocolFieldIsDropped) {
    using Side = TypeParam;
    Bytes frame = Side::framed(ethernet().pppoe(), Side::packet());
    frame[20] = 0x00;
    frame[21] = 0x21;
    this->expect_dropped(frame, kPort, "\r\n[MC_DBG_ERR]: Not ip pkt recieved,abord!(33)\r\n");
}

TYPED_TEST(Framing, AThirdTagIsNotLookedInto) {
    using Side = TypeParam;
    const Bytes frame = Side::framed(ethernet().tag(100).tag(200).tag(300), Side::packet());
    this->expect_dropped(frame, kPort, "\r\n[MC_DBG_ERR]: Not ip pkt recieved,abord!(33024)\r\n");
}

// A session behind a tag is told by the tag's own value, never by the type behind the tag.
TYPED_TEST(Framing, ASessionTypeBehindATagIsNoSession) {
    using Side = TypeParam;
    const Bytes frame = Side::framed(ethernet().tag(100).pppoe(), Side::packet());
    this->expect_dropped(frame, kPort, "\r\n[MC_DBG_ERR]: Not ip pkt recieved,abord!(34916)\r\n");
}

TYPED_TEST(Framing, PriorityAndDeiAreNoPartOfTheVlan) {
    using Side = TypeParam;
    const Bytes frame = Side::framed(ethernet().tag(100, 7, true), Side::packet());
    EXPECT_EQ(Side::receive(frame, MC_UPLINK_PORT), 0);
    EXPECT_THAT(this->core_calls(), ElementsAre(this->core_call(MC_UPLINK_PORT, 100)));
}

// ---- Checks on the way -------------------------------------------------------------------------

template <class Side>
class Reception : public FrameTest<Side> {};
TYPED_TEST_SUITE(Reception, Sides, TypeNames);

TYPED_TEST(Reception, AFrameOf2001BytesIsDroppedAsSuccess) {
    using Side = TypeParam;
    const Bytes frame = padded(Side::report(), 2001);
    expect_said(Side::mask(), kErr, "\r\n[MC_DBG_ERR]: usLength  = 2001\r\n",
                [&] { EXPECT_EQ(Side::receive(frame, kPort), 0); });
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(Side::receive_port(), kPort);
}

TYPED_TEST(Reception, AFrameOf2000BytesIsParsed) {
    using Side = TypeParam;
    EXPECT_EQ(Side::receive(padded(Side::report(), 2000), kPort), 0);
    EXPECT_THAT(this->core_calls(), ElementsAre(this->core_call(kPort, MC_DEFAULT_VLAN)));
}

TYPED_TEST(Reception, AHugeLengthIsRefusedBeforeTheFrameIsTouched) {
    using Side = TypeParam;
    expect_said(Side::mask(), kErr, "\r\n[MC_DBG_ERR]: usLength  = -1\r\n",
                [&] { EXPECT_EQ(Side::receive_frame(nullptr, 0xFFFFFFFF, kPort), 0); });
}

TYPED_TEST(Reception, NoFrameAtAllIsRefused) {
    using Side = TypeParam;
    EXPECT_EQ(Side::receive_frame(nullptr, 60, kPort), -1);
    EXPECT_THAT(this->core_calls(), IsEmpty());
    EXPECT_THAT(sent_frames(), IsEmpty());
    EXPECT_EQ(Side::receive_port(), kPort);
}

TYPED_TEST(Reception, TheTimeIsTakenWithTheFirstFrameOnly) {
    using Side = TypeParam;
    Side::receive(padded(Side::report(), 2001), kPort);  // does not count
    EXPECT_EQ(count_of("igmp_time_now"), 0u);
    Side::receive(Bytes(3), kPort);  // counts, although it is dropped later
    EXPECT_EQ(count_of("igmp_time_now"), 1u);
    Side::receive(Side::report(), kPort);
    Side::receive(Side::report(), kPort);
    EXPECT_EQ(count_of("igmp_time_now"), 1u);
}

TYPED_TEST(Reception, TheNodesOwnFramesAndIllegalPortsCountAsFirstFrames) {
    using Side = TypeParam;
    const Bytes own = {0x00, 0x00, 0x00, 0x11, 0x00, 0x11};
    std::copy(own.begin(), own.end(), Side::own_mac());
    Side::receive(Side::framed(ethernet().from("00:00:00:11:00:11"), Side::packet()), 30);
    EXPECT_THAT(calls(), ElementsAre("igmp_time_now()"));
    Side::receive(Side::report(), kPort);
    EXPECT_EQ(count_of("igmp_time_now"), 1u);
}

TYPED_TEST(Reception, TheNodesOwnFramesAreDropped) {
    using Side = TypeParam;
    const Bytes own = {0x00, 0x00, 0x00, 0x11, 0x00, 0x11};
    std::copy(own.begin(), own.end(), Side::own_mac());
    const Bytes frame = Side::framed(ethernet().from("00:00:00:11:00:11"), Side::packet());
    EXPECT_EQ(Side::receive(frame, kPort), -1);
    EXPECT_EQ(Side::receive(frame, 12, kPort), -1);
    EXPECT_EQ(said(Side::mask(), kErr, [&] { Side::receive(frame, 30); }), "")
        << "before the port is looked at";
    EXPECT_THAT(this->core_calls(), IsEmpty());

    const Bytes other = Side::framed(ethernet().from("00:00:00:11:00:12"), Side::packet());
    EXPECT_EQ(Side::receive(other, kPort), 0);
}

// Its source address would be taken from behind its end.
TYPED_TEST(Reception, AFrameTooShortForASourceAddressIsNotTakenForAnOwnOne) {
    using Side = TypeParam;
    const Bytes own = {0x00, 0x00, 0x00, 0x11, 0x00, 0x11};
    std::copy(own.begin(), own.end(), Side::own_mac());
    const Bytes frame = Side::framed(ethernet().from("00:00:00:11:00:11"), Side::packet());
    this->expect_dropped(frame, 11, kPort,
                         "\r\n[MC_DBG_ERR]: Ethernet Frame too short ,abord!<*_*>(11)\r\n");
}

TYPED_TEST(Reception, APortAbove29IsIllegal) {
    using Side = TypeParam;
    this->expect_dropped(Side::report(), 30,
                         "\r\n[MC_DBG_ERR]: The port no(30) is illegal, abord!<*_*>\r\n");
    this->expect_dropped(Side::report(), 255,
                         "\r\n[MC_DBG_ERR]: The port no(255) is illegal, abord!<*_*>\r\n");
}

TYPED_TEST(Reception, AFrameFromTheTestUplinkIsTakenForOneFromTheUplink) {
    using Side = TypeParam;
    Side::set_test_uplink(2);
    EXPECT_EQ(Side::receive(Side::report({200}), 2), 0);
    EXPECT_THAT(this->core_calls(), ElementsAre(this->core_call(MC_UPLINK_PORT, 200)));
    EXPECT_EQ(Side::receive_port(), 2) << "the port that it really came in on";
}

TYPED_TEST(Reception, TheRealUplinkStaysOneBesideTheTestUplink) {
    using Side = TypeParam;
    Side::set_test_uplink(2);
    EXPECT_EQ(Side::receive(Side::report({200}), MC_UPLINK_PORT), 0);
    EXPECT_THAT(this->core_calls(), ElementsAre(this->core_call(MC_UPLINK_PORT, 200)));
}

TYPED_TEST(Reception, AnIllegalPortNumberMayBeTheTestUplink) {
    using Side = TypeParam;
    Side::set_test_uplink(200);
    EXPECT_EQ(Side::receive(Side::report({100}), 200), 0);
    EXPECT_THAT(this->core_calls(), ElementsAre(this->core_call(MC_UPLINK_PORT, 100)));
}

// The core's call-backs hand both to the driver while the core looks at the packet.
TYPED_TEST(Reception, PortAndGroupVlanAreKnownBeforeTheCoreIsCalled) {
    using Side = TypeParam;
    during(Side::kCore, [] {
        EXPECT_EQ(Side::receive_port(), MC_UPLINK_PORT);
        EXPECT_EQ(ponVlan, 200u);
    });
    EXPECT_EQ(Side::receive(Side::report({200}), MC_UPLINK_PORT), 0);
    EXPECT_EQ(count_of(Side::kCore), 1u);
}

TYPED_TEST(Reception, ADroppedFrameLeavesTheGroupVlanOfTheOneBefore) {
    using Side = TypeParam;
    EXPECT_EQ(Side::receive(Side::report({200}), MC_UPLINK_PORT), 0);
    EXPECT_EQ(ponVlan, 200u);

    EXPECT_EQ(Side::receive(Side::report({100}), 17, 1), -1);
    EXPECT_EQ(Side::receive_port(), 1);
    EXPECT_EQ(ponVlan, 200u);

    EXPECT_EQ(Side::receive(Side::report({100}), 30), -1);
    EXPECT_EQ(Side::receive_port(), 30);
    EXPECT_EQ(ponVlan, 200u);

    EXPECT_EQ(Side::receive(padded(Side::report({100}), 2001), 2), 0);
    EXPECT_EQ(Side::receive_port(), 2);
    EXPECT_EQ(ponVlan, 200u);
}

TYPED_TEST(Reception, TheCoresStatusIsTheResult) {
    using Side = TypeParam;
    answer(Side::kCore, kFailure);
    EXPECT_EQ(Side::receive(Side::report(), kPort), kFailure);
    EXPECT_EQ(Side::receive(Side::report(), MC_UPLINK_PORT), kFailure);
}

// ---- Rules and template VLANs ------------------------------------------------------------------

template <class Side>
class Classification : public FrameTest<Side> {
 protected:
    static constexpr std::uint32_t kDefault = MC_DEFAULT_VLAN;

    static void rule(int block, int index, int port, std::uint16_t vid, std::uint16_t data) {
        set_rule<Side>(block, index, upstream_rule(port, vid, data));
    }
    // Fills the first rules of a block with some that take no frame of these tests.
    static void idle_rules(int block, int count, int port) {
        for (int i = 0; i < count; ++i) {
            rule(block, i, port, static_cast<std::uint16_t>(3000 + i), 100);
        }
    }
};
TYPED_TEST_SUITE(Classification, Sides, TypeNames);

TYPED_TEST(Classification, WithoutRulesTheDefaultVlanIsTheGroupVlan) {
    using Side = TypeParam;
    EXPECT_EQ(this->group_vlan(10), 4088);
    EXPECT_EQ(Side::receive(Side::report(), kPort), 0);
    EXPECT_EQ(ponVlan, 4088u);
    Side::default_vlan() = 4000;
    EXPECT_EQ(this->group_vlan(10), 4000);
}

TYPED_TEST(Classification, TheFirstMatchingRuleGivesTheDataVlan) {
    using Side = TypeParam;
    this->rule(kBlock, 0, kPort, 10, 100);
    this->rule(kBlock, 1, kPort, 20, 200);
    this->rule(kBlock, 2, kPort, 20, 300);
    Side::rule_counts()[kBlock] = 3;
    EXPECT_EQ(this->group_vlan(10), 100);
    EXPECT_EQ(this->group_vlan(20), 200);
    EXPECT_EQ(this->group_vlan(30), this->kDefault);
}

TYPED_TEST(Classification, AnUntaggedFrameHasVlan0InTheRules) {
    using Side = TypeParam;
    this->rule(kBlock, 0, kPort, 0, 200);
    Side::rule_counts()[kBlock] = 1;
    EXPECT_EQ(Side::receive(Side::report(), kPort), 0);
    EXPECT_THAT(this->core_calls(), ElementsAre(this->core_call(kPort, 200)));
}

TYPED_TEST(Classification, OnlyTheLow12BitsOfARuleCount) {
    using Side = TypeParam;
    this->rule(kBlock, 0, kPort, 0xF00A, 0xA0C8);
    Side::rule_counts()[kBlock] = 1;
    EXPECT_EQ(this->group_vlan(10), 200);
}

TYPED_TEST(Classification, ADataVlanThatIsNoTemplateVlanBecomesTheDefaultVlan) {
    using Side = TypeParam;
    this->rule(kBlock, 0, kPort, 10, 1234);
    Side::rule_counts()[kBlock] = 1;
    EXPECT_EQ(this->group_vlan(10), this->kDefault);
}

TYPED_TEST(Classification, AFrameFromTheUplinkNeedsNoRule) {
    using Side = TypeParam;
    this->rule(6, 0, MC_UPLINK_PORT, 100, 300);
    Side::rule_counts()[6] = 1;
    EXPECT_EQ(this->group_vlan(100, MC_UPLINK_PORT), 100);
    EXPECT_EQ(this->group_vlan(1234, MC_UPLINK_PORT), this->kDefault);
}

// Whoever owns the block: the port number in the rule is what opens it.
TYPED_TEST(Classification, ABlockIsOpenedByThePortNumberInItsFirstRule) {
    using Side = TypeParam;
    this->rule(kBlock, 0, 5, 10, 100);  // the port's own block, under another port's number
    this->rule(0, 0, kPort, 10, 200);
    Side::rule_counts()[kBlock] = 1;
    EXPECT_EQ(this->group_vlan(10), 200);
}

TYPED_TEST(Classification, TheReceivingPortsCountSaysHowManyRulesAreSearched) {
    using Side = TypeParam;
    this->rule(0, 0, kPort, 1, 900);
    this->rule(0, 1, kPort, 10, 200);
    Side::rule_counts()[0] = 2;
    Side::rule_counts()[kBlock] = 1;
    EXPECT_EQ(this->group_vlan(10), this->kDefault);
    Side::rule_counts()[0] = 0;
    Side::rule_counts()[kBlock] = 2;
    EXPECT_EQ(this->group_vlan(10), 200);
}

// After two rules without a match the next block is opened by its rule 2, not by its rule 0.
TYPED_TEST(Classification, TheRuleIndexIsCarriedFromBlockToBlock) {
    using Side = TypeParam;
    this->idle_rules(0, 2, kPort);
    this->rule(kBlock, 0, kPort, 10, 200);
    this->rule(kBlock, 1, kPort, 11, 300);
    this->rule(kBlock, 2, 255, 0, 0);
    Side::rule_counts()[kBlock] = 2;
    EXPECT_EQ(this->group_vlan(10), this->kDefault);

    this->rule(kBlock, 2, kPort, 12, 500);
    EXPECT_EQ(this->group_vlan(10), 200) << "opened by rule 2 and searched from rule 0";
    EXPECT_EQ(this->group_vlan(11), 300);
    EXPECT_EQ(this->group_vlan(12), this->kDefault) << "two rules are searched, not three";
}

TYPED_TEST(Classification, ABlockThatStaysClosedLeavesTheIndexAlone) {
    using Side = TypeParam;
    this->idle_rules(0, 2, kPort);
    this->rule(1, 2, 255, 0, 0);
    this->rule(5, 2, kPort, 12, 500);
    this->rule(5, 0, 255, 10, 200);
    Side::rule_counts()[kBlock] = 2;
    EXPECT_EQ(this->group_vlan(10), 200);
}

TYPED_TEST(Classification, WithoutRulesToSearchTheIndexStartsAgain) {
    using Side = TypeParam;
    for (const std::int32_t count : {0, -1}) {
        Side::rule_counts()[kBlock] = count;
        for (int block = 0; block < 6; ++block) this->rule(block, 0, kPort, 10, 200);
        EXPECT_EQ(this->group_vlan(10), this->kDefault);
    }
}

// Behind rule 9 of a block is rule 0 of the next one: the table is one array.
TYPED_TEST(Classification, AfterTenRulesTheNextBlockIsOpenedByTheOneBehindIt) {
    using Side = TypeParam;
    this->idle_rules(0, 10, kPort);
    this->rule(1, 0, 255, 10, 200);
    this->rule(2, 0, kPort, 20, 300);
    Side::rule_counts()[kBlock] = 10;
    EXPECT_EQ(this->group_vlan(10), 200);
    // Block 2 in turn would be opened by rule 0 of block 3.
    EXPECT_EQ(this->group_vlan(20), this->kDefault);
    this->rule(3, 0, kPort, 30, 400);
    EXPECT_EQ(this->group_vlan(20), 300);
}

TYPED_TEST(Classification, NothingIsSearchedBehindTheLastBlock) {
    using Side = TypeParam;
    for (int block = 0; block < MC_PORTS; ++block) this->idle_rules(block, 10, kPort);
    this->rule(6, 4, kPort, 10, 200);
    Side::rule_counts()[kBlock] = 10;
    EXPECT_EQ(this->group_vlan(10), this->kDefault);
    EXPECT_EQ(this->group_vlan(3009), 100) << "taken by the last rule of block 0";
}

TYPED_TEST(Classification, ACountOutOfRangeSearchesTenRules) {
    using Side = TypeParam;
    for (const std::int32_t count : {11, 99, 0x7FFFFFFF}) {
        for (int block = 0; block < MC_PORTS; ++block) this->idle_rules(block, 10, kPort);
        this->rule(5, 9, kPort, 10, 200);
        this->rule(6, 0, kPort, 10, 300);
        Side::rule_counts()[kBlock] = count;
        EXPECT_EQ(this->group_vlan(10), 200) << count;
        this->rule(5, 9, kPort, 11, 200);
        EXPECT_EQ(this->group_vlan(10), this->kDefault) << count;
    }
}

TYPED_TEST(Classification, AFrameFromAnUnknownPortGetsTheDefaultVlan) {
    this->rule(0, 0, 7, 10, 200);
    EXPECT_EQ(this->group_vlan(10, 7), this->kDefault);
}

// The number in a rule is a signed byte, so that 200 is none that a frame can come from.
TYPED_TEST(Classification, ARuleOfPort200OpensNoBlock) {
    using Side = TypeParam;
    Side::ports()[0].port_id = 200;
    for (int block = 0; block < MC_PORTS; ++block) this->rule(block, 0, 200, 10, 200);
    for (std::int32_t& count : Side::rule_counts()) count = 1;
    for (std::uint32_t port = 1; port <= 5; ++port) {
        EXPECT_EQ(this->group_vlan(10, port), this->kDefault) << port;
    }
    forget_calls();
    for (const std::uint32_t port : {200u, 0xFFFFFFC8u}) {
        EXPECT_THAT(said(Side::mask(), kAllCategories,
                         [port] { EXPECT_EQ(Side::receive(Side::report({10}), port), -1); }),
                    Not(HasSubstr("cfgvlan")));
    }
    EXPECT_THAT(calls(), IsEmpty());
}

// ---- Who gets the frame ------------------------------------------------------------------------

template <class Side>
class Mode : public FrameTest<Side> {
 protected:
    static std::vector<unsigned> ports_sent_to() {
        std::vector<unsigned> ports;
        for (const SentFrame& sent : sent_frames()) ports.push_back(sent.port);
        return ports;
    }
};
TYPED_TEST_SUITE(Mode, Sides, TypeNames);

TYPED_TEST(Mode, SnoopingGivesAUserPortsFrameToTheCoreThenForwardsIt) {
    using Side = TypeParam;
    Side::set_mode(Side::kSnooping);
    const Bytes frame = Side::report();
    EXPECT_EQ(Side::receive(frame, kPort), 0);
    EXPECT_THAT(calls(),
                ElementsAre("igmp_time_now()", this->core_call(kPort, MC_DEFAULT_VLAN),
                            call("L2_multicast_send_msg", frame, 29, frame.size(), kPort, 4088)));
}

TYPED_TEST(Mode, SnoopingKeepsAnUplinkFrameFromTheCoreAndForwardsIt) {
    using Side = TypeParam;
    Side::set_mode(Side::kSnooping);
    EXPECT_EQ(Side::receive(Side::report(), MC_UPLINK_PORT), -1);
    EXPECT_THAT(this->core_calls(), IsEmpty());
    EXPECT_THAT(this->ports_sent_to(), ElementsAre(0, 1, 2, 3, 4, 5));
    EXPECT_EQ(sent_frames()[0].frame, Side::report());
    EXPECT_EQ(sent_frames()[0].src_port, 29u);
    EXPECT_EQ(sent_frames()[0].vlan, 4088u);
}

TYPED_TEST(Mode, ControlGivesAUserPortsFrameToTheCoreThenStampsIt) {
    using Side = TypeParam;
    Side::set_mode(Side::kControl);
    set_onu_id(7);
    EXPECT_EQ(Side::receive(Side::report(), kPort), 0);
    const Bytes stamped = Side::framed(ethernet().tag(7).tag(kPort + 1), Side::packet());
    EXPECT_THAT(calls(), ElementsAre("igmp_time_now()", this->core_call(kPort, MC_DEFAULT_VLAN),
                                     "L2_multicast_get_onu_id()",
                                     call("L2_multicast_send_msg", stamped, 29, stamped.size(),
                                          kPort, MC_DEFAULT_VLAN)));
}

TYPED_TEST(Mode, ControlKeepsAnUplinkFrameFromTheCoreAndForwardsIt) {
    using Side = TypeParam;
    Side::set_mode(Side::kControl);
    EXPECT_EQ(Side::receive(Side::report(), MC_UPLINK_PORT), -1);
    EXPECT_THAT(this->core_calls(), IsEmpty());
    EXPECT_THAT(this->ports_sent_to(), ElementsAre(0, 1, 2, 3, 4, 5));
}

TYPED_TEST(Mode, ATestUplinksFrameIsKeptFromTheCoreToo) {
    using Side = TypeParam;
    Side::set_mode(Side::kSnooping);
    Side::set_test_uplink(2);
    EXPECT_EQ(Side::receive(Side::report(), 2), -1);
    EXPECT_THAT(this->core_calls(), IsEmpty());
    EXPECT_EQ(sent_frames().size(), 6u);
}

// Snooping's replacement in the other direction: what would go up leaves on the test uplink.
TYPED_TEST(Mode, AUserPortsFrameIsForwardedToTheTestUplink) {
    using Side = TypeParam;
    Side::set_mode(Side::kSnooping);
    Side::set_test_uplink(2);
    EXPECT_EQ(Side::receive(Side::report(), kPort), 0);
    EXPECT_THAT(this->ports_sent_to(), ElementsAre(2));
}

TYPED_TEST(Mode, InEveryOtherModeTheCoreAloneGetsTheFrame) {
    using Side = TypeParam;
    for (const auto mode : std::initializer_list<std::uint8_t>{0, 1, 2, 3, 4, 255}) {
        if (mode == Side::kSnooping || mode == Side::kControl) continue;
        Side::set_mode(mode);
        forget_calls();
        EXPECT_EQ(Side::receive(Side::report(), kPort), 0);
        EXPECT_EQ(Side::receive(Side::report(), MC_UPLINK_PORT), 0);
        EXPECT_EQ(count_of(Side::kCore), 2u) << int{mode};
        EXPECT_THAT(sent_frames(), IsEmpty()) << int{mode};
    }
}

TYPED_TEST(Mode, AFrameThatTheCoreRefusesIsForwardedAllTheSame) {
    using Side = TypeParam;
    answer(Side::kCore, kFailure);
    for (const std::uint8_t mode : {Side::kSnooping, Side::kControl}) {
        Side::set_mode(mode);
        forget_calls();
        EXPECT_EQ(Side::receive(Side::report(), kPort), kFailure);
        EXPECT_THAT(this->ports_sent_to(), ElementsAre(29));
    }
}

TYPED_TEST(Mode, AFrameFromAnUnknownPortGoesToTheCoreButNotFurther) {
    using Side = TypeParam;
    for (const std::uint8_t mode : {Side::kSnooping, Side::kControl}) {
        Side::set_mode(mode);
        forget_calls();
        EXPECT_EQ(Side::receive(Side::report(), 7), 0);
        EXPECT_EQ(count_of(Side::kCore), 1u);
        EXPECT_THAT(sent_frames(), IsEmpty());
    }
}

TYPED_TEST(Mode, WhatTheTablesCallAnUplinkIsOne) {
    using Side = TypeParam;
    Side::set_mode(Side::kSnooping);
    Side::ports()[kBlock].port_type = MC_PORT_UPLINK;
    EXPECT_EQ(Side::receive(Side::report(), kPort), -1);
    EXPECT_THAT(this->core_calls(), IsEmpty());
}

TYPED_TEST(Mode, IsTracedWithTheHandlerAndWhatIsKeptFromTheCore) {
    using Side = TypeParam;
    const auto traced = [](std::uint32_t port) {
        return said(Side::mask(), kDbg, [port] { Side::receive(Side::report(), port); });
    };
    for (const auto& [mode, name] :
         {std::pair{Side::kSnooping, "Snooping"}, std::pair{Side::kControl, "control"}}) {
        Side::set_mode(mode);
        const std::string handler = Side::has_handler(name);
        EXPECT_THAT(traced(2), HasSubstr(Side::has_mode(mode) + handler));
        EXPECT_THAT(traced(29),
                    HasSubstr(Side::has_mode(mode) + Side::kept_from_core(mode, 29) + handler));
    }
    Side::set_mode(4);
    EXPECT_THAT(traced(2), Not(HasSubstr("MODE is")));
}

TYPED_TEST(Mode, IsSilentUnderTheOtherSidesMask) {
    using Side = TypeParam;
    Side::set_mode(Side::kSnooping);
    EXPECT_EQ(said(Side::other_mask(), kAllCategories,
                   [] {
                       Side::receive(Side::report(), 2);
                       Side::receive(Side::report(), 29);
                       Side::receive(Side::report(), 30);
                       Side::receive(Bytes(13), 2);
                   }),
              "");
}

// ---- Receive dump ------------------------------------------------------------------------------

template <class Side>
class ReceiveDump : public FrameTest<Side> {};
TYPED_TEST_SUITE(ReceiveDump, Sides, TypeNames);

TYPED_TEST(ReceiveDump, ShowsEveryFrameThatIsNotTooLong) {
    using Side = TypeParam;
    for (const std::size_t length : {0, 1, 15, 16, 17, 32, 33, 2000}) {
        const Bytes frame = counted_bytes(length);
        expect_said(Side::mask(), 0x10, Side::received_heading(31, length) + hex_dump(frame),
                    [&] { Side::receive(frame, 31); });
    }
    EXPECT_EQ(said(Side::mask(), 0x10, [] { Side::receive(Bytes(2001), 2); }), "");
}

TYPED_TEST(ReceiveDump, IsAHeadingAtMostWithoutAFrame) {
    using Side = TypeParam;
    EXPECT_EQ(said(Side::mask(), 0x10, [] { Side::receive_frame(nullptr, 60, 2); }),
              Side::received_heading(2, 60));
}

TYPED_TEST(ReceiveDump, IsUnderThePortThatTheFrameCameInOn) {
    using Side = TypeParam;
    Side::set_test_uplink(2);
    const std::size_t length = Side::report().size();
    EXPECT_THAT(said(Side::mask(), 0x10, [] { Side::receive(Side::report(), 2); }),
                StartsWith(Side::received_heading(2, length)));
}

// ---- Long frames -------------------------------------------------------------------------------

// The longest frame that is let through, down and up, with every tag edit that makes it longer.
template <class Side>
class LongFrames : public FrameTest<Side> {
 protected:
    static Bytes longest() {
        return Side::framed(ethernet(), Side::packet_for_frame_of(mc::kLongestFrame));
    }
    static Bytes longest_with(const EthernetBuilder& headers) {
        return Side::framed(headers, Side::packet_for_frame_of(mc::kLongestFrame));
    }
};
TYPED_TEST_SUITE(LongFrames, Sides, TypeNames);

TYPED_TEST(LongFrames, GoUpWithATagPutIn) {
    using Side = TypeParam;
    Side::set_mode(Side::kSnooping);
    set_rule<Side>(kBlock, 0, upstream_rule(kPort, 0, 100));
    PortVlanCfg[kBlock][0].out_up_vlan = 100;
    Side::rule_counts()[kBlock] = 1;
    EXPECT_EQ(Side::receive(this->longest(), kPort), 0);
    ASSERT_EQ(sent_frames().size(), 1u);
    EXPECT_EQ(hex(sent_frames()[0].frame), hex(this->longest_with(ethernet().tag(100))));
}

TYPED_TEST(LongFrames, GoUpStampedTwice) {
    using Side = TypeParam;
    Side::set_mode(Side::kControl);
    set_onu_id(9);
    EXPECT_EQ(Side::receive(this->longest(), kPort), 0);
    ASSERT_EQ(sent_frames().size(), 1u);
    EXPECT_EQ(hex(sent_frames()[0].frame), hex(this->longest_with(ethernet().tag(9).tag(4))));
}

TYPED_TEST(LongFrames, GoDownWithATagPutIn) {
    using Side = TypeParam;
    for (const std::uint8_t mode : {Side::kSnooping, Side::kControl}) {
        Side::set_mode(mode);
        forget_calls();
        PortVlanCfgEntry rule = downstream_rule(kPort, 100, 300);
        rule.in_dn_vlan = 0;
        set_rule<Side>(kBlock, 0, rule);
        Side::rule_counts()[kBlock] = 1;
        EXPECT_EQ(Side::receive(this->longest(), MC_UPLINK_PORT), -1);
        ASSERT_EQ(sent_frames().size(), 6u);
        EXPECT_EQ(hex(sent_frames()[kBlock].frame), hex(this->longest_with(ethernet().tag(300))));
        EXPECT_EQ(hex(sent_frames()[kBlock + 1].frame), hex(this->longest()));
    }
}

TYPED_TEST(LongFrames, AreDumpedWhole) {
    using Side = TypeParam;
    const std::string text =
        said(Side::mask(), 0x10, [&] { Side::receive(this->longest(), kPort); });
    EXPECT_THAT(text, ::testing::EndsWith(hex_dump(this->longest())));
}

// The shortest frame of each framing reaches the handlers with nothing but headers.
TYPED_TEST(LongFrames, TheShortestOnesAreForwardedToo) {
    using Side = TypeParam;
    set_onu_id(9);
    for (const std::uint8_t mode : {Side::kSnooping, Side::kControl}) {
        for (const FramingCase& framing : framing_cases()) {
            SCOPED_TRACE(framing.name);
            Side::set_mode(mode);
            const Bytes frame = Side::framed(framing.headers, Side::packet());
            for (const std::uint32_t port : {kPort, std::uint32_t{MC_UPLINK_PORT}}) {
                forget_calls();
                Side::receive(frame, framing.least, port);
                EXPECT_EQ(sent_frames().size(), port == kPort ? 1u : 6u);
            }
        }
    }
}

}  // namespace
