// What a switch makes of a frame on its way out of a port, where the library leaves it to the
// switch.
//
// The default VLAN is the one of untagged frames; on the way in it is so by the library's own
// classification. So its tag comes off on the way out: the core's queries carry it, and hosts
// without VLANs are to hear them.
//
// What the core sends as MLD leaves the library as {tag, 0x0800, IPv6 packet}, after a tagged frame
// with that frame's TCI in the place of the TPID. Both are put right, and a tag without a VID comes
// off. The VID is that of the last MLD frame received, on whatever port.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace live {

// The frame on the wire is its first 12 bytes, the head, and what stands from rest on.
struct Egress {
    std::array<std::uint8_t, 6> head{};
    std::size_t head_length = 0;
    std::size_t rest = 12;
};

[[nodiscard]] Egress egress_of(std::span<const std::uint8_t> frame, std::uint16_t default_vid);

}  // namespace live
