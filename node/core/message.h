// What the core sends: its queries, the packets around all messages, and the way out through the
// call-backs. The reports are in report_message.h.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "node/core/checksum.h"
#include "node/core/development_core.h"
#include "node/core/state.h"

namespace devcore {

using Bytes = std::vector<std::uint8_t>;

void append16(Bytes& bytes, std::uint32_t value);
void append32(Bytes& bytes, std::uint32_t value);
void append(Bytes& bytes, std::span<const std::uint8_t> more);

// The 8-bit codes of IGMPv3 for response times and intervals (RFC 3376, 4.1.1).
[[nodiscard]] std::uint8_t encode_time(std::uint64_t value);
[[nodiscard]] std::uint32_t decode_time(std::uint8_t code);
// The 16-bit codes of MLDv2 for response times (RFC 3810, 5.1.3).
[[nodiscard]] std::uint32_t decode_mld_time(std::uint16_t code);

// ---- IGMP ---------------------------------------------------------------------------------------

struct IgmpQuery {
    std::uint8_t version;
    std::uint32_t group;          // 0: general
    std::uint32_t response_time;  // seconds
};
[[nodiscard]] Bytes igmp_query(const IgmpQuery& query);

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

// Puts the IP header before the message: router alert, TTL 1, TOS 0xC0, from the proxy address.
void send_igmp(Sent kind, std::uint16_t port, SendTag tag, std::uint32_t destination,
               const Bytes& message);

// ---- MLD ----------------------------------------------------------------------------------------

// The whole packet around an ICMPv6 message: IPv6 and hop-by-hop header with router alert, from the
// core's link-local address; puts in the checksum.
[[nodiscard]] Bytes mld_packet(const Address& destination, Bytes message);
[[nodiscard]] Bytes mld_group_query(std::uint8_t version, const Address& group,
                                    std::uint32_t response_time);
void send_mld(Sent kind, std::uint16_t port, std::uint16_t vid, Bytes packet);

}  // namespace devcore
