// The routines that keep rules and template VLANs packed at the front, on both sides, and the
// question whether a data VLAN is still in use.
#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/vlan_rules.h"

namespace {

using namespace mc_test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

template <class Side>
class VlanPacking : public OmciTest {
 protected:
    using Slots = std::vector<std::string>;

    // What a port's ten slots hold after its rules were packed.
    static Slots packed(std::uint32_t port, int logical) {
        return texts(Side::sort_rules(port)[logical]);
    }
};
TYPED_TEST_SUITE(VlanPacking, Sides, TypeNames);

// ---- Rules -------------------------------------------------------------------------------

TYPED_TEST(VlanPacking, FullPortComesBackAsItWas) {
    std::vector<Rule> rules;
    for (std::uint16_t i = 0; i < 10; ++i) rules.push_back(flagged(simple_rule(2, i, 100), 7));
    given_rules<TypeParam>(rules);
    EXPECT_EQ(this->packed(2, 2), texts(rules));
}

TYPED_TEST(VlanPacking, PortWithoutRulesBecomesTenEmptySlots) {
    for (Rule& slot : TypeParam::rules()[2]) slot = flagged(simple_rule(2, 0xFFFF, 100), 7);
    EXPECT_EQ(this->packed(2, 2), ten_slots({}));
}

TYPED_TEST(VlanPacking, OnlyTheUpstreamVlanTellsThatARuleIsInUse) {
    const Rule untagged = simple_rule(2, 0, 0xFFFF);
    const Rule highest = rule(255, 4, {0xFFFE, 0xFFFF}, {0xFFFF, 0xFFFF}, {0xFFFF, 0xFFFF});
    const Rule without = simple_rule(2, 0xFFFF, 100);
    given_rules<TypeParam>({without, untagged, without});
    TypeParam::rules()[2][9] = highest;
    EXPECT_EQ(this->packed(2, 2), ten_slots({untagged, highest}));
}

TYPED_TEST(VlanPacking, RulesKeepTheirOrderAndTakeTheirFlagsAlong) {
    const Rule first = flagged(rule(2, {0, 1, 2}, {1, 2}, {3, 4}, {5, 6}), 21);
    const Rule second = flagged(rule(2, {2, 3, 0}, {11, 12}, {13, 14}, {15, 16}), 22);
    const Rule third = flagged(simple_rule(2, 1, 5), 23);
    TypeParam::rules()[2][2] = first;
    TypeParam::rules()[2][5] = second;
    TypeParam::rules()[2][7] = third;
    EXPECT_EQ(this->packed(2, 2), ten_slots({first, second, third}));
}

TYPED_TEST(VlanPacking, OtherPortsAndTheCountsStayAsTheyAre) {
    for (int logical = 0; logical < MC_PORTS; ++logical) {
        TypeParam::rules()[logical][3] = simple_rule(logical, 100, 200);
        TypeParam::rule_counts()[logical] = 5;
    }
    const auto as_it_was = texts(TypeParam::rules()[0]);
    auto with_its_port = [&](int logical) {
        auto slots = as_it_was;
        slots[3] = text(simple_rule(logical, 100, 200));
        return slots;
    };
    const McRuleBlock* const table = TypeParam::sort_rules(4);
    for (const int logical : {0, 1, 2, 3, 5, 6}) {
        EXPECT_EQ(texts(table[logical]), with_its_port(logical)) << logical;
    }
    EXPECT_EQ(texts(table[4]), ten_slots({simple_rule(4, 100, 200)}));
    EXPECT_THAT(TypeParam::rule_counts(), ::testing::Each(5));
    EXPECT_THAT(calls(), IsEmpty());
}

TYPED_TEST(VlanPacking, UplinkIsTheSeventhPort) {
    TypeParam::rules()[6][9] = simple_rule(29, 100, 200);
    EXPECT_EQ(this->packed(29, 6), ten_slots({simple_rule(29, 100, 200)}));
}

TYPED_TEST(VlanPacking, PortIsTheFirstOfItsNumberInThePortTableOfItsSide) {
    TypeParam::ports()[3].port_id = 17;
    TypeParam::ports()[5].port_id = 17;
    const Rule far_back = simple_rule(17, 100, 200);
    TypeParam::rules()[3][9] = far_back;
    TypeParam::rules()[5][9] = far_back;
    const McRuleBlock* const table = TypeParam::sort_rules(17);
    EXPECT_EQ(texts(table[3]), ten_slots({far_back}));
    EXPECT_EQ(text(table[5][9]), text(far_back));
}

TYPED_TEST(VlanPacking, UnknownPortChangesNothing) {
    for (auto& block : TypeParam::rules()) block[9] = simple_rule(1, 100, 200);
    TypeParam::ports()[2].port_id = 30;  // above all legal numbers, even where a port has it
    for (const std::uint32_t port : {6u, 28u, 30u, 255u, 256u, 0x80000001u, 0xFFFFFFFFu}) {
        const McRuleBlock* const table = TypeParam::sort_rules(port);
        for (int logical = 0; logical < MC_PORTS; ++logical) {
            EXPECT_EQ(text(table[logical][9]), text(simple_rule(1, 100, 200))) << port;
        }
    }
}

TYPED_TEST(VlanPacking, SaysWhichPortItPacks) {
    TypeParam::ports()[4].port_id = 9;
    expect_console({TypeParam::dbg("sortPortVlanCfg usport = 9\r\n"),
                    TypeParam::dbg("checkPortlogic logicPort = 4\r\n")},
                   [] { TypeParam::sort_rules(9); });
}

TYPED_TEST(VlanPacking, SaysThatAPortIsInNoTable) {
    expect_console({TypeParam::dbg("sortPortVlanCfg usport = 28\r\n"),
                    TypeParam::err("\n [checkPortState]port(28) is not find!"),
                    TypeParam::dbg("checkPortlogic logicPort = -1\r\n")},
                   [] { TypeParam::sort_rules(28); });
}

TYPED_TEST(VlanPacking, SaysThatAPortIsTooLarge) {
    expect_console({TypeParam::dbg("sortPortVlanCfg usport = 30\r\n"),
                    TypeParam::err("\n port(30) is invalid!"),
                    TypeParam::dbg("checkPortlogic logicPort = -1\r\n")},
                   [] { TypeParam::sort_rules(30); });
}

// The caller of the IGMP routine copies the result back; the MLD routine has done it already.

class PackedTable : public OmciTest {};

TEST_F(PackedTable, OfTheIgmpSideIsACopyThatTheNextCallOverwrites) {
    PortVlanCfg[1][5] = simple_rule(1, 100, 200);
    PortVlanCfg[2][5] = simple_rule(2, 100, 200);
    McRuleBlock* first = nullptr;
    expect_no_change([&] { first = sortPortVlanCfg(PortVlanCfg, 1); });
    EXPECT_NE(first, PortVlanCfg);
    EXPECT_EQ(texts(first[1]), ten_slots({simple_rule(1, 100, 200)}));

    EXPECT_EQ(sortPortVlanCfg(PortVlanCfg, 2), first);
    EXPECT_EQ(texts(first[1]), texts(PortVlanCfg[1]));
    EXPECT_EQ(texts(first[2]), ten_slots({simple_rule(2, 100, 200)}));
}

TEST_F(PackedTable, OfTheIgmpSideIsThatOfTheArgument) {
    Rule table[MC_PORTS][MC_RULES]{};
    for (auto& block : table) std::fill(std::begin(block), std::end(block), empty_rule());
    table[1][5] = simple_rule(1, 100, 200);
    const McRuleBlock* const packed = sortPortVlanCfg(table, 1);
    EXPECT_EQ(texts(packed[1]), ten_slots({simple_rule(1, 100, 200)}));
    EXPECT_EQ(texts(packed[2]), ten_slots({}));
}

TEST_F(PackedTable, OfTheMldSideIsTheTableItself) {
    mldInitParams.mldPortVlanCfg[1][5] = simple_rule(1, 100, 200);
    EXPECT_EQ(mldsortPortVlanCfg(mldInitParams.mldPortVlanCfg, 1), mldInitParams.mldPortVlanCfg);
    EXPECT_EQ(texts(mldInitParams.mldPortVlanCfg[1]), ten_slots({simple_rule(1, 100, 200)}));
}

TEST_F(PackedTable, CountsOfTheMldSideAreAtHand) {
    EXPECT_EQ(mldgetPortVlanConfigNumber(), mldInitParams.vlancfgnum);
}

// ---- Lists -------------------------------------------------------------------------------

struct ListRequest {
    const char* name;
    std::vector<std::uint16_t> list;
    std::vector<std::uint16_t> packed;
};

const ListRequest kLists[] = {
    {"WithHoles", {0, 100, 0, 200, 300, 0, 0, 0, 0, 0}, {100, 200, 300, 0, 0, 0, 0, 0, 0, 0}},
    {"WithItsLastAlone", {0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFFFF}, {0xFFFF, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
    {"Twice", {0, 100, 0x1064, 0, 100, 0, 0, 0, 0, 9}, {100, 0x1064, 100, 9, 0, 0, 0, 0, 0, 0}},
    {"Packed", {3, 1, 2, 0, 0, 0, 0, 0, 0, 0}, {3, 1, 2, 0, 0, 0, 0, 0, 0, 0}},
    {"Full", {9, 8, 7, 6, 5, 4, 3, 2, 1, 10}, {9, 8, 7, 6, 5, 4, 3, 2, 1, 10}},
    {"Empty", {0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
};

TYPED_TEST(VlanPacking, ListIsPackedInACopy) {
    for (const ListRequest& request : kLists) {
        std::vector<std::uint16_t> list = request.list;
        const std::uint16_t* packed = nullptr;
        expect_no_change([&] { packed = TypeParam::sort_list(list.data()); });
        EXPECT_EQ(std::vector(packed, packed + MC_TEMPLATE_VLANS), request.packed) << request.name;
        EXPECT_EQ(list, request.list) << request.name;
    }
    EXPECT_THAT(calls(), IsEmpty());
}

TYPED_TEST(VlanPacking, NextListOverwritesTheCopy) {
    std::uint16_t list[MC_TEMPLATE_VLANS] = {0, 100};
    const std::uint16_t* const packed = TypeParam::sort_list(list);
    EXPECT_EQ(packed[0], 100);
    list[0] = 50;
    EXPECT_EQ(TypeParam::sort_list(list), packed);
    EXPECT_THAT(std::vector(packed, packed + 3), ElementsAre(50, 100, 0));
}

TEST_F(PackedTable, EachSideHasAListCopyOfItsOwn) {
    std::uint16_t list[MC_TEMPLATE_VLANS] = {0, 100};
    EXPECT_NE(sortMcVlan(list), sortmldVlan(list));
}

TYPED_TEST(VlanPacking, ListsAreSilent) {
    std::uint16_t list[MC_TEMPLATE_VLANS] = {0, 100};
    expect_console({}, [&list] { TypeParam::sort_list(list); });
}

// ---- Is a data VLAN in use? --------------------------------------------------------------

constexpr std::int32_t kInUse = 0;
constexpr std::int32_t kNotInUse = 1;

class SameVlan : public OmciTest {};

TEST_F(SameVlan, IsNotFoundWithoutRules) {
    EXPECT_EQ(IsSameVlanExist(100), kNotInUse);
    EXPECT_EQ(IsSameVlanExist(0xFFF), kNotInUse) << "as in every empty slot";
}

TEST_F(SameVlan, IsFoundInTheFirstAndInTheLastRule) {
    PortVlanCfg[0][0] = simple_rule(0, 1, 100);
    setVlanCfgNumber[0] = 1;
    PortVlanCfg[6][9] = simple_rule(29, 1, 200);
    setVlanCfgNumber[6] = 10;
    EXPECT_EQ(IsSameVlanExist(100), kInUse);
    EXPECT_EQ(IsSameVlanExist(200), kInUse);
    EXPECT_EQ(IsSameVlanExist(1), kNotInUse) << "an upstream VLAN";
    EXPECT_EQ(IsSameVlanExist(14), kNotInUse) << "the VLAN at the user port";
}

TEST_F(SameVlan, IsNotFoundBehindTheCount) {
    PortVlanCfg[3][0] = simple_rule(3, 1, 100);
    PortVlanCfg[3][1] = simple_rule(3, 1, 200);
    setVlanCfgNumber[3] = 1;
    EXPECT_EQ(IsSameVlanExist(100), kInUse);
    EXPECT_EQ(IsSameVlanExist(200), kNotInUse);
    setVlanCfgNumber[3] = 0;
    EXPECT_EQ(IsSameVlanExist(100), kNotInUse);
    setVlanCfgNumber[3] = -1;
    EXPECT_EQ(IsSameVlanExist(100), kNotInUse);
}

TEST_F(SameVlan, OnlyTheRulesVlanIsCutTo12Bits) {
    given_rules<Igmp>({simple_rule(3, 1, 0x1064)});
    EXPECT_EQ(IsSameVlanExist(100), kInUse);
    EXPECT_EQ(IsSameVlanExist(0x1064), kNotInUse);
    EXPECT_EQ(IsSameVlanExist(0x10064), kNotInUse);
}

TEST_F(SameVlan, IsNotLookedForOnTheMldSide) {
    given_rules<Mld>({simple_rule(3, 1, 100)});
    EXPECT_EQ(IsSameVlanExist(100), kNotInUse);
}

TEST_F(SameVlan, ChangesNothingAndSaysOnceThatItIsFound) {
    given_rules<Igmp>({simple_rule(3, 1, 100), simple_rule(4, 1, 100)});
    expect_no_change([] { IsSameVlanExist(100); });
    expect_console({Igmp::dbg("\nIsSameVlanExist is find\n")}, [] { IsSameVlanExist(100); });
    expect_console({}, [] { IsSameVlanExist(101); });
    EXPECT_THAT(calls(), IsEmpty());
}

}  // namespace
