// All that the core holds, under one lock.
//
// The lock is recursive and is taken at every door: the functions of platform/protocol_core.h and
// of multicast_core.h. The packet task, the command task and whoever moves the clock therefore
// take turns. Call-backs are called with the lock held, on the thread that came in. They may ask
// the core for something, but not change what it holds, nor wait for a thread that needs it.
#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "node/core/chance.h"
#include "node/core/control_list.h"
#include "node/core/multicast_core.h"
#include "node/core/tally.h"
#include "node/core/timers.h"
#include "platform/protocol_core.h"

namespace mcore {

// ---- Ports --------------------------------------------------------------------------------------

constexpr std::size_t kUserPorts = 6;  // numbers 0 to 5
constexpr std::size_t kPorts = kUserPorts + 1;
constexpr std::uint32_t kUplinkNumber = 29;
constexpr std::uint16_t kCoreUplink = 0xFFFF;  // the uplink again, where the core names it
constexpr std::uint32_t kAllPorts = 255;

constexpr std::uint16_t kLastVid = 4094;
constexpr std::uint16_t kEveryVlan = 0xFFFF;  // of an authorised range
constexpr IgmpUplinkTag kNoUplinkTag{0x8100, 0xFFFF, 0};

struct AuthRange {
    std::uint32_t start;
    std::uint32_t end;
    std::uint32_t bandwidth;
    std::uint16_t vlan;
};

struct Port {
    std::uint32_t number = 0;
    bool is_uplink = false;
    bool declared = false;  // to IGMP
    bool mld_declared = false;

    bool fast_leave = false;
    std::uint16_t group_limit = 0;  // 0: none
    bool bandwidth_limited = false;
    std::uint32_t bandwidth_limit = 0;
    std::uint16_t bandwidth_extra = 0;
    IgmpUplinkTag outer = kNoUplinkTag;
    IgmpUplinkTag inner = kNoUplinkTag;

    bool range_auth = false;
    std::vector<AuthRange> ranges;
    ControlList control_list;

    // While memberships from before it wait to be reported anew (port_down.cpp).
    std::uint64_t down_us = 0;
    std::optional<Timers::Id> down_timer;

    // The engine keeps them.
    std::uint32_t groups = 0;     // of IGMP
    std::uint64_t bandwidth = 0;  // of these
    std::uint32_t mld_groups = 0;
    std::uint32_t addresses = 0;   // hosts and sources of all groups, and of their questions
    std::uint64_t bounds_met = 0;  // a bit for each Drop that the console has been told of
};

// ---- Memberships --------------------------------------------------------------------------------

// What ages by itself: a host in exclude mode, or one source of a host in include mode.
struct Piece {
    std::uint64_t heard_us;
    const Address* host;    // the key of Group::hosts
    const Address* source;  // the key of Host::sources; null for the host
};
using Pieces = std::list<Piece>;

// What one host wants of a group. It holds the group in exclude mode, or with a source.
struct Host {
    std::uint8_t version = 0;
    bool exclude = false;
    std::map<Address, Pieces::iterator> sources;  // with a piece each in include mode only
    Pieces::iterator piece;                       // in exclude mode only
};
using Hosts = std::map<Address, Host>;

struct GroupKey {
    std::uint32_t port;
    std::uint16_t vlan;
    Family family;
    Address group;

