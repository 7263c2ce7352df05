// The settings of one port: which ports are taken, what is stored, published and pushed, and what
// the console says.
#include <gmock/gmock.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>

#include "adapt/adapt.h"
#include "adapt/status_segment.h"
#include "settings/settings.h"
#include "tests/support/console.h"
#include "tests/support/fresh_library.h"

namespace {

using namespace mc_test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

std::string out_of_range(unsigned port) {
    return "\r\n[MC_DBG_ERR]: \n port(" + std::to_string(port) +
           ") is invalid!"
           "\r\n[MC_DBG_ERR]: port number is invalid!\r\n";
}

std::string not_found(unsigned port) {
    return "\r\n[MC_DBG_ERR]: \n [checkPortState]port(" + std::to_string(port) +
           ") is not find!"
           "\r\n[MC_DBG_ERR]: port number is invalid!\r\n";
}

class PortSettings : public StartedTest {
 protected:
    PortSettings() : before_(globle_parm) {
        std::memset(mc_status_global + mc::kStatusGroupLimits, 0xA5, 4 * MC_PORTS);
    }

    void expect_nothing_changed() const {
        EXPECT_EQ(std::memcmp(&globle_parm, &before_, sizeof before_), 0);
        for (unsigned port = 0; port < MC_PORTS; ++port) {
            EXPECT_EQ(published_limit(port), "[a5a5a5a5]");
        }
        EXPECT_THAT(calls(), IsEmpty());
    }

    static std::string published_limit(unsigned logical) {
        const std::uint8_t* const word = mc_status_global + mc::kStatusGroupLimits + 4 * logical;
        return hex({word, word + 4});
    }

