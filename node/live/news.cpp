#include "node/live/news.h"

#include <sys/epoll.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include "node/live/live_error.h"

namespace live {
namespace {

void listen_to(int epoll, int descriptor) {
    epoll_event event{};
    event.events = EPOLLIN;
    if (epoll_ctl(epoll, EPOLL_CTL_ADD, descriptor, &event) != 0) {
        throw LiveError(std::string("epoll: ") + std::strerror(errno));
    }
}

}  // namespace

News::News(NewsReader reader) : reader_(std::move(reader)), epoll_(epoll_create1(EPOLL_CLOEXEC)) {
    listen_to(epoll_, links_.descriptor());
    listen_to(epoll_, removals_.descriptor());
    listen_to(epoll_, rules_.descriptor());
}

bool News::take() {
    const bool of_links = links_.take();
    const bool of_entries = take_removals();
    const bool of_rules = rules_.take();
    if (of_rules) reader_.rules_touched();
    return of_links || of_entries || of_rules;
}

// The node's own removals come here too: what it has removed it does not need.
bool News::take_removals() {
    bool is_any_needed = false;
    const bool is_whole = removals_.take([&](int bridge, const DatabaseEntry& entry) {
        is_any_needed = reader_.is_needed(bridge, entry) || is_any_needed;
    });
    if (!is_whole) reader_.entries_lost();
    return is_any_needed || !is_whole;
}

}  // namespace live
