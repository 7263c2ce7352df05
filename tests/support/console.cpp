#include "tests/support/console.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "tests/support/neighbours.h"

namespace mc_test {

namespace {

[[noreturn]] void give_up(const char* what) {
    std::perror(what);
    std::abort();
}

// Standard output goes to a file of its own for as long as this lives.
class Capture {
 public:
    Capture() : file_(std::tmpfile()) {
        if (file_ == nullptr) give_up("tmpfile");
        std::fflush(stdout);
        terminal_ = dup(STDOUT_FILENO);
        if (terminal_ == -1 || dup2(fileno(file_), STDOUT_FILENO) == -1) give_up("dup");
    }

    ~Capture() {
        std::fflush(stdout);
        if (dup2(terminal_, STDOUT_FILENO) == -1) give_up("dup2");
        close(terminal_);
        std::fclose(file_);
    }

    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    std::string text() {
        std::fflush(stdout);
        std::string text;
        char chunk[4096];
        // Read at a position, because the descriptor that is written to shares the offset.
        while (true) {
            const ssize_t got =
                pread(fileno(file_), chunk, sizeof chunk, static_cast<off_t>(text.size()));
            if (got < 0) give_up("pread");
            if (got == 0) return text;
            text.append(chunk, static_cast<std::size_t>(got));
        }
    }

 private:
    std::FILE* file_;
    int terminal_ = -1;
};

}  // namespace

std::string printed(const std::function<void()>& action) {
    Capture capture;
    action();
    return capture.text();
}

std::string said(std::uint32_t& mask, std::uint32_t bits, const std::function<void()>& action) {
    mask = bits;
    std::string text = printed(action);
    mask = 0;
    return text;
}

void expect_said(std::uint32_t& mask, std::uint32_t bit, const std::string& text,
                 const std::function<void()>& action) {
    const auto counted_from_the_start = [&action] {
        forget_calls();
        action();
    };
    EXPECT_EQ(said(mask, bit, counted_from_the_start), text);
    EXPECT_EQ(said(mask, 0, counted_from_the_start), "") << "without any category";
    EXPECT_THAT(said(mask, kAllCategories & ~bit, counted_from_the_start),
                ::testing::Not(::testing::HasSubstr(text)))
        << "with all other categories";
}

}  // namespace mc_test
