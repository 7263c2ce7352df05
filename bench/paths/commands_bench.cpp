// A command: its record dispatched, and the same record through a System V queue between two
// threads, received by the library's command task or by a bare loop.
#include <benchmark/benchmark.h>
#include <pthread.h>
#include <sched.h>
#include <sys/ipc.h>
#include <sys/msg.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <thread>
#include <vector>

#include "adapt/records.h"
#include "bench/paths/cases.h"
#include "bench/paths/paths_bench.h"
#include "command/command.h"
#include "command/config_commands.h"
#include "common/bytes.h"

namespace bench {
namespace {

using Record = std::array<std::uint8_t, MC_RECORD_SIZE>;

struct Message {
    long type;
    std::uint8_t text[MC_RECORD_TEXT];
};

// A cheap command whose effect its sender sees: the switch behind it is one of the records that the
// library shows to everybody.
using Cheap = mc::SetTableReturn;

Record record_with(std::uint32_t value) {
    Record record{};
    mc::store_be32(record.data(), Cheap::code);
    mc::store_be32(record.data() + Cheap::value.offset, value);
    return record;
}

Message message_with(std::uint32_t value) {
    constexpr std::size_t kCode = 4;
    const Record record = record_with(value);
    Message message = {.type = static_cast<long>(Cheap::code), .text = {}};
    std::memcpy(message.text, record.data() + kCode, sizeof(message.text));
    return message;
}

// ---- Without the queue -------------------------------------------------------------------------

void dispatch(benchmark::State& state) {
    prepare({.way = Way::kNothing});
    const Record record = record_with(1);
    for ([[maybe_unused]] auto _ : state) {
        static_cast<void>(process_interface_msg(record.data()));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations());
}

// ---- Through the queue -------------------------------------------------------------------------

// A queue with its receiver, which runs until the program ends, and what the receiver last took.
struct Channel {
    int queue;
    std::int32_t* taken;
    pthread_t receiver;
};

// Where the two threads run. On one processor, as a device has it, a command costs what both do;
// on two they work at the same time, and the faster one waits for the other.
enum class Place { kOneProcessor, kTwoProcessors };

// The processors that this process had when it began.
std::vector<int> processors() {
    static const cpu_set_t allowed = [] {
        cpu_set_t set;
        CPU_ZERO(&set);
        if (sched_getaffinity(0, sizeof(set), &set) != 0) CPU_ZERO(&set);
        return set;
    }();
    std::vector<int> numbers;
    for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
        if (CPU_ISSET(cpu, &allowed)) numbers.push_back(cpu);
    }
    return numbers;
}

bool run_on(pthread_t thread, int processor, int policy) {
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(processor, &one);
    const sched_param none{};
    return pthread_setaffinity_np(thread, sizeof(one), &one) == 0 &&
           pthread_setschedparam(thread, policy, &none) == 0;
}

// On one processor a thread that is woken waits until the other one has to: a switch with every
// command would cost more than the command does, and come or not as the scheduler likes.
bool place_threads(const Channel& channel, Place place) {
    const bool together = place == Place::kOneProcessor;
    const int policy = together ? SCHED_BATCH : SCHED_OTHER;
    const std::vector<int> numbers = processors();
    if (numbers.size() < (together ? 1U : 2U)) return false;
    return run_on(pthread_self(), numbers[0], policy) &&
           run_on(channel.receiver, numbers[together ? 0 : 1], policy);
}

int open_queue(key_t key) {
    constexpr int kAccess = 0600;
    const int queue = msgget(key, IPC_CREAT | kAccess);
    if (queue == -1) {
        std::perror("paths_bench: no message queue");
        std::exit(EXIT_FAILURE);
    }
    return queue;
}

// Receives as the library does, and does no more than the command itself.
void receive_bare(int queue, std::int32_t* taken) {
    Message message{};
    while (msgrcv(queue, &message, sizeof(message.text), 0, 0) != -1) {
        const auto value = mc::load_be32(message.text + Cheap::value.offset - 4);
        std::atomic_ref(*taken).store(static_cast<std::int32_t>(value), std::memory_order_release);
    }
}

Channel start_receiver(int queue, std::int32_t* taken, const std::function<void()>& body) {
    std::thread receiver(body);
    const pthread_t handle = receiver.native_handle();
    receiver.detach();
    return {queue, taken, handle};
}

// Each receiver starts when it is first needed: one that waits costs nothing.
Channel bare_channel() {
    static std::int32_t taken = 0;
    static const int queue = open_queue(IPC_PRIVATE);
    static const Channel channel =
        start_receiver(queue, &taken, [] { receive_bare(queue, &taken); });
    return channel;
}

Channel library_channel() {
    static const Channel channel = start_receiver(open_queue(MC_QUEUE_KEY), &tablereturn, [] {
        static_cast<void>(recv_igmp_interface_msg());
    });
    return channel;
}

bool post(int queue, const Message& message) {
    return msgsnd(queue, &message, sizeof(message.text), 0) == 0;
}

// Until the receiver has run the last command. False when it does not come to that.
bool wait_until_taken(const Channel& channel, std::int32_t value) {
    constexpr auto kPatience = std::chrono::seconds(10);
    const auto begin = std::chrono::steady_clock::now();
    while (std::atomic_ref(*channel.taken).load(std::memory_order_acquire) != value) {
        if (std::chrono::steady_clock::now() - begin > kPatience) return false;
        sched_yield();
    }
    return true;
}

// One command after the other is posted, without waiting for any but the last, which alone changes
// the switch.
void time_queue(benchmark::State& state, Channel (*channel_of)(), Place place) {
    constexpr int kBatch = 4096;
    const std::array<Message, 2> messages = {message_with(0), message_with(1)};
    const Channel channel = channel_of();
    if (!place_threads(channel, place)) return state.SkipWithError("no processor for each thread");
    std::size_t value = std::atomic_ref(*channel.taken).load() != 0 ? 1 : 0;
    for ([[maybe_unused]] auto _ : state) {
        bool posted = true;
        for (int i = 1; i < kBatch && posted; ++i) posted = post(channel.queue, messages[value]);
        value = 1 - value;
        posted = posted && post(channel.queue, messages[value]);
        if (!posted || !wait_until_taken(channel, static_cast<std::int32_t>(value))) {
            return state.SkipWithError("the receiver does not take the commands");
        }
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}

}  // namespace

void register_commands() {
    benchmark::RegisterBenchmark("command/dispatch", dispatch);
    // On one processor by the time that both threads have it: others who want it take nothing from
    // that.
    const auto one = [](const char* name, Channel (*channel_of)()) {
        benchmark::RegisterBenchmark(name, time_queue, channel_of, Place::kOneProcessor)
            ->MeasureProcessCPUTime();
    };
    const auto two = [](const char* name, Channel (*channel_of)()) {
        benchmark::RegisterBenchmark(name, time_queue, channel_of, Place::kTwoProcessors)
            ->UseRealTime();
    };
    one("command/queue/library", library_channel);
    one("command/queue/bare", bare_channel);
    if (processors().size() < 2) return;
    two("command/queue_on_two/library", library_channel);
    two("command/queue_on_two/bare", bare_channel);
}

}  // namespace bench
