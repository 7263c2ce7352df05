// Commands by readable names: turns the words of a command line, such as `mode control`, into
// the record that the command queue carries. All that is known about the commands is in
// command_table.cpp; values are checked here, because the receiver of a record checks nothing.
//
// Link the target mc_commands. Nothing here touches the queue.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace commands {

// A line that names no command, or a value out of range. The text
// repeats words as they were given: node/report/printable.h.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The whole record from offset 0, as the dispatcher reads it, big-endian:
//
//    0        4             8
//    +--------+-------------+---------+
//    |  code  | dump length | payload |
//    +--------+-------------+---------+
//
// bytes.size() is exactly what the fields of the command need, at least 8, at most 132. The dump
// length is bytes.size().
struct Record {
    std::uint32_t code = 0;
    std::vector<std::uint8_t> bytes;

    // What a message on the queue carries as its text: everything behind the code.
    [[nodiscard]] std::span<const std::uint8_t> text() const {
        return std::span(bytes).subspan(sizeof code);
    }
};

// The record of a command. The words are those behind the program's name, e.g. {"core-vlan",
// "delete-all"}. Throws UsageError.
[[nodiscard]] Record encode(const std::vector<std::string>& words);

// Splits a line like a shell does: blanks separate words, '...' and "..." keep blanks, a backslash
// takes the next character as it is (inside "..." only before " and \), # at the start of a word
// begins a comment. Throws UsageError when a quote is not closed.
[[nodiscard]] std::vector<std::string> split(const std::string& line);

// The same with the column in which each word begins, from 1.
struct PlacedWord {
    std::string text;
    std::size_t column = 0;
};
[[nodiscard]] std::vector<PlacedWord> split_placed(const std::string& line);

}  // namespace commands
