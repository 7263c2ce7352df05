// IGMP and MLD behind one face, for test bodies that run over both:
//
//     template <class Side>
//     class Reception : public StartedTest {};
//     TYPED_TEST_SUITE(Reception, Sides, TypeNames);
//
// This is the one description of a side: its records, its doors for frames, packets and requests,
// its frames, and the texts in which it names itself. What is built on it for both stands below the
// two, in rules.h, forwarding.h and vlan_rules.h.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <string>
#include <vector>

#include "adapt/records.h"
#include "common/ethernet.h"
#include "igmp/igmp.h"
#include "mld/mld.h"
#include "mld/record.h"
#include "tests/support/console.h"
#include "tests/support/frames.h"
#include "tests/support/neighbours.h"
#include "vlan/vlan.h"

namespace mc_test {

using Rule = PortVlanCfgEntry;
using Tags = std::initializer_list<std::uint16_t>;

// Headers with the given tags, outermost first, each as its 16 bits: priority, DEI bit, VID.
inline EthernetBuilder tagged(Tags tcis) {
    EthernetBuilder headers;
    for (const std::uint16_t tci : tcis) headers.tag(tci);
    return headers;
}

// The tag that a packet of the core is to leave with.
struct Tag {
    std::uint16_t tpid = 0x8100;
    std::uint16_t vid = 0;
    std::uint8_t priority = 0;
};

// A line with numbers in it, as printf makes it.
template <class... Numbers>
std::string line(const char* format, Numbers... numbers) {
    char text[256];
    const int length = std::snprintf(text, sizeof text, format, static_cast<int>(numbers)...);
    return {text, static_cast<std::size_t>(length)};
}

// What is printed: under a category of a side, or, with the mask null, under none.
struct Line {
    const std::uint32_t* mask;
    std::uint32_t category;
    std::string text;
};
using Lines = std::vector<Line>;

inline Lines operator+(Lines head, const Lines& tail) {
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
}

inline Line always(std::string text) { return {nullptr, 0, std::move(text)}; }

// ---- What follows from the description of a side -----------------------------------------------

template <class Side>
struct BothSides {
    static Bytes report(Tags tcis = {}) { return Side::framed(tagged(tcis), Side::packet()); }
    static Bytes query(Tags tcis = {}) { return Side::framed(tagged(tcis), Side::query_packet()); }

    // The status of reception for a frame.
    static std::int32_t receive(const Bytes& bytes, std::uint32_t port) {
        FrameBuffer frame(bytes);
        return Side::receive_frame(frame.data(), frame.len(), port);
    }
    // The same with another length than the frame's own.
    static std::int32_t receive(const Bytes& bytes, std::uint32_t len, std::uint32_t port) {
        FrameBuffer frame(bytes);
        return Side::receive_frame(frame.data(), len, port);
    }
    // Sends as the core does, and returns the tag's VID as it is afterwards.
    static std::uint16_t send(Bytes packet, std::uint16_t port, const Tag& tag) {
        packet.shrink_to_fit();
        return Side::send_packet(packet.data(), static_cast<std::uint16_t>(packet.size()), port,
                                 tag);
    }

    static Line dbg(const std::string& text) {
        return {&Side::mask(), kDbg, "\r\n[MC_DBG_DBG]: " + text};
    }
    static Line err(const std::string& text) {
        return {&Side::mask(), kErr, "\r\n[MC_DBG_ERR]: " + text};
    }
    static Line cfg(const std::string& text) {
        return {&Side::mask(), kCfg, "\r\n[MC_DBG_CFG]: " + text};
    }
    // The trace of a frame that is handed to the driver now.
    static std::string sends(unsigned port, std::size_t len) {
        return std::string("\r\n[MC_DBG_DBG]: ") + Side::kTransmit +
               line("  ifindex = %d len = %d srcPortNum = %d ponVlan = %d\r\n", port, len,
                    Side::receive_port(), ponVlan);
    }
};

// ---- IGMP --------------------------------------------------------------------------------------

struct Igmp : BothSides<Igmp> {
    static constexpr const char* kName = "Igmp";
    static constexpr const char* kCore = "igmp_pkt_recv";
    static constexpr const char* kTransmit = "l2_igmp_send_pkt";
    static constexpr std::uint16_t kEtherType = mc::kEtherTypeIpv4;
    static constexpr std::uint16_t kOtherEtherType = mc::kEtherTypeIpv6;
    static constexpr std::uint8_t kSnooping = MC_MODE_SNOOPING;
    static constexpr std::uint8_t kControl = MC_MODE_CONTROL;
    static constexpr std::uint8_t kProxy = MC_MODE_PROXY;  // the core alone, nothing is forwarded

