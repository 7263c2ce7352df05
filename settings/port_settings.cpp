// The settings of one port.
#include <cstdint>
#include <cstdio>

#include "adapt/port_lookup.h"
#include "adapt/records.h"
#include "adapt/status_segment.h"
#include "adapt/views.h"
#include "common/diagnostics.h"
#include "platform/protocol_core.h"
#include "settings/settings.h"

namespace {

using mc::Closing;
using mc::igmp_checked;
using mc::igmp_says;
using mc::IgmpView;
using mc::kConfig;
using mc::kErrors;
using mc::kFlow;
using mc::kNoPort;

constexpr std::uint16_t kDefaultGroupLimit = 1024;

constexpr IgmpUplinkTag kNoUplinkTag = {0x8100, MC_NO_VLAN, 0};

void store_group_limit(int logical, std::uint16_t limit) {
    globle_parm.port[logical].grouplimit = limit;
    mc::status_store_word(mc::kStatusGroupLimits + 4 * static_cast<std::uint32_t>(logical), limit);
}

IgmpUplinkTag uplink_tag(std::uint32_t word) {
    const auto low = static_cast<std::uint16_t>(word);
    return {low, static_cast<std::uint16_t>(word >> 16), static_cast<std::uint8_t>(low >> 12)};
}

// The reset operations store the default and drop the core's answer: a port is always reset.
std::int32_t reset_leave_mode(std::uint8_t port) {
    const int logical = mc::accept_known_port<IgmpView>(port, Closing::kPuts);
    if (logical == kNoPort) return -1;
    globle_parm.port[logical].leavemod = 0;
    static_cast<void>(igmp_if_fast_leave_enable(port, 0));
    return 0;
}

std::int32_t reset_group_limit(std::uint8_t port) {
    const int logical = mc::accept_known_port<IgmpView>(port, Closing::kPuts);
    if (logical == kNoPort) return -1;
    store_group_limit(logical, kDefaultGroupLimit);
    static_cast<void>(igmp_if_max_group_num_set(port, kDefaultGroupLimit));
    return 0;
}

std::int32_t reset_uplink_tags(std::uint8_t port) {
    // Never the uplink itself, whose number 29 the caller has refused. Kept on purpose.
    IgmpUplinkTag outer = kNoUplinkTag;
    IgmpUplinkTag inner = kNoUplinkTag;
    static_cast<void>(igmp_if_snp_uplinkvlan_set(port, &outer, &inner));
    return 0;
}

}  // namespace

std::int32_t omci_set_port_igmp_leave_mode(std::uint32_t port, std::uint32_t mode) {
    const auto port_id = static_cast<std::uint8_t>(port);
    const auto value = static_cast<std::uint8_t>(mode);
    if (igmp_says(kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: omci_set_port_igmp_leave_mode  port=%d leave mode = %d\n",
                    port_id, value);
    }
    const int logical = mc::accept_port<IgmpView>(port_id, Closing::kPuts);
    if (logical == kNoPort) return -1;
    globle_parm.port[logical].leavemod = value;
    return igmp_checked(igmp_if_fast_leave_enable(port_id, value),
                        "\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_fast_leave_enable Fail");
}

std::int32_t omci_set_port_igmpgroup_limit(std::uint32_t port, std::uint32_t limit) {
    const auto port_id = static_cast<std::uint8_t>(port);
    const auto requested = static_cast<std::uint16_t>(limit);
    if (igmp_says(kFlow)) {
        std::printf(
            "\r\n[MC_DBG_DBG]: omci_set_port_igmpgroup_limit is in! group num = %d port = %d\n",
            requested, port_id);
    }
    if (port_id >= MC_PORTS) {
        if (igmp_says(kErrors)) {
            std::puts("\r\n[MC_DBG_ERR]: \n omci_set_port_igmpgroup_limit port is invalid .");
        }
        return -1;
    }
    const int logical = mc::accept_known_port<IgmpView>(port_id, Closing::kPuts);
    if (logical == kNoPort) return -1;
    const std::uint16_t value = requested != 0 ? requested : kDefaultGroupLimit;
    store_group_limit(logical, value);
    return igmp_checked(igmp_if_max_group_num_set(port_id, value),
                        "\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_max_group_num_set Fail");
}

