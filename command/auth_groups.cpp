#include "command/auth_groups.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "adapt/port_lookup.h"
#include "adapt/records.h"
#include "adapt/views.h"
#include "common/diagnostics.h"
#include "platform/protocol_core.h"

namespace {

using mc::igmp_checked;
using mc::igmp_checked_ret;
using mc::igmp_says;
using mc::kConfig;
using mc::kErrors;
using mc::kFlow;
using mc::kNoPort;

struct Range {
    std::uint32_t start;
    std::uint32_t end;
    std::uint32_t bandwidth;
    std::uint16_t vlan;
};

constexpr int kPrivatePort = 0;  // logical port whose copy holds the private groups

[[nodiscard]] int accept_port(std::uint8_t port) {
    return mc::accept_port<mc::IgmpView>(port, mc::Closing::kPrintf);
}

void say_parameter_invalid() {
    if (igmp_says(kErrors)) std::printf("\r\n[MC_DBG_ERR]: parameter is invalid!\r");
}

[[nodiscard]] bool accept_range(const Range& range) {
    const bool good = range.vlan != 0 && range.start <= range.end;
    if (!good) say_parameter_invalid();
    return good;
}

// Puts a range into the first free entry of a copy. False when the copy counts as full; a copy that
// counts fewer and has no free entry all the same takes nothing and says nothing.
[[nodiscard]] bool store(int logical, const Range& range) {
    IgmpPortParm& port = globle_parm.port[logical];
    if (port.auth_group_num >= MC_AUTH_GROUPS) return false;
    auto* const entry = std::ranges::find(port.auth_group, 0, &AuthGroupEntry::vlan);
    if (entry == std::end(port.auth_group)) return true;
    entry->vlan = range.vlan;
    entry->start_groupAdress = range.start;
    entry->end_groupAdress = range.end;
    entry->bandwidth = range.bandwidth;
    ++port.auth_group_num;
    return true;
}

void clear(AuthGroupEntry& entry) {
    entry.vlan = 0;
    entry.start_groupAdress = 0;
    entry.end_groupAdress = 0;
    entry.bandwidth = 0;
}

void clear_all(IgmpPortParm& port) {
    for (AuthGroupEntry& entry : port.auth_group) clear(entry);
    port.auth_group_num = 0;
}

// The addresses of a free entry are 0 to 0, and so may be those of a range.
[[nodiscard]] bool is_free(const AuthGroupEntry& entry) {
    return entry.vlan == 0 && entry.start_groupAdress == 0 && entry.end_groupAdress == 0;
}

// Clears the entries of a range, whatever their VLAN. Free ones are not counted down: the count
// stays the number of entries in use.
void remove(IgmpPortParm& port, const Range& range) {
    for (AuthGroupEntry& entry : port.auth_group) {
        if (entry.start_groupAdress != range.start || entry.end_groupAdress != range.end) continue;
        if (is_free(entry)) continue;
        clear(entry);
        --port.auth_group_num;
    }
}

// Hands a range to the core. True when the core took it.
[[nodiscard]] bool add_to_core(std::uint8_t port, const Range& range) {
    return igmp_checked(igmp_if_add_auth_group_cfg(port, range.start, range.end, range.bandwidth,
                                                   range.vlan),
                        "\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_add_auth_group_cfg Fail") == 0;
}

void trace_private_group(std::uint32_t group, std::uint16_t vlan) {
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: \n groupAddress is %x  vlan is %d.\n", group, vlan);
    }
}

// The core's action for an option of a control list request.
constexpr std::uint32_t control_action(std::uint8_t opt) {
    switch (opt) {
        case 0:
            return 1;
        case 1:
            return 0;
        default:
            return 2;
    }
}

}  // namespace

std::int32_t omci_add_auth_igmp_group_vlan_config(std::uint32_t group, std::uint32_t vlan,
                                                  std::uint32_t /*unused*/) {
    const auto vid = static_cast<std::uint16_t>(vlan);
    trace_private_group(group, vid);
    if (vid == 0) {
        say_parameter_invalid();
        return -1;
    }
    const std::int32_t ret = igmp_checked_ret(
        add_to_auth_group_api(group, vid),
        "\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_add_auth_group_cfg(private mode) Fail ret(%d)");
    if (ret != 0) return ret;
    if (!store(kPrivatePort, {group, group, 0, vid}) && igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: [omci_add_auth_igmp_group_vlan_config]: group-vlan cfg in port %d exceed max num.\r\n",
            kPrivatePort);
    }
    return 0;
}

// Six calls, of which the first carries the VLAN and the last decides, and no change of the copy:
// kept on purpose.
std::int32_t omci_delete_auth_igmp_group_vlan_config(std::uint32_t group, std::uint32_t vlan,
                                                     std::uint32_t /*unused*/) {
    constexpr int kCalls = 6;
    auto vid = static_cast<std::uint16_t>(vlan);
    trace_private_group(group, vid);
    std::int32_t ret = 0;
    for (int i = 0; i < kCalls; ++i) {
        ret = igmp_checked_ret(
            auth_group_delete_api(group, vid),
            "\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_delete_auth_group_cfg(private mode) Fail ret(%d)");
        vid = 0;
    }
    return ret;
}

