// The bytes that a capture lies in: a file or, named "-", the standard input; as they are, or in
// gzip, which its first bytes tell and not its name.
//
//      file --> [ kept, when it is to be read twice and cannot be ] --> [ gunzip ] --> libpcap
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "node/capture/gunzip.h"

namespace capture {

enum class Passes : std::uint8_t { kOne, kTwo };

[[nodiscard]] bool is_standard_input(const std::filesystem::path& file);
// As it stands in a complaint.
[[nodiscard]] std::string name_of(const std::filesystem::path& file);

// Of an open file, which it closes.
struct Descriptor {
    explicit Descriptor(int opened) : value(opened) {}
    ~Descriptor();
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int value;
};

class CaptureStream {
 public:
    // For two passes what cannot be read twice, as a pipe, is first copied whole to a file without
    // a name in the folder for temporary files. Throws CaptureError.
    CaptureStream(const std::filesystem::path& file, Passes passes);

    // All of it from its beginning on; a second time after two passes were asked for. The stream is
    // the caller's, one at a time, and must not outlive this. Throws CaptureError.
    [[nodiscard]] std::FILE* open();

    // Why the bytes ended before they should; nothing while they are whole.
    [[nodiscard]] std::optional<std::string> damage() const;

    // How much of the file is used: in gzip its own bytes, not what they hold.
    [[nodiscard]] std::uint64_t position() const;
    // Nothing when that is not known, as of a pipe.
    [[nodiscard]] std::optional<std::uint64_t> size() const { return size_; }

    // What the stream reads: 0 at the end.
    [[nodiscard]] std::size_t read(std::span<std::uint8_t> bytes);

 private:
    [[nodiscard]] std::size_t read_file(std::span<std::uint8_t> bytes);
    void measure();
    void keep_whole();
    void look_at_first_bytes();

    std::string name_;
    Descriptor descriptor_;
    std::int64_t start_ =
        -1;  // of the capture in the file; negative when it cannot be gone back to
    std::optional<std::uint64_t> size_;
    std::uint64_t taken_ = 0;  // from the file
    std::vector<std::uint8_t> looked_at_;
    std::unique_ptr<Gunzip> gunzip_;
    std::optional<std::string> file_damage_;
};

}  // namespace capture
