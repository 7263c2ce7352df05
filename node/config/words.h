// How values are written in lines of a configuration: as mcctl reads them
// (tools/command_table.cpp).
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace config {

using Lines = std::vector<std::string>;

// "--port 2", "--port uplink" of a port's number.
[[nodiscard]] std::string port_option(std::uint32_t number);
// "100", "untagged" or "none".
[[nodiscard]] std::string vlan_word(std::uint16_t vlan);
// "239.1.1.1"
[[nodiscard]] std::string ipv4_word(std::uint32_t address);
[[nodiscard]] std::string on_off(bool on);

// The commands that put VLANs on the core's list; those in a row are one.
void add_core_vlan_lines(const std::set<std::uint16_t>& vlans, Lines& lines);

}  // namespace config
