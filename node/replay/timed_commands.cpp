#include "node/replay/timed_commands.h"

#include <cstdio>

#include "node/core/events.h"
#include "node/report/values.h"

namespace replay {
namespace {

void run(const TimedCommand& command) {
    // The library's lines begin with a line end instead of ending in one.
    std::printf("\n[%.3f s] %s\n", report::seconds(command.after_us), command.words.c_str());
    mcore::tell_command({command.words, command.code});
    command.run();
}

}  // namespace

// On a device the command task runs commands, while the packet task handles frames. Here the packet
// task runs them between two frames: only then does a replay come out the same each time.
std::vector<capture::Event> events_of(const std::vector<TimedCommand>& commands,
                                      const std::function<void()>& ran) {
    std::vector<capture::Event> events;
    events.reserve(commands.size());
    for (const TimedCommand& command : commands) {
        events.push_back({command.after_us, [command, ran] {
                              run(command);
                              ran();
                          }});
    }
    return events;
}

}  // namespace replay
