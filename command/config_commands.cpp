// The configuration commands.
//
// Every handler has one shape: read the fields, trace them, call one operation, report its failure.
// Nothing is range-checked here; the operations apply their own checks.
#include <cstdint>
#include <cstdio>

#include "adapt/adapt.h"
#include "adapt/records.h"
#include "adapt/status_segment.h"
#include "command/auth_groups.h"
#include "command/handlers.h"
#include "command/record.h"
#include "common/diagnostics.h"
#include "platform/protocol_core.h"
#include "settings/settings.h"
#include "vlan/vlan.h"

namespace mc {

// ---- Mode and ports ----------------------------------------------------------------------------

void set_mode(const CommandRecord& record) {
    if (omci_set_multicast_mode(record.u8(8)) != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!omci_set_multicast_mode Fail");
    }
}

void set_port_leave_mode(const CommandRecord& record) {
    if (omci_set_port_igmp_leave_mode(record.u8(8), record.u8(9)) != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!SET_OMCI_PORT_IGMP_LEAVE_MODE Fail");
    }
}

void set_group_limit(const CommandRecord& record) {
    if (omci_set_port_igmpgroup_limit(record.u8(8), record.be16(9)) != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!omci_set_port_igmpgroup_limit Fail");
    }
}

void set_default_vlan(const CommandRecord& record) {
    const std::uint16_t vlan = record.be16(8);
    if (igmp_says(kConfig)) std::printf("\r\n[MC_DBG_CFG]: vlan_id = %d !\n", vlan);
    if (omci_set_igmp_default_vlan(vlan) != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!omci_set_igmp_default_vlan Fail");
    }
}

void set_vlan_learning(const CommandRecord& record) {
    if (omci_set_igmp_dynamic_enable(record.u8(8)) != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!omci_set_igmp_dynamic_enable Fail");
    }
}

void clear_port_parameters(const CommandRecord& record) {
    if (omci_clear_igmp_parmeter(record.u8(8), record.u8(9)) != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!omci_clear_igmp_parmeter Fail");
    }
}

// Only the VIDs are used; the TCIs are traced.
void set_signalling_vlan(const CommandRecord& record) {
    const std::uint16_t outer_vid = record.be16(11);
    const std::uint16_t inner_vid = record.be16(15);
    if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: OMCI_SET_PORT_UP_IGMP_VLAN outer_vlan.tci =%d outer_vlan.vid =%d inner_vlan.tci =%d inner_vlan.vid =%d\r\n",
            record.be16(9), outer_vid, record.be16(13), inner_vid);
    }
    if (igmp_adapt_set_sig_vlan(record.u8(8), outer_vid, inner_vid, record.be16(17)) != 0 &&
        igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!igmp_adapt_set_sig_vlan Fail");
    }
}

void set_leave_mode(const CommandRecord& record) {
    if (omci_set_igmp_leave_mode(record.u8(8)) != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!SET_IGMP_FAST_LEAVE Fail");
    }
}

void set_standard_mode(const CommandRecord& record) {
    if (onu_std_omci_set_multicast_mode(record.u8(8)) != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!onu_std_omci_set_multicast_mode Fail");
    }
}

void set_standard_group_limit(const CommandRecord& record) {
    const std::uint8_t port = record.u8(8);
    const std::uint16_t limit = record.be16(9);
    if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: STD_OMCI_MAX_GROUP_NUM std_omci_port = %d std_omci_max_grp = %d\r\n",
            port, limit);
    }
    if (onu_std_omci_set_port_igmpgroup_limit(port, limit) != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!onu_std_omci_set_port_igmpgroup_limit Fail");
    }
}

void set_bandwidth_limit(const CommandRecord& record) {
    const std::uint8_t port = record.u8(8);
    const std::uint8_t enable = record.u8(9);
    const std::uint32_t bandwidth = record.be32(10);
    if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: STD_MAX_MULTI_BANDWIDTH_LIMIT std_omci_port = %d std_omci_grp_enable = %d imputed_bandwidth = %d\r\n",
            port, enable, bandwidth);
    }
    if (onu_std_max_multi_bandwidth_limit(port, enable, bandwidth, record.be16(14)) != 0 &&
        igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!onu_std_max_multi_bandwidth_limit Fail");
    }
}

void clear_all_parameters(const CommandRecord& /*record*/) {
    static_cast<void>(omci_clear_igmp_all_parmeter());
}

