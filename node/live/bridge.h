// The bridge as the switch of the node: which of its ports are there, the settings that make its
// multicast database count, and the rules that keep it out of the node's business. Anything may be
// missing at any time, an interface, the bridge, a port in it. What is missing is said once, the
// rest goes on, and what was in place is put there again when it comes back.
//
// Not for several threads: the driver takes turns.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "node/driver/ports.h"
#include "node/live/addresses.h"
#include "node/live/arguments.h"
#include "node/live/entry_table.h"
#include "node/live/guard.h"
#include "node/live/links.h"
#include "node/live/netlink.h"
#include "node/live/originals.h"
#include "node/live/say.h"
#include "node/live/state_file.h"
#include "node/report/recurring.h"

namespace live {

class Bridge {
 public:
    // An interface that can be opened, under a new index; 0: it is gone.
    using PortIsNew = std::function<void(std::size_t slot, int index)>;

    Bridge(std::string name, const std::vector<PortInterface>& ports, Say say,
           PortIsNew port_is_new);

    // Puts everything in place. Throws LiveError when something is missing from the beginning.
    void begin();

    // Gives everything back: entries, settings, rules.
    void end();

    // Looks at all links afresh, says what has changed, and puts in place what can be. When it
    // comes back with a time, it is to be called again after that.
    [[nodiscard]] std::optional<std::chrono::milliseconds> look();

    // News: an entry is gone from the database of a bridge; whether it is time to look.
    [[nodiscard]] bool note_removal(int bridge, const DatabaseEntry& gone);
    void note_removals_lost() { entries_gone_ = true; }
    // News: the rules may have been changed.
    void note_rules_touched() { rules_touched_ = true; }

    // What has become of the links of ports since the last time it was asked, in that order. A port
    // that was taken out of the bridge has lost its link; one that was made again between two looks
    // has lost one and has another.
    struct LinkChange {
        std::size_t slot;
        bool is_up;
    };
    [[nodiscard]] std::vector<LinkChange> take_link_changes();

    // A router is behind a port now, or is it no more: such a port gets every stream.
    void set_router_port(std::size_t slot, bool is_router);

    // The kernel gives snooping up when the database overflows.
    void recover_from_overflow();

    [[nodiscard]] EntryTable& entries() { return entries_; }
    [[nodiscard]] const EntryTable& entries() const { return entries_; }
    [[nodiscard]] driver::MacAddress mac() const;

 private:
    using Clock = std::chrono::steady_clock;

    enum class PortState : std::uint8_t { kMissing, kOutside, kDown, kUp };

    struct Port {
        std::string interface;
        std::string called;  // "port 2 (eth3)"
        bool is_user = false;
        PortState state = PortState::kMissing;
        int index = 0;
        bool isolated = false;
        bool has_router = false;                    // behind it, on a user port
        std::optional<std::uint8_t> router_before;  // while ours is in force
    };

    // By somebody else, each kind for itself.
    struct OutsideChanges {
        report::Recurring settings;
        report::Recurring routers;
        report::Recurring entries;
        report::Recurring rules;
    };

    [[nodiscard]] Port* port_at(std::size_t slot);
    void require_everything();
    void take_bridge(const Link& link);
    void lose_bridge();
    void hold_back();
    [[nodiscard]] std::chrono::milliseconds until_heeded() const;
    void keep_settings();
    [[nodiscard]] Originals originals() const;
    void keep_record();
    void take_what_was_left();
    void give_back_settings();
    void forget_routers();
    void look_whether_on();
    void look_at_vlan_filtering();
    void look_at_link_local();
    void await_link_local();
    [[nodiscard]] PortState state_of(const std::optional<Link>& link) const;
    void look_at_ports();
    void look_at_port(std::size_t slot, Port& port);
    void say_state(const Port& port, PortState now);
    void keep_port_settings(Port& port, const Link& link);
    void set_router(const Port& port, std::uint8_t wanted);
    void look_at_rules();
    [[nodiscard]] std::string wanted_rules() const;
    void put_entries_back();
    void say_less(report::Recurring& recurring, const std::string& line);

    [[nodiscard]] static bool gets_everything(const Port& port) {
        return !port.is_user || port.has_router;
    }

    std::string name_;
    Say say_;
    PortIsNew port_is_new_;
    Netlink netlink_;
    MulticastDatabase database_{netlink_};
    EntryTable entries_;
    Guard guard_;
    driver::PerPort<std::optional<Port>> ports_;
    std::vector<LinkChange> link_changes_;  // not taken yet
    std::optional<Link> bridge_;            // as it was at the last look
    std::optional<BridgeSettings> before_;  // of this bridge, to be given back
    StateFile state_;
    std::optional<Originals> left_;             // of a killed node, at the beginning only
    std::string rules_;                         // in force
    bool rules_touched_ = false;                // perhaps, since the last look
    bool entries_gone_ = false;                 // likewise, perhaps by somebody else's doing
    bool settings_kept_ = false;                // those of this bridge have been set once
    std::vector<std::string> routers_changed_;  // ports that somebody else has set, not yet said
    OutsideChanges outside_;
    bool is_on_ = true;                          // as far as has been said
    bool filters_vlans_ = false;                 // likewise
    LinkLocal link_local_ = LinkLocal::kUsable;  // at the last look
    bool said_no_link_local_ = false;
    bool is_flooding_ = false;    // would, were it not kept from it
    Clock::time_point heeds_at_;  // when that is over
};

}  // namespace live
