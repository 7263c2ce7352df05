#include "tests/fuzz/streams.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <sstream>

#include "node/report/printable.h"
#include "tests/fuzz/chances.h"

namespace fuzz {
namespace {

// Stands in for one of the standard streams, and gives back what was written.
class Caught {
 public:
    explicit Caught(std::FILE*& stream)
        : stream_(stream), before_(stream), caught_(open_memstream(&text_, &size_)) {
        must(caught_ != nullptr, "memory for a stream");
        stream_ = caught_;
    }
    ~Caught() {
        stream_ = before_;
        std::fclose(caught_);
        std::free(text_);
    }
    Caught(const Caught&) = delete;
    Caught& operator=(const Caught&) = delete;

    [[nodiscard]] std::string text() const {
        std::fflush(caught_);
        return {text_, size_};
    }

 private:
    std::FILE*& stream_;
    std::FILE* before_;
    char* text_ = nullptr;
    std::size_t size_ = 0;
    std::FILE* caught_;
};

}  // namespace

MemoryFile::MemoryFile() : descriptor_(memfd_create("fuzz", 0)) {
    must(descriptor_ >= 0, "a file in memory");
}

MemoryFile::~MemoryFile() { close(descriptor_); }

void MemoryFile::put(std::string_view text) const {
    must(ftruncate(descriptor_, 0) == 0, "an empty file in memory");
    const auto written = pwrite(descriptor_, text.data(), text.size(), 0);
    must(written == static_cast<ssize_t>(text.size()), "room for a file in memory");
}

std::filesystem::path MemoryFile::path() const {
    return "/proc/self/fd/" + std::to_string(descriptor_);
}

Ran run_program(int (*program)(int, char**), const char* name,
                const std::vector<std::string>& words) {
    std::vector<std::string> texts{name};
    texts.insert(texts.end(), words.begin(), words.end());
    std::vector<char*> arguments;
    for (const std::string& text : texts) arguments.push_back(strdup(text.c_str()));
    arguments.push_back(nullptr);
    Ran ran{};
    {
        const Caught output(stdout);
        const Caught complaint(stderr);
        std::ostringstream help;  // written by the library that reads the options
        std::streambuf* const before = std::cout.rdbuf(help.rdbuf());
        ran.status = program(static_cast<int>(texts.size()), arguments.data());
        std::cout.rdbuf(before);
        ran.output = output.text() + help.str();
        ran.complaint = complaint.text();
    }
    for (char* const argument : arguments) std::free(argument);
    return ran;
}

bool is_printable(std::string_view line) {
    const auto is_plain = [](char c) { return c >= ' ' && c <= '~'; };
    if (std::ranges::all_of(line, is_plain)) return true;
    // What is printable stays as it is, but for the character that stands for other bytes.
    std::string rest(line);
    std::erase(rest, '\\');
    return report::printable(rest) == rest;
}

void check_complaint(std::string_view line) {
    must(line.ends_with('\n') && line.size() > 1, "a complaint is a line");
    line.remove_suffix(1);
    must(is_printable(line), "control bytes in a complaint");
}

}  // namespace fuzz
