/*
 * The multicast core, seen from both sides: packets and settings go in through the functions that
 * the library calls, and what comes out are calls of the registered call-backs, the tables and the
 * counters. Packets stand in buffers of exactly their length, so that the sanitizers see every byte
 * read too far.
 */
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <future>
#include <latch>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "common/bytes.h"
#include "node/core/configuration.h"
#include "node/core/multicast_core.h"
#include "platform/pal.h"
#include "platform/protocol_core.h"
#include "support/core_fixture.h"

namespace {

using mcore::Family;
using mcore::Received;
using mcore::Sent;
using namespace core_fixture;  // NOLINT(google-build-using-namespace): a vocabulary

// ---- Joining and leaving ----

TEST_F(Core, Version2ReportMakesAMembershipAndAnEntry) {
    const Bytes report{
        0x46, 0xC0, 0x00, 0x20,  // IPv4, header of 24 bytes, TOS, 32 bytes in all
        0x00, 0x00, 0x00, 0x00,  // no fragment
        0x01, 0x02, 0x72, 0x01,  // TTL 1, IGMP, checksum
        0xC0, 0x00, 0x02, 0x14,  // from 192.0.2.20
        0xEF, 0x01, 0x01, 0x01,  // to the group
        0x94, 0x04, 0x00, 0x00,  // router alert
        0x16, 0x00, 0xF9, 0xFC,  // version 2 report, checksum
        0xEF, 0x01, 0x01, 0x01,  // of 239.1.1.1
    };
    EXPECT_EQ(receive(2, report), 0);
    EXPECT_EQ(held(), Texts{"2/4088 239.1.1.1"});
    const Membership one = mcore::memberships().at(0);
    EXPECT_EQ(one.version, 2);
    EXPECT_TRUE(one.exclude);
    EXPECT_TRUE(one.programmed);
    EXPECT_EQ(texts(one, one.reporters), Texts{"192.0.2.20"});
    EXPECT_EQ(one.joined_us, now_);
    EXPECT_EQ(entries, (std::vector<Entry>{{true, 2, kVlan, kGroup}}));
    EXPECT_EQ(mcore::counters()[Received::kIgmpV2Report], 1U);
    EXPECT_EQ(mcore::counters().entries_added, 1U);
}

TEST_F(Core, ReportsOfAllVersionsMakeMemberships) {
    receive(0, v1_report(kHostA, kGroup));
    receive(1, v2_report(kHostA, kGroup));
    receive(2, v3_report(kHostA, kToEx, kGroup));
    receive(3, v3_report(kHostA, kIsEx, kGroup));
    receive(4, v3_report(kHostA, kAllow, kGroup, {kSource1}));
    receive(5, v3_report(kHostA, kIsIn, kGroup, {kSource1}));
    const auto all = mcore::memberships();
    ASSERT_EQ(all.size(), 6U);
    EXPECT_EQ(all[0].version, 1);
    EXPECT_EQ(all[1].version, 2);
    EXPECT_EQ(all[2].version, 3);
    EXPECT_EQ(entries.size(), 6U);
    EXPECT_EQ(mcore::counters()[Received::kIgmpV1Report], 1U);
    EXPECT_EQ(mcore::counters()[Received::kIgmpV3Report], 4U);
}

TEST_F(Core, ARepeatedReportAddsNothing) {
    receive(2, v2_report(kHostA, kGroup));
    receive(2, v2_report(kHostA, kGroup));
    receive(2, v2_report(kHostB, kGroup));
    EXPECT_EQ(held().size(), 1U);
    EXPECT_EQ(entries.size(), 1U);
}

TEST_F(Core, PortsVlansAndGroupsAreApart) {
    igmp_vlan_add(100);
    receive(2, v2_report(kHostA, kOther), kVlan);
    receive(2, v2_report(kHostA, kGroup), kVlan);
    receive(2, v2_report(kHostA, kGroup), 100);
    receive(1, v2_report(kHostA, kGroup), kVlan);
    EXPECT_EQ(held(), (Texts{"1/4088 239.1.1.1", "2/100 239.1.1.1", "2/4088 239.1.1.1",
                             "2/4088 239.1.1.2"}));
}

TEST_F(Core, LeaveIsAskedAboutTwiceAndThenTakesTheGroupAway) {
    receive(2, v2_report(kHostA, kGroup));
    receive(2, leave(kHostA, kGroup));
    EXPECT_EQ(sent.size(), 1U);
    EXPECT_EQ(mcore::memberships().at(0).expires_us, now_ + 2 * kSecond);
    wait_seconds(1);
    EXPECT_EQ(sent.size(), 2U);
    wait(kSecond - 1);
    EXPECT_EQ(held().size(), 1U);
    wait(1);
    EXPECT_EQ(held(), Texts{});
    EXPECT_EQ(sent.size(), 2U);
    EXPECT_EQ(entries.back(), (Entry{false, 2, kVlan, kGroup}));
    EXPECT_EQ(mcore::counters().entries_removed, 1U);
    EXPECT_EQ(mcore::next_timer(), std::nullopt);
}

TEST_F(Core, GroupQueryOfVersion3) {
    receive(2, v2_report(kHostA, kGroup));
    receive(2, leave(kHostA, kGroup));
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].port, 2);
    EXPECT_EQ(sent[0].vid, kVlan);
    EXPECT_EQ(sent[0].bytes, (Bytes{
                                 0x46, 0xC0, 0x00, 0x24,  // IPv4, 24 bytes of header, 36 in all
                                 0x00, 0x00, 0x00, 0x00,  //
                                 0x01, 0x02, 0x1B, 0xE5,  // TTL 1, IGMP, checksum
                                 0x0A, 0x19, 0x0E, 0x14,  // from the proxy address
                                 0xEF, 0x01, 0x01, 0x01,  // to the group
                                 0x94, 0x04, 0x00, 0x00,  // router alert
                                 0x11, 0x0A, 0xFC, 0x75,  // query, 1 s, checksum
                                 0xEF, 0x01, 0x01, 0x01,  // of 239.1.1.1
                                 0x02, 0x7D, 0x00, 0x00,  // robustness 2, 125 s, no sources
                             }));
    EXPECT_EQ(mcore::counters()[Sent::kIgmpGroupQuery], 1U);
}

TEST_F(Core, GroupQueriesFollowTheirSettings) {
    igmp_version_globle_set(2);
    igmp_para_lmqi_globle_set(3);
    igmp_para_lmqc_globle_set(4);
    receive(2, v2_report(kHostA, kGroup));
    receive(2, leave(kHostA, kGroup));
    wait_seconds(11);
    ASSERT_EQ(sent.size(), 4U);
    EXPECT_EQ(message_of(sent[3]), igmp(0x11, kGroup, 30));
    EXPECT_EQ(held().size(), 1U);
    wait_seconds(1);
    EXPECT_EQ(held(), Texts{});
}

TEST_F(Core, Version1HasNoGroupQueryOfItsOwn) {
    igmp_version_globle_set(1);
    receive(2, v2_report(kHostA, kGroup));
    receive(2, leave(kHostA, kGroup));
    EXPECT_EQ(message_of(sent.at(0)), igmp(0x11, kGroup, 10));
}

TEST_F(Core, AnAnswerToTheGroupQueryKeepsTheGroup) {
    receive(2, v2_report(kHostA, kGroup));
    receive(2, leave(kHostA, kGroup));
    wait_seconds(1);
    receive(2, v2_report(kHostB, kGroup));
    wait_seconds(10);
    EXPECT_EQ(held().size(), 1U);
    EXPECT_EQ(entries.size(), 1U);
    EXPECT_EQ(sent.size(), 2U);
}

TEST_F(Core, LeaveOfOneHostKeepsTheGroupOfAnotherBehindThePort) {
    receive(2, v2_report(kHostA, kGroup));
    receive(2, v2_report(kHostB, kGroup));
    receive(2, leave(kHostA, kGroup));
    wait_seconds(10);
    EXPECT_EQ(held().size(), 1U);
    EXPECT_EQ(sent.size(), 0U);
    receive(2, leave(kHostB, kGroup));
    wait_seconds(10);
    EXPECT_EQ(held(), Texts{});
}

TEST_F(Core, LeaveOfAnUnknownHostChangesNothing) {
    receive(2, v2_report(kHostA, kGroup));
    receive(2, leave(kHostB, kGroup));
    receive(2, leave(kHostA, kOther));
    wait_seconds(10);
    EXPECT_EQ(held().size(), 1U);
    EXPECT_EQ(sent.size(), 0U);
}

TEST_F(Core, FastLeaveOfAPortTakesTheGroupAwayAtOnce) {
    igmp_if_fast_leave_enable(2, 1);
    receive(2, v2_report(kHostA, kGroup));
    receive(3, v2_report(kHostA, kGroup));
    receive(2, leave(kHostA, kGroup));
    receive(3, leave(kHostA, kGroup));
    EXPECT_EQ(held(), Texts{"3/4088 239.1.1.1"});
    EXPECT_EQ(entries.back(), (Entry{false, 2, kVlan, kGroup}));
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].port, 3);
}

TEST_F(Core, FastLeaveWaitsForTheLastKnownHost) {
    igmp_fast_leave_enable_globle(1);
    receive(2, v2_report(kHostA, kGroup));
    receive(2, v2_report(kHostB, kGroup));
    receive(2, leave(kHostA, kGroup));
    EXPECT_EQ(held().size(), 1U);
    receive(2, leave(kHostB, kGroup));
    EXPECT_EQ(held(), Texts{});
}

TEST_F(Core, APortCanDifferFromTheGlobalFastLeave) {
    igmp_fast_leave_enable_globle(1);
    igmp_if_fast_leave_enable(2, 0);
    receive(2, v2_report(kHostA, kGroup));
    receive(2, leave(kHostA, kGroup));
    EXPECT_EQ(held().size(), 1U);
}

