// The commands of a replay in a file: a command a line, in any order of time.
//
//     # seconds after the first captured frame, then the words of the command
//     30.0  mode control
//     30.0  onu-id 7
//
// Empty lines and comments say nothing. Besides the commands of the queue a line may hold what
// happens to the node itself: node/node_words.h.
#pragma once

#include <filesystem>
#include <vector>

#include "node/config/config_file.h"
#include "node/replay/timed_commands.h"

namespace node {

// All lines, in the order of their times. Throws UsageError: "FILE:LINE: why".
[[nodiscard]] std::vector<replay::TimedCommand> read_commands(const std::filesystem::path& file);

// Those of a configuration, and the mode of MLD that it names: all of them at the time 0.
[[nodiscard]] std::vector<replay::TimedCommand> commands_at_once(const config::File& file);

}  // namespace node
