/*
 * Memberships as their RFCs have them, one test for both families: what takes them away, who is
 * asked before that, and what is not believed. The time is emulated. Packets go in and calls come
 * out as in node_core_test.cpp.
 */
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <ostream>
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
using mcore::Membership;
using namespace core_packets;  // NOLINT(google-build-using-namespace): a vocabulary
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

constexpr std::uint64_t kSecond = 1'000'000;
constexpr std::uint32_t kVlan = 4088;  // the default
constexpr std::uint32_t kUplink = 0xFFFF;
constexpr std::uint32_t kUplink6 = 29;
constexpr std::uint8_t kLastMemberTime = 2;  // seconds: two queries, one second apart
constexpr std::uint16_t kAgeingTime = 260;   // seconds

using Numbers = std::vector<std::uint32_t>;

/* A query that the core has sent down, with sources by their last byte. */
struct Query {
    std::uint32_t port;
    bool suppresses;  // the S flag
    Numbers sources;

    bool operator==(const Query&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Query& query) {
    out << "port " << query.port << (query.suppresses ? " S" : "") << " {";
    for (const std::uint32_t source : query.sources) out << " " << source;
    return out << " }";
}

std::vector<Query> queries;
std::vector<Bytes> sent_up;

constexpr std::size_t kSourcesAt[] = {24 + 12, 48 + 28};  // IPv4, IPv6, in the packet

Query query_of(std::uint32_t port, const Bytes& packet, Family family) {
    const bool is_igmp = family == Family::kIpv4;
    const std::size_t sources_at = kSourcesAt[is_igmp ? 0 : 1];
    const std::size_t size = is_igmp ? 4 : 16;
    Query query{port, false, {}};
    if (packet.size() < sources_at) return query;
    query.suppresses = (packet[sources_at - 4] & 8) != 0;
    for (std::size_t at = sources_at; at + size <= packet.size(); at += size) {
        query.sources.push_back(packet[at + size - 1]);
    }
    EXPECT_EQ(query.sources.size(), mc::load_be16(&packet[sources_at - 2]));
    return query;
}

extern "C" {

std::int32_t take_entry(IgmpGroupEntry* /*group*/) { return 0; }
std::int32_t refuse_entry(IgmpGroupEntry* /*group*/) { return -1; }
std::int32_t take_mld_entry(MldGroupEntry* /*group*/) { return 0; }
std::int32_t refuse_mld_entry(MldGroupEntry* /*group*/) { return -1; }

void take_packet(std::uint16_t port, std::uint8_t* packet, IgmpVlanTag* /*tag*/,
                 std::uint16_t length) {
    const Bytes bytes(packet, packet + length);
    if (port == kUplink) {
        sent_up.push_back(bytes);
    } else {
        queries.push_back(query_of(port, bytes, Family::kIpv4));
    }
}

void take_mld_packet(std::uint8_t* packet, std::uint16_t port, void* /*tag*/,
                     std::uint16_t length) {
    const Bytes bytes(packet, packet + length);
    if (port == kUplink || port == kUplink6) {
        sent_up.push_back(bytes);
    } else {
        queries.push_back(query_of(port, bytes, Family::kIpv6));
    }
}
}

Ipv6 ending_in(Ipv6 address, std::uint32_t last) {
    mc::store_be32(&address[12], last);
    return address;
}

std::vector<Query> asked() { return std::exchange(queries, {}); }

std::uint64_t drops(Drop reason) { return mcore::counters()[reason]; }

class Memberships : public ::testing::TestWithParam<Family> {
 protected:
    void SetUp() override {
        mcore::reset();
        queries.clear();
        sent_up.clear();
        mcore::set_clock(now_);
        igmp_register_switch_send_pkt(take_packet);
        igmp_register_switch_add_table(take_entry);
        igmp_register_switch_del_table(take_entry);
        mld_register_switch_send_pkt(take_mld_packet);
        mld_register_switch_add_table(take_mld_entry);
        mld_register_switch_del_table(take_mld_entry);
        declare_ports_to_core();
        mcore::set_clock(now_);  // the queries of a node that starts are not the matter here
        queries.clear();
    }

    void TearDown() override { mcore::reset(); }

    static bool is_igmp() { return GetParam() == Family::kIpv4; }

    // ---- Packets, of host, group and sources by number ----

