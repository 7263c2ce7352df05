// Configuration commands, one by one: what is special to each of them, beyond its record.
#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "settings/settings.h"
#include "tests/support/commands.h"
#include "tests/support/vlan_rules.h"

namespace {

using namespace mc_test;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;

class ConfigCommands : public OmciTest {};

TEST_F(ConfigCommands, MulticastModeIsAByte) {
    run(1, {3});
    EXPECT_EQ(proxy_adapt_mode, MC_MODE_CONTROL);
    run(1, {100});
    EXPECT_EQ(proxy_adapt_mode, MC_MODE_PROXY);
}

TEST_F(ConfigCommands, StandardModesThatAreRefusedAreReported) {
    for (const std::uint8_t mode : Bytes{1, 2}) {
        forget_calls();
        EXPECT_THAT(said(mc_debug, kErr, [mode] { run(52, {mode}); }),
                    EndsWith("\r\n[MC_DBG_ERR]: \n ERROR!onu_std_omci_set_multicast_mode Fail"));
        EXPECT_EQ(proxy_adapt_mode, MC_MODE_SNOOPING);
    }
}

TEST_F(ConfigCommands, ClearingAPortThatIsNoneIsReported) {
    for (const std::uint8_t type : Bytes{0, 1, 2, 3}) {
        EXPECT_THAT(said(mc_debug, kErr,
                         [type] {
                             run(12, {7, type});
                         }),
                    EndsWith("\r\n[MC_DBG_ERR]: \n ERROR!omci_clear_igmp_parmeter Fail"));
    }
    EXPECT_EQ(said(mc_debug, 0, [] { run(12, {7, 0}); }), "");
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(ConfigCommands, GlobalParametersReachTheCoreInTheirOtherOrder) {
    globle_parm.general_member_interval = 0x01020304;
    run(14, Bytes{0xEE, 7} + be16(10) + be16(20) + be16(30) + be16(40));
    EXPECT_THAT(calls_of({"igmp_para_globle_set"}),
                ElementsAre(call("igmp_para_globle_set", 7, 40, 10, 20, 30, 0x01020304)));
}

TEST_F(ConfigCommands, AgeingIsStoredAndPushedWithTheStoredParameters) {
    globle_parm.robustness = 0x91;
    globle_parm.query_interval = 11;
    globle_parm.query_max_resp_time = 12;
    globle_parm.last_member_query_interval = 13;
    globle_parm.last_member_query_count = 14;
    run(22, be32(0xF1020304));
    EXPECT_EQ(globle_parm.general_member_interval, 0xF1020304u);
    EXPECT_THAT(calls_of({"igmp_para_globle_set"}),
                ElementsAre(call("igmp_para_globle_set", 0x91, 11, 12, 13, 14, 0xF1020304)));
}

TEST_F(ConfigCommands, VersionsOtherThan1To3AreRefused) {
    for (const std::uint8_t version : Bytes{0, 4, 128, 255}) {
        const World before = World::now();
        expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: set igmp version error!\n",
                    [version] { run(27, {version}); });
        EXPECT_THAT(calls(), IsEmpty());
        EXPECT_TRUE(World::now() == before);
    }
}

TEST_F(ConfigCommands, Versions1To3AreSet) {
    for (const std::uint8_t version : Bytes{1, 2, 3}) {
        forget_calls();
        run(27, {version});
        EXPECT_THAT(calls_of({"igmp_version_globle_set"}),
                    ElementsAre(call("igmp_version_globle_set", version)));
    }
}

TEST_F(ConfigCommands, SsmMappingUsesFiveOfSixWords) {
    run(30, be32(1) + be32(2) + be32(3) + be32(4) + be32(5) + be32(6));
    EXPECT_THAT(calls(), ElementsAre("igmp_ssm_map_change({1, 2, 3, 4, 5})"));
}

std::vector<std::string> added(const std::vector<int>& vlans) {
    std::vector<std::string> all;
    for (const int vlan : vlans) all.push_back(call("igmp_vlan_add", vlan));
    return all;
}

TEST_F(ConfigCommands, AVlanRangeAddsItsFirstVlanTwice) {
    const std::tuple<int, int, std::vector<int>> ranges[] = {
        {100, 0, {100, 100}},
        {100, 100, {100, 100}},
        {100, 102, {100, 100, 101, 102}},
        {0xFFFF, 0, {0xFFFF, 0xFFFF}},
        {0xFFFE, 1, {0xFFFE, 0xFFFE, 0xFFFF, 0, 1}},
        {0, 0, {0, 0}},
        {0, 1, {0, 0, 1}}};
    for (const auto& [first, last, vlans] : ranges) {
        forget_calls();
        run(32, be16(static_cast<std::uint32_t>(first)) + be16(static_cast<std::uint32_t>(last)));
        EXPECT_EQ(calls(), added(vlans));
    }
}

TEST_F(ConfigCommands, AVlanRangeThatEndsBeforeItStartsGoesAllTheWayRound) {
    run(32, be16(2) + be16(1));
    const std::vector<std::string> made = calls();
    ASSERT_EQ(made.size(), 65537u);
    EXPECT_EQ(made[0], "igmp_vlan_add(2)");
    EXPECT_EQ(made[1], "igmp_vlan_add(2)");
    EXPECT_EQ(made[65534], "igmp_vlan_add(65535)");
    EXPECT_EQ(made[65535], "igmp_vlan_add(0)");
    EXPECT_EQ(made[65536], "igmp_vlan_add(1)");
}

TEST_F(ConfigCommands, OfAVlanRangeOnlyTheLastAnswerCounts) {
    for (const unsigned nth : {1u, 2u, 3u}) fail_call("igmp_vlan_add", nth);
    const auto add_three = [] { run(32, be16(100) + be16(102)); };
    EXPECT_EQ(said(mc_debug, kErr, add_three), "");
    fail_call("igmp_vlan_add", 4);
    expect_said(mc_debug, kErr, fail("ADD_IGMP_VLAN"), add_three);
    EXPECT_EQ(calls().size(), 4u);
}

TEST_F(ConfigCommands, OfASingleVlanTheSecondAnswerCounts) {
    fail_call("igmp_vlan_add", 1);
    const auto add_one = [] { run(32, be16(100) + be16(0)); };
    EXPECT_EQ(said(mc_debug, kErr, add_one), "");
    fail_call("igmp_vlan_add", 2);
    expect_said(mc_debug, kErr, fail("ADD_IGMP_VLAN"), add_one);
}

TEST_F(ConfigCommands, ARuleIsTakenFieldByField) {
    flag_omci_version = 1;  // as it is given
    run_record(
        record_of(50, {u8("portNO", 8, 3), u8("prouptagmode", 9, 1), u16("in_up_vlan", 10, 0x8123),
                       u16("out_up_vlan", 12, 0x8234), u8("prodntagmode", 14, 2),
                       u16("in_dn_vlan", 16, 0x8345), u16("out_dn_vlan", 18, 0x8456),
                       u8("datedntagmode", 20, 0), u16("in_data_vlan", 22, 0x0567),
                       u16("out_data_vlan", 24, 0x8678), u8("rule_flag", 26, 0x91)}));
    expect_rules<Igmp>(3, {{.portNO = 3,
                            .prouptagmode = 1,
                            .in_up_vlan = 0x8123,
                            .out_up_vlan = 0x8234,
                            .prodntagmode = 2,
                            .in_dn_vlan = 0x8345,
                            .out_dn_vlan = 0x8456,
                            .datedntagmode = 0,
                            .in_data_vlan = 0x0567,
                            .out_data_vlan = 0x8678,
                            .rule_flag = 0}});  // the flag of the slot stays
}

TEST_F(ConfigCommands, FastLeaveGoesToTheSixUserPorts) {
    for (const std::uint32_t mode : {2u, 0u, 1u, 3u, 0x102u, 0x02000000u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(mode);
        const int fast = mode == 2 ? 1 : 0;
        forget_calls();
        run(83, be32(mode));
        std::vector<std::string> expected;
        for (int port = 0; port <= 5; ++port) {
            expected.push_back(call("igmp_if_fast_leave_enable", port, fast));
        }
        EXPECT_EQ(calls(), expected);
        EXPECT_EQ(Bytes(mc_status_global + 14452, mc_status_global + 14456), be32(mode));
        for (int port = 0; port <= 5; ++port) EXPECT_EQ(globle_parm.port[port].leavemod, fast);
    }
}

TEST_F(ConfigCommands, FastLeaveCarriesOnAfterAFailure) {
    fail_call("igmp_if_fast_leave_enable", 2);
    fail_call("igmp_if_fast_leave_enable", 6);
    const std::string text = said(mc_debug, kErr, [] { run(83, be32(2)); });
    const std::string report = "\r\n[MC_DBG_ERR]: omci_set_port_igmp_leave_mode is error\r\n";
    EXPECT_THAT(text, EndsWith(report));
    std::size_t reports = 0;
    for (auto at = text.find(report); at != std::string::npos; at = text.find(report, at + 1)) {
        ++reports;
    }
    EXPECT_EQ(reports, 2u);
    EXPECT_EQ(count_of("igmp_if_fast_leave_enable"), 6u);
}

TEST_F(ConfigCommands, FastLeaveDoesWithoutASegment) {
    std::uint8_t* const attached = mc_status_global;
    mc_status_global = nullptr;
    run(83, be32(2));
    mc_status_global = reinterpret_cast<std::uint8_t*>(~std::uintptr_t{0});
    run(83, be32(2));
    mc_status_global = attached;
    EXPECT_EQ(count_of("igmp_if_fast_leave_enable"), 12u);
}

// OAM counts ports from 1: 0 wraps around 16 bits.
TEST_F(ConfigCommands, OamControlOfPort0Wraps) {
    const Bytes record = Bytes{1} + be16(0) + be16(100) + be32(5) + Bytes{6, 7};
    run(84, record);
    EXPECT_THAT(calls(), ElementsAre("igmp_oam_control_2(1, 65535, 100, {5, 6, 7})"));
    EXPECT_EQ(said(mc_debug, kCfg, [&] { run(84, record); }),
              config("MC_OAM_SET_CONTROL_2 add_delete  = 1 port_no  = 65535 vlan_id  = 100\r\n"));
}

// Its failure goes by the report level, not by the mask.
TEST_F(ConfigCommands, AWebRuleThatIsRefusedIsReportedByTheReportLevel) {
    constexpr std::uint8_t kNoLogicalPort = 9;
    const auto set = [] { run(110, {kNoLogicalPort}); };
    for (const std::int32_t level : {-1, 0, 2, 100}) {
        igmp_adapt = level;
        EXPECT_THAT(said(mc_debug, 0, set), EndsWith(kWebReport)) << level;
        EXPECT_THAT(said(mc_debug, 0xFFFFFFFF, set), EndsWith(kWebReport)) << level;
    }
    for (const std::int32_t level : {-2, -3, INT32_MIN}) {
        igmp_adapt = level;
        EXPECT_EQ(said(mc_debug, 0, set), "") << level;
    }
}

// What is stored is also the result: switching it on counts as a failure.
TEST_F(ConfigCommands, TableReturnReportsWhatItStored) {
    tablereturn = 0;
    expect_said(mc_debug, kErr, error(" igmp_set_table_return is error ret = 1\r\n"),
                [] { run(114, be32(0x7FFFFFFF)); });
    EXPECT_EQ(tablereturn, 1);
    for (const std::uint32_t off : {0u, 0x81828384u}) {  // negative numbers too
        tablereturn = 1;
        EXPECT_EQ(said(mc_debug, kErr, [off] { run(114, be32(off)); }), "");
        EXPECT_EQ(tablereturn, 0);
    }
}

TEST_F(ConfigCommands, ClearingAllParametersReportsNoFailure) {
    answer("igmp_del_all_group", kFailure);
    std::string of_operation = said(mc_debug, kErr, [] { omci_clear_igmp_all_parmeter(); });
    EXPECT_EQ(said(mc_debug, kErr, [] { run(64); }), of_operation);
}

}  // namespace
