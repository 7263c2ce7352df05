#include "node/live/bridge.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "node/live/live_error.h"

namespace live {
namespace {

// The database is in effect once the bridge's own querier has had this time for answers; nobody
// answers it, as its queries do not leave.
constexpr std::uint64_t kQueryResponse = 10;  // hundredths of a second, a multiple of any tick

std::string called(const PortInterface& port) {
    const std::string name =
        port.port == driver::kUplinkPort ? "uplink" : "port " + std::to_string(port.port);
    return name + " (" + port.interface + ")";
}

LiveError refusal(const std::string& what, int error) {
    const char* const hint = error == EPERM ? " (CAP_NET_ADMIN is needed)" : "";
    return LiveError(what + ": " + std::strerror(error) + hint);
}

}  // namespace

Bridge::Bridge(std::string name, const std::vector<PortInterface>& ports, Say say,
               PortIsNew port_is_new)
    : name_(std::move(name)),
      say_(std::move(say)),
      port_is_new_(std::move(port_is_new)),
      entries_(database_, say_) {
    for (const PortInterface& each : ports) {
        Port port;
        port.interface = each.interface;
        port.called = called(each);
        port.is_user = each.port != driver::kUplinkPort;
        ports_[*driver::slot_of_port(each.port)] = port;
    }
}

driver::MacAddress Bridge::mac() const { return bridge_ ? bridge_->mac : driver::MacAddress{}; }

// ---- Beginning and end --------------------------------------------------------------------------

void Bridge::require_everything() {
    const auto bridge = find_link(netlink_, name_);
    if (!bridge) throw LiveError(name_ + ": there is no such interface");
    if (!bridge->bridged) throw LiveError(name_ + ": is no bridge");
    for (const auto& port : ports_) {
        if (!port) continue;
        const auto link = find_link(netlink_, port->interface);
        if (!link) throw LiveError(port->called + ": there is no such interface");
        if (link->bridge != bridge->index) {
            throw LiveError(port->called + ": is no port of " + name_);
        }
    }
    // Asks for what is there already: only to see whether it may be changed.
    const int error = set_snooping(netlink_, bridge->index, bridge->bridged->snooping);
    if (error != 0) throw refusal(name_ + ": its settings cannot be changed", error);
}

void Bridge::begin() {
    require_everything();
    const auto bridge = find_link(netlink_, name_);
    if (!bridge || !bridge->bridged) throw LiveError(name_ + ": has just gone");
    take_bridge(*bridge);
    entries_.take_back(true);
    for (std::size_t slot = 0; slot < driver::kSlots; ++slot) {
        if (Port* const port = port_at(slot)) look_at_port(slot, *port);
    }
    const std::string error = put_up_guard();
    if (!error.empty()) throw LiveError("nftables: " + error);
}

void Bridge::end() {
    entries_.take_back(false);
    give_back_settings();
    guard_.take_down();
}

Bridge::Port* Bridge::port_at(std::size_t slot) { return ports_[slot] ? &*ports_[slot] : nullptr; }

// ---- The bridge itself --------------------------------------------------------------------------

void Bridge::take_bridge(const Link& link) {
    bridge_ = link;
    before_ = link.bridged;
    entries_.use_bridge(link.index, name_, link.bridged->hash_max);
    keep_settings();
}

void Bridge::lose_bridge() {
    bridge_.reset();
    before_.reset();
    entries_.use_bridge(0, name_, 0);
    say_(name_ + " is gone: streams are not switched until it is back");
}

/* Sets what is not as the node needs it. */
void Bridge::keep_settings() {
    const BridgeSettings& now = *bridge_->bridged;
    int error = 0;
    if (!now.snooping) error = set_snooping(netlink_, bridge_->index, true);
    if (error == 0 && now.query_response_interval != kQueryResponse) {
        error = set_query_response_interval(netlink_, bridge_->index, kQueryResponse);
    }
    if (error == 0 && !now.querier) error = set_querier(netlink_, bridge_->index, true);
    if (error != 0) say_(name_ + ": its settings cannot be changed: " + std::strerror(error));
}

void Bridge::give_back_settings() {
    for (auto& port : ports_) {
        if (!port || !port->router_before) continue;
        (void)set_multicast_router(netlink_, port->index, *port->router_before);
        port->router_before.reset();
    }
    if (!bridge_ || !before_) return;
    (void)set_querier(netlink_, bridge_->index, before_->querier);
    (void)set_query_response_interval(netlink_, bridge_->index, before_->query_response_interval);
    (void)set_snooping(netlink_, bridge_->index, before_->snooping);
}

void Bridge::restart_querier() {
    if (!bridge_) return;
    (void)set_querier(netlink_, bridge_->index, false);
    (void)set_querier(netlink_, bridge_->index, true);
}

void Bridge::recover_from_overflow() {
    if (bridge_) (void)set_snooping(netlink_, bridge_->index, true);
}

// ---- Looking ------------------------------------------------------------------------------------

void Bridge::look() {
    const auto link = find_link(netlink_, name_);
    const bool is_there = link && link->bridged;
    const bool is_new = is_there && (!bridge_ || bridge_->index != link->index);
    if (bridge_ && (!is_there || is_new)) lose_bridge();
    if (is_new) {
        take_bridge(*link);
        say_(name_ + " is back");
    } else if (is_there) {
        bridge_ = link;
        entries_.use_bridge(link->index, name_, link->bridged->hash_max);
        keep_settings();
    }
    for (std::size_t slot = 0; slot < driver::kSlots; ++slot) {
        if (Port* const port = port_at(slot)) look_at_port(slot, *port);
    }
    const std::string error = put_up_guard();
    if (!error.empty()) say_("nftables: " + error);
    if (const std::size_t count = entries_.put_back(); count > 0) {
        say_("put " + std::to_string(count) + " groups back into the multicast database of " +
             name_);
    }
}

Bridge::PortState Bridge::state_of(const std::optional<Link>& link) const {
    if (!link) return PortState::kMissing;
    if (!bridge_ || link->bridge != bridge_->index) return PortState::kOutside;
    return link->up ? PortState::kUp : PortState::kDown;
}

void Bridge::look_at_port(std::size_t slot, Port& port) {
    const auto link = find_link(netlink_, port.interface);
    const PortState now = state_of(link);
    const int index = link ? link->index : 0;
    if (index != port.index) {
        port.index = index;
        port.router_before.reset();
        port_is_new_(slot, index);
    }
    const bool is_in = now == PortState::kUp || now == PortState::kDown;
    if (is_in) {
        port.isolated = link->port->isolated;
        keep_port_settings(port, *link);
    } else {
        port.router_before.reset();
    }
    entries_.use_port(slot, is_in ? index : 0, port.called);
    if (now != port.state) say_state(port, now);
    port.state = now;
}

void Bridge::say_state(const Port& port, PortState now) {
    switch (now) {
        case PortState::kMissing:
            say_(port.called + " is gone: waiting for it to come back");
            break;
        case PortState::kOutside:
            // That the bridge is gone has been said.
            if (bridge_) say_(port.called + " is in " + name_ + " no more");
            break;
        case PortState::kDown:
            say_(port.called + " is down");
            break;
        case PortState::kUp:
            // At the beginning everything is as it should be.
            if (port.state == PortState::kMissing && rules_.empty()) break;
            say_(port.called + (port.state == PortState::kDown ? " is up again" : " is back"));
            break;
    }
}

/* Everything unknown goes to the uplink and nothing of it to a user port. */
void Bridge::keep_port_settings(Port& port, const Link& link) {
    const std::uint8_t wanted = port.is_user ? kNoRouter : kRouter;
    if (!port.router_before) port.router_before = link.port->multicast_router;
    if (link.port->multicast_router == wanted) return;
    const int error = set_multicast_router(netlink_, link.index, wanted);
    if (error != 0) say_(port.called + ": its settings cannot be changed: " + std::strerror(error));
}

/* Nothing, or why not. */
std::string Bridge::put_up_guard() {
    std::vector<std::string> interfaces;
    std::vector<GuardedPort> there;
    for (const auto& port : ports_) {
        if (!port) continue;
        interfaces.push_back(port->interface);
        if (port->state != PortState::kUp && port->state != PortState::kDown) continue;
        there.push_back({port->interface, port->is_user, port->isolated});
    }
    std::string rules = guard_rules(bridge_ ? name_ : "", interfaces, there);
    // A chain of an interface that was deleted is gone, though the rules have not changed.
    for (const auto& port : ports_) {
        if (port) rules += "# " + port->interface + " " + std::to_string(port->index) + "\n";
    }
    if (rules == rules_) return {};
    const std::string error = guard_.put_up(rules);
    rules_ = error.empty() ? rules : "";
    return error;
}

}  // namespace live
