// Mode, protocol parameters and the settings of one port.
#include <cstdint>

#include "adapt/adapt.h"
#include "adapt/records.h"
#include "mld/mld.h"
#include "settings/settings.h"
#include "tests/faults/row.h"
#include "tests/support/rules.h"

namespace mc_test {

namespace {

// The rule of nearly every setting: stored first, cut to its field, then handed to one function of
// the core, whose status is the result; what is stored stays when the core refuses it.
Row setting(const char* operation, const char* when, const char* import,
            std::function<std::int32_t()> run) {
    return {.operation = operation,
            .when = when,
            .stores = true,
            .run = std::move(run),
            .calls = {{import, kReturned}}};
}

Rows mode_rows() {
    Rows rows;
    for (const std::uint32_t mode : {2u, 3u, 100u}) {
        rows.push_back({.operation = "omci_set_multicast_mode",
                        .when = "mode " + std::to_string(mode),
                        .stores = true,
                        .run = [mode] { return omci_set_multicast_mode(mode); },
                        .calls = {{"igmp_mode_switch_globle", kReturned}},
                        .given = [mode] { omci_set_multicast_mode(mode == 3 ? 1 : 3); }});
    }
    for (const std::uint32_t mode : {0u, 3u, 255u}) {
        rows.push_back({.operation = "onu_std_omci_set_multicast_mode",
                        .when = "mode " + std::to_string(mode),
                        .stores = true,
                        .run = [mode] { return onu_std_omci_set_multicast_mode(mode); },
                        .calls = {{"igmp_mode_switch_globle", kReturned}},
                        .given = [] { omci_set_multicast_mode(3); }});
    }
    return rows;
}

Rows parameter_rows() {
    return {
        setting("omci_set_para_rv_globle", "", "igmp_para_rv_globle_set",
                [] { return omci_set_para_rv_globle(7); }),
        setting("omci_set_para_qi_globle", "", "igmp_para_qi_globle_set",
                [] { return omci_set_para_qi_globle(70000); }),
        setting("omci_set_para_qri_globle", "", "igmp_para_qri_globle_set",
                [] { return omci_set_para_qri_globle(70000); }),
        setting("omci_set_para_lmqi_globle", "", "igmp_para_lmqi_globle_set",
                [] { return omci_set_para_lmqi_globle(70000); }),
        setting("omci_set_para_lmqc_globle", "", "igmp_para_lmqc_globle_set",
                [] { return omci_set_para_lmqc_globle(70000); }),
        setting("omci_set_igmp_global_parmeter", "", "igmp_para_globle_set",
                [] { return omci_set_igmp_global_parmeter(7, 8, 9, 10, 11); }),
        setting("mld_omci_set_igmp_global_parmeter", "", "igmp_para_globle_set",
                [] { return mld_omci_set_igmp_global_parmeter(7, 8, 9, 10, 11); }),
        setting("omci_igmp_version_globle_set", "", "igmp_version_globle_set",
                [] { return omci_igmp_version_globle_set(2); }),
        setting("omci_igmp_ssm_ip_globle_set", "", "igmp_ssm_ip_globle_set",
                [] { return omci_igmp_ssm_ip_globle_set(0xE8000000, 0xE8FFFFFF); }),
        setting("omci_igmp_ssm_map_globle_set", "", "igmp_ssm_map_change",
                [] { return omci_igmp_ssm_map_globle_set(1, 2, 3, 4, 5); }),
        setting("omci_set_igmp_dynamic_enable", "", "igmp_vlan_learning_set",
                [] { return omci_set_igmp_dynamic_enable(1); }),
        // One push for each of the seven ports, of which the last decides.
        {.operation = "omci_set_igmp_leave_mode",
         .stores = true,
         .run = [] { return omci_set_igmp_leave_mode(1); },
         .calls = {{"igmp_fast_leave_enable_globle", 6, kIgnored},
                   {"igmp_fast_leave_enable_globle", kReturned}}},
        // Three records hold the default VLAN, and all keep it; the IGMP core decides.
        {.operation = "omci_set_igmp_default_vlan",
         .stores = true,
         .run = [] { return omci_set_igmp_default_vlan(300); },
         .calls = {{"mld_api_set_default_vlan", kIgnored}, {"igmp_default_vid_set", kReturned}}},
        {.operation = "omci_set_igmp_default_vlan",
         .when = "as it is",
         .run = [] { return omci_set_igmp_default_vlan(MC_DEFAULT_VLAN); },
         .calls = {{"mld_api_set_default_vlan", kIgnored}, {"igmp_default_vid_set", kReturned}}},
        // The old default goes back into the core's list, and that decides.
        {.operation = "omci_set_igmp_default_vlan",
         .when = "the old one a template VLAN",
         .stores = true,
         .run = [] { return omci_set_igmp_default_vlan(300); },
         .calls = {{"mld_api_set_default_vlan", kIgnored},
                   {"igmp_default_vid_set", kIgnored},
                   {"igmp_vlan_add", kReturned}},
         .given = [] { given_vlans<Igmp>({MC_DEFAULT_VLAN}); }},
        // Nothing keeps the reset from its end, and only the end decides.
        {.operation = "omci_clear_igmp_all_parmeter",
         .stores = true,
         .run = [] { return omci_clear_igmp_all_parmeter(); },
         .calls = {{"igmp_vlan_del_all", kIgnored},
                   {"igmp_default_vid_set", kIgnored},
                   {"igmp_para_globle_set", kIgnored},
                   {"igmp_mode_switch_globle", kIgnored},
                   {"igmp_fast_leave_enable_globle", kIgnored},
                   {"igmp_vlan_learning_set", kIgnored},
                   {"igmp_del_all_group", silently(kReturned)}},
         .given =
             [] {
                 omci_set_multicast_mode(3);
                 omci_set_igmp_default_vlan(300);
                 omci_set_port_igmpgroup_limit(2, 5);
             }},
        {.operation = "initIgmpGlobleParmeter",
         .stores = true,
         .run =
             [] {
                 initIgmpGlobleParmeter();
                 return 0;
             },
         .calls = {{"igmp_default_vid_set", kIgnored},
                   {"igmp_para_globle_set", kIgnored},
                   {"igmp_mode_switch_globle", kIgnored},
                   {"igmp_fast_leave_enable_globle", kIgnored},
                   {"igmp_vlan_learning_set", kIgnored}},
         .given = [] { omci_set_multicast_mode(3); }},
    };
}

Rows port_rows() {
    return {
        setting("omci_set_port_igmp_leave_mode", "user port", "igmp_if_fast_leave_enable",
                [] { return omci_set_port_igmp_leave_mode(3, 1); }),
        setting("omci_set_port_igmp_leave_mode", "uplink", "igmp_if_fast_leave_enable",
                [] { return omci_set_port_igmp_leave_mode(29, 1); }),
        setting("omci_set_port_igmpgroup_limit", "limit", "igmp_if_max_group_num_set",
                [] { return omci_set_port_igmpgroup_limit(3, 50); }),
        setting("omci_set_port_igmpgroup_limit", "no limit", "igmp_if_max_group_num_set",
                [] { return omci_set_port_igmpgroup_limit(3, 0); }),
        setting("onu_std_omci_set_port_igmpgroup_limit", "", "igmp_if_max_group_num_set",
                [] { return onu_std_omci_set_port_igmpgroup_limit(3, 50); }),
        // The one setting that keeps the core's refusal for itself.
        {.operation = "onu_std_max_multi_bandwidth_limit",
         .stores = true,
         .run = [] { return onu_std_max_multi_bandwidth_limit(3, 1, 5000, 2); },
         .calls = {{"igmp_if_max_bandwidth_set", kIgnored}}},
        // Only the core keeps these tags.
        {.operation = "omci_set_port_up_igmp_vlan",
         .run = [] { return omci_set_port_up_igmp_vlan(29, 0x00648100, 0x00C88100); },
         .calls = {{"igmp_if_snp_uplinkvlan_set", kReturned}}},
        // A reset always succeeds, and says nothing.
        {.operation = "omci_clear_igmp_parmeter",
         .when = "leave mode",
         .stores = true,
         .run = [] { return omci_clear_igmp_parmeter(3, 0); },
         .calls = {{"igmp_if_fast_leave_enable", kUnseen}},
         .given = [] { omci_set_port_igmp_leave_mode(3, 1); }},
        {.operation = "omci_clear_igmp_parmeter",
         .when = "uplink tags",
         .run = [] { return omci_clear_igmp_parmeter(3, 1); },
         .calls = {{"igmp_if_snp_uplinkvlan_set", kUnseen}}},
        {.operation = "omci_clear_igmp_parmeter",
         .when = "group limit",
         .stores = true,
         .run = [] { return omci_clear_igmp_parmeter(3, 2); },
         .calls = {{"igmp_if_max_group_num_set", kUnseen}}},
        {.operation = "omci_clear_igmp_parmeter",
         .when = "another type",
         .run = [] { return omci_clear_igmp_parmeter(3, 3); }},
    };
}

}  // namespace

Rows setting_rows() { return mode_rows() + parameter_rows() + port_rows(); }

}  // namespace mc_test
