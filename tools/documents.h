// Texts about the commands, made from the table: help and reference, and what manual page and
// completion are made from.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tools/command_table.h"
#include "tools/program_text.h"

namespace commands {

// The words that may follow these ones in a command's path, in the table's order.
[[nodiscard]] std::vector<std::string_view> next_words(const std::vector<std::string>& path);

// Help on the commands that begin with these words: one command, or a list. Throws UsageError when
// there is none.
[[nodiscard]] std::string help(const std::vector<std::string>& words);
[[nodiscard]] std::string help_of_command(const Command& command);

// All commands as Markdown: docs/commands.md.
[[nodiscard]] std::string reference();

// The program mcctl, for its manual page and completion.
[[nodiscard]] options::ProgramText program_text();

// "00 00 00 01"
[[nodiscard]] std::string hex_text(const std::vector<std::uint8_t>& bytes);

}  // namespace commands
