#include "node/live/bridge.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>
#include <utility>

#include "node/live/live_error.h"

namespace live {
namespace {

constexpr std::chrono::milliseconds kUntilHeeded{150};

constexpr std::chrono::seconds kAddressPatience{3};
constexpr std::chrono::milliseconds kAddressLook{50};

// "lan1, lan2"
std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
    return text;
}

}  // namespace

Bridge::Bridge(std::string name, const std::vector<PortInterface>& ports, Say say,
               PortIsNew port_is_new)
    : name_(std::move(name)),
      say_(std::move(say)),
      port_is_new_(std::move(port_is_new)),
      entries_(database_, say_),
      state_(name_, say_) {
    for (const PortInterface& each : ports) {
        Port port;
        port.interface = each.interface;
        port.called = name_of(each) + " (" + each.interface + ")";
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
    // The node's entries have no VLAN, and a bridge that filters VLANs looks for none without.
    if (bridge->filters_vlans) {
        throw LiveError(name_ +
                        ": with vlan_filtering on it heeds no entry of the node; switch it off: "
                        "ip link set dev " +
                        name_ + " type bridge vlan_filtering 0");
    }
    for (const auto& port : ports_) {
        if (!port) continue;
        const auto link = find_link(netlink_, port->interface);
        if (!link) throw LiveError(port->called + ": there is no such interface");
        if (link->bridge != bridge->index) {
            throw LiveError(port->called + ": is no port of " + name_);
        }
    }
    require_right_to_change(netlink_, name_, *bridge);
}

void Bridge::begin() {
    require_everything();
    const auto bridge = find_link(netlink_, name_);
    if (!bridge || !bridge->bridged) throw LiveError(name_ + ": has just gone");
    left_ = state_.read();
    take_bridge(*bridge);
    take_what_was_left();
    entries_.take_back(true);
    look_at_ports();
    left_.reset();
    keep_record();
    link_changes_.clear();  // who is there from the beginning is asked when the core starts
    look_whether_on();
    // Before the bridge becomes a querier: no query of it must reach a host.
    rules_ = wanted_rules();
    if (const std::string error = guard_.put_up(rules_); !error.empty()) {
        throw LiveError("nftables: " + error);
    }
    await_link_local();
    keep_settings();
    look_at_link_local();
    std::this_thread::sleep_for(kUntilHeeded);
    (void)entries_.put_back();  // there is nothing yet: it counts the groups of others
}

void Bridge::end() {
    entries_.take_back(false);
    give_back_settings();
    guard_.take_down();
    state_.remove();
}

Bridge::Port* Bridge::port_at(std::size_t slot) { return ports_[slot] ? &*ports_[slot] : nullptr; }

// ---- The bridge itself --------------------------------------------------------------------------

void Bridge::take_bridge(const Link& link) {
    bridge_ = link;
    before_ = original_settings(link, left_);
    keep_record();
    settings_kept_ = false;
    // One that asks already is not to be interrupted.
    const bool asks = (*link.bridged)[static_cast<std::size_t>(BridgeSetting::kQuerier)] != 0;
    link_local_ = asks ? LinkLocal::kUsable : LinkLocal::kTentative;
    entries_.use_bridge(link.index, name_, link.hash_max);
}

// Until the next one heeds its database, it would flood.
void Bridge::lose_bridge() {
    hold_back();
    bridge_.reset();
    before_.reset();
    forget_routers();
    entries_.use_bridge(0, name_, 0);
    say_(name_ + " is gone: streams are not switched until it is back");
}

// Its streams are kept from the users until it has been asked to heed its database, and does.
void Bridge::hold_back() {
    is_flooding_ = true;
    heeds_at_ = Clock::time_point::max();
}

// From the settings on; when it gets an address it is asked again.
std::chrono::milliseconds Bridge::until_heeded() const {
    return link_local_ == LinkLocal::kTentative ? kAddressPatience : kUntilHeeded;
}

// Sets what is not as the node needs it. Once it has been, it is somebody else who has changed it.
void Bridge::keep_settings() {
    std::vector<std::string> changed;
    for (std::size_t i = 0; i < kBridgeSettings; ++i) {
        if ((*bridge_->bridged)[i] == kWanted[i]) continue;
        const int error =
            set_bridge(netlink_, bridge_->index, static_cast<BridgeSetting>(i), kWanted[i]);
        if (error != 0) {
            say_(name_ + ": its settings cannot be changed: " + std::strerror(error));
            return;
        }
        changed.emplace_back(kBridgeSettingNames[i]);
    }
    if (std::exchange(settings_kept_, true) && !changed.empty()) {
        say_less(outside_.settings, name_ + ": somebody has changed " + joined(changed) +
                                        "; the node has set it back");
    }
}

void Bridge::give_back_settings() {
    give_back(netlink_, originals());
    forget_routers();
}

void Bridge::forget_routers() {
    // cppcheck-suppress constVariable ; what the port knows is changed
    for (auto& port : ports_) {
        if (port) port->router_before.reset();
    }
}

// Of the ports that a killed node had, those count that this one has not looked at yet.
Originals Bridge::originals() const {
    Originals originals;
    if (left_ && bridge_ && left_->bridge == bridge_->index) originals.ports = left_->ports;
    for (const auto& port : ports_) {
        if (!port || !port->router_before) continue;
        originals.ports[port->interface] = {port->index, *port->router_before};
    }
    if (!bridge_ || !before_) return originals;
    originals.bridge = bridge_->index;
    originals.settings = *before_;
    return originals;
}

// To be called whenever there is something new to be given back, before it is changed.
void Bridge::keep_record() {
    if (bridge_ && before_) state_.write(originals());
}

// Ports that the killed node had and this one does not have get back theirs at once.
void Bridge::take_what_was_left() {
    if (!left_ || left_->bridge != bridge_->index) return;
    say_(name_ + ": a node was killed; what it had found, as " + state_.path() +
         " says, is given back at the end");
    for (const auto& [interface, port] : left_->ports) {
        const auto is_called = [&name = interface](const std::optional<Port>& one) {
            return one && one->interface == name;
        };
        const auto link = find_link(netlink_, interface);
        if (!link || !link->port || std::ranges::any_of(ports_, is_called)) continue;
        const std::uint8_t before = original_router(interface, *link, left_);
        static_cast<void>(set_multicast_router(netlink_, link->index, before));
    }
}

// Switched off it switches nothing and takes no entry; without a carrier it only has no port up.
void Bridge::look_whether_on() {
    if (bridge_->on == is_on_) return;
    is_on_ = bridge_->on;
    if (!is_on_) hold_back();
    say_(name_ + (is_on_ ? " is up again" : " is down: streams are not switched until it is up"));
}

// Not switched off again: whoever has switched it on wants his VLANs apart.
void Bridge::look_at_vlan_filtering() {
    if (bridge_->filters_vlans == filters_vlans_) return;
    filters_vlans_ = bridge_->filters_vlans;
    say_(name_ + (filters_vlans_
                      ? ": vlan_filtering is on now: streams are not switched until it is off"
                      : ": vlan_filtering is off again"));
}

// An address of its own takes a machine a second or two to make sure of.
void Bridge::await_link_local() {
    const auto until = Clock::now() + kAddressPatience;
    while (find_link_local(netlink_, bridge_->index) == LinkLocal::kTentative) {
        if (Clock::now() > until) break;
        std::this_thread::sleep_for(kAddressLook);
    }
}

// Without a link-local address the bridge makes no MLD queries, and without queries it does not
// heed its IPv6 entries: it floods. With one, it is to ask at once.
void Bridge::look_at_link_local() {
    // Switched off it has none, which then is not the point.
    const LinkLocal before = link_local_;
    link_local_ = is_on_ ? find_link_local(netlink_, bridge_->index) : LinkLocal::kTentative;
    if (link_local_ == LinkLocal::kNone && !said_no_link_local_) {
        said_no_link_local_ = true;
        say_(name_ + " has no link-local IPv6 address: until it has, it floods IPv6 streams");
    }
    if (link_local_ != LinkLocal::kUsable || before == LinkLocal::kUsable) return;
    if (std::exchange(said_no_link_local_, false)) {
        say_(name_ + " has a link-local IPv6 address now");
    }
    static_cast<void>(set_bridge(netlink_, bridge_->index, BridgeSetting::kQuerier, 0));
    static_cast<void>(set_bridge(netlink_, bridge_->index, BridgeSetting::kQuerier, 1));
    heeds_at_ = Clock::now() + kUntilHeeded;
}

void Bridge::recover_from_overflow() {
    if (!bridge_) return;
    static_cast<void>(set_bridge(netlink_, bridge_->index, BridgeSetting::kSnooping, 1));
}

// ---- Looking ------------------------------------------------------------------------------------

std::optional<std::chrono::milliseconds> Bridge::look() {
    const auto link = find_link(netlink_, name_);
    const bool is_there = link && link->bridged;
    const bool is_new = is_there && (!bridge_ || bridge_->index != link->index);
    if (bridge_ && (!is_there || is_new)) lose_bridge();
    if (is_new) {
        take_bridge(*link);
        say_(name_ + " is back");
    } else if (is_there) {
        bridge_ = link;
        entries_.use_bridge(link->index, name_, link->hash_max);
    }
    look_at_ports();
    if (is_there) {
        look_whether_on();
        look_at_vlan_filtering();
    }
    if (Clock::now() >= heeds_at_) is_flooding_ = false;
    look_at_rules();
    if (is_there) {
        keep_settings();
        look_at_link_local();
        if (is_flooding_ && is_on_) heeds_at_ = std::min(heeds_at_, Clock::now() + until_heeded());
    }
    put_entries_back();
    if (is_there && is_on_ && is_flooding_) return kUntilHeeded;
    return std::nullopt;
}

void Bridge::put_entries_back() {
    const bool are_gone = std::exchange(entries_gone_, false);
    const std::size_t count = entries_.put_back();
    if (count == 0) return;
    const std::string line =
        "put " + std::to_string(count) + " groups back into the multicast database of " + name_;
    if (are_gone) {
        say_less(outside_.entries, line + ": somebody has removed entries of the node");
    } else {
        say_(line);
    }
}

bool Bridge::note_removal(int bridge, const DatabaseEntry& gone) {
    if (!bridge_ || bridge != bridge_->index || !entries_.is_needed(gone)) return false;
    entries_gone_ = true;
    return true;
}

void Bridge::say_less(report::Recurring& recurring, const std::string& line) {
    if (!recurring.is_due()) return;
    const std::uint64_t times = recurring.times();
    say_(times == 1 ? line : line + " (" + std::to_string(times) + " times by now)");
}

std::vector<Bridge::LinkChange> Bridge::take_link_changes() {
    return std::exchange(link_changes_, {});
}

void Bridge::look_at_ports() {
    for (std::size_t slot = 0; slot < driver::kSlots; ++slot) {
        if (Port* const port = port_at(slot)) look_at_port(slot, *port);
    }
    if (routers_changed_.empty()) return;
    say_less(outside_.routers, "somebody has changed mcast_router of " + joined(routers_changed_) +
                                   "; the node has set it back");
    routers_changed_.clear();
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
    const bool is_another = index != port.index;  // made again, perhaps between two looks
    const bool was_up = port.state == PortState::kUp;
    const bool is_up = now == PortState::kUp;
    // Where it is the bridge that is gone, the hosts are still there, and so is what they want.
    if (was_up && bridge_ && (!is_up || is_another)) link_changes_.push_back({slot, false});
    if (is_another) {
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
    if (is_up && (is_another || !was_up)) link_changes_.push_back({slot, true});
    port.state = now;
}

void Bridge::set_router_port(std::size_t slot, bool is_router) {
    Port* const port = port_at(slot);
    if (port == nullptr || std::exchange(port->has_router, is_router) == is_router) return;
    say_(port->called + (is_router ? " has a router behind it: it gets every stream"
                                   : " has no router behind it any more"));
    // In the bridge now. The kernel makes news of it, so that the next look renews the rules: that
    // takes nftables, and more stack than the library's tasks have.
    if (port->router_before) set_router(*port, gets_everything(*port) ? kRouter : kNoRouter);
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

// Everything unknown goes to the uplink and nothing of it to a user port without a router.
void Bridge::keep_port_settings(Port& port, const Link& link) {
    const std::uint8_t wanted = gets_everything(port) ? kRouter : kNoRouter;
    const bool was_set = port.router_before.has_value();
    if (!was_set) {
        port.router_before = original_router(port.interface, link, left_);
        keep_record();
    }
    if (link.port->multicast_router == wanted) return;
    set_router(port, wanted);
    if (was_set) routers_changed_.push_back(port.interface);
}

void Bridge::set_router(const Port& port, std::uint8_t wanted) {
    const int error = set_multicast_router(netlink_, port.index, wanted);
    if (error != 0) say_(port.called + ": its settings cannot be changed: " + std::strerror(error));
}

void Bridge::look_at_rules() {
    const std::string rules = wanted_rules();
    const bool is_touched =
        std::exchange(rules_touched_, false) && rules == rules_ && !guard_.is_untouched();
    if (rules == rules_ && !is_touched) return;
    const std::string error = guard_.put_up(rules);
    rules_ = error.empty() ? rules : "";
    if (!error.empty()) {
        say_("nftables: " + error);
    } else if (is_touched) {
        say_less(outside_.rules,
                 "somebody has changed the mc_node tables of nftables; the node has put them back");
    }
}

std::string Bridge::wanted_rules() const {
    GuardedBridge guarded{bridge_ ? name_ : "", is_flooding_, {}};
    for (const auto& port : ports_) {
        if (!port) continue;
        const bool is_in = port->state == PortState::kUp || port->state == PortState::kDown;
        guarded.ports.push_back({port->interface, gets_everything(*port), port->isolated, is_in});
    }
    std::string rules = guard_rules(guarded);
    // A chain of an interface that was deleted is gone, though the rules have not changed.
    for (const auto& port : ports_) {
        if (port) rules += "# " + port->interface + " " + std::to_string(port->index) + "\n";
    }
    return rules;
}

}  // namespace live
