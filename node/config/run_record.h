// A record without the queue.
#pragma once

#include "tools/command_line.h"

namespace config {

// Hands it to the library's dispatcher, on this thread. Behind its fields are zeros: what a command
// finds there must not depend on the command before it.
void run_record(const commands::Record& record);

}  // namespace config
