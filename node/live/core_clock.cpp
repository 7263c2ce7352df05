#include "node/live/core_clock.h"

#include <sys/timerfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <optional>
#include <string>

#include "node/core/multicast_core.h"
#include "node/live/live_error.h"

namespace live {
namespace {

constexpr std::uint64_t kMicrosPerSecond = 1'000'000;
constexpr std::uint64_t kNanosPerMicro = 1000;

// Nothing switches the timer off.
void set(int timer, std::optional<std::uint64_t> due_us) {
    itimerspec when{};
    if (due_us) {
        when.it_value.tv_sec = static_cast<std::time_t>(*due_us / kMicrosPerSecond);
        when.it_value.tv_nsec = static_cast<long>(*due_us % kMicrosPerSecond * kNanosPerMicro);
    }
    static_cast<void>(timerfd_settime(timer, TFD_TIMER_ABSTIME, &when, nullptr));
}

}  // namespace

CoreClock::CoreClock() : timer_(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
    if (timer_ < 0) throw LiveError(std::string("timerfd: ") + std::strerror(errno));
    mcore::watch_timers(
        [timer = timer_](std::optional<std::uint64_t> due_us) { set(timer, due_us); });
}

CoreClock::~CoreClock() {
    mcore::watch_timers({});
    close(timer_);
}

void CoreClock::move() { mcore::set_clock(now_us()); }

std::uint64_t CoreClock::now_us() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * kMicrosPerSecond +
           static_cast<std::uint64_t>(now.tv_nsec) / kNanosPerMicro;
}

}  // namespace live
