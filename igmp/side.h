// What the shared packet path (packet/) needs to know of the IGMP side.
#pragma once

#include <cstdint>
#include <cstdio>

#include "adapt/port_lookup.h"
#include "adapt/records.h"
#include "adapt/views.h"
#include "common/bytes.h"
#include "common/ethernet.h"
#include "igmp/igmp.h"
#include "packet/receive.h"

namespace mc {

struct IgmpSide : IgmpView {
    static constexpr std::uint16_t kEtherType = kEtherTypeIpv4;
    // Blocks that reception searches: the uplink's is left out.
    static constexpr int kReceiveBlocks = MC_PORTS - 1;
    static constexpr int kDownlinkPorts = MC_PORTS;
    // How the refusal of an unknown port ends.
    static constexpr Closing kReceiveClosing = Closing::kPrintf;
    static constexpr Closing kSendClosing = Closing::kPuts;

    // ---- Records besides those of the view ----
    static const RuleTable& receive_doors() { return PortVlanCfg; }
    static std::uint8_t& receive_port() { return srcPortNum; }
    // What commands change is read once: what was compared is what is used.
    static std::uint32_t test_uplink() { return static_cast<std::uint32_t>(read_once(testuplink)); }
    static const std::uint8_t (&own_mac())[kMacLength] { return sys_mac; }
    static std::uint32_t mode() { return read_once(proxy_adapt_mode); }
    static bool forwards(std::uint32_t mode) {
        return mode == MC_MODE_SNOOPING || mode == MC_MODE_CONTROL;
    }
    static McResultVlans (&downlink_vlans())[kDownlinkPorts];

    // ---- Reception (igmp/receive.cpp) ----
    static void count_frame();
    static void keep_tag(const Framing& /*framing*/) {}
    static std::uint32_t template_vlan(std::uint32_t vlan);
    static std::uint32_t packet_length(const std::uint8_t* packet) { return load_be16(packet + 2); }
    static bool accept_protocol(const std::uint8_t* packet);
    static std::int32_t hand_to_core(const ReceivedFrame& received, std::uint32_t length,
                                     std::uint32_t vlan);

    static void dump_received(const std::uint8_t* frame, std::uint32_t len, std::uint32_t port);
    static void say_entered(std::uint32_t port);
    static void say_own_frame();
    static void say_received(std::uint32_t port);
    static void say_search_vlan(std::uint32_t vid, std::uint32_t port);
    static void say_from_uplink();
    static void say_mode(std::uint32_t mode);
    static void say_kept_from_core(std::uint32_t mode, std::uint32_t port);

    // ---- Forwarding (igmp/forward.cpp) ----
    static void forward(std::uint32_t mode, const ReceivedFrame& received);
    static std::int32_t send(std::uint8_t* frame, std::uint16_t len, std::uint16_t port) {
        return l2_igmp_send_pkt(frame, len, port);
    }
    static void tag_sent(std::uint16_t /*vlan*/) {}
    static void say_uplink_vlan(std::uint16_t vlan);

    // ---- Transmission (igmp/transmit.cpp) ----
    static void write_destination(std::uint8_t* mac, const std::uint8_t* packet);
    static std::int32_t transmit_failed(std::int32_t status, int /*printed*/) { return status; }
    static void dump_sent(const std::uint8_t* frame, std::uint16_t len, std::uint16_t port);
    static void say_transmit(std::uint16_t port, std::uint16_t len);
};

}  // namespace mc
