// The names of what is counted.
#include <string_view>

#include "node/core/state.h"

namespace mcore {

std::string_view name(Received kind) {
    switch (kind) {
        case Received::kIgmpV1Report:
            return "IGMPv1 report";
        case Received::kIgmpV2Report:
            return "IGMPv2 report";
        case Received::kIgmpLeave:
            return "IGMPv2 leave";
        case Received::kIgmpV3Report:
            return "IGMPv3 report";
        case Received::kIgmpQuery:
            return "IGMP query";
        case Received::kMldV1Report:
            return "MLDv1 report";
        case Received::kMldDone:
            return "MLDv1 done";
        case Received::kMldV2Report:
            return "MLDv2 report";
        case Received::kMldQuery:
            return "MLD query";
        case Received::kIgmpDiscovery:
            return "IGMP router discovery";
        case Received::kMldDiscovery:
            return "MLD router discovery";
    }
    return "";
}

std::string_view name(Drop reason) {
    switch (reason) {
        case Drop::kBadLength:
            return "impossible length";
        case Drop::kNotIp:
            return "no IGMP or MLD packet";
        case Drop::kFragment:
            return "fragment";
        case Drop::kIpChecksum:
            return "wrong IP header checksum";
        case Drop::kChecksum:
            return "wrong checksum";
        case Drop::kUnknownType:
            return "unknown message type";
        case Drop::kTruncated:
            return "truncated message";
        case Drop::kHopLimit:
            return "TTL or hop limit is not 1";
        case Drop::kNoRouterAlert:
            return "no router alert";
        case Drop::kSource:
            return "source is not link-local";
        case Drop::kUnspecifiedSource:
            return "source is the unspecified address";
        case Drop::kUnknownPort:
            return "unknown port";
        case Drop::kUnknownVlan:
            return "unknown VLAN";
        case Drop::kReportFromUplink:
            return "report from the uplink";
        case Drop::kLeaveInVersion1:
            return "leave in version 1";
        case Drop::kNotMulticast:
            return "group is no multicast address";
        case Drop::kLinkLocalGroup:
            return "link-local group";
        case Drop::kSourceNeeded:
            return "SSM group without a source";
        case Drop::kSsmOlderVersion:
            return "SSM group in a message of an older version";
        case Drop::kOlderHostPresent:
            return "leave beside an IGMPv1 host";
        case Drop::kNotAuthorised:
            return "group not authorised";
        case Drop::kGroupLimit:
            return "group limit of the port";
        case Drop::kBandwidthLimit:
            return "bandwidth limit of the port";
        case Drop::kSourceBound:
            return "bound on sources of a host";
        case Drop::kGroupSourceBound:
            return "bound on sources of a group";
        case Drop::kHostBound:
            return "bound on hosts of a group";
        case Drop::kGroupBound:
            return "bound on groups of a port";
        case Drop::kAddressBound:
            return "bound on addresses of a port";
        case Drop::kControlListBound:
            return "bound on ranges of a control list";
        case Drop::kRouterBound:
            return "bound on routers of a port";
    }
    return "";
}

std::string_view name(Sent kind) {
    switch (kind) {
        case Sent::kIgmpGeneralQuery:
            return "IGMP general query";
        case Sent::kIgmpGroupQuery:
            return "IGMP group query";
        case Sent::kIgmpReport:
            return "IGMP report";
        case Sent::kIgmpLeave:
            return "IGMP leave";
        case Sent::kMldGroupQuery:
            return "MLD group query";
        case Sent::kIgmpSourceQuery:
            return "IGMP group-and-source query";
        case Sent::kMldSourceQuery:
            return "MLD group-and-source query";
        case Sent::kMldReport:
            return "MLD report";
        case Sent::kMldDone:
            return "MLD done";
        case Sent::kMldGeneralQuery:
            return "MLD general query";
        case Sent::kIgmpRelayed:
            return "IGMP report to a router port";
        case Sent::kMldRelayed:
            return "MLD report to a router port";
    }
    return "";
}

Counters counters() {
    const Lock lock;
    return core().counters;
}

}  // namespace mcore
