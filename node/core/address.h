// Group and host addresses of both families, and what the RFCs say about them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "common/bytes.h"
#include "node/core/multicast_core.h"

namespace mcore {

[[nodiscard]] inline Address from_ipv4(std::uint32_t host_order) {
    Address address{};
    mc::store_be32(address.data(), host_order);
    return address;
}

[[nodiscard]] inline std::uint32_t to_ipv4(const Address& address) {
    return mc::load_be32(address.data());
}

[[nodiscard]] constexpr std::size_t address_length(Family family) {
    return family == Family::kIpv4 ? 4 : 16;
}

// Reads 4 or 16 bytes.
[[nodiscard]] inline Address load_address(Family family, const std::uint8_t* bytes) {
    Address address{};
    std::copy_n(bytes, address_length(family), address.begin());
    return address;
}

[[nodiscard]] inline bool is_multicast(Family family, const Address& address) {
    return family == Family::kIpv4 ? address[0] >> 4 == 0xE : address[0] == 0xFF;
}

// Groups whose traffic never leaves the link: 224.0.0.x (RFC 3376, 6), and the IPv6 scopes below
// and up to link-local (RFC 3810, 6). A switch floods them, so they are no memberships here. That
// takes in the solicited-node groups, which hosts do report.
[[nodiscard]] inline bool is_link_local_group(Family family, const Address& address) {
    constexpr std::uint32_t kAllHostsBlock = 0xE00000;  // 224.0.0, without its last byte
    constexpr unsigned kLinkLocalScope = 2;
    if (family == Family::kIpv4) return to_ipv4(address) >> 8 == kAllHostsBlock;
    return address[0] == 0xFF && (address[1] & 0x0F) <= kLinkLocalScope;
}

[[nodiscard]] inline bool is_link_local_host(const Address& ipv6) {
    return ipv6[0] == 0xFE && ipv6[1] >> 6 == 2;
}

}  // namespace mcore
