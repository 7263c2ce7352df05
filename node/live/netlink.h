// rtnetlink: requests to the kernel with their answers, and the kernel's own news. A request waits
// for the answer, which takes the kernel microseconds; one thread at a time.
#pragma once

#include <linux/netlink.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

struct mnl_socket;

namespace live {

struct CloseNetlink {
    void operator()(mnl_socket* socket) const;
};
using NetlinkSocket = std::unique_ptr<mnl_socket, CloseNetlink>;

using Message = std::function<void(const nlmsghdr&)>;

// A socket of a netlink bus (NETLINK_ROUTE) that hears of the groups in a mask. Throws LiveError.
[[nodiscard]] NetlinkSocket open_netlink(int bus, unsigned groups);

// Hands on what has come to a socket of news, without waiting. False: some were lost for want of
// room.
[[nodiscard]] bool take_news(int descriptor, const Message& each);

// A request under construction, with room for what the node ever asks.
class Request {
 public:
    // flags come in addition to NLM_F_REQUEST. body_size bytes of family header, zeroed.
    Request(std::uint16_t type, std::uint16_t flags, std::size_t body_size);

    template <class Body>
    [[nodiscard]] Body& body() {
        return *static_cast<Body*>(body_);
    }

    [[nodiscard]] nlmsghdr* header() { return header_; }

 private:
    alignas(nlmsghdr) std::array<std::byte, 1024> bytes_{};
    nlmsghdr* header_;
    void* body_;
};

// ---- Attributes of what comes back ----

using Attribute = std::function<void(const nlattr&)>;

void each_attribute(const nlmsghdr& message, std::size_t body_size, const Attribute& each);
void each_nested(const nlattr& nest, const Attribute& each);
// Behind other bytes in the payload of an attribute.
void each_behind(const nlattr& attribute, std::size_t other_bytes, const Attribute& each);

class Netlink {
 public:
    // Throws LiveError.
    Netlink();

    // 0, or the errno of the refusal. What the kernel sends before it is handed to each.
    [[nodiscard]] int ask(Request& request, const Message& each = {});

    // The same for a change, in a fifth less time: the kernel makes it before the request is handed
    // over, and refuses by then too, so there is no need to be told that it is done.
    [[nodiscard]] int tell(nlmsghdr& request);

 private:
    NetlinkSocket socket_;
    int descriptor_;
    std::uint32_t sequence_ = 0;
};

// News of links and of addresses.
class LinkNews {
 public:
    // Throws LiveError.
    LinkNews();

    // Readable when there is news.
    [[nodiscard]] int descriptor() const;

    // Takes what has come, without waiting: that there was news says that it is time to look.
    [[nodiscard]] bool take();

 private:
    NetlinkSocket socket_;
};

}  // namespace live
