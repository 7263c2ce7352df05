// The command queue of the node, from outside. It belongs to the node and is never created here: a
// command that nobody takes would wait for a node that starts much later.
#pragma once

#include <stdexcept>

#include "tools/command_line.h"

namespace commands {

// No node takes records, or not this one.
struct QueueError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The same, and there is no room right now.
struct QueueFull : QueueError {
    using QueueError::QueueError;
};

// Throws QueueError.
void post(const Record& record);

}  // namespace commands
