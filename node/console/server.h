// The node's console for processes on this machine: node/console/protocol.h.
//
// A task of its own speaks with them. Whoever prints only appends to what is waiting for each of
// them, under a lock that nobody holds while waiting for anything: a client that does not read is
// cut off when too much is waiting for it.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace console {

// A request that is answered with a text, in the console's own task.
struct TextRequest {
    std::string_view word;
    std::function<std::string()> text;
};

// To be called once, while there is one thread and before anybody keeps stdout. Without a console
// the node works as well: a line to complain says what is missing.
void offer(void (*complain)(const std::string& line), std::vector<TextRequest> requests);

// For whoever takes records off the queue: one was taken, and the library is about to run it. A
// record is all its bytes from the code on.
void record_taken(std::string_view record);
void record_done();

// Whether anybody is connected, so that it is worth while to find out about a record.
[[nodiscard]] bool is_followed();

// Tells everybody that the node ends, and gives them a moment to read it.
void end();

}  // namespace console