TEST_F(Core, Version1HostKeepsTheGroupUntilItAges) {
    igmp_fast_leave_enable_globle(1);
    receive(2, v1_report(kHostA, kGroup));
    receive(2, v2_report(kHostB, kGroup));
    EXPECT_EQ(mcore::memberships().at(0).version, 1);
    receive(2, leave(kHostB, kGroup));
    EXPECT_EQ(held().size(), 1U);
    wait_seconds(260);
    EXPECT_EQ(held(), Texts{});
}

// ---- Sources ----

TEST_F(Core, ToIncludeOfNothingIsALeave) {
    igmp_fast_leave_enable_globle(1);
    receive(2, v3_report(kHostA, kToEx, kGroup));
    receive(2, v3_report(kHostA, kToIn, kGroup));
    EXPECT_EQ(held(), Texts{});
}

TEST_F(Core, ToIncludeOfASourceIsNone) {
    igmp_fast_leave_enable_globle(1);
    receive(2, v3_report(kHostA, kToEx, kGroup));
    receive(2, v3_report(kHostA, kToIn, kGroup, {kSource1}));
    const Membership one = mcore::memberships().at(0);
    EXPECT_FALSE(one.exclude);
    EXPECT_EQ(texts(one, one.sources), Texts{"198.51.100.7"});
}

TEST_F(Core, AllowAndBlockChangeTheSourcesOfAHost) {
    igmp_fast_leave_enable_globle(1);
    receive(2, v3_report(kHostA, kAllow, kGroup, {kSource1}));
    receive(2, v3_report(kHostA, kAllow, kGroup, {kSource2}));
    Membership one = mcore::memberships().at(0);
    EXPECT_EQ(texts(one, one.sources), (Texts{"198.51.100.7", "198.51.100.8"}));
    receive(2, v3_report(kHostA, kBlock, kGroup, {kSource1}));
    one = mcore::memberships().at(0);
    EXPECT_EQ(texts(one, one.sources), Texts{"198.51.100.8"});
    receive(2, v3_report(kHostA, kBlock, kGroup, {kSource2}));
    EXPECT_EQ(held(), Texts{});
}

TEST_F(Core, BlockAndAllowChangeWhatAHostExcludes) {
    igmp_fast_leave_enable_globle(1);
    receive(2, v3_report(kHostA, kToEx, kGroup));
    receive(2, v3_report(kHostA, kBlock, kGroup, {kSource1, kSource2}));
    receive(2, v3_report(kHostA, kAllow, kGroup, {kSource2}));
    const Membership one = mcore::memberships().at(0);
    EXPECT_TRUE(one.exclude);
    EXPECT_EQ(texts(one, one.sources), Texts{"198.51.100.7"});
}

TEST_F(Core, HostsAreMergedToWhatEachOfThemWants) {
    receive(2, v3_report(kHostA, kToEx, kGroup, {kSource1, kSource2}));
    receive(2, v3_report(kHostB, kAllow, kGroup, {kSource2}));
    const Membership one = mcore::memberships().at(0);
    EXPECT_TRUE(one.exclude);
    EXPECT_EQ(texts(one, one.sources), Texts{"198.51.100.7"});
    EXPECT_EQ(one.reporters.size(), 2U);
}

TEST_F(Core, OnlySourcesThatAllHostsExcludeAreExcluded) {
    receive(2, v3_report(kHostA, kToEx, kGroup, {kSource1, kSource2}));
    receive(2, v3_report(kHostB, kToEx, kGroup, {kSource2}));
    const Membership one = mcore::memberships().at(0);
    EXPECT_TRUE(one.exclude);
    EXPECT_EQ(texts(one, one.sources), Texts{"198.51.100.8"});
}

TEST_F(Core, BlockOfSourcesThatNobodyWantsIsNoMembership) {
    receive(2, v3_report(kHostA, kBlock, kGroup, {kSource1}));
    receive(2, v3_report(kHostA, kIsIn, kGroup));
    receive(2, v3_report(kHostA, kToIn, kGroup));
    EXPECT_EQ(held(), Texts{});
    EXPECT_EQ(entries.size(), 0U);
}

TEST_F(Core, AnAnswerToAQueryForSomeSourcesDoesNotTakeTheOthersAway) {
    receive(2, v3_report(kHostA, kAllow, kGroup, {kSource1, kSource2}));
    receive(2, v3_report(kHostA, kIsIn, kGroup, {kSource2}));
    EXPECT_EQ(mcore::memberships().at(0).sources.size(), 2U);
}

TEST_F(Core, AHostBackInVersion3SaysAllThereIs) {
    receive(2, v2_report(kHostA, kGroup));
    receive(2, v3_report(kHostA, kIsIn, kGroup, {kSource1}));
    const Membership one = mcore::memberships().at(0);
    EXPECT_FALSE(one.exclude);
    EXPECT_EQ(one.sources.size(), 1U);
    EXPECT_EQ(one.version, 3);
}

TEST_F(Core, AReportCarriesManyRecords) {
    receive(2, v3_report_of(kHostA, {record(kToEx, kGroup, {}), record(kIsIn, kOther, {kSource1}),
                                     record(9, kThird, {kSource1}),  // of a type to come
                                     record(kToEx, kThird, {})}));
    EXPECT_EQ(held(), (Texts{"2/4088 239.1.1.1", "2/4088 239.1.1.2", "2/4088 239.1.1.3"}));
}

TEST_F(Core, AuxiliaryDataOfARecordIsPassedOver) {
    Bytes with_data = record(kToEx, kGroup, {});
    with_data[1] = 2;  // words
    receive(2, v3_report_of(kHostA, {with_data + be32(0) + be32(0), record(kToEx, kOther, {})}));
    EXPECT_EQ(held().size(), 2U);
}

TEST_F(Core, SsmGroupsNeedSources) {
    igmp_ssm_ip_globle_set(0xE8000000, 0xE8FFFFFF);  // 232/8
    const std::uint32_t group = 0xE8010101;
    receive(2, v2_report(kHostA, group));
    receive(2, v3_report(kHostA, kToEx, group));
    EXPECT_EQ(held(), Texts{});
    EXPECT_EQ(drops(Drop::kSourceNeeded), 1U);
    EXPECT_EQ(drops(Drop::kSsmOlderVersion), 1U);
    receive(2, v3_report(kHostA, kAllow, group, {kSource1}));
    EXPECT_EQ(held(), Texts{"2/4088 232.1.1.1"});
    receive(2, v2_report(kHostA, kGroup));
    EXPECT_EQ(held().size(), 2U);
}

TEST_F(Core, TheSsmMapGivesOlderHostsTheirSources) {
    std::uint32_t map[5] = {0xE8000000, 0xE8FFFFFF, kSource1, 0, kSource2};
    igmp_ssm_ip_globle_set(0xE8000000, 0xE8FFFFFF);
    EXPECT_EQ(igmp_ssm_map_change(map), 0);
    receive(2, v2_report(kHostA, 0xE8010101));
    Membership one = mcore::memberships().at(0);
    EXPECT_FALSE(one.exclude);
    EXPECT_EQ(texts(one, one.sources), (Texts{"198.51.100.7", "198.51.100.8"}));
    // cppcheck-suppress unreadVariable ; the core reads it in place
    map[1] = 0xE8000000;
    receive(3, v2_report(kHostA, 0xE8010101));
    EXPECT_EQ(drops(Drop::kSsmOlderVersion), 1U);
}

// ---- Ageing ----

TEST_F(Core, AMembershipAgesWhenNoReportRefreshesIt) {
    receive(2, v2_report(kHostA, kGroup));
    EXPECT_EQ(mcore::next_timer(), now_ + 260 * kSecond);  // 2 * 125 s + 10 s
    wait_seconds(200);
    receive(2, v2_report(kHostA, kGroup));
    EXPECT_EQ(mcore::memberships().at(0).expires_us, now_ + 260 * kSecond);
    wait_seconds(259);
    EXPECT_EQ(held().size(), 1U);
    wait_seconds(1);
    EXPECT_EQ(held(), Texts{});
    EXPECT_EQ(entries.back(), (Entry{false, 2, kVlan, kGroup}));
}

TEST_F(Core, EachHostAgesByItself) {
    receive(2, v2_report(kHostA, kGroup));
    wait_seconds(100);
    receive(2, v2_report(kHostB, kGroup));
    wait_seconds(160);
    const Membership one = mcore::memberships().at(0);
    EXPECT_EQ(texts(one, one.reporters), Texts{"192.0.2.21"});
    wait_seconds(100);
    EXPECT_EQ(held(), Texts{});
}

TEST_F(Core, EachSourceAgesByItself) {
    receive(2, v3_report(kHostA, kAllow, kGroup, {kSource1, kSource2}));
    wait_seconds(100);
    receive(2, v3_report(kHostA, kIsIn, kGroup, {kSource2}));
    wait_seconds(160);
    const Membership one = mcore::memberships().at(0);
    EXPECT_EQ(texts(one, one.sources), Texts{"198.51.100.8"});
}

TEST_F(Core, TheIntervalFollowsTheSettings) {
    receive(2, v2_report(kHostA, kGroup));
    igmp_para_globle_set(3, 20, 5, 1, 2, 1);
    EXPECT_EQ(mcore::next_timer(), now_ + 65 * kSecond);
    igmp_para_globle_set(3, 20, 5, 1, 2, 300);
    EXPECT_EQ(mcore::next_timer(), now_ + 300 * kSecond);
    igmp_para_rv_globle_set(2);
    igmp_para_qi_globle_set(30);
    igmp_para_qri_globle_set(4);
    igmp_para_globle_set(2, 30, 4, 1, 2, 1);
    EXPECT_EQ(mcore::next_timer(), now_ + 64 * kSecond);
}

TEST_F(Core, AgeingCanBeSwitchedOff) {
    receive(2, v2_report(kHostA, kGroup));
    igmp_para_globle_set(2, 125, 10, 1, 2, 0);
    EXPECT_EQ(mcore::next_timer(), std::nullopt);
    EXPECT_EQ(mcore::memberships().at(0).expires_us, std::nullopt);
    wait_seconds(10000);
    EXPECT_EQ(held().size(), 1U);
    igmp_aging_function_set(0);
    igmp_para_globle_set(2, 125, 10, 1, 2, 1);
    wait_seconds(10000);
    EXPECT_EQ(held().size(), 1U);
    igmp_aging_function_set(1);  // counts from now, not from the last report
    wait_seconds(259);
    EXPECT_EQ(held().size(), 1U);
    wait_seconds(1);
    EXPECT_EQ(held(), Texts{});
}

