// The MLD side's tables of rules, as the story in vlan/rules.h needs them.
#pragma once

#include <cstdint>
#include <cstdio>

#include "adapt/views.h"
#include "command/dumps.h"
#include "common/diagnostics.h"
#include "mld/record.h"

namespace mc {

struct MldTable : MldView {
    static bool taken_as_given() { return mldInitParams.mld_flag_omci_version != 0; }
    static void pack_lists();
    static void pack_port(std::uint32_t port);

    static void say_before_add() {
        if (mld_says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: \n mld before add multicast_vlan!");
    }
    static void say_after_add() {
        if (mld_says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: \n mld after add multicast_vlan!");
    }
    static void dump() { static_cast<void>(mldPrint()); }
};

}  // namespace mc
