// The manual page of a program, in section 1.
#pragma once

#include <string>

#include "tools/program_text.h"

namespace options {

// For man: the macros of man(7).
[[nodiscard]] std::string man_page(const ProgramText& program);

}  // namespace options
