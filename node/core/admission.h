// Which groups a port may join. Most of this is about IPv4 groups: the settings name IPv4 addresses
// and the limits are those of IGMP, so MLD memberships meet the bound only.
//
//   range authorisation   while enabled on a port, one of its ranges must hold the group
//   private list          while it holds anything, it must hold the group; for all ports
//   control list          while a port has one, it must hold the group
//   group limit           memberships of a port, 0 for no limit
//   bound                 memberships of a port and family (bounds.h)
//   bandwidth limit       sum of what the port's ranges impute to its groups
//
// Each of them that is on must agree. A membership that a change leaves without authorisation ends
// at once; a lower limit only turns new ones away.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "node/core/state.h"

namespace mcore {

// Why a new membership is refused; nothing when it is admitted.
[[nodiscard]] std::optional<Drop> refuse_join(const GroupKey& key);

// To be called when one group has been taken off a list.
void revoke_if_unauthorised(const GroupKey& key);
// To be called when ranges or lists have changed otherwise.
void revoke_unauthorised();

// By the port's first range that holds the group; 0 without one.
[[nodiscard]] std::uint32_t imputed_bandwidth(const Port& port, std::uint16_t vlan,
                                              std::uint32_t group);

// Whether a group is source-specific (RFC 4607, 1): 232.0.0.0/8, or the range that was set instead,
// and ff3x::/32 unless there is no range at all. There, a join must name its sources.
[[nodiscard]] bool is_ssm(Family family, const Address& group);

// The five words of the SSM map: the first and last group that it is for, and three sources, 0 for
// none. A host of an older version that reports such a group is taken to want these sources.
[[nodiscard]] std::vector<Address> ssm_map_sources(std::uint32_t group);

}  // namespace mcore
