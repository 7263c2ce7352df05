#include "node/core/input.h"

#include <cstddef>
#include <utility>

#include "common/bytes.h"
#include "node/core/address.h"
#include "node/core/event_watch.h"
#include "node/core/group_records.h"

namespace mcore {
namespace {

bool is_record_type(std::uint8_t type) {
    return type >= static_cast<std::uint8_t>(RecordType::kIsInclude) &&
           type <= static_cast<std::uint8_t>(RecordType::kBlockSources);
}

bool is_known_vlan(const Packet& packet) {
    Settings& settings = core().settings;
    if (is_served_vlan(packet)) return true;
    if (!settings.vlan_learning || packet.vlan() > kLastVid) return false;
    settings.vlans.insert(packet.vlan());
    settings.learnt_vlans.insert(packet.vlan());
    return true;
}

// A record of an unknown type is passed over (RFC 3376, 4.2.12).
template <class Each>
void each_known_record(Family family, std::span<const std::uint8_t> report, const Each& each) {
    static_cast<void>(walk_records(address_length(family), report, [&each](auto record) {
        if (is_record_type(record[0])) each(record);
    }));
}

Record read_record(Family family, std::span<const std::uint8_t> bytes) {
    const std::size_t address = address_length(family);
    Record record{
        static_cast<RecordType>(bytes[0]), load_address(family, &bytes[kRecordHeader]), {}};
    const std::size_t sources = mc::load_be16(bytes.data() + kSourceCountAt);
    for (std::size_t i = 1; i <= sources; ++i) {
        record.sources.push_back(load_address(family, &bytes[kRecordHeader + i * address]));
    }
    return record;
}

}  // namespace

Packet packet_from(Family family, std::uint32_t port, std::uint32_t group_vlan) {
    return {{family, port, group_vlan == 0 ? default_vid(family) : group_vlan}};
}

bool is_served_vlan(const Packet& packet) {
    return packet.vlan() == default_vid(packet.place.family) ||
           core().settings.vlans.contains(packet.vlan());
}

std::optional<Drop> refuse_place(const Packet& packet) {
    if (find_port(packet.place.port)->is_uplink) return Drop::kReportFromUplink;
    if (!is_known_vlan(packet)) return Drop::kUnknownVlan;
    return std::nullopt;
}

void note_message(const Packet& packet, Received kind) {
    note_received(packet.place, kind, packet.source);
    tell_event(packet.place, [&] { return MessageReceived{kind, message_of(packet)}; });
}

void note_dropped(const Packet& packet, Drop reason) {
    note_drop(packet.place, reason);
    tell_event(packet.place, [&] { return MessageDropped{reason, packet.source}; });
}

void take_older_message(const Packet& packet, std::uint8_t version, RecordType type,
                        const Address& group) {
    const Place& place = packet.place;
    take_record({place.family, place.port, packet.vlan(), packet.source, version},
                {type, group, {}});
}

std::optional<Drop> take_report(const Packet& packet, std::uint8_t version) {
    const Place& place = packet.place;
    const Family family = place.family;
    // Before any of them is taken.
    if (!walk_records(address_length(family), packet.message, [](auto) {})) {
        return Drop::kTruncated;
    }
    if (family == Family::kIpv4 && igmpv3_rcv != 0) {
        each_known_record(family, packet.message, [family](auto record) {
            print_record(family, read_record(family, record));
        });
    }
    const Reporter from{family, place.port, packet.vlan(), packet.source, version};
    each_known_record(family, packet.message,
                      [&](auto record) { take_record(from, read_record(family, record)); });
    return std::nullopt;
}

}  // namespace mcore
