// Forwarding of a received frame by mode, told once for four handlers: snooping and control, IGMP
// and MLD. A Handler names its Side and holds what differs, its console lines included.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <span>

#include "adapt/records.h"
#include "adapt/tables.h"
#include "common/diagnostics.h"
#include "common/ethernet.h"
#include "packet/frame_port.h"
#include "packet/rule_walk.h"
#include "platform/l2_multicast.h"

namespace mc {

template <class Side>
void send(std::uint8_t* bytes, std::uint32_t len, std::uint32_t port) {
    // A failure is reported where the driver is called; there is nothing to undo here.
    static_cast<void>(
        Side::send(bytes, static_cast<std::uint16_t>(len), static_cast<std::uint16_t>(port)));
}

// ---- Downstream --------------------------------------------------------------------------------

inline void trace_downlink_rules(std::span<const PortVlanCfgEntry> rules, std::uint32_t vid) {
    for (const PortVlanCfgEntry& rule : rules) {
        std::printf(
            "\r\n[MC_DBG_DBG]: searchDownSnoopPortCfgVlan from downlink,vlan(%d) config search!,cfgvlan(%d)\r\n",
            vid, rule.in_dn_vlan & kVidMask);
    }
}

// Collects what every port's rules make of a frame with VID vid that comes down. A port without a
// match has its row set to "no VLAN"; the row of any other port keeps older values behind its
// count.
template <class Side>
void search_downlink_vlans(std::uint32_t vid, std::uint16_t (&counts)[Side::kDownlinkPorts]) {
    if (Side::says(kFlow)) {
        std::puts("\r\n[MC_DBG_DBG]: recieve paket from uplink,search vlan config for snooping!\r");
    }
    for (int p = 0; p < Side::kDownlinkPorts; ++p) {
        auto& row = Side::downlink_vlans()[p];
        std::uint16_t count = 0;
        const auto used = static_cast<std::size_t>(rules_in_use(Side::rule_counts()[p]));
        const std::span rules(Side::rules()[p], used);
        for (const PortVlanCfgEntry& rule : rules) {
            const bool matches = (rule.in_dn_vlan & kVidMask) == vid;
            if (matches && count < MC_RESULT_VLANS) row[count++] = rule.out_dn_vlan;
        }
        if (Side::says(kFlow)) trace_downlink_rules(rules, vid);
        if (count == 0) std::ranges::fill(row, std::uint16_t{MC_NO_VLAN});
        counts[p] = count;
    }
}

// Gives the frame a tag: in place when it has one, so that ports served later see the frame as it
// then is; otherwise in the working copy.
template <class Side>
void send_tagged_as(const Frame& frame, WorkingCopy& copy, std::uint16_t tci, std::uint32_t out) {
    if (is_tagged(frame)) {
        write_tci(frame, tci);
        send<Side>(frame.bytes, frame.len, out);
    } else {
        const std::uint32_t len = copy.rebuild(frame, {tci}, kBehindMacs);
        send<Side>(copy.bytes(), len, out);
    }
}

// Sends a copy of the frame: whatever the driver does to it, the next port sees the frame as it is.
template <class Side>
void send_copy(const Frame& frame, std::uint32_t out) {
    WorkingCopy copy;
    copy.fill(frame);
    send<Side>(copy.bytes(), frame.len, out);
}

// Sends a frame down under one VLAN of the port's rules.
template <class Handler>
void send_down(const Frame& frame, WorkingCopy& copy, std::uint16_t vlan, std::uint32_t out) {
    using Side = typename Handler::Side;
    if (vlan == MC_NO_VLAN) {
        if (Side::says(kErrors)) {
            std::puts("\r\n[MC_DBG_ERR]: searchDownSnoopPortCfgVlan is error,never here !!\r");
        }
        return;
    }
    if (vlan == 0) {
        const std::uint32_t untagged = copy.rebuild(frame, {}, kBehindTag);
        send<Side>(copy.bytes(), Handler::untagged_length(frame, untagged), out);
        return;
    }
    Side::tag_sent(vlan);
    send_tagged_as<Side>(frame, copy, vlan & kNoDeiMask, out);
}

// A frame from the network goes to every user port. The walk ends at the first entry that is none.
template <class Handler>
void forward_down(const Frame& frame, std::uint32_t vid) {
    using Side = typename Handler::Side;
    std::uint16_t counts[Side::kDownlinkPorts];
    search_downlink_vlans<Side>(vid, counts);
    for (int p = 0; p < Side::kDownlinkPorts; ++p) {
        if (Handler::walked_ports()[p].port_type != MC_PORT_USER) break;
        if (Handler::override_down(frame, p)) continue;
        if (counts[p] == 0) {
            Handler::pass_down(frame, p);
            continue;
        }
        WorkingCopy copy;
        if (counts[p] > 1) copy.fill(frame);
        for (int i = 0; i < counts[p]; ++i) {
            send_down<Handler>(frame, copy, Side::downlink_vlans()[p][i], Side::ports()[p].port_id);
        }
    }
}

// ---- Upstream ----------------------------------------------------------------------------------

// The VLAN that a user port's rules give a frame towards the network; "no VLAN" when none matches.
template <class Side>
std::uint16_t search_uplink_vlan(const FramePort& at) {
    if (!is_known<Side>(at, Closing::kPrintf)) return MC_NO_VLAN;
    const PortVlanCfgEntry* const rule = find_upstream_rule<Side>(
        {.doors = Side::rules(),
         .rules = Side::rules(),
         .blocks = MC_PORTS,
         .used = rules_in_use(Side::rule_counts()[at.logical])},
        at, [&at](const PortVlanCfgEntry& compared) {
            std::printf(
                "\r\n[MC_DBG_DBG]: searchUpSnoopPortCfgVlan from downlink,vlan = %d config search!,cfgvlan = %d\r\n",
                at.vid, compared.in_up_vlan & kVidMask);
        });
    if (rule == nullptr) return MC_NO_VLAN;
    // The IGMP rules supply the VLAN on both sides, kept on purpose: an MLD rule only selects the
    // position.
    return same_place(PortVlanCfg, *rule, Side::rules()).out_up_vlan;
}

template <class Side>
void send_up_tagged(const Frame& frame, std::uint16_t vlan) {
    Side::tag_sent(vlan);
    WorkingCopy copy;
    send_tagged_as<Side>(frame, copy, vlan & kNoDeiMask, MC_UPLINK_PORT);
}

// Snooping: the frame goes up with the VLAN of its rule, or as it is when no rule has one for it.
template <class Side>
void forward_up_by_rule(const Frame& frame, const FramePort& at) {
    const std::uint16_t vlan = search_uplink_vlan<Side>(at);
    Side::say_uplink_vlan(vlan);
    if (vlan == MC_NO_VLAN) {
        send<Side>(frame.bytes, frame.len, MC_UPLINK_PORT);
        if (Side::says(kFlow)) {
            std::puts(
                "\r\n[MC_DBG_DBG]: Enter igmp_snoop_handle,downlink can't find vlanconfig! direct pass!\r");
        }
        return;
    }
    send_up_tagged<Side>(frame, vlan);
}

// The node's ONU id, as control mode asks for it with each frame. 255: none is assigned.
template <class Side>
std::uint8_t read_onu_id() {
    std::uint8_t onu_id = 0;
    static_cast<void>(L2_multicast_get_onu_id(&onu_id));
    if (Side::says(kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: igmp_adapt_control_handle onu_id = %d", onu_id);
    }
    return onu_id;
}

// The VLAN that stands for the node: its ONU id, 128 standing in for 0.
constexpr std::uint16_t onu_vlan(std::uint8_t onu_id) {
    constexpr std::uint16_t kStandIn = 128;
    return onu_id != 0 ? onu_id : kStandIn;
}

// The VLAN that stands for the user port.
constexpr std::uint16_t port_vlan(std::uint32_t port) {
    return static_cast<std::uint16_t>(port + 1);
}

// The IGMP names stand in these lines on the MLD side too, kept on purpose; only MLD snooping has a
// line of its own for a frame without a rule.
template <class Side>
void say_no_rule_down() {
    if (Side::says(kFlow)) {
        std::puts(
            "\r\n[MC_DBG_DBG]: Enter igmp_snoop_handle,uplink can't find vlanconfig! direct pass!\r");
    }
}

template <class Side>
void say_control_entered(std::uint32_t port, std::uint32_t type) {
    if (Side::says(kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: Enter igmp_control_handle, rPort = %d, rport_sta = %d\r\n",
                    port, type);
    }
}

// Control: the frame goes up under the tags that name the node and the user port; a tag that it
// came with is replaced.
template <class Side>
void forward_up_stamped(const Frame& frame, std::initializer_list<std::uint16_t> tags) {
    WorkingCopy copy;
    const std::uint32_t from = is_tagged(frame) ? kBehindTag : kBehindMacs;
    const std::uint32_t len = copy.rebuild(frame, tags, from);
    send<Side>(copy.bytes(), len, MC_UPLINK_PORT);
}

// ---- Both --------------------------------------------------------------------------------------

template <class Handler>
void forward(const Frame& frame, const FramePort& at) {
    using Side = typename Handler::Side;
    if (at.logical == kNoPort) say_from_nowhere<Side>(at);
    Handler::say_entered(at.port, at.type);
    switch (at.type) {
        case MC_PORT_UPLINK:
            forward_down<Handler>(frame, at.vid);
            return;
        case MC_PORT_USER:
            Handler::forward_up(frame, at);
            return;
        default:
            if (Side::says(kErrors)) std::puts("\r\n[MC_DBG_ERR]: invalid port !!\r");
            return;
    }
}

// The same for who delivers a frame from outside: `forward` is one of the above.
template <class Side>
[[gnu::noinline]] void handle(void (*forward)(const Frame& frame, const FramePort& at),
                              std::uint8_t* bytes, std::uint32_t port, std::uint32_t len,
                              std::uint32_t vid) {
    if (bytes == nullptr || len < kEthernetHeader || len > kLongestFrame) {
        if (Side::says(kErrors)) {
            std::printf("\r\n[MC_DBG_ERR]: frame of %d bytes can not be forwarded, abord!\r\n",
                        len);
        }
        return;
    }
    forward({bytes, len}, frame_port<Side>(port, vid));
}

}  // namespace mc
