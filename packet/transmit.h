// Frames that leave: the wrapping of the core's packets, and the one call of the driver's transmit.
// Told once for both sides; see packet/receive.h for what a Side is.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "adapt/port_lookup.h"
#include "adapt/records.h"
#include "adapt/tables.h"
#include "common/bytes.h"
#include "common/diagnostics.h"
#include "common/ethernet.h"
#include "platform/l2_multicast.h"

namespace mc {

constexpr int kResultVlans = MC_RESULT_VLANS;  // more matching rules than this are not looked for

struct ResultVlans {
    std::uint16_t vlan[kResultVlans];
    int count = 0;
};

// Hands a frame to the driver, with the port and the group VLAN of the last frame received. What
// goes to the uplink goes to the test uplink while there is one.
template <class Side>
std::int32_t transmit(std::uint8_t* frame, std::uint16_t len, std::uint16_t port) {
    if (Side::says(kTransmitDump)) Side::dump_sent(frame, len, port);
    const bool redirected = port == MC_UPLINK_PORT && Side::test_uplink() != MC_NO_TEST_UPLINK;
    const auto out = redirected ? static_cast<std::uint16_t>(Side::test_uplink()) : port;
    Side::say_transmit(out, len);
    const std::int32_t status = L2_multicast_send_msg(frame, static_cast<std::uint8_t>(out), len,
                                                      Side::receive_port(), ponVlan);
    if (status != 0 && Side::says(kErrors)) {
        const int printed =
            std::printf("\r\n[MC_DBG_ERR]:  uplink L2_multicast_send_msg Fail ,ret = %d.", status);
        return Side::transmit_failed(status, printed);
    }
    return status;
}

// The VLANs under which a packet of the core leaves on a user port, one for each rule that
// translates its VLAN.
//
// Kept on purpose: the rules searched are not the port's own. The walk starts in block 0 whatever
// the port, and moves on to the next block with every match; the port only decides how many rules
// are looked at, and that some block begins with a rule of its own.
template <class Side>
void search_send_vlans(std::uint16_t port, std::uint16_t vid, ResultVlans& result) {
    if (Side::says(kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: searchSendPktPortCfgVlan ,vlan(%d)", vid);
    }
    const int logical = accept_known_port<Side>(port, Side::kSendClosing);
    if (logical == kNoPort) return;
    const RuleTable& rules = Side::rules();
    const bool has_block =
        std::any_of(std::begin(rules), std::end(rules),
                    [port](const auto& block) { return block[0].portNO == port; });
    const int used = rules_in_use(Side::rule_counts()[logical]);
    if (!has_block) return;
    for (int j = 0; j < used && result.count < kResultVlans; ++j) {
        const PortVlanCfgEntry& rule = rules[result.count][j];
        if (Side::says(kFlow)) {
            std::printf(
                "\r\n[MC_DBG_DBG]: searchSendPktPortCfgVlan from downlink,vlan(%d) config search!,cfgvlan(%d)\r\n",
                vid, rule.in_up_vlan);
        }
        if (rule.in_data_vlan == vid) result.vlan[result.count++] = rule.out_dn_vlan;
    }
}

// A frame around a packet of the core: MACs, then 6-byte groups {TPID, TCI, 0x0800}, then the
// packet. The type is that of IPv4 on both sides, kept on purpose.
struct TransmitFrame {
    std::uint8_t bytes[kTransmitFrame] = {};
    std::uint32_t header = kMacsLength;

    void append_tag_group(std::uint16_t tpid, std::uint32_t vid, std::uint8_t priority) {
        store_be16(bytes + header, tpid);
        store_be16(bytes + header + 2, vid | static_cast<std::uint32_t>(priority) << 13);
        store_be16(bytes + header + 4, kEtherTypeIpv4);
        header += 6;
    }
};

// Tags the frame once more, puts the packet behind and sends it.
template <class Side>
void send_tagged(TransmitFrame& frame, const typename Side::SendTag& tag, std::uint16_t port,
                 const std::uint8_t* packet, std::uint16_t len) {
    constexpr std::uint32_t kTagGroup = 6;
    if (frame.header + kTagGroup + len > kTransmitFrame) {
        if (Side::says(kErrors)) {
            std::printf("\r\n[MC_DBG_ERR]: packet of %d bytes does not fit the frame, abord!\r\n",
                        len);
        }
        return;
    }
    frame.append_tag_group(tag.tpid, tag.vid, tag.priority);
    if (packet != nullptr) std::memcpy(frame.bytes + frame.header, packet, len);
    static_cast<void>(
        transmit<Side>(frame.bytes, static_cast<std::uint16_t>(len + frame.header), port));
}

// Sends a packet of the core. The tag is rewritten when a rule translates the VLAN. With several
// matching rules the tag groups pile up from one frame to the next: the n-th frame carries n of
// them.
template <class Side>
void send_packet(std::uint16_t port, const std::uint8_t* packet, typename Side::SendTag tag,
                 std::uint16_t len) {
    if (port == MC_CORE_UPLINK) port = MC_UPLINK_PORT;
    if (Side::says(kFlow)) std::printf("\r\n[MC_DBG_DBG]: The port no is (%d)\r\n", port);
    if (port > MC_UPLINK_PORT) {
        if (Side::says(kErrors)) {
            std::printf("\r\n[MC_DBG_ERR]: The port no(%d) is illegal, abord!<*_*>\r\n", port);
        }
        return;
    }
    TransmitFrame frame;
    Side::write_destination(frame.bytes, packet);
    std::memcpy(frame.bytes + kMacLength, Side::own_mac(), kMacLength);

    const int logical = logical_port(Side::ports(), port);
    if (Side::says(kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: checkPortState %d", port);
        if (logical == kNoPort) trace_port_unknown(port);
    }
    ResultVlans result;
    if (logical == kNoPort || Side::ports()[logical].port_type != MC_PORT_UPLINK) {
        search_send_vlans<Side>(port, tag.vid, result);
        if (Side::says(kFlow)) {
            std::printf("\r\n[MC_DBG_DBG]: [send_pkt_igmp]: searchSendPktPortCfgVlan num %d\r\n",
                        result.count);
        }
    }
    if (result.count == 0) send_tagged<Side>(frame, tag, port, packet, len);
    for (int i = 0; i < result.count; ++i) {
        if (result.vlan[i] != MC_NO_VLAN) tag.vid = result.vlan[i];
        send_tagged<Side>(frame, tag, port, packet, len);
    }
}

// ---- Switch entries ----------------------------------------------------------------------------

inline void say_group_mac(bool says, const L2MulticastMac& mac) {
    if (says) {
        std::printf("\r\n[MC_DBG_DBG]: gmac address   : %.2x:%.2x:%.2x:%.2x:%.2x:%.2x", mac.byte[0],
                    mac.byte[1], mac.byte[2], mac.byte[3], mac.byte[4], mac.byte[5]);
    }
}

template <class Side>
std::int32_t set_entry(std::uint16_t port, const L2MulticastMac& mac, std::uint16_t vlan) {
    const std::int32_t status =
        L2_multicast_set_port_iptv_entry(static_cast<std::int16_t>(port), mac, vlan);
    if (status != 0 && Side::says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!L2_multicast_set_port_iptv_entry Fail %d", status);
    }
    return status;
}

template <class Side>
std::int32_t remove_entry(std::uint16_t port, const L2MulticastMac& mac, std::uint16_t vlan) {
    const std::int32_t status =
        L2_multicast_remove_port_iptv_entry(static_cast<std::int16_t>(port), mac, vlan);
    if (status != 0 && Side::says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!L2_multicast_remove_port_iptv_entry Fail %d",
                    status);
    }
    return status;
}

}  // namespace mc
