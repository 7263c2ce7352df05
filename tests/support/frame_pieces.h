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

inline Bytes ipv4(std::uint8_t protocol) {
    return {0x45, 0x00,     0x00, 0x1C, 0x00, 0x00, 0x00, 0x00,
            0x01, protocol, 0x00, 0x00, 192,  168,  1,    7,  // source
            239,  1,        1,    1,                          // destination
            0x16, 0x00,     0x00, 0x00,                       // membership report, version 2
            239,  1,        1,    1};
}

inline Bytes ipv6_header(std::uint8_t next) {
    Bytes header{0x60, 0x00, 0x00, 0x00, 0x00, 0x20, next, 0x01};
    header.resize(40, 0xFE);
    return header;
}

inline const Bytes kHopByHop{58,   0x00, 0x05, 0x02,
                             0x00, 0x00, 0x01, 0x00};  // router alert, then ICMPv6
inline const Bytes kLongHopByHop = Bytes{58, 0x01} + Bytes(14, 0);

inline Bytes icmpv6(std::uint8_t type) { return Bytes{type} + Bytes(23, 0); }

inline Bytes igmp_frame() { return kMacs + kIpv4Type + ipv4(2); }
inline Bytes igmp_frame(std::uint8_t mark) {
    Bytes frame = igmp_frame();
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
