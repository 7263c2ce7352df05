#include "bench/stream_sender.h"

#include <algorithm>
#include <cstddef>
#include <ctime>

namespace bench {

StreamSender::StreamSender(const Place& where, std::int64_t period_ns, int cpu)
    : socket_(raw_sender(where)), period_ns_(period_ns), cpu_(cpu), thread_([this] { work(); }) {}

StreamSender::~StreamSender() {
    over_ = true;
    wanted_ = false;
    go_.release();
    thread_.join();
}

void StreamSender::start(Kind kind, std::uint32_t group) {
    frame_ = stream(kind, group);
    wanted_ = true;
    go_.release();
}

void StreamSender::stop() {
    wanted_ = false;
    stopped_.acquire();
    if (problem_) std::rethrow_exception(problem_);
}

std::int64_t StreamSender::longest_pause(std::int64_t from_ns, std::int64_t to_ns) const {
    std::int64_t longest = 0;
    for (std::size_t i = 1; i < sent_ns_.size(); ++i) {
        if (sent_ns_[i] < from_ns || sent_ns_[i - 1] > to_ns) continue;
        longest = std::max(longest, sent_ns_[i] - sent_ns_[i - 1]);
    }
    return longest;
}

void StreamSender::work() {
    bool bound = false;
    for (;;) {
        go_.acquire();
        if (over_) return;
        try {
            if (!bound) rule_cpu(cpu_);
            bound = true;
            send_stream();
        } catch (...) {
            problem_ = std::current_exception();
        }
        stopped_.release();
    }
}

void StreamSender::send_stream() {
    sent_ns_.clear();
    std::int64_t due = 0;
    while (wanted_) {
        const std::int64_t now = now_ns(CLOCK_REALTIME);
        if (now < due) continue;
        sent_ns_.push_back(now);
        send(socket_, frame_);
        // A late frame is not made up for: frames in a row would not be the pace that was asked
        // for.
        due = std::max(due, now - period_ns_) + period_ns_;
    }
}

}  // namespace bench
