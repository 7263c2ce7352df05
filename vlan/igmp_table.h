// The IGMP side's tables of rules, as the story in vlan/rules.h needs them.
#pragma once

#include <cstdint>
#include <cstdio>

#include "adapt/views.h"
#include "command/dumps.h"
#include "common/diagnostics.h"

namespace mc {

struct IgmpTable : IgmpView {
    static bool taken_as_given() { return flag_omci_version != 0; }
    static void pack_lists();
    static void pack_port(std::uint32_t port);

    // Has the core learn VLANs by itself; the core's status.
    static std::int32_t learn_vlans();

    static void say_before_add() {
        if (igmp_says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: \n before add multicast_vlan!");
    }
    static void say_after_add() {
        if (igmp_says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: \n after add multicast_vlan!");
    }
    static void dump() { static_cast<void>(debugPrint()); }
};

}  // namespace mc
