// The configuration commands.
//
// Every handler has one shape: trace the fields, call one operation; its failure is reported by who
// dispatched. Nothing is range-checked here; the operations apply their own checks.
#include "command/config_commands.h"

#include <cstdint>
#include <cstdio>

#include "adapt/adapt.h"
#include "adapt/records.h"
#include "adapt/status_segment.h"
#include "command/auth_groups.h"
#include "common/diagnostics.h"
#include "platform/protocol_core.h"
#include "settings/settings.h"
#include "vlan/vlan.h"

namespace mc {

// ---- Mode and ports ----------------------------------------------------------------------------

std::int32_t SetMode::run(CommandRecord record) { return omci_set_multicast_mode(record[mode]); }

std::int32_t SetPortLeaveMode::run(CommandRecord record) {
    return omci_set_port_igmp_leave_mode(record[port], record[mode]);
}

std::int32_t SetGroupLimit::run(CommandRecord record) {
    return omci_set_port_igmpgroup_limit(record[port], record[limit]);
}

std::int32_t SetDefaultVlan::run(CommandRecord record) {
    if (igmp_says(kConfig)) std::printf("\r\n[MC_DBG_CFG]: vlan_id = %d !\n", record[vlan]);
    return omci_set_igmp_default_vlan(record[vlan]);
}

std::int32_t SetVlanLearning::run(CommandRecord record) {
    return omci_set_igmp_dynamic_enable(record[enable]);
}

std::int32_t ClearPortParameters::run(CommandRecord record) {
    return omci_clear_igmp_parmeter(record[port], record[type]);
}

// Only the VIDs are used; the TCIs are traced.
std::int32_t SetSignallingVlan::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: OMCI_SET_PORT_UP_IGMP_VLAN outer_vlan.tci =%d outer_vlan.vid =%d inner_vlan.tci =%d inner_vlan.vid =%d\r\n",
            record[outer_tci], record[outer_vid], record[inner_tci], record[inner_vid]);
    }
    return igmp_adapt_set_sig_vlan(record[port], record[outer_vid], record[inner_vid],
                                   record[down_vid]);
}

std::int32_t SetLeaveMode::run(CommandRecord record) {
    return omci_set_igmp_leave_mode(record[mode]);
}

std::int32_t SetStandardMode::run(CommandRecord record) {
    return onu_std_omci_set_multicast_mode(record[mode]);
}

std::int32_t SetStandardGroupLimit::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: STD_OMCI_MAX_GROUP_NUM std_omci_port = %d std_omci_max_grp = %d\r\n",
            record[port], record[limit]);
    }
    return onu_std_omci_set_port_igmpgroup_limit(record[port], record[limit]);
}

std::int32_t SetBandwidthLimit::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: STD_MAX_MULTI_BANDWIDTH_LIMIT std_omci_port = %d std_omci_grp_enable = %d imputed_bandwidth = %d\r\n",
            record[port], record[enable], record[bandwidth]);
    }
    return onu_std_max_multi_bandwidth_limit(record[port], record[enable], record[bandwidth],
                                             record[extra]);
}

std::int32_t ClearAllParameters::run(CommandRecord /*record*/) {
    return omci_clear_igmp_all_parmeter();
}

// ---- Protocol parameters -----------------------------------------------------------------------

std::int32_t SetGlobalParameters::run(CommandRecord record) {
    return omci_set_igmp_global_parmeter(record[robustness], record[query_interval],
                                         record[max_resp_time], record[last_member_interval],
                                         record[last_member_count]);
}

std::int32_t push_stored_parameters() {
    return omci_set_igmp_global_parmeter(
        globle_parm.robustness, globle_parm.query_interval, globle_parm.query_max_resp_time,
        globle_parm.last_member_query_interval, globle_parm.last_member_query_count);
}

std::int32_t SetAgeingInterval::run(CommandRecord record) {
    setIgmpAgeEnable(record[interval]);
    return push_stored_parameters();
}

std::int32_t SetVersion::run(CommandRecord record) {
    if (record[version] < 1 || record[version] > 3) {
        if (igmp_says(kErrors)) std::puts("\r\n[MC_DBG_ERR]: set igmp version error!");
        return 0;
    }
    return omci_igmp_version_globle_set(record[version]);
}

std::int32_t SetProxyAddress::run(CommandRecord record) {
    return igmp_globle_proxyip_set(record[address]);
}

std::int32_t SetSsmRange::run(CommandRecord record) {
    return omci_igmp_ssm_ip_globle_set(record[start], record[end]);
}

std::int32_t SetSsmMap::run(CommandRecord record) {
    return omci_igmp_ssm_map_globle_set(record[word0], record[word1], record[word2], record[word3],
                                        record[word4]);
}

std::int32_t SetRobustness::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: SET_IGMP_VARIABLE %d \r\n", record[robustness]);
    }
    return omci_set_para_rv_globle(record[robustness]);
}

