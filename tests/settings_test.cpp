// The multicast mode and the global parameters: what is stored and in which width, what the core is
// told, which status comes back and what the console says.
#include <gmock/gmock.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>

#include "adapt/adapt.h"
#include "adapt/status_segment.h"
#include "mld/record.h"
#include "settings/settings.h"
#include "tests/support/console.h"
#include "tests/support/fresh_library.h"
#include "tests/support/sides.h"

namespace {

using namespace mc_test;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Settings : public StartedTest {
 protected:
    static std::string published_mode() {
        const std::uint8_t* const word = mc_status_global + mc::kStatusMode;
        return hex({word, word + 4});
    }

    static void expect_mode(std::uint8_t mode) {
        EXPECT_EQ(proxy_adapt_mode, mode);
        EXPECT_EQ(globle_parm.multiMode, mode);
        EXPECT_EQ(published_mode(), hex({0, 0, 0, mode}));
        EXPECT_THAT(calls(), ElementsAre(call("igmp_mode_switch_globle", mode)));
    }
};

// ---- Mode --------------------------------------------------------------------------------

struct ModeRequest {
    std::uint32_t requested;
    std::uint8_t selected;
};

class ModeSelection : public Settings, public ::testing::WithParamInterface<ModeRequest> {};

TEST_P(ModeSelection, IsStoredPublishedAndPushed) {
    proxy_adapt_mode = 0x55;
    globle_parm.multiMode = 0x5555;
    EXPECT_EQ(omci_set_multicast_mode(GetParam().requested), 0);
    expect_mode(GetParam().selected);
}

// The last two are cut to eight bits first.
INSTANTIATE_TEST_SUITE_P(Request, ModeSelection,
                         ::testing::Values(ModeRequest{0, 1}, ModeRequest{1, 1}, ModeRequest{2, 1},
                                           ModeRequest{3, 3}, ModeRequest{4, 1}, ModeRequest{99, 1},
                                           ModeRequest{100, 2}, ModeRequest{101, 1},
                                           ModeRequest{255, 1}, ModeRequest{0x103, 3},
                                           ModeRequest{0xFFFFFF64, 2}),
                         [](const auto& param_info) {
                             return std::to_string(param_info.param.requested);
                         });

TEST_F(Settings, ModeIsStoredBeforeTheCoreHearsOfIt) {
    during("igmp_mode_switch_globle", [] {
        EXPECT_EQ(proxy_adapt_mode, MC_MODE_PROXY);
        EXPECT_EQ(globle_parm.multiMode, MC_MODE_PROXY);
        EXPECT_EQ(published_mode(), "[00000002]");
    });
    omci_set_multicast_mode(100);
    EXPECT_EQ(calls().size(), 1u);
}

struct ModeChangedMeanwhile {
    std::uint8_t requested;
    std::uint8_t changed_to;
    std::uint8_t selected;

