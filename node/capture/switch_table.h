// The switch's multicast forwarding entries: which port gets the frames of a group MAC address in a
// VLAN. As in the switch, a port is in an entry or it is not: groups that share a MAC address share
// the entry, and the first removal takes the port away for all of them. The counts show that.
#pragma once

#include <compare>
#include <cstdint>
#include <map>

#include "node/driver/driver.h"

namespace capture {

// Ordered by port, then VLAN, then MAC address: the order of every listing.
struct SwitchEntry {
    std::uint8_t port;
    std::uint16_t vlan;
    driver::MacAddress mac;

    auto operator<=>(const SwitchEntry&) const = default;
};

struct SwitchTable {
    std::map<SwitchEntry, std::uint64_t> entries;  // with the times each was set since it came in
    std::uint64_t added = 0;                       // entries that came in
    std::uint64_t repeated = 0;                    // set while they were there already
    std::uint64_t removed = 0;
    std::uint64_t absent = 0;        // taken away while they were not there
    std::uint64_t invalid_port = 0;  // refused: the switch has no such port

    void set(const SwitchEntry& entry) { ++(++entries[entry] == 1 ? added : repeated); }

    void remove(const SwitchEntry& entry) { ++(entries.erase(entry) == 1 ? removed : absent); }
};

}  // namespace capture
