// Queries as they come in, of both families; where what is stands in query_message.h. Those of the
// uplink are the host side's to answer, those of user ports show routers behind them.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "node/core/input.h"
#include "node/core/state.h"

namespace mcore {

struct RouterQuery {
    RouterLink link{};
    std::uint8_t version = 0;  // of the message
    Address group{};           // all zero: general
    std::vector<Address> sources;
    std::uint64_t response_us = 0;
    // In the newest version only.
    bool suppresses = false;           // the S flag: timers are not to be lowered
    std::uint8_t robustness = 0;       // 0 for the default
    std::uint32_t query_interval = 0;  // in seconds

    [[nodiscard]] bool is_general() const { return group == Address{}; }
};

// Nothing when it is cut short.
[[nodiscard]] std::optional<RouterQuery> read_query(const Packet& packet);

[[nodiscard]] std::optional<Drop> take_query(const Packet& packet);

}  // namespace mcore
