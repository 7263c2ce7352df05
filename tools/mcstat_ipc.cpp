#include "tools/mcstat_ipc.h"

#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/shm.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <thread>

#include "command/command.h"
#include "command/debug_commands.h"
#include "command/record.h"
#include "common/bytes.h"

namespace mcstat {
namespace {

using std::chrono::steady_clock;

constexpr int kNoPermission = 0;  // asks for the object, not for any right to it

constexpr std::chrono::milliseconds kBetweenLooks{5};

// A command with one byte as its payload, without padding behind it.
struct Message {
    long code;
    std::array<std::uint8_t, 5> text;
};

Message message(std::uint32_t code, std::uint8_t argument) {
    Message command{static_cast<long>(code), {}};
    constexpr std::uint32_t kDumpLength = mc::kRecordHeader + 1;
    mc::store_be32(command.text.data(), kDumpLength);
    command.text[4] = argument;
    return command;
}

std::string reason() { return std::strerror(errno); }

[[noreturn]] void fail_queue(const char* doing) {
    throw IpcError(std::string("the command queue (key 81) ") + doing + ": " + reason());
}

class Queue {
 public:
    explicit Queue(std::chrono::milliseconds patience) : end_(steady_clock::now() + patience) {
        id_ = msgget(MC_QUEUE_KEY, kNoPermission);
        if (id_ != -1) return;
        if (errno != ENOENT) fail_queue("cannot be opened");
        throw IpcError(
            "there is no command queue (key 81), so the library does not run here; --no-refresh "
            "shows what the segment still holds");
    }

    void post(const Message& command) {
        while (msgsnd(id_, &command, sizeof(command.text), IPC_NOWAIT) != 0) {
            if (errno != EAGAIN && errno != EINTR) fail_queue("takes no message");
            wait_or_give_up();
        }
    }

    void wait_until_empty() {
        for (;;) {
            msqid_ds state{};
            if (msgctl(id_, IPC_STAT, &state) != 0) fail_queue("cannot be watched");
            if (state.msg_qnum == 0) return;
            wait_or_give_up();
        }
    }

 private:
    void wait_or_give_up() {
        if (steady_clock::now() > end_) {
            throw IpcError(
                "nobody takes commands from the queue (key 81); --no-refresh shows what the "
                "segment holds");
        }
        std::this_thread::sleep_for(kBetweenLooks);
    }

    int id_ = -1;
    steady_clock::time_point end_;
};

}  // namespace

Segment::Segment() {
    const int id = shmget(mc::kStatusSegmentKey, mc::kStatusSegmentSize, kNoPermission);
    if (id == -1) {
        if (errno == ENOENT) {
            throw IpcError("there is no status segment (key 82), so the library does not run here");
        }
        if (errno == EINVAL) throw IpcError("the segment with key 82 is too small for the status");
        throw IpcError("the status segment (key 82) cannot be opened: " + reason());
    }
    void* const place = shmat(id, nullptr, SHM_RDONLY);
    if (reinterpret_cast<std::intptr_t>(place) != -1) {
        bytes_ = place;
        return;
    }
    if (errno == EACCES) {
        throw IpcError(
            "the status segment (key 82) has no permission bits: reading it takes root privileges");
    }
    throw IpcError("the status segment (key 82) cannot be attached: " + reason());
}

Segment::~Segment() { shmdt(bytes_); }

Contents Segment::read() const {
    Contents contents;
    std::memcpy(contents.data(), bytes_, contents.size());
    return contents;
}

void refresh(std::chrono::milliseconds patience) {
    Queue queue(patience);
    queue.post(message(mc::ExportGroups::code, 0));
    for (std::uint8_t port = 0; port < MC_PORTS - 1; ++port) {
        queue.post(message(mc::ExportPortStatus::code, port));
    }
    // An empty queue says that the last command was taken, not that it is done, so what is asked
    // last is asked twice.
    queue.post(message(mc::ExportPortStatus::code, MC_UPLINK_PORT));
    queue.post(message(mc::ExportPortStatus::code, MC_UPLINK_PORT));
    queue.wait_until_empty();
}

}  // namespace mcstat