    IgmpGlobleParm before_;
};

// ---- Which ports are taken ---------------------------------------------------------------

struct Operation {
    const char* name;
    std::int32_t (*run)(std::uint32_t port);
    unsigned first_refused;  // from here on the port is out of range
    std::string (*refusal)(unsigned port);
};

const Operation kOperations[] = {
    {"LeaveMode", [](std::uint32_t port) { return omci_set_port_igmp_leave_mode(port, 1); }, 30,
     out_of_range},
    {"Bandwidth",
     [](std::uint32_t port) { return onu_std_max_multi_bandwidth_limit(port, 1, 2, 3); }, 30,
     out_of_range},
    {"GroupLimit", [](std::uint32_t port) { return omci_set_port_igmpgroup_limit(port, 9); }, 7,
     [](unsigned) {
         return std::string(
             "\r\n[MC_DBG_ERR]: \n omci_set_port_igmpgroup_limit port is invalid .\n");
     }},
    {"StandardGroupLimit",
     [](std::uint32_t port) { return onu_std_omci_set_port_igmpgroup_limit(port, 9); }, 7,
     [](unsigned) {
         return std::string(
             "\r\n[MC_DBG_ERR]: \n omci_set_port_igmpgroup_limit port is invalid .\n"
             "\r\n[MC_DBG_ERR]: \n ERROR!std_omci_set_port_igmpgroup_limit Fail");
     }},
    {"ResetOfLeaveMode", [](std::uint32_t port) { return omci_clear_igmp_parmeter(port, 0); }, 7,
     [](unsigned) {
         return std::string("\r\n[MC_DBG_ERR]: \n omci_clear_igmp_parmeter port is invalid .\n");
     }},
    {"ResetOfGroupLimit", [](std::uint32_t port) { return omci_clear_igmp_parmeter(port, 2); }, 7,
     [](unsigned) {
         return std::string("\r\n[MC_DBG_ERR]: \n omci_clear_igmp_parmeter port is invalid .\n");
     }},
};

class PortCheck : public PortSettings, public ::testing::WithParamInterface<Operation> {};

TEST_P(PortCheck, UserPortsAreTaken) {
    for (std::uint32_t port = 0; port < 6; ++port) EXPECT_EQ(GetParam().run(port), 0) << port;
    EXPECT_EQ(GetParam().run(0xFFFFFF05), 0) << "only the low byte counts";
}

TEST_P(PortCheck, UplinkIsTakenUnlessItsNumberIsOutOfRange) {
    EXPECT_EQ(GetParam().run(29), GetParam().first_refused > 29 ? 0 : -1);
}

TEST_P(PortCheck, PortOutOfRangeIsRefusedAndChangesNothing) {
    for (const unsigned port : {GetParam().first_refused, 30u, 255u, 0x1FFu}) {
        EXPECT_EQ(GetParam().run(port), -1) << port;
    }
    expect_nothing_changed();
}

TEST_P(PortCheck, PortOutOfRangeIsReported) {
    for (const unsigned port : {GetParam().first_refused, 255u}) {
        expect_said(mc_debug, kErr, GetParam().refusal(port), [&] { GetParam().run(port); });
    }
}

TEST_P(PortCheck, PortOutsideTheTableIsRefusedAndReported) {
    std::string text = not_found(6);
    if (GetParam().name == std::string("StandardGroupLimit")) {
        text += "\r\n[MC_DBG_ERR]: \n ERROR!std_omci_set_port_igmpgroup_limit Fail";
    }
    expect_said(mc_debug, kErr, text, [] { EXPECT_EQ(GetParam().run(6), -1); });
    expect_nothing_changed();
}

INSTANTIATE_TEST_SUITE_P(Of, PortCheck, ::testing::ValuesIn(kOperations),
                         [](const auto& param_info) { return std::string(param_info.param.name); });

TEST_F(PortSettings, Port12IsNotFoundByTheOperationsThatTakeTheUplink) {
    expect_said(mc_debug, kErr, not_found(12),
                [] { EXPECT_EQ(omci_set_port_igmp_leave_mode(12, 1), -1); });
    expect_said(mc_debug, kErr, not_found(12),
                [] { EXPECT_EQ(onu_std_max_multi_bandwidth_limit(12, 1, 2, 3), -1); });
    expect_nothing_changed();
}

// ---- Leave mode --------------------------------------------------------------------------

TEST_F(PortSettings, LeaveModeIsCutStoredAndPushed) {
    during("igmp_if_fast_leave_enable", [] { EXPECT_EQ(globle_parm.port[3].leavemod, 0xFE); });
    EXPECT_EQ(omci_set_port_igmp_leave_mode(3, 0x1FE), 0);
    EXPECT_THAT(calls(), ElementsAre("igmp_if_fast_leave_enable(3, 254)"));
    before_.port[3].leavemod = 0xFE;
    EXPECT_EQ(std::memcmp(&globle_parm, &before_, sizeof before_), 0);
}

TEST_F(PortSettings, LeaveModeOfTheUplinkIsThatOfTheSeventhPort) {
    EXPECT_EQ(omci_set_port_igmp_leave_mode(29, 1), 0);
    EXPECT_EQ(globle_parm.port[6].leavemod, 1);
    EXPECT_THAT(calls(), ElementsAre("igmp_if_fast_leave_enable(29, 1)"));
}

TEST_F(PortSettings, LeaveModeTextsAndStatus) {
    expect_said(mc_debug, kDbg,
                "\r\n[MC_DBG_DBG]: omci_set_port_igmp_leave_mode  port=12 leave mode = 1\n",
                [] { omci_set_port_igmp_leave_mode(0x10C, 0x101); });
    answer("igmp_if_fast_leave_enable", kFailure);
    expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_fast_leave_enable Fail",
                [] { EXPECT_EQ(omci_set_port_igmp_leave_mode(3, 1), kFailure); });
    EXPECT_EQ(globle_parm.port[3].leavemod, 1);
}

// ---- Group limit -------------------------------------------------------------------------

TEST_F(PortSettings, GroupLimitIsCutStoredPublishedAndPushed) {
    during("igmp_if_max_group_num_set", [] {
        EXPECT_EQ(globle_parm.port[3].grouplimit, 0xFFFF);
        EXPECT_EQ(published_limit(3), "[0000ffff]");
    });
    EXPECT_EQ(omci_set_port_igmpgroup_limit(3, 0x1FFFF), 0);
    EXPECT_THAT(calls(), ElementsAre("igmp_if_max_group_num_set(3, 65535)"));
    EXPECT_EQ(published_limit(2), "[a5a5a5a5]");
    EXPECT_EQ(published_limit(4), "[a5a5a5a5]");
    before_.port[3].grouplimit = 0xFFFF;
    EXPECT_EQ(std::memcmp(&globle_parm, &before_, sizeof before_), 0);
}

