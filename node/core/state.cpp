#include "node/core/state.h"

#include <cstddef>
#include <functional>
#include <mutex>
#include <utility>

#include "node/core/event_watch.h"
#include "node/core/membership.h"
#include "node/core/querier.h"
#include "node/core/routers.h"
#include "node/core/upstream.h"

namespace mcore {
namespace {

std::recursive_mutex& mutex() {
    static std::recursive_mutex* const the_mutex = new std::recursive_mutex;
    return *the_mutex;
}

// Not part of the core: it stays when the core begins anew.
struct TimerWatch {
    std::function<void(std::optional<std::uint64_t>)> changed;
    std::optional<std::uint64_t> told;
    int doors_open = 0;  // a door that is opened from inside tells nothing

    void tell() {
        const auto next = core().timers.next();
        if (!changed || next == told) return;
        told = next;
        changed(next);
    }
};

TimerWatch& timer_watch() {
    static TimerWatch* const watch = new TimerWatch;
    return *watch;
}

}  // namespace

Core::Core() {
    for (std::size_t i = 0; i < kPorts; ++i) {
        ports[i].is_uplink = i == kUserPorts;
        ports[i].number = i == kUserPorts ? kUplinkNumber : static_cast<std::uint32_t>(i);
    }
}

// Never destroyed, like the mutex: the tasks that use them outlive main.
Core& core() {
    static Core* const the_core = new Core;
    return *the_core;
}

Lock::Lock() {
    mutex().lock();
    ++timer_watch().doors_open;
}

Lock::~Lock() {
    if (--timer_watch().doors_open == 0) timer_watch().tell();
    mutex().unlock();
}

void watch_timers(std::function<void(std::optional<std::uint64_t>)> changed) {
    const Lock lock;
    timer_watch().changed = std::move(changed);
    timer_watch().told.reset();
}

Port* find_port(std::uint32_t number) {
    if (number == kUplinkNumber || number == kCoreUplink) return &core().ports[kUserPorts];
    return number < kUserPorts ? &core().ports[number] : nullptr;
}

Port* find_declared_port(std::uint32_t number) {
    Port* const port = find_port(number);
    return port != nullptr && port->declared ? port : nullptr;
}

std::string port_text(std::uint32_t number) {
    const bool is_uplink = number == kUplinkNumber || number == kCoreUplink;
    return is_uplink ? "uplink" : std::to_string(number);
}

void reset() {
    const Lock lock;
    tell_all_ends({});
    core() = Core{};
    tell_router_ports();
    igmpv3_rcv = 0;
    igmpv3_snd = 0;
}

}  // namespace mcore

using mcore::Core;
using mcore::Lock;
using mcore::Port;

// All but the clock and the random numbers begins anew; the switch is taken to be empty as well.
int32_t igmp_data_init(void) {
    const Lock lock;
    const std::uint64_t now = mcore::core().now_us;
    const std::uint64_t chance = mcore::core().chance;
    mcore::reset();
    mcore::core().now_us = now;
    mcore::core().chance = chance;
    return 0;
}

int32_t mld_data_init(void) {
    const Lock lock;
    mcore::stop_general_queries(mcore::Family::kIpv6);
    mcore::stop_upstream(mcore::Family::kIpv6);
    mcore::forget_mld_groups();
    mcore::forget_routers_if(
        [](const mcore::RouterKey& key) { return key.family == mcore::Family::kIpv6; });
    for (Port& port : mcore::core().ports) port.mld_declared = false;
    Core& state = mcore::core();
    const mcore::Settings fresh;
    state.settings.mld_ageing = fresh.mld_ageing;
    state.settings.mld_default_vid = fresh.mld_default_vid;
    state.settings.mld_mode = fresh.mld_mode;
    state.call_backs.mld_send = nullptr;
    state.call_backs.mld_add = nullptr;
    state.call_backs.mld_remove = nullptr;
    return 0;
}

// There are no tasks to start: the timers run when the clock is moved.
int32_t igmp_task_init(uint32_t /*first*/, uint32_t /*second*/) { return 0; }
int32_t mld_task_init(uint32_t /*first*/) { return 0; }

int32_t igmp_time_now(uint32_t* now) {
    if (now == nullptr) return 1;
    const Lock lock;
    *now = static_cast<std::uint32_t>(mcore::core().now_us / mcore::kSecond);
    return 0;
}

// ---- Call-backs ---------------------------------------------------------------------------------

namespace {

template <class CallBack>
int32_t take_call_back(CallBack& slot, CallBack given) {
    if (given == nullptr) return 1;
    slot = given;
    return 0;
}

}  // namespace

int32_t igmp_register_switch_send_pkt(IgmpSendPacket send) {
    const Lock lock;
    return take_call_back(mcore::core().call_backs.send, send);
}

int32_t igmp_register_switch_add_table(IgmpTableChange add) {
    const Lock lock;
    return take_call_back(mcore::core().call_backs.add, add);
}

int32_t igmp_register_switch_del_table(IgmpTableChange del) {
    const Lock lock;
    return take_call_back(mcore::core().call_backs.remove, del);
}

int32_t mld_register_switch_send_pkt(MldSendPacket send) {
    const Lock lock;
    return take_call_back(mcore::core().call_backs.mld_send, send);
}

int32_t mld_register_switch_add_table(MldTableChange add) {
    const Lock lock;
    return take_call_back(mcore::core().call_backs.mld_add, add);
}

int32_t mld_register_switch_del_table(MldTableChange del) {
    const Lock lock;
    return take_call_back(mcore::core().call_backs.mld_remove, del);
}
