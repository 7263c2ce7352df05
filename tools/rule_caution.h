// What a VLAN rule does beyond its own port, for whoever sets one. The queue has no way back, so
// only the rule itself is known here; a node on a bridge looks at all of them together.
#pragma once

#include <string>

#include "tools/command_line.h"

namespace commands {

// One line about the rule that a record sets; empty when there is nothing to be careful about, or
// when it sets none.
[[nodiscard]] std::string caution(const Record& record);

}  // namespace commands
