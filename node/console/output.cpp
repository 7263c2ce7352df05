#include "node/console/output.h"

#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>

namespace console {
namespace {

void (*hear)(std::string_view text) = nullptr;

// Not one that the C library allocates: tasks take turns with it under the stream's own lock, which
// ThreadSanitizer does not see, and it would take the one that happened to allocate it for a
// writer.
char buffer[BUFSIZ];

// All of it, or as much as could be written.
std::size_t write_out(std::string_view text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t written = write(STDOUT_FILENO, text.data() + done, text.size() - done);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) break;
        done += static_cast<std::size_t>(written);
    }
    return done;
}

// A listener hears of what was lost too: it may be the only one that still can.
ssize_t write_and_tell(void* /*cookie*/, const char* bytes, std::size_t size) {
    const std::string_view text(bytes, size);
    const std::size_t written = write_out(text);
    hear(text);
    return static_cast<ssize_t>(written);
}

}  // namespace

bool listen_to_output(void (*listener)(std::string_view text)) {
    cookie_io_functions_t functions{};
    functions.write = write_and_tell;
    std::FILE* const stream = fopencookie(nullptr, "w", functions);
    if (stream == nullptr) return false;
    if (std::setvbuf(stream, buffer, _IOFBF, sizeof buffer) != 0) return false;
    std::fflush(stdout);
    hear = listener;
    stdout = stream;
    return true;
}

}  // namespace console
