// The platform layer: tasks are POSIX threads, and the memory displays count what the core holds.
//
// The numbers of the memory types, for pal_mtype_show and pal_mrecord_range_set, are the lines of
// pal_mem_show from 0 on.
#include <limits.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "node/core/pal_tasks.h"
#include "node/core/state.h"
#include "platform/pal.h"

namespace mcore {
namespace {

// ---- Tasks --------------------------------------------------------------------------------------

struct Task {
    std::uint32_t id;
    std::string name;
    std::uint32_t priority;  // as asked for; all threads run alike
    std::uint32_t stack_size;
};

// Never destroyed, like the core; and not part of it, as tasks go on when the core begins anew.
std::vector<Task>& tasks() {
    static std::vector<Task>* const all = new std::vector<Task>;
    return *all;
}

struct Start {
    std::string name;
    PalTaskEntry entry;
};

// The thread names itself: its body may look at the name, and it may be gone before its creator.
extern "C" void* run_task(void* given) {
    const std::unique_ptr<Start> start(static_cast<Start*>(given));
    pthread_setname_np(pthread_self(), start->name.c_str());
    static_cast<void>(start->entry());
    return nullptr;
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kSanitizerShare = std::size_t{256} * 1024;  // frames several times as large
#else
constexpr std::size_t kSanitizerShare = 0;
#endif

// The stack asked for, in whole pages and not below what the platform can start a thread with.
std::size_t host_stack(std::uint32_t asked) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const auto least = static_cast<std::size_t>(PTHREAD_STACK_MIN);
    const std::size_t size = std::max<std::size_t>(asked, least) + kSanitizerShare;
    return (size + page - 1) / page * page;
}

bool start_thread(const std::string& name, std::uint32_t stack_size, PalTaskEntry entry) {
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) return false;
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_attr_setstacksize(&attributes, host_stack(stack_size));
    pthread_t thread{};
    auto start = std::make_unique<Start>(Start{name, entry});
    const bool started = pthread_create(&thread, &attributes, run_task, start.get()) == 0;
    if (started) static_cast<void>(start.release());  // the thread's now
    pthread_attr_destroy(&attributes);
    return started;
}

// ---- Memory -------------------------------------------------------------------------------------

struct RecordCount {
    const char* type;
    std::size_t count;
};

std::vector<RecordCount> count_records() {
    const Core& state = core();
    std::size_t hosts = 0;
    std::size_t sources = 0;
    for (const auto& [key, group] : state.groups) {
        hosts += group.hosts.size();
        for (const auto& [address, host] : group.hosts) sources += host.sources.size();
    }
    std::size_t ranges = 0;
    std::size_t controlled = 0;
    for (const Port& port : state.ports) {
        ranges += port.ranges.size();
        controlled += port.control_list.size();
    }
    return {{"memberships", state.groups.size()},
            {"reporters", hosts},
            {"sources", sources},
            {"groups upstream", state.upstream.size()},
            {"timers", state.timers.all().size()},
            {"VLANs", state.settings.vlans.size()},
            {"authorised ranges", ranges},
            {"private list", state.settings.private_list.size()},
            {"control lists", controlled},
            {"tasks", tasks().size()}};
}

// What the display counts from, and which types it shows.
struct MemoryDisplay {
    std::vector<RecordCount> base;
    std::uint32_t first = 0;
    std::uint32_t last = UINT32_MAX;
};

MemoryDisplay& memory_display() {
    static MemoryDisplay* const display = new MemoryDisplay;
    return *display;
}

void print_record_count(std::size_t type, const RecordCount& now) {
    const auto& base = memory_display().base;
    const std::size_t before = base.empty() ? 0 : base[type].count;
    const auto change = static_cast<std::int64_t>(now.count) - static_cast<std::int64_t>(before);
    std::printf("%4zu %-20s %8zu %+12" PRId64 "\n", type, now.type, now.count, change);
}

void print_memory_heading() {
    std::printf("Records\n%4s %-20s %8s %12s\n", "type", "what", "now", "since reset");
}

}  // namespace

void print_tasks() {
    std::printf("Tasks\n%4s %-16s %8s %10s\n", "id", "name", "priority", "stack");
    for (const Task& task : tasks()) {
        std::printf("%4" PRIu32 " %-16s %8" PRIu32 " %10" PRIu32 "\n", task.id, task.name.c_str(),
                    task.priority, task.stack_size);
    }
}

}  // namespace mcore

int32_t pal_task_create(uint32_t* task_id, const char* name, uint32_t priority, uint32_t /*option*/,
                        uint32_t stack_size, PalTaskEntry entry) {
    constexpr std::size_t kLongestName = 15;  // what a thread's name may have
    if (task_id == nullptr || name == nullptr || entry == nullptr) return 1;
    const mcore::Lock lock;
    const std::string short_name(name, std::min(std::strlen(name), kLongestName));
    if (!mcore::start_thread(short_name, stack_size, entry)) return 1;
    auto& tasks = mcore::tasks();
    *task_id = static_cast<std::uint32_t>(tasks.size()) + 1;
    tasks.push_back({*task_id, short_name, priority, stack_size});
    return 0;
}

int32_t pal_mem_show(void) {
    const mcore::Lock lock;
    const auto& display = mcore::memory_display();
    const auto counts = mcore::count_records();
    mcore::print_memory_heading();
    for (std::size_t type = 0; type < counts.size(); ++type) {
        if (type < display.first || type > display.last) continue;
        mcore::print_record_count(type, counts[type]);
    }
    return 0;
}

int32_t pal_mem_reset(void) {
    const mcore::Lock lock;
    mcore::memory_display().base = mcore::count_records();
    return 0;
}

int32_t pal_mtype_show(uint32_t type) {
    const mcore::Lock lock;
    const auto counts = mcore::count_records();
    if (type >= counts.size()) return 1;
    mcore::print_memory_heading();
    mcore::print_record_count(type, counts[type]);
    return 0;
}

// Which types pal_mem_show shows, the first and the last of them.
int32_t pal_mrecord_range_set(uint32_t first, uint32_t second) {
    const mcore::Lock lock;
    if (first > second) return 1;
    mcore::memory_display().first = first;
    mcore::memory_display().last = second;
    return 0;
}
