#include "node/live/port_socket.h"

#include <arpa/inet.h>
#include <linux/filter.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <ctime>

#include "common/bytes.h"
#include "common/ethernet.h"
#include "node/live/egress.h"
#include "node/live/live_error.h"
#include "node/live/trap_program.h"

namespace live {
namespace {

// A burst of reports of a few thousand hosts, at some 1 KB each in the kernel's accounts.
constexpr int kReceiveBuffer = 8 * 1024 * 1024;

template <class Value>
bool set(int descriptor, int level, int option, const Value& value) {
    return setsockopt(descriptor, level, option, &value, sizeof value) == 0;
}

bool set_trap(int descriptor) {
    const auto program = trap_program();
    // The kernel only reads it.
    const sock_fprog filter{static_cast<unsigned short>(program.size()),
                            const_cast<sock_filter*>(program.data())};
    return set(descriptor, SOL_SOCKET, SO_ATTACH_FILTER, filter);
}

// The filter stands before the socket hears anything: until it is bound it has no protocol.
bool prepare(int descriptor, int index) {
    constexpr int kOn = 1;
    if (!set_trap(descriptor) || !set(descriptor, SOL_PACKET, PACKET_AUXDATA, kOn) ||
        !set(descriptor, SOL_PACKET, PACKET_IGNORE_OUTGOING, kOn)) {
        return false;
    }
    static_cast<void>(
        set(descriptor, SOL_SOCKET, SO_RCVBUFFORCE, kReceiveBuffer));     // smaller works too
    static_cast<void>(set(descriptor, SOL_SOCKET, SO_TIMESTAMPNS, kOn));  // and so does none
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(ETH_P_ALL);
    address.sll_ifindex = index;
    return bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

// What the kernel hands over beside a frame.
template <class Value>
std::optional<Value> beside(msghdr& message, int level, int type) {
    for (const cmsghdr* one = CMSG_FIRSTHDR(&message); one != nullptr;
         one = CMSG_NXTHDR(&message, const_cast<cmsghdr*>(one))) {
        if (one->cmsg_level != level || one->cmsg_type != type) continue;
        Value value;
        std::memcpy(&value, CMSG_DATA(one), sizeof value);
        return value;
    }
    return std::nullopt;
}

// The tag that it has taken off, as the four bytes on the wire.
std::optional<std::array<std::uint8_t, mc::kTagLength>> taken_tag(msghdr& message) {
    const auto data = beside<tpacket_auxdata>(message, SOL_PACKET, PACKET_AUXDATA);
    if (!data || (data->tp_status & TP_STATUS_VLAN_VALID) == 0) return std::nullopt;
    const bool has_tpid = (data->tp_status & TP_STATUS_VLAN_TPID_VALID) != 0;
    std::array<std::uint8_t, mc::kTagLength> tag{};
    mc::store_be16(tag.data(), has_tpid ? data->tp_vlan_tpid : ETH_P_8021Q);
    mc::store_be16(tag.data() + 2, data->tp_vlan_tci);
    return tag;
}

std::uint64_t stamp_ns(msghdr& message) {
    constexpr std::uint64_t kSecond = 1'000'000'000;
    const auto stamp = beside<timespec>(message, SOL_SOCKET, SCM_TIMESTAMPNS);
    if (!stamp) return 0;
    return static_cast<std::uint64_t>(stamp->tv_sec) * kSecond +
           static_cast<std::uint64_t>(stamp->tv_nsec);
}

// Behind the MACs of a frame of so many bytes. The length that this makes.
std::uint32_t put_back(const std::array<std::uint8_t, mc::kTagLength>& tag,
                       std::span<std::uint8_t> buf, std::uint32_t length) {
    if (buf.size() < mc::kMacsLength + mc::kTagLength || length < mc::kMacsLength) return length;
    const std::size_t behind = std::min<std::size_t>(length - mc::kMacsLength,
                                                     buf.size() - mc::kMacsLength - mc::kTagLength);
    std::memmove(buf.data() + mc::kMacsLength + mc::kTagLength, buf.data() + mc::kMacsLength,
                 behind);
    std::memcpy(buf.data() + mc::kMacsLength, tag.data(), mc::kTagLength);
    return length + mc::kTagLength;
}

}  // namespace

PortSocket::PortSocket(const std::string& interface, int index)
    : descriptor_(socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    if (descriptor_ >= 0 && prepare(descriptor_, index)) return;
    const int error = errno;
    if (descriptor_ >= 0) close(descriptor_);
    const char* const hint = error == EPERM ? " (CAP_NET_RAW is needed)" : "";
    throw LiveError(interface + ": no packet socket: " + std::strerror(error) + hint);
}

PortSocket::~PortSocket() { close(descriptor_); }

std::optional<Arrival> PortSocket::receive(std::span<std::uint8_t> buf) const {
    iovec part{buf.data(), buf.size()};
    constexpr std::size_t kControl =
        CMSG_SPACE(sizeof(tpacket_auxdata)) + CMSG_SPACE(sizeof(timespec));
    alignas(cmsghdr) std::array<char, kControl> control;
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t size = recvmsg(descriptor_, &message, MSG_TRUNC);
    if (size < 0) return std::nullopt;
    auto length = static_cast<std::uint32_t>(size);
    if (const auto tag = taken_tag(message)) length = put_back(*tag, buf, length);
    return Arrival{length, stamp_ns(message)};
}

bool PortSocket::send(std::span<const std::uint8_t> frame, std::uint16_t default_vid) const {
    if (frame.size() < mc::kMacsLength) return false;
    Egress egress = egress_of(frame, default_vid);
    const auto rest = frame.subspan(egress.rest);
    // The kernel only reads them.
    auto* const bytes = const_cast<std::uint8_t*>(frame.data());
    std::array<iovec, 3> parts{{{bytes, mc::kMacsLength},
                                {egress.head.data(), egress.head_length},
                                {bytes + egress.rest, rest.size()}}};
    msghdr message{};
    message.msg_iov = parts.data();
    message.msg_iovlen = parts.size();
    return sendmsg(descriptor_, &message, 0) >= 0;
}

std::uint64_t PortSocket::take_dropped() const {
    tpacket_stats counts{};
    socklen_t size = sizeof counts;
    if (getsockopt(descriptor_, SOL_PACKET, PACKET_STATISTICS, &counts, &size) != 0) return 0;
    return counts.tp_drops;
}

}  // namespace live