namespace {

// The three intervals share one trace, kept on purpose.
void trace_interval(std::uint16_t value) {
    if (igmp_says(kConfig)) std::printf("\r\n[MC_DBG_CFG]: SET_IGMP_INTERVAL %d \r\n", value);
}

}  // namespace

std::int32_t SetQueryInterval::run(CommandRecord record) {
    trace_interval(record[interval]);
    return omci_set_para_qi_globle(record[interval]);
}

std::int32_t SetResponseInterval::run(CommandRecord record) {
    trace_interval(record[interval]);
    return omci_set_para_qri_globle(record[interval]);
}

std::int32_t SetLastMemberInterval::run(CommandRecord record) {
    trace_interval(record[interval]);
    return omci_set_para_lmqi_globle(record[interval]);
}

std::int32_t SetLastMemberCount::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: SET_IGMP_QUERY_COUNT %d \r\n", record[count]);
    }
    return omci_set_para_lmqc_globle(record[count]);
}

std::int32_t SetTableReturn::run(CommandRecord record) {
    return igmp_set_table_return(record.as_signed(value));
}

std::int32_t SetAgeing::run(CommandRecord record) {
    // The robustness trace stands here too, kept on purpose.
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: SET_IGMP_VARIABLE %d \r\n", record[enable]);
    }
    return igmp_aging_function_set(record[enable]);
}

std::int32_t SetMldAgeing::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: SET_MLD_VARIABLE %d \r\n", record[enable]);
    }
    return mld_pack_set_age_switch(record[enable]);
}

// Fast leave of the six user ports: on for mode 2, off for every other. The mode itself is shown to
// other processes.
std::int32_t SetFastLeaveMode::run(CommandRecord record) {
    constexpr std::uint32_t kFastLeave = 2;
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: SET_IGMP_FAST_LEAVE_MODE %d\r\n", record[mode]);
    }
    status_store_word(kStatusFastLeave, record[mode]);
    const std::uint32_t fast = record[mode] == kFastLeave ? 1 : 0;
    for (std::uint32_t port = 0; port < MC_PORTS - 1; ++port) {
        igmp_checked_line(omci_set_port_igmp_leave_mode(port, fast),
                          "\r\n[MC_DBG_ERR]: omci_set_port_igmp_leave_mode is error\r");
    }
    return 0;
}

// ---- The core's VLAN list ----------------------------------------------------------------------

// Adds a range of VLANs. The first one is added twice, and a last VLAN below the first wraps around
// 16 bits; only the last answer counts. Kept on purpose.
std::int32_t AddVlans::run(CommandRecord record) {
    const std::uint16_t from = record[first];
    const std::uint16_t to = record[last];
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: vlan_id %d !\n", from);
        std::printf("\r\n[MC_DBG_CFG]: port %d !\n", to);
    }
    static_cast<void>(igmp_vlan_add(from));
    const std::uint16_t count = to == 0 ? 0 : static_cast<std::uint16_t>(to - from);
    std::int32_t status = 0;
    for (std::uint32_t i = 0; i <= count; ++i) {
        status = igmp_vlan_add(static_cast<std::uint16_t>(from + i));
    }
    return status;
}

std::int32_t DeleteVlan::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: DEL_IGMP_VLAN vlan_id = %d\r\n", record[vlan]);
    }
    return igmp_vlan_del(record[vlan]);
}

std::int32_t DeleteAllVlans::run(CommandRecord /*record*/) { return igmp_vlan_del_all(); }

// ---- Multicast VLAN rules ----------------------------------------------------------------------

namespace {

PortVlanCfgEntry rule_in(CommandRecord record) {
    using Rule = VlanRule;
    return {
        .portNO = static_cast<std::int8_t>(record[Rule::port]),
        .prouptagmode = static_cast<std::int8_t>(record[Rule::up_mode]),
        .in_up_vlan = record[Rule::in_up],
        .out_up_vlan = record[Rule::out_up],
        .prodntagmode = static_cast<std::int8_t>(record[Rule::down_mode]),
        .in_dn_vlan = record[Rule::in_down],
        .out_dn_vlan = record[Rule::out_down],
        .datedntagmode = static_cast<std::int8_t>(record[Rule::data_mode]),
        .in_data_vlan = record[Rule::in_data],
        .out_data_vlan = record[Rule::out_data],
        .rule_flag = record[Rule::flag],
    };
}

}  // namespace

std::int32_t RemoveServicePort::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: SET_IGMP_SER_REMV_PORT_CONFIG port_no =%d tag_mode =%d temp = %d temp_scd = %d\r\n",
            record[port], record[mode], record[vlan], record[vlan2]);
    }
    return igmp_service_remove_port_config(record.as_signed(port), record.as_signed(mode),
                                           record.as_signed(vlan), record.as_signed(vlan2));
}

std::int32_t SetPortVlanMode::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: SET_IGMP_PORT_VLAN_MODE port_no =%d tag_mode =%d temp = %d temp_scd = %d\r\n",
            record[port], record[mode], record[vlan], record[vlan2]);
    }
    return igmp_port_vlan_and_mode_set(record.as_signed(port), record.as_signed(mode),
                                       record.as_signed(vlan), record.as_signed(vlan2));
}

