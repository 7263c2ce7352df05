// Packets of IGMP and MLD made of chances: mostly right, at times wrong in one place.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace fuzz {

using Bytes = std::vector<std::uint8_t>;

// RFC 1071, and its sum alone.
std::uint32_t sum(std::span<const std::uint8_t> bytes);
std::uint16_t checksum(std::span<const std::uint8_t> bytes, std::uint32_t more = 0);

// IPv4 with IGMP in it; the group is what most messages are about.
Bytes some_igmp_packet(std::uint32_t group);
// IPv6 with MLD in it.
Bytes some_mld_packet();

}  // namespace fuzz
