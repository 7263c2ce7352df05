/* The command line of mc_node. */
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "node/capture/capture_merge.h"
#include "node/timed_commands.h"
#include "node/usage_error.h"

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

/*
 * Reads the command line. Nothing comes back when help was asked for, or no sub-command given: the
 * help is then printed already. Throws UsageError.
 */
[[nodiscard]] std::optional<ReplayArguments> parse_arguments(int argc, char** argv);

/* 0 to 255, where 255 is none; throws UsageError. */
[[nodiscard]] std::uint8_t parse_onu_id(const std::string& text);

/* "errors,rx", "0x14" or "20"; throws UsageError. */
[[nodiscard]] std::uint32_t parse_debug_mask(const std::string& text);

}  // namespace node