std::int32_t SetRule::run(CommandRecord record) {
    PortVlanCfgEntry rule = rule_in(record);
    return onu_std_omci_set_multicast_vlan(&rule);
}

std::int32_t DeleteRule::run(CommandRecord record) {
    PortVlanCfgEntry rule = rule_in(record);
    return onu_std_omci_delete_multicast_vlan(&rule);
}

// Its failure goes by the report level, not by the category mask.
std::int32_t SetWebRule::run(CommandRecord record) {
    constexpr int kReportedLine = 4780;
    PortVlanCfgEntry rule = rule_in(record);
    if (onu_std_omci_web_set_vlan(&rule) == 0 || igmp_adapt < -1) return 0;
    std::printf("\r\n [IGMP_ERROR]%s(%d): ", "process_interface_msg", kReportedLine);
    std::printf("\n ERROR!onu_std_omci_web_set_vlan Fail");
    std::puts("\r");
    return 0;
}

// ---- Authorised groups -------------------------------------------------------------------------

std::int32_t AddPrivateGroup::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: ADD_OMCI_AUTH_IGMP_GROUP_VLAN_CONFIG vlan_id =%d\r\n",
                    record[vlan]);
    }
    return omci_add_auth_igmp_group_vlan_config(record[group], record[vlan], record[extra]);
}

std::int32_t DeletePrivateGroup::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: DEL_OMCI_AUTH_IGMP_GROUP_VLAN_CONFIG vlan_id =%d\r\n",
                    record[vlan]);
    }
    return omci_delete_auth_igmp_group_vlan_config(record[group], record[vlan], record[extra]);
}

std::int32_t ClearPrivateGroups::run(CommandRecord /*record*/) {
    return omci_clear_all_auth_igmp_group_vlan_config();
}

std::int32_t SetControlList::run(CommandRecord record) {
    const auto signed_vlan = static_cast<std::int16_t>(record[vlan]);
    if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: SET_OMCI_PORT_TO_CONTROL_MULTICAST_LIST_TABLE port = %d add_delete = %d vlan_id = %d             multi_range_start = %d multi_range_end  = %d\r\n",
            record[port], record[add_delete], signed_vlan, record[start], record[end]);
    }
    return omci_set_port_to_control_multicast_list_table(record[port], record[add_delete],
                                                         signed_vlan, record[start], record[end]);
}

std::int32_t AddStandardGroups::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: STD_OMCI_ADD_AUTH_IGMP_GROUP std_omci_port = %d multi_range_start = %d multi_range_end =%d imputed_bandwidth =%d vlan_id = %d\r\n",
            record[port], record[start], record[end], record[bandwidth], record[vlan]);
    }
    return onu_std_omci_add_auth_igmp_group_vlan_config(record[port], record[start], record[end],
                                                        record[bandwidth], record[vlan]);
}

std::int32_t DeleteStandardGroups::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: STD_OMCI_DEL_AUTH_IGMP_GROUP std_omci_port = %d multi_range_start = %d multi_range_end =%d imputed_bandwidth =%d vlan_id = %d\r\n",
            record[port], record[start], record[end], record[bandwidth], record[vlan]);
    }
    return onu_std_omci_delete_auth_igmp_group_vlan_config(record[port], record[start], record[end],
                                                           record[bandwidth], record[vlan]);
}

std::int32_t ClearStandardGroups::run(CommandRecord record) {
    constexpr std::uint32_t kAllVlans = 65535;
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: STD_OMCI_CLEAR_ALL_AUTH_IGMP_GROUP std_omci_port = %d\r\n",
                    record[port]);
    }
    return onu_std_omci_clear_port_all_auth_igmp_group_vlan_config(record[port], kAllVlans);
}

std::int32_t AddGroups::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: OMCI_ADD_AUTH_IGMP_GROUP std_omci_port = %d multi_range_start = %d multi_range_end =%d imputed_bandwidth =%d vlan_id = %d\r\n",
            record[port], record[start], record[end], record[bandwidth], record[vlan]);
    }
    return onu_omci_add_auth_igmp_group_vlan_config(record[port], record[start], record[end],
                                                    record[bandwidth], record[vlan]);
}

std::int32_t SetRangeAuthorisation::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: SET_OMCI_IGMP_RANGE_AUTH %d,%d \r\n", record[port],
                    record[enable]);
    }
    return igmp_if_grp_range_auth_enable(static_cast<std::uint8_t>(record[port]), record[enable]);
}

std::int32_t SetOamControl::run(CommandRecord record) {
    const auto port_id = static_cast<std::uint16_t>(record[port] - 1);
    if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: MC_OAM_SET_CONTROL_2 add_delete  = %d port_no  = %d vlan_id  = %d\r\n",
            record[add_delete], port_id, record[vlan]);
    }
    IgmpOamControl rest = {record[word], record[byte_a], record[byte_b]};
    return igmp_oam_control_2(record[add_delete], port_id, record[vlan], &rest);
}

}  // namespace mc
