#include "tests/fuzz/core_packets.h"

#include <array>
#include <cstddef>

#include "common/bytes.h"
#include "tests/fuzz/draw.h"

namespace fuzz {
namespace {

using Ipv6 = std::array<std::uint8_t, 16>;

void append16(Bytes& bytes, std::uint32_t value) {
    bytes.push_back(static_cast<std::uint8_t>(value >> 8));
    bytes.push_back(static_cast<std::uint8_t>(value));
}

void append32(Bytes& bytes, std::uint32_t value) {
    append16(bytes, value >> 16);
    append16(bytes, value);
}

template <class More>
void append(Bytes& bytes, const More& more) {
    bytes.insert(bytes.end(), std::begin(more), std::end(more));
}

// ---- Addresses ----------------------------------------------------------------------------------

void append_host(Bytes& bytes) { append32(bytes, 0x0A000001 + below(4)); }

void append_group6(Bytes& bytes) {
    Ipv6 group{0xFF, 0x1E, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1};
    group[15] = static_cast<std::uint8_t>(below(3));
    // Another scope, no multicast, or one that shares the tail with another.
    if (one_in(8)) group[1] = next_byte();
    if (one_in(32)) group[0] = next_byte();
    if (one_in(8)) group[5] = 7;
    append(bytes, group);
}

void append_host6(Bytes& bytes) {
    Ipv6 host{0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFE, 0, 0, 0x0A};
    host[15] = static_cast<std::uint8_t>(below(4));
    if (one_in(32)) host[1] = next_byte();
    append(bytes, host);
}

// Sources are few, so that hosts agree and disagree about them; seldom they are many.
void append_source(Bytes& bytes, std::size_t width, std::uint32_t number) {
    Bytes source(width);
    source[0] = 0x20;
    mc::store_be16(&source[width - 2], number);
    append(bytes, source);
}

// ---- Reports of the newest versions -------------------------------------------------------------

std::uint32_t some_count() {
    if (one_in(64)) return below(480);
    return one_in(4) ? below(8) : below(3);
}

void append_sources(Bytes& bytes, std::size_t width, std::uint32_t count) {
    const bool in_a_row = count > 8 || one_in(4);
    const std::uint32_t first = in_a_row ? below(4) : 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        append_source(bytes, width, in_a_row ? first + i : below(6));
    }
}

template <class AppendGroup>
void append_record(Bytes& bytes, std::size_t width, const AppendGroup& append_group) {
    const std::uint32_t count = some_count();
    const std::uint32_t words = one_in(16) ? below(4) : 0;  // of auxiliary data
    bytes.push_back(static_cast<std::uint8_t>(one_in(16) ? below(9) : 1 + below(6)));
    bytes.push_back(static_cast<std::uint8_t>(words));
    append16(bytes, one_in(64) ? some16() : count);
    append_group(bytes);
    append_sources(bytes, width, count);
    bytes.insert(bytes.end(), std::size_t{4} * words, 0xAA);
}

template <class AppendGroup>
Bytes report(std::uint8_t type, std::size_t width, const AppendGroup& append_group) {
    const std::uint32_t records = one_in(4) ? below(5) : 1;
    Bytes message{type, 0, 0, 0, 0, 0};
    append16(message, one_in(64) ? below(70) : records);
    for (std::uint32_t i = 0; i < records; ++i) append_record(message, width, append_group);
    return message;
}

// Too short, too long, or with another byte somewhere.
void damage(Bytes& bytes) {
    switch (below(3)) {
        case 0:
            bytes.resize(below(static_cast<std::uint32_t>(bytes.size()) + 1));
            break;
        case 1:
            bytes.resize(bytes.size() + below(2000));
            break;
        default:
            if (!bytes.empty())
                bytes[below(static_cast<std::uint32_t>(bytes.size()))] ^= next_byte();
            break;
    }
}

// ---- IGMP ---------------------------------------------------------------------------------------

Bytes igmp_query(std::uint32_t group) {
    Bytes message{0x11, one_in(2) ? next_byte() : std::uint8_t{20}, 0, 0};
    append32(message, one_in(2) ? group : 0);
    if (one_in(2)) return message;
    const std::uint32_t sources = some_count();
    append16(message, 0x027D);
    append16(message, one_in(64) ? some16() : sources);
    append_sources(message, 4, sources);
    return message;
}

Bytes igmp_message(std::uint32_t group) {
    constexpr std::array<std::uint8_t, 5> kOfOneGroup{0x16, 0x17, 0x12, 0x30, 0x32};
    switch (below(8)) {
        case 0:
        case 1:
        case 2: {
            Bytes message{one_of(kOfOneGroup), 0, 0, 0};
            append32(message, group);
            return message;
        }
        case 3:
            return igmp_query(group);
        default:
            return report(0x22, 4, [group](Bytes& bytes) {
                append32(bytes, one_in(4) ? 0xEF010101 + below(4) : group);
            });
    }
}

// ---- MLD ----------------------------------------------------------------------------------------

Bytes mld_query() {
    Bytes message{130, 0, 0, 0, one_in(4) ? next_byte() : std::uint8_t{0}, next_byte(), 0, 0};
    if (one_in(2)) {
        append_group6(message);
    } else {
        message.resize(message.size() + 16);
    }
    if (one_in(2)) return message;
    const std::uint32_t sources = some_count();
    append16(message, 0x027D);
    append16(message, one_in(64) ? some16() : sources);
    append_sources(message, 16, sources);
    return message;
}

Bytes mld_message() {
    constexpr std::array<std::uint8_t, 4> kOfOneGroup{131, 132, 151, 153};
    if (one_in(2)) return report(143, 16, append_group6);
    if (one_in(3)) return mld_query();
    Bytes message{one_of(kOfOneGroup), 0, 0, 0, 0, 0, 0, 0};
    append_group6(message);
    return message;
}

}  // namespace

