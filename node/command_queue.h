// The command queue as the library finds it. Any process that may write to it can post what the
// library could never receive, and its owner can remove it; the library's task would then run its
// last record over and over.
//
// The library takes msgrcv from the program that loads it, so the program has one of its own, which
// hands the library nothing but records:
//
//     a record                      is handed on
//     more than MC_RECORD_TEXT      taken off the queue, and said; the next message is waited for
//     a signal                      the message is waited for again
//     any other failure             said; the task stops here, and the descriptor can be read
//
// It asks for one byte more than a record has, cut off there: what fills that byte is too long. So
// the long message is gone with the call that finds it, and no kernel needs MSG_COPY.
#pragma once

#include <functional>
#include <string>

namespace node {

// To be called once, before the library starts. Lines go to complain; what comes back is readable
// once the queue is of no use any more, or -1 when there are no descriptors (errno says why).
[[nodiscard]] int guard_command_queue(void (*complain)(const std::string& line));

// What is to run before the first record of the queue, on the task that takes them: to be called
// once, before the library starts. The task then waits for run_first_commands.
void keep_first_commands(std::function<void()> run);

// Lets them run and waits until they are done. False when there are some and the task does not
// come.
[[nodiscard]] bool run_first_commands();

}  // namespace node
