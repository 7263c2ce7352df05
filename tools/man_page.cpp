#include "tools/man_page.h"

#include <string_view>

#include "tools/version.h"

namespace options {
namespace {

// A dash is a hyphen to man, and a backslash begins its own words.
std::string escaped(std::string_view text) {
    std::string out;
    for (const char c : text) {
        if (c == '\\') {
            out += "\\e";
        } else if (c == '-') {
            out += "\\-";
        } else {
            out += c;
        }
    }
    return out;
}

// Lines of text: a dot or a quote at the beginning would make a macro of one.
std::string lines(std::string_view text) {
    std::string out;
    bool begins = true;
    for (const char c : text) {
        if (begins && (c == '.' || c == '\'')) out += "\\&";
        out += c == '\\' || c == '-' ? escaped({&c, 1}) : std::string(1, c);
        begins = c == '\n';
    }
    if (!begins) out += '\n';
    return out;
}

// An empty line stands between paragraphs.
std::string paragraphs(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        const std::size_t end = text.find("\n\n");
        out += ".PP\n" + lines(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 2);
    }
    return out;
}

std::string section(std::string_view title, const std::string& text) {
    return ".SH " + std::string(title) + "\n" + text;
}

std::string option_item(const OptionText& option) {
    const bool has_dashes = option.name.starts_with("--");
    std::string head = has_dashes ? "\\fB" + escaped(option.name) + "\\fR" : "";
    if (!option.value.empty()) {
        head += (has_dashes ? " " : "") + ("\\fI" + escaped(option.value) + "\\fR");
    } else if (!has_dashes) {
        head = "\\fI" + escaped(option.name) + "\\fR";
    }
    return ".TP\n" + head + "\n" + lines(option.help);
}

std::string path_text(const CommandText& command) {
    std::string text;
    for (const std::string& word : command.path) text += (text.empty() ? "" : " ") + word;
    return text;
}

std::string command_part(const CommandText& command) {
    std::string text = ".SS " + escaped(path_text(command)) + "\n" + lines(command.help);
    for (const OptionText& option : command.options) text += option_item(option);
    return text + paragraphs(command.closing);
}

std::string synopsis(const ProgramText& program) {
    std::string text = ".B " + escaped(program.name) + "\n";
    if (!program.options.empty()) text += "[\\fIOPTION\\fR ...]\n";
    return text + (program.commands.empty() ? "" : "\\fICOMMAND\\fR ...\n");
}

// What stands behind the name: the first words of the purpose.
std::string short_purpose(const ProgramText& program) {
    std::string text = program.purpose.substr(0, program.purpose.find_first_of(".,"));
    const std::string itself = program.name + " ";
    return text.starts_with(itself) ? text.substr(itself.size()) : text;
}

}  // namespace

std::string man_page(const ProgramText& program) {
    std::string text =
        ".TH \"" + escaped(program.name) + "\" 1 \"\" \"" + escaped(version()) + "\"\n";
    text +=
        section("NAME", escaped(program.name) + " \\- " + escaped(short_purpose(program)) + "\n");
    text += section("SYNOPSIS", synopsis(program));
    text += section("DESCRIPTION", lines(program.purpose) + paragraphs(program.closing));
    std::string options;
    for (const OptionText& option : program.options) options += option_item(option);
    text += section("OPTIONS", options);
    std::string commands;
    for (const CommandText& command : program.commands) commands += command_part(command);
    if (!commands.empty()) text += section("COMMANDS", commands);
    return text;
}

}  // namespace options
