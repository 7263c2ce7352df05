// One capture, frame by frame, with the next frame always in view. Both pcap and pcapng files are
// read, of either byte order and of microsecond or nanosecond resolution, and what capture_stream.h
// makes of a file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "node/capture/capture_stream.h"

struct pcap;

namespace capture {

struct CapturedFrame {
    std::uint64_t stamp_ns;  // since the epoch
    std::uint32_t length;    // on the wire; bytes holds less if the capture was cut, never more
    std::span<const std::uint8_t> bytes;
};

class CaptureReader {
 public:
    // Opens the file and reads its first frame. Throws CaptureError if it cannot be opened, is not
    // a capture of Ethernet frames, or is damaged before its first frame ends.
    CaptureReader(std::filesystem::path file, std::uint8_t port, Passes passes = Passes::kOne);

    // Once, at the end of the first of two passes: the first frame is in view again. The second
    // pass ends where the first did, though a file may grow meanwhile.
    void rewind();

    // The frame in view; nothing at the end. Its bytes are valid until drop().
    [[nodiscard]] const std::optional<CapturedFrame>& head() const { return head_; }

    // Leaves the frame in view and reads the next one.
    void drop();

    // What broke the file before its end; nothing if it is whole so far.
    [[nodiscard]] const std::optional<std::string>& damage() const { return damage_; }

    [[nodiscard]] std::uint8_t port() const { return port_; }
    [[nodiscard]] const std::filesystem::path& file() const { return file_; }
    [[nodiscard]] std::uint64_t frames_read() const { return frames_read_; }

    // How much of the file is used; see CaptureStream.
    [[nodiscard]] std::uint64_t position() const { return stream_->position(); }
    [[nodiscard]] std::optional<std::uint64_t> size() const { return stream_->size(); }

 private:
    struct Close {
        void operator()(pcap* handle) const;
    };

    // How a first pass ended.
    struct End {
        std::uint64_t frames;
        std::optional<std::string> damage;
    };

    void open();
    void read_head();

    std::filesystem::path file_;
    std::uint8_t port_;
    std::unique_ptr<CaptureStream> stream_;  // where it is: libpcap's stream points to it
    std::unique_ptr<pcap, Close> handle_;
    std::optional<End> end_;
    std::optional<CapturedFrame> head_;
    std::optional<std::string> damage_;
    std::uint64_t frames_read_ = 0;
};

}  // namespace capture
