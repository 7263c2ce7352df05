// Capture files as bytes, for the tests of what reads them.
#pragma once

#include <pcap/pcap.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <vector>

#include "support/frame_pieces.h"

namespace capture_files {

namespace fs = std::filesystem;
using frame_pieces::Bytes;
using frame_pieces::operator+;

inline constexpr std::uint64_t kSecond = 1'000'000;

struct Stamped {
    std::uint64_t stamp;  // in the file's resolution
    Bytes bytes;
    std::uint32_t wire_length = 0;  // 0: as many as there are bytes
};

inline void write_file(const fs::path& file, const Bytes& bytes) {
    std::ofstream stream(file, std::ios::binary);
    stream.write(reinterpret_cast<const char*>(bytes.data()),
                 static_cast<std::streamsize>(bytes.size()));
}

inline Bytes be(std::uint64_t value, int bytes) {
    Bytes out;
    for (int i = bytes - 1; i >= 0; --i) out.push_back(static_cast<std::uint8_t>(value >> 8 * i));
    return out;
}

inline Bytes le(std::uint64_t value, int bytes) {
    Bytes out = be(value, bytes);
    std::ranges::reverse(out);
    return out;
}

/* pcap, byte by byte, so that either byte order and resolution can be had on any machine. */
template <class Order>
Bytes pcap_bytes(Order order, std::uint32_t magic, std::uint64_t per_second,
                 const std::vector<Stamped>& frames, std::uint32_t link_type = DLT_EN10MB) {
    Bytes out = order(magic, 4) + order(2, 2) + order(4, 2) + order(0, 4) + order(0, 4) +
                order(65535, 4) + order(link_type, 4);
    for (const Stamped& frame : frames) {
        const std::uint64_t length =
            frame.wire_length != 0 ? frame.wire_length : frame.bytes.size();
        out = out + order(frame.stamp / per_second, 4) + order(frame.stamp % per_second, 4) +
              order(frame.bytes.size(), 4) + order(length, 4) + frame.bytes;
    }
    return out;
}

inline Bytes pcap_bytes(const std::vector<Stamped>& frames, std::uint32_t link_type = DLT_EN10MB) {
    return pcap_bytes(le, 0xA1B2C3D4, kSecond, frames, link_type);
}

/* pcapng: section header, interface, one enhanced packet block a frame, microseconds. */
inline Bytes pcapng_bytes(const std::vector<Stamped>& frames) {
    Bytes out = le(0x0A0D0D0A, 4) + le(28, 4) + le(0x1A2B3C4D, 4) + le(1, 2) + le(0, 2) +
                Bytes(8, 0xFF) + le(28, 4);
    out = out + le(1, 4) + le(20, 4) + le(DLT_EN10MB, 2) + le(0, 2) + le(0, 4) + le(20, 4);
    for (const Stamped& frame : frames) {
        const Bytes data = frame.bytes + Bytes((4 - frame.bytes.size() % 4) % 4, 0);
        const std::size_t length = 32 + data.size();
        out = out + le(6, 4) + le(length, 4) + le(0, 4) + le(frame.stamp >> 32, 4) +
              le(frame.stamp, 4) + le(frame.bytes.size(), 4) + le(frame.bytes.size(), 4) + data +
              le(length, 4);
    }
    return out;
}

/* RFC 1952, 8. */
inline std::uint32_t crc32(const Bytes& bytes) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (const std::uint8_t byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ (0xEDB88320 & (0 - (crc & 1)));
    }
    return ~crc;
}

/* A member of gzip: one block as it is (RFC 1951, 3.2.4), at most 65535 bytes. */
inline Bytes gzip_bytes(const Bytes& bytes) {
    return Bytes{0x1F, 0x8B, 8, 0, 0, 0, 0, 0, 0, 0xFF} + Bytes{1} + le(bytes.size(), 2) +
           le(~bytes.size(), 2) + bytes + le(crc32(bytes), 4) + le(bytes.size(), 4);
}

}  // namespace capture_files
