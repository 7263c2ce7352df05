#include "bench/frames.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <stdexcept>

namespace bench {
namespace {

constexpr std::uint8_t kProtocolIgmp = 2;
constexpr std::uint8_t kProtocolUdp = 17;
constexpr std::uint8_t kProtocolIcmpv6 = 58;
constexpr std::size_t kEthernet = 14;
constexpr std::size_t kIpv6Header = 40;

// All IGMPv3 capable routers, all hosts, all routers, all MLDv2 capable routers.
constexpr std::array<std::uint8_t, 4> kIgmpRouters = {224, 0, 0, 22};
constexpr std::array<std::uint8_t, 4> kIgmpAllHosts = {224, 0, 0, 1};
constexpr std::array<std::uint8_t, 4> kIgmpAllRouters = {224, 0, 0, 2};
constexpr std::array<std::uint8_t, 16> kMldAllRouters = {0xFF, 2, 0, 0, 0, 0, 0, 0,
                                                         0,    0, 0, 0, 0, 0, 0, 2};
constexpr std::array<std::uint8_t, 16> kMldRouters = {0xFF, 2, 0, 0, 0, 0, 0, 0,
                                                      0,    0, 0, 0, 0, 0, 0, 0x16};

void put16(Frame& frame, std::size_t value) {
    frame.push_back(static_cast<std::uint8_t>(value >> 8));
    frame.push_back(static_cast<std::uint8_t>(value));
}

void put(Frame& frame, FrameView bytes) {
    for (const std::uint8_t byte : bytes) frame.push_back(byte);
}

void set16(Frame& frame, std::size_t at, std::uint16_t value) {
    frame[at] = static_cast<std::uint8_t>(value >> 8);
    frame[at + 1] = static_cast<std::uint8_t>(value);
}

std::uint32_t sum16(FrameView bytes) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        sum += static_cast<std::uint32_t>(bytes[i]) << (i % 2 != 0 ? 0 : 8);
    }
    return sum;
}

std::uint16_t folded(std::uint32_t sum) {
    while (sum >> 16 != 0) sum = (sum & 0xFFFF) + (sum >> 16);
    return static_cast<std::uint16_t>(~sum);
}

Frame host_ipv4(std::uint8_t host) { return {192, 0, 2, host}; }

Frame host_ipv6(std::uint8_t host) {
    return {0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFE, 0, 0, host};
}

// Ethernet header to a multicast address; the low bytes of the address make the MAC.
Frame ethernet(FrameView destination, std::uint8_t host) {
    Frame frame;
    if (destination.size() == 4) {
        frame = {0x01, 0x00, 0x5E, static_cast<std::uint8_t>(destination[1] & 0x7F)};
        put(frame, destination.last(2));
    } else {
        frame = {0x33, 0x33};
        put(frame, destination.last(4));
    }
    put(frame, std::array<std::uint8_t, 6>{2, 0, 0, 0, 1, host});
    put16(frame, destination.size() == 4 ? 0x0800 : 0x86DD);
    return frame;
}

// with_alert: the router alert option that membership frames carry.
Frame ipv4(FrameView destination, std::uint8_t host, std::uint8_t protocol, bool with_alert,
           FrameView payload) {
    Frame frame = ethernet(destination, host);
    const std::size_t header = with_alert ? 24 : 20;
    frame.push_back(static_cast<std::uint8_t>(0x40 | header / 4));
    frame.push_back(with_alert ? 0xC0 : 0);
    put16(frame, header + payload.size());
    put(frame, std::array<std::uint8_t, 4>{0, 0, 0x40, 0});
    frame.push_back(with_alert ? 1 : 16);
    frame.push_back(protocol);
    put16(frame, 0);
    put(frame, host_ipv4(host));
    put(frame, destination);
    if (with_alert) put(frame, std::array<std::uint8_t, 4>{0x94, 4, 0, 0});
    set16(frame, kEthernet + 10, folded(sum16(FrameView(frame).subspan(kEthernet, header))));
    put(frame, payload);
    return frame;
}

// checksum_at: where the payload holds its checksum, which covers addresses and length too.
Frame ipv6(FrameView destination, std::uint8_t host, std::uint8_t protocol, bool with_alert,
           FrameView payload, std::size_t checksum_at) {
    Frame frame = ethernet(destination, host);
    put(frame, std::array<std::uint8_t, 4>{0x60, 0, 0, 0});
    put16(frame, payload.size() + (with_alert ? 8 : 0));
    frame.push_back(with_alert ? 0 : protocol);
    frame.push_back(with_alert ? 1 : 16);
    put(frame, host_ipv6(host));
    put(frame, destination);
    if (with_alert) put(frame, std::array<std::uint8_t, 8>{protocol, 0, 5, 2, 0, 0, 1, 0});
    const std::size_t start = frame.size();
    put(frame, payload);
    const std::uint32_t sum = sum16(FrameView(frame).subspan(kEthernet + 8, 32)) + sum16(payload) +
                              static_cast<std::uint32_t>(payload.size()) + protocol;
    set16(frame, start + checksum_at, folded(sum));
    return frame;
}