TEST_F(PortSettings, GroupLimitZeroIsKeptAndSentAs1024) {
    for (const std::uint32_t limit : {0u, 0x10000u}) {
        forget_calls();
        globle_parm.port[3].grouplimit = 1;
        EXPECT_EQ(omci_set_port_igmpgroup_limit(3, limit), 0);
        EXPECT_EQ(globle_parm.port[3].grouplimit, 1024);
        EXPECT_EQ(published_limit(3), "[00000400]");
        EXPECT_THAT(calls(), ElementsAre("igmp_if_max_group_num_set(3, 1024)"));
    }
}

TEST_F(PortSettings, GroupLimitOfTheUplinkIsRefusedThoughLeaveModeIsNot) {
    expect_said(mc_debug, kErr,
                "\r\n[MC_DBG_ERR]: \n omci_set_port_igmpgroup_limit port is invalid .\n",
                [] { EXPECT_EQ(omci_set_port_igmpgroup_limit(29, 10), -1); });
    expect_nothing_changed();
    EXPECT_EQ(omci_set_port_igmp_leave_mode(29, 1), 0);
    EXPECT_EQ(globle_parm.port[6].leavemod, 1);
}

TEST_F(PortSettings, GroupLimitWithoutASegmentIsSetAllTheSame) {
    for (const std::uintptr_t base : {std::uintptr_t{0}, ~std::uintptr_t{0}}) {
        mc_status_global = reinterpret_cast<std::uint8_t*>(base);
        EXPECT_EQ(omci_set_port_igmpgroup_limit(3, 5), 0);
        EXPECT_EQ(globle_parm.port[3].grouplimit, 5);
        EXPECT_EQ(omci_clear_igmp_parmeter(3, 2), 0);
        EXPECT_EQ(globle_parm.port[3].grouplimit, 1024);
    }
}

TEST_F(PortSettings, GroupLimitTextsAndStatus) {
    expect_said(mc_debug, kDbg,
                "\r\n[MC_DBG_DBG]: omci_set_port_igmpgroup_limit is in! group num = 9 port = 3\n",
                [] { omci_set_port_igmpgroup_limit(3, 9); });
    expect_said(mc_debug, kDbg,
                "\r\n[MC_DBG_DBG]: omci_set_port_igmpgroup_limit is in! group num = 0 port = 29\n",
                [] { omci_set_port_igmpgroup_limit(29, 0); });
    answer("igmp_if_max_group_num_set", kFailure);
    expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_max_group_num_set Fail",
                [] { EXPECT_EQ(omci_set_port_igmpgroup_limit(3, 8), kFailure); });
    EXPECT_EQ(globle_parm.port[3].grouplimit, 8);
    EXPECT_EQ(published_limit(3), "[00000008]");
}

TEST_F(PortSettings, StandardGroupLimitIsTheSameBehindATrace) {
    EXPECT_EQ(onu_std_omci_set_port_igmpgroup_limit(0x103, 0x10009), 0);
    EXPECT_THAT(calls(), ElementsAre("igmp_if_max_group_num_set(3, 9)"));
    EXPECT_EQ(globle_parm.port[3].grouplimit, 9);
    expect_said(mc_debug, kDbg,
                "\r\n[MC_DBG_DBG]: std_omci_set_port_igmpgroup_limit is in!\n"
                "\r\n[MC_DBG_DBG]: omci_set_port_igmpgroup_limit is in! group num = 9 port = 3\n",
                [] { onu_std_omci_set_port_igmpgroup_limit(0x103, 0x10009); });
    answer("igmp_if_max_group_num_set", kFailure);
    expect_said(mc_debug, kErr,
                "\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_max_group_num_set Fail"
                "\r\n[MC_DBG_ERR]: \n ERROR!std_omci_set_port_igmpgroup_limit Fail",
                [] { EXPECT_EQ(onu_std_omci_set_port_igmpgroup_limit(3, 9), kFailure); });
}

// ---- Bandwidth limit ---------------------------------------------------------------------

