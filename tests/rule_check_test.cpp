// What the node says about sets of VLAN rules, held against what the library then sends.
#include "node/rule_check.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <vector>

#include "common/bytes.h"
#include "igmp/igmp.h"
#include "platform/protocol_core.h"
#include "tests/support/frames.h"
#include "tests/support/fresh_library.h"
#include "tests/support/neighbours.h"
#include "tests/support/rules.h"
#include "vlan/vlan.h"

namespace mc_test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint16_t kNetwork = 4000;
constexpr std::uint16_t kHosts = 100;
constexpr std::uint16_t kAsItComes = 0xFFFF;

class RuleCheck : public OmciTest {
 protected:
    // Hosts of the port have the VLAN that is 4000 in the network.
    static void translate(int port, std::uint16_t at_port = kHosts) {
        Rule wanted =
            rule(port, kTranslate, {at_port, kNetwork}, {kNetwork, at_port}, {kNetwork, at_port});
        ASSERT_EQ(onu_std_omci_set_multicast_vlan(&wanted), 0);
        forget_calls();
    }

    static std::vector<std::string> findings() {
        return node::odd_rules({PortVlanCfg, setVlanCfgNumber});
    }

    // The VIDs under which a query of the core for the network's VLAN leaves a port; a frame with
    // several tags stands as 0.
    static std::vector<std::uint16_t> own_query_leaves(std::uint16_t port) {
        forget_calls();
        Bytes packet = ipv4_packet("10.0.0.1", "224.0.0.1", igmp_v2_query());
        IgmpVlanTag tag{0x8100, kNetwork, 0};
        send_pkt_igmp(port, packet.data(), &tag, static_cast<std::uint16_t>(packet.size()));
        std::vector<std::uint16_t> vids;
        for (const SentFrame& sent : sent_frames()) {
            const bool is_piled =
                mc::load_be16(&sent.frame[16]) == 0x0800 && sent.frame[18] != 0x46;
            vids.push_back(is_piled ? 0 : mc::load_be16(&sent.frame[14]) & 0x0FFF);
        }
        return vids;
    }

    // The VIDs under which the network's query in its VLAN leaves ports 0 to 5.
    static std::vector<std::uint16_t> network_query_leaves() {
        forget_calls();
        const Bytes packet = ipv4_packet("10.0.0.1", "224.0.0.1", igmp_v2_query());
        FrameBuffer frame(ethernet().tag(kNetwork).ipv4(packet));
        igmp_adapt_snoop_handle(frame.data(), MC_UPLINK_PORT, frame.len(), kNetwork);
        std::vector<std::uint16_t> vids;
        for (const SentFrame& sent : sent_frames()) {
            vids.push_back(mc::load_be16(&sent.frame[14]) & 0x0FFF);
        }
        return vids;
    }
};

TEST_F(RuleCheck, ARuleOnALaterPortAloneDoesNotCarryTheNodesOwnQueries) {
    translate(2);
    EXPECT_THAT(own_query_leaves(2), ElementsAre(kNetwork));
    ASSERT_FALSE(findings().empty());
    EXPECT_EQ(
        findings().front(),
        "the rules let the node's own queries for VLAN 4000 leave port 2 in VLAN 4000, not in "
        "100: give port 0 such a rule first");
}

TEST_F(RuleCheck, WithTheSameRuleOnPort0ItDoes) {
    translate(0);
    translate(2);
    EXPECT_THAT(own_query_leaves(0), ElementsAre(kHosts));
    EXPECT_THAT(own_query_leaves(2), ElementsAre(kHosts));
    for (const std::string& line : findings()) EXPECT_EQ(line.find("own queries"), line.npos);
}

TEST_F(RuleCheck, ThatOfPort0WinsOverAnotherOne) {
    translate(0);
    translate(2, 200);
    EXPECT_THAT(own_query_leaves(2), ElementsAre(kHosts));
    EXPECT_EQ(findings().front(),
              "the rules let the node's own queries for VLAN 4000 leave port 2 in VLAN 100, not in "
              "200: give port 0 such a rule first");
}

TEST_F(RuleCheck, RulesInSeveralPlacesPileTagsUp) {
    translate(0);
    Rule other = rule(1, kTranslate, {300, 3000}, {3000, 300}, {3000, 300});
    ASSERT_EQ(onu_std_omci_set_multicast_vlan(&other), 0);
    translate(1);
    ASSERT_THAT(own_query_leaves(1), ElementsAre(kHosts, 0));
    EXPECT_EQ(
        findings().front(),
        "the rules let the node's own queries for VLAN 3000 leave port 1 in VLAN 3000, not in "
        "300: give port 0 such a rule first");
    EXPECT_EQ(
        findings()[1],
        "the rules let the node's own queries for VLAN 4000 leave port 1 in VLAN 100, 100, not "
        "in 100: give port 0 such a rule first");
}

TEST_F(RuleCheck, PortsBehindATranslatedOneGetTheNetworksQueriesAsThatOne) {
    translate(1);
    EXPECT_THAT(network_query_leaves(),
                ElementsAre(kNetwork, kHosts, kHosts, kHosts, kHosts, kHosts));
    EXPECT_EQ(findings().back(),
              "the rules let the network's queries in VLAN 4000 leave ports without a rule for it "
              "(2, 3, 4, 5) as port 1 gets them, tagged 100");
}

TEST_F(RuleCheck, TheSameRuleOnEveryPortIsWithoutFinding) {
    for (int port = 0; port < 6; ++port) translate(port);
    for (std::uint16_t port = 0; port < 6; ++port) {
        EXPECT_THAT(own_query_leaves(port), ElementsAre(kHosts));
    }
    EXPECT_THAT(network_query_leaves(),
                ElementsAre(kHosts, kHosts, kHosts, kHosts, kHosts, kHosts));
    EXPECT_THAT(findings(), IsEmpty());
}

TEST_F(RuleCheck, RulesThatLeaveTheTagAloneAreWithoutFinding) {
    Rule wanted = rule(3, kTag, {kNetwork, kNetwork}, {kNetwork, kAsItComes}, {kNetwork, kNetwork});
    ASSERT_EQ(onu_std_omci_set_multicast_vlan(&wanted), 0);
    EXPECT_THAT(own_query_leaves(3), ElementsAre(kNetwork));
    EXPECT_THAT(findings(), IsEmpty());
}

std::vector<std::string> said;

TEST_F(RuleCheck, AFindingIsSaidOnceAndAgainWhenItComesBack) {
    const auto look = [] {
        said.clear();
        node::look_at_rules([](const std::string& line) { said.push_back(line); });
        return said.size();
    };
    EXPECT_EQ(look(), 0U);
    translate(2);
    EXPECT_EQ(look(), 2U);
    EXPECT_EQ(look(), 0U);
    Rule gone = rule(2, kTranslate, {kHosts, kNetwork}, {kNetwork, kHosts}, {kNetwork, kHosts});
    ASSERT_EQ(onu_std_omci_delete_multicast_vlan(&gone), 0);
    EXPECT_EQ(look(), 0U);
    translate(2);
    EXPECT_EQ(look(), 2U);
}

}  // namespace
}  // namespace mc_test
