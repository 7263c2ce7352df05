// Every command of the channel, by its code: directly, and through the real queue. A command is
// told by the fields of its record, what it amounts to when its operation is called by hand with
// their values, and what it says before and after that.
#include <gmock/gmock.h>
#include <sys/ipc.h>
#include <sys/msg.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

#include "adapt/adapt.h"
#include "command/auth_groups.h"
#include "command/command.h"
#include "igmp/igmp.h"
#include "platform/pal.h"
#include "platform/protocol_core.h"
#include "settings/settings.h"
#include "tests/support/commands.h"
#include "tests/support/frames.h"
#include "tests/support/hex_dump.h"
#include "tests/support/vlan_rules.h"
#include "vlan/vlan.h"

namespace {

using namespace mc_test;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsSubsetOf;
using ::testing::Not;

// ---- What a command leaves behind --------------------------------------------------------------

struct Outcome {
    std::string text;
    std::vector<std::string> calls;
    World world;
    std::uint32_t igmp_mask;
    std::uint32_t mld_mask;

    bool operator==(const Outcome&) const = default;
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

// ---- How a command is told ---------------------------------------------------------------------

// The values of a record's fields, by their names and as wide as they are.
class Values {
 public:
    explicit Values(const Fields& fields) : fields_(fields) {}

    std::uint8_t u8(const std::string& name) const { return at<std::uint8_t>(name); }
    std::uint16_t u16(const std::string& name) const { return at<std::uint16_t>(name); }
    std::uint32_t u32(const std::string& name) const { return at<std::uint32_t>(name); }
    std::int8_t s8(const std::string& name) const { return static_cast<std::int8_t>(u8(name)); }
    std::int16_t s16(const std::string& name) const { return static_cast<std::int16_t>(u16(name)); }
    std::int32_t s32(const std::string& name) const { return static_cast<std::int32_t>(u32(name)); }

 private:
    template <class Value>
    Value at(const std::string& name) const {
        for (const Field& field : fields_) {
            if (field.name == name && field.width == sizeof(Value)) {
                return static_cast<Value>(field.value);
            }
        }
        throw std::logic_error("no field " + name + " of this width");
    }

    Fields fields_;
};

using Action = std::function<void()>;

// Texts hold values by the names of fields: {port} as %d shows it, {group:x} in hexadecimal,
// {vlan:s} as a signed number of the field's width; {result} is what the operation returned.
// A command whose operation has more to it than a call brings its failure text along, or has none.
struct Command {
    std::uint32_t code;
    Fields fields = {};
    std::vector<std::string> unused = {};  // fields of which nothing is ever seen in this command
    std::function<std::int32_t(const Values&)> operation;
    std::string trace = {};
    std::string failure = {};
    Action given = {};       // in front of the command
    Action goes_wrong = {};  // without it every neighbour that is called fails
};

void replace(std::string& text, const std::string& what, const std::string& by) {
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size())) {
        text.replace(at, what.size(), by);
    }
}

std::string hexadecimal(std::uint32_t value) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%x", value);
    return digits;
}

// The two's complement number in the low bytes.
std::int32_t signed_value(const Field& field) {
    const auto unused_bits = 8 * (4 - static_cast<unsigned>(field.width));
    return static_cast<std::int32_t>(field.value << unused_bits) >> unused_bits;
}

std::string told(std::string text, const Fields& fields, std::int32_t result = 0) {
    for (const Field& field : fields) {
        replace(text, "{" + field.name + "}", number(field.value));
        replace(text, "{" + field.name + ":x}", hexadecimal(field.value));
        replace(text, "{" + field.name + ":s}", std::to_string(signed_value(field)));
    }
    replace(text, "{result}", std::to_string(result));
    return text;
}

void say(const std::string& text) { std::fputs(text.c_str(), stdout); }
void say_error(const std::string& text) {
    if ((mc_debug & kErr) != 0) say(error(text));
}

// ---- Records that several commands share -------------------------------------------------------

// Words with their high bits set, no two bytes alike.
constexpr std::uint32_t kWord = 0x81828384;
constexpr std::uint32_t kWord2 = 0x91929394;
constexpr std::uint32_t kWord3 = 0xA1A2A3A4;
constexpr std::uint32_t kWord4 = 0xB1B2B3B4;
constexpr std::uint32_t kWord5 = 0xC1C2C3C4;
constexpr std::uint32_t kWord6 = 0xD1D2D3D4;

// Neither side knows port number 4 any more.
void lose_port_4() {
    portState[4].port_id = 99;
    mldInitParams.port[4].port_id = 99;
}

Fields group_range() {
    return {u8("port", 8, 4), u32("start", 9, 0xEF818203), u32("end", 13, 0xEF91A2B3),
            u32("bandwidth", 17, kWord), u16("vlan", 21, 0xFEDC)};
}
std::string range_trace(const std::string& name) {
    return config(name +
                  " std_omci_port = {port} multi_range_start = {start} multi_range_end ={end} "
                  "imputed_bandwidth ={bandwidth} vlan_id = {vlan}\r\n");
}
std::int32_t add_range(const Values& in) {
    return onu_std_omci_add_auth_igmp_group_vlan_config(
        in.u8("port"), in.u32("start"), in.u32("end"), in.u32("bandwidth"), in.u16("vlan"));
}
void given_the_range() { add_range(Values(group_range())); }

