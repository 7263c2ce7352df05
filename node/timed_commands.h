/*
 * The commands of a replay: what a management process would post on the command queue, each at its
 * time. A file has a command a line, in any order of time:
 *
 *     # seconds after the first captured frame, then the words of the command
 *     30.0  mode control
 *
 * Empty lines and comments say nothing. All lines are read before anything runs.
 */
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "command/command.h"
#include "node/capture/capture_driver.h"

namespace node {

struct TimedCommand {
    std::uint64_t after_us = 0;  // since the first stamp of the captures
    std::uint32_t code = 0;
    std::string words;  // separated by one blank each
    // The whole record. Behind the fields are zeros: what a command finds there must not depend on
    // the command before it.
    std::array<std::uint8_t, MC_RECORD_SIZE> image{};
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
