// Numbers that tell IGMP and MLD messages on the wire.
#pragma once

#include <cstdint>

namespace mc {

constexpr std::uint8_t kProtocolIgmp = 2;  // IPv4 protocol

// ICMPv6 types (RFC 2710, RFC 3810).
constexpr std::uint8_t kMldQuery = 130;
constexpr std::uint8_t kMldV1Report = 131;
constexpr std::uint8_t kMldV1Done = 132;
constexpr std::uint8_t kMldV2Report = 143;

}  // namespace mc
