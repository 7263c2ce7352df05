#include "node/core/timers.h"

#include "node/core/multicast_core.h"
#include "node/core/state.h"

namespace mcore {

Timers::Id Timers::start(std::uint64_t due_us, Timer timer) {
    const Id id{due_us, ++last_number_};
    timers_.emplace(id, std::move(timer));
    return id;
}

void Timers::stop(std::optional<Id>& id) {
    if (id) timers_.erase(*id);
    id.reset();
}

std::optional<std::uint64_t> Timers::next() const {
    if (timers_.empty()) return std::nullopt;
    return timers_.begin()->first.first;
}

// cppcheck-suppress returnStdMoveLocal ; what is moved belongs to the node that was taken out
Timers::Timer Timers::take_next() { return std::move(timers_.extract(timers_.begin()).mapped()); }

void set_clock(std::uint64_t now_us) {
    const Lock lock;
    Core& state = core();
    while (true) {
        const std::optional<std::uint64_t> due = state.timers.next();
        if (!due || *due > now_us) break;
        // A timer that a shorter interval has put into the past does not turn the clock back.
        if (*due > state.now_us) state.now_us = *due;
        state.timers.take_next().run();
    }
    if (now_us > state.now_us) state.now_us = now_us;
}

std::uint64_t clock_us() {
    const Lock lock;
    return core().now_us;
}

std::optional<std::uint64_t> next_timer() {
    const Lock lock;
    return core().timers.next();
}

}  // namespace mcore
