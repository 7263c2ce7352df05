// Packets for the tests of the multicast core, put together in pieces.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "common/bytes.h"

namespace core_packets {

using Bytes = std::vector<std::uint8_t>;

inline Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

inline Bytes be16(std::uint32_t value) {
    return {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}

inline Bytes be32(std::uint32_t value) { return be16(value >> 16) + be16(value); }

/* RFC 1071, as plainly as it can be put: a second opinion on the core's. */
inline std::uint16_t checksum(Bytes bytes) {
    if (bytes.size() % 2 != 0) bytes.push_back(0);
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < bytes.size(); i += 2) {
        sum += mc::load_be16(&bytes[i]);
        if (sum > 0xFFFF) sum -= 0xFFFF;
    }
    return static_cast<std::uint16_t>(0xFFFF - sum);
}

inline Bytes with_checksum(Bytes message, std::size_t at = 2) {
    mc::store_be16(&message[at], checksum(message));
    return message;
}

inline Bytes ipv4(std::uint32_t from, std::uint32_t to, const Bytes& message) {
    const auto length = static_cast<std::uint32_t>(20 + message.size());
    const Bytes header =
        Bytes{0x45, 0xC0} + be16(length) + Bytes{0, 0, 0, 0, 1, 2, 0, 0} + be32(from) + be32(to);
    return with_checksum(header, 10) + message;
}

inline Bytes igmp(std::uint8_t type, std::uint32_t group, std::uint8_t code = 0) {
    return with_checksum(Bytes{type, code, 0, 0} + be32(group));
}

inline Bytes v1_report(std::uint32_t host, std::uint32_t group) {
    return ipv4(host, group, igmp(0x12, group));
}
inline Bytes v2_report(std::uint32_t host, std::uint32_t group) {
    return ipv4(host, group, igmp(0x16, group));
}
inline Bytes leave(std::uint32_t host, std::uint32_t group) {
    return ipv4(host, 0xE0000002, igmp(0x17, group));
}

enum : std::uint8_t { kIsIn = 1, kIsEx = 2, kToIn = 3, kToEx = 4, kAllow = 5, kBlock = 6 };

inline Bytes record(std::uint8_t type, std::uint32_t group,
                    const std::vector<std::uint32_t>& sources) {
    Bytes bytes = Bytes{type, 0} + be16(static_cast<std::uint32_t>(sources.size())) + be32(group);
    for (const std::uint32_t source : sources) bytes = bytes + be32(source);
    return bytes;
}

inline Bytes v3_report_of(std::uint32_t host, const std::vector<Bytes>& records) {
    Bytes message = Bytes{0x22, 0, 0, 0, 0, 0} + be16(static_cast<std::uint32_t>(records.size()));
    for (const Bytes& one : records) message = message + one;
    return ipv4(host, 0xE0000016, with_checksum(message));
}

inline Bytes v3_report(std::uint32_t host, std::uint8_t type, std::uint32_t group,
                       const std::vector<std::uint32_t>& sources = {}) {
    return v3_report_of(host, {record(type, group, sources)});
}

using Ipv6 = std::array<std::uint8_t, 16>;

inline constexpr Ipv6 kHostA6{0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFE, 0, 0, 0x0A};
inline constexpr Ipv6 kHostB6{0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFE, 0, 0, 0x0B};
inline constexpr Ipv6 kGroup6{0xFF, 0x1E, 0, 0, 0, 0, 0,    0,
                              0,    0,    0, 0, 0, 0, 0x01, 0x01};  // ff1e::101
inline constexpr Ipv6 kSource6{0x20, 0x01, 0x0D, 0xB8, 0, 7, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7};
inline constexpr Ipv6 kSolicitedNode{0xFF, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0xFF, 0, 0, 0x0A};
inline constexpr Ipv6 kAllRouters6{0xFF, 0x02, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x02};

inline Bytes bytes_of(const Ipv6& address) { return {address.begin(), address.end()}; }

inline Bytes icmpv6_pseudo_header(const Bytes& addresses, std::size_t length) {
    return addresses + be32(static_cast<std::uint32_t>(length)) + be32(58);
}

/* With a hop-by-hop header that carries the router alert. */
inline Bytes ipv6(const Ipv6& from, const Ipv6& to, Bytes message) {
    const Bytes addresses = bytes_of(from) + bytes_of(to);
    mc::store_be16(&message[2],
                   checksum(icmpv6_pseudo_header(addresses, message.size()) + message));
    return Bytes{0x60, 0, 0, 0} + be16(static_cast<std::uint32_t>(8 + message.size())) +
           Bytes{0, 1} + addresses + Bytes{58, 0, 5, 2, 0, 0, 1, 0} + message;
}

inline Bytes mld_v1(std::uint8_t type, const Ipv6& from, const Ipv6& group) {
    return ipv6(from, group, Bytes{type, 0, 0, 0, 0, 0, 0, 0} + bytes_of(group));
}

inline Bytes mld_report(const Ipv6& from, const Ipv6& group) { return mld_v1(131, from, group); }
inline Bytes mld_done(const Ipv6& from, const Ipv6& group) { return mld_v1(132, from, group); }

inline Bytes mld_v2_report(const Ipv6& from, std::uint8_t type, const Ipv6& group,
                           const std::vector<Ipv6>& sources = {}) {
    Bytes message{143, 0, 0, 0, 0, 0, 0, 1, type, 0};
    message = message + be16(static_cast<std::uint32_t>(sources.size())) + bytes_of(group);
    for (const Ipv6& source : sources) message = message + bytes_of(source);
    return ipv6(from, kAllRouters6, message);
}

}  // namespace core_packets
