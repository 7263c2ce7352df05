#include "node/live/multicast_database.h"

#include <arpa/inet.h>
#include <libmnl/libmnl.h>
#include <linux/filter.h>
#include <linux/if_bridge.h>
#include <linux/rtnetlink.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <string>

#include "node/live/live_error.h"

namespace live {
namespace {

// Newer than the headers of Debian 12; older kernels refuse them.
constexpr std::uint16_t kEntrySources = 2;        // MDBE_ATTR_SRC_LIST
constexpr std::uint16_t kEntryMode = 3;           // MDBE_ATTR_GROUP_MODE
constexpr std::uint16_t kEntryProtocol = 4;       // MDBE_ATTR_RTPROT
constexpr std::uint16_t kEntrySource = 1;         // MDBE_SRC_LIST_ENTRY
constexpr std::uint16_t kEntrySourceAddress = 1;  // MDBE_SRCATTR_ADDRESS

// Any that no routing daemon of iproute2's list has.
constexpr std::uint8_t kOwnProtocol = 82;

// A request for a change as the kernel reads it; what begins with more is for additions only.
struct EntryRequest {
    nlmsghdr header{};
    br_port_msg body{};
    nlattr entry_header{sizeof(nlattr) + sizeof(br_mdb_entry), MDBA_SET_ENTRY};
    br_mdb_entry entry{};
    nlattr more{2 * sizeof(nlattr) + sizeof(std::uint32_t), MDBA_SET_ENTRY_ATTRS | NLA_F_NESTED};
    nlattr protocol_header{sizeof(nlattr) + sizeof(std::uint8_t), kEntryProtocol};
    std::uint8_t protocol = 0;
    std::array<std::uint8_t, 3> padding{};
};
// Netlink pads to 4 bytes, and the compiler does not pad more.
static_assert(sizeof(EntryRequest) == sizeof(nlmsghdr) + sizeof(br_port_msg) + 3 * sizeof(nlattr) +
                                          sizeof(br_mdb_entry) + sizeof(std::uint32_t));

br_mdb_entry entry_of(int port, const Group& group) {
    br_mdb_entry entry{};
    entry.ifindex = static_cast<std::uint32_t>(port);
    entry.state = MDB_PERMANENT;
    if (group.family == mcore::Family::kIpv4) {
        entry.addr.proto = htons(ETH_P_IP);
        std::memcpy(&entry.addr.u.ip4, group.address.data(), sizeof entry.addr.u.ip4);
    } else {
        entry.addr.proto = htons(ETH_P_IPV6);
        std::memcpy(&entry.addr.u.ip6, group.address.data(), sizeof entry.addr.u.ip6);
    }
    return entry;
}

EntryRequest request_for(std::uint16_t type, int bridge, int port, const Group& group,
                         std::uint8_t protocol = kOwnProtocol) {
    EntryRequest request;
    request.header.nlmsg_len = sizeof request;
    request.header.nlmsg_type = type;
    request.header.nlmsg_flags = NLM_F_REQUEST;
    request.body.family = AF_BRIDGE;
    request.body.ifindex = static_cast<std::uint32_t>(bridge);
    request.entry = entry_of(port, group);
    request.protocol = protocol;
    return request;
}

std::size_t size_of(mcore::Family family) {
    return family == mcore::Family::kIpv4 ? sizeof(in_addr) : sizeof(in6_addr);
}

void put_sources(nlmsghdr* header, const Group& group, const mcore::Filter& filter) {
    nlattr* const list = mnl_attr_nest_start(header, kEntrySources);
    for (const mcore::Address& source : filter.sources) {
        nlattr* const one = mnl_attr_nest_start(header, kEntrySource);
        mnl_attr_put(header, kEntrySourceAddress, size_of(group.family), source.data());
        mnl_attr_nest_end(header, one);
    }
    mnl_attr_nest_end(header, list);
}

// Nothing for an entry of another kind than by IP group.
std::optional<DatabaseEntry> read_entry(const nlattr& info) {
    if (mnl_attr_get_payload_len(&info) < sizeof(br_mdb_entry)) return std::nullopt;
    br_mdb_entry raw;
    std::memcpy(&raw, mnl_attr_get_payload(&info), sizeof raw);
    DatabaseEntry entry;
    entry.port = static_cast<int>(raw.ifindex);
    entry.permanent = raw.state == MDB_PERMANENT;
    if (raw.addr.proto == htons(ETH_P_IP)) {
        std::memcpy(entry.group.address.data(), &raw.addr.u.ip4, sizeof raw.addr.u.ip4);
    } else if (raw.addr.proto == htons(ETH_P_IPV6)) {
        entry.group.family = mcore::Family::kIpv6;
        std::memcpy(entry.group.address.data(), &raw.addr.u.ip6, sizeof raw.addr.u.ip6);
    } else {
        return std::nullopt;
    }
    each_behind(info, sizeof raw, [&entry](const nlattr& one) {
        if (mnl_attr_get_type(&one) == MDBA_MDB_EATTR_RTPROT) {
            entry.protocol = mnl_attr_get_u8(&one);
            entry.ours = entry.protocol == kOwnProtocol;
        } else if (mnl_attr_get_type(&one) == MDBA_MDB_EATTR_SRC_LIST) {
            entry.lists_sources = true;
        } else if (mnl_attr_get_type(&one) == MDBA_MDB_EATTR_SOURCE) {
            const std::size_t size = mnl_attr_get_payload_len(&one);
            std::memcpy(entry.source.data(), mnl_attr_get_payload(&one),
                        std::min(size, entry.source.size()));
        }
    });
    return entry;
}

// A message holds a table of groups of entries, whether it is an answer or news.
void each_entry(const nlmsghdr& message, const std::function<void(const DatabaseEntry&)>& each) {
    const Attribute each_info = [&each](const nlattr& info) {
        if (const auto entry = read_entry(info)) each(*entry);
    };
    const Attribute each_group = [&](const nlattr& group) { each_nested(group, each_info); };
    each_attribute(message, sizeof(br_port_msg), [&](const nlattr& table) {
        if (mnl_attr_get_type(&table) == MDBA_MDB) each_nested(table, each_group);
    });
}

int bridge_of(const nlmsghdr& message) {
    return static_cast<int>(
        static_cast<const br_port_msg*>(mnl_nlmsg_get_payload(&message))->ifindex);
}

// In the kernel, so that nobody is woken by the entries that joins make.
void let_only_removals_through(int descriptor) {
    // The filter reads in network byte order what stands there in the machine's.
    const std::uint16_t removal = htons(RTM_DELMDB);
    std::array<sock_filter, 4> steps{{
        BPF_STMT(BPF_LD | BPF_H | BPF_ABS, offsetof(nlmsghdr, nlmsg_type)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, removal, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, 0xFFFFFFFF),
        BPF_STMT(BPF_RET | BPF_K, 0),
    }};
    const sock_fprog program{steps.size(), steps.data()};
    if (setsockopt(descriptor, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program) != 0) {
        throw LiveError(std::string("SO_ATTACH_FILTER: ") + std::strerror(errno));
    }
}

}  // namespace

int MulticastDatabase::make_for_all(const Change& change, bool tells_protocol) {
    EntryRequest request = request_for(RTM_NEWMDB, change.bridge, change.port, change.group);
    request.header.nlmsg_flags |= change.flags;
    if (!tells_protocol) request.header.nlmsg_len = offsetof(EntryRequest, more);
    return netlink_.tell(request.header);
}

int MulticastDatabase::make_with_sources(const Change& change) {
    Request request(RTM_NEWMDB, change.flags, sizeof(br_port_msg));
    auto& body = request.body<br_port_msg>();
    body.family = AF_BRIDGE;
    body.ifindex = static_cast<std::uint32_t>(change.bridge);
    nlmsghdr* const header = request.header();
    const br_mdb_entry entry = entry_of(change.port, change.group);
    mnl_attr_put(header, MDBA_SET_ENTRY, sizeof entry, &entry);
    nlattr* const more = mnl_attr_nest_start(header, MDBA_SET_ENTRY_ATTRS);
    put_sources(header, change.group, change.filter);
    mnl_attr_put_u8(header, kEntryMode, change.filter.exclude ? MCAST_EXCLUDE : MCAST_INCLUDE);
    mnl_attr_put_u8(header, kEntryProtocol, kOwnProtocol);
    mnl_attr_nest_end(header, more);
    return netlink_.tell(*header);
}

// What a kernel does not understand it calls invalid. So may it call a port, for example, which is
// no better off when less is said.
int MulticastDatabase::make(const Change& change) {
    for (Speech with = speech_;; with = static_cast<Speech>(static_cast<int>(with) - 1)) {
        const bool names_sources = with == Speech::kSources && !wants_all(change.filter);
        const int error = names_sources ? make_with_sources(change)
                                        : make_for_all(change, with != Speech::kPlain);
        if (error == 0) speech_ = with;
        if (error != EINVAL || with == Speech::kPlain) return error;
    }
}

int MulticastDatabase::add(int bridge, int port, const Group& group, const mcore::Filter& filter) {
    return make({bridge, port, group, filter, NLM_F_CREATE | NLM_F_EXCL});
}

int MulticastDatabase::replace(int bridge, int port, const Group& group,
                               const mcore::Filter& filter) {
    return make({bridge, port, group, filter, NLM_F_CREATE | NLM_F_REPLACE});
}

int MulticastDatabase::renew(int bridge, const DatabaseEntry& entry) {
    EntryRequest request = request_for(RTM_NEWMDB, bridge, entry.port, entry.group, entry.protocol);
    request.header.nlmsg_flags |= NLM_F_REPLACE;
    return netlink_.tell(request.header);
}

int MulticastDatabase::remove(int bridge, int port, const Group& group) {
    EntryRequest request = request_for(RTM_DELMDB, bridge, port, group);
    request.header.nlmsg_len = offsetof(EntryRequest, more);
    return netlink_.tell(request.header);
}

std::vector<DatabaseEntry> MulticastDatabase::entries(int bridge) {
    std::vector<DatabaseEntry> entries;
    Request request(RTM_GETMDB, NLM_F_DUMP, sizeof(br_port_msg));
    request.body<br_port_msg>().family = AF_BRIDGE;
    const int error = netlink_.ask(request, [&](const nlmsghdr& message) {
        if (bridge_of(message) != bridge) return;
        each_entry(message, [&entries](const DatabaseEntry& one) { entries.push_back(one); });
    });
    // A bridge that is gone has none.
    if (error != 0) entries.clear();
    return entries;
}

RemovalNews::RemovalNews() : socket_(open_netlink(NETLINK_ROUTE, 1U << (RTNLGRP_MDB - 1))) {
    let_only_removals_through(descriptor());
}

int RemovalNews::descriptor() const { return mnl_socket_get_fd(socket_.get()); }

bool RemovalNews::take(const Removed& removed) {
    return take_news(descriptor(), [&removed](const nlmsghdr& message) {
        if (message.nlmsg_type != RTM_DELMDB) return;  // came before the filter did
        each_entry(message, [&](const DatabaseEntry& one) { removed(bridge_of(message), one); });
    });
}

}  // namespace live
