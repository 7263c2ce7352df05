// The configuration commands: codes, fields of their records, handlers (config_commands.cpp).
#pragma once

#include <cstddef>
#include <cstdint>

#include "adapt/records.h"
#include "command/record.h"

namespace mc {

// ---- Records that several commands share --------------------------------------------------------

struct PortAndLimit {
    static constexpr U8 port{8, "port"};
    static constexpr U16 limit{9, "limit"};
    static constexpr auto fields = record_of(port, limit);
};

struct OneVlan {
    static constexpr U16 vlan{8, "vlan"};
    static constexpr auto fields = record_of(vlan);
};

struct OneInterval {
    static constexpr U16 interval{8, "interval"};
    static constexpr auto fields = record_of(interval);
};

struct OneSwitch {
    static constexpr U8 enable{8, "enable"};
    static constexpr auto fields = record_of(enable);
};

// A rule, in the layout of PortVlanCfgEntry.
struct VlanRule {
    static constexpr std::uint32_t at = kRecordHeader;
    static constexpr U8 port{at + offsetof(PortVlanCfgEntry, portNO), "portNO"};
    static constexpr U8 up_mode{at + offsetof(PortVlanCfgEntry, prouptagmode), "prouptagmode"};
    static constexpr U16 in_up{at + offsetof(PortVlanCfgEntry, in_up_vlan), "in_up_vlan"};
    static constexpr U16 out_up{at + offsetof(PortVlanCfgEntry, out_up_vlan), "out_up_vlan"};
    static constexpr U8 down_mode{at + offsetof(PortVlanCfgEntry, prodntagmode), "prodntagmode"};
    static constexpr U16 in_down{at + offsetof(PortVlanCfgEntry, in_dn_vlan), "in_dn_vlan"};
    static constexpr U16 out_down{at + offsetof(PortVlanCfgEntry, out_dn_vlan), "out_dn_vlan"};
    static constexpr U8 data_mode{at + offsetof(PortVlanCfgEntry, datedntagmode), "datedntagmode"};
    static constexpr U16 in_data{at + offsetof(PortVlanCfgEntry, in_data_vlan), "in_data_vlan"};
    static constexpr U16 out_data{at + offsetof(PortVlanCfgEntry, out_data_vlan), "out_data_vlan"};
    static constexpr U8 flag{at + offsetof(PortVlanCfgEntry, rule_flag), "rule_flag"};
    static constexpr U8 padding{at + sizeof(PortVlanCfgEntry) - 1, "unused"};
    static constexpr auto fields = record_of(port, up_mode, in_up, out_up, down_mode, in_down,
                                             out_down, data_mode, in_data, out_data, flag, padding);
};

// A port, a tag mode and one or two VLANs, of which a rule is made.
struct ServicePort {
    static constexpr U32 port{8, "port"};
    static constexpr U32 mode{12, "mode"};
    static constexpr U32 vlan{16, "vlan"};
    static constexpr U32 vlan2{20, "vlan2"};
    static constexpr auto fields = record_of(port, mode, vlan, vlan2);
};

struct GroupRange {
    static constexpr U8 port{8, "port"};
    static constexpr U32 start{9, "start"};
    static constexpr U32 end{13, "end"};
    static constexpr U32 bandwidth{17, "bandwidth"};
    static constexpr U16 vlan{21, "vlan"};
    static constexpr auto fields = record_of(port, start, end, bandwidth, vlan);
};

struct PrivateGroup {
    static constexpr U32 group{8, "group"};
    static constexpr U16 vlan{12, "vlan"};
    static constexpr U8 extra{14, "unused"};
    static constexpr auto fields = record_of(group, vlan, extra);
};

// ---- Mode and ports ----------------------------------------------------------------------------

struct SetMode : Command<1> {
    static constexpr U8 mode{8, "mode"};
    static constexpr auto fields = record_of(mode);
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!omci_set_multicast_mode Fail");
    static std::int32_t run(CommandRecord record);
};

struct SetPortLeaveMode : Command<2> {
    static constexpr U8 port{8, "port"};
    static constexpr U8 mode{9, "mode"};
    static constexpr auto fields = record_of(port, mode);
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!SET_OMCI_PORT_IGMP_LEAVE_MODE Fail");
    static std::int32_t run(CommandRecord record);
};

struct SetGroupLimit : Command<3, PortAndLimit> {
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!omci_set_port_igmpgroup_limit Fail");
    static std::int32_t run(CommandRecord record);
};

struct SetDefaultVlan : Command<4, OneVlan> {
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!omci_set_igmp_default_vlan Fail");
    static std::int32_t run(CommandRecord record);
};

struct SetVlanLearning : Command<5, OneSwitch> {
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!omci_set_igmp_dynamic_enable Fail");
    static std::int32_t run(CommandRecord record);
};

struct ClearPortParameters : Command<12> {
    static constexpr U8 port{8, "port"};
    static constexpr U8 type{9, "type"};
    static constexpr auto fields = record_of(port, type);
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!omci_clear_igmp_parmeter Fail");
    static std::int32_t run(CommandRecord record);
};

struct SetSignallingVlan : Command<13> {
    static constexpr U8 port{8, "port"};
    static constexpr U16 outer_tci{9, "outer tci"};
    static constexpr U16 outer_vid{11, "outer vid"};
    static constexpr U16 inner_tci{13, "inner tci"};
    static constexpr U16 inner_vid{15, "inner vid"};
    static constexpr U16 down_vid{17, "down vid"};
    static constexpr auto fields =
        record_of(port, outer_tci, outer_vid, inner_tci, inner_vid, down_vid);
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!igmp_adapt_set_sig_vlan Fail");
    static std::int32_t run(CommandRecord record);
};

struct SetLeaveMode : Command<20> {
    static constexpr U8 mode{8, "mode"};
    static constexpr auto fields = record_of(mode);
    static constexpr Failure failure = fails("\r\n[MC_DBG_ERR]: \n ERROR!SET_IGMP_FAST_LEAVE Fail");
    static std::int32_t run(CommandRecord record);
};

struct SetStandardMode : Command<52> {
    static constexpr U8 mode{8, "mode"};
    static constexpr auto fields = record_of(mode);
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!onu_std_omci_set_multicast_mode Fail");
    static std::int32_t run(CommandRecord record);
};

struct SetStandardGroupLimit : Command<56, PortAndLimit> {
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!onu_std_omci_set_port_igmpgroup_limit Fail");
    static std::int32_t run(CommandRecord record);
};

struct SetBandwidthLimit : Command<57> {
    static constexpr U8 port{8, "port"};
    static constexpr U8 enable{9, "enable"};
    static constexpr U32 bandwidth{10, "bandwidth"};
    static constexpr U16 extra{14, "extra"};
    static constexpr auto fields = record_of(port, enable, bandwidth, extra);
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!onu_std_max_multi_bandwidth_limit Fail");
    static std::int32_t run(CommandRecord record);
};

struct ClearAllParameters : Command<64> {
    static std::int32_t run(CommandRecord record);
};

struct SetFastLeaveMode : Command<83> {
    static constexpr U32 mode{8, "mode"};
    static constexpr auto fields = record_of(mode);
    static std::int32_t run(CommandRecord record);
};

// ---- Protocol parameters -----------------------------------------------------------------------

// Byte 8 is not used, and the query interval, passed second, travels last.
struct SetGlobalParameters : Command<14> {
    static constexpr U8 robustness{9, "robustness"};
    static constexpr U16 max_resp_time{10, "max response time"};
    static constexpr U16 last_member_interval{12, "last member query interval"};
    static constexpr U16 last_member_count{14, "last member query count"};
    static constexpr U16 query_interval{16, "query interval"};
    static constexpr auto fields = record_of(robustness, max_resp_time, last_member_interval,
                                             last_member_count, query_interval);
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!omci_set_igmp_global_parmeter Fail");
    static std::int32_t run(CommandRecord record);
};

struct SetAgeingInterval : Command<22> {
    static constexpr U32 interval{8, "interval"};
    static constexpr auto fields = record_of(interval);
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!omci_set_igmp_global_parmeter Fail");
    static std::int32_t run(CommandRecord record);
};

struct SetVersion : Command<27> {
    static constexpr U8 version{8, "version"};
    static constexpr auto fields = record_of(version);
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!omci_igmp_version_globle_set Fail");
    static std::int32_t run(CommandRecord record);
};

struct SetProxyAddress : Command<28> {
    static constexpr U32 address{8, "address"};
    static constexpr auto fields = record_of(address);
    static constexpr Failure failure =
        fails_with_status("\r\n[MC_DBG_ERR]:  igmp_globle_proxyip_set is error ret = %d\r\n");
    static std::int32_t run(CommandRecord record);
};

struct SetSsmRange : Command<29> {
    static constexpr U32 start{8, "start"};
    static constexpr U32 end{12, "end"};
    static constexpr auto fields = record_of(start, end);
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!omci_igmp_ssm_ip_globle_set Fail");
    static std::int32_t run(CommandRecord record);
};

// The record carries six words, of which five are used.
struct SetSsmMap : Command<30> {
    static constexpr U32 word0{8, "word 0"};
    static constexpr U32 word1{12, "word 1"};
    static constexpr U32 word2{16, "word 2"};
    static constexpr U32 word3{20, "word 3"};
    static constexpr U32 word4{24, "word 4"};
    static constexpr U32 word5{28, "unused"};
    static constexpr auto fields = record_of(word0, word1, word2, word3, word4, word5);
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!omci_igmp_ssm_map_globle_set Fail");
    static std::int32_t run(CommandRecord record);
};

struct SetRobustness : Command<97> {
    static constexpr U8 robustness{8, "robustness"};
    static constexpr auto fields = record_of(robustness);
    static constexpr Failure failure =
        fails_with_status("\r\n[MC_DBG_ERR]:  SET_IGMP_VARIABLE is error ret = %d\r\n");
    static std::int32_t run(CommandRecord record);
};

struct SetQueryInterval : Command<98, OneInterval> {
    static constexpr Failure failure =
        fails_with_status("\r\n[MC_DBG_ERR]:  SET_IGMP_INTERVAL is error ret = %d\r\n");
    static std::int32_t run(CommandRecord record);
};

struct SetResponseInterval : Command<99, OneInterval> {
    static constexpr Failure failure =
        fails_with_status("\r\n[MC_DBG_ERR]:  SET_IGMP_RESPONSE_INTERVAL is error ret = %d\r\n");
    static std::int32_t run(CommandRecord record);
};

struct SetLastMemberInterval : Command<100, OneInterval> {
    static constexpr Failure failure =
        fails_with_status("\r\n[MC_DBG_ERR]:  SET_IGMP_QUERY_INTERVAL is error ret = %d\r\n");
    static std::int32_t run(CommandRecord record);
};

struct SetLastMemberCount : Command<101> {
    static constexpr U16 count{8, "count"};
    static constexpr auto fields = record_of(count);
    static constexpr Failure failure =
        fails_with_status("\r\n[MC_DBG_ERR]:  SET_IGMP_QUERY_COUNT is error ret = %d\r\n");
    static std::int32_t run(CommandRecord record);
};

struct SetAgeing : Command<102, OneSwitch> {
    static constexpr Failure failure =
        fails_with_status("\r\n[MC_DBG_ERR]:  SET_IGMP_AGING is error %d\r\n");
    static std::int32_t run(CommandRecord record);
};

struct SetTableReturn : Command<114> {
    static constexpr U32 value{8, "value"};
    static constexpr auto fields = record_of(value);
    static constexpr Failure failure =
        fails_with_status("\r\n[MC_DBG_ERR]:  igmp_set_table_return is error ret = %d\r\n");
    static std::int32_t run(CommandRecord record);
};

struct SetMldAgeing : Command<115, OneSwitch> {
    static constexpr Failure failure =
        fails_with_status("\r\n[MC_DBG_ERR]:  SET_MLD_AGING is error %d\r\n");
    static std::int32_t run(CommandRecord record);
};

// The stored protocol parameters, given to the core once more so that it hears of a changed ageing
// interval.
std::int32_t push_stored_parameters();

// ---- The core's VLAN list ----------------------------------------------------------------------

// The add's failure text stands for the deletions too, kept on purpose.
constexpr Failure kVlanListFailure = fails("\r\n[MC_DBG_ERR]: \n ERROR!ADD_IGMP_VLAN Fail");

struct AddVlans : Command<32> {
    static constexpr U16 first{8, "first"};
    static constexpr U16 last{10, "last"};
    static constexpr auto fields = record_of(first, last);
    static constexpr Failure failure = kVlanListFailure;
    static std::int32_t run(CommandRecord record);
};

struct DeleteVlan : Command<33, OneVlan> {
    static constexpr Failure failure = kVlanListFailure;
    static std::int32_t run(CommandRecord record);
};

struct DeleteAllVlans : Command<34> {
    static constexpr Failure failure = kVlanListFailure;
    static std::int32_t run(CommandRecord record);
};

// ---- Multicast VLAN rules ----------------------------------------------------------------------

struct RemoveServicePort : Command<16, ServicePort> {
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!igmp_service_remove_port_config Fail");
    static std::int32_t run(CommandRecord record);
};

struct SetPortVlanMode : Command<17, ServicePort> {
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!SET_IGMP_PORT_VLAN_MODE Fail");
    static std::int32_t run(CommandRecord record);
};

struct SetRule : Command<50, VlanRule> {
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!onu_std_omci_set_multicast_vlan Fail");
    static std::int32_t run(CommandRecord record);
};

struct DeleteRule : Command<51, VlanRule> {
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!onu_std_omci_delete_multicast_vlan Fail");
    static std::int32_t run(CommandRecord record);
};

struct SetWebRule : Command<110, VlanRule> {
    static std::int32_t run(CommandRecord record);
};

// ---- Authorised groups -------------------------------------------------------------------------

struct AddPrivateGroup : Command<6, PrivateGroup> {
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!omci_add_auth_igmp_group_vlan_config Fail");
    static std::int32_t run(CommandRecord record);
};

struct DeletePrivateGroup : Command<7, PrivateGroup> {
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!omci_delete_auth_igmp_group_vlan_config Fail");
    static std::int32_t run(CommandRecord record);
};

struct ClearPrivateGroups : Command<8> {
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!omci_clear_all_auth_igmp_group_vlan_config Fail");
    static std::int32_t run(CommandRecord record);
};

struct SetControlList : Command<9> {
    static constexpr U16 port{8, "port"};
    static constexpr U8 add_delete{10, "add/delete"};
    static constexpr U16 vlan{11, "vlan"};
    static constexpr U32 start{13, "start"};
    static constexpr U32 end{17, "end"};
    static constexpr auto fields = record_of(port, add_delete, vlan, start, end);
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!omci_set_port_to_control_multicast_list_table Fail");
    static std::int32_t run(CommandRecord record);
};

struct AddStandardGroups : Command<53, GroupRange> {
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!onu_std_omci_add_auth_igmp_group_vlan_config Fail");
    static std::int32_t run(CommandRecord record);
};

struct DeleteStandardGroups : Command<54, GroupRange> {
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!onu_std_omci_delete_auth_igmp_group_vlan_config Fail");
    static std::int32_t run(CommandRecord record);
};

struct ClearStandardGroups : Command<55> {
    static constexpr U8 port{8, "port"};
    static constexpr auto fields = record_of(port);
    static constexpr Failure failure = fails(
        "\r\n[MC_DBG_ERR]: \n ERROR!onu_std_omci_clear_port_all_auth_igmp_group_vlan_config Fail");
    static std::int32_t run(CommandRecord record);
};

// The standard operation's name stands in the failure text, kept on purpose.
struct AddGroups : Command<88, GroupRange> {
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!onu_std_omci_add_auth_igmp_group_vlan_config Fail");
    static std::int32_t run(CommandRecord record);
};

struct SetRangeAuthorisation : Command<87> {
    static constexpr U16 port{8, "port"};
    static constexpr U8 enable{10, "enable"};
    static constexpr auto fields = record_of(port, enable);
    static constexpr Failure failure =
        fails_with_status("\r\n[MC_DBG_ERR]:  SET_OMCI_IGMP_RANGE_AUTH is error ret = %d\r\n");
    static std::int32_t run(CommandRecord record);
};

// OAM counts ports from 1.
struct SetOamControl : Command<84> {
    static constexpr U8 add_delete{8, "add/delete"};
    static constexpr U16 port{9, "port from 1"};
    static constexpr U16 vlan{11, "vlan"};
    static constexpr U32 word{13, "word"};
    static constexpr U8 byte_a{17, "byte a"};
    static constexpr U8 byte_b{18, "byte b"};
    static constexpr auto fields = record_of(add_delete, port, vlan, word, byte_a, byte_b);
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!MC_OAM_SET_CONTROL_2 Fail");
    static std::int32_t run(CommandRecord record);
};

}  // namespace mc
