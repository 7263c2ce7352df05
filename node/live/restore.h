// "mc_node live --restore": gives back what a node that was killed has left behind, and runs none.
#pragma once

#include <string>

#include "node/live/say.h"

namespace live {

// Throws LiveError when the bridge is not there or may not be changed.
void restore(const std::string& bridge, const Say& say);

}  // namespace live
