// Several captures as one stream in the order of time. Frames with equal stamps come in port order,
// the uplink last. Frames of one capture never overtake each other: a stamp that goes back inside a
// file is delivered where it stands.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "node/capture/capture_reader.h"

namespace capture {

struct Input {
    std::uint8_t port;
    std::filesystem::path file;
};

struct MergedFrame {
    std::uint8_t port;
    CapturedFrame frame;
    std::string_view file;  // valid as long as the merge is
    std::uint64_t number;   // in the file, from 1 on
};

class CaptureMerge {
 public:
    CaptureMerge() = default;

    // Throws CaptureError if one of the files cannot be used. No port may appear twice.
    explicit CaptureMerge(const std::vector<Input>& inputs);

    // The next frame; nothing at the end. Its bytes are valid until the next call.
    [[nodiscard]] std::optional<MergedFrame> next();

    // The earliest stamp; nothing if there is no frame at all.
    [[nodiscard]] std::optional<std::uint64_t> first_stamp_ns() const { return first_stamp_ns_; }

    // One line for each capture that broke before its end.
    [[nodiscard]] std::vector<std::string> damage() const;

 private:
    [[nodiscard]] CaptureReader* earliest();

    std::vector<CaptureReader> readers_;  // in port order, which the tie break relies on
    CaptureReader* delivered_ = nullptr;  // its head is in the caller's hands
    std::optional<std::uint64_t> first_stamp_ns_;
};

}  // namespace capture
