// Frames as the tests write them down, from the inside out:
//
//     const Bytes packet = ipv4_packet("192.0.2.20", "239.255.1.1", igmp_v2_report("239.255.1.1"));
//     const Bytes frame = ethernet().from("02:00:00:00:00:20").tag(100, 5).ipv4(packet);
//
// All checksums and lengths are right unless a test spoils them. The destination MAC follows from
// the packet's destination address unless to() gives another.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/neighbours.h"

namespace mc_test {

Bytes mac_bytes(const std::string& text);            // "01:00:5e:7f:01:01"
std::uint32_t ipv4_number(const std::string& text);  // "239.255.1.1" in host order
Bytes ipv6_bytes(const std::string& text);           // "ff1e::1:2"
Bytes operator+(Bytes head, const Bytes& tail);
Bytes be16(std::uint32_t value);
Bytes be32(std::uint32_t value);

// RFC 1071 over the bytes; 0 when they hold a right checksum.
std::uint16_t internet_checksum(const Bytes& bytes);

// ---- Ethernet ----------------------------------------------------------------------------------

class EthernetBuilder {
 public:
    EthernetBuilder();

    EthernetBuilder& to(const std::string& mac);
    EthernetBuilder& from(const std::string& mac);  // 02:00:00:00:00:20 without it
    EthernetBuilder& tag(std::uint16_t vid, std::uint8_t priority = 0, bool dei = false);
    // 8864 and a session header, whose protocol field then carries the ethertype: what reception
    // takes for PPPoE.
    EthernetBuilder& pppoe();
    // The same behind a tag, in the layout that reception expects: 8100 8864 and four more bytes.
    EthernetBuilder& tagged_pppoe();

    // They end the frame.
    Bytes ipv4(const Bytes& packet) const;
    Bytes ipv6(const Bytes& packet) const;
    Bytes carrying(std::uint16_t ethertype, const Bytes& payload) const;

 private:
    Bytes ended(const Bytes& multicast_mac, std::uint16_t ethertype, const Bytes& payload) const;

    std::optional<Bytes> to_;
    Bytes from_;
    Bytes headers_;
};

EthernetBuilder ethernet();

Bytes padded(Bytes frame, std::size_t length = 60);  // with zeros, as a sender pads short frames

// ---- IPv4 and IGMP -----------------------------------------------------------------------------

struct Ipv4Options {
    bool router_alert = true;
    std::uint8_t protocol = 2;
    std::uint8_t ttl = 1;
};
Bytes ipv4_packet(const std::string& from, const std::string& to, const Bytes& payload,
                  Ipv4Options options = {});

Bytes igmp_v1_query();
Bytes igmp_v1_report(const std::string& group);
// Group 0.0.0.0: the general query. The response time is in tenths of a second.
Bytes igmp_v2_query(const std::string& group = "0.0.0.0", std::uint8_t response_time = 100);
Bytes igmp_v2_report(const std::string& group);
Bytes igmp_v2_leave(const std::string& group);
Bytes igmp_v3_query(const std::string& group = "0.0.0.0",
                    const std::vector<std::string>& sources = {});

enum GroupRecordType : std::uint8_t {
    kIsInclude = 1,
    kIsExclude = 2,
    kToInclude = 3,
    kToExclude = 4,
    kAllowSources = 5,
    kBlockSources = 6,
};

struct GroupRecord {
    GroupRecordType type;
    std::string group;
    std::vector<std::string> sources = {};
};
Bytes igmp_v3_report(const std::vector<GroupRecord>& records);

// ---- IPv6 and MLD ------------------------------------------------------------------------------

// The payload is an ICMPv6 message without its checksum, which is filled in. With the option a
// hop-by-hop header carries the router alert.
struct Ipv6Options {
    bool router_alert = true;
    std::uint8_t next_header = 58;
    std::uint8_t hop_limit = 1;
};
Bytes ipv6_packet(const std::string& from, const std::string& to, Bytes message,
                  Ipv6Options options = {});

Bytes mld_v1_query(const std::string& group = "::", std::uint16_t response_time = 10000);
Bytes mld_v1_report(const std::string& group);
Bytes mld_v1_done(const std::string& group);
Bytes mld_v2_query(const std::string& group = "::", const std::vector<std::string>& sources = {});
Bytes mld_v2_report(const std::vector<GroupRecord>& records);

}  // namespace mc_test
