// By what a capture shows that a frame's sender is a router:
//
//      IGMP or MLD query, not from 0.0.0.0 or ::   RFC 4541, 2.1.1, 1b: switches ask from 0.0.0.0
//      PIM hello                                   RFC 7761, 4.9.2
//      multicast router advertisement              RFC 4286, 3
//      router advertisement                        RFC 4861, 4.2
//      OSPF hello                                  RFC 2328, A.3.2; RFC 5340, A.3.2
//      VRRP advertisement                          RFC 5798, 5.2.4
//
// An IGMP or MLD message that is damaged, or cut by the capture, is no sign: it is not replayed
// either. The frame may be tagged and in a PPPoE session as for the trap.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace capture {

enum class RouterSign : std::uint8_t {
    kIgmpQuery,
    kMldQuery,
    kPimHello,
    kMulticastRouterAdvertisement,
    kRouterAdvertisement,
    kOspfHello,
    kVrrpAdvertisement,
};

inline constexpr std::size_t kRouterSigns =
    static_cast<std::size_t>(RouterSign::kVrrpAdvertisement) + 1;

[[nodiscard]] std::optional<RouterSign> router_sign(std::span<const std::uint8_t> frame);

// Signs together, one bit each.
using RouterSigns = std::uint8_t;
static_assert(kRouterSigns <= 8);

[[nodiscard]] constexpr RouterSigns bit_of(RouterSign sign) {
    return static_cast<RouterSigns>(1U << static_cast<unsigned>(sign));
}

// "IGMP queries, PIM hellos".
[[nodiscard]] std::string names(RouterSigns signs);

}  // namespace capture
