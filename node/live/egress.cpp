#include "node/live/egress.h"

#include "common/bytes.h"
#include "common/ethernet.h"

namespace live {
namespace {

constexpr std::size_t kType = mc::kMacsLength;
constexpr std::size_t kTci = 14;
constexpr std::size_t kTypeBehindTag = 16;
constexpr std::size_t kPacketBehindTag = 18;

// No IPv4 packet begins with a 6.
bool is_mld_of_core(std::span<const std::uint8_t> frame) {
    return mc::load_be16(&frame[kTypeBehindTag]) == mc::kEtherTypeIpv4 &&
           frame[kPacketBehindTag] >> 4 == 6;
}

}  // namespace

Egress egress_of(std::span<const std::uint8_t> frame, std::uint16_t default_vid) {
    Egress egress;
    if (frame.size() <= kPacketBehindTag) return egress;
    const bool is_mld = is_mld_of_core(frame);
    if (!is_mld && mc::load_be16(&frame[kType]) != mc::kTpid) return egress;
    const auto tci = static_cast<std::uint16_t>(mc::load_be16(&frame[kTci]));
    const auto vid = static_cast<std::uint16_t>(tci & mc::kVidMask);
    if (vid != default_vid && !(is_mld && vid == 0)) {
        mc::store_be16(&egress.head[0], mc::kTpid);
        mc::store_be16(&egress.head[2], tci);
        egress.head_length = 4;
    }
    const std::uint32_t type = is_mld ? mc::kEtherTypeIpv6 : mc::load_be16(&frame[kTypeBehindTag]);
    mc::store_be16(&egress.head[egress.head_length], type);
    egress.head_length += 2;
    egress.rest = kPacketBehindTag;
    return egress;
}

}  // namespace live
