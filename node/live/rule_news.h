// nftables' news of the node's own tables: that somebody, the node or another, has changed them.
#pragma once

#include "node/live/netlink.h"

namespace live {

class RuleNews {
 public:
    // Throws LiveError.
    RuleNews();

    // Readable when there is news of any table.
    [[nodiscard]] int descriptor() const;

    // Takes what has come, without waiting; whether a table of the node was named.
    [[nodiscard]] bool take();

 private:
    NetlinkSocket socket_;
};

}  // namespace live
