#include "node/command_file.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "command/command.h"
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

// The whole record goes to the dispatcher. Behind the fields are zeros: what a command finds there
// must not depend on the command before it.
std::function<void()> dispatch_of(const commands::Record& record) {
    std::array<std::uint8_t, MC_RECORD_SIZE> image{};
    std::copy_n(record.bytes.begin(), std::min(record.bytes.size(), image.size()), image.begin());
    // It always returns 0.
    return [image] { static_cast<void>(process_interface_msg(image.data())); };
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

}  // namespace node
