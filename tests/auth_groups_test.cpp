// The authorised groups: what goes to the core, and what the library keeps of it.
#include "command/auth_groups.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "adapt/records.h"
#include "tests/support/frames.h"
#include "tests/support/vlan_rules.h"

namespace {

using namespace mc_test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Addresses and VLANs with their high bits set, each different.
constexpr std::uint32_t kStart = 0xEF818203;
constexpr std::uint32_t kEnd = 0xEF91A2B3;
constexpr std::uint32_t kBandwidth = 0xF0E1D2C3;
constexpr std::uint32_t kVlan = 0xFEDC;

using Groups = std::vector<std::string>;

std::string text(const AuthGroupEntry& entry) {
    return fields(entry.start_groupAdress, entry.end_groupAdress, entry.bandwidth, entry.vlan);
}

std::string entry(std::uint32_t start, std::uint32_t end, std::uint32_t bandwidth,
                  std::uint32_t vlan) {
    return fields(start, end, bandwidth, vlan);
}
const std::string kFree = entry(0, 0, 0, 0);

// These entries in a logical port's copy, free ones behind them, and this count.
void expect_copy(int logical, Groups expected, unsigned count) {
    SCOPED_TRACE("copy of logical port " + std::to_string(logical));
    expected.resize(MC_AUTH_GROUPS, kFree);
    Groups now;
    for (const AuthGroupEntry& group : globle_parm.port[logical].auth_group) {
        now.push_back(text(group));
    }
    EXPECT_EQ(now, expected);
    EXPECT_EQ(globle_parm.port[logical].auth_group_num, count);
}

void expect_empty_copies_but_for(int logical) {
    for (int other = 0; other < MC_PORTS; ++other) {
        if (other != logical) expect_copy(other, {}, 0);
    }
}

Line err(const std::string& text) { return Igmp::err(text); }
Line cfg(const std::string& text) { return Igmp::cfg(text); }

const Line kParameterInvalid = err("parameter is invalid!\r");

// Runs the action under every mix of categories: the text, and that it always returns this.
void expect_outcome(std::int32_t result, const Lines& lines,
                    const std::function<std::int32_t()>& action) {
    expect_console(lines, [&] { EXPECT_EQ(action(), result); });
}

class AuthGroups : public StartedTest {};

// ---- Private requests --------------------------------------------------------------------------

Line private_trace(std::uint32_t group, unsigned vlan) {
    char digits[9];
    std::snprintf(digits, sizeof digits, "%x", group);
    return cfg(std::string("\n groupAddress is ") + digits + "  vlan is " + std::to_string(vlan) +
               ".\n");
}

TEST_F(AuthGroups, PrivateAddKeepsOneGroupAtLogicalPort0) {
    EXPECT_EQ(omci_add_auth_igmp_group_vlan_config(kStart, kVlan, 0xA5), 0);
    EXPECT_THAT(calls(), ElementsAre(call("add_to_auth_group_api", kStart, kVlan)));
    expect_copy(0, {entry(kStart, kStart, 0, kVlan)}, 1);
    expect_empty_copies_but_for(0);
}

TEST_F(AuthGroups, PrivateAddTakesTheLow16BitsOfTheVlan) {
    EXPECT_EQ(omci_add_auth_igmp_group_vlan_config(kStart, 0xABCD0064, 0), 0);
    EXPECT_THAT(calls(), ElementsAre(call("add_to_auth_group_api", kStart, 100)));
    expect_copy(0, {entry(kStart, kStart, 0, 100)}, 1);
}

TEST_F(AuthGroups, PrivateAddTraces) {
    expect_outcome(0, {private_trace(kStart, kVlan)},
                   [] { return omci_add_auth_igmp_group_vlan_config(kStart, kVlan, 7); });
}

TEST_F(AuthGroups, PrivateAddRefusesVlan0) {
    for (const std::uint32_t vlan : {0u, 0x10000u}) {
        expect_outcome(-1, {private_trace(kStart, 0), kParameterInvalid},
                       [vlan] { return omci_add_auth_igmp_group_vlan_config(kStart, vlan, 7); });
        EXPECT_THAT(calls(), IsEmpty());
        expect_copy(0, {}, 0);
    }
}

TEST_F(AuthGroups, PrivateAddReturnsTheCoresFailureAndStoresNothing) {
    answer("add_to_auth_group_api", -5);
    expect_outcome(-5,
                   {private_trace(kStart, kVlan),
                    err("\n ERROR!igmp_if_add_auth_group_cfg(private mode) Fail ret(-5)")},
                   [] { return omci_add_auth_igmp_group_vlan_config(kStart, kVlan, 7); });
    expect_copy(0, {}, 0);
}

// The core keeps the ninth group, so it is no failure.
TEST_F(AuthGroups, PrivateAddOfANinthGroupGoesToTheCoreAlone) {
    Groups expected;
    for (std::uint32_t i = 0; i < 8; ++i) {
        EXPECT_EQ(omci_add_auth_igmp_group_vlan_config(kStart + i, kVlan, 0), 0);
        expected.push_back(entry(kStart + i, kStart + i, 0, kVlan));
    }
    expect_copy(0, expected, 8);
    expect_outcome(0,
                   {private_trace(kEnd, kVlan),
                    cfg("[omci_add_auth_igmp_group_vlan_config]: group-vlan cfg in port 0 exceed "
                        "max num.\r\n")},
                   [] { return omci_add_auth_igmp_group_vlan_config(kEnd, kVlan, 7); });
    EXPECT_THAT(calls(), ElementsAre(call("add_to_auth_group_api", kEnd, kVlan)));
    expect_copy(0, expected, 8);
}

TEST_F(AuthGroups, PrivateDeleteAsksTheCoreSixTimes) {
    EXPECT_EQ(omci_delete_auth_igmp_group_vlan_config(kStart, 0xABCD0064, 7), 0);
    const std::string again = call("auth_group_delete_api", kStart, 0);
    EXPECT_THAT(calls(), ElementsAre(call("auth_group_delete_api", kStart, 100), again, again,
                                     again, again, again));
}

TEST_F(AuthGroups, PrivateDeleteLeavesTheCopyOfPort0) {
    omci_add_auth_igmp_group_vlan_config(kStart, kVlan, 0);
    expect_no_change([] { omci_delete_auth_igmp_group_vlan_config(kStart, kVlan, 0); });
    expect_copy(0, {entry(kStart, kStart, 0, kVlan)}, 1);
}

TEST_F(AuthGroups, PrivateDeleteTraces) {
    expect_outcome(0, {private_trace(kStart, kVlan)},
                   [] { return omci_delete_auth_igmp_group_vlan_config(kStart, kVlan, 7); });
    // No check of its own: not even VLAN 0 is refused.
    expect_outcome(0, {private_trace(kStart, 0)},
                   [] { return omci_delete_auth_igmp_group_vlan_config(kStart, 0, 7); });
    EXPECT_EQ(count_of("auth_group_delete_api"), 6u);
}

TEST_F(AuthGroups, PrivateDeleteReportsEachFailureAndReturnsTheSixthResult) {
    const auto failed = [](int ret) {
        return err("\n ERROR!igmp_if_delete_auth_group_cfg(private mode) Fail ret(" +
                   std::to_string(ret) + ")");
    };
    const auto remove = [] { return omci_delete_auth_igmp_group_vlan_config(kStart, kVlan, 7); };
    fail_call("auth_group_delete_api", 2, -22);
    fail_call("auth_group_delete_api", 5, 55);
    expect_outcome(0, {private_trace(kStart, kVlan), failed(-22), failed(55)}, remove);
    EXPECT_EQ(count_of("auth_group_delete_api"), 6u);
    fail_call("auth_group_delete_api", 6, 66);
    expect_outcome(66, {private_trace(kStart, kVlan), failed(-22), failed(55), failed(66)}, remove);
}

const Line kClearing =
    cfg("\n omci_clear_all_auth_igmp_group_vlan_config is in .\n");  // with a line end of its own

TEST_F(AuthGroups, PrivateClearEmptiesTheCopyOfPort0Alone) {
    omci_add_auth_igmp_group_vlan_config(kStart, kVlan, 0);
    omci_add_auth_igmp_group_vlan_config(kEnd, kVlan, 0);
    onu_omci_add_auth_igmp_group_vlan_config(0, kStart, kEnd, kBandwidth, kVlan);
    onu_omci_add_auth_igmp_group_vlan_config(1, kStart, kEnd, kBandwidth, kVlan);
    expect_outcome(0, {kClearing}, [] { return omci_clear_all_auth_igmp_group_vlan_config(); });
    EXPECT_THAT(calls(), ElementsAre("auth_group_delete_all_api()"));
    expect_copy(0, {}, 0);
    expect_copy(1, {entry(kStart, kEnd, kBandwidth, kVlan)}, 1);
}

TEST_F(AuthGroups, PrivateClearOfAnEmptyCopySaysSo) {
    expect_outcome(
        0,
        {kClearing, cfg("[omci_clear_all_auth_igmp_group_vlan_config]: group-vlan cfg in port 0 no "
                        "item to del.\r\n")},
        [] { return omci_clear_all_auth_igmp_group_vlan_config(); });
    EXPECT_THAT(calls(), ElementsAre("auth_group_delete_all_api()"));
}

// The count decides, not the entries.
TEST_F(AuthGroups, PrivateClearLeavesEntriesThatAreNotCounted) {
    globle_parm.port[0].auth_group[3].vlan = 5;
    EXPECT_EQ(omci_clear_all_auth_igmp_group_vlan_config(), 0);
    EXPECT_EQ(globle_parm.port[0].auth_group[3].vlan, 5);
}

TEST_F(AuthGroups, PrivateClearIgnoresTheCoresAnswer) {
    omci_add_auth_igmp_group_vlan_config(kStart, kVlan, 0);
    answer("auth_group_delete_all_api", kFailure);
    expect_outcome(0, {kClearing}, [] { return omci_clear_all_auth_igmp_group_vlan_config(); });
    expect_copy(0, {}, 0);
}

// ---- Requests for a port -----------------------------------------------------------------------

using RangeRequest = std::int32_t (*)(std::uint32_t port, std::uint32_t start, std::uint32_t end,
                                      std::uint32_t bandwidth, std::uint32_t vlan);

struct Operation {
    const char* name;
    const char* asks;  // of the core
    RangeRequest run;
    bool enables;  // range authorisation
};

constexpr Operation kAdd = {"onu_omci_add_auth_igmp_group_vlan_config",
                            "igmp_if_add_auth_group_cfg", onu_omci_add_auth_igmp_group_vlan_config,
                            false};
constexpr Operation kStandardAdd = {"onu_std_omci_add_auth_igmp_group_vlan_config",
                                    "igmp_if_add_auth_group_cfg",
                                    onu_std_omci_add_auth_igmp_group_vlan_config, true};
constexpr Operation kStandardDelete = {"onu_std_omci_delete_auth_igmp_group_vlan_config",
                                       "igmp_if_delete_auth_group_cfg",
                                       onu_std_omci_delete_auth_igmp_group_vlan_config, false};

std::vector<std::string> calls_of_operation(const Operation& operation, std::uint32_t port,
                                            std::uint32_t start, std::uint32_t end,
                                            std::uint32_t bandwidth, std::uint32_t vlan) {
    std::vector<std::string> all = {call(operation.asks, port, start, end, bandwidth, vlan)};
    if (operation.enables) all.push_back(call("igmp_if_grp_range_auth_enable", port, 1));
    return all;
}

std::int32_t clear_port(std::uint32_t port, std::uint32_t, std::uint32_t, std::uint32_t,
                        std::uint32_t vlan) {
    return onu_std_omci_clear_port_all_auth_igmp_group_vlan_config(port, vlan);
}

Lines invalid_port(int port) {
    return {err("\n port(" + std::to_string(port) + ") is invalid!"),
            err("port number is invalid!\r")};
}
Lines unknown_port(int port) {
    return {err("\n [checkPortState]port(" + std::to_string(port) + ") is not find!"),
            err("port number is invalid!\r")};
}

TEST_F(AuthGroups, PortRequestsRefuseNumbersFrom30On) {
    for (const RangeRequest run : {kAdd.run, kStandardAdd.run, kStandardDelete.run, clear_port}) {
        for (const std::uint32_t port : {30u, 31u, 128u, 255u, 0x11Eu}) {
            expect_no_change([&] {
                expect_outcome(-1, invalid_port(port & 0xFF),
                               [run, port] { return run(port, kStart, kEnd, kBandwidth, kVlan); });
            });
            EXPECT_THAT(calls(), IsEmpty());
        }
    }
}

TEST_F(AuthGroups, PortRequestsRefuseNumbersThatTheTableLacks) {
    for (const RangeRequest run : {kAdd.run, kStandardAdd.run, kStandardDelete.run, clear_port}) {
        for (const std::uint32_t port : {6u, 7u, 28u}) {
            expect_no_change([&] {
                expect_outcome(-1, unknown_port(static_cast<int>(port)),
                               [run, port] { return run(port, kStart, kEnd, kBandwidth, kVlan); });
            });
            EXPECT_THAT(calls(), IsEmpty());
        }
    }
}

// Never, even if the table had it.
TEST_F(AuthGroups, PortRequestsRefuse30WhateverTheTableHolds) {
    portState[1].port_id = 30;
    for (const RangeRequest run : {kAdd.run, kStandardAdd.run, kStandardDelete.run, clear_port}) {
        expect_outcome(-1, invalid_port(30),
                       [run] { return run(30, kStart, kEnd, kBandwidth, kVlan); });
        EXPECT_THAT(calls(), IsEmpty());
    }
}

// The port is looked at first: a bad range on a bad port is a bad port.
TEST_F(AuthGroups, PortRequestsLookAtThePortFirst) {
    for (const Operation& operation : {kAdd, kStandardAdd, kStandardDelete}) {
        expect_outcome(-1, invalid_port(30),
                       [&operation] { return operation.run(30, kEnd, kStart, kBandwidth, 0); });
    }
}

TEST_F(AuthGroups, PortRequestsRefuseVlan0AndARangeThatEndsBeforeItStarts) {
    for (const Operation& operation : {kAdd, kStandardAdd, kStandardDelete}) {
        SCOPED_TRACE(operation.name);
        expect_no_change([&] {
            expect_outcome(-1, {kParameterInvalid},
                           [&operation] { return operation.run(1, kStart, kEnd, kBandwidth, 0); });
            expect_outcome(-1, {kParameterInvalid}, [&operation] {
                return operation.run(1, kStart, kEnd, kBandwidth, 0x10000);
            });
            expect_outcome(-1, {kParameterInvalid}, [&operation] {
                return operation.run(1, kStart, kStart - 1, kBandwidth, kVlan);
            });
            // Addresses are compared without a sign.
            expect_outcome(-1, {kParameterInvalid}, [&operation] {
                return operation.run(1, 0x80000000, 0x7FFFFFFF, kBandwidth, kVlan);
            });
        });
        EXPECT_THAT(calls(), IsEmpty());
        expect_outcome(0, {}, [&operation] {
            globle_parm.port[1].auth_group_num = 1;
            return operation.run(1, 0x7FFFFFFF, 0x80000000, kBandwidth, kVlan);
        });
        EXPECT_EQ(operation.run(2, kStart, kStart, kBandwidth, kVlan), 0) << "one group";
    }
}

TEST_F(AuthGroups, PortAddsStoreTheRangeAtTheLogicalPort) {
    for (const Operation& operation : {kAdd, kStandardAdd}) {
        const std::uint32_t numbers[] = {0, 1, 2, 3, 4, 5, 29};
        for (int logical = 0; logical < MC_PORTS; ++logical) {
            const std::uint32_t port = numbers[logical];
            const Tables before = Tables::now();
            expect_outcome(0, {}, [&operation, port] {
                return operation.run(0xFFFFFF00 | port, kStart, kEnd, kBandwidth,
                                     0xABCD0000 | kVlan);
            });
            EXPECT_EQ(calls(),
                      calls_of_operation(operation, port, kStart, kEnd, kBandwidth, kVlan));
            expect_copy(logical, {entry(kStart, kEnd, kBandwidth, kVlan)}, 1);
            expect_empty_copies_but_for(logical);
            before.put_back();
        }
    }
}

TEST_F(AuthGroups, PortRequestsGoByTheFirstEntryOfThePortTable) {
    portState[2].port_id = 12;
    portState[5].port_id = 12;
    EXPECT_EQ(kStandardAdd.run(12, kStart, kEnd, kBandwidth, kVlan), 0);
    expect_copy(2, {entry(kStart, kEnd, kBandwidth, kVlan)}, 1);
    expect_empty_copies_but_for(2);
    EXPECT_EQ(kStandardDelete.run(12, kStart, kEnd, 0, 1), 0);
    expect_copy(2, {}, 0);
}

TEST_F(AuthGroups, PortAddsFillTheFirstFreeEntry) {
    for (const Operation& operation : {kAdd, kStandardAdd}) {
        const Tables before = Tables::now();
        IgmpPortParm& port = globle_parm.port[3];
        port.auth_group[0] = {1, 2, 3, 4, {}};
        port.auth_group[2] = {5, 6, 7, 8, {}};
        port.auth_group_num = 2;
        EXPECT_EQ(operation.run(3, kStart, kEnd, kBandwidth, kVlan), 0);
        expect_copy(
            3, {entry(2, 3, 1, 4), entry(kStart, kEnd, kBandwidth, kVlan), entry(6, 7, 5, 8)}, 3);
        before.put_back();
    }
}

TEST_F(AuthGroups, PortAddsStoreTheSameRangeTwice) {
    kAdd.run(1, kStart, kEnd, kBandwidth, kVlan);
    kStandardAdd.run(1, kStart, kEnd, kBandwidth, kVlan);
    const std::string range = entry(kStart, kEnd, kBandwidth, kVlan);
    expect_copy(1, {range, range}, 2);
}

TEST_F(AuthGroups, PortAddsOfANinthRangeGoToTheCoreAloneAndSaySoWhateverTheMask) {
    for (const Operation& operation : {kAdd, kStandardAdd}) {
        const Tables before = Tables::now();
        for (const std::uint32_t port : {4u, 29u}) {
            const int logical = port == 29 ? 6 : static_cast<int>(port);
            Groups expected;
            for (std::uint32_t i = 0; i < 8; ++i) {
                EXPECT_EQ(operation.run(port, kStart + i, kEnd + i, kBandwidth + i, kVlan + i), 0);
                expected.push_back(entry(kStart + i, kEnd + i, kBandwidth + i, kVlan + i));
            }
            expect_copy(logical, expected, 8);
            expect_outcome(
                0,
                {always(std::string("[") + operation.name + "]: group-vlan cfg in port " +
                        std::to_string(logical) + " exceed max num.\r\n")},
                [&operation, port] { return operation.run(port, 9, 10, 11, 12); });
            EXPECT_EQ(calls(), calls_of_operation(operation, port, 9, 10, 11, 12));
            expect_copy(logical, expected, 8);
        }
        before.put_back();
    }
}

TEST_F(AuthGroups, PortAddsTakeACountAbove8ForFull) {
    globle_parm.port[1].auth_group_num = 200;
    for (const Operation& operation : {kAdd, kStandardAdd}) {
        expect_outcome(0,
                       {always(std::string("[") + operation.name +
                               "]: group-vlan cfg in port 1 exceed max num.\r\n")},
                       [&operation] { return operation.run(1, 9, 10, 11, 12); });
    }
    expect_copy(1, {}, 200);
}

// A count that is below the entries in use: nothing is stored, and nobody is told.
TEST_F(AuthGroups, AddsWithoutAFreeEntryAreSilent) {
    for (const int logical : {0, 1}) {
        for (AuthGroupEntry& group : globle_parm.port[logical].auth_group) group.vlan = 5;
        globle_parm.port[logical].auth_group_num = 7;
    }
    expect_no_change([] {
        expect_outcome(0, {}, [] { return kAdd.run(1, 9, 10, 11, 12); });
        expect_outcome(0, {}, [] { return kStandardAdd.run(1, 9, 10, 11, 12); });
        expect_outcome(0, {private_trace(kStart, kVlan)},
                       [] { return omci_add_auth_igmp_group_vlan_config(kStart, kVlan, 7); });
    });
}

TEST_F(AuthGroups, PortAddsThatTheCoreRefusesStoreNothingAndReturn0) {
    answer("igmp_if_add_auth_group_cfg", kFailure);
    for (const Operation& operation : {kAdd, kStandardAdd}) {
        expect_no_change([&operation] {
            expect_outcome(0, {err("\n ERROR!igmp_if_add_auth_group_cfg Fail")}, [&operation] {
                return operation.run(1, kStart, kEnd, kBandwidth, kVlan);
            });
        });
        EXPECT_EQ(calls(), calls_of_operation(operation, 1, kStart, kEnd, kBandwidth, kVlan));
    }
}

TEST_F(AuthGroups, PortAddsThatTheCoreRefusesDoNotMindAFullCopy) {
    answer("igmp_if_add_auth_group_cfg", kFailure);
    globle_parm.port[1].auth_group_num = 8;
    for (const Operation& operation : {kAdd, kStandardAdd}) {
        expect_outcome(0, {err("\n ERROR!igmp_if_add_auth_group_cfg Fail")},
                       [&operation] { return operation.run(1, 9, 10, 11, 12); });
    }
}

TEST_F(AuthGroups, StandardAddReportsAnAuthorisationThatStaysOff) {
    answer("igmp_if_grp_range_auth_enable", kFailure);
    const Line failed = err("\n ERROR!igmp_if_grp_range_auth_enable Fail");
    expect_outcome(0, {failed},
                   [] { return kStandardAdd.run(1, kStart, kEnd, kBandwidth, kVlan); });
    expect_copy(1, {entry(kStart, kEnd, kBandwidth, kVlan)}, 1);
    answer("igmp_if_add_auth_group_cfg", kFailure);
    expect_outcome(0, {err("\n ERROR!igmp_if_add_auth_group_cfg Fail"), failed},
                   [] { return kStandardAdd.run(1, kStart, kEnd, kBandwidth, kVlan); });
}

// ---- Standard delete ---------------------------------------------------------------------------

TEST_F(AuthGroups, StandardDeleteClearsAllEntriesWithTheSameStartAndEnd) {
    kAdd.run(1, kStart, kEnd, kBandwidth, kVlan);
    kAdd.run(1, kStart, kEnd - 1, kBandwidth, kVlan);
    kAdd.run(1, kStart + 1, kEnd, kBandwidth, kVlan);
    kAdd.run(1, kStart, kEnd, 7, 8);  // neither VLAN nor bandwidth are compared
    kAdd.run(2, kStart, kEnd, kBandwidth, kVlan);
    expect_outcome(0, {}, [] {
        return kStandardDelete.run(0xFFFFFF01, kStart, kEnd, 0x87654321, 0xABCD8765);
    });
    EXPECT_THAT(calls(),
                ElementsAre(call(kStandardDelete.asks, 1, kStart, kEnd, 0x87654321, 0x8765)));
    expect_copy(1,
                {kFree, entry(kStart, kEnd - 1, kBandwidth, kVlan),
                 entry(kStart + 1, kEnd, kBandwidth, kVlan)},
                2);
    expect_copy(2, {entry(kStart, kEnd, kBandwidth, kVlan)}, 1);
}

// Start and end alone say that an entry is meant, also of one that counts as free for want of a
// VLAN.
TEST_F(AuthGroups, StandardDeleteClearsAndCountsAMatchingEntryOfVlan0Too) {
    for (std::uint32_t i = 0; i < 4; ++i) kAdd.run(1, kStart, kEnd - i, kBandwidth, kVlan);
    globle_parm.port[1].auth_group[2].vlan = 0;
    EXPECT_EQ(kStandardDelete.run(1, kStart, kEnd - 2, kBandwidth, kVlan), 0);
    expect_copy(1,
                {entry(kStart, kEnd, kBandwidth, kVlan), entry(kStart, kEnd - 1, kBandwidth, kVlan),
                 kFree, entry(kStart, kEnd - 3, kBandwidth, kVlan)},
                3);
}

TEST_F(AuthGroups, StandardDeleteClearsAMatchingEntryThatBeginsOrEndsAt0) {
    kAdd.run(1, 0, kEnd, kBandwidth, kVlan);
    kAdd.run(1, kStart, kEnd, kBandwidth, kVlan);
    globle_parm.port[1].auth_group[0].vlan = 0;
    EXPECT_EQ(kStandardDelete.run(1, 0, kEnd, 0, kVlan), 0);
    expect_copy(1, {kFree, entry(kStart, kEnd, kBandwidth, kVlan)}, 1);
}

TEST_F(AuthGroups, StandardDeleteReachesTheEighthEntry) {
    for (std::uint32_t i = 0; i < 8; ++i) kAdd.run(29, kStart + i, kEnd, kBandwidth, kVlan);
    EXPECT_EQ(kStandardDelete.run(29, kStart + 7, kEnd, 0, kVlan), 0);
    EXPECT_EQ(globle_parm.port[6].auth_group_num, 7);
    EXPECT_EQ(text(globle_parm.port[6].auth_group[7]), kFree);
    // The entry is used again.
    kAdd.run(29, 1, 2, 3, 4);
    EXPECT_EQ(text(globle_parm.port[6].auth_group[7]), entry(1, 2, 3, 4));
}

TEST_F(AuthGroups, StandardDeleteOfARangeThatIsNotThereChangesNothing) {
    kAdd.run(1, kStart, kEnd, kBandwidth, kVlan);
    expect_no_change([] {
        expect_outcome(0, {},
                       [] { return kStandardDelete.run(1, kStart, kEnd + 1, kBandwidth, kVlan); });
    });
}

// Free entries hold the addresses 0 and 0 too; the count stays that of the entries in use.
TEST_F(AuthGroups, StandardDeleteOf0To0LeavesFreeEntriesAlone) {
    kAdd.run(1, kStart, kEnd, kBandwidth, kVlan);
    kAdd.run(1, 0, 0, 3, 4);
    EXPECT_EQ(kStandardDelete.run(1, 0, 0, 0, kVlan), 0);
    expect_copy(1, {entry(kStart, kEnd, kBandwidth, kVlan)}, 1);
    EXPECT_EQ(kStandardDelete.run(1, 0, 0, 0, kVlan), 0);
    expect_copy(1, {entry(kStart, kEnd, kBandwidth, kVlan)}, 1);
}

// An entry of VLAN 0 without addresses is free, whatever its bandwidth.
TEST_F(AuthGroups, StandardDeleteOf0To0LeavesAnEntryWithABandwidthAloneThatIsFree) {
    kAdd.run(1, kStart, kEnd, kBandwidth, kVlan);
    globle_parm.port[1].auth_group[4].bandwidth = 3;
    expect_no_change([] { EXPECT_EQ(kStandardDelete.run(1, 0, 0, 0, kVlan), 0); });
}

TEST_F(AuthGroups, StandardDeleteOnAnEmptyCopySaysSoWhateverTheMask) {
    for (const std::uint32_t port : {0u, 5u, 29u}) {
        const std::string logical = port == 29 ? "6" : std::to_string(port);
        expect_outcome(
            0,
            {always("[onu_std_omci_delete_auth_igmp_group_vlan_config]: group-vlan cfg "
                    "in port " +
                    logical + " no item to del.\r\n")},
            [port] { return kStandardDelete.run(port, kStart, kEnd, kBandwidth, kVlan); });
        EXPECT_THAT(calls(),
                    ElementsAre(call(kStandardDelete.asks, port, kStart, kEnd, kBandwidth, kVlan)));
    }
}

TEST_F(AuthGroups, StandardDeleteLooksAtTheCountAloneBeforeItSaysThatThereIsNothing) {
    kAdd.run(1, kStart, kEnd, kBandwidth, kVlan);
    globle_parm.port[1].auth_group_num = 0;
    expect_no_change([] { EXPECT_EQ(kStandardDelete.run(1, kStart, kEnd, kBandwidth, kVlan), 0); });
}

TEST_F(AuthGroups, StandardDeleteReturnsTheCoresFailureAndKeepsTheCopy) {
    kAdd.run(1, kStart, kEnd, kBandwidth, kVlan);
    answer("igmp_if_delete_auth_group_cfg", -5);
    for (const std::uint32_t port : {1u, 2u}) {
        expect_no_change([port] {
            expect_outcome(-5, {err("\n ERROR!trax Fail")}, [port] {
                return kStandardDelete.run(port, kStart, kEnd, kBandwidth, kVlan);
            });
        });
    }
}

// ---- Standard clear ----------------------------------------------------------------------------

TEST_F(AuthGroups, StandardClearEmptiesTheCopyOfItsPort) {
    for (const std::uint32_t port : {1u, 2u, 29u}) {
        kAdd.run(port, kStart, kEnd, kBandwidth, kVlan);
        kAdd.run(port, kStart + 1, kEnd, kBandwidth, kVlan);
    }
    expect_outcome(0, {}, [] {
        return onu_std_omci_clear_port_all_auth_igmp_group_vlan_config(0xFFFFFF1D, 0xABCDFFFF);
    });
    EXPECT_THAT(calls(), ElementsAre(call("igmp_if_delete_auth_group_cfg_all", 29, 65535)));
    expect_copy(6, {}, 0);
    EXPECT_EQ(globle_parm.port[1].auth_group_num, 2);
    EXPECT_EQ(globle_parm.port[2].auth_group_num, 2);
}

// No argument is checked but the port.
TEST_F(AuthGroups, StandardClearPassesAnyVlan) {
    for (const std::uint32_t vlan : {0u, 1u, 65535u}) {
        forget_calls();
        expect_outcome(0, {}, [vlan] {
            return onu_std_omci_clear_port_all_auth_igmp_group_vlan_config(1, vlan);
        });
        EXPECT_THAT(calls(), ElementsAre(call("igmp_if_delete_auth_group_cfg_all", 1, vlan)));
    }
}

TEST_F(AuthGroups, StandardClearLeavesEntriesThatAreNotCounted) {
    globle_parm.port[1].auth_group[3].vlan = 5;
    expect_no_change(
        [] { EXPECT_EQ(onu_std_omci_clear_port_all_auth_igmp_group_vlan_config(1, 65535), 0); });
}

TEST_F(AuthGroups, StandardClearReturnsTheCoresFailureAndKeepsTheCopy) {
    kAdd.run(1, kStart, kEnd, kBandwidth, kVlan);
    answer("igmp_if_delete_auth_group_cfg_all", -5);
    expect_no_change([] {
        expect_outcome(-5, {err("\n ERROR!igmp_if_delete_auth_group_cfg_all Fail")}, [] {
            return onu_std_omci_clear_port_all_auth_igmp_group_vlan_config(1, 65535);
        });
    });
}

// ---- Control list ------------------------------------------------------------------------------

Line control_trace(int port, int opt, int vlan) {
    return Igmp::dbg("\n omci_set_port_to_control_multicast_list_table is in\tport(" +
                     std::to_string(port) + ") opt(" + std::to_string(opt) + ") ds_vlan(" +
                     std::to_string(vlan) + ")");
}

std::string control(int port, int action, int vlan, const std::string& group) {
    return call("igmp_set_multicast_control", port, action, vlan, ipv4_number(group));
}

std::int32_t set_control(const std::string& start, const std::string& end) {
    return omci_set_port_to_control_multicast_list_table(2, 0, 100, ipv4_number(start),
                                                         ipv4_number(end));
}

TEST_F(AuthGroups, ControlListGoesToTheCoreAddressByAddress) {
    EXPECT_EQ(set_control("224.0.0.1", "224.0.0.3"), 0);
    EXPECT_THAT(calls(),
                ElementsAre(control(2, 1, 100, "224.0.0.1"), control(2, 1, 100, "224.0.0.2"),
                            control(2, 1, 100, "224.0.0.3")));
}

TEST_F(AuthGroups, ControlListOfOneAddressIsOneCall) {
    EXPECT_EQ(set_control("224.0.0.1", "224.0.0.1"), 0);
    EXPECT_THAT(calls(), ElementsAre(control(2, 1, 100, "224.0.0.1")));
}

TEST_F(AuthGroups, ControlListThatEndsBeforeItStartsIsEmpty) {
    answer("igmp_set_multicast_control", kFailure);
    expect_outcome(0, {control_trace(2, 0, 100)},
                   [] { return set_control("224.0.0.3", "224.0.0.2"); });
    EXPECT_THAT(calls(), IsEmpty());
    // Compared without a sign.
    EXPECT_EQ(set_control("128.0.0.0", "127.255.255.255"), 0);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(AuthGroups, ControlListMayEndAtTheLastAddress) {
    EXPECT_EQ(set_control("255.255.255.254", "255.255.255.255"), 0);
    EXPECT_THAT(calls(), ElementsAre(control(2, 1, 100, "255.255.255.254"),
                                     control(2, 1, 100, "255.255.255.255")));
    forget_calls();
    EXPECT_EQ(set_control("255.255.255.255", "255.255.255.255"), 0);
    EXPECT_THAT(calls(), ElementsAre(control(2, 1, 100, "255.255.255.255")));
}

TEST_F(AuthGroups, ControlListCrossesTheMiddleOfTheAddressSpace) {
    EXPECT_EQ(set_control("127.255.255.255", "128.0.0.0"), 0);
    EXPECT_THAT(calls(), ElementsAre(control(2, 1, 100, "127.255.255.255"),
                                     control(2, 1, 100, "128.0.0.0")));
}

TEST_F(AuthGroups, ControlListMayBeginAtTheFirstAddress) {
    EXPECT_EQ(set_control("0.0.0.0", "0.0.0.1"), 0);
    EXPECT_THAT(calls(), ElementsAre(control(2, 1, 100, "0.0.0.0"), control(2, 1, 100, "0.0.0.1")));
}

// Option 0 is action 1, option 1 is action 0, and everything else is action 2; its low byte counts.
TEST_F(AuthGroups, ControlListMapsTheOption) {
    const std::pair<std::uint32_t, int> actions[] = {{0, 1},   {1, 0},     {2, 2},         {3, 2},
                                                     {255, 2}, {0x100, 1}, {0xFFFFFF01, 0}};
    for (const auto& [opt, action] : actions) {
        const std::uint32_t option = opt;
        expect_outcome(0, {control_trace(2, static_cast<int>(option & 0xFF), 100)}, [option] {
            return omci_set_port_to_control_multicast_list_table(2, option, 100, 0xE0000001,
                                                                 0xE0000001);
        });
        EXPECT_THAT(calls(), ElementsAre(control(2, action, 100, "224.0.0.1")));
    }
}

TEST_F(AuthGroups, ControlListTakesA16BitPortAndASigned16BitVlanUnchecked) {
    expect_outcome(0, {control_trace(0xFEDC, 0, -4660)}, [] {
        return omci_set_port_to_control_multicast_list_table(0xABCDFEDC, 0, 0xEDCC, 0xE0000001,
                                                             0xE0000001);
    });
    EXPECT_THAT(calls(), ElementsAre(control(0xFEDC, 1, -4660, "224.0.0.1")));
}

TEST_F(AuthGroups, ControlListGoesOnAfterAFailureAndReturnsTheLastResult) {
    const Line failed = err("\n ERROR!igmp_set_multicast_control port(2) Fail");
    const auto set = [] { return set_control("224.0.0.1", "224.0.0.4"); };
    fail_call("igmp_set_multicast_control", 1, -5);
    fail_call("igmp_set_multicast_control", 3, 5);
    expect_outcome(0, {control_trace(2, 0, 100), failed, failed}, set);
    EXPECT_EQ(calls().size(), 4u);
    fail_call("igmp_set_multicast_control", 4, -66);
    expect_outcome(-66, {control_trace(2, 0, 100), failed, failed, failed}, set);
    EXPECT_EQ(calls().size(), 4u);
}

TEST_F(AuthGroups, ControlListKeepsNoCopy) {
    expect_no_change([] { set_control("224.0.0.1", "224.0.0.3"); });
}

}  // namespace
