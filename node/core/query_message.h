// The queries that the core sends, as whole packets of both families.
//
//   at      IGMP (RFC 3376, 4.1)              MLD (RFC 3810, 5.1)
//    0      type 0x11                         type 130
//    1      response time in tenths, a code   0
//    2      checksum                          checksum
//    4      group                             response time in ms, a code; 2 bytes of 0
//    8      S flag and robustness             group
//    9      query interval, a code
//   10      number of sources, and these
//   24                                        S flag and robustness
//   25                                        query interval, a code
//   26                                        number of sources, and these
//
// The older versions end behind the group.
#pragma once

#include <cstdint>
#include <span>

#include "node/core/message.h"
#include "node/core/state.h"

namespace mcore {

struct Query {
    Family family;
    std::uint8_t version;
    Address group{};              // all 0: of all groups
    std::uint32_t response_time;  // seconds

    // These in the newest version only.
    bool suppresses = false;             // the S flag: routers do not lower their timers
    std::span<const Address> sources{};  // none: about the group
};

// To the group, or to all hosts. In proxy mode from the querier's address, and group queries
// always: hosts may pass over others. A general query in another mode must not win an election, or
// a router behind the port would fall silent. So it is from 0.0.0.0 (RFC 4541, 2.1.1), or for MLD,
// where hosts heed link-local addresses only (RFC 3810, 5.1.14), from the highest of these.
[[nodiscard]] Bytes query_packet(const Query& query);

}  // namespace mcore
