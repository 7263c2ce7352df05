#include "node/live_arguments.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "node/argument_values.h"
#include "node/driver/ports.h"
#include "node/usage_error.h"

namespace node {
namespace {

void add(std::vector<live::PortInterface>& ports, std::uint8_t port, std::string interface) {
    check_interface_name(interface);
    for (const live::PortInterface& other : ports) {
        if (other.port == port) {
            throw UsageError("two interfaces for " +
                             driver::name_of_slot(*driver::slot_of_port(port)));
        }
        if (other.interface == interface) throw UsageError(interface + ": stands for two ports");
    }
    ports.push_back({port, std::move(interface)});
}

}  // namespace

live::Arguments meaning_of(const LiveWords& words) {
    live::Arguments arguments;
    if (words.bridge.empty()) throw UsageError("which bridge? Give --bridge");
    check_interface_name(words.bridge);
    arguments.bridge = words.bridge;
    arguments.restore = words.restore;
    if (words.restore) {
        const bool has_ports = !words.ports.empty() || !words.uplinks.empty();
        if (has_ports) throw UsageError("--restore takes no ports: it gives the bridge back");
        return arguments;
    }
    for (const std::string& text : words.ports) {
        auto [port, interface] = parse_port(text, "INTERFACE");
        add(arguments.ports, port, std::move(interface));
    }
    for (const std::string& uplink : words.uplinks) {
        add(arguments.ports, driver::kUplinkPort, uplink);
    }
    std::ranges::sort(arguments.ports, {}, &live::PortInterface::port);
    // The uplink's number is the highest.
    const bool has_uplink =
        !arguments.ports.empty() && arguments.ports.back().port == driver::kUplinkPort;
    if (!has_uplink) throw UsageError("which interface leads to the network? Give --uplink");
    if (arguments.ports.size() == 1) throw UsageError("which ports have hosts? Give --port");
    arguments.onu_id = parse_onu_id(words.onu_id);
    arguments.debug = parse_debug_mask(words.debug);
    arguments.json = words.json;
    arguments.recorded = meaning_of(words.recorded);
    arguments.metrics = words.metrics;
    return arguments;
}

IpcPlace ipc_place_of(const LiveWords& words) {
    return parse_ipc_place(words.ipc, words.restore ? IpcPlace::kNone : IpcPlace::kShared);
}

}  // namespace node
