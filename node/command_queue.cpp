#include "node/command_queue.h"

#include <dlfcn.h>
#include <sys/eventfd.h>
#include <sys/msg.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <mutex>
#include <utility>

#include "command/command.h"
#include "node/config/records_lock.h"
#include "node/console/server.h"
#include "node/queue_events.h"
#include "node/report/recurring.h"
#include "node/rule_check.h"

namespace node {
namespace {

// As msgrcv delivers it, with room for one byte that no record has.
struct Message {
    long type;
    char text[MC_RECORD_TEXT + 1];
};

void (*say)(const std::string& line) = nullptr;
int lost = -1;
report::Recurring too_long;  // the command task's alone, and so is
bool is_record_out = false;  // whether it has a record of the queue

std::string queue_name() { return "queue " + std::to_string(MC_QUEUE_KEY); }

using Receive = ssize_t(int, void*, std::size_t, long, int);

Receive* receive_of_c_library() {
    static Receive* const found = reinterpret_cast<Receive*>(dlsym(RTLD_NEXT, "msgrcv"));
    return found;
}

// Whoever posts one can post millions.
void say_too_long() {
    if (!too_long.is_due() || say == nullptr) return;
    say("took a message of more than " + std::to_string(MC_RECORD_TEXT) + " bytes off " +
        queue_name() + ", number " + std::to_string(too_long.times()));
}

// ---- The first commands -------------------------------------------------------------------------

struct First {
    std::mutex guard;
    std::condition_variable changed;
    std::function<void()> run;
    bool has_come = false;  // the command task
    bool may_run = true;
    bool is_done = false;
};

First& first() {
    static First* const the_first = new First;  // tasks use it to the end of the process
    return *the_first;
}

bool is_first_over = false;  // the command task's alone

void run_first() {
    if (std::exchange(is_first_over, true)) return;
    std::unique_lock lock(first().guard);
    first().has_come = true;
    first().changed.notify_all();
    first().changed.wait(lock, [] { return first().may_run; });
    if (first().run) {
        const std::lock_guard records(config::records_lock());
        first().run();
        if (say != nullptr) look_at_rules(say);
    }
    first().is_done = true;
    first().changed.notify_all();
}

// ---- Records ------------------------------------------------------------------------------------

// To go back to the library would be to run the last record once more.
[[noreturn]] void end_commands(int error) {
    const bool removed = error == EIDRM || error == EINVAL;
    const std::string reason = removed ? " was removed" : std::string(": ") + std::strerror(error);
    if (say != nullptr) say(queue_name() + reason + ": no command can come, the node ends");
    const std::uint64_t one = 1;
    static_cast<void>(!write(lost, &one, sizeof one));
    for (;;) pause();
}

// All bytes of the record, whose code came as the type.
std::string record_text(const Message& message, std::size_t length) {
    std::string record;
    for (int shift = 24; shift >= 0; shift -= 8) {
        record += static_cast<char>(static_cast<unsigned long>(message.type) >> shift & 0xFF);
    }
    return record.append(message.text, length);
}

void begin_record(const Message& message, std::size_t length) {
    is_record_out = true;
    if (say != nullptr) tell_queue_command(static_cast<std::uint32_t>(message.type));
    config::records_lock().lock();
    if (console::is_followed()) console::record_taken(record_text(message, length));
}

// Rules are looked at only after a record: without one nothing has changed them, and a story that
// runs beside may be about to.
void end_record() {
    if (!std::exchange(is_record_out, false)) return;
    if (say != nullptr) look_at_rules(say);
    config::records_lock().unlock();
    console::record_done();
}

ssize_t receive_record(int queue, void* record, long type) {
    run_first();
    end_record();  // whoever asks for a record is done with the one before
    Message message;
    for (;;) {
        const ssize_t length =
            receive_of_c_library()(queue, &message, sizeof message.text, type, MSG_NOERROR);
        if (length < 0) {
            if (errno != EINTR) end_commands(errno);
        } else if (length > MC_RECORD_TEXT) {
            say_too_long();
        } else {
            // Behind a short message the library keeps what was there.
            const auto size = static_cast<std::size_t>(length);
            std::memcpy(record, &message, offsetof(Message, text) + size);
            begin_record(message, size);
            return length;
        }
    }
}

}  // namespace

int guard_command_queue(void (*complain)(const std::string& line)) {
    say = complain;
    lost = eventfd(0, EFD_CLOEXEC);
    return lost;
}

void keep_first_commands(std::function<void()> run) {
    first().run = std::move(run);
    first().may_run = false;
}

bool run_first_commands() {
    constexpr std::chrono::seconds kPatience{2};  // start-up takes milliseconds
    std::unique_lock lock(first().guard);
    first().may_run = true;
    first().changed.notify_all();
    if (!first().changed.wait_for(lock, kPatience, [] { return first().has_come; }))
        return !first().run;
    first().changed.wait(lock, [] { return first().is_done; });
    return true;
}

}  // namespace node

// The library finds this one before that of the C library, whose header gives the names.
extern "C" ssize_t msgrcv(int msqid, void* msgp, std::size_t msgsz, long msgtyp, int msgflg) {
    if (msgsz == MC_RECORD_TEXT && msgflg == 0) return node::receive_record(msqid, msgp, msgtyp);
    return node::receive_of_c_library()(msqid, msgp, msgsz, msgtyp, msgflg);
}
