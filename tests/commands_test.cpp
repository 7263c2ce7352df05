// Every command of the channel, by its code: directly, and through the real queue. A command is
// told by what stands in its record, what it amounts to when its operation is called by hand, and
// what it says before and after that.
#include <gmock/gmock.h>
#include <sys/ipc.h>
#include <sys/msg.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "adapt/adapt.h"
#include "command/auth_groups.h"
#include "command/command.h"
#include "igmp/igmp.h"
#include "mld/mld.h"
#include "platform/pal.h"
#include "platform/protocol_core.h"
#include "settings/settings.h"
#include "tests/support/frames.h"
#include "tests/support/hex_dump.h"
#include "tests/support/vlan_rules.h"

namespace {

using namespace mc_test;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::StartsWith;

// ---- Records -----------------------------------------------------------------------------------

// What stands behind the fields of a command must not matter.
constexpr std::uint8_t kBehind = 0xA5;

Bytes record_of(std::uint32_t code, const Bytes& payload, std::uint8_t behind = kBehind) {
    Bytes record = be32(code) + be32(0) + payload;
    record.resize(MC_RECORD_SIZE, behind);
    return record;
}

void run(std::uint32_t code, const Bytes& payload = {}) {
    const Bytes record = record_of(code, payload);
    EXPECT_EQ(process_interface_msg(record.data()), 0);
}

// ---- All that a command may write --------------------------------------------------------------

constexpr std::size_t kSegment = 14492;

// What is between the fields of a rule is nobody's.
void clear_padding(Rule (&block)[MC_RULES]) {
    for (Rule& rule : block) {
        const Rule fields = rule;
        std::memset(static_cast<void*>(&rule), 0, sizeof rule);
        rule.portNO = fields.portNO;
        rule.prouptagmode = fields.prouptagmode;
        rule.in_up_vlan = fields.in_up_vlan;
        rule.out_up_vlan = fields.out_up_vlan;
        rule.prodntagmode = fields.prodntagmode;
        rule.in_dn_vlan = fields.in_dn_vlan;
        rule.out_dn_vlan = fields.out_dn_vlan;
        rule.datedntagmode = fields.datedntagmode;
        rule.in_data_vlan = fields.in_data_vlan;
        rule.out_data_vlan = fields.out_data_vlan;
        rule.rule_flag = fields.rule_flag;
    }
}

struct World {
    Tables tables;
    PortStateEntry ports[MC_PORTS];
    std::uint8_t mode;
    std::uint8_t report[MC_JION_BUFFER_SIZE];
    std::int32_t test_uplink;
    std::int32_t table_return;
    std::int32_t level;
    std::uint32_t version_received;
    std::uint32_t version_sent;
    std::uint8_t segment[kSegment];

    static World now() {
        World world;
        std::memset(&world, 0, sizeof world);
        const Tables tables = Tables::now();
        std::memcpy(&world.tables, &tables, sizeof tables);
        for (auto& block : world.tables.rules) clear_padding(block);
        for (auto& block : world.tables.mld.mldPortVlanCfg) clear_padding(block);
        std::memcpy(world.ports, portState, sizeof portState);
        world.mode = proxy_adapt_mode;
        std::memcpy(world.report, jion_buffer, sizeof jion_buffer);
        world.test_uplink = testuplink;
        world.table_return = tablereturn;
        world.level = igmp_adapt;
        world.version_received = igmpv3_rcv;
        world.version_sent = igmpv3_snd;
        std::memcpy(world.segment, mc_status_global, kSegment);
        return world;
    }

    void put_back() const {
        tables.put_back();
        std::memcpy(portState, ports, sizeof portState);
        proxy_adapt_mode = mode;
        std::memcpy(jion_buffer, report, sizeof jion_buffer);
        testuplink = test_uplink;
        tablereturn = table_return;
        igmp_adapt = level;
        igmpv3_rcv = version_received;
        igmpv3_snd = version_sent;
        std::memcpy(mc_status_global, segment, kSegment);
    }

