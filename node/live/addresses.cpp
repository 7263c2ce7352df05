#include "node/live/addresses.h"

#include <libmnl/libmnl.h>
#include <linux/if_addr.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <algorithm>
#include <functional>

#include "common/bytes.h"

namespace live {
namespace {

using EachAddress = std::function<void(const ifaddrmsg&, const nlmsghdr&)>;

void each_address(Netlink& netlink, int index, std::uint8_t family, const EachAddress& each) {
    Request request(RTM_GETADDR, NLM_F_DUMP, sizeof(ifaddrmsg));
    request.body<ifaddrmsg>().ifa_family = family;
    static_cast<void>(netlink.ask(request, [&](const nlmsghdr& message) {
        const auto& address = *static_cast<const ifaddrmsg*>(mnl_nlmsg_get_payload(&message));
        if (address.ifa_family != family || static_cast<int>(address.ifa_index) != index) return;
        each(address, message);
    }));
}

// The bytes of an attribute of that type; null when there is none of that length.
const std::uint8_t* bytes_of(const nlmsghdr& message, std::uint16_t type, std::size_t length) {
    const std::uint8_t* found = nullptr;
    each_attribute(message, sizeof(ifaddrmsg), [&](const nlattr& one) {
        if (mnl_attr_get_type(&one) != type || mnl_attr_get_payload_len(&one) != length) return;
        found = static_cast<const std::uint8_t*>(mnl_attr_get_payload(&one));
    });
    return found;
}

bool is_tentative(const ifaddrmsg& address) { return (address.ifa_flags & IFA_F_TENTATIVE) != 0; }

}  // namespace

LinkLocal find_link_local(Netlink& netlink, int index) {
    LinkLocal best = LinkLocal::kNone;
    each_address(netlink, index, AF_INET6, [&best](const ifaddrmsg& address, const nlmsghdr&) {
        if (address.ifa_scope != RT_SCOPE_LINK) return;
        best = std::max(best, is_tentative(address) ? LinkLocal::kTentative : LinkLocal::kUsable);
    });
    return best;
}

std::optional<mcore::Address> link_local_address(Netlink& netlink, int index) {
    std::optional<mcore::Address> found;
    each_address(netlink, index, AF_INET6, [&](const ifaddrmsg& address, const nlmsghdr& message) {
        if (found || address.ifa_scope != RT_SCOPE_LINK) return;
        const auto* const bytes = bytes_of(message, IFA_ADDRESS, sizeof(mcore::Address));
        if (bytes == nullptr) return;
        std::copy_n(bytes, sizeof(mcore::Address), found.emplace().begin());
    });
    return found;
}

std::optional<std::uint32_t> ipv4_address(Netlink& netlink, int index) {
    std::optional<std::uint32_t> found;
    std::uint8_t scope = RT_SCOPE_HOST;  // the wider, the smaller
    each_address(netlink, index, AF_INET, [&](const ifaddrmsg& address, const nlmsghdr& message) {
        const auto* const bytes = bytes_of(message, IFA_LOCAL, sizeof(std::uint32_t));
        if (bytes == nullptr || address.ifa_scope >= scope) return;
        found = mc::load_be32(bytes);
        scope = address.ifa_scope;
    });
    return found;
}

}  // namespace live
