// The frame that the packet task has been given last and is still busy with: whatever happens on
// that thread until it asks for the next one comes from this frame. On other threads, and while the
// task waits, no frame is in hand.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace driver {

inline constexpr std::size_t kBytesInHand = 128;

struct FrameInHand {
    std::string_view from;  // the capture file, or the interface
    std::uint64_t
        number{};          // there: of all frames of the file, or of those that went to the library
    std::size_t length{};  // of the frame
    // As it came in, the beginning at least: the library changes the frame that it has.
    std::array<std::uint8_t, kBytesInHand> bytes{};

    [[nodiscard]] std::span<const std::uint8_t> beginning() const {
        return std::span(bytes).first(length < kBytesInHand ? length : kBytesInHand);
    }
};

// For drivers, on the packet task. What from names must last.
void take_frame_in_hand(std::string_view from, std::uint64_t number,
                        std::span<const std::uint8_t> frame);
void lay_down_frame();

// Of this thread; null when it has none.
[[nodiscard]] const FrameInHand* frame_in_hand();

}  // namespace driver
