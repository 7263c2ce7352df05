// The ways of a frame through the library that bench/paths counts and times: each puts the library
// into a state, and then gives it one frame, or one packet of the core, any number of times.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace bench {

enum class Way {
    kReport,      // a tagged IGMP report comes in on a user port; snooping
    kMldReport,   // the same with an MLD report
    kQuery,       // a tagged IGMP query comes in on the uplink; snooping
    kControl,     // a tagged IGMP report comes in on a user port; control, with an ONU id
    kCorePacket,  // the core sends an IGMP packet to a user port
    kNothing,     // what the measurement itself costs
};

struct Load {
    Way way;
    int rules = 1;              // of each user port; the last one takes the frame
    bool rules_match = true;    // false: none takes it
    std::uint32_t port = 2;     // user port that the frame comes in on, or goes to
    int templates = 1;          // template VLANs; the last one is the rules' multicast VLAN
    std::uint32_t length = 64;  // bytes of the frame
};

struct NamedLoad {
    std::string_view name;
    std::string_view meaning;
    Load load;
};

// What is under review: bench/paths/figures.json has their counts.
std::span<const NamedLoad> reviewed_loads();
std::optional<Load> load_named(std::string_view name);

// What a load's frame leaves as: so many copies, with these tags in place of the one that it came
// with.
struct Outcome {
    std::uint32_t copies;
    std::uint32_t tags;
    std::uint16_t tci[2];
};
Outcome outcome_of(const Load& load);

// Starts the library anew for a load. run_prepared then gives it the frame as it came, and may be
// called again and again.
void prepare(const Load& load);
void run_prepared();

// Who gets the frame from now on in place of the library.
using Receiver = std::int32_t (*)(std::uint8_t* bytes, std::uint32_t len, std::uint32_t port);
void give_to(Receiver receiver);

// The frame of the prepared load, for who does the same by other means.
std::span<const std::uint8_t> prepared_frame();

}  // namespace bench
