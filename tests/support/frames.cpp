#include "tests/support/frames.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "common/ethernet.h"

namespace mc_test {

namespace {

[[noreturn]] void bad_address(const std::string& text) {
    std::fprintf(stderr, "not an address: %s\n", text.c_str());
    std::abort();
}

Bytes ipv4_bytes(const std::string& text) {
    Bytes bytes(4);
    if (inet_pton(AF_INET, text.c_str(), bytes.data()) != 1) bad_address(text);
    return bytes;
}

Bytes& append(Bytes& bytes, const Bytes& tail) {
    bytes.insert(bytes.end(), tail.begin(), tail.end());
    return bytes;
}

void put_be16(Bytes& bytes, std::size_t at, std::uint32_t value) {
    const Bytes two = be16(value);
    std::copy(two.begin(), two.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
}

std::uint32_t size_of(const Bytes& bytes) { return static_cast<std::uint32_t>(bytes.size()); }

// Type, one byte, room for the checksum.
Bytes igmp_message(std::uint8_t type, std::uint8_t code, const Bytes& rest) {
    Bytes message = Bytes{type, code, 0, 0} + rest;
    put_be16(message, 2, internet_checksum(message));
    return message;
}

template <class AddressBytes>
Bytes source_list(const std::vector<std::string>& sources, AddressBytes address_bytes) {
    Bytes list = be16(static_cast<std::uint32_t>(sources.size()));
    for (const std::string& source : sources) append(list, address_bytes(source));
    return list;
}

template <class AddressBytes>
Bytes group_records(const std::vector<GroupRecord>& records, AddressBytes address_bytes) {
    Bytes list = Bytes{0, 0} + be16(static_cast<std::uint32_t>(records.size()));
    for (const GroupRecord& record : records) {
        append(list, {record.type, 0});
        append(list, be16(static_cast<std::uint32_t>(record.sources.size())));
        append(list, address_bytes(record.group));
        for (const std::string& source : record.sources) append(list, address_bytes(source));
    }
    return list;
}

Bytes mld_v1_message(std::uint8_t type, std::uint16_t response_time, const std::string& group) {
    return Bytes{type, 0, 0, 0} + be16(response_time) + Bytes{0, 0} + ipv6_bytes(group);
}

Bytes slice(const Bytes& bytes, std::size_t from, std::size_t count) {
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(from);
    return {begin, begin + static_cast<std::ptrdiff_t>(count)};
}

constexpr std::uint8_t kMldQuery = 130;
constexpr std::uint8_t kMldReport = 131;
constexpr std::uint8_t kMldDone = 132;
constexpr std::uint8_t kMldV2Report = 143;

}  // namespace

Bytes mac_bytes(const std::string& text) {
    unsigned byte[6];
    if (std::sscanf(text.c_str(), "%2x:%2x:%2x:%2x:%2x:%2x", &byte[0], &byte[1], &byte[2], &byte[3],
                    &byte[4], &byte[5]) != 6) {
        bad_address(text);
    }
    Bytes bytes;
    for (const unsigned value : byte) bytes.push_back(static_cast<std::uint8_t>(value));
    return bytes;
}

std::uint32_t ipv4_number(const std::string& text) {
    return mc::load_be32(ipv4_bytes(text).data());
}

Bytes ipv6_bytes(const std::string& text) {
    Bytes bytes(16);
    if (inet_pton(AF_INET6, text.c_str(), bytes.data()) != 1) bad_address(text);
    return bytes;
}

Bytes operator+(Bytes head, const Bytes& tail) { return append(head, tail); }

Bytes be16(std::uint32_t value) {
    return {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}

Bytes be32(std::uint32_t value) { return be16(value >> 16) + be16(value); }

std::uint16_t internet_checksum(const Bytes& bytes) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        sum += i % 2 == 0 ? static_cast<std::uint32_t>(bytes[i]) << 8 : bytes[i];
    }
    while (sum > 0xFFFF) sum = (sum & 0xFFFF) + (sum >> 16);
    return static_cast<std::uint16_t>(~sum);
}

// ---- Ethernet ------------------------------------------------------------------------------

EthernetBuilder::EthernetBuilder() : from_{0x02, 0x00, 0x00, 0x00, 0x00, 0x20} {}

EthernetBuilder ethernet() { return {}; }

EthernetBuilder& EthernetBuilder::to(const std::string& mac) {
    to_ = mac_bytes(mac);
    return *this;
}

EthernetBuilder& EthernetBuilder::from(const std::string& mac) {
    from_ = mac_bytes(mac);
    return *this;
}

EthernetBuilder& EthernetBuilder::tag(std::uint16_t vid, std::uint8_t priority, bool dei) {
    append(headers_, be16(mc::kTpid));
    append(headers_, be16(static_cast<std::uint32_t>(priority) << 13 | (dei ? 0x1000u : 0) | vid));
    return *this;
}

EthernetBuilder& EthernetBuilder::pppoe() {
    append(headers_, be16(mc::kEtherTypePppoe));
    append(headers_, {0x11, 0x00, 0x00, 0x01, 0x00, 0x22});
    return *this;
}

EthernetBuilder& EthernetBuilder::tagged_pppoe() {
    append(headers_, be16(mc::kTpid));
    append(headers_, be16(mc::kEtherTypePppoe));
    append(headers_, {0x11, 0x00, 0x00, 0x01});
    return *this;
}

Bytes EthernetBuilder::ipv4(const Bytes& packet) const {
    const Bytes group = slice(packet, 16, 4);
    const Bytes multicast_mac = {
        0x01, 0x00, 0x5e, static_cast<std::uint8_t>(group[1] & 0x7F), group[2], group[3]};
    return ended(multicast_mac, mc::kEtherTypeIpv4, packet);
}

Bytes EthernetBuilder::ipv6(const Bytes& packet) const {
    return ended(Bytes{0x33, 0x33} + slice(packet, 36, 4), mc::kEtherTypeIpv6, packet);
}

Bytes EthernetBuilder::carrying(std::uint16_t ethertype, const Bytes& payload) const {
    return ended({0x01, 0x00, 0x5e, 0x00, 0x00, 0x01}, ethertype, payload);
}

Bytes EthernetBuilder::ended(const Bytes& multicast_mac, std::uint16_t ethertype,
                             const Bytes& payload) const {
    return to_.value_or(multicast_mac) + from_ + headers_ + be16(ethertype) + payload;
}

Bytes padded(Bytes frame, std::size_t length) {
    frame.resize(std::max(frame.size(), length));
    return frame;
}

// ---- IPv4 and IGMP -------------------------------------------------------------------------

Bytes ipv4_packet(const std::string& from, const std::string& to, const Bytes& payload,
                  Ipv4Options options) {
    const Bytes alert = options.router_alert ? Bytes{0x94, 0x04, 0x00, 0x00} : Bytes{};
    const std::uint32_t header_length = 20 + size_of(alert);
    Bytes header = {static_cast<std::uint8_t>(0x40 | header_length / 4), 0xC0};
    append(header, be16(header_length + size_of(payload)));
    append(header, {0, 0, 0, 0, options.ttl, options.protocol, 0, 0});
    append(header, ipv4_bytes(from));
    append(header, ipv4_bytes(to));
    append(header, alert);
    put_be16(header, 10, internet_checksum(header));
    return header + payload;
}

Bytes igmp_v1_query() { return igmp_message(0x11, 0, {0, 0, 0, 0}); }
Bytes igmp_v1_report(const std::string& group) { return igmp_message(0x12, 0, ipv4_bytes(group)); }
Bytes igmp_v2_query(const std::string& group, std::uint8_t response_time) {
    return igmp_message(0x11, response_time, ipv4_bytes(group));
}
Bytes igmp_v2_report(const std::string& group) { return igmp_message(0x16, 0, ipv4_bytes(group)); }
Bytes igmp_v2_leave(const std::string& group) { return igmp_message(0x17, 0, ipv4_bytes(group)); }

Bytes igmp_v3_query(const std::string& group, const std::vector<std::string>& sources) {
    // Robustness 2 and query interval 125 behind the group.
    return igmp_message(0x11, 100,
                        ipv4_bytes(group) + Bytes{2, 125} + source_list(sources, ipv4_bytes));
}

Bytes igmp_v3_report(const std::vector<GroupRecord>& records) {
    return igmp_message(0x22, 0, group_records(records, ipv4_bytes));
}

// ---- IPv6 and MLD --------------------------------------------------------------------------

Bytes ipv6_packet(const std::string& from, const std::string& to, Bytes message,
                  Ipv6Options options) {
    const Bytes addresses = ipv6_bytes(from) + ipv6_bytes(to);
    if (options.next_header == 58) {
        const Bytes pseudo_header = addresses + be32(size_of(message)) + be32(options.next_header);
        put_be16(message, 2, internet_checksum(pseudo_header + message));
    }
    const Bytes alert =
        options.router_alert ? Bytes{options.next_header, 0, 5, 2, 0, 0, 1, 0} : Bytes{};
    Bytes header = {0x60, 0, 0, 0};
    append(header, be16(size_of(alert) + size_of(message)));
    append(header,
           {options.router_alert ? std::uint8_t{0} : options.next_header, options.hop_limit});
    return header + addresses + alert + message;
}

Bytes mld_v1_query(const std::string& group, std::uint16_t response_time) {
    return mld_v1_message(kMldQuery, response_time, group);
}
Bytes mld_v1_report(const std::string& group) { return mld_v1_message(kMldReport, 0, group); }
Bytes mld_v1_done(const std::string& group) { return mld_v1_message(kMldDone, 0, group); }

Bytes mld_v2_query(const std::string& group, const std::vector<std::string>& sources) {
    return mld_v1_query(group) + Bytes{2, 125} + source_list(sources, ipv6_bytes);
}

Bytes mld_v2_report(const std::vector<GroupRecord>& records) {
    return Bytes{kMldV2Report, 0, 0, 0} + group_records(records, ipv6_bytes);
}

}  // namespace mc_test
