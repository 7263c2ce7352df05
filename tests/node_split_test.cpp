/*
 * One capture of all ports, split by who sent what: which frames show a router, which port a host
 * gets, and what of that is left to the table. Frames are commented bytes; the sender is
 * 02:...:mark.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "node/capture/router_signs.h"
#include "node/capture/split.h"
#include "support/frame_pieces.h"

namespace {

using capture::Party;
using capture::RouterSign;
using capture::Split;
using capture::SplitRow;
using capture::SplitRules;
using capture::Why;
using driver::MacAddress;
using namespace frame_pieces;

constexpr std::uint8_t kUplink = 29;

MacAddress mac(std::uint8_t mark) { return {0x02, 0, 0, 0, 0, mark}; }

Bytes from(std::uint8_t mark, Bytes frame) {
    frame[11] = mark;
    return frame;
}

/* Behind the MACs. */
Bytes with(const Bytes& tag, Bytes frame) {
    frame.insert(frame.begin() + 12, tag.begin(), tag.end());
    return frame;
}

Bytes ipv4_frame(std::uint8_t protocol, const Bytes& message) {
    return kMacs + kIpv4Type + ipv4_header(protocol, static_cast<std::uint8_t>(message.size())) +
           message;
}
Bytes ipv6_frame(std::uint8_t next, const Bytes& message) {
    return kMacs + kIpv6Type + ipv6_header(next, static_cast<std::uint8_t>(message.size())) +
           message;
}

Bytes mld_query_frame() { return kMacs + kIpv6Type + ipv6_header(0) + kHopByHop + icmpv6(130); }

Bytes igmp_query_from_nobody() {
    Bytes header = ipv4_header(2, 8);
    std::fill_n(header.begin() + 12, 4, 0);
    header[10] = header[11] = 0;
    header = with_checksum(header, checksum(header), 10);
    return kMacs + kIpv4Type + header + igmp({0x11, 100, 0, 0, 0, 0, 0, 0});
}

Bytes mld_query_from_nobody() {
    Bytes header = ipv6_header(0);
    std::fill_n(header.begin() + 8, 16, 0);
    const Bytes message{130, 0, 0, 0};
    const Bytes sum = Bytes(16, 0) + Bytes(16, 0xFE) + Bytes{0, 24, 0, 58} + message + Bytes(20, 0);
    return kMacs + kIpv6Type + header + kHopByHop +
           with_checksum(message + Bytes(20, 0), checksum(sum), 2);
}

Split split_of(const std::vector<Bytes>& frames, const SplitRules& rules = {}) {
    capture::Seen seen;
    for (const Bytes& frame : frames) capture::note(seen, frame);
    return capture::settle(rules, seen);
}

std::vector<int> ports_of(const std::vector<Bytes>& frames, const SplitRules& rules = {}) {
    const Split split = split_of(frames, rules);
    std::vector<int> ports;
    for (const Bytes& frame : frames) ports.push_back(capture::port_of(split, frame));
    return ports;
}

SplitRow row_of(const Split& split, const Party& party) {
    const auto row = std::ranges::find(split.rows, party, &SplitRow::party);
    if (row != split.rows.end()) return *row;
    ADD_FAILURE() << "no such row";
    return {};
}

Party address(std::uint8_t mark) { return {Party::Kind::kAddress, mac(mark), capture::kNoVlan}; }
Party vlan(std::uint16_t vid) { return {Party::Kind::kVlan, {}, vid}; }

using Ports = std::vector<int>;

// ---- What shows a router ------------------------------------------------------------------------

TEST(RouterSigns, AreWhatOnlyRoutersSend) {
    EXPECT_EQ(capture::router_sign(igmp_query_frame(1)), RouterSign::kIgmpQuery);
    EXPECT_EQ(capture::router_sign(mld_query_frame()), RouterSign::kMldQuery);
    EXPECT_EQ(capture::router_sign(ipv4_frame(103, {0x20, 0, 0, 0})), RouterSign::kPimHello);
    EXPECT_EQ(capture::router_sign(ipv6_frame(103, {0x20, 0, 0, 0})), RouterSign::kPimHello);
    EXPECT_EQ(capture::router_sign(ipv4_frame(2, igmp({0x30, 20, 0, 0, 0, 125, 0, 2}))),
              RouterSign::kMulticastRouterAdvertisement);
    EXPECT_EQ(capture::router_sign(ipv6_frame(58, icmpv6({151, 20, 0, 0, 0, 125, 0, 2}))),
              RouterSign::kMulticastRouterAdvertisement);
    EXPECT_EQ(capture::router_sign(ipv6_frame(58, {134, 0, 0, 0})),
              RouterSign::kRouterAdvertisement);
    EXPECT_EQ(capture::router_sign(ipv4_frame(89, {2, 1, 0, 44})), RouterSign::kOspfHello);
    EXPECT_EQ(capture::router_sign(ipv6_frame(89, {3, 1, 0, 36})), RouterSign::kOspfHello);
    EXPECT_EQ(capture::router_sign(ipv4_frame(112, {0x21, 1, 100, 1})),
              RouterSign::kVrrpAdvertisement);
    EXPECT_EQ(capture::router_sign(ipv6_frame(112, {0x31, 1, 100, 1})),
              RouterSign::kVrrpAdvertisement);
}

