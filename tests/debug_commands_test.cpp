// Debug, show and test commands, one by one: what is special to each of them, beyond its record.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <tuple>
#include <utility>

#include "settings/settings.h"
#include "tests/support/commands.h"
#include "tests/support/forwarding.h"
#include "tests/support/vlan_rules.h"

namespace {

using namespace mc_test;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;

class DebugCommands : public OmciTest {};

// ---- Show and test -----------------------------------------------------------------------------

TEST_F(DebugCommands, TheTestFrameTakesTheWholeReceivePath) {
    const Bytes report(jion_buffer, jion_buffer + MC_JION_BUFFER_SIZE);
    run(40, {3});
    const Call received = last_call("igmp_pkt_recv");
    ASSERT_EQ(received.bytes.size(), 1u) << "the core was not asked";
    // Behind two addresses, the tag and the ethertype; the header says how long the packet is.
    const Bytes& packet = received.bytes[0];
    ASSERT_GE(packet.size(), 32u);
    EXPECT_EQ(packet, Bytes(report.begin() + 18, report.begin() + 18 + 32));
    EXPECT_EQ(packet[0], 0x46) << "IPv4 with an option";
    EXPECT_EQ(packet[24], 0x16) << "a membership report";
    EXPECT_EQ(Bytes(packet.begin() + 28, packet.begin() + 32), (Bytes{239, 255, 1, 1}));
    EXPECT_EQ(internet_checksum(Bytes(packet.begin(), packet.begin() + 24)), 0);
    EXPECT_EQ(internet_checksum(Bytes(packet.begin() + 24, packet.begin() + 32)), 0);
    ASSERT_GE(received.numbers.size(), 2u);
    EXPECT_EQ(received.numbers[0], 32);
    EXPECT_EQ(received.numbers[1], 3) << "the port";
    EXPECT_EQ(srcPortNum, 3);
}

// What forwarding writes into a frame does not stay in the one that is built in.
TEST_F(DebugCommands, TheTestFrameIsANewOneEachTime) {
    const Bytes built_in(jion_buffer, jion_buffer + MC_JION_BUFFER_SIZE);
    given_vlans<Igmp>({200});
    add_up_rule<Igmp>(3, 100, 4000);
    PortVlanCfg[3][0].in_data_vlan = 200;  // the group VLAN of what comes under VLAN 100
    for (int time = 1; time <= 2; ++time) {
        SCOPED_TRACE(time);
        forget_calls();
        run(40, {3});
        EXPECT_EQ(last_call("igmp_pkt_recv").numbers.at(2), 200);
        EXPECT_EQ(sent(), to_ports({29}, with_bytes_12_to_15(built_in, 4000)));
        EXPECT_EQ(hex({jion_buffer, jion_buffer + MC_JION_BUFFER_SIZE}), hex(built_in));
    }
}

TEST_F(DebugCommands, TheTestFrameStaysAsItIsInEveryModeAndDirection) {
    const Bytes built_in(jion_buffer, jion_buffer + MC_JION_BUFFER_SIZE);
    globle_parm.port[2].sig_vlan = 7;
    globle_parm.port[4].sig_vlan_b = 8;
    add_up_rule<Igmp>(3, 100, 4000);
    add_down_rule<Igmp>(5, 100, 300);
    for (const std::uint8_t mode : {MC_MODE_SNOOPING, MC_MODE_PROXY, MC_MODE_CONTROL}) {
        proxy_adapt_mode = mode;
        for (const std::uint8_t port : Bytes{1, 2, 3, 29}) {
            SCOPED_TRACE(line("mode %d, port %d", mode, port));
            run(40, {port});
            EXPECT_EQ(hex({jion_buffer, jion_buffer + MC_JION_BUFFER_SIZE}), hex(built_in));
            std::copy(built_in.begin(), built_in.end(), jion_buffer);
        }
    }
}

// In whatever port's name it comes.
TEST_F(DebugCommands, TheTestFrameThatIsDroppedIsReported) {
    EXPECT_THAT(said(mc_debug, kErr, [] { run(40, {30}); }),
                EndsWith("\r\n[MC_DBG_ERR]: test igmpL2PktProc error\r\n"));
    EXPECT_EQ(said(mc_debug, 0, [] { run(40, {30}); }), "");
    EXPECT_EQ(count_of("igmp_pkt_recv"), 0u);
}

void show_vlan_bytes(std::uint32_t code) {
    run(code, {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08});
    EXPECT_THAT(calls(), ElementsAre(call("igmp_show_vlan_config", 0x03040506, 0x0102, 0x0708)));
}
TEST_F(DebugCommands, ShowVlanTakesTwoBytesForItsFlag) { show_vlan_bytes(96); }
TEST_F(DebugCommands, StandardShowVlanTakesTwoBytesForItsFlag) { show_vlan_bytes(66); }

TEST_F(DebugCommands, EverythingIsSwitchedOffBy65535Alone) {
    const std::string port = call("igmp_set_debug_pkt_port", 65534);
    run(95, be32(65535));
    EXPECT_THAT(calls(),
                ElementsAre(call("igmp_set_debug_switch", 65535, 0), port, "igmp_no_debug_all()"));
    for (const std::uint32_t which : {0u, 65534u, 0x1FFFFu, 0xFFFFFFFFu}) {
        forget_calls();
        run(95, be32(which));
        EXPECT_THAT(calls(), ElementsAre(call("igmp_set_debug_switch", which, 0), port));
    }
}

TEST_F(DebugCommands, PacketDebugReportsEachOfItsTwoCalls) {
    const auto debug = [] { run(93, be32(5) + be16(6)); };
    fail_call("igmp_set_debug_pkt_port", 1, -7);
    expect_said(mc_debug, kErr, error(" igmp_set_debug_pkt_port is error ret = -7\r\n"), debug);
    EXPECT_THAT(calls(), ElementsAre("igmp_set_debug_pkt_port(6)", "igmp_set_debug_switch(5, 1)"));
    fail_call("igmp_set_debug_pkt_port", 1, 0);
    fail_call("igmp_set_debug_switch", 1, 8);
    expect_said(mc_debug, kErr, error(" igmp_set_debug_switch is error ret = 8\r\n"), debug);
}

TEST_F(DebugCommands, MldDebugIsOnFor1Alone) {
    for (const std::uint32_t value : {1u, 0u, 2u, 0x101u, 0x01000000u, 0xFFFFFFFFu}) {
        forget_calls();
        run(112, be32(value));
        run(113, be32(value) + be32(0xF1020304));
        EXPECT_THAT(calls(),
                    ElementsAre(call("mld_set_mld_debug_port", value == 1 ? 255 : 65534),
                                call("mld_set_mld_debug", value == 1 ? 255 : 0, 0xF1020304)));
    }
}

// ---- The debug mask ----------------------------------------------------------------------------

std::string result(const std::string& mask) {
    return "[mc_set_debug]: result: 0x" + mask + ".\r\n";
}

std::string switch_mask(std::uint32_t offset, std::uint32_t enable) {
    return printed([=] { run(86, be32(offset) + be32(enable)); });
}

TEST_F(DebugCommands, TheMaskOfACategoryToggles) {
    const std::tuple<int, std::uint32_t, const char*> categories[] = {
        {1, 0x01, "1"},  {2, 0x02, "2"},  {3, 0x04, "4"}, {4, 0x08, "8"},
        {5, 0x10, "10"}, {6, 0x20, "20"}, {7, 0xFF, "ff"}};
    for (const auto& [number, bits, shown] : categories) {
        const auto offset = static_cast<std::uint32_t>(number);
        SCOPED_TRACE(offset);
        const std::string traced =
            (bits & kCfg) == 0 ? ""
                               : config("SET_IGMP_PROT_DEBUG offset = " + std::to_string(offset) +
                                        " port_no = 1\r\n");
        EXPECT_EQ(switch_mask(offset, 1), result(shown));
        EXPECT_EQ(mc_debug, bits);
        EXPECT_EQ(mld_debug, bits);
        EXPECT_EQ(switch_mask(offset, 1), traced + result("0")) << "on once more is off";
        EXPECT_EQ(mc_debug, 0u);
        EXPECT_EQ(mld_debug, 0u);
        EXPECT_EQ(switch_mask(offset, 0), result("0"));
        EXPECT_EQ(mc_debug, 0u);
        EXPECT_EQ(mld_debug, 0u);
        switch_mask(offset, 0xFFFFFFFF);
        EXPECT_EQ(mc_debug, bits);
        EXPECT_EQ(mld_debug, bits);
        EXPECT_THAT(switch_mask(offset, 0), EndsWith(result("0")));
        EXPECT_EQ(mc_debug, 0u);
        EXPECT_EQ(mld_debug, 0u);
    }
}

TEST_F(DebugCommands, TheMaskKeepsItsOtherBits) {
    mc_debug = 0xFFFFFF00 & ~kCfg;
    mld_debug = 0;
    EXPECT_EQ(switch_mask(3, 1), result("ffffff04"));
    EXPECT_EQ(switch_mask(3, 1), result("ffffff00"));
    EXPECT_EQ(mld_debug, 0u);
    EXPECT_EQ(switch_mask(7, 1), result("ffffffff"));
    EXPECT_THAT(switch_mask(7, 0), EndsWith(result("ffffff00")));
    mc_debug = 0;
}

// All bits go when only some of them were on.
TEST_F(DebugCommands, AllCategoriesAreSwitchedOffWhenSomeAreOn) {
    mc_debug = 0x14;
    mld_debug = 0;
    EXPECT_EQ(switch_mask(7, 1), result("0"));
    EXPECT_EQ(mc_debug, 0u);
    EXPECT_EQ(mld_debug, 0xFFu) << "each side toggles by itself";
    mld_debug = 0;
}

TEST_F(DebugCommands, OtherOffsetsChangeNoMask) {
    for (const std::uint32_t offset : {0u, 8u, 9u, 33u, 0x101u, 0xFFFFFFFFu}) {
        for (const std::uint32_t mask : {0u, kCfg, 0xFFFFFFFFu}) {
            mc_debug = mask;
            mld_debug = mask;
            EXPECT_EQ(switch_mask(offset, 1),
                      (mask & kCfg) == 0 ? ""
                                         : config("SET_IGMP_PROT_DEBUG offset = " + number(offset) +
                                                  " port_no = 1\r\n"));
            EXPECT_EQ(mc_debug, mask);
            EXPECT_EQ(mld_debug, mask);
        }
    }
    mc_debug = 0;
    mld_debug = 0;
}

// ---- Debugging from the command line -----------------------------------------------------------

constexpr std::uint8_t kA = 0x61;
constexpr std::uint8_t kI = 0x69;
const std::string kCliError =
    "\r\n [IGMP_ERROR]process_interface_msg(4361): cli debug is error\r\n\r\n";

void debug_cli(std::uint32_t value, std::uint8_t selector, std::uint8_t sub_selector) {
    run(37, be32(value) + Bytes{selector, sub_selector});
}

TEST_F(DebugCommands, CliDebugSetsTheReportLevel) {
    for (const std::uint8_t sub_selector : Bytes{0, 1, 0x61, 0xFF}) {
        const std::pair<std::uint32_t, std::int32_t> levels[] = {
            {0, -2}, {1, 1}, {2, 5}, {0x100, 5}, {0xFFFFFFFF, 5}};
        for (const auto& [value, level] : levels) {
            const std::uint32_t word = value;
            igmp_adapt = 5;
            EXPECT_EQ(said(mc_debug, kErr | kCfg, [=] { debug_cli(word, kA, sub_selector); }), "");
            EXPECT_EQ(igmp_adapt, level) << value;
        }
    }
}

TEST_F(DebugCommands, CliDebugWithoutASubSelectorSwitchesAgeingOff) {
    globle_parm.general_member_interval = 99;
    debug_cli(1, kA, 1);
    EXPECT_EQ(globle_parm.general_member_interval, 99u);
    EXPECT_THAT(calls(), IsEmpty());
    for (const std::uint32_t value : {1u, 0u, 7u}) {
        globle_parm.general_member_interval = 99;
        globle_parm.robustness = 0x91;
        globle_parm.query_interval = 11;
        globle_parm.query_max_resp_time = 12;
        globle_parm.last_member_query_interval = 13;
        globle_parm.last_member_query_count = 14;
        forget_calls();
        debug_cli(value, kA, 0);
        EXPECT_EQ(globle_parm.general_member_interval, 0u);
        EXPECT_THAT(calls_of({"igmp_para_globle_set"}),
                    ElementsAre(call("igmp_para_globle_set", 0x91, 11, 12, 13, 14, 0)));
    }
}

TEST_F(DebugCommands, CliDebugIgnoresTheCoresAnswer) {
    answer("igmp_para_globle_set", kFailure);
    const std::string of_operation = said(mc_debug, kErr, [] { push_stored_parameters(); });
    EXPECT_EQ(said(mc_debug, kErr, [] { debug_cli(1, kA, 0); }), of_operation);
}

TEST_F(DebugCommands, CliDebugSetsTheCoresSwitches) {
    for (int selector = 0; selector <= 255; ++selector) {
        if (selector == kA) continue;
        SCOPED_TRACE(selector);
        igmpv3_rcv = 77;
        igmpv3_snd = 78;
        forget_calls();
        const World before = World::now();
        EXPECT_EQ(said(mc_debug, 0xFFFFFFFF,
                       [=] { debug_cli(0x8001FEDC, static_cast<std::uint8_t>(selector), kI); }),
                  "");
        World expected = before;
        if (selector == 8) expected.version_received = 3;
        if (selector == 9) expected.version_received = 1;
        if (selector == 10) expected.version_received = 2;
        if (selector == 11) expected.version_sent = 1;
        EXPECT_TRUE(World::now() == expected);
        if (selector >= 1 && selector <= 7) {
            EXPECT_THAT(calls(), ElementsAre(call("igmp_dbg_set", 0xFEDC, selector)));
        } else {
            EXPECT_THAT(calls(), IsEmpty());
        }
    }
}

TEST_F(DebugCommands, CliDebugRefusesEverythingElse) {
    const std::pair<std::uint8_t, std::uint8_t> refused[] = {
        {kA, kI}, {0, 0}, {1, 0}, {8, 1}, {kI, 0}, {kI, kA}, {0xE1, 0xE9}, {0, 0x68}};
    const World before = World::now();
    for (const auto& [selector, sub_selector] : refused) {
        const std::uint8_t first = selector;
        const std::uint8_t second = sub_selector;
        for (const std::uint32_t mask : {0u, 0xFFFFFFFFu}) {
            EXPECT_EQ(said(mc_debug, mask, [=] { debug_cli(1, first, second); }), kCliError);
        }
    }
    EXPECT_TRUE(World::now() == before);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(DebugCommands, CliDebugReportsDownToLevelMinus1) {
    for (const std::int32_t level : {-1, 0, 1, 100}) {
        igmp_adapt = level;
        EXPECT_EQ(printed([] { debug_cli(1, 0, 0); }), kCliError) << level;
    }
    for (const std::int32_t level : {-2, -3, INT32_MIN}) {
        igmp_adapt = level;
        EXPECT_EQ(printed([] { debug_cli(1, 0, 0); }), "") << level;
        EXPECT_EQ(printed([] { debug_cli(1, kA, kI); }), "") << level;
    }
}

// ---- The configuration on the console ----------------------------------------------------------

std::string shown_configuration() {
    return printed([] { run(39); });
}

// The list holds n entries 101, 102, ..., its mirror 201, 202, ...
void list_vlans(int count) {
    setVlanNumber = count;
    for (int i = 0; i < 10; ++i) {
        PortVlan[i] = static_cast<std::uint16_t>(i < count ? 101 + i : 0);
        globle_parm.TemplateVlan[i] = static_cast<std::uint16_t>(i < count ? 201 + i : 0);
    }
}

TEST_F(DebugCommands, TheConfigurationShowsTenEmptyTemplateEntries) {
    list_vlans(0);
    EXPECT_EQ(shown_configuration(), configuration("-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"));
}

TEST_F(DebugCommands, TheConfigurationShowsOneTemplateEntry) {
    list_vlans(1);
    EXPECT_EQ(shown_configuration(), configuration("-101-TemplateVlan(201)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"));
}

TEST_F(DebugCommands, TheConfigurationShowsFourTemplateEntries) {
    list_vlans(4);
    EXPECT_EQ(shown_configuration(),
              configuration("-101-TemplateVlan(201)\t-102-TemplateVlan(202)\t"
                            "-103-TemplateVlan(203)\t-104-TemplateVlan(204)\t\r\n"
                            "-0-TemplateVlan(0)\t\r\n"
                            "-0-TemplateVlan(0)\t\r\n"
                            "-0-TemplateVlan(0)\t\r\n"
                            "-0-TemplateVlan(0)\t\r\n"
                            "-0-TemplateVlan(0)\t\r\n"
                            "-0-TemplateVlan(0)\t\r\n"));
}

TEST_F(DebugCommands, TheConfigurationShowsFiveTemplateEntries) {
    list_vlans(5);
    EXPECT_EQ(shown_configuration(),
              configuration("-101-TemplateVlan(201)\t-102-TemplateVlan(202)\t"
                            "-103-TemplateVlan(203)\t-104-TemplateVlan(204)\t\r\n"
                            "-105-TemplateVlan(205)\t\r\n"
                            "-0-TemplateVlan(0)\t\r\n"
                            "-0-TemplateVlan(0)\t\r\n"
                            "-0-TemplateVlan(0)\t\r\n"
                            "-0-TemplateVlan(0)\t\r\n"
                            "-0-TemplateVlan(0)\t\r\n"));
}

TEST_F(DebugCommands, TheConfigurationShowsTenTemplateEntries) {
    list_vlans(10);
    EXPECT_EQ(shown_configuration(),
              configuration("-101-TemplateVlan(201)\t-102-TemplateVlan(202)\t"
                            "-103-TemplateVlan(203)\t-104-TemplateVlan(204)\t\r\n"
                            "-105-TemplateVlan(205)\t-106-TemplateVlan(206)\t"
                            "-107-TemplateVlan(207)\t\r\n"
                            "-108-TemplateVlan(208)\t-109-TemplateVlan(209)\t"
                            "-110-TemplateVlan(210)\t\r\n"));
}

TEST_F(DebugCommands, TheConfigurationIsUnderNoCategory) {
    EXPECT_EQ(said(mc_debug, 0xFFFFFFFF, [] { run(39); }), shown_configuration());
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(DebugCommands, TheConfigurationShowsEveryField) {
    std::strcpy(globle_parm.version_str, "V9.8.7");
    std::strcpy(globle_parm.build_date, "Jan 02 2003");
    std::strcpy(globle_parm.build_time, "04:05:06");
    given_rules<Igmp>({rule(0, {1, 2, 3}, {10, 11}, {12, 13}, {14, 15}), simple_rule(0, 20, 300),
                       simple_rule(29, 30, 400)});
    setVlanCfgNumber[3] = -1;
    for (int p = 0; p < MC_PORTS; ++p) {
        IgmpPortParm& port = globle_parm.port[p];
        port = {};
        port.grouplimit = static_cast<std::uint16_t>(10 + p);
        port.leavemod = static_cast<std::uint16_t>(20 + p);
        port.max_bandwidth = static_cast<std::uint32_t>(30 + p);
        port.sig_vlan = static_cast<std::uint16_t>(40 + p);
        port.sig_vlan_a = static_cast<std::uint16_t>(50 + p);
        port.sig_vlan_b = static_cast<std::uint16_t>(60 + p);
    }
    globle_parm.port[1].auth_group[0] = {1000, 0xEF010203, 0xEF0A0B0C, 0, {}};  // free
    globle_parm.port[1].auth_group[2] = {0xFFFFFFFF, 0xEF010203, 0xEF0A0B0C, 0xFEDC, {}};
    globle_parm.port[6].auth_group[7] = {5, 1, 2, 3, {}};
    globle_parm.defaultVlan = 70;
    globle_parm.general_member_interval = 71;
    globle_parm.last_member_query_count = 72;
    globle_parm.last_member_query_interval = 0xFFFFFFFF;
    globle_parm.learningMode = 74;
    globle_parm.multiMode = 75;
    globle_parm.query_interval = 76;
    globle_parm.query_max_resp_time = 77;
    globle_parm.robustness = 178;
    globle_parm.version = 179;
    testuplink = -80;
    mldInitParams.defaultVlan = 81;
    tablereturn = 82;
    list_vlans(10);
    const World before = World::now();
    EXPECT_EQ(shown_configuration(),
              "MC HAL Version Num: V9.8.7.\r\n"
              "MC HAL Compile Data Jan 02 2003: 04:05:06.\r\n"
              "portNO(0), prouptagmode(1), in_up_vlan(10), out_up_vlan(11)\r\n"
              "portNO(0), prodntagmode(2), in_dn_vlan(12), out_dn_vlan(13)\r\n"
              "portNO(0), datedntagmode(3), in_data_vlan(14), out_data_vlan(15)\r\n"
              "portNO(0), prouptagmode(1), in_up_vlan(20), out_up_vlan(11)\r\n"
              "portNO(0), prodntagmode(1), in_dn_vlan(12), out_dn_vlan(13)\r\n"
              "portNO(0), datedntagmode(1), in_data_vlan(300), out_data_vlan(14)\r\n"
              "portNO(29), prouptagmode(1), in_up_vlan(30), out_up_vlan(11)\r\n"
              "portNO(29), prodntagmode(1), in_dn_vlan(12), out_dn_vlan(13)\r\n"
              "portNO(29), datedntagmode(1), in_data_vlan(400), out_data_vlan(14)\r\n"
              "portNO(0) grouplimit(10) leavemod(20) max_bandwidth(30)\r\n"
              "port(0) svlan(40) svlan_s(50) cvlan(60) \r\n"
              "portNO(1) grouplimit(11) leavemod(21) max_bandwidth(31)\r\n"
              "start_groupAdress(ef010203) end_groupAdress(ef0a0b0c) bandwidth(-1) vlan(65244)\r\n"
              "port(1) svlan(41) svlan_s(51) cvlan(61) \r\n"
              "portNO(2) grouplimit(12) leavemod(22) max_bandwidth(32)\r\n"
              "port(2) svlan(42) svlan_s(52) cvlan(62) \r\n"
              "portNO(3) grouplimit(13) leavemod(23) max_bandwidth(33)\r\n"
              "port(3) svlan(43) svlan_s(53) cvlan(63) \r\n"
              "portNO(4) grouplimit(14) leavemod(24) max_bandwidth(34)\r\n"
              "port(4) svlan(44) svlan_s(54) cvlan(64) \r\n"
              "portNO(5) grouplimit(15) leavemod(25) max_bandwidth(35)\r\n"
              "port(5) svlan(45) svlan_s(55) cvlan(65) \r\n"
              "portNO(6) grouplimit(16) leavemod(26) max_bandwidth(36)\r\n"
              "start_groupAdress(1) end_groupAdress(2) bandwidth(5) vlan(3)\r\n"
              "port(6) svlan(46) svlan_s(56) cvlan(66) \r\n"
              "-101-TemplateVlan(201)\t-102-TemplateVlan(202)\t-103-TemplateVlan(203)\t"
              "-104-TemplateVlan(204)\t\r\n"
              "-105-TemplateVlan(205)\t-106-TemplateVlan(206)\t-107-TemplateVlan(207)\t\r\n"
              "-108-TemplateVlan(208)\t-109-TemplateVlan(209)\t-110-TemplateVlan(210)\t\r\n"
              "defaultVlan(70), general_member_interval(71), last_member_query_count(72)\r\n"
              "last_member_query_interval(4294967295), learningMode(74), multiMode(75)\r\n"
              "query_interval(76), query_max_resp_time(77), robustness(178), version(179)\r\n"
              "testuplink = (-80),mlddefaultVlan(81),tablereturn = (82)\r\n");
    EXPECT_TRUE(World::now() == before);
}

}  // namespace
