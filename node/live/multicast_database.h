// The multicast database of a Linux bridge (what "bridge mdb" shows), over rtnetlink. Entries of
// the node are permanent, without a VLAN, and carry a protocol number of their own: a bridge
// without VLAN filtering matches no entry with a VLAN, and a later run tells by the number what an
// earlier one has left behind.
#pragma once

#include <compare>
#include <vector>

#include "node/core/multicast_core.h"
#include "node/live/netlink.h"

namespace live {

struct Group {
    mcore::Family family = mcore::Family::kIpv4;
    mcore::Address address{};

    auto operator<=>(const Group&) const = default;
};

struct DatabaseEntry {
    int port = 0;  // interface index
    Group group;
    bool permanent = false;
    bool ours = false;
};

class MulticastDatabase {
 public:
    explicit MulticastDatabase(Netlink& netlink) : netlink_(netlink) {}

    // 0, or the errno of the refusal: EEXIST when the port has the group already.
    [[nodiscard]] int add(int bridge, int port, const Group& group);
    [[nodiscard]] int remove(int bridge, int port, const Group& group);

    [[nodiscard]] std::vector<DatabaseEntry> entries(int bridge);

 private:
    [[nodiscard]] int change(bool add, int bridge, int port, const Group& group);

    Netlink& netlink_;
    bool tells_protocol_ = true;  // until the kernel turns out to be older than that
};

}  // namespace live
