#include "node/capture/capture_merge.h"

#include <algorithm>
#include <utility>

namespace capture {

CaptureMerge::CaptureMerge(const std::vector<Input>& inputs) {
    readers_.reserve(inputs.size());
    for (const Input& input : inputs) readers_.emplace_back(input.file, input.port);
    // The uplink's number is the largest, so plain port order puts it last.
    std::ranges::sort(readers_, {}, &CaptureReader::port);
    if (const CaptureReader* first = earliest()) first_stamp_ns_ = first->head()->stamp_ns;
}

CaptureMerge::CaptureMerge(const std::filesystem::path& capture, SplitRules rules) {
    CaptureReader& reader = readers_.emplace_back(capture, std::uint8_t{0}, Passes::kTwo);
    Seen seen;
    for (; reader.head(); reader.drop()) note(seen, reader.head()->bytes);
    split_ = settle(std::move(rules), seen);
    reader.rewind();
    if (reader.head()) first_stamp_ns_ = reader.head()->stamp_ns;
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
    const CapturedFrame& frame = *delivered_->head();
    return MergedFrame{split_ ? port_of(*split_, frame.bytes) : delivered_->port(), frame,
                       delivered_->file().native(), delivered_->frames_read()};
}

std::uint64_t CaptureMerge::position() const {
    std::uint64_t sum = 0;
    for (const CaptureReader& reader : readers_) sum += reader.position();
    return sum;
}

std::optional<std::uint64_t> CaptureMerge::size() const {
    std::uint64_t sum = 0;
    for (const CaptureReader& reader : readers_) {
        if (!reader.size()) return std::nullopt;
        sum += *reader.size();
    }
    return sum;
}

std::vector<std::string> CaptureMerge::damage() const {
    std::vector<std::string> lines;
    for (const CaptureReader& reader : readers_) {
        if (!reader.damage()) continue;
        lines.push_back(name_of(reader.file()) + ": breaks after frame " +
                        std::to_string(reader.frames_read()) + ": " + *reader.damage());
    }
    return lines;
}

}  // namespace capture
