#include "node/capture/capture_merge.h"

#include <algorithm>

namespace capture {

CaptureMerge::CaptureMerge(const std::vector<Input>& inputs) {
    readers_.reserve(inputs.size());
    for (const Input& input : inputs) readers_.emplace_back(input.file, input.port);
    // The uplink's number is the largest, so plain port order puts it last.
    std::ranges::sort(readers_, {}, &CaptureReader::port);
    if (const CaptureReader* first = earliest()) first_stamp_ns_ = first->head()->stamp_ns;
}

CaptureReader* CaptureMerge::earliest() {
    CaptureReader* first = nullptr;
    for (CaptureReader& reader : readers_) {
        if (!reader.head()) continue;
        if (first == nullptr || reader.head()->stamp_ns < first->head()->stamp_ns) first = &reader;
    }
    return first;
}

std::optional<MergedFrame> CaptureMerge::next() {
    if (delivered_ != nullptr) delivered_->drop();
    delivered_ = earliest();
    if (delivered_ == nullptr) return std::nullopt;
    return MergedFrame{delivered_->port(), *delivered_->head(), delivered_->file().native(),
                       delivered_->frames_read()};
}

std::vector<std::string> CaptureMerge::damage() const {
    std::vector<std::string> lines;
    for (const CaptureReader& reader : readers_) {
        if (!reader.damage()) continue;
        lines.push_back(reader.file().string() + ": breaks after frame " +
                        std::to_string(reader.frames_read()) + ": " + *reader.damage());
    }
    return lines;
}

}  // namespace capture
