#include "tools/queue_reader.h"

#include <fstream>
#include <string>

#include "adapt/status_segment.h"

namespace commands {

// The table of the kernel is for everyone to read, the segment is not.
bool is_surely_unread() {
    std::ifstream table("/proc/sysvipc/shm");
    std::string heading;
    if (!std::getline(table, heading)) return false;
    long key = 0;
    long id = 0;
    std::string permissions;
    unsigned long size = 0;
    long creator = 0;
    long last = 0;
    unsigned long attached = 0;
    std::string rest;
    while (table >> key >> id >> permissions >> size >> creator >> last >> attached &&
           std::getline(table, rest)) {
        if (key == mc::kStatusSegmentKey && attached > 0) return false;
    }
    return true;
}

}  // namespace commands
