// The configuration of a node as commands: what a fresh node makes of them is the same again, and
// what it cannot be is told.
#include "node/config/running_config.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "node/config/change_plan.h"
#include "node/config/config_file.h"
#include "node/config/difference.h"
#include "node/config/fresh_node.h"
#include "node/config/snapshot.h"
#include "tools/command_table.h"
#include "tools/values.h"

namespace {

using config::Lines;
using config::Snapshot;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

Snapshot after(const Lines& lines) { return config::fresh_node_after({}, lines); }

Lines written(const Lines& lines) { return after(lines).commands(); }

std::string joined(const Lines& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

// ---- Random commands ----------------------------------------------------------------------------

class Draw {
 public:
    explicit Draw(std::uint32_t seed) : random_(seed) {}

    std::uint32_t below(std::uint32_t n) { return static_cast<std::uint32_t>(random_() % n); }

    std::string value(const commands::Field& field) {
        if (!field.words.empty() && (field.least > field.most || below(3) == 0)) {
            return std::string(
                field.words[below(static_cast<std::uint32_t>(field.words.size()))].word);
        }
        switch (field.kind) {
            case commands::Kind::kVlan:
                return std::to_string(below(8) == 0 ? 4088 : 100 + below(4));
            case commands::Kind::kAddress:
                return "10.0.0." + std::to_string(below(4));
            case commands::Kind::kGroup:
                return "239.1.1." + std::to_string(below(12));
            default:
                return std::to_string(field.least +
                                      below(std::min(field.most - field.least, 9u) + 1));
        }
    }

    // A command that mcctl takes; empty when these values do not go together.
    std::string command(const commands::Command& command) {
        std::string line = commands::path_text(command);
        for (const commands::Field& field : command.fields) {
            if (!field.is_required() && below(2) == 0) continue;
            line += " " + (field.is_option() ? std::string(field.name) + " " : "") + value(field);
        }
        try {
            static_cast<void>(commands::encode(commands::split(line)));
        } catch (const commands::UsageError&) {
            return "";
        }
        return line;
    }

 private:
    std::mt19937 random_;
};

bool lasts(const commands::Command& command) {
    try {
        Draw draw(1);
        std::string line;
        while (line.empty()) line = draw.command(command);
        return config::read_text("", line).options.empty();
    } catch (const std::exception&) {
        return false;
    }
}

// Of these some leave what no other command makes again.
bool has_quirks(const commands::Command& command) {
    const std::string path = commands::path_text(command);
    return path == "clear all" || path.starts_with("vlan ") || path.starts_with("auth ");
}

std::vector<commands::Command> lasting(bool with_quirks) {
    std::vector<commands::Command> all;
    for (const commands::Command& command : commands::table()) {
        if (lasts(command) && (with_quirks || !has_quirks(command))) all.push_back(command);
    }
    return all;
}

Lines random_lines(Draw& draw, const std::vector<commands::Command>& all, std::uint32_t count) {
    Lines lines;
    while (lines.size() < count) {
        const std::string line =
            draw.command(all[draw.below(static_cast<std::uint32_t>(all.size()))]);
        if (!line.empty()) lines.push_back(line);
    }
    return lines;
}

TEST(RunningConfig, OfAnyCommandsIsTheSameOnceMore) {
    const auto all = lasting(true);
    ASSERT_EQ(all.size(), 45u);
    for (std::uint32_t seed = 0; seed < 120; ++seed) {
        Draw draw(seed);
        const Lines lines = random_lines(draw, all, 1 + draw.below(25));
        const Lines once = written(lines);
        EXPECT_EQ(joined(written(once)), joined(once)) << seed << "\n" << joined(lines);
    }
}

TEST(RunningConfig, MakesTheSameRecordsAndSettings) {
    const auto all = lasting(false);
    for (std::uint32_t seed = 0; seed < 120; ++seed) {
        Draw draw(seed);
        const Lines lines = random_lines(draw, all, 1 + draw.below(25));
        const Snapshot once = after(lines);
        EXPECT_THAT(config::differing(once.facts, after(once.commands()).facts), IsEmpty())
            << seed << "\n"
            << joined(lines) << "--\n"
            << joined(once.commands());
    }
}

// Rules that are added, set and removed as a service, in any order, as long as no other command
// takes from one side what both have.
TEST(RunningConfig, OfRulesSaysWhatBothSidesHave) {
    auto all = lasting(true);
    std::erase_if(all, [](const commands::Command& command) {
        const std::string path = commands::path_text(command);
        return path != "vlan add" && path != "vlan service-set";
    });
    ASSERT_EQ(all.size(), 2u);
    for (std::uint32_t seed = 0; seed < 100; ++seed) {
        Draw draw(seed);
        const Lines lines = random_lines(draw, all, 1 + draw.below(8));
        const Snapshot once = after(lines);
        auto differing = config::differing(once.facts, after(once.commands()).facts);
        // That one was set as a service shows in the rules of the MLD side, or nowhere.
        std::erase_if(differing, [](const std::string& line) {
            return line.starts_with("rules are taken as given");
        });
        EXPECT_THAT(differing, IsEmpty()) << seed << "\n" << joined(lines);
    }
}

TEST(RunningConfig, BecomesAnyOtherByThePlan) {
    const auto all = lasting(true);
    int missed = 0;
    for (std::uint32_t seed = 0; seed < 80; ++seed) {
        Draw draw(1000 + seed);
        const Snapshot running = after(random_lines(draw, all, draw.below(20)));
        const Lines wanted = written(written(random_lines(draw, all, draw.below(20))));
        Lines run = running.commands();
        const Lines changes = config::plan_changes(running, wanted);
        run.insert(run.end(), changes.begin(), changes.end());
        const Snapshot is = after(run);
        const Lines left = config::difference(is.commands(), wanted, {});
        if (!left.empty()) {
            ++missed;
            std::printf("%s--\n%s--\n%s--\n%s\n\n", joined(running.commands()).c_str(),
                        joined(wanted).c_str(), joined(changes).c_str(), joined(left).c_str());
        }
    }
    EXPECT_EQ(missed, 0);
}

}  // namespace
