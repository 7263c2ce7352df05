// A command: its record dispatched, and the same record through a System V queue between two
// threads, received by the library's command task or by a bare loop.
#include <benchmark/benchmark.h>
#include <pthread.h>
#include <sched.h>
#include <sys/ipc.h>
#include <sys/msg.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <optional>
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

// ---- The library beside the bare loop ----------------------------------------------------------

constexpr int kBatch = 2048;

// One command after the other is posted, without waiting for any but the last, which alone changes
// the switch.
bool run_batch(const Channel& channel) {
    static const std::array<Message, 2> messages = {message_with(0), message_with(1)};
    const std::size_t before = std::atomic_ref(*channel.taken).load() != 0 ? 1 : 0;
    for (int i = 1; i < kBatch; ++i) {
        if (!post(channel.queue, messages[before])) return false;
    }
    return post(channel.queue, messages[1 - before]) &&
           wait_until_taken(channel, static_cast<std::int32_t>(1 - before));
}

// On one processor time is what both threads have it for: others who want it take nothing from
// that.
double seconds_now(Place place) {
    timespec now{};
    clock_gettime(place == Place::kOneProcessor ? CLOCK_PROCESS_CPUTIME_ID : CLOCK_MONOTONIC, &now);
    constexpr double kNano = 1e-9;
    return static_cast<double>(now.tv_sec) + kNano * static_cast<double>(now.tv_nsec);
}

// Nothing when the receiver does not take what is posted.
std::optional<double> seconds_of_batch(const Channel& channel, Place place) {
    const double begin = seconds_now(place);
    if (!run_batch(channel)) return std::nullopt;
    return seconds_now(place) - begin;
}

double quantile(std::vector<double> values, double part) {
    if (values.empty()) return 0;
    const auto last = static_cast<double>(values.size() - 1);
    const auto at = values.begin() + static_cast<std::ptrdiff_t>(part * last);
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

// The machine does not run at one speed for long. So batches of the two follow on each other, each
// the first one every other time, and each batch of the library has its bare one to be compared
// with.
void time_queue(benchmark::State& state, Place place) {
    const Channel library = library_channel();
    const Channel bare = bare_channel();
    if (!place_threads(library, place) || !place_threads(bare, place)) {
        return state.SkipWithError("no processor for each thread");
    }
    std::vector<double> rates;
    std::vector<double> bare_rates;
    std::vector<double> ratios;
    bool bare_first = false;
    for ([[maybe_unused]] auto _ : state) {
        const auto first = seconds_of_batch(bare_first ? bare : library, place);
        const auto second = seconds_of_batch(bare_first ? library : bare, place);
        if (!first || !second) {
            return state.SkipWithError("the receiver does not take the commands");
        }
        const double of_library = bare_first ? *second : *first;
        const double of_bare = bare_first ? *first : *second;
        state.SetIterationTime(of_library);
        rates.push_back(kBatch / of_library);
        bare_rates.push_back(kBatch / of_bare);
        ratios.push_back(of_bare / of_library);
        bare_first = !bare_first;
    }
    constexpr double kLow = 0.25;
    constexpr double kMiddle = 0.5;
    constexpr double kHigh = 0.75;
    state.counters["per_second"] = quantile(rates, kMiddle);
    state.counters["bare_per_second"] = quantile(bare_rates, kMiddle);
    state.counters["of_bare"] = quantile(ratios, kMiddle);
    state.counters["of_bare_low"] = quantile(ratios, kLow);
    state.counters["of_bare_high"] = quantile(ratios, kHigh);
}

}  // namespace

void register_commands() {
    benchmark::RegisterBenchmark("command/dispatch", dispatch);
    benchmark::RegisterBenchmark("command/queue", time_queue, Place::kOneProcessor)
        ->UseManualTime();
    if (processors().size() < 2) return;
    benchmark::RegisterBenchmark("command/queue_on_two", time_queue, Place::kTwoProcessors)
        ->UseManualTime();
}

}  // namespace bench