    // Records.
    static std::uint32_t& mask() { return mc_debug; }
    static std::uint32_t& other_mask() { return mld_debug; }
    static std::int32_t& level() { return igmp_adapt; }
    static std::uint8_t (&own_mac())[6] { return sys_mac; }
    static PortStateEntry (&ports())[MC_PORTS] { return portState; }
    static Rule (&rules())[MC_PORTS][MC_RULES] { return PortVlanCfg; }
    static std::int32_t (&rule_counts())[MC_PORTS] { return setVlanCfgNumber; }
    static auto& list() { return PortVlan; }
    static auto& mirror() { return globle_parm.TemplateVlan; }
    static int used() { return setVlanNumber; }
    static void set_used(int used) { setVlanNumber = used; }
    static std::uint8_t& receive_port() { return srcPortNum; }
    static std::uint16_t& default_vlan() { return defaultVlan; }  // of reception
    static std::uint16_t& stored_default_vlan() { return globle_parm.defaultVlan; }
    static void set_test_uplink(int port) { testuplink = port; }
    static void set_mode(std::uint8_t mode) { proxy_adapt_mode = mode; }
    static void take_as_given() { flag_omci_version = 1; }  // no rule is normalised any more

    // Doors.
    static std::int32_t receive_frame(std::uint8_t* frame, std::uint32_t len, std::uint32_t port) {
        return igmpL2PktProc(frame, len, port);
    }
    static std::uint16_t send_packet(std::uint8_t* packet, std::uint16_t len, std::uint16_t port,
                                     const Tag& tag) {
        IgmpVlanTag record = {tag.tpid, tag.vid, tag.priority};
        send_pkt_igmp(port, packet, &record, len);
        EXPECT_EQ(record.tpid, tag.tpid);
        EXPECT_EQ(record.priority, tag.priority);
        return record.vid;
    }
    static std::int32_t transmit(std::uint8_t* frame, std::uint16_t len, std::uint16_t port) {
        return l2_igmp_send_pkt(frame, len, port);
    }
    static std::int32_t set(Rule* rule) { return onu_std_omci_set_multicast_vlan(rule); }
    static std::int32_t remove(Rule* rule) { return onu_std_omci_delete_multicast_vlan(rule); }
    static McRuleBlock* sort_rules(std::uint32_t port) {
        return sortPortVlanCfg(PortVlanCfg, port);
    }
    static std::uint16_t* sort_list(std::uint16_t* list) { return sortMcVlan(list); }
    using Entry = IgmpGroupEntry;
    static std::int32_t add_entry(Entry* entry) { return igmp_add_grp(entry); }
    static std::int32_t delete_entry(Entry* entry) { return igmp_del_grp(entry); }

