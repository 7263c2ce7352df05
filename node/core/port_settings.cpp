// The settings of single ports. Each returns 0, or 1 for a port that is not there (what limits and
// lists mean stands in admission.h).
#include <algorithm>
#include <cstdint>
#include <utility>

#include "node/core/address.h"
#include "node/core/admission.h"
#include "node/core/bounds.h"
#include "node/core/querier.h"
#include "node/core/state.h"

using mcore::AuthRange;
using mcore::Family;
using mcore::find_declared_port;
using mcore::find_port;
using mcore::Lock;
using mcore::Port;
using mcore::VlanGroup;

namespace {

constexpr int32_t kDone = 0;
constexpr int32_t kRefused = 1;

constexpr std::uint32_t kDelete = 0;
constexpr std::uint32_t kAdd = 1;
constexpr std::uint32_t kClear = 2;

int32_t refuse_full(const Port& port, std::uint16_t vlan) {
    mcore::note_refusal({Family::kIpv4, port.number, vlan}, mcore::Drop::kControlListBound);
    return kRefused;
}

// The first group on a list forbids all others; each one after it allows more.
int32_t add_to_control_list(Port& port, const VlanGroup& group) {
    if (!mcore::is_multicast(Family::kIpv4, mcore::from_ipv4(group.second))) return kRefused;
    const bool is_first = port.control_list.empty();
    if (!mcore::put_on_list(port.control_list, group, mcore::bounds().control_list_ranges)) {
        return refuse_full(port, group.first);
    }
    if (is_first) mcore::revoke_unauthorised();
    return kDone;
}

int32_t delete_from_control_list(Port& port, const VlanGroup& group) {
    if (!mcore::is_on_list(port.control_list, group)) return kRefused;
    if (!mcore::take_off_list(port.control_list, group, mcore::bounds().control_list_ranges)) {
        return refuse_full(port, group.first);
    }
    mcore::revoke_if_unauthorised(
        {port.number, group.first, Family::kIpv4, mcore::from_ipv4(group.second)});
    return kDone;
}

int32_t change_control_list(std::uint32_t port_number, std::uint32_t action, std::uint16_t vlan,
                            std::uint32_t group) {
    Port* const port = find_declared_port(port_number);
    if (port == nullptr || action > kClear) return kRefused;
    switch (action) {
        case kAdd:
            return add_to_control_list(*port, {vlan, group});
        case kDelete:
            return delete_from_control_list(*port, {vlan, group});
        default:
            port->control_list.clear();  // which allows more
            return kDone;
    }
}

}  // namespace

// ---- The ports themselves -----------------------------------------------------------------------

int32_t igmp_port_add_all_vlan(uint32_t port) {
    const Lock lock;
    Port* const found = find_port(port);
    if (found == nullptr) return kRefused;
    if (!std::exchange(found->declared, true)) mcore::ask_at_startup(Family::kIpv4);
    return kDone;
}

int32_t mld_port_conf_set(uint32_t port, uint32_t port_type) {
    constexpr std::uint32_t kUplinkType = 1;
    constexpr std::uint32_t kUserType = 2;
    const Lock lock;
    Port* const found = find_port(port);
    if (found == nullptr) return kRefused;
    if (port_type != (found->is_uplink ? kUplinkType : kUserType)) return kRefused;
    if (!std::exchange(found->mld_declared, true)) mcore::ask_at_startup(Family::kIpv6);
    return kDone;
}

// ---- Limits and tags ----------------------------------------------------------------------------

int32_t igmp_if_fast_leave_enable(uint8_t port, uint8_t mode) {
    const Lock lock;
    Port* const found = find_declared_port(port);
    if (found == nullptr) return kRefused;
    found->fast_leave = mode != 0;
    return kDone;
}

int32_t igmp_if_max_group_num_set(uint8_t port, uint16_t limit) {
    const Lock lock;
    Port* const found = find_declared_port(port);
    if (found == nullptr) return kRefused;
    found->group_limit = limit;
    return kDone;
}

