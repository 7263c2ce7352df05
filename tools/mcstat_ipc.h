// The two System V objects that mcstat uses: the status segment, which it reads, and the command
// queue, through which it asks for fresh contents. It creates neither.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <stdexcept>

#include "adapt/status_segment.h"

namespace mcstat {

// Something is missing or does not answer; what() is one line.
struct IpcError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

using Contents = std::array<std::uint8_t, mc::kStatusSegmentSize>;

// The segment, attached for reading.
class Segment {
 public:
    Segment();  // throws IpcError
    ~Segment();
    Segment(const Segment&) = delete;
    Segment& operator=(const Segment&) = delete;

    // The library takes no lock when it writes, so a table may be half new.
    [[nodiscard]] Contents read() const;

 private:
    const void* bytes_;
};

// Has the library export all ports and groups, and waits until it did. Throws IpcError, also when
// that takes longer than patience.
void refresh(std::chrono::milliseconds patience);

}  // namespace mcstat
