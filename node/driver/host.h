// What the program hands to either way to run it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace driver {

struct Host {
    // Says one line on standard error, whatever a name in it holds.
    void (*complain)(const std::string& line);
    // A descriptor that can be read once the command queue is of no use any more, to the end.
    int queue_lost;
    // What has to stand in front of mcctl where the queue is in an IPC namespace of the node's own.
    std::string way_in;
    // The running configuration, for whoever asks (node/config/snapshot.h); from any task.
    std::function<std::string()> configuration;
    // Has the command task run what is configured, before it takes a record; false when there is
    // something and it takes none.
    bool (*run_first_commands)();
};

// Whether it is by now, or becomes so within that time; a signal ends the wait too.
[[nodiscard]] bool is_queue_lost(const Host& host, int patience_ms);

// The exit status of a node whose command queue is of no use any more.
inline constexpr int kQueueLost = 3;

// Starts the library with all signals blocked, so that they are in all of its tasks, for good. A
// task that waits for a message would be woken by one, and the command task would take that for a
// message: it runs its last record again. What a fault raises stays, a debugger or a sanitizer
// waits for it.
void start_without_signals(std::int32_t (*start)());

// What is done before each command of the queue, on the command task: a node whose clock runs moves
// it to the present, or what a command does would carry the time of the last frame or timer. To be
// set before the library starts.
void set_before_command(void (*prepare)());
void before_command();

}  // namespace driver