    friend std::ostream& operator<<(std::ostream& out, const ModeChangedMeanwhile& change) {
        return out << line("%d, changed to %d", change.requested, change.changed_to);
    }
};

class ModeBranch : public Settings, public ::testing::WithParamInterface<ModeChangedMeanwhile> {};

// Between its trace and the switch another task may store another mode: what is stored then counts,
// not the request.
TEST_P(ModeBranch, GoesByTheModeThatIsStoredByThen) {
    const auto [requested, changed_to, selected] = GetParam();
    mc_debug = kDbg;
    EXPECT_TRUE(interrupted_at(
        "omci_set_multicast_mode proxy_adapt_mode =", [&] { proxy_adapt_mode = changed_to; },
        [&] { EXPECT_EQ(omci_set_multicast_mode(requested), 0); }));
    mc_debug = 0;
    expect_mode(selected);
}

INSTANTIATE_TEST_SUITE_P(Meanwhile, ModeBranch,
                         ::testing::Values(ModeChangedMeanwhile{1, 3, MC_MODE_CONTROL},
                                           ModeChangedMeanwhile{1, 100, MC_MODE_PROXY},
                                           ModeChangedMeanwhile{3, 1, MC_MODE_SNOOPING},
                                           ModeChangedMeanwhile{3, 2, MC_MODE_SNOOPING},
                                           ModeChangedMeanwhile{3, 100, MC_MODE_PROXY},
                                           ModeChangedMeanwhile{100, 3, MC_MODE_CONTROL}),
                         [](const auto& param_info) {
                             return std::to_string(param_info.param.requested) + "To" +
                                    std::to_string(param_info.param.changed_to);
                         });

TEST_F(Settings, ModeStaysWhenTheCoreRefusesIt) {
    answer("igmp_mode_switch_globle", kFailure);
    EXPECT_EQ(omci_set_multicast_mode(3), kFailure);
    expect_mode(MC_MODE_CONTROL);
}

TEST_F(Settings, ModeWithoutASegmentIsSetAllTheSame) {
    for (const std::uintptr_t base : {std::uintptr_t{0}, ~std::uintptr_t{0}}) {
        mc_status_global = reinterpret_cast<std::uint8_t*>(base);
        EXPECT_EQ(omci_set_multicast_mode(3), 0);
        EXPECT_EQ(proxy_adapt_mode, MC_MODE_CONTROL);
        EXPECT_EQ(omci_set_multicast_mode(1), 0);
        EXPECT_EQ(globle_parm.multiMode, MC_MODE_SNOOPING);
    }
}

TEST_F(Settings, ModeTextsOfControl) {
    expect_said(mc_debug, kDbg, "\r\n[MC_DBG_DBG]: omci_set_multicast_mode proxy_adapt_mode =3\n",
                [] { omci_set_multicast_mode(3); });
    answer("igmp_mode_switch_globle", kFailure);
    expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: ERROR!proxy_adapt_mode =3 ",
                [] { omci_set_multicast_mode(3); });
}

TEST_F(Settings, ModeTextsOfProxyTraceTheRequestAndReportTheMode) {
    expect_said(mc_debug, kDbg, "\r\n[MC_DBG_DBG]: omci_set_multicast_mode proxy_adapt_mode =100\n",
                [] { omci_set_multicast_mode(100); });
    answer("igmp_mode_switch_globle", kFailure);
    expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: \n ERROR!proxy_adapt_mode =2 ",
                [] { omci_set_multicast_mode(100); });
}

TEST_F(Settings, ModeTextsOfSnooping) {
    expect_said(mc_debug, kDbg, "\r\n[MC_DBG_DBG]: omci_set_multicast_mode proxy_adapt_mode =200\n",
                [] { omci_set_multicast_mode(200); });
    answer("igmp_mode_switch_globle", kFailure);
    expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: \n ERROR!proxy_adapt_mode =1 ",
                [] { omci_set_multicast_mode(200); });
}

