// What happens in the core, one thing after the other, for whoever writes it down or draws it: the
// messages that come and go, what becomes of memberships, entries and router ports, and what is
// done to the node. IGMP and MLD tell the same.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "node/core/multicast_core.h"

namespace mcore {

// ---- Messages -----------------------------------------------------------------------------------

// What a message says of one group. A query of all groups names the group 0.
struct GroupSaid {
    std::uint8_t record_type = 0;  // 1 to 6, as on the wire (RFC 3376, 4.2.12); 0: no record
    Address group{};
    std::vector<Address> sources;
};

// "is_include" to "block_sources"; empty for what is no type of a record.
[[nodiscard]] std::string_view record_type_name(std::uint8_t type);

struct Message {
    Address sender{};
    std::uint8_t version = 0;  // 0: has none, as messages of router discovery
    std::vector<GroupSaid> groups;
    std::optional<std::uint64_t> max_response_us;  // of a query
};

// Of an understood kind; what it says may be refused all the same, by one of the next two.
struct MessageReceived {
    Received kind{};
    Message message;
};

struct MessageDropped {
    Drop reason{};
    Address sender{};  // all 0 where it was not looked at
};

// One group of a message is refused, or some of the sources that it names.
struct RecordRefused {
    Drop reason{};
    Address group{};
    Address reporter{};
    bool is_join = false;
    bool is_partly = false;  // the rest of the sources is taken
};

struct MessageSent {
    Sent kind{};
    Message message;
};

// ---- Memberships --------------------------------------------------------------------------------

struct MembershipState {
    std::uint8_t version = 0;  // the oldest that a reporter speaks
    Filter filter;             // what its hosts want together, and what they are still asked for
    std::vector<Address> reporters;  // sorted; empty while a leave waits for an answer

    bool operator==(const MembershipState&) const = default;
};

enum class EndReason : std::uint8_t {
    kLeft,         // at once: fast leave, or nobody could be asked
    kNotAnswered,  // the last member queries
    kAged,         // or its timer was lowered by another querier
    kLinkDown,     // and not reported anew
    kTakenAway,    // by a command
    kBegunAnew,    // the core has begun anew, and so has the switch
};
[[nodiscard]] std::string_view name(EndReason why);

struct MembershipJoined {
    Address group{};
    MembershipState state;
};
struct MembershipChanged {
    Address group{};
    MembershipState state;
};
struct MembershipLeft {
    Address group{};
    EndReason why{};
};

// The switch was asked to set the entry of a membership, or to take it away. That of a new
// membership is set before it has joined: the stream waits for it.
struct EntryChanged {
    Address group{};
    bool is_set = false;
    bool is_done = false;
};

// ---- Around -------------------------------------------------------------------------------------

struct RouterChanged {
    Address router{};
    RouterSign sign{};
    bool is_found = false;
    EndReason why{};  // when it is lost
};

struct LinkChanged {
    bool is_up = false;
};

// What is done to the node from outside, just before it is done.
struct CommandRun {
    std::string words;
    std::optional<std::uint32_t> code;  // of a command of the queue
};

using Happening = std::variant<MessageReceived, MessageDropped, RecordRefused, MessageSent,
                               MembershipJoined, MembershipChanged, MembershipLeft, EntryChanged,
                               RouterChanged, LinkChanged, CommandRun>;

struct Event {
    std::uint64_t time_us = 0;  // of the core's clock
    std::uint32_t port = 0;     // 0 to 5, or 29, the uplink; means nothing of a command
    Family family{};            // this and the VLAN mean nothing of links and commands
    std::uint16_t vlan = 0;
    Happening what;
};

// happened is called with each event from now on, in order, on the thread that caused it. It must
// not call the core. While nobody watches no event is made up. An empty function ends it.
void watch_events(std::function<void(const Event&)> happened);

// For whoever runs commands: tells it among the others, at the time of the core's clock.
void tell_command(const CommandRun& command);

}  // namespace mcore
