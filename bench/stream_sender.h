// A thread that sends one stream at an even pace while it is wanted. It does not sleep between
// frames: what a sleeping task needs to wake up would be many times the stream's period.
#pragma once

#include <atomic>
#include <cstdint>
#include <exception>
#include <semaphore>
#include <thread>
#include <vector>

#include "bench/frames.h"
#include "bench/sockets.h"

namespace bench {

class StreamSender {
 public:
    StreamSender(const Place& where, std::int64_t period_ns, int cpu);
    StreamSender(const StreamSender&) = delete;
    StreamSender& operator=(const StreamSender&) = delete;
    ~StreamSender();

    void start(Kind kind, std::uint32_t group);
    void stop();  // throws what went wrong in the thread

    // The longest pause between two frames that touches this time, of the real-time clock: so much
    // of a delay seen in it may be the sender's own. Asked while stopped, of the last start.
    [[nodiscard]] std::int64_t longest_pause(std::int64_t from_ns, std::int64_t to_ns) const;

 private:
    void work();
    void send_stream();

    Descriptor socket_;
    std::int64_t period_ns_;
    int cpu_;
    Frame frame_;
    std::vector<std::int64_t> sent_ns_;
    std::exception_ptr problem_;
    std::atomic<bool> wanted_ = false;
    bool over_ = false;
    std::binary_semaphore go_{0};
    std::binary_semaphore stopped_{0};
    std::thread thread_;
};

}  // namespace bench