// ---- The clock ----

TEST_F(Core, TheClockNeverGoesBack) {
    std::uint32_t seconds = 0;
    igmp_time_now(&seconds);
    EXPECT_EQ(seconds, 1000U);
    mcore::set_clock(1);
    igmp_time_now(&seconds);
    EXPECT_EQ(seconds, 1000U);
}

TEST_F(Core, ALeapOfTheClockRunsEachTimerAtItsOwnTime) {
    receive(2, v2_report(kHostA, kGroup));
    receive(3, v2_report(kHostA, kGroup));
    receive(2, leave(kHostA, kGroup));
    wait(kSecond / 2);
    receive(3, leave(kHostA, kGroup));
    taken(sent);
    wait_seconds(1000);
    EXPECT_EQ(held(), Texts{});
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(sent[0].port, 2);
    EXPECT_EQ(sent[1].port, 3);
    EXPECT_EQ(entries.at(2), (Entry{false, 2, kVlan, kGroup}));
    EXPECT_EQ(entries.at(3), (Entry{false, 3, kVlan, kGroup}));
}

// ---- Admission ----

TEST_F(Core, TheGroupLimitOfAPortTurnsNewGroupsAway) {
    igmp_if_max_group_num_set(2, 1);
    receive(2, v2_report(kHostA, kGroup));
    receive(2, v2_report(kHostA, kOther));
    receive(2, v2_report(kHostB, kGroup));
    receive(3, v2_report(kHostA, kOther));
    EXPECT_EQ(held(), (Texts{"2/4088 239.1.1.1", "3/4088 239.1.1.2"}));
    EXPECT_EQ(drops(Drop::kGroupLimit), 1U);
    igmp_if_max_group_num_set(2, 0);
    receive(2, v2_report(kHostA, kOther));
    EXPECT_EQ(held().size(), 3U);
}

TEST_F(Core, AGroupThatIsLeftMakesRoomUnderTheLimit) {
    igmp_if_max_group_num_set(2, 1);
    igmp_fast_leave_enable_globle(1);
    receive(2, v2_report(kHostA, kGroup));
    receive(2, leave(kHostA, kGroup));
    receive(2, v2_report(kHostA, kOther));
    EXPECT_EQ(held(), Texts{"2/4088 239.1.1.2"});
}

TEST_F(Core, TheBandwidthLimitCountsWhatRangesImpute) {
    igmp_if_add_auth_group_cfg(2, kGroup, kOther, 600, kVlan);
    igmp_if_max_bandwidth_set(2, 1, 1000, 0);
    receive(2, v2_report(kHostA, kGroup));
    receive(2, v2_report(kHostA, kOther));
    EXPECT_EQ(drops(Drop::kBandwidthLimit), 1U);
    receive(2, v2_report(kHostA, kThird));  // in no range, so it is taken to need nothing
    EXPECT_EQ(held(), (Texts{"2/4088 239.1.1.1", "2/4088 239.1.1.3"}));
    igmp_if_max_bandwidth_set(2, 0, 1000, 0);
    receive(2, v2_report(kHostA, kOther));
    EXPECT_EQ(held().size(), 3U);
}

TEST_F(Core, RangeAuthorisationAdmitsOnlyTheRangesOfThePort) {
    igmp_vlan_add(100);
    igmp_if_grp_range_auth_enable(2, 1);
    igmp_if_add_auth_group_cfg(2, kGroup, kOther, 0, kVlan);
    receive(2, v2_report(kHostA, kGroup));
    receive(2, v2_report(kHostA, kOther));
    receive(2, v2_report(kHostA, kThird));
    receive(2, v2_report(kHostA, kGroup), 100);
    receive(3, v2_report(kHostA, kThird));
    EXPECT_EQ(held(), (Texts{"2/4088 239.1.1.1", "2/4088 239.1.1.2", "3/4088 239.1.1.3"}));
    EXPECT_EQ(drops(Drop::kNotAuthorised), 2U);
}

TEST_F(Core, AGroupEndsWithItsAuthorisation) {
    igmp_if_grp_range_auth_enable(2, 1);
    igmp_if_add_auth_group_cfg(2, kGroup, kGroup, 0, kVlan);
    igmp_if_add_auth_group_cfg(2, kOther, kOther, 0, 0xFFFF);  // in every VLAN
    receive(2, v2_report(kHostA, kGroup));
    receive(2, v2_report(kHostA, kOther));
    EXPECT_EQ(igmp_if_delete_auth_group_cfg(2, kGroup, kGroup, 0, kVlan), 0);
    EXPECT_EQ(held(), Texts{"2/4088 239.1.1.2"});
    EXPECT_EQ(entries.back(), (Entry{false, 2, kVlan, kGroup}));
    EXPECT_EQ(igmp_if_delete_auth_group_cfg(2, kGroup, kGroup, 0, kVlan), 1);
    EXPECT_EQ(igmp_if_delete_auth_group_cfg_all(2, 0xFFFF), 0);
    EXPECT_EQ(held(), Texts{});
}

TEST_F(Core, ThePrivateListIsForAllPorts) {
    EXPECT_EQ(add_to_auth_group_api(kGroup, kVlan), 0);
    receive(2, v2_report(kHostA, kGroup));
    receive(3, v2_report(kHostA, kOther));
    EXPECT_EQ(held(), Texts{"2/4088 239.1.1.1"});
    EXPECT_EQ(add_to_auth_group_api(kOther, kVlan), 0);
    EXPECT_EQ(auth_group_delete_api(kGroup, kVlan), 0);
    EXPECT_EQ(auth_group_delete_api(kGroup, 0), 0);  // it is not there any more
    EXPECT_EQ(held(), Texts{});
    auth_group_delete_all_api();
    receive(2, v2_report(kHostA, kGroup));
    EXPECT_EQ(held(), Texts{"2/4088 239.1.1.1"});
}

TEST_F(Core, AControlListIsForItsPort) {
    EXPECT_EQ(igmp_set_multicast_control(2, 1, kVlan, kGroup), 0);
    receive(2, v2_report(kHostA, kGroup));
    receive(2, v2_report(kHostA, kOther));
    receive(3, v2_report(kHostA, kOther));
    EXPECT_EQ(held(), (Texts{"2/4088 239.1.1.1", "3/4088 239.1.1.2"}));
    IgmpOamControl rest{kOther, 1, 2};
    EXPECT_EQ(igmp_oam_control_2(1, 2, kVlan, &rest), 0);
    receive(2, v2_report(kHostA, kOther));
    EXPECT_EQ(igmp_set_multicast_control(2, 0, kVlan, kGroup), 0);
    EXPECT_EQ(held(), (Texts{"2/4088 239.1.1.2", "3/4088 239.1.1.2"}));
    EXPECT_EQ(igmp_set_multicast_control(2, 0, kVlan, kGroup), 1);
    EXPECT_EQ(igmp_set_multicast_control(2, 2, kVlan, 0), 0);
    receive(2, v2_report(kHostA, kThird));
    EXPECT_EQ(held().size(), 3U);
}

// ---- VLANs ----

TEST_F(Core, AVlanMustBeTheDefaultOrListedOrLearnt) {
    receive(2, v2_report(kHostA, kGroup), 100);
    EXPECT_EQ(drops(Drop::kUnknownVlan), 1U);
    igmp_vlan_add(100);
    receive(2, v2_report(kHostA, kGroup), 100);
    igmp_vlan_learning_set(1);
    receive(2, v2_report(kHostA, kGroup), 200);
    igmp_vlan_learning_set(0);
    receive(2, v2_report(kHostA, kOther), 200);
    EXPECT_EQ(held(), (Texts{"2/100 239.1.1.1", "2/200 239.1.1.1", "2/200 239.1.1.2"}));
}

TEST_F(Core, ALearntVlanIsNotConfiguredUntilItIsAdded) {
    using Vlans = std::set<std::uint16_t>;
    igmp_vlan_add(100);
    igmp_vlan_learning_set(1);
    receive(2, v2_report(kHostA, kGroup), 200);
    EXPECT_EQ(held(), (Texts{"2/200 239.1.1.1"}));
    EXPECT_EQ(mcore::configuration().vlans, Vlans({100}));
    igmp_vlan_add(200);
    EXPECT_EQ(mcore::configuration().vlans, Vlans({100, 200}));
    EXPECT_EQ(igmp_vlan_del(200), 0);
    receive(2, v2_report(kHostA, kGroup), 200);
    EXPECT_EQ(mcore::configuration().vlans, Vlans({100}));
}

TEST_F(Core, TheNodesOwnAddressIsToldFromOneThatIsSet) {
    EXPECT_EQ(mcore::configuration().own_ip, std::nullopt);
    ASSERT_TRUE(mcore::replace_proxy_ip(mcore::proxy_ip(), kHostA));
    EXPECT_EQ(mcore::configuration().own_ip, kHostA);
    igmp_globle_proxyip_set(kHostB);
    EXPECT_FALSE(mcore::replace_proxy_ip(kHostA, kSource1));
    EXPECT_EQ(mcore::configuration().own_ip, kHostA);
    EXPECT_EQ(mcore::configuration().proxy_ip, kHostB);
}

TEST_F(Core, NoVlanStandsForTheDefaultOfTheFamily) {
    mld_api_set_default_vlan(300);
    receive(2, v2_report(kHostA, kGroup), 0);
    receive_mld(2, mld_report(kHostA6, kGroup6), 0);
    EXPECT_EQ(held(), (Texts{"2/300 ff1e::101", "2/4088 239.1.1.1"}));
}

