/*
 * The host side of proxy mode in emulated time: what the router of a VLAN hears, when, how often
 * and in which version. Both families run the same tests; what differs stands in Igmp and Mld.
 *
 * Groups, sources and hosts are numbers here. What went upstream is read back as text, a line for
 * each record or older message: "TO_EX 1 {7 8}" is group 1 with sources 7 and 8, and "report 1" is
 * a report of the version before records.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <numeric>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "common/bytes.h"
#include "node/core/multicast_core.h"
#include "platform/protocol_core.h"
#include "support/core_fixture.h"

namespace {

using mcore::Family;
using mcore::UpstreamGroup;
using namespace core_fixture;  // NOLINT(google-build-using-namespace): a vocabulary

using Numbers = std::vector<std::uint16_t>;  // of sources

struct Query {
    std::uint8_t group = 0;  // 0: general
    Numbers sources{};
    std::uint32_t response_ms = 1000;
    std::uint8_t robustness = 2;
    std::uint8_t interval_s = 125;
};

// ---- What differs ----

struct Igmp {
    static constexpr Family kFamily = Family::kIpv4;
    static constexpr std::uint8_t kNewest = 3;
    static constexpr std::size_t kHeaders = 24;
    static constexpr std::size_t kAddress = 4;
    static constexpr std::size_t kGroupAt = 4;  // of an older message
    static constexpr std::size_t kDestinationAt = 16;

    static void set_proxy(bool on) { igmp_mode_switch_globle(on ? 2 : 1); }

    static std::uint32_t group(std::uint8_t number) { return 0xEF010100 + number; }
    static std::uint32_t source(std::uint16_t number) { return 0xC6330000 + number; }
    static std::uint32_t host(std::uint8_t number) { return 0xC0000200 + number; }
    static Bytes address(std::uint32_t name) { return be32(name); }

    static Bytes records(std::uint8_t from, std::uint8_t type, std::uint8_t of,
                         const Numbers& named) {
        std::vector<std::uint32_t> sources;
        for (const std::uint16_t each : named) sources.push_back(source(each));
        return v3_report(host(from), type, group(of), sources);
    }
    static Bytes older_report(std::uint8_t from, std::uint8_t of) {
        return v2_report(host(from), group(of));
    }
    static Bytes older_leave(std::uint8_t from, std::uint8_t of) {
        return leave(host(from), group(of));
    }

    static Bytes packet(const Bytes& message) {
        return ipv4(0xC0000201, 0xE0000001, with_checksum(message));
    }
    static Bytes start_of_query(const Query& query) {
        return Bytes{0x11, static_cast<std::uint8_t>(query.response_ms / 100), 0, 0} +
               (query.group == 0 ? be32(0) : be32(group(query.group)));
    }
    static Bytes older_query(const Query& query) { return packet(start_of_query(query)); }
    static Bytes query(const Query& query) {
        Bytes message = start_of_query(query) + Bytes{query.robustness, query.interval_s} +
                        be16(static_cast<std::uint32_t>(query.sources.size()));
        for (const std::uint16_t each : query.sources) message = message + be32(source(each));
        return packet(message);
    }

    static bool has_right_checksum(const Bytes& packet) {
        return checksum({packet.begin() + kHeaders, packet.end()}) == 0;
    }
    static const char* name(std::uint8_t type) {
        switch (type) {
            case 0x12:
                return "v1 report";
            case 0x16:
                return "report";
            case 0x17:
                return "leave";
            default:
                return "records";
        }
    }
    static Bytes leave_destination() { return be32(0xE0000002); }
    static Bytes records_destination() { return be32(0xE0000016); }
};

struct Mld {
    static constexpr Family kFamily = Family::kIpv6;
    static constexpr std::uint8_t kNewest = 2;
    static constexpr std::size_t kHeaders = 48;
    static constexpr std::size_t kAddress = 16;
    static constexpr std::size_t kGroupAt = 8;
    static constexpr std::size_t kDestinationAt = 24;

    static void set_proxy(bool on) { mld_proxy_snoop_set_globle(on ? 1 : 2); }

    static Ipv6 numbered(Ipv6 address, std::uint16_t number) {
        mc::store_be16(&address[14], number);
        return address;
    }
    static Ipv6 group(std::uint8_t number) { return numbered({0xFF, 0x1E}, number); }
    static Ipv6 source(std::uint16_t number) { return numbered({0x20, 1, 0x0D, 0xB8}, number); }
    static Ipv6 host(std::uint8_t number) { return numbered({0xFE, 0x80}, number); }
    static Bytes address(const Ipv6& name) { return bytes_of(name); }

    static Bytes records(std::uint8_t from, std::uint8_t type, std::uint8_t of,
                         const Numbers& named) {
        std::vector<Ipv6> sources;
        for (const std::uint16_t each : named) sources.push_back(source(each));
        return mld_v2_report(host(from), type, group(of), sources);
    }
    static Bytes older_report(std::uint8_t from, std::uint8_t of) {
        return mld_report(host(from), group(of));
    }
    static Bytes older_leave(std::uint8_t from, std::uint8_t of) {
        return mld_done(host(from), group(of));
    }

    static Bytes packet(const Bytes& message) {
        return ipv6(host(1), {0xFF, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, message);
    }
    static Bytes start_of_query(const Query& query) {
        return Bytes{130, 0, 0, 0} + be16(query.response_ms) + Bytes{0, 0} +
               bytes_of(query.group == 0 ? Ipv6{} : group(query.group));
    }
    static Bytes older_query(const Query& query) { return packet(start_of_query(query)); }
    static Bytes query(const Query& query) {
        Bytes message = start_of_query(query) + Bytes{query.robustness, query.interval_s} +
                        be16(static_cast<std::uint32_t>(query.sources.size()));
        for (const std::uint16_t each : query.sources) message = message + bytes_of(source(each));
        return packet(message);
    }

    static bool has_right_checksum(const Bytes& packet) {
        const Bytes message(packet.begin() + kHeaders, packet.end());
        const Bytes addresses(packet.begin() + 8, packet.begin() + 40);
        return checksum(icmpv6_pseudo_header(addresses, message.size()) + message) == 0;
    }
    static const char* name(std::uint8_t type) {
        switch (type) {
            case 131:
                return "report";
            case 132:
                return "leave";
            default:
                return "records";
        }
    }
    static Bytes leave_destination() { return bytes_of(kAllRouters6); }
    static Bytes records_destination() { return bytes_of(Mld::numbered(kAllRouters6, 0x16)); }
};

// ---- What the router hears ----

struct HeardRecord {
    std::uint8_t type;
    std::uint8_t group;
    std::set<std::uint16_t> sources;
};

std::string text_of(const HeardRecord& record) {
    static const std::vector<std::string> kTypes{"",      "IS_IN", "IS_EX", "TO_IN",
                                                 "TO_EX", "ALLOW", "BLOCK"};
    std::string sources;
    for (const std::uint16_t source : record.sources) {
        sources += (sources.empty() ? "" : " ") + std::to_string(source);
    }
    return kTypes.at(record.type) + " " + std::to_string(record.group) + " {" + sources + "}";
}

template <class Side>
std::vector<HeardRecord> records_of(const Bytes& packet) {
    std::vector<HeardRecord> records;
    const std::uint8_t* at = packet.data() + Side::kHeaders + 8;
    for (unsigned left = mc::load_be16(at - 2); left > 0; --left) {
        HeardRecord record{at[0], at[4 + Side::kAddress - 1], {}};
        const unsigned count = mc::load_be16(at + 2);
        at += 4 + Side::kAddress;
        for (unsigned i = 0; i < count; ++i, at += Side::kAddress) {
            const bool is_new =
                record.sources.insert(mc::load_be16(at + Side::kAddress - 2)).second;
            EXPECT_TRUE(is_new) << "a source is named twice";
        }
        records.push_back(record);
    }
    EXPECT_EQ(at, packet.data() + packet.size());
    return records;
}

template <class Side>
void append_heard(const Bytes& packet, Texts& heard) {
    EXPECT_TRUE(Side::has_right_checksum(packet));
    const auto begin = packet.begin() + Side::kDestinationAt;
    const Bytes destination(begin, begin + Side::kAddress);
    const std::string name = Side::name(packet[Side::kHeaders]);
    if (name == "records") {
        EXPECT_EQ(destination, Side::records_destination());
        for (const auto& record : records_of<Side>(packet)) heard.push_back(text_of(record));
        return;
    }
    EXPECT_EQ(packet.size(), Side::kHeaders + Side::kGroupAt + Side::kAddress);
    const std::uint8_t group = packet.back();
    EXPECT_EQ(destination,
              name == "leave" ? Side::leave_destination() : Side::address(Side::group(group)));
    heard.push_back(name + " " + std::to_string(group));
}

template <class Side>
class HostSide : public Core {
 protected:
    void SetUp() override {
        Core::SetUp();
        igmp_fast_leave_enable_globle(1);
        igmp_vlan_add(kOtherVlan);
        igmp_aging_function_set(0);
        mld_pack_set_age_switch(0);
        Side::set_proxy(true);
        sent.clear();
    }

    static constexpr std::uint16_t kOtherVlan = 100;

    void take(std::uint32_t port, const Bytes& packet, std::uint16_t vlan = kVlan) {
        if (Side::kFamily == Family::kIpv4) {
            EXPECT_EQ(receive(port, packet, vlan), 0);
        } else {
            EXPECT_EQ(receive_mld(port == kUplink ? 29 : port, packet, vlan), 0);
        }
    }

    /* A host on port 2, that of its number. */
    void host(std::uint8_t number, std::uint8_t type, std::uint8_t group,
              const Numbers& sources = {}) {
        take(2, Side::records(number, type, group, sources));
    }
    void join(std::uint8_t group) { host(20, kToEx, group); }
    void leave_group(std::uint8_t group) { host(20, kToIn, group); }

    void ask(const Query& query, std::uint16_t vlan = kVlan) {
        take(kUplink, Side::query(query), vlan);
    }
    void ask_in_older_version(const Query& query, std::uint16_t vlan = kVlan) {
        take(kUplink, Side::older_query(query), vlan);
    }

    /* What went upstream since the last look, packet by packet. */
    static std::vector<Bytes> packets() {
        std::vector<Bytes> all;
        for (const SentPacket& packet : taken(sent)) {
            if (packet.port == kUplink) all.push_back(packet.bytes);
        }
        return all;
    }
    static Texts heard() {
        Texts all;
        for (const Bytes& packet : packets()) append_heard<Side>(packet, all);
        return all;
    }

    Texts heard_within(std::uint64_t us) {
        wait(us);
        return heard();
    }

    /* Moves the clock to where something goes upstream; nothing when it stays silent so long. */
    std::optional<std::uint64_t> time_to_next(std::uint64_t most_us = 10 * kSecond) {
        const std::uint64_t begin = now_;
        while (mcore::next_timer() && *mcore::next_timer() <= begin + most_us) {
            wait(std::max(*mcore::next_timer(), now_) - now_);
            const auto is_up = [](const SentPacket& one) { return one.port == kUplink; };
            if (std::ranges::any_of(sent, is_up)) return now_ - begin;
        }
        wait(begin + most_us - now_);
        return std::nullopt;
    }

    /* Until nothing is repeated any more. */
    void settle() {
        wait(10 * kSecond);
        sent.clear();
    }

    static UpstreamGroup row(std::size_t number) { return mcore::upstream_groups().at(number); }
    static std::uint8_t version() { return row(0).version; }
};

