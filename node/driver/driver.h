// What the L2_multicast_ functions of platform/l2_multicast.h work on: the driver that the node has
// chosen, over captures or over the interfaces of this machine.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace driver {

inline constexpr std::size_t kLongestFrame = 2000;  // what the switch traps, without FCS

using MacAddress = std::array<std::uint8_t, 6>;

struct Delivery {
    std::uint8_t port;
    std::uint32_t length;
};

// read() is the packet task's. The others come from whatever thread the library or the core is on.
// True is success; a port is refused that the switch does not have.
class Driver {
 public:
    virtual ~Driver() = default;

    // Waits for the next trapped frame and puts it into buf; nothing when there will be no more.
    [[nodiscard]] virtual std::optional<Delivery> read(std::span<std::uint8_t> buf) = 0;

    [[nodiscard]] virtual bool send(std::int64_t port, std::span<const std::uint8_t> frame) = 0;
    [[nodiscard]] virtual bool set_entry(std::int64_t port, const MacAddress& mac,
                                         std::uint16_t vlan) = 0;
    [[nodiscard]] virtual bool remove_entry(std::int64_t port, const MacAddress& mac,
                                            std::uint16_t vlan) = 0;

    // The id under which the PON has registered the node; 255 is none.
    [[nodiscard]] virtual std::uint8_t onu_id() const = 0;
    virtual void set_onu_id(std::uint8_t onu_id) = 0;

 protected:
    Driver() = default;
    Driver(const Driver&) = default;
    Driver& operator=(const Driver&) = default;
};

// Chooses the driver; to be called before the library starts. It must never be destroyed.
void use(Driver& driver);

// The chosen one; there must be one.
[[nodiscard]] Driver& chosen();

}  // namespace driver
