// The ports of the node, declared to the core in both families, as the library does when it starts.
#pragma once

#include <cstdint>

#include "platform/protocol_core.h"

inline void declare_ports_to_core() {
    constexpr std::uint32_t kUserPorts = 6;
    constexpr std::uint32_t kUplink = 29;
    constexpr std::uint32_t kUplinkType = 1;
    constexpr std::uint32_t kUserType = 2;
    for (std::uint32_t port = 0; port < kUserPorts; ++port) {
        igmp_port_add_all_vlan(port);
        mld_port_conf_set(port, kUserType);
    }
    igmp_port_add_all_vlan(kUplink);
    mld_port_conf_set(kUplink, kUplinkType);
}
