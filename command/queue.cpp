// The receive loop of the command task.
#include <sys/ipc.h>
#include <sys/msg.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "command/command.h"
#include "command/record.h"
#include "common/bytes.h"
#include "common/diagnostics.h"

namespace {

using mc::igmp_says;
using mc::kConfig;
using mc::kErrors;

// A message as msgrcv delivers it: the type word is a C long of whatever size.
struct QueueMessage {
    long type;
    std::uint8_t text[MC_RECORD_TEXT];
};

// The length is the sender's word; this many bytes at most keep it from stalling the channel.
constexpr std::uint32_t kLongestDump = 4096;

void dump(const mc::CommandRecord& record) {
    mc::dump_hex({record.bytes, MC_RECORD_SIZE}, std::min(record.dump_length(), kLongestDump));
}

}  // namespace

std::int32_t recv_igmp_interface_msg() {
    constexpr int kAccess = 0666;
    const int queue = msgget(MC_QUEUE_KEY, IPC_CREAT | kAccess);
    if (queue == -1) {
        if (igmp_says(kErrors)) {
            std::printf("\r\n[MC_DBG_ERR]: msgget MSG_QUEUE_KEY queue failed");
        }
        return -1;
    }
    // Not cleared between messages: a short one leaves the bytes behind it as they were.
    QueueMessage message = {};
    std::uint8_t image[MC_RECORD_SIZE] = {};
    for (;;) {
        constexpr long kAnyType = 0;
        if (msgrcv(queue, &message, sizeof(message.text), kAnyType, 0) != -1) {
            mc::store_be32(image, static_cast<std::uint32_t>(message.type));
            std::memcpy(image + 4, message.text, sizeof(message.text));
        } else if (igmp_says(kErrors)) {
            // The record before is run once more, kept on purpose.
            std::printf("\r\n[MC_DBG_ERR]: msgrcv interface msg queue failed!");
        }
        if (igmp_says(kConfig)) dump({image});
        static_cast<void>(process_interface_msg(image));
    }
}
