#include "node/config/snapshot.h"

#include <algorithm>
#include <sstream>
#include <string_view>
#include <utility>

#include "mld/record.h"
#include "node/argument_values.h"
#include "node/bound_arguments.h"
#include "node/mld_mode.h"
#include "tools/command_line.h"
#include "tools/values.h"

namespace config {
namespace {

constexpr std::string_view kTitle = "# ";
constexpr std::string_view kFact = "#= ";
constexpr std::string_view kSeparator = ": ";
constexpr std::string_view kOwnAddress = "own address";
constexpr std::string_view kOptions = "The node";

// What somebody has set by a record without a name may have no words.
bool has_words(const std::string& line) {
    if (line.starts_with("mld-mode ")) return true;
    try {
        static_cast<void>(commands::encode(commands::split(line)));
    } catch (const commands::UsageError&) {
        return false;
    }
    return true;
}

void add_group(std::string& text, std::string_view title, const Lines& lines) {
    if (lines.empty()) return;
    text += "\n" + std::string(kTitle) + std::string(title) + "\n";
    for (const std::string& line : lines) text += line + "\n";
}

std::string body_text(const Snapshot& snapshot) {
    std::string text =
        "# The configuration of a node: docs/configuration.md tells what it holds.\n";
    add_group(text, kOptions, snapshot.options);
    for (const TitledLines& group : snapshot.groups) add_group(text, group.title, group.lines);
    return text;
}

std::string fact_line(std::string_view name, std::string_view value) {
    return std::string(kFact) + std::string(name) + std::string(kSeparator) + std::string(value) +
           "\n";
}

std::optional<std::uint32_t> address_in(const std::string& text) {
    std::uint32_t address = 0;
    std::istringstream parts(text);
    for (std::string part; std::getline(parts, part, '.');) {
        std::uint32_t number = 0;
        if (!commands::read_number(part, number)) return std::nullopt;
        address = address << 8 | number;
    }
    return address;
}

void read_fact(const std::string& line, Snapshot& snapshot) {
    const std::size_t end = line.find(kSeparator);
    if (end == std::string::npos) return;
    Fact fact{line.substr(kFact.size(), end - kFact.size()), line.substr(end + kSeparator.size())};
    if (fact.name == kOwnAddress) {
        snapshot.own_ip = address_in(fact.value);
    } else {
        snapshot.facts.push_back(std::move(fact));
    }
}

}  // namespace

Lines Snapshot::commands() const {
    Lines all;
    for (const TitledLines& group : groups) {
        all.insert(all.end(), group.lines.begin(), group.lines.end());
    }
    return all;
}

std::string Snapshot::option(const std::string& name) const {
    for (const std::string& line : options) {
        if (line.starts_with(name + " ")) return line.substr(name.size() + 1);
    }
    return "";
}

Snapshot take_snapshot(Lines options) {
    const Running running = look_at_running();
    Snapshot snapshot;
    snapshot.options = std::move(options);
    for (Group& group : running_config(running)) {
        std::erase_if(group.lines, [](const std::string& line) { return !has_words(line); });
        snapshot.groups.push_back({std::string(group.title), std::move(group.lines)});
    }
    snapshot.facts = facts_of(running);
    snapshot.own_ip = running.core.own_ip;
    return snapshot;
}

// The running lines leave out what a node has anyway, and say numbers in one way.
bool holds_already(const Option& option, const Snapshot& running) {
    const auto stands_in = [&](const Lines& lines) {
        return std::ranges::find(lines, line_of(option)) != lines.end();
    };
    if (option.name == "mld-mode") {
        return stands_in(running.commands()) ||
               option.value == node::name_of_mld_mode(MLD_MODE_SNOOPING);
    }
    std::string now = running.option(option.name);
    if (option.name == "debug") {
        return node::parse_debug_mask(now) == node::parse_debug_mask(option.value);
    }
    if (now.empty()) now = option.name == "onu-id" ? "1" : node::fresh_bound(option.name);
    std::uint32_t is = 0;
    std::uint32_t shall_be = 0;
    const bool are_numbers =
        commands::read_number(now, is) && commands::read_number(option.value, shall_be);
    return are_numbers ? is == shall_be : stands_in(running.options);
}

std::string file_text(const Snapshot& snapshot, const Lines& not_expressible) {
    std::string text = body_text(snapshot);
    if (!not_expressible.empty()) text += "\n";
    for (const std::string& line : not_expressible) text += "# not expressible: " + line + "\n";
    return text;
}

std::string answer_text(const Snapshot& snapshot) {
    std::string text = body_text(snapshot) + "\n";
    if (snapshot.own_ip) text += fact_line(kOwnAddress, ipv4_word(*snapshot.own_ip));
    for (const Fact& fact : snapshot.facts) text += fact_line(fact.name, fact.value);
    return text;
}

Snapshot read_answer(const std::string& text) {
    Snapshot snapshot;
    std::istringstream lines(text);
    Lines* group = nullptr;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(kFact)) {
            read_fact(line, snapshot);
        } else if (line.starts_with(kTitle)) {
            const std::string title = line.substr(kTitle.size());
            if (title != kOptions) snapshot.groups.push_back({title, {}});
            group = title == kOptions ? &snapshot.options : &snapshot.groups.back().lines;
        } else if (!line.empty() && group != nullptr) {
            group->push_back(line);
        }
    }
    std::erase_if(snapshot.groups, [](const TitledLines& each) { return each.lines.empty(); });
    return snapshot;
}

}  // namespace config
