#include "node/live/live_driver.h"

#include <pthread.h>
#include <sched.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <utility>

#include "adapt/records.h"
#include "node/core/multicast_core.h"
#include "node/driver/frame_origin.h"
#include "node/driver/trap_filter.h"
#include "node/live/live_error.h"

namespace live {
namespace {

constexpr std::uint64_t kWake = driver::kSlots;  // behind the slots of the ports

// A join waits for the packet task, so that task goes before what is not in a hurry. Machines that
// do not allow it run it as any other.
void go_before_others() {
    sched_param parameters{};
    parameters.sched_priority = sched_get_priority_min(SCHED_FIFO) + 9;
    static_cast<void>(pthread_setschedparam(pthread_self(), SCHED_FIFO, &parameters));
}

int made(int descriptor, const char* what) {
    if (descriptor < 0) throw LiveError(std::string(what) + ": " + std::strerror(errno));
    return descriptor;
}

void listen_to(int epoll, int descriptor, std::uint64_t number) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = number;
    if (epoll_ctl(epoll, EPOLL_CTL_ADD, descriptor, &event) != 0) {
        throw LiveError(std::string("epoll: ") + std::strerror(errno));
    }
}

std::uint64_t realtime_ns() {
    constexpr std::uint64_t kSecond = 1'000'000'000;
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * kSecond +
           static_cast<std::uint64_t>(now.tv_nsec);
}

// Of an entry that a report makes: others follow from no frame. The machine's time of day may be
// set back meanwhile.
void note_latency(metrics::Histogram& latency) {
    constexpr std::uint64_t kNanosecondsPerMicrosecond = 1000;
    const auto arrived_ns = driver::arrival_in_hand();
    if (!arrived_ns || *arrived_ns == 0) return;
    const std::uint64_t now_ns = realtime_ns();
    latency.count((now_ns - std::min(now_ns, *arrived_ns)) / kNanosecondsPerMicrosecond);
}

Group group_of(const mcore::EntryOwner& owner) { return {owner.family, owner.group}; }

}  // namespace

