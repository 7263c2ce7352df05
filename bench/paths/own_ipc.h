#pragma once

namespace bench {

// Moves this process into an IPC namespace of its own: the library's queue and segment have fixed
// keys, and those of the machine may belong to a node that runs. False where there is none to be
// had. Before the first thread.
bool enter_own_ipc();

}  // namespace bench
