// The checksums of IP headers, IGMP and ICMPv6 messages.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace mcore {

// The sum of 16-bit words, a last odd byte being the high half of one.
[[nodiscard]] constexpr std::uint32_t sum_words(std::span<const std::uint8_t> bytes) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        sum += i % 2 == 0 ? std::uint32_t{bytes[i]} << 8 : std::uint32_t{bytes[i]};
    }
    return sum;
}

[[nodiscard]] constexpr std::uint16_t folded_complement(std::uint32_t sum) {
    while (sum >> 16 != 0) sum = (sum & 0xFFFF) + (sum >> 16);
    return static_cast<std::uint16_t>(~sum);
}

// RFC 1071; 0 over bytes that hold their right checksum.
[[nodiscard]] constexpr std::uint16_t internet_checksum(std::span<const std::uint8_t> bytes) {
    return folded_complement(sum_words(bytes));
}

// The same for an ICMPv6 message, whose checksum takes in a pseudo-header (RFC 8200, 8.1).
[[nodiscard]] constexpr std::uint16_t icmpv6_checksum(const std::uint8_t* source,
                                                      const std::uint8_t* destination,
                                                      std::span<const std::uint8_t> message) {
    constexpr std::uint32_t kIcmpv6 = 58;
    const auto length = static_cast<std::uint32_t>(message.size());
    return folded_complement(sum_words({source, 16}) + sum_words({destination, 16}) + length +
                             kIcmpv6 + sum_words(message));
}

}  // namespace mcore
