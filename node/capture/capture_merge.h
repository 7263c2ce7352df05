// Several captures as one stream in the order of time. Frames with equal stamps come in port order,
// the uplink last. Frames of one capture never overtake each other: a stamp that goes back inside a
// file is delivered where it stands.
//
// Or one capture that is split: each frame of it comes in at the port that the split says.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "node/capture/capture_reader.h"
#include "node/capture/split.h"

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

    // Reads all of the capture once, for the split, and is then at its beginning. Throws
    // CaptureError.
    CaptureMerge(const std::filesystem::path& capture, SplitRules rules);

    // The next frame; nothing at the end. Its bytes are valid until the next call.
    [[nodiscard]] std::optional<MergedFrame> next();

    // The earliest stamp; nothing if there is no frame at all.
    [[nodiscard]] std::optional<std::uint64_t> first_stamp_ns() const { return first_stamp_ns_; }

    [[nodiscard]] const std::optional<Split>& split() const { return split_; }

    // How much of the files is used, and of how much; the latter is nothing when a file does not
    // say.
    [[nodiscard]] std::uint64_t position() const;
    [[nodiscard]] std::optional<std::uint64_t> size() const;

    // One line for each capture that broke before its end.
    [[nodiscard]] std::vector<std::string> damage() const;

 private:
    [[nodiscard]] CaptureReader* earliest();

    std::vector<CaptureReader> readers_;  // in port order, which the tie break relies on
    std::optional<Split> split_;          // of the one reader, whose port then says nothing
    CaptureReader* delivered_ = nullptr;  // its head is in the caller's hands
    std::optional<std::uint64_t> first_stamp_ns_;
};

}  // namespace capture
