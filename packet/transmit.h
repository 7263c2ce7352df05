// Frames that leave: the wrapping of the core's packets, and the one call of the driver's transmit.
// Told once for both sides; see packet/receive.h for what a Side is.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "adapt/records.h"
#include "adapt/tables.h"
#include "common/bytes.h"
#include "common/diagnostics.h"
#include "common/ethernet.h"
#include "packet/frame_port.h"
#include "platform/l2_multicast.h"

namespace mc {

constexpr int kResultVlans = MC_RESULT_VLANS;  // more matching rules than this are not looked for

struct ResultVlans {
    std::uint16_t vlan[kResultVlans];
    int count = 0;
};

// What the console hears of a frame that leaves. out: the port that it leaves on.
template <class Side>
[[gnu::noinline]] void say_sent(const std::uint8_t* frame, std::uint16_t len, std::uint16_t port,
                                std::uint16_t out) {
    if (Side::says(kTransmitDump)) Side::dump_sent(frame, len, port);
    Side::say_transmit(out, len);
}

template <class Side>
[[gnu::noinline]] std::int32_t say_not_sent(std::int32_t status) {
    if (!Side::says(kErrors)) return status;
    const int printed =
        std::printf("\r\n[MC_DBG_ERR]:  uplink L2_multicast_send_msg Fail ,ret = %d.", status);
    return Side::transmit_failed(status, printed);
}

// Hands a frame to the driver, with the port and the group VLAN of the last frame received. What
// goes to the uplink goes to the test uplink while there is one.
template <class Side>
std::int32_t transmit(std::uint8_t* frame, std::uint16_t len, std::uint16_t port) {
    std::uint16_t out = port;
    if (port == MC_UPLINK_PORT) {
        const std::uint32_t stand_in = Side::test_uplink();
        if (stand_in != MC_NO_TEST_UPLINK) out = static_cast<std::uint16_t>(stand_in);
    }
    if (Side::says(kTransmitDump) || Side::says(kFlow)) say_sent<Side>(frame, len, port, out);
    const std::int32_t status = L2_multicast_send_msg(frame, static_cast<std::uint8_t>(out), len,
                                                      Side::receive_port(), ponVlan);
    return status == 0 ? status : say_not_sent<Side>(status);
}

// The tag under which a packet of the core leaves. A translated VID is written back to where it
// came from: the core's own record, or the tag of the last MLD frame.
struct SendTag {
    std::uint16_t tpid;
    std::uint16_t& vid;
    std::uint8_t priority;
};

// The VLANs under which a packet of the core leaves on a user port, one for each rule that
// translates its VLAN.
//
// Kept on purpose: the rules searched are not the port's own. The walk starts in block 0 whatever
// the port, and moves on to the next block with every match; the port only decides how many rules
// are looked at, and that some block begins with a rule of its own.
template <class Side>
void search_send_vlans(const FramePort& to, ResultVlans& result) {
    if (Side::says(kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: searchSendPktPortCfgVlan ,vlan(%d)", to.vid);
    }
    if (!is_known<Side>(to, Side::kSendClosing)) return;
    const RuleTable& rules = Side::rules();
    const auto port = static_cast<std::int32_t>(to.port);
    const bool has_block =
        std::ranges::any_of(rules, [port](const auto& block) { return block[0].portNO == port; });
    if (!has_block) return;
    const int used = rules_in_use(Side::rule_counts()[to.logical]);
    for (int j = 0; j < used && result.count < kResultVlans; ++j) {
        const PortVlanCfgEntry& rule = rules[result.count][j];
        if (Side::says(kFlow)) {
            std::printf(
                "\r\n[MC_DBG_DBG]: searchSendPktPortCfgVlan from downlink,vlan(%d) config search!,cfgvlan(%d)\r\n",
                to.vid, rule.in_up_vlan);
        }
        if (rule.in_data_vlan == to.vid) result.vlan[result.count++] = rule.out_dn_vlan;
    }
}

constexpr std::uint32_t kTagGroup = 6;  // TPID, TCI, ethertype

// A frame around a packet of the core: MACs, then 6-byte groups {TPID, TCI, 0x0800}, then the
// packet. The type is that of IPv4 on both sides, kept on purpose. All that is sent of it is
// written first, unless the core has no packet.
struct TransmitFrame {
    std::uint8_t bytes[kTransmitFrame];
    std::uint32_t header = kMacsLength;

    void append_tag_group(std::uint16_t tpid, std::uint32_t vid, std::uint8_t priority) {
        std::uint8_t* const group = bytes + header;
        store_be16(group, tpid);
        store_be16(group + 2, vid | static_cast<std::uint32_t>(priority) << 13);
        store_be16(group + 4, kEtherTypeIpv4);
        header += kTagGroup;
    }
};

// Tags the frame once more, puts the packet behind and sends it.
template <class Side>
void send_tagged(TransmitFrame& frame, const SendTag& tag, std::uint16_t port,
                 const std::uint8_t* packet, std::uint16_t len) {
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
        transmit<Side>(frame.bytes, static_cast<std::uint16_t>(frame.header + len), port));
}

// Sends a packet of the core. The tag is rewritten when a rule translates the VLAN. With several
// matching rules the tag groups pile up from one frame to the next: the n-th frame carries n of
// them.
template <class Side>
void send_packet(std::uint16_t port, const std::uint8_t* packet, const SendTag& tag,
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
    if (packet != nullptr) {
        Side::write_destination(frame.bytes, packet);
    } else {
        std::memset(frame.bytes, 0, sizeof(frame.bytes));
    }
    std::memcpy(frame.bytes + kMacLength, Side::own_mac(), kMacLength);

    const FramePort to = frame_port<Side>(port, tag.vid);
    if (Side::says(kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: checkPortState %d", port);
        if (to.logical == kNoPort) trace_port_unknown(port);
    }
    ResultVlans result;
    if (to.type != MC_PORT_UPLINK) {
        search_send_vlans<Side>(to, result);
        if (Side::says(kFlow)) {
            std::printf("\r\n[MC_DBG_DBG]: [send_pkt_igmp]: searchSendPktPortCfgVlan num %d\r\n",
                        result.count);
        }
    }
    if (result.count == 0) result.vlan[result.count++] = MC_NO_VLAN;  // once, with the core's tag
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
