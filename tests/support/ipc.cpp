#include "tests/support/ipc.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/shm.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "adapt/status_segment.h"
#include "command/command.h"

namespace mc_test {

namespace {

bool own_ipc = false;

void write_file(const char* path, const std::string& text) {
    const int file = open(path, O_WRONLY | O_CLOEXEC);
    if (file == -1) return;
    if (write(file, text.data(), text.size()) == -1) std::perror(path);
    close(file);
}

// Without privileges a user namespace comes first; who we are outside is kept, so that files can
// still be written.
bool enter_with_user_namespace() {
    const std::string user = std::to_string(geteuid());
    const std::string group = std::to_string(getegid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWIPC) != 0) return false;
    write_file("/proc/self/setgroups", "deny");
    write_file("/proc/self/uid_map", user + " " + user + " 1");
    write_file("/proc/self/gid_map", group + " " + group + " 1");
    return true;
}

// The library makes its segment without permission bits: who made it may not attach it for that.
bool attaches_without_permission_bits() {
    const int segment = shmget(IPC_PRIVATE, 1, IPC_CREAT);
    if (segment == -1) return false;
    void* const there = shmat(segment, nullptr, 0);
    shmctl(segment, IPC_RMID, nullptr);
    return there != reinterpret_cast<void*>(-1) && shmdt(there) == 0;
}

class OwnIpc : public ::testing::Environment {
 public:
    void SetUp() override {
        own_ipc = unshare(CLONE_NEWIPC) == 0 || enter_with_user_namespace();
        if (!own_ipc)
            std::fputs("no IPC namespace: the machine's queue and segment are used\n", stderr);
        // Without a segment half of the tests would end in a null pointer.
        ASSERT_TRUE(attaches_without_permission_bits())
            << "these tests take root, CAP_IPC_OWNER, or an IPC namespace of their own";
    }
};

[[maybe_unused]] const auto* const environment = ::testing::AddGlobalTestEnvironment(new OwnIpc);

}  // namespace

bool has_own_ipc() { return own_ipc; }

void remove_ipc() {
    if (const int queue = msgget(MC_QUEUE_KEY, 0); queue != -1) msgctl(queue, IPC_RMID, nullptr);
    if (const int segment = shmget(mc::kStatusSegmentKey, 0, 0); segment != -1) {
        shmctl(segment, IPC_RMID, nullptr);
    }
}

}  // namespace mc_test
