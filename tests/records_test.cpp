// The records: what they hold at load and after start-up, their defaults and the ways into them.
#include <gmock/gmock.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "adapt/adapt.h"
#include "adapt/status_segment.h"
#include "command/dumps.h"
#include "settings/settings.h"
#include "tests/support/console.h"
#include "tests/support/fresh_library.h"

namespace {

using namespace mc_test;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

bool is_empty_rule(const PortVlanCfgEntry& rule) {
    const auto port = static_cast<std::uint8_t>(rule.portNO);
    return port == 255 && rule.prouptagmode == 4 && rule.prodntagmode == 4 &&
           rule.datedntagmode == 4 && rule.in_up_vlan == 0xFFFF && rule.out_up_vlan == 0xFFFF &&
           rule.in_dn_vlan == 0xFFFF && rule.out_dn_vlan == 0xFFFF && rule.in_data_vlan == 0xFFFF &&
           rule.out_data_vlan == 0xFFFF && rule.rule_flag == 0;
}

// A value other than its default in every byte of the record.
void spoil(IgmpGlobleParm& parm) { std::memset(&parm, 0xA5, sizeof parm); }

class RecordsAtLoad : public LibraryTest {};

TEST_F(RecordsAtLoad, ScalarsHoldTheirInitialValues) {
    EXPECT_EQ(proxy_adapt_mode, 0);
    EXPECT_EQ(mc_status_global, nullptr);
    EXPECT_EQ(srcPortNum, 0);
    EXPECT_EQ(ponVlan, 0u);
    EXPECT_THAT(sys_mac, Each(0));
    EXPECT_THAT(mld_sys_mac, Each(0));
    EXPECT_EQ(defaultVlan, 4088);
    EXPECT_EQ(testuplink, 65534);
    EXPECT_EQ(tablereturn, 1);
    EXPECT_EQ(igmp_adapt, -1);
    EXPECT_EQ(mc_debug, 0u);
    EXPECT_EQ(mld_debug, 0u);
    EXPECT_EQ(flag_omci_version, 0u);
    EXPECT_EQ(setVlanNumber, 0);
}

TEST_F(RecordsAtLoad, TablesAreZero) {
    const auto all_zero = [](const void* at, std::size_t size) {
        const auto* bytes = static_cast<const std::uint8_t*>(at);
        return std::vector<std::uint8_t>(bytes, bytes + size) == std::vector<std::uint8_t>(size);
    };
    EXPECT_TRUE(all_zero(&globle_parm, sizeof globle_parm));
    EXPECT_TRUE(all_zero(PortVlanCfg, sizeof PortVlanCfg));
    EXPECT_TRUE(all_zero(setVlanCfgNumber, sizeof setVlanCfgNumber));
    EXPECT_TRUE(all_zero(portState, sizeof portState));
    EXPECT_TRUE(all_zero(PortVlan, sizeof PortVlan));
}

class Records : public StartedTest {};

TEST_F(Records, EveryRuleIsEmptyAfterStartUp) {
    for (int port = 0; port < MC_PORTS; ++port) {
        for (int rule = 0; rule < MC_RULES; ++rule) {
            EXPECT_TRUE(is_empty_rule(PortVlanCfg[port][rule])) << port << " " << rule;
        }
    }
    EXPECT_THAT(setVlanCfgNumber, Each(0));
    EXPECT_EQ(setVlanNumber, 0);
}

TEST_F(Records, StartUpEmptiesRulesThatWereThere) {
    std::memset(PortVlanCfg, 0x11, sizeof PortVlanCfg);
    for (std::int32_t& count : setVlanCfgNumber) count = 3;
    adapt_init();
    for (const auto& block : PortVlanCfg) {
        for (const PortVlanCfgEntry& rule : block) EXPECT_TRUE(is_empty_rule(rule));
    }
    EXPECT_THAT(setVlanCfgNumber, Each(0));
}

TEST_F(Records, PortTableHoldsSixUserPortsAndTheUplink) {
    for (std::uint32_t i = 0; i < 6; ++i) {
        EXPECT_EQ(portState[i].port_id, i);
        EXPECT_EQ(portState[i].port_type, MC_PORT_USER);
    }
    EXPECT_EQ(portState[6].port_id, 29u);
    EXPECT_EQ(portState[6].port_type, MC_PORT_UPLINK);
}

TEST_F(Records, PortNumber29IsTheSeventhPort) {
    EXPECT_EQ(omci_set_port_igmp_leave_mode(29, 9), 0);
    EXPECT_EQ(globle_parm.port[6].leavemod, 9);
    for (int port = 0; port < 6; ++port) EXPECT_EQ(globle_parm.port[port].leavemod, 0);
}

TEST_F(Records, PortNumbers6To28AreNoPorts) {
    for (std::uint32_t port = 6; port <= 28; ++port) {
        EXPECT_EQ(omci_set_port_igmp_leave_mode(port, 9), -1) << port;
    }
    for (const IgmpPortParm& port : globle_parm.port) EXPECT_EQ(port.leavemod, 0);
}

TEST_F(Records, FirstOfTwoEntriesWithOneNumberCounts) {
    portState[4].port_id = 2;
    EXPECT_EQ(omci_set_port_igmp_leave_mode(2, 9), 0);
    EXPECT_EQ(globle_parm.port[2].leavemod, 9);
    EXPECT_EQ(globle_parm.port[4].leavemod, 0);
}

TEST_F(Records, DefaultsOfTheGlobalParameters) {
    EXPECT_THAT(globle_parm.TemplateVlan, Each(0));
    EXPECT_EQ(globle_parm.defaultVlan, 4088);
    EXPECT_EQ(globle_parm.multiMode, 1);
    EXPECT_EQ(globle_parm.learningMode, 0);
    EXPECT_EQ(globle_parm.robustness, 2);
    EXPECT_EQ(globle_parm.version, 3);
    EXPECT_EQ(globle_parm.query_interval, 125u);
    EXPECT_EQ(globle_parm.query_max_resp_time, 10u);
    EXPECT_EQ(globle_parm.last_member_query_interval, 1u);
    EXPECT_EQ(globle_parm.last_member_query_count, 2u);
    EXPECT_EQ(globle_parm.general_member_interval, 1u);
    EXPECT_EQ(globle_parm.ssm_ip_start, 0u);
    EXPECT_EQ(globle_parm.ssm_ip_end, 0u);
    EXPECT_THAT(globle_parm.ssm_map, Each(0u));
    EXPECT_EQ(globle_parm.proxy_ip, 0x0A190E14u);
    EXPECT_STREQ(globle_parm.build_date, "Mar  6 2015");
    EXPECT_STREQ(globle_parm.build_time, "10:30:50");
    EXPECT_STREQ(globle_parm.version_str, "MCHAL-1.0.0");
}

TEST_F(Records, DefaultsOfEveryPort) {
    for (const IgmpPortParm& port : globle_parm.port) {
        EXPECT_EQ(port.leavemod, 0);
        EXPECT_EQ(port.grouplimit, 0);
        EXPECT_EQ(port.max_bandwidth, 0u);
        EXPECT_EQ(port.auth_group_num, 0);
        EXPECT_THAT(port.reserved, Each(0));
        EXPECT_EQ(port.sig_vlan, 0xFFFF);
        EXPECT_EQ(port.sig_vlan_a, 0xFFFF);
        EXPECT_EQ(port.sig_vlan_b, 0xFFFF);
        for (const AuthGroupEntry& group : port.auth_group) {
            EXPECT_EQ(group.bandwidth, 0u);
            EXPECT_EQ(group.start_groupAdress, 0u);
            EXPECT_EQ(group.end_groupAdress, 0u);
            EXPECT_EQ(group.vlan, 0);
            EXPECT_THAT(group.reserved, Each(0));
        }
    }
}

TEST_F(Records, ReloadLeavesNothingOfTheOldParameters) {
    const IgmpGlobleParm fresh = globle_parm;
    spoil(globle_parm);
    initIgmpGlobleParmeter();
    EXPECT_EQ(std::memcmp(&globle_parm, &fresh, sizeof fresh), 0);
}

TEST_F(Records, ReloadPushesTheDefaultsInOrder) {
    spoil(globle_parm);
    initIgmpGlobleParmeter();
    EXPECT_THAT(
        calls(),
        ElementsAre("igmp_default_vid_set(4088)", "igmp_para_globle_set(2, 125, 10, 1, 2, 1)",
                    "igmp_mode_switch_globle(1)", "igmp_fast_leave_enable_globle(0)",
                    "igmp_vlan_learning_set(0)"));
}

TEST_F(Records, ReloadStoresEverythingBeforeItPushes) {
    spoil(globle_parm);
    during("igmp_default_vid_set", [] {
        EXPECT_EQ(globle_parm.defaultVlan, 4088);
        EXPECT_EQ(globle_parm.robustness, 2);
        EXPECT_EQ(globle_parm.version, 3);
        EXPECT_EQ(globle_parm.proxy_ip, 0x0A190E14u);
        EXPECT_EQ(globle_parm.port[6].sig_vlan_b, 0xFFFF);
    });
    initIgmpGlobleParmeter();
    EXPECT_EQ(count_of("igmp_default_vid_set"), 1u);
}

TEST_F(Records, ReloadResetsTheModeAndTheDefaultVlan) {
    omci_set_multicast_mode(MC_MODE_CONTROL);
    omci_set_igmp_default_vlan(100);
    initIgmpGlobleParmeter();
    EXPECT_EQ(proxy_adapt_mode, MC_MODE_SNOOPING);
    EXPECT_EQ(globle_parm.multiMode, MC_MODE_SNOOPING);
    EXPECT_EQ(globle_parm.defaultVlan, 4088);
    EXPECT_EQ(defaultVlan, 4088);
}

TEST_F(Records, ReloadWipesThePortBlocksButNotTheRules) {
    globle_parm.port[2].leavemod = 1;
    globle_parm.port[2].auth_group_num = 1;
    globle_parm.port[2].auth_group[0] = {100, 0xEF000001, 0xEF0000FF, 7, {}};
    PortVlanCfg[2][0].portNO = 2;
    PortVlanCfg[2][0].in_data_vlan = 100;
    setVlanCfgNumber[2] = 1;
    PortVlan[0] = 100;
    setVlanNumber = 1;
    initIgmpGlobleParmeter();
    EXPECT_EQ(globle_parm.port[2].leavemod, 0);
    EXPECT_EQ(globle_parm.port[2].auth_group_num, 0);
    EXPECT_EQ(globle_parm.port[2].auth_group[0].vlan, 0);
    EXPECT_EQ(globle_parm.port[2].auth_group[0].start_groupAdress, 0u);
    EXPECT_EQ(PortVlanCfg[2][0].portNO, 2);
    EXPECT_EQ(PortVlanCfg[2][0].in_data_vlan, 100);
    EXPECT_EQ(setVlanCfgNumber[2], 1);
    EXPECT_EQ(PortVlan[0], 100);
    EXPECT_EQ(setVlanNumber, 1);
}

TEST_F(Records, ReloadMarksTheSegmentInBigEndian) {
    std::memset(mc_status_global, 0xA5, mc::kStatusSegmentSize);
    during("igmp_default_vid_set", [] {
        const std::uint8_t* const word = mc_status_global + 14488;
        EXPECT_EQ(hex({word, word + 4}), "[00000001]");
    });
    initIgmpGlobleParmeter();
    EXPECT_EQ(count_of("igmp_default_vid_set"), 1u);
    EXPECT_EQ(mc_status_global[14487], 0xA5) << "the word in front of it";
}

TEST_F(Records, ReloadWithoutASegmentWritesNowhere) {
    mc_status_global = nullptr;
    initIgmpGlobleParmeter();
    EXPECT_EQ(count_of("igmp_vlan_learning_set"), 1u);
    mc_status_global = reinterpret_cast<std::uint8_t*>(~std::uintptr_t{0});
    initIgmpGlobleParmeter();
    EXPECT_EQ(count_of("igmp_vlan_learning_set"), 2u);
}

struct RefusedPush {
    const char* function;
    const char* text;
};

class ReloadGoesOn : public Records, public ::testing::WithParamInterface<RefusedPush> {};

TEST_P(ReloadGoesOn, AndReportsWhatTheCoreRefused) {
    answer(GetParam().function, kFailure);
    expect_said(mc_debug, kErr, GetParam().text, [] { initIgmpGlobleParmeter(); });
    EXPECT_EQ(calls().size(), 5u);
    EXPECT_STREQ(globle_parm.version_str, "MCHAL-1.0.0");
}

INSTANTIATE_TEST_SUITE_P(
    Push, ReloadGoesOn,
    ::testing::Values(
        RefusedPush{"igmp_default_vid_set",
                    "\r\n[MC_DBG_ERR]: igmp_default_vid_set is error! ret = 77\r\n"},
        RefusedPush{"igmp_para_globle_set",
                    "\r\n[MC_DBG_ERR]: igmp_para_globle_set is error! ret = 77\r\n"},
        RefusedPush{"igmp_mode_switch_globle",
                    "\r\n[MC_DBG_ERR]: \n ERROR!proxy_adapt_mode =1 "
                    "\r\n[MC_DBG_ERR]: omci_set_multicast_mode is error! ret = 77\r\n"},
        RefusedPush{"igmp_fast_leave_enable_globle",
                    "\r\n[MC_DBG_ERR]: igmp_fast_leave_enable_globle is error! ret = 77\r\n"},
        RefusedPush{"igmp_vlan_learning_set",
                    "\r\n[MC_DBG_ERR]: \n ERROR!igmp_adapt_vlan_learning Fail ret = 77"}),
    [](const auto& param_info) { return std::string(param_info.param.function); });

TEST_F(Records, AgeingIntervalIsStoredAndShownAndNotPushed) {
    setIgmpAgeEnable(300);
    EXPECT_THAT(printed([] { debugPrint(); }), HasSubstr("general_member_interval(300)"));
    EXPECT_EQ(globle_parm.general_member_interval, 300u);
    EXPECT_THAT(calls(), IsEmpty());
    setIgmpAgeEnable(0xFFFFFFFF);
    EXPECT_EQ(globle_parm.general_member_interval, 0xFFFFFFFFu);
}

TEST_F(Records, GettersLeadIntoTheRecords) {
    EXPECT_EQ(getIgmpGlobleParmeter(), &globle_parm);
    EXPECT_EQ(getPortVlanConfigNumber(), setVlanCfgNumber);
    setVlanNumber = 7;
    EXPECT_EQ(getTemplateVlanNumber(), 7);
}

}  // namespace
