// How processes on this machine speak with the console of a node.
//
// The node listens on a Unix socket in the abstract namespace, named after the IPC namespace: the
// command queue belongs to that, and whoever posts there finds the node that takes it. Each side
// talks only to its own user and to root.
//
// Both sides send frames:
//
//    0        1                 5
//    +--------+-----------------+--------+
//    |  kind  |  length of text |  text  |
//    +--------+-----------------+--------+
//
// The length is big-endian. A client sends one frame, its request: a word, and behind a blank what
// it is about. The node answers until it closes the connection.
//
//    console         kReady, then kText for all that is printed, until kEnd
//    answer RECORD   kReady: the record may be posted now; once it was taken off the queue, kText
//    for
//                    all that is printed until it is done, then kDone. RECORD is all its bytes.
//    metrics         a live node's numbers for monitoring, families of OpenMetrics: kText, then
//                    kDone
//    config          what the node is configured to (node/config/snapshot.h): kText, then kDone
//    another word    what the node offers beside these: kText, then kDone
//
// kRefused may come at any time: its text says why nothing more comes.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace console {

inline constexpr std::string_view kConsoleWord = "console";
inline constexpr std::string_view kAnswerWord = "answer";
inline constexpr std::string_view kMetricsWord = "metrics";
inline constexpr std::string_view kConfigWord = "config";

enum class Kind : char {
    kRequest = 'q',
    kReady = 'r',
    kText = 't',
    kDone = 'd',
    kEnd = 'e',
    kRefused = 'n',
};

struct Frame {
    Kind kind;
    std::string_view text;
};

struct Address {
    sockaddr_un name;
    socklen_t size;
};

// Where the node of this IPC namespace listens; nothing when the namespace is not to be learnt.
[[nodiscard]] std::optional<Address> address();

// Whether our own user, or root, is at the other end of a connection.
[[nodiscard]] bool is_trusted(int connection);

// A frame as it is sent.
[[nodiscard]] std::string frame(Kind kind, std::string_view text = {});

// The first frame of what has been received, which is then behind it; nothing while there is no
// whole one. The text lies in what was received.
[[nodiscard]] std::optional<Frame> take_frame(std::string_view& received);

}  // namespace console
