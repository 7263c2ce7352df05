/*
 * The router side of the multicast core, in emulated time: when it asks, who asks where several
 * could, and which user ports have a router behind them. All of it is told once for both families.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "common/bytes.h"
#include "node/core/multicast_core.h"
#include "platform/protocol_core.h"
#include "support/core_packets.h"
#include "support/core_ports.h"

namespace {

using mcore::Drop;
using mcore::Family;
using mcore::RouterPort;
using mcore::Sent;
using namespace core_packets;  // NOLINT(google-build-using-namespace): a vocabulary

constexpr std::uint64_t kSecond = 1'000'000;
constexpr std::uint16_t kVlan = 4088;  // the default
constexpr std::uint32_t kUplink = 29;
constexpr std::uint32_t kProxyIp = 0x0A190E14;  // 10.25.14.20
constexpr std::uint32_t kHost = 0xC0000214;     // 192.0.2.20
constexpr std::uint32_t kGroup = 0xEF010101;    // 239.1.1.1
constexpr std::uint32_t kHighest = 0xFFFFFFFF;

enum Mode : std::uint8_t { kSnooping = 1, kProxy = 2, kControl = 3 };

struct SentPacket {
    Family family;
    std::uint16_t port;
    std::uint16_t vid;
    Bytes bytes;
};

std::vector<SentPacket> sent;

extern "C" {

void keep_igmp(std::uint16_t port, std::uint8_t* packet, IgmpVlanTag* tag, std::uint16_t length) {
    sent.push_back({Family::kIpv4, port, tag->vid, {packet, packet + length}});
}

void keep_mld(std::uint8_t* packet, std::uint16_t port, void* /*tag*/, std::uint16_t length) {
    sent.push_back({Family::kIpv6, port, kVlan, {packet, packet + length}});
}

std::int32_t program_igmp(IgmpGroupEntry* /*group*/) { return 0; }
std::int32_t program_mld(MldGroupEntry* /*group*/) { return 0; }
}

/* fe80::10.25.14.20 for 10.25.14.20, and for 255.255.255.255 the highest link-local address. */
Ipv6 link_local(std::uint32_t address) {
    Ipv6 all{0xFE, 0x80};
    if (address == kHighest) std::fill(all.begin() + 8, all.end(), std::uint8_t{0xFF});
    mc::store_be32(&all[12], address);
    return all;
}

/* What a router says of itself in a query. */
struct Says {
    std::uint8_t robustness = 2;
    std::uint8_t interval_s = 125;
    std::uint32_t response_s = 10;
    bool is_older = false;  // IGMPv2 or MLDv1
    bool is_of_group = false;
    std::vector<std::uint8_t> sources{};  // by their last bytes
    bool suppresses = false;              // the S flag
};

constexpr std::uint32_t kSource4 = 0xC6336400;  // 198.51.100.0

Ipv6 source6(std::uint8_t number) {
    Ipv6 address = kSource6;
    address.back() = number;
    return address;
}

/* What the newest versions have behind the group. */
Bytes behind_group(const Says& says) {
    return Bytes{static_cast<std::uint8_t>((says.suppresses ? 8 : 0) | says.robustness),
                 says.interval_s} +
           be16(static_cast<std::uint32_t>(says.sources.size()));
}

Bytes igmp_query(std::uint32_t from, const Says& says) {
    Bytes message{0x11, static_cast<std::uint8_t>(says.response_s * 10), 0, 0};
    message = message + be32(says.is_of_group ? kGroup : 0);
    if (!says.is_older) message = message + behind_group(says);
    for (const std::uint8_t source : says.sources) message = message + be32(kSource4 + source);
    return ipv4(from, 0xE0000001, with_checksum(message));
}

