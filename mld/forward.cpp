// Forwarding of MLD frames in snooping and in control mode.
#include "packet/forward.h"

#include <cstdint>
#include <cstdio>

#include "adapt/records.h"
#include "mld/mld.h"
#include "mld/record.h"
#include "mld/side.h"

namespace mc {

namespace {

constinit McResultVlans downlink_table[MldSide::kDownlinkPorts] = {{MC_NO_VLAN}};

// What both modes share on this side. Untagged frames keep the received length, so that the last 4
// bytes of the working copy travel along: in control mode as on the IGMP side, in snooping mode
// unlike it. Kept on purpose.
struct MldHandler {
    using Side = MldSide;

    // There is no signalling VLAN for MLD.
    static bool override_down(const Frame& /*frame*/, int /*p*/) { return false; }

    static std::uint32_t untagged_length(const Frame& frame, std::uint32_t /*rebuilt*/) {
        return frame.len;
    }
};

struct MldSnooping : MldHandler {
    static const PortTable& walked_ports() { return mldInitParams.port; }

    static void say_entered(std::uint32_t port, std::uint32_t type) {
        if (mld_says(kFlow)) {
            std::printf("\r\n[MC_DBG_DBG]: Enter mld_snoop_handle, rPort = %d, rport_sta = %d\r\n",
                        port, type);
        }
    }

    // A port without a rule gets the frame as it came, whatever tag mode its first slot holds.
    static void pass_down(const Frame& frame, int p) {
        if (mld_says(kFlow)) {
            std::puts(
                "\r\n[MC_DBG_DBG]: Enter mld_snoop_handle,uplink can't find vlanconfig! direct pass!\r");
        }
        send_copy<MldSide>(frame, mldInitParams.port[p].port_id);
    }

    static void forward_up(const Frame& frame, const FramePort& at) {
        forward_up_by_rule<MldSide>(frame, at);
    }
};

struct MldControl : MldHandler {
    // The walk goes by the IGMP port table and a frame that no rule takes leaves on its ports; only
    // a VLAN that was found leaves on a port of the MLD table. As wired the two are equal.
    static const PortTable& walked_ports() { return portState; }

    static void say_entered(std::uint32_t port, std::uint32_t type) {
        say_control_entered<MldSide>(port, type);
    }

    static void pass_down(const Frame& frame, int p) {
        say_no_rule_down<MldSide>();
        send_copy<MldSide>(frame, portState[p].port_id);
    }

    // Outer tag: the node. Unlike on the IGMP side an id of 255 is a tag like any other. Inner tag:
    // the user port.
    static void forward_up(const Frame& frame, const FramePort& at) {
        const std::uint16_t outer = onu_vlan(read_onu_id<MldSide>());
        const std::uint16_t inner = port_vlan(at.port);
        MldSide::tag_sent(outer);
        store_be16(mldInitParams.tag_inner, kTpid);
        store_be16(mldInitParams.tag_inner + 2, inner);
        forward_up_stamped<MldSide>(frame, {outer, inner});
    }
};

}  // namespace

// The VID is the record's: the core may have sent a packet under another one meanwhile.
void MldSide::forward(std::uint32_t mode, const ReceivedFrame& received) {
    FramePort at = received.at;
    at.vid = mldInitParams.tag_vid;
    if (mode == MLD_MODE_SNOOPING) {
        if (says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: mld MODE is Snooping\r");
        mc::forward<MldSnooping>(received.frame, at);
    } else if (mode == MLD_MODE_CONTROL) {
        if (says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: mld MODE is control\r");
        mc::forward<MldControl>(received.frame, at);
    }
}

McResultVlans (&MldSide::downlink_vlans())[kDownlinkPorts] { return downlink_table; }

// Whatever tag forwarding writes is also the tag of what the core sends next.
void MldSide::tag_sent(std::uint16_t vlan) {
    mldInitParams.tag_tpid = kTpid;
    mldInitParams.tag_vid = vlan & kVidMask;
    mldInitParams.tag_pri = static_cast<std::uint8_t>(vlan >> 13);
}

void MldSide::say_uplink_vlan(std::uint16_t vlan) {
    if (says(kFlow)) std::printf("\r\n[MC_DBG_DBG]: mldsearchUpSnoopPortCfgVlan %d\r\n", vlan);
}

}  // namespace mc

void mld_adapt_snoop_handle(std::uint8_t* frame, std::uint32_t port, std::uint32_t len,
                            std::uint32_t vid) {
    mc::handle<mc::MldSide>(mc::forward<mc::MldSnooping>, frame, port, len, vid);
}

void mld_adapt_control_handle(std::uint8_t* frame, std::uint32_t port, std::uint32_t len,
                              std::uint32_t vid) {
    mc::handle<mc::MldSide>(mc::forward<mc::MldControl>, frame, port, len, vid);
}
