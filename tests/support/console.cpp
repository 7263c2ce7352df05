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

// Standard output as a stream that looks at what is written to it, while this lives.
class Watch {
 public:
    Watch(const std::string& text, const std::function<void()>& action)
        : text_(text), action_(action), real_(stdout) {
        const cookie_io_functions_t functions = {nullptr, written, nullptr, nullptr};
        watched_ = fopencookie(this, "w", functions);
        if (watched_ == nullptr) give_up("fopencookie");
        setvbuf(watched_, nullptr, _IONBF, 0);
        stdout = watched_;
    }
    ~Watch() {
        stdout = real_;
        std::fclose(watched_);
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    bool seen() const { return seen_; }

 private:
    static ssize_t written(void* cookie, const char* bytes, std::size_t size) {
        auto* const self = static_cast<Watch*>(cookie);
        self->so_far_.append(bytes, size);
        if (!self->seen_ && self->so_far_.find(self->text_) != std::string::npos) {
            self->seen_ = true;
            self->action_();
        }
        return static_cast<ssize_t>(size);
    }

    std::string text_;
    std::function<void()> action_;
    std::string so_far_;
    bool seen_ = false;
    std::FILE* real_;
    std::FILE* watched_;
};

}  // namespace

bool interrupted_at(const std::string& text, const std::function<void()>& interruption,
                    const std::function<void()>& action) {
    const Watch watch(text, interruption);
    action();
    return watch.seen();
}

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