TEST_F(Settings, StandardModes1And2AreRefusedAndChangeNothing) {
    omci_set_multicast_mode(3);
    forget_calls();
    for (const std::uint32_t mode : {1u, 2u, 0x101u, 0xFFFFFF02u}) {
        EXPECT_EQ(onu_std_omci_set_multicast_mode(mode), -1) << mode;
    }
    EXPECT_EQ(proxy_adapt_mode, MC_MODE_CONTROL);
    EXPECT_EQ(globle_parm.multiMode, MC_MODE_CONTROL);
    EXPECT_EQ(published_mode(), "[00000003]");
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(Settings, EveryOtherStandardModeIsSnooping) {
    for (const std::uint32_t mode : {0u, 3u, 100u, 200u, 255u, 0x100u}) {
        omci_set_multicast_mode(3);
        forget_calls();
        EXPECT_EQ(onu_std_omci_set_multicast_mode(mode), 0) << mode;
        expect_mode(MC_MODE_SNOOPING);
    }
}

TEST_F(Settings, StandardModeHandsOnTheStatusOfTheCore) {
    answer("igmp_mode_switch_globle", kFailure);
    EXPECT_EQ(onu_std_omci_set_multicast_mode(3), kFailure);
}

TEST_F(Settings, StandardModeTexts) {
    expect_said(mc_debug, kDbg,
                "\r\n[MC_DBG_DBG]: std_omci_set_multicast_mode is in!\n"
                "\r\n[MC_DBG_DBG]: omci_set_multicast_mode proxy_adapt_mode =0\n",
                [] { onu_std_omci_set_multicast_mode(255); });
    expect_said(mc_debug, kDbg, "\r\n[MC_DBG_DBG]: std_omci_set_multicast_mode is in!\n",
                [] { onu_std_omci_set_multicast_mode(1); });
    expect_said(mc_debug, kErr,
                "\r\n[MC_DBG_ERR]: \n ERROR!std_omci_set_multicast_mode Fail(don't support this "
                "mode!)",
                [] { onu_std_omci_set_multicast_mode(2); });
    answer("igmp_mode_switch_globle", kFailure);
    expect_said(mc_debug, kErr,
                "\r\n[MC_DBG_ERR]: \n ERROR!proxy_adapt_mode =1 "
                "\r\n[MC_DBG_ERR]: \n ERROR!std_omci_set_multicast_mode Fail",
                [] { onu_std_omci_set_multicast_mode(0); });
}

// ---- One parameter -----------------------------------------------------------------------

struct Parameter {
    const char* name;
    std::int32_t (*set)(std::uint32_t);
    std::uint32_t (*stored)();
    std::uint32_t mask;  // the bits that are kept
    const char* core;
    std::uint32_t trace_bit;
    const char* trace;  // for the value 2
    const char* failure;
};

const Parameter kParameters[] = {
    {"Robustness", omci_set_para_rv_globle, [] { return std::uint32_t{globle_parm.robustness}; },
     0xFF, "igmp_para_rv_globle_set", kCfg,
     "\r\n[MC_DBG_CFG]: omci_set_para_rv_globle is in!robustness = 2\n",
     "\r\n[MC_DBG_ERR]: \n ERROR!igmp_para_rv_globle_set Fail"},
    {"QueryInterval", omci_set_para_qi_globle, [] { return globle_parm.query_interval; }, 0xFFFF,
     "igmp_para_qi_globle_set", kCfg,
     "\r\n[MC_DBG_CFG]: omci_para_qi_globle is in! query_interval = 2\n",
     "\r\n[MC_DBG_ERR]: \n ERROR!igmp_para_qi_globle_set Fail"},
    {"QueryResponseInterval", omci_set_para_qri_globle,
     [] { return globle_parm.query_max_resp_time; }, 0xFFFF, "igmp_para_qri_globle_set", kCfg,
     "\r\n[MC_DBG_CFG]: omci_para_qri_globle is in! query_response_interval = 2\n",
     "\r\n[MC_DBG_ERR]: \n ERROR!igmp_para_qri_globle_set Fail"},
    {"LastMemberQueryInterval", omci_set_para_lmqi_globle,
     [] { return globle_parm.last_member_query_interval; }, 0xFFFF, "igmp_para_lmqi_globle_set",
     kCfg, "\r\n[MC_DBG_CFG]: omci_set_para_lmqi_globle is in! last_member_query_interval = 2\n",
     "\r\n[MC_DBG_ERR]: \n ERROR!igmp_para_lmqi_globle_set Fail"},
    // Its failure is reported with the interval's text, kept on purpose.
    {"LastMemberQueryCount", omci_set_para_lmqc_globle,
     [] { return globle_parm.last_member_query_count; }, 0xFFFF, "igmp_para_lmqc_globle_set", kCfg,
     "\r\n[MC_DBG_CFG]: omci_set_para_lmqc_globle is in! last_member_query_count = 2\n",
     "\r\n[MC_DBG_ERR]: \n ERROR!igmp_para_lmqi_globle_set Fail"},
    {"Version", omci_igmp_version_globle_set, [] { return std::uint32_t{globle_parm.version}; },
     0xFF, "igmp_version_globle_set", kDbg,
     "\r\n[MC_DBG_DBG]: omci_igmp_version_globle_set version = 2\n",
     "\r\n[MC_DBG_ERR]: \n ERROR!omci_igmp_version_globle_set Fail"},
    {"VlanLearning", omci_set_igmp_dynamic_enable,
     [] { return std::uint32_t{globle_parm.learningMode}; }, 0xFF, "igmp_vlan_learning_set", kDbg,
     "\r\n[MC_DBG_DBG]: omci_set_igmp_dynamic_enable is in!\n",
     "\r\n[MC_DBG_ERR]: \n ERROR!igmp_adapt_vlan_learning Fail"},
};

class OneParameter : public Settings, public ::testing::WithParamInterface<Parameter> {};

TEST_P(OneParameter, IsCutStoredAndPushed) {
    for (const std::uint32_t value : {0u, 1u, 255u, 256u, 70000u, 0xFFFFFFFFu}) {
        forget_calls();
        EXPECT_EQ(GetParam().set(value), 0);
        const std::uint32_t kept = value & GetParam().mask;
        EXPECT_EQ(GetParam().stored(), kept);
        EXPECT_THAT(calls(), ElementsAre(call(GetParam().core, kept)));
    }
}

TEST_P(OneParameter, IsStoredBeforeItIsPushed) {
    during(GetParam().core, [] { EXPECT_EQ(GetParam().stored(), 77u); });
    GetParam().set(77);
    EXPECT_EQ(calls().size(), 1u);
}

TEST_P(OneParameter, StaysWhenTheCoreRefusesIt) {
    answer(GetParam().core, kFailure);
    EXPECT_EQ(GetParam().set(9), kFailure);
    EXPECT_EQ(GetParam().stored(), 9u);
}

TEST_P(OneParameter, TouchesNothingElse) {
    const IgmpGlobleParm before = globle_parm;
    GetParam().set(GetParam().stored());
    EXPECT_EQ(std::memcmp(&globle_parm, &before, sizeof before), 0);
}

TEST_P(OneParameter, Texts) {
    expect_said(mc_debug, GetParam().trace_bit, GetParam().trace, [] { GetParam().set(2); });
    answer(GetParam().core, kFailure);
    expect_said(mc_debug, kErr, GetParam().failure, [] { GetParam().set(2); });
}

INSTANTIATE_TEST_SUITE_P(Of, OneParameter, ::testing::ValuesIn(kParameters),
                         [](const auto& param_info) { return std::string(param_info.param.name); });

TEST_F(Settings, QueryInterval70000IsCutAloneAndKeptWholeTogether) {
    omci_set_para_qi_globle(70000);
    EXPECT_EQ(globle_parm.query_interval, 4464u);
    omci_set_igmp_global_parmeter(2, 70000, 10, 1, 2);
    EXPECT_EQ(globle_parm.query_interval, 70000u);
    EXPECT_THAT(calls(), ElementsAre("igmp_para_qi_globle_set(4464)",
                                     "igmp_para_globle_set(2, 70000, 10, 1, 2, 1)"));
}

TEST_F(Settings, RefusedQueryCountIsReportedWithTheTextOfTheInterval) {
    answer("igmp_para_lmqc_globle_set", kFailure);
    expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: \n ERROR!igmp_para_lmqi_globle_set Fail",
                [] { EXPECT_EQ(omci_set_para_lmqc_globle(3), kFailure); });
}

