// The call-backs through which the protocol core sends MLD packets and programs the switch.
#include "packet/transmit.h"

#include <cstdint>
#include <cstdio>

#include "adapt/records.h"
#include "mld/mld.h"
#include "mld/record.h"
#include "mld/side.h"

namespace mc {

namespace {

// The MAC of an IPv6 group: 33:33 and the last four bytes of the address (RFC 2464, 7).
L2MulticastMac group_mac(const std::uint8_t (&tail)[4]) {
    return {{0x33, 0x33, tail[0], tail[1], tail[2], tail[3]}};
}

constexpr std::uint32_t kIpv6DestinationTail = 28;

}  // namespace

// What the core hands over begins with a whole IP header, whatever length it gives.
void MldSide::write_destination(std::uint8_t* mac, const std::uint8_t* packet) {
    mac[0] = 0x33;
    mac[1] = 0x33;
    std::memcpy(mac + 2, packet + kIpv6DestinationTail, 4);
}

// With errors traced the length of the trace is the result, kept on purpose: not 0 either way.
std::int32_t MldSide::transmit_failed(std::int32_t /*status*/, int printed) { return printed; }

void MldSide::dump_sent(const std::uint8_t* frame, std::uint16_t len, std::uint16_t /*port*/) {
    if (frame != nullptr) dump_hex({frame, len}, len);
}

void MldSide::say_transmit(std::uint16_t port, std::uint16_t len) {
    if (says(kFlow)) {
        std::printf(
            "\r\n[MC_DBG_DBG]: mld_l2_igmp_send_pkt  ifindex = %d len = %d srcPortNum = %d ponVlan = %d\r\n",
            port, len, mldInitParams.srcPortNum, ponVlan);
    }
}

}  // namespace mc

using mc::MldSide;

void send_pkt_mld(std::uint8_t* packet, std::uint16_t port, void* /*tag*/, std::uint16_t len) {
    const mc::SendTag tag = {mldInitParams.tag_tpid, mldInitParams.tag_vid, mldInitParams.tag_pri};
    mc::send_packet<MldSide>(port, packet, tag, len);
}

std::int32_t mld_l2_igmp_send_pkt(std::uint8_t* frame, std::uint16_t len, std::uint16_t port) {
    return mc::transmit<MldSide>(frame, len, port);
}

std::int32_t mld_add_grp(MldGroupEntry* group) {
    if (group == nullptr) return -1;
    const L2MulticastMac mac = mc::group_mac(group->group_tail);
    mc::say_group_mac(mc::mld_says(mc::kFlow), mac);
    if (mc::mld_says(mc::kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: mld_add_grp portNo = %d vlan = %d\r\n",
                    static_cast<std::int16_t>(group->port), group->vlan);
    }
    return mc::set_entry<MldSide>(group->port, mac, group->vlan);
}

std::int32_t mld_del_grp(MldGroupEntry* group) {
    if (group == nullptr) return -1;
    const L2MulticastMac mac = mc::group_mac(group->group_tail);
    mc::say_group_mac(mc::mld_says(mc::kFlow), mac);
    if (mc::mld_says(mc::kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: mld_del_grp portNo = %d vlan = %d\r\n",
                    static_cast<std::int16_t>(group->port), group->vlan);
    }
    return mc::remove_entry<MldSide>(group->port, mac, group->vlan);
}
