#include "node/replay_arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <utility>

#include "node/argument_values.h"
#include "node/driver/ports.h"
#include "node/usage_error.h"

namespace node {
namespace {

constexpr double kMicrosPerSecond = 1e6;
constexpr double kLongestTail = 1e9;  // seconds; far beyond use, and safe to add to any stamp

constexpr const char* kFooter =
    "With --json the diagnostics of the library and what commands show go to standard error, so\n"
    "that standard output holds the JSON object alone; it leaves out how long the replay took, so\n"
    "that equal replays print equal objects.\n"
    "\n"
    "Exit status: 0 done; 1 a capture broke in its middle, an output is incomplete or the library\n"
    "did not start; 2 the command line or a file it names cannot be used, nothing was replayed;\n"
    "130 interrupted (the summary covers what was replayed). The signal that ends --hold is no\n"
    "interruption.";

void add_input(std::vector<capture::Input>& inputs, std::uint8_t port, std::filesystem::path file) {
    if (std::ranges::find(inputs, port, &capture::Input::port) != inputs.end()) {
        throw UsageError("two captures for " + driver::name_of_slot(*driver::slot_of_port(port)));
    }
    inputs.push_back({port, std::move(file)});
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

std::vector<capture::Input> inputs_of(const ReplayWords& words) {
    std::vector<capture::Input> inputs;
    if (!words.scenario.empty()) add_scenario(inputs, words.scenario);
    for (const std::string& text : words.ports) {
        auto [port, file] = parse_port(text, "FILE");
        add_input(inputs, port, std::move(file));
    }
    for (const std::string& uplink : words.uplinks) add_input(inputs, driver::kUplinkPort, uplink);
    if (inputs.empty()) throw UsageError("no captures: give a folder, --port or --uplink");
    std::ranges::sort(inputs, {}, &capture::Input::port);
    return inputs;
}

/* The file named, else the folder's own; a folder need not have one. */
std::vector<TimedCommand> commands_of(const ReplayWords& words) {
    if (!words.commands.empty()) return read_commands(words.commands);
    if (words.scenario.empty()) return {};
    const std::filesystem::path file = std::filesystem::path(words.scenario) / "commands.txt";
    std::error_code unknown;
    if (!std::filesystem::exists(file, unknown)) return {};
    return read_commands(file);
}

}  // namespace

ReplayArguments meaning_of(const ReplayWords& words) {
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

CLI::App* declare_replay(CLI::App& app, ReplayWords& words) {
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

}  // namespace node
