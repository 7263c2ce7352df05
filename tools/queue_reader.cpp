#include "tools/queue_reader.h"

#include <fstream>
#include <string>

#include "adapt/status_segment.h"

namespace commands {

// The table of the kernel is for everyone to read, the segment is not.
std::optional<SegmentUse> segment_use() {
    std::ifstream table("/proc/sysvipc/shm");
    std::string heading;
    if (!std::getline(table, heading)) return std::nullopt;
    long key = 0;
    long id = 0;
    std::string permissions;
    unsigned long size = 0;
    SegmentUse use;
    std::string rest;
    while (table >> key >> id >> permissions >> size >> use.creator >> use.last >> use.attached &&
           std::getline(table, rest)) {
        if (key == mc::kStatusSegmentKey) return use;
    }
    return SegmentUse{};
}

bool is_surely_unread() {
    const auto use = segment_use();
    return use && use->attached == 0;
}

}  // namespace commands
