// What gzip (RFC 1952) holds. gunzip.cpp has zlib find out; a build for a machine without zlib has
// no_gunzip.cpp in its place.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace capture {

// Fills the span as far as it can and says how far; 0 at the end.
using ReadBytes = std::function<std::size_t(std::span<std::uint8_t>)>;

class Gunzip {
 public:
    virtual ~Gunzip() = default;
    Gunzip(const Gunzip&) = delete;
    Gunzip& operator=(const Gunzip&) = delete;

    // The next bytes that were compressed: 0 at the end, and where the data break.
    [[nodiscard]] virtual std::size_t read(std::span<std::uint8_t> bytes) = 0;

    // What broke the data before their end; nothing while they are whole.
    [[nodiscard]] virtual const std::optional<std::string>& damage() const = 0;

    // Compressed bytes that were read and are still to be used.
    [[nodiscard]] virtual std::uint64_t waiting() const = 0;

 protected:
    Gunzip() = default;
};

// Nothing in a build that cannot.
[[nodiscard]] std::unique_ptr<Gunzip> make_gunzip(ReadBytes compressed);

}  // namespace capture
