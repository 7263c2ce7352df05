// The names of what is counted.
#include <array>
#include <cstddef>
#include <string_view>

#include "node/core/state.h"

namespace mcore {
namespace {

template <class Kind>
struct Name {
    Kind kind;
    std::string_view text;
};

// A name for each, where it is looked for.
template <class Kind, std::size_t kCount>
constexpr bool is_complete(const std::array<Name<Kind>, kCount>& names) {
    for (std::size_t i = 0; i < kCount; ++i) {
        if (static_cast<std::size_t>(names[i].kind) != i || names[i].text.empty()) return false;
    }
    return true;
}

constexpr std::array<Name<Received>, kReceivedKinds> kReceivedNames{{
    {Received::kIgmpV1Report, "IGMPv1 report"},
    {Received::kIgmpV2Report, "IGMPv2 report"},
    {Received::kIgmpLeave, "IGMPv2 leave"},
    {Received::kIgmpV3Report, "IGMPv3 report"},
    {Received::kIgmpQuery, "IGMP query"},
    {Received::kMldV1Report, "MLDv1 report"},
    {Received::kMldDone, "MLDv1 done"},
    {Received::kMldV2Report, "MLDv2 report"},
    {Received::kMldQuery, "MLD query"},
    {Received::kIgmpDiscovery, "IGMP router discovery"},
    {Received::kMldDiscovery, "MLD router discovery"},
}};
static_assert(is_complete(kReceivedNames));

constexpr std::array<Name<Drop>, kDropReasons> kDropNames{{
    {Drop::kBadLength, "impossible length"},
    {Drop::kNotIp, "no IGMP or MLD packet"},
    {Drop::kFragment, "fragment"},
    {Drop::kIpChecksum, "wrong IP header checksum"},
    {Drop::kChecksum, "wrong checksum"},
    {Drop::kUnknownType, "unknown message type"},
    {Drop::kTruncated, "truncated message"},
    {Drop::kHopLimit, "TTL or hop limit is not 1"},
    {Drop::kNoRouterAlert, "no router alert"},
    {Drop::kSource, "source is not link-local"},
    {Drop::kUnspecifiedSource, "source is the unspecified address"},
    {Drop::kUnknownPort, "unknown port"},
    {Drop::kUnknownVlan, "unknown VLAN"},
    {Drop::kReportFromUplink, "report from the uplink"},
    {Drop::kLeaveInVersion1, "leave in version 1"},
    {Drop::kNotMulticast, "group is no multicast address"},
    {Drop::kLinkLocalGroup, "link-local group"},
    {Drop::kSourceNeeded, "SSM group without a source"},
    {Drop::kSsmOlderVersion, "SSM group in a message of an older version"},
    {Drop::kOlderHostPresent, "leave beside an IGMPv1 host"},
    {Drop::kNotAuthorised, "group not authorised"},
    {Drop::kGroupLimit, "group limit of the port"},
    {Drop::kBandwidthLimit, "bandwidth limit of the port"},
    {Drop::kSourceBound, "bound on sources of a host"},
    {Drop::kGroupSourceBound, "bound on sources of a group"},
    {Drop::kHostBound, "bound on hosts of a group"},
    {Drop::kGroupBound, "bound on groups of a port"},
    {Drop::kAddressBound, "bound on addresses of a port"},
    {Drop::kControlListBound, "bound on ranges of a control list"},
    {Drop::kRouterBound, "bound on routers of a port"},
}};
static_assert(is_complete(kDropNames));

constexpr std::array<Name<Sent>, kSentKinds> kSentNames{{
    {Sent::kIgmpGeneralQuery, "IGMP general query"},
    {Sent::kIgmpGroupQuery, "IGMP group query"},
    {Sent::kIgmpReport, "IGMP report"},
    {Sent::kIgmpLeave, "IGMP leave"},
    {Sent::kMldGroupQuery, "MLD group query"},
    {Sent::kIgmpSourceQuery, "IGMP group-and-source query"},
    {Sent::kMldSourceQuery, "MLD group-and-source query"},
    {Sent::kMldReport, "MLD report"},
    {Sent::kMldDone, "MLD done"},
    {Sent::kMldGeneralQuery, "MLD general query"},
    {Sent::kIgmpRelayed, "IGMP report to a router port"},
    {Sent::kMldRelayed, "MLD report to a router port"},
}};
static_assert(is_complete(kSentNames));

template <class Kind, std::size_t kCount>
std::string_view text_of(const std::array<Name<Kind>, kCount>& names, Kind kind) {
    const auto index = static_cast<std::size_t>(kind);
    return index < kCount ? names[index].text : std::string_view{};
}

}  // namespace

std::string_view name(Received kind) { return text_of(kReceivedNames, kind); }

std::string_view name(Drop reason) { return text_of(kDropNames, reason); }

std::string_view name(Sent kind) { return text_of(kSentNames, kind); }

bool is_refused_join(Drop reason) {
    switch (reason) {
        case Drop::kSourceNeeded:
        case Drop::kSsmOlderVersion:
        case Drop::kNotAuthorised:
        case Drop::kGroupLimit:
        case Drop::kBandwidthLimit:
        case Drop::kSourceBound:
        case Drop::kGroupSourceBound:
        case Drop::kHostBound:
        case Drop::kGroupBound:
        case Drop::kAddressBound:
            return true;
        default:
            return false;
    }
}

Counters counters() {
    const Lock lock;
    return core().counters;
}

}  // namespace mcore