struct SideNames {
    template <class Side>
    static std::string GetName(int /*number*/) {
        return Side::kFamily == Family::kIpv4 ? "Igmp" : "Mld";
    }
};

using Sides = ::testing::Types<Igmp, Mld>;
TYPED_TEST_SUITE(HostSide, Sides, SideNames);

// ---- Changes (RFC 3376, 5.1; RFC 3810, 6.1) ----

TYPED_TEST(HostSide, AChangeIsReportedAsOftenAsTheRobustnessSays) {
    igmp_para_rv_globle_set(3);
    this->join(1);
    EXPECT_EQ(this->heard(), Texts{"TO_EX 1 {}"});
    EXPECT_TRUE(this->time_to_next());
    EXPECT_EQ(this->heard(), Texts{"TO_EX 1 {}"});
    EXPECT_TRUE(this->time_to_next());
    EXPECT_EQ(this->heard(), Texts{"TO_EX 1 {}"});
    EXPECT_FALSE(this->time_to_next());
}

TYPED_TEST(HostSide, RobustnessOneRepeatsNothing) {
    igmp_para_rv_globle_set(1);
    this->join(1);
    EXPECT_EQ(this->heard(), Texts{"TO_EX 1 {}"});
    EXPECT_FALSE(this->time_to_next());
}

