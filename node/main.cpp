/*
 * mc_node: the multicast adaptation layer as a program on the developer's machine, with a driver
 * that replays captures on one side and the development core on the other.
 *
 * The library has no shutdown, so the program has none either: once the replay is over it prints
 * the summary and leaves the tasks where they are.
 */
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "adapt/adapt.h"
#include "adapt/records.h"
#include "node/arguments.h"
#include "node/capture/capture_driver.h"
#include "node/capture/capture_error.h"
#include "node/core/development_core.h"
#include "node/progress_line.h"
#include "node/summary.h"
#include "node/timed_commands.h"

namespace {

using capture::Driver;
using std::chrono::steady_clock;

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kUnusable = 2;
constexpr int kInterrupted = 130;  // what a shell reports for SIGINT

constexpr std::chrono::milliseconds kLook{200};             // between two looks at the replay
constexpr std::chrono::seconds kPatienceForPacketTask{10};  // start-up takes milliseconds
constexpr std::chrono::seconds kPatienceForLastFrame{2};

std::atomic<bool> interrupted = false;
std::atomic<std::size_t> commands_run = 0;

extern "C" void note_interrupt(int /*signal*/) { interrupted = true; }

void complain(const std::string& line) { std::fprintf(stderr, "mc_node: %s\n", line.c_str()); }

void catch_interrupt(bool hold) {
    struct sigaction action {};
    action.sa_handler = note_interrupt;
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    if (hold) sigaction(SIGTERM, &action, nullptr);
}

/* The command task works on meanwhile. */
void hold_until_interrupted() {
    while (!interrupted) std::this_thread::sleep_for(kLook);
}

/*
 * Sends what the library prints to standard error and gives back the stream that leads to the real
 * standard output; nothing if that cannot be done.
 */
std::FILE* divert_library_output() {
    const int real = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    if (real < 0 || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) return nullptr;
    return fdopen(real, "w");
}

std::uint64_t total_bytes(const std::vector<capture::Input>& inputs) {
    std::uint64_t total = 0;
    for (const capture::Input& input : inputs) {
        std::error_code unknown;
        const std::uintmax_t size = std::filesystem::file_size(input.file, unknown);
        if (!unknown) total += size;
    }
    return total;
}

capture::Replay replay_of(const node::ReplayArguments& arguments) {
    return {arguments.inputs,
            arguments.output,
            arguments.onu_id,
            arguments.tail_us,
            {devcore::set_clock, devcore::next_timer},
            node::events_of(arguments.commands, [] { ++commands_run; })};
}

/* Runs the library over the captures. False when it never came for the frames. */
bool run_replay(const node::ReplayArguments& arguments) {
    Driver& driver = Driver::instance();
    IgmpInit();
    mc_debug = arguments.debug;
    mld_debug = arguments.debug;
    driver.start();

    // Diagnostics on the same terminal would tear the progress line apart.
    const bool silent = arguments.debug == 0 && arguments.commands.empty();
    node::ProgressLine progress(total_bytes(arguments.inputs), silent);
    const auto start = steady_clock::now();
    bool started = true;
    while (!interrupted && started && !driver.wait_until_finished(kLook)) {
        progress.show(driver.progress());
        started = driver.asked_for_frames() || steady_clock::now() - start < kPatienceForPacketTask;
    }
    if (interrupted) {
        driver.stop();
        (void)driver.wait_until_finished(kPatienceForLastFrame);  // the summary is due either way
    }
    progress.erase();
    return started;
}

int replay(const node::ReplayArguments& arguments) {
    Driver& driver = Driver::instance();
    driver.prepare(replay_of(arguments));

    std::FILE* out = arguments.json ? divert_library_output() : stdout;
    if (out == nullptr) {
        complain("standard output cannot be diverted");
        return kFailed;
    }
    catch_interrupt(arguments.hold);
    // What a command shows is to be seen when it ran, not when the node ends.
    if (arguments.hold) std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const auto start = steady_clock::now();
    if (!run_replay(arguments)) {
        complain("the library started no packet task");
        return kFailed;
    }
    const std::chrono::duration<double> took = steady_clock::now() - start;

    capture::Report report = driver.report();
    const std::uint64_t end_us = report.span ? report.span->end_us : 0;
    const node::Summary summary{arguments,    std::move(report), node::report_core(end_us),
                                commands_run, interrupted,       took.count()};
    const std::string text = arguments.json ? node::as_json(summary) : node::as_text(summary);
    bool complete = summary.report.failures.empty();
    if (std::fputs(text.c_str(), out) < 0 || std::fflush(out) != 0) {
        complain("the summary could not be written");
        complete = false;
    }
    for (const std::string& line : summary.report.failures) complain(line);
    if (summary.interrupted) return kInterrupted;
    if (arguments.hold) hold_until_interrupted();
    return complete ? kDone : kFailed;
}

int run(int argc, char** argv) {
    try {
        const std::optional<node::ReplayArguments> arguments = node::parse_arguments(argc, argv);
        return arguments ? replay(*arguments) : kDone;
    } catch (const node::UsageError& error) {
        complain(error.what());
    } catch (const capture::CaptureError& error) {
        complain(error.what());
    }
    return kUnusable;
}

}  // namespace

int main(int argc, char** argv) {
    const int status = run(argc, argv);
    std::fflush(stdout);  // not all streams: a capture that is still being read would be waited for
    // Not exit: it would destroy what the library's tasks still use.
    _exit(status);
}
