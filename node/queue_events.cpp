#include "node/queue_events.h"

#include <string>

#include "node/core/events.h"
#include "node/driver/host.h"
#include "tools/command_table.h"

namespace node {
namespace {

// The words of the only command that has the code; none when it has several, or is unknown. What
// stands in the record besides is not told.
std::string words_of(std::uint32_t code) {
    std::string words;
    for (const commands::Command& command : commands::table()) {
        if (command.record.code != code) continue;
        if (!words.empty()) return {};
        for (const std::string_view word : command.path) {
            words += (words.empty() ? "" : " ") + std::string(word);
        }
    }
    return words;
}

}  // namespace

void tell_queue_command(std::uint32_t code) {
    driver::before_command();
    mcore::tell_command({words_of(code), code});
}

}  // namespace node