TEST_F(PortSettings, BandwidthIsStoredAndTheRestOnlyPassedOn) {
    during("igmp_if_max_bandwidth_set",
           [] { EXPECT_EQ(globle_parm.port[6].max_bandwidth, 0xFFFFFFFFu); });
    EXPECT_EQ(onu_std_max_multi_bandwidth_limit(29, 0x102, 0xFFFFFFFF, 0x10ABC), 0);
    EXPECT_THAT(calls(), ElementsAre("igmp_if_max_bandwidth_set(29, 2, 4294967295, 2748)"));
    before_.port[6].max_bandwidth = 0xFFFFFFFF;
    EXPECT_EQ(std::memcmp(&globle_parm, &before_, sizeof before_), 0);
}

TEST_F(PortSettings, BandwidthThatTheCoreRefusesIsReportedAndCountsAsDone) {
    answer("igmp_if_max_bandwidth_set", kFailure);
    expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: \n ERROR!traxmax_multi_bandwidth_limit Fail",
                [] { EXPECT_EQ(onu_std_max_multi_bandwidth_limit(3, 1, 1000, 0), 0); });
    EXPECT_EQ(globle_parm.port[3].max_bandwidth, 1000u);
    EXPECT_EQ(onu_std_max_multi_bandwidth_limit(7, 1, 1000, 0), -1);
}

TEST_F(PortSettings, BandwidthIsNotTraced) {
    EXPECT_EQ(
        said(mc_debug, kAllCategories, [] { onu_std_max_multi_bandwidth_limit(3, 1, 1000, 0); }),
        "");
}

// ---- Uplink tags -------------------------------------------------------------------------

TEST_F(PortSettings, UplinkTagsAreTakenApartAndNotStored) {
    EXPECT_EQ(omci_set_port_up_igmp_vlan(29, 100u << 16 | 4007, 0xABCDE064), 0);
    EXPECT_THAT(calls(), ElementsAre(call("igmp_if_snp_uplinkvlan_set", 29, fields(4007, 100, 0),
                                          fields(0xE064, 0xABCD, 14))));
    EXPECT_EQ(std::memcmp(&globle_parm, &before_, sizeof before_), 0);
}

TEST_F(PortSettings, UplinkTagsOfAUserPortAreRefused) {
    expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: \n port(3) is not uplink!,exit",
                [] { EXPECT_EQ(omci_set_port_up_igmp_vlan(3, 1, 2), -1); });
    expect_nothing_changed();
}

TEST_F(PortSettings, UplinkTagsOfAnUnknownPortAreRefusedWithOneLine) {
    for (const unsigned port : {6u, 30u, 255u}) {
        expect_said(mc_debug, kErr,
                    "\r\n[MC_DBG_ERR]: \n port(" + std::to_string(port) + ") is invalid!",
                    [&] { EXPECT_EQ(omci_set_port_up_igmp_vlan(port, 1, 2), -1); });
    }
    expect_nothing_changed();
}

TEST_F(PortSettings, UplinkTagsHaveNoRangeOfTheirOwn) {
    portState[6].port_id = 200;
    EXPECT_EQ(omci_set_port_up_igmp_vlan(0x1C8, 1, 2), 0);
    EXPECT_THAT(calls(), ElementsAre("igmp_if_snp_uplinkvlan_set(200, {1, 0, 0}, {2, 0, 0})"));
}

TEST_F(PortSettings, UplinkTagsTraceFivePortsOfSeven) {
    expect_said(mc_debug, kDbg,
                "\r\n[MC_DBG_DBG]: omci_set_port_up_igmp_vlan is in! group num \n"
                "\r\n[MC_DBG_DBG]: \n portState0 is 0"
                "\r\n[MC_DBG_DBG]: \n portState1 is 1"
                "\r\n[MC_DBG_DBG]: \n portState2 is 2"
                "\r\n[MC_DBG_DBG]: \n portState3 is 3"
                "\r\n[MC_DBG_DBG]: \n portState4 is 4"
                "\r\n[MC_DBG_DBG]: \n logicPort is 6",
                [] { omci_set_port_up_igmp_vlan(29, 1, 2); });
    expect_said(mc_debug, kDbg, "\r\n[MC_DBG_DBG]: omci_set_port_up_igmp_vlan is in! group num \n",
                [] { omci_set_port_up_igmp_vlan(6, 1, 2); });
}

