// Whether a node is there to read the command queue, as the kernel's table of segments tells: the
// library has the status segment attached for life.
#pragma once

#include <sys/types.h>

#include <optional>

namespace commands {

struct SegmentUse {
    unsigned long attached = 0;  // how many times
    pid_t creator = 0;
    pid_t last = 0;  // to attach or detach it
};

// Of the status segment of this IPC namespace; all 0 without one. Nothing when that is not known.
[[nodiscard]] std::optional<SegmentUse> segment_use();

// True when no process has the segment attached, as the library of a privileged node has for life,
// and no console of a node is there. False also when that is not known.
[[nodiscard]] bool is_surely_unread();

}  // namespace commands
