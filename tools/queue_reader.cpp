#include "tools/queue_reader.h"

#include <sys/socket.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "adapt/status_segment.h"
#include "node/console/protocol.h"

namespace commands {

namespace {

// The table of the kernel is for everyone to read, the segment is not.
bool is_segment_attached() {
    std::ifstream table("/proc/sysvipc/shm");
    std::string heading;
    if (!std::getline(table, heading)) return true;
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
        if (key == mc::kStatusSegmentKey && attached > 0) return true;
    }
    return false;
}

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

bool is_surely_unread() { return !is_segment_attached() && !is_console_there(); }

}  // namespace commands
