// The multicast core between a test's packets and its call-backs: a fixture, the hosts and groups
// of its tests, and what the core has sent and asked of the switch.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "common/bytes.h"
#include "node/core/multicast_core.h"
#include "platform/protocol_core.h"
#include "support/core_packets.h"
#include "support/core_ports.h"

namespace core_fixture {

using mcore::Drop;
using mcore::Membership;
using namespace core_packets;  // NOLINT(google-build-using-namespace): a vocabulary

inline constexpr std::uint64_t kSecond = 1'000'000;
inline constexpr std::uint16_t kVlan = 4088;  // the default
inline constexpr std::uint32_t kUplink = 0xFFFF;
inline constexpr std::uint32_t kProxyIp = 0x0A190E14;  // 10.25.14.20

inline constexpr std::uint32_t kHostA = 0xC0000214;    // 192.0.2.20
inline constexpr std::uint32_t kHostB = 0xC0000215;    // 192.0.2.21
inline constexpr std::uint32_t kGroup = 0xEF010101;    // 239.1.1.1
inline constexpr std::uint32_t kOther = 0xEF010102;    // 239.1.1.2
inline constexpr std::uint32_t kThird = 0xEF010103;    // 239.1.1.3
inline constexpr std::uint32_t kSource1 = 0xC6336407;  // 198.51.100.7
inline constexpr std::uint32_t kSource2 = 0xC6336408;  // 198.51.100.8

// ---- The other side of the call-backs ----

struct Entry {
    bool added;
    std::uint16_t port;
    std::uint16_t vlan;
    std::uint32_t group;  // of an IPv6 group the last four bytes

    bool operator==(const Entry&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Entry& entry) {
    return out << (entry.added ? "+" : "-") << " port " << entry.port << " vlan " << entry.vlan
               << " group " << std::hex << entry.group << std::dec;
}

struct SentPacket {
    std::uint16_t port;
    std::uint16_t vid;
    std::uint8_t priority;
    Bytes bytes;
};

inline std::vector<Entry> entries;
inline std::vector<SentPacket> sent;
inline std::int32_t add_answer = 0;
inline std::int32_t remove_answer = 0;

extern "C" {

inline std::int32_t add_entry(IgmpGroupEntry* group) {
    entries.push_back({true, group->port, group->vlan, group->group});
    return add_answer;
}

inline std::int32_t remove_entry(IgmpGroupEntry* group) {
    entries.push_back({false, group->port, group->vlan, group->group});
    return remove_answer;
}

inline std::int32_t add_mld_entry(MldGroupEntry* group) {
    entries.push_back({true, group->port, group->vlan, mc::load_be32(group->group_tail)});
    return add_answer;
}

inline std::int32_t remove_mld_entry(MldGroupEntry* group) {
    entries.push_back({false, group->port, group->vlan, mc::load_be32(group->group_tail)});
    return remove_answer;
}

inline void send_igmp(std::uint16_t port, std::uint8_t* packet, IgmpVlanTag* tag,
                      std::uint16_t length) {
    EXPECT_EQ(tag->tpid, 0x8100);
    sent.push_back({port, tag->vid, tag->priority, {packet, packet + length}});
}

inline void send_mld(std::uint8_t* packet, std::uint16_t port, void* tag, std::uint16_t length) {
    const auto* const about = static_cast<const IgmpVlanTag*>(tag);
    sent.push_back({port, about->vid, about->priority, {packet, packet + length}});
}
}

class Core : public ::testing::Test {
 protected:
    void SetUp() override {
        mcore::reset();
        entries.clear();
        sent.clear();
        add_answer = 0;
        remove_answer = 0;
        now_ = 1000 * kSecond;
        mcore::set_clock(now_);
        igmp_data_init();
        mld_data_init();
        igmp_register_switch_send_pkt(send_igmp);
        igmp_register_switch_add_table(add_entry);
        igmp_register_switch_del_table(remove_entry);
        mld_register_switch_send_pkt(send_mld);
        mld_register_switch_add_table(add_mld_entry);
        mld_register_switch_del_table(remove_mld_entry);
        declare_ports_to_core();
        igmp_globle_proxyip_set(kProxyIp);
        mcore::set_clock(now_);  // the queries of a node that starts are not the matter here
        sent.clear();
    }

    std::int32_t receive(std::uint32_t port, const Bytes& packet, std::uint32_t vlan = kVlan) {
        Bytes exact(packet);
        exact.shrink_to_fit();
        return igmp_pkt_recv(exact.data(), static_cast<std::uint16_t>(exact.size()), port, vlan,
                             nullptr);
    }

    std::int32_t receive_mld(std::uint32_t port, const Bytes& packet, std::uint32_t vlan = kVlan) {
        Bytes exact(packet);
        exact.shrink_to_fit();
        MldReceiveRecord about{};
        return mld_pkt_recv(exact.data(), static_cast<std::uint32_t>(exact.size()), port, vlan,
                            &about);
    }

    void wait(std::uint64_t us) {
        now_ += us;
        mcore::set_clock(now_);
    }
    void wait_seconds(std::uint64_t seconds) { wait(seconds * kSecond); }

    std::uint64_t now_ = 0;
};

inline std::string group_text(const Membership& one) { return mcore::text(one.family, one.group); }

/* "2/4088 239.1.1.1" of each membership. */
inline std::vector<std::string> held() {
    std::vector<std::string> all;
    for (const Membership& one : mcore::memberships()) {
        all.push_back(std::to_string(one.port) + "/" + std::to_string(one.vlan) + " " +
                      group_text(one));
    }
    return all;
}

using Texts = std::vector<std::string>;

inline std::uint64_t drops(Drop reason) { return mcore::counters()[reason]; }

inline std::vector<SentPacket> taken(std::vector<SentPacket>& list) {
    return std::exchange(list, {});
}

inline Texts texts(const Membership& one, const std::vector<mcore::Address>& addresses) {
    Texts all;
    for (const mcore::Address& address : addresses) {
        all.push_back(mcore::text(one.family, address));
    }
    return all;
}

/* The IGMP message of a packet that the core sent. */
inline Bytes message_of(const SentPacket& packet) {
    return {packet.bytes.begin() + 24, packet.bytes.end()};
}

}  // namespace core_fixture