// ---- All parameters ----------------------------------------------------------------------

TEST_F(Settings, AllParametersAreStoredAndPushedWithTheAgeingInterval) {
    setIgmpAgeEnable(300);
    during("igmp_para_globle_set", [] {
        EXPECT_EQ(globle_parm.robustness, 0x34);
        EXPECT_EQ(globle_parm.query_interval, 100001u);
        EXPECT_EQ(globle_parm.query_max_resp_time, 100002u);
        EXPECT_EQ(globle_parm.last_member_query_interval, 100003u);
        EXPECT_EQ(globle_parm.last_member_query_count, 100004u);
        EXPECT_EQ(globle_parm.general_member_interval, 300u);
    });
    EXPECT_EQ(omci_set_igmp_global_parmeter(0x1234, 100001, 100002, 100003, 100004), 0);
    EXPECT_THAT(calls(),
                ElementsAre("igmp_para_globle_set(52, 100001, 100002, 100003, 100004, 300)"));
}

TEST_F(Settings, AllParametersStayWhenTheCoreRefusesThem) {
    answer("igmp_para_globle_set", kFailure);
    expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: \n ERROR!igmp_adapt_para_globle_set Fail",
                [] { EXPECT_EQ(omci_set_igmp_global_parmeter(1, 2, 3, 4, 5), kFailure); });
    EXPECT_EQ(globle_parm.last_member_query_count, 5u);
    reset_neighbours();
    expect_said(mc_debug, kDbg, "\r\n[MC_DBG_DBG]: igmp_adapt_para_globle_set is in!\n",
                [] { omci_set_igmp_global_parmeter(1, 2, 3, 4, 5); });
}

// ---- Source-specific multicast -----------------------------------------------------------