// The last argument is only kept for the display.
int32_t igmp_if_max_bandwidth_set(uint8_t port, uint8_t enable, uint32_t bandwidth,
                                  uint16_t extra) {
    const Lock lock;
    Port* const found = find_declared_port(port);
    if (found == nullptr) return kRefused;
    found->bandwidth_limited = enable != 0;
    found->bandwidth_limit = bandwidth;
    found->bandwidth_extra = extra;
    return kDone;
}

// Only the uplink's tags have an effect.
int32_t igmp_if_snp_uplinkvlan_set(uint8_t port, IgmpUplinkTag* outer, IgmpUplinkTag* inner) {
    const Lock lock;
    Port* const found = find_declared_port(port);
    if (found == nullptr || outer == nullptr || inner == nullptr) return kRefused;
    found->outer = *outer;
    found->inner = *inner;
    return kDone;
}

// ---- Authorised groups --------------------------------------------------------------------------

// A range that is there already gets the new bandwidth, for memberships to come.
int32_t igmp_if_add_auth_group_cfg(uint8_t port, uint32_t start, uint32_t end, uint32_t bandwidth,
                                   uint16_t vlan) {
    const Lock lock;
    Port* const found = find_declared_port(port);
    if (found == nullptr || start > end) return kRefused;
    const auto same =
        std::find_if(found->ranges.begin(), found->ranges.end(), [&](const AuthRange& range) {
            return range.start == start && range.end == end && range.vlan == vlan;
        });
    if (same != found->ranges.end()) {
        same->bandwidth = bandwidth;
    } else {
        found->ranges.push_back({start, end, bandwidth, vlan});
    }
    return kDone;
}

// The bandwidth does not tell ranges apart.
int32_t igmp_if_delete_auth_group_cfg(uint8_t port, uint32_t start, uint32_t end,
                                      uint32_t /*bandwidth*/, uint16_t vlan) {
    const Lock lock;
    Port* const found = find_declared_port(port);
    if (found == nullptr) return kRefused;
    const auto gone = std::erase_if(found->ranges, [&](const AuthRange& range) {
        return range.start == start && range.end == end && range.vlan == vlan;
    });
    if (gone == 0) return kRefused;
    mcore::revoke_unauthorised();
    return kDone;
}

// VLAN 65535: the ranges of all VLANs.
int32_t igmp_if_delete_auth_group_cfg_all(uint8_t port, uint16_t vlan) {
    const Lock lock;
    Port* const found = find_declared_port(port);
    if (found == nullptr) return kRefused;
    std::erase_if(found->ranges, [&](const AuthRange& range) {
        return vlan == mcore::kEveryVlan || range.vlan == vlan;
    });
    mcore::revoke_unauthorised();
    return kDone;
}

int32_t igmp_if_grp_range_auth_enable(uint8_t port, uint8_t enable) {
    const Lock lock;
    Port* const found = find_declared_port(port);
    if (found == nullptr) return kRefused;
    found->range_auth = enable != 0;
    mcore::revoke_unauthorised();
    return kDone;
}

// action: 1 adds to the port's control list, 0 deletes from it, 2 clears it.
int32_t igmp_set_multicast_control(uint16_t port, uint32_t action, int16_t vlan, uint32_t group) {
    const Lock lock;
    return change_control_list(port, action, static_cast<std::uint16_t>(vlan), group);
}

// The same list, as OAM fills it: the word is the group. The two bytes are only kept.
int32_t igmp_oam_control_2(uint8_t add_delete, uint16_t port, uint16_t vlan, IgmpOamControl* rest) {
    const Lock lock;
    if (rest == nullptr) return kRefused;
    const int32_t status = change_control_list(port, add_delete, vlan, rest->word);
    if (status == kDone) mcore::core().last_oam_control = mcore::OamControl{port, vlan, *rest};
    return status;
}
