// What happens to the node itself and is no command of the queue, in words for a file of timed
// commands:
//
//     onu-id 7               the PON registers the node under this id, 0 to 255; 255 is no id
//     mld-mode control       the host process sets the mode of the MLD side, or "snooping" or
//     "proxy":
//                            commands set the IGMP side's mode only (mld_mode.h)
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace node {

// What the words do; empty when they are none of these. Throws UsageError.
[[nodiscard]] std::function<void()> parse_node_words(const std::vector<std::string>& words);

}  // namespace node