    static std::uint32_t host4(std::uint32_t number) { return 0xC0000200 + number; }
    static Ipv6 host6(std::uint32_t number) { return ending_in(kHostA6, number); }

    std::uint32_t group4_ = 0xEF010101;
    Ipv6 group6_ = kGroup6;

    [[nodiscard]] Bytes packet(std::uint8_t type, std::uint32_t host,
                               const Numbers& sources) const {
        if (is_igmp()) {
            Numbers addresses;
            for (const std::uint32_t one : sources) addresses.push_back(0xC6336400 + one);
            return v3_report(host4(host), type, group4_, addresses);
        }
        std::vector<Ipv6> addresses;
        for (const std::uint32_t one : sources) addresses.push_back(ending_in(kSource6, one));
        return mld_v2_report(host6(host), type, group6_, addresses);
    }

    void report(std::uint8_t type, std::uint32_t host, const Numbers& sources = {},
                std::uint32_t port = 2) {
        receive(port, packet(type, host, sources));
    }

    /* IGMPv2 or MLDv1. */
    void older_report(std::uint32_t host, std::uint32_t port = 2) {
        receive(port,
                is_igmp() ? v2_report(host4(host), group4_) : mld_report(host6(host), group6_));
    }
    void older_leave(std::uint32_t host, std::uint32_t port = 2) {
        receive(port, is_igmp() ? leave(host4(host), group4_) : mld_done(host6(host), group6_));
    }

    static void receive(std::uint32_t port, Bytes packet) {
        if (is_igmp()) {
            igmp_pkt_recv(packet.data(), static_cast<std::uint16_t>(packet.size()), port, kVlan,
                          nullptr);
            return;
        }
        MldReceiveRecord about{};
        mld_pkt_recv(packet.data(), static_cast<std::uint32_t>(packet.size()), port, kVlan, &about);
    }

    void wait(std::uint64_t us) {
        now_ += us;
        mcore::set_clock(now_);
    }
    void wait_seconds(std::uint64_t seconds) { wait(seconds * kSecond); }

    // ---- What is known ----

    /* "2 include {1 3}"; sources by their last byte. */
    static std::string shown(std::uint32_t port, bool exclude,
                             const std::vector<mcore::Address>& addresses) {
        std::string sources;
        for (const mcore::Address& source : addresses) {
            const std::size_t last = is_igmp() ? 3 : 15;
            sources += (sources.empty() ? "" : " ") + std::to_string(source[last]);
        }
        return std::to_string(port) + (exclude ? " exclude {" : " include {") + sources + "}";
    }

    /* Each membership. */
    static std::vector<std::string> held() {
        std::vector<std::string> all;
        for (const Membership& one : mcore::memberships()) {
            all.push_back(shown(one.port, one.exclude, one.sources));
        }
        return all;
    }

