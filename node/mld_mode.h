// The mode of the MLD side. Commands set the IGMP side's only, so the host process sets this one:
// in proxy mode the host side of both families is the core's, so MLD follows IGMP there and back.
#pragma once

#include <cstdint>
#include <string>

namespace node {

// The library names the other two. In this one it hands every frame to the core and to no handler.
inline constexpr std::uint16_t kMldProxyMode = 1;

void set_mld_mode(std::uint16_t mode);

// The mode that MLD has, or in IGMP's proxy mode the one that it goes back to.
[[nodiscard]] std::uint16_t own_mld_mode();

// "snooping", "control" or "proxy".
[[nodiscard]] std::string name_of_mld_mode(std::uint16_t mode);
// Throws UsageError.
[[nodiscard]] std::uint16_t parse_mld_mode(const std::string& name);

// From now on, until the process ends.
void let_mld_follow_igmp_proxy();

}  // namespace node