std::int32_t onu_std_omci_set_port_igmpgroup_limit(std::uint32_t port, std::uint32_t limit) {
    if (igmp_says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: std_omci_set_port_igmpgroup_limit is in!");
    return igmp_checked(omci_set_port_igmpgroup_limit(port & 0xFF, limit & 0xFFFF),
                        "\r\n[MC_DBG_ERR]: \n ERROR!std_omci_set_port_igmpgroup_limit Fail");
}

std::int32_t onu_std_max_multi_bandwidth_limit(std::uint32_t port, std::uint32_t enable,
                                               std::uint32_t bandwidth, std::uint32_t extra) {
    const auto port_id = static_cast<std::uint8_t>(port);
    const int logical = mc::accept_port<IgmpView>(port_id, Closing::kPuts);
    if (logical == kNoPort) return -1;
    globle_parm.port[logical].max_bandwidth = bandwidth;
    igmp_checked(igmp_if_max_bandwidth_set(port_id, static_cast<std::uint8_t>(enable), bandwidth,
                                           static_cast<std::uint16_t>(extra)),
                 "\r\n[MC_DBG_ERR]: \n ERROR!traxmax_multi_bandwidth_limit Fail");
    return 0;  // whatever the core says, kept on purpose: the limit is stored
}

std::int32_t omci_set_port_up_igmp_vlan(std::uint32_t port, std::uint32_t outer,
                                        std::uint32_t inner) {
    if (igmp_says(kFlow)) {
        std::puts("\r\n[MC_DBG_DBG]: omci_set_port_up_igmp_vlan is in! group num ");
    }
    const auto port_id = static_cast<std::uint8_t>(port);
    const int logical = mc::logical_port(portState, port_id);
    if (logical == kNoPort) {
        if (igmp_says(kErrors)) mc::say_port_invalid(port_id);
        return -1;
    }
    if (igmp_says(kFlow)) {
        constexpr int kTraced = 5;  // the last two entries are left out, kept on purpose
        for (int i = 0; i < kTraced; ++i) {
            std::printf("\r\n[MC_DBG_DBG]: \n portState%d is %d", i, portState[i].port_id);
        }
        std::printf("\r\n[MC_DBG_DBG]: \n logicPort is %d", logical);
    }
    if (portState[logical].port_type != MC_PORT_UPLINK) {
        if (igmp_says(kErrors)) {
            std::printf("\r\n[MC_DBG_ERR]: \n port(%d) is not uplink!,exit", port_id);
        }
        return -1;
    }
    IgmpUplinkTag outer_tag = uplink_tag(outer);
    IgmpUplinkTag inner_tag = uplink_tag(inner);
    return igmp_checked(igmp_if_snp_uplinkvlan_set(port_id, &outer_tag, &inner_tag),
                        "\r\n[MC_DBG_ERR]: \n ERROR!igmp_if_snp_uplinkvlan_set Fail");
}

std::int32_t igmp_adapt_set_sig_vlan(std::uint32_t logical_port, std::uint32_t vlan,
                                     std::uint32_t a, std::uint32_t b) {
    const auto logical = static_cast<std::uint8_t>(logical_port);
    if (logical >= MC_PORTS) {
        if (igmp_says(kErrors)) {
            std::printf("\r\n[MC_DBG_ERR]: \n igmp_adapt_set_sig_vlan port(%d) is invalid .",
                        logical);
        }
        return 0;
    }
    const auto value = static_cast<std::uint16_t>(vlan);
    IgmpPortParm& parm = globle_parm.port[logical];
    parm.sig_vlan = value != 0 ? value : static_cast<std::uint16_t>(MC_NO_VLAN);
    parm.sig_vlan_a = static_cast<std::uint16_t>(a);
    parm.sig_vlan_b = static_cast<std::uint16_t>(b);
    return 0;
}

std::int32_t omci_clear_igmp_parmeter(std::uint32_t port, std::uint32_t type) {
    const auto port_id = static_cast<std::uint8_t>(port);
    const auto setting = static_cast<std::uint8_t>(type);
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: \n omci_clear_igmp_parmeter is in port = %d type = %d.\n",
                    port_id, setting);
    }
    if (port_id >= MC_PORTS) {
        if (igmp_says(kErrors)) {
            std::puts("\r\n[MC_DBG_ERR]: \n omci_clear_igmp_parmeter port is invalid .");
        }
        return -1;
    }
    switch (setting) {
        case 0:
            return reset_leave_mode(port_id);
        case 1:
            return reset_uplink_tags(port_id);
        case 2:
            return reset_group_limit(port_id);
        default:
            return 0;
    }
}

std::int32_t igmp_adapt_port_conf_set() {
    if (igmp_says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: igmp_adapt_port_conf_set is in\r");
    for (const PortStateEntry& port : portState) {
        std::uint32_t port_id = port.port_id;
        if (port.port_type == MC_PORT_UPLINK) port_id = MC_CORE_UPLINK;
        const std::int32_t status = igmp_checked(
            igmp_port_add_all_vlan(port_id), "\r\n[MC_DBG_ERR]: \n ERROR!igmp_port_conf_set Fail");
        if (status != 0) return -1;
    }
    return 0;
}
