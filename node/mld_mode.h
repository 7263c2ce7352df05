// The mode of the MLD side. Commands set the IGMP side's only, so the host process sets this one:
// in proxy mode the host side of both families is the core's, so MLD follows IGMP there and back.
#pragma once

#include <cstdint>

namespace node {

// The library names the other two. In this one it hands every frame to the core and to no handler.
inline constexpr std::uint16_t kMldProxyMode = 1;

void set_mld_mode(std::uint16_t mode);

// From now on, until the process ends.
void let_mld_follow_igmp_proxy();

}  // namespace node
