// The commands of the queue. The dispatcher's result is always 0, so what stands for a status here
// is the command's own failure text: kReturned, the operation failed and the command reports it;
// kIgnored, only the operation below reports it; kUnseen, nobody does. Nothing is taken back, and
// the task takes the next record in every case.
#include <cstdint>
#include <string>

#include "adapt/adapt.h"
#include "adapt/records.h"
#include "command/auth_groups.h"
#include "igmp/igmp.h"
#include "settings/settings.h"
#include "tests/faults/row.h"
#include "tests/support/commands.h"
#include "tests/support/frames.h"
#include "tests/support/rules.h"
#include "vlan/vlan.h"

namespace mc_test {

namespace {

using Given = std::function<void()>;

Row command(std::uint32_t code, const std::string& when, const Bytes& payload) {
    return {.operation = "command",
            .when = when,
            .run =
                [code, payload] {
                    return serve({record_of(code, payload), record_of(28, be32(kNextAddress))});
                },
            .code = code};
}

// One function of a neighbour is called, nothing is stored by the library.
Row passes_on(std::uint32_t code, const Bytes& payload, const char* import,
              const std::string& failure) {
    Row row = command(code, "", payload);
    row.calls = {{import, kReturned}};
    row.failure = failure;
    return row;
}

// The same, and nobody looks at the answer.
Row shows(std::uint32_t code, const Bytes& payload, NeighbourCalls calls) {
    Row row = command(code, "", payload);
    row.calls = std::move(calls);
    return row;
}
Row shows(std::uint32_t code, const Bytes& payload, const char* import) {
    return shows(code, payload, NeighbourCalls{{import, kUnseen}});
}

// A value is stored, then handed to one function of the core, whose refusal is reported.
Row stores_and_pushes(std::uint32_t code, const Bytes& payload, const char* import,
                      const std::string& failure) {
    Row row = passes_on(code, payload, import, failure);
    row.stores = true;
    return row;
}

Row stores_only(std::uint32_t code, const std::string& when, const Bytes& payload) {
    Row row = command(code, when, payload);
    row.stores = true;
    return row;
}

Row changes(std::uint32_t code, const std::string& when, const Bytes& payload, NeighbourCalls calls,
            const std::string& failure = "", Given given = {}) {
    Row row = stores_only(code, when, payload);
    row.calls = std::move(calls);
    row.failure = failure;
    row.given = std::move(given);
    return row;
}

Row changes_nothing(std::uint32_t code, const std::string& when, const Bytes& payload,
                    NeighbourCalls calls = {}, const std::string& failure = "") {
    Row row = changes(code, when, payload, std::move(calls), failure);
    row.stores = false;
    return row;
}

Bytes be8(std::uint32_t value) { return {static_cast<std::uint8_t>(value)}; }

Bytes payload_of(const Rule& rule) {
    return be8(static_cast<std::uint8_t>(rule.portNO)) +
           be8(static_cast<std::uint8_t>(rule.prouptagmode)) + be16(rule.in_up_vlan) +
           be16(rule.out_up_vlan) + be8(static_cast<std::uint8_t>(rule.prodntagmode)) + be8(0) +
           be16(rule.in_dn_vlan) + be16(rule.out_dn_vlan) +
           be8(static_cast<std::uint8_t>(rule.datedntagmode)) + be8(0) + be16(rule.in_data_vlan) +
           be16(rule.out_data_vlan) + be16(0);
}

// ---- Mode and ports ----------------------------------------------------------------------------

Rows mode_and_port_commands() {
    Rows rows;
    for (const std::uint32_t mode : {0u, 1u, 2u, 3u, 100u, 255u}) {
        rows.push_back(changes(1, "mode " + std::to_string(mode), be8(mode),
                               {{"igmp_mode_switch_globle", kReturned}},
                               fail("omci_set_multicast_mode"),
                               [mode] { omci_set_multicast_mode(mode == 3 ? 1 : 3); }));
    }
    for (const std::uint32_t mode : {0u, 3u, 255u}) {
        rows.push_back(changes(
            52, "mode " + std::to_string(mode), be8(mode), {{"igmp_mode_switch_globle", kReturned}},
            fail("onu_std_omci_set_multicast_mode"), [] { omci_set_multicast_mode(3); }));
    }
    for (const std::uint32_t mode : {1u, 2u}) {
        rows.push_back(changes_nothing(52, "refused mode " + std::to_string(mode), be8(mode), {},
                                       fail("onu_std_omci_set_multicast_mode")));
    }
    // Each port is set, whatever became of the one before.
    for (const std::uint32_t mode : {1u, 2u}) {
        rows.push_back(changes(83, "mode " + std::to_string(mode), be32(mode),
                               {{"igmp_if_fast_leave_enable", 6, kIgnored}}));
    }
    for (const std::uint32_t type : {0u, 2u}) {
        rows.push_back(changes(
            12, "type " + std::to_string(type), be8(3) + be8(type),
            {{type == 0 ? "igmp_if_fast_leave_enable" : "igmp_if_max_group_num_set", kUnseen}}, "",
            [] { omci_set_port_igmp_leave_mode(3, 1); }));
    }
    rows.push_back(
        changes_nothing(12, "type 1", be8(3) + be8(1), {{"igmp_if_snp_uplinkvlan_set", kUnseen}}));
    rows.push_back(changes_nothing(12, "another type", be8(3) + be8(3)));
    return rows + Rows{
                      stores_and_pushes(2, be8(3) + be8(1), "igmp_if_fast_leave_enable",
                                        fail("SET_OMCI_PORT_IGMP_LEAVE_MODE")),
                      stores_and_pushes(3, be8(3) + be16(50), "igmp_if_max_group_num_set",
                                        fail("omci_set_port_igmpgroup_limit")),
                      stores_and_pushes(56, be8(3) + be16(50), "igmp_if_max_group_num_set",
                                        fail("onu_std_omci_set_port_igmpgroup_limit")),
                      changes(57, "", be8(3) + be8(1) + be32(5000) + be16(2),
                              {{"igmp_if_max_bandwidth_set", kIgnored}},
                              fail("onu_std_max_multi_bandwidth_limit")),
                      stores_only(13, "", be8(3) + be16(1) + be16(2) + be16(3) + be16(4) + be16(5)),
                      changes(20, "", be8(1),
                              {{"igmp_fast_leave_enable_globle", 6, kIgnored},
                               {"igmp_fast_leave_enable_globle", kReturned}},
                              fail("SET_IGMP_FAST_LEAVE")),
                      changes(64, "", {},
                              {{"igmp_vlan_del_all", kIgnored},
                               {"igmp_default_vid_set", kIgnored},
                               {"igmp_para_globle_set", kIgnored},
                               {"igmp_mode_switch_globle", kIgnored},
                               {"igmp_fast_leave_enable_globle", kIgnored},
                               {"igmp_vlan_learning_set", kIgnored},
                               {"igmp_del_all_group", kUnseen}},
                              "", [] { omci_set_multicast_mode(3); }),
                  };
}

// ---- Protocol parameters -----------------------------------------------------------------------

Rows parameter_commands() {
    Rows rows;
    for (const std::uint32_t version : {1u, 2u}) {
        rows.push_back(changes(27, "version " + std::to_string(version), be8(version),
                               {{"igmp_version_globle_set", kReturned}},
                               fail("omci_igmp_version_globle_set")));
    }
    rows.push_back(changes_nothing(27, "version 3, as it is", be8(3),
                                   {{"igmp_version_globle_set", kReturned}},
                                   fail("omci_igmp_version_globle_set")));
    for (const std::uint32_t version : {0u, 4u}) {
        rows.push_back(changes_nothing(27, "no version " + std::to_string(version), be8(version)));
    }
    return rows +
           Rows{
               stores_and_pushes(14, be8(0) + be8(7) + be16(8) + be16(9) + be16(10) + be16(11),
                                 "igmp_para_globle_set", fail("omci_set_igmp_global_parmeter")),
               stores_and_pushes(22, be32(300), "igmp_para_globle_set",
                                 fail("omci_set_igmp_global_parmeter")),
               passes_on(28, be32(0x0A000001), "igmp_globle_proxyip_set",
                         error(" igmp_globle_proxyip_set is error ret = %d\r\n")),
               stores_and_pushes(29, be32(1) + be32(2), "igmp_ssm_ip_globle_set",
                                 fail("omci_igmp_ssm_ip_globle_set")),
               stores_and_pushes(30, be32(1) + be32(2) + be32(3) + be32(4) + be32(5) + be32(6),
                                 "igmp_ssm_map_change", fail("omci_igmp_ssm_map_globle_set")),
               stores_and_pushes(97, be8(7), "igmp_para_rv_globle_set",
                                 error(" SET_IGMP_VARIABLE is error ret = %d\r\n")),
               stores_and_pushes(98, be16(300), "igmp_para_qi_globle_set",
                                 error(" SET_IGMP_INTERVAL is error ret = %d\r\n")),
               stores_and_pushes(99, be16(300), "igmp_para_qri_globle_set",
                                 error(" SET_IGMP_RESPONSE_INTERVAL is error ret = %d\r\n")),
               stores_and_pushes(100, be16(300), "igmp_para_lmqi_globle_set",
                                 error(" SET_IGMP_QUERY_INTERVAL is error ret = %d\r\n")),
               stores_and_pushes(101, be16(300), "igmp_para_lmqc_globle_set",
                                 error(" SET_IGMP_QUERY_COUNT is error ret = %d\r\n")),
               passes_on(102, be8(1), "igmp_aging_function_set",
                         error(" SET_IGMP_AGING is error %d\r\n")),
               passes_on(115, be8(1), "mld_pack_set_age_switch",
                         error(" SET_MLD_AGING is error %d\r\n")),
           };
}

// ---- VLANs -------------------------------------------------------------------------------------

Rows rule_commands() {
    const auto on_omci = [] { set_onu_id(1); };
    const NeighbourCalls calls_of_set = {{"L2_multicast_get_onu_id", kUnseen},
                                         {"igmp_vlan_add", kIgnored}};
    Rows rows;
    for (const std::uint32_t mode : {0u, 1u, 2u, 3u}) {
        const Bytes service = be32(1) + be32(mode) + be32(300) + be32(400);
        const std::string when = "mode " + std::to_string(mode);
        rows.push_back(
            changes(17, when, service, calls_of_set, fail("SET_IGMP_PORT_VLAN_MODE"), on_omci));
        // The MLD side's answer decides, and only where its last rule of the VLAN goes.
        rows.push_back(changes(16, when, service,
                               {{"igmp_vlan_del", kIgnored}, {"igmp_vlan_del", kReturned}},
                               fail("igmp_service_remove_port_config"),
                               [mode] { given_rule_by_mode(static_cast<int>(mode)); }));
        const Rule request = rule(1, static_cast<int>(mode), {100, 101}, {102, 103}, {300, 301});
        rows.push_back(changes(50, "tag " + when, payload_of(request), calls_of_set,
                               fail("onu_std_omci_set_multicast_vlan"), on_omci));
        rows.push_back(changes(51, "tag " + when, payload_of(request),
                               {{"igmp_vlan_del", kReturned}},
                               fail("onu_std_omci_delete_multicast_vlan"), [request] {
                                   set_onu_id(1);
                                   Rule given = request;
                                   onu_std_omci_set_multicast_vlan(&given);
                               }));
        // Its report goes by a level of its own, which is on from the start.
        rows.push_back(changes(110, "tag " + when, payload_of(request),
                               {{"igmp_vlan_learning_set", kIgnored},
                                {"igmp_vlan_del", kIgnored},
                                {"igmp_vlan_add", said_always(kReturned)}},
                               kWebReport));
    }
    rows.push_back(changes(50, "in EPON mode", payload_of(simple_rule(1, 100, 300)),
                           {{"L2_multicast_get_onu_id", kUnseen},
                            {"igmp_vlan_learning_set", kIgnored},
                            {"igmp_vlan_add", kIgnored}},
                           fail("onu_std_omci_set_multicast_vlan")));
    rows.push_back(
        changes(50, "known VLAN in EPON mode", payload_of(simple_rule(1, 100, 300)),
                {{"L2_multicast_get_onu_id", kUnseen}, {"igmp_vlan_learning_set", kReturned}},
                fail("onu_std_omci_set_multicast_vlan"), [] {
                    Rule given = simple_rule(2, 200, 300);
                    onu_std_omci_set_multicast_vlan(&given);
                }));
    return rows;
}

Rows vlan_commands() {
    return {
        changes(4, "", be16(300),
                {{"mld_api_set_default_vlan", kIgnored}, {"igmp_default_vid_set", kReturned}},
                fail("omci_set_igmp_default_vlan")),
        changes(4, "the old one a template VLAN", be16(300),
                {{"mld_api_set_default_vlan", kIgnored},
                 {"igmp_default_vid_set", kIgnored},
                 {"igmp_vlan_add", kReturned}},
                fail("omci_set_igmp_default_vlan"), [] { given_vlans<Igmp>({MC_DEFAULT_VLAN}); }),
        stores_and_pushes(5, be8(1), "igmp_vlan_learning_set",
                          fail("omci_set_igmp_dynamic_enable")),
        // Only the last answer counts; the first VLAN is added twice.
        changes_nothing(32, "a range", be16(100) + be16(102),
                        {{"igmp_vlan_add", 3, kUnseen}, {"igmp_vlan_add", kReturned}},
                        fail("ADD_IGMP_VLAN")),
        changes_nothing(32, "one", be16(100) + be16(0),
                        {{"igmp_vlan_add", kUnseen}, {"igmp_vlan_add", kReturned}},
                        fail("ADD_IGMP_VLAN")),
        passes_on(33, be16(100), "igmp_vlan_del", fail("ADD_IGMP_VLAN")),
        passes_on(34, {}, "igmp_vlan_del_all", fail("ADD_IGMP_VLAN")),
    };
}

// ---- Authorised groups -------------------------------------------------------------------------

Rows group_commands() {
    const Bytes group = be32(0xEF010101) + be16(100) + be8(0);
    const Bytes range = be8(3) + be32(0xEF010101) + be32(0xEF010103) + be32(7) + be16(100);
    const auto given = [] {
        omci_add_auth_igmp_group_vlan_config(0xEF010101, 100, 0);
        onu_omci_add_auth_igmp_group_vlan_config(3, 0xEF010101, 0xEF010103, 7, 100);
    };
    Rows rows = {
        changes(6, "", group, {{"add_to_auth_group_api", kNotStored}},
                fail("omci_add_auth_igmp_group_vlan_config")),
        changes_nothing(
            7, "", group,
            {{"auth_group_delete_api", 5, kIgnored}, {"auth_group_delete_api", kReturned}},
            fail("omci_delete_auth_igmp_group_vlan_config")),
        changes(8, "", {}, {{"auth_group_delete_all_api", kUnseen}},
                fail("omci_clear_all_auth_igmp_group_vlan_config"), given),
        changes(53, "", range,
                {{"igmp_if_add_auth_group_cfg", kSkippedStore},
                 {"igmp_if_grp_range_auth_enable", kIgnored}},
                fail("onu_std_omci_add_auth_igmp_group_vlan_config")),
        changes(54, "", range, {{"igmp_if_delete_auth_group_cfg", kNotStored}},
                fail("onu_std_omci_delete_auth_igmp_group_vlan_config"), given),
        changes(55, "", be8(3), {{"igmp_if_delete_auth_group_cfg_all", kNotStored}},
                fail("onu_std_omci_clear_port_all_auth_igmp_group_vlan_config"), given),
        changes(88, "", range, {{"igmp_if_add_auth_group_cfg", kSkippedStore}},
                fail("onu_std_omci_add_auth_igmp_group_vlan_config")),
        passes_on(87, be16(3) + be8(1), "igmp_if_grp_range_auth_enable",
                  error(" SET_OMCI_IGMP_RANGE_AUTH is error ret = %d\r\n")),
        passes_on(84, be8(1) + be16(4) + be16(100) + be32(1) + be8(2) + be8(3),
                  "igmp_oam_control_2", fail("MC_OAM_SET_CONTROL_2")),
    };
    for (const std::uint32_t option : {0u, 1u, 2u}) {
        rows.push_back(
            changes_nothing(9, "option " + std::to_string(option),
                            be16(3) + be8(option) + be16(100) + be32(0xEF010101) + be32(0xEF010103),
                            {{"igmp_set_multicast_control", 2, kIgnored},
                             {"igmp_set_multicast_control", kReturned}},
                            fail("omci_set_port_to_control_multicast_list_table")));
    }
    return rows;
}

// ---- Displays and tests ------------------------------------------------------------------------

Rows display_commands() {
    const Bytes vlan_display = be16(100) + be32(3) + be16(1);
    return {
        shows(35, {}, "igmp_display_all_group"),
        shows(36, be32(0xEF010101), "igmp_display_special_group"),
        changes_nothing(39, "", {}),
        shows(66, vlan_display, "igmp_show_vlan_config"),
        shows(67, {}, "show_igmp_all_proxy_group"),
        shows(68, be32(0xEF010101), "show_igmp_special_proxy_group"),
        shows(69, {}, "igmp_show_vlan_instance"),
        shows(70, {}, "show_igmpv3_globle"),
        shows(71, {}, "show_igmp_packet_statistic"),
        shows(72, {}, "show_igmp_if_list"),
        shows(73, {}, "igmp_timer_show_api"),
        shows(74, {}, "igmp_auth_group_show_api"),
        passes_on(80, be8(3), "igmp_if_show_if_cfg",
                  error("test igmp_if_show_if_cfg error(%d)\r\n")),
        passes_on(81, be8(3), "igmp_if_show_if_status",
                  error("test igmp_if_show_if_status error(%d)\r\n")),
        passes_on(82, be8(3) + be32(0xEF010101), "igmp_if_show_auth_group_cfg",
                  error("test igmp_if_show_auth_group_cfg error(%d)\r\n")),
        shows(96, vlan_display, "igmp_show_vlan_config"),
        shows(103, {}, "pal_mem_show"),
        shows(104, {}, "pal_mem_reset"),
        passes_on(105, be32(1), "pal_mtype_show", error(" pal_mtype_show is error ret = %d\r\n")),
        shows(106, be32(1) + be32(2), "pal_mrecord_range_set"),
        shows(111, {},
              {{"mld_unpack_show_mld_sys", kUnseen},
               {"mld_unpack_show_mld_thread", kUnseen},
               {"mld_unpack_show_vlan_global", kUnseen},
               {"mld_show_if_list", kUnseen}}),
        // What the core does not deliver is not exported; what was exported before stays.
        changes(78, "", be8(3), {{"igmp_if_gather_if_status", kNotStored}},
                fail("igmp_hal_sync_if_status"), [] { set_port_status(Bytes(16, 0x91)); }),
        changes(79, "", {}, {{"igmp_gather_grp_info", kNotStored}},
                fail("igmp_hal_sync_grp_inform"), [] { set_group_dump(Bytes(4 + 512 * 25, 1)); }),
    };
}

Rows test_commands() {
    const std::string failure = error("test igmpL2PktProc error\r\n");
    return {
        // The built-in report goes the way of every received frame.
        changes(40, "snooping", be8(3),
                {{"igmp_time_now", kUnseen},
                 {"igmp_pkt_recv", kReturned},
                 {"L2_multicast_send_msg", kIgnored}},
                failure),
        changes(40, "control", be8(3),
                {{"igmp_time_now", kUnseen},
                 {"igmp_pkt_recv", kReturned},
                 {"L2_multicast_get_onu_id", kUnseen},
                 {"L2_multicast_send_msg", kIgnored}},
                failure, [] { omci_set_multicast_mode(3); }),
        changes(40, "the core alone", be8(3),
                {{"igmp_time_now", kUnseen}, {"igmp_pkt_recv", kReturned}}, failure,
                [] { omci_set_multicast_mode(100); }),
        changes(40, "uplink, snooping", be8(29),
                {{"igmp_time_now", kUnseen}, {"L2_multicast_send_msg", 6, kIgnored}}, failure),
        shows(76, be32(3) + be16(100), "test_igmp_report_v2_l3"),
        shows(77, be32(3) + be16(100), "test_igmp_leave_v2_l3"),
        stores_only(85, "", be32(3)),
        stores_only(114, "0", be32(0)),
        // What is stored is also the result, and so passes for a failure.
        changes_nothing(114, "1", be32(1), {},
                        error(" igmp_set_table_return is error ret = %d\r\n")),
    };
}

// ---- Debug switches ----------------------------------------------------------------------------

Rows debug_from_cli() {
    constexpr std::uint32_t kAdapt = 0x61;
    constexpr std::uint32_t kIgmp = 0x69;
    const auto payload = [](std::uint32_t value, std::uint32_t selector, std::uint32_t sub) {
        return be32(value) + be8(selector) + be8(sub);
    };
    Rows rows;
    // Ageing is off even when the core does not take the parameters.
    for (const std::uint32_t value : {0u, 1u, 2u}) {
        rows.push_back(changes(37, "level " + std::to_string(value), payload(value, kAdapt, 0),
                               {{"igmp_para_globle_set", kIgnored}}));
    }
    rows.push_back(stores_only(37, "level alone", payload(1, kAdapt, 1)));
    rows.push_back(changes_nothing(37, "two selectors", payload(1, kAdapt, kIgmp)));
    rows.push_back(changes_nothing(37, "no selector", payload(1, 0, 0)));
    for (std::uint32_t selector = 1; selector <= 7; ++selector) {
        rows.push_back(changes_nothing(37, "core switch " + std::to_string(selector),
                                       payload(1, selector, kIgmp), {{"igmp_dbg_set", kUnseen}}));
    }
    for (std::uint32_t selector = 8; selector <= 11; ++selector) {
        rows.push_back(stores_only(37, "core version " + std::to_string(selector),
                                   payload(1, selector, kIgmp)));
    }
    rows.push_back(changes_nothing(37, "core switch 12", payload(1, 12, kIgmp)));
    return rows;
}

Rows debug_commands() {
    Rows rows = debug_from_cli();
    for (std::uint32_t offset = 1; offset <= 7; ++offset) {
        rows.push_back(stores_only(86, "offset " + std::to_string(offset), be32(offset) + be32(1)));
    }
    for (const std::uint32_t offset : {0u, 8u}) {
        rows.push_back(
            changes_nothing(86, "no offset " + std::to_string(offset), be32(offset) + be32(1)));
    }
    for (const std::uint32_t value : {0u, 1u}) {
        const std::string when = "value " + std::to_string(value);
        rows.push_back(
            changes_nothing(112, when, be32(value), {{"mld_set_mld_debug_port", kUnseen}}));
        rows.push_back(
            changes_nothing(113, when, be32(value) + be32(3), {{"mld_set_mld_debug", kUnseen}}));
    }
    return rows + Rows{
                      shows(75, be8(1), "igmp_warn_printf_set"),
                      shows(89, be16(100) + be8(1), "igmp_dbg_set"),
                      shows(90, be16(100) + be8(1), "igmp_dbg_unset"),
                      passes_on(91, be32(1), "igmp_set_debug_level",
                                error(" DEBUG_IGMP_LEVEL is error ret = %d\r\n")),
                      passes_on(92, be32(1), "igmp_set_debug_level",
                                error(" NO_DEBUG_IGMP_LEVEL is error ret = %d\r\n")),
                      // The second call is made whatever the first one answers.
                      changes_nothing(93, "", be32(1) + be16(3),
                                      {{"igmp_set_debug_pkt_port", kIgnored},
                                       {"igmp_set_debug_switch", kReturned}},
                                      error(" igmp_set_debug_switch is error ret = %d\r\n")),
                      passes_on(94, be32(1), "igmp_set_debug_switch",
                                error(" OTHER_DEBUG_IGMP is error ret = %d\r\n")),
                      changes_nothing(95, "some", be32(1),
                                      {{"igmp_set_debug_switch", kUnseen},
                                       {"igmp_set_debug_pkt_port", kUnseen}}),
                      changes_nothing(95, "all", be32(65535),
                                      {{"igmp_set_debug_switch", kUnseen},
                                       {"igmp_set_debug_pkt_port", kUnseen},
                                       {"igmp_no_debug_all", kUnseen}}),
                  };
}

}  // namespace

Rows command_rows() {
    return mode_and_port_commands() + parameter_commands() + rule_commands() + vlan_commands() +
           group_commands() + display_commands() + test_commands() + debug_commands();
}

}  // namespace mc_test