TYPED_TEST(HostSide, RepetitionsComeAtRandomWithinASecond) {
    std::set<std::uint64_t> times;
    for (std::uint8_t i = 1; i <= 50; ++i) {
        this->join(i);
        sent.clear();
        const auto time = this->time_to_next();
        ASSERT_TRUE(time);
        EXPECT_GT(*time, 0U);
        EXPECT_LE(*time, kSecond);
        times.insert(*time);
        this->settle();
    }
    EXPECT_GT(times.size(), 45U);
    EXPECT_LT(*times.begin(), kSecond / 5);
    EXPECT_GT(*times.rbegin(), kSecond * 4 / 5);
}

TYPED_TEST(HostSide, ASourceIsReportedWithThoseThatArePending) {
    this->host(20, kAllow, 1, {7});
    EXPECT_EQ(this->heard(), Texts{"ALLOW 1 {7}"});
    this->host(20, kAllow, 1, {5, 8});
    EXPECT_EQ(this->heard(), Texts{"ALLOW 1 {5 7 8}"});
    EXPECT_EQ(this->heard_within(kSecond), Texts{"ALLOW 1 {5 8}"}) << "7 was reported twice";
    EXPECT_FALSE(this->time_to_next());
}

TYPED_TEST(HostSide, ASourceThatChangesBackIsReportedAsItIsThen) {
    this->host(20, kAllow, 1, {7, 8});
    this->settle();
    this->host(20, kBlock, 1, {7});
    EXPECT_EQ(this->heard(), Texts{"BLOCK 1 {7}"});
    this->host(20, kAllow, 1, {7});
    this->host(20, kBlock, 1, {8});
    EXPECT_EQ(this->heard(), (Texts{"ALLOW 1 {7}", "ALLOW 1 {7}", "BLOCK 1 {8}"}));
    EXPECT_EQ(this->heard_within(kSecond), Texts{"BLOCK 1 {8}"});
}

TYPED_TEST(HostSide, AnotherFilterModeTakesThePlaceOfPendingSources) {
    this->host(20, kAllow, 1, {7});
    this->host(20, kToEx, 1, {8});
    EXPECT_EQ(this->heard(), (Texts{"ALLOW 1 {7}", "TO_EX 1 {8}"}));
    EXPECT_EQ(this->heard_within(kSecond), Texts{"TO_EX 1 {8}"});
    EXPECT_FALSE(this->time_to_next());

    this->ask({.group = 9, .robustness = 7});
    this->host(20, kAllow, 2, {7});
    this->ask({.group = 9, .robustness = 1});
    this->host(20, kToEx, 2);
    EXPECT_EQ(this->heard_within(10 * kSecond), (Texts{"ALLOW 2 {7}", "TO_EX 2 {}"}));
}

TYPED_TEST(HostSide, TheModeIsRepeatedWithTheSourcesOfTheMomentAndTheyGoOnAfterIt) {
    igmp_para_rv_globle_set(3);
    this->join(1);
    EXPECT_EQ(this->heard(), Texts{"TO_EX 1 {}"});
    this->host(20, kBlock, 1, {7});
    EXPECT_EQ(this->heard(), Texts{"TO_EX 1 {7}"});
    EXPECT_TRUE(this->time_to_next());
    EXPECT_EQ(this->heard(), Texts{"TO_EX 1 {7}"});
    EXPECT_TRUE(this->time_to_next());
    EXPECT_EQ(this->heard(), Texts{"BLOCK 1 {7}"}) << "the third time that 7 is reported";
    EXPECT_FALSE(this->time_to_next());
}

