// What a replay does at set times between the frames: what a management process would post on the
// command queue, and what happens to the node itself.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "node/capture/capture_driver.h"

namespace replay {

struct TimedCommand {
    std::uint64_t after_us = 0;         // since the first stamp of the captures
    std::string words;                  // separated by one blank each
    std::optional<std::uint32_t> code;  // nothing when it is no command of the queue
    std::function<void()> run;
};

// What the driver is to run, in the same order; ran is told after each. Every command says its time
// and words on standard output first, so that what it shows has a title.
[[nodiscard]] std::vector<capture::Event> events_of(const std::vector<TimedCommand>& commands,
                                                    const std::function<void()>& ran);

}  // namespace replay
