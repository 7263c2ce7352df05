// What a user gave, as it may stand in a line: a word or a file can hold anything, and a terminal
// does what control bytes tell it.
#pragma once

#include <string>
#include <string_view>

namespace report {

// The text with its control bytes, and bytes that are no UTF-8, as \n, \t, \r or \x1b, and \ as \\.
// Every complaint passes through here once, as a whole: that keeps it in one line.
[[nodiscard]] std::string printable(std::string_view text);

}  // namespace report
