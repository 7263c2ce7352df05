// The functions of the C library that the library calls and that can fail. They stand in front of
// the C library's own, and are those unless the library runs.
#include <dlfcn.h>
#include <errno.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/shm.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <utility>

#include "command/command.h"
#include "common/bytes.h"
#include "tests/faults/row.h"

namespace {

bool library_runs = false;
std::deque<mc_test::Bytes> queue;

template <class Function>
Function* of_the_c_library(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

bool fails(const char* name) {
    if (!library_runs || mc_test::written_down(name) == 0) return false;
    errno = EINVAL;
    return true;
}

}  // namespace

extern "C" int shmget(key_t key, std::size_t size, int flags) noexcept {
    if (fails("shmget")) return -1;
    return of_the_c_library<int(key_t, std::size_t, int)>("shmget")(key, size, flags);
}

extern "C" void* shmat(int id, const void* address, int flags) noexcept {
    if (fails("shmat")) return reinterpret_cast<void*>(~std::uintptr_t{0});
    return of_the_c_library<void*(int, const void*, int)>("shmat")(id, address, flags);
}

extern "C" int msgget(key_t key, int flags) noexcept {
    if (!library_runs) return of_the_c_library<int(key_t, int)>("msgget")(key, flags);
    return fails("msgget") ? -1 : 1;
}

extern "C" ssize_t msgrcv(int id, void* message, std::size_t size, long type, int flags) {
    if (!library_runs) {
        using Receive = ssize_t(int, void*, std::size_t, long, int);
        return of_the_c_library<Receive>("msgrcv")(id, message, size, type, flags);
    }
    if (queue.empty()) mc_test::leave_library();
    if (fails("msgrcv")) return -1;
    const mc_test::Bytes record = std::move(queue.front());
    queue.pop_front();
    const auto code = static_cast<long>(mc::load_be32(record.data()));
    std::memcpy(message, &code, sizeof code);
    std::memcpy(static_cast<std::uint8_t*>(message) + sizeof code, record.data() + 4,
                MC_RECORD_TEXT);
    return MC_RECORD_TEXT;
}

namespace mc_test {

LibraryAlone::LibraryAlone(std::vector<Bytes> records) {
    queue.assign(records.begin(), records.end());
    library_runs = true;
}

LibraryAlone::~LibraryAlone() {
    library_runs = false;
    queue.clear();
}

std::int32_t serve(const std::vector<Bytes>& records) {
    std::int32_t result = 0;
    const LibraryAlone alone(records);
    const bool waits = run_until_left([&result] { result = recv_igmp_interface_msg(); });
    return waits ? 0 : result;
}

}  // namespace mc_test
