// The multicast core: IGMP and MLD of a snooping switch, a proxy and a querier. It takes the place
// of the closed protocol core, so that the library runs on any machine: it defines all of
// platform/protocol_core.h and platform/pal.h, after the RFCs and what these headers promise. What
// they leave open is settled here as its files say, and need not be what the closed core does.
// docs/rfc.md holds it against the RFCs, statement by statement.
//
// This header is what it offers besides: its clock, and a look into its tables and counters. Only
// the node and the tests use it. All functions may be called from any thread.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mcore {

// ---- Clock --------------------------------------------------------------------------------------

// The core has one clock, in microseconds, and whoever drives the node moves it: it stands still
// otherwise. Moving it runs every timer that falls due on the way, in the order in which they are
// due and each at its own time, before set_clock returns. A time in the past changes nothing.
void set_clock(std::uint64_t now_us);
[[nodiscard]] std::uint64_t clock_us();

// When the next timer is due; nothing when none runs.
[[nodiscard]] std::optional<std::uint64_t> next_timer();

// Tells whoever keeps the clock when it has to be moved next: changed is called each time that
// next_timer() gives something else than before, on the thread that caused it. It must not call the
// core. An empty function ends it.
void watch_timers(std::function<void(std::optional<std::uint64_t> due_us)> changed);

// A fresh core: no settings, call-backs, memberships or counts, and the clock at 0. For tests.
void reset();

// What the random delays follow from. The seed is the same unless it is set, and so is then all
// that the core does; a live node sets it, or it would answer in step with others.
void seed_chance(std::uint64_t seed);

// Tells when IGMP enters proxy mode and when it leaves it, at the end of the change and under the
// core's lock. What is told may set the mode of MLD and nothing else. An empty function ends it.
void watch_proxy_mode(std::function<void(bool is_proxy)> changed);

// ---- Bounds -------------------------------------------------------------------------------------

// How much the core keeps, so that what one port sends can neither fill the memory nor slow down
// the others. No real network meets the defaults. What is beyond a bound is refused and counted,
// and what is there stays; the first refusal of a port is said on the console.
struct Bounds {
    std::uint32_t sources_per_host = 512;      // of one group; a report has no room for more
    std::uint32_t sources_per_group = 2048;    // different ones, behind one port
    std::uint32_t hosts_per_group = 1024;      // behind one port
    std::uint32_t groups_per_port = 4096;      // of each family
    std::uint32_t addresses_per_port = 32768;  // hosts and sources of all groups together
    std::uint32_t control_list_ranges = 4096;  // of a port; addresses in a row are one range
};

// None of them 0. They hold for what comes from now on, and outlive igmp_data_init.
void set_bounds(const Bounds& bounds);

// ---- Addresses ----------------------------------------------------------------------------------

// 16 bytes for both families; an IPv4 address is in the first four and the others are 0.
using Address = std::array<std::uint8_t, 16>;

enum class Family : std::uint8_t { kIpv4 = 4, kIpv6 = 6 };

// "239.1.1.1" or "ff1e::101".
[[nodiscard]] std::string text(Family family, const Address& address);

// What the core's own IGMP messages leave from, in host order: as igmp_globle_proxyip_set has it.
// It is replaced only if it is still `from`, which is whether nobody else has set one meanwhile.
[[nodiscard]] std::uint32_t proxy_ip();
bool replace_proxy_ip(std::uint32_t from, std::uint32_t to);

// What its own MLD messages leave from (RFC 3810, 5.1.14 and 5.2.13: a link-local address); it is
// made of the proxy address as long as none is set. It outlives igmp_data_init.
void set_link_local(const Address& address);

// ---- Memberships --------------------------------------------------------------------------------

// One group that a port receives in one VLAN.
struct Membership {
    std::uint32_t port = 0;
    std::uint16_t vlan = 0;
    Family family = Family::kIpv4;
    Address group{};
    std::uint8_t version = 0;        // IGMP 1 to 3 or MLD 1 to 2: the oldest that a reporter speaks
    bool exclude = true;             // the sources are those not wanted, else the only ones wanted
    std::vector<Address> sources;    // sorted
    std::vector<Address> reporters;  // sorted; empty while a leave waits for an answer
    std::uint64_t joined_us = 0;
    std::optional<std::uint64_t> expires_us;  // nothing when it does not age
    bool programmed = false;                  // the switch has the entry
};