// ---- Protocol parameters -----------------------------------------------------------------------

// The query interval travels last in the record and is passed second.
void set_global_parameters(const CommandRecord& record) {
    if (omci_set_igmp_global_parmeter(record.u8(9), record.be16(16), record.be16(10),
                                      record.be16(12), record.be16(14)) != 0 &&
        igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!omci_set_igmp_global_parmeter Fail");
    }
}

std::int32_t push_stored_parameters() {
    return omci_set_igmp_global_parmeter(
        globle_parm.robustness, globle_parm.query_interval, globle_parm.query_max_resp_time,
        globle_parm.last_member_query_interval, globle_parm.last_member_query_count);
}

void set_ageing_interval(const CommandRecord& record) {
    setIgmpAgeEnable(record.be32(8));
    if (push_stored_parameters() != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!omci_set_igmp_global_parmeter Fail");
    }
}

void set_version(const CommandRecord& record) {
    const std::uint8_t version = record.u8(8);
    if (version < 1 || version > 3) {
        if (igmp_says(kErrors)) std::puts("\r\n[MC_DBG_ERR]: set igmp version error!");
        return;
    }
    if (omci_igmp_version_globle_set(version) != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!omci_igmp_version_globle_set Fail");
    }
}

void set_proxy_address(const CommandRecord& record) {
    if (const std::int32_t ret = igmp_globle_proxyip_set(record.be32(8));
        ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]:  igmp_globle_proxyip_set is error ret = %d\r\n", ret);
    }
}

void set_ssm_range(const CommandRecord& record) {
    if (omci_igmp_ssm_ip_globle_set(record.be32(8), record.be32(12)) != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!omci_igmp_ssm_ip_globle_set Fail");
    }
}

// The record carries six words; the sixth is not used.
void set_ssm_map(const CommandRecord& record) {
    if (omci_igmp_ssm_map_globle_set(record.be32(8), record.be32(12), record.be32(16),
                                     record.be32(20), record.be32(24)) != 0 &&
        igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!omci_igmp_ssm_map_globle_set Fail");
    }
}

void set_robustness(const CommandRecord& record) {
    const std::uint8_t value = record.u8(8);
    if (igmp_says(kConfig)) std::printf("\r\n[MC_DBG_CFG]: SET_IGMP_VARIABLE %d \r\n", value);
    if (const std::int32_t ret = omci_set_para_rv_globle(value); ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]:  SET_IGMP_VARIABLE is error ret = %d\r\n", ret);
    }
}

namespace {

// The three intervals share one trace, kept on purpose.
void trace_interval(std::uint16_t value) {
    if (igmp_says(kConfig)) std::printf("\r\n[MC_DBG_CFG]: SET_IGMP_INTERVAL %d \r\n", value);
}

}  // namespace

void set_query_interval(const CommandRecord& record) {
    const std::uint16_t value = record.be16(8);
    trace_interval(value);
    if (const std::int32_t ret = omci_set_para_qi_globle(value); ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]:  SET_IGMP_INTERVAL is error ret = %d\r\n", ret);
    }
}

void set_response_interval(const CommandRecord& record) {
    const std::uint16_t value = record.be16(8);
    trace_interval(value);
    if (const std::int32_t ret = omci_set_para_qri_globle(value); ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]:  SET_IGMP_RESPONSE_INTERVAL is error ret = %d\r\n", ret);
    }
}

void set_last_member_interval(const CommandRecord& record) {
    const std::uint16_t value = record.be16(8);
    trace_interval(value);
    if (const std::int32_t ret = omci_set_para_lmqi_globle(value); ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]:  SET_IGMP_QUERY_INTERVAL is error ret = %d\r\n", ret);
    }
}

void set_last_member_count(const CommandRecord& record) {
    const std::uint16_t value = record.be16(8);
    if (igmp_says(kConfig)) std::printf("\r\n[MC_DBG_CFG]: SET_IGMP_QUERY_COUNT %d \r\n", value);
    if (const std::int32_t ret = omci_set_para_lmqc_globle(value); ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]:  SET_IGMP_QUERY_COUNT is error ret = %d\r\n", ret);
    }
}

void set_table_return(const CommandRecord& record) {
    if (const std::int32_t ret = igmp_set_table_return(static_cast<std::int32_t>(record.be32(8)));
        ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]:  igmp_set_table_return is error ret = %d\r\n", ret);
    }
}

