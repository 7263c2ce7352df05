// One capture file, frame by frame, with the next frame always in view. Both pcap and pcapng files
// are read, of either byte order and of microsecond or nanosecond resolution.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>

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
    CaptureReader(std::filesystem::path file, std::uint8_t port);

    // The frame in view; nothing at the end. Its bytes are valid until drop().
    [[nodiscard]] const std::optional<CapturedFrame>& head() const { return head_; }

    // Leaves the frame in view and reads the next one.
    void drop();

    // What broke the file before its end; nothing if it is whole so far.
    [[nodiscard]] const std::optional<std::string>& damage() const { return damage_; }

    [[nodiscard]] std::uint8_t port() const { return port_; }
    [[nodiscard]] const std::filesystem::path& file() const { return file_; }
    [[nodiscard]] std::uint64_t frames_read() const { return frames_read_; }

 private:
    struct Close {
        void operator()(pcap* handle) const;
    };

    void read_head();

    std::filesystem::path file_;
    std::uint8_t port_;
    std::unique_ptr<pcap, Close> handle_;
    std::optional<CapturedFrame> head_;
    std::optional<std::string> damage_;
    std::uint64_t frames_read_ = 0;
};

}  // namespace capture
