/* "mc_node replay": the library over captures, as fast as it goes. */
#pragma once

#include "node/replay_arguments.h"

namespace node {

/* The exit status. Throws capture::CaptureError when a capture or an output cannot be used. */
[[nodiscard]] int replay(const ReplayArguments& arguments);

}  // namespace node