void set_ageing(const CommandRecord& record) {
    const std::uint8_t enable = record.u8(8);
    // The robustness trace stands here too, kept on purpose.
    if (igmp_says(kConfig)) std::printf("\r\n[MC_DBG_CFG]: SET_IGMP_VARIABLE %d \r\n", enable);
    if (const std::int32_t ret = igmp_aging_function_set(enable); ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]:  SET_IGMP_AGING is error %d\r\n", ret);
    }
}

void set_mld_ageing(const CommandRecord& record) {
    const std::uint8_t enable = record.u8(8);
    if (igmp_says(kConfig)) std::printf("\r\n[MC_DBG_CFG]: SET_MLD_VARIABLE %d \r\n", enable);
    if (const std::int32_t ret = mld_pack_set_age_switch(enable); ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]:  SET_MLD_AGING is error %d\r\n", ret);
    }
}

// Fast leave of the six user ports: on for mode 2, off for every other. The mode itself is shown to
// other processes.
void set_fast_leave_mode(const CommandRecord& record) {
    constexpr std::uint32_t kFastLeave = 2;
    const std::uint32_t mode = record.be32(8);
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: SET_IGMP_FAST_LEAVE_MODE %d\r\n", mode);
    }
    status_store_word(kStatusFastLeave, mode);
    const std::uint32_t fast = mode == kFastLeave ? 1 : 0;
    for (std::uint32_t port = 0; port < MC_PORTS - 1; ++port) {
        if (omci_set_port_igmp_leave_mode(port, fast) != 0 && igmp_says(kErrors)) {
            std::puts("\r\n[MC_DBG_ERR]: omci_set_port_igmp_leave_mode is error\r");
        }
    }
}

// ---- The core's VLAN list ----------------------------------------------------------------------

// Adds a range of VLANs. The first one is added twice, and a last VLAN below the first wraps around
// 16 bits; only the last answer counts. Kept on purpose.
void add_vlans(const CommandRecord& record) {
    const std::uint16_t first = record.be16(8);
    const std::uint16_t last = record.be16(10);
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: vlan_id %d !\n", first);
        std::printf("\r\n[MC_DBG_CFG]: port %d !\n", last);
    }
    static_cast<void>(igmp_vlan_add(first));
    const std::uint16_t count = last == 0 ? 0 : static_cast<std::uint16_t>(last - first);
    std::int32_t ret = 0;
    for (std::uint32_t i = 0; i <= count; ++i) {
        ret = igmp_vlan_add(static_cast<std::uint16_t>(first + i));
    }
    if (ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!ADD_IGMP_VLAN Fail");
    }
}

namespace {

// The add's failure text stands for both deletions, kept on purpose.
void say_vlan_not_deleted() {
    if (igmp_says(kErrors)) std::printf("\r\n[MC_DBG_ERR]: \n ERROR!ADD_IGMP_VLAN Fail");
}

}  // namespace

void delete_vlan(const CommandRecord& record) {
    const std::uint16_t vlan = record.be16(8);
    if (igmp_says(kConfig)) std::printf("\r\n[MC_DBG_CFG]: DEL_IGMP_VLAN vlan_id = %d\r\n", vlan);
    if (igmp_vlan_del(vlan) != 0) say_vlan_not_deleted();
}

void delete_all_vlans(const CommandRecord& /*record*/) {
    if (igmp_vlan_del_all() != 0) say_vlan_not_deleted();
}

// ---- Multicast VLAN rules ----------------------------------------------------------------------

namespace {

// A rule as it travels: the layout of PortVlanCfgEntry, big-endian.
PortVlanCfgEntry rule_in(const CommandRecord& record) {
    return {
        .portNO = static_cast<std::int8_t>(record.u8(8)),
        .prouptagmode = static_cast<std::int8_t>(record.u8(9)),
        .in_up_vlan = record.be16(10),
        .out_up_vlan = record.be16(12),
        .prodntagmode = static_cast<std::int8_t>(record.u8(14)),
        .in_dn_vlan = record.be16(16),
        .out_dn_vlan = record.be16(18),
        .datedntagmode = static_cast<std::int8_t>(record.u8(20)),
        .in_data_vlan = record.be16(22),
        .out_data_vlan = record.be16(24),
        .rule_flag = record.u8(26),
    };
}

// Port, tag mode and two VLANs, a word each.
struct ServicePort {
    std::int32_t port;
    std::int32_t mode;
    std::int32_t vlan;
    std::int32_t vlan2;
};

ServicePort service_port_in(const CommandRecord& record) {
    return {record.s32(8), record.s32(12), record.s32(16), record.s32(20)};
}

}  // namespace

