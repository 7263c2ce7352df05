// The interfaces of this machine as rtnetlink has them: what the node must know of its bridge and
// its ports, and the settings that it changes there.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "node/driver/driver.h"
#include "node/live/netlink.h"

namespace live {

// In the kernel's numbers.
enum MulticastRouter : std::uint8_t {
    kNoRouter = 0,
    kRouterWhenSeen = 1,
    kRouter = 2,  // gets every group
};

struct PortSettings {
    std::uint8_t multicast_router = kRouterWhenSeen;
    bool isolated = false;  // does not talk to other isolated ports
};

// Settings of a bridge, in the order in which they are to be set; given back the other way round.
enum class BridgeSetting : std::uint8_t {
    kSnooping,
    kIgmpVersion,            // that it asks in
    kMldVersion,             // likewise
    kQueryResponseInterval,  // hundredths of a second
    kQuerier,
};

inline constexpr std::size_t kBridgeSettings = 5;

// As people know them, from ip and from /sys.
inline constexpr std::array<const char*, kBridgeSettings> kBridgeSettingNames{
    "mcast_snooping", "mcast_igmp_version", "mcast_mld_version", "mcast_query_response_interval",
    "mcast_querier"};

using BridgeSettings = std::array<std::uint64_t, kBridgeSettings>;

struct Link {
    int index = 0;
    int bridge = 0;   // the index of the bridge that it is a port of; 0: none
    bool on = false;  // switched on
    bool up = false;  // and with a carrier
    driver::MacAddress mac{};
    std::optional<PortSettings> port;       // of a port of a bridge
    std::optional<BridgeSettings> bridged;  // of a bridge itself
    std::uint32_t hash_max = 0;             // likewise: the groups that its database holds
    bool filters_vlans = false;             // likewise (vlan_filtering)
};

// Nothing when there is none of that name.
[[nodiscard]] std::optional<Link> find_link(Netlink& netlink, const std::string& name);

// 0, or the errno of the refusal.
[[nodiscard]] int set_multicast_router(Netlink& netlink, int index, std::uint8_t mode);
[[nodiscard]] int set_bridge(Netlink& netlink, int bridge, BridgeSetting setting,
                             std::uint64_t value);

}  // namespace live
