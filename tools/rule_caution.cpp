#include "tools/rule_caution.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

#include "adapt/records.h"
#include "command/config_commands.h"
#include "command/record.h"

namespace commands {
namespace {

constexpr std::uint32_t kLastUserPort = 5;

// A rule that changes the VLAN of IGMP that goes down.
struct Translation {
    std::uint32_t port;
    std::uint32_t network_vlan;
    std::uint32_t data_vlan;
    std::uint32_t port_vlan;
};

std::optional<Translation> translation_of(mc::CommandRecord record) {
    using Rule = mc::VlanRule;
    using Service = mc::ServicePort;
    switch (record.code()) {
        case mc::SetRule::code:
        case mc::SetWebRule::code:
            if (record[Rule::down_mode] < MC_TAG_MODE_TRANSLATE) return std::nullopt;
            return Translation{record[Rule::port], record[Rule::in_down], record[Rule::in_data],
                               record[Rule::out_down]};
        case mc::SetPortVlanMode::code:
            if (record[Service::mode] != MC_TAG_MODE_TRANSLATE) return std::nullopt;
            return Translation{record[Service::port], record[Service::vlan2],
                               record[Service::vlan2], record[Service::vlan]};
        default:
            return std::nullopt;
    }
}

std::string vlan(std::uint32_t vid) { return "VLAN " + std::to_string(vid); }

}  // namespace

std::string caution(const Record& record) {
    std::array<std::uint8_t, MC_RECORD_SIZE> image{};
    std::copy_n(record.bytes.begin(), std::min(record.bytes.size(), image.size()), image.begin());
    const auto rule = translation_of({image.data()});
    if (!rule || rule->port > kLastUserPort) return "";
    const std::uint32_t to = rule->port_vlan;
    if (to == 0 || to == MC_NO_VLAN) return "";
    std::string line;
    if (rule->port != 0 && to != rule->data_vlan) {
        line = "queries of the node itself leave port " + std::to_string(rule->port) + " in " +
               vlan(to) + " only if port 0 has such a rule in the same place";
    }
    if (rule->port != kLastUserPort && to != rule->network_vlan) {
        line += (line.empty() ? "" : "; ") + std::string("ports above ") +
                std::to_string(rule->port) + " without a rule for " + vlan(rule->network_vlan) +
                " get the network's queries in " + vlan(to);
    }
    return line;
}

}  // namespace commands
