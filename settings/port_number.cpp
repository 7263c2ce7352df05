#include "settings/port_number.h"

#include <cstdio>

#include "adapt/tables.h"
#include "common/diagnostics.h"

namespace mc {

int accept_port(std::uint8_t port) {
    if (port > MC_UPLINK_PORT) {
        if (igmp_says(kErrors)) {
            std::printf("\r\n[MC_DBG_ERR]: \n port(%d) is invalid!", port);
            std::puts("\r\n[MC_DBG_ERR]: port number is invalid!\r");
        }
        return kNoPort;
    }
    return accept_known_port(port);
}

int accept_known_port(std::uint8_t port) {
    const int logical = logical_port(portState, port);
    if (logical == kNoPort && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n [checkPortState]port(%d) is not find!", port);
        std::puts("\r\n[MC_DBG_ERR]: port number is invalid!\r");
    }
    return logical;
}

}  // namespace mc
