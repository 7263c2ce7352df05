// The configuration as text: debugPrint for the IGMP side, mldPrint and mld_adapt_globe for the MLD
// side, each compared as a whole.
#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <vector>

#include "adapt/adapt.h"
#include "mld/mld.h"
#include "tests/support/vlan_rules.h"

namespace {

using namespace mc_test;
using ::testing::IsEmpty;

class Dumps : public OmciTest {
 protected:
    static std::string igmp() {
        return printed([] { debugPrint(); });
    }
    static std::string mld() {
        return printed([] { mldPrint(); });
    }
    static std::string mld_globe() {
        return printed([] { mld_adapt_globe(); });
    }
};

const std::string kPortLines =
    "portNO(0) grouplimit(0) leavemod(0) max_bandwidth(0)\r\n"
    "portNO(1) grouplimit(0) leavemod(0) max_bandwidth(0)\r\n"
    "portNO(2) grouplimit(0) leavemod(0) max_bandwidth(0)\r\n"
    "portNO(3) grouplimit(0) leavemod(0) max_bandwidth(0)\r\n"
    "portNO(4) grouplimit(0) leavemod(0) max_bandwidth(0)\r\n"
    "portNO(5) grouplimit(0) leavemod(0) max_bandwidth(0)\r\n"
    "portNO(6) grouplimit(0) leavemod(0) max_bandwidth(0)\r\n";

const std::string kIgmpGlobalLines =
    "defaultVlan(4088), general_member_interval(1), last_member_query_count(2)\r\n"
    "last_member_query_interval(1), learningMode(0), multiMode(1)\r\n"
    "query_interval(125), query_max_resp_time(10), robustness(2), version(3)\r\n";

const std::string kMldGlobalLines =
    "defaultVlan(4088), general_member_interval(1), last_member_query_count(2)\r\n"
    "last_member_query_interval(1), learningMode(0), multiMode(2)\r\n"
    "query_interval(125), query_max_resp_time(10), robustness(2), version(3)\r\n";

TEST_F(Dumps, ShowSevenPortsAndThreeLinesOfParametersWithoutAConfiguration) {
    EXPECT_EQ(igmp(), kPortLines + kIgmpGlobalLines);
    EXPECT_EQ(mld(), kPortLines + kMldGlobalLines);
}

TEST_F(Dumps, AreUnderNoCategory) {
    expect_console({always(kPortLines + kIgmpGlobalLines)}, [] { debugPrint(); });
    expect_console({always(kPortLines + kMldGlobalLines)}, [] { mldPrint(); });
}

TEST_F(Dumps, ChangeNothingAndAskNobody) {
    given_rules<Igmp>({simple_rule(2, 10, 300)});
    given_vlans<Igmp>({300});
    expect_no_change([] {
        igmp();
        mld();
    });
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(Dumps, ReturnWhatTheirLastPrintfReturned) {
    const std::string last =
        "query_interval(125), query_max_resp_time(10), robustness(2), version(3)\r\n";
    std::int32_t of_igmp = 0;
    std::int32_t of_mld = 0;
    printed([&] {
        of_igmp = debugPrint();
        of_mld = mldPrint();
    });
    EXPECT_EQ(of_igmp, static_cast<std::int32_t>(last.size()));
    EXPECT_EQ(of_mld, static_cast<std::int32_t>(last.size()));
}

// ---- Rules -------------------------------------------------------------------------------

const Rule kRule = rule(2, {1, 2, 3}, {10, 11}, {12, 13}, {14, 15});

// Bytes are shown as the signed numbers that they are, which %u makes large.
const Rule kOddRule = rule(200, {-1, 127, -128}, {0xFFFF, 0xFFFE}, {4095, 4096}, {0, 1});

const std::string kOddRuleLines =
    "portNO(4294967240), prouptagmode(4294967295), in_up_vlan(65535), out_up_vlan(65534)\r\n"
    "portNO(4294967240), prodntagmode(127), in_dn_vlan(4095), out_dn_vlan(4096)\r\n"
    "portNO(4294967240), datedntagmode(4294967168), in_data_vlan(0), out_data_vlan(1)\r\n";

const std::string kEmptyRuleLines =
    "portNO(4294967295), prouptagmode(4), in_up_vlan(65535), out_up_vlan(65535)\r\n"
    "portNO(4294967295), prodntagmode(4), in_dn_vlan(65535), out_dn_vlan(65535)\r\n"
    "portNO(4294967295), datedntagmode(4), in_data_vlan(65535), out_data_vlan(65535)\r\n";

TEST_F(Dumps, OfTheIgmpSideShowItsRulesEachBehindAnEmptyLine) {
    given_rules<Igmp>({kRule, simple_rule(29, 20, 300)});
    PortVlanCfg[2][1] = kOddRule;
    setVlanCfgNumber[2] = 2;
    EXPECT_EQ(igmp(),
              "\nportNO(2), prouptagmode(1), in_up_vlan(10), out_up_vlan(11)\r\n"
              "portNO(2), prodntagmode(2), in_dn_vlan(12), out_dn_vlan(13)\r\n"
              "portNO(2), datedntagmode(3), in_data_vlan(14), out_data_vlan(15)\r\n"
              "\n" +
                  kOddRuleLines +
                  "\nportNO(29), prouptagmode(1), in_up_vlan(20), out_up_vlan(11)\r\n"
                  "portNO(29), prodntagmode(1), in_dn_vlan(12), out_dn_vlan(13)\r\n"
                  "portNO(29), datedntagmode(1), in_data_vlan(300), out_data_vlan(14)\r\n" +
                  kPortLines + kIgmpGlobalLines);
}

TEST_F(Dumps, OfTheIgmpSideGoByTheCountsWhateverTheSlotsHold) {
    setVlanCfgNumber[1] = 1;    // an empty slot
    PortVlanCfg[2][0] = kRule;  // not counted
    setVlanCfgNumber[3] = -1;
    PortVlanCfg[3][0] = kRule;
    EXPECT_EQ(igmp(), "\n" + kEmptyRuleLines + kPortLines + kIgmpGlobalLines);
}

// The IGMP side's counts show the MLD side's rules. Kept on purpose.
TEST_F(Dumps, OfTheMldSideShowAsManyRulesAsTheIgmpSideCounts) {
    given_rules<Mld>({kRule, simple_rule(2, 20, 300), simple_rule(3, 30, 300)});
    mldInitParams.mldPortVlanCfg[6][0] = kOddRule;
    given_rules<Igmp>({simple_rule(2, 1, 100), simple_rule(29, 2, 100)});
    given_rules<Igmp>({simple_rule(29, 3, 100)});
    EXPECT_EQ(mld(),
              "portNO(2), prouptagmode(1), in_up_vlan(10), out_up_vlan(11)\r\n"
              "portNO(2), prodntagmode(2), in_dn_vlan(12), out_dn_vlan(13)\r\n"
              "portNO(2), datedntagmode(3), in_data_vlan(14), out_data_vlan(15)\r\n" +
                  kOddRuleLines + kEmptyRuleLines + kPortLines + kMldGlobalLines);
}

TEST_F(Dumps, ShowTenRulesAPort) {
    std::vector<Rule> rules;
    for (std::uint16_t i = 0; i < 10; ++i) rules.push_back(simple_rule(2, i, 300));
    given_rules<Igmp>(rules);
    given_rules<Mld>(rules);
    EXPECT_EQ(igmp(), dump<Igmp>({rules, {}}).text);
    EXPECT_EQ(mld(), dump<Mld>({rules, {}}).text);
}

// ---- Ports -------------------------------------------------------------------------------

const std::string kPortsWithGroups =
    "portNO(0) grouplimit(1) leavemod(2) max_bandwidth(3)\r\n"
    "portNO(1) grouplimit(0) leavemod(0) max_bandwidth(0)\r\n"
    "portNO(2) grouplimit(0) leavemod(0) max_bandwidth(0)\r\n"
    "start_groupAdress(ef010203) end_groupAdress(ef0102ff) bandwidth(1000) vlan(100)\r\n"
    "start_groupAdress(0) end_groupAdress(ffffffff) bandwidth(-1) vlan(65535)\r\n"
    "portNO(3) grouplimit(0) leavemod(0) max_bandwidth(0)\r\n"
    "portNO(4) grouplimit(0) leavemod(0) max_bandwidth(0)\r\n"
    "portNO(5) grouplimit(0) leavemod(0) max_bandwidth(0)\r\n"
    "portNO(6) grouplimit(65535) leavemod(65535) max_bandwidth(-1)\r\n"
    "start_groupAdress(a) end_groupAdress(b) bandwidth(0) vlan(1)\r\n";

// Both sides keep the same settings in records of their own. Ports are shown by their index.
template <class Port>
void configure(Port (&ports)[MC_PORTS]) {
    ports[0].grouplimit = 1;
    ports[0].leavemod = 2;
    ports[0].max_bandwidth = 3;
    ports[2].auth_group[0] = {1000, 0xEF010203, 0xEF0102FF, 100, {}};
    ports[2].auth_group[1] = {1000, 0xEF010203, 0xEF0102FF, 0, {}};  // not in use
    ports[2].auth_group[3] = {0xFFFFFFFF, 0, 0xFFFFFFFF, 0xFFFF, {}};
    ports[6].grouplimit = 0xFFFF;
    ports[6].leavemod = 0xFFFF;
    ports[6].max_bandwidth = 0xFFFFFFFF;
    ports[6].auth_group[7] = {0, 10, 11, 1, {}};
}

TEST_F(Dumps, ShowPortsAndTheirGroups) {
    configure(globle_parm.port);
    globle_parm.port[2].auth_group_num = 1;  // is not asked
    EXPECT_EQ(igmp(), kPortsWithGroups + kIgmpGlobalLines);
    EXPECT_EQ(mld(), kPortLines + kMldGlobalLines);
}

TEST_F(Dumps, OfTheMldSideShowItsOwnPortsAndTheirGroups) {
    configure(mldInitParams.mldport);
    EXPECT_EQ(mld(), kPortsWithGroups + kMldGlobalLines);
    EXPECT_EQ(igmp(), kPortLines + kIgmpGlobalLines);
}

// ---- Template VLANs ----------------------------------------------------------------------

// Four on the first line, three on the next ones, and one end for the last line.
const char* const kTemplateLines[] = {
    "",
    "TemplateVlan(1)\t\r\n",
    "TemplateVlan(1)\tTemplateVlan(2)\t\r\n",
    "TemplateVlan(1)\tTemplateVlan(2)\tTemplateVlan(3)\t\r\n",
    "TemplateVlan(1)\tTemplateVlan(2)\tTemplateVlan(3)\tTemplateVlan(4)\t\r\n",
    "TemplateVlan(1)\tTemplateVlan(2)\tTemplateVlan(3)\tTemplateVlan(4)\t\r\n"
    "TemplateVlan(5)\t\r\n",
    "TemplateVlan(1)\tTemplateVlan(2)\tTemplateVlan(3)\tTemplateVlan(4)\t\r\n"
    "TemplateVlan(5)\tTemplateVlan(6)\t\r\n",
    "TemplateVlan(1)\tTemplateVlan(2)\tTemplateVlan(3)\tTemplateVlan(4)\t\r\n"
    "TemplateVlan(5)\tTemplateVlan(6)\tTemplateVlan(7)\t\r\n",
    "TemplateVlan(1)\tTemplateVlan(2)\tTemplateVlan(3)\tTemplateVlan(4)\t\r\n"
    "TemplateVlan(5)\tTemplateVlan(6)\tTemplateVlan(7)\t\r\n"
    "TemplateVlan(8)\t\r\n",
    "TemplateVlan(1)\tTemplateVlan(2)\tTemplateVlan(3)\tTemplateVlan(4)\t\r\n"
    "TemplateVlan(5)\tTemplateVlan(6)\tTemplateVlan(7)\t\r\n"
    "TemplateVlan(8)\tTemplateVlan(9)\t\r\n",
    "TemplateVlan(1)\tTemplateVlan(2)\tTemplateVlan(3)\tTemplateVlan(4)\t\r\n"
    "TemplateVlan(5)\tTemplateVlan(6)\tTemplateVlan(7)\t\r\n"
    "TemplateVlan(8)\tTemplateVlan(9)\tTemplateVlan(65535)\t\r\n",
};

TEST_F(Dumps, ShowTheMirroredTemplateVlansUpToTheIgmpSidesCount) {
    given_vlans<Igmp>({1, 2, 3, 4, 5, 6, 7, 8, 9, 0xFFFF});
    given_vlans<Mld>({1, 2, 3, 4, 5, 6, 7, 8, 9, 0xFFFF});
    std::fill(std::begin(PortVlan), std::end(PortVlan), std::uint16_t{77});
    std::fill(std::begin(mldInitParams.portVlan), std::end(mldInitParams.portVlan), 77);
    mldInitParams.srcPortNum = 5;  // the MLD side's own count is not asked
    for (int count = 0; count <= 10; ++count) {
        setVlanNumber = count;
        EXPECT_EQ(igmp(), kPortLines + kTemplateLines[count] + kIgmpGlobalLines) << count;
        EXPECT_EQ(mld(), kPortLines + kTemplateLines[count] + kMldGlobalLines) << count;
    }
    setVlanNumber = -1;
    EXPECT_EQ(igmp(), kPortLines + kIgmpGlobalLines);
    EXPECT_EQ(mld(), kPortLines + kMldGlobalLines);
}

TEST_F(Dumps, ShowTheTemplateVlansOfTheirSide) {
    given_vlans<Igmp>({100, 200});
    given_vlans<Mld>({300});
    EXPECT_EQ(igmp(), kPortLines + "TemplateVlan(100)\tTemplateVlan(200)\t\r\n" + kIgmpGlobalLines);
    EXPECT_EQ(mld(), kPortLines + "TemplateVlan(300)\tTemplateVlan(0)\t\r\n" + kMldGlobalLines);
}

// ---- Parameters --------------------------------------------------------------------------

const std::string kLargestParameters =
    "defaultVlan(65535), general_member_interval(4294967295), "
    "last_member_query_count(4294967294)\r\n"
    "last_member_query_interval(4294967293), learningMode(65534), multiMode(65533)\r\n"
    "query_interval(4294967292), query_max_resp_time(4294967291), robustness(255), "
    "version(254)\r\n";

template <class Record>
void set_largest_parameters(Record& record) {
    record.defaultVlan = 0xFFFF;
    record.general_member_interval = 0xFFFFFFFF;
    record.last_member_query_count = 0xFFFFFFFE;
    record.last_member_query_interval = 0xFFFFFFFD;
    record.learningMode = 0xFFFE;
    record.multiMode = 0xFFFD;
    record.query_interval = 0xFFFFFFFC;
    record.query_max_resp_time = 0xFFFFFFFB;
    record.robustness = 255;
    record.version = 254;
}

TEST_F(Dumps, ShowTheParametersOfTheirSide) {
    set_largest_parameters(globle_parm);
    EXPECT_EQ(igmp(), kPortLines + kLargestParameters);
    EXPECT_EQ(mld(), kPortLines + kMldGlobalLines);
    set_largest_parameters(mldInitParams);
    EXPECT_EQ(mld(), kPortLines + kLargestParameters);
}

TEST_F(Dumps, ShowTheAgeingIntervalThatIsSet) {
    setIgmpAgeEnable(300);
    EXPECT_EQ(igmp(), kPortLines +
                          "defaultVlan(4088), general_member_interval(300), "
                          "last_member_query_count(2)\r\n"
                          "last_member_query_interval(1), learningMode(0), multiMode(1)\r\n"
                          "query_interval(125), query_max_resp_time(10), robustness(2), "
                          "version(3)\r\n");
    EXPECT_THAT(calls(), IsEmpty());
}

// ---- The MLD side's other dump -----------------------------------------------------------

// It goes by the MLD side's own counts, but for the line ends between the template VLANs.
TEST_F(Dumps, OfTheWholeMldConfigurationShowItsRulesAndAllTenTemplateEntries) {
    Rule request = kRule;
    ASSERT_EQ(mld_onu_std_omci_set_multicast_vlan(&request), 0);
    request = simple_rule(29, 20, 300);
    ASSERT_EQ(mld_onu_std_omci_set_multicast_vlan(&request), 0);
    configure(mldInitParams.mldport);
    setVlanNumber = 10;
    EXPECT_EQ(mld_globe(),
              "portNO(2), prouptagmode(1), in_up_vlan(10), out_up_vlan(11)\r\n"
              "portNO(2), prodntagmode(2), in_dn_vlan(12), out_dn_vlan(13)\r\n"
              "portNO(2), datedntagmode(3), in_data_vlan(14), out_data_vlan(15)\r\n"
              "portNO(29), prouptagmode(1), in_up_vlan(20), out_up_vlan(11)\r\n"
              "portNO(29), prodntagmode(1), in_dn_vlan(12), out_dn_vlan(13)\r\n"
              "portNO(29), datedntagmode(1), in_data_vlan(300), out_data_vlan(14)\r\n" +
                  kPortsWithGroups +
                  "-14-TemplateVlan(14)\t-300-TemplateVlan(300)\t"
                  "-0-TemplateVlan(0)\t-0-TemplateVlan(0)\t\r\n"
                  "-0-TemplateVlan(0)\t-0-TemplateVlan(0)\t-0-TemplateVlan(0)\t\r\n"
                  "-0-TemplateVlan(0)\t-0-TemplateVlan(0)\t-0-TemplateVlan(0)\t\r\n" +
                  kMldGlobalLines);
}

TEST_F(Dumps, OfTheWholeMldConfigurationFollowADelete) {
    Rule first = simple_rule(2, 10, 300);
    Rule second = simple_rule(2, 20, 301);
    ASSERT_EQ(onu_std_omci_set_multicast_vlan(&first), 0);
    ASSERT_EQ(onu_std_omci_set_multicast_vlan(&second), 0);
    ASSERT_EQ(mld_onu_std_omci_delete_multicast_vlan(&first), 0);
    std::string entries = "-301-TemplateVlan(301)\t-0-TemplateVlan(0)\t\r\n";
    for (int i = 2; i < MC_TEMPLATE_VLANS; ++i) entries += "-0-TemplateVlan(0)\t\r\n";
    EXPECT_EQ(mld_globe(),
              "portNO(2), prouptagmode(1), in_up_vlan(20), out_up_vlan(11)\r\n"
              "portNO(2), prodntagmode(1), in_dn_vlan(12), out_dn_vlan(13)\r\n"
              "portNO(2), datedntagmode(1), in_data_vlan(301), out_data_vlan(14)\r\n" +
                  kPortLines + entries + kMldGlobalLines);
}

}  // namespace
