#include "node/core/control_list.h"

#include <iterator>

namespace mcore {
namespace {

// The range of this VLAN that begins at the group or before it; end() without one.
template <class List>
auto range_at(List& list, const VlanGroup& group) {
    const auto after = list.upper_bound(group);
    if (after == list.begin()) return list.end();
    const auto range = std::prev(after);
    return range->first.first == group.first ? range : list.end();
}

}  // namespace

bool is_on_list(const ControlList& list, const VlanGroup& group) {
    const auto range = range_at(list, group);
    return range != list.end() && group.second <= range->second;
}

bool put_on_list(ControlList& list, const VlanGroup& group, std::size_t most) {
    const auto& [vlan, address] = group;
    if (is_on_list(list, group)) return true;
    // Groups are multicast addresses: there is one before and one after each, as a number.
    const auto before = range_at(list, group);
    const auto after = list.find({vlan, address + 1});
    const bool joins_before = before != list.end() && before->second == address - 1;
    const std::uint32_t last = after != list.end() ? after->second : address;
    if (!joins_before && after == list.end() && list.size() >= most) return false;
    if (after != list.end()) list.erase(after);
    if (joins_before) {
        before->second = last;
    } else {
        list.emplace(group, last);
    }
    return true;
}

bool take_off_list(ControlList& list, const VlanGroup& group, std::size_t most) {
    const auto& [vlan, address] = group;
    const auto range = range_at(list, group);
    const std::uint32_t first = range->first.second;
    const std::uint32_t last = range->second;
    const bool is_split = first < address && address < last;
    if (is_split && list.size() >= most) return false;
    if (address < last) list.emplace(VlanGroup{vlan, address + 1}, last);
    if (first < address) {
        range->second = address - 1;
    } else {
        list.erase(range);
    }
    return true;
}

}  // namespace mcore