TEST_F(Core, AMembershipEndsWithItsVlan) {
    EXPECT_EQ(igmp_vlan_add(100), 0);
    EXPECT_EQ(igmp_vlan_add(100), 0);
    igmp_vlan_add(200);
    igmp_vlan_add(kVlan);
    for (const std::uint16_t vlan : {std::uint16_t{100}, std::uint16_t{200}, kVlan}) {
        receive(2, v2_report(kHostA, kGroup), vlan);
    }
    EXPECT_EQ(igmp_vlan_del(100), 0);
    EXPECT_EQ(igmp_vlan_del(100), 1);
    EXPECT_EQ(held(), (Texts{"2/200 239.1.1.1", "2/4088 239.1.1.1"}));
    EXPECT_EQ(igmp_vlan_del_all(), 0);  // the default stays
    EXPECT_EQ(held(), Texts{"2/4088 239.1.1.1"});
    EXPECT_EQ(igmp_default_vid_set(300), 0);
    EXPECT_EQ(held(), Texts{});
}

TEST_F(Core, AllGroupsOfIgmpCanBeTakenAway) {
    receive(2, v2_report(kHostA, kGroup));
    receive(3, v2_report(kHostA, kOther));
    receive_mld(3, mld_report(kHostA6, kGroup6));
    EXPECT_EQ(igmp_del_all_group(), 0);
    EXPECT_EQ(held(), Texts{"3/4088 ff1e::101"});
    EXPECT_EQ(mcore::counters().entries_removed, 2U);
}

// ---- The switch ----

TEST_F(Core, AMembershipThatTheSwitchRefusesIsKeptAndTriedAgain) {
    add_answer = 5;
    receive(2, v2_report(kHostA, kGroup));
    EXPECT_FALSE(mcore::memberships().at(0).programmed);
    EXPECT_EQ(mcore::counters().add_failures, 1U);
    EXPECT_EQ(mcore::counters().entries_added, 0U);
    add_answer = 0;
    receive(2, v2_report(kHostB, kGroup));
    EXPECT_TRUE(mcore::memberships().at(0).programmed);
    EXPECT_EQ(entries.size(), 2U);
}

TEST_F(Core, AMembershipEndsEvenIfTheSwitchKeepsTheEntry) {
    remove_answer = 5;
    igmp_fast_leave_enable_globle(1);
    receive(2, v2_report(kHostA, kGroup));
    receive(2, leave(kHostA, kGroup));
    EXPECT_EQ(held(), Texts{});
    EXPECT_EQ(mcore::counters().remove_failures, 1U);
    EXPECT_EQ(mcore::counters().entries_removed, 0U);
}

TEST_F(Core, AnEntryThatWasNeverThereIsNotRemoved) {
    add_answer = 5;
    igmp_fast_leave_enable_globle(1);
    receive(2, v2_report(kHostA, kGroup));
    receive(2, leave(kHostA, kGroup));
    EXPECT_EQ(held(), Texts{});
    EXPECT_EQ(entries.size(), 1U);
}

// ---- What is refused ----

TEST_F(Core, WrongChecksumsAreCounted) {
    for (std::size_t byte = 0; byte < 28; ++byte) {
        Bytes report = v2_report(kHostA, kGroup);
        report[byte] ^= 0x01;
        EXPECT_EQ(receive(2, report), 1) << byte;
    }
    EXPECT_EQ(held(), Texts{});
    EXPECT_EQ(drops(Drop::kChecksum), 8U);
    // The flipped protocol and header length are seen before the header's checksum is.
    EXPECT_EQ(drops(Drop::kIpChecksum), 18U);
    EXPECT_EQ(drops(Drop::kNotIp) + drops(Drop::kBadLength), 2U);
}

TEST_F(Core, ATruncatedRecordRefusesTheWholeReport) {
    Bytes message = Bytes{0x22, 0, 0, 0, 0, 0, 0, 2} + record(kToEx, kGroup, {}) +
                    record(kIsIn, kOther, {kSource1});
    // cppcheck-suppress containerOutOfBounds ; records are added to the eight bytes
    mc::store_be16(&message[18], 2);  // claims a second source
    EXPECT_EQ(receive(2, ipv4(kHostA, 0xE0000016, with_checksum(message))), 1);
    EXPECT_EQ(held(), Texts{});
    EXPECT_EQ(drops(Drop::kTruncated), 1U);
    message = Bytes{0x22, 0, 0, 0, 0, 0, 0xFF, 0xFF} + record(kToEx, kGroup, {});
    EXPECT_EQ(receive(2, ipv4(kHostA, 0xE0000016, with_checksum(message))), 1);
    EXPECT_EQ(drops(Drop::kTruncated), 2U);
}

TEST_F(Core, APacketCutAnywhereIsRefusedAndNotReadPastItsEnd) {
    const Bytes report = v3_report(kHostA, kIsIn, kGroup, {kSource1, kSource2});
    for (std::size_t length = 0; length < report.size(); ++length) {
        EXPECT_EQ(
            receive(2, {report.begin(), report.begin() + static_cast<std::ptrdiff_t>(length)}), 1)
            << length;
    }
    EXPECT_EQ(held(), Texts{});
}

TEST_F(Core, AHeaderThatLeavesNoRoomForAMessageIsRefused) {
    const Bytes four_bytes = with_checksum(Bytes{0x16, 0, 0, 0});
    EXPECT_EQ(receive(2, ipv4(kHostA, kGroup, four_bytes)), 1);
    Bytes report = v2_report(kHostA, kGroup);
    for (const int words : {4, 7, 15}) {  // the header has 5
        report[0] = static_cast<std::uint8_t>(0x40 | words);
        EXPECT_EQ(receive(2, report), 1);
    }
    EXPECT_EQ(drops(Drop::kBadLength), 4U);
}

TEST_F(Core, ALengthThatNoFrameHasIsRefusedUnread) {
    Bytes report = v2_report(kHostA, kGroup);
    report.resize(1978);
    report.shrink_to_fit();
    for (const std::uint16_t length : {std::uint16_t{1979}, std::uint16_t{65535}}) {
        EXPECT_EQ(igmp_pkt_recv(report.data(), length, 2, kVlan, nullptr), 1);
    }
    EXPECT_EQ(drops(Drop::kBadLength), 2U);
    EXPECT_EQ(mld_pkt_recv(report.data(), 65575, 2, kVlan, nullptr), 1);
    EXPECT_EQ(drops(Drop::kBadLength), 3U);
}

TEST_F(Core, AReportThatFillsTheLongestFrameIsRead) {
    std::vector<Bytes> records;
    for (std::uint32_t i = 0; i < 243; ++i) records.push_back(record(kToEx, kGroup + i, {}));
    Bytes packet = v3_report_of(kHostA, records);
    ASSERT_LE(packet.size(), 1978U);
    EXPECT_EQ(receive(2, packet), 0);
    EXPECT_EQ(held().size(), 243U);
}

TEST_F(Core, WhatIsNoMembershipIsRefused) {
    receive(2, v2_report(kHostA, 0xE00000FB));  // 224.0.0.251
    EXPECT_EQ(drops(Drop::kLinkLocalGroup), 1U);
    receive(2, v2_report(kHostA, 0x0A000001));
    EXPECT_EQ(drops(Drop::kNotMulticast), 1U);
    receive(2, v3_report_of(kHostA, {record(kToEx, 0xE00000FB, {}), record(kToEx, kGroup, {})}));
    EXPECT_EQ(held(), Texts{"2/4088 239.1.1.1"});  // the other record counts
}

TEST_F(Core, WhatComesFromTheWrongPlaceIsRefused) {
    EXPECT_EQ(receive(7, v2_report(kHostA, kGroup)), 1);
    EXPECT_EQ(drops(Drop::kUnknownPort), 1U);
    EXPECT_EQ(receive(kUplink, v2_report(kHostA, kGroup)), 1);
    EXPECT_EQ(drops(Drop::kReportFromUplink), 1U);
    EXPECT_EQ(receive(2, ipv4(kHostA, kGroup, igmp(0x13, kGroup))), 1);
    EXPECT_EQ(drops(Drop::kUnknownType), 1U);
    EXPECT_EQ(held(), Texts{});
}

TEST_F(Core, APortMustBeDeclared) {
    igmp_data_init();
    EXPECT_EQ(receive(2, v2_report(kHostA, kGroup)), 1);
    igmp_port_add_all_vlan(2);
    EXPECT_EQ(receive(2, v2_report(kHostA, kGroup)), 0);
    EXPECT_EQ(receive_mld(2, mld_report(kHostA6, kGroup6)), 1);
    mld_port_conf_set(2, 2);
    EXPECT_EQ(receive_mld(2, mld_report(kHostA6, kGroup6)), 0);
    EXPECT_EQ(drops(Drop::kUnknownPort), 2U);
}

TEST_F(Core, AFragmentIsRefused) {
    Bytes report = v2_report(kHostA, kGroup);
    report[6] = 0x20;  // more fragments
    report[10] = report[11] = 0;
    const Bytes header(report.begin(), report.begin() + 20);
    mc::store_be16(&report[10], checksum(header));
    EXPECT_EQ(receive(2, report), 1);
    EXPECT_EQ(drops(Drop::kFragment), 1U);
}

TEST_F(Core, MessagesNewerThanTheVersionAreTakenInEveryMode) {
    igmp_version_globle_set(2);
    receive(2, v3_report(kHostA, kToEx, kGroup));
    igmp_mode_switch_globle(2);
    EXPECT_EQ(receive(3, v3_report(kHostA, kToEx, kGroup)), 0);
    igmp_version_globle_set(1);
    EXPECT_EQ(receive(4, v2_report(kHostA, kGroup)), 0);
    EXPECT_EQ(held(), (Texts{"2/4088 239.1.1.1", "3/4088 239.1.1.1", "4/4088 239.1.1.1"}));
}

TEST_F(Core, ARouterOfVersion1IgnoresLeaves) {
    receive(2, v2_report(kHostA, kGroup));
    igmp_version_globle_set(1);
    igmp_mode_switch_globle(2);
    EXPECT_EQ(receive(2, leave(kHostA, kGroup)), 1);
    EXPECT_EQ(drops(Drop::kLeaveInVersion1), 1U);
    wait_seconds(100);
    EXPECT_EQ(held(), Texts{"2/4088 239.1.1.1"});
}