    // Frames. Neither ends in zeros, so that it shows which bytes travel along at its end.
    static Bytes packet() {
        return ipv4_packet("192.0.2.20", "239.255.1.1", igmp_v2_report("239.255.1.1"));
    }
    static Bytes query_packet() {
        return ipv4_packet("192.0.2.1", "239.255.1.1", igmp_v2_query("239.255.1.1"));
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
    static Bytes destination(const Bytes& packet) {
        return {0x01,       0x00,      0x5e, static_cast<std::uint8_t>(packet[17] & 0x7F),
                packet[18], packet[19]};
    }
    // A group as the core gives it to the switch. What is not read may hold anything.
    static constexpr const char* kEntryMac = "01:00:5e:01:01:0a";
    static Entry entry(std::uint16_t vlan, std::uint16_t port) {
        Entry entry;
        std::memset(&entry, 0xA5, sizeof entry);
        entry.group = ipv4_number("239.129.1.10");
        entry.vlan = vlan;
        entry.port = port;
        return entry;
    }

    // Calls.
    static std::string core_call(const Bytes& packet, std::uint32_t port, std::uint32_t vlan) {
        const std::uint32_t core_port =
            port == MC_UPLINK_PORT ? std::uint32_t{MC_CORE_UPLINK} : port;
        return call(kCore, packet, packet.size(), core_port, vlan, "null");
    }
    // Every set asks for the ONU id; a data VLAN that is new goes to the core.
    static std::vector<std::string> calls_of_set() { return {"L2_multicast_get_onu_id()"}; }
    static std::vector<std::string> calls_of_new_vlan(int vid) {
        return {"L2_multicast_get_onu_id()", call("igmp_vlan_add", vid)};
    }

    // Texts.
    static constexpr const char* kDumpRuleStart = "\n";
    static constexpr int kDumpedMode = MC_MODE_SNOOPING;
    static constexpr const char* kAddEntry = "igmp_add_grp";
    static std::string has_mode(int mode) {
        return line("\r\n[MC_DBG_DBG]: IGMP MODE = %d\r\n", mode);
    }
    static std::string kept_from_core(int mode, int port) {
        return line("\r\n[MC_DBG_DBG]: igmpL2PktProc  igmp_mode = %d usPort = %d\r\n", mode, port);
    }
    static std::string has_handler(const std::string& mode) {
        return "\r\n[MC_DBG_DBG]: IGMP MODE is " + mode + "\r\n";
    }
    // In front of a dump of the bytes.
    static std::string received_heading(int port, std::size_t len) {
        return line("[igmpL2PktProc]: Pkt recv from port %d, len %d.\r\n", port, len);
    }
    static std::string sent_heading(int port, std::size_t len) {
        return line("[l2_igmp_send_pkt]: Pkt Send to port %d, len %d.\r\n", port, len);
    }
};

// ---- MLD ---------------------------------------------------------------------------------------

struct Mld : BothSides<Mld> {
    static constexpr const char* kName = "Mld";
    static constexpr const char* kCore = "mld_pkt_recv";
    static constexpr const char* kTransmit = "mld_l2_igmp_send_pkt";
    static constexpr std::uint16_t kEtherType = mc::kEtherTypeIpv6;
    static constexpr std::uint16_t kOtherEtherType = mc::kEtherTypeIpv4;
    static constexpr std::uint8_t kSnooping = MLD_MODE_SNOOPING;
    static constexpr std::uint8_t kControl = MLD_MODE_CONTROL;
    static constexpr std::uint8_t kProxy = 1;  // any code that is neither of them

    // Records. One byte is the receive port and the count of the list.
    static std::uint32_t& mask() { return mld_debug; }
    static std::uint32_t& other_mask() { return mc_debug; }
    static std::int32_t& level() { return mldInitParams.mld_adapt; }
    static std::uint8_t (&own_mac())[6] { return mld_sys_mac; }
    static PortStateEntry (&ports())[MC_PORTS] { return mldInitParams.port; }
    static Rule (&rules())[MC_PORTS][MC_RULES] { return mldInitParams.mldPortVlanCfg; }
    static std::int32_t (&rule_counts())[MC_PORTS] { return mldInitParams.vlancfgnum; }
    static auto& list() { return mldInitParams.portVlan; }
    static auto& mirror() { return mldInitParams.TemplateVlan; }
    static int used() { return mldInitParams.srcPortNum; }
    static void set_used(int used) { mldInitParams.srcPortNum = static_cast<std::uint8_t>(used); }
    static std::uint8_t& receive_port() { return mldInitParams.srcPortNum; }
    static std::uint16_t& default_vlan() { return mldInitParams.defaultVlan; }
    static std::uint16_t& stored_default_vlan() { return mldInitParams.defaultVlan; }
    static void set_test_uplink(int port) {
        mldInitParams.testuplink = static_cast<std::uint32_t>(port);
    }
    static void set_mode(std::uint8_t mode) { mldInitParams.multiMode = mode; }
    static void take_as_given() { mldInitParams.mld_flag_omci_version = 1; }

