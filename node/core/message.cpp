#include "node/core/message.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <string>

#include "common/bytes.h"
#include "node/core/address.h"
#include "node/core/source_address.h"

namespace devcore {
namespace {

// ---- Pieces -------------------------------------------------------------------------------------

void append16(Bytes& bytes, std::uint32_t value) {
    bytes.push_back(static_cast<std::uint8_t>(value >> 8));
    bytes.push_back(static_cast<std::uint8_t>(value));
}

void append32(Bytes& bytes, std::uint32_t value) {
    append16(bytes, value >> 16);
    append16(bytes, value);
}

void append(Bytes& bytes, std::span<const std::uint8_t> more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

// The sum of 16-bit words, a last odd byte being the high half of one.
std::uint32_t sum_words(std::span<const std::uint8_t> bytes) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        sum += i % 2 == 0 ? std::uint32_t{bytes[i]} << 8 : std::uint32_t{bytes[i]};
    }
    return sum;
}

std::uint16_t folded_complement(std::uint32_t sum) {
    while (sum >> 16 != 0) sum = (sum & 0xFFFF) + (sum >> 16);
    return static_cast<std::uint16_t>(~sum);
}

constexpr std::size_t kIgmpChecksumAt = 2;

Bytes with_igmp_checksum(Bytes message) {
    mc::store_be16(message.data() + kIgmpChecksumAt, internet_checksum(message));
    return message;
}

// ---- Reports of version 3 -----------------------------------------------------------------------

constexpr std::size_t kRecordHeader = 8;
constexpr std::size_t kLongestBody = 1400;
constexpr std::size_t kMostSources = (kLongestBody - kRecordHeader) / 4;

bool excludes(RecordType type) {
    return type == RecordType::kIsExclude || type == RecordType::kToExclude;
}

// Records that are too long are split, or cut when they exclude (RFC 3376, 4.2.16).
std::vector<Record> in_pieces(const std::vector<Record>& records) {
    std::vector<Record> pieces;
    for (const Record& record : records) {
        std::size_t at = 0;
        do {
            const std::size_t count = std::min(record.sources.size() - at, kMostSources);
            const auto first = record.sources.begin() + static_cast<std::ptrdiff_t>(at);
            pieces.push_back(
                {record.type, record.group, {first, first + static_cast<std::ptrdiff_t>(count)}});
            at += count;
        } while (at < record.sources.size() && !excludes(record.type));
    }
    return pieces;
}

void append_record(Bytes& body, const Record& record) {
    body.push_back(static_cast<std::uint8_t>(record.type));
    body.push_back(0);  // no auxiliary data
    append16(body, static_cast<std::uint32_t>(record.sources.size()));
    append32(body, to_ipv4(record.group));
    for (const Address& source : record.sources) append32(body, to_ipv4(source));
}

Bytes v3_report(const Bytes& body, std::uint32_t count) {
    Bytes message{static_cast<std::uint8_t>(IgmpType::kV3Report), 0, 0, 0, 0, 0};
    append16(message, count);
    append(message, body);
    return with_igmp_checksum(message);
}

// ---- Packets ------------------------------------------------------------------------------------

constexpr std::size_t kIpv4Header = 24;  // with the router alert option
constexpr std::size_t kIpv4LengthAt = 2;
constexpr std::size_t kIpv4ChecksumAt = 10;

Bytes ipv4_packet(std::uint32_t destination, const Bytes& message) {
    Bytes packet{0x46, 0xC0, 0, 0,   // version and length, TOS of network control, total length
                 0,    0,    0, 0,   // no identification, not a fragment
                 1,    2,    0, 0};  // TTL, IGMP, checksum
    append32(packet, core().settings.proxy_ip);
    append32(packet, destination);
    append32(packet, 0x94040000);  // router alert (RFC 2113)
    mc::store_be16(packet.data() + kIpv4LengthAt,
                   static_cast<std::uint32_t>(kIpv4Header + message.size()));
    mc::store_be16(packet.data() + kIpv4ChecksumAt, internet_checksum(packet));
    append(packet, message);
    return packet;
}

}  // namespace

std::uint16_t internet_checksum(std::span<const std::uint8_t> bytes) {
    return folded_complement(sum_words(bytes));
}

std::uint16_t icmpv6_checksum(const std::uint8_t* source, const std::uint8_t* destination,
                              std::span<const std::uint8_t> message) {
    constexpr std::uint32_t kIcmpv6 = 58;
    const auto length = static_cast<std::uint32_t>(message.size());
    return folded_complement(sum_words({source, 16}) + sum_words({destination, 16}) + length +
                             kIcmpv6 + sum_words(message));
}

// Below 128 the value itself, above that 1, a 3-bit exponent and a 4-bit mantissa.
std::uint8_t encode_time(std::uint64_t value) {
    constexpr std::uint64_t kLargest = 0x1FU << 10;
    value = std::min(value, kLargest);
    if (value < 128) return static_cast<std::uint8_t>(value);
    const auto exponent = static_cast<std::uint32_t>(std::bit_width(value)) - 8;
    return static_cast<std::uint8_t>(0x80 | exponent << 4 | (value >> (exponent + 3) & 0x0F));
}

