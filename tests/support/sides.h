// IGMP and MLD behind one face, for test bodies that run over both:
//
//     template <class Side>
//     class Reception : public StartedTest {};
//     TYPED_TEST_SUITE(Reception, Sides, SideNames);
//
// A side names its records, its doors for frames and packets, and how its calls into the core read.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <string>

#include "adapt/records.h"
#include "common/ethernet.h"
#include "igmp/igmp.h"
#include "mld/mld.h"
#include "mld/record.h"
#include "tests/support/frames.h"
#include "tests/support/neighbours.h"

namespace mc_test {

// The tag that a packet of the core is to leave with.
struct Tag {
    std::uint16_t tpid = 0x8100;
    std::uint16_t vid = 0;
    std::uint8_t priority = 0;
};

struct Igmp {
    static constexpr const char* kName = "Igmp";
    static constexpr const char* kCore = "igmp_pkt_recv";
    static constexpr std::uint16_t kEtherType = mc::kEtherTypeIpv4;
    static constexpr std::uint16_t kOtherEtherType = mc::kEtherTypeIpv6;
    static constexpr std::uint8_t kSnooping = MC_MODE_SNOOPING;
    static constexpr std::uint8_t kControl = MC_MODE_CONTROL;
    static constexpr std::uint8_t kProxy = MC_MODE_PROXY;  // the core alone, nothing is forwarded

    static std::uint32_t& mask() { return mc_debug; }
    static std::uint8_t (&own_mac())[6] { return sys_mac; }
    static PortStateEntry (&ports())[MC_PORTS] { return portState; }
    static PortVlanCfgEntry (&rules())[MC_PORTS][MC_RULES] { return PortVlanCfg; }
    static std::int32_t (&rule_counts())[MC_PORTS] { return setVlanCfgNumber; }
    static std::uint8_t& receive_port() { return srcPortNum; }
    static std::uint16_t& default_vlan() { return defaultVlan; }
    static void set_test_uplink(int port) { testuplink = port; }
    static void set_mode(std::uint8_t mode) { proxy_adapt_mode = mode; }
    static void set_templates(std::initializer_list<std::uint16_t> vlans) {
        std::copy(vlans.begin(), vlans.end(), PortVlan);
        setVlanNumber = static_cast<std::int32_t>(vlans.size());
    }

    static std::int32_t receive(std::uint8_t* frame, std::uint32_t len, std::uint32_t port) {
        return igmpL2PktProc(frame, len, port);
    }
    static Bytes packet() {
        return ipv4_packet("192.0.2.20", "239.255.1.1", igmp_v2_report("239.255.1.1"));
    }
    // A packet whose frame, untagged, is as long as it says.
    static Bytes packet_for_frame_of(std::size_t length) {
        Bytes message = igmp_v2_report("239.255.1.1");
        message.resize(length - mc::kEthernetHeader - 24);
        return ipv4_packet("192.0.2.20", "239.255.1.1", message);
    }
    static Bytes framed(const EthernetBuilder& ethernet, const Bytes& packet) {
        return ethernet.ipv4(packet);
    }
    static std::string core_call(const Bytes& packet, std::uint32_t port, std::uint32_t vlan) {
        const std::uint32_t core_port =
            port == MC_UPLINK_PORT ? std::uint32_t{MC_CORE_UPLINK} : port;
        return call(kCore, packet, packet.size(), core_port, vlan, "null");
    }

    // Sends as the core does and returns the tag's VID as it is afterwards.
    static std::uint16_t send(Bytes packet, std::uint16_t port, const Tag& tag) {
        packet.shrink_to_fit();
        return send(packet.data(), static_cast<std::uint16_t>(packet.size()), port, tag);
    }
    static std::uint16_t send(std::uint8_t* packet, std::uint16_t len, std::uint16_t port,
                              const Tag& tag) {
        IgmpVlanTag record = {tag.tpid, tag.vid, tag.priority};
        send_pkt_igmp(port, packet, &record, len);
        EXPECT_EQ(record.tpid, tag.tpid);
        EXPECT_EQ(record.priority, tag.priority);
        return record.vid;
    }
    static Bytes destination(const Bytes& packet) {
        return {0x01,       0x00,      0x5e, static_cast<std::uint8_t>(packet[17] & 0x7F),
                packet[18], packet[19]};
    }
    static std::int32_t transmit(std::uint8_t* frame, std::uint16_t len, std::uint16_t port) {
        return l2_igmp_send_pkt(frame, len, port);
    }
};

struct Mld {
    static constexpr const char* kName = "Mld";
    static constexpr const char* kCore = "mld_pkt_recv";
    static constexpr std::uint16_t kEtherType = mc::kEtherTypeIpv6;
    static constexpr std::uint16_t kOtherEtherType = mc::kEtherTypeIpv4;
    static constexpr std::uint8_t kSnooping = MLD_MODE_SNOOPING;
    static constexpr std::uint8_t kControl = MLD_MODE_CONTROL;
    static constexpr std::uint8_t kProxy = 1;  // any code that is neither of them

