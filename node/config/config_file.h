// The configuration of a node in a file: its options, without their dashes, and commands, a line
// each.
//
//     bridge   br0                      # one switches the streams
//     uplink   eth0
//     port     0 eth1
//     mld-mode control                  # an option too: no command sets it
//     mode     proxy
//     fast-leave --port 0 on
//
// Words, quotes and comments are those of mcctl (commands::split). Options hold from the start,
// wherever they stand; the commands run in their order once the library has started. Commands that
// only show, test or trace something are refused.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "tools/command_line.h"

namespace config {

struct Option {
    std::string name;   // without dashes: "port"
    std::string value;  // as behind the dashes on the command line: "0=eth1"
    std::size_t line = 0;
};

struct Command {
    std::string words;  // separated by one blank each
    commands::Record record;
    std::size_t line = 0;
};

struct File {
    std::vector<Option> options;
    std::vector<Command> commands;
};

// All of it is checked. Throws node::UsageError about the first thing that is wrong:
// "NAME:LINE:COLUMN: why".
[[nodiscard]] File read_text(const std::string& name, const std::string& text);
[[nodiscard]] File read_file(const std::filesystem::path& file);

// The name of an interface as a word of a line: it may begin like a comment.
[[nodiscard]] std::string quoted(const std::string& word);

// What is written for an option in a file: "port 0 eth1".
[[nodiscard]] std::string line_of(const Option& option);

}  // namespace config
