// What the library copies from the core into the shared status segment, byte by byte.
#include <gmock/gmock.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "adapt/records.h"
#include "igmp/igmp.h"
#include "tests/support/console.h"
#include "tests/support/frames.h"
#include "tests/support/fresh_library.h"
#include "tests/support/neighbours.h"

namespace {

using namespace mc_test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::size_t kSegment = 14492;
constexpr std::size_t kGroups = 4;
constexpr std::size_t kGroup = 28;
constexpr std::size_t kPorts = 14340;
constexpr std::size_t kPort = 16;

constexpr const char* kGatherPort = "igmp_if_gather_if_status";
constexpr const char* kGatherGroups = "igmp_gather_grp_info";

// A word as the core leaves it in a buffer: in the machine's own order.
Bytes native(std::uint32_t word) {
    Bytes bytes(sizeof word);
    std::memcpy(bytes.data(), &word, sizeof word);
    return bytes;
}

Bytes segment() { return {mc_status_global, mc_status_global + kSegment}; }

void put(Bytes& segment, std::size_t at, const Bytes& bytes) {
    ASSERT_LE(at + bytes.size(), segment.size());
    std::copy(bytes.begin(), bytes.end(), segment.begin() + static_cast<std::ptrdiff_t>(at));
}

// Byte j of record i of a dump: no two neighbours are alike, and high bits are set.
std::uint8_t dumped(std::size_t i, std::size_t j) {
    return static_cast<std::uint8_t>(0x81 + 37 * i + 11 * j);
}

Bytes dump_of(std::uint32_t claimed, std::size_t records, std::size_t salt = 0) {
    Bytes dump = native(claimed);
    for (std::size_t i = 0; i < records; ++i) {
        for (std::size_t j = 0; j < 25; ++j) dump.push_back(dumped(i + salt, j));
    }
    return dump;
}

// Where each byte of a dumped record stands in a record of the segment.
Bytes exported(std::size_t i) {
    Bytes record(kGroup);
    record[0] = dumped(i, 0);
    record[1] = dumped(i, 1);
    for (std::size_t j = 2; j <= 5; ++j) record[4 + j - 2] = dumped(i, j);
    for (std::size_t j = 6; j <= 9; ++j) record[8 + j - 6] = dumped(i, j);
    for (std::size_t j = 10; j <= 13; ++j) record[12 + j - 10] = dumped(i, j);
    for (std::size_t j = 14; j <= 17; ++j) record[16 + j - 14] = dumped(i, j);
    for (std::size_t j = 18; j <= 21; ++j) record[20 + j - 18] = dumped(i, j);
    record[24] = dumped(i, 22);
    record[25] = dumped(i, 23);
    record[26] = dumped(i, 24);
    return record;
}

void expect_segment(const Bytes& expected) {
    const Bytes now = segment();
    for (std::size_t at = 0; at < kSegment; ++at) {
        ASSERT_EQ(now[at], expected[at]) << "first difference at offset " << at;
    }
}

// Expects the action to fail under every reason that has nothing to do with ports or the segment.
void expect_refused(const std::string& text, std::int32_t (*sync)(std::uint32_t),
                    std::uint32_t port) {
    const Bytes before = segment();
    expect_said(mc_debug, kErr, text, [sync, port] { EXPECT_EQ(sync(port), -1); });
    EXPECT_THAT(calls(), IsEmpty()) << "the core is not asked";
    expect_segment(before);
}

std::string invalid(int port) {
    return "\r\n[MC_DBG_ERR]: \n port(" + std::to_string(port) + ") is invalid!";
}
std::string unknown(int port) {
    return "\r\n[MC_DBG_ERR]: \n [checkPortState]port(" + std::to_string(port) + ") is not find!";
}

class StatusExport : public StartedTest {
 protected:
    ~StatusExport() override { mc_status_global = attached_; }

    static std::uint8_t* refused_segment() {
        return reinterpret_cast<std::uint8_t*>(~std::uintptr_t{0});
    }

