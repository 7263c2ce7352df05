#include "node/core/query_message.h"

#include <algorithm>
#include <cstddef>

#include "node/core/address.h"
#include "node/core/source_address.h"

namespace mcore {
namespace {

constexpr std::uint32_t kAllHosts = 0xE0000001;                                     // 224.0.0.1
constexpr Address kAllNodes{0xFF, 0x02, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};  // ff02::1

constexpr Address kHighestLinkLocal{0xFE, 0x80, 0,    0,    0,    0,    0,    0,
                                    0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

constexpr std::uint8_t kIgmpQuery = 0x11;
constexpr std::uint8_t kMldQuery = 130;

// What version 3 of IGMP and version 2 of MLD have behind the group.
void append_newest(Bytes& message, const Query& query) {
    constexpr std::uint8_t kLargestRobustness = 7;  // in 3 bits; more is sent as 0
    constexpr std::uint8_t kSuppresses = 8;
    const Settings& settings = core().settings;
    const bool fits = settings.robustness <= kLargestRobustness;
    const std::uint8_t robustness = fits ? settings.robustness : std::uint8_t{0};
    const std::uint8_t flag = query.suppresses ? kSuppresses : std::uint8_t{0};
    message.push_back(static_cast<std::uint8_t>(flag | robustness));
    message.push_back(encode_time(settings.query_interval));
    append16(message, static_cast<std::uint32_t>(query.sources.size()));
    for (const Address& source : query.sources) {
        append(message, std::span(source).first(address_length(query.family)));
    }
}

std::uint8_t igmp_response_code(const Query& query) {
    constexpr std::uint64_t kTenths = 10;
    constexpr std::uint64_t kLargestV2 = 255;
    const std::uint64_t tenths = query.response_time * kTenths;
    if (query.version >= 3) return encode_time(tenths);
    return query.version == 2 ? static_cast<std::uint8_t>(std::min(tenths, kLargestV2)) : 0;
}

Bytes igmp_query(const Query& query) {
    Bytes message{kIgmpQuery, igmp_response_code(query), 0, 0};
    append(message, std::span(query.group).first(address_length(Family::kIpv4)));
    if (query.version >= 3) append_newest(message, query);
    return with_igmp_checksum(message);
}

Bytes mld_query(const Query& query) {
    constexpr std::uint64_t kMilliseconds = 1000;
    constexpr std::uint64_t kLargestPlain = 0x7FFF;  // above it MLDv2 has codes
    Bytes message{kMldQuery, 0, 0, 0};
    append16(message, static_cast<std::uint32_t>(
                          std::min(query.response_time * kMilliseconds, kLargestPlain)));
    append16(message, 0);
    append(message, query.group);
    if (query.version >= 2) append_newest(message, query);
    return message;
}

Address query_source(Family family, bool is_general) {
    if (!is_general || is_proxy(family)) return querier_address(family);
    return family == Family::kIpv4 ? Address{} : kHighestLinkLocal;
}

}  // namespace

Bytes query_packet(const Query& query) {
    const bool is_general = query.group == Address{};
    const Address source = query_source(query.family, is_general);
    if (query.family == Family::kIpv4) {
        const std::uint32_t destination = is_general ? kAllHosts : to_ipv4(query.group);
        return ipv4_packet(to_ipv4(source), destination, igmp_query(query));
    }
    return ipv6_packet(source, is_general ? kAllNodes : query.group, mld_query(query));
}

}  // namespace mcore
