// Reception of a trapped frame, told once for both sides: check, classify, hand to the core,
// forward.
//
// IgmpSide (igmp/side.h) and MldSide (mld/side.h) hold what differs: their records, their lines on
// the console, what they read from a packet, and how they call the core.
#pragma once

#include <cstdint>
#include <cstdio>

#include "adapt/records.h"
#include "adapt/tables.h"
#include "common/diagnostics.h"
#include "common/ethernet.h"
#include "packet/frame_port.h"
#include "packet/rule_walk.h"

namespace mc {

// A received frame, once its framing is known. It came in on the uplink also where a test uplink
// stands in for it.
struct ReceivedFrame {
    Frame frame;
    FramePort at;
    std::uint8_t* packet;
};

// The node sees its own frames again where the switch loops them back. A frame that is too short to
// have a source address is left to the length checks.
inline bool comes_from(const std::uint8_t* frame, std::uint32_t len,
                       const std::uint8_t (&mac)[kMacLength]) {
    return len >= kMacsLength && is_mac(frame + kMacLength, mac);
}

template <class Side>
void say_too_short(FrameKind kind, std::uint32_t len) {
    if (!Side::says(kErrors)) return;
    switch (kind) {
        case FrameKind::kTaggedPppoe:
            std::printf(
                "\r\n[MC_DBG_ERR]: Frame PPPoE header and vlan tag,but too short ,abord!<*_*>(%d)\r\n",
                len);
            return;
        case FrameKind::kTagged:
        case FrameKind::kDoubleTagged:
            std::printf("\r\n[MC_DBG_ERR]: Too short frame,abord!(%d)\r\n", len);
            return;
        case FrameKind::kPppoe:
            std::printf("\r\n[MC_DBG_ERR]: Frame PPPoE header,but too short ,abord!<*_*>(%d)\r\n",
                        len);
            return;
        case FrameKind::kUntagged:
            std::printf("\r\n[MC_DBG_ERR]: Ethernet Frame too short ,abord!<*_*>(%d)\r\n", len);
            return;
    }
}

// Whether a frame carries this side's packets.
template <class Side>
bool accept_framing(const Framing& framing, std::uint32_t len) {
    if (framing.too_short) {
        say_too_short<Side>(framing.kind, len);
        return false;
    }
    if (framing.ethertype != Side::kEtherType) {
        if (Side::says(kErrors)) {
            std::printf("\r\n[MC_DBG_ERR]: Not ip pkt recieved,abord!(%d)\r\n", framing.ethertype);
        }
        return false;
    }
    return true;
}

// The multicast VLAN that the rules give a frame from a user port, 0 when no rule takes its VID.
template <class Side>
std::uint32_t search_data_vlan(const FramePort& at) {
    if (!is_known<Side>(at, Side::kReceiveClosing)) return 0;
    const PortVlanCfgEntry* const rule = find_upstream_rule<Side>(
        {.doors = Side::receive_doors(),
         .rules = Side::rules(),
         .blocks = Side::kReceiveBlocks,
         .used = rules_in_use(Side::rule_counts()[at.logical])},
        at, [&at](const PortVlanCfgEntry& compared) {
            std::printf(
                "\r\n[MC_DBG_DBG]: recieve paket from downlink,vlan(%d) config search!,cfgvlan(%d)\r\n",
                at.vid, compared.in_up_vlan & kVidMask);
        });
    return rule != nullptr ? rule->in_data_vlan & kVidMask : 0u;
}

template <class Side>
std::uint32_t configured_vlan(const FramePort& at) {
    Side::say_search_vlan(at.vid, at.port);
    if (at.logical == kNoPort) say_from_nowhere<Side>(at);
    if (at.type == MC_PORT_UPLINK) {
        Side::say_from_uplink();
        return at.vid;
    }
    return search_data_vlan<Side>(at);
}

// The configured VLAN when it is one of the template VLANs, otherwise the default VLAN.
template <class Side>
std::uint32_t group_vlan(const FramePort& at) {
    const std::uint32_t vlan = configured_vlan<Side>(at);
    if (Side::says(kFlow)) std::printf("\r\n[MC_DBG_DBG]: in searchVlan vlan = %d\r\n", vlan);
    return Side::template_vlan(vlan);
}

// Snooping and control keep the network's frames from the core and only forward them.
template <class Side>
bool kept_from_core(const FramePort& at, std::uint32_t mode) {
    if (!Side::forwards(mode)) return false;
    if (at.logical == kNoPort) say_from_nowhere<Side>(at);
    if (at.type != MC_PORT_UPLINK) return false;
    Side::say_kept_from_core(mode, at.port);
    return true;
}

template <class Side>
std::int32_t classify(std::uint8_t* bytes, std::uint32_t len, std::uint32_t port) {
    const Framing framing = parse_framing(bytes, len);
    Side::keep_tag(framing);
    if (!accept_framing<Side>(framing, len)) return -1;

    const ReceivedFrame received = {
        {bytes, len}, frame_port<Side>(port, framing.vid()), bytes + framing.packet_offset};
    const std::uint32_t vlan = group_vlan<Side>(received.at);
    ponVlan = vlan;  // before the core is called: its call-backs hand it to the driver
    if (Side::says(kFlow)) std::printf("\r\n[MC_DBG_DBG]: GROUP_VLAN = %d\r\n", vlan);
    const std::uint32_t length = Side::packet_length(received.packet);
    if (Side::says(kFlow)) std::printf("\r\n[MC_DBG_DBG]: IP TOTAL LENGTH = %d\r\n", length);
    if (!Side::accept_protocol(received.packet)) return -1;

    const std::uint32_t mode = Side::mode();
    Side::say_mode(mode);
    const std::int32_t result =
        kept_from_core<Side>(received.at, mode) ? -1 : Side::hand_to_core(received, length, vlan);
    Side::forward(mode, received);
    return result;
}

template <class Side>
std::int32_t receive(std::uint8_t* frame, std::uint32_t len, std::uint32_t port) {
    Side::receive_port() = static_cast<std::uint8_t>(port);
    Side::say_entered(port & 0xFF);
    if (len > kLongestFrame) {
        if (Side::says(kErrors)) std::printf("\r\n[MC_DBG_ERR]: usLength  = %d\r\n", len);
        return 0;
    }
    if (Side::says(kReceiveDump)) Side::dump_received(frame, len, port);
    if (frame == nullptr) return -1;
    if (port == Side::test_uplink()) port = MC_UPLINK_PORT;
    Side::count_frame();
    if (comes_from(frame, len, Side::own_mac())) {
        Side::say_own_frame();
        return -1;
    }
    if (port > MC_UPLINK_PORT) {
        if (Side::says(kErrors)) {
            std::printf("\r\n[MC_DBG_ERR]: The port no(%d) is illegal, abord!<*_*>\r\n", port);
        }
        return -1;
    }
    Side::say_received(port);
    return classify<Side>(frame, len, port);
}

}  // namespace mc
