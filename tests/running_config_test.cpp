// The configuration of a node as commands: what a fresh node makes of them is the same again, and
// what it cannot be is told.
#include "node/config/running_config.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <exception>
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

// ---- What is written ----------------------------------------------------------------------------

TEST(RunningConfig, OfAFreshNodeIsEmpty) { EXPECT_THAT(written({}), IsEmpty()); }

TEST(RunningConfig, LeavesOutWhatAFreshNodeHas) {
    EXPECT_THAT(written({"mode proxy", "mode snooping", "version 3", "robustness 2", "ageing on"}),
                IsEmpty());
}

TEST(RunningConfig, SaysTheStateAndNotTheWayToIt) {
    EXPECT_THAT(
        written({"parameters --robustness 3 --query-interval 60 --response-interval 10 "
                 "--last-member-interval 1 --last-member-count 2",
                 "auth add --port 1 --start 239.1.1.0 --end 239.1.1.255 --vlan 4000",
                 "oam-control add --port 2 --vlan 4000 --group 239.1.1.7",
                 "control-list add --port 2 --start 239.1.1.8 --vlan 4000"}),
        ElementsAre("robustness 3", "query-interval 60",
                    "auth add-only --port 1 --start 239.1.1.0 --end 239.1.1.255 --vlan 4000",
                    "auth range --port 1 on",
                    "control-list add --port 2 --start 239.1.1.7 --end 239.1.1.8 --vlan 4000"));
}

TEST(RunningConfig, SaysThePortsThatDifferFromAllOthers) {
    EXPECT_THAT(
        written({"fast-leave all on", "fast-leave --port 3 off", "fast-leave --port uplink on"}),
        ElementsAre("fast-leave all on", "fast-leave --port 3 off", "fast-leave --port uplink on"));
}

TEST(RunningConfig, LeavesVlansToTheRulesThatBringThem) {
    EXPECT_THAT(written({"core-vlan add 100 102", "core-vlan add 4000",
                         "vlan add --port 1 --mode untag --up-in 5 --data-in 4000"}),
                ElementsAre("vlan add --port 1 --mode untag --up-in 5 --data-in 4000",
                            "core-vlan add 100 102"));
}

// The second rule of a VLAN never reaches the MLD side, and a delete leaves that side alone.
TEST(RunningConfig, MakesTheMldSideOfRulesToo) {
    const Lines lines = {"vlan add --port 1 --mode untag --up-in 5 --data-in 4000",
                         "vlan add --port 2 --mode untag --up-in 6 --data-in 4000",
                         "vlan add --port 3 --mode untag --up-in 7 --data-in 4001",
                         "vlan delete --port 3 --up-in 7 --data-in 4001"};
    const Snapshot once = after(lines);
    EXPECT_EQ(once.commands(), lines);
    EXPECT_THAT(config::differing(once.facts, after(once.commands()).facts), IsEmpty());
}

TEST(RunningConfig, TellsWhatNoCommandMakesAgain) {
    const Snapshot once = after({"group-limit --port 1 32", "clear all"});
    EXPECT_THAT(once.commands(), ElementsAre("group-limit --port 1 32"));
    EXPECT_THAT(config::differing(once.facts, after(once.commands()).facts),
                ElementsAre("port 1, group limit of the library is 0, from this file 32"));
    EXPECT_THAT(config::file_text(once, {"why"}), HasSubstr("\n# not expressible: why\n"));
}

TEST(RunningConfig, ReadsWhatANodeHandsOut) {
    Snapshot snapshot = after({"mode control", "robustness 3"});
    snapshot.options = {"bridge br0", "onu-id 7"};
    snapshot.own_ip = 0xC0000201;
    const Snapshot read = config::read_answer(config::answer_text(snapshot));
    EXPECT_EQ(read.options, snapshot.options);
    EXPECT_EQ(read.commands(), snapshot.commands());
    EXPECT_EQ(read.facts, snapshot.facts);
    EXPECT_EQ(read.own_ip, snapshot.own_ip);
    EXPECT_EQ(config::started_as(read).onu_id, 7);
}

TEST(RunningConfig, LeavesOutTheAddressThatTheNodeHasItself) {
    const config::FreshNode node{1, 0xC0000201};
    EXPECT_THAT(config::fresh_node_after(node, {}).commands(), IsEmpty());
    EXPECT_THAT(config::fresh_node_after(node, {"proxy-address 10.25.14.20"}).commands(),
                ElementsAre("proxy-address 10.25.14.20"));
}

// In EPON mode a rule switches learning on.
TEST(RunningConfig, SaysThatLearningIsOffWhereARuleHasSwitchedItOn) {
    const Lines lines = {"vlan add --port 1 --mode untag --up-in 5 --data-in 4000", "learning off"};
    EXPECT_EQ(config::fresh_node_after({255, {}}, lines).commands(), lines);
    EXPECT_EQ(after(lines).commands(), Lines({lines[0]}));
}

