// The same with libtins: the frame is taken apart, looked at, given its new tags, and put together
// again for each port.
#include <tins/dot1q.h>
#include <tins/ethernetII.h>
#include <tins/icmpv6.h>
#include <tins/ip.h>
#include <tins/ipv6.h>
#include <tins/rawpdu.h>

#include "adapt/records.h"
#include "bench/paths/contenders.h"
#include "common/ethernet.h"

namespace bench {
namespace {

using Tins::Dot1Q;
using Tins::EthernetII;

constexpr std::uint8_t kProtocolIgmp = 2;
constexpr std::uint32_t kPacket = mc::kBehindTag + 2;

Outcome outcome;

std::int32_t send_bytes(const std::vector<std::uint8_t>& bytes) {
    return send_frame(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

bool is_igmp(EthernetII& frame) {
    const auto* const packet = frame.find_pdu<Tins::IP>();
    return packet != nullptr && packet->protocol() == kProtocolIgmp;
}

bool is_mld(EthernetII& frame) {
    const auto* const message = frame.find_pdu<Tins::ICMPv6>();
    if (message == nullptr) return false;
    switch (message->type()) {
        case Tins::ICMPv6::MGM_QUERY:
        case Tins::ICMPv6::MGM_REPORT:
        case Tins::ICMPv6::MGM_REDUCTION:
        case Tins::ICMPv6::MLD2_REPORT:
            return true;
        default:
            return false;
    }
}

// The packet goes out as it came: libtins 4.0 does not write an IPv4 header with a router alert as
// it read it, and knows no padding behind a packet.
void take_packet(Dot1Q& tag, const std::uint8_t* bytes, std::uint32_t len) {
    tag.inner_pdu(Tins::RawPDU(bytes + kPacket, len - kPacket));
}

template <bool (*is_wanted)(EthernetII&)>
std::int32_t retag(std::uint8_t* bytes, std::uint32_t len, std::uint32_t /*port*/) {
    EthernetII frame(bytes, len);
    auto* const tag = frame.find_pdu<Dot1Q>();
    if (tag == nullptr || !is_wanted(frame)) return -1;
    take_packet(*tag, bytes, len);
    for (std::uint32_t i = 0; i < outcome.copies; ++i) {
        tag->id(outcome.tci[0]);
        if (send_bytes(frame.serialize()) != 0) return -1;
    }
    return 0;
}

// libtins gives the inner one of two tags the TPID of 802.1ad; the network wants that of a C-tag.
std::vector<std::uint8_t> serialize_two_tags(EthernetII& frame) {
    std::vector<std::uint8_t> bytes = frame.serialize();
    mc::store_be16(bytes.data() + mc::kBehindTag, mc::kTpid);
    return bytes;
}

std::int32_t stamp(std::uint8_t* bytes, std::uint32_t len, std::uint32_t /*port*/) {
    EthernetII frame(bytes, len);
    auto* const tag = frame.find_pdu<Dot1Q>();
    if (tag == nullptr || !is_igmp(frame)) return -1;
    take_packet(*tag, bytes, len);
    tag->id(outcome.tci[1]);
    Dot1Q outer(outcome.tci[0]);
    outer.inner_pdu(*tag);
    frame.inner_pdu(outer);
    return send_bytes(serialize_two_tags(frame));
}

std::int32_t wrap(std::uint8_t* bytes, std::uint32_t len, std::uint32_t /*port*/) {
    EthernetII frame{EthernetII::address_type(bytes), EthernetII::address_type(sys_mac)};
    frame.inner_pdu(Dot1Q(outcome.tci[0]));
    auto* const tag = frame.find_pdu<Dot1Q>();
    take_packet(*tag, bytes, len);
    tag->payload_type(mc::kEtherTypeIpv4);
    return send_bytes(frame.serialize());
}

}  // namespace

Receiver prepare_libtins(const Load& load) {
    outcome = outcome_of(load);
    switch (load.way) {
        case Way::kNothing:
            return nullptr;
        case Way::kMldReport:
            return retag<is_mld>;
        case Way::kCorePacket:
            return wrap;
        case Way::kControl:
            return stamp;
        default:
            return retag<is_igmp>;
    }
}

}  // namespace bench