    std::uint64_t now_ = 1000 * kSecond;
};

INSTANTIATE_TEST_SUITE_P(BothFamilies, Memberships, ::testing::Values(Family::kIpv4, Family::kIpv6),
                         [](const auto& one) {
                             return one.param == Family::kIpv4 ? "Igmp" : "Mld";
                         });

// ---- A port without a link ----

TEST_P(Memberships, OfAPortThatGoesDownEndAfterTheLastMemberQueryTime) {
    report(kToEx, 1);
    report(kToEx, 1, {}, 3);
    wait_seconds(1);
    mcore::link_down(2);
    wait(kLastMemberTime * kSecond - 1);
    EXPECT_THAT(held(), ElementsAre("2 exclude {}", "3 exclude {}"));
    wait(1);
    EXPECT_THAT(held(), ElementsAre("3 exclude {}"));
    EXPECT_THAT(asked(), IsEmpty()) << "there is nobody to ask";
}

TEST_P(Memberships, OfAPortThatGoesDownEndAtOnceWithFastLeave) {
    igmp_if_fast_leave_enable(2, 1);
    report(kToEx, 1);
    mcore::link_down(2);
    EXPECT_THAT(held(), IsEmpty());
    EXPECT_EQ(mcore::next_timer(), std::nullopt);
}

TEST_P(Memberships, OfAPortThatComesBackStayWhereTheyAreReportedAnew) {
    report(kToEx, 1);
    report(kToEx, 2);
    report(kAllow, 3, {7, 8}, 3);
    mcore::link_down(2);
    mcore::link_down(3);
    wait_seconds(1);
    report(kIsEx, 2);
    report(kIsIn, 3, {8}, 3);
    wait_seconds(kLastMemberTime);
    EXPECT_THAT(held(), ElementsAre("2 exclude {}", "3 include {8}"));
    EXPECT_THAT(mcore::memberships().at(0).reporters, SizeIs(1)) << "host 1 is gone";
}

TEST_P(Memberships, OfALinkThatFlapsDoNotLiveOnUnheard) {
    report(kToEx, 1);
    mcore::link_down(2);
    wait_seconds(1);
    mcore::link_down(2);
    EXPECT_THAT(held(), IsEmpty());
    wait(1);
    report(kToEx, 1);
    wait_seconds(kLastMemberTime);
    EXPECT_THAT(held(), SizeIs(1)) << "reported after the second time";
}

TEST_P(Memberships, OfAPortThatGoesDownEndWhetherTheyAgeOrNot) {
    igmp_aging_function_set(0);
    mld_pack_set_age_switch(0);
    report(kToEx, 1);
    mcore::link_down(2);
    wait_seconds(kLastMemberTime);
    EXPECT_THAT(held(), IsEmpty());
}

TEST_P(Memberships, OfOtherPortsDoNotHeedTheUplinkGoingDown) {
    report(kToEx, 1);
    for (const std::uint32_t port : {29U, 0xFFFFU, 6U, 255U}) mcore::link_down(port);
    wait_seconds(kAgeingTime - 1);
    EXPECT_THAT(held(), SizeIs(1));
}

TEST_P(Memberships, OfAProxyAreLeftUpstreamWithTheLink) {
    igmp_mode_switch_globle(2);
    mld_proxy_snoop_set_globle(1);
    report(kToEx, 1);
    wait_seconds(5);  // what is repeated is through
    sent_up.clear();
    mcore::link_down(2);
    wait_seconds(kLastMemberTime);
    ASSERT_THAT(sent_up, Not(IsEmpty()));
    const std::size_t record_at = is_igmp() ? 24 + 8 : 48 + 8;
    EXPECT_EQ(sent_up.front().at(record_at), kToIn);
}

TEST_P(Memberships, OfAProxyLoseASourceUpstreamOnceNobodyHasAnswered) {
    igmp_mode_switch_globle(2);
    mld_proxy_snoop_set_globle(1);
    report(kAllow, 1, {1, 2});
    wait_seconds(5);  // what is repeated is through
    sent_up.clear();
    report(kBlock, 1, {2});
    wait(kLastMemberTime * kSecond - 1);
    EXPECT_THAT(sent_up, IsEmpty());
    wait(1);
    ASSERT_THAT(sent_up, Not(IsEmpty()));
    const std::size_t record_at = is_igmp() ? 24 + 8 : 48 + 8;
    EXPECT_EQ(sent_up.front().at(record_at), kBlock);
    EXPECT_EQ(sent_up.front().back(), 2) << "the source";
}

// ---- The source-specific range ----

class SourceSpecific : public Memberships {
 protected:
    void SetUp() override {
        Memberships::SetUp();
        group4_ = 0xE8010101;                                        // 232.1.1.1
        group6_ = {0xFF, 0x3E, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x80};  // ff3e::8000:0
    }
};

INSTANTIATE_TEST_SUITE_P(BothFamilies, SourceSpecific,
                         ::testing::Values(Family::kIpv4, Family::kIpv6), [](const auto& one) {
                             return one.param == Family::kIpv4 ? "Igmp" : "Mld";
                         });

TEST_P(SourceSpecific, GroupsNeedSourcesFromTheStart) {
    report(kToEx, 1);
    report(kIsEx, 1, {7});
    EXPECT_THAT(held(), IsEmpty());
    EXPECT_EQ(drops(Drop::kSourceNeeded), 2U);
    report(kAllow, 1, {7});
    EXPECT_THAT(held(), ElementsAre("2 include {7}"));
}

TEST_P(SourceSpecific, GroupsAreNotJoinedOrLeftInOlderVersions) {
    older_report(1);
    EXPECT_THAT(held(), IsEmpty());
    report(kAllow, 1, {7});
    older_leave(1);
    EXPECT_THAT(held(), ElementsAre("2 include {7}"));
    EXPECT_EQ(drops(Drop::kSsmOlderVersion), 2U);
}

TEST_P(SourceSpecific, GroupsAreNoneWithoutARange) {
    igmp_ssm_ip_globle_set(0, 0);
    older_report(1);
    EXPECT_THAT(held(), ElementsAre("2 exclude {}"));
}

TEST_P(SourceSpecific, GroupsEndWithTheirRange) {
    group4_ = 0xE9000000;          // 233.0.0.0
    group6_ = {0xFF, 0x3E, 0, 1};  // ff3e:1::
    older_report(1);
    EXPECT_THAT(held(), SizeIs(1));
}

TEST_P(SourceSpecific, TheRangeOfIgmpCanBeAnotherOne) {
    igmp_ssm_ip_globle_set(0xEF000000, 0xEFFFFFFF);
    older_report(1);
    EXPECT_THAT(held(), SizeIs(is_igmp() ? 1 : 0)) << "ff3x::/32 has no setting of its own";
}

TEST_P(SourceSpecific, AMappedHostLeavesInItsOwnVersion) {
    if (!is_igmp()) GTEST_SKIP() << "the map is one of IPv4 groups";
    std::uint32_t map[5] = {0xE8000000, 0xE8FFFFFF, 0xC6336407, 0, 0};
    igmp_ssm_map_change(map);
    older_report(1);
    EXPECT_THAT(held(), ElementsAre("2 include {7}"));
    older_leave(1);
    wait_seconds(kLastMemberTime);
    EXPECT_THAT(held(), IsEmpty());
}

// ---- What is not believed ----

/* A change of an IPv4 header, with a checksum that is right again. */
Bytes with_ttl(Bytes packet, std::uint8_t ttl) {
    packet[8] = ttl;
    packet[10] = packet[11] = 0;
    const Bytes header(packet.begin(), packet.begin() + 20);
    mc::store_be16(&packet[10], checksum(header));
    return packet;
}

TEST_P(Memberships, AreNotMadeByMessagesFromBeyondTheLink) {
    for (const std::uint8_t hops : Bytes{0, 2, 64, 255}) {
        Bytes packet_of_hops = packet(kToEx, 1, {});
        if (is_igmp()) {
            packet_of_hops = with_ttl(packet_of_hops, hops);
        } else {
            packet_of_hops[7] = hops;
        }
        receive(2, packet_of_hops);
    }
    EXPECT_THAT(held(), IsEmpty());
    EXPECT_EQ(drops(Drop::kHopLimit), 4U);
}

TEST_P(Memberships, OfHostsWithoutAnAddressAreMadeInIgmpOnly) {
    receive(2, is_igmp() ? v3_report(0, kToEx, group4_) : mld_v2_report(Ipv6{}, kToEx, group6_));
    EXPECT_THAT(held(), SizeIs(is_igmp() ? 1 : 0));
    EXPECT_EQ(drops(Drop::kUnspecifiedSource), is_igmp() ? 0U : 1U);
}

TEST_P(Memberships, NeedNoRouterAlertInIgmpAndOneForMldInMld) {
    const Bytes whole = packet(kToEx, 1, {});
    if (is_igmp()) {
        EXPECT_EQ(whole[0], 0x45) << "no options";
        receive(2, whole);
        EXPECT_THAT(held(), SizeIs(1));
        return;
    }
    const std::vector<Bytes> options{
        {1, 4, 0, 0, 0, 0},  // padding only
        {5, 2, 0, 1, 1, 0},  // an alert for RSVP
        {5, 3, 0, 0, 0, 0},  // of another length
        {1, 9, 5, 2, 0, 0},  // inside of padding that does not fit
        {0, 0, 0, 5, 2, 0},  // cut
    };
    for (const Bytes& each : options) {
        Bytes changed = whole;
        std::ranges::copy(each, changed.begin() + 42);
        receive(2, changed);
    }
    EXPECT_THAT(held(), IsEmpty());
    EXPECT_EQ(drops(Drop::kNoRouterAlert), options.size());
    Bytes behind_padding = whole;
    std::ranges::copy(Bytes{0, 0, 5, 2, 0, 0}, behind_padding.begin() + 42);
    receive(2, behind_padding);
    EXPECT_THAT(held(), SizeIs(1));
}

// ---- Who is asked before something ends ----

const Query kOfGroup{2, false, {}};

Query of_sources(const Numbers& sources, bool suppresses = false) {
    return {2, suppresses, sources};
}

TEST_P(Memberships, LoseAGroupAfterTwoQueriesAboutIt) {
    report(kToEx, 1);
    report(kToIn, 1);
    EXPECT_THAT(asked(), ElementsAre(kOfGroup));
    wait_seconds(1);
    EXPECT_THAT(asked(), ElementsAre(kOfGroup));
    wait(kSecond - 1);
    EXPECT_THAT(held(), ElementsAre("2 exclude {}"));
    wait(1);
    EXPECT_THAT(held(), IsEmpty());
    EXPECT_THAT(asked(), IsEmpty());
    EXPECT_EQ(mcore::next_timer(), std::nullopt);
}

TEST_P(Memberships, LoseABlockedSourceAfterTwoQueriesAboutIt) {
    report(kAllow, 1, {3, 5, 7});
    report(kBlock, 1, {7, 3, 3, 9});
    EXPECT_THAT(asked(), ElementsAre(of_sources({3, 7})));
    EXPECT_THAT(held(), ElementsAre("2 include {3 5 7}"));
    wait_seconds(1);
    EXPECT_THAT(asked(), ElementsAre(of_sources({3, 7})));
    wait_seconds(1);
    EXPECT_THAT(held(), ElementsAre("2 include {5}"));
    EXPECT_THAT(asked(), IsEmpty());
}

TEST_P(Memberships, LoseTheirSourcesAsTheTableOfTheRouterHasIt) {
    struct Row {
        std::uint8_t first_type, type;
        Numbers first, then, asked;
        const char* held_before;
        const char* held_after;
    };
    // RFC 3376, 6.4.2; RFC 3810, 7.4.2. What the last column leaves out was not wanted before.
    const Row rows[]{
        {kAllow, kBlock, {1, 2}, {2, 3}, {2}, "2 include {1 2}", "2 include {1}"},
        {kAllow, kToIn, {1, 2}, {2, 3}, {1}, "2 include {1 2 3}", "2 include {2 3}"},
        {kAllow, kToEx, {1, 2}, {2, 3}, {2}, "2 exclude {3}", "2 exclude {2 3}"},
        {kToEx, kBlock, {1, 2}, {2, 3}, {3}, "2 exclude {1 2}", "2 exclude {1 2 3}"},
        {kToEx, kToEx, {1, 2}, {2, 3}, {3}, "2 exclude {2}", "2 exclude {2 3}"},
        {kToEx, kToIn, {1, 2}, {2, 3}, {}, "2 exclude {1}", "2 include {2 3}"},
    };
    for (const Row& row : rows) {
        report(row.first_type, 1, row.first);
        report(row.type, 1, row.then);
        EXPECT_THAT(asked(), ElementsAre(of_sources(row.asked))) << row.held_after;
        EXPECT_THAT(held(), ElementsAre(row.held_before));
        wait_seconds(kLastMemberTime);
        EXPECT_THAT(held(), ElementsAre(row.held_after));
        igmp_del_all_group();
        SetUp();
    }
}

TEST_P(Memberships, AreNotAskedAboutWhatAnotherKnownHostWants) {
    report(kAllow, 1, {1, 2});
    report(kAllow, 2, {1});
    report(kToEx, 3, {2});
    report(kBlock, 1, {1, 2});
    EXPECT_THAT(asked(), ElementsAre(of_sources({2}))) << "host 2 wants 1, host 3 all but 2";
    report(kToIn, 2, {9});
    EXPECT_THAT(asked(), IsEmpty()) << "host 3 wants 1 too";
}

TEST_P(Memberships, AreNotAskedAboutByACurrentState) {
    report(kAllow, 1, {1});
    report(kIsEx, 1, {1, 2});
    report(kIsEx, 1, {3});
    EXPECT_THAT(asked(), IsEmpty());
    EXPECT_THAT(held(), ElementsAre("2 exclude {3}"));
}

TEST_P(Memberships, KeepASourceThatAnotherHostAnswersFor) {
    report(kAllow, 1, {1, 2, 3});
    report(kBlock, 1, {2, 3});
    asked();
    wait(kSecond / 2);
    report(kIsIn, 2, {3});
    wait_seconds(1);
    EXPECT_THAT(asked(), ElementsAre(of_sources({3}, true), of_sources({2})))
        << "other routers are not to lower the timer of the answered one";
    wait_seconds(1);
    EXPECT_THAT(held(), ElementsAre("2 include {1 3}"));
}

TEST_P(Memberships, KeepAGroupThatAnotherHostAnswersFor) {
    report(kToEx, 1);
    report(kToIn, 1);
    asked();
    report(kIsEx, 2, {4});
    wait_seconds(1);
    EXPECT_THAT(asked(), ElementsAre(Query{2, true, {}})) << "the S flag";
    wait_seconds(1);
    EXPECT_THAT(held(), ElementsAre("2 exclude {4}"));
}

TEST_P(Memberships, InIncludeModeAreLeftByAQueryAboutTheirSources) {
    report(kAllow, 1, {1, 2});
    report(kToIn, 1);
    EXPECT_THAT(asked(), ElementsAre(of_sources({1, 2})));
    EXPECT_THAT(mcore::memberships().at(0).reporters, IsEmpty());
    EXPECT_EQ(mcore::memberships().at(0).expires_us, now_ + kLastMemberTime * kSecond);
    wait_seconds(kLastMemberTime);
    EXPECT_THAT(held(), IsEmpty());
}

TEST_P(Memberships, FallBackToIncludeModeWhenNobodyExcludesAnyMore) {
    report(kToEx, 1);
    report(kAllow, 2, {5});
    report(kToIn, 1);
    EXPECT_THAT(asked(), ElementsAre(kOfGroup));
    EXPECT_THAT(held(), ElementsAre("2 exclude {}"));
    wait_seconds(kLastMemberTime);
    EXPECT_THAT(held(), ElementsAre("2 include {5}"));
}

TEST_P(Memberships, AskAnewAboutASourceThatIsGivenUpAnew) {
    report(kAllow, 1, {1, 2});
    report(kBlock, 1, {2});
    wait_seconds(1);
    report(kAllow, 1, {2});
    report(kBlock, 1, {2});
    asked();
    wait(2 * kSecond - 1);
    EXPECT_THAT(held(), ElementsAre("2 include {1 2}")) << "two seconds from the second time";
    wait(1);
    EXPECT_THAT(held(), ElementsAre("2 include {1}"));
}

TEST_P(Memberships, LoseSourcesAtOnceWithFastLeaveOrWithoutQueries) {
    for (const bool fast : {true, false}) {
        if (fast) igmp_if_fast_leave_enable(2, 1);
        if (!fast) igmp_para_lmqc_globle_set(0);
        report(kAllow, 1, {1, 2});
        report(kBlock, 1, {2});
        EXPECT_THAT(held(), ElementsAre("2 include {1}"));
        report(kToIn, 1);
        EXPECT_THAT(held(), IsEmpty());
        EXPECT_THAT(asked(), IsEmpty());
        igmp_if_fast_leave_enable(2, 0);
    }
}

TEST_P(Memberships, AreAskedAboutInPacketsThatFit) {
    constexpr std::uint32_t kMany = 200;
    Numbers sources;
    for (std::uint32_t i = 1; i <= kMany; ++i) sources.push_back(i);
    const std::size_t in_one_report = is_igmp() ? kMany : 90;  // a frame has no room for more
    for (std::size_t at = 0; at < sources.size(); at += in_one_report) {
        const std::size_t end = std::min<std::size_t>(sources.size(), at + in_one_report);
        report(kAllow, 1,
               Numbers(sources.begin() + static_cast<long>(at),
                       sources.begin() + static_cast<long>(end)));
    }
    report(kToIn, 1);
    Numbers all;
    const auto parts = asked();
    for (const Query& part : parts) all.insert(all.end(), part.sources.begin(), part.sources.end());
    EXPECT_EQ(all, sources);
    EXPECT_THAT(parts, SizeIs(is_igmp() ? 1 : 3));
}

TEST_P(Memberships, MakeRoomForWhatIsWantedBeforeWhatIsAskedFor) {
    mcore::set_bounds({.addresses_per_port = 4});
    report(kAllow, 1, {1, 2, 3});
    report(kToIn, 1);
    EXPECT_THAT(held(), ElementsAre("2 include {1 2 3}"));
    report(kAllow, 1, {4, 5, 6});
    EXPECT_THAT(held(), ElementsAre("2 include {4 5 6}"));
    mcore::set_bounds({});
}

TEST_P(Memberships, LoseSourcesAtOnceWhereAQuestionHasNoRoom) {
    mcore::set_bounds({.addresses_per_port = 4});
    report(kToEx, 1, {1, 2});
    report(kBlock, 1, {3});
    EXPECT_THAT(asked(), IsEmpty());
    EXPECT_THAT(held(), ElementsAre("2 exclude {1 2 3}"));
    mcore::set_bounds({.sources_per_group = 4});
    report(kToIn, 1, {4, 5, 6});
    EXPECT_THAT(asked(), IsEmpty());
    EXPECT_THAT(held(), ElementsAre("2 include {4 5 6}"));
    mcore::set_bounds({});
}

TEST_P(Memberships, OfOlderHostsAreAskedAboutUntilOneAnswers) {
    igmp_version_globle_set(2);
    older_report(1);
    older_leave(1);
    EXPECT_THAT(asked(), SizeIs(1));
    older_report(2);
    wait_seconds(1);
    EXPECT_THAT(asked(), IsEmpty()) << "an older query has no S flag (RFC 2236, 6)";
    wait_seconds(kLastMemberTime);
    EXPECT_THAT(held(), SizeIs(1));
}

// ---- Beside hosts of older versions ----

TEST_P(Memberships, AreOfTheVersionOfTheOldestHost) {
    report(kToEx, 1, {1});
    older_report(2);
    const std::uint8_t older = is_igmp() ? 2 : 1;
    EXPECT_EQ(mcore::memberships().at(0).version, older);
    wait_seconds(kAgeingTime - 1);
    report(kToEx, 1, {1});
    EXPECT_EQ(mcore::memberships().at(0).version, older) << "the older host is present";
    wait_seconds(1);
    EXPECT_EQ(mcore::memberships().at(0).version, older + 1);
}

TEST_P(Memberships, LoseNoSourceBesideAnOlderHost) {
    older_report(2);
    report(kToEx, 1, {1});
    EXPECT_THAT(held(), ElementsAre("2 exclude {}")) << "lists in TO_EX are ignored";
    report(kBlock, 1, {2});
    EXPECT_THAT(held(), ElementsAre("2 exclude {}")) << "BLOCK is ignored";
    EXPECT_THAT(asked(), IsEmpty());
}

TEST_P(Memberships, CanBeLeftBesideAHostOfTheVersionBeforeTheNewest) {
    older_report(1);
    report(kToEx, 2);
    report(kToIn, 2);
    EXPECT_THAT(mcore::memberships().at(0).reporters, SizeIs(1));
    older_leave(1);
    wait_seconds(kLastMemberTime);
    EXPECT_THAT(held(), IsEmpty());
}

TEST_P(Memberships, AreNotLeftBesideAHostOfIgmpVersion1) {
    if (!is_igmp()) GTEST_SKIP() << "MLDv1 has a done";
    receive(2, v1_report(host4(1), group4_));
    older_report(2);
    report(kToEx, 3);
    older_leave(2);
    report(kToIn, 3);
    older_leave(1);
    EXPECT_EQ(drops(Drop::kOlderHostPresent), 3U);
    EXPECT_THAT(mcore::memberships().at(0).reporters, SizeIs(3));
    EXPECT_THAT(asked(), IsEmpty());
    wait_seconds(kAgeingTime);
    EXPECT_THAT(held(), IsEmpty());
}

// ---- What the switch is told of sources ----

std::vector<std::string> made;  // entries, with the filter in hand

class EntryFilters : public Memberships {
 protected:
    static constexpr std::size_t kMost = 3;

