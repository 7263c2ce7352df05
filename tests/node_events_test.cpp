/*
 * What the core tells of what happens in it, one test for both families, and how it stands in lines
 * and on a page. The time is emulated; the core stands between packets and call-backs as in
 * node_core_test.cpp.
 */
#include <gmock/gmock.h>

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "node/core/events.h"
#include "node/core/multicast_core.h"
#include "node/driver/frame_origin.h"
#include "node/events/event_line.h"
#include "node/events/journal.h"
#include "node/events/json_line.h"
#include "node/timeline/page.h"
#include "platform/protocol_core.h"
#include "support/core_fixture.h"

namespace {

using namespace core_fixture;  // NOLINT(google-build-using-namespace): a vocabulary
using mcore::Event;
using mcore::Family;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr std::uint16_t kAgeingTime = 260;  // seconds
constexpr std::uint16_t kListed = 100;      // a VLAN
constexpr Ipv6 kHostC6{0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFE, 0, 0, 0x01};
constexpr Ipv6 kAllNodes6{0xFF, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
constexpr Ipv6 kOther6{0xFF, 0x1E, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2};
constexpr Ipv6 kSecond6{0x20, 0x01, 0x0D, 0xB8, 0, 7, 0, 0, 0, 0, 0, 0, 0, 0, 0, 8};

// ---- Events in few words ------------------------------------------------------------------------

/* "IGMPv3 report" as "report", so that the families say the same. */
std::string without_protocol(std::string_view kind) {
    return std::string(kind.substr(kind.find(' ') + 1));
}

std::string state_text(const mcore::MembershipState& state) {
    return (state.filter.exclude ? "exclude " : "include ") +
           std::to_string(state.filter.sources.size()) + ", of " +
           std::to_string(state.reporters.size());
}

struct Words {
    std::string operator()(const mcore::MessageReceived& one) const {
        return "received " + without_protocol(mcore::name(one.kind));
    }
    std::string operator()(const mcore::MessageSent& one) const {
        return "sent " + without_protocol(mcore::name(one.kind));
    }
    std::string operator()(const mcore::MessageDropped& one) const {
        return "dropped: " + std::string(mcore::name(one.reason));
    }
    std::string operator()(const mcore::RecordRefused& one) const {
        return std::string(one.is_partly ? "partly " : "") +
               "refused: " + std::string(mcore::name(one.reason));
    }
    std::string operator()(const mcore::MembershipJoined& one) const {
        return "joined, " + state_text(one.state);
    }
    std::string operator()(const mcore::MembershipChanged& one) const {
        return "changed, " + state_text(one.state);
    }
    std::string operator()(const mcore::MembershipLeft& one) const {
        return "over: " + std::string(mcore::name(one.why));
    }
    std::string operator()(const mcore::EntryChanged& one) const {
        return std::string("entry ") + (one.is_done ? "" : "not ") +
               (one.is_set ? "set" : "removed");
    }
    std::string operator()(const mcore::RouterChanged& one) const {
        return one.is_found ? "router found" : "router lost: " + std::string(mcore::name(one.why));
    }
    std::string operator()(const mcore::LinkChanged& one) const {
        return one.is_up ? "link up" : "link down";
    }
    std::string operator()(const mcore::CommandRun& one) const { return "command " + one.words; }
};

class Events : public Core, public ::testing::WithParamInterface<Family> {
 protected:
    void SetUp() override {
        Core::SetUp();
        mcore::watch_events([this](const Event& event) { all_.push_back(event); });
    }
    void TearDown() override {
        mcore::watch_events({});
        mcore::set_bounds({});
        Core::TearDown();
    }

    static bool is_igmp() { return GetParam() == Family::kIpv4; }

    void hear(const Bytes& of_igmp, const Bytes& of_mld, std::uint32_t vlan = kVlan,
              std::uint32_t port = 2) {
        static_cast<void>(is_igmp() ? receive(port, of_igmp, vlan)
                                    : receive_mld(port, of_mld, vlan));
    }
    void join(std::uint32_t vlan = kVlan) {
        hear(v3_report(kHostA, kToEx, kGroup), mld_v2_report(kHostA6, kToEx, kGroup6), vlan);
    }
    void join_sources(std::uint8_t type, std::size_t count) {
        std::vector<std::uint32_t> sources{kSource1, kSource2};
        std::vector<Ipv6> sources6{kSource6, kSecond6};
        sources.resize(count);
        sources6.resize(count);
        hear(v3_report(kHostA, type, kGroup, sources),
             mld_v2_report(kHostA6, type, kGroup6, sources6));
    }
    void leave_group() {
        hear(v3_report(kHostA, kToIn, kGroup), mld_v2_report(kHostA6, kToIn, kGroup6));
    }

    /* What was told since it was asked last. */
    Texts told() {
        Texts words;
        for (const Event& event : std::exchange(all_, {})) {
            words.push_back(std::visit(Words{}, event.what));
        }
        return words;
    }

    /* The last event of a kind; there must be one. */
    template <class Kind>
    Kind last() {
        for (auto at = all_.rbegin(); at != all_.rend(); ++at) {
            if (const auto* const found = std::get_if<Kind>(&at->what)) return *found;
        }
        ADD_FAILURE() << "no such event";
        return {};
    }

    std::vector<Event> all_;
};

INSTANTIATE_TEST_SUITE_P(BothFamilies, Events, ::testing::Values(Family::kIpv4, Family::kIpv6),
                         [](const auto& one) {
                             return one.param == Family::kIpv4 ? "Igmp" : "Mld";
                         });

// ---- Memberships --------------------------------------------------------------------------------

TEST_P(Events, OfAJoinAreTheReportTheEntryAndTheMembership) {
    join();
    for (const Event& event : all_) {
        EXPECT_EQ(event.time_us, now_);
        EXPECT_EQ(event.port, 2U);
        EXPECT_EQ(event.vlan, kVlan);
        EXPECT_EQ(event.family, GetParam());
    }
    EXPECT_EQ(last<mcore::MembershipJoined>().state.version, is_igmp() ? 3 : 2);
    EXPECT_THAT(told(), ElementsAre("received report", "entry set", "joined, exclude 0, of 1"));
}

TEST_P(Events, OfAReportThatSaysNothingNewAreTheReportAlone) {
    join();
    told();
    join();
    EXPECT_THAT(told(), ElementsAre("received report"));
}

TEST_P(Events, OfASecondHostAndOfAnOlderOneAreChanges) {
    join();
    told();
    hear(v3_report(kHostB, kToEx, kGroup), mld_v2_report(kHostB6, kToEx, kGroup6));
    EXPECT_THAT(told(), ElementsAre("received report", "changed, exclude 0, of 2"));
    hear(v2_report(kHostB, kGroup), mld_report(kHostB6, kGroup6));
    EXPECT_EQ(last<mcore::MembershipChanged>().state.version, is_igmp() ? 2 : 1);
    EXPECT_THAT(told(), ElementsAre("received report", "changed, exclude 0, of 2"));
}

TEST_P(Events, OfAnOlderMessageNameItsVersionAndItsGroup) {
    const auto expect_older = [this] {
        const auto message = last<mcore::MessageReceived>().message;
        EXPECT_EQ(message.version, is_igmp() ? 2 : 1);
        ASSERT_THAT(message.groups, SizeIs(1));
        EXPECT_EQ(message.groups[0].record_type, 0);
        EXPECT_EQ(mcore::text(GetParam(), message.groups[0].group),
                  is_igmp() ? "239.1.1.1" : "ff1e::101");
    };
    hear(v2_report(kHostA, kGroup), mld_report(kHostA6, kGroup6));
    expect_older();
    hear(leave(kHostA, kGroup), mld_done(kHostA6, kGroup6));
    expect_older();
}

TEST_P(Events, OfSourcesAreChanges) {
    join_sources(kAllow, 1);
    EXPECT_THAT(last<mcore::MembershipJoined>().state.filter.sources, SizeIs(1));
    told();
    join_sources(kAllow, 2);
    EXPECT_THAT(told(), ElementsAre("received report", "changed, include 2, of 1"));
}

TEST_P(Events, OfAFastLeaveEndTheMembershipAtOnce) {
    igmp_if_fast_leave_enable(2, 1);
    join();
    told();
    leave_group();
    EXPECT_THAT(told(), ElementsAre("received report", "over: left", "entry removed"));
}

TEST_P(Events, OfALeaveThatNobodyAnswersShowTheQueries) {
    join();
    told();
    leave_group();
    EXPECT_EQ(last<mcore::MessageSent>().message.max_response_us, kSecond);
    EXPECT_THAT(told(),
                ElementsAre("received report", "sent group query", "changed, exclude 0, of 0"));
    wait_seconds(1);
    EXPECT_THAT(told(), ElementsAre("sent group query"));
    wait_seconds(1);
    EXPECT_THAT(told(), ElementsAre("over: left, no host answered", "entry removed"));
}

TEST_P(Events, OfASourceThatIsGivenUpNameTheSourceInTheQuery) {
    join_sources(kAllow, 2);
    told();
    join_sources(kBlock, 1);
    const auto query = last<mcore::MessageSent>().message;
    ASSERT_THAT(query.groups, SizeIs(1));
    EXPECT_EQ(mcore::text(GetParam(), query.groups[0].sources.at(0)),
              is_igmp() ? "198.51.100.7" : "2001:db8:7::7");
    EXPECT_THAT(told(), ElementsAre("received report", "sent group-and-source query"));
    wait_seconds(2);
    EXPECT_THAT(told(), ElementsAre("sent group-and-source query", "changed, include 1, of 1"));
}

TEST_P(Events, OfAMembershipThatNobodyReportsAgainEndWithItsAge) {
    join();
    told();
    wait_seconds(kAgeingTime);
    EXPECT_EQ(all_.front().time_us, now_);
    EXPECT_THAT(told(), ElementsAre("over: aged", "entry removed"));
}

TEST_P(Events, OfAPortThatGoesDownEndItsMemberships) {
    join();
    told();
    mcore::link_down(2);
    wait_seconds(2);
    mcore::link_up(2);
    EXPECT_THAT(told(), ElementsAre("link down", "over: lost with the link", "entry removed",
                                    "link up", "sent general query", "sent general query"));
}

TEST_P(Events, OfACommandThatTakesAVlanAwayEndItsMemberships) {
    igmp_vlan_add(kListed);
    join(kListed);
    told();
    mcore::tell_command({"vlan delete", 7});
    igmp_vlan_del(kListed);
    EXPECT_THAT(told(), ElementsAre("command vlan delete", "over: taken away", "entry removed"));
}

TEST_P(Events, OfACoreThatBeginsAnewEndAllMemberships) {
    join();
    told();
    static_cast<void>(is_igmp() ? igmp_data_init() : mld_data_init());
    EXPECT_THAT(told(), ElementsAre("over: forgotten"));
}

// ---- What comes to nothing ----------------------------------------------------------------------

TEST_P(Events, OfARefusedJoinSayWhy) {
    mcore::Bounds bounds;
    bounds.groups_per_port = 1;
    mcore::set_bounds(bounds);
    join();
    told();
    hear(v2_report(kHostA, kOther), mld_report(kHostA6, kOther6));
    const auto refused = last<mcore::RecordRefused>();
    EXPECT_TRUE(refused.is_join);
    EXPECT_EQ(mcore::text(GetParam(), refused.group), is_igmp() ? "239.1.1.2" : "ff1e::102");
    EXPECT_THAT(told(), ElementsAre("received report", "refused: bound on groups of a port"));
}

TEST_P(Events, OfSourcesBeyondTheirBoundAreRefusalsInPart) {
    mcore::Bounds bounds;
    bounds.sources_per_host = 1;
    mcore::set_bounds(bounds);
    join_sources(kAllow, 2);
    EXPECT_THAT(told(), ElementsAre("received report", "entry set",
                                    "partly refused: bound on sources of a host",
                                    "joined, include 1, of 1"));
}

TEST_P(Events, OfASwitchThatTakesNoEntryShowTheMembershipAllTheSame) {
    add_answer = -1;
    join();
    EXPECT_THAT(told(), ElementsAre("received report", "entry not set", "joined, exclude 0, of 1"));
    add_answer = 0;
    join();
    EXPECT_THAT(told(), ElementsAre("received report", "entry set"));
}

TEST_P(Events, OfAMessageThatIsNotBelievedSayWhy) {
    Bytes igmp = v2_report(kHostA, kGroup);
    Bytes mld = mld_report(kHostA6, kGroup6);
    ++igmp.back();
    ++mld.back();
    hear(igmp, mld);
    EXPECT_THAT(told(), ElementsAre("dropped: wrong checksum"));
}

// ---- Routers, and the node as one ---------------------------------------------------------------

TEST_P(Events, OfARouterAreThatItIsFoundAndLost) {
    const Bytes message{130, 0, 0, 0, 0x27, 0x10, 0, 0};
    hear(ipv4(0xC0000201, 0xE0000001, igmp(0x11, 0, 100)),
         ipv6(kHostC6, kAllNodes6, message + Bytes(16, 0)));
    EXPECT_EQ(last<mcore::MessageReceived>().message.max_response_us, 10 * kSecond);
    EXPECT_THAT(told(), ElementsAre("received query", "router found"));
    wait_seconds(kAgeingTime);
    EXPECT_THAT(told(), ElementsAre("router lost: aged"));
}

TEST_P(Events, OfAProxyAreItsQueriesAndItsReportsUpstream) {
    static_cast<void>(is_igmp() ? igmp_mode_switch_globle(2) : mld_proxy_snoop_set_globle(1));
    EXPECT_THAT(told(), Contains("sent general query").Times(6));
    join();
    EXPECT_EQ(last<mcore::MessageSent>().message.groups.at(0).record_type, kToEx);
    const auto sent_up =
        std::ranges::find_if(all_, [](const Event& one) { return one.port == 29; });
    ASSERT_NE(sent_up, all_.end());
    EXPECT_THAT(std::visit(Words{}, sent_up->what), "sent report");
}

// ---- Who watches --------------------------------------------------------------------------------

TEST_P(Events, BeginWithTheMembershipsThatAreThereAlready) {
    mcore::watch_events({});
    join();
    EXPECT_THAT(all_, IsEmpty());
    mcore::watch_events([this](const Event& event) { all_.push_back(event); });
    EXPECT_THAT(told(), ElementsAre("joined, exclude 0, of 1"));
}

// ---- Lines --------------------------------------------------------------------------------------

class EventLines : public Events {
 protected:
    Texts lines(events::FrameSource source = events::FrameSource::kCapture) {
        Texts all;
        for (const Event& event : std::exchange(all_, {})) {
            all.push_back(events::lines_of(event, source, driver::origin_in_hand()).for_file);
        }
        return all;
    }
};

INSTANTIATE_TEST_SUITE_P(BothFamilies, EventLines, ::testing::Values(Family::kIpv4, Family::kIpv6),
                         [](const auto& one) {
                             return one.param == Family::kIpv4 ? "Igmp" : "Mld";
                         });

TEST_P(EventLines, HaveTheSameFieldsInBothFamilies) {
    join_sources(kAllow, 1);
    leave_group();
    const std::string place = R"("time_us":1000000000,"protocol":")" +
                              std::string(is_igmp() ? "IGMP" : "MLD") +
                              R"(","port":2,"vlan":4088,)";
    const std::string group = is_igmp() ? "239.1.1.1" : "ff1e::101";
    const std::string source = is_igmp() ? "198.51.100.7" : "2001:db8:7::7";
    const std::string host = is_igmp() ? "192.0.2.20" : "fe80::ff:fe00:a";
    const std::string kind = is_igmp() ? "IGMPv3 report" : "MLDv2 report";
    const std::string query =
        is_igmp() ? "IGMP group-and-source query" : "MLD group-and-source query";
    const std::string version = is_igmp() ? "3" : "2";
    const std::string state = R"("group":")" + group + R"(","version":)" + version +
                              R"(,"filter":"include","sources":[")" + source +
                              R"("],"reporters":[)";
    const Texts all = lines();
    ASSERT_THAT(all, SizeIs(6));
    EXPECT_EQ(all[0], R"({"event":"received",)" + place + R"("kind":")" + kind + R"(","sender":")" +
                          host + R"(","version":)" + version + R"(,"groups":[{"group":")" + group +
                          R"(","record":"allow_sources","sources":[")" + source + R"("]}]})");
    EXPECT_EQ(all[1],
              R"({"event":"entry_set",)" + place + R"("group":")" + group + R"(","is_done":true})");
    EXPECT_EQ(all[2], R"({"event":"joined",)" + place + state + R"(")" + host + R"("]})");
    EXPECT_THAT(all[3], StartsWith(R"({"event":"received",)"));
    EXPECT_THAT(all[4], StartsWith(R"({"event":"sent",)" + place + R"("kind":")" + query));
    EXPECT_THAT(all[4],
                EndsWith(R"("version":)" + version +
                         R"(,"query":"source","max_response_us":1000000,"groups":[{"group":")" +
                         group + R"(","sources":[")" + source + R"("]}]})"));
    EXPECT_EQ(all[5], R"({"event":"changed",)" + place + state + "]}");
}

