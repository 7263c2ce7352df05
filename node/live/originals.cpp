#include "node/live/originals.h"

#include <cerrno>
#include <cstddef>
#include <cstring>

#include "node/live/live_error.h"

namespace live {

// Asks for what is there already: only to see whether it may be changed.
void require_right_to_change(Netlink& netlink, const std::string& name, const Link& bridge) {
    const int error =
        set_bridge(netlink, bridge.index, BridgeSetting::kSnooping, bridge.bridged->front());
    if (error == 0) return;
    const char* const hint = error == EPERM ? " (CAP_NET_ADMIN is needed)" : "";
    throw LiveError(name + ": its settings cannot be changed: " + std::strerror(error) + hint);
}

BridgeSettings original_settings(const Link& bridge, const std::optional<Originals>& left) {
    BridgeSettings settings = *bridge.bridged;
    if (!left || left->bridge != bridge.index) return settings;
    for (std::size_t i = 0; i < kBridgeSettings; ++i) {
        if (settings[i] == kWanted[i]) settings[i] = left->settings[i];
    }
    return settings;
}

std::uint8_t original_router(const std::string& interface, const Link& port,
                             const std::optional<Originals>& left) {
    const std::uint8_t now = port.port->multicast_router;
    // A node makes a port either of the two.
    const bool is_of_node = now == kRouter || now == kNoRouter;
    if (!left || left->bridge != port.bridge || !is_of_node) return now;
    const auto found = left->ports.find(interface);
    const bool is_same = found != left->ports.end() && found->second.index == port.index;
    return is_same ? found->second.multicast_router : now;
}

void give_back(Netlink& netlink, const Originals& originals) {
    for (const auto& [interface, port] : originals.ports) {
        static_cast<void>(set_multicast_router(netlink, port.index, port.multicast_router));
    }
    if (originals.bridge == 0) return;
    for (std::size_t i = kBridgeSettings; i-- > 0;) {
        const auto setting = static_cast<BridgeSetting>(i);
        static_cast<void>(set_bridge(netlink, originals.bridge, setting, originals.settings[i]));
    }
}

}  // namespace live
