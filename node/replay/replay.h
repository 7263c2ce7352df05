// "mc_node replay": the library over captures, as fast as it goes.
#pragma once

#include "node/driver/host.h"
#include "node/replay/arguments.h"

namespace replay {

// The exit status. Throws capture::CaptureError when a capture or an output cannot be used.
[[nodiscard]] int run(const Arguments& arguments, const driver::Host& host);

}  // namespace replay