TYPED_TEST(HostSide, TheEndOfAGroupIsRepeatedToo) {
    this->join(1);
    this->host(20, kAllow, 2, {7, 8});
    this->settle();
    this->leave_group(1);
    EXPECT_EQ(this->heard(), Texts{"TO_IN 1 {}"});
    EXPECT_EQ(this->heard_within(kSecond), Texts{"TO_IN 1 {}"});
    this->leave_group(2);
    EXPECT_EQ(this->heard(), Texts{"BLOCK 2 {7 8}"}) << "the mode was INCLUDE before, and is";
    EXPECT_EQ(this->heard_within(kSecond), Texts{"BLOCK 2 {7 8}"});
    EXPECT_FALSE(this->time_to_next());
}

TYPED_TEST(HostSide, AGroupJoinedAgainWhileItsEndIsRepeatedIsReportedAsJoined) {
    this->join(1);
    this->settle();
    this->leave_group(1);
    this->join(1);
    EXPECT_EQ(this->heard(), (Texts{"TO_IN 1 {}", "TO_EX 1 {}"}));
    EXPECT_EQ(this->heard_within(kSecond), Texts{"TO_EX 1 {}"});
    EXPECT_FALSE(this->time_to_next());
}

TYPED_TEST(HostSide, RepetitionsOfAVlanShareAReportAndThoseOfAnotherDoNot) {
    this->join(1);
    this->host(20, kAllow, 2, {7});
    this->join(3);
    this->take(2, TypeParam::records(20, kToEx, 4, {}), this->kOtherVlan);
    this->packets();
    this->wait(kSecond);
    const auto packets = this->packets();
    ASSERT_EQ(packets.size(), 2U);
    const std::set<std::size_t> sizes{records_of<TypeParam>(packets[0]).size(),
                                      records_of<TypeParam>(packets[1]).size()};
    EXPECT_EQ(sizes, (std::set<std::size_t>{1, 3}));
}

TYPED_TEST(HostSide, AQuestionThatMakesRoomInVainIsOverUpstreamToo) {
    igmp_fast_leave_enable_globle(0);
    mcore::set_bounds({.addresses_per_port = 2});
    this->join(1);
    this->host(20, kToIn, 1, {7});
    this->heard();
    this->host(21, kToEx, 1);
    EXPECT_EQ(drops(Drop::kAddressBound), 1U);
    EXPECT_EQ(this->heard(), Texts{"TO_IN 1 {7}"})
        << "not in exclude mode for other hosts any more";
    mcore::set_bounds({});
}

TYPED_TEST(HostSide, EnteringTheModeReportsAllGroupsInOneReportAndRepeatsIt) {
    TypeParam::set_proxy(false);
    this->join(1);
    this->host(20, kAllow, 2, {7});
    EXPECT_EQ(this->heard(), Texts{});
    TypeParam::set_proxy(true);
    EXPECT_EQ(this->heard(), (Texts{"TO_EX 1 {}", "ALLOW 2 {7}"}));
    EXPECT_EQ(this->heard_within(kSecond), (Texts{"TO_EX 1 {}", "ALLOW 2 {7}"}));
}

TYPED_TEST(HostSide, LeavingTheModeForgetsAllThatIsPendingAndTheRouter) {
    this->join(1);
    this->ask_in_older_version({});
    this->ask_in_older_version({.response_ms = 9000}, this->kOtherVlan);
    this->take(2, TypeParam::records(20, kToEx, 2, {}), this->kOtherVlan);
    this->join(3);
    this->join(4);
    TypeParam::set_proxy(false);
    EXPECT_EQ(mcore::next_timer(), std::nullopt);
    this->join(5);
    this->join(6);
    TypeParam::set_proxy(true);
    this->join(7);
    this->ask({.group = 6, .response_ms = 12000});
    this->ask({.response_ms = 12000});
    TypeParam::set_proxy(false);
    EXPECT_EQ(mcore::next_timer(), std::nullopt);
    EXPECT_EQ(mcore::upstream_groups().size(), 0U);
    this->join(1);
    TypeParam::set_proxy(true);
    EXPECT_EQ(this->version(), TypeParam::kNewest);
}

// ---- The robustness of the router (RFC 3376, 4.1.6; RFC 3810, 5.1.8) ----

TYPED_TEST(HostSide, TheRobustnessOfTheRouterTakesThePlaceOfTheSetting) {
    this->ask({.robustness = 4});
    this->join(1);
    EXPECT_EQ(this->row(0).reports_left, 3);
    this->ask({.robustness = 1});
    this->join(2);
    EXPECT_EQ(this->row(1).reports_left, 0);
}

TYPED_TEST(HostSide, ARouterWithoutARobustnessMeansTheDefault) {
    igmp_para_rv_globle_set(5);
    this->join(1);
    EXPECT_EQ(this->row(0).reports_left, 4) << "the setting, as long as no query came";
    this->ask({.robustness = 0});
    this->join(2);
    EXPECT_EQ(this->row(1).reports_left, 1);
}

// ---- Answers (RFC 3376, 5.2; RFC 3810, 6.2) ----

TYPED_TEST(HostSide, AGeneralQueryIsAnsweredOnceAtRandomWithinItsTime) {
    this->join(1);
    this->host(20, kAllow, 2, {7});
    this->settle();
    std::set<std::uint64_t> times;
    for (int i = 0; i < 50; ++i) {
        this->ask({.response_ms = 10000});
        const auto time = this->time_to_next();
        ASSERT_TRUE(time);
        times.insert(*time);
        ASSERT_EQ(this->heard(), (Texts{"IS_EX 1 {}", "IS_IN 2 {7}"}));
        ASSERT_FALSE(this->time_to_next());
    }
    EXPECT_GT(times.size(), 45U);
    EXPECT_LT(*times.begin(), 2 * kSecond);
    EXPECT_GT(*times.rbegin(), 8 * kSecond);
}

