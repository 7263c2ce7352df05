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
#include "node/usage_error.h"

namespace node {
namespace {

constexpr double kMicrosPerSecond = 1e6;
constexpr double kLongestTail = 1e9;  // seconds; far beyond use, and safe to add to any stamp

void add_input(std::vector<capture::Input>& inputs, std::uint8_t port, std::filesystem::path file) {
    if (std::ranges::find(inputs, port, &capture::Input::port) != inputs.end()) {
        throw UsageError("two captures for " + driver::name_of_slot(*driver::slot_of_port(port)));
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
    arguments.recorded = meaning_of(words.recorded);
    arguments.hold = words.hold;
    arguments.commands = commands_of(words);
    return arguments;
}

}  // namespace node
