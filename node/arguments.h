// The command line of mc_node.
#pragma once

#include <optional>
#include <variant>

#include "node/config/config_file.h"
#include "node/core/multicast_core.h"
#include "node/ipc_place.h"
#include "node/live/arguments.h"
#include "node/replay/arguments.h"

namespace node {

struct Arguments {
    std::variant<replay::Arguments, live::Arguments> run;
    mcore::Bounds bounds;
    IpcPlace ipc = IpcPlace::kShared;
    config::File configuration;  // its commands are still to be run
};

// Reads the command line. Nothing comes back when help was asked for, or no sub-command given: the
// help is then printed already. Throws UsageError.
[[nodiscard]] std::optional<Arguments> parse_arguments(int argc, char** argv);

}  // namespace node
