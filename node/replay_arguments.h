/* What "mc_node replay" is told. */
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "node/capture/capture_merge.h"
#include "node/timed_commands.h"

namespace CLI {
class App;
}

namespace node {

struct ReplayArguments {
    std::vector<capture::Input> inputs;  // no port twice
    std::optional<std::filesystem::path> output;
    std::uint8_t onu_id = 1;
    std::uint32_t debug = 0;  // for mc_debug and mld_debug
    std::uint64_t tail_us = 0;
    bool json = false;
    bool hold = false;                   // stay for commands from the queue once the replay is over
    std::vector<TimedCommand> commands;  // in the order of their times
};

/* The options of "replay" as they stand on the command line. */
struct ReplayWords {
    std::string scenario;
    std::vector<std::string> ports;
    std::vector<std::string> uplinks;
    std::string output;
    std::string debug;
    std::string onu_id = "1";
    double tail_s = 0;
    std::string commands;
    bool json = false;
    bool hold = false;
};

/* Adds the sub-command; its words are filled when the command line is parsed. */
CLI::App* declare_replay(CLI::App& app, ReplayWords& words);

/* Throws UsageError. */
[[nodiscard]] ReplayArguments meaning_of(const ReplayWords& words);

}  // namespace node
