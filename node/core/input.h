// What the two packet inputs share: how much of a packet may be read, and what reports say.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "node/core/membership.h"
#include "node/core/router_version.h"

namespace mcore {

// A trapped frame has at most 2000 bytes, and the packet begins at most 22 into it.
constexpr std::uint32_t kLongestPacket = 1978;

struct Packet {
    Place place;
    Address source{};
    std::span<const std::uint8_t> message{};  // IGMP or ICMPv6, its checksum right

    [[nodiscard]] std::uint16_t vlan() const { return static_cast<std::uint16_t>(place.vlan); }
};

// A packet of which only the place is known yet. VLAN 0 is no VLAN: the library has it where its
// MLD rules name none, and the default stands in for it.
[[nodiscard]] Packet packet_from(Family family, std::uint32_t port, std::uint32_t group_vlan);

// Why a report is not taken from there; nothing when it is. An unknown VLAN may be learnt.
[[nodiscard]] std::optional<Drop> refuse_place(const Packet& packet);

// Whether the VLAN of a packet is the default or listed.
[[nodiscard]] bool is_served_vlan(const Packet& packet);

// They count, and tell who watches.
void note_message(const Packet& packet, Received kind);
void note_dropped(const Packet& packet, Drop reason);

// Hands a report of an older version to the engine, as the record that means the same.
void take_older_message(const Packet& packet, std::uint8_t version, RecordType type,
                        const Address& group);
// The same for the records of a report of the newest version: all of them, or none.
[[nodiscard]] std::optional<Drop> take_report(const Packet& packet, std::uint8_t version);

}  // namespace mcore
