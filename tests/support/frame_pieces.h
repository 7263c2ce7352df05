// Frames in pieces, for the tests of the node's drivers: kMacs + kTag100 + kIpv4Type + ipv4(2).
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace frame_pieces {

using Bytes = std::vector<std::uint8_t>;

inline Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

inline const Bytes kMacs{0x01, 0x00, 0x5E, 0x01, 0x01, 0x01, 0x02, 0x00, 0x00, 0x00, 0x00, 0x07};
inline const Bytes kTag100{0x81, 0x00, 0x00, 0x64};
inline const Bytes kTag200{0x81, 0x00, 0x00, 0xC8};
inline const Bytes kServiceTag{0x88, 0xA8, 0x00, 0xC8};
inline const Bytes kIpv4Type{0x08, 0x00};
inline const Bytes kIpv6Type{0x86, 0xDD};
inline const Bytes kPppoeSession{0x88, 0x64, 0x11, 0x00, 0x00, 0x01, 0x00, 0x22};
inline const Bytes kPppIpv4{0x00, 0x21};
inline const Bytes kPppIpv6{0x00, 0x57};

/* RFC 1071, over bytes of an even number. */
inline std::uint16_t checksum(const Bytes& bytes) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) sum += bytes[i] * 256U + bytes[i + 1];
    while (sum > 0xFFFF) sum = sum - 0x10000 + 1;
    return static_cast<std::uint16_t>(0xFFFF - sum);
}

inline Bytes with_checksum(Bytes bytes, std::uint16_t checksum, std::size_t at) {
    bytes[at] = static_cast<std::uint8_t>(checksum >> 8);
    bytes[at + 1] = static_cast<std::uint8_t>(checksum);
    return bytes;
}

/* With so many bytes of message. */
inline Bytes ipv4_header(std::uint8_t protocol, std::uint8_t message) {
    const Bytes header{0x45, 0x00,     0x00, static_cast<std::uint8_t>(20 + message),
                       0x00, 0x00,     0x00, 0x00,
                       0x01, protocol, 0x00, 0x00,
                       192,  168,      1,    7,   // source
                       239,  1,        1,    1};  // destination
    return with_checksum(header, checksum(header), 10);
}

inline Bytes igmp(const Bytes& message) { return with_checksum(message, checksum(message), 2); }

/* A membership report of version 2. */
inline Bytes ipv4(std::uint8_t protocol) {
    return ipv4_header(protocol, 8) + igmp({0x16, 0x00, 0x00, 0x00, 239, 1, 1, 1});
}

/* Behind it are so many bytes. */
inline Bytes ipv6_header(std::uint8_t next, std::uint8_t payload = 32) {
    Bytes header{0x60, 0x00, 0x00, 0x00, 0x00, payload, next, 0x01};
    header.resize(40, 0xFE);
    return header;
}

inline const Bytes kHopByHop{58,   0x00, 0x05, 0x02,
                             0x00, 0x00, 0x01, 0x00};  // router alert, then ICMPv6
inline const Bytes kLongHopByHop = Bytes{58, 0x01} + Bytes(14, 0);

/* With the checksum that it has between the addresses of ipv6_header. */
inline Bytes icmpv6(const Bytes& message) {
    const auto length = static_cast<std::uint8_t>(message.size());
    return with_checksum(message, checksum(Bytes(32, 0xFE) + Bytes{0, length, 0, 58} + message), 2);
}

/* A message of version 1, or a query. */
inline Bytes icmpv6(std::uint8_t type) { return icmpv6(Bytes{type} + Bytes(23, 0)); }

inline Bytes igmp_frame() { return kMacs + kIpv4Type + ipv4(2); }
inline Bytes igmp_frame(std::uint8_t mark) {
    Bytes frame = igmp_frame();
    frame[11] = mark;
    return frame;
}
/* A general query, which may come from the uplink too. */
inline Bytes igmp_query_frame(std::uint8_t mark) {
    Bytes frame = kMacs + kIpv4Type + ipv4_header(2, 8) + igmp({0x11, 100, 0, 0, 0, 0, 0, 0});
    frame[11] = mark;
    return frame;
}
inline Bytes mld_frame() { return kMacs + kIpv6Type + ipv6_header(0) + kHopByHop + icmpv6(131); }
inline Bytes udp_frame() { return kMacs + kIpv4Type + ipv4(17); }

inline Bytes padded(Bytes frame, std::size_t size) {
    frame.resize(size, 0);
    return frame;
}

}  // namespace frame_pieces
