#include "node/timeline/page.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>
#include <system_error>

#include "node/timeline/page_parts.h"

namespace timeline {
namespace {

struct Close {
    void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};
using File = std::unique_ptr<std::FILE, Close>;

void put(std::FILE* file, std::string_view text) {
    static_cast<void>(std::fwrite(text.data(), 1, text.size(), file));
}

void put_lines(std::FILE* file, const std::vector<events::Line>& lines) {
    for (const events::Line& line : lines) {
        put(file, ",\n");
        put(file, *line);
    }
}

// The lines are those of --events, and hold no '<' that could end the element they stand in.
void put_events(std::FILE* file, const events::Kept& kept, std::uint64_t now_us) {
    put(file, "{\"forgotten\":" + std::to_string(kept.forgotten) +
                  ",\"standing\":" + std::to_string(kept.standing.size()) +
                  ",\"now_us\":" + std::to_string(now_us) + ",\n\"events\":[\n");
    put(file, kept.begin);
    put_lines(file, kept.standing);
    put_lines(file, kept.lines);
    put(file, "\n]}\n");
}

// The html has one line of this form for each of the others.
void put_page(std::FILE* file, const events::Kept& kept, std::uint64_t now_us) {
    std::string_view rest = page_html;
    const auto put_up_to = [&](std::string_view mark) {
        const std::size_t at = rest.find(mark);
        put(file, rest.substr(0, at));
        rest.remove_prefix(at + mark.size());
    };
    put_up_to("@page.css@\n");
    put(file, page_css);
    put_up_to("@events@\n");
    put_events(file, kept, now_us);
    put_up_to("@page.js@\n");
    put(file, page_js);
    put(file, rest);
}

std::string complaint(const std::filesystem::path& file) {
    return file.string() + ": the timeline cannot be written: " + std::strerror(errno);
}

// Nothing may take its place.
bool is_device(const std::filesystem::path& file) {
    std::error_code unknown;
    return std::filesystem::exists(file, unknown) &&
           !std::filesystem::is_regular_file(file, unknown);
}

}  // namespace

std::optional<std::string> write_page(const std::filesystem::path& file, const events::Kept& kept,
                                      std::uint64_t now_us) {
    const std::filesystem::path fresh =
        is_device(file) ? file : std::filesystem::path(file.native() + ".new");
    File opened(std::fopen(fresh.c_str(), "we"));
    if (!opened) return complaint(file);
    put_page(opened.get(), kept, now_us);
    std::optional<std::string> wrong;
    if (std::fflush(opened.get()) != 0 || std::ferror(opened.get()) != 0) wrong = complaint(file);
    opened.reset();
    std::error_code failed;
    if (!wrong && fresh != file) std::filesystem::rename(fresh, file, failed);
    if (failed) {
        errno = failed.value();
        wrong = complaint(file);
    }
    if (wrong && fresh != file) static_cast<void>(std::remove(fresh.c_str()));
    return wrong;
}

}  // namespace timeline