TEST_F(Settings, SsmRangeIsStoredAndPushedAsItIs) {
    during("igmp_ssm_ip_globle_set", [] {
        EXPECT_EQ(globle_parm.ssm_ip_start, 0xE8000000u);
        EXPECT_EQ(globle_parm.ssm_ip_end, 0xE8FFFFFFu);
    });
    EXPECT_EQ(omci_igmp_ssm_ip_globle_set(0xE8000000, 0xE8FFFFFF), 0);
    EXPECT_THAT(calls(), ElementsAre(call("igmp_ssm_ip_globle_set", 0xE8000000, 0xE8FFFFFF)));
}

TEST_F(Settings, SsmRangeTextsAndStatus) {
    expect_said(mc_debug, kDbg, "\r\n[MC_DBG_DBG]: igmp_adapt_ssm_ip_globle_set is in!\n",
                [] { omci_igmp_ssm_ip_globle_set(1, 2); });
    answer("igmp_ssm_ip_globle_set", kFailure);
    expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: \n ERROR!igmp_adapt_ssm_ip_globle_set Fail",
                [] { EXPECT_EQ(omci_igmp_ssm_ip_globle_set(3, 4), kFailure); });
    EXPECT_EQ(globle_parm.ssm_ip_start, 3u);
    EXPECT_EQ(globle_parm.ssm_ip_end, 4u);
}

TEST_F(Settings, SsmMapIsReadByTheCoreWhereItIsStored) {
    EXPECT_EQ(omci_igmp_ssm_map_globle_set(1, 2, 3, 4, 0xFFFFFFFF), 0);
    EXPECT_THAT(calls(), ElementsAre("igmp_ssm_map_change({1, 2, 3, 4, 4294967295})"));
    EXPECT_THAT(last_call("igmp_ssm_map_change").addresses, ElementsAre(globle_parm.ssm_map));
    EXPECT_THAT(globle_parm.ssm_map, ElementsAre(1u, 2u, 3u, 4u, 0xFFFFFFFFu));
}

TEST_F(Settings, SsmMapTextsAndStatus) {
    expect_said(mc_debug, kDbg, "\r\n[MC_DBG_DBG]: igmp_adapt_ssm_map_change is in!\n",
                [] { omci_igmp_ssm_map_globle_set(1, 2, 3, 4, 5); });
    answer("igmp_ssm_map_change", kFailure);
    expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: \n ERROR!igmp_adapt_ssm_map_change Fail",
                [] { EXPECT_EQ(omci_igmp_ssm_map_globle_set(6, 7, 8, 9, 10), kFailure); });
    EXPECT_EQ(globle_parm.ssm_map[4], 10u);
}

// ---- Leave mode of all ports -------------------------------------------------------------

TEST_F(Settings, LeaveModeIsStoredForEveryPortAndPushedOnceForEach) {
    unsigned pushes = 0;
    during("igmp_fast_leave_enable_globle", [&] {
        for (unsigned port = 0; port < MC_PORTS; ++port) {
            EXPECT_EQ(globle_parm.port[port].leavemod, port <= pushes ? 1 : 0) << pushes;
        }
        ++pushes;
    });
    EXPECT_EQ(omci_set_igmp_leave_mode(0x101), 0);
    EXPECT_EQ(calls().size(), 7u);
    EXPECT_THAT(calls(), Each("igmp_fast_leave_enable_globle(1)"));
    EXPECT_EQ(globle_parm.port[6].leavemod, 1);
}

TEST_F(Settings, LeaveModeRefusedForOnePortIsReportedOnceAndForgotten) {
    fail_call("igmp_fast_leave_enable_globle", 3);
    expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: \n ERROR!igmp_fast_leave_enable_globle Fail",
                [] { EXPECT_EQ(omci_set_igmp_leave_mode(1), 0); });
    EXPECT_EQ(calls().size(), 7u);
}

TEST_F(Settings, LeaveModeRefusedForTheLastPortIsTheResult) {
    fail_call("igmp_fast_leave_enable_globle", 7);
    EXPECT_EQ(omci_set_igmp_leave_mode(1), kFailure);
    EXPECT_EQ(globle_parm.port[6].leavemod, 1);
}

TEST_F(Settings, LeaveModeIsTracedUnderTheNameOfThePortOperation) {
    expect_said(mc_debug, kDbg, "\r\n[MC_DBG_DBG]: omci_set_port_igmp_leave_mode leave mode = 1\n",
                [] { omci_set_igmp_leave_mode(1); });
}