Bytes mld_query(std::uint32_t from, const Says& says) {
    constexpr Ipv6 kAllNodes{0xFF, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    Bytes message = Bytes{130, 0, 0, 0} + be16(says.response_s * 1000) + be16(0);
    const Ipv6 group = says.is_of_group ? kGroup6 : Ipv6{};
    message = message + bytes_of(group);
    if (!says.is_older) message = message + behind_group(says);
    for (const std::uint8_t source : says.sources) {
        message = message + bytes_of(source6(source));
    }
    return ipv6(link_local(from), kAllNodes, message);
}

class RouterSide : public ::testing::TestWithParam<Family> {
 protected:
    void SetUp() override {
        mcore::reset();
        now_ = 1000 * kSecond;
        mcore::set_clock(now_);
        start_node();
        settle();
    }

    void TearDown() override { mcore::watch_router_ports({}); }

    /* The node starts, and its clock stands still yet. */
    static void start_node() {
        sent.clear();
        igmp_data_init();
        mld_data_init();
        igmp_register_switch_send_pkt(keep_igmp);
        igmp_register_switch_add_table(program_igmp);
        igmp_register_switch_del_table(program_igmp);
        mld_register_switch_send_pkt(keep_mld);
        mld_register_switch_add_table(program_mld);
        mld_register_switch_del_table(program_mld);
        declare_ports_to_core();
        igmp_globle_proxyip_set(kProxyIp);
    }

    void settle() const {
        mcore::set_clock(now_);
        sent.clear();
    }

    void wait(std::uint64_t us) {
        now_ += us;
        mcore::set_clock(now_);
    }
    void wait_seconds(std::uint64_t seconds) { wait(seconds * kSecond); }

    static bool is_igmp() { return GetParam() == Family::kIpv4; }

    /* MLD has the same modes under other numbers. */
    static void set_mode(Mode mode) {
        constexpr std::uint16_t kMldModes[]{0, 2, 1, 3};
        if (is_igmp()) {
            igmp_mode_switch_globle(mode);
        } else {
            mld_proxy_snoop_set_globle(kMldModes[mode]);
        }
    }

    static std::int32_t receive(std::uint32_t port, Bytes packet, std::uint32_t vlan = kVlan) {
        packet.shrink_to_fit();
        const auto length = static_cast<std::uint16_t>(packet.size());
        if (is_igmp()) return igmp_pkt_recv(packet.data(), length, port, vlan, nullptr);
        MldReceiveRecord about{};
        return mld_pkt_recv(packet.data(), length, port, vlan, &about);
    }

    static std::int32_t hear_query(std::uint32_t port, std::uint32_t from, const Says& says = {},
                                   std::uint32_t vlan = kVlan) {
        return receive(port, is_igmp() ? igmp_query(from, says) : mld_query(from, says), vlan);
    }

    static Bytes a_report() {
        return is_igmp() ? v2_report(kHost, kGroup) : mld_report(kHostA6, kGroup6);
    }
    static Bytes a_leave() { return is_igmp() ? leave(kHost, kGroup) : mld_done(kHostA6, kGroup6); }

    /* With a router alert option, which hosts of IGMP may leave out. */
    static Bytes in_new_packet(const Bytes& packet) {
        constexpr std::size_t kHeader = 20;
        if (!is_igmp()) return packet;
        Bytes header(packet.begin(), packet.begin() + kHeader);
        header[0] = 0x46;
        header[3] = static_cast<std::uint8_t>(header[3] + 4);
        header[10] = header[11] = 0;
        return with_checksum(header + Bytes{0x94, 4, 0, 0}, 10) +
               Bytes(packet.begin() + kHeader, packet.end());
    }

    /* RFC 4286: an advertisement with its interval, or a termination. */
    static Bytes discovery(std::uint8_t kind, std::uint32_t from, const Bytes& rest) {
        constexpr std::uint32_t kAllSnoopers = 0xE000006A;  // 224.0.0.106
        constexpr Ipv6 kAllSnoopers6{0xFF, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x6A};
        const auto type = static_cast<std::uint8_t>((is_igmp() ? 0x30 : 151) + kind);
        const Bytes message = Bytes{type} + rest;
        return is_igmp() ? ipv4(from, kAllSnoopers, with_checksum(message))
                         : ipv6(link_local(from), kAllSnoopers6, message + Bytes(4, 0));
    }
    static Bytes advertisement(std::uint32_t from, std::uint8_t interval_s) {
        return discovery(0, from, {interval_s, 0, 0, 0, 125, 0, 2});
    }
    static Bytes termination(std::uint32_t from) { return discovery(2, from, {0, 0, 0}); }

    static std::vector<SentPacket> of_family() {
        std::vector<SentPacket> ours;
        for (const SentPacket& one : std::exchange(sent, {})) {
            if (one.family == GetParam()) ours.push_back(one);
        }
        return ours;
    }

    /* The ports of what was sent since it was last asked for. */
    static std::vector<int> asked() {
        std::vector<int> ports;
        for (const SentPacket& one : of_family()) ports.push_back(one.port);
        return ports;
    }

    /* Those of which a group is asked for, reports to the uplink and to routers left out. */
    static std::vector<int> asked_about_groups() {
        std::vector<int> ports;
        for (const SentPacket& one : of_family()) {
            const std::uint8_t type = one.bytes.at(is_igmp() ? 24 : 48);
            if (type == (is_igmp() ? 0x11 : 130)) ports.push_back(one.port);
        }
        return ports;
    }

    /* The ports that have a membership. */
    static std::vector<int> members() {
        std::vector<int> ports;
        for (const auto& one : mcore::memberships()) {
            if (one.family == GetParam()) ports.push_back(static_cast<int>(one.port));
        }
        return ports;
    }

    static std::string text_of(std::uint32_t address) {
        mcore::Address bytes{};
        if (is_igmp()) {
            mc::store_be32(bytes.data(), address);
        } else {
            std::ranges::copy(link_local(address), bytes.begin());
        }
        return mcore::text(GetParam(), bytes);
    }

    /* "2/4088 10.25.14.9 for 255 s" of each router. */
    std::vector<std::string> routers() const {
        std::vector<std::string> all;
        for (const RouterPort& one : mcore::router_ports()) {
            all.push_back(std::to_string(one.port) + "/" + std::to_string(one.vlan) + " " +
                          mcore::text(one.family, one.address) + " for " +
                          std::to_string((one.expires_us - now_) / kSecond) + " s");
        }
        return all;
    }

    std::uint64_t now_ = 0;
};

using Ports = std::vector<int>;
using Texts = std::vector<std::string>;

const Ports kEveryPort{0, 1, 2, 3, 4, 5};
const Ports kAllButTwo{0, 1, 3, 4, 5};
constexpr std::uint32_t kLower = kProxyIp - 11;   // 10.25.14.9
constexpr std::uint32_t kLower2 = kProxyIp - 10;  // 10.25.14.10
constexpr std::uint32_t kHigher = kProxyIp + 10;  // 10.25.14.30

INSTANTIATE_TEST_SUITE_P(Families, RouterSide, ::testing::Values(Family::kIpv4, Family::kIpv6),
                         [](const auto& family) {
                             return family.param == Family::kIpv4 ? "Igmp" : "Mld";
                         });

// ---- The queries themselves ----

TEST_P(RouterSide, AGeneralQueryOfTheNewestVersion) {
    set_mode(kProxy);
    const Bytes igmp{
        0x46, 0xC0, 0x00, 0x24,  // IPv4, 24 bytes of header, 36 in all
        0x00, 0x00, 0x00, 0x00,  //
        0x01, 0x02, 0x2B, 0xE6,  // TTL 1, IGMP, checksum
        0x0A, 0x19, 0x0E, 0x14,  // from the proxy address
        0xE0, 0x00, 0x00, 0x01,  // to 224.0.0.1
        0x94, 0x04, 0x00, 0x00,  // router alert
        0x11, 0x64, 0xEC, 0x1E,  // query, 10 s, checksum
        0x00, 0x00, 0x00, 0x00,  // of all groups
        0x02, 0x7D, 0x00, 0x00,  // robustness 2, 125 s, no sources
    };
    const SentPacket last = of_family().at(5);
    EXPECT_EQ(last.port, 5);
    EXPECT_EQ(last.vid, kVlan);
    EXPECT_EQ(last.bytes, is_igmp() ? igmp : mld_query(kProxyIp, {}));
}

TEST_P(RouterSide, LongTimesAreSentAsCodes) {
    igmp_para_globle_set(2, 1000, 100, 1, 2, 1);
    set_mode(kProxy);
    const Bytes query = of_family().at(0).bytes;
    // 1000 tenths and 1000 s: 0x80 + exponent 2 and mantissa 15, (15 + 16) << 5 = 992.
    EXPECT_EQ(query.at(query.size() - 3), 0xAF);
    if (is_igmp()) {
        EXPECT_EQ(query.at(25), 0xAF);
    }
}

// ---- When the node asks ----

TEST_P(RouterSide, AQuerierAsksInABurstAndThenEveryInterval) {
    igmp_para_globle_set(3, 100, 10, 1, 2, 1);
    set_mode(kProxy);
    std::vector<std::uint64_t> asked_at;
    for (std::uint64_t second = 0; second <= 400; ++second) {
        if (second > 0) wait_seconds(1);
        if (asked() == kEveryPort) asked_at.push_back(second);
    }
    EXPECT_EQ(asked_at, (std::vector<std::uint64_t>{0, 25, 50, 150, 250, 350}));
}

TEST_P(RouterSide, ARobustnessOfOneMakesNoBurst) {
    igmp_para_rv_globle_set(1);
    set_mode(kProxy);
    EXPECT_EQ(asked(), kEveryPort);
    wait(125 * kSecond - 1);
    EXPECT_EQ(asked(), Ports{});
    wait(1);
    EXPECT_EQ(asked(), kEveryPort);
}

TEST_P(RouterSide, OtherModesAskNothingByThemselves) {
    set_mode(kProxy);
    sent.clear();
    for (const Mode mode : {kControl, kSnooping}) {
        set_mode(mode);
        wait_seconds(1000);
        EXPECT_EQ(asked(), Ports{});
    }
    EXPECT_EQ(mcore::next_timer(), std::nullopt);
}

TEST_P(RouterSide, ANodeThatBeginsAnewInProxyModeAsksNoMore) {
    set_mode(kProxy);
    igmp_data_init();
    mld_data_init();
    mld_register_switch_send_pkt(keep_mld);
    igmp_register_switch_send_pkt(keep_igmp);
    sent.clear();
    wait_seconds(1000);
    EXPECT_EQ(asked(), Ports{});
    EXPECT_EQ(mcore::next_timer(), std::nullopt);
}

TEST_P(RouterSide, AFamilyThatBeginsAnewInProxyModeAsksNoMore) {
    set_mode(kProxy);
    if (is_igmp()) igmp_data_init();
    mld_data_init();
    wait_seconds(1000);
    EXPECT_EQ(mcore::next_timer(), std::nullopt);
}

TEST_P(RouterSide, AnotherQueryIntervalCountsFromNow) {
    igmp_para_rv_globle_set(1);
    set_mode(kProxy);
    sent.clear();
    wait_seconds(100);
    igmp_para_qi_globle_set(60);
    wait_seconds(59);
    EXPECT_EQ(asked(), Ports{});
    wait_seconds(1);
    EXPECT_EQ(asked(), kEveryPort);
}

TEST_P(RouterSide, ANodeThatStartsAsksOnceWhenItsClockIsMoved) {
    start_node();
    EXPECT_EQ(sent.size(), 0U) << "the node has no address yet";
    mcore::set_clock(now_);
    const auto queries = of_family();
    ASSERT_EQ(queries.size(), 6U);
    // A query that wins no election.
    EXPECT_EQ(queries[3].bytes.size(), is_igmp() ? 36U : 76U);
    if (is_igmp()) {
        EXPECT_EQ(mc::load_be32(&queries[3].bytes[12]), 0U);
    } else {
        EXPECT_EQ(queries[3].bytes, mld_query(kHighest, {}));
    }
    wait_seconds(1000);
    EXPECT_EQ(asked(), Ports{});
}

TEST_P(RouterSide, ANodeThatStartsInControlModeAsksOnceToo) {
    start_node();
    set_mode(kControl);
    wait_seconds(1000);
    EXPECT_EQ(asked(), kEveryPort);
}

TEST_P(RouterSide, ANodeThatStartsInProxyModeAsksInItsBurstOnly) {
    start_node();
    set_mode(kProxy);
    mcore::set_clock(now_);
    EXPECT_EQ(asked(), kEveryPort);
}

TEST_P(RouterSide, APortThatIsDeclaredAgainIsNotAskedAgain) {
    igmp_port_add_all_vlan(2);
    mld_port_conf_set(2, 2);
    wait_seconds(1);
    EXPECT_EQ(asked(), Ports{});
}

TEST_P(RouterSide, APortWhoseLinkComesUpIsAskedInEveryMode) {
    for (const Mode mode : {kControl, kProxy, kSnooping}) {
        set_mode(mode);
        wait_seconds(40);
        sent.clear();
        mcore::link_up(3);
        const auto queries = of_family();
        ASSERT_EQ(queries.size(), 1U);
        EXPECT_EQ(queries[0].port, 3);
        const std::uint32_t quiet = is_igmp() ? 0 : kHighest;
        const std::uint32_t from = mode == kProxy ? kProxyIp : quiet;
        const Bytes message = is_igmp() ? igmp_query(from, {}) : mld_query(from, {});
        EXPECT_EQ(Bytes(queries[0].bytes.end() - 12, queries[0].bytes.end()),
                  Bytes(message.end() - 12, message.end()));
    }
}

TEST_P(RouterSide, LinksOfOtherPortsAskNobody) {
    mcore::link_up(kUplink);
    mcore::link_up(7);
    EXPECT_EQ(asked(), Ports{});
}

// ---- Elections ----

TEST_P(RouterSide, ALowerAddressAsksInTheNodesPlace) {
    set_mode(kProxy);
    sent.clear();
    EXPECT_EQ(hear_query(2, kLower), 0);
    mcore::link_up(2);
    EXPECT_EQ(asked(), Ports{});
    wait_seconds(125);
    EXPECT_EQ(asked(), kAllButTwo);
}

TEST_P(RouterSide, AHigherAddressDoesNot) {
    set_mode(kProxy);
    wait_seconds(32);
    sent.clear();
    EXPECT_EQ(hear_query(2, kHigher), 0);
    wait_seconds(125);
    EXPECT_EQ(asked(), kEveryPort);
}

TEST_P(RouterSide, TheNodeTakesOverWhenTheOtherQuerierHasGone) {
    igmp_para_globle_set(1, 200, 10, 1, 2, 1);
    set_mode(kProxy);
    sent.clear();
    hear_query(2, kLower, {.robustness = 3, .interval_s = 40, .response_s = 12});
    wait(126 * kSecond - 1);  // 3 x 40 + 12 / 2
    EXPECT_EQ(asked(), Ports{});
    wait(1);
    EXPECT_EQ(asked(), Ports{2});
    wait_seconds(74);
    EXPECT_EQ(asked(), kEveryPort);
}

TEST_P(RouterSide, EachQueryOfTheOtherQuerierCountsAnew) {
    set_mode(kProxy);
    hear_query(2, kLower, {.interval_s = 20});
    for (int i = 0; i < 10; ++i) {
        wait_seconds(40);
        hear_query(2, kLower, {.interval_s = 20});
    }
    EXPECT_EQ(routers(), Texts{"2/4088 " + text_of(kLower) + " for 45 s"});
}

TEST_P(RouterSide, TheLastLowerQuerierDecides) {
    igmp_para_globle_set(1, 200, 10, 1, 2, 1);
    set_mode(kProxy);
    sent.clear();
    hear_query(2, kLower, {.robustness = 1, .interval_s = 10});
    hear_query(2, kLower2, {.robustness = 1, .interval_s = 20});
    wait_seconds(24);
    EXPECT_EQ(asked(), Ports{});
    wait_seconds(1);
    EXPECT_EQ(asked(), Ports{2});
}

TEST_P(RouterSide, AnOlderQueryCountsWithTheNodesOwnValues) {
    igmp_para_globle_set(2, 30, 10, 1, 2, 1);
    hear_query(2, kLower, {.response_s = 8, .is_older = true});
    EXPECT_EQ(routers(), Texts{"2/4088 " + text_of(kLower) + " for 64 s"});
}

TEST_P(RouterSide, WhatAGroupQueryLeavesForAnAnswerIsNoResponseInterval) {
    constexpr std::uint32_t kResponse = 40;
    igmp_para_globle_set(2, 30, kResponse, 1, 2, 1);
    const Bytes v2 = ipv4(kLower, kGroup, igmp(0x11, kGroup, 10));
    const Bytes mld = mld_v1(130, link_local(kLower), kGroup6);
    EXPECT_EQ(receive(2, is_igmp() ? v2 : mld), 0);
    EXPECT_EQ(routers(), Texts{"2/4088 " + text_of(kLower) + " for 80 s"});
}

TEST_P(RouterSide, TheLongestResponseTimesAreRead) {
    igmp_para_globle_set(1, 100, 10, 1, 2, 1);
    if (is_igmp()) {
        // Version 1 says nothing and means 10 s; the code FF is 3174.4 s.
        receive(2, ipv4(kLower, 0xE0000001, igmp(0x11, 0, 0)));
        const Bytes message{0x11, 0xFF, 0, 0, 0, 0, 0, 0, 1, 100, 0, 0};
        receive(3, ipv4(kLower, 0xE0000001, with_checksum(message)));
        EXPECT_EQ(routers(),
                  (Texts{"2/4088 10.25.14.9 for 105 s", "3/4088 10.25.14.9 for 1687 s"}));
    } else {
        // FFFF is 8387.584 s.
        const Bytes message = Bytes{130, 0, 0, 0, 0xFF, 0xFF} + Bytes(18, 0) + Bytes{1, 100, 0, 0};
        receive(3, ipv6(link_local(kLower), kGroup6, message));
        EXPECT_EQ(routers(), Texts{"3/4088 " + text_of(kLower) + " for 4293 s"});
    }
}

TEST_P(RouterSide, WhoIsNoQuerierNeitherGivesWayNorTakesOver) {
    hear_query(2, kLower, {.interval_s = 10});
    mcore::link_up(2);
    EXPECT_EQ(asked(), Ports{2});
    wait_seconds(25);
    EXPECT_EQ(routers(), Texts{});
    EXPECT_EQ(asked(), Ports{});
}

TEST_P(RouterSide, MembershipsAgeByTheValuesOfTheOtherQuerier) {
    set_mode(kProxy);
    hear_query(2, kLower, {.robustness = 3, .interval_s = 60});
    receive(2, a_report());
    receive(3, a_report());
    wait_seconds(3 * 60 - 1);
    hear_query(2, kLower, {.robustness = 3, .interval_s = 60});
    wait_seconds(10);
    EXPECT_EQ(members(), (Ports{2, 3}));
    wait_seconds(1);
    EXPECT_EQ(members(), (Ports{3}));
}

TEST_P(RouterSide, AnOlderQuerierSaysNothingOfItsValues) {
    set_mode(kProxy);
    hear_query(2, kLower, {.is_older = true});
    receive(2, a_report());
    wait_seconds(2 * 125 + 10 - 1);
    EXPECT_EQ(members(), (Ports{2}));
    wait_seconds(1);
    EXPECT_EQ(members(), (Ports{}));
}

TEST_P(RouterSide, WhoIsNoQuerierAsksAboutNoGroup) {
    set_mode(kProxy);
    hear_query(2, kLower);
    for (const std::uint32_t port : {2, 3}) receive(port, a_report());
    sent.clear();
    for (const std::uint32_t port : {2, 3}) receive(port, a_leave());
    EXPECT_EQ(asked_about_groups(), (Ports{3}));
    wait_seconds(2);
    EXPECT_EQ(members(), (Ports{}));
}

TEST_P(RouterSide, SegmentsElectApart) {
    igmp_vlan_add(100);
    set_mode(kProxy);
    wait_seconds(32);
    sent.clear();
    hear_query(2, kLower, {}, 100);
    wait_seconds(125);
    EXPECT_EQ(asked(), kEveryPort) << "the other querier is in another VLAN";
}

TEST_P(RouterSide, ANodeThatBecomesTheQuerierHeedsWhomItHasHeard) {
    hear_query(2, kLower);
    set_mode(kProxy);
    EXPECT_EQ(asked(), kAllButTwo);
}

// ---- Timers that another querier lowers ----

/* A host in EXCLUDE {}, or one that wants the sources 1 and 2. */
class LoweredTimers : public RouterSide {
 protected:
    void SetUp() override {
        RouterSide::SetUp();
        set_mode(kProxy);
        hear_query(2, kLower);
    }

    static Bytes sources_report(std::uint8_t type, const std::vector<std::uint8_t>& sources) {
        std::vector<std::uint32_t> all4;
        std::vector<Ipv6> all6;
        for (const std::uint8_t source : sources) {
            all4.push_back(kSource4 + source);
            all6.push_back(source6(source));
        }
        return is_igmp() ? v3_report(kHost, type, kGroup, all4)
                         : mld_v2_report(kHostA6, type, kGroup6, all6);
    }

    static std::vector<std::size_t> sources_held() {
        std::vector<std::size_t> counts;
        for (const auto& one : mcore::memberships()) counts.push_back(one.sources.size());
        return counts;
    }
};

INSTANTIATE_TEST_SUITE_P(Families, LoweredTimers, ::testing::Values(Family::kIpv4, Family::kIpv6),
                         [](const auto& family) {
                             return family.param == Family::kIpv4 ? "Igmp" : "Mld";
                         });

using Counts = std::vector<std::size_t>;

TEST_P(LoweredTimers, EndAGroupThatNobodyAnswersFor) {
    receive(2, a_report());
    wait_seconds(5);
    hear_query(2, kLower, {.response_s = 1, .is_of_group = true});
    wait(2 * kSecond - 1);
    EXPECT_EQ(sources_held().size(), 1U);
    wait(1);
    EXPECT_EQ(sources_held().size(), 0U);
}

TEST_P(LoweredTimers, KeepAGroupThatAHostAnswersFor) {
    receive(2, a_report());
    wait_seconds(5);
    hear_query(2, kLower, {.response_s = 1, .is_of_group = true});
    wait_seconds(1);
    receive(2, a_report());
    wait_seconds(10);
    EXPECT_EQ(sources_held().size(), 1U);
}

TEST_P(LoweredTimers, EndASourceThatNobodyAnswersFor) {
    receive(2, sources_report(kAllow, {1, 2}));
    wait_seconds(5);
    hear_query(2, kLower, {.response_s = 1, .is_of_group = true, .sources = {2, 3}});
    wait(2 * kSecond - 1);
    EXPECT_EQ(sources_held(), Counts{2});
    wait(1);
    EXPECT_EQ(sources_held(), Counts{1});
}

TEST_P(LoweredTimers, AreNotThoseOfSourcesWhereTheGroupIsAskedFor) {
    receive(2, sources_report(kAllow, {1, 2}));
    wait_seconds(5);
    hear_query(2, kLower, {.response_s = 1, .is_of_group = true});
    wait_seconds(10);
    EXPECT_EQ(sources_held(), Counts{2});
}

TEST_P(LoweredTimers, AreLeftAloneByTheFlagAndByGeneralQueries) {
    receive(2, a_report());
    wait_seconds(5);
    hear_query(2, kLower, {.response_s = 1, .is_of_group = true, .suppresses = true});
    hear_query(2, kLower, {.response_s = 1});
    wait_seconds(10);
    EXPECT_EQ(sources_held().size(), 1U);
}

TEST_P(LoweredTimers, AreLeftAloneByWhoIsNotTheQuerier) {
    receive(3, a_report());
    wait_seconds(5);
    hear_query(3, kHigher, {.response_s = 1, .is_of_group = true});
    wait_seconds(10);
    EXPECT_EQ(sources_held().size(), 1U);
}

// ---- Router ports ----

TEST_P(RouterSide, AQueryMakesARouterPortUntilItsRouterIsGone) {
    for (const Mode mode : {kControl, kProxy, kSnooping}) {
        set_mode(mode);
        hear_query(2, kHigher);
        EXPECT_EQ(routers(), Texts{"2/4088 " + text_of(kHigher) + " for 255 s"});
        wait(255 * kSecond - 1);
        EXPECT_EQ(routers().size(), 1U);
        wait(1);
        EXPECT_EQ(routers(), Texts{});
    }
}

TEST_P(RouterSide, AnAdvertisementMakesARouterPortForThreeOfItsIntervals) {
    EXPECT_EQ(receive(4, advertisement(kHigher, 20)), 0);
    EXPECT_EQ(routers(), Texts{"4/4088 " + text_of(kHigher) + " for 60 s"});
    wait(60 * kSecond - 1);
    EXPECT_EQ(routers().size(), 1U);
    wait(1);
    EXPECT_EQ(routers(), Texts{});
}

TEST_P(RouterSide, NoRouterAnnouncesLessThanFourSeconds) {
    receive(4, advertisement(kHigher, 0));
    EXPECT_EQ(routers(), Texts{"4/4088 " + text_of(kHigher) + " for 12 s"});
}

TEST_P(RouterSide, ATerminationEndsARouterPortASecondLater) {
    receive(4, advertisement(kHigher, 20));
    EXPECT_EQ(receive(4, termination(kLower)), 0);
    EXPECT_EQ(routers(), Texts{"4/4088 " + text_of(kHigher) + " for 60 s"});
    EXPECT_EQ(receive(4, termination(kHigher)), 0);
    wait_seconds(1);
    EXPECT_EQ(routers(), Texts{});
}

TEST_P(RouterSide, AnAdvertisementWinsNoElection) {
    receive(2, advertisement(kLower, 20));
    set_mode(kProxy);
    EXPECT_EQ(asked(), kEveryPort);
}

TEST_P(RouterSide, RoutersOfTheUplinkMakeNoRouterPort) {
    const std::uint32_t uplink = is_igmp() ? 0xFFFF : kUplink;
    hear_query(uplink, kLower);
    receive(uplink, advertisement(kLower, 20));
    EXPECT_EQ(routers(), Texts{});
}

TEST_P(RouterSide, AQueryCutShortIsRefused) {
    Bytes query = is_igmp() ? igmp_query(kLower, {}) : mld_query(kLower, {});
    constexpr std::size_t kIpv4Header = 20;
    if (is_igmp()) {
        Bytes message(query.begin() + kIpv4Header, query.end() - 1);
        message[2] = message[3] = 0;
        query = ipv4(kLower, 0xE0000001, with_checksum(message));
    } else {
        query = ipv6(link_local(kLower), kGroup6, Bytes{130} + Bytes(26, 0));
    }
    EXPECT_EQ(receive(2, query), 1);
    if (!is_igmp()) {
        query = ipv6(link_local(kLower), kGroup6, Bytes{130} + Bytes(22, 0));
        EXPECT_EQ(receive(2, query), 1);
    }
    EXPECT_EQ(mcore::counters()[Drop::kTruncated], is_igmp() ? 1U : 2U);
    EXPECT_EQ(routers(), Texts{});
}

TEST_P(RouterSide, AVlanThatEndsTakesItsRoutersAlong) {
    igmp_vlan_add(100);
    hear_query(2, kLower, {}, 100);
    EXPECT_EQ(routers().size(), 1U);
    igmp_vlan_del(100);
    EXPECT_EQ(routers(), Texts{});
    EXPECT_EQ(hear_query(2, kLower, {}, 100), 1);
    EXPECT_EQ(receive(2, advertisement(kLower, 20), 100), 1);
    EXPECT_EQ(mcore::counters()[Drop::kUnknownVlan], 2U);
}

TEST_P(RouterSide, APortHasRoomForSoManyRouters) {
    for (std::uint32_t i = 0; i < 32; ++i) EXPECT_EQ(hear_query(2, kHigher + i), 0);
    EXPECT_EQ(hear_query(2, kLower), 1);
    EXPECT_EQ(mcore::counters()[Drop::kRouterBound], 1U);
    EXPECT_EQ(hear_query(2, kHigher), 0);
    EXPECT_EQ(hear_query(3, kLower), 0);
}

TEST_P(RouterSide, WhoSwitchesTheStreamsHearsOfRouterPorts) {
    std::vector<std::pair<std::uint32_t, bool>> told;
    hear_query(1, kHigher);
    mcore::watch_router_ports(
        [&told](std::uint32_t port, bool is_router) { told.emplace_back(port, is_router); });
    hear_query(2, kHigher, {.interval_s = 10});
    hear_query(2, kHigher + 1, {.interval_s = 20});
    wait_seconds(25);
    EXPECT_EQ(told, (std::vector<std::pair<std::uint32_t, bool>>{{1, true}, {2, true}}));
    wait_seconds(20);
    EXPECT_EQ(told.back(), std::pair(2U, false));
    igmp_data_init();
    EXPECT_EQ(told.back(), std::pair(1U, false));
    EXPECT_EQ(told.size(), 4U);
}

TEST_P(RouterSide, ReportsAndLeavesGoToRouterPorts) {
    hear_query(2, kHigher);
    sent.clear();
    receive(4, a_report());
    const auto reports = of_family();
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_EQ(reports[0].port, 2);
    EXPECT_EQ(reports[0].vid, kVlan);
    EXPECT_EQ(reports[0].bytes, in_new_packet(a_report()));
    receive(4, a_leave());
    const auto leaves = of_family();
    ASSERT_EQ(leaves.size(), 2U) << "and a group query";
    EXPECT_EQ(leaves[1].bytes, in_new_packet(a_leave()));
    EXPECT_EQ(leaves[1].port, 2);
    receive(2, a_report());
    EXPECT_EQ(asked(), Ports{}) << "the router has heard the host on its own segment";
}

TEST_P(RouterSide, WhatNoFrameCarriesGoesToNoRouter) {
    hear_query(2, kHigher);
    sent.clear();
    for (const std::size_t more : {0U, 1U}) {
        const Bytes igmp = Bytes{0x16, 0, 0, 0} + be32(kGroup) + Bytes(1500 - 24 - 8 + more, 0);
        const Bytes mld =
            Bytes{131, 0, 0, 0, 0, 0, 0, 0} + bytes_of(kGroup6) + Bytes(1500 - 48 - 24 + more, 0);
        receive(4,
                is_igmp() ? ipv4(kHost, kGroup, with_checksum(igmp)) : ipv6(kHostA6, kGroup6, mld));
    }
    EXPECT_EQ(asked(), Ports{2});
}

TEST_P(RouterSide, ReportsGoToNoRouterOfAnotherVlan) {
    igmp_vlan_add(100);
    hear_query(2, kHigher, {}, 100);
    receive(4, a_report());
    EXPECT_EQ(asked(), Ports{});
}

TEST_P(RouterSide, TheDisplayOfThePortsHasTheRouters) {
    hear_query(2, kHigher);
    ::testing::internal::CaptureStdout();
    is_igmp() ? show_igmp_if_list() : mld_show_if_list();
    const std::string shown = ::testing::internal::GetCapturedStdout();
    EXPECT_NE(shown.find(text_of(kHigher)), std::string::npos) << shown;
    EXPECT_NE(shown.find("255 s"), std::string::npos) << shown;
}

// ---- What only one family has ----

class IgmpRouterSide : public RouterSide {
 protected:
    static Bytes message_of(const SentPacket& packet) {
        return {packet.bytes.begin() + 24, packet.bytes.end()};
    }
    static std::vector<std::uint16_t> vlans_asked(std::uint16_t port) {
        std::vector<std::uint16_t> vlans;
        for (const SentPacket& packet : of_family()) {
            if (packet.port == port) vlans.push_back(packet.vid);
        }
        return vlans;
    }
};
INSTANTIATE_TEST_SUITE_P(Families, IgmpRouterSide, ::testing::Values(Family::kIpv4),
                         [](const auto& /*family*/) { return "Igmp"; });

using Vlans = std::vector<std::uint16_t>;

TEST_P(IgmpRouterSide, QueriesGoToTheListedVlansInWhichThePortHasMembers) {
    igmp_vlan_add(100);
    igmp_vlan_add(200);
    receive(2, a_report(), 100);
    set_mode(kProxy);
    const auto queries = sent;
    EXPECT_EQ(vlans_asked(2), (Vlans{100, kVlan}));
    sent = queries;
    EXPECT_EQ(vlans_asked(3), Vlans{kVlan});
}

TEST_P(IgmpRouterSide, APortWhoseLinkComesUpIsAskedInEveryListedVlan) {
    igmp_vlan_add(100);
    igmp_vlan_add(200);
    mcore::link_up(2);
    EXPECT_EQ(vlans_asked(2), (Vlans{100, 200, kVlan}));
}

TEST_P(IgmpRouterSide, APortWhoseLinkComesUpIsAskedInNoMoreVlansThanSome) {
    for (std::uint16_t vlan = 1; vlan <= 1000; ++vlan) igmp_vlan_add(vlan);
    mcore::link_up(2);
    EXPECT_EQ(vlans_asked(2).size(), 32U);
}

TEST_P(IgmpRouterSide, AnotherVersionIsAskedForAtOnce) {
    set_mode(kProxy);
    sent.clear();
    igmp_version_globle_set(2);
    auto queries = of_family();
    ASSERT_EQ(queries.size(), 6U);
    EXPECT_EQ(message_of(queries[0]), igmp(0x11, 0, 100));
    igmp_version_globle_set(2);
    EXPECT_EQ(asked(), Ports{}) << "nothing has changed";
    igmp_version_globle_set(1);
    queries = of_family();
    ASSERT_EQ(queries.size(), 6U);
    EXPECT_EQ(message_of(queries[0]), igmp(0x11, 0, 0));
}

TEST_P(IgmpRouterSide, AnotherVersionIsNotAskedForByWhoIsNoQuerier) {
    igmp_version_globle_set(2);
    EXPECT_EQ(asked(), Ports{});
    hear_query(2, kLower);
    set_mode(kProxy);
    sent.clear();
    igmp_version_globle_set(3);
    EXPECT_EQ(asked(), kAllButTwo);
}

TEST_P(IgmpRouterSide, AQueryFromNoAddressIsOfNoRouter) {
    set_mode(kProxy);
    sent.clear();
    EXPECT_EQ(hear_query(2, 0), 0);
    EXPECT_EQ(routers(), Texts{});
    mcore::link_up(2);
    EXPECT_EQ(asked(), Ports{2});
}

TEST_P(IgmpRouterSide, ANodeWithoutAnAddressWinsOverNobody) {
    igmp_globle_proxyip_set(0);
    hear_query(2, kHigher);
    set_mode(kProxy);
    EXPECT_EQ(asked(), kAllButTwo);
}

}  // namespace
