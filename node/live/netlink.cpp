#include "node/live/netlink.h"

#include <libmnl/libmnl.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "node/live/live_error.h"

namespace live {
namespace {

constexpr std::size_t kLargestAnswer = 32768;  // what the kernel puts into one datagram of a dump

constexpr std::size_t kLargestRefusal = 1024;

int hand_on(const nlmsghdr* message, void* each) {
    const auto& call = *static_cast<const Message*>(each);
    if (call) call(*message);
    return MNL_CB_OK;
}

int hand_attribute_on(const nlattr* attribute, void* each) {
    (*static_cast<const Attribute*>(each))(*attribute);
    return MNL_CB_OK;
}

// The library takes a pointer to what it hands back, and leaves it alone.
void* as_data(const Attribute& each) { return const_cast<Attribute*>(&each); }

}  // namespace

NetlinkSocket open_netlink(int bus, unsigned groups) {
    NetlinkSocket socket(mnl_socket_open2(bus, SOCK_CLOEXEC));
    if (socket == nullptr || mnl_socket_bind(socket.get(), groups, MNL_SOCKET_AUTOPID) < 0) {
        throw LiveError(std::string(bus == NETLINK_ROUTE ? "rtnetlink" : "nfnetlink") +
                        " cannot be opened: " + std::strerror(errno));
    }
    return socket;
}

void each_attribute(const nlmsghdr& message, std::size_t body_size, const Attribute& each) {
    static_cast<void>(mnl_attr_parse(&message, static_cast<unsigned>(body_size), hand_attribute_on,
                                     as_data(each)));
}

void each_nested(const nlattr& nest, const Attribute& each) {
    static_cast<void>(mnl_attr_parse_nested(&nest, hand_attribute_on, as_data(each)));
}

void each_behind(const nlattr& attribute, std::size_t other_bytes, const Attribute& each) {
    const std::size_t size = mnl_attr_get_payload_len(&attribute);
    const std::size_t skipped = MNL_ALIGN(other_bytes);
    if (size <= skipped) return;
    const auto* const bytes = static_cast<const std::byte*>(mnl_attr_get_payload(&attribute));
    static_cast<void>(
        mnl_attr_parse_payload(bytes + skipped, size - skipped, hand_attribute_on, as_data(each)));
}

void CloseNetlink::operator()(mnl_socket* socket) const {
    static_cast<void>(mnl_socket_close(socket));
}

// ---- Requests -----------------------------------------------------------------------------------

Request::Request(std::uint16_t type, std::uint16_t flags, std::size_t body_size)
    : header_(mnl_nlmsg_put_header(bytes_.data())),
      body_(mnl_nlmsg_put_extra_header(header_, body_size)) {
    header_->nlmsg_type = type;
    header_->nlmsg_flags = NLM_F_REQUEST | flags;
}

Netlink::Netlink()
    : socket_(open_netlink(NETLINK_ROUTE, 0)), descriptor_(mnl_socket_get_fd(socket_.get())) {}

int Netlink::ask(Request& request, const Message& each) {
    nlmsghdr* const header = request.header();
    const bool is_dump = (header->nlmsg_flags & NLM_F_DUMP) == NLM_F_DUMP;
    if (!is_dump) header->nlmsg_flags |= NLM_F_ACK;
    header->nlmsg_seq = ++sequence_;
    const unsigned own_port = mnl_socket_get_portid(socket_.get());
    if (mnl_socket_sendto(socket_.get(), header, header->nlmsg_len) < 0) return errno;

    alignas(nlmsghdr) std::array<std::byte, kLargestAnswer> answer;
    while (true) {
        const ssize_t size = mnl_socket_recvfrom(socket_.get(), answer.data(), answer.size());
        if (size < 0) return errno;
        // The acknowledgement comes out as MNL_CB_STOP, a refusal as an error with its errno.
        const int left = mnl_cb_run(answer.data(), static_cast<std::size_t>(size), sequence_,
                                    own_port, hand_on, const_cast<Message*>(&each));
        if (left < MNL_CB_STOP) {
            // An answer to a request whose wait was broken off.
            if (errno == ESRCH || errno == EPROTO) continue;
            return errno;
        }
        if (left == MNL_CB_STOP) return 0;
    }
}

int Netlink::tell(nlmsghdr& request) {
    request.nlmsg_seq = ++sequence_;
    if (::send(descriptor_, &request, request.nlmsg_len, 0) < 0) return errno;
    // A refusal repeats the request.
    alignas(nlmsghdr) std::array<std::byte, kLargestRefusal> answer;
    while (true) {
        const ssize_t size = recv(descriptor_, answer.data(), answer.size(), MSG_DONTWAIT);
        if (size < 0) return errno == EAGAIN ? 0 : errno;
        const int left = mnl_cb_run(answer.data(), static_cast<std::size_t>(size), sequence_,
                                    mnl_socket_get_portid(socket_.get()), nullptr, nullptr);
        // Only a refusal of this very request counts.
        if (left < MNL_CB_STOP && errno != ESRCH && errno != EPROTO) return errno;
    }
}

// ---- News ---------------------------------------------------------------------------------------

bool take_news(int descriptor, const Message& each) {
    bool is_whole = true;
    alignas(nlmsghdr) std::array<std::byte, kLargestAnswer> news;
    while (true) {
        const ssize_t size = recv(descriptor, news.data(), news.size(), MSG_DONTWAIT);
        if (size > 0) {
            static_cast<void>(mnl_cb_run(news.data(), static_cast<std::size_t>(size), 0, 0, hand_on,
                                         const_cast<Message*>(&each)));
        } else if (size < 0 && errno == ENOBUFS) {
            is_whole = false;
        } else {
            return is_whole;
        }
    }
}

LinkNews::LinkNews()
    : socket_(open_netlink(NETLINK_ROUTE, RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR)) {}

int LinkNews::descriptor() const { return mnl_socket_get_fd(socket_.get()); }

bool LinkNews::take() {
    bool is_any = false;
    const bool is_whole =
        take_news(descriptor(), [&is_any](const nlmsghdr& /*message*/) { is_any = true; });
    return is_any || !is_whole;
}

}  // namespace live