    bool operator==(const World& other) const {
        return std::memcmp(this, &other, sizeof *this) == 0;
    }
};

struct Outcome {
    std::string text;
    std::vector<std::string> calls;
    World world;
    std::uint32_t igmp_mask;
    std::uint32_t mld_mask;
};

// Runs the action from that world. The MLD side's mask is the opposite one, because what the
// library says of a command goes by the IGMP side's.
Outcome outcome(const World& from, std::uint32_t mask, const std::function<void()>& action) {
    from.put_back();
    forget_calls();
    mc_debug = mask;
    mld_debug = ~mask;
    Outcome seen;
    seen.text = printed(action);
    seen.calls = calls();
    seen.world = World::now();
    seen.igmp_mask = mc_debug;
    seen.mld_mask = mld_debug;
    mc_debug = 0;
    mld_debug = 0;
    return seen;
}

void expect_same(const Outcome& seen, const Outcome& expected) {
    EXPECT_EQ(seen.text, expected.text);
    EXPECT_EQ(seen.calls, expected.calls);
    EXPECT_TRUE(seen.world == expected.world) << "the records differ";
    EXPECT_EQ(seen.igmp_mask, expected.igmp_mask);
    EXPECT_EQ(seen.mld_mask, expected.mld_mask);
}

constexpr std::uint32_t kMasks[] = {
    0, kErr, kCfg, kErr | kCfg, kAllCategories & ~(kErr | kCfg), kAllCategories, 0xFFFFFFFF};

// ---- Commands ----------------------------------------------------------------------------------

// A command whose operation has more to it than a call brings its failure text along, or has none.
struct Command {
    std::uint32_t code;
    Bytes payload;
    std::function<std::int32_t()> operation;
    std::string trace = {};
    std::string failure = {};               // %d is the operation's result
    std::function<void()> given = {};       // in front of the command
    std::function<void()> goes_wrong = {};  // without it every neighbour that is called fails
};

std::string number(std::uint32_t word) { return std::to_string(static_cast<std::int32_t>(word)); }

std::string fail(const std::string& name) { return "\r\n[MC_DBG_ERR]: \n ERROR!" + name + " Fail"; }
std::string error(const std::string& text) { return "\r\n[MC_DBG_ERR]: " + text; }
std::string config(const std::string& text) { return "\r\n[MC_DBG_CFG]: " + text; }

void say(const std::string& text) { std::fputs(text.c_str(), stdout); }
void say_error(const std::string& text) {
    if ((mc_debug & kErr) != 0) say(error(text));
}

// Fields with their high bits set, no two bytes alike.
constexpr std::uint32_t kWord = 0x81828384;
constexpr std::uint32_t kWord2 = 0x91929394;
constexpr std::uint32_t kWord3 = 0xA1A2A3A4;
constexpr std::uint32_t kWord4 = 0xB1B2B3B4;
constexpr std::uint32_t kWord5 = 0xC1C2C3C4;
constexpr std::uint32_t kWord6 = 0xD1D2D3D4;

// A range of groups on port 3.
const Bytes kRange = Bytes{3} + be32(0xEF818203) + be32(0xEF91A2B3) + be32(kWord) + be16(0xFEDC);

std::string range_trace(const std::string& name) {
    return config(name + " std_omci_port = 3 multi_range_start = " + number(0xEF818203) +
                  " multi_range_end =" + number(0xEF91A2B3) +
                  " imputed_bandwidth =" + number(kWord) + " vlan_id = 65244\r\n");
}
std::int32_t add_range() {
    return onu_std_omci_add_auth_igmp_group_vlan_config(3, 0xEF818203, 0xEF91A2B3, kWord, 0xFEDC);
}

// A rule with its pad bytes, in which no two fields are alike.
const Bytes kRule = {3,    1,    0x81, 0x23, 0x82, 0x34, 2,    0xEE, 0x83, 0x45,
                     0x84, 0x56, 3,    0xEE, 0x05, 0x67, 0x86, 0x78, 0x91, 0xEE};
PortVlanCfgEntry told_rule() {
    return {3, 1, 0x8123, 0x8234, 2, 0x8345, 0x8456, 3, 0x0567, 0x8678, 0x91};
}
std::int32_t set_told_rule() {
    PortVlanCfgEntry rule = told_rule();
    return onu_std_omci_set_multicast_vlan(&rule);
}
void take_rules_as_given() { flag_omci_version = 1; }

// Neither side knows port number 3 any more.
void lose_port_3() {
    portState[3].port_id = 99;
    mldInitParams.port[3].port_id = 99;
}

const Bytes kService = be32(3) + be32(1) + be32(0x123) + be32(0x456);
std::string service_trace(const std::string& name) {
    return config(name + " port_no =3 tag_mode =1 temp = 291 temp_scd = 1110\r\n");
}

std::int32_t push_stored_parameters() {
    return omci_set_igmp_global_parmeter(
        globle_parm.robustness, globle_parm.query_interval, globle_parm.query_max_resp_time,
        globle_parm.last_member_query_interval, globle_parm.last_member_query_count);
}

std::string configuration(const std::string& template_list) {
    std::string all = std::string("MC HAL Version Num: ") + globle_parm.version_str +
                      ".\r\nMC HAL Compile Data " + globle_parm.build_date + ": " +
                      globle_parm.build_time + ".\r\n";
    for (int port = 0; port < MC_PORTS; ++port) {
        const std::string n = std::to_string(port);
        all += "portNO(" + n + ") grouplimit(0) leavemod(0) max_bandwidth(0)\r\nport(" + n +
               ") svlan(" + std::to_string(globle_parm.port[port].sig_vlan) + ") svlan_s(" +
               std::to_string(globle_parm.port[port].sig_vlan_a) + ") cvlan(" +
               std::to_string(globle_parm.port[port].sig_vlan_b) + ") \r\n";
    }
    return all + template_list +
           "defaultVlan(4088), general_member_interval(1), last_member_query_count(2)\r\n"
           "last_member_query_interval(1), learningMode(0), multiMode(1)\r\n"
           "query_interval(125), query_max_resp_time(10), robustness(2), version(3)\r\n"
           "testuplink = (65534),mlddefaultVlan(4088),tablereturn = (1)\r\n";
}

// Without a template VLAN every entry ends its line.
std::string ten_empty_entries() {
    std::string all;
    for (int i = 0; i < 10; ++i) all += "-0-TemplateVlan(0)\t\r\n";
    return all;
}

std::int32_t set_fast_leave(std::uint32_t mode, std::uint32_t fast) {
    const Bytes word = be32(mode);
    std::copy(word.begin(), word.end(), mc_status_global + 14452);
    for (std::uint32_t port = 0; port <= 5; ++port) {
        if (omci_set_port_igmp_leave_mode(port, fast) != 0) {
            say_error("omci_set_port_igmp_leave_mode is error\r\n");
        }
    }
    return 0;
}

// While the report level, -1 from the start, is not below -1; the mask has no say in it.
constexpr const char* kWebReport =
    "\r\n [IGMP_ERROR]process_interface_msg(4780): \n ERROR!onu_std_omci_web_set_vlan Fail\r\n";

std::vector<Command> make_configuration_commands() {
    const Bytes group_and_vlan = be32(0xEF818203) + be16(0xFEDC) + Bytes{0x87};
    return {
        {1,
         {100},
         [] { return omci_set_multicast_mode(100); },
         "",
         fail("omci_set_multicast_mode")},
        {2,
         {3, 0x81},
         [] { return omci_set_port_igmp_leave_mode(3, 0x81); },
         "",
         fail("SET_OMCI_PORT_IGMP_LEAVE_MODE")},
        {3, Bytes{3} + be16(0x8102), [] { return omci_set_port_igmpgroup_limit(3, 0x8102); }, "",
         fail("omci_set_port_igmpgroup_limit")},
        {4, be16(0x8FED), [] { return omci_set_igmp_default_vlan(0x8FED); },
         config("vlan_id = 36845 !\n"), fail("omci_set_igmp_default_vlan"),
         // Its result is that of putting the old default back into the core's list.
         [] { given_vlans<IgmpVlans>({MC_DEFAULT_VLAN}); }},
        {5,
         {0x81},
         [] { return omci_set_igmp_dynamic_enable(0x81); },
         "",
         fail("omci_set_igmp_dynamic_enable")},
        {6, group_and_vlan,
         [] { return omci_add_auth_igmp_group_vlan_config(0xEF818203, 0xFEDC, 0x87); },
         config("ADD_OMCI_AUTH_IGMP_GROUP_VLAN_CONFIG vlan_id =65244\r\n"),
         fail("omci_add_auth_igmp_group_vlan_config")},
        {7, group_and_vlan,
         [] { return omci_delete_auth_igmp_group_vlan_config(0xEF818203, 0xFEDC, 0x87); },
         config("DEL_OMCI_AUTH_IGMP_GROUP_VLAN_CONFIG vlan_id =65244\r\n"),
         fail("omci_delete_auth_igmp_group_vlan_config")},
        {8, {}, [] { return omci_clear_all_auth_igmp_group_vlan_config(); }},  // never fails
        {9, be16(0x8203) + Bytes{0x81} + be16(0xFEDC) + be32(0xEF8182FF) + be32(0xEF818301),
         [] {
             return omci_set_port_to_control_multicast_list_table(0x8203, 0x81, -292, 0xEF8182FF,
                                                                  0xEF818301);
         },
         config("SET_OMCI_PORT_TO_CONTROL_MULTICAST_LIST_TABLE port = 33283 add_delete = 129 "
                "vlan_id = -292             multi_range_start = " +
                number(0xEF8182FF) + " multi_range_end  = " + number(0xEF818301) + "\r\n"),
         fail("omci_set_port_to_control_multicast_list_table")},
        {12, {3, 2}, [] { return omci_clear_igmp_parmeter(3, 2); }},  // fails for a bad port alone
        {13, Bytes{3} + be16(0x8111) + be16(0x8222) + be16(0x8333) + be16(0x8444) + be16(0x8555),
         [] { return igmp_adapt_set_sig_vlan(3, 0x8222, 0x8444, 0x8555); },  // never fails
         config("OMCI_SET_PORT_UP_IGMP_VLAN outer_vlan.tci =33041 outer_vlan.vid =33314 "
                "inner_vlan.tci =33587 inner_vlan.vid =33860\r\n")},
        {14, Bytes{0xEE, 0x91} + be16(0x8111) + be16(0x8222) + be16(0x8333) + be16(0x8444),
         [] { return omci_set_igmp_global_parmeter(0x91, 0x8444, 0x8111, 0x8222, 0x8333); }, "",
         fail("omci_set_igmp_global_parmeter")},
        {16, kService, [] { return igmp_service_remove_port_config(3, 1, 0x123, 0x456); },
         service_trace("SET_IGMP_SER_REMV_PORT_CONFIG"), fail("igmp_service_remove_port_config"),
         [] { igmp_port_vlan_and_mode_set(3, 1, 0x123, 0x456); }, lose_port_3},
        {17, kService, [] { return igmp_port_vlan_and_mode_set(3, 1, 0x123, 0x456); },
         service_trace("SET_IGMP_PORT_VLAN_MODE"), fail("SET_IGMP_PORT_VLAN_MODE"), [] {},
         lose_port_3},
        {20,
         {0x81},
         [] { return omci_set_igmp_leave_mode(0x81); },
         "",
         fail("SET_IGMP_FAST_LEAVE")},
        {22, be32(kWord),
         [] {
             globle_parm.general_member_interval = kWord;
             return push_stored_parameters();
         },
         "", fail("omci_set_igmp_global_parmeter")},
        {27,
         {2},
         [] { return omci_igmp_version_globle_set(2); },
         "",
         fail("omci_igmp_version_globle_set")},
        {28, be32(kWord), [] { return igmp_globle_proxyip_set(kWord); }, "",
         error(" igmp_globle_proxyip_set is error ret = %d\r\n")},
        {29, be32(kWord) + be32(kWord2), [] { return omci_igmp_ssm_ip_globle_set(kWord, kWord2); },
         "", fail("omci_igmp_ssm_ip_globle_set")},
        {30, be32(kWord) + be32(kWord2) + be32(kWord3) + be32(kWord4) + be32(kWord5) + be32(kWord6),
         [] { return omci_igmp_ssm_map_globle_set(kWord, kWord2, kWord3, kWord4, kWord5); }, "",
         fail("omci_igmp_ssm_map_globle_set")},
        {32, be16(0xFFFE) + be16(1),
         [] {
             igmp_vlan_add(0xFFFE);
             igmp_vlan_add(0xFFFE);
             igmp_vlan_add(0xFFFF);
             igmp_vlan_add(0);
             return igmp_vlan_add(1);
         },
         config("vlan_id 65534 !\n") + config("port 1 !\n"), fail("ADD_IGMP_VLAN")},
        {33, be16(0xFEDC), [] { return igmp_vlan_del(0xFEDC); },
         config("DEL_IGMP_VLAN vlan_id = 65244\r\n"), fail("ADD_IGMP_VLAN")},
        {34, {}, [] { return igmp_vlan_del_all(); }, "", fail("ADD_IGMP_VLAN")},
        {50, kRule, set_told_rule, "", fail("onu_std_omci_set_multicast_vlan"), take_rules_as_given,
         lose_port_3},
        {51, kRule,
         [] {
             PortVlanCfgEntry rule = told_rule();
             return onu_std_omci_delete_multicast_vlan(&rule);
         },
         "", fail("onu_std_omci_delete_multicast_vlan"),
         [] {
             take_rules_as_given();
             set_told_rule();
         },
         lose_port_3},
        {52,
         {0x81},
         [] { return onu_std_omci_set_multicast_mode(0x81); },
         "",
         fail("onu_std_omci_set_multicast_mode")},
        {53, kRange, add_range, range_trace("STD_OMCI_ADD_AUTH_IGMP_GROUP"),
         fail("onu_std_omci_add_auth_igmp_group_vlan_config"), [] {}, lose_port_3},
        {54, kRange,
         [] {
             return onu_std_omci_delete_auth_igmp_group_vlan_config(3, 0xEF818203, 0xEF91A2B3,
                                                                    kWord, 0xFEDC);
         },
         range_trace("STD_OMCI_DEL_AUTH_IGMP_GROUP"),
         fail("onu_std_omci_delete_auth_igmp_group_vlan_config"), [] { add_range(); }},
        {55,
         {3, 0xEE, 0xEF},
         [] { return onu_std_omci_clear_port_all_auth_igmp_group_vlan_config(3, 65535); },
         config("STD_OMCI_CLEAR_ALL_AUTH_IGMP_GROUP std_omci_port = 3\r\n"),
         fail("onu_std_omci_clear_port_all_auth_igmp_group_vlan_config"),
         [] { add_range(); }},
        {56, Bytes{3} + be16(0x8102),
         [] { return onu_std_omci_set_port_igmpgroup_limit(3, 0x8102); },
         config("STD_OMCI_MAX_GROUP_NUM std_omci_port = 3 std_omci_max_grp = 33026\r\n"),
         fail("onu_std_omci_set_port_igmpgroup_limit")},
        {57, Bytes{3, 0x87} + be32(kWord) + be16(0x8506),
         [] { return onu_std_max_multi_bandwidth_limit(3, 0x87, kWord, 0x8506); },
         config("STD_MAX_MULTI_BANDWIDTH_LIMIT std_omci_port = 3 std_omci_grp_enable = 135 "
                "imputed_bandwidth = " +
                number(kWord) + "\r\n"),
         fail("onu_std_max_multi_bandwidth_limit"), [] {}, lose_port_3},
        {64,
         {},
         [] { return omci_clear_igmp_all_parmeter(); },
         "",
         "",
         [] { omci_set_port_igmp_leave_mode(3, 1); }},
        {83, be32(2), [] { return set_fast_leave(2, 1); },
         config("SET_IGMP_FAST_LEAVE_MODE 2\r\n")},
        {84, Bytes{0x87} + be16(0x8203) + be16(0x8304) + be32(kWord) + Bytes{0x95, 0x96},
         [] {
             IgmpOamControl rest = {kWord, 0x95, 0x96};
             return igmp_oam_control_2(0x87, 0x8202, 0x8304, &rest);
         },
         config("MC_OAM_SET_CONTROL_2 add_delete  = 135 port_no  = 33282 vlan_id  = 33540\r\n"),
         fail("MC_OAM_SET_CONTROL_2")},
        {87, be16(0x8203) + Bytes{0x87}, [] { return igmp_if_grp_range_auth_enable(3, 0x87); },
         config("SET_OMCI_IGMP_RANGE_AUTH 33283,135 \r\n"),
         error(" SET_OMCI_IGMP_RANGE_AUTH is error ret = %d\r\n")},
        {88, kRange,
         [] {
             return onu_omci_add_auth_igmp_group_vlan_config(3, 0xEF818203, 0xEF91A2B3, kWord,
                                                             0xFEDC);
         },
         range_trace("OMCI_ADD_AUTH_IGMP_GROUP"),
         fail("onu_std_omci_add_auth_igmp_group_vlan_config"), [] {}, lose_port_3},
        {97,
         {0x87},
         [] { return omci_set_para_rv_globle(0x87); },
         config("SET_IGMP_VARIABLE 135 \r\n"),
         error(" SET_IGMP_VARIABLE is error ret = %d\r\n")},
        {98, be16(0x8203), [] { return omci_set_para_qi_globle(0x8203); },
         config("SET_IGMP_INTERVAL 33283 \r\n"), error(" SET_IGMP_INTERVAL is error ret = %d\r\n")},
        {99, be16(0x8203), [] { return omci_set_para_qri_globle(0x8203); },
         config("SET_IGMP_INTERVAL 33283 \r\n"),
         error(" SET_IGMP_RESPONSE_INTERVAL is error ret = %d\r\n")},
        {100, be16(0x8203), [] { return omci_set_para_lmqi_globle(0x8203); },
         config("SET_IGMP_INTERVAL 33283 \r\n"),
         error(" SET_IGMP_QUERY_INTERVAL is error ret = %d\r\n")},
        {101, be16(0x8203), [] { return omci_set_para_lmqc_globle(0x8203); },
         config("SET_IGMP_QUERY_COUNT 33283 \r\n"),
         error(" SET_IGMP_QUERY_COUNT is error ret = %d\r\n")},
        {102,
         {0x87},
         [] { return igmp_aging_function_set(0x87); },
         config("SET_IGMP_VARIABLE 135 \r\n"),
         error(" SET_IGMP_AGING is error %d\r\n")},
        {110, kRule,
         [] {
             PortVlanCfgEntry rule = told_rule();
             const std::int32_t result = onu_std_omci_web_set_vlan(&rule);
             if (result != 0) say(kWebReport);
             return result;
         }},
        // A negative value is stored as 0, which is also the result.
        {114, be32(kWord), [] { return igmp_set_table_return(static_cast<std::int32_t>(kWord)); }},
        {115,
         {0x87},
         [] { return mld_pack_set_age_switch(0x87); },
         config("SET_MLD_VARIABLE 135 \r\n"),
         error(" SET_MLD_AGING is error %d\r\n")},
    };
}

std::vector<Command> make_debug_commands() {
    const Bytes vlan_port_flag = be16(0x8203) + be32(kWord) + be16(0x8506);
    const std::string shown = " vlan_id = 33283 port_no = " + number(kWord) + " flag = 34054\r\n";
    const Bytes port_and_vlan = be32(kWord) + be16(0x8506);
    const std::string tested =
        config("SET_IGMP_LEAVE_TEST port_no = " + number(kWord) + " vlan_id = 34054\r\n");
    return {
        {35, {}, [] { return igmp_display_all_group(); }},
        {36, be32(kWord), [] { return igmp_display_special_group(kWord); }},
        {37, be32(0x8001FEDC) + Bytes{7, 0x69}, [] { return igmp_dbg_set(0xFEDC, 7); }},
        {39,
         {},
         [] {
             say(configuration(ten_empty_entries()));
             return 0;
         }},
        {40,
         {3},
         [] { return igmpL2PktProc(jion_buffer, 68, 3); },
         "",
         error("test igmpL2PktProc error\r\n"),
         // The core is asked for the time of the first frame alone.
         [] { igmpL2PktProc(jion_buffer, 68, 3); }},
        {66, vlan_port_flag, [] { return igmp_show_vlan_config(kWord, 0x8203, 0x8506); },
         config("STD_IGMP_DEBUG_SHOW_VLAN" + shown)},
        {67, {}, [] { return show_igmp_all_proxy_group(); }},
        {68, be32(kWord), [] { return show_igmp_special_proxy_group(kWord); }},
        {69, {}, [] { return igmp_show_vlan_instance(); }},
        {70, {}, [] { return show_igmpv3_globle(); }},
        {71, {}, [] { return show_igmp_packet_statistic(); }},
        {72, {}, [] { return show_igmp_if_list(); }},
        {73, {}, [] { return igmp_timer_show_api(); }},
        {74, {}, [] { return igmp_auth_group_show_api(); }},
        {75, {0x87}, [] { return igmp_warn_printf_set(0x87); }},
        {76, port_and_vlan, [] { return test_igmp_report_v2_l3(0x8384, 0x8506); }, tested},
        {77, port_and_vlan, [] { return test_igmp_leave_v2_l3(0x8384, 0x8506); }, tested},
        {78,
         {3},
         [] { return igmp_hal_sync_if_status(3); },
         "",
         "\r\n[MC_DBG_ERR]: \n ERROR!igmp_hal_sync_if_status Fail",
         [] { set_port_status(counted_bytes(16)); },
         [] { answer("igmp_if_gather_if_status", 0); }},
        {79,
         {},
         [] { return igmp_hal_sync_grp_infor(255); },
         "",
         "\r\n[MC_DBG_ERR]: \n ERROR!igmp_hal_sync_grp_inform Fail",
         [] { set_group_dump(Bytes(4 + 512 * 25, 1)); },
         [] { answer("igmp_gather_grp_info", 0); }},
        {80,
         {0x87},
         [] { return igmp_if_show_if_cfg(0x87); },
         "",
         error("test igmp_if_show_if_cfg error(%d)\r\n")},
        {81,
         {0x87},
         [] { return igmp_if_show_if_status(0x87); },
         "",
         error("test igmp_if_show_if_status error(%d)\r\n")},
        {82, Bytes{0x87} + be32(kWord), [] { return igmp_if_show_auth_group_cfg(0x87, kWord); },
         config("portno = 135 grp_addr = 0x81828384\r\n"),
         error("test igmp_if_show_auth_group_cfg error(%d)\r\n")},
        {85, be32(kWord),
         [] { return igmp_adapt_set_test_uplink(static_cast<std::int32_t>(kWord)); }},
        {86, be32(4) + be32(0x80000000),
         [] {
             mc_debug ^= 0x08;
             char mask[16];
             std::snprintf(mask, sizeof mask, "0x%x", mc_debug);
             say(std::string("[mc_set_debug]: result: ") + mask + ".\r\n");
             mld_debug ^= 0x08;
             return 0;
         },
         config("SET_IGMP_PROT_DEBUG offset = 4 port_no = -2147483648\r\n")},
        {89, be16(0x8203) + Bytes{0x97}, [] { return igmp_dbg_set(0x8203, 0x97); },
         config("DEBUG_IGMP_VLAN 33283,151 \r\n")},
        {90, be16(0x8203) + Bytes{0x97}, [] { return igmp_dbg_unset(0x8203, 0x97); },
         config("NO_DEBUG_IGMP_VLAN 33283, 151 \r\n")},
        {91, be32(kWord), [] { return igmp_set_debug_level(kWord, 1); },
         config("DEBUG_IGMP_LEVEL  " + number(kWord) + " \r\n"),
         error(" DEBUG_IGMP_LEVEL is error ret = %d\r\n")},
        {92, be32(kWord), [] { return igmp_set_debug_level(kWord, 0); },
         config("NO_DEBUG_IGMP_LEVEL  " + number(kWord) + " \r\n"),
         error(" NO_DEBUG_IGMP_LEVEL is error ret = %d\r\n")},
        {93, be32(kWord) + be16(0x8203),
         [] {
             if (const std::int32_t ret = igmp_set_debug_pkt_port(0x8203); ret != 0) {
                 say_error(" igmp_set_debug_pkt_port is error ret = " + std::to_string(ret) +
                           "\r\n");
             }
             return igmp_set_debug_switch(kWord, 1);
         },
         config("DEBUG_IGMP  " + number(kWord) + "  33283\r\n"),
         error(" igmp_set_debug_switch is error ret = %d\r\n")},
        {94, be32(kWord), [] { return igmp_set_debug_switch(kWord, 1); },
         config("OTHER_DEBUG_IGMP " + number(kWord) + " \r\n"),
         error(" OTHER_DEBUG_IGMP is error ret = %d\r\n")},
        {95, be32(kWord),
         [] {
             igmp_set_debug_switch(kWord, 0);
             return igmp_set_debug_pkt_port(65534);
         },
         config("NO_ALL_DEBUG_IGMP " + number(kWord) + " \r\n")},
        {96, vlan_port_flag, [] { return igmp_show_vlan_config(kWord, 0x8203, 0x8506); },
         config("SHOW_VLAN" + shown)},
        {103, {}, [] { return pal_mem_show(); }},
        {104, {}, [] { return pal_mem_reset(); }},
        {105, be32(kWord), [] { return pal_mtype_show(kWord); },
         config("SHOW_MEMORY_TYPE  " + number(kWord) + " \r\n"),
         error(" pal_mtype_show is error ret = %d\r\n")},
        {106, be32(kWord) + be32(kWord2), [] { return pal_mrecord_range_set(kWord, kWord2); },
         config("SET_MEMORY_TYPE_RANGE " + number(kWord) + " " + number(kWord2) + "\r\n")},
        {111,
         {},
         [] {
             mld_unpack_show_mld_sys(0);
             mld_unpack_show_mld_thread(0);
             mld_unpack_show_vlan_global(0);
             return mld_show_if_list();
         }},
        {112, be32(1), [] { return mld_set_mld_debug_port(255); },
         config("SET_MLD_PROT_DEBUG offset = 1.\r\n")},
        {113, be32(1) + be32(kWord), [] { return mld_set_mld_debug(255, kWord); },
         config("SET_MLD_DEBUG offset = 1 port_no = " + number(kWord) + "\r\n")},
    };
}

// Codes that no command has.
constexpr std::uint32_t kHoles[] = {0,  10, 11, 15, 18, 19,  21,  23,  24,  25, 26, 31,
                                    38, 41, 42, 43, 44, 45,  46,  47,  48,  49, 58, 59,
                                    60, 61, 62, 63, 65, 107, 108, 109, 116, 117};

const std::vector<Command>& commands() {
    static const std::vector<Command> all = [] {
        std::vector<Command> both = make_configuration_commands();
        std::vector<Command> debug = make_debug_commands();
        both.insert(both.end(), debug.begin(), debug.end());
        return both;
    }();
    return all;
}

std::string replaced(std::string text, std::int32_t result) {
    if (const auto at = text.find("%d"); at != std::string::npos) {
        text.replace(at, 2, std::to_string(result));
    }
    return text;
}

// The command as it is told above. A hole only complains.
Command command_of(std::uint32_t code) {
    for (const Command& command : commands()) {
        if (command.code == code) return command;
    }
    return {code, {}, [code] {
                say_error("msgid(" + number(code) + ") is not missing!\r\n");
                return 0;
            }};
}

std::int32_t act_out(const Command& command) {
    if ((mc_debug & kCfg) != 0) say(command.trace);
    const std::int32_t result = command.operation();
    if (result != 0 && (mc_debug & kErr) != 0) say(replaced(command.failure, result));
    return result;
}

class Commands : public StartedTest {
 protected:
    Commands() { set_onu_id(1); }
};

class EachCode : public Commands, public ::testing::WithParamInterface<std::uint32_t> {};
INSTANTIATE_TEST_SUITE_P(All, EachCode, ::testing::Range(0u, 118u),
                         [](const auto& code) { return "Code" + std::to_string(code.param); });

TEST_F(Commands, AreEachToldOnceOrAreNone) {
    std::vector<std::uint32_t> codes(std::begin(kHoles), std::end(kHoles));
    for (const Command& command : commands()) codes.push_back(command.code);
    std::sort(codes.begin(), codes.end());
    for (std::uint32_t code = 0; code < 118; ++code) EXPECT_EQ(codes.at(code), code);
    EXPECT_EQ(codes.size(), 118u);
}

TEST_P(EachCode, AmountsToItsOperation) {
    const Command command = command_of(GetParam());
    if (command.given) command.given();
    const World from = World::now();
    for (const std::uint32_t mask : kMasks) {
        SCOPED_TRACE("mask " + std::to_string(mask));
        std::int32_t result = kFailure;
        const Outcome expected = outcome(from, mask, [&] { result = act_out(command); });
        expect_same(outcome(from, mask, [&] { run(command.code, command.payload); }), expected);
        EXPECT_EQ(result, 0);
    }
    // Otherwise this would show nothing.
    const Outcome quiet = outcome(from, 0, [&] { run(command.code, command.payload); });
    const bool hole = std::count(std::begin(kHoles), std::end(kHoles), command.code) != 0;
    EXPECT_EQ(!hole, !quiet.calls.empty() || !(quiet.world == from) || !quiet.text.empty());
}

TEST_P(EachCode, ReportsAFailure) {
    const Command command = command_of(GetParam());
    if (command.given) command.given();
    if (command.goes_wrong) {
        command.goes_wrong();
    } else {
        const World before = World::now();
        outcome(before, 0, [&] { act_out(command); });
        for (const Call& made : recorded()) answer(made.name, -kFailure);
        before.put_back();
    }
    const World from = World::now();
    for (const std::uint32_t mask : kMasks) {
        SCOPED_TRACE("mask " + std::to_string(mask));
        std::int32_t result = 0;
        const Outcome expected = outcome(from, mask, [&] { result = act_out(command); });
        expect_same(outcome(from, mask, [&] { run(command.code, command.payload); }), expected);
        if (!command.failure.empty()) {
            EXPECT_NE(result, 0) << "nothing failed";
        }
    }
}

// Leaves the receive loop. No command above has this address.
constexpr std::uint32_t kLastAddress = 0x5E5F6061;

void post(std::uint32_t code, const Bytes& payload) {
    struct {
        long type;
        std::uint8_t text[MC_RECORD_TEXT];
    } message = {};
    const Bytes record = record_of(code, payload);
    message.type = static_cast<long>(code);
    std::copy(record.begin() + 4, record.end(), message.text);
    const int queue = msgget(MC_QUEUE_KEY, IPC_CREAT | 0666);
    ASSERT_EQ(msgsnd(queue, &message, sizeof message.text, IPC_NOWAIT), 0) << std::strerror(errno);
}

TEST_P(EachCode, ArrivesThroughTheQueue) {
    if (GetParam() == 0) return;  // no type of a message
    const Command command = command_of(GetParam());
    if (command.given) command.given();
    const World from = World::now();
    constexpr std::uint32_t kMask = kErr | kCfg;
    Outcome expected = outcome(from, kMask, [&] { act_out(command); });
    expected.text = hex_dump({}) + expected.text + hex_dump({});
    expected.calls.push_back(call("igmp_globle_proxyip_set", kLastAddress));
    post(command.code, command.payload);
    post(28, be32(kLastAddress));
    during("igmp_globle_proxyip_set", [](const Call& made) {
        if (made.numbers.at(0) == kLastAddress) leave_library();
    });
    expect_same(outcome(from, kMask,
                        [] { EXPECT_TRUE(run_until_left([] { recv_igmp_interface_msg(); })); }),
                expected);
}

// ---- Unknown codes -----------------------------------------------------------------------------

TEST_F(Commands, OfUnknownCodesAreReportedAndChangeNothing) {
    const std::pair<std::uint32_t, const char*> codes[] = {{0, "0"},
                                                           {10, "10"},
                                                           {116, "116"},
                                                           {256 + 28, "284"},
                                                           {0x1C000000, "469762048"},
                                                           {0x7FFFFFFF, "2147483647"},
                                                           {0x80000001, "-2147483647"},
                                                           {0xFFFFFFFF, "-1"}};
    const World before = World::now();
    for (const auto& [code, shown] : codes) {
        const std::uint32_t unknown = code;
        expect_said(mc_debug, kErr,
                    std::string("\r\n[MC_DBG_ERR]: msgid(") + shown + ") is not missing!\r\n",
                    [unknown] { run(unknown); });
        EXPECT_THAT(calls(), IsEmpty());
    }
    EXPECT_TRUE(World::now() == before);
}

// ---- Records that are short --------------------------------------------------------------------

TEST_F(Commands, TakeTheBytesOfTheMessageBefore) {
    during("igmp_globle_proxyip_set", [](const Call& made) {
        if (made.numbers.at(0) == 0x7EEF8182) leave_library();
    });
    struct {
        long type;
        std::uint8_t text[MC_RECORD_TEXT];
    } message = {};
    const int queue = msgget(MC_QUEUE_KEY, IPC_CREAT | 0666);
    const auto post_short = [&](long code, const Bytes& text) {
        message.type = code;
        std::copy(text.begin(), text.end(), message.text);
        ASSERT_EQ(msgsnd(queue, &message, text.size(), IPC_NOWAIT), 0);
    };
    post_short(53, be32(0) + kRange);
    post_short(54, be32(0) + Bytes{2, 0xEF});  // another port, the same range
    post_short(33, be32(0) + Bytes{0x7E});     // half a VLAN in front of the range's start
    post_short(28, {});
    EXPECT_EQ(
        said(mc_debug, 0, [] { EXPECT_TRUE(run_until_left([] { recv_igmp_interface_msg(); })); }),
        "[onu_std_omci_delete_auth_igmp_group_vlan_config]: group-vlan cfg in port 2 no item "
        "to del.\r\n");
    EXPECT_THAT(
        calls(),
        ElementsAre(call("igmp_if_add_auth_group_cfg", 3, 0xEF818203, 0xEF91A2B3, kWord, 0xFEDC),
                    call("igmp_if_grp_range_auth_enable", 3, 1),
                    call("igmp_if_delete_auth_group_cfg", 2, 0xEF818203, 0xEF91A2B3, kWord, 0xFEDC),
                    call("igmp_vlan_del", 0x7EEF), call("igmp_globle_proxyip_set", 0x7EEF8182)));
}

// ---- Configuration -----------------------------------------------------------------------------

TEST_F(Commands, MulticastModeIsAByte) {
    run(1, {3});
    EXPECT_EQ(proxy_adapt_mode, MC_MODE_CONTROL);
    run(1, {100});
    EXPECT_EQ(proxy_adapt_mode, MC_MODE_PROXY);
}

TEST_F(Commands, StandardModesThatAreRefusedAreReported) {
    for (const std::uint8_t mode : Bytes{1, 2}) {
        forget_calls();
        EXPECT_THAT(said(mc_debug, kErr, [mode] { run(52, {mode}); }),
                    EndsWith("\r\n[MC_DBG_ERR]: \n ERROR!onu_std_omci_set_multicast_mode Fail"));
        EXPECT_EQ(proxy_adapt_mode, MC_MODE_SNOOPING);
    }
}

TEST_F(Commands, ClearingAPortThatIsNoneIsReported) {
    for (const std::uint8_t type : Bytes{0, 1, 2, 3}) {
        EXPECT_THAT(said(mc_debug, kErr,
                         [type] {
                             run(12, {7, type});
                         }),
                    EndsWith("\r\n[MC_DBG_ERR]: \n ERROR!omci_clear_igmp_parmeter Fail"));
    }
    EXPECT_EQ(said(mc_debug, 0, [] { run(12, {7, 0}); }), "");
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(Commands, GlobalParametersReachTheCoreInTheirOtherOrder) {
    globle_parm.general_member_interval = 0x01020304;
    run(14, Bytes{0xEE, 7} + be16(10) + be16(20) + be16(30) + be16(40));
    EXPECT_THAT(calls_of({"igmp_para_globle_set"}),
                ElementsAre(call("igmp_para_globle_set", 7, 40, 10, 20, 30, 0x01020304)));
}

TEST_F(Commands, AgeingIsStoredAndPushedWithTheStoredParameters) {
    globle_parm.robustness = 0x91;
    globle_parm.query_interval = 11;
    globle_parm.query_max_resp_time = 12;
    globle_parm.last_member_query_interval = 13;
    globle_parm.last_member_query_count = 14;
    run(22, be32(0xF1020304));
    EXPECT_EQ(globle_parm.general_member_interval, 0xF1020304u);
    EXPECT_THAT(calls_of({"igmp_para_globle_set"}),
                ElementsAre(call("igmp_para_globle_set", 0x91, 11, 12, 13, 14, 0xF1020304)));
}

TEST_F(Commands, VersionsOtherThan1To3AreRefused) {
    for (const std::uint8_t version : Bytes{0, 4, 128, 255}) {
        const World before = World::now();
        expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: set igmp version error!\n",
                    [version] { run(27, {version}); });
        EXPECT_THAT(calls(), IsEmpty());
        EXPECT_TRUE(World::now() == before);
    }
}

TEST_F(Commands, Versions1To3AreSet) {
    for (const std::uint8_t version : Bytes{1, 2, 3}) {
        forget_calls();
        run(27, {version});
        EXPECT_THAT(calls_of({"igmp_version_globle_set"}),
                    ElementsAre(call("igmp_version_globle_set", version)));
    }
}

TEST_F(Commands, SsmMappingUsesFiveOfSixWords) {
    run(30, be32(1) + be32(2) + be32(3) + be32(4) + be32(5) + be32(6));
    EXPECT_THAT(calls(), ElementsAre("igmp_ssm_map_change({1, 2, 3, 4, 5})"));
}

std::vector<std::string> added(const std::vector<int>& vlans) {
    std::vector<std::string> all;
    for (const int vlan : vlans) all.push_back(call("igmp_vlan_add", vlan));
    return all;
}

TEST_F(Commands, AVlanRangeAddsItsFirstVlanTwice) {
    const std::tuple<int, int, std::vector<int>> ranges[] = {
        {100, 0, {100, 100}},
        {100, 100, {100, 100}},
        {100, 102, {100, 100, 101, 102}},
        {0xFFFF, 0, {0xFFFF, 0xFFFF}},
        {0xFFFE, 1, {0xFFFE, 0xFFFE, 0xFFFF, 0, 1}},
        {0, 0, {0, 0}},
        {0, 1, {0, 0, 1}}};
    for (const auto& [first, last, vlans] : ranges) {
        forget_calls();
        run(32, be16(static_cast<std::uint32_t>(first)) + be16(static_cast<std::uint32_t>(last)));
        EXPECT_EQ(calls(), added(vlans));
    }
}

TEST_F(Commands, AVlanRangeThatEndsBeforeItStartsGoesAllTheWayRound) {
    run(32, be16(2) + be16(1));
    const std::vector<std::string> made = calls();
    ASSERT_EQ(made.size(), 65537u);
    EXPECT_EQ(made[0], "igmp_vlan_add(2)");
    EXPECT_EQ(made[1], "igmp_vlan_add(2)");
    EXPECT_EQ(made[65534], "igmp_vlan_add(65535)");
    EXPECT_EQ(made[65535], "igmp_vlan_add(0)");
    EXPECT_EQ(made[65536], "igmp_vlan_add(1)");
}

TEST_F(Commands, OfAVlanRangeOnlyTheLastAnswerCounts) {
    for (const unsigned nth : {1u, 2u, 3u}) fail_call("igmp_vlan_add", nth);
    const auto add_three = [] { run(32, be16(100) + be16(102)); };
    EXPECT_EQ(said(mc_debug, kErr, add_three), "");
    fail_call("igmp_vlan_add", 4);
    expect_said(mc_debug, kErr, fail("ADD_IGMP_VLAN"), add_three);
    EXPECT_EQ(calls().size(), 4u);
}

TEST_F(Commands, OfASingleVlanTheSecondAnswerCounts) {
    fail_call("igmp_vlan_add", 1);
    const auto add_one = [] { run(32, be16(100) + be16(0)); };
    EXPECT_EQ(said(mc_debug, kErr, add_one), "");
    fail_call("igmp_vlan_add", 2);
    expect_said(mc_debug, kErr, fail("ADD_IGMP_VLAN"), add_one);
}

TEST_F(Commands, ARuleIsTakenFieldByField) {
    take_rules_as_given();
    run(50, kRule);
    expect_rules<IgmpVlans>(3, {flagged(told_rule(), 0)});  // the set keeps the slot's flag
}

TEST_F(Commands, FastLeaveGoesToTheSixUserPorts) {
    for (const std::uint32_t mode : {2u, 0u, 1u, 3u, 0x102u, 0x02000000u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(mode);
        const int fast = mode == 2 ? 1 : 0;
        forget_calls();
        run(83, be32(mode));
        std::vector<std::string> expected;
        for (int port = 0; port <= 5; ++port) {
            expected.push_back(call("igmp_if_fast_leave_enable", port, fast));
        }
        EXPECT_EQ(calls(), expected);
        EXPECT_EQ(Bytes(mc_status_global + 14452, mc_status_global + 14456), be32(mode));
        for (int port = 0; port <= 5; ++port) EXPECT_EQ(globle_parm.port[port].leavemod, fast);
    }
}

TEST_F(Commands, FastLeaveCarriesOnAfterAFailure) {
    fail_call("igmp_if_fast_leave_enable", 2);
    fail_call("igmp_if_fast_leave_enable", 6);
    const std::string text = said(mc_debug, kErr, [] { run(83, be32(2)); });
    const std::string report = "\r\n[MC_DBG_ERR]: omci_set_port_igmp_leave_mode is error\r\n";
    EXPECT_THAT(text, EndsWith(report));
    std::size_t reports = 0;
    for (auto at = text.find(report); at != std::string::npos; at = text.find(report, at + 1)) {
        ++reports;
    }
    EXPECT_EQ(reports, 2u);
    EXPECT_EQ(count_of("igmp_if_fast_leave_enable"), 6u);
}

TEST_F(Commands, FastLeaveDoesWithoutASegment) {
    std::uint8_t* const attached = mc_status_global;
    mc_status_global = nullptr;
    run(83, be32(2));
    mc_status_global = reinterpret_cast<std::uint8_t*>(~std::uintptr_t{0});
    run(83, be32(2));
    mc_status_global = attached;
    EXPECT_EQ(count_of("igmp_if_fast_leave_enable"), 12u);
}

// OAM counts ports from 1: 0 wraps around 16 bits.
TEST_F(Commands, OamControlOfPort0Wraps) {
    const Bytes record = Bytes{1} + be16(0) + be16(100) + be32(5) + Bytes{6, 7};
    run(84, record);
    EXPECT_THAT(calls(), ElementsAre("igmp_oam_control_2(1, 65535, 100, {5, 6, 7})"));
    EXPECT_EQ(said(mc_debug, kCfg, [&] { run(84, record); }),
              config("MC_OAM_SET_CONTROL_2 add_delete  = 1 port_no  = 65535 vlan_id  = 100\r\n"));
}

// Its failure goes by the report level, not by the mask.
TEST_F(Commands, AWebRuleThatIsRefusedIsReportedByTheReportLevel) {
    Bytes rule = kRule;
    rule[0] = 9;  // no logical port
    const auto set = [&rule] { run(110, rule); };
    for (const std::int32_t level : {-1, 0, 2, 100}) {
        igmp_adapt = level;
        EXPECT_THAT(said(mc_debug, 0, set), EndsWith(kWebReport)) << level;
        EXPECT_THAT(said(mc_debug, 0xFFFFFFFF, set), EndsWith(kWebReport)) << level;
    }
    for (const std::int32_t level : {-2, -3, INT32_MIN}) {
        igmp_adapt = level;
        EXPECT_EQ(said(mc_debug, 0, set), "") << level;
    }
}

// What is stored is also the result: switching it on counts as a failure.
TEST_F(Commands, TableReturnReportsWhatItStored) {
    tablereturn = 0;
    expect_said(mc_debug, kErr, error(" igmp_set_table_return is error ret = 1\r\n"),
                [] { run(114, be32(0x7FFFFFFF)); });
    EXPECT_EQ(tablereturn, 1);
    EXPECT_EQ(said(mc_debug, kErr, [] { run(114, be32(0)); }), "");
    EXPECT_EQ(tablereturn, 0);
}

TEST_F(Commands, ClearingAllParametersReportsNoFailure) {
    answer("igmp_del_all_group", kFailure);
    std::string of_operation = said(mc_debug, kErr, [] { omci_clear_igmp_all_parmeter(); });
    EXPECT_EQ(said(mc_debug, kErr, [] { run(64); }), of_operation);
}

// ---- Debug, show and test ----------------------------------------------------------------------

TEST_F(Commands, TheTestFrameTakesTheWholeReceivePath) {
    const Bytes report(jion_buffer, jion_buffer + MC_JION_BUFFER_SIZE);
    run(40, {3});
    const Call received = last_call("igmp_pkt_recv");
    ASSERT_EQ(received.bytes.size(), 1u) << "the core was not asked";
    // Behind two addresses, the tag and the ethertype; the header says how long the packet is.
    const Bytes& packet = received.bytes[0];
    ASSERT_GE(packet.size(), 32u);
    EXPECT_EQ(packet, Bytes(report.begin() + 18, report.begin() + 18 + 32));
    EXPECT_EQ(packet[0], 0x46) << "IPv4 with an option";
    EXPECT_EQ(packet[24], 0x16) << "a membership report";
    EXPECT_EQ(Bytes(packet.begin() + 28, packet.begin() + 32), (Bytes{239, 255, 1, 1}));
    EXPECT_EQ(internet_checksum(Bytes(packet.begin(), packet.begin() + 24)), 0);
    EXPECT_EQ(internet_checksum(Bytes(packet.begin() + 24, packet.begin() + 32)), 0);
    ASSERT_GE(received.numbers.size(), 2u);
    EXPECT_EQ(received.numbers[0], 32);
    EXPECT_EQ(received.numbers[1], 3) << "the port";
    EXPECT_EQ(srcPortNum, 3);
}

// In whatever port's name it comes.
TEST_F(Commands, TheTestFrameThatIsDroppedIsReported) {
    EXPECT_THAT(said(mc_debug, kErr, [] { run(40, {30}); }),
                EndsWith("\r\n[MC_DBG_ERR]: test igmpL2PktProc error\r\n"));
    EXPECT_EQ(said(mc_debug, 0, [] { run(40, {30}); }), "");
    EXPECT_EQ(count_of("igmp_pkt_recv"), 0u);
}

void show_vlan_bytes(std::uint32_t code) {
    run(code, {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08});
    EXPECT_THAT(calls(), ElementsAre(call("igmp_show_vlan_config", 0x03040506, 0x0102, 0x0708)));
}
TEST_F(Commands, ShowVlanTakesTwoBytesForItsFlag) { show_vlan_bytes(96); }
TEST_F(Commands, StandardShowVlanTakesTwoBytesForItsFlag) { show_vlan_bytes(66); }

TEST_F(Commands, EverythingIsSwitchedOffBy65535Alone) {
    const std::string port = call("igmp_set_debug_pkt_port", 65534);
    run(95, be32(65535));
    EXPECT_THAT(calls(),
                ElementsAre(call("igmp_set_debug_switch", 65535, 0), port, "igmp_no_debug_all()"));
    for (const std::uint32_t which : {0u, 65534u, 0x1FFFFu, 0xFFFFFFFFu}) {
        forget_calls();
        run(95, be32(which));
        EXPECT_THAT(calls(), ElementsAre(call("igmp_set_debug_switch", which, 0), port));
    }
}

TEST_F(Commands, PacketDebugReportsEachOfItsTwoCalls) {
    const auto debug = [] { run(93, be32(5) + be16(6)); };
    fail_call("igmp_set_debug_pkt_port", 1, -7);
    expect_said(mc_debug, kErr, error(" igmp_set_debug_pkt_port is error ret = -7\r\n"), debug);
    EXPECT_THAT(calls(), ElementsAre("igmp_set_debug_pkt_port(6)", "igmp_set_debug_switch(5, 1)"));
    fail_call("igmp_set_debug_pkt_port", 1, 0);
    fail_call("igmp_set_debug_switch", 1, 8);
    expect_said(mc_debug, kErr, error(" igmp_set_debug_switch is error ret = 8\r\n"), debug);
}

TEST_F(Commands, MldDebugIsOnFor1Alone) {
    for (const std::uint32_t value : {1u, 0u, 2u, 0x101u, 0x01000000u, 0xFFFFFFFFu}) {
        forget_calls();
        run(112, be32(value));
        run(113, be32(value) + be32(0xF1020304));
        EXPECT_THAT(calls(),
                    ElementsAre(call("mld_set_mld_debug_port", value == 1 ? 255 : 65534),
                                call("mld_set_mld_debug", value == 1 ? 255 : 0, 0xF1020304)));
    }
}

// ---- The debug mask ----------------------------------------------------------------------------

std::string result(const std::string& mask) {
    return "[mc_set_debug]: result: 0x" + mask + ".\r\n";
}

std::string switch_mask(std::uint32_t offset, std::uint32_t enable) {
    return printed([=] { run(86, be32(offset) + be32(enable)); });
}

TEST_F(Commands, TheMaskOfACategoryToggles) {
    const std::tuple<int, std::uint32_t, const char*> categories[] = {
        {1, 0x01, "1"},  {2, 0x02, "2"},  {3, 0x04, "4"}, {4, 0x08, "8"},
        {5, 0x10, "10"}, {6, 0x20, "20"}, {7, 0xFF, "ff"}};
    for (const auto& [number, bits, shown] : categories) {
        const auto offset = static_cast<std::uint32_t>(number);
        SCOPED_TRACE(offset);
        const std::string traced =
            (bits & kCfg) == 0 ? ""
                               : config("SET_IGMP_PROT_DEBUG offset = " + std::to_string(offset) +
                                        " port_no = 1\r\n");
        EXPECT_EQ(switch_mask(offset, 1), result(shown));
        EXPECT_EQ(mc_debug, bits);
        EXPECT_EQ(mld_debug, bits);
        EXPECT_EQ(switch_mask(offset, 1), traced + result("0")) << "on once more is off";
        EXPECT_EQ(mc_debug, 0u);
        EXPECT_EQ(mld_debug, 0u);
        EXPECT_EQ(switch_mask(offset, 0), result("0"));
        EXPECT_EQ(mc_debug, 0u);
        EXPECT_EQ(mld_debug, 0u);
        switch_mask(offset, 0xFFFFFFFF);
        EXPECT_EQ(mc_debug, bits);
        EXPECT_EQ(mld_debug, bits);
        EXPECT_THAT(switch_mask(offset, 0), EndsWith(result("0")));
        EXPECT_EQ(mc_debug, 0u);
        EXPECT_EQ(mld_debug, 0u);
    }
}

TEST_F(Commands, TheMaskKeepsItsOtherBits) {
    mc_debug = 0xFFFFFF00 & ~kCfg;
    mld_debug = 0;
    EXPECT_EQ(switch_mask(3, 1), result("ffffff04"));
    EXPECT_EQ(switch_mask(3, 1), result("ffffff00"));
    EXPECT_EQ(mld_debug, 0u);
    EXPECT_EQ(switch_mask(7, 1), result("ffffffff"));
    EXPECT_THAT(switch_mask(7, 0), EndsWith(result("ffffff00")));
    mc_debug = 0;
}

// All bits go when only some of them were on.
TEST_F(Commands, AllCategoriesAreSwitchedOffWhenSomeAreOn) {
    mc_debug = 0x14;
    mld_debug = 0;
    EXPECT_EQ(switch_mask(7, 1), result("0"));
    EXPECT_EQ(mc_debug, 0u);
    EXPECT_EQ(mld_debug, 0xFFu) << "each side toggles by itself";
    mld_debug = 0;
}

TEST_F(Commands, OtherOffsetsChangeNoMask) {
    for (const std::uint32_t offset : {0u, 8u, 9u, 33u, 0x101u, 0xFFFFFFFFu}) {
        for (const std::uint32_t mask : {0u, kCfg, 0xFFFFFFFFu}) {
            mc_debug = mask;
            mld_debug = mask;
            EXPECT_EQ(switch_mask(offset, 1),
                      (mask & kCfg) == 0 ? ""
                                         : config("SET_IGMP_PROT_DEBUG offset = " + number(offset) +
                                                  " port_no = 1\r\n"));
            EXPECT_EQ(mc_debug, mask);
            EXPECT_EQ(mld_debug, mask);
        }
    }
    mc_debug = 0;
    mld_debug = 0;
}

// ---- Debugging from the command line -----------------------------------------------------------

constexpr std::uint8_t kA = 0x61;
constexpr std::uint8_t kI = 0x69;
const std::string kCliError =
    "\r\n [IGMP_ERROR]process_interface_msg(4361): cli debug is error\r\n\r\n";

void debug_cli(std::uint32_t value, std::uint8_t selector, std::uint8_t sub_selector) {
    run(37, be32(value) + Bytes{selector, sub_selector});
}

TEST_F(Commands, CliDebugSetsTheReportLevel) {
    for (const std::uint8_t sub_selector : Bytes{0, 1, 0x61, 0xFF}) {
        const std::pair<std::uint32_t, std::int32_t> levels[] = {
            {0, -2}, {1, 1}, {2, 5}, {0x100, 5}, {0xFFFFFFFF, 5}};
        for (const auto& [value, level] : levels) {
            const std::uint32_t word = value;
            igmp_adapt = 5;
            EXPECT_EQ(said(mc_debug, kErr | kCfg, [=] { debug_cli(word, kA, sub_selector); }), "");
            EXPECT_EQ(igmp_adapt, level) << value;
        }
    }
}

TEST_F(Commands, CliDebugWithoutASubSelectorSwitchesAgeingOff) {
    globle_parm.general_member_interval = 99;
    debug_cli(1, kA, 1);
    EXPECT_EQ(globle_parm.general_member_interval, 99u);
    EXPECT_THAT(calls(), IsEmpty());
    for (const std::uint32_t value : {1u, 0u, 7u}) {
        globle_parm.general_member_interval = 99;
        globle_parm.robustness = 0x91;
        globle_parm.query_interval = 11;
        globle_parm.query_max_resp_time = 12;
        globle_parm.last_member_query_interval = 13;
        globle_parm.last_member_query_count = 14;
        forget_calls();
        debug_cli(value, kA, 0);
        EXPECT_EQ(globle_parm.general_member_interval, 0u);
        EXPECT_THAT(calls_of({"igmp_para_globle_set"}),
                    ElementsAre(call("igmp_para_globle_set", 0x91, 11, 12, 13, 14, 0)));
    }
}

TEST_F(Commands, CliDebugIgnoresTheCoresAnswer) {
    answer("igmp_para_globle_set", kFailure);
    const std::string of_operation = said(mc_debug, kErr, [] { push_stored_parameters(); });
    EXPECT_EQ(said(mc_debug, kErr, [] { debug_cli(1, kA, 0); }), of_operation);
}

TEST_F(Commands, CliDebugSetsTheCoresSwitches) {
    for (int selector = 0; selector <= 255; ++selector) {
        if (selector == kA) continue;
        SCOPED_TRACE(selector);
        igmpv3_rcv = 77;
        igmpv3_snd = 78;
        forget_calls();
        const World before = World::now();
        EXPECT_EQ(said(mc_debug, 0xFFFFFFFF,
                       [=] { debug_cli(0x8001FEDC, static_cast<std::uint8_t>(selector), kI); }),
                  "");
        World expected = before;
        if (selector == 8) expected.version_received = 3;
        if (selector == 9) expected.version_received = 1;
        if (selector == 10) expected.version_received = 2;
        if (selector == 11) expected.version_sent = 1;
        EXPECT_TRUE(World::now() == expected);
        if (selector >= 1 && selector <= 7) {
            EXPECT_THAT(calls(), ElementsAre(call("igmp_dbg_set", 0xFEDC, selector)));
        } else {
            EXPECT_THAT(calls(), IsEmpty());
        }
    }
}

TEST_F(Commands, CliDebugRefusesEverythingElse) {
    const std::pair<std::uint8_t, std::uint8_t> refused[] = {
        {kA, kI}, {0, 0}, {1, 0}, {8, 1}, {kI, 0}, {kI, kA}, {0xE1, 0xE9}, {0, 0x68}};
    const World before = World::now();
    for (const auto& [selector, sub_selector] : refused) {
        const std::uint8_t first = selector;
        const std::uint8_t second = sub_selector;
        for (const std::uint32_t mask : {0u, 0xFFFFFFFFu}) {
            EXPECT_EQ(said(mc_debug, mask, [=] { debug_cli(1, first, second); }), kCliError);
        }
    }
    EXPECT_TRUE(World::now() == before);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(Commands, CliDebugReportsDownToLevelMinus1) {
    for (const std::int32_t level : {-1, 0, 1, 100}) {
        igmp_adapt = level;
        EXPECT_EQ(printed([] { debug_cli(1, 0, 0); }), kCliError) << level;
    }
    for (const std::int32_t level : {-2, -3, INT32_MIN}) {
        igmp_adapt = level;
        EXPECT_EQ(printed([] { debug_cli(1, 0, 0); }), "") << level;
        EXPECT_EQ(printed([] { debug_cli(1, kA, kI); }), "") << level;
    }
}

// ---- The configuration on the console ----------------------------------------------------------

std::string shown_configuration() {
    return printed([] { run(39); });
}

// The list holds n entries 101, 102, ..., its mirror 201, 202, ...
void list_vlans(int count) {
    setVlanNumber = count;
    for (int i = 0; i < 10; ++i) {
        PortVlan[i] = static_cast<std::uint16_t>(i < count ? 101 + i : 0);
        globle_parm.TemplateVlan[i] = static_cast<std::uint16_t>(i < count ? 201 + i : 0);
    }
}

TEST_F(Commands, TheConfigurationShowsTenEmptyTemplateEntries) {
    list_vlans(0);
    EXPECT_EQ(shown_configuration(), configuration("-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"));
}

TEST_F(Commands, TheConfigurationShowsOneTemplateEntry) {
    list_vlans(1);
    EXPECT_EQ(shown_configuration(), configuration("-101-TemplateVlan(201)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"
                                                   "-0-TemplateVlan(0)\t\r\n"));
}

TEST_F(Commands, TheConfigurationShowsFourTemplateEntries) {
    list_vlans(4);
    EXPECT_EQ(shown_configuration(),
              configuration("-101-TemplateVlan(201)\t-102-TemplateVlan(202)\t"
                            "-103-TemplateVlan(203)\t-104-TemplateVlan(204)\t\r\n"
                            "-0-TemplateVlan(0)\t\r\n"
                            "-0-TemplateVlan(0)\t\r\n"
                            "-0-TemplateVlan(0)\t\r\n"
                            "-0-TemplateVlan(0)\t\r\n"
                            "-0-TemplateVlan(0)\t\r\n"
                            "-0-TemplateVlan(0)\t\r\n"));
}

TEST_F(Commands, TheConfigurationShowsFiveTemplateEntries) {
    list_vlans(5);
    EXPECT_EQ(shown_configuration(),
              configuration("-101-TemplateVlan(201)\t-102-TemplateVlan(202)\t"
                            "-103-TemplateVlan(203)\t-104-TemplateVlan(204)\t\r\n"
                            "-105-TemplateVlan(205)\t\r\n"
                            "-0-TemplateVlan(0)\t\r\n"
                            "-0-TemplateVlan(0)\t\r\n"
                            "-0-TemplateVlan(0)\t\r\n"
                            "-0-TemplateVlan(0)\t\r\n"
                            "-0-TemplateVlan(0)\t\r\n"));
}

TEST_F(Commands, TheConfigurationShowsTenTemplateEntries) {
    list_vlans(10);
    EXPECT_EQ(shown_configuration(),
              configuration("-101-TemplateVlan(201)\t-102-TemplateVlan(202)\t"
                            "-103-TemplateVlan(203)\t-104-TemplateVlan(204)\t\r\n"
                            "-105-TemplateVlan(205)\t-106-TemplateVlan(206)\t"
                            "-107-TemplateVlan(207)\t\r\n"
                            "-108-TemplateVlan(208)\t-109-TemplateVlan(209)\t"
                            "-110-TemplateVlan(210)\t\r\n"));
}

TEST_F(Commands, TheConfigurationIsUnderNoCategory) {
    EXPECT_EQ(said(mc_debug, 0xFFFFFFFF, [] { run(39); }), shown_configuration());
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(Commands, TheConfigurationShowsEveryField) {
    std::strcpy(globle_parm.version_str, "V9.8.7");
    std::strcpy(globle_parm.build_date, "Jan 02 2003");
    std::strcpy(globle_parm.build_time, "04:05:06");
    given_rules<IgmpVlans>({rule(0, {1, 2, 3}, {10, 11}, {12, 13}, {14, 15}),
                            simple_rule(0, 20, 300), simple_rule(29, 30, 400)});
    setVlanCfgNumber[3] = -1;
    for (int p = 0; p < MC_PORTS; ++p) {
        IgmpPortParm& port = globle_parm.port[p];
        port = {};
        port.grouplimit = static_cast<std::uint16_t>(10 + p);
        port.leavemod = static_cast<std::uint16_t>(20 + p);
        port.max_bandwidth = static_cast<std::uint32_t>(30 + p);
        port.sig_vlan = static_cast<std::uint16_t>(40 + p);
        port.sig_vlan_a = static_cast<std::uint16_t>(50 + p);
        port.sig_vlan_b = static_cast<std::uint16_t>(60 + p);
    }
    globle_parm.port[1].auth_group[0] = {1000, 0xEF010203, 0xEF0A0B0C, 0, {}};  // free
    globle_parm.port[1].auth_group[2] = {0xFFFFFFFF, 0xEF010203, 0xEF0A0B0C, 0xFEDC, {}};
    globle_parm.port[6].auth_group[7] = {5, 1, 2, 3, {}};
    globle_parm.defaultVlan = 70;
    globle_parm.general_member_interval = 71;
    globle_parm.last_member_query_count = 72;
    globle_parm.last_member_query_interval = 0xFFFFFFFF;
    globle_parm.learningMode = 74;
    globle_parm.multiMode = 75;
    globle_parm.query_interval = 76;
    globle_parm.query_max_resp_time = 77;
    globle_parm.robustness = 178;
    globle_parm.version = 179;
    testuplink = -80;
    mldInitParams.defaultVlan = 81;
    tablereturn = 82;
    list_vlans(10);
    const World before = World::now();
    EXPECT_EQ(shown_configuration(),
              "MC HAL Version Num: V9.8.7.\r\n"
              "MC HAL Compile Data Jan 02 2003: 04:05:06.\r\n"
              "portNO(0), prouptagmode(1), in_up_vlan(10), out_up_vlan(11)\r\n"
              "portNO(0), prodntagmode(2), in_dn_vlan(12), out_dn_vlan(13)\r\n"
              "portNO(0), datedntagmode(3), in_data_vlan(14), out_data_vlan(15)\r\n"
              "portNO(0), prouptagmode(1), in_up_vlan(20), out_up_vlan(11)\r\n"
              "portNO(0), prodntagmode(1), in_dn_vlan(12), out_dn_vlan(13)\r\n"
              "portNO(0), datedntagmode(1), in_data_vlan(300), out_data_vlan(14)\r\n"
              "portNO(29), prouptagmode(1), in_up_vlan(30), out_up_vlan(11)\r\n"
              "portNO(29), prodntagmode(1), in_dn_vlan(12), out_dn_vlan(13)\r\n"
              "portNO(29), datedntagmode(1), in_data_vlan(400), out_data_vlan(14)\r\n"
              "portNO(0) grouplimit(10) leavemod(20) max_bandwidth(30)\r\n"
              "port(0) svlan(40) svlan_s(50) cvlan(60) \r\n"
              "portNO(1) grouplimit(11) leavemod(21) max_bandwidth(31)\r\n"
              "start_groupAdress(ef010203) end_groupAdress(ef0a0b0c) bandwidth(-1) vlan(65244)\r\n"
              "port(1) svlan(41) svlan_s(51) cvlan(61) \r\n"
              "portNO(2) grouplimit(12) leavemod(22) max_bandwidth(32)\r\n"
              "port(2) svlan(42) svlan_s(52) cvlan(62) \r\n"
              "portNO(3) grouplimit(13) leavemod(23) max_bandwidth(33)\r\n"
              "port(3) svlan(43) svlan_s(53) cvlan(63) \r\n"
              "portNO(4) grouplimit(14) leavemod(24) max_bandwidth(34)\r\n"
              "port(4) svlan(44) svlan_s(54) cvlan(64) \r\n"
              "portNO(5) grouplimit(15) leavemod(25) max_bandwidth(35)\r\n"
              "port(5) svlan(45) svlan_s(55) cvlan(65) \r\n"
              "portNO(6) grouplimit(16) leavemod(26) max_bandwidth(36)\r\n"
              "start_groupAdress(1) end_groupAdress(2) bandwidth(5) vlan(3)\r\n"
              "port(6) svlan(46) svlan_s(56) cvlan(66) \r\n"
              "-101-TemplateVlan(201)\t-102-TemplateVlan(202)\t-103-TemplateVlan(203)\t"
              "-104-TemplateVlan(204)\t\r\n"
              "-105-TemplateVlan(205)\t-106-TemplateVlan(206)\t-107-TemplateVlan(207)\t\r\n"
              "-108-TemplateVlan(208)\t-109-TemplateVlan(209)\t-110-TemplateVlan(210)\t\r\n"
              "defaultVlan(70), general_member_interval(71), last_member_query_count(72)\r\n"
              "last_member_query_interval(4294967295), learningMode(74), multiMode(75)\r\n"
              "query_interval(76), query_max_resp_time(77), robustness(178), version(179)\r\n"
              "testuplink = (-80),mlddefaultVlan(81),tablereturn = (82)\r\n");
    EXPECT_TRUE(World::now() == before);
}

}  // namespace
