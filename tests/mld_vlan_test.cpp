// The ways of the MLD side's rules that the IGMP side does not share: how requests arrive, the byte
// that is both the list's count and the port of the last frame, and what the console says. What the
// sides do alike is in vlan_packing_test.cpp, vlan_set_test.cpp and vlan_delete_test.cpp.
#include <gmock/gmock.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "mld/mld.h"
#include "tests/support/frames.h"
#include "tests/support/side_by_side.h"
#include "tests/support/vlan_rules.h"

namespace {

using namespace mc_test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint16_t kOpen = 0xFFFF;

class MldVlan : public OmciTest {
 protected:
    static std::int32_t set(Rule request) { return mld_onu_std_omci_set_multicast_vlan(&request); }
    static std::int32_t remove(Rule request) {
        return mld_onu_std_omci_delete_multicast_vlan(&request);
    }

    static void receive_frame_from(std::uint32_t port) {
        const Bytes packet = ipv6_packet("fe80::20", "ff1e::1:2", mld_v1_report("ff1e::1:2"));
        FrameBuffer frame(ethernet().tag(100).ipv6(packet));
        mldL2PktProc(frame.data(), frame.len(), port);
        ASSERT_EQ(mldInitParams.srcPortNum, port);
    }
};

// ---- How rules arrive --------------------------------------------------------------------

TEST_F(MldVlan, RuleThatIsSetAgainByPortAndModeIsStoredAgainOnThisSide) {
    Rule request = rule(2, 2, {100, 200}, {200, 100}, {200, 100});
    EXPECT_EQ(onu_std_omci_set_multicast_vlan(&request), 0);
    expect_rules<Igmp>(2, {request});
    expect_rules<Mld>(2, {request});

    setVlanCfgNumber[2] = 0;  // as if the IGMP side had none, which then stores one
    PortVlanCfg[2][0] = empty_rule();
    EXPECT_EQ(igmp_port_vlan_and_mode_set(2, 2, 100, 200), 0);
    expect_rules<Igmp>(2, {request});
    expect_rules<Mld>(2, {request, request});
    expect_vlans<Mld>({200});
}

TEST_F(MldVlan, RuleIsLeftBehindByAnOmciDelete) {
    Rule request = simple_rule(2, 10, 300);
    EXPECT_EQ(onu_std_omci_set_multicast_vlan(&request), 0);
    EXPECT_EQ(onu_std_omci_delete_multicast_vlan(&request), 0);
    expect_rules<Igmp>(2, {});
    expect_rules<Mld>(2, {request});
    expect_vlans<Mld>({300});
}

TEST_F(MldVlan, DeleteByPortAndModeTakesOneRuleACall) {
    EXPECT_EQ(igmp_port_vlan_and_mode_set(2, 2, 100, 200), 0);
    const Rule stored = rule(2, 2, {100, 200}, {200, 100}, {200, 100});
    expect_rules<Mld>(2, {stored, stored});

    forget_calls();
    EXPECT_EQ(igmp_service_remove_port_config(2, 2, 100, 200), 0);
    expect_rules<Mld>(2, {stored});
    expect_vlans<Mld>({200});
    EXPECT_THAT(calls(), ElementsAre("igmp_vlan_del(200)")) << "by the IGMP side";

    EXPECT_EQ(igmp_service_remove_port_config(2, 2, 100, 200), 0);
    expect_rules<Mld>(2, {});
    expect_vlans<Mld>({});
    EXPECT_THAT(calls(), ElementsAre("igmp_vlan_del(200)", "igmp_vlan_del(200)"));

    EXPECT_EQ(igmp_service_remove_port_config(2, 2, 100, 200), -1);
}

TEST_F(MldVlan, SetAsksNobody) {
    set_onu_id(255);
    EXPECT_EQ(set(simple_rule(2, 10, 300)), 0);
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(mldInitParams.learningMode, 0);
    EXPECT_EQ(globle_parm.learningMode, 0);
}

TEST_F(MldVlan, IgmpSideIsNotTouched) {
    const Rule request = simple_rule(2, 10, 300);
    given_rules<Igmp>({request});
    given_vlans<Igmp>({300, 100});
    EXPECT_EQ(set(request), 0);
    EXPECT_EQ(set(simple_rule(3, 10, 400)), 0);
    EXPECT_EQ(remove(request), 0);
    expect_rules<Igmp>(2, {request});
    expect_rules<Igmp>(3, {});
    expect_vlans<Igmp>({300, 100});
}

TEST_F(MldVlan, RequestsAreNormalisedWhateverTheIgmpSideDoes) {
    flag_omci_version = 1;
    Rule request = rule(2, 0, {kOpen, 9}, {100, 200}, {300, 400});
    EXPECT_EQ(mld_onu_std_omci_set_multicast_vlan(&request), 0);
    EXPECT_EQ(text(request), text(rule(2, 0, {100, 200}, {100, 200}, {300, 400})));
}

// ---- The count that is also a port -------------------------------------------------------

TEST_F(MldVlan, FrameMovesThePlaceOfTheNextVlan) {
    EXPECT_EQ(set(simple_rule(2, 10, 301)), 0);
    receive_frame_from(4);
    EXPECT_EQ(set(simple_rule(2, 20, 302)), 0);
    EXPECT_THAT(listed<Mld>(), ElementsAre(301, 0, 0, 0, 302, 0, 0, 0, 0, 0));
    EXPECT_THAT(mirrored<Mld>(), ElementsAre(301, 0, 0, 0, 302, 0, 0, 0, 0, 0));
    EXPECT_EQ(mldInitParams.srcPortNum, 5);

    receive_frame_from(0);
    EXPECT_EQ(set(simple_rule(2, 30, 302)), 0) << "no longer in the list";
    EXPECT_THAT(listed<Mld>(), ElementsAre(302, 0, 0, 0, 302, 0, 0, 0, 0, 0));
}

TEST_F(MldVlan, SetMovesThePortOfTheNextTransmission) {
    receive_frame_from(2);
    EXPECT_EQ(set(simple_rule(2, 10, 300)), 0);
    Bytes frame(60);
    mld_l2_igmp_send_pkt(frame.data(), 60, 1);
    ASSERT_EQ(sent_frames().size(), 2u) << "the forwarded frame comes first";
    EXPECT_EQ(sent_frames().back().src_port, 3u);
}

TEST_F(MldVlan, ListedVlanLeavesTheCountAlone) {
    given_vlans<Mld>({300, 301});
    receive_frame_from(5);
    EXPECT_EQ(set(simple_rule(2, 10, 301)), 0);
    EXPECT_EQ(mldInitParams.srcPortNum, 5);
}

TEST_F(MldVlan, FrameFromTheUplinkLeavesNoPlaceForANewVlan) {
    given_vlans<Mld>({301, 302});
    receive_frame_from(29);
    EXPECT_EQ(set(simple_rule(2, 10, 300)), -1);
    expect_rules<Mld>(2, {simple_rule(2, 10, 300)});
    EXPECT_THAT(listed<Mld>(), ElementsAre(301, 302, 0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_THAT(mirrored<Mld>(), ElementsAre(301, 302, 0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(mldInitParams.srcPortNum, 29);
}

TEST_F(MldVlan, NewVlanHasItsPlaceUpToTheTenth) {
    for (const std::uint8_t count : std::vector<std::uint8_t>{9, 10, 11, 255}) {
        SCOPED_TRACE(static_cast<int>(count));
        const Tables before = Tables::now();
        mldInitParams.srcPortNum = count;
        EXPECT_EQ(set(simple_rule(2, 10, 300)), count == 9 ? 0 : -1);
        expect_rules<Mld>(2, {simple_rule(2, 10, 300)});
        EXPECT_EQ(mldInitParams.srcPortNum, count == 9 ? 10 : count);
        EXPECT_THAT(listed<Mld>(), ElementsAre(0, 0, 0, 0, 0, 0, 0, 0, 0, count == 9 ? 300 : 0));
        before.put_back();
    }
}

TEST_F(MldVlan, ListedVlanIsFoundInAllTenEntriesAfterAFrameFromTheUplink) {
    given_vlans<Mld>({301, 302, 303, 304, 305, 306, 307, 308, 309, 310});
    receive_frame_from(29);
    EXPECT_EQ(set(simple_rule(2, 10, 310)), 0);
    expect_rules<Mld>(2, {simple_rule(2, 10, 310)});
    EXPECT_EQ(mldInitParams.srcPortNum, 29);
}

TEST_F(MldVlan, MissingPlaceIsTheResultOfAnIgmpSet) {
    receive_frame_from(29);
    forget_calls();
    Rule request = simple_rule(2, 10, 300);
    EXPECT_EQ(onu_std_omci_set_multicast_vlan(&request), -1);
    expect_rules<Igmp>(2, {request});
    expect_vlans<Igmp>({300});
    expect_rules<Mld>(2, {request});
    EXPECT_THAT(calls(), ElementsAre("L2_multicast_get_onu_id()", "igmp_vlan_add(300)"));
}

TEST_F(MldVlan, DeleteCountsDownFromThePortOfTheLastFrame) {
    given_rules<Mld>({simple_rule(2, 10, 302)});
    given_vlans<Mld>({301, 302, 303});
    receive_frame_from(29);
    EXPECT_EQ(remove(simple_rule(2, 10, 302)), 0);
    EXPECT_THAT(listed<Mld>(), ElementsAre(301, 303, 0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_THAT(mirrored<Mld>(), ElementsAre(301, 303, 0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(mldInitParams.srcPortNum, 28);
}

TEST_F(MldVlan, DeleteLooksForTheVlanInFrontOfThePortOfTheLastFrame) {
    given_rules<Mld>({simple_rule(2, 10, 302)});
    given_vlans<Mld>({301, 302, 303});
    receive_frame_from(1);
    EXPECT_EQ(remove(simple_rule(2, 10, 302)), 0);
    EXPECT_THAT(listed<Mld>(), ElementsAre(301, 302, 303, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(mldInitParams.srcPortNum, 1);
}

TEST_F(MldVlan, DeletePacksWhatAFrameHasSpread) {
    given_rules<Mld>({simple_rule(2, 10, 301), simple_rule(2, 20, 302)});
    given_vlans<Mld>({0, 0, 301, 0, 0, 302});
    EXPECT_EQ(remove(simple_rule(2, 10, 301)), 0);
    EXPECT_THAT(listed<Mld>(), ElementsAre(302, 0, 0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_THAT(mirrored<Mld>(), ElementsAre(302, 0, 0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(mldInitParams.srcPortNum, 5);
}

// The entries of this list have 32 bits, and all ten of them count.
TEST_F(MldVlan, ListIsPackedOverItsTenWholeEntries) {
    given_rules<Mld>({simple_rule(2, 10, 300)});
    constexpr std::int32_t kLarge = 0x10000;
    const std::int32_t spread[MC_TEMPLATE_VLANS] = {0, kLarge, 0, -1, 300, 0, 0, 7, 0, 8};
    std::copy(std::begin(spread), std::end(spread), mldInitParams.portVlan);
    mldInitParams.srcPortNum = 10;
    EXPECT_EQ(remove(simple_rule(2, 10, 300)), 0);
    EXPECT_THAT(listed<Mld>(), ElementsAre(kLarge, -1, 7, 8, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(mldInitParams.srcPortNum, 9);
}

TEST_F(MldVlan, ListEntryIsComparedAsAWhole) {
    given_rules<Mld>({simple_rule(2, 10, 300)});
    mldInitParams.portVlan[0] = 0x10000 + 300;
    mldInitParams.srcPortNum = 1;
    EXPECT_EQ(set(simple_rule(3, 10, 300)), 0);
    EXPECT_EQ(mldInitParams.srcPortNum, 2) << "is new";
    EXPECT_THAT(listed<Mld>(), ElementsAre(0x10000 + 300, 300, 0, 0, 0, 0, 0, 0, 0, 0));
}

// ---- The same byte from two tasks --------------------------------------------------------

// What stands behind the list and behind its mirror: the parameters, and the count of port 0, which
// gets no rule here.
Bytes behind_the_lists() {
    const auto* const record = reinterpret_cast<const std::uint8_t*>(&mldInitParams);
    Bytes bytes(record + offsetof(MldInitParams, defaultVlan),
                record + offsetof(MldInitParams, mldPortVlanCfg));
    const Bytes count = be32(static_cast<std::uint32_t>(mldInitParams.vlancfgnum[0]));
    bytes.insert(bytes.end(), count.begin(), count.end());
    return bytes;
}

class ListBesideFrames : public MldVlan {
 protected:
    ListBesideFrames() { mldInitParams.multiMode = Mld::kProxy; }

    // Frames from all ports, each of which moves the count from within the list to behind it or
    // back. Most of them are overlong: those are dropped fastest.
    static void receive_from_all_ports(FrameBuffer& frame) {
        constexpr std::uint32_t kOverlong = 2001;
        for (std::uint32_t port = 0; port < MC_TEMPLATE_VLANS; ++port) {
            mldL2PktProc(frame.data(), frame.len(), MC_UPLINK_PORT - port);
            for (int again = 0; again < 10; ++again) {
                mldL2PktProc(frame.data(), kOverlong, port);
                mldL2PktProc(frame.data(), kOverlong, MC_UPLINK_PORT - port);
            }
            mldL2PktProc(frame.data(), frame.len(), port);
        }
    }

    // Rules with data VLANs that are new to the list of ten, and none of them the default VLAN.
    void set_and_delete() {
        for (int port = 1; port <= 5; ++port) {
            const std::uint16_t vlan = next_vlan();
            igmp_port_vlan_and_mode_set(port, 2, 10, vlan);
            igmp_service_remove_port_config(port, 2, 10, vlan);
            igmp_service_remove_port_config(port, 2, 10, vlan);
            const Rule request = simple_rule(port, 20, next_vlan());
            set(request);
            remove(request);
        }
    }

 private:
    std::uint16_t next_vlan() { return vlan_ = static_cast<std::uint16_t>(vlan_ % 4000 + 1); }

    std::uint16_t vlan_ = 0;
};

TEST_F(ListBesideFrames, IsNeverWrittenBehind) {
    const Bytes before = behind_the_lists();
    take_frames_unrecorded([](const std::uint8_t*, std::size_t, unsigned) {});
    FrameBuffer frame(Mld::report({100}));
    const auto receive = [&frame] {
        receive_from_all_ports(frame);
        return true;
    };
    const auto operate = [&] {
        set_and_delete();
        return behind_the_lists() == before;
    };
    run_side_by_side(std::chrono::milliseconds(1000), receive, operate);
    EXPECT_EQ(hex(behind_the_lists()), hex(before));
}

// ---- Console -----------------------------------------------------------------------------

// A set of this rule up to the point where it has a place.
const Rule kNewRule = rule(29, {2, 1, 0}, {10, 11}, {12, 13}, {0x112C, 15});

Lines new_rule_traced(int count) {
    return {
        Mld::dbg("mld_onu_std_omci_set_multicast_vlan is in! port_index = 29\n"),
        Mld::dbg("mld multicast_vlan tagmode = 2, is translate mode!\n"),
        Mld::dbg("mld logicPort is 6\r\n"),
        Mld::dbg("mld vlancfgtem(" + std::to_string(count) + ")\r\n"),
    };
}

TEST_F(MldVlan, NewVlanIsTraced) {
    given_rules<Mld>({simple_rule(29, 10, 100), simple_rule(29, 20, 100)});
    given_vlans<Mld>({100, 0x1064});
    mldInitParams.portVlan[0] = -1;
    expect_console(new_rule_traced(2) + Lines{Mld::cfg("***mld portVlan[j]= -1"),
                                              Mld::cfg("***mld portVlan[j]= 4196"),
                                              Mld::cfg("temp_var = 300\n")},
                   [] { set(kNewRule); });
}

TEST_F(MldVlan, MissingPlaceIsReportedBehindTheEntries) {
    mldInitParams.srcPortNum = 29;
    Lines lines = new_rule_traced(0);
    for (int i = 0; i < MC_TEMPLATE_VLANS; ++i) {
        lines.push_back(Mld::cfg("***mld portVlan[j]= 0"));
    }
    lines.push_back(Mld::err("\n no room for vlan(4396) in the template vlan list!"));
    expect_console(lines, [] { set(kNewRule); });
}

// A dump shows as many rules and VLANs as the IGMP side counts, here one and two.
TEST_F(MldVlan, ChangesAreShownAtLevel1) {
    mldInitParams.mld_adapt = 1;
    setVlanCfgNumber[6] = 1;
    setVlanNumber = 2;
    given_vlans<Mld>({100});
    expect_console(new_rule_traced(0) +
                       Lines{
                           Mld::dbg("\n mld before add multicast_vlan!\n"),
                           dump<Mld>({{empty_rule()}, {100, 0}}),
                           Mld::dbg("\n mld after add multicast_vlan!\n"),
                           dump<Mld>({{kNewRule}, {100, 0}}),
                           Mld::cfg("***mld portVlan[j]= 100"),
                           Mld::dbg("\n after add PortVlan!\n"),
                           dump<Mld>({{kNewRule}, {100, 0x112C}}),
                           Mld::cfg("temp_var = 300\n"),
                       },
                   [] { set(kNewRule); });
}

TEST_F(MldVlan, EveryMatchInTheListIsShownAtLevel1) {
    mldInitParams.mld_adapt = 1;
    given_vlans<Mld>({0x112C, 100, 0x112C});
    const Line shown = dump<Mld>({{}, {}});
    expect_console(new_rule_traced(0) +
                       Lines{
                           Mld::dbg("\n mld before add multicast_vlan!\n"),
                           shown,
                           Mld::dbg("\n mld after add multicast_vlan!\n"),
                           shown,
                           Mld::cfg("***mld portVlan[j]= 4396"),
                           Mld::dbg("\n PortVlan is  already exist!\n"),
                           shown,
                           Mld::cfg("***mld portVlan[j]= 100"),
                           Mld::cfg("***mld portVlan[j]= 4396"),
                           Mld::dbg("\n PortVlan is  already exist!\n"),
                           shown,
                       },
                   [] { set(kNewRule); });
}

TEST_F(MldVlan, VlanWithoutAPlaceIsNotShownAsAdded) {
    mldInitParams.mld_adapt = 1;
    mldInitParams.srcPortNum = 29;
    const std::string shown = dump<Mld>({{}, {}}).text;
    EXPECT_EQ(printed([] { set(kNewRule); }), shown + shown);
}

TEST_F(MldVlan, NothingIsShownAtOtherLevels) {
    igmp_adapt = 1;  // the other side's
    for (const std::int32_t level : {-2, -1, 0, 2, 0x101}) {
        mldInitParams.mld_adapt = level;
        EXPECT_EQ(printed([] { set(kNewRule); }), "");
    }
}

// Each side goes by its own level.
TEST_F(MldVlan, DumpsOfBothSidesComeInTheOrderOfTheChanges) {
    igmp_adapt = 1;
    mldInitParams.mld_adapt = 1;
    const std::string with_rule_and_vlan = dump<Mld>({{kNewRule}, {0x112C}}).text;
    EXPECT_EQ(printed([] {
                  Rule request = kNewRule;
                  onu_std_omci_set_multicast_vlan(&request);
              }),
              dump<Igmp>({{}, {}}).text + dump<Igmp>({{kNewRule}, {}}).text +
                  dump<Igmp>({{kNewRule}, {0x112C}}).text + dump<Mld>({{empty_rule()}, {0}}).text +
                  dump<Mld>({{kNewRule}, {0}}).text + with_rule_and_vlan);

    // The IGMP side shows its change; the rule and the VLAN are gone from its counts when the MLD
    // side shows its own.
    const Line igmp_left = dump<Igmp>({{}, {0x112C}});
    EXPECT_EQ(printed([] {
                  flag_omci_version = 1;
                  igmp_service_remove_port_config(29, 2, 10, 0x112C);
              }),
              "\n setp one!" + igmp_left.text + dump<Mld>({{}, {}}).text);
}

}  // namespace
