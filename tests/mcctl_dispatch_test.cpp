// From the words of mcctl to the neighbours: every command goes over a real queue to the receive
// loop, and what is asked of the neighbours behind it, or stands in the records, is told by hand.
#include <gmock/gmock.h>
#include <sys/ipc.h>
#include <sys/msg.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <functional>
#include <ostream>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "adapt/records.h"
#include "adapt/status_segment.h"
#include "command/command.h"
#include "command/config_commands.h"
#include "tests/support/commands.h"
#include "tests/support/console.h"
#include "tests/support/frames.h"
#include "tests/support/neighbours.h"
#include "tests/support/vlan_rules.h"
#include "tools/command_line.h"
#include "tools/command_table.h"
#include "tools/values.h"
#include "vlan/vlan.h"

namespace {

using namespace mc_test;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;

// ---- How a command is told ---------------------------------------------------------------------

// A value of a command: how it is typed, and the number that it means at the far end.
struct Value {
    std::string name;
    std::string typed;
    std::uint32_t number;
};

Value number_of(const char* name, std::uint32_t value) {
    return {name, std::to_string(value), value};
}
Value group_of(const char* name, const char* address) {
    return {name, address, ipv4_number(address)};
}

// The numbers of a row by the names of its values. It knows which of them were looked at.
class Numbers {
 public:
    explicit Numbers(const std::vector<Value>& values) : values_(values) {}

    std::uint32_t operator[](const std::string& name) const {
        seen_.insert(name);
        for (const Value& value : values_) {
            if (value.name == name) return value.number;
        }
        ADD_FAILURE() << "no value " << name;
        return 0;
    }

    // The text with {name} replaced by the number.
    std::string told(std::string text) const {
        for (const Value& value : values_) {
            const std::string name = "{" + value.name + "}";
            for (auto at = text.find(name); at != std::string::npos; at = text.find(name)) {
                text.replace(at, name.size(), std::to_string(value.number));
                seen_.insert(value.name);
            }
        }
        return text;
    }

    std::vector<std::string> not_seen() const {
        std::vector<std::string> names;
        for (const Value& value : values_) {
            if (!seen_.contains(value.name)) names.push_back(value.name);
        }
        return names;
    }

 private:
    std::vector<Value> values_;
    mutable std::set<std::string> seen_;
};

using Look = std::function<void(const Numbers&)>;

// {name} is the value as typed in the words, and its number in calls and in the trace.
struct Row {
    std::string words;
    std::vector<Value> values = {};
    std::vector<std::string> calls = {};
    std::string trace = {};              // a part of what is printed
    std::vector<std::string> lost = {};  // values that the library reads and does not use
    std::function<void()> given = {};
    Look then = {};  // into the records

