// A file that says which host of a capture is at which port:
//
//      02:00:00:00:00:10 0       # MAC PORT
//      vlan 100 3                # vlan VID PORT; "vlan none 3" for frames without a tag
//      uplink 02:00:00:00:00:01  # uplink MAC
#pragma once

#include <string>

#include "node/capture/split.h"

namespace node {

// Throws UsageError, with file and line.
[[nodiscard]] capture::SplitRules read_split_table(const std::string& file);

}  // namespace node
