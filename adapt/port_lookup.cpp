#include "adapt/port_lookup.h"

#include <cstdio>

namespace mc {

void say_port_invalid(std::uint32_t port) {
    std::printf("\r\n[MC_DBG_ERR]: \n port(%d) is invalid!", port);
}

void say_port_unknown(std::uint32_t port) {
    std::printf("\r\n[MC_DBG_ERR]: \n [checkPortState]port(%d) is not find!", port);
}

void say_port_number_invalid(Closing closing) {
    if (closing == Closing::kPuts) {
        std::puts("\r\n[MC_DBG_ERR]: port number is invalid!\r");
    } else {
        std::printf("\r\n[MC_DBG_ERR]: port number is invalid!\r");
    }
}

void say_port_refused(std::uint32_t port, Closing closing) {
    say_port_unknown(port);
    say_port_number_invalid(closing);
}

void trace_port_unknown(std::uint32_t port) {
    std::printf("\r\n[MC_DBG_DBG]: \n [checkPortState]port(%d) is not find!", port);
}

}  // namespace mc