TEST_P(EventLines, NameTheFrameThatTheyComeFrom) {
    const Bytes frame(200, 0xAB);
    driver::note_origin("port2.pcap", 17, frame);
    join();
    const Event received = all_.front();
    for (const std::string& line : lines()) {
        EXPECT_THAT(line, EndsWith(R"(,"capture":"port2.pcap","frame":17})"));
    }
    const auto both =
        events::lines_of(received, events::FrameSource::kInterface, driver::origin_in_hand());
    EXPECT_THAT(both.for_file, EndsWith(R"(,"interface":"port2.pcap","frame":17})"));
    std::string beginning;
    for (std::size_t i = 0; i < driver::kOriginBytes; ++i) beginning += "ab";
    EXPECT_THAT(both.for_page,
                EndsWith(R"(,"frame":17,"frame_bytes":200,"beginning":")" + beginning + "\"}"));
    driver::forget_origin();
    wait_seconds(kAgeingTime);
    for (const std::string& line : lines()) EXPECT_THAT(line, Not(HasSubstr("\"frame\"")));
}

TEST_P(EventLines, SayWhatAQueryAsksFor) {
    mcore::link_up(2);
    const Texts all = lines();
    ASSERT_THAT(all, SizeIs(3));
    EXPECT_EQ(all[0], R"({"event":"link_up","time_us":1000000000,"port":2})");
    EXPECT_THAT(all[is_igmp() ? 1 : 2],
                HasSubstr(R"("query":"general","max_response_us":10000000,"groups":[])"));
}