void remove_service_port(const CommandRecord& record) {
    const ServicePort service = service_port_in(record);
    if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: SET_IGMP_SER_REMV_PORT_CONFIG port_no =%d tag_mode =%d temp = %d temp_scd = %d\r\n",
            service.port, service.mode, service.vlan, service.vlan2);
    }
    if (igmp_service_remove_port_config(service.port, service.mode, service.vlan, service.vlan2) !=
            0 &&
        igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!igmp_service_remove_port_config Fail");
    }
}

void set_port_vlan_mode(const CommandRecord& record) {
    const ServicePort service = service_port_in(record);
    if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: SET_IGMP_PORT_VLAN_MODE port_no =%d tag_mode =%d temp = %d temp_scd = %d\r\n",
            service.port, service.mode, service.vlan, service.vlan2);
    }
    if (igmp_port_vlan_and_mode_set(service.port, service.mode, service.vlan, service.vlan2) != 0 &&
        igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!SET_IGMP_PORT_VLAN_MODE Fail");
    }
}

void set_rule(const CommandRecord& record) {
    PortVlanCfgEntry rule = rule_in(record);
    if (onu_std_omci_set_multicast_vlan(&rule) != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!onu_std_omci_set_multicast_vlan Fail");
    }
}

void delete_rule(const CommandRecord& record) {
    PortVlanCfgEntry rule = rule_in(record);
    if (onu_std_omci_delete_multicast_vlan(&rule) != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!onu_std_omci_delete_multicast_vlan Fail");
    }
}

// Its failure goes by the report level, not by the category mask.
void set_web_rule(const CommandRecord& record) {
    constexpr int kReportedLine = 4780;
    PortVlanCfgEntry rule = rule_in(record);
    if (onu_std_omci_web_set_vlan(&rule) == 0 || igmp_adapt < -1) return;
    std::printf("\r\n [IGMP_ERROR]%s(%d): ", "process_interface_msg", kReportedLine);
    std::printf("\n ERROR!onu_std_omci_web_set_vlan Fail");
    std::puts("\r");
}

// ---- Authorised groups -------------------------------------------------------------------------

void add_private_group(const CommandRecord& record) {
    const std::uint16_t vlan = record.be16(12);
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: ADD_OMCI_AUTH_IGMP_GROUP_VLAN_CONFIG vlan_id =%d\r\n", vlan);
    }
    if (omci_add_auth_igmp_group_vlan_config(record.be32(8), vlan, record.u8(14)) != 0 &&
        igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!omci_add_auth_igmp_group_vlan_config Fail");
    }
}

void delete_private_group(const CommandRecord& record) {
    const std::uint16_t vlan = record.be16(12);
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: DEL_OMCI_AUTH_IGMP_GROUP_VLAN_CONFIG vlan_id =%d\r\n", vlan);
    }
    if (omci_delete_auth_igmp_group_vlan_config(record.be32(8), vlan, record.u8(14)) != 0 &&
        igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!omci_delete_auth_igmp_group_vlan_config Fail");
    }
}

void clear_private_groups(const CommandRecord& /*record*/) {
    if (omci_clear_all_auth_igmp_group_vlan_config() != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!omci_clear_all_auth_igmp_group_vlan_config Fail");
    }
}

void set_control_list(const CommandRecord& record) {
    const std::uint16_t port = record.be16(8);
    const std::uint8_t add_delete = record.u8(10);
    const auto vlan = static_cast<std::int16_t>(record.be16(11));
    const std::uint32_t start = record.be32(13);
    const std::uint32_t end = record.be32(17);
    if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: SET_OMCI_PORT_TO_CONTROL_MULTICAST_LIST_TABLE port = %d add_delete = %d vlan_id = %d             multi_range_start = %d multi_range_end  = %d\r\n",
            port, add_delete, vlan, start, end);
    }
    if (omci_set_port_to_control_multicast_list_table(port, add_delete, vlan, start, end) != 0 &&
        igmp_says(kErrors)) {
        std::printf(
            "\r\n[MC_DBG_ERR]: \n ERROR!omci_set_port_to_control_multicast_list_table Fail");
    }
}