 private:
    std::uint8_t* const attached_ = mc_status_global;
};

// ---- Segment -----------------------------------------------------------------------------------

TEST_F(StatusExport, AfterStartUpTheSegmentIsEmptyButForTheReadyWord) {
    Bytes expected(kSegment);
    put(expected, 14488, {0, 0, 0, 1});
    expect_segment(expected);
}

// ---- Ports -------------------------------------------------------------------------------------

const Bytes kStatus =
    native(0x81020304) + native(0xF1F2F3F4) + native(0x00000080) + native(0xFEDCBA98);
const Bytes kStatusStored = {0x81, 0x02, 0x03, 0x04, 0xF1, 0xF2, 0xF3, 0xF4,
                             0x00, 0x00, 0x00, 0x80, 0xFE, 0xDC, 0xBA, 0x98};

TEST_F(StatusExport, OfAPortStoresFourBigEndianWordsAtItsLogicalPort) {
    const std::uint32_t numbers[] = {0, 1, 2, 3, 4, 5, 29};
    for (std::size_t logical = 0; logical < 7; ++logical) {
        Bytes expected = segment();
        put(expected, kPorts + logical * kPort, kStatusStored);
        set_port_status(kStatus);
        forget_calls();
        EXPECT_EQ(igmp_hal_sync_if_status(numbers[logical]), 0);
        EXPECT_THAT(calls(), ElementsAre(call(kGatherPort, numbers[logical], 16)));
        expect_segment(expected);
    }
}

TEST_F(StatusExport, OfAPortGoesByThePortTable) {
    portState[2].port_id = 12;
    portState[5].port_id = 12;  // a second entry is never found
    set_port_status(kStatus);
    Bytes expected = segment();
    put(expected, kPorts + 2 * kPort, kStatusStored);
    EXPECT_EQ(igmp_hal_sync_if_status(12), 0);
    expect_segment(expected);
    forget_calls();
    expect_refused(unknown(2), igmp_hal_sync_if_status, 2);
}

TEST_F(StatusExport, OfAPortTakesTheLowByteOfTheNumber) {
    set_port_status(kStatus);
    Bytes expected = segment();
    put(expected, kPorts + 3 * kPort, kStatusStored);
    EXPECT_EQ(igmp_hal_sync_if_status(0xFFFFFF03), 0);
    EXPECT_THAT(calls(), ElementsAre(call(kGatherPort, 3, 16)));
    expect_segment(expected);
}

TEST_F(StatusExport, OfAPortReplacesTheStatusBefore) {
    set_port_status(Bytes(16, 0xFF));
    EXPECT_EQ(igmp_hal_sync_if_status(1), 0);
    set_port_status(kStatus);
    Bytes expected = segment();
    put(expected, kPorts + kPort, kStatusStored);
    EXPECT_EQ(igmp_hal_sync_if_status(1), 0);
    expect_segment(expected);
}

TEST_F(StatusExport, OfAPortStoresZerosForWhatTheCoreDidNotDeliver) {
    set_port_status(Bytes(16, 0xFF));
    EXPECT_EQ(igmp_hal_sync_if_status(1), 0);
    set_port_status(native(0x81020304));
    Bytes expected = segment();
    put(expected, kPorts + kPort, Bytes{0x81, 0x02, 0x03, 0x04} + Bytes(12));
    EXPECT_EQ(igmp_hal_sync_if_status(1), 0);
    expect_segment(expected);
}

TEST_F(StatusExport, OfAPortNeedsAResultAbove0) {
    set_port_status(kStatus);
    const Bytes before = segment();
    for (const std::int32_t result : {0, -1, -16, INT32_MIN}) {
        answer(kGatherPort, result);
        EXPECT_EQ(said(mc_debug, kAllCategories, [] { EXPECT_EQ(igmp_hal_sync_if_status(0), -1); }),
                  "");
        expect_segment(before);
    }
    answer(kGatherPort, 1);  // items or bytes: any number will do
    EXPECT_EQ(igmp_hal_sync_if_status(0), 0);
    Bytes expected = before;
    put(expected, kPorts, kStatusStored);
    expect_segment(expected);
}

TEST_F(StatusExport, OfAPortAsksTheCoreEvenWithoutASegment) {
    set_port_status(kStatus);
    for (std::uint8_t* const base : {static_cast<std::uint8_t*>(nullptr), refused_segment()}) {
        mc_status_global = base;
        forget_calls();
        EXPECT_EQ(said(mc_debug, kAllCategories, [] { EXPECT_EQ(igmp_hal_sync_if_status(0), -1); }),
                  "");
        EXPECT_THAT(calls(), ElementsAre(call(kGatherPort, 0, 16)));
    }
}

TEST_F(StatusExport, OfAPortRefusesNumbersFrom30On) {
    set_port_status(kStatus);
    for (const int port : {30, 31, 128, 254, 255}) {
        expect_refused(invalid(port), igmp_hal_sync_if_status, static_cast<std::uint32_t>(port));
    }
    expect_refused(invalid(30), igmp_hal_sync_if_status, 0x11E);
}

TEST_F(StatusExport, OfAPortRefusesNumbersThatTheTableLacks) {
    set_port_status(kStatus);
    for (const int port : {6, 7, 28}) {
        expect_refused(unknown(port), igmp_hal_sync_if_status, static_cast<std::uint32_t>(port));
    }
}

TEST_F(StatusExport, OfAPortLimitsNumbersEvenWhenTheTableHasThem) {
    portState[1].port_id = 30;
    set_port_status(kStatus);
    expect_refused(invalid(30), igmp_hal_sync_if_status, 30);
}

TEST_F(StatusExport, OfAPortIsSilentWhenItSucceeds) {
    set_port_status(kStatus);
    EXPECT_EQ(said(mc_debug, kAllCategories, [] { EXPECT_EQ(igmp_hal_sync_if_status(0), 0); }), "");
}

// ---- Groups ------------------------------------------------------------------------------------

TEST_F(StatusExport, OfGroupsSpreadsEachRecord) {
    set_group_dump(dump_of(3, 3));
    Bytes expected = segment();
    put(expected, 0, {0, 0, 0, 3});
    for (std::size_t i = 0; i < 3; ++i) put(expected, kGroups + i * kGroup, exported(i));
    EXPECT_EQ(igmp_hal_sync_grp_infor(255), 0);
    EXPECT_THAT(calls(), ElementsAre(call(kGatherGroups, 255, 12804)));
    expect_segment(expected);
}

// The same, with every byte written out.
TEST_F(StatusExport, OfAGroupAlignsItsFiveWords) {
    Bytes dump = native(1);
    for (std::uint8_t j = 0; j < 25; ++j) dump.push_back(0xE0 + j);
    set_group_dump(dump);
    EXPECT_EQ(igmp_hal_sync_grp_infor(255), 0);
    EXPECT_THAT(Bytes(mc_status_global, mc_status_global + 36),
                ElementsAre(0, 0, 0, 1,              // count
                            0xE0, 0xE1, 0, 0,        // two bytes
                            0xE2, 0xE3, 0xE4, 0xE5,  //
                            0xE6, 0xE7, 0xE8, 0xE9,  //
                            0xEA, 0xEB, 0xEC, 0xED,  // five words
                            0xEE, 0xEF, 0xF0, 0xF1,  //
                            0xF2, 0xF3, 0xF4, 0xF5,  //
                            0xF6, 0xF7, 0xF8, 0,     // three bytes
                            0, 0, 0, 0));
}

TEST_F(StatusExport, OfGroupsStoresTheCountAsABigEndianWord) {
    set_group_dump(dump_of(0x102, 0x102));
    EXPECT_EQ(igmp_hal_sync_grp_infor(255), 0);
    EXPECT_THAT(Bytes(mc_status_global, mc_status_global + 4), ElementsAre(0, 0, 1, 2));
}

TEST_F(StatusExport, OfGroupsTakesExactly512) {
    for (const std::uint32_t claimed : {512u, 513u, 600u, 0x80000000u, 0xFFFFFFFFu}) {
        std::memset(mc_status_global, 0, kPorts);
        set_group_dump(dump_of(claimed, 600, claimed & 0xF));
        Bytes expected = segment();
        put(expected, 0, {0, 0, 2, 0});
        for (std::size_t i = 0; i < 512; ++i) {
            put(expected, kGroups + i * kGroup, exported(i + (claimed & 0xF)));
        }
        EXPECT_EQ(igmp_hal_sync_grp_infor(255), 0) << claimed;
        expect_segment(expected);
    }
}

TEST_F(StatusExport, OfGroupsTakes511AsTheyAre) {
    set_group_dump(dump_of(511, 512));
    Bytes expected = segment();
    put(expected, 0, {0, 0, 1, 0xFF});
    for (std::size_t i = 0; i < 511; ++i) put(expected, kGroups + i * kGroup, exported(i));
    EXPECT_EQ(igmp_hal_sync_grp_infor(255), 0);
    expect_segment(expected);
}

TEST_F(StatusExport, OfFewerGroupsLeavesTheRecordsBehindThem) {
    set_group_dump(dump_of(10, 10));
    EXPECT_EQ(igmp_hal_sync_grp_infor(255), 0);
    set_group_dump(dump_of(3, 3, 100));
    Bytes expected = segment();
    put(expected, 0, {0, 0, 0, 3});
    for (std::size_t i = 0; i < 3; ++i) put(expected, kGroups + i * kGroup, exported(i + 100));
    EXPECT_EQ(igmp_hal_sync_grp_infor(255), 0);
    expect_segment(expected);
}

TEST_F(StatusExport, OfNoGroupsLeavesAllRecords) {
    set_group_dump(dump_of(10, 10));
    EXPECT_EQ(igmp_hal_sync_grp_infor(255), 0);
    set_group_dump(dump_of(0, 5, 100));
    Bytes expected = segment();
    put(expected, 0, {0, 0, 0, 0});
    EXPECT_EQ(igmp_hal_sync_grp_infor(255), 0);
    expect_segment(expected);
}

TEST_F(StatusExport, OfGroupsStoresZerosForWhatTheCoreDidNotDeliver) {
    set_group_dump(dump_of(10, 10));
    EXPECT_EQ(igmp_hal_sync_grp_infor(255), 0);
    set_group_dump(dump_of(3, 1, 100));
    Bytes expected = segment();
    put(expected, 0, {0, 0, 0, 3});
    put(expected, kGroups, exported(100));
    put(expected, kGroups + kGroup, Bytes(2 * kGroup));
    EXPECT_EQ(igmp_hal_sync_grp_infor(255), 0);
    expect_segment(expected);
}

TEST_F(StatusExport, OfGroupsNeedsAResultAbove0) {
    set_group_dump(dump_of(3, 3));
    const Bytes before = segment();
    for (const std::int32_t result : {0, -1, -12804, INT32_MIN}) {
        answer(kGatherGroups, result);
        EXPECT_EQ(igmp_hal_sync_grp_infor(255), -1);
        expect_segment(before);
    }
    answer(kGatherGroups, 1);
    EXPECT_EQ(igmp_hal_sync_grp_infor(255), 0);
    Bytes expected = before;
    put(expected, 0, {0, 0, 0, 3});
    for (std::size_t i = 0; i < 3; ++i) put(expected, kGroups + i * kGroup, exported(i));
    expect_segment(expected);
}

TEST_F(StatusExport, OfGroupsAsksTheCoreEvenWithoutASegment) {
    for (const std::uint32_t count : {0u, 3u}) {
        set_group_dump(dump_of(count, 3));
        for (std::uint8_t* const base : {static_cast<std::uint8_t*>(nullptr), refused_segment()}) {
            mc_status_global = base;
            forget_calls();
            EXPECT_EQ(igmp_hal_sync_grp_infor(255), -1);
            EXPECT_THAT(calls(), ElementsAre(call(kGatherGroups, 255, 12804)));
        }
    }
}

std::string gathering(int port) {
    return "\r\n[MC_DBG_DBG]:  in igmp_gather_grp_info phy_port = " + std::to_string(port) +
           " data_len = 12804\r\n";
}

TEST_F(StatusExport, OfGroupsTracesWhatItAsksFor) {
    set_group_dump(dump_of(3, 3));
    for (const int port : {0, 5, 29, 255}) {
        expect_said(mc_debug, kDbg, gathering(port), [port] {
            EXPECT_EQ(igmp_hal_sync_grp_infor(static_cast<std::uint32_t>(port)), 0);
        });
    }
    answer(kGatherGroups, 0);
    expect_said(mc_debug, kDbg, gathering(255),
                [] { EXPECT_EQ(igmp_hal_sync_grp_infor(255), -1); });
    mc_status_global = nullptr;
    answer(kGatherGroups, 1);
    expect_said(mc_debug, kDbg, gathering(255),
                [] { EXPECT_EQ(igmp_hal_sync_grp_infor(255), -1); });
}

TEST_F(StatusExport, OfGroupsSaysNothingElse) {
    set_group_dump(dump_of(3, 3));
    EXPECT_EQ(said(mc_debug, kAllCategories, [] { igmp_hal_sync_grp_infor(4); }), gathering(4));
}

// The records have one place, whatever port was asked for.
TEST_F(StatusExport, OfTheGroupsOfAPortTakesTheSamePlace) {
    for (const std::uint32_t port : {0u, 1u, 2u, 3u, 4u, 5u, 29u}) {
        set_group_dump(dump_of(1, 1, port));
        Bytes expected = segment();
        put(expected, 0, {0, 0, 0, 1});
        put(expected, kGroups, exported(port));
        forget_calls();
        EXPECT_EQ(igmp_hal_sync_grp_infor(port), 0);
        EXPECT_THAT(calls(), ElementsAre(call(kGatherGroups, port, 12804)));
        expect_segment(expected);
    }
}

TEST_F(StatusExport, OfGroupsTakesTheLowByteOfTheNumber) {
    set_group_dump(dump_of(1, 1));
    EXPECT_EQ(igmp_hal_sync_grp_infor(0xFFFFFF03), 0);
    EXPECT_EQ(igmp_hal_sync_grp_infor(0xFFFFFFFF), 0);
    EXPECT_THAT(calls(),
                ElementsAre(call(kGatherGroups, 3, 12804), call(kGatherGroups, 255, 12804)));
}

TEST_F(StatusExport, OfAllGroupsSkipsThePortChecks) {
    for (PortStateEntry& entry : portState) entry = {};
    set_group_dump(dump_of(1, 1));
    EXPECT_EQ(igmp_hal_sync_grp_infor(255), 0);
    EXPECT_THAT(calls(), ElementsAre(call(kGatherGroups, 255, 12804)));
}

TEST_F(StatusExport, OfGroupsRefusesNumbersFrom30On) {
    set_group_dump(dump_of(1, 1));
    for (const int port : {30, 31, 128, 254}) {
        expect_refused(invalid(port), igmp_hal_sync_grp_infor, static_cast<std::uint32_t>(port));
    }
    expect_refused(invalid(254), igmp_hal_sync_grp_infor, 0xFFFFFFFE);
}

TEST_F(StatusExport, OfGroupsRefusesNumbersThatTheTableLacks) {
    set_group_dump(dump_of(1, 1));
    for (const int port : {6, 7, 28}) {
        expect_refused(unknown(port), igmp_hal_sync_grp_infor, static_cast<std::uint32_t>(port));
    }
}

TEST_F(StatusExport, OfARefusedPortTracesNothing) {
    EXPECT_EQ(said(mc_debug, kAllCategories, [] { igmp_hal_sync_grp_infor(30); }), invalid(30));
    EXPECT_EQ(said(mc_debug, kAllCategories, [] { igmp_hal_sync_grp_infor(6); }), unknown(6));
    EXPECT_EQ(said(mc_debug, kAllCategories, [] { igmp_hal_sync_if_status(30); }), invalid(30));
    EXPECT_EQ(said(mc_debug, kAllCategories, [] { igmp_hal_sync_if_status(6); }), unknown(6));
}

}  // namespace
