#include "common/ethernet.h"

namespace mc {

namespace {

constexpr std::uint32_t kUntaggedMinimum = 14;
constexpr std::uint32_t kTaggedMinimum = 18;
constexpr std::uint32_t kPppoeMinimum = 22;

constexpr std::uint32_t kFirstTci = 14;
constexpr std::uint32_t kInnerType = 16;
constexpr std::uint32_t kInnerTci = 18;
constexpr std::uint32_t kThirdType = 20;

Framing framing(FrameKind kind, const std::uint8_t* frame, std::uint16_t tci,
                std::uint32_t type_offset) {
    return {kind, false, tci, load_be16(frame + type_offset),
            static_cast<std::uint16_t>(type_offset + 2)};
}

Framing parse_tagged(const std::uint8_t* frame, std::uint32_t len) {
    const std::uint16_t tci = load_be16(frame + kFirstTci);
    if (tci == kEtherTypePppoe) {
        if (len < kPppoeMinimum) return {FrameKind::kTaggedPppoe, true, tci, 0, 0};
        return framing(FrameKind::kTaggedPppoe, frame, tci, kThirdType);
    }
    if (len < kTaggedMinimum) return {FrameKind::kTagged, true, tci, 0, 0};
    if (load_be16(frame + kInnerType) == kTpid) {
        return framing(FrameKind::kDoubleTagged, frame, load_be16(frame + kInnerTci), kThirdType);
    }
    return framing(FrameKind::kTagged, frame, tci, kInnerType);
}

}  // namespace

Framing parse_framing(const std::uint8_t* frame, std::uint32_t len) {
    switch (load_be16(frame + kMacsLength)) {
        case kTpid:
            return parse_tagged(frame, len);
        case kEtherTypePppoe:
            if (len < kPppoeMinimum) return {FrameKind::kPppoe, true, 0, 0, 0};
            return framing(FrameKind::kPppoe, frame, 0, kThirdType);
        default:
            if (len < kUntaggedMinimum) return {FrameKind::kUntagged, true, 0, 0, 0};
            return framing(FrameKind::kUntagged, frame, 0, kMacsLength);
    }
}

void WorkingCopy::fill(const Frame& frame) {
    if (is_filled_) return;
    std::memcpy(bytes_, frame.bytes, frame.len);
    is_filled_ = true;
}

std::uint32_t WorkingCopy::rebuild(const Frame& frame, std::initializer_list<std::uint16_t> tcis,
                                   std::uint32_t from) {
    const std::uint32_t behind_tags =
        kMacsLength + static_cast<std::uint32_t>(tcis.size()) * kTagLength;
    const std::uint32_t rest = frame.len > from ? frame.len - from : 0;
    if (behind_tags + rest < frame.len) fill(frame);
    std::memcpy(bytes_, frame.bytes, kMacsLength);
    std::uint8_t* tag = bytes_ + kMacsLength;
    for (const std::uint16_t tci : tcis) {
        store_be16(tag, kTpid);
        store_be16(tag + 2, tci);
        tag += kTagLength;
    }
    if (rest != 0) std::memcpy(tag, frame.bytes + from, rest);
    is_filled_ = true;
    return behind_tags + rest;
}

}  // namespace mc
