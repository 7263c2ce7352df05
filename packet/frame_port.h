// The port that a frame came in on, or leaves on: looked up once, and handed along with the frame.
#pragma once

#include <cstdint>

#include "adapt/port_lookup.h"
#include "adapt/records.h"
#include "adapt/tables.h"
#include "common/diagnostics.h"

namespace mc {

constexpr std::uint32_t kPortInvalid = 0xFFFFFFFF;  // neither user port nor uplink; prints as -1

struct FramePort {
    std::uint32_t port;  // port number
    int logical;         // kNoPort: the port table does not have it
    std::uint32_t type;  // of its entry; kPortInvalid without one
    std::uint32_t vid;   // 0: untagged
};

// Port numbers above the uplink's are no ports, even where a port table holds one.
template <class Side>
FramePort frame_port(std::uint32_t port, std::uint32_t vid) {
    const int logical = port <= MC_UPLINK_PORT ? logical_port(Side::ports(), port) : kNoPort;
    const std::uint32_t type = logical != kNoPort ? Side::ports()[logical].port_type : kPortInvalid;
    return {port, logical, type, vid};
}

template <class Side>
void say_from_nowhere(const FramePort& at) {
    if (at.port > MC_UPLINK_PORT) {
        if (Side::says(kErrors)) say_port_invalid(at.port);
    } else {
        if (Side::says(kFlow)) trace_port_unknown(at.port);
    }
}

// Whether the port table has the port, said under the error category where it has not.
template <class Side>
[[nodiscard]] bool is_known(const FramePort& at, Closing closing) {
    if (at.logical != kNoPort) return true;
    if (Side::says(kErrors)) say_port_refused(at.port, closing);
    return false;
}

}  // namespace mc
