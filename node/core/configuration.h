// What the core has been set to, as it is now: read by who writes it down. What it has learnt and
// what it counts is no part of it.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace mcore {

struct GroupRange {
    std::uint32_t start = 0;  // IPv4, host order
    std::uint32_t end = 0;
    std::uint32_t bandwidth = 0;  // imputed; 0 on a control list
    std::uint16_t vlan = 0;

    bool operator==(const GroupRange&) const = default;
};

struct PortConfiguration {
    std::uint32_t number = 0;
    bool fast_leave = false;
    std::uint16_t group_limit = 0;
    bool bandwidth_limited = false;
    std::uint32_t bandwidth_limit = 0;
    std::uint16_t bandwidth_extra = 0;
    bool range_auth = false;
    std::vector<GroupRange> ranges;        // in the order in which they are asked
    std::vector<GroupRange> control_list;  // by VLAN and address
};

// Times are in seconds, modes as platform/protocol_core.h has them.
struct Configuration {
    std::uint32_t mode = 0;
    std::uint32_t mld_mode = 0;
    std::uint32_t version = 0;
    std::uint32_t robustness = 0;
    std::uint32_t query_interval = 0;
    std::uint32_t query_max_resp_time = 0;
    std::uint32_t last_member_query_interval = 0;
    std::uint32_t last_member_query_count = 0;
    std::uint32_t general_member_interval = 0;
    bool ageing = false;
    bool mld_ageing = false;
    std::uint32_t ssm_start = 0;
    std::uint32_t ssm_end = 0;
    bool vlan_learning = false;
    std::uint16_t default_vid = 0;
    std::uint16_t mld_default_vid = 0;
    std::uint32_t proxy_ip = 0;
    std::optional<std::uint32_t> own_ip;  // what the node itself has last put in its place
    std::set<std::uint16_t> vlans;        // without those that reports have put there
    std::set<std::pair<std::uint16_t, std::uint32_t>> private_list;  // VLAN and group
    std::vector<PortConfiguration> ports;                            // the uplink last
};

[[nodiscard]] Configuration configuration();

}  // namespace mcore