Fields rule_request() {
    return {u8("portNO", 8, 4),
            u8("prouptagmode", 9, 1),
            u16("in_up_vlan", 10, 0x8123),
            u16("out_up_vlan", 12, 0x8234),
            u8("prodntagmode", 14, 2),
            u16("in_dn_vlan", 16, 0x8345),
            u16("out_dn_vlan", 18, 0x8456),
            u8("datedntagmode", 20, 3),
            u16("in_data_vlan", 22, 0x0567),
            u16("out_data_vlan", 24, 0x8678),
            u8("rule_flag", 26, 0x91)};
}
Rule rule_in(const Values& in) {
    return {.portNO = in.s8("portNO"),
            .prouptagmode = in.s8("prouptagmode"),
            .in_up_vlan = in.u16("in_up_vlan"),
            .out_up_vlan = in.u16("out_up_vlan"),
            .prodntagmode = in.s8("prodntagmode"),
            .in_dn_vlan = in.u16("in_dn_vlan"),
            .out_dn_vlan = in.u16("out_dn_vlan"),
            .datedntagmode = in.s8("datedntagmode"),
            .in_data_vlan = in.u16("in_data_vlan"),
            .out_data_vlan = in.u16("out_data_vlan"),
            .rule_flag = in.u8("rule_flag")};
}
std::int32_t set_rule(const Values& in) {
    Rule rule = rule_in(in);
    return onu_std_omci_set_multicast_vlan(&rule);
}
void take_rules_as_given() { flag_omci_version = 1; }
void given_the_rule() {
    take_rules_as_given();
    set_rule(Values(rule_request()));
}

Fields service_request() {
    return {u32("port", 8, 4), u32("mode", 12, 2), u32("vlan", 16, 0x123),
            u32("second", 20, 0x456)};
}
std::string service_trace(const std::string& name) {
    return config(name + " port_no ={port} tag_mode ={mode} temp = {vlan} temp_scd = {second}\r\n");
}
std::int32_t set_service(const Values& in) {
    return igmp_port_vlan_and_mode_set(in.s32("port"), in.s32("mode"), in.s32("vlan"),
                                       in.s32("second"));
}

// ---- Commands: ports and mode ------------------------------------------------------------------

std::int32_t set_fast_leave(std::uint32_t mode) {
    const Bytes word = be32(mode);
    std::copy(word.begin(), word.end(), mc_status_global + 14452);
    for (std::uint32_t port = 0; port <= 5; ++port) {
        if (omci_set_port_igmp_leave_mode(port, mode == 2 ? 1 : 0) != 0) {
            say_error("omci_set_port_igmp_leave_mode is error\r\n");
        }
    }
    return 0;
}

std::vector<Command> commands_of_ports_and_mode() {
    return {
        {.code = 1,
         .fields = {u8("mode", 8, 100)},
         .operation = [](const Values& in) { return omci_set_multicast_mode(in.u8("mode")); },
         .failure = fail("omci_set_multicast_mode")},
        // 1 and 2 are refused, all others are the same.
        {.code = 52,
         .fields = {u8("mode", 8, 3)},
         .operation =
             [](const Values& in) { return onu_std_omci_set_multicast_mode(in.u8("mode")); },
         .failure = fail("onu_std_omci_set_multicast_mode")},
        {.code = 2,
         .fields = {u8("port", 8, 4), u8("mode", 9, 0x81)},
         .operation =
             [](const Values& in) {
                 return omci_set_port_igmp_leave_mode(in.u8("port"), in.u8("mode"));
             },
         .failure = fail("SET_OMCI_PORT_IGMP_LEAVE_MODE")},
        {.code = 20,
         .fields = {u8("mode", 8, 0x81)},
         .operation = [](const Values& in) { return omci_set_igmp_leave_mode(in.u8("mode")); },
         .failure = fail("SET_IGMP_FAST_LEAVE")},
        {.code = 83,
         .fields = {u32("mode", 8, 2)},
         .operation = [](const Values& in) { return set_fast_leave(in.u32("mode")); },
         .trace = config("SET_IGMP_FAST_LEAVE_MODE {mode}\r\n")},
        {.code = 3,
         .fields = {u8("port", 8, 4), u16("limit", 9, 0x8102)},
         .operation =
             [](const Values& in) {
                 return omci_set_port_igmpgroup_limit(in.u8("port"), in.u16("limit"));
             },
         .failure = fail("omci_set_port_igmpgroup_limit")},
        {.code = 56,
         .fields = {u8("port", 8, 4), u16("limit", 9, 0x8102)},
         .operation =
             [](const Values& in) {
                 return onu_std_omci_set_port_igmpgroup_limit(in.u8("port"), in.u16("limit"));
             },
         .trace = config("STD_OMCI_MAX_GROUP_NUM std_omci_port = {port} std_omci_max_grp = "
                         "{limit}\r\n"),
         .failure = fail("onu_std_omci_set_port_igmpgroup_limit")},
        {.code = 57,
         .fields = {u8("port", 8, 4), u8("enable", 9, 0x87), u32("bandwidth", 10, kWord),
                    u16("extra", 14, 0x8506)},
         .operation =
             [](const Values& in) {
                 return onu_std_max_multi_bandwidth_limit(in.u8("port"), in.u8("enable"),
                                                          in.u32("bandwidth"), in.u16("extra"));
             },
         .trace = config("STD_MAX_MULTI_BANDWIDTH_LIMIT std_omci_port = {port} std_omci_grp_enable "
                         "= {enable} imputed_bandwidth = {bandwidth}\r\n"),
         .failure = fail("onu_std_max_multi_bandwidth_limit"),
         .goes_wrong = lose_port_4},
        // Only the VIDs are used; the TCIs are traced. Never fails.
        {.code = 13,
         .fields = {u8("port", 8, 4), u16("outer_tci", 9, 0x8111), u16("outer_vid", 11, 0x8222),
                    u16("inner_tci", 13, 0x8333), u16("inner_vid", 15, 0x8444),
                    u16("down", 17, 0x8555)},
         .operation =
             [](const Values& in) {
                 return igmp_adapt_set_sig_vlan(in.u8("port"), in.u16("outer_vid"),
                                                in.u16("inner_vid"), in.u16("down"));
             },
         .trace = config("OMCI_SET_PORT_UP_IGMP_VLAN outer_vlan.tci ={outer_tci} outer_vlan.vid "
                         "={outer_vid} inner_vlan.tci ={inner_tci} inner_vlan.vid "
                         "={inner_vid}\r\n")},
        // Fails for a bad port alone.
        {.code = 12,
         .fields = {u8("port", 8, 4), u8("type", 9, 2)},
         .operation =
             [](const Values& in) {
                 return omci_clear_igmp_parmeter(in.u8("port"), in.u8("type"));
             },
         .given = [] { omci_set_port_igmpgroup_limit(4, 7); }},
        {.code = 64,
         .operation = [](const Values& /*in*/) { return omci_clear_igmp_all_parmeter(); },
         .given = [] { omci_set_port_igmp_leave_mode(4, 1); }},
        {.code = 85,
         .fields = {u32("port", 8, kWord)},
         .operation = [](const Values& in) { return igmp_adapt_set_test_uplink(in.s32("port")); }},
        // What is stored is also the result.
        {.code = 114,
         .fields = {u32("value", 8, 0)},
         .operation = [](const Values& in) { return igmp_set_table_return(in.s32("value")); }},
    };
}

