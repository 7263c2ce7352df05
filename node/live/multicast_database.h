// The multicast database of a Linux bridge (what "bridge mdb" shows), over rtnetlink. Entries of
// the node are permanent, without a VLAN, and carry a protocol number of their own: a bridge
// without VLAN filtering matches no entry with a VLAN, and a later run tells by the number what an
// earlier one has left behind.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "node/core/multicast_core.h"
#include "node/live/netlink.h"

namespace live {

struct Group {
    mcore::Family family = mcore::Family::kIpv4;
    mcore::Address address{};

    auto operator<=>(const Group&) const = default;
};

// The most sources that the kernel takes for a port and group (PG_SRC_ENT_LIMIT, less one).
constexpr std::size_t kMostSources = 31;

struct DatabaseEntry {
    int port = 0;  // interface index
    Group group;
    mcore::Address source{};  // all 0: of the group as a whole
    bool permanent = false;
    bool lists_sources = false;
    bool ours = false;
    std::uint8_t protocol = 0;
};

class MulticastDatabase {
 public:
    explicit MulticastDatabase(Netlink& netlink) : netlink_(netlink) {}

    // 0, or the errno of the refusal: EEXIST when the port has the group already. Of an entry with
    // sources the kernel makes entries of its own for each (group, source), which go with it.
    [[nodiscard]] int add(int bridge, int port, const Group& group, const mcore::Filter& filter);
    // Another filter, for an entry that is there.
    [[nodiscard]] int replace(int bridge, int port, const Group& group,
                              const mcore::Filter& filter);
    [[nodiscard]] int remove(int bridge, int port, const Group& group);

    // The same entry once more, which is of all sources: the kernel then looks again which entries
    // of sources the port belongs to.
    [[nodiscard]] int renew(int bridge, const DatabaseEntry& entry);

    // Whether filters are heeded: not by older kernels, where each entry is of all sources.
    [[nodiscard]] bool takes_sources() const { return speech_ == Speech::kSources; }

    [[nodiscard]] std::vector<DatabaseEntry> entries(int bridge);

 private:
    // What the kernel understands, until it turns out to be older than that.
    enum class Speech : std::uint8_t { kPlain, kProtocol, kSources };

    struct Change {
        int bridge;
        int port;
        const Group& group;
        const mcore::Filter& filter;
        std::uint16_t flags;
    };

    [[nodiscard]] int make(const Change& change);
    [[nodiscard]] int make_with_sources(const Change& change);
    [[nodiscard]] int make_for_all(const Change& change, bool tells_protocol);

    Netlink& netlink_;
    Speech speech_ = Speech::kSources;
};

// The kernel's news of entries that are gone, whoever has removed them. Of those that are made,
// which is what every join does, it tells nothing.
class RemovalNews {
 public:
    using Removed = std::function<void(int bridge, const DatabaseEntry& entry)>;

    // Throws LiveError.
    RemovalNews();

    // Readable when there is news.
    [[nodiscard]] int descriptor() const;

    // Takes what has come, without waiting. False: some were lost for want of room.
    [[nodiscard]] bool take(const Removed& removed);

 private:
    NetlinkSocket socket_;
};

}  // namespace live
