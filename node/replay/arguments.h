// What "mc_node replay" is told.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

#include "node/capture/capture_merge.h"
#include "node/events/wanted.h"
#include "node/replay/timed_commands.h"

namespace replay {

struct Arguments {
    std::vector<capture::Input> inputs;  // sorted; no port twice; to be split: one
    std::optional<capture::SplitRules> split;
    std::optional<std::filesystem::path> output;
    std::uint8_t onu_id = 1;
    std::uint32_t debug = 0;  // for mc_debug and mld_debug
    std::uint64_t tail_us = 0;
    bool json = false;
    events::Wanted recorded;
    bool hold = false;                   // stay for commands from the queue once the replay is over
    std::vector<TimedCommand> commands;  // in the order of their times
};

}  // namespace replay
