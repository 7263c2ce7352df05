// Setting a multicast VLAN rule: what holds on both sides, then what only the IGMP side does, which
// has the core learn and add VLANs and hands the rule on to the MLD side. The MLD side's own ways
// are in mld_vlan_test.cpp.
#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/vlan_rules.h"

namespace {

using namespace mc_test;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// ---- Both sides --------------------------------------------------------------------------

template <class Side>
class VlanSet : public OmciTest {
 protected:
    static std::int32_t set(Rule request) { return Side::set(&request); }

    // What is stored on port 2 when the request is the first one.
    static std::string stored(Rule request) {
        EXPECT_EQ(Side::set(&request), 0);
        EXPECT_EQ(Side::rule_counts()[2], 1);
        return text(Side::rules()[2][0]);
    }
};
TYPED_TEST_SUITE(VlanSet, Sides, TypeNames);

const Rule kNewRule = rule(2, {2, 1, 0}, {10, 11}, {12, 13}, {300, 15});

TYPED_TEST(VlanSet, RuleIsStoredBehindTheOthersOfItsPort) {
    const Rule first = simple_rule(2, 100, 200);
    const Rule second = simple_rule(2, 50, 200);
    given_rules<TypeParam>({first, second});
    EXPECT_EQ(this->set(kNewRule), 0);
    expect_rules<TypeParam>(2, {first, second, kNewRule});
    for (const int other : {0, 1, 3, 4, 5, 6}) expect_rules<TypeParam>(other, {});
}

TYPED_TEST(VlanSet, NewDataVlanIsListedBehindTheOthers) {
    given_vlans<TypeParam>({100, 200});
    EXPECT_EQ(this->set(kNewRule), 0);
    expect_vlans<TypeParam>({100, 200, 300});
    EXPECT_THAT(calls(), ElementsAreArray(TypeParam::calls_of_new_vlan(300)));
}

TYPED_TEST(VlanSet, ListedDataVlanIsListedOnce) {
    given_vlans<TypeParam>({100, 300, 200});
    given_rules<TypeParam>({simple_rule(1, 10, 300)});
    EXPECT_EQ(this->set(kNewRule), 0);
    expect_rules<TypeParam>(1, {simple_rule(1, 10, 300)});
    expect_rules<TypeParam>(2, {kNewRule});
    expect_vlans<TypeParam>({100, 300, 200});
    EXPECT_THAT(calls(), ElementsAreArray(TypeParam::calls_of_set()));
}

TYPED_TEST(VlanSet, ListIsSearchedForAll16Bits) {
    given_vlans<TypeParam>({100});
    EXPECT_EQ(this->set(simple_rule(2, 10, 0x1064)), 0);
    expect_vlans<TypeParam>({100, 0x1064});
    EXPECT_THAT(calls(), ElementsAreArray(TypeParam::calls_of_new_vlan(100)));
}

TYPED_TEST(VlanSet, EntriesBehindTheListAreNoEntries) {
    TypeParam::list()[0] = 300;
    TypeParam::list()[1] = 300;
    EXPECT_EQ(this->set(kNewRule), 0);
    EXPECT_EQ(TypeParam::used(), 1);
}

TYPED_TEST(VlanSet, IdenticalRequestsAreStoredTwice) {
    EXPECT_EQ(this->set(kNewRule), 0);
    EXPECT_EQ(this->set(kNewRule), 0);
    expect_rules<TypeParam>(2, {kNewRule, kNewRule});
    expect_vlans<TypeParam>({300});
}

TYPED_TEST(VlanSet, EveryPortTakesTenRules) {
    for (const int port : {0, 1, 2, 3, 4, 5, 29}) {
        std::vector<Rule> rules;
        for (std::uint16_t i = 1; i <= 10; ++i) {
            rules.push_back(simple_rule(port, i, 300));
            EXPECT_EQ(this->set(rules.back()), 0);
        }
        expect_rules<TypeParam>(port == 29 ? 6 : port, rules);
    }
    expect_vlans<TypeParam>({300});
}

TYPED_TEST(VlanSet, EleventhRuleOfAPortIsRefused) {
    for (std::uint16_t i = 1; i <= 10; ++i) EXPECT_EQ(this->set(simple_rule(2, i, 300)), 0);
    expect_no_change([this] {
        EXPECT_EQ(this->set(kNewRule), -1);
        EXPECT_EQ(this->set(simple_rule(2, 10, 400)), -1);
    });
    EXPECT_EQ(said(TypeParam::mask(), kErr, [this] { this->set(kNewRule); }), "");
}

TYPED_TEST(VlanSet, UnknownPortIsRefused) {
    expect_no_change([this] {
        for (const int port : {6, 7, 28, 30, 127, 128, 200, 255}) {
            EXPECT_EQ(this->set(simple_rule(port, 10, 300)), -1) << port;
        }
    });
}

// The byte is signed: it is no number that a port can have, not even one of the table.
TYPED_TEST(VlanSet, PortFrom128OnIsUnknownWhateverThePortTableHolds) {
    for (const std::uint32_t port : {128u, 200u, 254u, 255u}) {
        for (const std::uint32_t held : {port, 0xFFFFFF00 + port, 0xFFFFFFFFu}) {
            SCOPED_TRACE(line("port %d, held %d", port, held));
            TypeParam::ports()[1].port_id = held;
            expect_no_change([this, port] {
                EXPECT_EQ(this->set(simple_rule(static_cast<int>(port), 10, 300)), -1);
            });
        }
    }
    TypeParam::ports()[1].port_id = 200;
    EXPECT_THAT(said(TypeParam::mask(), kErr, [this] { this->set(simple_rule(200, 10, 300)); }),
                HasSubstr("port(-56) is invalid!"));
}

TYPED_TEST(VlanSet, PortIsTheFirstOfItsNumberInThePortTableOfItsSide) {
    given_vlans<TypeParam>({300});  // known, so that the other side is not asked
    for (const int position : {3, 5}) TypeParam::ports()[position].port_id = 17;
    EXPECT_EQ(this->set(simple_rule(17, 10, 300)), 0);
    expect_rules<TypeParam>(3, {simple_rule(17, 10, 300)});
    expect_rules<TypeParam>(5, {});
    EXPECT_EQ(this->set(simple_rule(3, 10, 300)), -1);
}

TYPED_TEST(VlanSet, OnlyTheDataVlanTellsThatASlotIsFree) {
    given_rules<TypeParam>({simple_rule(2, 1, 300)});
    TypeParam::rules()[2][1] = flagged(simple_rule(5, 100, 0xFFFF), 7);
    EXPECT_EQ(this->set(flagged(kNewRule, 9)), 0);
    expect_rules<TypeParam>(2, {simple_rule(2, 1, 300), flagged(kNewRule, 7)});
}

TYPED_TEST(VlanSet, BusySlotIsRefused) {
    TypeParam::rules()[2][0].in_data_vlan = 0xFFFE;
    expect_no_change([this] { EXPECT_EQ(this->set(kNewRule), -1); });
    expect_said(TypeParam::mask(), kErr, "\r\n[MC_DBG_ERR]: \n PortVlan storege is wrong!\n",
                [this] { this->set(kNewRule); });
}

TYPED_TEST(VlanSet, NoRequestIsRefused) {
    expect_no_change([] { EXPECT_EQ(TypeParam::set(nullptr), -1); });
    EXPECT_THAT(calls(), IsEmpty());
}

// ---- Requests with open VLANs ------------------------------------------------------------

constexpr std::uint16_t kOpen = 0xFFFF;

TYPED_TEST(VlanSet, UntagRequestTakesItsOpenUpstreamVlansFromDownstream) {
    EXPECT_EQ(this->stored(rule(2, {0, 1, 2}, {kOpen, 9}, {100, 200}, {300, 400})),
              text(rule(2, {0, 1, 2}, {100, 200}, {100, 200}, {300, 400})));
}

TYPED_TEST(VlanSet, UntagRequestKeepsTheUpstreamVlanThatItNames) {
    const Rule request = rule(2, {0, 1, 2}, {50, kOpen}, {100, 200}, {300, 400});
    EXPECT_EQ(this->stored(request), text(request));
}

TYPED_TEST(VlanSet, TranslateRequestTakesItsOpenUpstreamVlanFromTheUserPort) {
    for (const int mode : {2, 3}) {
        const Tables before = Tables::now();
        EXPECT_EQ(this->stored(rule(2, {mode, 1, 0}, {kOpen, 9}, {100, 300}, {200, 400})),
                  text(rule(2, {mode, 1, 0}, {300, 9}, {100, 300}, {200, 400})));
        before.put_back();
        const Rule named = rule(2, {mode, 1, 0}, {50, kOpen}, {100, 300}, {200, 400});
        EXPECT_EQ(this->stored(named), text(named));
        before.put_back();
    }
}

TYPED_TEST(VlanSet, TagRequestWithoutAnUpstreamVlanIsForUntaggedFrames) {
    for (const int mode : {1, 4, 5, 127, -1, -128}) {
        const Tables before = Tables::now();
        EXPECT_EQ(this->stored(rule(2, {mode, 0, 2}, {kOpen, 9}, {100, 200}, {300, 400})),
                  text(rule(2, {mode, 0, 2}, {0, 9}, {100, 0}, {300, 0})));
        before.put_back();
    }
}

TYPED_TEST(VlanSet, UpstreamVlanThatIsStillOpenBecomes0) {
    const Tables before = Tables::now();
    EXPECT_EQ(this->stored(rule(2, 0, {kOpen, 9}, {kOpen, 200}, {300, 400})),
              text(rule(2, 0, {0, 200}, {kOpen, 0}, {300, 0})));
    before.put_back();
    EXPECT_EQ(this->stored(rule(2, 3, {kOpen, 9}, {100, kOpen}, {300, 400})),
              text(rule(2, 3, {0, 9}, {100, 0}, {300, 0})));
}

TYPED_TEST(VlanSet, UpstreamVlan0ClearsTheVlansAtTheUserPort) {
    for (const int mode : {0, 1, 2, 3}) {
        const Tables before = Tables::now();
        EXPECT_EQ(this->stored(rule(2, mode, {0, 9}, {100, 200}, {300, 400})),
                  text(rule(2, mode, {0, 9}, {100, 0}, {300, 0})));
        before.put_back();
    }
}

TYPED_TEST(VlanSet, AnyOtherUpstreamVlanIsKept) {
    for (const std::uint16_t vlan : std::vector<std::uint16_t>{1, 4095, 4096, 0xFFFE}) {
        const Tables before = Tables::now();
        const Rule request = rule(2, 1, {vlan, 9}, {100, 200}, {300, 400});
        EXPECT_EQ(this->stored(request), text(request));
        before.put_back();
    }
}

TYPED_TEST(VlanSet, RequestItselfIsRewritten) {
    Rule request = rule(2, 0, {kOpen, 9}, {100, 200}, {300, 400});
    TypeParam::set(&request);
    EXPECT_EQ(text(request), text(rule(2, 0, {100, 200}, {100, 200}, {300, 400})));

    request = rule(2, 1, {kOpen, 9}, {100, 200}, {300, 400});
    TypeParam::set(&request);
    EXPECT_EQ(text(request), text(rule(2, 1, {0, 9}, {100, 0}, {300, 0})));
}

TYPED_TEST(VlanSet, RequestForAnUnknownPortIsRewrittenByItsTagModeOnly) {
    Rule request = rule(6, 0, {kOpen, 9}, {100, 200}, {300, 400});
    EXPECT_EQ(TypeParam::set(&request), -1);
    EXPECT_EQ(text(request), text(rule(6, 0, {100, 200}, {100, 200}, {300, 400})));

    const Rule without = rule(6, 1, {kOpen, 9}, {100, 200}, {300, 400});
    request = without;
    EXPECT_EQ(TypeParam::set(&request), -1);
    EXPECT_EQ(text(request), text(without));
}

TYPED_TEST(VlanSet, RequestTakenAsGivenIsNotRewrittenByItsTagMode) {
    TypeParam::take_as_given();
    for (const int mode : {0, 2, 3}) {
        const Tables before = Tables::now();
        Rule request = rule(2, mode, {kOpen, 9}, {100, 200}, {300, 400});
        EXPECT_EQ(TypeParam::set(&request), 0);
        EXPECT_EQ(text(request), text(rule(2, mode, {0, 9}, {100, 0}, {300, 0})));
        expect_rules<TypeParam>(2, {request});
        before.put_back();
    }
}

TYPED_TEST(VlanSet, DataVlan0And65535AreVlansLikeOthers) {
    EXPECT_EQ(this->set(simple_rule(2, 10, 0)), 0);
    EXPECT_EQ(TypeParam::used(), 1);
    EXPECT_EQ(this->set(simple_rule(2, 11, 0xFFFF)), 0);
    EXPECT_EQ(TypeParam::used(), 2);
    expect_rules<TypeParam>(2, {simple_rule(2, 10, 0), simple_rule(2, 11, 0xFFFF)});
    EXPECT_THAT(listed<TypeParam>(), ElementsAre(0, 0xFFFF, 0, 0, 0, 0, 0, 0, 0, 0));
    auto expected = TypeParam::calls_of_new_vlan(0);
    for (const std::string& next : TypeParam::calls_of_new_vlan(4095)) expected.push_back(next);
    EXPECT_THAT(calls(), ElementsAreArray(expected));
}

// ---- A full list -------------------------------------------------------------------------

const std::vector<std::uint16_t> kTenVlans = {101, 102, 103, 104, 105, 106, 107, 108, 109, 110};
const std::vector<int> kTenListed(kTenVlans.begin(), kTenVlans.end());

TYPED_TEST(VlanSet, TenthVlanIsListed) {
    std::vector<std::uint16_t> nine = kTenVlans;
    nine.pop_back();
    given_vlans<TypeParam>(nine);
    EXPECT_EQ(this->set(simple_rule(2, 10, 110)), 0);
    expect_vlans<TypeParam>(kTenListed);
}

TYPED_TEST(VlanSet, FullListTakesRulesForItsVlans) {
    given_vlans<TypeParam>(kTenVlans);
    EXPECT_EQ(this->set(simple_rule(2, 10, 101)), 0);
    EXPECT_EQ(this->set(simple_rule(2, 10, 110)), 0);
    expect_rules<TypeParam>(2, {simple_rule(2, 10, 101), simple_rule(2, 10, 110)});
    expect_vlans<TypeParam>(kTenListed);
}

TYPED_TEST(VlanSet, EleventhVlanIsRefused) {
    given_vlans<TypeParam>(kTenVlans);
    EXPECT_EQ(this->set(kNewRule), -1);
    expect_vlans<TypeParam>(kTenListed);
}

// ---- Console, both sides -----------------------------------------------------------------

// What a set says until the rule is stored. The MLD side leaves the request's fields out, shows the
// count of the port's rules, and names itself in most lines.
template <class Side>
struct Texts;

template <>
struct Texts<Igmp> {
    static Lines entered(int port, const std::string& fields) {
        return {Igmp::dbg("[onu_std_omci_set_multicast_vlan]: is in! port_index = " +
                          std::to_string(port) + "\r\n"),
                Igmp::dbg(fields + ".\r\n")};
    }
    static Line has_tag_mode(int mode, const std::string& name) {
        return Igmp::dbg(line("multicast_vlan tagmode = %d, is ", mode) + name + " mode!\n");
    }
    static Lines has_logical_port(int logical, int /*count*/) {
        return {Igmp::dbg("\n logicPort is " + std::to_string(logical))};
    }
    static Line port_is_invalid(int port) {
        return Igmp::err("\n port(" + std::to_string(port) + ") is invalid!");
    }
    static Line list_entry(int vlan) {
        return Igmp::cfg("***portVlan[j]= " + std::to_string(vlan));
    }
};

template <>
struct Texts<Mld> {
    static Lines entered(int port, const std::string& /*fields*/) {
        return {Mld::dbg("mld_onu_std_omci_set_multicast_vlan is in! port_index = " +
                         std::to_string(port) + "\n")};
    }
    static Line has_tag_mode(int mode, const std::string& name) {
        return Mld::dbg(line("mld multicast_vlan tagmode = %d, is ", mode) + name + " mode!\n");
    }
    static Lines has_logical_port(int logical, int count) {
        return {Mld::dbg("mld logicPort is " + std::to_string(logical) + "\r\n"),
                Mld::dbg("mld vlancfgtem(" + std::to_string(count) + ")\r\n")};
    }
    static Line port_is_invalid(int port) {
        return Mld::err("mld port(" + std::to_string(port) + ") is invalid!\r\n");
    }
    static Line list_entry(int vlan) {
        return Mld::cfg("***mld portVlan[j]= " + std::to_string(vlan));
    }
};

// What a side says of the new rule until it is stored.
template <class Side>
Lines new_rule_traced(int count = 0) {
    return Texts<Side>::entered(2, "2, 10, 11, 1, 12, 13, 0, 300, 15") +
           Lines{Texts<Side>::has_tag_mode(2, "translate")} +
           Texts<Side>::has_logical_port(2, count);
}

TYPED_TEST(VlanSet, KnownVlanIsTracedByTheListAlone) {
    given_vlans<TypeParam>({300, 0x112C, 300});
    expect_console(new_rule_traced<TypeParam>() + Lines{Texts<TypeParam>::list_entry(300),
                                                        Texts<TypeParam>::list_entry(0x112C),
                                                        Texts<TypeParam>::list_entry(300)},
                   [this] { this->set(kNewRule); });
}

TYPED_TEST(VlanSet, TagModesAreTracedWhileTheyCount) {
    using Says = Texts<TypeParam>;
    const auto expect_traced = [](int mode, const Lines& tag_mode) {
        const std::string m = std::to_string(mode);
        expect_console(Says::entered(6, m + ", 1, 2, " + m + ", 3, 4, " + m + ", 5, 6") + tag_mode +
                           Lines{Says::port_is_invalid(6)},
                       [mode] {
                           Rule request = rule(6, mode, {1, 2}, {3, 4}, {5, 6});
                           TypeParam::set(&request);
                       });
    };
    expect_traced(0, {Says::has_tag_mode(0, "untag")});
    expect_traced(1, {Says::has_tag_mode(1, "tag")});
    expect_traced(2, {Says::has_tag_mode(2, "translate")});
    expect_traced(3, {Says::has_tag_mode(3, "translate")});
    expect_traced(-1, {Says::has_tag_mode(-1, "tag")});
    expect_traced(-128, {Says::has_tag_mode(-128, "tag")});
    TypeParam::take_as_given();
    expect_traced(0, {});
}

TYPED_TEST(VlanSet, UnknownPortIsReportedAsASignedByte) {
    using Says = Texts<TypeParam>;
    for (const auto& [port, shown] : {std::pair{6, 6}, std::pair{200, -56}}) {
        expect_console(Says::entered(shown, "1, 10, 11, 1, 12, 13, 1, 300, 14") +
                           Lines{Says::has_tag_mode(1, "tag"), Says::port_is_invalid(shown)},
                       [port = port] {
                           Rule request = simple_rule(port, 10, 300);
                           TypeParam::set(&request);
                       });
    }
}

TYPED_TEST(VlanSet, FullPortIsRefusedWithoutAWord) {
    TypeParam::rule_counts()[2] = 10;
    expect_console(new_rule_traced<TypeParam>(10), [this] { this->set(kNewRule); });
}

TYPED_TEST(VlanSet, BusySlotIsReported) {
    TypeParam::rules()[2][0].in_data_vlan = 100;
    expect_console(
        new_rule_traced<TypeParam>() + Lines{TypeParam::err("\n PortVlan storege is wrong!\n")},
        [this] { this->set(kNewRule); });
}

TYPED_TEST(VlanSet, NothingIsShownAtOtherLevelsOrOfARefusal) {
    given_vlans<TypeParam>({300, 100, 300});
    for (const std::int32_t level : {-2, -1, 0, 2, 0x101}) {
        TypeParam::level() = level;
        const Tables before = Tables::now();
        EXPECT_EQ(printed([this] { this->set(kNewRule); }), "");
        before.put_back();
    }
    TypeParam::level() = 1;
    EXPECT_EQ(printed([this] { this->set(simple_rule(6, 10, 300)); }), "");
    TypeParam::rule_counts()[2] = 10;
    EXPECT_EQ(printed([this] { this->set(kNewRule); }), "");
}

// ---- IGMP side ---------------------------------------------------------------------------

class IgmpVlanSet : public OmciTest {
 protected:
    static std::int32_t set(Rule request) { return onu_std_omci_set_multicast_vlan(&request); }
};

TEST_F(IgmpVlanSet, NewVlanTakesTheNormalisedRuleToTheMldSide) {
    EXPECT_EQ(set(rule(2, 0, {kOpen, 9}, {100, 200}, {0x12C8, 400})), 0);
    const Rule normalised = rule(2, 0, {100, 200}, {100, 200}, {0x12C8, 400});
    expect_rules<Igmp>(2, {normalised});
    expect_rules<Mld>(2, {normalised});
    expect_vlans<Igmp>({0x12C8});
    expect_vlans<Mld>({0x12C8});
    EXPECT_THAT(calls(), ElementsAre("L2_multicast_get_onu_id()", "igmp_vlan_add(712)"));
    EXPECT_EQ(globle_parm.learningMode, 0);
    EXPECT_EQ(flag_omci_version, 0u);
}

TEST_F(IgmpVlanSet, KnownVlanStaysOnThisSide) {
    EXPECT_EQ(set(kNewRule), 0);
    forget_calls();
    EXPECT_EQ(set(simple_rule(3, 20, 300)), 0);
    expect_rules<Igmp>(3, {simple_rule(3, 20, 300)});
    expect_rules<Mld>(3, {});
    EXPECT_THAT(calls(), ElementsAre("L2_multicast_get_onu_id()"));
}

TEST_F(IgmpVlanSet, RuleAndListAreCompleteWhenTheCoreHearsOfTheVlan) {
    bool seen = false;
    during("igmp_vlan_add", [&seen] {
        seen = true;
        expect_rules<Igmp>(2, {kNewRule});
        expect_vlans<Igmp>({300});
        expect_rules<Mld>(2, {});
    });
    set(kNewRule);
    EXPECT_TRUE(seen);
}

TEST_F(IgmpVlanSet, VlanThatTheCoreRefusesIsKept) {
    answer("igmp_vlan_add", kFailure);
    EXPECT_EQ(set(kNewRule), 0);
    expect_rules<Igmp>(2, {kNewRule});
    expect_vlans<Igmp>({300});
    expect_rules<Mld>(2, {kNewRule});
    expect_vlans<Mld>({300});
}

TEST_F(IgmpVlanSet, ResultIsTheMldSidesWhenTheVlanIsNew) {
    mldInitParams.vlancfgnum[2] = 10;
    EXPECT_EQ(set(kNewRule), -1);
    expect_rules<Igmp>(2, {kNewRule});
    expect_vlans<Igmp>({300});
}

TEST_F(IgmpVlanSet, EleventhVlanIsStoredOnNeitherSide) {
    given_vlans<Igmp>(kTenVlans);
    expect_no_change([] { EXPECT_EQ(set(kNewRule), -1); });
    EXPECT_THAT(calls(), ElementsAre("L2_multicast_get_onu_id()"));
    expect_console(new_rule_traced<Igmp>() + Lines{Igmp::err("\n no room for vlan(300) in the "
                                                             "template vlan list!")},
                   [] { set(kNewRule); });
    igmp_adapt = 1;
    EXPECT_EQ(printed([] { set(kNewRule); }), "");
}

// ---- VLAN learning -----------------------------------------------------------------------

class EponVlanSet : public IgmpVlanSet {
 protected:
    EponVlanSet() { set_onu_id(255); }
};

TEST_F(EponVlanSet, LearningIsSwitchedOnFirst) {
    bool seen = false;
    during("igmp_vlan_learning_set", [&seen] {
        seen = true;
        EXPECT_EQ(globle_parm.learningMode, 1);
        expect_rules<Igmp>(2, {});
    });
    EXPECT_EQ(set(kNewRule), 0);
    EXPECT_TRUE(seen);
    EXPECT_THAT(calls(), ElementsAre("L2_multicast_get_onu_id()", "igmp_vlan_learning_set(1)",
                                     "igmp_vlan_add(300)"));
}

TEST_F(EponVlanSet, LearningIsSwitchedOnByRequestsThatFail) {
    EXPECT_EQ(set(simple_rule(6, 10, 300)), -1);
    EXPECT_EQ(globle_parm.learningMode, 1);
    EXPECT_THAT(calls(), ElementsAre("L2_multicast_get_onu_id()", "igmp_vlan_learning_set(1)"));

    globle_parm.learningMode = 0;
    setVlanCfgNumber[2] = 10;
    EXPECT_EQ(set(kNewRule), -1);
    EXPECT_EQ(globle_parm.learningMode, 1);
}

TEST_F(EponVlanSet, LearningIsLeftAloneOnAnOnuWithAnyOmciId) {
    for (const std::uint8_t id : std::vector<std::uint8_t>{0, 1, 127, 128, 254}) {
        set_onu_id(id);
        set(kNewRule);
        EXPECT_EQ(globle_parm.learningMode, 0) << static_cast<int>(id);
        EXPECT_EQ(count_of("igmp_vlan_learning_set"), 0u);
    }
}

TEST_F(EponVlanSet, RefusedLearningIsTheResultOfARuleForAKnownVlan) {
    answer("igmp_vlan_learning_set", kFailure);
    EXPECT_EQ(set(kNewRule), 0) << "the MLD side's result, as the VLAN is new";
    EXPECT_EQ(set(kNewRule), kFailure);
    EXPECT_EQ(set(simple_rule(6, 10, 300)), -1);
    expect_rules<Igmp>(2, {kNewRule, kNewRule});
    EXPECT_EQ(globle_parm.learningMode, 1);
}

TEST_F(EponVlanSet, LearningIsTraced) {
    const Lines traced = new_rule_traced<Igmp>();
    const Lines entered = {traced[0], traced[1]};
    const Lines normalised = {traced[2], traced[3]};
    const Lines switching = {Igmp::dbg("epon mode,omci_set_igmp_dynamic_enable is in!\n")};
    given_vlans<Igmp>({300});
    expect_console(entered + switching + normalised + Lines{Igmp::cfg("***portVlan[j]= 300")},
                   [] { set(kNewRule); });

    answer("igmp_vlan_learning_set", kFailure);
    expect_console(entered + switching +
                       Lines{Igmp::err("\n ERROR!igmp_adapt_vlan_learning Fail\n")} + normalised +
                       Lines{Igmp::cfg("***portVlan[j]= 300")},
                   [] { set(kNewRule); });
}

// ---- Console -----------------------------------------------------------------------------

TEST_F(IgmpVlanSet, NewVlanIsTracedOnBothSides) {
    given_vlans<Igmp>({100, 0x1064});
    expect_console(new_rule_traced<Igmp>() +
                       Lines{
                           Igmp::cfg("***portVlan[j]= 100"),
                           Igmp::cfg("***portVlan[j]= 4196"),
                           Igmp::cfg("temp_var = 300\n"),
                           Igmp::cfg("\nmld_onu_std_omci_set_multicast_vlan is in!\n"),
                       } +
                       new_rule_traced<Mld>() + Lines{Mld::cfg("temp_var = 300\n")},
                   [] { set(kNewRule); });
}

TEST_F(IgmpVlanSet, TracedVlanHas12Bits) {
    EXPECT_EQ(said(mc_debug, kCfg, [] { set(simple_rule(2, 10, 0xF064)); }),
              "\r\n[MC_DBG_CFG]: temp_var = 100\n"
              "\r\n[MC_DBG_CFG]: \nmld_onu_std_omci_set_multicast_vlan is in!\n");
}

TEST_F(IgmpVlanSet, FailuresOfTheCoreAndOfTheMldSideAreReported) {
    answer("igmp_vlan_add", -5);
    mldInitParams.vlancfgnum[2] = 10;
    expect_console(new_rule_traced<Igmp>() +
                       Lines{
                           Igmp::cfg("temp_var = 300\n"),
                           Igmp::err("\n ERROR!igmp_standard_vlan_add Fail -5\r\n"),
                           Igmp::cfg("\nmld_onu_std_omci_set_multicast_vlan is in!\n"),
                       } +
                       new_rule_traced<Mld>(10) +
                       Lines{Igmp::err("\n ERROR!mld_onu_std_omci_set_multicast_vlan Fail\n")},
                   [] { set(kNewRule); });
}

TEST_F(IgmpVlanSet, RequestIsTracedAsItCame) {
    EXPECT_EQ(said(mc_debug, kDbg,
                   [] {
                       set(rule(2, 1, {kOpen, 9}, {100, 200}, {300, 400}));
                   }),
              "\r\n[MC_DBG_DBG]: [onu_std_omci_set_multicast_vlan]: is in! port_index = 2\r\n"
              "\r\n[MC_DBG_DBG]: 1, 65535, 9, 1, 100, 200, 1, 300, 400.\r\n"
              "\r\n[MC_DBG_DBG]: multicast_vlan tagmode = 1, is tag mode!\n"
              "\r\n[MC_DBG_DBG]: \n logicPort is 2");
}

TEST_F(IgmpVlanSet, ChangesAreShownAtLevel1) {
    igmp_adapt = 1;
    const Rule before = simple_rule(1, 10, 100);
    given_rules<Igmp>({before});
    given_vlans<Igmp>({100});
    expect_console(new_rule_traced<Igmp>() +
                       Lines{
                           Igmp::dbg("\n before add multicast_vlan!\n"),
                           dump<Igmp>({{before}, {100}}),
                           Igmp::dbg("\n after add multicast_vlan!\n"),
                           dump<Igmp>({{before, kNewRule}, {100}}),
                           Igmp::cfg("***portVlan[j]= 100"),
                           Igmp::dbg("\n after add PortVlan!\n"),
                           dump<Igmp>({{before, kNewRule}, {100, 300}}),
                           Igmp::cfg("temp_var = 300\n"),
                           Igmp::cfg("\nmld_onu_std_omci_set_multicast_vlan is in!\n"),
                       } +
                       new_rule_traced<Mld>() + Lines{Mld::cfg("temp_var = 300\n")},
                   [] { set(kNewRule); });
}

TEST_F(IgmpVlanSet, EveryMatchInTheListIsShownAtLevel1) {
    igmp_adapt = 1;
    given_vlans<Igmp>({300, 100, 300});
    const Shown now = {{kNewRule}, {300, 100, 300}};
    expect_console(new_rule_traced<Igmp>() +
                       Lines{
                           Igmp::dbg("\n before add multicast_vlan!\n"),
                           dump<Igmp>({{}, {300, 100, 300}}),
                           Igmp::dbg("\n after add multicast_vlan!\n"),
                           dump<Igmp>(now),
                           Igmp::cfg("***portVlan[j]= 300"),
                           Igmp::dbg("\n PortVlan is  already exist!\n"),
                           dump<Igmp>(now),
                           Igmp::cfg("***portVlan[j]= 100"),
                           Igmp::cfg("***portVlan[j]= 300"),
                           Igmp::dbg("\n PortVlan is  already exist!\n"),
                           dump<Igmp>(now),
                       },
                   [] { set(kNewRule); });
}

// ---- A rule by port and mode -------------------------------------------------------------

class VlanByMode : public OmciTest {};

struct ByMode {
    std::int32_t mode;
    std::int32_t vlan;
    std::int32_t vlan2;
    Rule stored;
};

const ByMode kByMode[] = {
    {0, 100, 200, rule(2, 0, {100, 100}, {100, 100}, {100, 100})},
    {3, 100, 200, rule(2, 0, {100, 100}, {100, 100}, {100, 100})},
    {1, 100, 200, rule(2, 1, {0, 100}, {100, 0}, {100, 0})},
    {2, 100, 200, rule(2, 2, {100, 200}, {200, 100}, {200, 100})},
    {4, 100, 200, rule(2, 4, {100, 200}, {200, 100}, {200, 100})},
    {-1, 100, 200, rule(2, -1, {100, 200}, {200, 100}, {200, 100})},
    // Only its low 8 bits are stored, but all of it tells the mode.
    {0x101, 100, 200, rule(2, 1, {100, 200}, {200, 100}, {200, 100})},
    {0x7FFFFF00, 100, 200, rule(2, 0, {100, 200}, {200, 100}, {200, 100})},
    // Without an upstream VLAN, and normalised no longer: the MLD side gets it without one too.
    {0x100, 0xFFFF, 200, rule(2, 0, {0, 200}, {200, 0}, {200, 0})},
    // VLANs have 16 bits.
    {2, 0x10064, -2, rule(2, 2, {100, 0xFFFE}, {0xFFFE, 100}, {0xFFFE, 100})},
    {2, 0x10000, 200, rule(2, 2, {0, 200}, {200, 0}, {200, 0})},
    {0, -1, 200, rule(2, 0, {0, 0xFFFF}, {0xFFFF, 0}, {0xFFFF, 0})},
};

TEST_F(VlanByMode, IsStoredOnceOnTheIgmpAndTwiceOnTheMldSide) {
    const Tables fresh = Tables::now();
    for (const ByMode& request : kByMode) {
        SCOPED_TRACE(request.mode);
        EXPECT_EQ(igmp_port_vlan_and_mode_set(2, request.mode, request.vlan, request.vlan2), 0);
        expect_rules<Igmp>(2, {request.stored});
        expect_rules<Mld>(2, {request.stored, request.stored});
        expect_vlans<Igmp>({request.stored.in_data_vlan});
        expect_vlans<Mld>({request.stored.in_data_vlan});
        fresh.put_back();
    }
}

TEST_F(VlanByMode, IsStoredOnceOnBothSidesWhenTheVlanIsKnown) {
    given_vlans<Igmp>({200});
    EXPECT_EQ(igmp_port_vlan_and_mode_set(2, 2, 100, 200), 0);
    const Rule stored = rule(2, 2, {100, 200}, {200, 100}, {200, 100});
    expect_rules<Igmp>(2, {stored});
    expect_rules<Mld>(2, {stored});
    EXPECT_THAT(calls(), ElementsAre("L2_multicast_get_onu_id()"));
}

TEST_F(VlanByMode, VlanGoesToTheCoreOnce) {
    igmp_port_vlan_and_mode_set(29, 1, 0x1064, 0);
    EXPECT_THAT(calls(), ElementsAre("L2_multicast_get_onu_id()", "igmp_vlan_add(100)"));
    EXPECT_EQ(setVlanCfgNumber[6], 1);
    EXPECT_EQ(mldInitParams.vlancfgnum[6], 2);
}

TEST_F(VlanByMode, SwitchesLearningOnInEponMode) {
    set_onu_id(255);
    igmp_port_vlan_and_mode_set(2, 2, 100, 200);
    EXPECT_EQ(globle_parm.learningMode, 1);
    EXPECT_THAT(calls(), ElementsAre("L2_multicast_get_onu_id()", "igmp_vlan_learning_set(1)",
                                     "igmp_vlan_add(200)"));
}

TEST_F(VlanByMode, ResultIsTheMldSides) {
    answer("igmp_vlan_add", kFailure);
    setVlanCfgNumber[2] = 10;
    EXPECT_EQ(igmp_port_vlan_and_mode_set(2, 2, 100, 200), 0) << "the IGMP side refuses";
    expect_rules<Mld>(2, {rule(2, 2, {100, 200}, {200, 100}, {200, 100})});

    mldInitParams.vlancfgnum[3] = 10;
    EXPECT_EQ(igmp_port_vlan_and_mode_set(3, 2, 100, 200), -1) << "the MLD side refuses";
    expect_rules<Igmp>(3, {rule(3, 2, {100, 200}, {200, 100}, {200, 100})});
}

TEST_F(VlanByMode, UnknownPortIsRefusedOnBothSides) {
    for (const int port : {6, 30, 128, 200, 255, -1}) {
        EXPECT_EQ(igmp_port_vlan_and_mode_set(port, 2, 100, 200), -1) << port;
    }
    for (int logical = 0; logical < MC_PORTS; ++logical) {
        expect_rules<Igmp>(logical, {});
        expect_rules<Mld>(logical, {});
    }
}

TEST_F(VlanByMode, PortFrom128OnIsUnknownWhateverThePortTablesHold) {
    for (const std::uint32_t held : {200u, 0xFFFFFFC8u, 0xFFFFFFFFu}) {
        portState[1].port_id = held;
        mldInitParams.port[1].port_id = held;
        EXPECT_EQ(igmp_port_vlan_and_mode_set(200, 2, 100, 200), -1) << held;
        EXPECT_EQ(igmp_port_vlan_and_mode_set(-56, 2, 100, 200), -1) << held;
        EXPECT_EQ(igmp_port_vlan_and_mode_set(-1, 2, 100, 200), -1) << held;
        expect_rules<Igmp>(1, {});
        expect_rules<Mld>(1, {});
    }
}

TEST_F(VlanByMode, EndsTheNormalisationOfIgmpRequestsForGood) {
    EXPECT_EQ(flag_omci_version, 0u);
    EXPECT_EQ(igmp_port_vlan_and_mode_set(6, 2, 100, 200), -1) << "even when it is refused";
    EXPECT_EQ(flag_omci_version, 1u);
    EXPECT_EQ(mldInitParams.mld_flag_omci_version, 0u);

    const Rule request = rule(2, 0, {kOpen, 9}, {100, 200}, {300, 400});
    Rule on_igmp_side = request;
    EXPECT_EQ(onu_std_omci_set_multicast_vlan(&on_igmp_side), 0);
    expect_rules<Igmp>(2, {rule(2, 0, {0, 9}, {100, 0}, {300, 0})});
    Rule on_mld_side = request;
    EXPECT_EQ(mld_onu_std_omci_set_multicast_vlan(&on_mld_side), 0);
    EXPECT_EQ(text(on_mld_side), text(rule(2, 0, {100, 200}, {100, 200}, {300, 400})));
}

TEST_F(VlanByMode, IsTracedOnBothSides) {
    const auto on_mld_side = [](int count) {
        return Lines{
            Mld::dbg("mld_onu_std_omci_set_multicast_vlan is in! port_index = 2\n"),
            Mld::dbg("mld multicast_vlan tagmode = 2, is translate mode!\n"),
            Mld::dbg("mld logicPort is 2\r\n"),
            Mld::dbg("mld vlancfgtem(" + std::to_string(count) + ")\r\n"),
        };
    };
    expect_console(
        Lines{
            Igmp::dbg("igmp_port_vlan_and_mode_set is in! port_index = 2\n"),
            Igmp::dbg("[onu_std_omci_set_multicast_vlan]: is in! port_index = 2\r\n"),
            Igmp::dbg("2, 100, 200, 2, 200, 100, 2, 200, 100.\r\n"),
            Igmp::dbg("\n logicPort is 2"),
            Igmp::cfg("temp_var = 200\n"),
            Igmp::cfg("\nmld_onu_std_omci_set_multicast_vlan is in!\n"),
        } + on_mld_side(0) +
            Lines{Mld::cfg("temp_var = 200\n")} + on_mld_side(1) +
            Lines{Mld::cfg("***mld portVlan[j]= 200")},
        [] { igmp_port_vlan_and_mode_set(2, 2, 100, 200); });
}

TEST_F(VlanByMode, RefusalsOfBothSidesAreReported) {
    expect_console(
        {
            Igmp::dbg("igmp_port_vlan_and_mode_set is in! port_index = 262\n"),
            Igmp::dbg("[onu_std_omci_set_multicast_vlan]: is in! port_index = 6\r\n"),
            Igmp::dbg("2, 100, 200, 2, 200, 100, 2, 200, 100.\r\n"),
            Igmp::err("\n port(6) is invalid!"),
            Igmp::err("\n ERROR!onu_std_omci_set_multicast_vlan Fail\n"),
            Mld::dbg("mld_onu_std_omci_set_multicast_vlan is in! port_index = 6\n"),
            Mld::dbg("mld multicast_vlan tagmode = 2, is translate mode!\n"),
            Mld::err("mld port(6) is invalid!\r\n"),
            Igmp::err("\n ERROR!mld_onu_std_omci_set_multicast_vlan Fail\n"),
        },
        [] { igmp_port_vlan_and_mode_set(262, 2, 100, 200); });
}

}  // namespace
