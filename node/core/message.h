// What the core sends: the packets around all messages, and the way out through the call-backs. The
// messages are in query_message.h and report_message.h.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "node/core/checksum.h"
#include "node/core/multicast_core.h"
#include "node/core/state.h"
#include "node/core/trace.h"

namespace mcore {

using Bytes = std::vector<std::uint8_t>;

// Big-endian.
void append16(Bytes& bytes, std::uint32_t value);
void append32(Bytes& bytes, std::uint32_t value);
void append(Bytes& bytes, std::span<const std::uint8_t> more);

// The 8-bit codes of IGMPv3 for response times and intervals (RFC 3376, 4.1.1).
[[nodiscard]] std::uint8_t encode_time(std::uint64_t value);
[[nodiscard]] std::uint32_t decode_time(std::uint8_t code);
// The 16-bit codes of MLDv2 for response times (RFC 3810, 5.1.3).
[[nodiscard]] std::uint32_t decode_mld_time(std::uint16_t code);

// ---- Packets ------------------------------------------------------------------------------------

// An IGMP message behind its IP header: router alert, TTL 1, TOS 0xC0.
[[nodiscard]] Bytes ipv4_packet(std::uint32_t source, std::uint32_t destination,
                                const Bytes& message);
// An ICMPv6 message, whose checksum is put in, behind IPv6 and hop-by-hop header: router alert, hop
// limit 1.
[[nodiscard]] Bytes ipv6_packet(const Address& source, const Address& destination, Bytes message);

// Hands a packet to the call-back of its family, with the tag of the place.
void send_packet(const Place& place, Sent kind, std::uint8_t priority, Bytes packet);

// ---- IGMP ---------------------------------------------------------------------------------------

enum class IgmpType : std::uint8_t {
    kQuery = 0x11,
    kV1Report = 0x12,
    kV2Report = 0x16,
    kLeave = 0x17,
    kV3Report = 0x22,
};

[[nodiscard]] Bytes with_igmp_checksum(Bytes message);

struct SendTag {
    std::uint16_t vid;
    std::uint8_t priority;
};

// From the proxy address.
void send_igmp(Sent kind, std::uint16_t port, SendTag tag, std::uint32_t destination,
               const Bytes& message);

}  // namespace mcore