// ---- The difference -----------------------------------------------------------------------------

TEST(Difference, OfTheSameIsNothing) {
    const Lines lines = {"mode proxy", "vlan add --port 1 --mode untag --up-in 5 --data-in 4000"};
    EXPECT_THAT(config::difference(lines, lines, {}), IsEmpty());
}

TEST(Difference, PutsBackWhatIsNotNamed) {
    EXPECT_THAT(config::difference({"mode proxy", "fast-leave --port 2 on",
                                    "bandwidth-limit --port 1 5000", "proxy-address 10.0.0.1"},
                                   {}, {0xC0000201, false}),
                ElementsAre("proxy-address 192.0.2.1", "mode snooping", "fast-leave --port 2 off",
                            "bandwidth-limit --port 1 0 --enable off"));
}

// What allows more comes first, so that a membership that stays allowed is never not.
TEST(Difference, ChangesListsByWhatIsNewAndGone) {
    EXPECT_THAT(
        config::difference({"control-list add --port 1 --start 239.1.1.0 --end 239.1.1.9 --vlan 5",
                            "auth private add 239.1.1.1 --vlan 5"},
                           {"control-list add --port 1 --start 239.1.1.4 --end 239.1.1.20 --vlan 5",
                            "auth private add 239.1.1.2 --vlan 5"},
                           {}),
        ElementsAre("auth private add 239.1.1.2 --vlan 5", "auth private delete 239.1.1.1 --vlan 5",
                    "control-list add --port 1 --start 239.1.1.10 --end 239.1.1.20 --vlan 5",
                    "control-list delete --port 1 --start 239.1.1.0 --end 239.1.1.3 --vlan 5"));
}

TEST(Difference, GivesARangeAnotherBandwidthWhereItStands) {
    const std::string range = "auth add-only --port 1 --start 239.1.1.0 --end 239.1.1.9";
    EXPECT_THAT(config::difference({range + " --vlan 5"}, {range + " --bandwidth 7 --vlan 5"}, {}),
                ElementsAre(range + " --bandwidth 7 --vlan 5"));
}

TEST(Difference, LeavesTheRulesWithWhichTheWantedOnesBegin) {
    const std::string first = "vlan add --port 1 --mode untag --up-in 5 --data-in 4000";
    const std::string second = "vlan add --port 2 --mode untag --up-in 6 --data-in 4001";
    const std::string third = "vlan add --port 3 --mode untag --up-in 7 --data-in 4002";
    EXPECT_THAT(config::difference({first, second}, {first, third}, {}),
                ElementsAre("vlan service-remove --port 2 --mode translate --vlan 6 "
                            "--second-vlan 4001",
                            third));
}

// ---- The file -----------------------------------------------------------------------------------

std::string complaint_about(const std::string& text) {
    try {
        static_cast<void>(config::read_text("FILE", text));
    } catch (const std::exception& error) {
        return error.what();
    }
    return "";
}

TEST(ConfigFile, HoldsOptionsAndCommands) {
    const config::File file = config::read_text("FILE",
                                                "# comment\n\nport 0 eth1\nmode  proxy # why\n"
                                                "onu-id 7\ndebug errors,rx\r\n");
    ASSERT_EQ(file.options.size(), 3u);
    EXPECT_EQ(file.options[0].value, "0=eth1");
    EXPECT_EQ(config::line_of(file.options[0]), "port 0 eth1");
    EXPECT_EQ(file.options[1].line, 5u);
    ASSERT_EQ(file.commands.size(), 1u);
    EXPECT_EQ(file.commands[0].words, "mode proxy");
    EXPECT_EQ(file.commands[0].line, 4u);
}

TEST(ConfigFile, ReadsTheNamesOfInterfacesThatItHasWritten) {
    for (const std::string& name :
         {std::string("eth0"), std::string("#1"), std::string("it's"), std::string("a=b")}) {
        const config::Option port{"port", "0=" + name, 0};
        const config::File file = config::read_text("FILE", config::line_of(port));
        ASSERT_EQ(file.options.size(), 1u) << name;
        EXPECT_EQ(file.options[0].value, port.value);
    }
}

TEST(ConfigFile, OptionsHoldInWhateverWayTheyAreWritten) {
    Snapshot running = after({});
    running.options = {"bridge br0", "port 0 eth1", "debug 0x4", "onu-id 7"};
    const auto holds = [&](const char* name, const char* value) {
        return config::holds_already({name, value, 0}, running);
    };
    EXPECT_TRUE(holds("bridge", "br0") && holds("port", "0=eth1") && holds("debug", "errors"));
    EXPECT_TRUE(holds("onu-id", "0x7") && holds("most-groups", "4096"));
    EXPECT_TRUE(holds("mld-mode", "snooping"));
    EXPECT_FALSE(holds("bridge", "br1") || holds("port", "0=eth2") || holds("debug", "rx"));
    EXPECT_FALSE(holds("onu-id", "1") || holds("most-groups", "512"));
    EXPECT_FALSE(holds("mld-mode", "control") || holds("uplink", "eth0"));
}

