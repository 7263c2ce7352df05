// The dispatcher: one table of command codes, a line a command.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>

#include "command/command.h"
#include "command/handlers.h"
#include "command/record.h"
#include "common/diagnostics.h"

namespace mc {

namespace {

struct Command {
    std::uint32_t code;
    void (*run)(const CommandRecord& record);
};

// Fields begin at offset 8 of the record unless the line says otherwise, and follow each other
// without padding. A rule has the layout of PortVlanCfgEntry; a group range is u8 port, u32 start,
// u32 end, u32 bandwidth, u16 VLAN.
//
// clang-format off
constexpr Command kCommands[] = {
    {1, set_mode},                     // u8                             omci_set_multicast_mode
    {2, set_port_leave_mode},          // u8 port, u8                    omci_set_port_igmp_leave_mode
    {3, set_group_limit},              // u8 port, u16                   omci_set_port_igmpgroup_limit
    {4, set_default_vlan},             // u16                            omci_set_igmp_default_vlan
    {5, set_vlan_learning},            // u8                             omci_set_igmp_dynamic_enable
    {6, add_private_group},            // u32 group, u16 VLAN, u8        omci_add_auth_igmp_group_vlan_config
    {7, delete_private_group},         // u32 group, u16 VLAN, u8        omci_delete_auth_igmp_group_vlan_config
    {8, clear_private_groups},         // none                           omci_clear_all_auth_igmp_group_vlan_config
    {9, set_control_list},             // u16 port, u8, u16 VLAN, 2 u32  omci_set_port_to_control_multicast_list_table
    {12, clear_port_parameters},       // u8 port, u8                    omci_clear_igmp_parmeter
    {13, set_signalling_vlan},         // u8 port, 5 u16                 igmp_adapt_set_sig_vlan
    {14, set_global_parameters},       // u8 at 9, 4 u16                 omci_set_igmp_global_parmeter
    {16, remove_service_port},         // 4 u32                          igmp_service_remove_port_config
    {17, set_port_vlan_mode},          // 4 u32                          igmp_port_vlan_and_mode_set
    {20, set_leave_mode},              // u8                             omci_set_igmp_leave_mode
    {22, set_ageing_interval},         // u32                            setIgmpAgeEnable, omci_set_igmp_global_parmeter
    {27, set_version},                 // u8, 1 to 3                     omci_igmp_version_globle_set
    {28, set_proxy_address},           // u32                            igmp_globle_proxyip_set
    {29, set_ssm_range},               // 2 u32                          omci_igmp_ssm_ip_globle_set
    {30, set_ssm_map},                 // 6 u32, 5 used                  omci_igmp_ssm_map_globle_set
    {32, add_vlans},                   // 2 u16                          igmp_vlan_add
    {33, delete_vlan},                 // u16                            igmp_vlan_del
    {34, delete_all_vlans},            // none                           igmp_vlan_del_all
    {35, show_all_groups},             // none                           igmp_display_all_group
    {36, show_group},                  // u32                            igmp_display_special_group
    {37, debug_from_cli},              // u32, 2 u8                      igmp_adapt, or the core's switches
    {39, show_configuration},          // none                           print_configuration
    {40, inject_test_frame},           // u8 port                        igmpL2PktProc
    {50, set_rule},                    // rule                           onu_std_omci_set_multicast_vlan
    {51, delete_rule},                 // rule                           onu_std_omci_delete_multicast_vlan
    {52, set_standard_mode},           // u8                             onu_std_omci_set_multicast_mode
    {53, add_standard_groups},         // group range                    onu_std_omci_add_auth_igmp_group_vlan_config
    {54, delete_standard_groups},      // group range                    onu_std_omci_delete_auth_igmp_group_vlan_config
    {55, clear_standard_groups},       // u8 port                        onu_std_omci_clear_port_all_auth_igmp_group_vlan_config
    {56, set_standard_group_limit},    // u8 port, u16                   onu_std_omci_set_port_igmpgroup_limit
    {57, set_bandwidth_limit},         // 2 u8, u32, u16                 onu_std_max_multi_bandwidth_limit
    {64, clear_all_parameters},        // none                           omci_clear_igmp_all_parmeter
    {66, show_standard_vlan},          // u16 VLAN, u32 port, u16        igmp_show_vlan_config
    {67, show_proxy_groups},           // none                           show_igmp_all_proxy_group
    {68, show_proxy_group},            // u32                            show_igmp_special_proxy_group
    {69, show_vlan_instances},         // none                           igmp_show_vlan_instance
    {70, show_igmpv3_globals},         // none                           show_igmpv3_globle
    {71, show_packet_statistics},      // none                           show_igmp_packet_statistic
    {72, show_interfaces},             // none                           show_igmp_if_list
    {73, show_timers},                 // none                           igmp_timer_show_api
    {74, show_authorised_groups},      // none                           igmp_auth_group_show_api
    {75, set_warnings},                // u8                             igmp_warn_printf_set
    {76, test_report},                 // u32 port, u16 VLAN             test_igmp_report_v2_l3
    {77, test_leave},                  // u32 port, u16 VLAN             test_igmp_leave_v2_l3
    {78, export_port_status},          // u8 port                        igmp_hal_sync_if_status
    {79, export_groups},               // none                           igmp_hal_sync_grp_infor
    {80, show_port_configuration},     // u8 port                        igmp_if_show_if_cfg
    {81, show_port_status},            // u8 port                        igmp_if_show_if_status
    {82, show_port_authorised_group},  // u8 port, u32                   igmp_if_show_auth_group_cfg
    {83, set_fast_leave_mode},         // u32                            omci_set_port_igmp_leave_mode, six ports
    {84, set_oam_control},             // u8, 2 u16, u32, 2 u8           igmp_oam_control_2
    {85, set_test_uplink},             // u32 port                       igmp_adapt_set_test_uplink
    {86, switch_debug_mask},           // 2 u32                          mc_debug, mld_adapt_set_debug
    {87, set_range_authorisation},     // u16 port, u8                   igmp_if_grp_range_auth_enable
    {88, add_groups},                  // group range                    onu_omci_add_auth_igmp_group_vlan_config
    {89, set_vlan_debug},              // u16 VLAN, u8                   igmp_dbg_set
    {90, unset_vlan_debug},            // u16 VLAN, u8                   igmp_dbg_unset
    {91, set_debug_level},             // u32                            igmp_set_debug_level
    {92, unset_debug_level},           // u32                            igmp_set_debug_level
    {93, set_packet_debug},            // u32, u16 port                  igmp_set_debug_pkt_port, igmp_set_debug_switch
    {94, set_other_debug},             // u32                            igmp_set_debug_switch
    {95, unset_debug},                 // u32                            igmp_set_debug_switch, igmp_set_debug_pkt_port
    {96, show_vlan},                   // u16 VLAN, u32 port, u16        igmp_show_vlan_config
    {97, set_robustness},              // u8                             omci_set_para_rv_globle
    {98, set_query_interval},          // u16                            omci_set_para_qi_globle
    {99, set_response_interval},       // u16                            omci_set_para_qri_globle
    {100, set_last_member_interval},   // u16                            omci_set_para_lmqi_globle
    {101, set_last_member_count},      // u16                            omci_set_para_lmqc_globle
    {102, set_ageing},                 // u8                             igmp_aging_function_set
    {103, show_memory},                // none                           pal_mem_show
    {104, reset_memory_statistics},    // none                           pal_mem_reset
    {105, show_memory_type},           // u32                            pal_mtype_show
    {106, set_memory_type_range},      // 2 u32                          pal_mrecord_range_set
    {110, set_web_rule},               // rule                           onu_std_omci_web_set_vlan
    {111, show_mld},                   // none                           mld_unpack_show_..., mld_show_if_list
    {112, set_mld_port_debug},         // u32                            mld_set_mld_debug_port
    {113, set_mld_debug},              // 2 u32                          mld_set_mld_debug
    {114, set_table_return},           // u32                            igmp_set_table_return
    {115, set_mld_ageing},             // u8                             mld_pack_set_age_switch
};
// clang-format on

// Codes of the range that no command has.
constexpr std::uint32_t kUnused[] = {
    0,  10, 11, 15, 18, 19, 21, 23, 24, 25, 26, 31, 38, 41,  42,  43,
    44, 45, 46, 47, 48, 49, 58, 59, 60, 61, 62, 63, 65, 107, 108, 109,
};

constexpr std::size_t kCodes = 116;  // 0 to 115

// Strictly ascending: no code may follow one that is as large.
static_assert(std::ranges::is_sorted(kCommands, std::ranges::less_equal{}, &Command::code),
              "codes out of order or twice");
static_assert(std::size(kCommands) + std::size(kUnused) == kCodes, "a code is not accounted for");
static_assert(std::ranges::none_of(kUnused,
                                   [](std::uint32_t code) {
                                       return std::ranges::binary_search(kCommands, code, {},
                                                                         &Command::code);
                                   }),
              "a code is both a command and not in use");

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
