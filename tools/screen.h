// The terminal that a program writes to, for text that is made to fit it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace tools {

struct Screen {
    std::size_t columns;
    std::size_t lines;
};

// Nothing when standard output is no terminal, or one that does not say.
[[nodiscard]] std::optional<Screen> screen();

// The first of its lines, if there are more than so many; the last one then says how many are not
// shown. The cursor stands in a line of its own behind them.
[[nodiscard]] std::string first_lines(const std::string& text, std::size_t lines);

}  // namespace tools