// ---- Commands: protocol parameters -------------------------------------------------------------

std::vector<Command> commands_of_parameters() {
    return {
        // The query interval travels last and is passed second.
        {.code = 14,
         .fields = {u8("robustness", 9, 0x91), u16("max_response_time", 10, 0x8111),
                    u16("last_member_query_interval", 12, 0x8222),
                    u16("last_member_query_count", 14, 0x8333), u16("query_interval", 16, 0x8444)},
         .operation =
             [](const Values& in) {
                 return omci_set_igmp_global_parmeter(
                     in.u8("robustness"), in.u16("query_interval"), in.u16("max_response_time"),
                     in.u16("last_member_query_interval"), in.u16("last_member_query_count"));
             },
         .failure = fail("omci_set_igmp_global_parmeter")},
        {.code = 22,
         .fields = {u32("interval", 8, kWord)},
         .operation =
             [](const Values& in) {
                 globle_parm.general_member_interval = in.u32("interval");
                 return push_stored_parameters();
             },
         .failure = fail("omci_set_igmp_global_parmeter")},
        {.code = 97,
         .fields = {u8("robustness", 8, 0x87)},
         .operation = [](const Values& in) { return omci_set_para_rv_globle(in.u8("robustness")); },
         .trace = config("SET_IGMP_VARIABLE {robustness} \r\n"),
         .failure = error(" SET_IGMP_VARIABLE is error ret = {result}\r\n")},
        {.code = 98,
         .fields = {u16("interval", 8, 0x8203)},
         .operation = [](const Values& in) { return omci_set_para_qi_globle(in.u16("interval")); },
         .trace = config("SET_IGMP_INTERVAL {interval} \r\n"),
         .failure = error(" SET_IGMP_INTERVAL is error ret = {result}\r\n")},
        {.code = 99,
         .fields = {u16("interval", 8, 0x8203)},
         .operation = [](const Values& in) { return omci_set_para_qri_globle(in.u16("interval")); },
         .trace = config("SET_IGMP_INTERVAL {interval} \r\n"),
         .failure = error(" SET_IGMP_RESPONSE_INTERVAL is error ret = {result}\r\n")},
        {.code = 100,
         .fields = {u16("interval", 8, 0x8203)},
         .operation =
             [](const Values& in) { return omci_set_para_lmqi_globle(in.u16("interval")); },
         .trace = config("SET_IGMP_INTERVAL {interval} \r\n"),
         .failure = error(" SET_IGMP_QUERY_INTERVAL is error ret = {result}\r\n")},
        {.code = 101,
         .fields = {u16("count", 8, 0x8203)},
         .operation = [](const Values& in) { return omci_set_para_lmqc_globle(in.u16("count")); },
         .trace = config("SET_IGMP_QUERY_COUNT {count} \r\n"),
         .failure = error(" SET_IGMP_QUERY_COUNT is error ret = {result}\r\n")},
        {.code = 102,
         .fields = {u8("enable", 8, 0x87)},
         .operation = [](const Values& in) { return igmp_aging_function_set(in.u8("enable")); },
         .trace = config("SET_IGMP_VARIABLE {enable} \r\n"),
         .failure = error(" SET_IGMP_AGING is error {result}\r\n")},
        {.code = 115,
         .fields = {u8("enable", 8, 0x87)},
         .operation = [](const Values& in) { return mld_pack_set_age_switch(in.u8("enable")); },
         .trace = config("SET_MLD_VARIABLE {enable} \r\n"),
         .failure = error(" SET_MLD_AGING is error {result}\r\n")},
        {.code = 27,
         .fields = {u8("version", 8, 2)},
         .operation =
             [](const Values& in) { return omci_igmp_version_globle_set(in.u8("version")); },
         .failure = fail("omci_igmp_version_globle_set")},
        {.code = 28,
         .fields = {u32("address", 8, kWord)},
         .operation = [](const Values& in) { return igmp_globle_proxyip_set(in.u32("address")); },
         .failure = error(" igmp_globle_proxyip_set is error ret = {result}\r\n")},
        {.code = 29,
         .fields = {u32("start", 8, kWord), u32("end", 12, kWord2)},
         .operation =
             [](const Values& in) {
                 return omci_igmp_ssm_ip_globle_set(in.u32("start"), in.u32("end"));
             },
         .failure = fail("omci_igmp_ssm_ip_globle_set")},
        {.code = 30,
         .fields = {u32("w0", 8, kWord), u32("w1", 12, kWord2), u32("w2", 16, kWord3),
                    u32("w3", 20, kWord4), u32("w4", 24, kWord5), u32("w5", 28, kWord6)},
         .unused = {"w5"},
         .operation =
             [](const Values& in) {
                 return omci_igmp_ssm_map_globle_set(in.u32("w0"), in.u32("w1"), in.u32("w2"),
                                                     in.u32("w3"), in.u32("w4"));
             },
         .failure = fail("omci_igmp_ssm_map_globle_set")},
    };
}