TEST_F(Core, SettersRefuseWhatMakesNoSense) {
    EXPECT_EQ(igmp_mode_switch_globle(0), 1);
    EXPECT_EQ(igmp_mode_switch_globle(4), 1);
    EXPECT_EQ(igmp_version_globle_set(7), 1);
    EXPECT_EQ(igmp_version_globle_set(0), 1);
    EXPECT_EQ(igmp_para_rv_globle_set(0), 1);
    EXPECT_EQ(igmp_para_qi_globle_set(0), 1);
    EXPECT_EQ(igmp_para_globle_set(2, 0, 10, 1, 2, 1), 1);
    EXPECT_EQ(igmp_vlan_add(0), 1);
    EXPECT_EQ(igmp_vlan_add(4095), 1);
    EXPECT_EQ(igmp_default_vid_set(5000), 1);
    EXPECT_EQ(igmp_ssm_ip_globle_set(2, 1), 1);
    EXPECT_EQ(igmp_ssm_map_change(nullptr), 1);
    EXPECT_EQ(mld_proxy_snoop_set_globle(0), 1);
    EXPECT_EQ(mld_proxy_snoop_set_globle(4), 1);
    EXPECT_EQ(igmp_port_add_all_vlan(6), 1);
    EXPECT_EQ(mld_port_conf_set(29, 2), 1);
    EXPECT_EQ(igmp_if_fast_leave_enable(6, 1), 1);
    EXPECT_EQ(igmp_if_fast_leave_enable(29, 1), 0);
    EXPECT_EQ(igmp_if_max_group_num_set(7, 1), 1);
    EXPECT_EQ(igmp_if_add_auth_group_cfg(2, kOther, kGroup, 0, kVlan), 1);
    EXPECT_EQ(igmp_if_snp_uplinkvlan_set(29, nullptr, nullptr), 1);
    EXPECT_EQ(add_to_auth_group_api(kHostA, kVlan), 1);
    EXPECT_EQ(igmp_set_multicast_control(2, 3, kVlan, kGroup), 1);
    EXPECT_EQ(igmp_register_switch_send_pkt(nullptr), 1);
}

// ---- Upstream ----

// What is said. When, how often and to which routers is in node_core_upstream_test.cpp.
class Proxy : public Core {
 protected:
    void start(std::uint8_t version) {
        igmp_version_globle_set(version);
        igmp_para_rv_globle_set(1);
        igmp_fast_leave_enable_globle(1);
        igmp_mode_switch_globle(2);
        taken(sent);
    }

    /* A query of the network's querier. */
    void ask(const Bytes& message) {
        EXPECT_EQ(receive(kUplink, ipv4(0xC0000201, 0xE0000001, message)), 0);
    }
};

Bytes v3_query(std::uint8_t code, std::uint32_t group,
               const std::vector<std::uint32_t>& sources = {}) {
    Bytes message = Bytes{0x11, code, 0, 0} + be32(group) + Bytes{2, 125} +
                    be16(static_cast<std::uint32_t>(sources.size()));
    for (const std::uint32_t source : sources) message = message + be32(source);
    return with_checksum(message);
}

TEST_F(Proxy, FirstMemberAndLastLeaveAreReportedInVersion2) {
    start(2);
    receive(2, v2_report(kHostA, kGroup));
    receive(3, v2_report(kHostA, kGroup));
    receive(2, leave(kHostA, kGroup));
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].port, 0xFFFF);
    EXPECT_EQ(sent[0].vid, kVlan);
    EXPECT_EQ(sent[0].bytes, (Bytes{
                                 0x46, 0xC0, 0x00, 0x20,  // IPv4, 24 bytes of header, 32 in all
                                 0x00, 0x00, 0x00, 0x00,  //
                                 0x01, 0x02, 0x1B, 0xE9,  // TTL 1, IGMP, checksum
                                 0x0A, 0x19, 0x0E, 0x14,  // from the proxy address
                                 0xEF, 0x01, 0x01, 0x01,  // to the group
                                 0x94, 0x04, 0x00, 0x00,  // router alert
                                 0x16, 0x00, 0xF9, 0xFC,  // version 2 report, checksum
                                 0xEF, 0x01, 0x01, 0x01,  // of 239.1.1.1
                             }));
    receive(3, leave(kHostA, kGroup));
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(mc::load_be32(&sent[1].bytes[16]), 0xE0000002U);  // to 224.0.0.2
    EXPECT_EQ(message_of(sent[1]), igmp(0x17, kGroup));
    EXPECT_EQ(mcore::counters()[Sent::kIgmpReport], 1U);
    EXPECT_EQ(mcore::counters()[Sent::kIgmpLeave], 1U);
}

TEST_F(Proxy, Version1ReportsAndLeavesInSilence) {
    start(1);
    receive(2, v1_report(kHostA, kGroup));
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(message_of(sent[0]), igmp(0x12, kGroup));
    igmp_del_all_group();
    EXPECT_EQ(sent.size(), 1U);
}

TEST_F(Proxy, Version3ReportsChangesOfState) {
    start(3);
    const auto last = [] { return message_of(taken(sent).at(0)); };
    const auto report = [](const Bytes& one) {
        return with_checksum(Bytes{0x22, 0, 0, 0, 0, 0, 0, 1} + one);
    };
    receive(2, v3_report(kHostA, kAllow, kGroup, {kSource1}));
    EXPECT_EQ(mc::load_be32(&sent.at(0).bytes[16]), 0xE0000016U);  // to 224.0.0.22
    EXPECT_EQ(last(), report(record(kAllow, kGroup, {kSource1})));
    receive(3, v3_report(kHostA, kAllow, kGroup, {kSource2}));
    EXPECT_EQ(last(), report(record(kAllow, kGroup, {kSource2})));
    receive(2, v3_report(kHostA, kToIn, kGroup));
    EXPECT_EQ(last(), report(record(kBlock, kGroup, {kSource1})));
    receive(2, v2_report(kHostA, kGroup));
    EXPECT_EQ(last(), report(record(kToEx, kGroup, {})));
    receive(2, leave(kHostA, kGroup));
    EXPECT_EQ(last(), report(record(kToIn, kGroup, {kSource2})));
    receive(3, v3_report(kHostA, kToIn, kGroup));
    EXPECT_EQ(last(), report(record(kBlock, kGroup, {kSource2}))) << "the mode is INCLUDE before";
    receive(3, v2_report(kHostA, kOther));
    taken(sent);
    receive(3, leave(kHostA, kOther));
    EXPECT_EQ(last(), report(record(kToIn, kOther, {})));
}

TEST_F(Proxy, ARefreshIsNotReported) {
    start(3);
    receive(2, v3_report(kHostA, kToEx, kGroup));
    receive(2, v3_report(kHostA, kIsEx, kGroup));
    receive(3, v3_report(kHostA, kToEx, kGroup));
    EXPECT_EQ(sent.size(), 1U);
}

TEST_F(Proxy, AGeneralQueryIsAnsweredWithinItsTime) {
    start(3);
    receive(2, v3_report(kHostA, kToEx, kGroup));
    receive(3, v3_report(kHostA, kAllow, kOther, {kSource1}));
    taken(sent);
    ask(v3_query(100, 0));
    EXPECT_EQ(sent.size(), 0U);
    wait_seconds(10);
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(message_of(sent[0]),
              with_checksum(Bytes{0x22, 0, 0, 0, 0, 0, 0, 2} + record(kIsEx, kGroup, {}) +
                            record(kIsIn, kOther, {kSource1})));
}

TEST_F(Proxy, AQueryIsAnsweredForItsVlanAndGroupOnly) {
    start(2);
    igmp_vlan_add(100);
    receive(2, v2_report(kHostA, kGroup), 100);
    receive(2, v2_report(kHostA, kOther));
    receive(3, v2_report(kHostA, kThird));
    taken(sent);
    ask(igmp(0x11, 0, 50));
    wait_seconds(5);
    ASSERT_EQ(sent.size(), 2U);
    const std::set<Bytes> answers{message_of(sent[0]), message_of(sent[1])};
    EXPECT_EQ(answers, (std::set<Bytes>{igmp(0x16, kOther), igmp(0x16, kThird)}));
    taken(sent);
    ask(igmp(0x11, kThird, 10));
    wait_seconds(1);
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(message_of(sent[0]), igmp(0x16, kThird));
}

TEST_F(Proxy, AQueryForSourcesIsAnsweredWithThoseWanted) {
    start(3);
    receive(2, v3_report(kHostA, kToEx, kGroup, {kSource1}));
    taken(sent);
    ask(v3_query(10, kGroup, {kSource1, kSource2}));
    wait_seconds(1);
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(message_of(sent[0]),
              with_checksum(Bytes{0x22, 0, 0, 0, 0, 0, 0, 1} + record(kIsIn, kGroup, {kSource2})));
    ask(v3_query(10, kGroup, {kSource1}));
    wait_seconds(1);
    EXPECT_EQ(sent.size(), 1U);
}

TEST_F(Proxy, AQueryCutShortIsRefused) {
    start(3);
    Bytes query = v3_query(10, kGroup, {kSource1, kSource2});
    query[11] = 3;
    query[2] = query[3] = 0;
    EXPECT_EQ(receive(kUplink, ipv4(1, kGroup, with_checksum(query))), 1);
    query.resize(10);
    query[2] = query[3] = 0;
    EXPECT_EQ(receive(kUplink, ipv4(1, kGroup, with_checksum(query))), 1);
    EXPECT_EQ(drops(Drop::kTruncated), 2U);
}

