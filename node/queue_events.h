// Commands of the queue among the events of the core.
#pragma once

#include <cstdint>

namespace node {

// A command is about to run.
void tell_queue_command(std::uint32_t code);

}  // namespace node