TEST(RouterSigns, AreNotWhatHostsSend) {
    const std::vector<Bytes> frames{
        igmp_frame(),
        mld_frame(),
        udp_frame(),
        ipv4_frame(2, igmp({0x31, 0, 0, 0})),                // multicast router solicitation
        ipv6_frame(58, icmpv6({152, 0, 0, 0})),              // the same
        ipv6_frame(58, {133, 0, 0, 0}),                      // router solicitation
        ipv6_frame(58, {135, 0, 0, 0}),                      // neighbour solicitation
        ipv4_frame(58, {134, 0, 0, 0}),                      // ICMPv6 is not IPv4's
        ipv6_frame(2, igmp({0x11, 100, 0, 0, 0, 0, 0, 0})),  // nor IGMP IPv6's
        ipv4_frame(103, {0x23, 0, 0, 0}),                    // PIM join
        ipv4_frame(89, {2, 4, 0, 44}),                       // OSPF update
        ipv4_frame(112, {0x22, 1, 100, 1}),                  // of VRRP, unknown
        kMacs + Bytes{0x08, 0x06, 0, 1, 8, 0, 6, 4, 0, 1},   // ARP
    };
    for (std::size_t i = 0; i < frames.size(); ++i) {
        EXPECT_FALSE(capture::router_sign(frames[i])) << "frame " << i;
    }
}

/* RFC 4541, 2.1.1, 1b: a switch that asks for its own sake does so from 0.0.0.0. */
TEST(RouterSigns, AreNotQueriesFromNobody) {
    EXPECT_FALSE(capture::router_sign(igmp_query_from_nobody()));
    EXPECT_FALSE(capture::router_sign(mld_query_from_nobody()));
}

TEST(RouterSigns, AreNotDamaged) {
    Bytes igmp_query = igmp_query_frame(1);
    igmp_query.back() ^= 1;
    EXPECT_FALSE(capture::router_sign(igmp_query));
    Bytes mld_query = mld_query_frame();
    mld_query.back() ^= 1;
    EXPECT_FALSE(capture::router_sign(mld_query));
}

TEST(RouterSigns, AreSeenBehindTagsAndPppoe) {
    const Bytes query = ipv4_header(2, 8) + igmp({0x11, 100, 0, 0, 0, 0, 0, 0});
    for (const Bytes& frame :
         {kMacs + kTag100 + kIpv4Type + query, kMacs + kTag200 + kTag100 + kIpv4Type + query,
          kMacs + kPppoeSession + kPppIpv4 + query}) {
        EXPECT_EQ(capture::router_sign(frame), RouterSign::kIgmpQuery);
    }
}

TEST(RouterSigns, FramesMayEndAnywhere) {
    for (const Bytes& frame : {igmp_query_frame(1), mld_query_frame(), ipv6_frame(58, {134, 0}),
                               kMacs + kTag100 + kIpv4Type + ipv4(2)}) {
        for (std::size_t size = 0; size < frame.size(); ++size) {
            const Bytes cut(frame.begin(), frame.begin() + static_cast<std::ptrdiff_t>(size));
            EXPECT_FALSE(capture::router_sign(cut)) << size;
        }
    }
}

TEST(RouterSigns, ALaterFragmentHasNoMessage) {
    Bytes frame = ipv4_frame(103, {0x20, 0, 0, 0});
    frame[14 + 7] = 1;
    EXPECT_FALSE(capture::router_sign(frame));
}

TEST(RouterSigns, AreNamedTogether) {
    EXPECT_EQ(capture::names(static_cast<capture::RouterSigns>(
                  capture::bit_of(RouterSign::kPimHello) | capture::bit_of(RouterSign::kMldQuery))),
              "MLD queries, PIM hellos");
}

