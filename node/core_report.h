/*
 * What the development core knows, as tables to be read and as JSON: the same for every driver that
 * the node runs on.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "node/core/development_core.h"

namespace node {

struct CoreReport {
    devcore::Counters counters;
    std::vector<devcore::Membership> memberships;
    std::uint64_t now_us;  // on the core's clock, for ages
};

/* As it is at this moment, on a clock that says now_us. */
[[nodiscard]] CoreReport report_core(std::uint64_t now_us);

// ---- Counts ----

struct Count {
    std::string_view name;
    std::uint64_t value;
};

/* One of the core's arrays of counts with the name of each. */
template <class Kind, std::size_t size>
std::vector<Count> named(const std::array<std::uint64_t, size>& counts) {
    std::vector<Count> rows;
    for (std::size_t i = 0; i < size; ++i) {
        rows.push_back({devcore::name(static_cast<Kind>(i)), counts[i]});
    }
    return rows;
}

/* A row for each count that is not 0. */
[[nodiscard]] std::string counts_text(const std::string& title, const std::string& unit,
                                      const std::vector<Count>& counts);
[[nodiscard]] nlohmann::ordered_json json_of(const std::vector<Count>& counts);

// ---- What it has seen and holds ----

/* Two tables: messages received and sent. */
[[nodiscard]] std::string messages_text(const CoreReport& core);
/* Driver and core, with their reasons; those that are 0 are left out. */
[[nodiscard]] std::string drops_text(const std::vector<Count>& driver, const CoreReport& core);
[[nodiscard]] std::string memberships_text(const CoreReport& core);
/* "the core: 3 added, 0 failed, 1 taken away, 0 failed" */
[[nodiscard]] std::string entry_changes_text(const CoreReport& core);

[[nodiscard]] nlohmann::ordered_json core_json(const CoreReport& core);
[[nodiscard]] nlohmann::ordered_json drops_json(const std::vector<Count>& driver,
                                                const CoreReport& core);
[[nodiscard]] nlohmann::ordered_json memberships_json(const CoreReport& core);

}  // namespace node
