// mc_node: the multicast adaptation layer as a program on the developer's machine, with the
// development core on the one side and on the other a driver that replays captures or works on the
// ports of a Linux bridge.
//
// The library has no shutdown, so the program has none either: at the end it leaves the tasks where
// they are.
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <variant>

#include "node/arguments.h"
#include "node/core/development_core.h"
#include "node/live/live.h"
#include "node/replay/replay.h"
#include "node/report/console.h"

namespace {

constexpr int kDone = 0;
constexpr int kUnusable = 2;  // the command line, a file, the bridge

struct Runner {
    int operator()(const replay::Arguments& arguments) const { return replay::run(arguments); }
    int operator()(const live::Arguments& arguments) const { return live::run(arguments); }
};

int run(int argc, char** argv) {
    try {
        const auto arguments = node::parse_arguments(argc, argv);
        if (!arguments) return kDone;
        devcore::set_bounds(arguments->bounds);
        return std::visit(Runner{}, arguments->run);
    } catch (const std::exception& error) {
        report::complain(error.what());
    }
    return kUnusable;
}

}  // namespace

int main(int argc, char** argv) {
    const int status = run(argc, argv);
    std::fflush(stdout);  // not all streams: a capture that is still being read would be waited for
    // Not exit: it would destroy what the library's tasks still use.
    _exit(status);
}
