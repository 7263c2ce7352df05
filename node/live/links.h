/*
 * The interfaces of this machine as rtnetlink has them: what the node must know of its bridge and
 * its ports, and the settings that it changes there.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "node/driver/driver.h"
#include "node/live/netlink.h"

namespace live {

/* In the kernel's numbers. */
enum MulticastRouter : std::uint8_t {
    kNoRouter = 0,
    kRouterWhenSeen = 1,
    kRouter = 2,  // gets every group
};

struct PortSettings {
    std::uint8_t multicast_router = kRouterWhenSeen;
    bool isolated = false;  // does not talk to other isolated ports

    bool operator==(const PortSettings&) const = default;
};

struct BridgeSettings {
    bool snooping = true;
    bool querier = false;
    std::uint64_t query_response_interval = 0;  // hundredths of a second
    std::uint32_t hash_max = 0;                 // groups that the database holds
};

struct Link {
    int index = 0;
    int bridge = 0;   // the index of the bridge that it is a port of; 0: none
    bool up = false;  // switched on, and with a carrier
    driver::MacAddress mac{};
    std::optional<PortSettings> port;       // of a port of a bridge
    std::optional<BridgeSettings> bridged;  // of a bridge itself
};

/* Nothing when there is none of that name. */
[[nodiscard]] std::optional<Link> find_link(Netlink& netlink, const std::string& name);

/* 0, or the errno of the refusal. Only the settings named are changed. */
[[nodiscard]] int set_multicast_router(Netlink& netlink, int index, std::uint8_t mode);
[[nodiscard]] int set_snooping(Netlink& netlink, int bridge, bool on);
[[nodiscard]] int set_querier(Netlink& netlink, int bridge, bool on);
[[nodiscard]] int set_query_response_interval(Netlink& netlink, int bridge,
                                              std::uint64_t hundredths);

/* True for the news that an interface can use its link-local IPv6 address now. */
[[nodiscard]] bool tells_of_link_local(const nlmsghdr& news, int index);

}  // namespace live
