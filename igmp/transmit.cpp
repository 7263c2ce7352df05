// The call-backs through which the protocol core sends IGMP packets and programs the switch.
#include "packet/transmit.h"

#include <cstdint>
#include <cstdio>

#include "adapt/adapt.h"
#include "igmp/igmp.h"
#include "igmp/side.h"

namespace mc {

namespace {

// The MAC of an IPv4 group: 01:00:5E and the low 23 bits of the address (RFC 1112, 6.4).
constexpr L2MulticastMac group_mac(std::uint32_t group) {
    return {{0x01, 0x00, 0x5E, static_cast<std::uint8_t>(group >> 16 & 0x7F),
             static_cast<std::uint8_t>(group >> 8), static_cast<std::uint8_t>(group)}};
}

constexpr std::uint32_t kIpv4Destination = 16;

}  // namespace

// What the core hands over begins with a whole IP header, whatever length it gives.
void IgmpSide::write_destination(std::uint8_t* mac, const std::uint8_t* packet) {
    const L2MulticastMac group = group_mac(load_be32(packet + kIpv4Destination));
    std::copy_n(group.byte, kMacLength, mac);
}

void IgmpSide::dump_sent(const std::uint8_t* frame, std::uint16_t len, std::uint16_t port) {
    std::printf("[l2_igmp_send_pkt]: Pkt Send to port %d, len %d.\r\n", port, len);
    if (frame != nullptr) dump_hex({frame, len}, len);
}

void IgmpSide::say_transmit(std::uint16_t port, std::uint16_t len) {
    if (says(kFlow)) {
        std::printf(
            "\r\n[MC_DBG_DBG]: l2_igmp_send_pkt  ifindex = %d len = %d srcPortNum = %d ponVlan = %d\r\n",
            port, len, srcPortNum, ponVlan);
    }
}

}  // namespace mc

using mc::IgmpSide;

void send_pkt_igmp(std::uint16_t port, std::uint8_t* ip_packet, IgmpVlanTag* tag,
                   std::uint16_t ip_len) {
    if (tag == nullptr) {
        if (mc::igmp_says(mc::kErrors)) {
            std::printf("\r\n[MC_DBG_ERR]: send_pkt_igmp without a tag, abord!\r\n");
        }
        return;
    }
    mc::send_packet<IgmpSide>(port, ip_packet, {tag->tpid, tag->vid, tag->priority}, ip_len);
}

std::int32_t l2_igmp_send_pkt(std::uint8_t* frame, std::uint16_t len, std::uint16_t port) {
    return mc::transmit<IgmpSide>(frame, len, port);
}

std::int32_t igmp_add_grp(IgmpGroupEntry* grp) {
    if (grp == nullptr) return -1;
    const L2MulticastMac mac = mc::group_mac(grp->group);
    mc::say_group_mac(mc::igmp_says(mc::kFlow), mac);
    if (mc::igmp_says(mc::kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: igmp_add_grp portNo = %d vlan = %d\r\n",
                    static_cast<std::int16_t>(grp->port), grp->vlan);
    }
    if (mc::set_entry<IgmpSide>(grp->port, mac, grp->vlan) == 0) return 0;
    const std::int32_t answer = igmp_set_table_return(tablereturn);
    if (mc::igmp_says(mc::kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: \n ERROR!tablereturn %d", answer);
    }
    return answer;
}

// The port and VLAN line is a configuration trace here and a flow trace in the add, and tablereturn
// plays no part. Both kept on purpose.
std::int32_t igmp_del_grp(IgmpGroupEntry* grp) {
    if (grp == nullptr) return -1;
    const L2MulticastMac mac = mc::group_mac(grp->group);
    mc::say_group_mac(mc::igmp_says(mc::kFlow), mac);
    if (mc::igmp_says(mc::kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: igmp_del_grp portNo = %d vlan = %d\r\n",
                    static_cast<std::int16_t>(grp->port), grp->vlan);
    }
    return mc::remove_entry<IgmpSide>(grp->port, mac, grp->vlan);
}
