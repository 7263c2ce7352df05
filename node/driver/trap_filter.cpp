#include "node/driver/trap_filter.h"

#include <cstddef>

#include "common/ethernet.h"

namespace driver {
namespace {

constexpr std::uint16_t kPppIpv4 = 0x0021;
constexpr std::uint16_t kPppIpv6 = 0x0057;

constexpr int kMaxTags = 2;
constexpr std::size_t kPppoeHeader = 6;
constexpr std::size_t kIpv6Header = 40;

constexpr std::uint8_t kProtocolIgmp = 2;
constexpr std::uint8_t kNextHopByHop = 0;
constexpr std::uint8_t kNextIcmpv6 = 58;

// Reads that remember whether they ran past the end, so that the walk needs one test only.
class Reader {
 public:
    explicit Reader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    std::uint8_t u8(std::size_t at) {
        if (at >= bytes_.size()) {
            ran_out_ = true;
            return 0;
        }
        return bytes_[at];
    }

    std::uint16_t be16(std::size_t at) {
        const unsigned high = u8(at);
        return static_cast<std::uint16_t>(high << 8 | u8(at + 1));
    }

    [[nodiscard]] bool ran_out() const { return ran_out_; }

 private:
    std::span<const std::uint8_t> bytes_;
    bool ran_out_ = false;
};

// MLD, and Multicast Router Discovery (RFC 4286), whose IPv4 messages are IGMP.
bool is_mld_type(std::uint8_t type) {
    return (type >= 130 && type <= 132) || type == 143 || (type >= 151 && type <= 153);
}

TrapVerdict classify_ipv4(Reader& frame, std::size_t packet) {
    if (frame.u8(packet) >> 4 != 4) return TrapVerdict::kOther;
    return frame.u8(packet + 9) == kProtocolIgmp ? TrapVerdict::kIgmp : TrapVerdict::kOther;
}

TrapVerdict classify_ipv6(Reader& frame, std::size_t packet) {
    if (frame.u8(packet) >> 4 != 6) return TrapVerdict::kOther;
    std::uint8_t next = frame.u8(packet + 6);
    std::size_t body = packet + kIpv6Header;
    if (next == kNextHopByHop) {
        next = frame.u8(body);
        body += (frame.u8(body + 1) + std::size_t{1}) * 8;
    }
    if (next != kNextIcmpv6) return TrapVerdict::kOther;
    return is_mld_type(frame.u8(body)) ? TrapVerdict::kMld : TrapVerdict::kOther;
}

struct Payload {
    std::uint16_t type;  // an Ethernet type, whatever the framing
    std::size_t at;
};

Payload find_payload(Reader& frame) {
    std::size_t at = mc::kMacsLength;
    std::uint16_t type = frame.be16(at);
    for (int tags = 0; type == mc::kTpid && tags < kMaxTags; ++tags) {
        at += mc::kTagLength;
        type = frame.be16(at);
    }
    std::size_t packet = at + 2;
    if (type == mc::kEtherTypePppoe) {
        type = frame.be16(packet + kPppoeHeader);
        packet += kPppoeHeader + 2;
        if (type == kPppIpv4) type = mc::kEtherTypeIpv4;
        if (type == kPppIpv6) type = mc::kEtherTypeIpv6;
    }
    return {type, packet};
}

}  // namespace

TrapVerdict classify(std::span<const std::uint8_t> frame) {
    Reader reader(frame);
    const Payload payload = find_payload(reader);
    TrapVerdict verdict = TrapVerdict::kOther;
    if (payload.type == mc::kEtherTypeIpv4) verdict = classify_ipv4(reader, payload.at);
    if (payload.type == mc::kEtherTypeIpv6) verdict = classify_ipv6(reader, payload.at);
    return reader.ran_out() ? TrapVerdict::kTooShort : verdict;
}

std::span<const std::uint8_t> packet_of(std::span<const std::uint8_t> frame) {
    Reader reader(frame);
    return frame.subspan(find_payload(reader).at);
}

std::optional<std::span<const std::uint8_t>> ip_packet_of(std::span<const std::uint8_t> frame) {
    Reader reader(frame);
    const Payload payload = find_payload(reader);
    const bool is_ip = payload.type == mc::kEtherTypeIpv4 || payload.type == mc::kEtherTypeIpv6;
    if (!is_ip || payload.at >= frame.size()) return std::nullopt;
    return frame.subspan(payload.at);
}

}  // namespace driver
