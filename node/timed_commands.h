/*
 * The commands of a replay: what a management process would post on the command queue, each at its
 * time. A file has a command a line, in any order of time:
 *
 *     # seconds after the first captured frame, then the words of the command
 *     30.0  mode control
 *     30.0  onu-id 7
 *
 * Empty lines and comments say nothing. All lines are read before anything runs. Besides commands a
 * line may hold what happens to the node itself: node/node_words.h.
 */
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "node/capture/capture_driver.h"

namespace node {

struct TimedCommand {
    std::uint64_t after_us = 0;         // since the first stamp of the captures
    std::string words;                  // separated by one blank each
    std::optional<std::uint32_t> code;  // nothing when it is no command of the queue
    std::function<void()> run;
};

/* In the order of their times. Throws UsageError: "FILE:LINE: why". */
[[nodiscard]] std::vector<TimedCommand> read_commands(const std::filesystem::path& file);

/*
 * What the driver is to run, in the same order; ran is told after each. Every command says its time
 * and words on standard output first, so that what it shows has a title.
 */
[[nodiscard]] std::vector<capture::Event> events_of(const std::vector<TimedCommand>& commands,
                                                    const std::function<void()>& ran);

}  // namespace node
