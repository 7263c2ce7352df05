#include "node/report/console.h"

#include <fcntl.h>
#include <unistd.h>

namespace report {

void complain(const std::string& line) { std::fprintf(stderr, "mc_node: %s\n", line.c_str()); }

std::FILE* divert_library_output() {
    const int real = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    if (real < 0 || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) return nullptr;
    return fdopen(real, "w");
}

}  // namespace report