// ---- Commands: VLANs ---------------------------------------------------------------------------

std::vector<Command> commands_of_vlans() {
    return {
        // Its result is that of putting the old default back into the core's list.
        {.code = 4,
         .fields = {u16("vlan", 8, 0x8FED)},
         .operation = [](const Values& in) { return omci_set_igmp_default_vlan(in.u16("vlan")); },
         .trace = config("vlan_id = {vlan} !\n"),
         .failure = fail("omci_set_igmp_default_vlan"),
         .given = [] { given_vlans<Igmp>({MC_DEFAULT_VLAN}); }},
        {.code = 5,
         .fields = {u8("enable", 8, 0x81)},
         .operation =
             [](const Values& in) { return omci_set_igmp_dynamic_enable(in.u8("enable")); },
         .failure = fail("omci_set_igmp_dynamic_enable")},
        {.code = 32,
         .fields = {u16("first", 8, 0xFFFE), u16("last", 10, 1)},
         .operation =
             [](const Values& in) {
                 const std::uint16_t first = in.u16("first");
                 const std::uint16_t last = in.u16("last");
                 igmp_vlan_add(first);
                 for (std::uint16_t vlan = first; vlan != last; ++vlan) igmp_vlan_add(vlan);
                 return igmp_vlan_add(last);
             },
         .trace = config("vlan_id {first} !\n") + config("port {last} !\n"),
         .failure = fail("ADD_IGMP_VLAN")},
        {.code = 33,
         .fields = {u16("vlan", 8, 0xFEDC)},
         .operation = [](const Values& in) { return igmp_vlan_del(in.u16("vlan")); },
         .trace = config("DEL_IGMP_VLAN vlan_id = {vlan}\r\n"),
         .failure = fail("ADD_IGMP_VLAN")},
        {.code = 34,
         .operation = [](const Values& /*in*/) { return igmp_vlan_del_all(); },
         .failure = fail("ADD_IGMP_VLAN")},
        {.code = 16,
         .fields = service_request(),
         .operation =
             [](const Values& in) {
                 return igmp_service_remove_port_config(in.s32("port"), in.s32("mode"),
                                                        in.s32("vlan"), in.s32("second"));
             },
         .trace = service_trace("SET_IGMP_SER_REMV_PORT_CONFIG"),
         .failure = fail("igmp_service_remove_port_config"),
         .given = [] { set_service(Values(service_request())); },
         .goes_wrong = lose_port_4},
        {.code = 17,
         .fields = service_request(),
         .operation = set_service,
         .trace = service_trace("SET_IGMP_PORT_VLAN_MODE"),
         .failure = fail("SET_IGMP_PORT_VLAN_MODE"),
         .goes_wrong = lose_port_4},
        // The set keeps the flag of the slot.
        {.code = 50,
         .fields = rule_request(),
         .unused = {"rule_flag"},
         .operation = set_rule,
         .failure = fail("onu_std_omci_set_multicast_vlan"),
         .given = take_rules_as_given,
         .goes_wrong = lose_port_4},
        {.code = 51,
         .fields = rule_request(),
         .unused = {"rule_flag"},
         .operation =
             [](const Values& in) {
                 Rule rule = rule_in(in);
                 return onu_std_omci_delete_multicast_vlan(&rule);
             },
         .failure = fail("onu_std_omci_delete_multicast_vlan"),
         .given = given_the_rule,
         .goes_wrong = lose_port_4},
        // The upstream half follows from the downstream half.
        {.code = 110,
         .fields = rule_request(),
         .unused = {"prouptagmode", "in_up_vlan", "out_up_vlan", "rule_flag"},
         .operation =
             [](const Values& in) {
                 Rule rule = rule_in(in);
                 const std::int32_t result = onu_std_omci_web_set_vlan(&rule);
                 if (result != 0) say(kWebReport);
                 return result;
             }},
    };
}

// ---- Commands: authorised groups ---------------------------------------------------------------

// The operations do not use the last byte.
Fields private_group() {
    return {u32("group", 8, 0xEF818203), u16("vlan", 12, 0xFEDC), u8("extra", 14, 0x87)};
}

