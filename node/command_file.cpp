#include "node/command_file.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "node/config/records_lock.h"
#include "node/config/run_record.h"
#include "node/line_file.h"
#include "node/node_words.h"
#include "node/usage_error.h"
#include "tools/command_line.h"

namespace node {
namespace {

using replay::TimedCommand;

constexpr double kMicrosPerSecond = 1e6;
constexpr double kLatest = 1e9;  // seconds; far beyond use, and safe to add to any stamp

// "30" or "30.5": the whole text, without a sign or an exponent.
std::optional<double> parse_seconds(const std::string& text) {
    if (text.find_first_not_of("0123456789.") != std::string::npos) return std::nullopt;
    double value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, std::chars_format::fixed);
    if (error != std::errc{} || stop != end || value > kLatest) return std::nullopt;
    return value;
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
    return text;
}

std::function<void()> dispatch_of(const commands::Record& record) {
    return [record] {
        const std::lock_guard lock(config::records_lock());
        config::run_record(record);
    };
}

// Throws UsageError or commands::UsageError.
TimedCommand parse_line(std::vector<std::string> words) {
    const auto after_s = parse_seconds(words.front());
    if (!after_s) {
        throw UsageError("'" + words.front() +
                         "' is no time: seconds such as 30 or 30.5 come first");
    }
    words.erase(words.begin());
    if (words.empty()) throw UsageError("there is no command behind the time");

    TimedCommand command;
    command.after_us = static_cast<std::uint64_t>(std::llround(*after_s * kMicrosPerSecond));
    command.words = joined(words);
    command.run = parse_node_words(words);
    if (!command.run) {
        const commands::Record record = commands::encode(words);
        command.code = record.code;
        command.run = dispatch_of(record);
    }
    return command;
}

}  // namespace

std::vector<TimedCommand> read_commands(const std::filesystem::path& file) {
    std::vector<TimedCommand> commands;
    read_lines(file.string(), [&commands](const std::vector<std::string>& words, std::size_t) {
        commands.push_back(parse_line(words));
    });
    std::ranges::stable_sort(commands, {}, &TimedCommand::after_us);
    return commands;
}

std::vector<TimedCommand> commands_at_once(const config::File& file) {
    std::vector<TimedCommand> commands;
    for (const config::Option& option : file.options) {
        if (option.name != "mld-mode") continue;
        const auto run = parse_node_words({option.name, option.value});
        commands.push_back({0, config::line_of(option), std::nullopt, run});
    }
    for (const config::Command& command : file.commands) {
        commands.push_back({0, command.words, command.record.code, dispatch_of(command.record)});
    }
    return commands;
}

}  // namespace node