std::int32_t omci_clear_all_auth_igmp_group_vlan_config() {
    if (igmp_says(kConfig)) {
        std::puts("\r\n[MC_DBG_CFG]: \n omci_clear_all_auth_igmp_group_vlan_config is in .");
    }
    static_cast<void>(auth_group_delete_all_api());
    IgmpPortParm& port = globle_parm.port[kPrivatePort];
    if (port.auth_group_num != 0) {
        clear_all(port);
    } else if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: [omci_clear_all_auth_igmp_group_vlan_config]: group-vlan cfg in port %d no item to del.\r\n",
            kPrivatePort);
    }
    return 0;
}

std::int32_t onu_omci_add_auth_igmp_group_vlan_config(std::uint32_t port, std::uint32_t start,
                                                      std::uint32_t end, std::uint32_t bandwidth,
                                                      std::uint32_t vlan) {
    const auto port_id = static_cast<std::uint8_t>(port);
    const Range range = {start, end, bandwidth, static_cast<std::uint16_t>(vlan)};
    const int logical = accept_port(port_id);
    if (logical == kNoPort || !accept_range(range)) return -1;
    if (add_to_core(port_id, range) && !store(logical, range)) {
        std::printf(
            "[onu_omci_add_auth_igmp_group_vlan_config]: group-vlan cfg in port %d exceed max num.\r\n",
            logical);
    }
    return 0;
}

std::int32_t onu_std_omci_add_auth_igmp_group_vlan_config(std::uint32_t port, std::uint32_t start,
                                                          std::uint32_t end,
                                                          std::uint32_t bandwidth,
                                                          std::uint32_t vlan) {
    const auto port_id = static_cast<std::uint8_t>(port);
    const Range range = {start, end, bandwidth, static_cast<std::uint16_t>(vlan)};
    const int logical = accept_port(port_id);
    if (logical == kNoPort || !accept_range(range)) return -1;
    if (add_to_core(port_id, range) && !store(logical, range)) {
        std::printf(
            "[onu_std_omci_add_auth_igmp_group_vlan_config]: group-vlan cfg in port %d exceed max num.\r\n",
            logical);
    }
    igmp_checked(igmp_if_grp_range_auth_enable(port_id, 1),
                 "\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_grp_range_auth_enable Fail");
    return 0;
}

std::int32_t onu_std_omci_delete_auth_igmp_group_vlan_config(std::uint32_t port,
                                                             std::uint32_t start, std::uint32_t end,
                                                             std::uint32_t bandwidth,
                                                             std::uint32_t vlan) {
    const auto port_id = static_cast<std::uint8_t>(port);
    const Range range = {start, end, bandwidth, static_cast<std::uint16_t>(vlan)};
    const int logical = accept_port(port_id);
    if (logical == kNoPort || !accept_range(range)) return -1;
    const std::int32_t ret =
        igmp_checked(igmp_if_delete_auth_group_cfg(port_id, start, end, bandwidth, range.vlan),
                     "\r\n[MC_DBG_ERR]: \n ERROR!trax Fail");
    if (ret != 0) return ret;
    if (globle_parm.port[logical].auth_group_num == 0) {
        std::printf(
            "[onu_std_omci_delete_auth_igmp_group_vlan_config]: group-vlan cfg in port %d no item to del.\r\n",
            logical);
        return 0;
    }
    remove(globle_parm.port[logical], range);
    return 0;
}

std::int32_t onu_std_omci_clear_port_all_auth_igmp_group_vlan_config(std::uint32_t port,
                                                                     std::uint32_t vlan) {
    const auto port_id = static_cast<std::uint8_t>(port);
    const int logical = accept_port(port_id);
    if (logical == kNoPort) return -1;
    const std::int32_t ret =
        igmp_checked(igmp_if_delete_auth_group_cfg_all(port_id, static_cast<std::uint16_t>(vlan)),
                     "\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_delete_auth_group_cfg_all Fail");
    if (ret != 0) return ret;
    IgmpPortParm& parm = globle_parm.port[logical];
    if (parm.auth_group_num != 0) clear_all(parm);
    return 0;
}

std::int32_t omci_set_port_to_control_multicast_list_table(std::uint32_t port, std::uint32_t opt,
                                                           std::int32_t ds_vlan,
                                                           std::uint32_t start, std::uint32_t end) {
    const auto port_id = static_cast<std::uint16_t>(port);
    const auto option = static_cast<std::uint8_t>(opt);
    const auto vlan = static_cast<std::int16_t>(ds_vlan);
    if (igmp_says(kFlow)) {
        std::printf(
            "\r\n[MC_DBG_DBG]: \n omci_set_port_to_control_multicast_list_table is in\tport(%d) opt(%d) ds_vlan(%d)",
            port_id, option, vlan);
    }
    const std::uint32_t action = control_action(option);
    if (end < start) return 0;
    for (std::uint32_t address = start;; ++address) {
        const std::int32_t ret = igmp_set_multicast_control(port_id, action, vlan, address);
        if (ret != 0 && igmp_says(kErrors)) {
            std::printf("\r\n[MC_DBG_ERR]: \n ERROR!igmp_set_multicast_control port(%d) Fail",
                        port_id);
        }
        if (address == end) return ret;  // before the step: the range may end at the last address
    }
}
