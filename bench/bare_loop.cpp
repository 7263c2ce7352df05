// The plainest program that does the node's job on a bridge, to compare the node with: one packet
// socket a port, poll, the kernel's multicast database over rtnetlink, reports forwarded as they
// came. It keeps no state, knows no timers, VLANs or queries, and a leave takes effect at once.
//
//     bare_loop BRIDGE UPLINK PORT...
//
// Says "ready" when its sockets are open; ends on SIGTERM, and says what was received and dropped.
#include <arpa/inet.h>
#include <libmnl/libmnl.h>
#include <linux/filter.h>
#include <linux/if_bridge.h>
#include <linux/if_packet.h>
#include <linux/rtnetlink.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <span>
#include <string>
#include <system_error>
#include <vector>

namespace {

using View = std::span<const std::uint8_t>;

[[noreturn]] void fail(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

volatile std::sig_atomic_t g_over = 0;

class Database {
 public:
    explicit Database(unsigned bridge) : bridge_(bridge), socket_(mnl_socket_open(NETLINK_ROUTE)) {
        if (socket_ == nullptr || mnl_socket_bind(socket_, 0, MNL_SOCKET_AUTOPID) != 0) {
            fail("netlink socket");
        }
    }

    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;
    ~Database() { mnl_socket_close(socket_); }

    // group: 4 or 16 bytes.
    void change(bool add, unsigned port, View group) {
        nlmsghdr* header = mnl_nlmsg_put_header(buffer_.data());
        header->nlmsg_type = add ? RTM_NEWMDB : RTM_DELMDB;
        header->nlmsg_flags = NLM_F_REQUEST | NLM_F_ACK;
        if (add) header->nlmsg_flags |= NLM_F_CREATE | NLM_F_REPLACE;
        header->nlmsg_seq = ++sequence_;
        auto* message =
            static_cast<br_port_msg*>(mnl_nlmsg_put_extra_header(header, sizeof(br_port_msg)));
        message->family = AF_BRIDGE;
        message->ifindex = bridge_;
        br_mdb_entry entry{};
        entry.ifindex = port;
        entry.state = MDB_PERMANENT;
        entry.addr.proto = htons(group.size() == 4 ? ETHERTYPE_IP : ETHERTYPE_IPV6);
        std::memcpy(&entry.addr.u, group.data(), group.size());
        mnl_attr_put(header, MDBA_SET_ENTRY, sizeof entry, &entry);
        if (mnl_socket_sendto(socket_, header, header->nlmsg_len) < 0) fail("netlink send");
        const ssize_t length = mnl_socket_recvfrom(socket_, buffer_.data(), buffer_.size());
        if (length < 0) fail("netlink receive");
        const int answer = mnl_cb_run(buffer_.data(), static_cast<std::size_t>(length), sequence_,
                                      mnl_socket_get_portid(socket_), nullptr, nullptr);
        // Two members of a group leave one after the other; the second finds nothing to remove.
        if (answer < 0 && errno != ENOENT && errno != EINVAL && errno != EEXIST) fail("database");
    }

 private:
    unsigned bridge_;
    mnl_socket* socket_;
    unsigned sequence_ = 0;
    alignas(nlmsghdr) std::array<char, 8192> buffer_{};
};

// IGMP, or IPv6 with a hop-by-hop header whose next header is ICMPv6, and not what this machine
// sends. In the kernel, since the uplink's socket sees every stream frame.
void attach_filter(int socket) {
    constexpr auto kPacketType = static_cast<std::uint32_t>(SKF_AD_OFF + SKF_AD_PKTTYPE);
    std::array<sock_filter, 11> code = {{
        BPF_STMT(BPF_LD | BPF_B | BPF_ABS, kPacketType),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, PACKET_OUTGOING, 8, 0),
        BPF_STMT(BPF_LD | BPF_H | BPF_ABS, 12),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, ETHERTYPE_IP, 0, 2),
        BPF_STMT(BPF_LD | BPF_B | BPF_ABS, 14 + 9),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, IPPROTO_IGMP, 3, 4),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, ETHERTYPE_IPV6, 0, 3),
        BPF_STMT(BPF_LD | BPF_H | BPF_ABS, 14 + 6),  // next header and hop limit
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, IPPROTO_HOPOPTS << 8 | 1, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, 2048),
        BPF_STMT(BPF_RET | BPF_K, 0),
    }};
    const sock_fprog program = {static_cast<unsigned short>(code.size()), code.data()};
    if (setsockopt(socket, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program) != 0) {
        fail("filter");
    }
}

struct Port {
    explicit Port(const char* name) : index(if_nametoindex(name)) {
        if (index == 0) fail(name);
        // Bound to no protocol at first: nothing comes in before the filter is there.
        socket = ::socket(AF_PACKET, SOCK_RAW, 0);
        if (socket < 0) fail("packet socket");
        attach_filter(socket);
        const int room = 4 << 20;
        setsockopt(socket, SOL_SOCKET, SO_RCVBUFFORCE, &room, sizeof room);
        sockaddr_ll address{};
        address.sll_family = AF_PACKET;
        address.sll_protocol = htons(ETH_P_ALL);
        address.sll_ifindex = static_cast<int>(index);
        if (bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) fail("bind");
    }