Frame igmp(FrameView destination, std::uint8_t host, Frame message) {
    set16(message, 2, folded(sum16(message)));
    return ipv4(destination, host, kProtocolIgmp, true, message);
}

Frame mld(FrameView destination, std::uint8_t host, const Frame& message) {
    return ipv6(destination, host, kProtocolIcmpv6, true, message, 2);
}

// One message with one group, or with one group record without sources.
Frame message(std::uint8_t type, FrameView group) {
    Frame bytes = {type, 0, 0, 0};
    if (group.size() == 16) put(bytes, std::array<std::uint8_t, 4>{});
    put(bytes, group);
    return bytes;
}

Frame record_message(std::uint8_t type, std::uint8_t change, FrameView group) {
    Frame bytes = {type, 0, 0, 0, 0, 0, 0, 1, change, 0, 0, 0};
    put(bytes, group);
    return bytes;
}

constexpr std::uint8_t kToInclude = 3;
constexpr std::uint8_t kToExclude = 4;

}  // namespace

const char* name(Kind kind) {
    switch (kind) {
        case Kind::kIgmpV2:
            return "IGMPv2";
        case Kind::kIgmpV3:
            return "IGMPv3";
        case Kind::kMldV1:
            return "MLDv1";
        default:
            return "MLDv2";
    }
}

Kind kind_named(const std::string& text) {
    const auto* found = std::find_if(std::begin(kKinds), std::end(kKinds),
                                     [&](Kind kind) { return name(kind) == text; });
    if (found == std::end(kKinds)) throw std::invalid_argument("no such kind of report: " + text);
    return *found;
}

bool is_mld(Kind kind) { return kind == Kind::kMldV1 || kind == Kind::kMldV2; }

std::vector<std::uint8_t> group_address(Kind kind, std::uint32_t group) {
    const auto high = static_cast<std::uint8_t>(1 + (group >> 16));
    const auto middle = static_cast<std::uint8_t>(group >> 8);
    const auto low = static_cast<std::uint8_t>(group);
    if (!is_mld(kind)) return {239, high, middle, low};
    return {0xFF, 0x1E, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, high, middle, low};
}

std::string group_text(Kind kind, std::uint32_t group) {
    const std::vector<std::uint8_t> address = group_address(kind, group);
    std::array<char, INET6_ADDRSTRLEN> text{};
    inet_ntop(is_mld(kind) ? AF_INET6 : AF_INET, address.data(), text.data(), text.size());
    return text.data();
}

Frame report(Kind kind, std::uint32_t group, std::uint8_t host) {
    const std::vector<std::uint8_t> address = group_address(kind, group);
    switch (kind) {
        case Kind::kIgmpV2:
            return igmp(address, host, message(0x16, address));
        case Kind::kIgmpV3:
            return igmp(kIgmpRouters, host, record_message(0x22, kToExclude, address));
        case Kind::kMldV1:
            return mld(address, host, message(131, address));
        default:
            return mld(kMldRouters, host, record_message(143, kToExclude, address));
    }
}

Frame leave(Kind kind, std::uint32_t group, std::uint8_t host) {
    const std::vector<std::uint8_t> address = group_address(kind, group);
    switch (kind) {
        case Kind::kIgmpV2:
            return igmp(kIgmpAllRouters, host, message(0x17, address));
        case Kind::kIgmpV3:
            return igmp(kIgmpRouters, host, record_message(0x22, kToInclude, address));
        case Kind::kMldV1:
            return mld(kMldAllRouters, host, message(132, address));
        default:
            return mld(kMldRouters, host, record_message(143, kToInclude, address));
    }
}

Frame igmp_general_query() {
    constexpr std::uint8_t kRouter = 1;
    Frame query = message(0x11, std::array<std::uint8_t, 4>{});
    query[1] = 100;  // ten seconds in tenths
    return igmp(kIgmpAllHosts, kRouter, query);
}

Frame stream(Kind kind, std::uint32_t group) {
    constexpr std::uint8_t kSender = 1;
    constexpr std::size_t kPayload = 18;
    Frame udp;
    put16(udp, kStreamPort);
    put16(udp, kStreamPort);
    put16(udp, 8 + kPayload);
    put16(udp, 0);
    udp.resize(8 + kPayload);
    const std::vector<std::uint8_t> address = group_address(kind, group);
    return is_mld(kind) ? ipv6(address, kSender, kProtocolUdp, false, udp, 6)
                        : ipv4(address, kSender, kProtocolUdp, false, udp);
}

bool is_stream(FrameView frame, Kind kind, std::uint32_t group) {
    const std::vector<std::uint8_t> address = group_address(kind, group);
    const std::size_t protocol = kEthernet + (is_mld(kind) ? 6 : 9);
    const std::size_t destination = kEthernet + (is_mld(kind) ? 24 : 16);
    if (frame.size() < kEthernet + kIpv6Header || frame[protocol] != kProtocolUdp) return false;
    return std::equal(address.begin(), address.end(),
                      frame.begin() + static_cast<long>(destination));
}

}  // namespace bench
