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
    return {kind, false, tci, load_be16(frame + type_offset), type_offset + 2};
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

std::uint32_t WorkingCopy::rebuild(const Frame& frame, std::initializer_list<std::uint16_t> tcis,
                                   std::uint32_t from) {
    std::uint32_t end = kMacsLength;
    std::memcpy(bytes, frame.bytes, kMacsLength);
    for (const std::uint16_t tci : tcis) {
        store_be16(bytes + end, kTpid);
        store_be16(bytes + end + 2, tci);
        end += kTagLength;
    }
    if (frame.len <= from) return end;
    std::memcpy(bytes + end, frame.bytes + from, frame.len - from);
    return end + frame.len - from;
}

}  // namespace mc
