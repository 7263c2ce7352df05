#include "node/core/configuration.h"

#include <algorithm>
#include <iterator>

#include "node/core/state.h"

namespace mcore {
namespace {

std::vector<GroupRange> ranges_of(const ControlList& list) {
    std::vector<GroupRange> ranges;
    for (const auto& [first, last] : list) {
        ranges.push_back({first.second, last, 0, first.first});
    }
    return ranges;
}

PortConfiguration configuration_of(const Port& port) {
    PortConfiguration made;
    made.number = port.number;
    made.fast_leave = port.fast_leave;
    made.group_limit = port.group_limit;
    made.bandwidth_limited = port.bandwidth_limited;
    made.bandwidth_limit = port.bandwidth_limit;
    made.bandwidth_extra = port.bandwidth_extra;
    made.range_auth = port.range_auth;
    for (const AuthRange& range : port.ranges) {
        made.ranges.push_back({range.start, range.end, range.bandwidth, range.vlan});
    }
    made.control_list = ranges_of(port.control_list);
    return made;
}

}  // namespace

Configuration configuration() {
    const Lock lock;
    const Settings& settings = core().settings;
    Configuration made;
    made.mode = static_cast<std::uint32_t>(settings.mode);
    made.mld_mode = settings.mld_mode;
    made.version = settings.version;
    made.robustness = settings.robustness;
    made.query_interval = settings.query_interval;
    made.query_max_resp_time = settings.query_max_resp_time;
    made.last_member_query_interval = settings.last_member_query_interval;
    made.last_member_query_count = settings.last_member_query_count;
    made.general_member_interval = settings.general_member_interval;
    made.ageing = settings.ageing.on;
    made.mld_ageing = settings.mld_ageing.on;
    made.ssm_start = settings.ssm_start;
    made.ssm_end = settings.ssm_end;
    made.vlan_learning = settings.vlan_learning;
    made.default_vid = settings.default_vid;
    made.mld_default_vid = settings.mld_default_vid;
    made.proxy_ip = settings.proxy_ip;
    made.own_ip = settings.own_ip;
    std::ranges::set_difference(settings.vlans, settings.learnt_vlans,
                                std::inserter(made.vlans, made.vlans.end()));
    made.private_list = settings.private_list;
    for (const Port& port : core().ports) made.ports.push_back(configuration_of(port));
    return made;
}

}  // namespace mcore
