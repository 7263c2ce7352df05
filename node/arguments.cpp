#include "node/arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

#include "node/driver/ports.h"

namespace node {
namespace {

constexpr double kMicrosPerSecond = 1e6;
constexpr double kLongestTail = 1e9;  // seconds; far beyond use, and safe to add to any stamp

struct MaskName {
    std::string_view name;
    std::uint32_t bits;
};

constexpr std::array<MaskName, 6> kMaskNames{{
    {"flow", 0x01},
    {"errors", 0x04},
    {"tx", 0x08},
    {"rx", 0x10},
    {"config", 0x20},
    {"all", 0x3D},
}};

constexpr const char* kFooter =
    "With --json the diagnostics of the library and what commands show go to standard error, so\n"
    "that standard output holds the JSON object alone; it leaves out how long the replay took, so\n"
    "that equal replays print equal objects.\n"
    "\n"
    "Exit status: 0 done; 1 a capture broke in its middle, an output is incomplete or the library\n"
    "did not start; 2 the command line or a file it names cannot be used, nothing was replayed;\n"
    "130 interrupted (the summary covers what was replayed). The signal that ends --hold is no\n"
    "interruption.";

/* The whole text as an unsigned number, decimal or with a leading 0x. */
std::optional<std::uint32_t> parse_number(std::string_view text) {
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        text.remove_prefix(2);
        base = 16;
    }
    std::uint32_t value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, base);
    if (error != std::errc{} || stop != end) return std::nullopt;
    return value;
}

std::uint32_t mask_of(const std::string& word) {
    const auto known = std::ranges::find(kMaskNames, std::string_view(word), &MaskName::name);
    if (known != kMaskNames.end()) return known->bits;
    if (const auto number = parse_number(word)) return *number;
    throw UsageError("--debug: '" + word +
                     "' is neither a number nor one of flow, errors, tx, rx, config, all");
}

void add_input(std::vector<capture::Input>& inputs, std::uint8_t port, std::filesystem::path file) {
    if (std::ranges::find(inputs, port, &capture::Input::port) != inputs.end()) {
        throw UsageError("two captures for " + driver::name_of_slot(*driver::slot_of_port(port)));
    }
    inputs.push_back({port, std::move(file)});
}

/* PORT=FILE */
void add_port(std::vector<capture::Input>& inputs, const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals + 1 == text.size()) {
        throw UsageError("--port: '" + text + "' is not of the form PORT=FILE");
    }
    const std::string port = text.substr(0, equals);
    const auto number = parse_number(port);
    if (!number || !driver::slot_of_port(*number)) {
        throw UsageError("--port: there is no port '" + port +
                         "', user ports are 0 to 5 and the uplink is 29");
    }
    add_input(inputs, static_cast<std::uint8_t>(*number), text.substr(equals + 1));
}

/* The captures that a scenario folder holds, under the names that --out gives its own. */
void add_scenario(std::vector<capture::Input>& inputs, const std::filesystem::path& folder) {
    std::error_code unreadable;
    if (!std::filesystem::is_directory(folder, unreadable)) {
        throw UsageError(folder.string() + ": is not a scenario folder");
    }
    for (std::size_t slot = 0; slot < driver::kSlots; ++slot) {
        const std::filesystem::path file = folder / (driver::name_of_slot(slot) + ".pcap");
        if (!std::filesystem::exists(file, unreadable)) continue;
        add_input(inputs, driver::port_of_slot(slot), file);
    }
    if (inputs.empty()) {
        throw UsageError(folder.string() + ": holds none of port0.pcap to port5.pcap, uplink.pcap");
    }
}

/* CLI11 explains over several lines at times; the first says what is wrong. */
std::string first_line(const std::string& text) { return text.substr(0, text.find('\n')); }

/* The options of "replay" as they stand on the command line. */
struct Words {
    std::string scenario;
    std::vector<std::string> ports;
    std::vector<std::string> uplinks;
    std::string output;
    std::string debug;
    std::string onu_id = "1";
    double tail_s = 0;
    std::string commands;
    bool json = false;
    bool hold = false;
};

