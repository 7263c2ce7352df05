#include "node/config/running_config.h"

#include <array>
#include <utility>

#include "node/config/writers.h"
#include "node/driver/driver.h"

namespace config {
namespace {

using Writer = void (*)(const Running& running, Lines& lines);

struct GroupWriters {
    std::string_view title;
    std::vector<Writer> writers;
};

// The default VLAN before the rules: while the template list is empty it changes nothing else.
const std::vector<GroupWriters>& groups() {
    static const std::vector<GroupWriters> all{
        {"Mode and version", {write_mld_mode, write_mode, write_version}},
        {"Protocol", {write_times, write_ageing, write_proxy_address}},
        {"Source-specific multicast", {write_ssm_range, write_ssm_map}},
        {"Switch", {write_table_return}},
        {"Ports",
         {write_fast_leave, write_group_limits, write_bandwidth_limits, write_signalling_vlans}},
        {"VLANs", {write_default_vlan, write_rules_and_lists}},
        {"Authorised groups", {write_ranges, write_private_groups, write_control_lists}},
    };
    return all;
}

}  // namespace

Running look_at_running() { return {mcore::configuration(), driver::chosen().onu_id()}; }

std::vector<Group> running_config(const Running& running) {
    std::vector<Group> made;
    for (const auto& [title, writers] : groups()) {
        Group group{title, {}};
        for (const Writer write : writers) write(running, group.lines);
        if (!group.lines.empty()) made.push_back(std::move(group));
    }
    return made;
}

}  // namespace config