// ---- Default VLAN ------------------------------------------------------------------------

class DefaultVlan : public Settings {
 protected:
    static void expect_default(std::uint16_t vlan) {
        EXPECT_EQ(globle_parm.defaultVlan, vlan);
        EXPECT_EQ(defaultVlan, vlan);
        EXPECT_EQ(mldInitParams.defaultVlan, vlan);
    }

    static void set_templates(std::initializer_list<std::uint16_t> vlans) {
        std::copy(vlans.begin(), vlans.end(), PortVlan);
        setVlanNumber = static_cast<std::int32_t>(vlans.size());
    }
};

TEST_F(DefaultVlan, IsStoredOnBothSidesBeforeItIsPushed) {
    during("mld_api_set_default_vlan", [] { expect_default(100); });
    EXPECT_EQ(omci_set_igmp_default_vlan(100), 0);
    EXPECT_THAT(calls(), ElementsAre("mld_api_set_default_vlan(100)", "igmp_default_vid_set(100)"));
}

TEST_F(DefaultVlan, KeepsSixteenBitsAndNotTwelve) {
    omci_set_igmp_default_vlan(0x1F123);
    expect_default(0xF123);
    EXPECT_THAT(calls(), ElementsAre(call("mld_api_set_default_vlan", 0xF123),
                                     call("igmp_default_vid_set", 0xF123)));
}

TEST_F(DefaultVlan, ThatIsAlreadySetIsPushedAgain) {
    defaultVlan = 1;
    mldInitParams.defaultVlan = 2;
    EXPECT_EQ(omci_set_igmp_default_vlan(4088), 0);
    EXPECT_THAT(calls(),
                ElementsAre("mld_api_set_default_vlan(4088)", "igmp_default_vid_set(4088)"));
    EXPECT_EQ(defaultVlan, 1) << "nothing is stored";
    EXPECT_EQ(mldInitParams.defaultVlan, 2) << "nothing is stored";
}

TEST_F(DefaultVlan, ThatIsAlreadySetAndATemplateVlanIsHandedToTheCoreAgain) {
    set_templates({4088});
    EXPECT_EQ(omci_set_igmp_default_vlan(4088), 0);
    EXPECT_THAT(calls(), ElementsAre("mld_api_set_default_vlan(4088)", "igmp_default_vid_set(4088)",
                                     "igmp_vlan_add(4088)"));
}

TEST_F(DefaultVlan, ThatWasATemplateVlanIsHandedToTheCoreAgain) {
    set_templates({7, 4088});
    EXPECT_EQ(omci_set_igmp_default_vlan(100), 0);
    EXPECT_THAT(calls(), ElementsAre("mld_api_set_default_vlan(100)", "igmp_default_vid_set(100)",
                                     "igmp_vlan_add(4088)"));
}

TEST_F(DefaultVlan, NewOneAmongTheTemplateVlansIsNotHandedOver) {
    set_templates({100});
    omci_set_igmp_default_vlan(100);
    EXPECT_EQ(count_of("igmp_vlan_add"), 0u);
}

TEST_F(DefaultVlan, TemplateVlanIsComparedByItsLowTwelveBits) {
    set_templates({0xF000 | 4088});
    omci_set_igmp_default_vlan(100);
    EXPECT_EQ(calls().back(), "igmp_vlan_add(4088)");
}

TEST_F(DefaultVlan, OldOneWithMoreThanTwelveBitsIsNoTemplateVlan) {
    omci_set_igmp_default_vlan(0x1064);
    forget_calls();
    set_templates({0x1064, 0x0064});
    omci_set_igmp_default_vlan(5);
    EXPECT_EQ(count_of("igmp_vlan_add"), 0u);
}

TEST_F(DefaultVlan, EntriesBehindTheUsedOnesAreNotSearched) {
    for (const std::int32_t count : {0, -1}) {
        set_templates({4088});
        setVlanNumber = count;
        omci_set_igmp_default_vlan(4088);
        EXPECT_EQ(count_of("igmp_vlan_add"), 0u);
    }
    set_templates({7, 4088});
    setVlanNumber = 1;
    omci_set_igmp_default_vlan(4088);
    EXPECT_EQ(count_of("igmp_vlan_add"), 0u);
}