TYPED_TEST(HostSide, AnotherSeedMakesOtherDelaysAndTheSameSeedTheSame) {
    this->join(1);
    this->settle();
    const auto delay = [this](std::uint64_t seed) {
        mcore::seed_chance(seed);
        this->ask({.response_ms = 10000});
        return this->time_to_next();
    };
    const auto first = delay(7);
    this->settle();
    EXPECT_EQ(delay(7), first);
    this->settle();
    EXPECT_NE(delay(8), first);
}

TYPED_TEST(HostSide, AnAnswerToAllThatIsDueBeforeCoversLaterQueries) {
    this->join(1);
    this->settle();
    this->ask({.response_ms = 100});
    for (int i = 0; i < 20; ++i) {
        this->ask({.response_ms = 12000});
        this->ask({.group = 1, .response_ms = 12000});
    }
    EXPECT_EQ(this->heard_within(kSecond / 10), Texts{"IS_EX 1 {}"});
    // All but those few whose delay was shorter than what was left of the first one.
    EXPECT_LE(this->heard_within(12 * kSecond).size(), 2U);
}

TYPED_TEST(HostSide, AGeneralQueryThatIsToBeAnsweredBeforeTakesThePlaceOfTheOneBefore) {
    this->join(1);
    this->settle();
    this->ask({.response_ms = 12000});
    const std::uint64_t first = *this->row(0).answers;
    ASSERT_GT(first, this->now_ + kSecond / 10);
    this->ask({.response_ms = 100});
    EXPECT_LE(*this->row(0).answers, this->now_ + kSecond / 10);
    EXPECT_EQ(this->heard_within(12 * kSecond), Texts{"IS_EX 1 {}"});
}

TYPED_TEST(HostSide, AQueryOfAGroupIsAnsweredAboutThatGroup) {
    this->join(1);
    this->host(20, kAllow, 2, {7, 8});
    this->settle();
    this->ask({.group = 2});
    EXPECT_FALSE(this->row(0).answers);
    EXPECT_EQ(this->heard(), Texts{});
    EXPECT_EQ(this->heard_within(kSecond), Texts{"IS_IN 2 {7 8}"});
    this->ask({.group = 9});
    EXPECT_FALSE(this->time_to_next()) << "nobody is in that group";
}

TYPED_TEST(HostSide, AQueryOfSourcesIsAnsweredWithThoseWanted) {
    this->host(20, kToEx, 1, {7});
    this->host(20, kAllow, 2, {7});
    this->settle();
    this->ask({.group = 1, .sources = {7, 8}});
    EXPECT_EQ(this->heard_within(kSecond), Texts{"IS_IN 1 {8}"});
    this->ask({.group = 2, .sources = {7, 8}});
    EXPECT_EQ(this->heard_within(kSecond), Texts{"IS_IN 2 {7}"});
    this->ask({.group = 1, .sources = {7}});
    this->ask({.group = 2, .sources = {8}});
    EXPECT_FALSE(this->time_to_next()) << "there is nothing to say";
}

TYPED_TEST(HostSide, SourcesOfSeveralQueriesAreAnsweredTogetherAtTheEarlierTime) {
    this->host(20, kAllow, 1, {5, 7, 8, 9});
    this->settle();
    this->ask({.group = 1, .sources = {8, 7}, .response_ms = 12000});
    this->ask({.group = 1, .sources = {7, 5}, .response_ms = 100});
    EXPECT_EQ(this->heard_within(kSecond / 10), Texts{"IS_IN 1 {5 7 8}"});
    EXPECT_FALSE(this->time_to_next());
}

TYPED_TEST(HostSide, AQueryOfTheGroupAndOneOfItsSourcesAreAnsweredAboutAll) {
    this->host(20, kAllow, 1, {5, 7});
    this->settle();
    this->ask({.group = 1, .sources = {7}, .response_ms = 12000});
    this->ask({.group = 1, .response_ms = 100});
    EXPECT_EQ(this->heard_within(kSecond / 10), Texts{"IS_IN 1 {5 7}"});
    this->ask({.group = 1, .response_ms = 100});
    this->ask({.group = 1, .sources = {7}, .response_ms = 12000});
    EXPECT_EQ(this->heard_within(kSecond / 10), Texts{"IS_IN 1 {5 7}"});
    EXPECT_FALSE(this->time_to_next(12 * kSecond));
}

TYPED_TEST(HostSide, TooManySourcesAskedForAreAnsweredAboutAll) {
    this->host(20, kAllow, 1, {5});
    this->settle();
    const auto ask_for = [this](std::uint16_t queries) {
        for (std::uint16_t i = 0; i < queries; ++i) {
            Numbers hundred(100);
            std::iota(hundred.begin(), hundred.end(), static_cast<std::uint16_t>(100 * (i + 1)));
            this->ask({.group = 1, .sources = hundred});
        }
    };
    ask_for(5);
    EXPECT_FALSE(this->time_to_next()) << "5 is not among them";
    ask_for(6);
    EXPECT_EQ(this->heard_within(kSecond), Texts{"IS_IN 1 {5}"});
}

