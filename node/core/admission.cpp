#include "node/core/admission.h"

#include <algorithm>

#include "node/core/address.h"
#include "node/core/bounds.h"
#include "node/core/membership.h"

namespace mcore {
namespace {

bool covers(const AuthRange& range, std::uint16_t vlan, std::uint32_t group) {
    const bool is_vlan = range.vlan == vlan || range.vlan == kEveryVlan;
    return is_vlan && range.start <= group && group <= range.end;
}

const AuthRange* find_range(const Port& port, std::uint16_t vlan, std::uint32_t group) {
    const auto found = std::find_if(port.ranges.begin(), port.ranges.end(),
                                    [&](const AuthRange& r) { return covers(r, vlan, group); });
    return found == port.ranges.end() ? nullptr : &*found;
}

bool is_authorised(const GroupKey& key) {
    if (key.family != Family::kIpv4) return true;
    const Port& port = *find_port(key.port);
    const std::uint32_t group = to_ipv4(key.group);
    const auto& list = core().settings.private_list;
    const VlanGroup vlan_group{key.vlan, group};
    return (!port.range_auth || find_range(port, key.vlan, group) != nullptr) &&
           (list.empty() || list.contains(vlan_group)) &&
           (port.control_list.empty() || is_on_list(port.control_list, vlan_group));
}

}  // namespace

std::optional<Drop> refuse_join(const GroupKey& key) {
    const Port& port = *find_port(key.port);
    const bool is_igmp = key.family == Family::kIpv4;
    if (!is_authorised(key)) return Drop::kNotAuthorised;
    if ((is_igmp ? port.groups : port.mld_groups) >= bounds().groups_per_port) {
        return Drop::kGroupBound;
    }
    if (!is_igmp) return std::nullopt;
    if (port.group_limit != 0 && port.groups >= port.group_limit) return Drop::kGroupLimit;
    const std::uint32_t more = imputed_bandwidth(port, key.vlan, to_ipv4(key.group));
    if (port.bandwidth_limited && port.bandwidth + more > port.bandwidth_limit) {
        return Drop::kBandwidthLimit;
    }
    return std::nullopt;
}

void revoke_if_unauthorised(const GroupKey& key) {
    if (!is_authorised(key)) remove_group_of(key);
}

void revoke_unauthorised() {
    remove_groups_if([](const GroupKey& key) { return !is_authorised(key); });
}

std::uint32_t imputed_bandwidth(const Port& port, std::uint16_t vlan, std::uint32_t group) {
    const AuthRange* const range = find_range(port, vlan, group);
    return range == nullptr ? 0 : range->bandwidth;
}

bool is_ssm(Family family, const Address& group) {
    const Settings& settings = core().settings;
    if (settings.ssm_end == 0) return false;
    if (family == Family::kIpv6) {
        return group[0] == 0xFF && group[1] >> 4 == 3 && group[2] == 0 && group[3] == 0;
    }
    const std::uint32_t number = to_ipv4(group);
    return settings.ssm_start <= number && number <= settings.ssm_end;
}

std::vector<Address> ssm_map_sources(std::uint32_t group) {
    constexpr int kFirstSource = 2;
    constexpr int kWords = 5;
    const std::uint32_t* const map = core().settings.ssm_map;
    std::vector<Address> sources;
    if (map == nullptr || map[0] == 0 || group < map[0] || group > map[1]) return sources;
    for (int i = kFirstSource; i < kWords; ++i) {
        if (map[i] != 0) sources.push_back(from_ipv4(map[i]));
    }
    return sources;
}

}  // namespace mcore