TEST_F(PortSettings, UplinkTagsHandOnTheStatusOfTheCore) {
    answer("igmp_if_snp_uplinkvlan_set", kFailure);
    expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_snp_uplinkvlan_set Fail",
                [] { EXPECT_EQ(omci_set_port_up_igmp_vlan(29, 1, 2), kFailure); });
}

// ---- Signalling VLANs --------------------------------------------------------------------

TEST_F(PortSettings, SignallingVlansAreCutAndStored) {
    EXPECT_EQ(igmp_adapt_set_sig_vlan(0x106, 0x10ABC, 0x10DEF, 0x1F123), 0);
    before_.port[6].sig_vlan = 0x0ABC;
    before_.port[6].sig_vlan_a = 0x0DEF;
    before_.port[6].sig_vlan_b = 0xF123;
    EXPECT_EQ(std::memcmp(&globle_parm, &before_, sizeof before_), 0);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(PortSettings, SignallingVlanZeroMeansNoneAndItsCompanionsAreStored) {
    globle_parm.port[2].sig_vlan = 9;
    EXPECT_EQ(igmp_adapt_set_sig_vlan(2, 0, 5, 6), 0);
    EXPECT_EQ(globle_parm.port[2].sig_vlan, 0xFFFF);
    EXPECT_EQ(globle_parm.port[2].sig_vlan_a, 5);
    EXPECT_EQ(globle_parm.port[2].sig_vlan_b, 6);
    EXPECT_EQ(igmp_adapt_set_sig_vlan(2, 0x10000, 0, 0), 0);
    EXPECT_EQ(globle_parm.port[2].sig_vlan, 0xFFFF);
    EXPECT_EQ(globle_parm.port[2].sig_vlan_b, 0);
}

TEST_F(PortSettings, SignallingVlanOfNoLogicalPortStoresNothing) {
    for (const std::uint32_t logical : {7u, 29u, 255u}) {
        EXPECT_EQ(igmp_adapt_set_sig_vlan(logical, 100, 5, 6), 0);
        EXPECT_THAT(said(mc_debug, kErr, [&] { igmp_adapt_set_sig_vlan(logical, 100, 5, 6); }),
                    StartsWith("\r\n[MC_DBG_ERR]: "));
        EXPECT_EQ(said(mc_debug, kAllCategories & ~kErr,
                       [&] { igmp_adapt_set_sig_vlan(logical, 100, 5, 6); }),
                  "");
    }
    expect_nothing_changed();
    EXPECT_EQ(globle_parm.TemplateVlan[0], 0) << "behind the port blocks";
}

// ---- Reset of one setting ----------------------------------------------------------------

TEST_F(PortSettings, ResetOfTheLeaveMode) {
    globle_parm.port[1].leavemod = 1;
    before_ = globle_parm;
    before_.port[1].leavemod = 0;
    during("igmp_if_fast_leave_enable", [] { EXPECT_EQ(globle_parm.port[1].leavemod, 0); });
    EXPECT_EQ(omci_clear_igmp_parmeter(1, 0), 0);
    EXPECT_THAT(calls(), ElementsAre("igmp_if_fast_leave_enable(1, 0)"));
    EXPECT_EQ(std::memcmp(&globle_parm, &before_, sizeof before_), 0);
}

TEST_F(PortSettings, ResetOfTheGroupLimit) {
    during("igmp_if_max_group_num_set", [] {
        EXPECT_EQ(globle_parm.port[1].grouplimit, 1024);
        EXPECT_EQ(published_limit(1), "[00000400]");
    });
    EXPECT_EQ(omci_clear_igmp_parmeter(1, 2), 0);
    EXPECT_THAT(calls(), ElementsAre("igmp_if_max_group_num_set(1, 1024)"));
    before_.port[1].grouplimit = 1024;
    EXPECT_EQ(std::memcmp(&globle_parm, &before_, sizeof before_), 0);
}

TEST_F(PortSettings, ResetOfTheUplinkTagsNeedsNoPortInTheTableButNeverReachesTheUplink) {
    for (const std::uint32_t port : {1u, 6u}) {
        forget_calls();
        EXPECT_EQ(omci_clear_igmp_parmeter(port, 1), 0);
        EXPECT_THAT(calls(),
                    ElementsAre(call("igmp_if_snp_uplinkvlan_set", port, fields(0x8100, 0xFFFF, 0),
                                     fields(0x8100, 0xFFFF, 0))));
    }
    forget_calls();
    EXPECT_EQ(omci_clear_igmp_parmeter(29, 1), -1);
    expect_nothing_changed();
}

TEST_F(PortSettings, ResetIgnoresTheCore) {
    answer("igmp_if_fast_leave_enable", kFailure);
    answer("igmp_if_snp_uplinkvlan_set", kFailure);
    answer("igmp_if_max_group_num_set", kFailure);
    for (const std::uint32_t type : {0u, 1u, 2u}) {
        EXPECT_EQ(said(mc_debug, kErr, [&] { EXPECT_EQ(omci_clear_igmp_parmeter(1, type), 0); }),
                  "");
    }
    EXPECT_EQ(calls().size(), 3u);
}

TEST_F(PortSettings, ResetOfAnythingElseDoesNothing) {
    for (const std::uint32_t type : {3u, 7u, 255u}) {
        EXPECT_EQ(omci_clear_igmp_parmeter(1, type), 0);
        EXPECT_EQ(omci_clear_igmp_parmeter(6, type), 0) << "not looked up";
        EXPECT_EQ(omci_clear_igmp_parmeter(7, type), -1);
    }
    expect_nothing_changed();
}

TEST_F(PortSettings, ResetOfPort7IsRefused) {
    EXPECT_EQ(omci_clear_igmp_parmeter(7, 0), -1);
    expect_nothing_changed();
}

TEST_F(PortSettings, ResetIsTraced) {
    expect_said(mc_debug, kCfg,
                "\r\n[MC_DBG_CFG]: \n omci_clear_igmp_parmeter is in port = 29 type = 7.\n",
                [] { omci_clear_igmp_parmeter(0x11D, 0x107); });
}

// ---- Success -----------------------------------------------------------------------------

TEST_F(PortSettings, NothingIsReportedWhenTheCoreAgrees) {
    EXPECT_EQ(said(mc_debug, kErr,
                   [] {
                       for (const Operation& operation : kOperations) operation.run(3);
                       omci_set_port_up_igmp_vlan(29, 1, 2);
                       igmp_adapt_set_sig_vlan(6, 1, 2, 3);
                       omci_clear_igmp_parmeter(6, 1);
                       igmp_adapt_port_conf_set();
                   }),
              "");
}

// ---- Ports for the core ------------------------------------------------------------------

TEST_F(PortSettings, EveryPortIsDeclaredAndTheUplinkUnderTheNumberOfTheCore) {
    EXPECT_EQ(igmp_adapt_port_conf_set(), 0);
    EXPECT_THAT(calls(), ElementsAre("igmp_port_add_all_vlan(0)", "igmp_port_add_all_vlan(1)",
                                     "igmp_port_add_all_vlan(2)", "igmp_port_add_all_vlan(3)",
                                     "igmp_port_add_all_vlan(4)", "igmp_port_add_all_vlan(5)",
                                     "igmp_port_add_all_vlan(65535)"));
}

TEST_F(PortSettings, PortsAreDeclaredByTheirKind) {
    portState[0].port_type = MC_PORT_UPLINK;
    portState[6].port_type = 0;
    EXPECT_EQ(igmp_adapt_port_conf_set(), 0);
    EXPECT_EQ(calls().front(), "igmp_port_add_all_vlan(65535)");
    EXPECT_EQ(calls().back(), "igmp_port_add_all_vlan(29)");
}

TEST_F(PortSettings, DeclarationStopsAtTheFirstPortRefused) {
    fail_call("igmp_port_add_all_vlan", 3);
    expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: \n ERROR!igmp_port_conf_set Fail",
                [] { EXPECT_EQ(igmp_adapt_port_conf_set(), -1); });
    EXPECT_EQ(calls().size(), 3u);
}

TEST_F(PortSettings, DeclarationIsTraced) {
    expect_said(mc_debug, kDbg, "\r\n[MC_DBG_DBG]: igmp_adapt_port_conf_set is in\r\n",
                [] { igmp_adapt_port_conf_set(); });
}

}  // namespace
