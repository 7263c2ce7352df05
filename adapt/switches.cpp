// The small switches that start-up and the command channel reach.
#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "adapt/adapt.h"
#include "common/diagnostics.h"

void igmp_get_cpu_mac() {
    // The same on every node and read from no interface: it only tells the node's own frames.
    constexpr std::uint8_t kOwnAddress[6] = {0x00, 0x00, 0x00, 0x11, 0x00, 0x11};
    std::copy_n(kOwnAddress, sizeof(kOwnAddress), sys_mac);
}

std::int32_t igmp_adapt_set_test_uplink(std::int32_t port) {
    testuplink = port;
    return 0;
}

std::int32_t igmp_set_table_return(std::int32_t value) {
    tablereturn = value > 0 ? 1 : 0;
    return tablereturn;
}

std::int32_t igmp_driver_enable() {
    if (mc::igmp_says(mc::kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: \nSFU Project have no that function,default enable!");
    }
    return 0;
}

std::int32_t igmp_driver_disable() {
    if (mc::igmp_says(mc::kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: \nSFU Project have no that function!");
    }
    return 0;
}

std::int32_t flood_trap(std::uint32_t /*mode*/) { return 0; }
