// What the node changes of a bridge and its ports, and what it has found there and gives back.
//
// A node that is killed gives nothing back; the next one finds what that one had set. Then what the
// killed one had found counts (state_file.h), value by value, as long as what is there now is what
// a node sets: what somebody has changed since then is his wish.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "node/live/links.h"
#include "node/live/netlink.h"

namespace live {

// What makes a bridge heed its database: a querier, and the time that the querier gives for answers
// gone by. The queries do not leave the bridge, only this machine hears them: hence in versions
// that it need not fall back for, and with a tenth of a second for the answer, as less would make
// an IGMP query one of version 1. Ten hundredths are whole ticks of any kernel.
inline constexpr BridgeSettings kWanted{1, 3, 2, 10, 1};

struct OriginalPort {
    int index = 0;
    std::uint8_t multicast_router = 0;

    bool operator==(const OriginalPort&) const = default;
};

struct Originals {
    int bridge = 0;  // index
    BridgeSettings settings{};
    std::map<std::string, OriginalPort> ports;  // by interface

    bool operator==(const Originals&) const = default;
};

// What is original of what is there now, when a killed node has left a record, if any.
[[nodiscard]] BridgeSettings original_settings(const Link& bridge,
                                               const std::optional<Originals>& left);
[[nodiscard]] std::uint8_t original_router(const std::string& interface, const Link& port,
                                           const std::optional<Originals>& left);

// Throws LiveError when this process may not change the bridge.
void require_right_to_change(Netlink& netlink, const std::string& name, const Link& bridge);

// What cannot be given back, because it is not there any more, is passed over.
void give_back(Netlink& netlink, const Originals& originals);

}  // namespace live
