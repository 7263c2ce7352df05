// The L2 multicast driver over capture files. It plays the switch of a replay: one capture a port
// comes in, merged by time; the trap passes IGMP and MLD frames to the processor; frames sent go to
// one capture a port; forwarding entries go to a table.
//
// The core's time is the time of the captures: before a frame is delivered the clock moves to its
// stamp, one due timer after the other. A replay is as fast as the code it drives, and two replays
// of the same captures are the same, because everything happens on the packet task.
//
//      main task                       packet task (inside L2_multicast_read_msg)
//      prepare()
//      IgmpInit()  ----- creates ----> waits
//      start()     ------------------> frame, frame, ..., the end, the last timers
//      wait_until_finished() <-------- finished, then blocked for good
//      report()
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "node/capture/capture_merge.h"
#include "node/capture/capture_writer.h"
#include "node/capture/switch_table.h"
#include "node/driver/driver.h"
#include "node/driver/frame_check.h"
#include "node/driver/frame_fate.h"
#include "node/driver/ports.h"

namespace capture {

// The core's clock, in microseconds since the epoch.
struct CoreClock {
    std::function<void(std::uint64_t now_us)> set;             // moves it and runs what is due
    std::function<std::optional<std::uint64_t>()> next_timer;  // when the next timer is due
};

// Something that happens during a replay, between the frames: whatever was received up to its time
// is through, later frames are not. It runs on the packet task, so that a replay stays repeatable.
struct Event {
    std::uint64_t after_us;  // since the first stamp of the captures
    std::function<void()> run;
};

struct Replay {
    std::vector<Input> inputs;  // no port twice; to be split: one, whose port says nothing
    std::optional<std::filesystem::path>
        output;  // folder; without one, frames sent are only counted
    std::uint8_t onu_id = 1;
    std::uint64_t tail_us = 0;  // how long timers run on after the last frame
    CoreClock clock;
    std::vector<Event> events{};  // in any order; those behind the last frame run within the tail
    std::optional<SplitRules> split{};
};

// Frames of one capture. Each is in exactly one of the six kinds.
struct FramesIn {
    std::uint64_t igmp = 0;
    std::uint64_t mld = 0;
    std::uint64_t not_trapped = 0;
    std::uint64_t too_long = 0;   // above kLongestFrame
    std::uint64_t truncated = 0;  // the capture holds only the beginning of the frame
    driver::RefusalCounts refused{};

    std::uint64_t out_of_order = 0;  // of all these: older than a frame before it
    driver::FateCounts fates{};      // of those that the library took, IGMP and MLD

    [[nodiscard]] std::uint64_t total() const {
        return igmp + mld + not_trapped + too_long + truncated + refused.total();
    }
};

struct FramesOut {
    std::uint64_t sent = 0;
    std::uint64_t failed = 0;  // the output capture did not take it
};

struct Counters {
    driver::PerPort<FramesIn> in{};
    driver::PerPort<FramesOut> out{};
    std::uint64_t send_invalid_port = 0;  // refused: the switch has no such port
    std::uint64_t send_empty = 0;         // refused: no frame, or no bytes
};

struct TimeSpan {
    std::uint64_t first_us;
    std::uint64_t last_us;  // of the frames
    std::uint64_t end_us;   // the core's time at the end, with the tail
};

// How far a replay came.
struct Progress {
    std::uint64_t frames = 0;
    std::uint64_t bytes = 0;                     // of the capture files as they are stored, roughly
    std::optional<std::uint64_t> total_bytes{};  // nothing when a file does not say, as a pipe
};

struct Report {
    Counters counters;
    SwitchTable table;
    std::optional<TimeSpan> span;       // nothing if no frame was read
    std::optional<Split> split;         // of one capture
    std::vector<std::string> failures;  // captures that broke, outputs that are incomplete
};

class Driver final : public driver::Driver {
 public:
    // There is one, and it is never destroyed: tasks outlive main.
    static Driver& instance();

    // Becomes the chosen driver, opens captures and outputs and sets the core's clock to the first
    // stamp, so that start-up happens in the time of the captures too. Throws CaptureError.
    void prepare(Replay replay);

    // Lets the packet task have frames.
    void start();

    // No more frames: the replay finishes at the next read.
    void stop();

    // True once the captures are at their end and the last timers have run.
    [[nodiscard]] bool wait_until_finished(std::chrono::milliseconds patience);

    [[nodiscard]] Report report();

    [[nodiscard]] bool asked_for_frames() const { return asked_for_frames_; }
    [[nodiscard]] Progress progress();

    // ---- What the L2_multicast_ functions do ----

    // The next trapped frame, in buf; nothing once the replay is finished.
    [[nodiscard]] std::optional<driver::Delivery> read(std::span<std::uint8_t> buf) override;
    [[nodiscard]] bool send(std::int64_t port, std::span<const std::uint8_t> frame) override;
    [[nodiscard]] bool set_entry(std::int64_t port, const driver::MacAddress& mac,
                                 std::uint16_t vlan) override;
    [[nodiscard]] bool remove_entry(std::int64_t port, const driver::MacAddress& mac,
                                    std::uint16_t vlan) override;
    [[nodiscard]] std::uint8_t onu_id() const override { return replay_.onu_id; }

    // For events, which run on the packet task.
    void set_onu_id(std::uint8_t onu_id) override { replay_.onu_id = onu_id; }

 private:
    void wait_for_start();
    void count_last_frame();
    [[nodiscard]] bool admit(const MergedFrame& merged);
    void note_stamp(std::uint64_t stamp_us, FramesIn& counters);
    void advance_to(std::uint64_t target_us);
    void run_clock_to(std::uint64_t target_us);
    void set_clock(std::uint64_t now_us);
    void finish();

    // Set by prepare(), then the packet task's alone.
    Replay replay_;
    CaptureMerge merge_;
    std::uint64_t first_us_ = 0;  // the first stamp of the captures
    std::size_t next_event_ = 0;  // of replay_.events, by then in the order of their times

    std::atomic<bool> asked_for_frames_ = false;
    std::atomic<bool> stopping_ = false;

    // Everything below is read and written under the mutex, which is never held while the core
    // runs.
    std::mutex mutex_;
    std::condition_variable changed_;
    bool started_ = false;
    bool finished_ = false;
    std::optional<CaptureWriter> writer_;
    Counters counters_;
    SwitchTable table_;
    std::optional<TimeSpan> span_;
    Progress progress_;
    std::uint64_t now_us_ = 0;
};

}  // namespace capture
