// Whether a node is there to read the command queue.
#pragma once

namespace commands {

// True when no process has the status segment attached, as the library of a privileged node has for
// life, and no console of a node is there. False also when that is not known.
[[nodiscard]] bool is_surely_unread();

}  // namespace commands
