// Files of lines of words, as a shell would split them, with comments behind #.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace node {

// Hands over the words of each line that has any, with the line's number. Throws UsageError, with
// file and line, whether it is this or take that does not like the line.
void read_lines(const std::string& file,
                const std::function<void(const std::vector<std::string>&, std::size_t)>& take);

}  // namespace node
