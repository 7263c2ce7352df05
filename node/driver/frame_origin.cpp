#include "node/driver/frame_origin.h"

#include <algorithm>

namespace driver {
namespace {

thread_local FrameOrigin origin;
thread_local bool is_in_hand = false;

}  // namespace

void note_origin(std::string_view from, std::uint64_t number, std::span<const std::uint8_t> frame) {
    origin.from = from;
    origin.number = number;
    origin.length = frame.size();
    std::ranges::copy(frame.first(std::min(frame.size(), kOriginBytes)), origin.bytes.begin());
    is_in_hand = true;
}

void forget_origin() { is_in_hand = false; }

const FrameOrigin* origin_in_hand() { return is_in_hand ? &origin : nullptr; }

}  // namespace driver
