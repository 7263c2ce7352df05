#include "node/core/input.h"

#include <cstddef>
#include <utility>

#include "common/bytes.h"
#include "node/core/address.h"

namespace devcore {
namespace {

constexpr std::size_t kReportHeader = 8;
constexpr std::size_t kRecordCountAt = 6;

bool is_record_type(std::uint8_t type) {
    return type >= static_cast<std::uint8_t>(RecordType::kIsInclude) &&
           type <= static_cast<std::uint8_t>(RecordType::kBlockSources);
}

bool is_known_vlan(const Packet& packet) {
    Settings& settings = core().settings;
    if (packet.vlan() == default_vid(packet.place.family)) return true;
    if (settings.vlans.contains(packet.vlan())) return true;
    if (!settings.vlan_learning || packet.vlan() > kLastVid) return false;
    settings.vlans.insert(packet.vlan());
    return true;
}

}  // namespace

Packet packet_from(Family family, std::uint32_t port, std::uint32_t group_vlan) {
    return {{family, port, group_vlan == 0 ? default_vid(family) : group_vlan}};
}

//   byte 0  record type       byte 1  auxiliary data, in words     2-3  number of sources
//   then the group, the sources, the auxiliary data
//
// A record of an unknown type is passed over (RFC 3376, 4.2.12).
std::optional<std::vector<Record>> parse_records(Family family,
                                                 std::span<const std::uint8_t> report) {
    const std::size_t address = address_length(family);
    const std::size_t header = 4 + address;
    std::size_t left = mc::load_be16(report.data() + kRecordCountAt);
    std::vector<Record> records;
    for (auto rest = report.subspan(kReportHeader); left > 0; --left) {
        if (rest.size() < header) return std::nullopt;
        const std::size_t sources = mc::load_be16(rest.data() + 2);
        const std::size_t length = header + sources * address + rest[1] * std::size_t{4};
        if (rest.size() < length) return std::nullopt;
        if (is_record_type(rest[0])) {
            Record record{static_cast<RecordType>(rest[0]), load_address(family, &rest[4]), {}};
            for (std::size_t i = 0; i < sources; ++i) {
                record.sources.push_back(load_address(family, &rest[header + i * address]));
            }
            records.push_back(std::move(record));
        }
        rest = rest.subspan(length);
    }
    return records;
}

std::optional<Drop> refuse_place(const Packet& packet) {
    if (find_port(packet.place.port)->is_uplink) return Drop::kReportFromUplink;
    if (!is_known_vlan(packet)) return Drop::kUnknownVlan;
    return std::nullopt;
}

void take_older_message(const Packet& packet, std::uint8_t version, RecordType type,
                        const Address& group) {
    const Place& place = packet.place;
    take_record({place.family, place.port, packet.vlan(), packet.source, version},
                {type, group, {}});
}

std::optional<Drop> take_report(const Packet& packet, std::uint8_t version) {
    const Place& place = packet.place;
    const auto records = parse_records(place.family, packet.message);
    if (!records) return Drop::kTruncated;
    if (place.family == Family::kIpv4 && igmpv3_rcv != 0) print_records(place.family, *records);
    for (const Record& record : *records) {
        take_record({place.family, place.port, packet.vlan(), packet.source, version}, record);
    }
    return std::nullopt;
}

}  // namespace devcore
