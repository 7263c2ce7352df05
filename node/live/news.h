// What may have changed at the bridge without the node: links and addresses, entries of the
// multicast database, rules. The kernel tells; nothing is looked at that it does not tell of.
#pragma once

#include <functional>

#include "node/live/multicast_database.h"
#include "node/live/netlink.h"
#include "node/live/rule_news.h"

namespace live {

// Who is asked about the news.
struct NewsReader {
    // An entry is gone from the database of a bridge: whether the node needs it.
    std::function<bool(int bridge, const DatabaseEntry& entry)> is_needed;
    // Entries are gone, it is not known which.
    std::function<void()> entries_lost;
    // The rules of the node may have been changed.
    std::function<void()> rules_touched;
};

class News {
 public:
    // Throws LiveError.
    explicit News(NewsReader reader);

    // Readable when there is news.
    [[nodiscard]] int descriptor() const { return epoll_; }

    // Takes what has come, without waiting; whether it is time to look at the bridge.
    [[nodiscard]] bool take();

 private:
    [[nodiscard]] bool take_removals();

    NewsReader reader_;
    LinkNews links_;
    RemovalNews removals_;
    RuleNews rules_;
    int epoll_;  // over the three
};

}  // namespace live
