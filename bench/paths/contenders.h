// What else could be done with the frame of a load: the least that has to be done, and what one
// would write with libraries that are at hand. Each sends what the library sends, or says why not.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "bench/paths/cases.h"

namespace bench {

struct Contender {
    std::string_view name;
    std::string_view meaning;
    // Gets ready for a load. Null: this contender can do nothing for it.
    Receiver (*prepare)(const Load& load);
};

// The library first. Which others there are depends on what the build has found.
std::span<const Contender> contenders();
std::optional<Contender> contender_named(std::string_view name);

// Prepares the load and gives its frame to the contender. False: it can do nothing for it.
bool prepare_for(const Contender& contender, const Load& load);

// What every contender but the library sends with; at first it does nothing. The call goes through
// a volatile pointer, so that no compiler looks through it.
using Sender = std::int32_t (*)(const std::uint8_t* bytes, std::uint32_t len);
void send_with(Sender sender);
std::int32_t send_frame(const std::uint8_t* bytes, std::uint32_t len);

// The others, where they are built.
Receiver prepare_libtins(const Load& load);
Receiver prepare_bpf(const Load& load);

}  // namespace bench
