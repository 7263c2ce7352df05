// VLANs: the default one, the rules, learning and the core's list.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "adapt/records.h"
#include "adapt/tables.h"
#include "mld/record.h"
#include "node/config/rule_plan.h"
#include "node/config/writers.h"
#include "platform/l2_multicast.h"

namespace config {
namespace {

using std::to_string;
using Vlans = std::set<std::uint16_t>;

Vlans without(const Vlans& vlans, const Vlans& others) {
    Vlans left;
    std::ranges::set_difference(vlans, others, std::inserter(left, left.end()));
    return left;
}

void write_deleted(const Vlans& vlans, Lines& lines) {
    for (const std::uint16_t vlan : vlans) lines.push_back("core-vlan delete " + to_string(vlan));
}

RulePlan plan_of(const Running& running) {
    const auto used = static_cast<std::size_t>(mc::template_vlans_in_use());
    const RuleTables tables{PortVlanCfg,
                            setVlanCfgNumber,
                            mldInitParams.mldPortVlanCfg,
                            mldInitParams.vlancfgnum,
                            std::vector<std::uint16_t>(PortVlan, PortVlan + used),
                            running.core.default_vid};
    RulePlan plan = plan_rules(tables);
    // Without an OMCI id every rule switches learning on.
    if (running.onu_id == L2_MULTICAST_NO_ONU_ID && !plan.lines.empty()) plan.learns = true;
    return plan;
}

}  // namespace

void write_default_vlan(const Running& running, Lines& lines) {
    if (running.core.default_vid == MC_DEFAULT_VLAN) return;
    lines.push_back("default-vlan " + to_string(running.core.default_vid));
}

void write_rules_and_lists(const Running& running, Lines& lines) {
    const RulePlan plan = plan_of(running);
    lines.insert(lines.end(), plan.lines.begin(), plan.lines.end());
    if (running.core.vlan_learning != plan.learns) {
        lines.push_back("learning " + on_off(running.core.vlan_learning));
    }
    add_core_vlan_lines(without(running.core.vlans, plan.core_vlans), lines);
    write_deleted(without(plan.core_vlans, running.core.vlans), lines);
}

}  // namespace config
