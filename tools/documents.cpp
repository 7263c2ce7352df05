#include "tools/documents.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <utility>

#include "tools/command_line.h"
#include "tools/values.h"

namespace commands {
namespace {

using Words = std::vector<std::string>;

constexpr std::string_view kPurpose =
    "mcctl posts commands to the multicast adaptation layer on message queue 81, and prints what\n"
    "a node on this machine prints on them.\n";

constexpr std::string_view kUsageLines =
    "\n"
    "Usage: mcctl [--dry-run] COMMAND ...\n"
    "       mcctl console            all that the node prints, as it prints it\n"
    "       mcctl save [FILE]        the running configuration as a file\n"
    "       mcctl apply FILE         makes the running node what a file says\n"
    "       mcctl COMMAND --help     the options of a command\n"
    "       mcctl --reference        all commands as Markdown\n"
    "       mcctl --man              the manual page\n"
    "       mcctl --version          which version this is\n"
    "       mcctl completion SHELL   a script for bash, zsh or fish: source <(mcctl completion bash)\n"
    "\n"
    "  --dry-run  prints the record instead of posting it; with apply, the commands\n"
    "\n";

constexpr std::string_view kClosing =
    "Numbers are decimal, or hexadecimal behind 0x. Exit status: 0 the command was posted, and\n"
    "run where the node says so; 1 the queue is not there, full or not ours to write, or the node\n"
    "was silent for 5 seconds or gone; 2 the command or a value is wrong, nothing was posted.\n";

constexpr std::string_view kRawHelp = "Any code with a payload in hexadecimal.";
constexpr std::string_view kRawUsage =
    "Any code, 1 to 2147483647, with up to 124 bytes of payload in hexadecimal. Nothing is "
    "checked.\n"
    "Usage: mcctl raw CODE [HEX ...]\n";

constexpr std::string_view kConsoleUsage =
    "Prints what the node prints, as it prints it, until the node ends. Posts nothing.\n"
    "Usage: mcctl console\n";

constexpr std::string_view kConsoleSection =
    "\n"
    "## console\n"
    "\n"
    "Follows the console of a node on this machine: prints what the library, the core and commands\n"
    "print there from now on, byte for byte, whoever posts the commands. Nothing is posted.\n"
    "\n"
    "```text\n"
    "console\n"
    "```\n"
    "\n"
    "It goes on until the node ends: status 0 with a note, or 1 when the node was killed.\n"
    "An interrupt ends it as any program (a shell shows status 130); when nobody reads its output any\n"
    "more it ends with status 0 and without a word. Whoever reads too slowly, so that 4 MB are waiting, is\n"
    "cut off: what was waiting comes, then a line, status 1. The node never waits.\n";

constexpr std::string_view kSaveUsage =
    "Writes the configuration that the node has now, as commands that make it again: to the file,\n"
    "which is there as a whole or not at all, or to standard output. What no command makes again is\n"
    "named in a comment line each, and a note. Posts nothing.\n"
    "Usage: mcctl save [FILE]\n";

constexpr std::string_view kApplyUsage =
    "Makes the running node what a configuration file says: posts what the two differ in, and prints\n"
    "it. What the file does not name goes back to its default. A file that is wrong posts nothing,\n"
    "status 2. With --dry-run the commands are printed and not posted.\n"
    "Usage: mcctl apply FILE [--dry-run]\n";

constexpr std::string_view kConfigurationSections =
    "\n"
    "## save\n"
    "\n"
    "Writes the configuration that the node has now; [configuration.md](configuration.md) tells more.\n"
    "\n"
    "```text\n"
    "save [FILE]\n"
    "```\n"
    "\n"
    "## apply\n"
    "\n"
    "Posts what the running node and a configuration file differ in, and prints it.\n"
    "\n"
    "```text\n"
    "apply FILE\n"
    "```\n";

constexpr std::string_view kReferenceHead =
    "# Commands\n"
    "\n"
    "`mcctl` posts these commands on System V message queue 81, where one task takes them in\n"
    "turn. This file is the output of `mcctl --reference`: codes and fields of the records come from\n"
    "`command/config_commands.h` and `command/debug_commands.h`, what the values mean from\n"
    "`tools/command_table.cpp`; change those, then write it again.\n"
    "\n"
    "A record begins with the command's code and its length, 4 bytes each, and goes on with the\n"
    "fields of the tables below: offsets count from the start of the record, every field is\n"
    "big-endian, bytes that no field covers are 0. In the message the code is the type word and\n"
    "the rest is the text. A number may be written in hexadecimal behind `0x`; a word stands for\n"
    "the number in parentheses. With `--dry-run` the record is printed, as in the examples.\n"
    "\n"
    "The receiver checks almost nothing, so `mcctl` does: it ends with status 2 and one line when\n"
    "a command or a value is wrong, with 1 when the queue is not there, full, or not ours to\n"
    "write, otherwise with 0.\n"
    "\n"
    "The queue carries nothing back. A node (`mc_node live`, `mc_node replay --hold`) offers its\n"
    "console besides, and `mcctl` prints from there what the node prints on the command, from the\n"
    "moment that the record was taken until it is done; what other tasks print meanwhile, a trace of a\n"
    "frame, say, stands between. So `mcctl` ends when the command was run. When the node says\n"
    "nothing for 5 seconds, or is gone before it is done, there is one line and status 1. The console is for\n"
    "the user that the node runs as, and root, in the same IPC and network namespace. Without it (a device, a\n"
    "node of another user, 16 processes that follow it already) a command is posted and not waited\n"
    "for, and `show` commands come with a note that the answer is on the node's console.\n";

bool continues(const Command& command, const Words& prefix) {
    return command.path.size() >= prefix.size() &&
           std::equal(prefix.begin(), prefix.end(), command.path.begin());
}

// A command line of usage: fields that may be left out stand in brackets.
std::string usage(const Command& command) {
    std::string text = path_text(command);
    for (const Field& field : command.fields) {
        std::string one(field.name);
        if (field.is_option()) one += " VALUE";
        text += field.is_required() ? " " + one : " [" + one + "]";
    }
    return text;
}

std::string list_of(const Words& prefix) {
    std::string text;
    for (const Command& command : table()) {
        if (!continues(command, prefix)) continue;
        std::string line = "  " + path_text(command);
        line.resize(std::max<std::size_t>(line.size() + 2, 26), ' ');
        const std::string_view first = command.help.substr(0, command.help.find_first_of(".;:("));
        text += line + std::string(first.substr(0, first.find_last_not_of(' ') + 1)) + "\n";
    }
    return text;
}

std::string code_block(std::string_view language, const std::string& text) {
    return "```" + std::string(language) + "\n" + text + "```\n";
}

std::string argument_cells(const Field* field) {
    if (field == nullptr) return " | | | sent as 0 |\n";
    const std::string otherwise = describe_default(*field);
    return "`" + std::string(field->name) + "` | " + describe_values(*field) + " | " +
           (otherwise.empty() ? "required" : otherwise) + " | " + std::string(field->help) +
           (field->added != 0 ? ", sent plus " + std::to_string(field->added) : "") + " |\n";
}

std::string field_table(const Command& command) {
    if (command.record.fields.empty()) return {};
    std::string text =
        "\n| Offset | Bytes | Field | Argument | Values | Default | Meaning |\n"
        "|---|---|---|---|---|---|---|\n";
    for (const mc::FieldPlace& place : command.record.fields) {
        text += "| " + std::to_string(place.offset) + " | " + std::to_string(place.width) + " | " +
                place.name + " | " + argument_cells(argument_at(command, place));
    }
    return text;
}

std::string example_of(const Command& command) {
    std::string line = path_text(command);
    if (!command.example.empty()) line += " " + std::string(command.example);
    return "$ mcctl --dry-run " + line + "\n" + hex_text(encode(split(line)).bytes) + "\n";
}

std::string section(const Command& command) {
    return "\n## " + path_text(command) + "\n\n" + std::string(command.help) + " Code " +
           std::to_string(command.record.code) + ", record of " +
           std::to_string(command.record_size()) + " bytes.\n\n" +
           code_block("text", usage(command) + "\n") + field_table(command) + "\n" +
           code_block("console", example_of(command));
}

// ---- Program ------------------------------------------------------------------------------------

// Words that may stand for a value, and the numbers of a short range.
std::vector<std::string> values_to_offer(const Field& field) {
    constexpr std::uint32_t kShort = 8;
    std::vector<std::string> values;
    if (!field.is_address() && field.least <= field.most && field.most - field.least < kShort &&
        field.kind != Kind::kChoice) {
        for (std::uint32_t value = field.least; value <= field.most; ++value) {
            values.push_back(std::to_string(value));
        }
    }
    for (const Choice& choice : field.words) values.emplace_back(choice.word);
    return values;
}

options::OptionText option_text(const Field& field) {
    const std::string otherwise = describe_default(field);
    return {std::string(field.name), field.is_option() ? "VALUE" : "",
            std::string(field.help) + ": " + describe_values(field) +
                (otherwise.empty() ? "" : " (" + otherwise + ")"),
            values_to_offer(field)};
}

// What the program itself understands, beside the commands of the table.
void add_own_commands(options::ProgramText& program) {
    program.commands.push_back({{"raw"}, std::string(kRawUsage)});
    program.commands.push_back({{"console"}, std::string(kConsoleUsage)});
    const std::vector<options::OptionText> file{{"FILE", "FILE", "The configuration"}};
    program.commands.push_back({{"save"}, std::string(kSaveUsage), file});
    program.commands.push_back({{"apply"}, std::string(kApplyUsage), file});
    program.commands.push_back(
        {{"completion"},
         "Prints a script for completion in a shell.",
         {{"SHELL", "", "The shell: bash, zsh or fish", {"bash", "zsh", "fish"}}}});
}

}  // namespace

std::vector<std::string_view> next_words(const std::vector<std::string>& path) {
    std::vector<std::string_view> words;
    for (const Command& command : table()) {
        if (command.path.size() <= path.size() || !continues(command, path)) continue;
        const std::string_view word = command.path[path.size()];
        if (std::ranges::find(words, word) == words.end()) words.push_back(word);
    }
    return words;
}

std::string help(const std::vector<std::string>& words) {
    if (words.empty()) {
        return std::string(kPurpose) + std::string(kUsageLines) + std::string(kClosing) +
               "\nCommands:\n" + list_of({}) + "  raw                     " +
               std::string(kRawHelp.substr(0, kRawHelp.size() - 1)) + "\n";
    }
    if (words.front() == "raw") return std::string(kRawUsage);
    if (words.front() == "console") return std::string(kConsoleUsage);
    if (words.front() == "save") return std::string(kSaveUsage);
    if (words.front() == "apply") return std::string(kApplyUsage);
    std::string text;
    // Help on a command that was begun already: what follows its path does not matter.
    for (std::size_t length = words.size(); length > 0 && text.empty(); --length) {
        const Words path(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(length));
        for (const Command& command : table()) {
            if (command.path.size() == length && continues(command, path)) {
                text = help_of_command(command);
            }
        }
        const std::string further = next_words(path).empty() ? "" : list_of(path);
        if (!further.empty()) text += (text.empty() ? "" : "\n") + ("Commands:\n" + further);
    }
    if (text.empty()) throw UsageError("unknown command '" + words.front() + "'");
    return text;
}

std::string reference() {
    std::string text(kReferenceHead);
    for (const Command& command : table()) text += section(command);
    text += "\n## raw\n\n" + std::string(kRawHelp) +
            " The code is 1 to 2147483647, the payload has up to 124 bytes; nothing is checked.\n"
            "\n" +
            code_block("text", "raw CODE [HEX ...]\n") + "\n" +
            code_block("console", "$ mcctl --dry-run raw 9999 0a0b\n" +
                                      hex_text(encode({"raw", "9999", "0a0b"}).bytes) + "\n");
    return text + std::string(kConsoleSection) + std::string(kConfigurationSections);
}

options::ProgramText program_text() {
    options::ProgramText program{
        "mcctl",
        std::string(kPurpose),
        {{"--dry-run", "", "Print the record instead of posting it; with apply, the commands"},
         {"--reference", "", "Print all commands as Markdown"},
         {"--man", "", "Print the manual page, for man"},
         {"--version", "", "Print which version this is"},
         {"--help", "", "Print help on a command, or all"}}};
    for (const Command& command : table()) {
        options::CommandText text{{command.path.begin(), command.path.end()},
                                  std::string(command.help)};
        for (const Field& field : command.fields) text.options.push_back(option_text(field));
        program.commands.push_back(std::move(text));
    }
    add_own_commands(program);
    program.closing = kClosing;
    return program;
}

std::string hex_text(const std::vector<std::uint8_t>& bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        char digits[4] = {};
        std::snprintf(digits, sizeof digits, "%02x", unsigned{byte});
        text += (text.empty() ? "" : " ") + std::string(digits);
    }
    return text;
}

}  // namespace commands
