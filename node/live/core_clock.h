// The core's clock on the machine's own: a timer that is there, for poll(2), when the core's next
// timer is due. Time counts from when the machine was started, so that setting the date ages
// nothing.
#pragma once

#include <cstdint>

namespace live {

class CoreClock {
 public:
    // Throws LiveError. The core tells it of its timers from here on.
    CoreClock();
    ~CoreClock();
    CoreClock(const CoreClock&) = delete;
    CoreClock& operator=(const CoreClock&) = delete;

    [[nodiscard]] int descriptor() const { return timer_; }

    // Moves the core to the present, which runs what is due. Any thread.
    static void move();

    [[nodiscard]] static std::uint64_t now_us();

 private:
    int timer_;
};

}  // namespace live