namespace {

// A group range: port, addresses, bandwidth and VLAN, packed from offset 8 on.
struct GroupRange {
    std::uint8_t port;
    std::uint32_t start;
    std::uint32_t end;
    std::uint32_t bandwidth;
    std::uint16_t vlan;
};

GroupRange group_range_in(const CommandRecord& record) {
    return {record.u8(8), record.be32(9), record.be32(13), record.be32(17), record.be16(21)};
}

}  // namespace

void add_standard_groups(const CommandRecord& record) {
    const GroupRange range = group_range_in(record);
    if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: STD_OMCI_ADD_AUTH_IGMP_GROUP std_omci_port = %d multi_range_start = %d multi_range_end =%d imputed_bandwidth =%d vlan_id = %d\r\n",
            range.port, range.start, range.end, range.bandwidth, range.vlan);
    }
    if (onu_std_omci_add_auth_igmp_group_vlan_config(range.port, range.start, range.end,
                                                     range.bandwidth, range.vlan) != 0 &&
        igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!onu_std_omci_add_auth_igmp_group_vlan_config Fail");
    }
}

void delete_standard_groups(const CommandRecord& record) {
    const GroupRange range = group_range_in(record);
    if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: STD_OMCI_DEL_AUTH_IGMP_GROUP std_omci_port = %d multi_range_start = %d multi_range_end =%d imputed_bandwidth =%d vlan_id = %d\r\n",
            range.port, range.start, range.end, range.bandwidth, range.vlan);
    }
    if (onu_std_omci_delete_auth_igmp_group_vlan_config(range.port, range.start, range.end,
                                                        range.bandwidth, range.vlan) != 0 &&
        igmp_says(kErrors)) {
        std::printf(
            "\r\n[MC_DBG_ERR]: \n ERROR!onu_std_omci_delete_auth_igmp_group_vlan_config Fail");
    }
}

void clear_standard_groups(const CommandRecord& record) {
    constexpr std::uint32_t kAllVlans = 65535;
    const std::uint8_t port = record.u8(8);
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: STD_OMCI_CLEAR_ALL_AUTH_IGMP_GROUP std_omci_port = %d\r\n",
                    port);
    }
    if (onu_std_omci_clear_port_all_auth_igmp_group_vlan_config(port, kAllVlans) != 0 &&
        igmp_says(kErrors)) {
        std::printf(
            "\r\n[MC_DBG_ERR]: \n ERROR!onu_std_omci_clear_port_all_auth_igmp_group_vlan_config Fail");
    }
}

// The standard operation's name stands in the failure text, kept on purpose.
void add_groups(const CommandRecord& record) {
    const GroupRange range = group_range_in(record);
    if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: OMCI_ADD_AUTH_IGMP_GROUP std_omci_port = %d multi_range_start = %d multi_range_end =%d imputed_bandwidth =%d vlan_id = %d\r\n",
            range.port, range.start, range.end, range.bandwidth, range.vlan);
    }
    if (onu_omci_add_auth_igmp_group_vlan_config(range.port, range.start, range.end,
                                                 range.bandwidth, range.vlan) != 0 &&
        igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!onu_std_omci_add_auth_igmp_group_vlan_config Fail");
    }
}

void set_range_authorisation(const CommandRecord& record) {
    const std::uint16_t port = record.be16(8);
    const std::uint8_t enable = record.u8(10);
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: SET_OMCI_IGMP_RANGE_AUTH %d,%d \r\n", port, enable);
    }
    if (const std::int32_t ret =
            igmp_if_grp_range_auth_enable(static_cast<std::uint8_t>(port), enable);
        ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]:  SET_OMCI_IGMP_RANGE_AUTH is error ret = %d\r\n", ret);
    }
}

// OAM counts ports from 1.
void set_oam_control(const CommandRecord& record) {
    const std::uint8_t add_delete = record.u8(8);
    const auto port = static_cast<std::uint16_t>(record.be16(9) - 1);
    const std::uint16_t vlan = record.be16(11);
    if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: MC_OAM_SET_CONTROL_2 add_delete  = %d port_no  = %d vlan_id  = %d\r\n",
            add_delete, port, vlan);
    }
    IgmpOamControl rest = {record.be32(13), record.u8(17), record.u8(18)};
    if (igmp_oam_control_2(add_delete, port, vlan, &rest) != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!MC_OAM_SET_CONTROL_2 Fail");
    }
}

}  // namespace mc
