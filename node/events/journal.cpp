#include "node/events/journal.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <utility>
#include <variant>

#include "node/events/json_line.h"

namespace events {
namespace {

std::FILE* open(const std::filesystem::path& file, const char* mode) {
    std::FILE* const opened = std::fopen(file.c_str(), mode);
    if (opened == nullptr) {
        throw std::runtime_error(file.string() + ": cannot be written: " + std::strerror(errno));
    }
    return opened;
}

// What stands until it is over, and whether it is over now; nothing of what only happens.
struct Course {
    bool is_entry;
    mcore::Address group;
    bool is_over;
};

std::optional<Course> course_of(const mcore::Happening& what) {
    if (const auto* joined = std::get_if<mcore::MembershipJoined>(&what)) {
        return Course{false, joined->group, false};
    }
    if (const auto* changed = std::get_if<mcore::MembershipChanged>(&what)) {
        return Course{false, changed->group, false};
    }
    if (const auto* left = std::get_if<mcore::MembershipLeft>(&what)) {
        return Course{false, left->group, true};
    }
    if (const auto* entry = std::get_if<mcore::EntryChanged>(&what)) {
        return Course{true, entry->group, !entry->is_set};
    }
    return std::nullopt;
}

}  // namespace

void check_writable(const std::filesystem::path& file) {
    static_cast<void>(std::fclose(open(file, "ae")));
}

Journal::Journal(const Wanted& wanted, const Run& run, std::size_t most_kept)
    : wanted_(wanted), run_(run), most_kept_(most_kept) {
    // Whoever reads a pipe may go away; that is a failure like others, and not the program's end.
    std::signal(SIGPIPE, SIG_IGN);
    if (wanted.file) file_.reset(open(*wanted.file, "we"));
    const bool is_live = run.source == FrameSource::kInterface;
    if (file_ && is_live) std::setvbuf(file_.get(), nullptr, _IOLBF, 0);
}

void Journal::begin(std::uint64_t now_us) {
    const std::lock_guard lock(mutex_);
    JsonLine line;
    line.add("event", "begin").add("time_us", now_us);
    line.add("run", run_.source == FrameSource::kCapture ? "replay" : "live");
    if (run_.wall_offset_us) line.add("wall_offset_us", *run_.wall_offset_us);
    begin_ = line.text();
    write(begin_);
}

void Journal::take(const mcore::Event& event) {
    const Lines lines = lines_of(event, run_.source, driver::origin_in_hand());
    const auto course = course_of(event.what);
    std::optional<Subject> subject;
    if (course) {
        const auto kind = course->is_entry ? Standing::kEntry : Standing::kMembership;
        subject = Subject{{event.port, event.vlan, event.family, course->group}, kind};
    }
    put(lines, subject, course && course->is_over);
}

void Journal::end(std::uint64_t now_us) {
    const std::string line = JsonLine{}.add("event", "end").add("time_us", now_us).text();
    put({line, line}, std::nullopt, false);
    const std::lock_guard lock(mutex_);
    is_ended_ = true;
    if (!file_ || failure_) return;
    if (std::fflush(file_.get()) != 0) failure_ = std::strerror(errno);
}

Kept Journal::kept() {
    const std::lock_guard lock(mutex_);
    Kept kept{begin_, {}, {}, forgotten_};
    for (const auto& [subject, line] : standing_) kept.standing.push_back(line);
    for (const KeptLine& one : kept_) kept.lines.push_back(one.line);
    return kept;
}

std::optional<std::string> Journal::failure() {
    const std::lock_guard lock(mutex_);
    if (!failure_) return std::nullopt;
    return wanted_.file->string() + ": the events are not whole: " + *failure_;
}

void Journal::put(const Lines& lines, const std::optional<Subject>& subject, bool is_over) {
    const std::lock_guard lock(mutex_);
    if (is_ended_) return;
    write(lines.for_file);
    if (!wanted_.page) return;
    kept_.push_back({std::make_shared<const std::string>(lines.for_page), subject, is_over});
    if (kept_.size() > most_kept_) forget_oldest();
}

void Journal::write(const std::string& line) {
    if (!file_ || failure_) return;
    const bool is_written = std::fputs((line + "\n").c_str(), file_.get()) >= 0;
    if (!is_written) failure_ = std::strerror(errno);
}

void Journal::forget_oldest() {
    KeptLine& oldest = kept_.front();
    if (oldest.subject) {
        standing_.erase(*oldest.subject);
        if (!oldest.is_over) standing_.emplace(*oldest.subject, std::move(oldest.line));
    }
    kept_.pop_front();
    ++forgotten_;
}

}  // namespace events
