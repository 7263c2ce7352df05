// "mc_node live": the library on the ports of a Linux bridge, until SIGINT, SIGTERM or
// SIGHUP, or until its command queue is lost.
#pragma once

#include "node/driver/host.h"
#include "node/live/arguments.h"

namespace live {

// The exit status. Throws LiveError when the node cannot go live; nothing has been changed then.
[[nodiscard]] int run(const Arguments& arguments, const driver::Host& host);

}  // namespace live
