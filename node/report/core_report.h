// What the multicast core knows, as tables to be read and as JSON: the same for every driver that
// the node runs on.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "node/core/multicast_core.h"
#include "node/driver/frame_check.h"
#include "node/report/json.h"

namespace report {

struct CoreReport {
    mcore::Counters counters;
    std::vector<mcore::Membership> memberships;
    std::vector<mcore::UpstreamGroup> upstream;
    std::vector<mcore::RouterPort> router_ports;
    std::uint64_t now_us;  // on the core's clock, for ages
};

// As it is at this moment, on a clock that says now_us.
[[nodiscard]] CoreReport core_report(std::uint64_t now_us);

// A row for each count of a table; those that are 0 are left out.
struct Count {
    std::string_view name;
    std::uint64_t value;
};

// What became of nothing before it came to the core.
struct Drops {
    std::vector<Count> driver;
    std::vector<Count> library;
};

// A row for each reason to refuse a frame, for the drops of a driver.
void add_refusals(std::vector<Count>& drops, const driver::RefusalCounts& refused);

// ---- Source filters ----

// "include {198.51.100.7}", as RFC 3376 writes it; "exclude {}" is every source.
[[nodiscard]] std::string filter_text(mcore::Family family, bool exclude,
                                      const std::vector<mcore::Address>& sources);
[[nodiscard]] Json addresses_json(mcore::Family family,
                                  const std::vector<mcore::Address>& addresses);

// ---- What it has seen and holds ----

// Two tables: messages received and sent.
[[nodiscard]] std::string messages_text(const CoreReport& core);
// Driver, library and core, with their reasons; those that are 0 are left out.
[[nodiscard]] std::string drops_text(const Drops& drops, const CoreReport& core);
[[nodiscard]] std::string memberships_text(const CoreReport& core);
// Groups that proxy mode reports; empty when there are none.
[[nodiscard]] std::string upstream_text(const CoreReport& core);
[[nodiscard]] std::string router_ports_text(const CoreReport& core);
// "the core: 3 added, 0 failed, 1 taken away, 0 failed"
[[nodiscard]] std::string entry_changes_text(const CoreReport& core);

[[nodiscard]] Json core_json(const CoreReport& core);
[[nodiscard]] Json drops_json(const Drops& drops, const CoreReport& core);
[[nodiscard]] Json memberships_json(const CoreReport& core);
[[nodiscard]] Json upstream_json(const CoreReport& core);
[[nodiscard]] Json router_ports_json(const CoreReport& core);

}  // namespace report