std::uint32_t decode_time(std::uint8_t code) {
    if (code < 128) return code;
    return ((code & 0x0FU) + 0x10U) << ((code >> 4 & 7) + 3);
}

Bytes igmp_query(const IgmpQuery& query) {
    constexpr std::uint64_t kTenths = 10;
    constexpr std::uint64_t kLargestV2 = 255;
    constexpr std::uint8_t kLargestRobustness = 7;  // in 3 bits; more is sent as 0
    const Settings& settings = core().settings;
    const std::uint64_t response = query.response_time * kTenths;

    Bytes message{static_cast<std::uint8_t>(IgmpType::kQuery), 0, 0, 0};
    append32(message, query.group);
    if (query.version == 2) message[1] = static_cast<std::uint8_t>(std::min(response, kLargestV2));
    if (query.version >= 3) {
        message[1] = encode_time(response);
        const bool fits = settings.robustness <= kLargestRobustness;
        message.push_back(fits ? settings.robustness : std::uint8_t{0});
        message.push_back(encode_time(settings.query_interval));
        append16(message, 0);  // no sources
    }
    return with_igmp_checksum(message);
}

Bytes igmp_message(IgmpType type, std::uint32_t group) {
    Bytes message{static_cast<std::uint8_t>(type), 0, 0, 0};
    append32(message, group);
    return with_igmp_checksum(message);
}

std::vector<Bytes> igmp_v3_reports(const std::vector<Record>& records) {
    std::vector<Bytes> reports;
    Bytes body;
    std::uint32_t count = 0;
    for (const Record& record : in_pieces(records)) {
        const std::size_t length = kRecordHeader + record.sources.size() * 4;
        if (body.size() + length > kLongestBody) {
            reports.push_back(v3_report(body, count));
            body.clear();
            count = 0;
        }
        append_record(body, record);
        ++count;
    }
    if (count > 0) reports.push_back(v3_report(body, count));
    return reports;
}

void send_igmp(Sent kind, std::uint16_t port, SendTag tag, std::uint32_t destination,
               const Bytes& message) {
    const IgmpSendPacket send = core().call_backs.send;
    if (send == nullptr) return;
    ++core().counters.sent[static_cast<std::size_t>(kind)];
    trace(Trace::kSent, {Family::kIpv4, port, tag.vid}, [&] {
        return "sent " + std::string(name(kind)) + " to " +
               text(Family::kIpv4, from_ipv4(destination));
    });
    Bytes packet = ipv4_packet(destination, message);
    IgmpVlanTag record{0x8100, tag.vid, tag.priority};
    send(port, packet.data(), &record, static_cast<std::uint16_t>(packet.size()));
}

Bytes mld_group_query(std::uint8_t version, const Address& group, std::uint32_t response_time) {
    constexpr std::uint64_t kMilliseconds = 1000;
    constexpr std::uint64_t kLargestPlain = 0x7FFF;  // above it MLDv2 has codes
    constexpr std::uint8_t kQuery = 130;
    constexpr std::uint8_t kRobustnessMask = 7;
    constexpr std::size_t kIpv6Header = 40;
    constexpr std::size_t kHopByHop = 8;
    constexpr std::size_t kChecksumAt = 2;
    const Settings& settings = core().settings;

    Bytes message{kQuery, 0, 0, 0};
    append16(message,
             static_cast<std::uint32_t>(std::min(response_time * kMilliseconds, kLargestPlain)));
    append16(message, 0);
    append(message, group);
    if (version >= 2) {
        message.push_back(settings.robustness <= kRobustnessMask ? settings.robustness
                                                                 : std::uint8_t{0});
        message.push_back(encode_time(settings.query_interval));
        append16(message, 0);  // no sources
    }

    const Address source = mld_source();
    mc::store_be16(message.data() + kChecksumAt,
                   icmpv6_checksum(source.data(), group.data(), message));

    Bytes packet{0x60, 0, 0, 0};
    append16(packet, static_cast<std::uint32_t>(kHopByHop + message.size()));
    packet.push_back(0);  // hop-by-hop options follow
    packet.push_back(1);  // hop limit
    append(packet, source);
    append(packet, group);
    packet.reserve(kIpv6Header + kHopByHop + message.size());
    append(packet, Bytes{58, 0, 5, 2, 0, 0, 1, 0});  // ICMPv6 next; router alert, padding
    append(packet, message);
    return packet;
}

void send_mld(Sent kind, std::uint16_t port, std::uint16_t vid, Bytes packet) {
    const MldSendPacket send = core().call_backs.mld_send;
    if (send == nullptr) return;
    ++core().counters.sent[static_cast<std::size_t>(kind)];
    trace(Trace::kSent, {Family::kIpv6, port, vid},
          [&] { return "sent " + std::string(name(kind)); });
    IgmpVlanTag tag{0x8100, vid, 0};
    send(packet.data(), port, &tag, static_cast<std::uint16_t>(packet.size()));
}

}  // namespace devcore
