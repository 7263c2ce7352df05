#include "node/ipc_place.h"

#include <sched.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <system_error>

#include "adapt/status_segment.h"
#include "command/command.h"
#include "tools/queue_reader.h"

namespace node {
namespace {

// ---- Who has the queue --------------------------------------------------------------------------

// 0: a process of another PID namespace.
using Owner = std::optional<pid_t>;

// Nobody where this machine or its owner lets nobody have a semaphore: the segment tells then.
Owner take_semaphore() {
    const int semaphore = semget(MC_QUEUE_KEY, 1, IPC_CREAT | 0600);
    if (semaphore < 0) return std::nullopt;
    // Both or none.
    std::array<sembuf, 2> take{{{0, 0, IPC_NOWAIT}, {0, 1, SEM_UNDO}}};
    if (semop(semaphore, take.data(), take.size()) == 0 || errno != EAGAIN) return std::nullopt;
    return semctl(semaphore, 0, GETPID);
}

bool is_in_this_namespace(const std::string& process) {
    struct stat its {};
    struct stat own {};
    return stat((process + "/ns/ipc").c_str(), &its) == 0 && stat("/proc/self/ns/ipc", &own) == 0 &&
           its.st_ino == own.st_ino;
}

// To write to, as the library has it; programs that show it have it to read.
bool has_segment(const std::string& process) {
    std::array<char, 16> name{};
    std::snprintf(name.data(), name.size(), "/SYSV%08x", mc::kStatusSegmentKey);
    std::ifstream maps(process + "/maps");
    for (std::string line; std::getline(maps, line);) {
        const bool is_writable = line.find(" rw") != std::string::npos;
        if (is_writable && line.find(name.data()) != std::string::npos) {
            return is_in_this_namespace(process);
        }
    }
    return false;
}

// Somebody else's, that does not let itself be looked at.
bool is_hidden(pid_t process) {
    return process > 0 && kill(process, 0) != 0 && errno == EPERM &&
           !std::ifstream("/proc/" + std::to_string(process) + "/maps");
}

Owner find_segment_owner() {
    const auto use = commands::segment_use();
    if (!use || use->attached == 0) return std::nullopt;
    std::error_code unreadable;
    for (const auto& entry : std::filesystem::directory_iterator("/proc", unreadable)) {
        const std::string name = entry.path().filename().string();
        const bool is_process = name.find_first_not_of("0123456789") == std::string::npos;
        if (is_process && has_segment(entry.path().string())) return std::stoi(name);
    }
    for (const pid_t process : {use->last, use->creator}) {
        if (is_hidden(process)) return process;
    }
    return std::nullopt;
}

std::string called(pid_t process) {
    if (process == 0) return "a process of another PID namespace";
    std::ifstream file("/proc/" + std::to_string(process) + "/comm");
    std::string name;
    std::getline(file, name);
    return "process " + std::to_string(process) + (name.empty() ? "" : " (" + name + ")");
}

void take_queue() {
    Owner owner = take_semaphore();
    if (!owner) owner = find_segment_owner();
    if (!owner) return;
    throw std::runtime_error("queue " + std::to_string(MC_QUEUE_KEY) + " is that of " +
                             called(*owner) +
                             ": give this node one of its own with --ipc private, or start it "
                             "under unshare --ipc");
}

// ---- A namespace of its own ---------------------------------------------------------------------

void write_to(const char* file, const std::string& text) {
    std::ofstream(file) << text;  // without it the user has no name in the namespace, no more
}

// The user stays who he is.
bool unshare_as_user() {
    const std::string user = std::to_string(geteuid());
    const std::string group = std::to_string(getegid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWIPC) != 0) return false;
    write_to("/proc/self/setgroups", "deny");
    write_to("/proc/self/uid_map", user + " " + user + " 1");
    write_to("/proc/self/gid_map", group + " " + group + " 1");
    return true;
}

}  // namespace

std::string take_ipc_place(IpcPlace wanted, bool keeps_user_namespace) {
    if (wanted == IpcPlace::kNone) return {};
    if (wanted != IpcPlace::kShared) {
        const std::string process = std::to_string(getpid());
        if (unshare(CLONE_NEWIPC) == 0) return "nsenter --ipc -t " + process;
        const int error = errno;
        if (!keeps_user_namespace && unshare_as_user()) {
            return "nsenter --user --preserve-credentials --ipc -t " + process;
        }
        if (wanted == IpcPlace::kPrivate) {
            throw std::runtime_error(std::string("--ipc private: ") + std::strerror(error) +
                                     (error == EPERM ? " (CAP_SYS_ADMIN is needed)" : ""));
        }
    }
    take_queue();
    return {};
}

}  // namespace node
