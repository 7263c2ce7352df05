// The packet socket of one port: it hears what the trap lets through, before the bridge does, and
// sends frames out of the interface. The kernel takes the first 802.1Q tag off a frame that comes
// in and hands it over beside it; the tag is put back here.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace live {

struct Arrival {
    std::uint32_t length;    // on the wire, which may be more than what fits
    std::uint64_t stamp_ns;  // CLOCK_REALTIME, as the kernel took it; 0 when it did not
};

class PortSocket {
 public:
    // Throws LiveError.
    PortSocket(const std::string& interface, int index);
    ~PortSocket();
    PortSocket(const PortSocket&) = delete;
    PortSocket& operator=(const PortSocket&) = delete;

    [[nodiscard]] int descriptor() const { return descriptor_; }

    // The next frame, in buf, without waiting. Nothing when there is none, or when the interface
    // has gone down.
    [[nodiscard]] std::optional<Arrival> receive(std::span<std::uint8_t> buf) const;

    // As a switch whose untagged frames belong to the default VLAN: see node/live/egress.h.
    [[nodiscard]] bool send(std::span<const std::uint8_t> frame, std::uint16_t default_vid) const;

    // Frames that came when the socket had no room, since the last time it was asked.
    [[nodiscard]] std::uint64_t take_dropped() const;

 private:
    int descriptor_;
};

}  // namespace live
