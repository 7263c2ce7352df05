// Which IPC namespace the node takes its commands in. Queue and segment have fixed keys, so two
// nodes in one namespace would share both: each command would reach one of the two, whichever is
// quicker.
//
// Who has the queue is a semaphore with the queue's own key: the kernel takes it from a process
// that ends, however it ends, and of two that start at once it gives it to one. A program with the
// library in it that knows nothing of the semaphore is known by the status segment.
#pragma once

#include <cstdint>
#include <string>

namespace node {

enum class IpcPlace : std::uint8_t {
    kNone,    // no queue at all
    kShared,  // where the node is started
    kPrivate,
    kPrivateIfPossible,  // else shared
};

// To be called before there is another thread, and before the library starts. What comes back has
// to stand in front of a command, to reach the node; nothing where none has to. Throws
// std::runtime_error with what to say when the node cannot have the place, or another has it.
[[nodiscard]] std::string take_ipc_place(IpcPlace wanted, bool keeps_user_namespace);

}  // namespace node
