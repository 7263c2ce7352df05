#include "tools/option_parser.h"

#include <CLI/CLI.hpp>

namespace options {
namespace {

// The help of the declared option shows its value's name, and none of CLI11's names for types.
template <class Place>
CLI::Option& declare(CLI::App& app, const Shown& shown, Place& place) {
    CLI::Option* const option =
        app.add_option(std::string(shown.name), place, std::string(shown.help));
    option->type_name(std::string(shown.value));
    return *option;
}

// The first word that looks like an option and is none; empty when each is known.
std::string unknown_option(const CLI::App& app, const std::vector<std::string>& words) {
    for (const std::string& word : words) {
        const std::string name = word.substr(0, word.find('='));
        if (name.starts_with("--") && app.get_option_no_throw(name) == nullptr) return word;
    }
    return "";
}

}  // namespace

Parser::Parser(std::string_view program, std::string_view help)
    : own_(std::make_unique<CLI::App>(std::string(help), std::string(program))), app_(*own_) {}

Parser::Parser(CLI::App& app) : app_(app) {}

Parser::~Parser() = default;

Parser& Parser::command(std::string_view name, std::string_view help) {
    CLI::App* const app = app_.add_subcommand(std::string(name), std::string(help));
    commands_.push_back(std::unique_ptr<Parser>(new Parser(*app)));
    return *commands_.back();
}

void Parser::footer(std::string_view text) { app_.footer(std::string(text)); }

void Parser::without_help() { app_.set_help_flag(); }

void Parser::keep_unknown_words() { app_.allow_extras(); }

void Parser::flag(std::string_view name, bool& place, std::string_view help) {
    app_.add_flag(std::string(name), place, std::string(help));
}

void Parser::once(const Shown& shown, std::string& place) { declare(app_, shown, place); }

void Parser::required(const Shown& shown, std::string& place) {
    declare(app_, shown, place).required();
}

void Parser::last(const Shown& shown, std::string& place) {
    declare(app_, shown, place).take_last();
}

void Parser::last(const Shown& shown, double& place) { declare(app_, shown, place).take_last(); }

void Parser::each(const Shown& shown, std::vector<std::string>& places) {
    declare(app_, shown, places).allow_extra_args(false);
}

void Parser::once_or_bare(const Shown& shown, std::string& place, std::string_view bare) {
    declare(app_, shown, place).expected(0, 1)->default_str(std::string(bare));
}

bool Parser::parse(const std::vector<std::string>& words) {
    // The library takes the words from the back.
    std::vector<std::string> reversed(words.rbegin(), words.rend());
    try {
        app_.parse(reversed);
    } catch (const CLI::CallForHelp& help) {
        app_.exit(help);
        return false;
    } catch (const CLI::RequiredError& missing) {
        // What is missing is often there, misspelt.
        const std::string unknown = unknown_option(app_, words);
        throw ParseError(unknown.empty() ? missing.what() : "'" + unknown + "' is not an option");
    } catch (const CLI::ParseError& wrong) {
        throw ParseError(wrong.what());
    }
    return true;
}

std::string Parser::help() const { return app_.help(); }

bool Parser::is_named() const { return app_.parsed(); }

bool Parser::is_given(std::string_view name) const { return app_.count(std::string(name)) != 0; }

std::vector<std::string> Parser::unknown_words() const { return app_.remaining(true); }

}  // namespace options