    auto operator<=>(const GroupKey&) const = default;
};

// What a host has given up and nobody known wants besides, while the others are asked for it. It is
// as if a host wanted it: EXCLUDE(sources) if the group as a whole was given up, else
// INCLUDE(sources).
struct Question {
    bool is_of_group = false;
    std::vector<Address> sources;  // sorted
    std::uint8_t version = 0;      // of that host
    std::uint32_t queries_left = 0;
    std::optional<Timers::Id> timer;
};

struct LastMembers {
    std::list<Question> questions;  // the one asked first in front
    Tally tally;                    // of all questions
};

// A membership. Without hosts it has questions, and is taken away with the last of them.
struct Group {
    Hosts hosts;
    Pieces pieces;                              // of the hosts, the one heard longest ago first
    Tally tally;                                // of hosts and questions
    std::uint32_t addresses = 0;                // hosts and sources, likewise
    std::unique_ptr<LastMembers> last_members;  // null without questions
    Address last_reporter{};
    std::uint64_t joined_us = 0;
    bool programmed = false;
    bool wants_changed = false;   // since the filter was last made up
    Filter filter{true, {}};      // as the switch is told (entry_filter.h)
    std::uint32_t bandwidth = 0;  // as it was imputed when the group was joined
    std::optional<Timers::Id> age_timer;
};

// ---- Settings -----------------------------------------------------------------------------------

enum class Mode : std::uint8_t { kSnooping = 1, kProxy = 2, kControl = 3 };

// Of mld_proxy_snoop_set_globle; 2 is snooping and 3 control.
constexpr std::uint16_t kMldProxy = 1;

struct AgeSwitch {
    bool on = true;
    std::uint64_t since_us = 0;  // nothing ages for the time before
};

struct Settings {
    Mode mode = Mode::kSnooping;
    std::uint8_t version = 3;

    // In seconds.
    std::uint8_t robustness = 2;
    std::uint32_t query_interval = 125;
    std::uint32_t query_max_resp_time = 10;
    std::uint32_t last_member_query_interval = 1;
    std::uint32_t last_member_query_count = 2;
    std::uint32_t general_member_interval = 1;

    AgeSwitch ageing;
    AgeSwitch mld_ageing;

    std::uint32_t ssm_start = 0xE8000000;    // 232.0.0.0/8
    std::uint32_t ssm_end = 0xE8FFFFFF;      // 0: no group is source-specific, of IPv6 neither
    const std::uint32_t* ssm_map = nullptr;  // the caller's five words

    bool vlan_learning = false;
    std::uint16_t default_vid = 4088;
    std::uint16_t mld_default_vid = 4088;
    std::uint16_t mld_mode = 2;
    std::uint32_t proxy_ip = 0;
    std::optional<std::uint32_t> own_ip;  // what the node itself has last put there
    std::set<std::uint16_t> vlans;
    std::set<std::uint16_t> learnt_vlans;  // those of them that a report alone has put there
    std::set<VlanGroup> private_list;
};

struct OamControl {
    std::uint16_t port;
    std::uint16_t vlan;
    IgmpOamControl rest;
};

struct CallBacks {
    IgmpSendPacket send = nullptr;
    IgmpTableChange add = nullptr;
    IgmpTableChange remove = nullptr;
    MldSendPacket mld_send = nullptr;
    MldTableChange mld_add = nullptr;
    MldTableChange mld_remove = nullptr;
};

// ---- Host side, of a family in proxy mode -------------------------------------------------------

// Where the network's router of a family is a host's router to the core: in a VLAN of the uplink.
struct RouterLink {
    Family family;
    std::uint16_t vlan;

    auto operator<=>(const RouterLink&) const = default;
};

struct UpstreamKey {
    RouterLink link;
    Address group;

    auto operator<=>(const UpstreamKey&) const = default;
};

[[nodiscard]] inline UpstreamKey upstream_key(const GroupKey& key) {
    return {{key.family, key.vlan}, key.group};
}

// A group: what the hosts of all ports want, and what was reported of it. Sources are noted when
// their votes change, so that a report takes no walk over the others.
struct Upstream {
    std::uint32_t members = 0;  // ports
    Tally tally;
    std::set<std::pair<std::int32_t, Address>> unwanted;  // by how many hosts exclude each of the
                                                          // sources that none includes
    std::vector<Address> changed;                         // since the last report
    std::int32_t excluding = 0;                           // hosts, at the last report
    bool is_reported = false;
    Filter reported;
};

struct SourceToRepeat {
    Address source;
    std::uint8_t times;
};

// How often the news of a group are still to be repeated: that the filter mode is another one, or
// that the group was joined in an older version, and which sources are listed anew or no more.
struct ChangeToRepeat {
    std::uint8_t filter_mode = 0;
    std::vector<SourceToRepeat> sources;  // sorted; none with 0 times
};

// What a query of a group is still to be told.
struct AnswerDue {
    std::optional<Timers::Id> timer;
    std::vector<Address> sources;  // asked for, sorted; none: all of the group
};

constexpr std::size_t kOlderVersions = 2;  // IGMP has two, MLD one

// What queries have shown of a router, and what it is still to be told of all groups.
struct Router {
    std::uint8_t robustness = 0;       // 0: not known
    std::uint32_t query_interval = 0;  // in seconds; 0: not known
    std::array<std::optional<Timers::Id>, kOlderVersions> older_present;  // of version 1, of 2
    std::optional<Timers::Id> repeat_timer;
    std::optional<Timers::Id> answer_timer;  // to a general query
};

// How a router behind a user port is known.
struct RouterKey {
    std::uint32_t port;
    std::uint16_t vlan;
    Family family;
    RouterSign sign;
    Address address;

