#include "node/config/words.h"

#include <iterator>

#include "adapt/records.h"

namespace config {

std::string port_option(std::uint32_t number) {
    return "--port " + (number == MC_UPLINK_PORT ? "uplink" : std::to_string(number));
}

std::string vlan_word(std::uint16_t vlan) {
    if (vlan == MC_NO_VLAN) return "none";
    return vlan == 0 ? "untagged" : std::to_string(vlan);
}

std::string ipv4_word(std::uint32_t address) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        text += (text.empty() ? "" : ".") + std::to_string(address >> shift & 0xFF);
    }
    return text;
}

std::string on_off(bool on) { return on ? "on" : "off"; }

void add_core_vlan_lines(const std::set<std::uint16_t>& vlans, Lines& lines) {
    for (auto first = vlans.begin(); first != vlans.end();) {
        auto behind = std::next(first);
        std::uint16_t last = *first;
        while (behind != vlans.end() && *behind == last + 1) last = *behind++;
        std::string line = "core-vlan add " + std::to_string(*first);
        if (last != *first) line += " " + std::to_string(last);
        lines.push_back(line);
        first = behind;
    }
}

}  // namespace config
