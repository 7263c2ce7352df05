#pragma once

namespace mcore {

// The tasks that were created, with what they were created with. To be called under the lock.
void print_tasks();

}  // namespace mcore