std::vector<Command> commands_of_authorisation() {
    return {
        {.code = 6,
         .fields = private_group(),
         .unused = {"extra"},
         .operation =
             [](const Values& in) {
                 return omci_add_auth_igmp_group_vlan_config(in.u32("group"), in.u16("vlan"),
                                                             in.u8("extra"));
             },
         .trace = config("ADD_OMCI_AUTH_IGMP_GROUP_VLAN_CONFIG vlan_id ={vlan}\r\n"),
         .failure = fail("omci_add_auth_igmp_group_vlan_config")},
        {.code = 7,
         .fields = private_group(),
         .unused = {"extra"},
         .operation =
             [](const Values& in) {
                 return omci_delete_auth_igmp_group_vlan_config(in.u32("group"), in.u16("vlan"),
                                                                in.u8("extra"));
             },
         .trace = config("DEL_OMCI_AUTH_IGMP_GROUP_VLAN_CONFIG vlan_id ={vlan}\r\n"),
         .failure = fail("omci_delete_auth_igmp_group_vlan_config")},
        // Never fails.
        {.code = 8,
         .operation =
             [](const Values& /*in*/) { return omci_clear_all_auth_igmp_group_vlan_config(); }},
        {.code = 9,
         .fields = {u16("port", 8, 0x8203), u8("add_delete", 10, 0x81), u16("vlan", 11, 0xFEDC),
                    u32("start", 13, 0xEF8182FF), u32("end", 17, 0xEF818301)},
         .operation =
             [](const Values& in) {
                 return omci_set_port_to_control_multicast_list_table(
                     in.u16("port"), in.u8("add_delete"), in.s16("vlan"), in.u32("start"),
                     in.u32("end"));
             },
         .trace = config("SET_OMCI_PORT_TO_CONTROL_MULTICAST_LIST_TABLE port = {port} add_delete = "
                         "{add_delete} vlan_id = {vlan:s}             multi_range_start = {start} "
                         "multi_range_end  = {end}\r\n"),
         .failure = fail("omci_set_port_to_control_multicast_list_table")},
        {.code = 53,
         .fields = group_range(),
         .operation = add_range,
         .trace = range_trace("STD_OMCI_ADD_AUTH_IGMP_GROUP"),
         .failure = fail("onu_std_omci_add_auth_igmp_group_vlan_config"),
         .goes_wrong = lose_port_4},
        {.code = 54,
         .fields = group_range(),
         .operation =
             [](const Values& in) {
                 return onu_std_omci_delete_auth_igmp_group_vlan_config(
                     in.u8("port"), in.u32("start"), in.u32("end"), in.u32("bandwidth"),
                     in.u16("vlan"));
             },
         .trace = range_trace("STD_OMCI_DEL_AUTH_IGMP_GROUP"),
         .failure = fail("onu_std_omci_delete_auth_igmp_group_vlan_config"),
         .given = given_the_range},
        {.code = 55,
         .fields = {u8("port", 8, 4)},
         .operation =
             [](const Values& in) {
                 return onu_std_omci_clear_port_all_auth_igmp_group_vlan_config(in.u8("port"),
                                                                                65535);
             },
         .trace = config("STD_OMCI_CLEAR_ALL_AUTH_IGMP_GROUP std_omci_port = {port}\r\n"),
         .failure = fail("onu_std_omci_clear_port_all_auth_igmp_group_vlan_config"),
         .given = given_the_range},
        // The failure text names the standard variant.
        {.code = 88,
         .fields = group_range(),
         .operation =
             [](const Values& in) {
                 return onu_omci_add_auth_igmp_group_vlan_config(in.u8("port"), in.u32("start"),
                                                                 in.u32("end"), in.u32("bandwidth"),
                                                                 in.u16("vlan"));
             },
         .trace = range_trace("OMCI_ADD_AUTH_IGMP_GROUP"),
         .failure = fail("onu_std_omci_add_auth_igmp_group_vlan_config"),
         .goes_wrong = lose_port_4},
        // The core takes the low byte of the port.
        {.code = 87,
         .fields = {u16("port", 8, 0x8203), u8("enable", 10, 0x87)},
         .operation =
             [](const Values& in) {
                 return igmp_if_grp_range_auth_enable(static_cast<std::uint8_t>(in.u16("port")),
                                                      in.u8("enable"));
             },
         .trace = config("SET_OMCI_IGMP_RANGE_AUTH {port},{enable} \r\n"),
         .failure = error(" SET_OMCI_IGMP_RANGE_AUTH is error ret = {result}\r\n")},
        // OAM counts ports from 1; the trace shows one less than the record holds.
        {.code = 84,
         .fields = {u8("add_delete", 8, 0x87), u16("port", 9, 0x8203), u16("vlan", 11, 0x8304),
                    u32("word", 13, kWord), u8("byte_a", 17, 0x95), u8("byte_b", 18, 0x96)},
         .operation =
             [](const Values& in) {
                 IgmpOamControl rest = {
                     .word = in.u32("word"), .byte_a = in.u8("byte_a"), .byte_b = in.u8("byte_b")};
                 const auto port = static_cast<std::uint16_t>(in.u16("port") - 1);
                 return igmp_oam_control_2(in.u8("add_delete"), port, in.u16("vlan"), &rest);
             },
         .trace = config("MC_OAM_SET_CONTROL_2 add_delete  = {add_delete} port_no  = 33282 vlan_id "
                         " = {vlan}\r\n"),
         .failure = fail("MC_OAM_SET_CONTROL_2")},
    };
}

// ---- Commands: show and test -------------------------------------------------------------------

Fields vlan_display() {
    return {u16("vlan", 8, 0x8203), u32("port", 10, kWord), u16("flag", 14, 0x8506)};
}
std::int32_t show_vlan(const Values& in) {
    return igmp_show_vlan_config(in.u32("port"), in.u16("vlan"), in.u16("flag"));
}
std::string display_trace(const std::string& name) {
    return config(name + " vlan_id = {vlan} port_no = {port} flag = {flag}\r\n");
}

Fields tested_port() { return {u32("port", 8, kWord), u16("vlan", 12, 0x8506)}; }

template <std::int32_t (*kShow)()>
std::int32_t only(const Values& /*in*/) {
    return kShow();
}

