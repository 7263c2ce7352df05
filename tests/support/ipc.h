// The System V queue and segment of the library have fixed keys. Every test executable therefore
// lives in an IPC namespace of its own, where the machine lets it have one.
#pragma once

#include <sys/types.h>

namespace mc_test {

// False when the namespace could not be had: tests of other processes may then be in the way, and
// this one in theirs.
bool has_own_ipc();

// Removes the command queue and the status segment, if they exist.
void remove_ipc();

}  // namespace mc_test
