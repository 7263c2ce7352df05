#include "tools/command_header.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <string_view>
#include <vector>

#include "tools/command_table.h"
#include "tools/values.h"

namespace commands {
namespace {

constexpr std::string_view kHead =
    "/*\n"
    " * The commands of the queue: a code each, and the fields of its record, for command/message.h.\n"
    " *\n"
    " * Written by mc_command_header; codes and fields come from command/config_commands.h and\n"
    " * command/debug_commands.h, where the library reads them, and what the values mean from\n"
    " * tools/command_table.cpp. Change those, then write it again:\n"
    " *\n"
    " *     build/native/tools/mc_command_header >command/command_codes.h\n"
    " *\n"
    " * A field is MC_FIELD(offset, width), both in bytes, the offset counted from the start of the\n"
    " * record; its value is big-endian and unsigned. Behind it stand the values that make sense. The\n"
    " * library checks almost none of them: the sender must. Ports are port numbers, 0 to 5 and 29 for\n"
    " * the uplink, unless the field says otherwise. VLANs are VLAN ids (IEEE 802.1Q, 9.6), 65535 where\n"
    " * there may be none; IPv4 addresses are words, 239.1.1.1 is 0xEF010101. Names of commands are\n"
    " * those of mcctl; fields have the names of the library's records.\n"
    " *\n"
    " * Times are in the core's own unit. The robustness variable is that of RFC 3376, 8.1, the query\n"
    " * interval 8.2, the query response interval 8.3, the last member query interval and count 8.8\n"
    " * and 8.9; the group membership (ageing) interval is 8.4. The range of source-specific multicast\n"
    " * is that of RFC 4607.\n"
    " *\n"
    " * No command has a result: the library reports on its console, under the error category of\n"
    " * common/masks.h, and runs one record at a time, on its command task.\n"
    " */\n"
    "#pragma once\n"
    "\n"
    "#include \"command/message.h\"\n"
    "\n"
    "/* clang-format off */\n";

// "vlan add" and "outer tci" as parts of a name in C.
std::string constant(std::string_view words) {
    std::string name;
    for (const char letter : words) {
        const auto byte = static_cast<unsigned char>(letter);
        name += std::isalnum(byte) != 0 ? static_cast<char>(std::toupper(byte)) : '_';
    }
    return name;
}

std::string meaning(const Field* field) {
    if (field == nullptr) return "0";
    return describe_values(*field) + ": " + std::string(field->help) +
           (field->added != 0 ? ", plus " + std::to_string(field->added) : "");
}

// A comment stands behind the comma of its constant, so it is written with the next one.
std::string enumeration(const Command& command) {
    const std::string name = "MC_CMD_" + constant(path_text(command));
    std::string text = "\n/* ";
    text.append(command.help).append(" */\nenum {\n    ").append(name).append(" = ");
    text.append(std::to_string(command.record.code));
    std::string behind = "the code";
    for (const mc::FieldPlace& place : command.record.fields) {
        text.append(", /* ").append(behind).append(" */\n    ").append(name).append("_");
        text.append(constant(place.name)).append(" = MC_FIELD(");
        text.append(std::to_string(place.offset)).append(", ");
        text.append(std::to_string(place.width)).append(")");
        behind = meaning(argument_at(command, place));
    }
    return text.append(" /* ").append(behind).append(" */\n};\n");
}

}  // namespace

std::string header() {
    std::vector<const Command*> commands;
    for (const Command& command : table()) commands.push_back(&command);
    std::ranges::sort(commands, {}, [](const Command* command) { return command->record.code; });
    std::string text(kHead);
    for (const Command* command : commands) text += enumeration(*command);
    return text;
}

}  // namespace commands
