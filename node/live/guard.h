// Keeps the bridge out of the node's business, with two nftables tables of the network namespace,
// both named mc_node.
//
// In the bridge family IGMP and MLD stop in front of the bridge, which would forward them and learn
// from them; packet sockets have heard them by then. The queries that the bridge makes itself,
// which it must do for its database to be in effect, do not leave it. While it does not heed its
// database it floods: the rules can hold streams back for that time.
//
// In the netdev family IPv6 multicast of link-local scope is passed on. A bridge with a querier
// sends what is for an unknown group to router ports only, ff02::/16 but for ff02::1 included,
// because hosts report these groups too. As their reports do not reach it, neighbour discovery
// would end at the bridge. So each port passes such frames on to the user ports, and the bridge
// device what this machine sends.
#pragma once

#include <memory>
#include <string>
#include <vector>

struct nft_ctx;

namespace live {

// Of both tables.
inline constexpr const char* kTableName = "mc_node";

struct GuardedPort {
    std::string interface;
    bool gets_everything = false;  // from the bridge: the uplink, and where routers are
    bool isolated = false;         // keeps apart from other isolated ports
    bool is_there = false;         // in the bridge now
};

struct GuardedBridge {
    std::string name;  // empty: it is not there
    bool is_flooding = false;
    std::vector<GuardedPort> ports;
};

// What nft is told.
[[nodiscard]] std::string guard_rules(const GuardedBridge& bridge);

class Guard {
 public:
    Guard();

    // Puts the rules in force, in place of earlier ones; nothing, or why not in one line.
    [[nodiscard]] std::string put_up(const std::string& rules);
    // Whether they are in force as they were put up; somebody else may change them too.
    [[nodiscard]] bool is_untouched();
    // Does nothing when they are not in force.
    void take_down();
    // Removes the tables, whoever has left them; nothing, or why not.
    [[nodiscard]] std::string clear();

 private:
    struct Free {
        void operator()(nft_ctx* context) const;
    };

    [[nodiscard]] std::string run(const std::string& commands);
    [[nodiscard]] std::string list();

    std::unique_ptr<nft_ctx, Free> nft_;
    bool is_up_ = false;
    std::string listing_;  // the tables as nftables shows them when they have just been put up
};

}  // namespace live