// ---- The sender ---------------------------------------------------------------------------------

TEST(Split, TheVlanIsThatOfTheOuterTag) {
    EXPECT_EQ(capture::sender_of(igmp_frame())->vlan, capture::kNoVlan);
    EXPECT_EQ(capture::sender_of(with(kTag100, igmp_frame()))->vlan, 100);
    EXPECT_EQ(capture::sender_of(with(kTag200 + kTag100, igmp_frame()))->vlan, 200);
    EXPECT_EQ(capture::sender_of(with(kServiceTag + kTag100, igmp_frame()))->vlan, 200);
    /* A priority tag; and PCP and DEI are not of the VID. */
    EXPECT_EQ(capture::sender_of(with({0x81, 0, 0xA0, 0}, igmp_frame()))->vlan, capture::kNoVlan);
    EXPECT_EQ(capture::sender_of(with({0x81, 0, 0xF0, 100}, igmp_frame()))->vlan, 100);
}

TEST(Split, FramesTooShortForAnAddressGoToPort0) {
    const Bytes runt(11, 0x02);
    EXPECT_FALSE(capture::sender_of(runt));
    EXPECT_EQ(ports_of({from(1, igmp_frame()), from(2, igmp_frame()), runt}), (Ports{0, 1, 0}));
    EXPECT_EQ(row_of(split_of({runt}), Party{}).why, Why::kNoSender);
}

// ---- Routers ------------------------------------------------------------------------------------

TEST(Split, ARouterThatAsksLateIsAtTheUplinkFromTheBeginning) {
    const std::vector<Bytes> frames{from(9, udp_frame()), from(1, igmp_frame()),
                                    from(9, igmp_frame()), igmp_query_frame(9)};
    EXPECT_EQ(ports_of(frames), (Ports{kUplink, 0, kUplink, kUplink}));
    const SplitRow row = row_of(split_of(frames), address(9));
    EXPECT_EQ(row.why, Why::kRouter);
    EXPECT_EQ(row.seen.frames, 3u);
    EXPECT_EQ(row.seen.messages, 2u);
    EXPECT_EQ(capture::names(row.signs), "IGMP queries");
}

TEST(Split, ARouterIsOneInEveryVlan) {
    EXPECT_EQ(ports_of({igmp_query_frame(9), with(kTag100, from(9, igmp_frame())),
                        with(kTag100, from(1, igmp_frame()))},
                       {.hosts_by_vlan = true, .table = {}}),
              (Ports{kUplink, kUplink, 0}));
}

TEST(Split, ASwitchThatAsksFromNobodyIsAHost) {
    EXPECT_EQ(ports_of({from(3, igmp_query_from_nobody()), igmp_query_frame(9)}),
              (Ports{0, kUplink}));
}

TEST(Split, OneSideAloneIsSplitToo) {
    EXPECT_EQ(ports_of({igmp_query_frame(8), igmp_query_frame(9)}), (Ports{kUplink, kUplink}));
    EXPECT_EQ(ports_of({from(1, igmp_frame()), from(2, mld_frame())}), (Ports{0, 1}));
    EXPECT_TRUE(split_of({}).rows.empty());
}

// ---- Hosts --------------------------------------------------------------------------------------

TEST(Split, HostsByAddressGetPortsInOrderOfAppearance) {
    EXPECT_EQ(ports_of({from(7, igmp_frame()), from(3, mld_frame()), from(7, mld_frame()),
                        with(kTag100, from(3, igmp_frame())), from(5, igmp_frame())}),
              (Ports{0, 1, 0, 1, 2}));
}

TEST(Split, HostsByVlanGetPortsInOrderOfAppearance) {
    EXPECT_EQ(ports_of({with(kTag200, from(7, igmp_frame())), from(3, igmp_frame()),
                        with(kTag100, from(7, igmp_frame())), with(kTag200, from(5, igmp_frame()))},
                       {.hosts_by_vlan = true, .table = {}}),
              (Ports{0, 1, 2, 0}));
}

TEST(Split, FromTheSixthOnHostsShareTheLastPort) {
    std::vector<Bytes> frames;
    for (std::uint8_t mark = 1; mark <= 8; ++mark) frames.push_back(from(mark, igmp_frame()));
    EXPECT_EQ(ports_of(frames), (Ports{0, 1, 2, 3, 4, 5, 5, 5}));
    const Split split = split_of(frames);
    EXPECT_FALSE(row_of(split, address(5)).is_shared);
    EXPECT_TRUE(row_of(split, address(6)).is_shared);
    EXPECT_TRUE(row_of(split, address(8)).is_shared);
}

