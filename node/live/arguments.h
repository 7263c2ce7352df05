// What "mc_node live" is told.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "node/driver/ports.h"
#include "node/events/wanted.h"

namespace live {

struct PortInterface {
    std::uint8_t port = 0;  // number
    std::string interface;
};

// "port 2" or "uplink": what a port is called in lines for people.
[[nodiscard]] inline std::string name_of(const PortInterface& port) {
    return port.port == driver::kUplinkPort ? "uplink" : "port " + std::to_string(port.port);
}

struct Arguments {
    std::string bridge;
    std::vector<PortInterface> ports;  // sorted; neither a port nor an interface twice
    std::uint8_t onu_id = 1;
    std::uint32_t debug = 0;  // for mc_debug and mld_debug
    bool json = false;
    events::Wanted recorded;
    bool restore = false;  // give back what a killed node has left, with the bridge alone
    std::string metrics;   // address and port to serve them at; empty: not at all
};

}  // namespace live
