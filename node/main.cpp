// mc_node: the multicast adaptation layer as a program on the developer's machine, with the
// multicast core on the one side and on the other a driver that replays captures or works on the
// ports of a Linux bridge.
//
// The library has no shutdown, so the program has none either: at the end it leaves the tasks where
// they are.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>

#include "node/arguments.h"
#include "node/command_file.h"
#include "node/command_queue.h"
#include "node/config/records_lock.h"
#include "node/config/snapshot.h"
#include "node/configuration.h"
#include "node/console/server.h"
#include "node/core/multicast_core.h"
#include "node/driver/host.h"
#include "node/ipc_place.h"
#include "node/live/live.h"
#include "node/mld_mode.h"
#include "node/replay/replay.h"
#include "node/report/console.h"
#include "node/report/printable.h"

namespace {

constexpr int kDone = 0;
constexpr int kUnusable = 2;  // the command line, a file, the bridge

void complain(const std::string& line) { report::complain(report::printable(line)); }

struct Runner {
    driver::Host host;

    int operator()(const replay::Arguments& arguments) const {
        return replay::run(arguments, host);
    }
    int operator()(const live::Arguments& arguments) const { return live::run(arguments, host); }
};

// The library's records are read between two commands.
std::function<std::string()> teller_of(const node::Arguments& arguments) {
    return [options = node::options_of(arguments)] {
        const std::lock_guard lock(config::records_lock());
        return config::answer_text(config::take_snapshot(options));
    };
}

driver::Host make_host(const node::Arguments& arguments, std::string way_in) {
    const int queue_lost = node::guard_command_queue(complain);
    if (queue_lost < 0) throw std::runtime_error(std::string("eventfd: ") + std::strerror(errno));
    return {complain, queue_lost, std::move(way_in), teller_of(arguments),
            node::run_first_commands};
}

// A live node runs them at its start, a replay at the time 0 of its captures.
void plan_configured(node::Arguments& arguments) {
    if (arguments.configuration.options.empty() && arguments.configuration.commands.empty()) return;
    if (auto* const replay = std::get_if<replay::Arguments>(&arguments.run)) {
        const auto commands = node::commands_at_once(arguments.configuration);
        replay->commands.insert(replay->commands.begin(), commands.begin(), commands.end());
    } else {
        node::keep_first_commands([file = arguments.configuration] { node::run_configured(file); });
    }
}

int run(int argc, char** argv) {
    try {
        auto arguments = node::parse_arguments(argc, argv);
        if (!arguments) return kDone;
        plan_configured(*arguments);
        mcore::set_bounds(arguments->bounds);
        node::let_mld_follow_igmp_proxy();
        const bool is_live = std::holds_alternative<live::Arguments>(arguments->run);
        // A node in a user namespace of its own has no rights over the interfaces of this one.
        const std::string way_in = node::take_ipc_place(arguments->ipc, is_live);
        return std::visit(Runner{make_host(*arguments, way_in)}, arguments->run);
    } catch (const std::exception& error) {
        complain(error.what());
    }
    return kUnusable;
}

}  // namespace

int main(int argc, char** argv) {
    const int status = run(argc, argv);
    std::fflush(stdout);  // not all streams: a capture that is still being read would be waited for
    console::end();
    // Not exit: it would destroy what the library's tasks still use.
    _exit(status);
}
