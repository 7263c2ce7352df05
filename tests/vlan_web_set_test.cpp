// The web interface's set: the one rule of a port, how it follows from the request, and what
// becomes of the port's old data VLAN.
#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/vlan_rules.h"

namespace {

using namespace mc_test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

class WebSet : public OmciTest {
 protected:
    static std::int32_t set(Rule request) { return onu_std_omci_web_set_vlan(&request); }

    static Lines entered(int port) {
        return {Igmp::dbg("onu_std_omci_web_set_vlan is in! port_index = " + std::to_string(port) +
                          "\n")};
    }
};

// The upstream half is rewritten in any case; these values must not get through.
Rule web_request(int port, int protocol_mode, Vlans dn, int data_mode, Vlans data) {
    return rule(port, {99, protocol_mode, data_mode}, {901, 902}, dn, data);
}

// Translates both ways, and data from 300 to 15.
const Rule kRequest = web_request(2, 2, {12, 13}, 2, {300, 15});
const Rule kStored = rule(2, 2, {13, 12}, {12, 13}, {300, 15});

// ---- The rule ----------------------------------------------------------------------------

TEST_F(WebSet, RuleIsStoredListedAndGivenToTheCore) {
    EXPECT_EQ(set(kRequest), 0);
    expect_rules<Igmp>(2, {kStored});
    expect_vlans<Igmp>({300});
    EXPECT_THAT(calls(), ElementsAre("igmp_vlan_learning_set(1)", "igmp_vlan_del(4095)",
                                     "igmp_vlan_add(300)"));
}

TEST_F(WebSet, ReplacesAllRulesOfItsPortAndNoOther) {
    const Rule other = simple_rule(3, 1, 100);
    given_rules<Igmp>({other});
    for (std::uint16_t i = 1; i <= 10; ++i) {
        given_rules<Igmp>({flagged(simple_rule(2, i, 100), 7)});
    }
    EXPECT_EQ(set(kRequest), 0);
    expect_rules<Igmp>(2, {kStored});
    expect_rules<Igmp>(3, {other});
}

TEST_F(WebSet, TwiceLeavesOneRule) {
    EXPECT_EQ(set(kRequest), 0);
    EXPECT_EQ(set(kRequest), 0);
    expect_rules<Igmp>(2, {kStored});
}

TEST_F(WebSet, EveryUserPortCanBeSet) {
    for (int port = 0; port < 6; ++port) {
        EXPECT_EQ(set(web_request(port, 2, {12, 13}, 2, {300, 15})), 0);
        expect_rules<Igmp>(port, {rule(port, 2, {13, 12}, {12, 13}, {300, 15})});
    }
}

TEST_F(WebSet, MldSideIsNotTouched) {
    given_rules<Mld>({simple_rule(2, 10, 300)});
    given_vlans<Mld>({300});
    EXPECT_EQ(set(kRequest), 0);
    expect_rules<Mld>(2, {simple_rule(2, 10, 300)});
    expect_vlans<Mld>({300});
}

TEST_F(WebSet, FlagOfTheRequestIsNotStored) {
    EXPECT_EQ(set(flagged(kRequest, 9)), 0);
    expect_rules<Igmp>(2, {kStored});
}

struct Derived {
    const char* name;
    Rule request;
    Rule stored;
};

// By the tag mode of downstream protocol frames, then by that of data.
const Derived kDerived[] = {
    {"untag both", web_request(2, 0, {100, 200}, 0, {300, 400}),
     rule(2, {0, 0, 0}, {100, 100}, {100, 100}, {300, 300})},
    {"tag both", web_request(2, 1, {100, 200}, 1, {300, 400}),
     rule(2, {1, 1, 1}, {0, 100}, {100, 0}, {300, 0})},
    {"translate both", web_request(2, 2, {100, 200}, 2, {300, 400}),
     rule(2, {2, 2, 2}, {200, 100}, {100, 200}, {300, 400})},
    {"any other mode", web_request(2, -1, {100, 200}, 4, {300, 400}),
     rule(2, {-1, -1, 4}, {200, 100}, {100, 200}, {300, 400})},
    {"untag protocol, tag data", web_request(2, 0, {100, 200}, 1, {300, 400}),
     rule(2, {0, 0, 1}, {100, 100}, {100, 100}, {300, 0})},
    {"tag protocol, untag data", web_request(2, 1, {100, 200}, 0, {300, 400}),
     rule(2, {1, 1, 0}, {0, 100}, {100, 0}, {300, 300})},
    // Neither is completed as the other operations would.
    {"no VLANs", web_request(2, 2, {0xFFFF, 0xFFFF}, 3, {0xFFFF, 0xFFFF}),
     rule(2, {2, 2, 3}, {0xFFFF, 0xFFFF}, {0xFFFF, 0xFFFF}, {0xFFFF, 0xFFFF})},
    {"VLANs of 16 bits", web_request(2, 0, {0x1064, 0}, 0, {0x112C, 0}),
     rule(2, {0, 0, 0}, {0x1064, 0x1064}, {0x1064, 0x1064}, {0x112C, 0x112C})},
};

TEST_F(WebSet, RestOfTheRuleFollowsFromItsDownstreamHalf) {
    for (const std::uint32_t flag : {0u, 1u}) {
        flag_omci_version = flag;  // is of no interest here
        for (const Derived& derived : kDerived) {
            SCOPED_TRACE(derived.name);
            EXPECT_EQ(set(derived.request), 0);
            expect_rules<Igmp>(2, {derived.stored});
        }
    }
}

TEST_F(WebSet, RequestItselfIsRewritten) {
    for (const Derived& derived : kDerived) {
        Rule request = derived.request;
        EXPECT_EQ(onu_std_omci_web_set_vlan(&request), 0);
        EXPECT_EQ(text(request), text(derived.stored));
    }
}

// ---- Refusals ----------------------------------------------------------------------------

TEST_F(WebSet, PortIndexFrom7OnIsRefusedBeforeAnythingHappens) {
    PortVlanCfg[6][0] = simple_rule(29, 10, 300);
    setVlanCfgNumber[6] = 1;
    expect_no_change([] {
        for (const int port : {7, 8, 29, 127, 128, 200, 255}) {
            Rule request = web_request(port, 0, {12, 13}, 2, {300, 15});
            EXPECT_EQ(onu_std_omci_web_set_vlan(&request), -1) << port;
            EXPECT_EQ(text(request), text(web_request(port, 0, {12, 13}, 2, {300, 15})));
        }
    });
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(WebSet, PortFrom128OnIsRefusedWhateverThePortTableHolds) {
    for (const std::uint32_t held : {200u, 0xFFFFFFC8u, 0xFFFFFFFFu}) {
        portState[1].port_id = held;
        expect_no_change([] {
            for (const int port : {200, 255}) {
                Rule request = web_request(port, 0, {12, 13}, 2, {300, 15});
                EXPECT_EQ(onu_std_omci_web_set_vlan(&request), -1) << port;
            }
        });
    }
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(WebSet, NoRequestIsRefused) {
    expect_no_change([] { EXPECT_EQ(onu_std_omci_web_set_vlan(nullptr), -1); });
    EXPECT_THAT(calls(), IsEmpty());
}

// Index 6 is the uplink's logical port, but no port has the number 6.
TEST_F(WebSet, UplinkIsEmptiedAndThenRefused) {
    igmp_adapt = -2;  // silent
    given_rules<Igmp>({simple_rule(29, 10, 200), simple_rule(29, 20, 200)});
    given_vlans<Igmp>({100});
    Rule request = web_request(6, 0, {12, 13}, 2, {300, 15});
    EXPECT_EQ(onu_std_omci_web_set_vlan(&request), -1);
    expect_rules<Igmp>(6, {});
    expect_vlans<Igmp>({100});
    EXPECT_EQ(text(request), text(web_request(6, 0, {12, 13}, 2, {300, 15})));
    EXPECT_THAT(calls(), ElementsAre("igmp_vlan_learning_set(1)", "igmp_vlan_del(200)"));
}

// The index is a position in the rule table first, then a port number that is looked up.
TEST_F(WebSet, RuleGoesToThePortOfThatNumberAndNotToTheOneThatWasEmptied) {
    portState[4].port_id = 2;
    portState[2].port_id = 4;
    given_rules<Igmp>({simple_rule(2, 10, 200), simple_rule(4, 20, 100)});
    EXPECT_EQ(set(kRequest), 0);
    expect_rules<Igmp>(2, {});
    expect_rules<Igmp>(4, {simple_rule(4, 20, 100), kStored});
}

TEST_F(WebSet, FullPortIsRefusedAfterTheOtherWasEmptied) {
    portState[4].port_id = 2;
    portState[2].port_id = 4;
    given_rules<Igmp>({simple_rule(2, 10, 200)});
    setVlanCfgNumber[4] = 10;
    EXPECT_EQ(set(kRequest), -1);
    expect_rules<Igmp>(2, {});
    EXPECT_EQ(setVlanCfgNumber[4], 10);
    expect_vlans<Igmp>({});
    EXPECT_EQ(count_of("igmp_vlan_add"), 0u);
    EXPECT_EQ(said(mc_debug, kErr, [] { set(kRequest); }), "");
}

TEST_F(WebSet, FullPortIsRefusedBeforeTheFullListIsComplainedOf) {
    portState[4].port_id = 2;
    portState[2].port_id = 4;
    setVlanCfgNumber[4] = 10;
    given_vlans<Igmp>({101, 102, 103, 104, 105, 106, 107, 108, 109, 110});
    EXPECT_EQ(said(mc_debug, kErr, [] { EXPECT_EQ(set(kRequest), -1); }), "");
}

TEST_F(WebSet, BusySlotIsRefused) {
    portState[4].port_id = 2;
    portState[2].port_id = 4;
    PortVlanCfg[4][0].in_data_vlan = 100;
    EXPECT_EQ(set(kRequest), -1);
    EXPECT_EQ(setVlanCfgNumber[4], 0);
    expect_vlans<Igmp>({});
    EXPECT_EQ(count_of("igmp_vlan_add"), 0u);
    EXPECT_EQ(said(mc_debug, kErr, [] { set(kRequest); }),
              "\r\n[MC_DBG_ERR]: \n PortVlan storege is wrong!\n");
}

TEST_F(WebSet, FullListIsRefusedAfterThePortWasEmptied) {
    given_vlans<Igmp>({101, 102, 103, 104, 105, 106, 107, 108, 109, 110});
    given_rules<Igmp>({simple_rule(2, 10, 300)});
    const Tables before = Tables::now();
    EXPECT_EQ(set(kRequest), -1);
    expect_rules<Igmp>(2, {});
    expect_vlans<Igmp>({101, 102, 103, 104, 105, 106, 107, 108, 109, 110});
    EXPECT_THAT(calls(), ElementsAre("igmp_vlan_learning_set(1)", "igmp_vlan_del(300)"));
    before.put_back();
    EXPECT_EQ(said(mc_debug, kErr, [] { set(kRequest); }),
              "\r\n[MC_DBG_ERR]: \n no room for vlan(300) in the template vlan list!");
}

// A VLAN that is listed needs a place too, because it is not looked for.
TEST_F(WebSet, FullListIsRefusedForItsOwnVlansToo) {
    given_vlans<Igmp>({101, 102, 103, 104, 105, 106, 107, 108, 109, 300});
    EXPECT_EQ(set(kRequest), -1);
    expect_rules<Igmp>(2, {});
}

TEST_F(WebSet, FullListTakesTheVlanWhenAnEntryWasDropped) {
    given_vlans<Igmp>({101, 102, 103, 104, 105, 106, 107, 108, 109, 110});
    given_rules<Igmp>({simple_rule(5, 10, 106)});
    EXPECT_EQ(set(kRequest), 0);
    expect_vlans<Igmp>({101, 102, 103, 104, 105, 107, 108, 109, 110, 300});
}

// ---- The old data VLAN -------------------------------------------------------------------

TEST_F(WebSet, DataVlanOfTheFirstRuleIsWithdrawnWhileTheRuleIsThere) {
    given_rules<Igmp>({simple_rule(2, 10, 0x1064), simple_rule(2, 20, 200)});
    bool seen = false;
    during("igmp_vlan_del", [&seen] {
        seen = true;
        EXPECT_EQ(globle_parm.learningMode, 1);
        expect_rules<Igmp>(2, {simple_rule(2, 10, 0x1064), simple_rule(2, 20, 200)});
    });
    set(kRequest);
    EXPECT_TRUE(seen);
    EXPECT_THAT(calls(), ElementsAre("igmp_vlan_learning_set(1)", "igmp_vlan_del(100)",
                                     "igmp_vlan_add(300)"));
}

TEST_F(WebSet, VlanThatAnotherPortUsesIsWithdrawnAllTheSame) {
    given_rules<Igmp>({simple_rule(2, 10, 200), simple_rule(3, 10, 200)});
    set(kRequest);
    EXPECT_EQ(count_of("igmp_vlan_del"), 1u);
}

TEST_F(WebSet, RequestForTheDefaultVlanWithdrawsNothingButDropsAnEntry) {
    globle_parm.defaultVlan = 300;
    given_rules<Igmp>({simple_rule(1, 10, 200), simple_rule(2, 10, 100)});
    given_vlans<Igmp>({100, 200});
    EXPECT_EQ(set(kRequest), 0);
    expect_vlans<Igmp>({100, 300});
    EXPECT_THAT(calls(), ElementsAre("igmp_vlan_learning_set(1)", "igmp_vlan_add(300)"));
}

TEST_F(WebSet, DefaultVlanIsComparedIn16BitsAndIsNotReceptions) {
    globle_parm.defaultVlan = 4088;
    defaultVlan = 300;
    EXPECT_EQ(set(kRequest), 0);
    EXPECT_EQ(set(web_request(2, 2, {12, 13}, 2, {0x1FF8, 15})), 0);
    EXPECT_EQ(count_of("igmp_vlan_del"), 2u);
    EXPECT_EQ(set(web_request(2, 2, {12, 13}, 2, {4088, 15})), 0);
    EXPECT_EQ(count_of("igmp_vlan_del"), 2u);
}

// List entry i is compared with the first rule of port i, whichever port is set. Kept on purpose.
TEST_F(WebSet, EntryIsDroppedWhereListAndPortsAgree) {
    given_rules<Igmp>({simple_rule(0, 1, 200), simple_rule(2, 1, 100), simple_rule(3, 1, 104),
                       simple_rule(4, 1, 105)});
    given_vlans<Igmp>({100, 102, 103, 104, 105});
    EXPECT_EQ(set(kRequest), 0);
    expect_vlans<Igmp>({100, 102, 103, 105, 300});  // 104 alone, not the port's own 100
}

TEST_F(WebSet, EntryIsDroppedForTheUplinkButNotBehindIt) {
    given_rules<Igmp>({simple_rule(29, 1, 107)});
    given_vlans<Igmp>({101, 102, 103, 104, 105, 106, 107, 0xFFFF});
    EXPECT_EQ(set(kRequest), 0);
    expect_vlans<Igmp>({101, 102, 103, 104, 105, 106, 0xFFFF, 300});
}

TEST_F(WebSet, EntryIsComparedIn16Bits) {
    given_rules<Igmp>({simple_rule(0, 1, 100)});
    given_vlans<Igmp>({0x1064});
    EXPECT_EQ(set(kRequest), 0);
    expect_vlans<Igmp>({0x1064, 300});
}

TEST_F(WebSet, EntryOf65535StandsForAPortWithoutRules) {
    given_vlans<Igmp>({0xFFFF, 100});
    EXPECT_EQ(set(kRequest), 0);
    expect_vlans<Igmp>({100, 300});
}

TEST_F(WebSet, EntriesBehindTheListAreNotCompared) {
    given_rules<Igmp>({simple_rule(0, 1, 100), simple_rule(1, 1, 200)});
    given_vlans<Igmp>({200, 200});
    setVlanNumber = 1;
    EXPECT_EQ(set(kRequest), 0);
    EXPECT_THAT(listed<Igmp>(), ElementsAre(200, 300, 0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(setVlanNumber, 2);
}

TEST_F(WebSet, ListsArePackedFirst) {
    given_vlans<Igmp>({0, 100, 0, 200});
    setVlanNumber = 2;
    EXPECT_EQ(set(kRequest), 0);
    expect_vlans<Igmp>({100, 200, 300});
}

TEST_F(WebSet, SameVlanIsListedWithEveryRequestThatDropsNothing) {
    EXPECT_EQ(set(kRequest), 0);
    EXPECT_EQ(set(kRequest), 0);
    expect_vlans<Igmp>({300, 300});
    const Rule of_port_0 = web_request(0, 2, {12, 13}, 2, {300, 15});
    EXPECT_EQ(set(of_port_0), 0);
    expect_vlans<Igmp>({300, 300, 300});
    EXPECT_EQ(set(of_port_0), 0) << "drops the first entry and enters it again";
    expect_vlans<Igmp>({300, 300, 300});
    EXPECT_EQ(count_of("igmp_vlan_add"), 4u);
}

TEST_F(WebSet, SameVlanFillsTheListAndIsThenRefused) {
    given_vlans<Igmp>({300, 300, 301, 302, 303, 304, 305, 306, 307});
    EXPECT_EQ(set(kRequest), 0);
    expect_vlans<Igmp>({300, 300, 301, 302, 303, 304, 305, 306, 307, 300});
    EXPECT_EQ(set(kRequest), -1);
    expect_vlans<Igmp>({300, 300, 301, 302, 303, 304, 305, 306, 307, 300});
    expect_rules<Igmp>(2, {});
}

// ---- Core --------------------------------------------------------------------------------

TEST_F(WebSet, LearningIsSwitchedOnWhateverTheOnuId) {
    for (const std::uint8_t id : std::vector<std::uint8_t>{0, 254, 255}) {
        set_onu_id(id);
        globle_parm.learningMode = 0;
        EXPECT_EQ(set(kRequest), 0);
        EXPECT_EQ(globle_parm.learningMode, 1);
    }
    EXPECT_EQ(count_of("igmp_vlan_learning_set"), 3u);
    EXPECT_EQ(count_of("L2_multicast_get_onu_id"), 0u);
}

TEST_F(WebSet, LearningIsStoredBeforeTheCoreHearsOfIt) {
    globle_parm.learningMode = 0;
    bool seen = false;
    during("igmp_vlan_learning_set", [&seen] {
        seen = true;
        EXPECT_EQ(globle_parm.learningMode, 1);
    });
    set(kRequest);
    EXPECT_TRUE(seen);
}

TEST_F(WebSet, ResultIsThatOfAddingTheVlan) {
    answer("igmp_vlan_learning_set", 5);
    answer("igmp_vlan_del", 6);
    EXPECT_EQ(set(kRequest), 0);
    answer("igmp_vlan_add", kFailure);
    EXPECT_EQ(set(kRequest), kFailure);
    expect_rules<Igmp>(2, {kStored});
    expect_vlans<Igmp>({300, 300});
}

TEST_F(WebSet, RuleAndListAreCompleteWhenTheCoreHearsOfTheVlan) {
    bool seen = false;
    during("igmp_vlan_add", [&seen] {
        seen = true;
        expect_rules<Igmp>(2, {kStored});
        expect_vlans<Igmp>({300});
    });
    set(kRequest);
    EXPECT_TRUE(seen);
}

TEST_F(WebSet, CoreIsGiven12BitsOfTheVlan) {
    set(web_request(2, 2, {12, 13}, 2, {0xF12C, 15}));
    EXPECT_EQ(last_call("igmp_vlan_add").text, "igmp_vlan_add(300)");
    expect_vlans<Igmp>({0xF12C});
}

// ---- Console -----------------------------------------------------------------------------

TEST_F(WebSet, IsTraced) {
    given_rules<Igmp>({simple_rule(2, 10, 0x1064)});
    expect_console(entered(2) + Lines{Igmp::cfg("\r\n temp_var = 100\r\n")}, [] { set(kRequest); });
}

TEST_F(WebSet, DefaultVlanIsNotTraced) {
    globle_parm.defaultVlan = 300;
    expect_console(entered(2), [] { set(kRequest); });
}

TEST_F(WebSet, IllegalPortIsTracedAsASignedByte) {
    for (const auto& [port, shown] : {std::pair{7, "7"}, std::pair{200, "-56"}}) {
        expect_console({Igmp::dbg("onu_std_omci_web_set_vlan is in! port_index = " +
                                  std::string(shown) + "\n"),
                        Igmp::dbg("onu_std_omci_web_set_vlan port is illegel! port_index = " +
                                  std::string(shown) + "\n")},
                       [port = port] {
                           set(web_request(port, 2, {12, 13}, 2, {300, 15}));
                       });
    }
}

TEST_F(WebSet, RefusalsOfTheCoreAreReported) {
    answer("igmp_vlan_learning_set", 5);
    answer("igmp_vlan_del", -6);
    answer("igmp_vlan_add", kFailure);
    expect_console(
        {
            Igmp::dbg("onu_std_omci_web_set_vlan is in! port_index = 2\n"),
            Igmp::err("\n ERROR!igmp_adapt_vlan_learning Fail\n"),
            Igmp::cfg("\r\n temp_var = 4095\r\n"),
            Igmp::err("\n ERROR!igmp_vlan_del Fail(-6)"),
            Igmp::err("\n ERROR!igmp_standard_vlan_add Fail\n"),
        },
        [] { set(kRequest); });
}

// Reports go by the level alone, and tell the line of the source that they come from.
TEST_F(WebSet, UnknownPortIsReportedUnlessTheLevelSilencesIt) {
    const auto refuse = [] { set(web_request(6, 2, {12, 13}, 2, {300, 15})); };
    for (const std::int32_t level : {-1, 0, 1, 2}) {
        igmp_adapt = level;
        EXPECT_THAT(printed(refuse),
                    MatchesRegex("\r\n \\[IGMP_ERROR\\]onu_std_omci_web_set_vlan\\([0-9]+\\): "
                                 "\n port\\(6\\) is invalid!\r\n"))
            << level;
    }
    for (const std::int32_t level : {-2, -100}) {
        igmp_adapt = level;
        EXPECT_EQ(printed(refuse), "") << level;
    }
}

TEST_F(WebSet, UnknownPortIsReportedBehindTheTraces) {
    EXPECT_THAT(said(mc_debug, kAllCategories,
                     [] {
                         set(web_request(6, 2, {12, 13}, 2, {300, 15}));
                     }),
                MatchesRegex("\r\n\\[MC_DBG_DBG\\]: onu_std_omci_web_set_vlan is in! port_index = "
                             "6\n"
                             "\r\n\\[MC_DBG_CFG\\]: \r\n temp_var = 4095\r\n"
                             "\r\n \\[IGMP_ERROR\\]onu_std_omci_web_set_vlan\\([0-9]+\\): "
                             "\n port\\(6\\) is invalid!\r\n"));
}

TEST_F(WebSet, LogicalPortIsReportedAboveLevel0) {
    for (const std::int32_t level : {-2, -1, 0}) {
        igmp_adapt = level;
        EXPECT_EQ(printed([] { set(kRequest); }), "") << level;
    }
    for (const std::int32_t level : {2, 100}) {
        igmp_adapt = level;
        EXPECT_THAT(
            printed([] { set(kRequest); }),
            MatchesRegex("\r\n \\[IGMP_INFORMATION\\]onu_std_omci_web_set_vlan\\([0-9]+\\): "
                         "\n logicPort is 2\r\n"))
            << level;
    }
}

TEST_F(WebSet, ChangesAreShownAtLevel1) {
    igmp_adapt = 1;
    const Rule other = simple_rule(1, 10, 100);
    given_rules<Igmp>({other});
    given_vlans<Igmp>({101});
    given_rules<Igmp>({simple_rule(2, 10, 100)});

    // The report in the middle is cut out, for the number in it.
    const std::string all = said(mc_debug, kAllCategories, [] { set(kRequest); });
    const std::size_t report = all.find("\r\n [IGMP_INFORMATION]");
    const std::string report_end = " logicPort is 2\r\n";
    const std::size_t rest = all.find(report_end) + report_end.size();
    ASSERT_NE(report, std::string::npos);
    EXPECT_EQ(all.substr(0, report),
              "\r\n[MC_DBG_DBG]: onu_std_omci_web_set_vlan is in! port_index = 2\n"
              "\r\n[MC_DBG_CFG]: \r\n temp_var = 100\r\n");
    EXPECT_EQ(all.substr(rest), "\r\n[MC_DBG_DBG]: \n before add multicast_vlan!\n" +
                                    dump<Igmp>({{other}, {101}, 1}).text +
                                    "\r\n[MC_DBG_DBG]: \n after add multicast_vlan!\n" +
                                    dump<Igmp>({{other, kStored}, {101}, 1}).text +
                                    "\r\n[MC_DBG_DBG]: \n after add PortVlan!\n" +
                                    dump<Igmp>({{other, kStored}, {101, 300}, 1}).text);
}

TEST_F(WebSet, DumpsAreUnderNoCategory) {
    igmp_adapt = 1;
    const std::string all = printed([] { set(kRequest); });
    const std::string report_end = " logicPort is 2\r\n";
    ASSERT_NE(all.find(report_end), std::string::npos);
    EXPECT_EQ(all.substr(all.find(report_end) + report_end.size()),
              dump<Igmp>({{}, {}, 1}).text + dump<Igmp>({{kStored}, {}, 1}).text +
                  dump<Igmp>({{kStored}, {300}, 1}).text);
}

}  // namespace
