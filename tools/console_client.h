// The console of the node that takes the commands: node/console/protocol.h.
#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "tools/command_line.h"

namespace commands {

struct ConsoleError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A connection on which the node has said that it is ready.
struct Conversation {
    int connection;
    std::string received;
    std::size_t heard;  // bytes of that which were looked at
};

// Begins to wait for what the node prints on a record, which may be posted from here on. Nothing
// where no console is for us: there is none, or it is another user's, or all its places are taken.
// Throws ConsoleError when the node is there and silent.
[[nodiscard]] std::optional<Conversation> await_answer(const Record& record);

// What the node prints on the record, once it is done; the connection is over then. Throws
// ConsoleError when the node does not come to it, or is gone before.
[[nodiscard]] std::string take_answer(Conversation& conversation);

// What the node answers to a word with a text. Nothing where no console is for us, or it does not
// know the word. Throws ConsoleError when the node is silent, or gone before it has answered.
[[nodiscard]] std::optional<std::string> ask_for_text(std::string_view word);

// Prints what the node prints: true when it has ended, false when nobody reads standard output any
// more. Throws ConsoleError when there is no console for us, or the node is gone without a word.
[[nodiscard]] bool follow_console();

}  // namespace commands
