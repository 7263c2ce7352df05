// Writes down what happens in the core, for a file and for a page.
//
// The core tells under its lock and from several threads; the journal never calls it. A file that
// takes no more is given up, said once, and nothing else ends with it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "node/core/events.h"
#include "node/events/event_line.h"
#include "node/events/wanted.h"

namespace events {

// What is kept for a page: some 75 MB of text when it is full.
inline constexpr std::size_t kMostKept = 200'000;

struct Run {
    FrameSource source{};
    // Where the wall clock was when the core's clock was 0; nothing if the core's clock is one.
    std::optional<std::uint64_t> wall_offset_us;
};

// Shared, so that a page that is written meanwhile holds nobody up.
using Line = std::shared_ptr<const std::string>;

// What a page is made of.
struct Kept {
    std::string begin;           // the first line of all
    std::vector<Line> standing;  // of what began before the next ones, and was not over
    std::vector<Line> lines;
    std::uint64_t forgotten = 0;  // events before these
};

// Throws std::runtime_error when the file cannot be opened to be written at the end of a run; what
// it holds stays.
void check_writable(const std::filesystem::path& file);

class Journal {
 public:
    // Throws std::runtime_error when the file cannot be opened.
    Journal(const Wanted& wanted, const Run& run, std::size_t most_kept = kMostKept);

    // From the core's present time on.
    void begin(std::uint64_t now_us);
    void take(const mcore::Event& event);
    // Nothing is taken any more.
    void end(std::uint64_t now_us);

    [[nodiscard]] Kept kept();

    // Why the file is not whole.
    [[nodiscard]] std::optional<std::string> failure();

 private:
    // What stands until it is over: a membership, or its entry.
    using Place = std::tuple<std::uint32_t, std::uint16_t, mcore::Family, mcore::Address>;
    enum class Standing : std::uint8_t { kMembership, kEntry };
    using Subject = std::pair<Place, Standing>;
    struct KeptLine {
        Line line;
        std::optional<Subject> subject;
        bool is_over = false;  // or stands from then on
    };
    struct Close {
        void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
    };

    void put(const Lines& lines, const std::optional<Subject>& subject, bool is_over);
    void write(const std::string& line);
    void forget_oldest();

    const Wanted wanted_;
    const Run run_;
    const std::size_t most_kept_;

    std::mutex mutex_;
    std::unique_ptr<std::FILE, Close> file_;
    std::optional<std::string> failure_;
    bool is_ended_ = false;
    std::string begin_;
    std::deque<KeptLine> kept_;
    std::map<Subject, Line> standing_;
    std::uint64_t forgotten_ = 0;
};

}  // namespace events
