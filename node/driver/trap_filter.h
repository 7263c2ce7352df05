// The switch's trap: which frames of a port reach the processor.
//
// Trapped are IGMP (IPv4, protocol 2) and MLD (ICMPv6 types 130, 131, 132 and 143, with or without
// a hop-by-hop header), with Multicast Router Discovery, which is IGMP and ICMPv6 types 151 to 153
// (RFC 4286), behind up to two 802.1Q tags and at most one PPPoE session header:
//
//      0        6        12
//      dst MAC  src MAC  { 0x8100 TCI }*  type                                        packet
//      dst MAC  src MAC  { 0x8100 TCI }*  0x8864 code(2) session(2) length(2) proto   packet
//
// proto is the PPP protocol (0x0021 IPv4, 0x0057 IPv6). An Ethernet type in its place is accepted
// too: that is the value which the adaptation layer looks for there.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace driver {

enum class TrapVerdict {
    kOther,  // stays in the switch
    kIgmp,
    kMld,
    kTooShort,  // ends before it can be told
};

[[nodiscard]] TrapVerdict classify(std::span<const std::uint8_t> frame);

// The IP packet of a frame that is trapped, with what pads the frame behind it.
[[nodiscard]] std::span<const std::uint8_t> packet_of(std::span<const std::uint8_t> frame);

// The IP packet of any frame that has one behind these headers, with what pads the frame; nothing
// for another frame, and for one that ends before its packet.
[[nodiscard]] std::optional<std::span<const std::uint8_t>> ip_packet_of(
    std::span<const std::uint8_t> frame);

}  // namespace driver
