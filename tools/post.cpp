#include "tools/post.h"

#include <sys/ipc.h>
#include <sys/msg.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>

#include "command/command.h"
#include "tools/queue_reader.h"

namespace commands {
namespace {

struct Message {
    long type;
    char text[MC_RECORD_TEXT];
};

std::string reason_not_open() {
    const int error = errno;
    const std::string queue = "queue " + std::to_string(MC_QUEUE_KEY);
    if (error == ENOENT) return "no node is running: " + queue + " is not there";
    if (error == EACCES) return queue + " is not ours to write";
    return queue + ": " + std::strerror(error);
}

std::string reason_not_sent() {
    const int error = errno;
    const std::string queue = "queue " + std::to_string(MC_QUEUE_KEY);
    if (error == EACCES) return queue + " is not ours to write";
    if (error == EIDRM) return "no node is running: " + queue + " was removed";
    return queue + ": " + std::strerror(error);
}

}  // namespace

void post(const Record& record) {
    const int queue = msgget(MC_QUEUE_KEY, 0);
    if (queue == -1) throw QueueError(reason_not_open());
    if (is_surely_unread()) {
        throw QueueError("no node is running: queue " + std::to_string(MC_QUEUE_KEY) +
                         " is there, but nobody reads it");
    }
    Message message{};
    message.type = static_cast<long>(record.code);
    const auto text = record.text();
    std::ranges::transform(text, message.text, [](std::uint8_t b) { return static_cast<char>(b); });
    if (msgsnd(queue, &message, text.size(), IPC_NOWAIT) == 0) return;
    if (errno == EAGAIN) throw QueueFull("the queue is full: the node does not take commands");
    throw QueueError(reason_not_sent());
}

}  // namespace commands
