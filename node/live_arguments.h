/* The sub-command "live" on the command line. */
#pragma once

#include <string>
#include <vector>

#include "node/live/arguments.h"

namespace CLI {
class App;
}

namespace node {

/* The options as they stand on the command line. */
struct LiveWords {
    std::string bridge;
    std::vector<std::string> ports;
    std::vector<std::string> uplinks;
    std::string debug;
    std::string onu_id = "1";
    bool json = false;
};

/* Adds the sub-command; its words are filled when the command line is parsed. */
CLI::App* declare_live(CLI::App& app, LiveWords& words);

/* Throws UsageError. */
[[nodiscard]] live::Arguments meaning_of(const LiveWords& words);

}  // namespace node
