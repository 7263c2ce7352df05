// What commands have made of the library and the core, as the commands that make it again of a node
// that has just started: read from their records and settings, from no journal.
//
// A value that a fresh node has is not written. What commands of today cannot make again is no
// matter here: whoever has the lines can run them in a fresh node and compare the facts
// (node/config/facts.h, fresh_node.h).
//
// The records are the command task's: to be called while no command runs (node/command_queue.h).
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "node/config/words.h"
#include "node/core/configuration.h"

namespace config {

struct Running {
    mcore::Configuration core;
    std::uint8_t onu_id = 1;  // 255: none, the node is in EPON mode
};

[[nodiscard]] Running look_at_running();

// Lines under one comment line.
struct Group {
    std::string_view title;
    Lines lines;
};

// In the order in which they are to run; without the groups that have no lines.
[[nodiscard]] std::vector<Group> running_config(const Running& running);

}  // namespace config
