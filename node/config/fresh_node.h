// What a node that has just started makes of commands: the library and the core run them in a
// process of their own, over a switch that is not there. So it is known, not guessed, what a
// configuration says, and what it leaves open.
//
// Whoever links it has its shmget and shmat: no segment of this machine is touched.
#pragma once

#include <cstdint>
#include <optional>

#include "node/config/snapshot.h"

namespace config {

struct FreshNode {
    std::uint8_t onu_id = 1;
    std::optional<std::uint32_t> own_ip;  // as the node takes it from its bridge
};

// The lines are commands, or "mld-mode MODE". Throws std::runtime_error when no process is to be
// had; the caller has one thread, and has not started the library.
[[nodiscard]] Snapshot fresh_node_after(const FreshNode& node, const Lines& lines);

// The node that a snapshot is of, as it was when it started.
[[nodiscard]] FreshNode started_as(const Snapshot& snapshot);

}  // namespace config
