// What the shared packet path (packet/) needs to know of the MLD side. The differences from the
// IGMP side, each stated where it is made:
//   - the port of a block is looked up in the IGMP rules, its VLANs in the MLD ones (receive_doors)
//   - downstream there are rows for the six user ports only (kDownlinkPorts)
//   - the tag of the last frame is kept and put in front of what the core sends (keep_tag and
//     tag_sent)
//   - the receive port doubles as the length of the template VLAN list (template_vlan)
#pragma once

#include <cstdint>
#include <cstdio>

#include "adapt/port_lookup.h"
#include "adapt/records.h"
#include "adapt/views.h"
#include "common/ethernet.h"
#include "mld/mld.h"
#include "mld/record.h"
#include "packet/receive.h"

namespace mc {

struct MldSide : MldView {
    static constexpr std::uint16_t kEtherType = kEtherTypeIpv6;
    static constexpr int kReceiveBlocks = MC_PORTS;
    static constexpr int kDownlinkPorts = MC_PORTS - 1;
    static constexpr Closing kReceiveClosing = Closing::kPuts;
    static constexpr Closing kSendClosing = Closing::kPrintf;

    // ---- Records besides those of the view ----
    // A block opens by the port number in the IGMP table, kept on purpose: both tables are set
    // together, but only the IGMP one is cleared by a web set or a delete.
    static const RuleTable& receive_doors() { return PortVlanCfg; }
    static std::uint8_t& receive_port() { return mldInitParams.srcPortNum; }
    static std::uint32_t test_uplink() { return read_once(mldInitParams.testuplink); }
    static const std::uint8_t (&own_mac())[kMacLength] { return mld_sys_mac; }
    static std::uint32_t mode() { return read_once(mldInitParams.multiMode) & 0xFFu; }
    static bool forwards(std::uint32_t mode) {
        return mode == MLD_MODE_SNOOPING || mode == MLD_MODE_CONTROL;
    }
    static McResultVlans (&downlink_vlans())[kDownlinkPorts];

    // ---- Reception (mld/receive.cpp) ----
    static void count_frame();
    static void keep_tag(const Framing& framing);
    static std::uint32_t template_vlan(std::uint32_t vlan);
    static std::uint32_t packet_length(const std::uint8_t* packet);
    // Anything that is IPv6 goes to the core, which knows MLD by itself.
    static bool accept_protocol(const std::uint8_t* /*packet*/) { return true; }
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

    // ---- Forwarding (mld/forward.cpp) ----
    static void forward(std::uint32_t mode, const ReceivedFrame& received);
    static std::int32_t send(std::uint8_t* frame, std::uint16_t len, std::uint16_t port) {
        return mld_l2_igmp_send_pkt(frame, len, port);
    }
    static void tag_sent(std::uint16_t vlan);
    static void say_uplink_vlan(std::uint16_t vlan);

    // ---- Transmission (mld/transmit.cpp) ----
    static void write_destination(std::uint8_t* mac, const std::uint8_t* packet);
    static std::int32_t transmit_failed(std::int32_t status, int printed);
    static void dump_sent(const std::uint8_t* frame, std::uint16_t len, std::uint16_t port);
    static void say_transmit(std::uint16_t port, std::uint16_t len);
};

}  // namespace mc
