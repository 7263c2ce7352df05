// What the words of the sub-command "replay" mean.
#pragma once

#include <string>
#include <vector>

#include "node/ipc_place.h"
#include "node/recorded_arguments.h"
#include "node/replay/arguments.h"

namespace node {

// The options as they stand on the command line.
struct ReplayWords {
    std::string scenario;
    std::vector<std::string> ports;
    std::vector<std::string> uplinks;
    std::string capture;
    std::string hosts_from;
    std::string output;
    std::string debug;
    std::string onu_id = "1";
    double tail_s = 0;
    std::string commands;
    std::string config;
    std::string ipc;
    bool json = false;
    RecordedWords recorded;
    bool hold = false;
};

// Throws UsageError.
[[nodiscard]] replay::Arguments meaning_of(const ReplayWords& words);
[[nodiscard]] IpcPlace ipc_place_of(const ReplayWords& words);

}  // namespace node
