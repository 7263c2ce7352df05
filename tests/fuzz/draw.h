// Chances of the input as the values that a step needs. A small choice takes one byte, so that a
// changed byte of the input changes one choice.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>

#include "tests/fuzz/chances.h"

namespace fuzz {

// 0 to limit - 1.
inline std::uint32_t below(std::uint32_t limit) {
    constexpr std::uint32_t kByte = 256;
    std::uint32_t value = next_byte();
    for (std::uint32_t reach = kByte; reach < limit && reach < kByte * kByte * kByte;
         reach *= kByte) {
        value = value << 8 | next_byte();
    }
    return value % limit;
}

// Not where the input is at its end: 0 stands for the most usual of all choices.
inline bool one_in(std::uint32_t n) { return below(n) == n - 1; }

inline std::uint16_t some16() { return static_cast<std::uint16_t>(below(0x10000)); }
inline std::uint32_t some32() { return static_cast<std::uint32_t>(some16()) << 16 | some16(); }

template <class Values>
auto one_of(const Values& values) {
    return values[below(static_cast<std::uint32_t>(std::size(values)))];
}

}  // namespace fuzz
