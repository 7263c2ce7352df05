// What messages say, read once more for those who watch: a message that is not watched is read only
// as far as it is acted upon.
#include <array>
#include <cstddef>

#include "node/core/address.h"
#include "node/core/event_watch.h"
#include "node/core/group_records.h"
#include "node/core/input.h"
#include "node/core/message.h"
#include "node/core/router_query.h"

namespace mcore {
namespace {

constexpr std::array<std::string_view, 7> kRecordTypes{
    "", "is_include", "is_exclude", "to_include", "to_exclude", "allow_sources", "block_sources"};

// By the type of a message, which no two of the families share.
struct Layout {
    std::uint8_t type;
    std::uint8_t version;
    bool has_records;
    std::size_t group_at;  // without records
};
constexpr std::array<Layout, 7> kLayouts{{
    {static_cast<std::uint8_t>(IgmpType::kV1Report), 1, false, 4},
    {static_cast<std::uint8_t>(IgmpType::kV2Report), 2, false, 4},
    {static_cast<std::uint8_t>(IgmpType::kLeave), 2, false, 4},
    {static_cast<std::uint8_t>(IgmpType::kV3Report), 3, true, 0},
    {131, 1, false, 8},
    {132, 1, false, 8},
    {143, 2, true, 0},
}};

const Layout* layout_of(std::uint8_t type) {
    for (const Layout& layout : kLayouts) {
        if (layout.type == type) return &layout;
    }
    return nullptr;
}

bool is_query(std::uint8_t type) {
    constexpr std::uint8_t kMldQuery = 130;
    return type == static_cast<std::uint8_t>(IgmpType::kQuery) || type == kMldQuery;
}

// Of a report that is cut short, what is there.
std::vector<GroupSaid> read_records(Family family, std::span<const std::uint8_t> message) {
    const std::size_t length = address_length(family);
    std::vector<GroupSaid> groups;
    static_cast<void>(walk_records(length, message, [&](auto record) {
        GroupSaid said{record[0], load_address(family, &record[kRecordHeader]), {}};
        const std::size_t sources = mc::load_be16(record.data() + kSourceCountAt);
        for (std::size_t i = 1; i <= sources; ++i) {
            said.sources.push_back(load_address(family, &record[kRecordHeader + i * length]));
        }
        groups.push_back(std::move(said));
    }));
    return groups;
}

void add_query(const Packet& packet, Message& said) {
    auto query = read_query(packet);
    if (!query) return;
    said.version = query->version;
    said.max_response_us = query->response_us;
    said.groups.push_back({0, query->group, std::move(query->sources)});
}

}  // namespace

std::string_view record_type_name(std::uint8_t type) {
    return type < kRecordTypes.size() ? kRecordTypes[type] : std::string_view{};
}

Message message_of(const Packet& packet) {
    const Family family = packet.place.family;
    const std::span<const std::uint8_t> message = packet.message;
    Message said{packet.source, 0, {}, std::nullopt};
    if (is_query(message[0])) add_query(packet, said);
    const Layout* const layout = layout_of(message[0]);
    if (layout == nullptr) return said;
    said.version = layout->version;
    if (layout->has_records) {
        said.groups = read_records(family, message);
    } else if (message.size() >= layout->group_at + address_length(family)) {
        said.groups.push_back({0, load_address(family, &message[layout->group_at]), {}});
    }
    return said;
}

Message sent_message_of(const Place& place, std::span<const std::uint8_t> packet) {
    const bool is_igmp = place.family == Family::kIpv4;
    const std::size_t source_at = is_igmp ? 12 : 8;
    const std::size_t message_at = is_igmp ? 24 : 48;  // as ipv4_packet and ipv6_packet have it
    return message_of(
        {place, load_address(place.family, &packet[source_at]), packet.subspan(message_at)});
}

}  // namespace mcore
