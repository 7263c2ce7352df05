// The codes and fields of all commands as a C header: command/command_codes.h.
#pragma once

#include <string>

namespace commands {

[[nodiscard]] std::string header();

}  // namespace commands
