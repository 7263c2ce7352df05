// The configuration file of a node (config/config_file.h) and its command line: which option of the
// two holds, and what is written for the options that the node was started with.
#pragma once

#include <functional>
#include <string>

#include "node/arguments.h"
#include "node/bound_arguments.h"
#include "node/config/config_file.h"
#include "node/config/words.h"
#include "node/live_arguments.h"
#include "node/replay_arguments.h"

namespace node {

// Whether an option, with its dashes, stands on the command line: it overrules the file's. A port
// overrules the same port only.
using IsGiven = std::function<bool(const std::string& option)>;

void take_bounds(const config::File& file, const IsGiven& is_given, BoundWords& words);
void take_options(const config::File& file, const IsGiven& is_given, LiveWords& words);
// A replay has captures in place of interfaces.
void take_options(const config::File& file, const IsGiven& is_given, ReplayWords& words);

// In the order in which they are written. What other commands than those of the file have made is
// no part of it.
[[nodiscard]] config::Lines options_of(const Arguments& arguments);

// What is to run once the library has started: the mode of MLD, then the commands.
void run_configured(const config::File& file);

}  // namespace node
