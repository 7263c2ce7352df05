// Completion of a program's command line, as a script for a shell.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "tools/program_text.h"

namespace options {

inline constexpr std::string_view kShells = "bash|zsh|fish";

// Nothing when the shell is none of them.
[[nodiscard]] std::optional<std::string> completion(const ProgramText& program,
                                                    std::string_view shell);

}  // namespace options
