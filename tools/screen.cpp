#include "tools/screen.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

namespace tools {

std::optional<Screen> screen() {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) return std::nullopt;
    if (size.ws_col == 0 || size.ws_row == 0) return std::nullopt;
    return Screen{size.ws_col, size.ws_row};
}

std::string first_lines(const std::string& text, std::size_t lines) {
    constexpr std::size_t kOwnLines = 2;  // what says how many, and that of the cursor
    const auto all = static_cast<std::size_t>(std::ranges::count(text, '\n'));
    if (all < lines || lines <= kOwnLines) return text;
    const std::size_t shown = lines - kOwnLines;
    std::size_t end = 0;
    for (std::size_t i = 0; i < shown; ++i) end = text.find('\n', end) + 1;
    return text.substr(0, end) + "(" + std::to_string(all - shown) + " more lines)\n";
}

}  // namespace tools
