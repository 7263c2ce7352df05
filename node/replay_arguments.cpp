#include "node/replay_arguments.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <system_error>
#include <utility>

#include "node/argument_values.h"
#include "node/command_file.h"
#include "node/driver/ports.h"
#include "node/split_table.h"
#include "node/usage_error.h"

namespace node {
namespace {

constexpr double kMicrosPerSecond = 1e6;
constexpr double kLongestTail = 1e9;  // seconds; far beyond use, and safe to add to any stamp

void add_input(std::vector<capture::Input>& inputs, std::uint8_t port, std::filesystem::path file) {
    if (std::ranges::find(inputs, port, &capture::Input::port) != inputs.end()) {
        throw UsageError("two captures for " + driver::name_of_slot(*driver::slot_of_port(port)));
    }
    const bool is_standard_input = capture::is_standard_input(file);
    if (is_standard_input && std::ranges::any_of(inputs, [](const capture::Input& input) {
            return capture::is_standard_input(input.file);
        })) {
        throw UsageError("standard input can be one capture only");
    }
    inputs.push_back({port, std::move(file)});
}

// The captures that a scenario folder holds, under the names that --out gives its own.
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

// The one capture of all ports, whose hosts --hosts-from tells apart. Its port says nothing.
void add_capture(replay::Arguments& arguments, const ReplayWords& words) {
    if (!words.scenario.empty() || !words.ports.empty() || !words.uplinks.empty()) {
        throw UsageError("--capture holds all ports: not with a folder, --port or --uplink");
    }
    arguments.inputs.push_back({0, words.capture});
    const std::string& how = words.hosts_from;
    if (how.empty() || how == "mac" || how == "vlan") {
        arguments.split.emplace().hosts_by_vlan = how == "vlan";
    } else {
        arguments.split = read_split_table(how);
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
    if (inputs.empty()) {
        throw UsageError("no captures: give a folder, --port, --uplink or --capture");
    }
    std::ranges::sort(inputs, {}, &capture::Input::port);
    return inputs;
}

void add_inputs(replay::Arguments& arguments, const ReplayWords& words) {
    if (!words.capture.empty()) {
        add_capture(arguments, words);
    } else if (!words.hosts_from.empty()) {
        throw UsageError("--hosts-from goes with --capture");
    } else {
        arguments.inputs = inputs_of(words);
    }
}

// The file named, else the folder's own; a folder need not have one.
std::vector<replay::TimedCommand> commands_of(const ReplayWords& words) {
    if (!words.commands.empty()) return read_commands(words.commands);
    if (words.scenario.empty()) return {};
    const std::filesystem::path file = std::filesystem::path(words.scenario) / "commands.txt";
    std::error_code unknown;
    if (!std::filesystem::exists(file, unknown)) return {};
    return read_commands(file);
}

}  // namespace

replay::Arguments meaning_of(const ReplayWords& words) {
    replay::Arguments arguments;
    add_inputs(arguments, words);
    if (!words.output.empty()) arguments.output = words.output;
    arguments.onu_id = parse_onu_id(words.onu_id);
    arguments.debug = parse_debug_mask(words.debug);
    // Asked this way round, so that "not a number" is refused too.
    if (!(words.tail_s >= 0 && words.tail_s <= kLongestTail)) {
        throw UsageError("--until: a number of seconds from 0 to 1000000000 is needed");
    }
    arguments.tail_us = static_cast<std::uint64_t>(std::llround(words.tail_s * kMicrosPerSecond));
    arguments.json = words.json;
    arguments.recorded = meaning_of(words.recorded);
    arguments.hold = words.hold;
    arguments.commands = commands_of(words);
    return arguments;
}

// Without --hold no command comes from outside.
IpcPlace ipc_place_of(const ReplayWords& words) {
    return parse_ipc_place(words.ipc,
                           words.hold ? IpcPlace::kShared : IpcPlace::kPrivateIfPossible);
}

}  // namespace node
