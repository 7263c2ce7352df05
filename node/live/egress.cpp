#include "node/live/egress.h"

#include "common/bytes.h"

namespace live {
namespace {

constexpr std::size_t kType = 12;
constexpr std::size_t kTci = 14;
constexpr std::size_t kTypeBehindTag = 16;
constexpr std::size_t kPacketBehindTag = 18;

constexpr std::uint16_t kTpid = 0x8100;
constexpr std::uint16_t kIpv4 = 0x0800;
constexpr std::uint16_t kIpv6 = 0x86DD;
constexpr std::uint16_t kVidMask = 0x0FFF;

/* No IPv4 packet begins with a 6. */
bool is_mld_of_core(std::span<const std::uint8_t> frame) {
    return mc::load_be16(&frame[kTypeBehindTag]) == kIpv4 && frame[kPacketBehindTag] >> 4 == 6;
}

}  // namespace

Egress egress_of(std::span<const std::uint8_t> frame, std::uint16_t default_vid) {
    Egress egress;
    if (frame.size() <= kPacketBehindTag) return egress;
    const bool is_mld = is_mld_of_core(frame);
    if (!is_mld && mc::load_be16(&frame[kType]) != kTpid) return egress;
    const auto tci = static_cast<std::uint16_t>(mc::load_be16(&frame[kTci]));
    const auto vid = static_cast<std::uint16_t>(tci & kVidMask);
    if (vid != default_vid && !(is_mld && vid == 0)) {
        mc::store_be16(&egress.head[0], kTpid);
        mc::store_be16(&egress.head[2], tci);
        egress.head_length = 4;
    }
    const std::uint32_t type = is_mld ? kIpv6 : mc::load_be16(&frame[kTypeBehindTag]);
    mc::store_be16(&egress.head[egress.head_length], type);
    egress.head_length += 2;
    egress.rest = kPacketBehindTag;
    return egress;
}

}  // namespace live
