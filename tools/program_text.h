// A program as its help tells of it, for manual pages and completion: made by option_parser.h from
// what is declared there, and by documents.h from the table of commands.
#pragma once

#include <string>
#include <vector>

namespace options {

// An option, or a word at its place when the name has no dashes.
struct OptionText {
    std::string name;
    std::string value;  // what its value is called; empty without one
    std::string help;
    std::vector<std::string> offered = {};  // words that its value may be, as far as they are known
};

struct CommandText {
    std::vector<std::string> path;
    std::string help;
    std::vector<OptionText> options = {};
    std::string closing = {};  // paragraphs
};

struct ProgramText {
    std::string name;
    std::string purpose;
    std::vector<OptionText> options;  // of the program itself
    std::vector<CommandText> commands = {};
    std::string closing = {};  // paragraphs
};

}  // namespace options