TEST(ConfigFile, SaysWhereItIsWrongAndWhy) {
    EXPECT_THAT(complaint_about("\nmode fast\n"), HasSubstr("FILE:2:6: mode: MODE: 'fast'"));
    EXPECT_THAT(complaint_about("  swim\n"), HasSubstr("FILE:1:3: unknown command 'swim'"));
    EXPECT_THAT(complaint_about("mode 'proxy\n"), HasSubstr("FILE:1:1: a ' is not closed"));
    EXPECT_THAT(complaint_about("onu-id 300\n"), HasSubstr("FILE:1:8: '300' is no ONU id"));
    EXPECT_THAT(complaint_about("port 9 eth1\n"),
                HasSubstr("FILE:1:6: --port: there is no port '9'"));
    EXPECT_THAT(complaint_about("port 0 eth1\nport 0 eth2\n"),
                HasSubstr("FILE:2:1: port: stands in line 1 already"));
    EXPECT_THAT(complaint_about("most-groups 0\n"), HasSubstr("FILE:1:13: '0' is no bound"));
    EXPECT_THAT(complaint_about("bridge\n"), HasSubstr("FILE:1:1: bridge: one value is needed"));
}

TEST(ConfigFile, RefusesWhatDoesNotLast) {
    for (const char* const line : {"show groups", "test uplink 2", "export groups", "memory reset",
                                   "mld debug on", "raw 1", "debug cli 1 --selector adapt"}) {
        EXPECT_THAT(complaint_about(line), HasSubstr("FILE:1:1: ")) << line;
    }
    EXPECT_EQ(complaint_about("mld ageing off"), "");
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

// With the values of its example, which go with those of others, or with any.
std::string any_use(Draw& draw, const commands::Command& command) {
    std::string line;
    if (draw.below(2) == 0) {
        return commands::path_text(command) + " " + std::string(command.example);
    }
    while (line.empty()) line = draw.command(command);
    return line;
}

// Whether the configuration of a node tells that it ran a command, behind some others of its kind.
bool shows(const commands::Command& command) {
    auto kind = lasting(true);
    std::erase_if(kind, [&](const auto& other) { return other.path[0] != command.path[0]; });
    for (std::uint32_t seed = 0; seed < 200; ++seed) {
        Draw draw(seed);
        Lines lines;
        for (std::uint32_t i = draw.below(6); i > 0; --i) {
            lines.push_back(
                any_use(draw, kind[draw.below(static_cast<std::uint32_t>(kind.size()))]));
        }
        const Snapshot before = after(lines);
        lines.push_back(any_use(draw, command));
        const Snapshot behind = after(lines);
        if (behind.commands() != before.commands()) {
            return !config::difference(before.commands(), behind.commands(), {}).empty();
        }
        if (behind.facts != before.facts) return true;
    }
    return false;
}

// A setting that no line of node/config/ writes is lost when the configuration is saved, one that
// no difference looks at stays when another is applied.
TEST(RunningConfig, ShowsWhatEachCommandThatLastsHasSet) {
    for (const commands::Command& command : lasting(true)) {
        EXPECT_TRUE(shows(command)) << commands::path_text(command);
    }
}

TEST(RunningConfig, OfAnyCommandsIsTheSameOnceMore) {
    const auto all = lasting(true);
    ASSERT_EQ(all.size(), 45u);
    for (std::uint32_t seed = 0; seed < 60; ++seed) {
        Draw draw(seed);
        const Lines lines = random_lines(draw, all, 1 + draw.below(25));
        const Lines once = written(lines);
        EXPECT_EQ(joined(written(once)), joined(once)) << seed << "\n" << joined(lines);
    }
}

TEST(RunningConfig, MakesTheSameRecordsAndSettings) {
    const auto all = lasting(false);
    for (std::uint32_t seed = 0; seed < 60; ++seed) {
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
    for (std::uint32_t seed = 0; seed < 60; ++seed) {
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
    for (std::uint32_t seed = 0; seed < 30; ++seed) {
        Draw draw(1000 + seed);
        const Snapshot running = after(random_lines(draw, all, draw.below(20)));
        const Lines wanted = written(written(random_lines(draw, all, draw.below(20))));
        Lines run = running.commands();
        const Lines changes = config::plan_changes(running, wanted);
        run.insert(run.end(), changes.begin(), changes.end());
        const Snapshot is = after(run);
        const Lines left = config::difference(is.commands(), wanted, {});
        EXPECT_THAT(left, IsEmpty()) << seed << "\n"
                                     << joined(running.commands()) << "--\n"
                                     << joined(wanted) << "--\n"
                                     << joined(changes);
    }
}

}  // namespace
