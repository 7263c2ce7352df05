#include "node/driver/frame_in_hand.h"

#include <algorithm>

namespace driver {
namespace {

thread_local FrameInHand in_hand;
thread_local bool is_in_hand = false;

}  // namespace

void take_frame_in_hand(std::string_view from, std::uint64_t number,
                        std::span<const std::uint8_t> frame) {
    in_hand.from = from;
    in_hand.number = number;
    in_hand.length = frame.size();
    std::ranges::copy(frame.first(std::min(frame.size(), kBytesInHand)), in_hand.bytes.begin());
    is_in_hand = true;
}

void lay_down_frame() { is_in_hand = false; }

const FrameInHand* frame_in_hand() { return is_in_hand ? &in_hand : nullptr; }

}  // namespace driver
