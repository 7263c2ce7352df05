#include "tools/option_parser.h"

#include <CLI/CLI.hpp>
#include <cstddef>
#include <cstdio>

#include "tools/completion.h"
#include "tools/man_page.h"
#include "tools/version.h"

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

// The words of a value that is called one|other.
std::vector<std::string> alternatives(const std::string& value) {
    std::vector<std::string> words;
    if (value.find('|') == std::string::npos) return words;
    for (std::size_t begin = 0; begin <= value.size();) {
        const std::size_t end = std::min(value.find('|', begin), value.size());
        words.push_back(value.substr(begin, end - begin));
        begin = end + 1;
    }
    return words;
}

// --help is the program's, and each sub-command's too.
std::vector<OptionText> texts_of(const CLI::App& app) {
    std::vector<OptionText> texts;
    for (const CLI::Option* option : app.get_options()) {
        if (option == app.get_help_ptr() && app.get_parent() != nullptr) continue;
        const bool is_flag = option->get_items_expected_max() == 0;
        const std::string value = is_flag ? "" : option->get_type_name();
        const auto& names = option->get_lnames();
        texts.push_back({names.empty() ? option->get_name() : "--" + names.front(), value,
                         option->get_description(), alternatives(value)});
    }
    return texts;
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

void Parser::offer_texts() {
    offers_texts_ = true;
    app_.set_version_flag("--version", version_line(app_.get_name()));
    flag("--man", wants_man_page_, "Print the manual page, for man");
    once({"--completion", kShells, "Print a script for completion in this shell"}, shell_);
}

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
    } catch (const CLI::CallForVersion& line) {
        app_.exit(line);
        return false;
    } catch (const CLI::RequiredError& missing) {
        // What is missing is often there, misspelt.
        const std::string unknown = unknown_option(app_, words);
        throw ParseError(unknown.empty() ? missing.what() : "'" + unknown + "' is not an option");
    } catch (const CLI::ParseError& wrong) {
        throw ParseError(wrong.what());
    }
    return !print_text();
}

bool Parser::print_text() const {
    if (!offers_texts_) return false;
    if (wants_man_page_) {
        std::fputs(man_page(text()).c_str(), stdout);
        return true;
    }
    if (!is_given("--completion")) return false;
    const auto script = completion(text(), shell_);
    if (!script) throw ParseError("--completion: '" + shell_ + "' is not one of bash, zsh, fish");
    std::fputs(script->c_str(), stdout);
    return true;
}

std::string Parser::help() const { return app_.help(); }

ProgramText Parser::text() const {
    ProgramText program{app_.get_name(), app_.get_description(), texts_of(app_)};
    for (const auto& command : commands_) {
        const CLI::App& app = command->app_;
        program.commands.push_back(
            {{app.get_name()}, app.get_description(), texts_of(app), app.get_footer()});
    }
    program.closing = app_.get_footer();
    return program;
}

bool Parser::is_named() const { return app_.parsed(); }

bool Parser::is_given(std::string_view name) const { return app_.count(std::string(name)) != 0; }

std::vector<std::string> Parser::unknown_words() const { return app_.remaining(true); }

}  // namespace options
