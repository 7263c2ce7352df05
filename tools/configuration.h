// The configuration of the running node: saved to a file, and made what a file says
// (docs/configuration.md).
#pragma once

#include <string>
#include <vector>

namespace commands {

using Notes = std::vector<std::string>;  // for people, a line each, when all is done

// To the file, which is there as a whole or not at all; without a name to standard output. A note
// for each thing that no command makes again.
[[nodiscard]] Notes save_configuration(const std::string& file);

// Checks the file and posts what the running node differs in, or prints it. Throws UsageError about
// the file, with nothing posted.
[[nodiscard]] Notes apply_configuration(const std::string& file, bool dry_run);

}  // namespace commands