    static std::uint32_t& mask() { return mld_debug; }
    static std::uint8_t (&own_mac())[6] { return mld_sys_mac; }
    static PortStateEntry (&ports())[MC_PORTS] { return mldInitParams.port; }
    static PortVlanCfgEntry (&rules())[MC_PORTS][MC_RULES] { return mldInitParams.mldPortVlanCfg; }
    static std::int32_t (&rule_counts())[MC_PORTS] { return mldInitParams.vlancfgnum; }
    static std::uint8_t& receive_port() { return mldInitParams.srcPortNum; }
    static std::uint16_t& default_vlan() { return mldInitParams.defaultVlan; }
    static void set_test_uplink(int port) {
        mldInitParams.testuplink = static_cast<std::uint32_t>(port);
    }
    static void set_mode(std::uint8_t mode) { mldInitParams.multiMode = mode; }
    // How many of them are searched follows from the port that a frame comes in on.
    static void set_templates(std::initializer_list<std::uint16_t> vlans) {
        std::copy(vlans.begin(), vlans.end(), mldInitParams.portVlan);
    }

    static std::int32_t receive(std::uint8_t* frame, std::uint32_t len, std::uint32_t port) {
        return mldL2PktProc(frame, len, port);
    }
    static Bytes packet() {
        return ipv6_packet("fe80::20", "ff1e::1:2", mld_v1_report("ff1e::1:2"));
    }
    static Bytes packet_for_frame_of(std::size_t length) {
        Bytes message = mld_v1_report("ff1e::1:2");
        message.resize(length - mc::kEthernetHeader - 48);
        return ipv6_packet("fe80::20", "ff1e::1:2", message);
    }
    static Bytes framed(const EthernetBuilder& ethernet, const Bytes& packet) {
        return ethernet.ipv6(packet);
    }
    static std::string core_call(const Bytes& packet, std::uint32_t port, std::uint32_t vlan) {
        constexpr int kMacWord = 0x3333 + 12;
        return call(kCore, packet, packet.size(), port, vlan, fields(kMacWord, 0));
    }

    static std::uint16_t send(Bytes packet, std::uint16_t port, const Tag& tag) {
        packet.shrink_to_fit();
        return send(packet.data(), static_cast<std::uint16_t>(packet.size()), port, tag);
    }
    // The core's own tag record is not looked at, so there is none.
    static std::uint16_t send(std::uint8_t* packet, std::uint16_t len, std::uint16_t port,
                              const Tag& tag) {
        mldInitParams.tag_tpid = tag.tpid;
        mldInitParams.tag_vid = tag.vid;
        mldInitParams.tag_pri = tag.priority;
        send_pkt_mld(packet, port, nullptr, len);
        EXPECT_EQ(mldInitParams.tag_tpid, tag.tpid);
        EXPECT_EQ(mldInitParams.tag_pri, tag.priority);
        return mldInitParams.tag_vid;
    }
    static Bytes destination(const Bytes& packet) {
        return {0x33, 0x33, packet[28], packet[29], packet[30], packet[31]};
    }
    static std::int32_t transmit(std::uint8_t* frame, std::uint16_t len, std::uint16_t port) {
        return mld_l2_igmp_send_pkt(frame, len, port);
    }
};

using Sides = ::testing::Types<Igmp, Mld>;

struct SideNames {
    template <class Side>
    static std::string GetName(int) {
        return Side::kName;
    }
};

// A rule in a slot. The port number goes into the IGMP table too, where MLD reception looks for it.
template <class Side>
void set_rule(int block, int index, const PortVlanCfgEntry& rule) {
    Side::rules()[block][index] = rule;
    PortVlanCfg[block][index].portNO = rule.portNO;
}

// What a frame from a user port is measured against on reception.
inline PortVlanCfgEntry upstream_rule(int port, std::uint16_t in_up_vlan,
                                      std::uint16_t in_data_vlan) {
    PortVlanCfgEntry rule{};
    rule.portNO = static_cast<std::int8_t>(port);
    rule.in_up_vlan = in_up_vlan;
    rule.in_data_vlan = in_data_vlan;
    rule.out_up_vlan = MC_NO_VLAN;
    return rule;
}

// What a packet of the core towards a user port is measured against.
inline PortVlanCfgEntry downstream_rule(int port, std::uint16_t in_data_vlan,
                                        std::uint16_t out_dn_vlan) {
    PortVlanCfgEntry rule{};
    rule.portNO = static_cast<std::int8_t>(port);
    rule.in_data_vlan = in_data_vlan;
    rule.out_dn_vlan = out_dn_vlan;
    return rule;
}

}  // namespace mc_test
