#include "node/line_file.h"

#include <fstream>
#include <stdexcept>

#include "node/usage_error.h"
#include "tools/command_line.h"

namespace node {

void read_lines(const std::string& file,
                const std::function<void(const std::vector<std::string>&, std::size_t)>& take) {
    std::ifstream lines(file);
    std::size_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        if (line.ends_with('\r')) line.pop_back();
        const auto complaint = [&](const std::runtime_error& error) {
            return UsageError(file + ":" + std::to_string(number) + ": " + error.what());
        };
        try {
            const std::vector<std::string> words = commands::split(line);
            if (!words.empty()) take(words, number);
        } catch (const UsageError& error) {
            throw complaint(error);
        } catch (const commands::UsageError& error) {
            throw complaint(error);
        }
    }
    // The end is the one thing that reading a whole file must come to; a folder does not even open.
    if (!lines.eof()) throw UsageError(file + ": cannot be read");
}

}  // namespace node