TEST_F(Proxy, LongReportsAreSplit) {
    start(3);
    for (std::uint32_t i = 0; i < 400; ++i) receive(2, v3_report(kHostA, kToEx, kGroup + i));
    taken(sent);
    ask(v3_query(10, 0));
    wait_seconds(1);
    ASSERT_EQ(sent.size(), 3U);
    unsigned records = 0;
    for (const SentPacket& packet : sent) {
        EXPECT_LE(packet.bytes.size(), 1494U);
        EXPECT_EQ(checksum(message_of(packet)), 0);
        records += mc::load_be16(&packet.bytes[24 + 6]);
    }
    EXPECT_EQ(records, 400U);
}

TEST_F(Proxy, MessagesCarryTheUplinkTagThatWasSet) {
    IgmpUplinkTag outer{0xA064, 0x8100, 0x0A};  // PCP 5, VID 100
    IgmpUplinkTag inner{0x8100, 0xFFFF, 0};
    EXPECT_EQ(igmp_if_snp_uplinkvlan_set(29, &outer, &inner), 0);
    start(2);
    receive(2, v2_report(kHostA, kGroup));
    EXPECT_EQ(sent.at(0).vid, 100);
    EXPECT_EQ(sent.at(0).priority, 5);
    outer = inner;  // the reset value
    igmp_if_snp_uplinkvlan_set(29, &outer, &inner);
    receive(2, v2_report(kHostA, kOther));
    EXPECT_EQ(sent.at(1).vid, kVlan);
}

TEST_F(Proxy, EnteringTheModeReportsWhatIsThere) {
    receive(2, v2_report(kHostA, kGroup));
    receive(3, v2_report(kHostA, kGroup));
    igmp_version_globle_set(2);
    igmp_mode_switch_globle(2);
    ASSERT_EQ(sent.size(), 7U);  // and six queries
    EXPECT_EQ(message_of(sent[0]), igmp(0x16, kGroup));
}

TEST_F(Proxy, WhatWasReportedIsReportedAnewAfterAnotherMode) {
    start(2);
    receive(2, v2_report(kHostA, kGroup));
    igmp_mode_switch_globle(1);
    taken(sent);
    igmp_mode_switch_globle(2);
    EXPECT_EQ(message_of(sent.at(0)), igmp(0x16, kGroup));
}

TEST_F(Proxy, SnoopingReportsNothingUpstream) {
    start(2);
    igmp_mode_switch_globle(1);
    receive(2, v2_report(kHostA, kGroup));
    receive(2, leave(kHostA, kGroup));
    EXPECT_EQ(sent.size(), 0U);
}

TEST_F(Proxy, TestMessagesGoUpstreamInEveryMode) {
    EXPECT_EQ(test_igmp_report_v2_l3(2, 100), 0);
    EXPECT_EQ(test_igmp_leave_v2_l3(2, 0), 0);
    EXPECT_EQ(test_igmp_leave_v2_l3(9, 0), 1);
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(sent[0].port, 0xFFFF);
    EXPECT_EQ(sent[0].vid, 100);
    EXPECT_EQ(message_of(sent[0]), igmp(0x16, 0xEFFF0102));
    EXPECT_EQ(sent[1].vid, kVlan);
    EXPECT_EQ(message_of(sent[1]), igmp(0x17, 0xEFFF0102));
}

// ---- MLD ----

// ---- For drivers ----

/* The group that the core makes or removes an entry for, as a driver sees it. */
std::vector<std::string> in_hand;

extern "C" {

std::int32_t look_at_igmp_entry(IgmpGroupEntry* /*group*/) {
    const auto owner = mcore::entry_in_hand();
    in_hand.push_back(owner ? std::to_string(owner->port) + "/" + std::to_string(owner->vlan) +
                                  " " + mcore::text(owner->family, owner->group)
                            : "none");
    return 0;
}

std::int32_t look_at_mld_entry(MldGroupEntry* /*group*/) { return look_at_igmp_entry(nullptr); }
}

TEST_F(Core, ADriverSeesTheGroupBehindTheMacAddressOfAnEntry) {
    in_hand.clear();
    igmp_register_switch_add_table(look_at_igmp_entry);
    igmp_register_switch_del_table(look_at_igmp_entry);
    mld_register_switch_add_table(look_at_mld_entry);
    igmp_if_fast_leave_enable(2, 1);
    receive(2, v2_report(kHostA, kGroup));
    receive(2, leave(kHostA, kGroup));
    receive_mld(3, mld_report(kHostA6, kGroup6));
    EXPECT_EQ(in_hand, (Texts{"2/4088 239.1.1.1", "2/4088 239.1.1.1", "3/4088 ff1e::101"}));
    EXPECT_FALSE(mcore::entry_in_hand()) << "outside of such a call";
}

TEST_F(Core, WhoKeepsTheClockHearsOfEachChangeOfTheNextTimer) {
    std::vector<std::optional<std::uint64_t>> due;
    mcore::watch_timers([&due](std::optional<std::uint64_t> next) { due.push_back(next); });
    receive(2, v2_report(kHostA, kGroup));
    ASSERT_EQ(due.size(), 1U);
    EXPECT_EQ(due[0], mcore::next_timer());
    receive(3, v2_report(kHostA, kOther));
    EXPECT_EQ(due.size(), 1U) << "a later timer changes nothing";
    receive(2, leave(kHostA, kGroup));
    ASSERT_EQ(due.size(), 2U);
    EXPECT_EQ(due[1], now_ + kSecond) << "the last member query is due before";
    igmp_del_all_group();
    ASSERT_EQ(due.size(), 3U);
    EXPECT_FALSE(due[2]) << "no timer is left";
    mcore::watch_timers({});
    receive(2, v2_report(kHostA, kGroup));
    EXPECT_EQ(due.size(), 3U);
}

TEST_F(Core, MldReportMakesAMembershipAndAnEntry) {
    const Bytes report{
        0x60, 0x00, 0x00, 0x00,                          // IPv6
        0x00, 0x20, 0x00, 0x01,                          // 32 bytes, hop-by-hop next, hop limit 1
        0xFE, 0x80, 0,    0,    0,    0,    0,    0,     // from fe80::
        0x00, 0x00, 0x00, 0xFF, 0xFE, 0x00, 0x00, 0x0A,  //   ff:fe00:a
        0xFF, 0x1E, 0,    0,    0,    0,    0,    0,     // to ff1e::
        0,    0,    0,    0,    0,    0,    0x01, 0x01,  //   101
        0x3A, 0x00, 0x05, 0x02, 0x00, 0x00, 0x01, 0x00,  // ICMPv6 next, router alert
        0x83, 0x00, 0x7E, 0xE2,                          // MLDv1 report, checksum
        0x00, 0x00, 0x00, 0x00,                          //
        0xFF, 0x1E, 0,    0,    0,    0,    0,    0,     // of ff1e::
        0,    0,    0,    0,    0,    0,    0x01, 0x01,  //   101
    };
    ASSERT_EQ(report, mld_report(kHostA6, kGroup6));
    EXPECT_EQ(receive_mld(2, report), 0);
    EXPECT_EQ(held(), Texts{"2/4088 ff1e::101"});
    const Membership one = mcore::memberships().at(0);
    EXPECT_EQ(one.family, Family::kIpv6);
    EXPECT_EQ(one.version, 1);
    EXPECT_EQ(texts(one, one.reporters), Texts{"fe80::ff:fe00:a"});
    EXPECT_EQ(entries, (std::vector<Entry>{{true, 2, kVlan, 0x00000101}}));
    EXPECT_EQ(mcore::counters()[Received::kMldV1Report], 1U);
}

TEST_F(Core, MldDoneIsAskedAboutTwiceAndThenTakesTheGroupAway) {
    receive_mld(2, mld_report(kHostA6, kGroup6));
    receive_mld(2, mld_done(kHostA6, kGroup6));
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].port, 2);
    const Ipv6 from{0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 10, 25, 14, 20};
    // A query of ff1e::101 to be answered within 1000 ms, in version 1 as the host is.
    EXPECT_EQ(sent[0].bytes,
              ipv6(from, kGroup6, Bytes{130, 0, 0, 0, 0x03, 0xE8, 0, 0} + bytes_of(kGroup6)));
    wait_seconds(2);
    EXPECT_EQ(sent.size(), 2U);
    EXPECT_EQ(held(), Texts{});
    EXPECT_EQ(entries.back(), (Entry{false, 2, kVlan, 0x00000101}));
    EXPECT_EQ(mcore::counters()[Sent::kMldGroupQuery], 2U);
}

// The library forwards in the one mode and stamps in the other; what the core does is the same.
class CoreInMldMode : public Core, public ::testing::WithParamInterface<std::uint16_t> {};

TEST_P(CoreInMldMode, ReportsAreLearntAndDonesAskedAboutInBothVersions) {
    ASSERT_EQ(mld_proxy_snoop_set_globle(GetParam()), 0);
    receive_mld(2, mld_report(kHostA6, kGroup6));
    receive_mld(3, mld_v2_report(kHostB6, kToEx, kGroup6));
    EXPECT_EQ(held(), (Texts{"2/4088 ff1e::101", "3/4088 ff1e::101"}));
    EXPECT_EQ(entries, (std::vector<Entry>{{true, 2, kVlan, 0x101}, {true, 3, kVlan, 0x101}}));

    receive_mld(2, mld_done(kHostA6, kGroup6));
    receive_mld(3, mld_v2_report(kHostB6, kToIn, kGroup6));
    ASSERT_EQ(sent.size(), 2U);
    constexpr std::size_t kHeaders = 48;  // IPv6 and hop-by-hop
    EXPECT_EQ(sent[0].bytes.at(kHeaders), 130) << "a query";
    EXPECT_EQ(sent[0].bytes.size(), kHeaders + 24) << "in version 1, as the host of port 2 is";
    EXPECT_EQ(sent[1].bytes.size(), kHeaders + 28) << "in version 2, as the host of port 3 is";
    receive_mld(3, mld_v2_report(kHostB6, kIsEx, kGroup6));
    wait_seconds(2);
    EXPECT_EQ(held(), Texts{"3/4088 ff1e::101"}) << "only port 3 has answered";
    EXPECT_EQ(entries.back(), (Entry{false, 2, kVlan, 0x101}));
}

