// Reports and leaves on their way to the routers behind user ports.
#pragma once

#include <cstdint>
#include <span>

#include "node/core/input.h"

namespace mcore {

// Sends a message of a host to the router ports of its VLAN but its own, and to no other user port
// (RFC 4541, 2.1.1): hosts that hear the reports of others keep theirs back. It leaves in a new
// packet with the host's addresses. The uplink is the library's business.
void relay_to_routers(const Packet& packet, std::span<const std::uint8_t> ip);

}  // namespace mcore