TEST(JsonText, HoldsWhateverSomebodyTyped) {
    EXPECT_EQ(events::json_text("a\"b\\c\n"), R"("a\"b\\\\c\\n")");
    EXPECT_EQ(events::json_text("</script><!--"), R"("\u003c/script>\u003c!--")");
    EXPECT_EQ(events::json_text("\xFF\x01"), R"("\\xff\\x01")");
}

// ---- What is kept -------------------------------------------------------------------------------

class Journals : public Events {
 protected:
    void SetUp() override {
        Events::SetUp();
        mcore::watch_events({});
        folder_ =
            std::filesystem::path(::testing::TempDir()) / ("journals-" + std::to_string(getpid()));
        std::filesystem::create_directory(folder_);
    }
    void TearDown() override {
        Events::TearDown();
        std::filesystem::remove_all(folder_);
    }

    void record(events::Journal& journal) {
        journal.begin(now_);
        mcore::watch_events([&journal](const Event& event) { journal.take(event); });
    }

    static std::string content(const std::filesystem::path& file) {
        std::ostringstream all;
        all << std::ifstream(file).rdbuf();
        return all.str();
    }

    std::filesystem::path folder_;
};

INSTANTIATE_TEST_SUITE_P(BothFamilies, Journals, ::testing::Values(Family::kIpv4, Family::kIpv6),
                         [](const auto& one) {
                             return one.param == Family::kIpv4 ? "Igmp" : "Mld";
                         });

