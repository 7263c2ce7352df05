// mc_command_header: prints command/command_codes.h.
#include <cstdio>

#include "tools/command_header.h"

int main() {
    return std::fputs(commands::header().c_str(), stdout) < 0 || std::fflush(stdout) != 0;
}
