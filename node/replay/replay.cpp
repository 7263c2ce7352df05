#include "node/replay/replay.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>

#include "adapt/adapt.h"
#include "adapt/records.h"
#include "node/capture/capture_driver.h"
#include "node/console/protocol.h"
#include "node/console/server.h"
#include "node/core/multicast_core.h"
#include "node/driver/host.h"
#include "node/replay/progress_line.h"
#include "node/replay/replay_summary.h"
#include "node/replay/timed_commands.h"
#include "node/report/console.h"
#include "node/timeline/recording.h"

namespace replay {
namespace {

using capture::Driver;
using std::chrono::steady_clock;

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kInterrupted = 130;  // what a shell reports for SIGINT

constexpr std::chrono::duration<int, std::milli> kLook{200};  // between two looks at the replay
constexpr std::chrono::seconds kPatienceForPacketTask{10};    // start-up takes milliseconds
constexpr std::chrono::seconds kPatienceForLastFrame{2};

std::atomic<bool> interrupted = false;
std::atomic<std::size_t> commands_run = 0;

extern "C" void note_interrupt(int /*signal*/) { interrupted = true; }

void catch_interrupt(bool hold) {
    struct sigaction action {};
    action.sa_handler = note_interrupt;
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    if (hold) sigaction(SIGTERM, &action, nullptr);
}

// The command task works on meanwhile.
void hold_until_interrupted(const driver::Host& host) {
    if (!host.way_in.empty()) host.complain("holds; commands by " + host.way_in + " mcctl ...");
    while (!interrupted && !driver::is_queue_lost(host, kLook.count())) {
    }
}

capture::Replay replay_of(const Arguments& arguments) {
    return {arguments.inputs,
            arguments.output,
            arguments.onu_id,
            arguments.tail_us,
            {mcore::set_clock, mcore::next_timer},
            events_of(arguments.commands, [] { ++commands_run; }),
            arguments.split};
}

// Runs the library over the captures. False when it never came for the frames.
bool run_replay(const Arguments& arguments, const driver::Host& host) {
    Driver& driver = Driver::instance();
    driver::know_own_frames({sys_mac, mld_sys_mac});
    driver::start_without_signals(IgmpInit);
    mc_debug = arguments.debug;
    mld_debug = arguments.debug;
    driver.start();

    // Diagnostics on the same terminal would tear the progress line apart.
    const bool silent = arguments.debug == 0 && arguments.commands.empty();
    ProgressLine progress(silent);
    const auto start = steady_clock::now();
    bool started = true;
    while (!interrupted && started && !driver.wait_until_finished(kLook)) {
        progress.show(driver.progress());
        if (driver::is_queue_lost(host, 0)) interrupted = true;
        started = driver.asked_for_frames() || steady_clock::now() - start < kPatienceForPacketTask;
    }
    if (interrupted) {
        driver.stop();
        // The summary is due either way.
        static_cast<void>(driver.wait_until_finished(kPatienceForLastFrame));
    }
    progress.erase();
    return started;
}

}  // namespace

int run(const Arguments& arguments, const driver::Host& host) {
    Driver& driver = Driver::instance();
    driver.prepare(replay_of(arguments));

    timeline::Recording recording(arguments.recorded, {events::FrameSource::kCapture, {}});
    if (arguments.hold) console::offer(host.complain, {{console::kConfigWord, host.configuration}});
    std::FILE* out = arguments.json ? report::divert_library_output() : stdout;
    if (out == nullptr) {
        host.complain("standard output cannot be diverted");
        return kFailed;
    }
    catch_interrupt(arguments.hold);
    // What a command shows is to be seen when it ran, not when the node ends.
    if (arguments.hold) std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const auto start = steady_clock::now();
    if (!run_replay(arguments, host)) {
        host.complain("the library started no packet task");
        return kFailed;
    }
    const std::chrono::duration<double> took = steady_clock::now() - start;

    capture::Report report = driver.report();
    const std::uint64_t end_us = report.span ? report.span->end_us : 0;
    const Summary summary{arguments,    std::move(report), report::core_report(end_us),
                          commands_run, interrupted,       took.count()};
    const std::string text = arguments.json ? as_json(summary) : as_text(summary);
    bool complete = summary.report.failures.empty();
    if (std::fputs(text.c_str(), out) < 0 || std::fflush(out) != 0) {
        host.complain("the summary could not be written");
        complete = false;
    }
    for (const std::string& line : summary.report.failures) host.complain(line);
    for (const std::string& line : recording.end()) {
        host.complain(line);
        complete = false;
    }
    if (arguments.hold && !summary.interrupted) hold_until_interrupted(host);
    if (driver::is_queue_lost(host, 0)) return driver::kQueueLost;
    if (summary.interrupted) return kInterrupted;
    return complete ? kDone : kFailed;
}

}  // namespace replay