    void SetUp() override {
        Memberships::SetUp();
        made.clear();
        igmp_register_switch_add_table([](IgmpGroupEntry* /*group*/) { return note_entry(); });
        mld_register_switch_add_table([](MldGroupEntry* /*group*/) { return note_entry(); });
        watch(kMost);
    }

    void TearDown() override {
        mcore::watch_filters(0, {});
        Memberships::TearDown();
    }

    static std::int32_t note_entry() {
        const auto owner = mcore::entry_in_hand();
        made.push_back(shown(owner->port, owner->filter.exclude, owner->filter.sources));
        return 0;
    }

    void watch(std::size_t most) {
        mcore::watch_filters(most, [this](const mcore::EntryOwner& owner) {
            told_.push_back(shown(owner.port, owner.filter.exclude, owner.filter.sources));
        });
    }

    std::vector<std::string> told() { return std::exchange(told_, {}); }

    std::vector<std::string> told_;
};

INSTANTIATE_TEST_SUITE_P(BothFamilies, EntryFilters,
                         ::testing::Values(Family::kIpv4, Family::kIpv6), [](const auto& one) {
                             return one.param == Family::kIpv4 ? "Igmp" : "Mld";
                         });

TEST_P(EntryFilters, AreThereFromTheStart) {
    report(kAllow, 1, {3, 1, 3});
    report(kToEx, 1, {2}, 3);
    older_report(1, 4);
    EXPECT_THAT(made, ElementsAre("2 include {1 3}", "3 exclude {2}", "4 exclude {}"));
    EXPECT_THAT(told(), IsEmpty()) << "as it is what the entries were made with";
}

TEST_P(EntryFilters, AreWhatTheHostsWantTogetherAndToldWhenThatChanges) {
    report(kAllow, 1, {1});
    report(kAllow, 2, {2});
    EXPECT_THAT(told(), ElementsAre("2 include {1 2}"));
    report(kAllow, 3, {1});
    report(kIsIn, 1, {1});
    EXPECT_THAT(told(), IsEmpty()) << "nothing that was not wanted before";
    report(kToEx, 3, {2, 3});
    EXPECT_THAT(told(), ElementsAre("2 exclude {3}")) << "host 2 wants source 2";
    EXPECT_THAT(made, SizeIs(1)) << "it is one entry all the time";
}

TEST_P(EntryFilters, KeepWhatIsGivenUpUntilNobodyHasAnswered) {
    report(kAllow, 1, {1, 2});
    report(kBlock, 1, {2});
    wait(kLastMemberTime * kSecond - 1);
    EXPECT_THAT(told(), IsEmpty());
    wait(1);
    EXPECT_THAT(told(), ElementsAre("2 include {1}"));
    report(kToEx, 1);
    report(kToIn, 1, {1});
    EXPECT_THAT(told(), ElementsAre("2 exclude {}"));
    wait_seconds(kLastMemberTime);
    EXPECT_THAT(told(), ElementsAre("2 include {1}"));
}

TEST_P(EntryFilters, LoseASourceAtOnceWithFastLeaveOrWhenItHasAged) {
    igmp_if_fast_leave_enable(2, 1);
    report(kAllow, 1, {1, 2, 3});
    report(kBlock, 1, {2});
    EXPECT_THAT(told(), ElementsAre("2 include {1 3}"));
    wait_seconds(1);
    report(kIsIn, 1, {3});
    wait_seconds(kAgeingTime - 1);
    EXPECT_THAT(told(), ElementsAre("2 include {3}"));
}

TEST_P(EntryFilters, AreOfAllSourcesWhenTheySayMoreThanTheSwitchTakes) {
    report(kAllow, 1, {1, 2, 3, 4});
    EXPECT_THAT(made, ElementsAre("2 exclude {}"));
    EXPECT_THAT(told(), IsEmpty());
    report(kAllow, 1, {5}, 3);
    report(kAllow, 1, {6, 7, 8}, 3);
    EXPECT_THAT(told(), ElementsAre("3 exclude {}"));
    igmp_if_fast_leave_enable(3, 1);
    report(kBlock, 1, {7}, 3);
    EXPECT_THAT(told(), ElementsAre("3 include {5 6 8}"));
}

TEST_P(EntryFilters, AreOfAllSourcesWhileNobodyWatches) {
    mcore::watch_filters(0, {});
    report(kAllow, 1, {1});
    report(kAllow, 1, {2});
    EXPECT_THAT(made, ElementsAre("2 exclude {}"));
    watch(kMost);
    EXPECT_THAT(told(), ElementsAre("2 include {1 2}")) << "who begins to watch hears it at once";
}

TEST_P(EntryFilters, AreNotToldOfAnEntryThatTheSwitchHasRefused) {
    igmp_register_switch_add_table(refuse_entry);
    mld_register_switch_add_table(refuse_mld_entry);
    report(kAllow, 1, {1});
    report(kAllow, 1, {2});
    EXPECT_THAT(told(), IsEmpty());
    igmp_register_switch_add_table([](IgmpGroupEntry* /*group*/) { return note_entry(); });
    mld_register_switch_add_table([](MldGroupEntry* /*group*/) { return note_entry(); });
    report(kIsIn, 1, {1});
    EXPECT_THAT(made, ElementsAre("2 include {1 2}")) << "when it is tried again";
}

}  // namespace
