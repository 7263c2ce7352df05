// What is known about the commands: their words, and what their values mean to people. The parser,
// the help, the reference, the completion and the tests all read it. Codes and places of fields are
// the library's own (command/config_commands.h and command/debug_commands.h).
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "command/record.h"

namespace commands {

enum class Kind {
    kNumber,   // decimal, or hexadecimal behind 0x
    kSwitch,   // one of the words
    kChoice,   // one of the words, or its number
    kPort,     // a number, or a word
    kVlan,     // a number, or a word
    kAddress,  // IPv4, a.b.c.d, no multicast
    kGroup,    // IPv4 multicast, 224.0.0.0 to 239.255.255.255
    kWord,     // 32 bits whose meaning is the core's: a number or an IPv4 address
};

struct Choice {
    std::string_view word;
    std::uint32_t value;
};

// One value of a command. A number is accepted from least to most; a word, or its number, always.
// What is left out of a command line is the fallback, or the value of the field named by `like`,
// and without either it is required.
struct Field {
    std::string_view name;  // "--port" for an option, "VLAN" for a word at its place
    mc::FieldPlace at;      // in the record
    Kind kind;
    std::uint32_t least;
    std::uint32_t most;
    std::span<const Choice> words;
    std::string_view help;
    std::optional<std::uint32_t> fallback = std::nullopt;
    std::string_view like = {};
    std::uint32_t added = 0;  // what the record holds more than the user says

    [[nodiscard]] bool is_option() const { return name.starts_with("--"); }
    [[nodiscard]] bool is_required() const { return !fallback && like.empty(); }
    [[nodiscard]] bool is_address() const { return kind == Kind::kAddress || kind == Kind::kGroup; }
};

// Two fields of which the first must not be above the second, when the second is given.
struct Order {
    std::string_view low;
    std::string_view high;
};

// A value that a field must not have, given or not, while another has one of these.
struct Exclusion {
    std::string_view field;
    std::uint32_t value;
    std::string_view other;
    std::span<const Choice> others;
    std::string_view why;
};

// What the library reads for a command: its code, and all fields of the record in their order.
struct RecordLayout {
    std::uint32_t code;
    std::span<const mc::FieldPlace> fields;
};

struct Command {
    std::vector<std::string_view> path;
    RecordLayout record;
    std::string_view help;
    std::string_view example;  // what stands behind the path
    std::vector<Field> fields = {};
    std::vector<Order> ordered = {};
    std::vector<Exclusion> excluded = {};

    // How long the record is: up to its last field, whether the words give it or not.
    [[nodiscard]] std::uint32_t record_size() const;
};

// In the order of the help, commands of one first word together.
[[nodiscard]] const std::vector<Command>& table();

}  // namespace commands