TYPED_TEST(HostSide, WhatEndsBeforeItsAnswerIsNotAnswered) {
    this->join(1);
    this->settle();
    this->ask({.group = 1, .response_ms = 12000});
    this->ask({.response_ms = 12000});
    this->leave_group(1);
    EXPECT_EQ(this->heard_within(12 * kSecond), (Texts{"TO_IN 1 {}", "TO_IN 1 {}"}));
}

TYPED_TEST(HostSide, AQueryOfOneVlanIsAnsweredForThatVlan) {
    this->join(1);
    this->take(2, TypeParam::records(20, kToEx, 2, {}), this->kOtherVlan);
    this->settle();
    this->ask({}, this->kOtherVlan);
    this->wait(kSecond);
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].vid, this->kOtherVlan);
    EXPECT_EQ(this->heard(), Texts{"IS_EX 2 {}"});
}

// ---- Older routers (RFC 3376, 7.2.1; RFC 3810, 8.2.1) ----

TYPED_TEST(HostSide, AnOlderRouterIsAnsweredAGroupAtATimeInItsVersion) {
    for (std::uint8_t group = 1; group <= 9; ++group) this->join(group);
    this->settle();
    this->ask_in_older_version({.response_ms = 10000});
    std::set<std::uint64_t> times;
    std::set<std::string> groups;
    std::uint64_t time = 0;
    for (int i = 0; i < 9; ++i) {
        const auto more = this->time_to_next();
        ASSERT_TRUE(more);
        times.insert(time += *more);
        for (const std::string& line : this->heard()) groups.insert(line);
    }
    EXPECT_EQ(groups,
              (std::set<std::string>{"report 1", "report 2", "report 3", "report 4", "report 5",
                                     "report 6", "report 7", "report 8", "report 9"}));
    EXPECT_EQ(times.size(), 9U);
    EXPECT_LE(time, 10 * kSecond);
    EXPECT_FALSE(this->time_to_next());
}

TYPED_TEST(HostSide, AnOlderAnswerIsDrawnAnewOnlyIfItIsDueTooLate) {
    this->join(1);
    this->settle();
    this->ask_in_older_version({.response_ms = 12000});
    const std::uint64_t first = *this->row(0).answers;
    ASSERT_GT(first, this->now_ + kSecond / 10);
    this->ask_in_older_version({.response_ms = 12000});
    EXPECT_EQ(this->row(0).answers, first);
    this->ask_in_older_version({.group = 1, .response_ms = 100});
    EXPECT_LE(*this->row(0).answers, this->now_ + kSecond / 10);
    EXPECT_EQ(this->heard_within(12 * kSecond), Texts{"report 1"});
}

TYPED_TEST(HostSide, AnOlderRouterHearsOfMembersButNotOfFilters) {
    igmp_para_rv_globle_set(3);
    this->ask_in_older_version({});
    this->host(20, kAllow, 1, {7});
    EXPECT_EQ(this->heard(), Texts{"report 1"});
    EXPECT_EQ(this->heard_within(2 * kSecond), (Texts{"report 1", "report 1"}));
    this->host(20, kToEx, 1, {8});
    this->host(21, kToEx, 1);
    EXPECT_EQ(this->heard(), Texts{});
    this->host(20, kToIn, 1);
    EXPECT_EQ(this->heard(), Texts{});
    this->host(21, kToIn, 1);
    EXPECT_EQ(this->heard(), Texts{"leave 1"});
    EXPECT_FALSE(this->time_to_next()) << "a leave is not repeated";
}

TYPED_TEST(HostSide, ALeaveEndsTheRepetitionsOfAnOlderReport) {
    this->ask_in_older_version({});
    this->join(1);
    this->leave_group(1);
    EXPECT_EQ(this->heard(), (Texts{"report 1", "leave 1"}));
    EXPECT_FALSE(this->time_to_next());
}

TYPED_TEST(HostSide, TheOlderVersionHoldsForRobustnessTimesTheIntervalAndTheResponseTime) {
    this->join(1);
    this->settle();
    this->ask_in_older_version({.response_ms = 10000});
    this->wait(2 * 125 * kSecond + 10 * kSecond - 1);
    EXPECT_EQ(this->version(), TypeParam::kNewest - 1);
    this->wait(1);
    EXPECT_EQ(this->version(), TypeParam::kNewest);
}

TYPED_TEST(HostSide, EachOlderQueryMakesTheOlderVersionHoldAnew) {
    this->join(1);
    this->settle();
    for (int i = 0; i < 5; ++i) {
        this->ask_in_older_version({});
        this->wait(200 * kSecond);
        EXPECT_EQ(this->version(), TypeParam::kNewest - 1);
    }
}

TYPED_TEST(HostSide, TheOlderVersionHoldsForTheIntervalLastHeardOfARouter) {
    this->join(1);
    this->ask({.robustness = 3, .interval_s = 20});
    this->ask_in_older_version({.response_ms = 1000});
    this->wait(3 * 20 * kSecond + kSecond - 1);
    EXPECT_EQ(this->version(), TypeParam::kNewest - 1);
    this->wait(1);
    EXPECT_EQ(this->version(), TypeParam::kNewest);
}

TYPED_TEST(HostSide, QueriesOfTheNewestVersionDoNotEndTheOlderOne) {
    this->join(1);
    this->settle();
    this->ask_in_older_version({});
    this->ask({});
    EXPECT_EQ(this->version(), TypeParam::kNewest - 1);
    EXPECT_EQ(this->heard_within(kSecond), Texts{"report 1"});
}

