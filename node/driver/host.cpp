#include "node/driver/host.h"

#include <poll.h>

#include <csignal>

namespace driver {
namespace {

void (*prepare_for_command)() = nullptr;

}  // namespace

bool is_queue_lost(const Host& host, int patience_ms) {
    pollfd wanted{host.queue_lost, POLLIN, 0};
    return poll(&wanted, 1, patience_ms) > 0;
}

void start_without_signals(std::int32_t (*start)()) {
    sigset_t signals;
    sigset_t before;
    sigfillset(&signals);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP}) sigdelset(&signals, fault);
    static_cast<void>(pthread_sigmask(SIG_BLOCK, &signals, &before));
    static_cast<void>(start());  // what did not start is missed where it is waited for
    static_cast<void>(pthread_sigmask(SIG_SETMASK, &before, nullptr));
}

void set_before_command(void (*prepare)()) { prepare_for_command = prepare; }

void before_command() {
    if (prepare_for_command != nullptr) prepare_for_command();
}

}  // namespace driver