TEST_P(Journals, KeepTheLastEventsAndWhatBeganBeforeThemAndIsNotOver) {
    events::Journal journal({{}, folder_ / "page.html"}, {}, 2);
    record(journal);
    join();                   // three events
    join();                   // one
    join_sources(kAllow, 1);  // one: in exclude mode the source is wanted already
    const events::Kept kept = journal.kept();
    EXPECT_EQ(kept.forgotten, 3U);
    EXPECT_THAT(kept.lines, SizeIs(2));
    ASSERT_THAT(kept.standing, SizeIs(2));
    EXPECT_THAT(*kept.standing[0], HasSubstr(R"("event":"joined")"));
    EXPECT_THAT(*kept.standing[1], HasSubstr(R"("event":"entry_set")"));
}

TEST_P(Journals, ForgetWhatWasOverBeforeTheEventsThatTheyKeep) {
    igmp_if_fast_leave_enable(2, 1);
    events::Journal journal({{}, folder_ / "page.html"}, {}, 1);
    record(journal);
    join();
    leave_group();
    leave_group();
    EXPECT_THAT(journal.kept().standing, IsEmpty());
}

TEST_P(Journals, SayOnceThatAFileTakesNoMore) {
    events::Journal journal({"/dev/full", {}}, {});
    record(journal);
    for (int i = 0; i < 1000; ++i) join();
    mcore::watch_events({});
    journal.end(now_);
    EXPECT_THAT(journal.failure().value_or(""), HasSubstr("/dev/full: the events are not whole: "));
}

TEST_P(Journals, MakeAPageThatHoldsTheirLines) {
    const auto file = folder_ / "page.html";
    events::Journal journal({{}, file}, {});
    record(journal);
    join();
    mcore::watch_events({});
    EXPECT_EQ(timeline::write_page(file, journal.kept(), now_), std::nullopt);
    const std::string page = content(file);
    EXPECT_THAT(page, StartsWith("<!DOCTYPE html>"));
    EXPECT_THAT(page, EndsWith("</html>\n"));
    for (const events::Line& line : journal.kept().lines) EXPECT_THAT(page, HasSubstr(*line));
    EXPECT_THAT(timeline::write_page(folder_ / "none" / "page.html", journal.kept(), now_).value(),
                HasSubstr("page.html: the timeline cannot be written: "));
}

}  // namespace
