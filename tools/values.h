// The values of fields: read from words, checked, and described to people.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tools/command_table.h"

namespace commands {

// A number in decimal, or hexadecimal behind 0x. False when the text is something else.
[[nodiscard]] bool read_number(std::string_view text, std::uint32_t& value);

// What the user's word means for the field, before `added`. Throws UsageError.
[[nodiscard]] std::uint32_t read_value(const Field& field, const std::string& text);

// "0 to 5, uplink (29)"
[[nodiscard]] std::string describe_values(const Field& field);
// "none", "10.0.0.1", "the value of --mode", or nothing for a required field.
[[nodiscard]] std::string describe_default(const Field& field);

// What the words say about a field of the record; null when they leave it at 0.
[[nodiscard]] const Field* argument_at(const Command& command, const mc::FieldPlace& place);

// "vlan add"
[[nodiscard]] std::string path_text(const Command& command);

}  // namespace commands