    friend std::ostream& operator<<(std::ostream& out, const Row& row) { return out << row.words; }
};

std::string typed(const Row& row) {
    std::string line = row.words;
    for (const Value& value : row.values) {
        const std::string name = "{" + value.name + "}";
        const auto at = line.find(name);
        if (at == std::string::npos) ADD_FAILURE() << name << " is not among the words";
        if (at != std::string::npos) line.replace(at, name.size(), value.typed);
    }
    return line;
}

// ---- Commands ----------------------------------------------------------------------------------

std::vector<std::string> fast_leave_of_user_ports(const std::string& mode) {
    std::vector<std::string> all;
    for (int port = 0; port <= 5; ++port) {
        all.push_back("igmp_if_fast_leave_enable(" + std::to_string(port) + ", " + mode + ")");
    }
    return all;
}

std::vector<Row> commands_of_ports_and_mode() {
    return {
        {.words = "mode {mode}",
         .values = {{"mode", "control", 3}},
         .calls = {"igmp_mode_switch_globle({mode})"}},
        {.words = "mode standard 5",
         .calls = {"igmp_mode_switch_globle(1)"},
         .given = [] { proxy_adapt_mode = MC_MODE_CONTROL; },
         .then = [](const Numbers& /*in*/) { EXPECT_EQ(proxy_adapt_mode, MC_MODE_SNOOPING); }},
        {.words = "fast-leave --port {port} {state}",
         .values = {number_of("port", 4), {"state", "on", 1}},
         .calls = {"igmp_if_fast_leave_enable({port}, {state})"}},
        {.words = "fast-leave all {state}",
         .values = {{"state", "on", 2}},
         .calls = fast_leave_of_user_ports("1"),
         .then =
             [](const Numbers& in) {
                 const std::uint8_t* const word = mc_status_global + mc::kStatusFastLeave;
                 EXPECT_EQ(Bytes(word, word + 4), be32(in["state"]));
             }},
        {.words = "fast-leave global {state}",
         .values = {{"state", "on", 1}},
         .calls = {MC_PORTS, "igmp_fast_leave_enable_globle({state})"}},
        {.words = "group-limit --port {port} {limit}",
         .values = {number_of("port", 4), number_of("limit", 300)},
         .calls = {"igmp_if_max_group_num_set({port}, {limit})"}},
        {.words = "group-limit standard --port {port} {limit}",
         .values = {number_of("port", 4), number_of("limit", 300)},
         .calls = {"igmp_if_max_group_num_set({port}, {limit})"},
         .trace = "std_omci_port = {port} std_omci_max_grp = {limit}"},
        {.words = "bandwidth-limit --port {port} {bandwidth} --enable {enable} --extra {extra}",
         .values = {number_of("port", 4),
                    number_of("bandwidth", 250000),
                    {"enable", "on", 1},
                    number_of("extra", 700)},
         .calls = {"igmp_if_max_bandwidth_set({port}, {enable}, {bandwidth}, {extra})"}},
        {.words = "clear port --port {port} group-limit",
         .values = {number_of("port", 4)},
         .calls = {"igmp_if_max_group_num_set({port}, 1024)"}},
        {.words = "clear all",
         .calls = {"igmp_vlan_del_all()", "igmp_default_vid_set(4088)",
                   "igmp_para_globle_set(2, 125, 10, 1, 2, 1)", "igmp_mode_switch_globle(1)",
                   "igmp_fast_leave_enable_globle(0)", "igmp_vlan_learning_set(0)",
                   "igmp_del_all_group()"},
         .given = [] { globle_parm.port[4].leavemod = 1; },
         .then = [](const Numbers& /*in*/) { EXPECT_EQ(globle_parm.port[4].leavemod, 0); }},
    };
}

// The rule in the first slot of a port of the IGMP side.
const Rule& first_rule(std::uint32_t port) { return PortVlanCfg[port][0]; }

std::vector<Row> commands_of_vlans() {
    return {
        {.words = "default-vlan {vlan}",
         .values = {number_of("vlan", 4001)},
         .calls = {"mld_api_set_default_vlan({vlan})", "igmp_default_vid_set({vlan})"},
         .then = [](const Numbers& in) { EXPECT_EQ(defaultVlan, in["vlan"]); }},
        {.words = "learning {state}",
         .values = {{"state", "on", 1}},
         .calls = {"igmp_vlan_learning_set({state})"}},
        {.words = "signalling-vlan --port {port} --outer-tci {outer_tci} --outer {outer} "
                  "--inner-tci {inner_tci} --inner {inner} --down {down}",
         .values = {number_of("port", 4), number_of("outer_tci", 601), number_of("outer", 602),
                    number_of("inner_tci", 603), number_of("inner", 604), number_of("down", 605)},
         .trace = "outer_vlan.tci ={outer_tci} outer_vlan.vid ={outer} inner_vlan.tci ={inner_tci} "
                  "inner_vlan.vid ={inner}",
         .then =
             [](const Numbers& in) {
                 EXPECT_EQ(globle_parm.port[in["port"]].sig_vlan, in["outer"]);
                 EXPECT_EQ(globle_parm.port[in["port"]].sig_vlan_a, in["inner"]);
                 EXPECT_EQ(globle_parm.port[in["port"]].sig_vlan_b, in["down"]);
             }},
        {.words = "vlan add --port {port} --mode {mode} --down-mode {down_mode} --data-mode "
                  "{data_mode} --up-in {up_in} --up-out {up_out} --down-in {down_in} --down-out "
                  "{down_out} --data-in {data_in} --data-out {data_out}",
         .values = {number_of("port", 4),
                    {"mode", "tag", 1},
                    {"down_mode", "translate", 2},
                    {"data_mode", "untag", 0},
                    number_of("up_in", 101),
                    number_of("up_out", 102),
                    number_of("down_in", 103),
                    number_of("down_out", 104),
                    number_of("data_in", 105),
                    number_of("data_out", 106)},
         .calls = {"L2_multicast_get_onu_id()", "igmp_vlan_add({data_in})"},
         .given = [] { flag_omci_version = 1; },  // rules are taken as they are
         .then =
             [](const Numbers& in) {
                 const Rule& rule = first_rule(4);
                 EXPECT_EQ(rule.portNO, static_cast<int>(in["port"]));
                 EXPECT_EQ(rule.prouptagmode, static_cast<int>(in["mode"]));
                 EXPECT_EQ(rule.in_up_vlan, in["up_in"]);
                 EXPECT_EQ(rule.out_up_vlan, in["up_out"]);
                 EXPECT_EQ(rule.prodntagmode, static_cast<int>(in["down_mode"]));
                 EXPECT_EQ(rule.in_dn_vlan, in["down_in"]);
                 EXPECT_EQ(rule.out_dn_vlan, in["down_out"]);
                 EXPECT_EQ(rule.datedntagmode, static_cast<int>(in["data_mode"]));
                 EXPECT_EQ(rule.in_data_vlan, in["data_in"]);
                 EXPECT_EQ(rule.out_data_vlan, in["data_out"]);
             }},
        // The trace shows the request: three modes and six VLANs, of which a delete has some.
        {.words = "vlan delete --port {port} --up-in {up_in} --data-in {data_in} --mode {mode} "
                  "--down-in {down_in} --down-out {down_out}",
         .values = {number_of("port", 4),
                    number_of("up_in", 101),
                    number_of("data_in", 105),
                    {"mode", "translate", 2},
                    number_of("down_in", 103),
                    number_of("down_out", 104)},
         .calls = {"igmp_vlan_del({data_in})"},
         .trace = "[onu_std_omci_delete_multicast_vlan] is in! port_index = {port}\n"
                  "\r\n[MC_DBG_DBG]: {mode}, {up_in}, 0, 0, {down_in}, {down_out}, 0, {data_in}, "
                  "0.\r\n",
         .given = [] { given_rules<Igmp>({simple_rule(4, 101, 105)}); },
         .then = [](const Numbers& /*in*/) { expect_rules<Igmp>(4, {}); }},
        {.words = "vlan web-set --port {port} --mode {mode} --data-mode {data_mode} --down-in "
                  "{down_in} --down-out {down_out} --data-in {data_in} --data-out {data_out}",
         .values = {number_of("port", 4),
                    {"mode", "translate", 2},
                    number_of("data_mode", 3),
                    number_of("down_in", 103),
                    number_of("down_out", 104),
                    number_of("data_in", 105),
                    number_of("data_out", 106)},
         .calls = {"igmp_vlan_learning_set(1)", "igmp_vlan_del(4095)", "igmp_vlan_add({data_in})"},
         .then =
             [](const Numbers& in) {
                 const Rule& rule = first_rule(4);
                 EXPECT_EQ(rule.portNO, static_cast<int>(in["port"]));
                 EXPECT_EQ(rule.prodntagmode, static_cast<int>(in["mode"]));
                 EXPECT_EQ(rule.datedntagmode, static_cast<int>(in["data_mode"]));
                 EXPECT_EQ(rule.in_dn_vlan, in["down_in"]);
                 EXPECT_EQ(rule.out_dn_vlan, in["down_out"]);
                 EXPECT_EQ(rule.in_data_vlan, in["data_in"]);
                 EXPECT_EQ(rule.out_data_vlan, in["data_out"]);
             }},
        {.words = "vlan service-set --port {port} --mode {mode} --vlan {vlan} --second-vlan "
                  "{second}",
         .values = {number_of("port", 4),
                    {"mode", "translate", 2},
                    number_of("vlan", 101),
                    number_of("second", 102)},
         .calls = {"L2_multicast_get_onu_id()", "igmp_vlan_add({second})"},
         .then =
             [](const Numbers& in) {
                 const Rule& rule = first_rule(4);
                 EXPECT_EQ(rule.portNO, static_cast<int>(in["port"]));
                 EXPECT_EQ(rule.prouptagmode, static_cast<int>(in["mode"]));
                 EXPECT_EQ(rule.in_up_vlan, in["vlan"]);
                 EXPECT_EQ(rule.out_up_vlan, in["second"]);
             }},
        {.words = "vlan service-remove --port {port} --mode {mode} --vlan {vlan} --second-vlan "
                  "{second}",
         .values = {number_of("port", 4),
                    {"mode", "translate", 2},
                    number_of("vlan", 101),
                    number_of("second", 102)},
         .calls = {"igmp_vlan_del({second})"},
         .trace = "port_no ={port} tag_mode ={mode} temp = {vlan} temp_scd = {second}",
         .given = [] { igmp_port_vlan_and_mode_set(4, 2, 101, 102); },
         .then = [](const Numbers& /*in*/) { expect_rules<Igmp>(4, {}); }},
        {.words = "core-vlan add {first} {last}",
         .values = {number_of("first", 101), number_of("last", 102)},
         .calls = {"igmp_vlan_add({first})", "igmp_vlan_add({first})", "igmp_vlan_add({last})"}},
        {.words = "core-vlan delete {vlan}",
         .values = {number_of("vlan", 101)},
         .calls = {"igmp_vlan_del({vlan})"}},
        {.words = "core-vlan delete-all", .calls = {"igmp_vlan_del_all()"}},
    };
}

std::vector<Row> commands_of_the_protocol() {
    return {
        {.words = "parameters --robustness {robustness} --query-interval {query_interval} "
                  "--response-interval {response_interval} --last-member-interval "
                  "{last_member_interval} --last-member-count {last_member_count}",
         .values = {number_of("robustness", 7), number_of("query_interval", 601),
                    number_of("response_interval", 602), number_of("last_member_interval", 603),
                    number_of("last_member_count", 604)},
         .calls = {"igmp_para_globle_set({robustness}, {query_interval}, {response_interval}, "
                   "{last_member_interval}, {last_member_count}, 9)"},
         .given = [] { globle_parm.general_member_interval = 9; }},
        {.words = "robustness {value}",
         .values = {number_of("value", 7)},
         .calls = {"igmp_para_rv_globle_set({value})"}},
        {.words = "query-interval {value}",
         .values = {number_of("value", 601)},
         .calls = {"igmp_para_qi_globle_set({value})"}},
        {.words = "response-interval {value}",
         .values = {number_of("value", 601)},
         .calls = {"igmp_para_qri_globle_set({value})"}},
        {.words = "last-member-interval {value}",
         .values = {number_of("value", 601)},
         .calls = {"igmp_para_lmqi_globle_set({value})"}},
        {.words = "last-member-count {value}",
         .values = {number_of("value", 601)},
         .calls = {"igmp_para_lmqc_globle_set({value})"}},
        {.words = "ageing {state}",
         .values = {{"state", "on", 1}},
         .calls = {"igmp_aging_function_set({state})"}},
        {.words = "ageing-interval {value}",
         .values = {number_of("value", 70000)},
         .calls = {"igmp_para_globle_set(2, 125, 10, 1, 2, {value})"}},
        {.words = "version {version}",
         .values = {number_of("version", 2)},
         .calls = {"igmp_version_globle_set({version})"}},
        {.words = "proxy-address {address}",
         .values = {group_of("address", "10.1.2.3")},
         .calls = {"igmp_globle_proxyip_set({address})"}},
        {.words = "ssm range {start} {end}",
         .values = {group_of("start", "232.1.2.3"), group_of("end", "232.4.5.6")},
         .calls = {"igmp_ssm_ip_globle_set({start}, {end})"}},
        {.words = "ssm map --word0 {w0} --word1 {w1} --word2 {w2} --word3 {w3} --word4 {w4}",
         .values = {group_of("w0", "232.1.2.3"), group_of("w1", "10.0.0.1"),
                    number_of("w2", 0x12345678), number_of("w3", 600), number_of("w4", 7)},
         .calls = {"igmp_ssm_map_change({{w0}, {w1}, {w2}, {w3}, {w4}})"}},
        {.words = "table-return {state}",
         .values = {{"state", "off", 0}},
         .then = [](const Numbers& in) { EXPECT_EQ(tablereturn, static_cast<int>(in["state"])); }},
        {.words = "mld ageing {state}",
         .values = {{"state", "on", 1}},
         .calls = {"mld_pack_set_age_switch({state})"}},
        {.words = "mld debug on --port {port}",
         .values = {number_of("port", 4)},
         .calls = {"mld_set_mld_debug(255, {port})"}},
        {.words = "mld debug-ports on", .calls = {"mld_set_mld_debug_port(255)"}},
    };
}

std::vector<Value> range_values() {
    return {number_of("port", 4), group_of("start", "239.1.2.3"), group_of("end", "239.4.5.6"),
            number_of("bandwidth", 70000), number_of("vlan", 101)};
}

std::vector<Row> commands_of_authorisation() {
    return {
        {.words = "auth add --port {port} --start {start} --end {end} --bandwidth {bandwidth} "
                  "--vlan {vlan}",
         .values = range_values(),
         .calls = {"igmp_if_add_auth_group_cfg({port}, {start}, {end}, {bandwidth}, {vlan})",
                   "igmp_if_grp_range_auth_enable({port}, 1)"}},
        {.words = "auth add-only --port {port} --start {start} --end {end} --bandwidth {bandwidth} "
                  "--vlan {vlan}",
         .values = range_values(),
         .calls = {"igmp_if_add_auth_group_cfg({port}, {start}, {end}, {bandwidth}, {vlan})"}},
        {.words = "auth delete --port {port} --start {start} --end {end} --bandwidth {bandwidth} "
                  "--vlan {vlan}",
         .values = range_values(),
         .calls = {"igmp_if_delete_auth_group_cfg({port}, {start}, {end}, {bandwidth}, {vlan})"}},
        {.words = "auth clear --port {port}",
         .values = {number_of("port", 4)},
         .calls = {"igmp_if_delete_auth_group_cfg_all({port}, 65535)"}},
        {.words = "auth range --port {port} {state}",
         .values = {number_of("port", 4), {"state", "on", 1}},
         .calls = {"igmp_if_grp_range_auth_enable({port}, {state})"}},
        {.words = "auth private add {group} --vlan {vlan} --extra {extra}",
         .values = {group_of("group", "239.1.2.3"), number_of("vlan", 101), number_of("extra", 7)},
         .calls = {"add_to_auth_group_api({group}, {vlan})"},
         .lost = {"extra"}},
        // Six times over, the VLAN in the first call alone.
        {.words = "auth private delete {group} --vlan {vlan} --extra {extra}",
         .values = {group_of("group", "239.1.2.3"), number_of("vlan", 101), number_of("extra", 7)},
         .calls = {"auth_group_delete_api({group}, {vlan})", "auth_group_delete_api({group}, 0)",
                   "auth_group_delete_api({group}, 0)", "auth_group_delete_api({group}, 0)",
                   "auth_group_delete_api({group}, 0)", "auth_group_delete_api({group}, 0)"},
         .lost = {"extra"}},
        {.words = "auth private clear", .calls = {"auth_group_delete_all_api()"}},
        // The core's numbers for adding and deleting are the other way round.
        {.words = "control-list add --port {port} --start {start} --end {end} --vlan {vlan}",
         .values = {number_of("port", 4), group_of("start", "239.1.2.3"),
                    group_of("end", "239.1.2.4"), number_of("vlan", 101)},
         .calls = {"igmp_set_multicast_control({port}, 1, {vlan}, {start})",
                   "igmp_set_multicast_control({port}, 1, {vlan}, {end})"},
         .trace = "add_delete = 0 "},
        {.words = "oam-control {action} --port {port} --vlan {vlan} --group {group} --first-byte "
                  "{first} --second-byte {second}",
         .values = {{"action", "add", 1},
                    number_of("port", 4),
                    number_of("vlan", 101),
                    group_of("group", "239.1.2.3"),
                    number_of("first", 7),
                    number_of("second", 8)},
         .calls = {"igmp_oam_control_2({action}, {port}, {vlan}, {{group}, {first}, {second}})"}},
    };
}

std::vector<Row> commands_of_diagnostics() {
    return {
        {.words = "debug errors on",
         .given = [] { mld_debug = kDbg; },
         .then =
             [](const Numbers& /*in*/) {
                 EXPECT_EQ(mc_debug, kDbg | kCfg | kErr);
                 EXPECT_EQ(mld_debug, kDbg | kErr);
             }},
        {.words = "debug cli {value} --selector {selector} --sub-selector igmp",
         .values = {number_of("value", 101), number_of("selector", 3)},
         .calls = {"igmp_dbg_set({value}, {selector})"}},
        {.words = "debug warnings {state}",
         .values = {{"state", "on", 1}},
         .calls = {"igmp_warn_printf_set({state})"}},
        {.words = "debug vlan {vlan} {selector}",
         .values = {number_of("vlan", 101), number_of("selector", 3)},
         .calls = {"igmp_dbg_set({vlan}, {selector})"}},
        {.words = "debug no-vlan {vlan} {selector}",
         .values = {number_of("vlan", 101), number_of("selector", 3)},
         .calls = {"igmp_dbg_unset({vlan}, {selector})"}},
        {.words = "debug level {level}",
         .values = {number_of("level", 70000)},
         .calls = {"igmp_set_debug_level({level}, 1)"}},
        {.words = "debug no-level {level}",
         .values = {number_of("level", 70000)},
         .calls = {"igmp_set_debug_level({level}, 0)"}},
        {.words = "debug packets {switches} --port {port}",
         .values = {number_of("switches", 70000), number_of("port", 4)},
         .calls = {"igmp_set_debug_pkt_port({port})", "igmp_set_debug_switch({switches}, 1)"}},
        {.words = "debug other {switches}",
         .values = {number_of("switches", 70000)},
         .calls = {"igmp_set_debug_switch({switches}, 1)"}},
        {.words = "debug stop {switches}",
         .values = {{"switches", "everything", 65535}},
         .calls = {"igmp_set_debug_switch({switches}, 0)", "igmp_set_debug_pkt_port(65534)",
                   "igmp_no_debug_all()"}},
        {.words = "memory reset", .calls = {"pal_mem_reset()"}},
        {.words = "memory range {first} {last}",
         .values = {number_of("first", 70000), number_of("last", 70001)},
         .calls = {"pal_mrecord_range_set({first}, {last})"}},
    };
}

std::vector<Value> display_values() {
    return {number_of("vlan", 101), number_of("port", 4), number_of("flag", 601)};
}

std::vector<Row> commands_that_show() {
    const std::vector<Value> group = {group_of("group", "239.1.2.3")};
    const std::vector<Value> port = {number_of("port", 4)};
    return {
        {.words = "show config", .trace = "MC HAL Version Num: "},
        {.words = "show groups", .calls = {"igmp_display_all_group()"}},
        {.words = "show group {group}",
         .values = group,
         .calls = {"igmp_display_special_group({group})"}},
        {.words = "show proxy-groups", .calls = {"show_igmp_all_proxy_group()"}},
        {.words = "show proxy-group {group}",
         .values = group,
         .calls = {"show_igmp_special_proxy_group({group})"}},
        {.words = "show vlan --vlan {vlan} --port {port} --flag {flag}",
         .values = display_values(),
         .calls = {"igmp_show_vlan_config({port}, {vlan}, {flag})"},
         .trace = ": SHOW_VLAN "},
        {.words = "show standard-vlan --vlan {vlan} --port {port} --flag {flag}",
         .values = display_values(),
         .calls = {"igmp_show_vlan_config({port}, {vlan}, {flag})"},
         .trace = ": STD_IGMP_DEBUG_SHOW_VLAN "},
        {.words = "show vlan-instances", .calls = {"igmp_show_vlan_instance()"}},
        {.words = "show igmpv3", .calls = {"show_igmpv3_globle()"}},
        {.words = "show statistics", .calls = {"show_igmp_packet_statistic()"}},
        {.words = "show interfaces", .calls = {"show_igmp_if_list()"}},
        {.words = "show timers", .calls = {"igmp_timer_show_api()"}},
        {.words = "show auth-groups", .calls = {"igmp_auth_group_show_api()"}},
        {.words = "show auth-group {group} --port {port}",
         .values = {group_of("group", "239.1.2.3"), number_of("port", 4)},
         .calls = {"igmp_if_show_auth_group_cfg({port}, {group})"}},
        {.words = "show port-config --port {port}",
         .values = port,
         .calls = {"igmp_if_show_if_cfg({port})"}},
        {.words = "show port-status --port {port}",
         .values = port,
         .calls = {"igmp_if_show_if_status({port})"}},
        {.words = "show mld",
         .calls = {"mld_unpack_show_mld_sys(0)", "mld_unpack_show_mld_thread(0)",
                   "mld_unpack_show_vlan_global(0)", "mld_show_if_list()"}},
        {.words = "show memory", .calls = {"pal_mem_show()"}},
        {.words = "show memory-type {type}",
         .values = {number_of("type", 70000)},
         .calls = {"pal_mtype_show({type})"}},
        {.words = "export status --port {port}",
         .values = port,
         .calls = {"igmp_if_gather_if_status({port}, 16)"}},
        {.words = "export groups", .calls = {"igmp_gather_grp_info(255, 12804)"}},
        // Proxy mode: the core alone hears of it.
        {.words = "test frame --port {port}",
         .values = port,
         .calls = {"igmp_time_now()", "igmp_pkt_recv(" + hex({jion_buffer + 18, jion_buffer + 50}) +
                                          ", 32, {port}, 4088, null)"},
         .given = [] { proxy_adapt_mode = MC_MODE_PROXY; }},
        {.words = "test report --port {port} --vlan {vlan}",
         .values = {number_of("port", 4), number_of("vlan", 101)},
         .calls = {"test_igmp_report_v2_l3({port}, {vlan})"}},
        {.words = "test leave --port {port} --vlan {vlan}",
         .values = {number_of("port", 4), number_of("vlan", 101)},
         .calls = {"test_igmp_leave_v2_l3({port}, {vlan})"}},
        {.words = "test uplink {port}",
         .values = port,
         .then = [](const Numbers& in) { EXPECT_EQ(testuplink, static_cast<int>(in["port"])); }},
    };
}

const std::vector<Row>& rows() {
    static const std::vector<Row> all = [] {
        std::vector<Row> gathered;
        for (const auto part :
             {commands_of_ports_and_mode, commands_of_vlans, commands_of_the_protocol,
              commands_of_authorisation, commands_of_diagnostics, commands_that_show}) {
            for (const Row& row : part()) gathered.push_back(row);
        }
        return gathered;
    }();
    return all;
}

commands::Record encoded(const Row& row) { return commands::encode(commands::split(typed(row))); }

// ---- The way of a command ----------------------------------------------------------------------

struct Message {
    long type;
    std::uint8_t text[MC_RECORD_TEXT];
};

void post(std::uint32_t code, std::span<const std::uint8_t> text) {
    Message message = {};
    message.type = static_cast<long>(code);
    std::copy(text.begin(), text.end(), message.text);
    const int queue = msgget(MC_QUEUE_KEY, IPC_CREAT | 0666);
    ASSERT_EQ(msgsnd(queue, &message, text.size(), IPC_NOWAIT), 0) << std::strerror(errno);
}

// Of a message that is too short the rest is what the message before it left: this.
void post_leftovers() {
    constexpr std::uint32_t kNoCommand = 116;
    post(kNoCommand, Bytes(MC_RECORD_TEXT, kBehind));
}

// Receives all that was posted and returns what was printed.
std::string received() {
    constexpr std::uint32_t kProxyAddress = 28;
    constexpr std::uint32_t kLastAddress = 0x5E5F6061;
    post(kProxyAddress, be32(0) + be32(kLastAddress));
    during("igmp_globle_proxyip_set", [](const Call& made) {
        if (made.numbers.at(0) == kLastAddress) leave_library();
    });
    return printed([] { EXPECT_TRUE(run_until_left([] { recv_igmp_interface_msg(); })); });
}

std::vector<std::string> all_but_the_last(std::vector<std::string> made) {
    if (!made.empty()) made.pop_back();
    return made;
}

class Words : public OmciTest, public ::testing::WithParamInterface<Row> {};

std::string name_of(const ::testing::TestParamInfo<Row>& tested) {
    const commands::Record record = encoded(tested.param);
    return "Code" + std::to_string(record.code);
}
INSTANTIATE_TEST_SUITE_P(Mcctl, Words, ::testing::ValuesIn(rows()), name_of);

TEST_P(Words, ReachTheNeighbours) {
    const Row& row = GetParam();
    const Numbers numbers(row.values);
    if (row.given) row.given();
    forget_calls();
    mc_debug = kDbg | kCfg;
    const commands::Record record = encoded(row);
    post_leftovers();
    post(record.code, record.text());
    const std::string text = received();
    std::vector<std::string> expected;
    for (const std::string& call : row.calls) expected.push_back(numbers.told(call));
    EXPECT_EQ(all_but_the_last(calls()), expected);
    EXPECT_THAT(text, HasSubstr(numbers.told(row.trace)));
    if (row.then) row.then(numbers);
    EXPECT_THAT(numbers.not_seen(), ElementsAreArray(row.lost))
        << "two of these could be exchanged";
}

// ---- What is refused
// -----------------------------------------------------------------------------

bool is_refused(const std::string& words) {
    try {
        static_cast<void>(commands::encode(commands::split(words)));
    } catch (const commands::UsageError&) {
        return true;
    }
    return false;
}

// Which field of the record takes it, and the option that says so.
struct WebValue {
    const char* option;
    mc::FieldPlace place;
    std::uint32_t value;
};

std::string words_of(const std::vector<WebValue>& values) {
    std::string words = "vlan web-set";
    for (const WebValue& each : values) {
        words += std::string(" ") + each.option + " " + std::to_string(each.value);
    }
    return words;
}

// The rule that the library makes of them, whatever mcctl thinks.
const Rule& rule_of(const std::vector<WebValue>& values) {
    Fields fields;
    for (const auto& [option, place, value] : values) {
        fields.push_back({option, place.offset, place.width, value});
    }
    given_vlans<Igmp>({});  // a full list would refuse it
    run_record(record_of(mc::SetWebRule::code, fields));
    return first_rule(4);
}

class McctlWebSet : public OmciTest {};

TEST_F(McctlWebSet, IsRefusedExactlyWhenItsRuleCountsAsAnEmptySlot) {
    using Place = mc::VlanRule;
    constexpr std::uint32_t kVlans[] = {0, 1, 4094, MC_NO_VLAN};
    std::set<std::string> refused;
    for (std::uint32_t modes = 0; modes < 16; ++modes) {
        for (std::uint32_t vlans = 0; vlans < 64; ++vlans) {
            const std::vector<WebValue> values = {
                {"--port", Place::port, 4},
                {"--mode", Place::down_mode, modes % 4},
                {"--data-mode", Place::data_mode, modes / 4},
                {"--down-in", Place::in_down, kVlans[vlans % 4]},
                {"--down-out", Place::out_down, kVlans[vlans / 4 % 4]},
                {"--data-in", Place::in_data, 200},
                {"--data-out", Place::out_data, kVlans[vlans / 16]}};
            const std::string words = words_of(values);
            const Rule& rule = rule_of(values);
            ASSERT_EQ(rule.in_data_vlan, 200) << words;
            EXPECT_EQ(is_refused(words), rule.in_up_vlan == MC_NO_VLAN) << words;
            if (is_refused(words)) refused.insert(words);
        }
    }
    EXPECT_EQ(refused.size(), 3u * 4 * 4 * 4)
        << "one VLAN in each of three modes, whatever the rest";
}

// ---- The table of mcctl ------------------------------------------------------------------------

std::multiset<std::uint32_t> codes_of_the_table() {
    std::multiset<std::uint32_t> codes;
    for (const commands::Command& command : commands::table()) codes.insert(command.record.code);
    return codes;
}

class McctlTable : public OmciTest {};

TEST_F(McctlTable, HasARowAboveForEveryCommand) {
    std::multiset<std::uint32_t> told;
    for (const Row& row : rows()) told.insert(encoded(row).code);
    for (const commands::Command& command : commands::table()) {
        EXPECT_EQ(told.count(command.record.code), 1u) << commands::path_text(command);
    }
    EXPECT_EQ(told.size(), commands::table().size());
}

TEST_F(McctlTable, HasRowsAboveOfWhichAllValuesDiffer) {
    for (const Row& row : rows()) {
        std::set<std::uint32_t> numbers;
        for (const Value& value : row.values) {
            EXPECT_TRUE(numbers.insert(value.number).second) << row << ": " << value.name;
        }
    }
}

TEST_F(McctlTable, NamesEveryCodeOfTheDispatcherOnce) {
    const std::multiset<std::uint32_t> named = codes_of_the_table();
    std::size_t known = 0;
    for (std::uint32_t code = 0; code < kBehindAllCodes; ++code) {
        const std::size_t times = is_known(code) ? 1 : 0;
        EXPECT_EQ(named.count(code), times) << "code " << code;
        known += times;
    }
    EXPECT_EQ(known, 84u) << "as many commands as there are";
}

}  // namespace
