#include "node/core/address.h"

#include <arpa/inet.h>

#include <algorithm>
#include <string>

#include "common/bytes.h"

namespace devcore {

Address from_ipv4(std::uint32_t host_order) {
    Address address{};
    mc::store_be32(address.data(), host_order);
    return address;
}

std::uint32_t to_ipv4(const Address& address) { return mc::load_be32(address.data()); }

Address load_address(Family family, const std::uint8_t* bytes) {
    Address address{};
    std::copy_n(bytes, address_length(family), address.begin());
    return address;
}

bool is_multicast(Family family, const Address& address) {
    return family == Family::kIpv4 ? address[0] >> 4 == 0xE : address[0] == 0xFF;
}

bool is_link_local_group(Family family, const Address& address) {
    constexpr std::uint32_t kAllHostsBlock = 0xE00000;  // 224.0.0, without its last byte
    constexpr unsigned kLinkLocalScope = 2;
    if (family == Family::kIpv4) return to_ipv4(address) >> 8 == kAllHostsBlock;
    return address[0] == 0xFF && (address[1] & 0x0F) <= kLinkLocalScope;
}

bool is_link_local_host(const Address& ipv6) { return ipv6[0] == 0xFE && ipv6[1] >> 6 == 2; }

std::string text(Family family, const Address& address) {
    char buffer[INET6_ADDRSTRLEN];
    const int kind = family == Family::kIpv4 ? AF_INET : AF_INET6;
    return inet_ntop(kind, address.data(), buffer, sizeof buffer);
}

}  // namespace devcore
