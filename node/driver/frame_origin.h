// Where the frame in hand (frame_fate.h) comes from, for those who write down what follows from it.
// Other threads, and the one that reads while it waits, have no frame in hand.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace driver {

inline constexpr std::size_t kOriginBytes = 128;

struct FrameOrigin {
    std::string_view from;  // the capture file, or the interface
    std::uint64_t
        number{};          // there: of all frames of the file, or of those that went to the library
    std::size_t length{};  // of the frame
    // As it came in, the beginning at least: the library changes the frame that it has.
    std::array<std::uint8_t, kOriginBytes> bytes{};

    [[nodiscard]] std::span<const std::uint8_t> beginning() const {
        return std::span(bytes).first(length < kOriginBytes ? length : kOriginBytes);
    }
};

// For drivers, when they deliver a frame and when they are asked for the next one, on the thread
// that reads. What from names must last.
void note_origin(std::string_view from, std::uint64_t number, std::span<const std::uint8_t> frame);
void forget_origin();

// Of the calling thread; null when it has no frame in hand.
[[nodiscard]] const FrameOrigin* origin_in_hand();

}  // namespace driver
