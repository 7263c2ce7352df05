// In place of the rest of this folder where its libraries are not to be had.
#include "node/live/live.h"
#include "node/live/live_error.h"

namespace live {

int run(const Arguments& /*arguments*/, const driver::Host& /*host*/) {
    throw LiveError("'live' was left out when this mc_node was built (MC_NODE_LIVE)");
}

}  // namespace live
