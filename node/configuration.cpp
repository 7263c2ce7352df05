#include "node/configuration.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <string_view>
#include <utility>

#include "node/config/run_record.h"
#include "node/core/multicast_core.h"
#include "node/mld_mode.h"

namespace node {
namespace {

using config::File;
using config::Lines;
using config::Option;

// ---- Options of a file --------------------------------------------------------------------------

const Option* find(const File& file, std::string_view name) {
    const auto found = std::ranges::find(file.options, name, &Option::name);
    return found == file.options.end() ? nullptr : &*found;
}

void take(const File& file, const IsGiven& is_given, const std::string& name, std::string& word) {
    const Option* const option = find(file, name);
    if (option != nullptr && !is_given("--" + name)) word = option->value;
}

std::string port_of(const std::string& word) { return word.substr(0, word.find('=')); }

void take_ports(const File& file, std::vector<std::string>& ports) {
    const std::vector<std::string> given = ports;
    for (const Option& option : file.options) {
        if (option.name != "port") continue;
        const bool is_overruled = std::ranges::any_of(
            given, [&](const std::string& word) { return port_of(word) == port_of(option.value); });
        if (!is_overruled) ports.push_back(option.value);
    }
}

// ---- Options as lines ---------------------------------------------------------------------------

template <class Words>
void add_common(const Words& arguments, Lines& lines) {
    if (arguments.onu_id != 1) lines.push_back("onu-id " + std::to_string(arguments.onu_id));
    if (arguments.debug == 0) return;
    std::array<char, 16> mask{};
    std::snprintf(mask.data(), mask.size(), "0x%x", arguments.debug);
    lines.push_back(std::string("debug ") + mask.data());
}

struct OptionsOf {
    Lines operator()(const live::Arguments& arguments) const {
        Lines lines{"bridge " + config::quoted(arguments.bridge)};
        for (const live::PortInterface& port : arguments.ports) {
            lines.push_back(live::name_of(port) + " " + config::quoted(port.interface));
        }
        add_common(arguments, lines);
        if (!arguments.metrics.empty()) lines.push_back("metrics " + arguments.metrics);
        return lines;
    }
    Lines operator()(const replay::Arguments& arguments) const {
        Lines lines;
        add_common(arguments, lines);
        return lines;
    }
};

}  // namespace

void take_bounds(const File& file, const IsGiven& is_given, BoundWords& words) {
    for (const BoundOption& option : kBoundOptions) {
        take(file, is_given, option.name, words.*option.word);
    }
}

void take_options(const File& file, const IsGiven& is_given, LiveWords& words) {
    take(file, is_given, "bridge", words.bridge);
    take(file, is_given, "onu-id", words.onu_id);
    take(file, is_given, "debug", words.debug);
    take(file, is_given, "metrics", words.metrics);
    take_ports(file, words.ports);
    const Option* const uplink = find(file, "uplink");
    if (uplink != nullptr && !is_given("--uplink")) words.uplinks.push_back(uplink->value);
}

void take_options(const File& file, const IsGiven& is_given, ReplayWords& words) {
    take(file, is_given, "onu-id", words.onu_id);
    take(file, is_given, "debug", words.debug);
}

Lines options_of(const Arguments& arguments) {
    constexpr mcore::Bounds kFresh;
    Lines lines = std::visit(OptionsOf{}, arguments.run);
    for (const BoundOption& option : kBoundOptions) {
        const std::uint32_t bound = arguments.bounds.*option.bound;
        if (bound == kFresh.*option.bound) continue;
        lines.push_back(option.name + (" " + std::to_string(bound)));
    }
    return lines;
}

void run_configured(const File& file) {
    if (const Option* const mode = find(file, "mld-mode"))
        set_mld_mode(parse_mld_mode(mode->value));
    for (const config::Command& command : file.commands) config::run_record(command.record);
}

}  // namespace node
