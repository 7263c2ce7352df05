// Big-endian reads and writes at any address: what frames, command records and the shared status
// segment are made of. Nothing here depends on the host's byte order or alignment.
#pragma once

#include <cstdint>

namespace mc {

// Always inlined: a call takes more, in a small build too.
[[gnu::always_inline]] constexpr std::uint16_t load_be16(const std::uint8_t* p) {
    return static_cast<std::uint16_t>(p[0] << 8 | p[1]);
}

[[gnu::always_inline]] constexpr std::uint32_t load_be32(const std::uint8_t* p) {
    return static_cast<std::uint32_t>(load_be16(p)) << 16 | load_be16(p + 2);
}

constexpr void store_be16(std::uint8_t* p, std::uint32_t value) {
    p[0] = static_cast<std::uint8_t>(value >> 8);
    p[1] = static_cast<std::uint8_t>(value);
}

constexpr void store_be32(std::uint8_t* p, std::uint32_t value) {
    store_be16(p, value >> 16);
    store_be16(p + 2, value);
}

// A value that another task may be changing: read exactly once, so that what was checked is what is
// used.
template <class Value>
Value read_once(const Value& value) {
    return *static_cast<const volatile Value*>(&value);
}

}  // namespace mc