TEST(Split, HostsWithoutMessagesLeaveThePortsToTheOthers) {
    const std::vector<Bytes> frames{from(1, udp_frame()), from(2, udp_frame()),
                                    from(3, igmp_frame()), from(2, mld_frame())};
    EXPECT_EQ(ports_of(frames), (Ports{2, 1, 0, 1}));
    const Split split = split_of(frames);
    EXPECT_EQ(row_of(split, address(1)).why, Why::kSilentHost);
    EXPECT_EQ(row_of(split, address(2)).why, Why::kHost);
}

TEST(Split, AHostThatTheFirstPassDidNotSeeIsWithTheLast) {
    const Split split = split_of({from(1, igmp_frame())});
    EXPECT_EQ(capture::port_of(split, from(2, igmp_frame())), 5);
    EXPECT_EQ(capture::port_of(split, Bytes(3, 0)), 0);
}

TEST(Split, RowsStandByPortThenInOrderOfAppearance) {
    const Split split = split_of(
        {igmp_query_frame(9), igmp_query_frame(8), from(2, igmp_frame()), from(1, igmp_frame())});
    std::vector<Party> parties;
    for (const SplitRow& row : split.rows) parties.push_back(row.party);
    EXPECT_EQ(parties, (std::vector{address(2), address(1), address(9), address(8)}));
}

// ---- The table ----------------------------------------------------------------------------------

SplitRules table_of() {
    SplitRules rules;
    rules.table = "table";
    return rules;
}

TEST(Split, TheTableComesBeforeWhatTheFramesShow) {
    SplitRules rules = table_of();
    rules.addresses = {{mac(1), {4, 1}}, {mac(8), {kUplink, 2}}, {mac(9), {3, 3}}};
    const std::vector<Bytes> frames{from(1, igmp_frame()), from(8, igmp_frame()),
                                    igmp_query_frame(9), igmp_query_frame(7)};
    EXPECT_EQ(ports_of(frames, rules), (Ports{4, kUplink, 3, kUplink}));
    const SplitRow row = row_of(split_of(frames, rules), address(9));
    EXPECT_EQ(row.why, Why::kTable);
    EXPECT_EQ(row.line, 3u);
}

TEST(Split, AddressesOfTheTableComeBeforeItsVlans) {
    SplitRules rules = table_of();
    rules.addresses = {{mac(1), {4, 1}}};
    rules.vlans = {{100, {2, 2}}, {capture::kNoVlan, {3, 3}}};
    EXPECT_EQ(ports_of({with(kTag100, from(1, igmp_frame())), with(kTag100, from(2, igmp_frame())),
                        from(2, igmp_frame()), with(kTag100, igmp_query_frame(9))},
                       rules),
              (Ports{4, 2, 3, kUplink}));
}

TEST(Split, HostsThatTheTableDoesNotNameGetThePortsThatItDoesNotName) {
    SplitRules rules = table_of();
    rules.addresses = {{mac(1), {0, 1}}, {mac(2), {3, 2}}};
    rules.vlans = {{100, {1, 3}}};
    std::vector<Bytes> frames;
    for (std::uint8_t mark = 1; mark <= 6; ++mark) frames.push_back(from(mark, igmp_frame()));
    EXPECT_EQ(ports_of(frames, rules), (Ports{0, 3, 2, 4, 5, 5}));
}

TEST(Split, HostsBesideATableOfAllPortsAreAtTheLast) {
    SplitRules rules = table_of();
    for (std::uint8_t port = 0; port < 6; ++port) rules.addresses[mac(port)] = {port, port + 1U};
    EXPECT_EQ(ports_of({from(50, igmp_frame()), from(0, igmp_frame())}, rules), (Ports{5, 0}));
}

TEST(Split, LinesThatNoFrameFitsAreShown) {
    SplitRules rules = table_of();
    rules.addresses = {{mac(1), {4, 1}}};
    rules.vlans = {{100, {2, 2}}};
    const Split split = split_of({}, rules);
    EXPECT_EQ(row_of(split, address(1)).seen.frames, 0u);
    EXPECT_EQ(row_of(split, vlan(100)).port, 2);
}

}  // namespace