INSTANTIATE_TEST_SUITE_P(Modes, CoreInMldMode, ::testing::Values(2, 3),
                         [](const auto& mode) { return mode.param == 3 ? "Control" : "Snooping"; });

TEST_F(Core, MldLeaveInVersion2IsAskedAboutInVersion2) {
    receive_mld(2, mld_v2_report(kHostA6, kToEx, kGroup6));
    receive_mld(2, mld_v2_report(kHostA6, kToIn, kGroup6));
    const Ipv6 from{0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 10, 25, 14, 20};
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].bytes, ipv6(from, kGroup6,
                                  Bytes{130, 0, 0, 0, 0x03, 0xE8, 0, 0} + bytes_of(kGroup6) +
                                      Bytes{2, 125, 0, 0}));
}

TEST_F(Core, MldVersion2SourcesAreKept) {
    receive_mld(2, mld_v2_report(kHostA6, kAllow, kGroup6, {kSource6}));
    const Membership one = mcore::memberships().at(0);
    EXPECT_EQ(one.version, 2);
    EXPECT_FALSE(one.exclude);
    EXPECT_EQ(texts(one, one.sources), Texts{"2001:db8:7::7"});
    igmp_fast_leave_enable_globle(1);
    receive_mld(2, mld_v2_report(kHostA6, kBlock, kGroup6, {kSource6}));
    EXPECT_EQ(held(), Texts{});
}

TEST_F(Core, MldDoneOfOneHostKeepsTheGroupOfAnother) {
    igmp_fast_leave_enable_globle(1);
    receive_mld(2, mld_report(kHostA6, kGroup6));
    receive_mld(2, mld_v2_report(kHostB6, kToEx, kGroup6));
    receive_mld(2, mld_done(kHostA6, kGroup6));
    EXPECT_EQ(held().size(), 1U);
    receive_mld(2, mld_v2_report(kHostB6, kToIn, kGroup6));
    EXPECT_EQ(held(), Texts{});
}

TEST_F(Core, MldAgesByItsOwnSwitch) {
    receive_mld(2, mld_report(kHostA6, kGroup6));
    receive(2, v2_report(kHostA, kGroup));
    mld_pack_set_age_switch(0);
    wait_seconds(260);
    EXPECT_EQ(held(), Texts{"2/4088 ff1e::101"});
    mld_pack_set_age_switch(1);
    wait_seconds(260);
    EXPECT_EQ(held(), Texts{});
}

TEST_F(Core, LinkLocalGroupsOfMldAreNoMemberships) {
    receive_mld(2, mld_report(kHostA6, kSolicitedNode));
    Ipv6 interface_local = kGroup6;
    interface_local[1] = 0x01;
    receive_mld(2, mld_report(kHostA6, interface_local));
    EXPECT_EQ(held(), Texts{});
    EXPECT_EQ(drops(Drop::kLinkLocalGroup), 2U);
}

TEST_F(Core, MldMessagesThatTheRfcsForbidAreRefused) {
    Ipv6 global = kSource6;
    EXPECT_EQ(receive_mld(2, mld_report(global, kGroup6)), 1);
    EXPECT_EQ(drops(Drop::kSource), 1U);
    EXPECT_EQ(receive_mld(2, mld_report(Ipv6{}, kGroup6)), 1);
    EXPECT_EQ(drops(Drop::kUnspecifiedSource), 1U);
    Bytes report = mld_report(kHostA6, kGroup6);
    report[7] = 2;
    EXPECT_EQ(receive_mld(2, report), 1);
    EXPECT_EQ(drops(Drop::kHopLimit), 1U);
    report[7] = 1;
    report[50] ^= 1;
    EXPECT_EQ(receive_mld(2, report), 1);
    EXPECT_EQ(drops(Drop::kChecksum), 1U);
    EXPECT_EQ(receive_mld(29, mld_report(kHostA6, kGroup6)), 1);
    EXPECT_EQ(drops(Drop::kReportFromUplink), 1U);
    EXPECT_EQ(receive_mld(2, ipv6(kHostA6, kGroup6, Bytes{135, 0, 0, 0} + Bytes(20, 0))), 1);
    EXPECT_EQ(drops(Drop::kUnknownType), 1U);
    EXPECT_EQ(held(), Texts{});
}