LiveDriver::LiveDriver(const std::string& bridge, const std::vector<PortInterface>& ports,
                       std::uint8_t onu_id, Say say, void (*now)())
    : say_(std::move(say)),
      now_(now),
      onu_id_(onu_id),
      wake_(made(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")),
      epoll_(made(epoll_create1(EPOLL_CLOEXEC), "epoll")),
      bridge_(bridge, ports, say_,
              [this](std::size_t slot, int index) { open_port(slot, index); }) {
    listen_to(epoll_, wake_, kWake);
    for (const PortInterface& port : ports) {
        counters_[*driver::slot_of_port(port.port)].interface = port.interface;
    }
}

// ---- For the supervisor -------------------------------------------------------------------------

void LiveDriver::begin() {
    driver::use(*this);
    const std::lock_guard lock(mutex_);
    bridge_.begin();
}

void LiveDriver::start() {
    started_ = true;
    started_.notify_all();
}

void LiveDriver::end() {
    const std::lock_guard lock(mutex_);
    if (std::exchange(ended_, true)) return;
    const std::uint64_t one = 1;
    static_cast<void>(!write(wake_, &one, sizeof one));
    bridge_.end();
}

std::optional<std::chrono::milliseconds> LiveDriver::look() {
    std::optional<std::chrono::milliseconds> again;
    std::vector<Bridge::LinkChange> changes;
    {
        const std::lock_guard lock(mutex_);
        if (ended_) return std::nullopt;
        again = bridge_.look();
        changes = bridge_.take_link_changes();
    }
    // The core has queries to send and entries to end, for which it needs the mutex.
    if (!changes.empty()) now_();
    for (const auto& [slot, is_up] : changes) {
        const std::uint8_t port = driver::port_of_slot(slot);
        is_up ? mcore::link_up(port) : mcore::link_down(port);
    }
    return again;
}

NewsReader LiveDriver::news_reader() {
    return {[this](int bridge, const DatabaseEntry& gone) {
                const std::lock_guard lock(mutex_);
                return bridge_.note_removal(bridge, gone);
            },
            [this] {
                const std::lock_guard lock(mutex_);
                bridge_.note_removals_lost();
            },
            [this] {
                const std::lock_guard lock(mutex_);
                bridge_.note_rules_touched();
            }};
}

void LiveDriver::set_router_port(std::uint32_t port, bool is_router) {
    const std::lock_guard lock(mutex_);
    const auto slot = driver::slot_of_port(port);
    if (slot && !ended_) bridge_.set_router_port(*slot, is_router);
}

void LiveDriver::set_filter(const mcore::EntryOwner& owner) {
    const std::lock_guard lock(mutex_);
    const auto slot = driver::slot_of_port(owner.port);
    if (!slot || ended_) return;
    bridge_.entries().change(*slot, group_of(owner), owner.vlan, owner.filter);
    if (bridge_.entries().take_overflow()) bridge_.recover_from_overflow();
}

driver::MacAddress LiveDriver::bridge_mac() {
    const std::lock_guard lock(mutex_);
    return bridge_.mac();
}

// Under the mutex.
Report LiveDriver::counts_now() {
    for (std::size_t slot = 0; slot < driver::kSlots; ++slot) note_drops(slot);
    return {counters_, {}, send_invalid_port_, entry_latency_};
}

Report LiveDriver::counts() {
    const std::lock_guard lock(mutex_);
    return counts_now();
}

Report LiveDriver::report() {
    const std::lock_guard lock(mutex_);
    Report report = counts_now();
    for (const auto& [key, entry] : bridge_.entries().entries()) {
        const bool is_ours = entry.state == EntryState::kOurs;
        EntryReport row{driver::port_of_slot(key.slot),
                        key.group,
                        {},
                        is_ours ? entry.filter : wanted(entry),
                        entry.state};
        for (const auto& [vlan, filter] : entry.vlans) row.vlans.push_back(vlan);
        report.entries.push_back(std::move(row));
    }
    return report;
}

// ---- Ports --------------------------------------------------------------------------------------

// Under the mutex, as all of the bridge's doing. Index 0: there is nothing to open.
void LiveDriver::open_port(std::size_t slot, int index) {
    note_drops(slot);
    sockets_[slot].reset();  // leaves the epoll with it
    if (index == 0) return;
    try {
        auto socket = std::make_unique<PortSocket>(counters_[slot].interface, index);
        listen_to(epoll_, socket->descriptor(), slot);
        sockets_[slot] = std::move(socket);
    } catch (const LiveError& error) {
        if (!started_) throw;
        say_(error.what());
    }
}

void LiveDriver::note_drops(std::size_t slot) {
    if (sockets_[slot]) counters_[slot].socket_dropped += sockets_[slot]->take_dropped();
}

// ---- Frames -------------------------------------------------------------------------------------

// One frame at a time: between two frames of one port the epoll looks at the others, so that a port
// that never stops does not keep them out.
std::optional<driver::Delivery> LiveDriver::read(std::span<std::uint8_t> buf) {
    if (!is_prepared_) {
        go_before_others();
        started_.wait(false);
        is_prepared_ = true;
    }
    driver::forget_origin();
    count_last_frame();
    while (true) {
        epoll_event event{};
        if (epoll_wait(epoll_, &event, 1, -1) < 1) continue;  // a signal, for a debugger's sake
        if (event.data.u64 == kWake) return std::nullopt;
        const auto arrival = take_frame(event.data.u64, buf);
        if (!arrival) continue;
        now_();
        const PortCounters& counters = counters_[event.data.u64];
        const auto frame = buf.first(arrival->length);
        driver::note_origin(counters.interface, counters.igmp + counters.mld, frame);
        driver::take_in_hand(event.data.u64, frame, arrival->stamp_ns);
        return driver::Delivery{driver::port_of_slot(event.data.u64), arrival->length};
    }
}

// Whoever asks for a frame is done with the one before.
void LiveDriver::count_last_frame() {
    const auto fate = driver::put_down();
    if (!fate) return;
    const std::lock_guard lock(mutex_);
    driver::count(*fate, counters_[fate->slot].fates);
}

// Nothing when the port has none, or one that does not go to the library.
std::optional<Arrival> LiveDriver::take_frame(std::size_t slot, std::span<std::uint8_t> buf) {
    const std::lock_guard lock(mutex_);
    if (ended_ || !sockets_[slot]) return std::nullopt;
    const auto arrival = sockets_[slot]->receive(buf);
    if (!arrival) return std::nullopt;
    PortCounters& counters = counters_[slot];
    if (arrival->length > driver::kLongestFrame) {
        ++counters.too_long;
        return std::nullopt;
    }
    const auto frame = buf.first(arrival->length);
    const driver::TrapVerdict verdict = driver::classify(frame);
    if (verdict != driver::TrapVerdict::kIgmp && verdict != driver::TrapVerdict::kMld) {
        ++counters.not_trapped;
        return std::nullopt;
    }
    if (const auto refused = driver::refuse(frame, slot == driver::kUplinkSlot)) {
        counters.refused.count(*refused);
        return std::nullopt;
    }
    ++(verdict == driver::TrapVerdict::kIgmp ? counters.igmp : counters.mld);
    return arrival;
}

bool LiveDriver::send(std::int64_t port, std::span<const std::uint8_t> frame) {
    driver::note_sent();
    const std::lock_guard lock(mutex_);
    const auto slot = driver::slot_of_port(port);
    if (!slot) {
        ++send_invalid_port_;
        return false;
    }
    // A port that the node was not given has nobody behind it, as a socket without a plug.
    if (counters_[*slot].interface.empty()) return true;
    const bool sent =
        !ended_ && !frame.empty() && sockets_[*slot] && sockets_[*slot]->send(frame, ::defaultVlan);
    ++(sent ? counters_[*slot].sent : counters_[*slot].send_failed);
    return sent;
}

// ---- Entries ------------------------------------------------------------------------------------

// The database is by group, the call by MAC address: the core, which calls, knows the group.
std::optional<mcore::EntryOwner> LiveDriver::owner_in_hand(const driver::MacAddress& mac) {
    if (auto owner = mcore::entry_in_hand()) return owner;
    if (!std::exchange(said_no_group_, true)) {
        std::array<char, 96> line;
        std::snprintf(
            line.data(), line.size(),
            "no entry for MAC %02x:%02x:%02x:%02x:%02x:%02x alone: its group is not known", mac[0],
            mac[1], mac[2], mac[3], mac[4], mac[5]);
        say_(line.data());
    }
    return std::nullopt;
}

bool LiveDriver::set_entry(std::int64_t port, const driver::MacAddress& mac, std::uint16_t vlan) {
    const std::lock_guard lock(mutex_);
    const auto slot = driver::slot_of_port(port);
    const auto owner = owner_in_hand(mac);
    if (!slot || !owner || ended_) return false;
    const bool done = bridge_.entries().set(*slot, group_of(*owner), vlan, owner->filter);
    if (done) note_latency(entry_latency_);
    if (bridge_.entries().take_overflow()) bridge_.recover_from_overflow();
    return done;
}

bool LiveDriver::remove_entry(std::int64_t port, const driver::MacAddress& mac,
                              std::uint16_t vlan) {
    const std::lock_guard lock(mutex_);
    const auto slot = driver::slot_of_port(port);
    const auto owner = owner_in_hand(mac);
    if (!slot || !owner || ended_) return false;
    return bridge_.entries().remove(*slot, group_of(*owner), vlan);
}

}  // namespace live