TEST_F(DefaultVlan, LastOfAFullTemplateListIsFound) {
    set_templates({1, 2, 3, 4, 5, 6, 7, 8, 9, 4088});
    omci_set_igmp_default_vlan(100);
    EXPECT_EQ(calls().back(), "igmp_vlan_add(4088)");
}

TEST_F(DefaultVlan, StatusOfTheCoreIsTheResult) {
    answer("igmp_default_vid_set", kFailure);
    EXPECT_EQ(omci_set_igmp_default_vlan(100), kFailure);
    expect_default(100);
}

TEST_F(DefaultVlan, StatusOfTheMldSideIsOnlyReported) {
    answer("mld_api_set_default_vlan", kFailure);
    expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: \n ERROR!mld_api_set_default_vlan Fail",
                [] { EXPECT_EQ(omci_set_igmp_default_vlan(100), 0); });
    EXPECT_EQ(calls().back(), "igmp_default_vid_set(100)");
}

TEST_F(DefaultVlan, StatusOfTheTemplateVlanReplacesThatOfTheDefault) {
    set_templates({4088});
    answer("igmp_default_vid_set", kFailure);
    EXPECT_EQ(omci_set_igmp_default_vlan(4088), 0);
    EXPECT_EQ(calls().back(), "igmp_vlan_add(4088)");
    answer("igmp_vlan_add", 5);
    EXPECT_EQ(omci_set_igmp_default_vlan(4088), 5);
}

TEST_F(DefaultVlan, Texts) {
    expect_said(mc_debug, kDbg, "\r\n[MC_DBG_DBG]: omci_set_igmp_default_vlan 100 is in!\n", [] {
        globle_parm.defaultVlan = 4088;
        omci_set_igmp_default_vlan(0x10064);
    });
    set_templates({7, 0xFFF8});
    expect_said(mc_debug, kDbg,
                "\r\n[MC_DBG_DBG]: omci_set_igmp_default_vlan 4088 is in!\n"
                "\r\n[MC_DBG_DBG]: \n vlan is 65528"
                "\r\n[MC_DBG_DBG]: \n igmp_default_vid_set vlan is already set",
                [] {
                    globle_parm.defaultVlan = 4088;
                    omci_set_igmp_default_vlan(4088);
                });
    answer("igmp_default_vid_set", kFailure);
    answer("igmp_vlan_add", kFailure);
    expect_said(mc_debug, kErr,
                "\r\n[MC_DBG_ERR]: \n ERROR!igmp_adapt_default_vid_set Fail"
                "\r\n[MC_DBG_ERR]: \n ERROR!igmp_vlan_add Fail",
                [] { omci_set_igmp_default_vlan(4088); });
}

// ---- Reset -------------------------------------------------------------------------------

class Reset : public Settings {
 protected:
    Reset() {
        omci_set_multicast_mode(3);
        omci_set_igmp_default_vlan(100);
        omci_set_para_qi_globle(5);
        setIgmpAgeEnable(300);
        for (auto& block : PortVlanCfg) block[9].in_data_vlan = 100;
        for (std::int32_t& count : setVlanCfgNumber) count = 1;
        PortVlan[0] = 100;
        PortVlan[1] = 200;
        PortVlan[2] = 300;
        setVlanNumber = 2;
        forget_calls();
    }

    static void expect_defaults() {
        EXPECT_THAT(setVlanCfgNumber, Each(0));
        for (const auto& block : PortVlanCfg) {
            EXPECT_EQ(static_cast<std::uint8_t>(block[9].portNO), 255);
            EXPECT_EQ(block[9].datedntagmode, MC_TAG_MODE_EMPTY);
            EXPECT_EQ(block[9].in_data_vlan, MC_NO_VLAN);
        }
        EXPECT_EQ(setVlanNumber, 0);
        EXPECT_THAT(PortVlan, ElementsAre(0, 0, 300, 0, 0, 0, 0, 0, 0, 0));
        EXPECT_EQ(proxy_adapt_mode, MC_MODE_SNOOPING);
        EXPECT_EQ(globle_parm.multiMode, MC_MODE_SNOOPING);
        EXPECT_EQ(published_mode(), "[00000001]");
        EXPECT_EQ(globle_parm.defaultVlan, 4088);
        EXPECT_EQ(defaultVlan, 4088);
        EXPECT_EQ(globle_parm.query_interval, 125u);
        EXPECT_EQ(globle_parm.general_member_interval, 1u);
        EXPECT_THAT(calls(),
                    ElementsAre("igmp_vlan_del_all()", "igmp_default_vid_set(4088)",
                                "igmp_para_globle_set(2, 125, 10, 1, 2, 1)",
                                "igmp_mode_switch_globle(1)", "igmp_fast_leave_enable_globle(0)",
                                "igmp_vlan_learning_set(0)", "igmp_del_all_group()"));
    }
};

