#include "node/capture/capture_driver.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "node/driver/frame_origin.h"
#include "node/driver/trap_filter.h"

namespace capture {
namespace {

constexpr std::uint64_t kNanosecondsPerMicrosecond = 1000;

// Counts a frame by its kind; true if the trap passes it on.
bool count(const MergedFrame& merged, FramesIn& counters) {
    const CapturedFrame& frame = merged.frame;
    const bool cut = frame.bytes.size() < frame.length;
    const driver::TrapVerdict verdict = driver::classify(frame.bytes);
    const bool is_untold = verdict == driver::TrapVerdict::kTooShort && !cut;
    std::optional<driver::Refusal> refused;
    if (verdict == driver::TrapVerdict::kOther || is_untold) {
        ++counters.not_trapped;
    } else if (cut) {
        ++counters.truncated;
    } else if (frame.length > driver::kLongestFrame) {
        ++counters.too_long;
    } else if ((refused = driver::refuse(frame.bytes, merged.port == driver::kUplinkPort))) {
        counters.refused.count(*refused);
    } else {
        ++(verdict == driver::TrapVerdict::kIgmp ? counters.igmp : counters.mld);
        return true;
    }
    return false;
}

}  // namespace

Driver& Driver::instance() {
    static Driver& driver = *new Driver;
    return driver;
}

void Driver::prepare(Replay replay) {
    driver::use(*this);
    merge_ = replay.split ? CaptureMerge(replay.inputs.front().file, *replay.split)
                          : CaptureMerge(replay.inputs);
    progress_.total_bytes = merge_.size();
    if (replay.output) writer_.emplace(*replay.output, replay.inputs);
    replay_ = std::move(replay);
    std::ranges::stable_sort(replay_.events, {}, &Event::after_us);
    if (const auto first_ns = merge_.first_stamp_ns()) {
        first_us_ = *first_ns / kNanosecondsPerMicrosecond;
        set_clock(first_us_);
    }
}

void Driver::start() {
    const std::lock_guard lock(mutex_);
    started_ = true;
    changed_.notify_all();
}

void Driver::stop() { stopping_ = true; }

bool Driver::wait_until_finished(std::chrono::milliseconds patience) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, patience, [this] { return finished_; });
}

Report Driver::report() {
    const std::lock_guard lock(mutex_);
    Report report{counters_, table_, span_, merge_.split(), {}};
    if (report.span) report.span->end_us = now_us_;
    if (finished_) report.failures = merge_.damage();
    if (writer_) {
        for (std::string& line : writer_->flush()) report.failures.push_back(std::move(line));
    }
    return report;
}

Progress Driver::progress() {
    const std::lock_guard lock(mutex_);
    return progress_;
}

std::optional<driver::Delivery> Driver::read(std::span<std::uint8_t> buf) {
    driver::forget_origin();
    wait_for_start();
    count_last_frame();
    while (!stopping_) {
        const std::optional<MergedFrame> merged = merge_.next();
        if (!merged) break;
        if (!admit(*merged)) continue;
        const CapturedFrame& frame = merged->frame;
        advance_to(frame.stamp_ns / kNanosecondsPerMicrosecond);
        std::ranges::copy(frame.bytes, buf.begin());
        driver::note_origin(merged->file, merged->number, frame.bytes);
        driver::take_in_hand(*driver::slot_of_port(merged->port), frame.bytes);
        return driver::Delivery{merged->port, frame.length};
    }
    finish();
    return std::nullopt;
}

bool Driver::send(std::int64_t port, std::span<const std::uint8_t> frame) {
    driver::note_sent();
    const std::lock_guard lock(mutex_);
    const std::optional<std::size_t> slot = driver::slot_of_port(port);
    if (!slot) {
        ++counters_.send_invalid_port;
        return false;
    }
    if (frame.data() == nullptr || frame.empty()) {
        ++counters_.send_empty;
        return false;
    }
    const bool written = !writer_ || writer_->write(*slot, now_us_, frame);
    ++(written ? counters_.out[*slot].sent : counters_.out[*slot].failed);
    return written;
}

bool Driver::set_entry(std::int64_t port, const driver::MacAddress& mac, std::uint16_t vlan) {
    const std::lock_guard lock(mutex_);
    if (!driver::slot_of_port(port)) {
        ++table_.invalid_port;
        return false;
    }
    table_.set({static_cast<std::uint8_t>(port), vlan, mac});
    return true;
}

bool Driver::remove_entry(std::int64_t port, const driver::MacAddress& mac, std::uint16_t vlan) {
    const std::lock_guard lock(mutex_);
    if (!driver::slot_of_port(port)) {
        ++table_.invalid_port;
        return false;
    }
    table_.remove({static_cast<std::uint8_t>(port), vlan, mac});
    return true;
}

void Driver::wait_for_start() {
    asked_for_frames_ = true;
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return started_; });
}

// Whoever asks for a frame is done with the one before.
void Driver::count_last_frame() {
    const auto fate = driver::put_down();
    if (!fate) return;
    const std::lock_guard lock(mutex_);
    driver::count(*fate, counters_.in[fate->slot].fates);
}

// Counts a frame as it comes off its capture; true if the trap passes it on.
bool Driver::admit(const MergedFrame& merged) {
    const CapturedFrame& frame = merged.frame;
    const std::lock_guard lock(mutex_);
    ++progress_.frames;
    progress_.bytes = merge_.position();
    FramesIn& counters = counters_.in[*driver::slot_of_port(merged.port)];
    note_stamp(frame.stamp_ns / kNanosecondsPerMicrosecond, counters);
    return count(merged, counters);
}

void Driver::note_stamp(std::uint64_t stamp_us, FramesIn& counters) {
    if (!span_) span_ = TimeSpan{stamp_us, stamp_us, stamp_us};
    if (stamp_us < span_->last_us) ++counters.out_of_order;
    span_->last_us = std::max(span_->last_us, stamp_us);
}

// Lets timers and events come to pass, in the order of their times; a timer before an event.
void Driver::advance_to(std::uint64_t target_us) {
    while (!stopping_ && next_event_ < replay_.events.size()) {
        const Event& event = replay_.events[next_event_];
        if (first_us_ + event.after_us > target_us) break;
        run_clock_to(first_us_ + event.after_us);
        ++next_event_;
        event.run();
    }
    run_clock_to(target_us);
}

// Timers run one by one, each with the clock at its own time, so that what they send carries that
// stamp. Time never goes back: a frame out of order is delivered at the time already reached.
void Driver::run_clock_to(std::uint64_t target_us) {
    while (!stopping_) {
        const std::optional<std::uint64_t> due = replay_.clock.next_timer();
        if (!due || *due > target_us) break;
        set_clock(*due);
        // A timer that is still the next one after its time came would hold the clock for ever.
        if (replay_.clock.next_timer() == due) break;
    }
    set_clock(target_us);
}

void Driver::set_clock(std::uint64_t now_us) {
    {
        const std::lock_guard lock(mutex_);
        now_us_ = std::max(now_us_, now_us);
        now_us = now_us_;
    }
    replay_.clock.set(now_us);
}

void Driver::finish() {
    std::optional<std::uint64_t> last_us;
    {
        const std::lock_guard lock(mutex_);
        if (span_) last_us = span_->last_us;
    }
    if (last_us && !stopping_) advance_to(*last_us + replay_.tail_us);

    const std::lock_guard lock(mutex_);
    finished_ = true;
    changed_.notify_all();
}

}  // namespace capture