// All of them, sorted by port, VLAN, family and group.
[[nodiscard]] std::vector<Membership> memberships();

// A port has lost its link, or is in the switch no more: nobody behind it can answer a query. Its
// memberships end at once with fast leave, otherwise after the last member query time unless they
// are reported anew until then. Other ports are left alone, and so is a number that is no user
// port.
void link_down(std::uint32_t port);

// A group that proxy mode reports upstream, or whose end is still being reported.
struct UpstreamGroup {
    Family family = Family::kIpv4;
    std::uint16_t vlan = 0;
    Address group{};
    bool exclude = false;
    std::vector<Address> sources;          // sorted
    std::uint8_t version = 0;              // in which the router of the VLAN is spoken to
    std::uint8_t reports_left = 0;         // so often is the last change still to be repeated
    std::optional<std::uint64_t> answers;  // when a query is answered; nothing when none waits
};

// All of them, sorted by family, VLAN and group.
[[nodiscard]] std::vector<UpstreamGroup> upstream_groups();

// Which sources are wanted: those listed, or all others (RFC 3376, 3).
struct Filter {
    bool exclude = false;
    std::vector<Address> sources;  // sorted

    bool operator==(const Filter&) const = default;
};

inline bool wants_all(const Filter& filter) { return filter.exclude && filter.sources.empty(); }

// What an entry of the switch is for.
struct EntryOwner {
    std::uint32_t port = 0;
    std::uint16_t vlan = 0;
    Family family = Family::kIpv4;
    Address group{};
    Filter filter{true, {}};  // see watch_filters; nothing is meant by it when the entry goes
};

// For a driver whose entries are by group: the call for an entry carries the MAC address only,
// which several groups share. Inside such a call this is the group that the core makes or removes
// the entry for; nothing when the call comes from elsewhere.
[[nodiscard]] std::optional<EntryOwner> entry_in_hand();

// For a driver whose entries are by source too. A membership's filter is what its hosts want
// together, and what they have given up while others are still asked for it. changed is called with
// each membership in the switch whose filter has become another one, those that are there already
// at once, on the thread that caused it. It must not call the core. An entry that is being made has
// its first filter in hand. A filter that says more than most_sources counts as one that wants
// all, and so does every filter while nobody watches. An empty function ends it.
void watch_filters(std::size_t most_sources, std::function<void(const EntryOwner& owner)> changed);

// ---- Links --------------------------------------------------------------------------------------

// A port has a link again: who is behind it is asked at once.
void link_up(std::uint32_t port);

// ---- Router ports -------------------------------------------------------------------------------

enum class RouterSign : std::uint8_t { kQuery, kAdvertisement };

// A router behind a user port, as one of its signs shows it.
struct RouterPort {
    std::uint32_t port = 0;
    std::uint16_t vlan = 0;
    Family family = Family::kIpv4;
    RouterSign sign = RouterSign::kQuery;
    Address address{};
    std::uint64_t expires_us = 0;  // unless it is heard again
};

// All of them, sorted by port, VLAN, family, sign and address.
[[nodiscard]] std::vector<RouterPort> router_ports();

// Tells whoever switches the streams which user ports are to get all of them: changed is called
// with each that is a router port or is it no more, those that are one already at once, on the
// thread that caused it. It must not call the core. An empty function ends it.
void watch_router_ports(std::function<void(std::uint32_t port, bool is_router)> changed);

// ---- Counters -----------------------------------------------------------------------------------

enum class Received : std::uint8_t {
    kIgmpV1Report,
    kIgmpV2Report,
    kIgmpLeave,
    kIgmpV3Report,
    kIgmpQuery,
    kMldV1Report,
    kMldDone,
    kMldV2Report,
    kMldQuery,
    kIgmpDiscovery,  // of routers (RFC 4286)
    kMldDiscovery,
};

