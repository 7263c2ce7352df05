// Authorised groups, where the copy follows the core: it is changed only after the core agreed. And
// the export of status.
#include <cstdint>
#include <cstring>

#include "command/auth_groups.h"
#include "igmp/igmp.h"
#include "tests/faults/row.h"

namespace mc_test {

namespace {

constexpr std::uint32_t kGroup = 0xEF010101;
constexpr std::uint32_t kLastGroup = 0xEF010103;

void given_groups() {
    omci_add_auth_igmp_group_vlan_config(kGroup, 100, 0);
    onu_omci_add_auth_igmp_group_vlan_config(3, kGroup, kLastGroup, 7, 100);
}

// No status of the core's is passed on: it is a length.
constexpr Fault kNothingDelivered = {.status = Status::kMinusOne,
                                     .stored = Stored::kNothing,
                                     .then = Then::kNone,
                                     .said = Said::kNever};

Rows authorisation_rows() {
    Rows rows = {
        {.operation = "omci_add_auth_igmp_group_vlan_config",
         .stores = true,
         .run = [] { return omci_add_auth_igmp_group_vlan_config(kGroup, 100, 0); },
         .calls = {{"add_to_auth_group_api", kNotStored}}},
        {.operation = "omci_add_auth_igmp_group_vlan_config",
         .when = "the copy full",
         .run = [] { return omci_add_auth_igmp_group_vlan_config(kGroup, 100, 0); },
         .calls = {{"add_to_auth_group_api", kNotStored}},
         .given =
             [] {
                 for (std::uint32_t i = 0; i < MC_AUTH_GROUPS; ++i) {
                     omci_add_auth_igmp_group_vlan_config(kGroup + i, 100, 0);
                 }
             }},
        // Asked six times; the sixth answer is the result, and the copy keeps the group.
        {.operation = "omci_delete_auth_igmp_group_vlan_config",
         .run = [] { return omci_delete_auth_igmp_group_vlan_config(kGroup, 100, 0); },
         .calls = {{"auth_group_delete_api", 5, kIgnored}, {"auth_group_delete_api", kReturned}},
         .given = given_groups},
        {.operation = "omci_clear_all_auth_igmp_group_vlan_config",
         .stores = true,
         .run = omci_clear_all_auth_igmp_group_vlan_config,
         .calls = {{"auth_group_delete_all_api", kUnseen}},
         .given = given_groups},
        // 0 although nothing was added.
        {.operation = "onu_omci_add_auth_igmp_group_vlan_config",
         .stores = true,
         .run =
             [] { return onu_omci_add_auth_igmp_group_vlan_config(3, kGroup, kLastGroup, 7, 100); },
         .calls = {{"igmp_if_add_auth_group_cfg", kSkippedStore}}},
        // Authorisation is switched on whether or not the range was added.
        {.operation = "onu_std_omci_add_auth_igmp_group_vlan_config",
         .stores = true,
         .run =
             [] {
                 return onu_std_omci_add_auth_igmp_group_vlan_config(3, kGroup, kLastGroup, 7, 100);
             },
         .calls = {{"igmp_if_add_auth_group_cfg", kSkippedStore},
                   {"igmp_if_grp_range_auth_enable", kIgnored}}},
        {.operation = "onu_std_omci_delete_auth_igmp_group_vlan_config",
         .stores = true,
         .run =
             [] {
                 return onu_std_omci_delete_auth_igmp_group_vlan_config(3, kGroup, kLastGroup, 7,
                                                                        100);
             },
         .calls = {{"igmp_if_delete_auth_group_cfg", kNotStored}},
         .given = given_groups},
        {.operation = "onu_std_omci_clear_port_all_auth_igmp_group_vlan_config",
         .stores = true,
         .run = [] { return onu_std_omci_clear_port_all_auth_igmp_group_vlan_config(3, 65535); },
         .calls = {{"igmp_if_delete_auth_group_cfg_all", kNotStored}},
         .given = given_groups},
    };
    // Address by address to the end, of which the last decides.
    for (const std::uint32_t option : {0u, 1u, 2u}) {
        rows.push_back({.operation = "omci_set_port_to_control_multicast_list_table",
                        .when = "option " + std::to_string(option),
                        .run =
                            [option] {
                                return omci_set_port_to_control_multicast_list_table(
                                    3, option, 100, kGroup, kLastGroup);
                            },
                        .calls = {{"igmp_set_multicast_control", 2, kIgnored},
                                  {"igmp_set_multicast_control", kReturned}}});
    }
    return rows;
}

Rows export_rows() {
    const auto given_dump = [] {
        Bytes dump(4 + 3 * 25, 0x91);
        const std::uint32_t count = 3;
        std::memcpy(dump.data(), &count, sizeof count);
        set_group_dump(dump);
    };
    return {
        {.operation = "igmp_hal_sync_if_status",
         .stores = true,
         .run = [] { return igmp_hal_sync_if_status(3); },
         .calls = {{"igmp_if_gather_if_status", kNothingDelivered}},
         .given = [] { set_port_status(Bytes(16, 0x91)); }},
        {.operation = "igmp_hal_sync_grp_infor",
         .when = "all ports",
         .stores = true,
         .run = [] { return igmp_hal_sync_grp_infor(255); },
         .calls = {{"igmp_gather_grp_info", kNothingDelivered}},
         .given = given_dump},
        {.operation = "igmp_hal_sync_grp_infor",
         .when = "one port",
         .stores = true,
         .run = [] { return igmp_hal_sync_grp_infor(3); },
         .calls = {{"igmp_gather_grp_info", kNothingDelivered}},
         .given = given_dump},
    };
}

}  // namespace

Rows group_rows() { return authorisation_rows() + export_rows(); }

}  // namespace mc_test
