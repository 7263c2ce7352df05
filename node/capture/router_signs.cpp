#include "node/capture/router_signs.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "node/driver/frame_check.h"
#include "node/driver/trap_filter.h"

namespace capture {
namespace {

using Bytes = std::span<const std::uint8_t>;

// Of IPv4 and IPv6 alike.
constexpr std::uint8_t kProtocolOspf = 89;
constexpr std::uint8_t kProtocolPim = 103;
constexpr std::uint8_t kProtocolVrrp = 112;

// What a packet carries.
struct Message {
    std::uint8_t protocol;
    Bytes source;
    Bytes bytes;  // at least kLeast
};
constexpr std::size_t kLeast = 2;  // what tells the types below

// What asks and advertises has a name of its own in each family.
struct Family {
    std::uint8_t protocol;
    std::uint8_t query;
    RouterSign query_sign;
    std::uint8_t multicast_router_advertisement;
    std::optional<std::uint8_t> router_advertisement;
};
constexpr Family kIgmp{2, 0x11, RouterSign::kIgmpQuery, 0x30, std::nullopt};
constexpr Family kIcmpv6{58, 130, RouterSign::kMldQuery, 151, 134};

std::optional<Message> message_in(Bytes packet, std::uint8_t protocol, Bytes source,
                                  std::size_t header) {
    if (packet.size() < header + kLeast) return std::nullopt;
    return Message{protocol, source, packet.subspan(header)};
}

// A fragment but the first has no message at its beginning.
std::optional<Message> ipv4_message(Bytes packet) {
    constexpr std::size_t kHeader = 20;
    if (packet.size() < kHeader || packet[0] >> 4 != 4) return std::nullopt;
    const std::size_t header = (packet[0] & 0x0FU) * std::size_t{4};
    const bool is_later_fragment = (packet[6] & 0x1FU) != 0 || packet[7] != 0;
    if (header < kHeader || is_later_fragment) return std::nullopt;
    return message_in(packet, packet[9], packet.subspan(12, 4), header);
}

std::optional<Message> ipv6_message(Bytes packet) {
    constexpr std::size_t kHeader = 40;
    constexpr std::uint8_t kHopByHop = 0;
    if (packet.size() < kHeader + kLeast || packet[0] >> 4 != 6) return std::nullopt;
    const Bytes source = packet.subspan(8, 16);
    if (packet[6] != kHopByHop) return message_in(packet, packet[6], source, kHeader);
    const std::size_t options = (packet[kHeader + 1] + std::size_t{1}) * 8;
    return message_in(packet, packet[kHeader], source, kHeader + options);
}

bool is_unspecified(Bytes address) {
    return std::ranges::all_of(address, [](std::uint8_t byte) { return byte == 0; });
}

std::optional<RouterSign> sign_of_membership(const Family& family, const Message& message) {
    const std::uint8_t type = message.bytes[0];
    if (type == family.multicast_router_advertisement) {
        return RouterSign::kMulticastRouterAdvertisement;
    }
    if (type == family.router_advertisement) return RouterSign::kRouterAdvertisement;
    if (type == family.query && !is_unspecified(message.source)) return family.query_sign;
    return std::nullopt;
}

std::optional<RouterSign> sign_of(const Message& message, bool is_ipv4) {
    constexpr std::uint8_t kPimHello = 0x20;  // version 2, type 0
    constexpr std::uint8_t kOspfHello = 1;
    constexpr std::uint8_t kVrrpAdvertisement = 1;
    const std::uint8_t first = message.bytes[0];
    switch (message.protocol) {
        case kProtocolPim:
            if (first == kPimHello) return RouterSign::kPimHello;
            break;
        case kProtocolOspf:
            if (message.bytes[1] == kOspfHello) return RouterSign::kOspfHello;
            break;
        case kProtocolVrrp:
            if ((first & 0x0F) == kVrrpAdvertisement) return RouterSign::kVrrpAdvertisement;
            break;
        default:
            break;
    }
    const Family& family = is_ipv4 ? kIgmp : kIcmpv6;
    if (message.protocol != family.protocol) return std::nullopt;
    return sign_of_membership(family, message);
}

bool is_damaged(Bytes frame) {
    switch (driver::classify(frame)) {
        case driver::TrapVerdict::kIgmp:
        case driver::TrapVerdict::kMld:
            return driver::refuse(frame, false).has_value();
        case driver::TrapVerdict::kOther:
        case driver::TrapVerdict::kTooShort:
            break;
    }
    return false;
}

}  // namespace

std::optional<RouterSign> router_sign(Bytes frame) {
    const auto packet = driver::ip_packet_of(frame);
    if (!packet) return std::nullopt;
    const bool is_ipv4 = (*packet)[0] >> 4 == 4;
    const auto message = is_ipv4 ? ipv4_message(*packet) : ipv6_message(*packet);
    if (!message) return std::nullopt;
    const auto sign = sign_of(*message, is_ipv4);
    return sign && !is_damaged(frame) ? sign : std::nullopt;
}

std::string names(RouterSigns signs) {
    static constexpr std::array<std::string_view, kRouterSigns> kNames{
        "IGMP queries",
        "MLD queries",
        "PIM hellos",
        "multicast router advertisements",
        "router advertisements",
        "OSPF hellos",
        "VRRP advertisements"};
    std::string text;
    for (std::size_t i = 0; i < kRouterSigns; ++i) {
        if ((signs & 1U << i) == 0) continue;
        text += text.empty() ? "" : ", ";
        text += kNames[i];
    }
    return text;
}

}  // namespace capture
