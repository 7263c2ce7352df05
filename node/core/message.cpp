#include "node/core/message.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <string>

#include "common/bytes.h"
#include "node/core/address.h"
#include "node/core/event_watch.h"
#include "node/core/trace.h"

namespace mcore {
namespace {

constexpr std::size_t kChecksumAt = 2;  // of both families

constexpr std::size_t kIpv4Header = 24;  // with the router alert option
constexpr std::size_t kIpv4LengthAt = 2;
constexpr std::size_t kIpv4ChecksumAt = 10;
constexpr std::size_t kIpv4DestinationAt = 16;
constexpr std::size_t kIpv6DestinationAt = 24;

}  // namespace

void append16(Bytes& bytes, std::uint32_t value) {
    bytes.push_back(static_cast<std::uint8_t>(value >> 8));
    bytes.push_back(static_cast<std::uint8_t>(value));
}

void append32(Bytes& bytes, std::uint32_t value) {
    append16(bytes, value >> 16);
    append16(bytes, value);
}

void append(Bytes& bytes, std::span<const std::uint8_t> more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

Bytes with_igmp_checksum(Bytes message) {
    mc::store_be16(message.data() + kChecksumAt, internet_checksum(message));
    return message;
}

// Below 128 the value itself, above that 1, a 3-bit exponent and a 4-bit mantissa.
std::uint8_t encode_time(std::uint64_t value) {
    constexpr std::uint64_t kLargest = 0x1FU << 10;
    value = std::min(value, kLargest);
    if (value < 128) return static_cast<std::uint8_t>(value);
    const auto exponent = static_cast<std::uint32_t>(std::bit_width(value)) - 8;
    return static_cast<std::uint8_t>(0x80 | exponent << 4 | (value >> (exponent + 3) & 0x0F));
}

std::uint32_t decode_time(std::uint8_t code) {
    if (code < 128) return code;
    return ((code & 0x0FU) + 0x10U) << ((code >> 4 & 7) + 3);
}

std::uint32_t decode_mld_time(std::uint16_t code) {
    if (code < 0x8000) return code;
    return ((code & 0x0FFFU) + 0x1000U) << ((code >> 12 & 7) + 3);
}

Bytes ipv4_packet(std::uint32_t source, std::uint32_t destination, const Bytes& message) {
    Bytes packet{0x46, 0xC0, 0, 0,   // version and length, TOS of network control, total length
                 0,    0,    0, 0,   // no identification, not a fragment
                 1,    2,    0, 0};  // TTL, IGMP, checksum
    append32(packet, source);
    append32(packet, destination);
    append32(packet, 0x94040000);  // router alert (RFC 2113)
    mc::store_be16(packet.data() + kIpv4LengthAt,
                   static_cast<std::uint32_t>(kIpv4Header + message.size()));
    mc::store_be16(packet.data() + kIpv4ChecksumAt, internet_checksum(packet));
    append(packet, message);
    return packet;
}

Bytes ipv6_packet(const Address& source, const Address& destination, Bytes message) {
    constexpr std::size_t kIpv6Header = 40;
    constexpr std::size_t kHopByHop = 8;
    mc::store_be16(message.data() + kChecksumAt, 0);
    mc::store_be16(message.data() + kChecksumAt,
                   icmpv6_checksum(source.data(), destination.data(), message));
    Bytes packet{0x60, 0, 0, 0};
    packet.reserve(kIpv6Header + kHopByHop + message.size());
    append16(packet, static_cast<std::uint32_t>(kHopByHop + message.size()));
    packet.push_back(0);  // hop-by-hop options follow
    packet.push_back(1);  // hop limit
    append(packet, source);
    append(packet, destination);
    append(packet, Bytes{58, 0, 5, 2, 0, 0, 1, 0});  // ICMPv6 next; router alert, padding
    append(packet, message);
    return packet;
}

void send_packet(const Place& place, Sent kind, std::uint8_t priority, Bytes packet) {
    const CallBacks& call = core().call_backs;
    const bool is_igmp = place.family == Family::kIpv4;
    if (is_igmp ? call.send == nullptr : call.mld_send == nullptr) return;
    ++core().counters.sent[static_cast<std::size_t>(kind)];
    trace(Trace::kSent, place, [&] {
        const std::size_t at = is_igmp ? kIpv4DestinationAt : kIpv6DestinationAt;
        return "sent " + std::string(name(kind)) + " to " +
               text(place.family, load_address(place.family, &packet[at]));
    });
    tell_event(place, [&] { return MessageSent{kind, sent_message_of(place, packet)}; });
    const auto port = static_cast<std::uint16_t>(place.port);
    const auto length = static_cast<std::uint16_t>(packet.size());
    IgmpVlanTag tag{0x8100, static_cast<std::uint16_t>(place.vlan), priority};
    if (is_igmp) {
        call.send(port, packet.data(), &tag, length);
    } else {
        call.mld_send(packet.data(), port, &tag, length);
    }
}

void send_igmp(Sent kind, std::uint16_t port, SendTag tag, std::uint32_t destination,
               const Bytes& message) {
    send_packet({Family::kIpv4, port, tag.vid}, kind, tag.priority,
                ipv4_packet(core().settings.proxy_ip, destination, message));
}

}  // namespace mcore
