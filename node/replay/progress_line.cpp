#include "node/replay/progress_line.h"

#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>

namespace replay {
namespace {

constexpr std::chrono::milliseconds kWorthALine{500};

constexpr const char* kToLineStart = "\r\x1b[K";  // and clears the line

}  // namespace

ProgressLine::ProgressLine(bool wanted) : wanted_(wanted && ::isatty(STDERR_FILENO) == 1) {}

void ProgressLine::show(const capture::Progress& progress) {
    if (!wanted_ || Clock::now() - start_ < kWorthALine) return;
    if (progress.total_bytes) {
        // Bytes are read ahead of their frames; only the end of the replay is "all".
        const std::uint64_t total = std::max<std::uint64_t>(*progress.total_bytes, 1);
        const std::uint64_t percent = std::min<std::uint64_t>(progress.bytes * 100 / total, 99);
        std::fprintf(stderr, "%sreplaying: %" PRIu64 " %%, %" PRIu64 " frames", kToLineStart,
                     percent, progress.frames);
    } else {
        std::fprintf(stderr, "%sreplaying: %" PRIu64 " frames", kToLineStart, progress.frames);
    }
    std::fflush(stderr);
    shown_ = true;
}

void ProgressLine::erase() {
    if (!shown_) return;
    std::fputs(kToLineStart, stderr);
    std::fflush(stderr);
}

}  // namespace replay
