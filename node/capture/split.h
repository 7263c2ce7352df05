// One capture that holds all ports: which of its frames comes in at which port, by who sent it.
//
//      first pass   note() each frame       who sends, what shows a router
//      settle()                             who gets which port
//      second pass  port_of() each frame
//
// The first that fits decides about a frame:
//
//      1  its address stands in the table                       the port there, or the uplink
//      2  its address ever sent what only routers send          uplink, from its first frame on
//      3  its VLAN stands in the table                          the port there
//      4  hosts by VLAN: its VLAN; else: its address            a port of its own
//      5  it ends before its source address does                port 0
//
// Ports of one's own are those that no line of the table names, in order of appearance: first who
// sends IGMP or MLD, by their first such frame, then who never does, so that a wire full of other
// traffic leaves the ports to those that need them. The last such port is shared by all that come
// after; where the table names every port, they share port 5.
//
// The VLAN is the one of the outer tag, 802.1Q or 802.1ad; a tag of VID 0 is none (802.1Q, 9.6).
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "node/capture/router_signs.h"
#include "node/driver/driver.h"

namespace capture {

inline constexpr std::uint16_t kNoVlan = 0;

// What stands in the table for an address or a VLAN.
struct Placed {
    std::uint8_t port;
    std::size_t line;
};

struct SplitRules {
    bool hosts_by_vlan = false;                        // else by address
    std::optional<std::string> table;                  // the file, where there is one
    std::map<driver::MacAddress, Placed> addresses{};  // hosts, and routers at the uplink
    std::map<std::uint16_t, Placed> vlans{};
};

struct Sender {
    driver::MacAddress mac;
    std::uint16_t vlan;

    auto operator<=>(const Sender&) const = default;
};

// Nothing for a frame that ends before it says.
[[nodiscard]] std::optional<Sender> sender_of(std::span<const std::uint8_t> frame);

// ---- First pass ---------------------------------------------------------------------------------

struct FramesSeen {
    static constexpr std::uint64_t kNever = UINT64_MAX;

    std::uint64_t frames = 0;
    std::uint64_t messages = 0;    // of these: IGMP and MLD
    std::uint64_t first = kNever;  // counted in frames of the capture
    std::uint64_t first_message = kNever;
};

struct Seen {
    std::uint64_t frames = 0;
    std::map<Sender, FramesSeen> senders{};
    std::map<driver::MacAddress, RouterSigns> routers{};
    FramesSeen without_sender{};
};

void note(Seen& seen, std::span<const std::uint8_t> frame);

// ---- Ports --------------------------------------------------------------------------------------

// To whom a port is given: everything that an address sends, or a VLAN, or what has no sender.
struct Party {
    enum class Kind : std::uint8_t { kAddress, kVlan, kNone };

    Kind kind = Kind::kNone;
    driver::MacAddress mac{};
    std::uint16_t vlan = kNoVlan;

    auto operator<=>(const Party&) const = default;
};

enum class Why : std::uint8_t {
    kTable,
    kRouter,
    kHost,        // a port of its own
    kSilentHost,  // the same, though it sent no IGMP or MLD
    kNoSender,
};

struct SplitRow {
    Party party;
    FramesSeen seen;
    std::uint8_t port;
    Why why;
    bool is_shared;     // its port is that of another party, too
    std::size_t line;   // of the table
    RouterSigns signs;  // by which it was told
};

struct Split {
    SplitRules rules;
    std::map<driver::MacAddress, RouterSigns> routers;
    std::map<Party, std::uint8_t> ports;
    std::uint8_t late_port;      // of hosts that the first pass did not see
    std::vector<SplitRow> rows;  // by port, then in order of appearance
};

[[nodiscard]] Split settle(SplitRules rules, const Seen& seen);

[[nodiscard]] std::uint8_t port_of(const Split& split, std::span<const std::uint8_t> frame);

}  // namespace capture
