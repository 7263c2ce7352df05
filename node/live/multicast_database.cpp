#include "node/live/multicast_database.h"

#include <arpa/inet.h>
#include <libmnl/libmnl.h>
#include <linux/if_bridge.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

namespace live {
namespace {

// Newer than the headers of Debian 12; older kernels refuse it.
constexpr std::uint16_t kEntryProtocol = 4;  // MDBE_ATTR_RTPROT

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
    std::uint8_t protocol = kOwnProtocol;
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
        if (mnl_attr_get_type(&one) != MDBA_MDB_EATTR_RTPROT) return;
        entry.ours = mnl_attr_get_u8(&one) == kOwnProtocol;
    });
    return entry;
}

}  // namespace

int MulticastDatabase::change(bool add, int bridge, int port, const Group& group) {
    EntryRequest request;
    const bool is_long = add && tells_protocol_;
    request.header.nlmsg_len = is_long ? sizeof request : offsetof(EntryRequest, more);
    request.header.nlmsg_type = add ? RTM_NEWMDB : RTM_DELMDB;
    request.header.nlmsg_flags = NLM_F_REQUEST;
    if (add) request.header.nlmsg_flags |= NLM_F_CREATE | NLM_F_EXCL;
    request.body.family = AF_BRIDGE;
    request.body.ifindex = static_cast<std::uint32_t>(bridge);
    request.entry = entry_of(port, group);
    return netlink_.tell(request.header);
}

int MulticastDatabase::add(int bridge, int port, const Group& group) {
    const int error = change(true, bridge, port, group);
    if (error != EINVAL || !tells_protocol_) return error;
    tells_protocol_ = false;
    const int error_without = change(true, bridge, port, group);
    // The protocol was not the reason.
    if (error_without == EINVAL) tells_protocol_ = true;
    return error_without;
}

int MulticastDatabase::remove(int bridge, int port, const Group& group) {
    return change(false, bridge, port, group);
}

std::vector<DatabaseEntry> MulticastDatabase::entries(int bridge) {
    std::vector<DatabaseEntry> entries;
    // A table of groups of entries.
    const Attribute each_entry = [&entries](const nlattr& info) {
        if (const auto entry = read_entry(info)) entries.push_back(*entry);
    };
    const Attribute each_group = [&](const nlattr& group) { each_nested(group, each_entry); };
    const Attribute each_table = [&](const nlattr& table) {
        if (mnl_attr_get_type(&table) == MDBA_MDB) each_nested(table, each_group);
    };
    Request request(RTM_GETMDB, NLM_F_DUMP, sizeof(br_port_msg));
    request.body<br_port_msg>().family = AF_BRIDGE;
    const int error = netlink_.ask(request, [&](const nlmsghdr& message) {
        const auto& header = *static_cast<const br_port_msg*>(mnl_nlmsg_get_payload(&message));
        if (static_cast<int>(header.ifindex) != bridge) return;
        each_attribute(message, sizeof(br_port_msg), each_table);
    });
    // A bridge that is gone has none.
    if (error != 0) entries.clear();
    return entries;
}

}  // namespace live
