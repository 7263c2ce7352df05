// The addresses of an interface as rtnetlink has them.
#pragma once

#include <cstdint>
#include <optional>

#include "node/core/multicast_core.h"
#include "node/live/netlink.h"

namespace live {

enum class LinkLocal : std::uint8_t { kNone, kTentative, kUsable };

// What an interface has in the way of a link-local IPv6 address.
[[nodiscard]] LinkLocal find_link_local(Netlink& netlink, int index);

// The address itself, tentative or not; nothing when there is none.
[[nodiscard]] std::optional<mcore::Address> link_local_address(Netlink& netlink, int index);

// The IPv4 address that the kernel would send from, in host order: the first of the widest scope.
[[nodiscard]] std::optional<std::uint32_t> ipv4_address(Netlink& netlink, int index);

}  // namespace live
