#include "bench/sockets.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace bench {
namespace {

constexpr std::int64_t kSecond = 1'000'000'000;

void set_option(const Descriptor& socket, int level, int option, int value) {
    if (setsockopt(socket.get(), level, option, &value, sizeof value) != 0) fail("setsockopt");
}

Descriptor packet_socket(const Place& where, int protocol) {
    const InNamespace inside(where.net);
    Descriptor made(socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0));
    if (made.get() < 0) fail("packet socket");
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(static_cast<std::uint16_t>(protocol));
    address.sll_ifindex = static_cast<int>(if_nametoindex(where.interface.c_str()));
    if (address.sll_ifindex == 0) fail(where.interface);
    if (bind(made.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) fail("bind");
    return made;
}

std::int64_t stamp_of(msghdr& message) {
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr;
         part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_TIMESTAMPNS) continue;
        timespec when{};
        std::memcpy(&when, CMSG_DATA(part), sizeof when);
        return when.tv_sec * kSecond + when.tv_nsec;
    }
    throw std::runtime_error("the kernel put no time stamp on a frame");
}

}  // namespace

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
}

Descriptor::~Descriptor() {
    if (fd_ >= 0) close(fd_);
}

InNamespace::InNamespace(const std::string& path)
    : own_(open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC)) {
    if (own_.get() < 0) fail("/proc/thread-self/ns/net");
    const Descriptor other(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (other.get() < 0) fail(path);
    if (setns(other.get(), CLONE_NEWNET) != 0) fail(path);
}

InNamespace::~InNamespace() { setns(own_.get(), CLONE_NEWNET); }

Place place(const std::string& text) {
    const std::size_t comma = text.rfind(',');
    if (comma == std::string::npos || comma == 0 || comma + 1 == text.size()) {
        throw std::invalid_argument("not a namespace and an interface: " + text);
    }
    return {text.substr(0, comma), text.substr(comma + 1)};
}

int index_of(const Place& where) {
    const InNamespace inside(where.net);
    const unsigned index = if_nametoindex(where.interface.c_str());
    if (index == 0) fail(where.interface);
    return static_cast<int>(index);
}

Descriptor raw_sender(const Place& where) {
    Descriptor made = packet_socket(where, 0);
    set_option(made, SOL_PACKET, PACKET_QDISC_BYPASS, 1);
    return made;
}

Descriptor tap(const Place& where) {
    Descriptor made = packet_socket(where, ETH_P_ALL);
    want_time_stamps(made);
    set_option(made, SOL_SOCKET, SO_RCVBUFFORCE, 16 << 20);
    return made;
}

void want_time_stamps(const Descriptor& socket) {
    set_option(socket, SOL_SOCKET, SO_TIMESTAMPNS, 1);
}

bool receive(const Descriptor& socket, Seen& seen, std::int64_t deadline_ns) {
    std::array<std::uint8_t, 2048> bytes{};
    std::array<char, 256> control{};
    sockaddr_storage from{};  // a packet socket's address, or another that nobody wants
    for (;;) {
        iovec part{bytes.data(), bytes.size()};
        msghdr message{};
        message.msg_name = &from;
        message.msg_namelen = sizeof from;
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        const ssize_t length = recvmsg(socket.get(), &message, MSG_DONTWAIT);
        if (length >= 0) {
            seen.frame.assign(bytes.begin(), bytes.begin() + length);
            seen.when_ns = stamp_of(message);
            seen.going_out =
                from.ss_family == AF_PACKET &&
                reinterpret_cast<const sockaddr_ll&>(from).sll_pkttype == PACKET_OUTGOING;
            return true;
        }
        if (errno != EAGAIN && errno != EINTR) fail("recvmsg");
        const std::int64_t left = deadline_ns - now_ns(CLOCK_MONOTONIC);
        if (left <= 0) return false;
        pollfd wait{socket.get(), POLLIN, 0};
        const timespec limit{left / kSecond, left % kSecond};
        if (ppoll(&wait, 1, &limit, nullptr) < 0 && errno != EINTR) fail("ppoll");
    }
}

void send(const Descriptor& socket, FrameView frame) {
    // ENOBUFS: the other side of the veth is full, which a wire does not tell either.
    if (::send(socket.get(), frame.data(), frame.size(), 0) < 0 && errno != ENOBUFS) fail("send");
}

std::int64_t now_ns(int clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return now.tv_sec * kSecond + now.tv_nsec;
}

void sleep_ns(std::int64_t duration) {
    timespec left{duration / kSecond, duration % kSecond};
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

void run_on_cpu(int cpu) {
    if (cpu < 0) return;
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<unsigned>(cpu), &set);
    if (sched_setaffinity(0, sizeof set, &set) != 0) fail("sched_setaffinity");
}

void rule_cpu(int cpu) {
    if (cpu < 0) return;
    run_on_cpu(cpu);
    const sched_param first{.sched_priority = 1};
    if (sched_setscheduler(0, SCHED_FIFO, &first) != 0) fail("sched_setscheduler");
}

void fail(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace bench