std::vector<Command> commands_that_show() {
    return {
        {.code = 35, .operation = only<igmp_display_all_group>},
        {.code = 36,
         .fields = {u32("group", 8, kWord)},
         .operation = [](const Values& in) { return igmp_display_special_group(in.u32("group")); }},
        {.code = 39,
         .operation =
             [](const Values& /*in*/) {
                 say(configuration(ten_empty_entries()));
                 return 0;
             }},
        {.code = 66,
         .fields = vlan_display(),
         .operation = show_vlan,
         .trace = display_trace("STD_IGMP_DEBUG_SHOW_VLAN")},
        {.code = 96,
         .fields = vlan_display(),
         .operation = show_vlan,
         .trace = display_trace("SHOW_VLAN")},
        {.code = 67, .operation = only<show_igmp_all_proxy_group>},
        {.code = 68,
         .fields = {u32("group", 8, kWord)},
         .operation =
             [](const Values& in) { return show_igmp_special_proxy_group(in.u32("group")); }},
        {.code = 69, .operation = only<igmp_show_vlan_instance>},
        {.code = 70, .operation = only<show_igmpv3_globle>},
        {.code = 71, .operation = only<show_igmp_packet_statistic>},
        {.code = 72, .operation = only<show_igmp_if_list>},
        {.code = 73, .operation = only<igmp_timer_show_api>},
        {.code = 74, .operation = only<igmp_auth_group_show_api>},
        {.code = 80,
         .fields = {u8("port", 8, 0x87)},
         .operation = [](const Values& in) { return igmp_if_show_if_cfg(in.u8("port")); },
         .failure = error("test igmp_if_show_if_cfg error({result})\r\n")},
        {.code = 81,
         .fields = {u8("port", 8, 0x87)},
         .operation = [](const Values& in) { return igmp_if_show_if_status(in.u8("port")); },
         .failure = error("test igmp_if_show_if_status error({result})\r\n")},
        {.code = 82,
         .fields = {u8("port", 8, 0x87), u32("group", 9, kWord)},
         .operation =
             [](const Values& in) {
                 return igmp_if_show_auth_group_cfg(in.u8("port"), in.u32("group"));
             },
         .trace = config("portno = {port} grp_addr = 0x{group:x}\r\n"),
         .failure = error("test igmp_if_show_auth_group_cfg error({result})\r\n")},
        {.code = 103, .operation = only<pal_mem_show>},
        {.code = 104, .operation = only<pal_mem_reset>},
        {.code = 105,
         .fields = {u32("type", 8, kWord)},
         .operation = [](const Values& in) { return pal_mtype_show(in.u32("type")); },
         .trace = config("SHOW_MEMORY_TYPE  {type} \r\n"),
         .failure = error(" pal_mtype_show is error ret = {result}\r\n")},
        {.code = 106,
         .fields = {u32("first", 8, kWord), u32("last", 12, kWord2)},
         .operation =
             [](const Values& in) {
                 return pal_mrecord_range_set(in.u32("first"), in.u32("last"));
             },
         .trace = config("SET_MEMORY_TYPE_RANGE {first} {last}\r\n")},
        {.code = 111,
         .operation =
             [](const Values& /*in*/) {
                 mld_unpack_show_mld_sys(0);
                 mld_unpack_show_mld_thread(0);
                 mld_unpack_show_vlan_global(0);
                 return mld_show_if_list();
             }},
        {.code = 78,
         .fields = {u8("port", 8, 4)},
         .operation = [](const Values& in) { return igmp_hal_sync_if_status(in.u8("port")); },
         .failure = fail("igmp_hal_sync_if_status"),
         .given = [] { set_port_status(counted_bytes(16)); },
         .goes_wrong = [] { answer("igmp_if_gather_if_status", 0); }},
        {.code = 79,
         .operation = [](const Values& /*in*/) { return igmp_hal_sync_grp_infor(255); },
         .failure = fail("igmp_hal_sync_grp_inform"),
         .given = [] { set_group_dump(Bytes(4 + 512 * 25, 1)); },
         .goes_wrong = [] { answer("igmp_gather_grp_info", 0); }},
        // The core is asked for the time of the first frame alone.
        {.code = 40,
         .fields = {u8("port", 8, 4)},
         .operation =
             [](const Values& in) { return igmpL2PktProc(jion_buffer, 68, in.u8("port")); },
         .failure = error("test igmpL2PktProc error\r\n"),
         .given = [] { igmpL2PktProc(jion_buffer, 68, 4); }},
        {.code = 76,
         .fields = tested_port(),
         .operation =
             [](const Values& in) {
                 return test_igmp_report_v2_l3(static_cast<std::uint16_t>(in.u32("port")),
                                               in.u16("vlan"));
             },
         .trace = config("SET_IGMP_LEAVE_TEST port_no = {port} vlan_id = {vlan}\r\n")},
        {.code = 77,
         .fields = tested_port(),
         .operation =
             [](const Values& in) {
                 return test_igmp_leave_v2_l3(static_cast<std::uint16_t>(in.u32("port")),
                                              in.u16("vlan"));
             },
         .trace = config("SET_IGMP_LEAVE_TEST port_no = {port} vlan_id = {vlan}\r\n")},
    };
}

// ---- Commands: traces --------------------------------------------------------------------------

// Bit 0x08 on both sides: sent frames.
std::int32_t toggle_sent_frames() {
    mc_debug ^= 0x08;
    say("[mc_set_debug]: result: 0x" + hexadecimal(mc_debug) + ".\r\n");
    mld_debug ^= 0x08;
    return 0;
}

Fields traced_vlan() { return {u16("vlan", 8, 0x8203), u8("selector", 10, 0x97)}; }

