// Two of the library's tasks at once, with no lock between them, as on a device.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

namespace mc_test {

// A step of a task; false ends both tasks.
using Step = std::function<bool()>;

// Runs one step again and again, and the other one on a thread of its own, for this long.
inline void run_side_by_side(std::chrono::milliseconds time, const Step& one, const Step& other) {
    std::atomic<bool> over = false;
    const auto run = [&over](const Step& step) {
        while (!over.load(std::memory_order_relaxed)) {
            if (!step()) over = true;
        }
    };
    std::thread thread(run, other);
    std::thread clock([&over, time] {
        const auto end = std::chrono::steady_clock::now() + time;
        while (!over && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        over = true;
    });
    run(one);
    thread.join();
    clock.join();
}

}  // namespace mc_test
