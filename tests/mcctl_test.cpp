// Commands by names: every one packs its fields where the dispatcher reads them, and what is wrong
// is said in one line before anything is sent. That the dispatcher has these commands and no
// others, and what becomes of them there, is in mcctl_dispatch_test.cpp.
#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "node/report/printable.h"
#include "tools/command_line.h"
#include "tools/command_table.h"
#include "tools/documents.h"
#include "tools/rule_caution.h"
#include "tools/values.h"

namespace {

using commands::Command;
using commands::Field;
using commands::Kind;
using commands::UsageError;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

std::string read_file(const std::string& name) {
    std::ifstream file(std::string(MC_SOURCE_DIR "/") + name);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The record of a line, as --dry-run prints it.
std::string record_of(const std::string& line) {
    return commands::hex_text(commands::encode(commands::split(line)).bytes);
}

// The line that a wrong command gives; empty when it is taken.
std::string refusal_of(const std::string& line) {
    try {
        static_cast<void>(commands::encode(commands::split(line)));
    } catch (const UsageError& error) {
        return error.what();
    }
    return {};
}

std::string example_of(const Command& command) {
    return commands::path_text(command) + " " + std::string(command.example);
}

// ---- The table ----------------------------------------------------------------------------------

TEST(CommandTable, HasEveryPathOnce) {
    std::set<std::vector<std::string_view>> paths;
    for (const Command& command : commands::table()) {
        EXPECT_TRUE(paths.insert(command.path).second) << commands::path_text(command);
    }
}

// A value for a field of another command would land anywhere.
TEST(CommandTable, FillsFieldsOfTheCommandsOwnRecordEachOnce) {
    for (const Command& command : commands::table()) {
        std::set<std::uint32_t> filled;
        for (const Field& field : command.fields) {
            const auto is_this = [&](const mc::FieldPlace& place) {
                return place.offset == field.at.offset && place.width == field.at.width &&
                       std::string_view(place.name) == field.at.name;
            };
            EXPECT_TRUE(std::ranges::any_of(command.record.fields, is_this))
                << commands::path_text(command) << " " << field.name;
            EXPECT_TRUE(filled.insert(field.at.offset).second)
                << commands::path_text(command) << " " << field.name;
        }
        EXPECT_LE(command.record_size(), 132U);
    }
}

TEST(CommandTable, HoldsOnlyValuesThatFitTheirFields) {
    for (const Command& command : commands::table()) {
        for (const Field& field : command.fields) {
            std::vector<std::uint32_t> values = {field.least <= field.most ? field.most : 0,
                                                 field.fallback.value_or(0)};
            for (const auto& word : field.words) values.push_back(word.value);
            const std::uint64_t largest = (std::uint64_t{1} << (8 * field.at.width)) - 1;
            for (const std::uint32_t value : values) {
                EXPECT_LE(std::uint64_t{value} + field.added, largest)
                    << commands::path_text(command) << " " << field.name;
            }
        }
    }
}

TEST(CommandTable, RefersOnlyToFieldsOfTheCommand) {
    for (const Command& command : commands::table()) {
        std::set<std::string_view> names = {""};
        for (const Field& field : command.fields) names.insert(field.name);
        EXPECT_EQ(names.size(), command.fields.size() + 1) << commands::path_text(command);
        for (const Field& field : command.fields) EXPECT_TRUE(names.contains(field.like));
        for (const auto& order : command.ordered) {
            EXPECT_TRUE(names.contains(order.low) && names.contains(order.high));
        }
        for (const auto& exclusion : command.excluded) {
            EXPECT_TRUE(names.contains(exclusion.field) && names.contains(exclusion.other));
            const auto field = std::ranges::find(command.fields, exclusion.field, &Field::name);
            EXPECT_TRUE(std::ranges::count(field->words, exclusion.value, &commands::Choice::value))
                << exclusion.field << " has no word for what it must not be";
        }
    }
}

// ---- Records ------------------------------------------------------------------------------------

struct Expected {
    const char* line;
    const char* record;
};

// Written down by hand from the fields that the handlers read.
constexpr Expected kRecords[] = {
    {"mode snooping", "00 00 00 01 00 00 00 09 01"},
    {"mode proxy", "00 00 00 01 00 00 00 09 64"},
    {"mode control", "00 00 00 01 00 00 00 09 03"},
    {"fast-leave --port 2 on", "00 00 00 02 00 00 00 0a 02 01"},
    {"fast-leave --port uplink off", "00 00 00 02 00 00 00 0a 1d 00"},
    {"group-limit --port 1 300", "00 00 00 03 00 00 00 0b 01 01 2c"},
    {"default-vlan 4088", "00 00 00 04 00 00 00 0a 0f f8"},
    {"learning on", "00 00 00 05 00 00 00 09 01"},
    {"auth private add 239.1.2.3 --vlan 100 --extra 7",
     "00 00 00 06 00 00 00 0f ef 01 02 03 00 64 07"},
    {"auth private delete 239.1.2.3 --vlan 100", "00 00 00 07 00 00 00 0f ef 01 02 03 00 64 00"},
    {"auth private clear", "00 00 00 08 00 00 00 08"},
    {"control-list delete --port 3 --vlan 100 --start 239.1.1.1 --end 239.1.1.2",
     "00 00 00 09 00 00 00 15 00 03 01 00 64 ef 01 01 01 ef 01 01 02"},
    {"clear port --port 4 group-limit", "00 00 00 0c 00 00 00 0a 04 02"},
    {"signalling-vlan --port uplink --outer-tci 1 --outer 2 --inner-tci 3 --inner 4 --down 5",
     "00 00 00 0d 00 00 00 13 06 00 01 00 02 00 03 00 04 00 05"},
    {"parameters --robustness 2 --query-interval 125 --response-interval 10 "
     "--last-member-interval 1 --last-member-count 3",
     "00 00 00 0e 00 00 00 12 00 02 00 0a 00 01 00 03 00 7d"},
    {"vlan service-remove --port 1 --mode translate --vlan 100 --second-vlan 200",
     "00 00 00 10 00 00 00 18 00 00 00 01 00 00 00 02 00 00 00 64 00 00 00 c8"},
    {"vlan service-set --port uplink --mode tag --vlan 100",
     "00 00 00 11 00 00 00 18 00 00 00 1d 00 00 00 01 00 00 00 64 00 00 00 64"},
    {"fast-leave global on", "00 00 00 14 00 00 00 09 01"},
    {"ageing-interval 260", "00 00 00 16 00 00 00 0c 00 00 01 04"},
    {"version 3", "00 00 00 1b 00 00 00 09 03"},
    {"proxy-address 10.0.0.1", "00 00 00 1c 00 00 00 0c 0a 00 00 01"},
    {"ssm range 232.0.0.0 232.255.255.255", "00 00 00 1d 00 00 00 10 e8 00 00 00 e8 ff ff ff"},
    {"ssm range none none", "00 00 00 1d 00 00 00 10 00 00 00 00 00 00 00 00"},
    {"ssm map --word0 1 --word1 10.0.0.1 --word2 0x3 --word4 5",
     "00 00 00 1e 00 00 00 20 00 00 00 01 0a 00 00 01 00 00 00 03 00 00 00 00 00 00 00 05 00 00 "
     "00 00"},
    {"core-vlan add 100 102", "00 00 00 20 00 00 00 0c 00 64 00 66"},
    {"core-vlan add 100", "00 00 00 20 00 00 00 0c 00 64 00 00"},
    {"core-vlan delete 100", "00 00 00 21 00 00 00 0a 00 64"},
    {"core-vlan delete-all", "00 00 00 22 00 00 00 08"},
    {"show groups", "00 00 00 23 00 00 00 08"},
    {"show group 239.1.1.1", "00 00 00 24 00 00 00 0c ef 01 01 01"},
    {"debug cli 1 --selector adapt", "00 00 00 25 00 00 00 0e 00 00 00 01 61 00"},
    {"debug cli 100 --selector 3 --sub-selector igmp", "00 00 00 25 00 00 00 0e 00 00 00 64 03 69"},
    {"show config", "00 00 00 27 00 00 00 08"},
    {"test frame --port 1", "00 00 00 28 00 00 00 09 01"},
    {"vlan add --port 1 --mode translate --up-in 100 --up-out 4000 --down-in 4001 --down-out 101 "
     "--data-in 4002 --data-out 102",
     "00 00 00 32 00 00 00 1c 01 02 00 64 0f a0 02 00 0f a1 00 65 02 00 0f a2 00 66 00 00"},
    {"vlan add --port 29 --mode untag --down-mode tag --data-mode 3 --down-in 5 --data-in 6 "
     "--data-out untagged",
     "00 00 00 32 00 00 00 1c 1d 00 ff ff ff ff 01 00 00 05 ff ff 03 00 00 06 00 00 00 00"},
    {"vlan delete --port 1 --up-in 100 --data-in 4000",
     "00 00 00 33 00 00 00 1c 01 01 00 64 00 00 00 00 ff ff ff ff 00 00 0f a0 00 00 00 00"},
    {"mode standard 2", "00 00 00 34 00 00 00 09 02"},
    {"auth add --port 1 --start 239.1.1.0 --end 239.1.1.255 --bandwidth 1000 --vlan 4000",
     "00 00 00 35 00 00 00 17 01 ef 01 01 00 ef 01 01 ff 00 00 03 e8 0f a0"},
    {"auth delete --port 1 --start 239.1.1.1 --vlan 4000",
     "00 00 00 36 00 00 00 17 01 ef 01 01 01 ef 01 01 01 00 00 00 00 0f a0"},
    {"auth clear --port 1", "00 00 00 37 00 00 00 09 01"},
    {"group-limit standard --port 5 0", "00 00 00 38 00 00 00 0b 05 00 00"},
    {"bandwidth-limit --port 1 0x10000 --enable off --extra 5",
     "00 00 00 39 00 00 00 10 01 00 00 01 00 00 00 05"},
    {"clear all", "00 00 00 40 00 00 00 08"},
    {"show standard-vlan --vlan 100 --port 1", "00 00 00 42 00 00 00 10 00 64 00 00 00 01 00 00"},
    {"show proxy-groups", "00 00 00 43 00 00 00 08"},
    {"show proxy-group 239.1.1.1", "00 00 00 44 00 00 00 0c ef 01 01 01"},
    {"show vlan-instances", "00 00 00 45 00 00 00 08"},
    {"show igmpv3", "00 00 00 46 00 00 00 08"},
    {"show statistics", "00 00 00 47 00 00 00 08"},
    {"show interfaces", "00 00 00 48 00 00 00 08"},
    {"show timers", "00 00 00 49 00 00 00 08"},
    {"show auth-groups", "00 00 00 4a 00 00 00 08"},
    {"debug warnings on", "00 00 00 4b 00 00 00 09 01"},
    {"test report --port 1 --vlan 4000", "00 00 00 4c 00 00 00 0e 00 00 00 01 0f a0"},
    {"test leave --port 1", "00 00 00 4d 00 00 00 0e 00 00 00 01 00 00"},
    {"export status --port 1", "00 00 00 4e 00 00 00 09 01"},
    {"export groups", "00 00 00 4f 00 00 00 08"},
    {"show port-config --port 1", "00 00 00 50 00 00 00 09 01"},
    {"show port-status --port uplink", "00 00 00 51 00 00 00 09 1d"},
    {"show auth-group 239.1.1.1 --port 1", "00 00 00 52 00 00 00 0d 01 ef 01 01 01"},
    {"fast-leave all on", "00 00 00 53 00 00 00 0c 00 00 00 02"},
    {"fast-leave all off", "00 00 00 53 00 00 00 0c 00 00 00 01"},
    {"oam-control add --port 5 --vlan 100 --group 239.1.1.1 --first-byte 2 --second-byte 3",
     "00 00 00 54 00 00 00 13 01 00 06 00 64 ef 01 01 01 02 03"},
    {"test uplink none", "00 00 00 55 00 00 00 0c 00 00 ff fe"},
    {"debug errors", "00 00 00 56 00 00 00 10 00 00 00 03 00 00 00 01"},
    {"debug all off", "00 00 00 56 00 00 00 10 00 00 00 07 00 00 00 00"},
    {"auth range --port 1 on", "00 00 00 57 00 00 00 0b 00 01 01"},
    {"auth add-only --port 1 --start 239.1.1.1 --vlan 1",
     "00 00 00 58 00 00 00 17 01 ef 01 01 01 ef 01 01 01 00 00 00 00 00 01"},
    {"debug vlan 100 7", "00 00 00 59 00 00 00 0b 00 64 07"},
    {"debug no-vlan 100 7", "00 00 00 5a 00 00 00 0b 00 64 07"},
    {"debug level 3", "00 00 00 5b 00 00 00 0c 00 00 00 03"},
    {"debug no-level 3", "00 00 00 5c 00 00 00 0c 00 00 00 03"},
    {"debug packets 1 --port 2", "00 00 00 5d 00 00 00 0e 00 00 00 01 00 02"},
    {"debug other 0x10", "00 00 00 5e 00 00 00 0c 00 00 00 10"},
    {"debug stop", "00 00 00 5f 00 00 00 0c 00 00 ff ff"},
    {"show vlan", "00 00 00 60 00 00 00 10 00 00 00 00 00 ff 00 00"},
    {"robustness 2", "00 00 00 61 00 00 00 09 02"},
    {"query-interval 125", "00 00 00 62 00 00 00 0a 00 7d"},
    {"response-interval 10", "00 00 00 63 00 00 00 0a 00 0a"},
    {"last-member-interval 1", "00 00 00 64 00 00 00 0a 00 01"},
    {"last-member-count 2", "00 00 00 65 00 00 00 0a 00 02"},
    {"ageing off", "00 00 00 66 00 00 00 09 00"},
    {"show memory", "00 00 00 67 00 00 00 08"},
    {"memory reset", "00 00 00 68 00 00 00 08"},
    {"show memory-type 2", "00 00 00 69 00 00 00 0c 00 00 00 02"},
    {"memory range 1 4", "00 00 00 6a 00 00 00 10 00 00 00 01 00 00 00 04"},
    {"vlan web-set --port 1 --mode untag --data-mode tag --down-in 100 --down-out 101 --data-in 200",
     "00 00 00 6e 00 00 00 1c 01 00 00 00 00 00 00 00 00 64 00 65 01 00 00 c8 00 c8 00 00"},
    {"show mld", "00 00 00 6f 00 00 00 08"},
    {"mld debug-ports on", "00 00 00 70 00 00 00 0c 00 00 00 01"},
    {"mld debug on --port 1", "00 00 00 71 00 00 00 10 00 00 00 01 00 00 00 01"},
    {"table-return off", "00 00 00 72 00 00 00 0c 00 00 00 00"},
    {"mld ageing on", "00 00 00 73 00 00 00 09 01"},
    {"raw 116", "00 00 00 74 00 00 00 08"},
    {"raw 0x7fffffff 0A0b 0c", "7f ff ff ff 00 00 00 0b 0a 0b 0c"},
};

TEST(Record, HoldsTheFieldsWhereTheDispatcherReadsThem) {
    for (const Expected& expected : kRecords) {
        EXPECT_EQ(record_of(expected.line), expected.record) << expected.line;
    }
}

TEST(Record, IsWrittenDownAboveForEveryCommand) {
    std::set<std::uint32_t> seen;
    for (const Expected& expected : kRecords) {
        seen.insert(commands::encode(commands::split(expected.line)).code);
    }
    for (const Command& command : commands::table()) {
        EXPECT_TRUE(seen.contains(command.record.code)) << commands::path_text(command);
    }
}

TEST(Record, CarriesItsCodeAndItsLength) {
    for (const Command& command : commands::table()) {
        const auto record = commands::encode(commands::split(example_of(command)));
        EXPECT_EQ(record.code, command.record.code);
        EXPECT_EQ(record.bytes.at(3), command.record.code);
        EXPECT_EQ(record.bytes.at(7), record.bytes.size());
        EXPECT_EQ(record.bytes.size(), command.record_size());
        EXPECT_EQ(record.text().size(), record.bytes.size() - 4);
        EXPECT_EQ(record.text().front(), record.bytes[4]);
    }
}

// ---- What is refused ----------------------------------------------------------------------------

TEST(Refusal, NamesTheCommandAndTheValueInOneLine) {
    EXPECT_EQ(refusal_of("group-limit --port 6 1"),
              "group-limit: --port: '6' is not one of 0 to 5");
    EXPECT_EQ(refusal_of("vlan up"),
              "'vlan' is followed by one of add, delete, web-set, service-set, service-remove, not "
              "by 'up'");
    EXPECT_EQ(refusal_of("vlna"), "unknown command 'vlna'");
    EXPECT_EQ(refusal_of(""), "no command: --help lists them");
}

TEST(Refusal, CoversWhatTheReceiverDoesNotCheck) {
    const char* const lines[] = {
        "vlan", "vlan ''", "auth private", "auth private sell", "''",
        // Ports.
        "fast-leave --port 6 on", "fast-leave --port 28 on", "fast-leave --port -1 on",
        "fast-leave --port 1x on", "fast-leave --port '' on", "fast-leave --port 4294967297 on",
        "group-limit --port 29 1", "group-limit --port uplink 1", "clear port --port 6 leave-mode",
        // VLANs.
        "default-vlan 0", "default-vlan 4095", "default-vlan none", "default-vlan 65535",
        "core-vlan add 101 100", "core-vlan add 100 0",
        "vlan add --port 1 --mode tag --data-in 4095", "vlan add --port 1 --mode tag",
        "vlan add --port 1 --mode 4 --data-in 1", "vlan add --port 1 --mode tag --data-in none",
        // Groups.
        "show group 223.255.255.255", "show group 240.0.0.0", "show group 239.1.1",
        "show group 239.1.1.256", "show group none", "proxy-address 10.0.0", "proxy-address 7",
        "proxy-address 239.1.1.1", "auth add --port 1 --start 239.1.1.2 --end 239.1.1.1 --vlan 1",
        "auth add --port 1 --start 239.1.1.2 --vlan 0", "ssm range 232.0.0.2 232.0.0.1",
        "ssm range 232.0.0.2 none",
        // Numbers and words.
        "version 0", "version 4", "version", "version 3 3", "robustness 0", "robustness 256",
        "query-interval 65536", "query-interval 0", "learning maybe", "learning 2", "mode 2",
        "debug 0", "debug 8", "debug noise", "memory range 2 1", "ssm map --word0 x",
        // Options.
        "version --port 1", "fast-leave --port 1 --port 2 on", "fast-leave --port", "fast-leave on",
        "show groups 1", "show groups --help",
        // Raw records.
        "raw", "raw 0", "raw 2147483648", "raw x", "raw 1 0", "raw 1 0x00", "raw 1 gg"};
    for (const char* line : lines) {
        EXPECT_THAT(refusal_of(line), AllOf(Not(""), Not(HasSubstr("\n")))) << line;
    }
}

// The upstream VLAN of the rule follows from the mode and these, and none makes an empty slot of
// it.
TEST(Refusal, OfAWebRuleThatWouldCountAsNone) {
    const std::string why =
        ": the rule would count as none, and the next delete would take another rule of the port";
    const auto refusal = [](const std::string& options) {
        return refusal_of("vlan web-set --port 1 --data-in 200 " + options);
    };
    EXPECT_EQ(refusal("--mode translate --down-in 100 --down-out none"),
              "vlan web-set: --down-out none with --mode translate" + why);
    EXPECT_EQ(refusal("--mode 3 --down-in 100 --down-out 65535"),
              "vlan web-set: --down-out none with --mode 3" + why);
    EXPECT_EQ(refusal("--mode translate --down-in none"),
              "vlan web-set: --down-out none with --mode translate" + why)
        << "left out, it is that of --down-in";
    EXPECT_EQ(refusal("--mode untag --down-in none --down-out 100"),
              "vlan web-set: --down-in none with --mode untag" + why);
    for (const char* const taken :
         {"--mode translate --down-in none --down-out 100", "--mode 3 --down-in none --down-out 0",
          "--mode untag --down-in 100 --down-out none", "--mode tag --down-in none",
          "--mode translate --down-in untagged",
          "--mode tag --data-mode translate --down-in none --data-out none"}) {
        EXPECT_EQ(refusal(taken), "") << taken;
    }
}

// ---- What a rule does beyond its own port ----

std::string caution_of(const std::string& line) {
    return commands::caution(commands::encode(commands::split(line)));
}

constexpr const char* kTranslation =
    " --mode translate --up-in 100 --up-out 4000 --down-in 4000"
    " --down-out 100 --data-in 4000 --data-out 100";

TEST(Caution, TellsOfOtherPortsAndOfTheNodesOwnQueries) {
    EXPECT_EQ(
        caution_of(std::string("vlan add --port 2") + kTranslation),
        "queries of the node itself leave port 2 in VLAN 100 only if port 0 has such a rule in "
        "the same place; ports above 2 without a rule for VLAN 4000 get the network's queries "
        "in VLAN 100");
    EXPECT_EQ(
        caution_of("vlan service-set --port 2 --mode translate --vlan 100 --second-vlan 4000"),
        caution_of(std::string("vlan add --port 2") + kTranslation));
}

TEST(Caution, OfTheFirstAndTheLastPortTellsWhatIsLeft) {
    EXPECT_EQ(caution_of(std::string("vlan add --port 0") + kTranslation),
              "ports above 0 without a rule for VLAN 4000 get the network's queries in VLAN 100");
    EXPECT_EQ(
        caution_of("vlan web-set --port 5 --mode translate --down-in 4000 --down-out 100 "
                   "--data-in 4000"),
        "queries of the node itself leave port 5 in VLAN 100 only if port 0 has such a rule in "
        "the same place");
}

TEST(Caution, HasNothingToSayOfRulesThatChangeNoTagNorOfOtherCommands) {
    for (const std::string line :
         {"vlan web-set --port 2 --mode untag --down-in 4000 --data-in 4000",
          "vlan service-set --port 2 --mode tag --vlan 4000",
          "vlan web-set --port 2 --mode translate --down-in 4000 --down-out 4000 --data-in 4000",
          "vlan delete --port 2 --mode translate --up-in 100 --data-in 4000", "mode proxy"}) {
        EXPECT_EQ(caution_of(line), "") << line;
    }
    EXPECT_EQ(caution_of(std::string("vlan add --port uplink") + kTranslation), "");
}

TEST(Refusal, OfRawDataThatDoesNotFit) {
    EXPECT_EQ(commands::encode({"raw", "1", std::string(248, 'a')}).bytes.size(), 132U);
    EXPECT_EQ(refusal_of("raw 1 " + std::string(250, 'a')), "raw: 125 bytes do not fit, 124 do");
}

// Every field of every command: one below, one above, and no value at all.
TEST(Refusal, HoldsAtBothEndsOfEveryRange) {
    for (const Command& command : commands::table()) {
        for (const Field& field : command.fields) {
            if (field.is_address() || field.kind == Kind::kWord) continue;
            std::set<std::uint64_t> outside;
            if (field.least <= field.most) {
                outside = {std::uint64_t{field.most} + 1};
                if (field.least > 0) outside.insert(field.least - 1);
            }
            for (const auto& word : field.words) {
                outside.erase(word.value);
                EXPECT_EQ(commands::read_value(field, std::string(word.word)), word.value);
            }
            for (const std::uint64_t value : outside) {
                EXPECT_THROW(static_cast<void>(commands::read_value(field, std::to_string(value))),
                             UsageError)
                    << commands::path_text(command) << " " << field.name << " " << value;
            }
            EXPECT_THROW(static_cast<void>(commands::read_value(field, "")), UsageError);
        }
    }
}

// ---- Lines --------------------------------------------------------------------------------------

TEST(Split, TakesWordsApartLikeAShell) {
    EXPECT_THAT(commands::split("  a  bc\td\r\n"), ElementsAre("a", "bc", "d"));
    EXPECT_THAT(commands::split(R"('a b' "c d"'e' "" f\ g)"),
                ElementsAre("a b", "c de", "", "f g"));
    EXPECT_THAT(commands::split(R"("a\"b\\c\d" 'a\b' \' x\)"),
                ElementsAre(R"(a"b\c\d)", R"(a\b)", "'", R"(x\)"));
    EXPECT_THAT(commands::split("a b#c # d 'e"), ElementsAre("a", "b#c"));
    EXPECT_THAT(commands::split(""), ElementsAre());
    EXPECT_THROW(static_cast<void>(commands::split("a 'b")), UsageError);
    EXPECT_THROW(static_cast<void>(commands::split("a \"b\\\"")), UsageError);
}

// ---- Complaints ---------------------------------------------------------------------------------

TEST(Printable, EscapesControlBytesAndBackslashes) {
    using namespace std::string_literals;
    EXPECT_EQ(report::printable("a\nb\tc\rd\\"), R"(a\nb\tc\rd\\)");
    EXPECT_EQ(report::printable("\0\x01\x1b[31m\x1f \x7f~"s), R"(\x00\x01\x1b[31m\x1f \x7f~)");
    EXPECT_EQ(report::printable(""), "");
}

TEST(Printable, KeepsCharactersOfSeveralBytes) {
    for (const char* const text :
         {"\xc2\xa0",
          "K\xc3\xbc"
          "che",
          "\xe0\xa0\x80", "\xe2\x82\xac", "\xef\xbf\xbd", "\xf0\x9f\x93\xba", "\xf4\x8f\xbf\xbf"}) {
        EXPECT_EQ(report::printable(text), text);
    }
}

// Among them U+0080 to U+009F, which a terminal obeys, and longer forms of shorter characters.
TEST(Printable, EscapesBytesThatAreNoCharacter) {
    EXPECT_EQ(report::printable("\x9b"
                                "2J \xff"),
              R"(\x9b2J \xff)");
    EXPECT_EQ(report::printable("\xc2\x9b"
                                "2J"),
              R"(\xc2\x9b2J)");
    EXPECT_EQ(report::printable("\xc0\x9b"), R"(\xc0\x9b)");
    EXPECT_EQ(report::printable("\xe0\x80\x9b"), R"(\xe0\x80\x9b)");
    EXPECT_EQ(report::printable("\xf0\x80\x80\x9b"), R"(\xf0\x80\x80\x9b)");
    EXPECT_EQ(report::printable("\xed\xa0\x80"), R"(\xed\xa0\x80)");
    EXPECT_EQ(report::printable("\xf4\x90\x80\x80"), R"(\xf4\x90\x80\x80)");
    EXPECT_EQ(report::printable("\xe2\x82"), R"(\xe2\x82)") << "cut off";
    EXPECT_EQ(report::printable("\xe2\x82\n"), R"(\xe2\x82\n)") << "interrupted";
}

// ---- Texts --------------------------------------------------------------------------------------

TEST(Reference, IsWhatTheDocumentHolds) {
    EXPECT_TRUE(commands::reference() == read_file("docs/commands.md"))
        << "write it again: mcctl --reference >docs/commands.md";
}

TEST(Help, ExistsForEveryCommand) {
    for (const Command& command : commands::table()) {
        const std::string path = commands::path_text(command);
        const std::string text = commands::help(commands::split(path));
        EXPECT_THAT(text, HasSubstr("Usage: mcctl " + path));
        for (const Field& field : command.fields) {
            EXPECT_THAT(text, HasSubstr(std::string(field.name))) << path;
        }
        EXPECT_THAT(commands::help({}), HasSubstr("  " + path + " "));
    }
}

TEST(Help, IsFoundBehindACommandThatWasBegun) {
    EXPECT_THAT(commands::help({"vlan"}), AllOf(HasSubstr("vlan add"), HasSubstr("vlan web-set")));
    EXPECT_THAT(commands::help({"vlan", "add", "--port", "1"}), HasSubstr("--data-in"));
    EXPECT_THAT(commands::help({"debug"}), AllOf(HasSubstr("CATEGORY"), HasSubstr("debug level")));
    EXPECT_THAT(commands::help({"raw"}), HasSubstr("raw CODE"));
    EXPECT_THAT(commands::help({"console"}), HasSubstr("mcctl console"));
    EXPECT_THROW(static_cast<void>(commands::help({"vlna"})), UsageError);
}

TEST(Completion, KnowsEveryPathAndOption) {
    const std::string script = commands::bash_completion();
    for (const Command& command : commands::table()) {
        EXPECT_THAT(script, HasSubstr("\"" + commands::path_text(command) + "\") list="));
        for (const Field& field : command.fields) {
            if (!field.is_option()) continue;
            EXPECT_THAT(script, HasSubstr("\"" + commands::path_text(command) + ":" +
                                          std::string(field.name) + "\") list="));
        }
    }
}

}  // namespace
