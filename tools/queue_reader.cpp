#include "tools/queue_reader.h"

#include <sys/socket.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "adapt/status_segment.h"
#include "node/console/protocol.h"

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

namespace {

// A node that is not privileged has no segment attached, and its console all the same.
bool is_console_there() {
    const auto where = console::address();
    const int connection = where ? socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0) : -1;
    if (connection < 0) return false;
    const auto* const name = reinterpret_cast<const sockaddr*>(&where->name);
    const bool is_there = connect(connection, name, where->size) == 0;
    close(connection);
    return is_there;
}

}  // namespace

bool is_surely_unread() {
    const auto use = segment_use();
    return use && use->attached == 0 && !is_console_there();
}

}  // namespace commands
