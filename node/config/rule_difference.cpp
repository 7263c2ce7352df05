#include "node/config/rule_difference.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "adapt/records.h"
#include "command/config_commands.h"
#include "node/config/record_fields.h"

namespace config {
namespace {

// ---- Rules --------------------------------------------------------------------------------------

// What makes one rule, or takes it from the IGMP side again at once.
using RuleLines = std::vector<Lines>;

RuleLines rules_in(const Lines& lines) {
    RuleLines rules;
    for (const std::string& line : lines) {
        if (line.starts_with("vlan delete ") && !rules.empty()) {
            rules.back().push_back(line);
        } else if (line.starts_with("vlan ")) {
            rules.push_back({line});
        }
    }
    return rules;
}

struct RuleKey {
    std::uint32_t port;
    std::uint16_t up_in;
    std::uint16_t data;
};

// By which a delete finds the rule that a line has made.
RuleKey key_of(const std::string& line) {
    const RecordFields fields(line);
    if (line.starts_with("vlan service-set ")) {
        using Service = mc::ServicePort;
        const auto first = static_cast<std::uint16_t>(fields[Service::vlan]);
        const auto second = static_cast<std::uint16_t>(fields[Service::vlan2]);
        switch (fields[Service::mode]) {
            case MC_TAG_MODE_TRANSLATE:
                return {fields[Service::port], first, second};
            case MC_TAG_MODE_TAG:
                return {fields[Service::port], 0, first};
            default:
                return {fields[Service::port], first, first};
        }
    }
    using Rule = mc::VlanRule;
    if (!line.starts_with("vlan web-set ")) {
        return {fields[Rule::port], fields[Rule::in_up], fields[Rule::in_data]};
    }
    std::uint16_t up_in = fields[Rule::out_down];
    if (fields[Rule::down_mode] == MC_TAG_MODE_TAG) up_in = 0;
    if (fields[Rule::down_mode] == MC_TAG_MODE_UNTAG) up_in = fields[Rule::in_down];
    return {fields[Rule::port], up_in, fields[Rule::in_data]};
}

std::string delete_line(const RuleKey& key) {
    return "vlan delete " + port_option(key.port) + " --up-in " + vlan_word(key.up_in) +
           " --data-in " + vlan_word(key.data);
}

// The one command that deletes on both sides; a tag mode says the upstream VLAN.
std::string service_line(const RuleKey& key, std::uint16_t data) {
    const std::string line = "vlan service-remove " + port_option(key.port);
    if (key.up_in == 0) return line + " --mode tag --vlan " + vlan_word(data);
    return line + " --mode translate --vlan " + vlan_word(key.up_in) + " --second-vlan " +
           vlan_word(data);
}

void write_deletion(const RuleKey& key, bool is_shared, std::uint16_t default_vlan, Lines& posted) {
    if (!is_shared) {
        posted.push_back(delete_line(key));
    } else if (key.data != 0) {
        posted.push_back(service_line(key, key.data));
    } else {
        // It cannot say an untagged data VLAN, so the default one stands there, which is withdrawn
        // from no list.
        posted.push_back(delete_line(key));
        posted.push_back(service_line(key, default_vlan));
    }
}

std::uint16_t default_vlan_in(const Lines& lines) {
    for (const std::string& line : lines) {
        if (line.starts_with("default-vlan ")) return RecordFields(line)[mc::SetDefaultVlan::vlan];
    }
    return MC_DEFAULT_VLAN;
}

// Whether the MLD side has it too: with a VLAN that the rows before it have, it has not.
std::vector<bool> shared_rules(const RuleLines& rules) {
    std::set<std::uint16_t> known;
    std::vector<bool> shared;
    for (const Lines& rule : rules) {
        const bool is_new = !known.contains(key_of(rule.front()).data);
        const bool is_web = rule.front().starts_with("vlan web-set ");
        const bool is_service = rule.front().starts_with("vlan service-set ");
        shared.push_back(is_service || (is_new && !is_web));
        if (rule.size() == 1) known.insert(key_of(rule.front()).data);
    }
    return shared;
}

// Which of the rules that are there stay: those with which the wanted ones begin, in their order.
std::vector<bool> staying(const RuleLines& are, const RuleLines& shall_be, std::size_t& stay) {
    std::vector<bool> stays;
    for (const Lines& rule : are) {
        stays.push_back(stay < shall_be.size() && rule == shall_be[stay]);
        if (stays.back()) ++stay;
    }
    return stays;
}

// ---- The core's list ----------------------------------------------------------------------------

struct VlanList {
    std::set<std::uint16_t> added;
    std::set<std::uint16_t> deleted;
};

VlanList list_in(const Lines& lines) {
    VlanList list;
    for (const std::string& line : lines) {
        if (line.starts_with("core-vlan delete ")) {
            list.deleted.insert(RecordFields(line)[mc::DeleteVlan::vlan]);
        } else if (line.starts_with("core-vlan add ")) {
            const RecordFields fields(line);
            const std::uint16_t first = fields[mc::AddVlans::first];
            const std::uint16_t last = std::max(first, fields[mc::AddVlans::last]);
            for (std::uint32_t vlan = first; vlan <= last; ++vlan) {
                list.added.insert(static_cast<std::uint16_t>(vlan));
            }
        }
    }
    return list;
}

}  // namespace

void change_rules(const Lines& running, const Lines& wanted, bool anew, Lines& posted) {
    const RuleLines are = rules_in(running);
    const RuleLines shall_be = rules_in(wanted);
    if (are == shall_be && !anew) return;
    const std::vector<bool> shared = shared_rules(are);
    const std::uint16_t default_vlan = default_vlan_in(wanted);
    std::size_t stay = 0;
    const std::vector<bool> stays =
        anew ? std::vector<bool>(are.size()) : staying(are, shall_be, stay);
    for (std::size_t i = are.size(); i-- > 0;) {
        if (stays[i]) continue;
        write_deletion(key_of(are[i].front()), shared[i], default_vlan, posted);
    }
    for (; stay < shall_be.size(); ++stay) {
        posted.insert(posted.end(), shall_be[stay].begin(), shall_be[stay].end());
    }
}

void change_core_vlans(const Lines& running, const Lines& wanted, Lines& posted) {
    const VlanList is = list_in(running);
    const VlanList shall_be = list_in(wanted);
    std::set<std::uint16_t> add;
    std::set<std::uint16_t> remove;
    std::ranges::set_difference(shall_be.added, is.added, std::inserter(add, add.end()));
    std::ranges::set_difference(is.deleted, shall_be.deleted, std::inserter(add, add.end()));
    std::ranges::set_difference(is.added, shall_be.added, std::inserter(remove, remove.end()));
    std::ranges::set_difference(shall_be.deleted, is.deleted, std::inserter(remove, remove.end()));
    add_core_vlan_lines(add, posted);
    for (const std::uint16_t vlan : remove) {
        posted.push_back("core-vlan delete " + std::to_string(vlan));
    }
}

}  // namespace config
