// What the words of the sub-command "live" mean.
#pragma once

#include <string>
#include <vector>

#include "node/ipc_place.h"
#include "node/live/arguments.h"
#include "node/recorded_arguments.h"

namespace node {

// The options as they stand on the command line.
struct LiveWords {
    std::string bridge;
    std::vector<std::string> ports;
    std::vector<std::string> uplinks;
    std::string debug;
    std::string onu_id = "1";
    std::string ipc;
    bool json = false;
    std::string config;
    RecordedWords recorded;
    bool restore = false;
    std::string metrics;
};

// Throws UsageError.
[[nodiscard]] live::Arguments meaning_of(const LiveWords& words);
[[nodiscard]] IpcPlace ipc_place_of(const LiveWords& words);

}  // namespace node
