// Who runs commands, and who reads what they have made.
#pragma once

#include <mutex>

namespace config {

// Held while a record runs: whoever takes it stands between two records, and sees no half of one.
// Frames go on meanwhile, and change nothing that is configured.
inline std::mutex& records_lock() {
    static std::mutex* const lock = new std::mutex;  // tasks use it to the end of the process
    return *lock;
}

}  // namespace config