TYPED_TEST(HostSide, AnotherVersionDropsWhatIsPendingInTheOneBefore) {
    this->join(1);
    this->ask({.response_ms = 12000});
    this->ask({.group = 1, .response_ms = 12000});
    this->heard();
    this->ask_in_older_version({.response_ms = 100, .interval_s = 0});
    EXPECT_EQ(this->heard_within(12 * kSecond), Texts{"report 1"})
        << "the answer to the older query; no repetition, no answer to the others";
    // And back, just when a report of the older version is to be repeated.
    this->wait(2 * 125 * kSecond + kSecond / 10 - 12 * kSecond - 1);
    this->join(2);
    EXPECT_EQ(this->heard(), Texts{"report 2"});
    this->wait(1);
    EXPECT_EQ(this->version(), TypeParam::kNewest);
    EXPECT_FALSE(this->time_to_next());
}

TYPED_TEST(HostSide, ARouterIsOldInItsOwnVlanOnly) {
    this->ask_in_older_version({}, this->kOtherVlan);
    this->join(1);
    this->take(2, TypeParam::records(20, kToEx, 2, {}), this->kOtherVlan);
    EXPECT_EQ(this->heard(), (Texts{"TO_EX 1 {}", "report 2"}));
}

// ---- What only one family has ----

class IgmpHostSide : public HostSide<Igmp> {};
class MldHostSide : public HostSide<Mld> {};

TEST_F(IgmpHostSide, AVersion1RouterIsOlderThanAVersion2Router) {
    join(1);
    settle();
    ask_in_older_version({.response_ms = 0});  // which is a query of version 1, and 10 s
    EXPECT_EQ(version(), 1);
    EXPECT_EQ(heard_within(10 * kSecond), Texts{"v1 report 1"});
    join(2);
    leave_group(2);
    EXPECT_EQ(heard(), Texts{"v1 report 2"}) << "there is no leave in version 1";
    wait(100 * kSecond);
    ask_in_older_version({.response_ms = 1000});
    EXPECT_EQ(version(), 1);
    wait(150 * kSecond - 1);
    EXPECT_EQ(version(), 1);
    wait(1);
    EXPECT_EQ(version(), 2) << "the older timer has run out, the other has not";
    wait(101 * kSecond);
    EXPECT_EQ(version(), 3);
}

TEST_F(IgmpHostSide, AVersion2QueryOfAGroupDoesNotShowAnOlderRouter) {
    join(1);
    settle();
    ask_in_older_version({.group = 1});
    EXPECT_EQ(version(), 3);
    EXPECT_EQ(heard_within(kSecond), Texts{"IS_EX 1 {}"});
}

TEST_F(MldHostSide, AnyVersion1QueryShowsAnOlderRouter) {
    join(1);
    settle();
    ask_in_older_version({.group = 1});
    EXPECT_EQ(version(), 1);
    EXPECT_EQ(heard_within(kSecond), Texts{"report 1"});
}

TEST_F(IgmpHostSide, TheVersionSetIsTheNewestThatIsSpoken) {
    take(2, v2_report(kHostA, Igmp::group(1)));
    ask({.response_ms = 12000});
    igmp_version_globle_set(2);
    sent.clear();
    EXPECT_FALSE(time_to_next(12 * kSecond)) << "what was pending in version 3 is dropped";
    ask({});
    EXPECT_EQ(heard_within(kSecond), Texts{"report 1"}) << "a query of version 3";
    igmp_version_globle_set(1);
    ask_in_older_version({});
    EXPECT_EQ(heard_within(kSecond), Texts{"v1 report 1"});
    igmp_version_globle_set(3);
    EXPECT_EQ(version(), 2) << "of the router";
}

TEST_F(MldHostSide, LongResponseTimesAreCodes) {
    join(1);
    settle();
    std::uint64_t longest = 0;
    for (int i = 0; i < 30; ++i) {
        ask({.response_ms = 0xA000});  // (0x1000 << 5) ms
        const std::uint64_t due = *row(0).answers - now_;
        EXPECT_LE(due, 131'072'000U);
        longest = std::max(longest, due);
        wait(due);
    }
    EXPECT_GT(longest, 100 * kSecond);
}

TEST_F(MldHostSide, AReportComesFromTheLinkLocalAddressThatQueriesHave) {
    join(1);
    const Ipv6 from{0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 10, 25, 14, 20};
    const Bytes report = Bytes{143, 0, 0, 0, 0, 0, 0, 1, kToEx, 0, 0, 0} + bytes_of(Mld::group(1));
    const Ipv6 to = Mld::numbered(kAllRouters6, 0x16);
    EXPECT_EQ(packets(), std::vector<Bytes>{ipv6(from, to, report)});
    EXPECT_EQ(mcore::counters()[mcore::Sent::kMldReport], 1U);
}

TEST_F(MldHostSide, AQueryCutShortIsRefused) {
    Bytes message = Mld::start_of_query({}) + Bytes{2, 125, 0, 1};
    EXPECT_EQ(receive_mld(29, Mld::packet(message)), 1) << "its source is not there";
    message.resize(26);
    EXPECT_EQ(receive_mld(29, Mld::packet(message)), 1) << "between the versions";
    message.resize(20);
    EXPECT_EQ(receive_mld(29, Mld::packet(message)), 1) << "half a group";
    EXPECT_EQ(drops(Drop::kTruncated), 3U);
}

TEST_F(MldHostSide, TheUplinkTagOfIgmpIsNotThatOfMld) {
    IgmpUplinkTag outer{0xA064, 0x8100, 0x0A};
    IgmpUplinkTag inner{0x8100, 0xFFFF, 0};
    ASSERT_EQ(igmp_if_snp_uplinkvlan_set(29, &outer, &inner), 0);
    join(1);
    EXPECT_EQ(sent.at(0).vid, kVlan);
}

