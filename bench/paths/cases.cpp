#include "bench/paths/cases.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "adapt/adapt.h"
#include "adapt/records.h"
#include "bench/frames.h"
#include "igmp/igmp.h"
#include "mld/mld.h"
#include "mld/record.h"
#include "settings/settings.h"
#include "vlan/vlan.h"

namespace bench {
namespace {

constexpr std::uint16_t kUserVid = 100;        // what hosts tag their frames with
constexpr std::uint16_t kNetworkVid = 300;     // what the rules make of it towards the network
constexpr std::uint16_t kMulticastVid = 3000;  // the rules' multicast VLAN
constexpr std::uint16_t kOtherVid = 2000;      // and up: rules and templates that do not match
constexpr std::uint8_t kHost = 20;
constexpr std::uint16_t kOnuId = 7;  // what the driver answers, see neighbours.c

constexpr NamedLoad kReviewed[] = {
    {"report", "tagged report from a user port, snooping, one rule", {.way = Way::kReport}},
    {"report_ten_rules", "the same, ten rules", {.way = Way::kReport, .rules = 10}},
    {"report_1500", "the same report of 1500 bytes", {.way = Way::kReport, .length = 1500}},
    {"mld_report", "MLD report, one rule", {.way = Way::kMldReport}},
    {"query", "query from the uplink to six ports, a rule each", {.way = Way::kQuery}},
    {"query_no_rules",
     "query from the uplink to six ports, no rules",
     {.way = Way::kQuery, .rules = 0}},
    {"core_packet",
     "packet of the core sent, no matching rule",
     {.way = Way::kCorePacket, .rules_match = false}},
    {"control", "control mode, upstream, two tags", {.way = Way::kControl}},
};

// The frame as it comes, and as the library may have rewritten it. Only the tag is rewritten in
// place.
constexpr std::size_t kRewritten = 16;
Frame frame;
std::array<std::uint8_t, kRewritten> head;
std::uint32_t in_port;

Receiver receive;

std::int32_t receive_nothing(std::uint8_t* /*bytes*/, std::uint32_t /*len*/,
                             std::uint32_t /*port*/) {
    return 0;
}

std::int32_t send_core_packet(std::uint8_t* bytes, std::uint32_t len, std::uint32_t port) {
    constexpr std::uint32_t kEthernet = 18;
    IgmpVlanTag tag = {0x8100, kUserVid, 0};
    send_pkt_igmp(static_cast<std::uint16_t>(port), bytes + kEthernet, &tag,
                  static_cast<std::uint16_t>(len - kEthernet));
    return 0;
}

Frame tagged(const Frame& untagged, std::uint16_t vid, std::uint32_t length) {
    constexpr std::size_t kMacs = 12;
    Frame bytes = untagged;
    const std::array<std::uint8_t, 4> tag = {0x81, 0x00, static_cast<std::uint8_t>(vid >> 8),
                                             static_cast<std::uint8_t>(vid)};
    bytes.insert(bytes.begin() + kMacs, tag.begin(), tag.end());
    bytes.resize(std::max<std::size_t>(length, bytes.size()));
    return bytes;
}

PortVlanCfgEntry rule_of(std::uint32_t port, std::uint16_t user_vid, std::uint16_t network_vid) {
    PortVlanCfgEntry rule{};
    rule.portNO = static_cast<std::int8_t>(port);
    rule.prouptagmode = rule.prodntagmode = rule.datedntagmode = MC_TAG_MODE_TRANSLATE;
    rule.in_up_vlan = user_vid;
    rule.out_up_vlan = network_vid;
    rule.in_dn_vlan = network_vid;
    rule.out_dn_vlan = user_vid;
    rule.in_data_vlan = kMulticastVid;
    rule.out_data_vlan = user_vid;
    return rule;
}

void set_rules(const Load& load) {
    for (std::uint32_t port = 0; port < MC_PORTS - 1; ++port) {
        for (int i = 0; i < load.rules; ++i) {
            const bool matches = load.rules_match && i + 1 == load.rules;
            const auto other = static_cast<std::uint16_t>(kOtherVid + i);
            PortVlanCfgEntry rule =
                matches ? rule_of(port, kUserVid, kNetworkVid) : rule_of(port, other, other);
            PortVlanCfgEntry again = rule;
            static_cast<void>(onu_std_omci_set_multicast_vlan(&rule));
            static_cast<void>(mld_onu_std_omci_set_multicast_vlan(&again));
        }
    }
}

// The IGMP list; the MLD one is searched only as far as the frame's port number.
void set_templates(int count) {
    setVlanNumber = count;
    for (int i = 0; i < count; ++i) {
        PortVlan[i] = i + 1 == count ? kMulticastVid : static_cast<std::uint16_t>(kOtherVid + i);
    }
}

void build_frame(const Load& load) {
    const bool down = load.way == Way::kQuery;
    const Kind kind = load.way == Way::kMldReport ? Kind::kMldV2 : Kind::kIgmpV2;
    frame = tagged(down ? igmp_general_query() : report(kind, 1, kHost),
                   down ? kNetworkVid : kUserVid, load.length);
    in_port = down ? std::uint32_t{MC_UPLINK_PORT} : load.port;
    std::copy_n(frame.begin(), kRewritten, head.begin());
}

}  // namespace

std::span<const NamedLoad> reviewed_loads() { return kReviewed; }

std::optional<Load> load_named(std::string_view name) {
    if (name == "nothing") return Load{.way = Way::kNothing};
    const auto* found = std::ranges::find(kReviewed, name, &NamedLoad::name);
    if (found == std::end(kReviewed)) return std::nullopt;
    return found->load;
}

Outcome outcome_of(const Load& load) {
    const bool ruled = load.rules > 0 && load.rules_match;
    switch (load.way) {
        case Way::kNothing:
            return {};
        case Way::kQuery:
            return {.copies = MC_PORTS - 1, .tags = 1, .tci = {ruled ? kUserVid : kNetworkVid}};
        case Way::kControl:
            return {
                .copies = 1, .tags = 2, .tci = {kOnuId, static_cast<std::uint16_t>(load.port + 1)}};
        case Way::kCorePacket:
            return {.copies = 1, .tags = 1, .tci = {kUserVid}};
        default:
            return {.copies = 1, .tags = 1, .tci = {ruled ? kNetworkVid : kUserVid}};
    }
}

void prepare(const Load& load) {
    mldInitParams = {};
    static_cast<void>(adapt_init());
    set_rules(load);
    set_templates(load.templates);
    if (load.way == Way::kControl) static_cast<void>(omci_set_multicast_mode(MC_MODE_CONTROL));
    build_frame(load);
    switch (load.way) {
        case Way::kNothing:
            receive = receive_nothing;
            return;
        case Way::kMldReport:
            receive = mldL2PktProc;
            return;
        case Way::kCorePacket:
            receive = send_core_packet;
            return;
        default:
            receive = igmpL2PktProc;
            return;
    }
}

void run_prepared() {
    std::memcpy(frame.data(), head.data(), kRewritten);
    static_cast<void>(receive(frame.data(), static_cast<std::uint32_t>(frame.size()), in_port));
}

void give_to(Receiver receiver) { receive = receiver; }

std::span<const std::uint8_t> prepared_frame() { return frame; }

}  // namespace bench
