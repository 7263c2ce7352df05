// The dispatcher: one table of command codes, a line a command.
//
// Every handler has one shape: read the fields, trace them, call one operation, report its failure.
// Nothing is range-checked here; the operations apply their own checks.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>

#include "adapt/adapt.h"
#include "adapt/records.h"
#include "command/command.h"
#include "command/record.h"
#include "common/diagnostics.h"
#include "igmp/igmp.h"
#include "mld/mld.h"
#include "platform/protocol_core.h"
#include "settings/settings.h"

namespace mc {

namespace {

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
            "\r\n[MC_DBG_CFG]: OMCI_SET_PORT_UP_IGMP_VLAN outer_vlan.tci =%d outer_vlan.vid =%d "
            "inner_vlan.tci =%d inner_vlan.vid =%d\r\n",
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
            "\r\n[MC_DBG_CFG]: STD_OMCI_MAX_GROUP_NUM std_omci_port = %d std_omci_max_grp = "
            "%d\r\n",
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
            "\r\n[MC_DBG_CFG]: STD_MAX_MULTI_BANDWIDTH_LIMIT std_omci_port = %d "
            "std_omci_grp_enable = %d imputed_bandwidth = %d\r\n",
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

// The parameters as they are stored, so that the core hears of a changed ageing interval.
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

// The three intervals share one trace, kept on purpose.
void trace_interval(std::uint16_t value) {
    if (igmp_says(kConfig)) std::printf("\r\n[MC_DBG_CFG]: SET_IGMP_INTERVAL %d \r\n", value);
}

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

// ---- Tests and diagnostics
// -----------------------------------------------------------------------

// The built-in report, as if it had come in on the port.
void inject_test_frame(const CommandRecord& record) {
    if (igmpL2PktProc(jion_buffer, MC_JION_BUFFER_SIZE, record.u8(8)) != 0 && igmp_says(kErrors)) {
        std::puts("\r\n[MC_DBG_ERR]: test igmpL2PktProc error\r");
    }
}

void set_test_uplink(const CommandRecord& record) {
    static_cast<void>(igmp_adapt_set_test_uplink(static_cast<std::int32_t>(record.be32(8))));
}

// Offsets 1 to 6 name one category each, 7 all eight low bits. Enabling a category that is on turns
// it off, kept on purpose.
void switch_debug_mask(const CommandRecord& record) {
    const std::uint32_t offset = record.be32(8);
    const std::uint32_t enable = record.be32(12);
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: SET_IGMP_PROT_DEBUG offset = %d port_no = %d\r\n", offset,
                    enable);
    }
    if (offset < 1 || offset > 7) return;
    const std::uint32_t bits = offset == 7 ? 0xFF : 1u << (offset - 1);
    if (enable != 0 && (mc_debug & bits) == 0) {
        mc_debug |= bits;
    } else {
        mc_debug &= ~bits;
    }
    std::printf("[mc_set_debug]: result: 0x%x.\r\n", mc_debug);
    mld_adapt_set_debug(bits, enable);
}

void set_table_return(const CommandRecord& record) {
    if (const std::int32_t ret = igmp_set_table_return(static_cast<std::int32_t>(record.be32(8)));
        ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]:  igmp_set_table_return is error ret = %d\r\n", ret);
    }
}

// ---- The table
// -----------------------------------------------------------------------------------

struct Command {
    std::uint32_t code;
    void (*run)(const CommandRecord& record);
};

constexpr Command kCommands[] = {
    {1, set_mode},
    {2, set_port_leave_mode},
    {3, set_group_limit},
    {4, set_default_vlan},
    {5, set_vlan_learning},
    {12, clear_port_parameters},
    {13, set_signalling_vlan},
    {14, set_global_parameters},
    {20, set_leave_mode},
    {22, set_ageing_interval},
    {27, set_version},
    {28, set_proxy_address},
    {29, set_ssm_range},
    {30, set_ssm_map},
    {40, inject_test_frame},
    {52, set_standard_mode},
    {56, set_standard_group_limit},
    {57, set_bandwidth_limit},
    {64, clear_all_parameters},
    {85, set_test_uplink},
    {86, switch_debug_mask},
    {97, set_robustness},
    {98, set_query_interval},
    {99, set_response_interval},
    {100, set_last_member_interval},
    {101, set_last_member_count},
    {114, set_table_return},
};

// Strictly ascending: no code may follow one that is as large.
static_assert(std::ranges::is_sorted(kCommands, std::ranges::less_equal{}, &Command::code),
              "codes out of order or twice");

}  // namespace

}  // namespace mc

std::int32_t process_interface_msg(const std::uint8_t* bytes) {
    const mc::CommandRecord record = {bytes};
    const std::uint32_t code = record.code();
    const auto* const found = std::ranges::lower_bound(mc::kCommands, code, {}, &mc::Command::code);
    if (found != std::end(mc::kCommands) && found->code == code) {
        found->run(record);
    } else if (mc::igmp_says(mc::kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: msgid(%d) is not missing!\r\n", code);
    }
    return 0;
}
