// What becomes of a port's memberships when its link is gone.
//
//   down, with fast leave     all end at once
//   down, without             what is not reported anew ends after the last member query time
//   down again before that    what was not reported anew since the first time ends at once, so that
//                             a link that flaps keeps nothing for ever
#include <cstdint>

#include "node/core/event_watch.h"
#include "node/core/membership.h"
#include "node/core/state.h"

namespace mcore {
namespace {

// RFC 3376, 8.8; RFC 3810, 9.10.
std::uint64_t last_member_query_time() {
    const Settings& settings = core().settings;
    return std::uint64_t{settings.last_member_query_interval} * settings.last_member_query_count *
           kSecond;
}

void start_down_timer(Port& port) {
    port.down_us = core().now_us;
    const std::uint32_t number = port.number;
    port.down_timer =
        core().timers.start(port.down_us + last_member_query_time(),
                            {"link down", [number] { return "port " + port_text(number); },
                             [number] {
                                 Port& port_then = *find_port(number);
                                 port_then.down_timer.reset();
                                 end_unheard(number, port_then.down_us);
                             }});
}

}  // namespace

void link_down(std::uint32_t port) {
    const Lock lock;
    Port* const found = find_port(port);
    if (found == nullptr) return;
    tell_event({{}, port, 0}, [] { return LinkChanged{false}; });
    if (found->is_uplink) return;
    if (found->down_timer) end_unheard(found->number, found->down_us);
    core().timers.stop(found->down_timer);
    if (found->fast_leave || last_member_query_time() == 0) {
        end_unheard(found->number, core().now_us);
    } else {
        start_down_timer(*found);
    }
}

}  // namespace mcore
