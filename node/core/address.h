// Group and host addresses of both families, and what the RFCs say about them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "node/core/development_core.h"

namespace devcore {

[[nodiscard]] Address from_ipv4(std::uint32_t host_order);
[[nodiscard]] std::uint32_t to_ipv4(const Address& address);

// Reads 4 or 16 bytes.
[[nodiscard]] Address load_address(Family family, const std::uint8_t* bytes);
[[nodiscard]] constexpr std::size_t address_length(Family family) {
    return family == Family::kIpv4 ? 4 : 16;
}

[[nodiscard]] bool is_multicast(Family family, const Address& address);

// Groups whose traffic never leaves the link: 224.0.0.x (RFC 3376, 6), and the IPv6 scopes below
// and up to link-local (RFC 3810, 6). A switch floods them, so they are no memberships here. That
// takes in the solicited-node groups, which hosts do report.
[[nodiscard]] bool is_link_local_group(Family family, const Address& address);

[[nodiscard]] bool is_link_local_host(const Address& ipv6);

}  // namespace devcore
