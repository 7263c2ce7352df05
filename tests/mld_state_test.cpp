// The record of the MLD side: its defaults, what start-up pushes, and the operations on it.
#include <gmock/gmock.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "adapt/adapt.h"
#include "mld/mld.h"
#include "settings/settings.h"
#include "tests/support/console.h"
#include "tests/support/fresh_library.h"

namespace {

using namespace mc_test;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::StartsWith;

bool is_empty_rule(const PortVlanCfgEntry& rule) {
    return static_cast<std::uint8_t>(rule.portNO) == 255 && rule.prouptagmode == 4 &&
           rule.in_up_vlan == 0xFFFF && rule.out_up_vlan == 0xFFFF && rule.prodntagmode == 4 &&
           rule.in_dn_vlan == 0xFFFF && rule.out_dn_vlan == 0xFFFF && rule.datedntagmode == 4 &&
           rule.in_data_vlan == 0xFFFF && rule.out_data_vlan == 0xFFFF && rule.rule_flag == 0;
}

// A pattern in every byte, so that what an operation leaves alone can be told.
void spoil(MldInitParams& params) { std::memset(&params, 0xA5, sizeof params); }

constexpr std::uint16_t kSpoiled16 = 0xA5A5;
constexpr std::uint32_t kSpoiled32 = 0xA5A5A5A5;
constexpr auto kSpoiledSigned = static_cast<std::int32_t>(kSpoiled32);

class MldState : public StartedTest {};

// ---- Defaults ----------------------------------------------------------------------------

TEST_F(MldState, RecordIsZeroAtLoad) {
    restore_library();
    std::vector<std::uint8_t> bytes(sizeof mldInitParams);
    std::memcpy(bytes.data(), &mldInitParams, bytes.size());
    EXPECT_THAT(bytes, Each(0));
}

TEST_F(MldState, DefaultsAfterStartUp) {
    EXPECT_EQ(mldInitParams.testuplink, 65534u);
    EXPECT_EQ(mldInitParams.srcPortNum, 0);
    EXPECT_EQ(mldInitParams.mld_adapt, -1);
    EXPECT_EQ(mldInitParams.mld_flag_omci_version, 0u);
    EXPECT_THAT(mldInitParams.TemplateVlan, Each(0));
    EXPECT_THAT(mldInitParams.portVlan, Each(0));
    EXPECT_EQ(mldInitParams.defaultVlan, 4088);
    EXPECT_EQ(mldInitParams.multiMode, 2);
    EXPECT_EQ(mldInitParams.learningMode, 0);
    EXPECT_EQ(mldInitParams.robustness, 2);
    EXPECT_EQ(mldInitParams.version, 3);
    EXPECT_EQ(mldInitParams.query_interval, 125u);
    EXPECT_EQ(mldInitParams.query_max_resp_time, 10u);
    EXPECT_EQ(mldInitParams.last_member_query_interval, 1u);
    EXPECT_EQ(mldInitParams.last_member_query_count, 2u);
    EXPECT_EQ(mldInitParams.general_member_interval, 1u);
    EXPECT_EQ(mldInitParams.ssm_ip_start, 0u);
    EXPECT_EQ(mldInitParams.ssm_ip_end, 0u);
    EXPECT_THAT(mldInitParams.ssm_map, Each(0u));
    EXPECT_EQ(mldInitParams.proxy_ip, 0x0A190E14u);
    EXPECT_EQ(mldInitParams.tag_tpid, 0);
    EXPECT_EQ(mldInitParams.tag_vid, 0);
    EXPECT_EQ(mldInitParams.tag_pri, 0);
    EXPECT_THAT(mldInitParams.tag_inner, Each(0));
    EXPECT_EQ(mld_debug, 0u);
    EXPECT_THAT(mld_sys_mac, Each(0)) << "unlike the IGMP side's";
}

TEST_F(MldState, SeventyEmptyRulesAfterStartUp) {
    for (const auto& block : mldInitParams.mldPortVlanCfg) {
        for (const PortVlanCfgEntry& rule : block) EXPECT_TRUE(is_empty_rule(rule));
    }
    EXPECT_THAT(mldInitParams.vlancfgnum, Each(0));
}

TEST_F(MldState, PortTableIsThatOfTheIgmpSide) {
    for (std::uint32_t i = 0; i < 6; ++i) {
        EXPECT_EQ(mldInitParams.port[i].port_id, i);
        EXPECT_EQ(mldInitParams.port[i].port_type, MC_PORT_USER);
    }
    EXPECT_EQ(mldInitParams.port[6].port_id, 29u);
    EXPECT_EQ(mldInitParams.port[6].port_type, MC_PORT_UPLINK);
}

TEST_F(MldState, PortBlocksAreZeroAfterStartUp) {
    std::vector<std::uint8_t> bytes(sizeof mldInitParams.mldport);
    std::memcpy(bytes.data(), mldInitParams.mldport, bytes.size());
    EXPECT_THAT(bytes, Each(0));
}

TEST_F(MldState, ScalarDefaultsLeaveTablesAndScratchAlone) {
    const MldInitParams fresh = mldInitParams;
    spoil(mldInitParams);
    initmldGlobleParmeter();
    EXPECT_EQ(mldInitParams.srcPortNum, 0xA5);
    for (const PortStateEntry& port : mldInitParams.port) EXPECT_EQ(port.port_id, kSpoiled32);
    EXPECT_THAT(mldInitParams.vlancfgnum, Each(kSpoiledSigned));
    EXPECT_THAT(mldInitParams.portVlan, Each(kSpoiledSigned));
    for (const auto& block : mldInitParams.mldPortVlanCfg) {
        for (const PortVlanCfgEntry& rule : block) EXPECT_EQ(rule.in_up_vlan, kSpoiled16);
    }
    EXPECT_EQ(mldInitParams.tag_tpid, kSpoiled16);
    EXPECT_EQ(mldInitParams.tag_vid, kSpoiled16);
    EXPECT_EQ(mldInitParams.tag_pri, 0xA5);
    EXPECT_THAT(mldInitParams.tag_inner, Each(0xA5));

    EXPECT_EQ(mldInitParams.testuplink, fresh.testuplink);
    EXPECT_EQ(mldInitParams.mld_adapt, fresh.mld_adapt);
    EXPECT_EQ(mldInitParams.mld_flag_omci_version, 0u);
    EXPECT_EQ(std::memcmp(mldInitParams.mldport, fresh.mldport, sizeof fresh.mldport), 0);
    EXPECT_THAT(mldInitParams.TemplateVlan, Each(0));
    EXPECT_EQ(mldInitParams.defaultVlan, 4088);
    EXPECT_EQ(mldInitParams.multiMode, 2);
    EXPECT_EQ(mldInitParams.learningMode, 0);
    EXPECT_EQ(mldInitParams.robustness, 2);
    EXPECT_EQ(mldInitParams.version, 3);
    EXPECT_EQ(mldInitParams.general_member_interval, 1u);
    EXPECT_EQ(mldInitParams.ssm_ip_start, 0u);
    EXPECT_EQ(mldInitParams.ssm_ip_end, 0u);
    EXPECT_THAT(mldInitParams.ssm_map, Each(0u));
    EXPECT_EQ(mldInitParams.proxy_ip, 0x0A190E14u);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(MldState, PortTableIsFilledAlone) {
    spoil(mldInitParams);
    MldInitParams expected = mldInitParams;
    mldinitPortStateNode();
    for (std::uint32_t i = 0; i < 6; ++i) expected.port[i] = {i, MC_PORT_USER};
    expected.port[6] = {29, MC_PORT_UPLINK};
    EXPECT_EQ(std::memcmp(&mldInitParams, &expected, sizeof expected), 0);
}

TEST_F(MldState, RulesAreEmptiedAlone) {
    spoil(mldInitParams);
    mldinitVlancfgNode();
    for (const auto& block : mldInitParams.mldPortVlanCfg) {
        for (const PortVlanCfgEntry& rule : block) EXPECT_TRUE(is_empty_rule(rule));
    }
    EXPECT_THAT(mldInitParams.vlancfgnum, Each(0));
    EXPECT_THAT(mldInitParams.portVlan, Each(kSpoiledSigned));
    EXPECT_THAT(mldInitParams.TemplateVlan, Each(kSpoiled16));
    EXPECT_EQ(mldInitParams.multiMode, kSpoiled16);
    EXPECT_EQ(mldInitParams.port[0].port_id, kSpoiled32);
    EXPECT_EQ(mldInitParams.tag_tpid, kSpoiled16);
}

// ---- Registration ------------------------------------------------------------------------

const std::vector<std::string> kRegistration = {
    "mld_register_switch_send_pkt(send_pkt_mld)",
    "mld_register_switch_add_table(mld_add_grp)",
    "mld_register_switch_del_table(mld_del_grp)",
    "mld_port_conf_set(0, 2)",
    "mld_port_conf_set(1, 2)",
    "mld_port_conf_set(2, 2)",
    "mld_port_conf_set(3, 2)",
    "mld_port_conf_set(4, 2)",
    "mld_port_conf_set(5, 2)",
    "mld_port_conf_set(29, 1)",
    "mld_proxy_snoop_set_globle(2)",
};

TEST_F(MldState, RegistersCallBacksPortsAndMode) {
    EXPECT_EQ(mld_adapt_init(), 0);
    EXPECT_THAT(calls(), ElementsAreArray(kRegistration));
}

TEST_F(MldState, PushesTheModeThatIsStored) {
    mldInitParams.multiMode = 0x0103;
    mld_adapt_init();
    EXPECT_EQ(calls().back(), "mld_proxy_snoop_set_globle(259)");
}

TEST_F(MldState, RefusedCallBacksAreReportedAndStopNothing) {
    for (const std::string name : {"mld_register_switch_send_pkt", "mld_register_switch_add_table",
                                   "mld_register_switch_del_table"}) {
        reset_neighbours();
        answer(name, kFailure);
        expect_said(mld_debug, kErr, "\r\n[MC_DBG_ERR]: \n ERROR! " + name + " Fail !\n",
                    [] { EXPECT_EQ(mld_adapt_init(), 0); });
        EXPECT_THAT(calls(), ElementsAreArray(kRegistration));
    }
}

TEST_F(MldState, RefusedPortIsReportedTwiceAndTheModeStillPushed) {
    fail_call("mld_port_conf_set", 2);
    expect_said(mld_debug, kErr,
                "\r\n[MC_DBG_ERR]: \n ERROR!mld_adapt_port_conf_set Fail\n"
                "\r\n[MC_DBG_ERR]: \n ERROR! mld_port_conf_set Fail !\n",
                [] { EXPECT_EQ(mld_adapt_init(), 0); });
    EXPECT_EQ(count_of("mld_port_conf_set"), 2u);
    EXPECT_EQ(calls().back(), "mld_proxy_snoop_set_globle(2)");
}

TEST_F(MldState, RefusedModeIsTheResult) {
    answer("mld_proxy_snoop_set_globle", kFailure);
    expect_said(mld_debug, kErr, "\r\n[MC_DBG_ERR]: \n ERROR!mld_pack_set_mc_mode snooping Fail\n",
                [] { EXPECT_EQ(mld_adapt_init(), kFailure); });
}

TEST_F(MldState, DeclaresTheUsedPortsOnly) {
    mldInitParams.port[0].port_type = 0;
    mldInitParams.port[3] = {7, 9};
    EXPECT_EQ(mld_adapt_port_conf_set(), 0);
    EXPECT_THAT(calls(), ElementsAre("mld_port_conf_set(1, 2)", "mld_port_conf_set(2, 2)",
                                     "mld_port_conf_set(7, 9)", "mld_port_conf_set(4, 2)",
                                     "mld_port_conf_set(5, 2)", "mld_port_conf_set(29, 1)"));
}

TEST_F(MldState, DeclarationStopsAtTheFirstPortRefused) {
    fail_call("mld_port_conf_set", 3);
    expect_said(mld_debug, kErr, "\r\n[MC_DBG_ERR]: \n ERROR!mld_adapt_port_conf_set Fail\n",
                [] { EXPECT_EQ(mld_adapt_port_conf_set(), -1); });
    EXPECT_EQ(count_of("mld_port_conf_set"), 3u);
}

TEST_F(MldState, DeclarationIsTraced) {
    expect_said(mld_debug, kDbg, "\r\n[MC_DBG_DBG]: mld_adapt_port_conf_set is in\r\n",
                [] { mld_adapt_port_conf_set(); });
    expect_said(mld_debug, kDbg, "\r\n[MC_DBG_DBG]: mld_adapt_port_conf_set is in\r\n",
                [] { mld_adapt_init(); });
}

TEST_F(MldState, MaskOfTheIgmpSideSaysNothing) {
    for (const char* const name : {"mld_register_switch_send_pkt", "mld_register_switch_add_table",
                                   "mld_register_switch_del_table", "mld_port_conf_set",
                                   "mld_proxy_snoop_set_globle", "igmp_para_globle_set"}) {
        answer(name, kFailure);
    }
    EXPECT_EQ(said(mc_debug, kAllCategories,
                   [] {
                       initmldGlobleParmeter();
                       mldinitPortStateNode();
                       mldinitVlancfgNode();
                       mld_adapt_init();
                       mld_omci_set_igmp_global_parmeter(1, 2, 3, 4, 5);
                       mld_adapt_set_debug(0, 1);
                   }),
              "");
}

TEST_F(MldState, NothingIsReportedWhenTheCoreAgrees) {
    EXPECT_EQ(said(mld_debug, kErr,
                   [] {
                       mld_adapt_init();
                       mld_omci_set_igmp_global_parmeter(1, 2, 3, 4, 5);
                   }),
              "");
}

// ---- Debug mask --------------------------------------------------------------------------

struct MaskChange {
    std::uint32_t before;
    std::uint32_t mask;
    std::uint32_t on;
    std::uint32_t after;
};

TEST_F(MldState, DebugMaskIsToggledByCategory) {
    for (const MaskChange& change : {
             MaskChange{0x00, 0x21, 1, 0x21},
             MaskChange{0x01, 0x21, 1, 0x00},  // partly on counts as on
             MaskChange{0x21, 0x21, 1, 0x00},
             MaskChange{0x04, 0x21, 1, 0x25},
             MaskChange{0x25, 0x20, 1, 0x05},
             MaskChange{0x3D, 0x21, 0, 0x1C},
             MaskChange{0x00, 0x21, 0, 0x00},
             MaskChange{0x04, 0x01, 0xFFFFFFFF, 0x05},
             MaskChange{0x05, 0x00, 1, 0x05},
             MaskChange{0x00, 0x80000000, 256, 0x80000000},
         }) {
        mld_debug = change.before;
        mld_adapt_set_debug(change.mask, change.on);
        EXPECT_EQ(mld_debug, change.after) << change.before << " " << change.mask;
    }
    EXPECT_EQ(mc_debug, 0u);
    EXPECT_THAT(calls(), IsEmpty());
}

// ---- Parameters --------------------------------------------------------------------------

TEST_F(MldState, ParametersAreStoredAndPushedThroughTheEntryOfTheIgmpSide) {
    const IgmpGlobleParm igmp_side = globle_parm;
    mldInitParams.general_member_interval = 300;
    during("igmp_para_globle_set", [] {
        EXPECT_EQ(mldInitParams.robustness, 0x34);
        EXPECT_EQ(mldInitParams.query_interval, 100001u);
        EXPECT_EQ(mldInitParams.query_max_resp_time, 100002u);
        EXPECT_EQ(mldInitParams.last_member_query_interval, 100003u);
        EXPECT_EQ(mldInitParams.last_member_query_count, 100004u);
    });
    EXPECT_EQ(mld_omci_set_igmp_global_parmeter(0x1234, 100001, 100002, 100003, 100004), 0);
    EXPECT_THAT(calls(),
                ElementsAre("igmp_para_globle_set(52, 100001, 100002, 100003, 100004, 300)"));
    EXPECT_EQ(std::memcmp(&globle_parm, &igmp_side, sizeof igmp_side), 0);
}

TEST_F(MldState, ParametersTextsAndStatus) {
    expect_said(mld_debug, kDbg, "\r\n[MC_DBG_DBG]: igmp_adapt_para_globle_set is in!\n",
                [] { mld_omci_set_igmp_global_parmeter(1, 2, 3, 4, 5); });
    answer("igmp_para_globle_set", kFailure);
    expect_said(mld_debug, kErr,
                "\r\n[MC_DBG_ERR]: \n ERROR!mld_omci_set_igmp_global_parmeter Fail\n",
                [] { EXPECT_EQ(mld_omci_set_igmp_global_parmeter(6, 7, 8, 9, 10), kFailure); });
    EXPECT_EQ(mldInitParams.robustness, 6);
    EXPECT_EQ(mldInitParams.last_member_query_count, 10u);
}

// ---- Dump --------------------------------------------------------------------------------

std::string dump() {
    return printed([] { mld_adapt_globe(); });
}

std::string port_lines() {
    std::string text;
    for (int port = 0; port < MC_PORTS; ++port) {
        text +=
            "portNO(" + std::to_string(port) + ") grouplimit(0) leavemod(0) max_bandwidth(0)\r\n";
    }
    return text;
}

const std::string kGlobalLines =
    "defaultVlan(4088), general_member_interval(1), last_member_query_count(2)\r\n"
    "last_member_query_interval(1), learningMode(0), multiMode(2)\r\n"
    "query_interval(125), query_max_resp_time(10), robustness(2), version(3)\r\n";

TEST_F(MldState, DumpOfTheDefaults) {
    // No template VLAN in use: every entry ends its line.
    std::string templates;
    for (int i = 0; i < 10; ++i) templates += "-0-TemplateVlan(0)\t\r\n";
    EXPECT_EQ(dump(), port_lines() + templates + kGlobalLines);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(MldState, DumpShowsTenTemplateEntriesInLinesAfterTheCountOfTheIgmpSide) {
    for (int i = 0; i < 10; ++i) {
        mldInitParams.portVlan[i] = 100 + i;
        mldInitParams.TemplateVlan[i] = static_cast<std::uint16_t>(200 + i);
    }
    mldInitParams.portVlan[9] = -1;
    const auto entry = [](int i) {
        return "-" + std::to_string(i == 9 ? -1 : 100 + i) + "-TemplateVlan(" +
               std::to_string(200 + i) + ")\t";
    };
    setVlanNumber = 3;
    mldInitParams.srcPortNum = 9;  // the MLD side's own count is not asked
    EXPECT_EQ(dump(), port_lines() + entry(0) + entry(1) + entry(2) + "\r\n" + entry(3) + "\r\n" +
                          entry(4) + "\r\n" + entry(5) + "\r\n" + entry(6) + "\r\n" + entry(7) +
                          "\r\n" + entry(8) + "\r\n" + entry(9) + "\r\n" + kGlobalLines);
    // The lines behind entries 3, 6 and 9 end whatever the count.
    for (const std::int32_t count : {10, 12}) {
        setVlanNumber = count;
        EXPECT_EQ(dump(), port_lines() + entry(0) + entry(1) + entry(2) + entry(3) + "\r\n" +
                              entry(4) + entry(5) + entry(6) + "\r\n" + entry(7) + entry(8) +
                              entry(9) + "\r\n" + kGlobalLines);
    }
}

TEST_F(MldState, DumpShowsTheUsedRules) {
    mldInitParams.mldPortVlanCfg[0][0] = {0, 1, 20, 21, 2, 22, 23, 3, 24, 25, 0};
    mldInitParams.mldPortVlanCfg[2][0] = {2, 1, 10, 11, 2, 12, 13, 3, 14, 15, 0};
    mldInitParams.mldPortVlanCfg[2][1] = {2, 0, 4095, 0, 0, 0, 0, 0, 0, 0, 0};
    mldInitParams.vlancfgnum[0] = 1;
    mldInitParams.vlancfgnum[1] = -1;
    mldInitParams.vlancfgnum[2] = 1;
    EXPECT_THAT(dump(),
                StartsWith("portNO(0), prouptagmode(1), in_up_vlan(20), out_up_vlan(21)\r\n"
                           "portNO(0), prodntagmode(2), in_dn_vlan(22), out_dn_vlan(23)\r\n"
                           "portNO(0), datedntagmode(3), in_data_vlan(24), out_data_vlan(25)\r\n"
                           "portNO(2), prouptagmode(1), in_up_vlan(10), out_up_vlan(11)\r\n"
                           "portNO(2), prodntagmode(2), in_dn_vlan(12), out_dn_vlan(13)\r\n"
                           "portNO(2), datedntagmode(3), in_data_vlan(14), out_data_vlan(15)\r\n"
                           "portNO(0) grouplimit(0)"));
}

TEST_F(MldState, DumpShowsPortsAndTheirGroups) {
    MldPortParm& port = mldInitParams.mldport[0];
    port.grouplimit = 65535;
    port.leavemod = 1;
    port.max_bandwidth = 0xFFFFFFFF;
    port.auth_group[0] = {1000, 0xEF000001, 0xEF0000FF, 0, {}};
    port.auth_group[7] = {0x80000000, 0xEF000001, 0xEF0000FF, 65535, {}};
    EXPECT_THAT(dump(), StartsWith("portNO(0) grouplimit(65535) leavemod(1) max_bandwidth(-1)\r\n"
                                   "start_groupAdress(ef000001) end_groupAdress(ef0000ff) "
                                   "bandwidth(-2147483648) vlan(65535)\r\n"
                                   "portNO(1) grouplimit(0)"));
}

TEST_F(MldState, DumpShowsTheValuesOfTheMldSide) {
    mldInitParams.defaultVlan = 65535;
    mldInitParams.general_member_interval = 4294967295;
    mldInitParams.last_member_query_count = 3;
    mldInitParams.last_member_query_interval = 4;
    mldInitParams.learningMode = 5;
    mldInitParams.multiMode = 6;
    mldInitParams.query_interval = 7;
    mldInitParams.query_max_resp_time = 8;
    mldInitParams.robustness = 255;
    mldInitParams.version = 9;
    EXPECT_THAT(
        dump(),
        EndsWith("defaultVlan(65535), general_member_interval(4294967295), "
                 "last_member_query_count(3)\r\n"
                 "last_member_query_interval(4), learningMode(5), multiMode(6)\r\n"
                 "query_interval(7), query_max_resp_time(8), robustness(255), version(9)\r\n"));
}

}  // namespace
