// The groups that a port may join, by VLAN. Addresses in a row are kept as one range: a list is
// filled address by address, and a long range must not take a record for each.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>

namespace mcore {

using VlanGroup = std::pair<std::uint16_t, std::uint32_t>;

// The first address of a range with its last one. Ranges neither overlap nor touch.
using ControlList = std::map<VlanGroup, std::uint32_t>;

[[nodiscard]] bool is_on_list(const ControlList& list, const VlanGroup& group);

// They return false and change nothing when the list would have more than so many ranges: a group
// taken out of the middle of a range leaves two.
[[nodiscard]] bool put_on_list(ControlList& list, const VlanGroup& group, std::size_t most);
// The group is on the list.
[[nodiscard]] bool take_off_list(ControlList& list, const VlanGroup& group, std::size_t most);

}  // namespace mcore