    auto operator<=>(const RouterKey&) const = default;
};
// What it says of itself is 0 where it does not.
struct UserRouter {
    std::optional<Timers::Id> timer;   // till when it is present
    std::uint8_t robustness = 0;       // these two in queries of the newest version only
    std::uint32_t query_interval = 0;  // in seconds
};
using UserRouters = std::map<RouterKey, UserRouter>;

// The general queries of a family.
struct QueryRound {
    std::optional<Timers::Id> timer;          // in proxy mode only
    std::uint32_t startup_left = 0;           // of the burst, the one that is due included
    std::optional<Timers::Id> startup_timer;  // of the node itself
};

constexpr std::uint16_t kNoTracedPort = 65534;

// Which lines are printed; the kinds are the bits of Trace in trace.h.
struct TraceSettings {
    bool warnings = false;
    std::uint32_t switches = 0;
    std::uint32_t levels = 0;
    std::uint16_t packet_port = kNoTracedPort;
    std::map<std::uint16_t, std::uint32_t> vlans;
    std::uint32_t mld_packet_port = kNoTracedPort;
    std::uint32_t mld_kinds = 0;
    std::uint32_t mld_port = kAllPorts;

    // As they nearly always are.
    [[nodiscard]] bool are_silent() const {
        return !warnings && (switches | levels | mld_kinds) == 0 && vlans.empty() &&
               packet_port == kNoTracedPort && mld_packet_port == kNoTracedPort;
    }
};

struct Core {
    std::uint64_t now_us = 0;
    Timers timers;
    Settings settings;
    std::array<Port, kPorts> ports;
    std::map<GroupKey, Group> groups;
    std::map<UpstreamKey, Upstream> upstream;  // in proxy mode only
    std::map<RouterLink, Router> routers;
    std::map<UpstreamKey, ChangeToRepeat> changes_to_repeat;
    std::map<UpstreamKey, AnswerDue> answers_due;
    std::uint64_t chance = kFixedSeed;
    std::array<QueryRound, 2> query_rounds;  // of IGMP and MLD
    UserRouters user_routers;                // behind user ports
    std::set<std::pair<GroupKey, Address>>
        lowered_timers;  // of a source, or with none of the group
    std::optional<OamControl> last_oam_control;
    CallBacks call_backs;
    Counters counters;
    TraceSettings trace;

    Core();
};

[[nodiscard]] Core& core();

class Lock {
 public:
    Lock();
    ~Lock();
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
};

// The port of a number, 29 and 0xFFFF being the uplink; null for others.
[[nodiscard]] Port* find_port(std::uint32_t number);
// The same, for declared ports only.
[[nodiscard]] Port* find_declared_port(std::uint32_t number);

// Whether the core is the hosts' router, and the network's host in their place.
[[nodiscard]] inline bool is_proxy(Family family) {
    const Settings& settings = core().settings;
    return family == Family::kIpv4 ? settings.mode == Mode::kProxy : settings.mld_mode == kMldProxy;
}

[[nodiscard]] inline std::uint16_t default_vid(Family family) {
    const Settings& settings = core().settings;
    return family == Family::kIpv4 ? settings.default_vid : settings.mld_default_vid;
}

[[nodiscard]] inline const AgeSwitch& age_switch(Family family) {
    const Settings& settings = core().settings;
    return family == Family::kIpv4 ? settings.ageing : settings.mld_ageing;
}

// "2", or "uplink".
[[nodiscard]] std::string port_text(std::uint32_t number);

}  // namespace mcore