// Why a packet, or one group record of it, came to nothing. A packet of an understood kind is
// counted as received as well. At a bound it may be some sources only that are refused, and at that
// of the control list it is a command.
enum class Drop : std::uint8_t {
    kBadLength,          // shorter than its headers, or longer than a frame
    kNotIp,              // not this version of IP, or neither IGMP nor ICMPv6 in it
    kFragment,           // a piece of an IPv4 packet
    kIpChecksum,         // of the IPv4 header
    kChecksum,           // of the IGMP or MLD message
    kUnknownType,        // no message type of IGMP or MLD
    kTruncated,          // records or sources that do not fit into the message
    kHopLimit,           // a message with another TTL or hop limit than 1
    kNoRouterAlert,      // an MLD message without that option
    kSource,             // an MLD message from an address that is not link-local
    kUnspecifiedSource,  // an MLD message from ::
    kUnknownPort,        // a port that was not declared
    kUnknownVlan,        // a VLAN that is neither the default nor listed, nor being learnt
    kReportFromUplink,   // hosts are on user ports
    kLeaveInVersion1,    // as a router of IGMPv1 ignores it
    kNotMulticast,       // the group is no multicast address
    kLinkLocalGroup,     // traffic of such a group is always flooded
    kSourceNeeded,       // a group of the SSM range without a source
    kSsmOlderVersion,    // likewise, in a message that cannot name one
    kOlderHostPresent,   // a leave beside a host of IGMPv1
    kNotAuthorised,      // by range, list or control list
    kGroupLimit,
    kBandwidthLimit,
    kSourceBound,       // sources of a host
    kGroupSourceBound,  // sources of a group
    kHostBound,         // hosts of a group
    kGroupBound,        // groups of a port
    kAddressBound,      // hosts and sources of a port
    kControlListBound,
    kRouterBound,  // routers behind a port
};

enum class Sent : std::uint8_t {
    kIgmpGeneralQuery,
    kIgmpGroupQuery,
    kIgmpReport,
    kIgmpLeave,
    kMldGroupQuery,
    kIgmpSourceQuery,
    kMldSourceQuery,
    kMldReport,
    kMldDone,
    kMldGeneralQuery,
    kIgmpRelayed,  // a host's report or leave, to a router port
    kMldRelayed,
};

inline constexpr std::size_t kReceivedKinds = static_cast<std::size_t>(Received::kMldDiscovery) + 1;
inline constexpr std::size_t kDropReasons = static_cast<std::size_t>(Drop::kRouterBound) + 1;
inline constexpr std::size_t kSentKinds = static_cast<std::size_t>(Sent::kMldRelayed) + 1;

// Texts such as "IGMPv2 report", "wrong checksum" and "IGMP general query".
[[nodiscard]] std::string_view name(Received kind);
[[nodiscard]] std::string_view name(Drop reason);
[[nodiscard]] std::string_view name(Sent kind);

// Whether it was a host's wish, whole or in part, that was understood and not granted.
[[nodiscard]] bool is_refused_join(Drop reason);

struct Counters {
    std::array<std::uint64_t, kReceivedKinds> received{};
    std::array<std::uint64_t, kDropReasons> drops{};
    std::array<std::uint64_t, kSentKinds> sent{};

    // Switch entries, as the registered call-backs answered.
    std::uint64_t entries_added = 0;
    std::uint64_t entries_removed = 0;
    std::uint64_t add_failures = 0;
    std::uint64_t remove_failures = 0;

    [[nodiscard]] std::uint64_t operator[](Received kind) const {
        return received[static_cast<std::size_t>(kind)];
    }
    [[nodiscard]] std::uint64_t operator[](Drop reason) const {
        return drops[static_cast<std::size_t>(reason)];
    }
    [[nodiscard]] std::uint64_t operator[](Sent kind) const {
        return sent[static_cast<std::size_t>(kind)];
    }
};

[[nodiscard]] Counters counters();

}  // namespace mcore
