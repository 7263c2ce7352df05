// The options of a program: declared, read from its command line, and shown as its help.
//
// CLI11 does it. Reading its header takes longer than compiling all of tools/, so option_parser.cpp
// alone includes it.
//
// Link the target mc_options.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tools/program_text.h"

namespace CLI {
class App;
}

namespace options {

// The command line is wrong; what() says why, and repeats words as they were given.
struct ParseError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// How the help shows an option, or a word at its place when the name has no dashes.
struct Shown {
    std::string_view name;
    std::string_view value;  // what its value is called
    std::string_view help;
};

// Every place that is declared for a value is filled while parsing, so it must still be there then.
class Parser {
 public:
    Parser(std::string_view program, std::string_view help);
    ~Parser();
    Parser(const Parser&) = delete;
    Parser& operator=(const Parser&) = delete;

    // A sub-command, with a parser that belongs to this one. It takes over what stood here at the
    // time: whether there is --help, whether unknown words are kept.
    Parser& command(std::string_view name, std::string_view help);

    void footer(std::string_view text);
    void without_help();
    void keep_unknown_words();
    // --version, --man and --completion, of a program.
    void offer_texts();

    void flag(std::string_view name, bool& place, std::string_view help);
    void once(const Shown& shown, std::string& place);
    void required(const Shown& shown, std::string& place);
    // The last one counts, so that a script's choice can be overridden behind it.
    void last(const Shown& shown, std::string& place);
    void last(const Shown& shown, double& place);
    void each(const Shown& shown, std::vector<std::string>& places);
    // May be given without a value, which is then the one that stands for it.
    void once_or_bare(const Shown& shown, std::string& place, std::string_view bare);

    // Reads the words behind the program's name. False when they asked for help or another text,
    // which is printed then. Throws ParseError.
    [[nodiscard]] bool parse(const std::vector<std::string>& words);

    [[nodiscard]] std::string help() const;
    [[nodiscard]] ProgramText text() const;
    // Whether the command line named this sub-command.
    [[nodiscard]] bool is_named() const;
    [[nodiscard]] bool is_given(std::string_view name) const;
    // Those of its sub-commands too.
    [[nodiscard]] std::vector<std::string> unknown_words() const;

 private:
    explicit Parser(CLI::App& app);

    [[nodiscard]] bool print_text() const;

    std::unique_ptr<CLI::App> own_;  // empty for a sub-command
    CLI::App& app_;
    std::vector<std::unique_ptr<Parser>> commands_;
    bool offers_texts_ = false;
    bool wants_man_page_ = false;
    std::string shell_;  // whose completion is asked for
};

}  // namespace options