    unsigned index;
    int socket;
};

unsigned be16(View bytes, std::size_t at) {
    return static_cast<unsigned>(bytes[at]) << 8 | bytes[at + 1];
}

// The group records of IGMPv3 and MLDv2, which only differ in the addresses' length.
void read_records(View message, std::size_t address, Database& database, unsigned port) {
    std::size_t at = 8;
    for (unsigned left = be16(message, 6); left > 0; --left) {
        if (at + 4 + address > message.size()) return;
        const std::uint8_t type = message[at];
        const std::size_t sources = be16(message, at + 2);
        // To include nobody, or to go on doing so, is to leave.
        const bool nobody = (type == 1 || type == 3) && sources == 0;
        database.change(!nobody, port, message.subspan(at + 4, address));
        at += 4 + address + sources * address + message[at + 1] * std::size_t{4};
    }
}

// True for what goes up to the routers: reports and leaves, but no queries.
bool read_igmp(View message, Database& database, unsigned port) {
    if (message.size() < 8) return false;
    switch (message[0]) {
        case 0x12:
        case 0x16:
        case 0x17:
            database.change(message[0] != 0x17, port, message.subspan(4, 4));
            return true;
        case 0x22:
            read_records(message, 4, database, port);
            return true;
        default:
            return false;
    }
}

bool read_mld(View message, Database& database, unsigned port) {
    if (message.size() < 8) return false;
    switch (message[0]) {
        case 131:
        case 132:
            if (message.size() < 24) return false;
            database.change(message[0] == 131, port, message.subspan(8, 16));
            return true;
        case 143:
            read_records(message, 16, database, port);
            return true;
        default:
            return false;
    }
}

bool read_frame(View frame, Database& database, unsigned port) {
    if (frame.size() < 14 + 20) return false;
    if (be16(frame, 12) == ETHERTYPE_IP) {
        const std::size_t header = std::size_t{4} * (frame[14] & 0x0FU);
        if (frame.size() < 14 + header) return false;
        return read_igmp(frame.subspan(14 + header), database, port);
    }
    constexpr std::size_t kHopByHop = 14 + 40;
    if (frame.size() < kHopByHop + 8 || frame[kHopByHop] != IPPROTO_ICMPV6) return false;
    const std::size_t header = 8 + std::size_t{8} * frame[kHopByHop + 1];
    if (frame.size() < kHopByHop + header) return false;
    return read_mld(frame.subspan(kHopByHop + header), database, port);
}

void print_statistics(const std::vector<Port>& ports) {
    unsigned received = 0;
    unsigned dropped = 0;
    for (const Port& port : ports) {
        tpacket_stats statistics{};
        socklen_t length = sizeof statistics;
        getsockopt(port.socket, SOL_PACKET, PACKET_STATISTICS, &statistics, &length);
        received += statistics.tp_packets;
        dropped += statistics.tp_drops;
    }
    std::printf("received %u dropped %u\n", received, dropped);
}

void run(const std::vector<std::string>& words) {
    Database database(if_nametoindex(words[0].c_str()));
    std::vector<Port> ports;  // the uplink is the first
    for (std::size_t i = 1; i < words.size(); ++i) ports.emplace_back(words[i].c_str());
    std::vector<pollfd> waits;
    waits.reserve(ports.size());
    for (const Port& port : ports) waits.push_back({port.socket, POLLIN, 0});
    std::printf("ready\n");
    std::fflush(stdout);

    std::array<std::uint8_t, 2048> bytes{};
    while (g_over == 0) {
        // The limit is for a signal that came just before the call.
        if (poll(waits.data(), waits.size(), 1000) <= 0) continue;
        for (std::size_t i = 0; i < ports.size(); ++i) {
            if ((waits[i].revents & POLLIN) == 0) continue;
            const ssize_t length = recv(ports[i].socket, bytes.data(), bytes.size(), MSG_DONTWAIT);
            if (length < 0 || i == 0) continue;
            const View frame = View(bytes).first(static_cast<std::size_t>(length));
            if (!read_frame(frame, database, ports[i].index)) continue;
            if (send(ports[0].socket, frame.data(), frame.size(), 0) < 0) fail("send");
        }
    }
    print_statistics(ports);
}

}  // namespace

int main(int count, char** words) {
    if (count < 4) {
        std::fprintf(stderr, "usage: bare_loop BRIDGE UPLINK PORT...\n");
        return 2;
    }
    std::signal(SIGTERM, [](int) { g_over = 1; });
    try {
        run({words + 1, words + count});
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "bare_loop: %s\n", problem.what());
        return 1;
    }
    return 0;
}