TEST_F(Reset, PutsTheIgmpSideBackToItsDefaults) {
    EXPECT_EQ(omci_clear_igmp_all_parmeter(), 0);
    expect_defaults();
}

TEST_F(Reset, GoesOnWhenTheVlanListCannotBeEmptied) {
    answer("igmp_vlan_del_all", kFailure);
    EXPECT_EQ(omci_clear_igmp_all_parmeter(), 0);
    expect_defaults();
    expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: igmp_vlan_del_all is error! ret = 77\r\n",
                [] { omci_clear_igmp_all_parmeter(); });
}

TEST_F(Reset, EmptiesRulesAndTemplatesBeforeTheCoreDoes) {
    during("igmp_vlan_del_all", [] {
        EXPECT_THAT(setVlanCfgNumber, Each(0));
        EXPECT_EQ(PortVlanCfg[6][9].in_data_vlan, MC_NO_VLAN);
        EXPECT_EQ(setVlanNumber, 0);
        EXPECT_EQ(PortVlan[1], 0);
        EXPECT_EQ(globle_parm.defaultVlan, 100) << "not yet";
    });
    omci_clear_igmp_all_parmeter();
    EXPECT_EQ(count_of("igmp_vlan_del_all"), 1u);
}

TEST_F(Reset, StatusOfTheLastStepIsTheResult) {
    answer("igmp_del_all_group", kFailure);
    EXPECT_EQ(omci_clear_igmp_all_parmeter(), kFailure);
    expect_defaults();
}

TEST_F(Reset, LeavesAnEmptyTemplateListAlone) {
    setVlanNumber = -1;
    omci_clear_igmp_all_parmeter();
    EXPECT_EQ(setVlanNumber, 0);
    EXPECT_EQ(PortVlan[0], 100);
}

TEST_F(Reset, LeavesTheMldSideAlone) {
    mldInitParams.vlancfgnum[2] = 1;
    mldInitParams.portVlan[0] = 100;
    mldInitParams.query_interval = 5;
    const MldInitParams before = mldInitParams;
    omci_clear_igmp_all_parmeter();
    EXPECT_EQ(std::memcmp(&mldInitParams, &before, sizeof before), 0);
}

// ---- Success -----------------------------------------------------------------------------

TEST_F(Settings, NothingIsReportedWhenTheCoreAgrees) {
    PortVlan[0] = 4088;
    setVlanNumber = 1;
    EXPECT_EQ(said(mc_debug, kErr,
                   [] {
                       for (const std::uint32_t mode : {1u, 3u, 100u})
                           omci_set_multicast_mode(mode);
                       onu_std_omci_set_multicast_mode(0);
                       for (const Parameter& parameter : kParameters) parameter.set(1);
                       omci_set_igmp_global_parmeter(1, 2, 3, 4, 5);
                       omci_igmp_ssm_ip_globle_set(1, 2);
                       omci_igmp_ssm_map_globle_set(1, 2, 3, 4, 5);
                       omci_set_igmp_leave_mode(1);
                       omci_set_igmp_default_vlan(100);
                       omci_clear_igmp_all_parmeter();
                   }),
              "");
}

// ---- Entry points without a function -----------------------------------------------------

TEST_F(Settings, OperationsWithoutAFunctionOnlyTrace) {
    for (std::int32_t (*const operation)() : {omci_set_igmp_vid, omci_get_voip_igmp_vid,
                                              omci_set_multicast_vlan, omci_set_igmp_age_time}) {
        expect_said(mc_debug, kDbg, "\r\n[MC_DBG_DBG]: void function unused!\r\n",
                    [&] { EXPECT_EQ(operation(), 0); });
    }
    EXPECT_THAT(calls(), IsEmpty());
}

}  // namespace
