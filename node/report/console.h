// What the node writes besides its summary, and where the library's own lines go.
#pragma once

#include <cstdio>
#include <string>

namespace report {

// "mc_node: line" on standard error.
void complain(const std::string& line);

// Sends what the library prints to standard error and gives back the stream that leads to the real
// standard output; nothing if that cannot be done.
[[nodiscard]] std::FILE* divert_library_output();

}  // namespace report