std::uint32_t sum(std::span<const std::uint8_t> bytes) {
    std::uint32_t words = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        words += std::uint32_t{bytes[i]} << (i % 2 == 0 ? 8 : 0);
    }
    return words;
}

std::uint16_t checksum(std::span<const std::uint8_t> bytes, std::uint32_t more) {
    std::uint32_t words = sum(bytes) + more;
    while (words > 0xFFFF) words = (words >> 16) + (words & 0xFFFF);
    return static_cast<std::uint16_t>(0xFFFF - words);
}

Bytes some_igmp_packet(std::uint32_t group) {
    constexpr std::size_t kHeader = 20;
    Bytes message = igmp_message(group);
    if (one_in(32)) damage(message);
    if (message.size() >= 4) mc::store_be16(&message[2], checksum(message));
    const std::uint32_t options = one_in(8) ? below(11) : 0;  // in words
    Bytes packet{static_cast<std::uint8_t>(0x45 + options), 0xC0};
    append16(packet, static_cast<std::uint32_t>(kHeader + 4 * options + message.size()));
    append(packet, Bytes{0, 0, 0, 0, 1, 2, 0, 0});
    append_host(packet);
    append32(packet, group);
    packet.insert(packet.end(), std::size_t{4} * options, 0x01);
    if (one_in(32)) damage(packet);
    if (packet.size() >= kHeader) mc::store_be16(&packet[10], checksum(packet));
    append(packet, message);
    if (one_in(64)) damage(packet);
    return packet;
}

Bytes some_mld_packet() {
    Bytes message = mld_message();
    if (one_in(32)) damage(message);
    const bool with_options = !one_in(4);
    Bytes packet{0x60, 0, 0, 0};
    append16(packet, static_cast<std::uint32_t>(message.size() + (with_options ? 8 : 0)));
    packet.push_back(with_options ? 0 : 58);
    packet.push_back(one_in(32) ? next_byte() : std::uint8_t{1});
    append_host6(packet);
    append_group6(packet);
    const std::uint32_t more =
        sum(std::span(packet).subspan(8, 32)) + static_cast<std::uint32_t>(message.size()) + 58;
    if (message.size() >= 4) mc::store_be16(&message[2], checksum(message, more));
    if (with_options) append(packet, Bytes{58, 0, 5, 2, 0, 0, 1, 0});
    if (one_in(32)) damage(packet);
    append(packet, message);
    if (one_in(64)) damage(packet);
    return packet;
}

}  // namespace fuzz
