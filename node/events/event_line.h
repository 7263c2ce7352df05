// An event as one line of JSON; docs/timeline.md has a table of the fields.
#pragma once

#include <string>
#include <string_view>

#include "node/core/events.h"
#include "node/driver/frame_origin.h"

namespace events {

// What the frames of a run are numbered by.
enum class FrameSource { kCapture, kInterface };

struct Lines {
    std::string for_file;
    std::string for_page;  // with the first bytes of the frame, where the event is the frame itself
};

// The frame is the one that the event comes from, or null.
[[nodiscard]] Lines lines_of(const mcore::Event& event, FrameSource source,
                             const driver::FrameOrigin* frame);

}  // namespace events