TEST_F(MldHostSide, TheModesOfTheFamiliesAreIndependentInTheCore) {
    join(1);
    take(2, Mld::records(20, kToEx, 2, {}));
    receive(2, v2_report(kHostA, kGroup));
    EXPECT_EQ(mcore::upstream_groups().size(), 2U);
    igmp_mode_switch_globle(2);
    EXPECT_EQ(mcore::upstream_groups().size(), 3U);
    mld_data_init();
    EXPECT_EQ(mcore::upstream_groups().size(), 1U);
    igmp_mode_switch_globle(1);
    EXPECT_EQ(mcore::upstream_groups().size(), 0U);
}

// ---- For others ----

TYPED_TEST(HostSide, TheGroupsUpstreamAreListedWithWhatIsPending) {
    igmp_para_rv_globle_set(3);
    this->host(20, kAllow, 2, {8, 7});
    this->join(1);
    this->leave_group(1);
    this->ask({.group = 2, .robustness = 2});
    const auto rows = mcore::upstream_groups();
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[0].reports_left, 2) << "the end of group 1";
    EXPECT_FALSE(rows[0].exclude);
    EXPECT_FALSE(rows[0].answers);
    EXPECT_EQ(rows[1].family, TypeParam::kFamily);
    EXPECT_EQ(rows[1].vlan, kVlan);
    EXPECT_EQ(rows[1].group.at(TypeParam::kAddress - 1), 2);
    EXPECT_EQ(rows[1].sources.size(), 2U);
    EXPECT_EQ(rows[1].sources.at(0).at(TypeParam::kAddress - 1), 7);
    EXPECT_EQ(rows[1].version, TypeParam::kNewest);
    EXPECT_EQ(rows[1].reports_left, 2);
    ASSERT_TRUE(rows[1].answers);
    EXPECT_LE(*rows[1].answers, this->now_ + kSecond);
}

TEST_F(IgmpHostSide, WhoeverWatchesIsToldOfProxyModeOnly) {
    std::vector<bool> told;
    mcore::watch_proxy_mode([&told](bool is_proxy) { told.push_back(is_proxy); });
    igmp_mode_switch_globle(3);
    igmp_mode_switch_globle(1);
    igmp_mode_switch_globle(2);
    igmp_mode_switch_globle(2);
    EXPECT_EQ(told, (std::vector<bool>{false, true}));
    mcore::watch_proxy_mode({});
    igmp_mode_switch_globle(1);
    EXPECT_EQ(told.size(), 2U);
}

// ---- Losses ----

struct Wants {
    bool exclude = false;
    std::set<std::uint16_t> sources{};

    bool operator==(const Wants&) const = default;
};

/* What a router makes of the reports (RFC 3376, 6.4, without its timers), every other one that is
 * about a group being lost. */
template <class Side>
class LossyRouter {
 public:
    void take(const Bytes& packet) {
        std::set<std::uint8_t> lost;
        std::set<std::uint8_t> about;
        const auto records = records_of<Side>(packet);
        for (const HeardRecord& record : records) about.insert(record.group);
        for (const std::uint8_t group : about) {
            if (loses_[group] = !loses_[group]; loses_[group]) lost.insert(group);
        }
        for (const HeardRecord& record : records) {
            if (!lost.contains(record.group)) change(record);
        }
    }

    std::map<std::uint8_t, Wants> wants;

 private:
    void change(const HeardRecord& record) {
        Wants& now = wants[record.group];
        if (record.type == kToEx || record.type == kToIn) {
            now = {record.type == kToEx, record.sources};
            return;
        }
        const bool adds = (record.type == kAllow) != now.exclude;
        for (const std::uint16_t source : record.sources) {
            if (adds) now.sources.insert(source);
            if (!adds) now.sources.erase(source);
        }
    }

    std::map<std::uint8_t, bool> loses_;
};

TYPED_TEST(HostSide, EachChangeArrivesThoughEveryOtherReportIsLost) {
    std::mt19937 random(1);
    const auto below = [&random](unsigned bound) {
        return static_cast<unsigned>(random() % bound);
    };
    LossyRouter<TypeParam> router;
    for (int round = 0; round < 300; ++round) {
        for (unsigned left = 1 + below(6); left > 0; --left) {
            Numbers sources;
            for (unsigned more = below(4); more > 0; --more) {
                sources.push_back(static_cast<std::uint16_t>(1 + below(6)));
            }
            this->take(below(3),
                       TypeParam::records(static_cast<std::uint8_t>(20 + below(3)),
                                          static_cast<std::uint8_t>(1 + below(6)),
                                          static_cast<std::uint8_t>(1 + below(3)), sources));
            if (below(2) == 0) this->wait(below(kSecond));
        }
        this->wait(5 * kSecond);
        for (const Bytes& packet : this->packets()) router.take(packet);
        std::map<std::uint8_t, Wants> wanted{{1, {}}, {2, {}}, {3, {}}};
        for (const UpstreamGroup& group : mcore::upstream_groups()) {
            Wants& wants = wanted[group.group.at(TypeParam::kAddress - 1)];
            wants.exclude = group.exclude;
            for (const auto& source : group.sources) {
                wants.sources.insert(source.at(TypeParam::kAddress - 1));
            }
        }
        for (const auto& [group, wants] : wanted) {
            ASSERT_EQ(router.wants[group], wants) << "round " << round << " group " << int{group};
        }
    }
}

}  // namespace