    // Doors.
    static std::int32_t receive_frame(std::uint8_t* frame, std::uint32_t len, std::uint32_t port) {
        return mldL2PktProc(frame, len, port);
    }
    // The core's own tag record is not looked at, so there is none.
    static std::uint16_t send_packet(std::uint8_t* packet, std::uint16_t len, std::uint16_t port,
                                     const Tag& tag) {
        mldInitParams.tag_tpid = tag.tpid;
        mldInitParams.tag_vid = tag.vid;
        mldInitParams.tag_pri = tag.priority;
        send_pkt_mld(packet, port, nullptr, len);
        EXPECT_EQ(mldInitParams.tag_tpid, tag.tpid);
        EXPECT_EQ(mldInitParams.tag_pri, tag.priority);
        return mldInitParams.tag_vid;
    }
    static std::int32_t transmit(std::uint8_t* frame, std::uint16_t len, std::uint16_t port) {
        return mld_l2_igmp_send_pkt(frame, len, port);
    }
    static std::int32_t set(Rule* rule) { return mld_onu_std_omci_set_multicast_vlan(rule); }
    static std::int32_t remove(Rule* rule) { return mld_onu_std_omci_delete_multicast_vlan(rule); }
    static McRuleBlock* sort_rules(std::uint32_t port) {
        return mldsortPortVlanCfg(mldInitParams.mldPortVlanCfg, port);
    }
    static std::uint16_t* sort_list(std::uint16_t* list) { return sortmldVlan(list); }
    using Entry = MldGroupEntry;
    static std::int32_t add_entry(Entry* entry) { return mld_add_grp(entry); }
    static std::int32_t delete_entry(Entry* entry) { return mld_del_grp(entry); }

    // Frames.
    static Bytes packet() {
        return ipv6_packet("fe80::20", "ff1e::3:4", mld_v1_report("ff1e::3:4"));
    }
    static Bytes query_packet() {
        return ipv6_packet("fe80::1", "ff1e::3:4", mld_v1_query("ff1e::3:4"));
    }
    static Bytes packet_for_frame_of(std::size_t length) {
        Bytes message = mld_v1_report("ff1e::3:4");
        message.resize(length - mc::kEthernetHeader - 48);
        return ipv6_packet("fe80::20", "ff1e::3:4", message);
    }
    static Bytes framed(const EthernetBuilder& ethernet, const Bytes& packet) {
        return ethernet.ipv6(packet);
    }
    static Bytes destination(const Bytes& packet) {
        return {0x33, 0x33, packet[28], packet[29], packet[30], packet[31]};
    }
    static constexpr const char* kEntryMac = "33:33:80:01:00:0a";
    static Entry entry(std::uint16_t vlan, std::uint16_t port) {
        Entry entry;
        std::memset(&entry, 0xA5, sizeof entry);
        const std::uint8_t tail[] = {0x80, 0x01, 0x00, 0x0a};
        std::copy(std::begin(tail), std::end(tail), entry.group_tail);
        entry.vlan = vlan;
        entry.port = port;
        return entry;
    }

    // Calls. The MLD set has no neighbour.
    static std::string core_call(const Bytes& packet, std::uint32_t port, std::uint32_t vlan) {
        constexpr int kMacWord = 0x3333 + 12;
        return call(kCore, packet, packet.size(), port, vlan, fields(kMacWord, 0));
    }
    static std::vector<std::string> calls_of_set() { return {}; }
    static std::vector<std::string> calls_of_new_vlan(int /*vid*/) { return {}; }

    // Texts. The dumps of bytes have no heading.
    static constexpr const char* kDumpRuleStart = "";
    static constexpr int kDumpedMode = MLD_MODE_SNOOPING;
    static constexpr const char* kAddEntry = "mld_add_grp";
    static std::string has_mode(int mode) {
        return line("\r\n[MC_DBG_DBG]: MLD MODE = %d\r\n", mode);
    }
    static std::string kept_from_core(int mode, int port) {
        return line("\r\n[MC_DBG_DBG]: mldL2PktProc  mld_mode = %d usPort = %d\r\n", mode, port);
    }
    static std::string has_handler(const std::string& mode) {
        return "\r\n[MC_DBG_DBG]: mld MODE is " + mode + "\r\n";
    }
    static std::string received_heading(int /*port*/, std::size_t /*len*/) { return ""; }
    static std::string sent_heading(int /*port*/, std::size_t /*len*/) { return ""; }
};

using Sides = ::testing::Types<Igmp, Mld>;

// The types' names in the names of tests.
struct TypeNames {
    template <class Type>
    static std::string GetName(int /*position*/) {
        return Type::kName;
    }
};

}  // namespace mc_test