TEST_F(Core, AnMldPacketCutAnywhereIsRefusedAndNotReadPastItsEnd) {
    const Bytes report = mld_v2_report(kHostA6, kAllow, kGroup6, {kSource6});
    for (std::size_t length = 0; length < report.size(); ++length) {
        const Bytes cut(report.begin(), report.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_EQ(receive_mld(2, cut), 1) << length;
    }
    EXPECT_EQ(held(), Texts{});
}

TEST_F(Core, MldRecordsThatDoNotFitRefuseTheReport) {
    Bytes message{143, 0, 0, 0, 0, 0, 0, 1, kIsIn, 0, 0, 9};  // nine sources
    message = message + bytes_of(kGroup6) + bytes_of(kSource6);
    EXPECT_EQ(receive_mld(2, ipv6(kHostA6, kAllRouters6, message)), 1);
    EXPECT_EQ(drops(Drop::kTruncated), 1U);
    // A report of version 1 whose group is not all there.
    EXPECT_EQ(receive_mld(2, ipv6(kHostA6, kGroup6, Bytes{131, 0, 0, 0} + Bytes(19, 0))), 1);
    EXPECT_EQ(drops(Drop::kTruncated), 2U);
}

TEST_F(Core, AHopByHopHeaderMustBeThereAndEndWithinThePacket) {
    const Bytes with = mld_report(kHostA6, kGroup6);
    Bytes without(with.begin(), with.begin() + 40);
    without.insert(without.end(), with.begin() + 48, with.end());
    without[6] = 58;
    EXPECT_EQ(receive_mld(2, without), 1);
    EXPECT_EQ(drops(Drop::kNoRouterAlert), 1U);
    EXPECT_EQ(held(), Texts{});
    Bytes far = with;
    far[41] = 255;
    EXPECT_EQ(receive_mld(2, far), 1);
    EXPECT_EQ(drops(Drop::kNotIp), 1U);
}

// ---- Status ----

std::uint32_t word_at(const std::uint8_t* bytes) {
    std::uint32_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

TEST_F(Core, PortStatusIsFourWords) {
    igmp_if_add_auth_group_cfg(2, kGroup, kGroup, 600, kVlan);
    igmp_if_max_group_num_set(2, 10);
    igmp_if_max_bandwidth_set(2, 1, 1000, 0);
    receive(2, v2_report(kHostA, kGroup));
    receive(2, v2_report(kHostA, kOther));
    std::uint8_t status[16] = {};
    EXPECT_EQ(igmp_if_gather_if_status(2, 16, status), 16);
    EXPECT_EQ(word_at(status), 2U);
    EXPECT_EQ(word_at(status + 4), 10U);
    EXPECT_EQ(word_at(status + 8), 600U);
    EXPECT_EQ(word_at(status + 12), 1000U);
    EXPECT_EQ(igmp_if_gather_if_status(2, 15, status), 0);
    EXPECT_EQ(igmp_if_gather_if_status(8, 16, status), 0);
}

TEST_F(Core, GroupDumpHoldsARecordForEachMembership) {
    receive(2, v3_report(kHostA, kAllow, kGroup, {kSource1, kSource2}));
    wait_seconds(7);
    receive(3, v2_report(kHostB, kOther));
    receive_mld(3, mld_report(kHostA6, kGroup6));
    wait_seconds(3);
    std::uint8_t dump[100] = {};
    ASSERT_EQ(igmp_gather_grp_info(255, sizeof dump, dump), 4 + 2 * 25);
    EXPECT_EQ(word_at(dump), 2U);
    const Bytes first(dump + 4, dump + 29);
    EXPECT_EQ(first, (Bytes{2,    3,                 // port, version
                            0xEF, 0x01, 0x01, 0x01,  // 239.1.1.1
                            0x00, 0x00, 0x0F, 0xF8,  // VLAN 4088
                            0xC0, 0x00, 0x02, 0x14,  // reported by 192.0.2.20
                            0x00, 0x00, 0x00, 0x0A,  // joined 10 s ago
                            0x00, 0x00, 0x00, 0xFA,  // ends in 250 s
                            1,    2,                 // include, two sources
                            1}));                    // programmed
    EXPECT_EQ(igmp_gather_grp_info(3, sizeof dump, dump), 29);
    EXPECT_EQ(dump[4], 3);
    EXPECT_EQ(dump[4 + 22], 2);  // exclude
    EXPECT_EQ(igmp_gather_grp_info(4, sizeof dump, dump), 4);
    EXPECT_EQ(word_at(dump), 0U);
}

TEST_F(Core, GroupDumpKeepsToTheSizeGiven) {
    receive(2, v2_report(kHostA, kGroup));
    receive(2, v2_report(kHostA, kOther));
    for (std::uint32_t size = 0; size < 60; ++size) {
        Bytes buffer(size);
        buffer.shrink_to_fit();
        // The count and as many of the two records as fit.
        const std::uint32_t records = size < 4 ? 0 : std::min((size - 4) / 25, 2U);
        const std::uint32_t length = size < 4 ? 0 : 4 + records * 25;
        EXPECT_EQ(igmp_gather_grp_info(255, size, buffer.data()),
                  static_cast<std::int32_t>(length));
        EXPECT_EQ(size < 4 ? 0 : word_at(buffer.data()), records) << size;
    }
}

// ---- Displays ----

/* What an action prints on standard output. */
template <class Action>
std::string printed(Action action) {
    ::testing::internal::CaptureStdout();
    action();
    std::fflush(stdout);
    return ::testing::internal::GetCapturedStdout();
}

bool says(const std::string& text, const std::string& what) {
    return text.find(what) != std::string::npos;
}

TEST_F(Core, DisplaysShowWhatIsThere) {
    IgmpUplinkTag outer{0xA064, 0x8100, 0x0A};
    IgmpUplinkTag inner{0x8100, 0xFFFF, 0};
    igmp_if_snp_uplinkvlan_set(29, &outer, &inner);
    igmp_vlan_add(100);
    igmp_mode_switch_globle(2);
    igmp_if_add_auth_group_cfg(2, kGroup, kOther, 600, kVlan);
    receive(2, v3_report(kHostA, kAllow, kGroup, {kSource1}));
    receive(3, v2_report(kHostA, kThird));
    receive_mld(4, mld_report(kHostA6, kGroup6));
    EXPECT_TRUE(says(printed(igmp_display_all_group), "239.1.1.3"));
    const std::string one = printed([] { igmp_display_special_group(kGroup); });
    EXPECT_TRUE(says(one, "source   198.51.100.7"));
    EXPECT_FALSE(says(one, "239.1.1.3"));
    EXPECT_TRUE(says(printed(show_igmp_all_proxy_group), "239.1.1.3"));
    EXPECT_FALSE(says(printed([] { show_igmp_special_proxy_group(kGroup); }), "239.1.1.3"));
    EXPECT_TRUE(says(printed([] { igmp_show_vlan_config(255, 0, 0); }), "ff1e::101"));
    EXPECT_TRUE(says(printed(igmp_show_vlan_instance), "  100 yes"));
    EXPECT_TRUE(says(printed(show_igmpv3_globle), "a064 8100 0a"));
    EXPECT_TRUE(says(printed(show_igmp_packet_statistic), "IGMPv3 report"));
    EXPECT_TRUE(says(printed(show_igmp_if_list), "uplink"));
    EXPECT_TRUE(says(printed(igmp_timer_show_api), "general query"));
    EXPECT_TRUE(says(printed(igmp_auth_group_show_api), "239.1.1.2"));
    EXPECT_TRUE(says(printed([] { igmp_if_show_if_cfg(2); }), "bandwidth 600"));
    EXPECT_TRUE(says(printed([] { igmp_if_show_if_status(2); }), "memberships: 1"));
    EXPECT_TRUE(says(printed([] { igmp_if_show_auth_group_cfg(2, kGroup); }), "239.1.1.2"));
    EXPECT_FALSE(says(printed([] { igmp_if_show_auth_group_cfg(2, kThird); }), "239.1.1.2"));
    EXPECT_TRUE(says(printed([] { mld_unpack_show_mld_sys(0); }), "snooping"));
    EXPECT_TRUE(says(printed([] { mld_unpack_show_mld_thread(0); }), "ff1e::101"));
    EXPECT_TRUE(says(printed([] { mld_unpack_show_vlan_global(0); }), "4088"));
    EXPECT_TRUE(says(printed(mld_show_if_list), "ff1e::101"));
    EXPECT_EQ(igmp_if_show_if_cfg(7), 1);
    EXPECT_EQ(igmp_if_show_if_status(7), 1);
    EXPECT_EQ(igmp_if_show_auth_group_cfg(7, 0), 1);
}

TEST_F(Core, NothingIsPrintedByItself) {
    EXPECT_EQ(printed([&] {
                  receive(2, v2_report(kHostA, kGroup));
                  receive(2, v2_report(kHostA, 0xE0000001));
                  receive(2, leave(kHostA, kGroup));
                  wait_seconds(10);
              }),
              "");
}

TEST_F(Core, DebugSwitchesPrintALineForEachPacket) {
    const auto report = [&] { receive(2, v2_report(kHostA, kGroup)); };
    const std::string line =
        "1000.000000 port 2 vlan 4088: received IGMPv2 report from 192.0.2.20\n";
    igmp_set_debug_pkt_port(3);
    EXPECT_EQ(printed(report), "");
    igmp_set_debug_pkt_port(2);
    EXPECT_EQ(printed(report), line);
    igmp_set_debug_pkt_port(65534);
    EXPECT_EQ(printed(report), "");
    igmp_set_debug_switch(1, 1);
    EXPECT_EQ(printed(report), line);
    igmp_no_debug_all();
    EXPECT_EQ(printed(report), "");
    igmp_dbg_set(kVlan, 1);
    EXPECT_EQ(printed(report), line);
    igmp_dbg_unset(kVlan, 1);
    EXPECT_EQ(printed(report), "");
    igmp_set_debug_level(3, 1);
    EXPECT_EQ(printed(report), line);
    igmp_set_debug_level(3, 0);
    EXPECT_EQ(printed(report), "");
}

TEST_F(Core, DebugSwitchesPrintDropsAndRecords) {
    igmp_warn_printf_set(1);
    EXPECT_EQ(printed([&] { receive(2, v2_report(kHostA, 0xE0000001)); }),
              "1000.000000 port 2 vlan 4088: dropped, link-local group\n");
    igmp_warn_printf_set(0);
    igmpv3_rcv = 1;
    EXPECT_EQ(printed([&] { receive(2, v3_report(kHostA, kAllow, kGroup, {kSource1})); }),
              "  record of type 5, group 239.1.1.1, 1 sources\n");
}

TEST_F(Core, MldHasDebugSwitchesOfItsOwn) {
    const auto report = [&] { receive_mld(2, mld_report(kHostA6, kGroup6)); };
    const std::string line =
        "1000.000000 port 2 vlan 4088: received MLDv1 report from fe80::ff:fe00:a\n";
    igmp_set_debug_switch(1, 1);
    EXPECT_EQ(printed(report), "");
    mld_set_mld_debug_port(255);
    EXPECT_EQ(printed(report), line);
    mld_set_mld_debug_port(65534);
    mld_set_mld_debug(255, 3);
    EXPECT_EQ(printed(report), "");
    mld_set_mld_debug(255, 2);
    EXPECT_EQ(printed(report), line);
}

// ---- The platform layer ----

std::promise<std::string>* task_name = nullptr;

std::int32_t say_name() {
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof name);
    task_name->set_value(name);
    return 0;
}

TEST(Pal, ATaskRunsUnderItsName) {
    std::promise<std::string> promise;
    // cppcheck-suppress danglingLifetime ; the task has said its name before the test ends
    task_name = &promise;
    std::uint32_t first = 0;
    ASSERT_EQ(pal_task_create(&first, "tMCPktRecv", 29, 0, 51200, say_name), 0);
    EXPECT_EQ(promise.get_future().get(), "tMCPktRecv");
    promise = {};
    std::uint32_t second = 0;
    ASSERT_EQ(pal_task_create(&second, "aNameOfMoreThanFifteen", 40, 0, 1, say_name), 0);
    EXPECT_EQ(promise.get_future().get(), "aNameOfMoreThan");
    EXPECT_GE(first, 1U);
    EXPECT_EQ(second, first + 1);
    EXPECT_EQ(pal_task_create(nullptr, "x", 0, 0, 0, say_name), 1);
    EXPECT_EQ(pal_task_create(&second, "x", 0, 0, 0, nullptr), 1);
    EXPECT_TRUE(says(printed([] { mld_unpack_show_mld_thread(0); }), "tMCPktRecv"));
}

TEST_F(Core, MemoryDisplaysCountRecords) {
    pal_mem_reset();
    receive(2, v2_report(kHostA, kGroup));
    receive(2, v2_report(kHostB, kGroup));
    EXPECT_TRUE(says(printed(pal_mem_show), "reporters                   2           +2"));
    EXPECT_TRUE(says(printed([] { pal_mtype_show(0); }), "memberships"));
    EXPECT_EQ(pal_mtype_show(1000), 1);
    EXPECT_EQ(pal_mrecord_range_set(2, 1), 1);
    EXPECT_EQ(pal_mrecord_range_set(1, 1), 0);
    EXPECT_FALSE(says(printed(pal_mem_show), "memberships"));
    pal_mrecord_range_set(0, 1000);
}

// ---- Threads and names ----

TEST_F(Core, SeveralThreadsMayEnterAtOnce) {
    constexpr std::uint32_t kRounds = 2000;
    constexpr std::uint32_t kThreads = 2;
    std::latch all_there(kThreads + 1);
    const auto packets = [&](std::uint32_t port) {
        all_there.arrive_and_wait();
        for (std::uint32_t i = 0; i < kRounds; ++i)
            receive(port, v2_report(kHostA, kGroup + i % 7));
    };
    std::vector<std::thread> threads;
    for (std::uint32_t port = 0; port < kThreads; ++port) threads.emplace_back(packets, port);
    all_there.arrive_and_wait();
    for (std::uint32_t i = 0; i < kRounds; ++i) {
        wait_seconds(100);
        (void)mcore::memberships();
    }
    for (std::thread& one : threads) one.join();
    EXPECT_EQ(mcore::counters()[Received::kIgmpV2Report], kThreads * kRounds);
}

TEST_F(Core, InitialisationForgetsAllButTheTime) {
    receive_mld(2, mld_report(kHostA6, kGroup6));
    mld_data_init();
    EXPECT_EQ(mcore::next_timer(), std::nullopt);
    receive(2, v2_report(kHostA, kGroup));
    EXPECT_EQ(held(), Texts{"2/4088 239.1.1.1"});
    EXPECT_EQ(receive_mld(2, mld_report(kHostA6, kGroup6)), 1);  // the port is not declared
    igmp_data_init();
    EXPECT_EQ(held(), Texts{});
    EXPECT_EQ(mcore::next_timer(), std::nullopt);
    EXPECT_EQ(entries.size(), 2U);  // nothing was removed from the switch
    std::uint32_t seconds = 0;
    igmp_time_now(&seconds);
    EXPECT_EQ(seconds, 1000U);
}

TEST(Names, EveryCountHasOne) {
    for (std::size_t i = 0; i < mcore::kReceivedKinds; ++i) {
        EXPECT_NE(mcore::name(static_cast<Received>(i)), "");
    }
    for (std::size_t i = 0; i < mcore::kDropReasons; ++i) {
        EXPECT_NE(mcore::name(static_cast<Drop>(i)), "");
    }
    for (std::size_t i = 0; i < mcore::kSentKinds; ++i) {
        EXPECT_NE(mcore::name(static_cast<Sent>(i)), "");
    }
}

}  // namespace
