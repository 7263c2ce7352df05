// The hex dump of frames and records as it stands on a console, told byte by byte.
#pragma once

#include <cstdio>
#include <string>

#include "tests/support/neighbours.h"

namespace mc_test {

inline std::string hex_dump(const Bytes& bytes) {
    const std::string line = "\r\n++++++++++++++++++++++++++++++++++++++++++++++++\r\n";
    std::string text = line;
    std::size_t left = bytes.size();
    int in_line = 0;
    for (const std::uint8_t byte : bytes) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%02x ", byte);
        text += digits;
        --left;
        if (++in_line == 16 && left > 0) {
            text += "\r\n";
            in_line = 0;
        }
    }
    return text + line;
}

// The bytes 0, 1, 2, ...
inline Bytes counted_bytes(std::size_t length) {
    Bytes bytes(length);
    for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<std::uint8_t>(i);
    return bytes;
}

}  // namespace mc_test