CLI::App* declare_replay(CLI::App& app, Words& words) {
    CLI::App* replay = app.add_subcommand(
        "replay", "Feeds captures to the node, as fast as it goes, and sums up what it did");
    replay
        ->add_option("scenario", words.scenario,
                     "Folder with the captures: any of port0.pcap to port5.pcap and uplink.pcap, "
                     "and the commands, commands.txt, if there are any")
        ->type_name("SCENARIO_DIR");
    replay
        ->add_option("--port", words.ports, "Capture of the frames that come in at a port, 0 to 5")
        ->type_name("PORT=FILE")
        ->allow_extra_args(false);
    replay
        ->add_option("--uplink", words.uplinks, "Capture of the frames that come in at the uplink")
        ->type_name("FILE")
        ->allow_extra_args(false);
    // Of these the last one counts, so that a script's choice can be overridden behind it.
    replay
        ->add_option("--out", words.output,
                     "Write the frames sent to one capture a port in this folder")
        ->type_name("DIR")
        ->take_last();
    replay
        ->add_option("--commands", words.commands,
                     "Run these commands during the replay, in place of the folder's commands.txt: "
                     "lines of SECONDS WORDS, the words as for mcctl")
        ->type_name("FILE")
        ->take_last();
    replay->add_option("--onu-id", words.onu_id, "ONU id, 255 for none (default 1)")
        ->type_name("0..255")
        ->take_last();
    replay
        ->add_option("--debug", words.debug,
                     "Diagnostics of the library: flow, errors, tx, rx, config, all, separated by "
                     "commas, or a mask such as 0x25")
        ->type_name("MASK")
        ->take_last();
    replay->add_flag("--json", words.json, "Print the summary as one JSON object");
    replay
        ->add_option("--until", words.tail_s, "Let timers run on for so long after the last frame")
        ->type_name("SECONDS")
        ->take_last();
    replay->add_flag("--hold", words.hold,
                     "Stay after the summary and take commands from the queue until SIGINT or "
                     "SIGTERM; the clock stands still");
    replay->footer(kFooter);
    return replay;
}

std::vector<capture::Input> inputs_of(const Words& words) {
    std::vector<capture::Input> inputs;
    if (!words.scenario.empty()) add_scenario(inputs, words.scenario);
    for (const std::string& port : words.ports) add_port(inputs, port);
    for (const std::string& uplink : words.uplinks) add_input(inputs, driver::kUplinkPort, uplink);
    if (inputs.empty()) throw UsageError("no captures: give a folder, --port or --uplink");
    std::ranges::sort(inputs, {}, &capture::Input::port);
    return inputs;
}

/* The file named, else the folder's own; a folder need not have one. */
std::vector<TimedCommand> commands_of(const Words& words) {
    if (!words.commands.empty()) return read_commands(words.commands);
    if (words.scenario.empty()) return {};
    const std::filesystem::path file = std::filesystem::path(words.scenario) / "commands.txt";
    std::error_code unknown;
    if (!std::filesystem::exists(file, unknown)) return {};
    return read_commands(file);
}

ReplayArguments meaning_of(const Words& words) {
    ReplayArguments arguments;
    arguments.inputs = inputs_of(words);
    if (!words.output.empty()) arguments.output = words.output;
    arguments.onu_id = parse_onu_id(words.onu_id);
    arguments.debug = parse_debug_mask(words.debug);
    // Asked this way round, so that "not a number" is refused too.
    if (!(words.tail_s >= 0 && words.tail_s <= kLongestTail)) {
        throw UsageError("--until: a number of seconds from 0 to 1000000000 is needed");
    }
    arguments.tail_us = static_cast<std::uint64_t>(std::llround(words.tail_s * kMicrosPerSecond));
    arguments.json = words.json;
    arguments.hold = words.hold;
    arguments.commands = commands_of(words);
    return arguments;
}

}  // namespace

std::uint8_t parse_onu_id(const std::string& text) {
    const auto number = parse_number(text);
    if (!number || *number > UINT8_MAX) {
        throw UsageError("'" + text + "' is no ONU id: a number from 0 to 255 is needed");
    }
    return static_cast<std::uint8_t>(*number);
}

std::uint32_t parse_debug_mask(const std::string& text) {
    std::uint32_t mask = 0;
    std::istringstream words(text);
    for (std::string word; std::getline(words, word, ',');) mask |= mask_of(word);
    return mask;
}

std::optional<ReplayArguments> parse_arguments(int argc, char** argv) {
    Words words;
    CLI::App app{"Runs the multicast adaptation layer on the development core.", "mc_node"};
    app.allow_extras();
    app.footer("'mc_node replay --help' tells more.");
    const CLI::App* replay = declare_replay(app, words);

    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& help) {
        app.exit(help);
        return std::nullopt;
    } catch (const CLI::ParseError& wrong) {
        throw UsageError(first_line(wrong.what()));
    }
    if (!replay->parsed()) {
        std::fputs(app.help().c_str(), stdout);
        if (argc > 1) throw UsageError("which sub-command? There is: replay");
        return std::nullopt;
    }
    if (const auto extras = app.remaining(true); !extras.empty()) {
        throw UsageError("'" + extras.front() + "' is not an option of replay");
    }
    return meaning_of(words);
}

}  // namespace node