std::vector<Command> commands_of_traces() {
    return {
        {.code = 37,
         .fields = {u32("value", 8, 0x8001FEDC), u8("selector", 12, 7),
                    u8("sub_selector", 13, 0x69)},
         .operation =
             [](const Values& in) {
                 return igmp_dbg_set(static_cast<std::uint16_t>(in.u32("value")),
                                     in.u8("selector"));
             }},
        {.code = 75,
         .fields = {u8("enable", 8, 0x87)},
         .operation = [](const Values& in) { return igmp_warn_printf_set(in.u8("enable")); }},
        {.code = 86,
         .fields = {u32("offset", 8, 4), u32("enable", 12, 0x80000000)},
         .operation = [](const Values& /*in*/) { return toggle_sent_frames(); },
         .trace = config("SET_IGMP_PROT_DEBUG offset = {offset} port_no = {enable}\r\n")},
        {.code = 89,
         .fields = traced_vlan(),
         .operation =
             [](const Values& in) { return igmp_dbg_set(in.u16("vlan"), in.u8("selector")); },
         .trace = config("DEBUG_IGMP_VLAN {vlan},{selector} \r\n")},
        {.code = 90,
         .fields = traced_vlan(),
         .operation =
             [](const Values& in) { return igmp_dbg_unset(in.u16("vlan"), in.u8("selector")); },
         .trace = config("NO_DEBUG_IGMP_VLAN {vlan}, {selector} \r\n")},
        {.code = 91,
         .fields = {u32("level", 8, kWord)},
         .operation = [](const Values& in) { return igmp_set_debug_level(in.u32("level"), 1); },
         .trace = config("DEBUG_IGMP_LEVEL  {level} \r\n"),
         .failure = error(" DEBUG_IGMP_LEVEL is error ret = {result}\r\n")},
        {.code = 92,
         .fields = {u32("level", 8, kWord)},
         .operation = [](const Values& in) { return igmp_set_debug_level(in.u32("level"), 0); },
         .trace = config("NO_DEBUG_IGMP_LEVEL  {level} \r\n"),
         .failure = error(" NO_DEBUG_IGMP_LEVEL is error ret = {result}\r\n")},
        {.code = 93,
         .fields = {u32("switch", 8, kWord), u16("port", 12, 0x8203)},
         .operation =
             [](const Values& in) {
                 if (const std::int32_t ret = igmp_set_debug_pkt_port(in.u16("port")); ret != 0) {
                     say_error(
                         told(" igmp_set_debug_pkt_port is error ret = {result}\r\n", {}, ret));
                 }
                 return igmp_set_debug_switch(in.u32("switch"), 1);
             },
         .trace = config("DEBUG_IGMP  {switch}  {port}\r\n"),
         .failure = error(" igmp_set_debug_switch is error ret = {result}\r\n")},
        {.code = 94,
         .fields = {u32("switch", 8, kWord)},
         .operation = [](const Values& in) { return igmp_set_debug_switch(in.u32("switch"), 1); },
         .trace = config("OTHER_DEBUG_IGMP {switch} \r\n"),
         .failure = error(" OTHER_DEBUG_IGMP is error ret = {result}\r\n")},
        {.code = 95,
         .fields = {u32("switch", 8, kWord)},
         .operation =
             [](const Values& in) {
                 igmp_set_debug_switch(in.u32("switch"), 0);
                 return igmp_set_debug_pkt_port(65534);
             },
         .trace = config("NO_ALL_DEBUG_IGMP {switch} \r\n")},
        {.code = 112,
         .fields = {u32("on", 8, 1)},
         .operation = [](const Values& /*in*/) { return mld_set_mld_debug_port(255); },
         .trace = config("SET_MLD_PROT_DEBUG offset = {on}.\r\n")},
        {.code = 113,
         .fields = {u32("on", 8, 1), u32("port", 12, kWord)},
         .operation = [](const Values& in) { return mld_set_mld_debug(255, in.u32("port")); },
         .trace = config("SET_MLD_DEBUG offset = {on} port_no = {port}\r\n")},
    };
}

// ---- All of them -------------------------------------------------------------------------------

// Up to the last one, and two behind it.
constexpr std::uint32_t kCodesTried = 118;
// Codes that no command has.
constexpr std::uint32_t kHoles[] = {0,  10, 11, 15, 18, 19,  21,  23,  24,  25, 26, 31,
                                    38, 41, 42, 43, 44, 45,  46,  47,  48,  49, 58, 59,
                                    60, 61, 62, 63, 65, 107, 108, 109, 116, 117};

const std::vector<Command>& commands() {
    static const std::vector<Command> all = [] {
        std::vector<Command> rows;
        for (const auto part :
             {commands_of_ports_and_mode, commands_of_parameters, commands_of_vlans,
              commands_of_authorisation, commands_that_show, commands_of_traces}) {
            for (const Command& command : part()) rows.push_back(command);
        }
        return rows;
    }();
    return all;
}

// The command as it is told above. A hole only complains.
Command command_of(std::uint32_t code) {
    for (const Command& command : commands()) {
        if (command.code == code) return command;
    }
    return {.code = code, .operation = [code](const Values& /*in*/) {
                say_error("msgid(" + number(code) + ") is not missing!\r\n");
                return 0;
            }};
}

bool is_hole(std::uint32_t code) {
    return std::count(std::begin(kHoles), std::end(kHoles), code) != 0;
}

// What the command amounts to, by hand. Whatever is given in front of it is set already.
std::int32_t act_out(const Command& command) {
    if ((mc_debug & kCfg) != 0) say(told(command.trace, command.fields));
    const std::int32_t result = command.operation(Values(command.fields));
    if (result != 0 && (mc_debug & kErr) != 0) say(told(command.failure, command.fields, result));
    return result;
}

void run_command(const Command& command) { run_record(record_of(command.code, command.fields)); }

class Commands : public OmciTest {};

class EachCode : public Commands, public ::testing::WithParamInterface<std::uint32_t> {};
INSTANTIATE_TEST_SUITE_P(All, EachCode, ::testing::Range(0u, kCodesTried),
                         [](const auto& code) { return "Code" + std::to_string(code.param); });

