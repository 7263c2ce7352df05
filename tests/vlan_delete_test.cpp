// Deleting a multicast VLAN rule: what holds on both sides, what each side says to it, and the
// delete by port and mode, which reaches both.
#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/vlan_rules.h"

namespace {

using namespace mc_test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint16_t kOpen = 0xFFFF;

// ---- Both sides --------------------------------------------------------------------------

template <class Side>
class VlanDelete : public OmciTest {
 protected:
    static std::int32_t remove(Rule request) { return Side::remove(&request); }
};
TYPED_TEST_SUITE(VlanDelete, Sides, TypeNames);

TYPED_TEST(VlanDelete, LastRuleOfAVlanTakesItOutOfListAndCore) {
    given_rules<TypeParam>({simple_rule(2, 10, 300)});
    given_vlans<TypeParam>({100, 300, 200});
    EXPECT_EQ(this->remove(simple_rule(2, 10, 300)), 0);
    expect_rules<TypeParam>(2, {});
    expect_vlans<TypeParam>({100, 200});
    EXPECT_THAT(calls(), ElementsAre("igmp_vlan_del(300)"));
}

TYPED_TEST(VlanDelete, RuleOfTheUplinkIsDeleted) {
    given_rules<TypeParam>({simple_rule(29, 10, 300)});
    EXPECT_EQ(this->remove(simple_rule(29, 10, 300)), 0);
    expect_rules<TypeParam>(6, {});
}

TYPED_TEST(VlanDelete, RemainingRulesArePackedInTheirOrderWithTheirFlags) {
    const Rule first = flagged(simple_rule(2, 30, 301), 1);
    const Rule second = flagged(simple_rule(2, 20, 302), 2);
    const Rule third = flagged(simple_rule(2, 10, 303), 3);
    const Rule other = flagged(simple_rule(3, 20, 304), 4);
    given_rules<TypeParam>({first, second, third, other});
    given_vlans<TypeParam>({301, 302, 303, 304});
    EXPECT_EQ(this->remove(simple_rule(2, 20, 302)), 0);
    expect_rules<TypeParam>(2, {first, third});
    expect_rules<TypeParam>(3, {other});
    expect_vlans<TypeParam>({301, 303, 304});
}

TYPED_TEST(VlanDelete, TenthRuleIsDeleted) {
    std::vector<Rule> rules;
    for (std::uint16_t i = 1; i <= 10; ++i) rules.push_back(simple_rule(2, i, 300));
    given_rules<TypeParam>(rules);
    EXPECT_EQ(this->remove(rules.back()), 0);
    rules.pop_back();
    expect_rules<TypeParam>(2, rules);
}

TYPED_TEST(VlanDelete, RuleIsFoundByItsUpstreamVlanAlone) {
    given_rules<TypeParam>({rule(2, {1, 0, 2}, {10, 2}, {3, 4}, {5, 6})});
    given_vlans<TypeParam>({5, 300});
    EXPECT_EQ(this->remove(rule(2, {2, 2, 2}, {10, 20}, {30, 40}, {300, 60})), 0);
    expect_rules<TypeParam>(2, {});
    // The request's data VLAN goes, not the rule's.
    expect_vlans<TypeParam>({5});
    EXPECT_THAT(calls(), ElementsAre("igmp_vlan_del(300)"));
}

TYPED_TEST(VlanDelete, FirstOfTwoRulesWithOneUpstreamVlanIsDeleted) {
    const Rule first = rule(2, 1, {10, 1}, {2, 3}, {300, 4});
    const Rule second = rule(2, 1, {10, 5}, {6, 7}, {300, 8});
    given_rules<TypeParam>({simple_rule(2, 9, 300), first, second});
    EXPECT_EQ(this->remove(second), 0);
    expect_rules<TypeParam>(2, {simple_rule(2, 9, 300), second});
}

TYPED_TEST(VlanDelete, RuleBehindTheCountIsFoundToo) {
    TypeParam::rule_counts()[2] = 1;
    TypeParam::rules()[2][9] = simple_rule(2, 10, 300);
    EXPECT_EQ(this->remove(simple_rule(2, 10, 300)), 0);
    expect_rules<TypeParam>(2, {});
}

TYPED_TEST(VlanDelete, AbsentRuleIsNoFailure) {
    given_rules<TypeParam>({simple_rule(2, 10, 300), simple_rule(3, 11, 300)});
    given_vlans<TypeParam>({300});
    expect_no_change([this] {
        EXPECT_EQ(this->remove(simple_rule(2, 11, 300)), 0);
        EXPECT_EQ(this->remove(simple_rule(2, 0x100A, 300)), 0) << "all 16 bits are compared";
    });
    EXPECT_THAT(calls(), IsEmpty());
}

TYPED_TEST(VlanDelete, PortWithoutRulesIsRefused) {
    given_rules<TypeParam>({simple_rule(3, 10, 300)});
    TypeParam::rules()[2][0] = simple_rule(2, 10, 300);  // not counted
    expect_no_change([this] { EXPECT_EQ(this->remove(simple_rule(2, 10, 300)), -1); });
    EXPECT_THAT(calls(), IsEmpty());
}

TYPED_TEST(VlanDelete, UnknownPortIsRefused) {
    for (int logical = 0; logical < MC_PORTS; ++logical) {
        TypeParam::rules()[logical][0] = simple_rule(logical, 10, 300);
        TypeParam::rule_counts()[logical] = 1;
    }
    expect_no_change([this] {
        for (const int port : {6, 7, 28, 30, 127, 128, 200, 255}) {
            EXPECT_EQ(this->remove(simple_rule(port, 10, 300)), -1) << port;
        }
    });
    EXPECT_THAT(calls(), IsEmpty());
}

// The byte is signed: it is no number that a port can have, not even one of the table.
TYPED_TEST(VlanDelete, PortFrom128OnIsUnknownWhateverThePortTableHolds) {
    for (const int port : {128, 200, 254, 255}) {
        TypeParam::rules()[1][0] = simple_rule(port, 10, 300);
        TypeParam::rule_counts()[1] = 1;
        for (const std::uint32_t held :
             {static_cast<std::uint32_t>(port), 0xFFFFFF00u + static_cast<std::uint32_t>(port)}) {
            SCOPED_TRACE(line("port %d, held %d", port, held));
            TypeParam::ports()[1].port_id = held;
            expect_no_change(
                [this, port] { EXPECT_EQ(this->remove(simple_rule(port, 10, 300)), -1); });
        }
    }
    EXPECT_THAT(calls(), IsEmpty());
}

TYPED_TEST(VlanDelete, PortIsTheFirstOfItsNumberInThePortTableOfItsSide) {
    TypeParam::ports()[3].port_id = 17;
    TypeParam::ports()[5].port_id = 17;
    for (const int logical : {3, 5}) {
        TypeParam::rules()[logical][0] = simple_rule(17, 10, 300);
        TypeParam::rule_counts()[logical] = 1;
    }
    EXPECT_EQ(this->remove(simple_rule(17, 10, 300)), 0);
    expect_rules<TypeParam>(3, {});
    expect_rules<TypeParam>(5, {simple_rule(17, 10, 300)});
}

TYPED_TEST(VlanDelete, NoRequestIsRefused) {
    expect_no_change([] { EXPECT_EQ(TypeParam::remove(nullptr), -1); });
    EXPECT_THAT(calls(), IsEmpty());
}

// ---- VLANs that stay ---------------------------------------------------------------------

TYPED_TEST(VlanDelete, VlanOfARuleOnAnotherPortStays) {
    given_rules<TypeParam>({simple_rule(2, 10, 300), simple_rule(29, 20, 300)});
    given_vlans<TypeParam>({300});
    EXPECT_EQ(this->remove(simple_rule(2, 10, 300)), 0);
    expect_rules<TypeParam>(2, {});
    expect_vlans<TypeParam>({300});
    EXPECT_THAT(calls(), IsEmpty());
}

TYPED_TEST(VlanDelete, VlanOfAnotherRuleOfThePortStays) {
    given_rules<TypeParam>({simple_rule(2, 10, 300), simple_rule(2, 20, 300)});
    given_vlans<TypeParam>({300});
    EXPECT_EQ(this->remove(simple_rule(2, 20, 300)), 0);
    expect_rules<TypeParam>(2, {simple_rule(2, 10, 300)});
    expect_vlans<TypeParam>({300});
    EXPECT_THAT(calls(), IsEmpty());
}

TYPED_TEST(VlanDelete, VlanStaysForARuleWithTheSame12Bits) {
    given_rules<TypeParam>({simple_rule(2, 10, 100), simple_rule(3, 20, 0x1064)});
    given_vlans<TypeParam>({100, 0x1064});
    EXPECT_EQ(this->remove(simple_rule(2, 10, 100)), 0);
    expect_vlans<TypeParam>({100, 0x1064});
    EXPECT_THAT(calls(), IsEmpty());
}

// Only the rules' VLANs are cut to 12 bits, not the request's, so that none is ever the same.
TYPED_TEST(VlanDelete, VlanAbove4095IsNeverFoundInUse) {
    given_rules<TypeParam>({simple_rule(2, 10, 0x1064), simple_rule(3, 20, 0x1064)});
    given_vlans<TypeParam>({100, 0x1064});
    EXPECT_EQ(this->remove(simple_rule(2, 10, 0x1064)), 0);
    expect_vlans<TypeParam>({100});
    EXPECT_THAT(calls(), ElementsAre("igmp_vlan_del(100)"));
}

TYPED_TEST(VlanDelete, RuleBehindTheCountKeepsNoVlan) {
    given_rules<TypeParam>({simple_rule(2, 10, 300)});
    TypeParam::rules()[3][0] = simple_rule(3, 20, 300);
    given_vlans<TypeParam>({300});
    EXPECT_EQ(this->remove(simple_rule(2, 10, 300)), 0);
    expect_vlans<TypeParam>({});
}

TYPED_TEST(VlanDelete, DefaultVlanStays) {
    given_rules<TypeParam>({simple_rule(2, 10, 4088), simple_rule(2, 20, 300)});
    given_vlans<TypeParam>({4088, 300});
    EXPECT_EQ(this->remove(simple_rule(2, 10, 4088)), 0);
    expect_rules<TypeParam>(2, {simple_rule(2, 20, 300)});
    expect_vlans<TypeParam>({4088, 300});
    EXPECT_THAT(calls(), IsEmpty());

    TypeParam::stored_default_vlan() = 300;
    EXPECT_EQ(this->remove(simple_rule(2, 20, 300)), 0);
    expect_rules<TypeParam>(2, {});
    expect_vlans<TypeParam>({4088, 300});
    EXPECT_THAT(calls(), IsEmpty());
}

TYPED_TEST(VlanDelete, DefaultVlanIsThatOfTheSide) {
    globle_parm.defaultVlan = 1;
    mldInitParams.defaultVlan = 1;
    TypeParam::stored_default_vlan() = 300;
    ::defaultVlan = 400;  // what reception falls back to
    given_rules<TypeParam>({simple_rule(2, 10, 300), simple_rule(2, 20, 400)});
    EXPECT_EQ(this->remove(simple_rule(2, 10, 300)), 0);
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(this->remove(simple_rule(2, 20, 400)), 0);
    EXPECT_THAT(calls(), ElementsAre("igmp_vlan_del(400)"));
}

TYPED_TEST(VlanDelete, DefaultVlanIsComparedIn16Bits) {
    given_rules<TypeParam>({simple_rule(2, 10, 0x1FF8)});
    EXPECT_EQ(this->remove(simple_rule(2, 10, 0x1FF8)), 0);
    EXPECT_THAT(calls(), ElementsAre("igmp_vlan_del(4088)"));
}

// ---- Core and list -----------------------------------------------------------------------

TYPED_TEST(VlanDelete, VlanThatTheCoreKeepsIsTakenOutAllTheSame) {
    answer("igmp_vlan_del", kFailure);
    given_rules<TypeParam>({simple_rule(2, 10, 300)});
    given_vlans<TypeParam>({300, 200});
    EXPECT_EQ(this->remove(simple_rule(2, 10, 300)), kFailure);
    expect_rules<TypeParam>(2, {});
    expect_vlans<TypeParam>({200});
}

TYPED_TEST(VlanDelete, RuleIsGoneAndVlanListedWhenTheCoreHearsOfIt) {
    given_rules<TypeParam>({simple_rule(2, 10, 300), simple_rule(2, 20, 200)});
    given_vlans<TypeParam>({300, 200});
    bool seen = false;
    during("igmp_vlan_del", [&seen] {
        seen = true;
        expect_rules<TypeParam>(2, {simple_rule(2, 20, 200)});
        expect_vlans<TypeParam>({300, 200});
    });
    this->remove(simple_rule(2, 10, 300));
    EXPECT_TRUE(seen);
}

TYPED_TEST(VlanDelete, VlanThatIsListedTwiceStaysOnce) {
    given_rules<TypeParam>({simple_rule(2, 10, 300)});
    given_vlans<TypeParam>({100, 300, 200, 300});
    EXPECT_EQ(this->remove(simple_rule(2, 10, 300)), 0);
    expect_vlans<TypeParam>({100, 200, 300});
}

TYPED_TEST(VlanDelete, ListIsSearchedForAll16Bits) {
    given_rules<TypeParam>({simple_rule(2, 10, 100)});
    given_vlans<TypeParam>({0x1064, 100});
    EXPECT_EQ(this->remove(simple_rule(2, 10, 100)), 0);
    expect_vlans<TypeParam>({0x1064});
}

TYPED_TEST(VlanDelete, ListsArePackedWhetherTheVlanIsListedOrNot) {
    given_rules<TypeParam>({simple_rule(2, 10, 300)});
    given_vlans<TypeParam>({0, 100, 0, 200});
    EXPECT_EQ(this->remove(simple_rule(2, 10, 300)), 0);
    EXPECT_THAT(listed<TypeParam>(), ElementsAre(100, 200, 0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_THAT(mirrored<TypeParam>(), ElementsAre(100, 200, 0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(TypeParam::used(), 4);
}

TYPED_TEST(VlanDelete, EntriesBehindTheListStay) {
    given_rules<TypeParam>({simple_rule(2, 10, 300)});
    given_vlans<TypeParam>({100, 200, 300});
    TypeParam::set_used(2);
    EXPECT_EQ(this->remove(simple_rule(2, 10, 300)), 0);
    EXPECT_THAT(listed<TypeParam>(), ElementsAre(100, 200, 300, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(TypeParam::used(), 2);
}

TYPED_TEST(VlanDelete, ListOfNoEntriesIsLeftAtThat) {
    given_rules<TypeParam>({simple_rule(2, 10, 300)});
    EXPECT_EQ(this->remove(simple_rule(2, 10, 300)), 0);
    expect_vlans<TypeParam>({});
}

TYPED_TEST(VlanDelete, EntryLeavesTheMirrorByItsPlace) {
    given_rules<TypeParam>({simple_rule(2, 10, 300)});
    given_vlans<TypeParam>({100, 300, 200});
    TypeParam::mirror()[1] = 7;
    EXPECT_EQ(this->remove(simple_rule(2, 10, 300)), 0);
    expect_vlans<TypeParam>({100, 200});
}

TYPED_TEST(VlanDelete, LastEntryOfAFullListLeavesIt) {
    given_rules<TypeParam>({simple_rule(2, 10, 110)});
    given_vlans<TypeParam>({101, 102, 103, 104, 105, 106, 107, 108, 109, 110});
    EXPECT_EQ(this->remove(simple_rule(2, 10, 110)), 0);
    expect_vlans<TypeParam>({101, 102, 103, 104, 105, 106, 107, 108, 109});
}

// ---- Requests with open VLANs ------------------------------------------------------------

TYPED_TEST(VlanDelete, RequestWithoutAnUpstreamVlanFindsTheRuleForUntaggedFrames) {
    Rule stored = rule(2, 1, {kOpen, 1}, {2, 3}, {300, 4});
    EXPECT_EQ(TypeParam::set(&stored), 0);
    expect_rules<TypeParam>(2, {rule(2, 1, {0, 1}, {2, 0}, {300, 0})});
    Rule request = rule(2, 1, {kOpen, 1}, {2, 3}, {300, 4});
    EXPECT_EQ(TypeParam::remove(&request), 0);
    expect_rules<TypeParam>(2, {});
    EXPECT_EQ(text(request), text(rule(2, 1, {0, 1}, {2, 0}, {300, 0})));
}

TYPED_TEST(VlanDelete, RequestIsNormalisedByItsTagModeLikeTheRuleItLooksFor) {
    struct Normalised {
        Rule request;
        Rule rewritten;
    };
    const Normalised kRequests[] = {
        {rule(2, 0, {kOpen, 9}, {50, 60}, {300, 70}), rule(2, 0, {50, 60}, {50, 60}, {300, 70})},
        {rule(2, 2, {kOpen, 9}, {50, 60}, {300, 70}), rule(2, 2, {60, 9}, {50, 60}, {300, 70})},
        {rule(2, 3, {kOpen, 9}, {50, 60}, {300, 70}), rule(2, 3, {60, 9}, {50, 60}, {300, 70})},
        {rule(2, 4, {kOpen, 9}, {50, 60}, {300, 70}), rule(2, 4, {0, 9}, {50, 0}, {300, 0})},
        {rule(2, 0, {kOpen, 9}, {kOpen, 60}, {300, 70}), rule(2, 0, {0, 60}, {kOpen, 0}, {300, 0})},
    };
    for (const Normalised& expected : kRequests) {
        const Tables before = Tables::now();
        given_rules<TypeParam>({simple_rule(2, 99, 300), expected.rewritten});
        Rule request = expected.request;
        EXPECT_EQ(TypeParam::remove(&request), 0);
        EXPECT_EQ(text(request), text(expected.rewritten));
        expect_rules<TypeParam>(2, {simple_rule(2, 99, 300)});
        before.put_back();
    }
}

TYPED_TEST(VlanDelete, RequestTakenAsGivenIsNotNormalisedByItsTagMode) {
    TypeParam::take_as_given();
    for (const int mode : {0, 2, 3}) {
        const Tables before = Tables::now();
        given_rules<TypeParam>({simple_rule(2, 50, 300), simple_rule(2, 0, 300)});
        Rule request = rule(2, mode, {kOpen, 9}, {50, 50}, {300, 70});
        EXPECT_EQ(TypeParam::remove(&request), 0);
        EXPECT_EQ(text(request), text(rule(2, mode, {0, 9}, {50, 0}, {300, 0})));
        expect_rules<TypeParam>(2, {simple_rule(2, 50, 300)});
        before.put_back();
    }
}

TYPED_TEST(VlanDelete, RequestThatIsRefusedIsNormalisedByItsTagModeOnly) {
    for (const int port : {2, 6}) {  // the one has no rule, the other does not exist
        Rule request = rule(port, 1, {kOpen, 9}, {50, 60}, {300, 70});
        EXPECT_EQ(TypeParam::remove(&request), -1);
        EXPECT_EQ(text(request), text(rule(port, 1, {kOpen, 9}, {50, 60}, {300, 70})));
        request = rule(port, 0, {kOpen, 9}, {50, 60}, {300, 70});
        EXPECT_EQ(TypeParam::remove(&request), -1);
        EXPECT_EQ(text(request), text(rule(port, 0, {50, 60}, {50, 60}, {300, 70})));
    }
}

TYPED_TEST(VlanDelete, RequestForAnAbsentRuleIsNormalisedInFull) {
    given_rules<TypeParam>({simple_rule(2, 10, 300)});
    Rule request = rule(2, 1, {kOpen, 9}, {50, 60}, {300, 70});
    EXPECT_EQ(TypeParam::remove(&request), 0);
    EXPECT_EQ(text(request), text(rule(2, 1, {0, 9}, {50, 0}, {300, 0})));
}

// ---- Console -----------------------------------------------------------------------------

// What the sides do not share: the MLD side names the operation without brackets and leaves the
// request's fields out, knows a category for its step and names itself in a failure.
template <class Side>
struct Texts;

template <>
struct Texts<Igmp> {
    static Lines entered(int port, const std::string& fields) {
        return {Igmp::dbg("[onu_std_omci_delete_multicast_vlan] is in! port_index = " +
                          std::to_string(port) + "\n"),
                Igmp::dbg(fields + ".\r\n")};
    }
    static Line packed() { return always("\n setp one!"); }
    static Line not_withdrawn() { return Igmp::err("ERROR!igmp_adapt_vlan_change Fail"); }
};

template <>
struct Texts<Mld> {
    static Lines entered(int port, const std::string& /*fields*/) {
        return {Mld::dbg("onu_std_omci_delete_multicast_vlan is in! port_index = " +
                         std::to_string(port) + "\n")};
    }
    static Line packed() { return Mld::dbg("\n setp one!\n"); }
    static Line not_withdrawn() { return Mld::err("ERROR!mld_adapt_vlan_change Fail\n"); }
};

// What a delete of simple_rule(port, 10, data) says until the rule is looked for.
template <class Side>
Lines accepted(int port, int logical, int data) {
    return Texts<Side>::entered(port, "1, 10, 11, 1, 12, 13, 1, " + std::to_string(data) + ", 14") +
           Lines{Side::dbg("multicast_vlan tagmode = 1, is tag mode!\n"),
                 Side::dbg("\n logicPort is " + std::to_string(logical))};
}

template <class Side>
Lines packing(int port, int logical) {
    return {Side::dbg("sortPortVlanCfg usport = " + std::to_string(port) + "\r\n"),
            Side::dbg("checkPortlogic logicPort = " + std::to_string(logical) + "\r\n")};
}

TYPED_TEST(VlanDelete, IsTraced) {
    given_rules<TypeParam>({simple_rule(29, 10, 0x112C)});
    given_vlans<TypeParam>({0x112C});
    expect_console(accepted<TypeParam>(29, 6, 0x112C) + packing<TypeParam>(29, 6) +
                       Lines{TypeParam::cfg("del temp_var = 300\r\n")},
                   [this] { this->remove(simple_rule(29, 10, 0x112C)); });
}

TYPED_TEST(VlanDelete, RefusalOfTheCoreIsReported) {
    answer("igmp_vlan_del", kFailure);
    given_rules<TypeParam>({simple_rule(2, 10, 300)});
    expect_console(
        accepted<TypeParam>(2, 2, 300) + packing<TypeParam>(2, 2) +
            Lines{TypeParam::cfg("del temp_var = 300\r\n"), Texts<TypeParam>::not_withdrawn()},
        [this] { this->remove(simple_rule(2, 10, 300)); });
}

TYPED_TEST(VlanDelete, VlanInUseIsTracedOnce) {
    given_rules<TypeParam>(
        {simple_rule(2, 10, 300), simple_rule(3, 20, 300), simple_rule(4, 20, 300)});
    expect_console(accepted<TypeParam>(2, 2, 300) + packing<TypeParam>(2, 2) +
                       Lines{TypeParam::dbg("\nIsSameVlanExist is find\n")},
                   [this] { this->remove(simple_rule(2, 10, 300)); });
}

TYPED_TEST(VlanDelete, DefaultVlanStaysWithoutAWord) {
    given_rules<TypeParam>({simple_rule(2, 10, 4088)});
    expect_console(accepted<TypeParam>(2, 2, 4088) + packing<TypeParam>(2, 2),
                   [this] { this->remove(simple_rule(2, 10, 4088)); });
}

TYPED_TEST(VlanDelete, PortWithoutRulesIsTraced) {
    expect_console(accepted<TypeParam>(2, 2, 300) +
                       Lines{TypeParam::dbg("\n vlan is not been disposed,use default vlan!")},
                   [this] { this->remove(simple_rule(2, 10, 300)); });
}

TYPED_TEST(VlanDelete, AbsentRuleIsReportedAsALine) {
    given_rules<TypeParam>({simple_rule(2, 20, 300)});
    expect_console(accepted<TypeParam>(2, 2, 300) +
                       Lines{TypeParam::err("\n delete PortVlanCfg is not find!\n")},
                   [this] { this->remove(simple_rule(2, 10, 300)); });
}

TYPED_TEST(VlanDelete, UnknownPortIsReportedAsASignedByte) {
    for (const auto& [port, shown] : {std::pair{30, 30}, std::pair{200, -56}}) {
        const Lines entered =
            Texts<TypeParam>::entered(shown, "1, 10, 11, 1, 12, 13, 1, 300, 14") +
            Lines{TypeParam::dbg("multicast_vlan tagmode = 1, is tag mode!\n"),
                  TypeParam::err("\n port(" + std::to_string(shown) + ") is invalid!")};
        expect_console(entered, [port = port] {
            Rule request = simple_rule(port, 10, 300);
            TypeParam::remove(&request);
        });
    }
}

TYPED_TEST(VlanDelete, TagModesAreTracedWhileTheyCount) {
    const auto lines = [](int mode, const Lines& tag_mode) {
        const std::string m = std::to_string(mode);
        return Texts<TypeParam>::entered(6, m + ", 1, 2, " + m + ", 3, 4, " + m + ", 5, 6") +
               tag_mode + Lines{TypeParam::err("\n port(6) is invalid!")};
    };
    const auto expect_traced = [&lines](int mode, Lines tag_mode) {
        expect_console(lines(mode, tag_mode), [mode] {
            Rule request = rule(6, mode, {1, 2}, {3, 4}, {5, 6});
            TypeParam::remove(&request);
        });
    };
    expect_traced(0, {TypeParam::dbg("multicast_vlan tagmode = 0, is untag mode!\n")});
    expect_traced(1, {TypeParam::dbg("multicast_vlan tagmode = 1, is tag mode!\n")});
    expect_traced(2, {TypeParam::dbg("multicast_vlan tagmode = 2, is translate mode!\n")});
    expect_traced(3, {TypeParam::dbg("multicast_vlan tagmode = 3, is translate mode!\n")});
    expect_traced(-128, {TypeParam::dbg("multicast_vlan tagmode = -128, is tag mode!\n")});
    TypeParam::take_as_given();
    expect_traced(0, {});
}

TYPED_TEST(VlanDelete, ChangeIsShownAtLevel1OnceTheRulesArePacked) {
    // The dump of either side goes by the counts of the IGMP side.
    given_rules<TypeParam>({simple_rule(2, 10, 300), simple_rule(2, 20, 200)});
    given_vlans<TypeParam>({300, 200});
    setVlanCfgNumber[2] = 2;
    setVlanNumber = 2;
    TypeParam::level() = 1;
    std::vector<Rule> left = {simple_rule(2, 20, 200)};
    if constexpr (std::is_same_v<TypeParam, Mld>) left.push_back(empty_rule());
    expect_console(accepted<TypeParam>(2, 2, 300) + packing<TypeParam>(2, 2) +
                       Lines{Texts<TypeParam>::packed(), dump<TypeParam>({left, {300, 200}}),
                             TypeParam::cfg("del temp_var = 300\r\n")},
                   [this] { this->remove(simple_rule(2, 10, 300)); });
}

TYPED_TEST(VlanDelete, NothingIsShownAtOtherLevelsOrOfARefusal) {
    given_rules<TypeParam>({simple_rule(2, 10, 300)});
    for (const std::int32_t level : {-1, 0, 2}) {
        TypeParam::level() = level;
        const Tables before = Tables::now();
        EXPECT_EQ(printed([this] { this->remove(simple_rule(2, 10, 300)); }), "");
        before.put_back();
    }
    TypeParam::level() = 1;
    EXPECT_EQ(printed([this] { this->remove(simple_rule(2, 11, 300)); }), "");
    EXPECT_EQ(printed([this] { this->remove(simple_rule(3, 10, 300)); }), "");
    EXPECT_EQ(printed([this] { this->remove(simple_rule(6, 10, 300)); }), "");
}

// ---- IGMP side alone ---------------------------------------------------------------------

class IgmpVlanDelete : public OmciTest {};

TEST_F(IgmpVlanDelete, LeavesTheMldSideAsItIs) {
    Rule request = simple_rule(2, 10, 300);
    ASSERT_EQ(onu_std_omci_set_multicast_vlan(&request), 0);
    forget_calls();
    EXPECT_EQ(onu_std_omci_delete_multicast_vlan(&request), 0);
    expect_rules<Igmp>(2, {});
    expect_vlans<Igmp>({});
    expect_rules<Mld>(2, {simple_rule(2, 10, 300)});
    expect_vlans<Mld>({300});
    EXPECT_THAT(calls(), ElementsAre("igmp_vlan_del(300)"));
}

TEST_F(IgmpVlanDelete, DoesNotAskForTheOnuIdInEponMode) {
    set_onu_id(255);
    given_rules<Igmp>({simple_rule(2, 10, 4088)});
    Rule request = simple_rule(2, 10, 4088);
    EXPECT_EQ(onu_std_omci_delete_multicast_vlan(&request), 0);
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(globle_parm.learningMode, 0);
}

// ---- A delete by port and mode -----------------------------------------------------------

class VlanDeleteByMode : public OmciTest {};

TEST_F(VlanDeleteByMode, FindsWhatASetByPortAndModeStored) {
    for (const std::int32_t mode : {0, 1, 2, 3, 4, 0x101}) {
        SCOPED_TRACE(mode);
        ASSERT_EQ(igmp_port_vlan_and_mode_set(2, mode, 100, 200), 0);
        EXPECT_EQ(setVlanCfgNumber[2], 1);
        EXPECT_EQ(igmp_service_remove_port_config(2, mode, 100, 200), 0);
        expect_rules<Igmp>(2, {});
        expect_vlans<Igmp>({});
        EXPECT_EQ(mldInitParams.vlancfgnum[2], 1) << "of the two that the set stored";
        EXPECT_EQ(igmp_service_remove_port_config(2, mode, 100, 200), 0);
        expect_rules<Mld>(2, {});
        expect_vlans<Mld>({});
    }
}

TEST_F(VlanDeleteByMode, TakesTheRuleFromBothSides) {
    const std::vector<Rule> rules = {simple_rule(2, 100, 5), simple_rule(3, 100, 6)};
    given_rules<Igmp>(rules);
    given_rules<Mld>(rules);
    given_vlans<Igmp>({200, 100});
    given_vlans<Mld>({100, 200});
    EXPECT_EQ(igmp_service_remove_port_config(2, 2, 0x10064, 0x100C8), 0);
    expect_rules<Igmp>(2, {});
    expect_rules<Igmp>(3, {simple_rule(3, 100, 6)});
    expect_vlans<Igmp>({100});
    expect_rules<Mld>(2, {});
    expect_rules<Mld>(3, {simple_rule(3, 100, 6)});
    expect_vlans<Mld>({100});
    EXPECT_THAT(calls(), ElementsAre("igmp_vlan_del(200)", "igmp_vlan_del(200)"));
}

TEST_F(VlanDeleteByMode, UsesTheVlansOfItsMode) {
    struct ByMode {
        std::int32_t mode;
        std::uint16_t up;
        std::uint16_t data;
    };
    for (const ByMode& by_mode : {ByMode{0, 100, 100}, ByMode{3, 100, 100}, ByMode{1, 0, 100},
                                  ByMode{2, 100, 200}, ByMode{-1, 100, 200}}) {
        SCOPED_TRACE(by_mode.mode);
        forget_calls();
        given_rules<Igmp>({simple_rule(2, by_mode.up, 7)});
        EXPECT_EQ(igmp_service_remove_port_config(2, by_mode.mode, 100, 200), -1)
            << "the MLD side has no rule";
        expect_rules<Igmp>(2, {});
        EXPECT_THAT(calls(), ElementsAre(call("igmp_vlan_del", by_mode.data)));
    }
}

TEST_F(VlanDeleteByMode, LeavesNormalisationAsItIs) {
    EXPECT_EQ(igmp_service_remove_port_config(2, 0, 100, 200), -1);
    EXPECT_EQ(flag_omci_version, 0u);
    flag_omci_version = 1;
    EXPECT_EQ(igmp_service_remove_port_config(2, 0, 100, 200), -1);
    EXPECT_EQ(flag_omci_version, 1u);
}

// The MLD side, which goes on normalising, would look for VLAN 200 otherwise.
TEST_F(VlanDeleteByMode, RequestReachesTheMldSideAsTheIgmpSideLeftIt) {
    constexpr std::int32_t kStoredAsUntag = 0x100;
    const std::vector<Rule> rules = {simple_rule(2, 200, 7), simple_rule(2, 0, 7)};
    given_rules<Igmp>(rules);
    given_rules<Mld>(rules);
    flag_omci_version = 1;
    EXPECT_EQ(igmp_service_remove_port_config(2, kStoredAsUntag, 0xFFFF, 200), 0);
    expect_rules<Igmp>(2, {simple_rule(2, 200, 7)});
    expect_rules<Mld>(2, {simple_rule(2, 200, 7)});
}

TEST_F(VlanDeleteByMode, ResultIsTheMldSides) {
    given_rules<Igmp>({simple_rule(2, 100, 200), simple_rule(3, 100, 201)});
    given_rules<Mld>({simple_rule(2, 100, 200), simple_rule(3, 100, 201)});
    fail_call("igmp_vlan_del", 1, 5);
    fail_call("igmp_vlan_del", 4, 6);
    EXPECT_EQ(igmp_service_remove_port_config(2, 2, 100, 200), 0);
    EXPECT_EQ(igmp_service_remove_port_config(3, 2, 100, 201), 6);
    EXPECT_EQ(count_of("igmp_vlan_del"), 4u);
}

TEST_F(VlanDeleteByMode, PortFrom128OnIsUnknownWhateverThePortTablesHold) {
    for (const std::uint32_t held : {200u, 0xFFFFFFC8u, 0xFFFFFFFFu}) {
        portState[1].port_id = held;
        mldInitParams.port[1].port_id = held;
        setVlanCfgNumber[1] = 1;
        mldInitParams.vlancfgnum[1] = 1;
        PortVlanCfg[1][0] = rule(200, 2, {100, 200}, {200, 100}, {200, 100});
        mldInitParams.mldPortVlanCfg[1][0] = PortVlanCfg[1][0];
        expect_no_change([] { EXPECT_EQ(igmp_service_remove_port_config(200, 2, 100, 200), -1); });
    }
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(VlanDeleteByMode, RefusalOfOneSideDoesNotKeepTheOtherFromDeleting) {
    given_rules<Mld>({simple_rule(2, 100, 200)});
    EXPECT_EQ(igmp_service_remove_port_config(2, 2, 100, 200), 0);
    expect_rules<Mld>(2, {});
    EXPECT_EQ(igmp_service_remove_port_config(6, 2, 100, 200), -1);
    EXPECT_EQ(igmp_service_remove_port_config(200, 2, 100, 200), -1);
}

TEST_F(VlanDeleteByMode, IsTracedOnBothSides) {
    given_rules<Igmp>({simple_rule(2, 100, 200)});
    given_rules<Mld>({simple_rule(2, 100, 200)});
    expect_console(Lines{Igmp::dbg("igmp_service_remove_port_config is in! port_index = 2\n")} +
                       Texts<Igmp>::entered(2, "2, 100, 200, 2, 200, 100, 2, 200, 100") +
                       Lines{Igmp::dbg("multicast_vlan tagmode = 2, is translate mode!\n"),
                             Igmp::dbg("\n logicPort is 2")} +
                       packing<Igmp>(2, 2) + Lines{Igmp::cfg("del temp_var = 200\r\n")} +
                       Texts<Mld>::entered(2, "") +
                       Lines{Mld::dbg("multicast_vlan tagmode = 2, is translate mode!\n"),
                             Mld::dbg("\n logicPort is 2")} +
                       packing<Mld>(2, 2) + Lines{Mld::cfg("del temp_var = 200\r\n")},
                   [] { igmp_service_remove_port_config(2, 2, 100, 200); });
}

TEST_F(VlanDeleteByMode, FailuresOfBothSidesAreReported) {
    expect_console(Lines{Igmp::dbg("igmp_service_remove_port_config is in! port_index = 262\n")} +
                       Texts<Igmp>::entered(6, "0, 100, 100, 0, 100, 100, 0, 100, 100") +
                       Lines{Igmp::dbg("multicast_vlan tagmode = 0, is untag mode!\n"),
                             Igmp::err("\n port(6) is invalid!"),
                             Igmp::err("\n ERROR!onu_std_omci_delete_multicast_vlan Fail")} +
                       Texts<Mld>::entered(6, "") +
                       Lines{Mld::dbg("multicast_vlan tagmode = 0, is untag mode!\n"),
                             Mld::err("\n port(6) is invalid!"),
                             Igmp::err("\n ERROR!mld_onu_std_omci_delete_multicast_vlan Fail")},
                   [] { igmp_service_remove_port_config(262, 3, 100, 200); });
}

}  // namespace
