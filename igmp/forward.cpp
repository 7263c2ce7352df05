// Forwarding of IGMP frames in snooping and in control mode.
#include "packet/forward.h"

#include <cstdint>
#include <cstdio>

#include "adapt/records.h"
#include "igmp/igmp.h"
#include "igmp/side.h"

namespace mc {

namespace {

constinit McResultVlans downlinkvlan[MC_PORTS] = {{MC_NO_VLAN}};

// What both modes share on this side.
struct IgmpHandler {
    using Side = IgmpSide;

    static const PortTable& walked_ports() { return portState; }
};

void send_untagged(const Frame& frame, std::uint32_t port) {
    WorkingCopy copy;
    const std::uint32_t len = copy.rebuild(frame, {}, kBehindTag);
    send<IgmpSide>(copy.bytes(), len, port);
}

// A frame of 14 or 15 bytes ends inside the tag that would be written over it.
void say_no_room(const Frame& frame) {
    if (igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: frame of %d bytes has no room for a tag, abord!\r\n",
                    frame.len);
    }
}

struct IgmpSnooping : IgmpHandler {
    static void say_entered(std::uint32_t port, std::uint32_t type) {
        if (igmp_says(kFlow)) {
            std::printf("\r\n[MC_DBG_DBG]: Enter igmp_snoop_handle, rPort = %d, rport_sta = %d\r\n",
                        port, type);
        }
    }

    // A port's downstream signalling VLAN overrules its rules. It is written over bytes 12 to 15
    // even of a frame without a tag, whose ethertype and first packet bytes it then replaces, and
    // whole, DEI bit included. Both kept on purpose.
    static bool override_down(const Frame& frame, int p) {
        const std::uint16_t vlan = globle_parm.port[p].sig_vlan_b;
        if (vlan == MC_NO_VLAN) return false;
        const std::uint32_t out = portState[p].port_id;
        if (vlan == 0) {
            send_untagged(frame, out);
        } else if (frame.len < kBehindTag) {
            say_no_room(frame);
        } else {
            write_tag(frame, vlan);
            send<IgmpSide>(frame.bytes, frame.len, out);
        }
        return true;
    }

    static void pass_down(const Frame& frame, int p) {
        say_no_rule_down<IgmpSide>();
        const std::uint32_t out = portState[p].port_id;
        if (PortVlanCfg[p][0].prodntagmode == MC_TAG_MODE_TAG) {
            send_untagged(frame, out);
        } else {
            send<IgmpSide>(frame.bytes, frame.len, out);
        }
    }

    static std::uint32_t untagged_length(const Frame& /*frame*/, std::uint32_t rebuilt) {
        return rebuilt;
    }

    static void forward_up(const Frame& frame, const FramePort& at) {
        const std::uint16_t signalling =
            at.port < MC_PORTS ? globle_parm.port[at.port].sig_vlan : std::uint16_t{MC_NO_VLAN};
        if (signalling != MC_NO_VLAN) {
            send_up_tagged<IgmpSide>(frame, signalling);
        } else {
            forward_up_by_rule<IgmpSide>(frame, at);
        }
    }
};

struct IgmpControl : IgmpHandler {
    static void say_entered(std::uint32_t port, std::uint32_t type) {
        say_control_entered<IgmpSide>(port, type);
    }

    static bool override_down(const Frame& /*frame*/, int /*p*/) { return false; }

    static void pass_down(const Frame& frame, int p) {
        say_no_rule_down<IgmpSide>();
        send_copy<IgmpSide>(frame, portState[p].port_id);
    }

    // Unlike in snooping mode the received length stays: the last 4 bytes of the working copy
    // travel along. Kept on purpose.
    static std::uint32_t untagged_length(const Frame& frame, std::uint32_t /*rebuilt*/) {
        return frame.len;
    }

    // Outer tag: the node; none at all while no ONU id is assigned. Inner tag: the user port.
    static void forward_up(const Frame& frame, const FramePort& at) {
        const std::uint8_t onu_id = read_onu_id<IgmpSide>();
        if (onu_id == L2_MULTICAST_NO_ONU_ID) {
            forward_up_stamped<IgmpSide>(frame, {port_vlan(at.port)});
        } else {
            forward_up_stamped<IgmpSide>(frame, {onu_vlan(onu_id), port_vlan(at.port)});
        }
    }
};

}  // namespace

void IgmpSide::forward(std::uint32_t mode, const ReceivedFrame& received) {
    if (mode == MC_MODE_SNOOPING) {
        if (says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: IGMP MODE is Snooping\r");
        mc::forward<IgmpSnooping>(received.frame, received.at);
    } else if (mode == MC_MODE_CONTROL) {
        if (says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: IGMP MODE is control\r");
        mc::forward<IgmpControl>(received.frame, received.at);
    }
}

McResultVlans (&IgmpSide::downlink_vlans())[kDownlinkPorts] { return downlinkvlan; }

void IgmpSide::say_uplink_vlan(std::uint16_t vlan) {
    if (says(kFlow)) std::printf("\r\n[MC_DBG_DBG]: searchUpSnoopPortCfgVlan %d\r\n", vlan);
}

}  // namespace mc

McResultVlans* searchDownSnoopPortCfgVlan(std::uint32_t vid, std::uint16_t counts[MC_PORTS]) {
    std::uint16_t found[MC_PORTS];
    mc::search_downlink_vlans<mc::IgmpSide>(vid, found);
    std::copy_n(found, MC_PORTS, counts);
    return mc::IgmpSide::downlink_vlans();
}

void igmp_adapt_snoop_handle(std::uint8_t* frame, std::uint32_t port, std::uint32_t len,
                             std::uint32_t vid) {
    mc::handle<mc::IgmpSide>(mc::forward<mc::IgmpSnooping>, frame, port, len, vid);
}

void igmp_adapt_control_handle(std::uint8_t* frame, std::uint32_t port, std::uint32_t len,
                               std::uint32_t vid) {
    mc::handle<mc::IgmpSide>(mc::forward<mc::IgmpControl>, frame, port, len, vid);
}