TEST_F(Commands, AreEachToldOnceOrAreNone) {
    std::vector<std::uint32_t> codes(std::begin(kHoles), std::end(kHoles));
    for (const Command& command : commands()) codes.push_back(command.code);
    std::sort(codes.begin(), codes.end());
    std::vector<std::uint32_t> tried(kCodesTried);
    std::iota(tried.begin(), tried.end(), 0u);
    EXPECT_EQ(codes, tried);
}

TEST_F(Commands, AreToldAboveIfTheDispatcherKnowsThem) {
    for (std::uint32_t code = 0; code < kBehindAllCodes; ++code) {
        const auto is_this = [code](const Command& command) { return command.code == code; };
        EXPECT_EQ(std::any_of(commands().begin(), commands().end(), is_this), is_known(code))
            << code;
    }
}

// ---- The fields --------------------------------------------------------------------------------

// All that shows of a command whose fields hold these values.
Outcome shown(const World& from, std::uint32_t code, const Fields& fields) {
    return outcome(from, 0xFFFFFFFF, [&] { run_record(record_of(code, fields)); });
}

bool is_unused(const Command& command, const Field& field) {
    return std::count(command.unused.begin(), command.unused.end(), field.name) != 0;
}

TEST_F(Commands, HaveFieldsThatShareNoByteAndNoValue) {
    for (const Command& command : commands()) {
        SCOPED_TRACE(command.code);
        std::vector<bool> taken(MC_RECORD_SIZE);
        std::vector<std::uint32_t> values;
        std::vector<std::string> names;
        for (const Field& field : command.fields) {
            EXPECT_GE(field.offset, 8u) << field.name;
            for (std::size_t i = 0; i < field.width; ++i) {
                EXPECT_FALSE(taken.at(field.offset + i)) << field.name;
                taken.at(field.offset + i) = true;
            }
            EXPECT_THAT(values, Not(Contains(field.value))) << field.name;
            values.push_back(field.value);
            names.push_back(field.name);
        }
        EXPECT_THAT(command.unused, IsSubsetOf(names));
    }
}

// Otherwise a library that takes one field for another would pass.
TEST_P(EachCode, ShowsWhatStandsInEachOfItsFields) {
    const Command command = command_of(GetParam());
    if (command.given) command.given();
    const World from = World::now();
    const Outcome right = shown(from, command.code, command.fields);
    for (std::size_t i = 0; i < command.fields.size(); ++i) {
        Fields changed = command.fields;
        changed[i].value ^= 1;
        EXPECT_EQ(shown(from, command.code, changed) == right, is_unused(command, changed[i]))
            << changed[i].name;
        for (std::size_t j = 0; j < i; ++j) {
            Fields exchanged = command.fields;
            if (exchanged[i].width != exchanged[j].width) continue;
            if (is_unused(command, exchanged[i]) && is_unused(command, exchanged[j])) continue;
            std::swap(exchanged[i].value, exchanged[j].value);
            EXPECT_FALSE(shown(from, command.code, exchanged) == right)
                << exchanged[i].name << " and " << exchanged[j].name;
        }
    }
}

// ---- What a command does -----------------------------------------------------------------------

TEST_P(EachCode, AmountsToItsOperation) {
    const Command command = command_of(GetParam());
    if (command.given) command.given();
    const World from = World::now();
    for (const std::uint32_t mask : kMasks) {
        SCOPED_TRACE("mask " + std::to_string(mask));
        std::int32_t result = kFailure;
        const Outcome expected = outcome(from, mask, [&] { result = act_out(command); });
        expect_same(outcome(from, mask, [&] { run_command(command); }), expected);
        EXPECT_EQ(result, 0);
    }
    // Otherwise this would show nothing.
    const Outcome quiet = outcome(from, 0, [&] { run_command(command); });
    EXPECT_EQ(!is_hole(command.code),
              !quiet.calls.empty() || !(quiet.world == from) || !quiet.text.empty());
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
        expect_same(outcome(from, mask, [&] { run_command(command); }), expected);
        if (!command.failure.empty()) {
            EXPECT_NE(result, 0) << "nothing failed";
        }
    }
}

// Leaves the receive loop. No command above has this address.
constexpr std::uint32_t kLastAddress = 0x5E5F6061;

void post(const Bytes& record) {
    struct {
        long type;
        std::uint8_t text[MC_RECORD_TEXT];
    } message = {};
    message.type = record[3];
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
    post(record_of(command.code, command.fields));
    post(record_of(28, be32(kLastAddress)));
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
    const Bytes range = record_of(53, group_range());
    post_short(53, {range.begin() + 4, range.begin() + 23});
    post_short(54, be32(0) + Bytes{2, 0xEF});  // another port, the same range
    post_short(33, be32(0) + Bytes{0x7E});     // half a VLAN in front of the range's start
    post_short(28, {});
    EXPECT_EQ(
        said(mc_debug, 0, [] { EXPECT_TRUE(run_until_left([] { recv_igmp_interface_msg(); })); }),
        "[onu_std_omci_delete_auth_igmp_group_vlan_config]: group-vlan cfg in port 2 no item "
        "to del.\r\n");
    EXPECT_THAT(
        calls(),
        ElementsAre(call("igmp_if_add_auth_group_cfg", 4, 0xEF818203, 0xEF91A2B3, kWord, 0xFEDC),
                    call("igmp_if_grp_range_auth_enable", 4, 1),
                    call("igmp_if_delete_auth_group_cfg", 2, 0xEF818203, 0xEF91A2B3, kWord, 0xFEDC),
                    call("igmp_vlan_del", 0x7EEF), call("igmp_globle_proxyip_set", 0x7EEF8182)));
}

}  // namespace
