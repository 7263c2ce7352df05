#include "node/console/server.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <list>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include "node/console/output.h"
#include "node/console/protocol.h"
#include "node/driver/host.h"

namespace console {
namespace {

constexpr std::size_t kMostConnections = 16;
constexpr std::size_t kMostWaiting = 4U << 20;  // bytes that a client is behind
constexpr std::size_t kMostRequest = 1024;

enum class State {
    kNew,        // no request yet
    kConsole,    // gets everything
    kAwaiting,   // its record is not taken yet
    kAnswering,  // its record runs
    kClosing,    // gets what is waiting, and nothing more
};

// Only the console's task adds connections and removes them, so it may walk over them without the
// lock. What others change, and read, is behind the lock.
struct Connection {
    int descriptor = -1;
    // The console's task alone:
    std::string received;
    std::string sending;  // what the socket has not taken yet
    bool has_asked = false;
    bool is_gone = false;
    // Behind the lock:
    State state = State::kNew;
    std::string record;   // that is awaited
    std::string waiting;  // frames
};

std::mutex guard;
std::list<Connection> connections;
std::atomic<std::size_t> connected = 0;

std::vector<TextRequest> text_requests;
int listener = -1;
int wake = -1;

void wake_task() {
    const std::uint64_t one = 1;
    static_cast<void>(!write(wake, &one, sizeof one));
}

// ---- Behind the lock ----------------------------------------------------------------------------

void add(Connection& connection, Kind kind, std::string_view text = {}) {
    if (connection.waiting.empty()) wake_task();
    connection.waiting += frame(kind, text);
}

void refuse(Connection& connection, std::string_view why) {
    add(connection, Kind::kRefused, why);
    connection.state = State::kClosing;
}

void add_printed(Connection& connection, std::string_view text) {
    if (connection.waiting.size() + text.size() > kMostWaiting) {
        refuse(connection, "what the node prints was not read: the rest is left out");
    } else {
        add(connection, Kind::kText, text);
    }
}

// Of several that await the same bytes each gets one of the answers, in turn. Whoever else posts
// such a record gives one of them its answer early: it is to the same command, and no older than
// the request.
Connection* awaiting(std::string_view record) {
    const auto found = std::ranges::find_if(connections, [&](const Connection& connection) {
        return connection.state == State::kAwaiting && connection.record == record;
    });
    return found == connections.end() ? nullptr : &*found;
}

// ---- For those who print ------------------------------------------------------------------------

void hear(std::string_view text) {
    if (!is_followed()) return;
    const std::lock_guard lock(guard);
    for (Connection& connection : connections) {
        const bool listens =
            connection.state == State::kConsole || connection.state == State::kAnswering;
        if (listens) add_printed(connection, text);
    }
}

// ---- Requests -----------------------------------------------------------------------------------

void answer(Connection& connection, const TextRequest& request) {
    const std::string text = request.text();
    const std::lock_guard lock(guard);
    add(connection, Kind::kText, text);
    add(connection, Kind::kDone);
    connection.state = State::kClosing;
}

void await(Connection& connection, State state, std::string_view record) {
    const std::lock_guard lock(guard);
    connection.state = state;
    connection.record = record;
    add(connection, Kind::kReady);
}

void take_request(Connection& connection, std::string_view text) {
    const std::size_t blank = std::min(text.find(' '), text.size());
    const std::string_view word = text.substr(0, blank);
    const std::string_view rest = text.substr(std::min(blank + 1, text.size()));
    const auto other = std::ranges::find(text_requests, word, &TextRequest::word);
    if (word == kConsoleWord) {
        await(connection, State::kConsole, {});
    } else if (word == kAnswerWord) {
        await(connection, State::kAwaiting, rest);
    } else if (other != text_requests.end()) {
        answer(connection, *other);
    } else {
        const std::lock_guard lock(guard);
        refuse(connection, "this node knows no such request");
    }
}

// ---- The console's task -------------------------------------------------------------------------

void receive(Connection& connection) {
    std::array<char, kMostRequest> space{};
    const ssize_t size = recv(connection.descriptor, space.data(), space.size(), MSG_DONTWAIT);
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) return;
    connection.received.append(space.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    // A client has one thing to say, and then leaves at most.
    if (size <= 0 || connection.has_asked || connection.received.size() > kMostRequest) {
        connection.is_gone = true;
        return;
    }
    std::string_view received = connection.received;
    const std::optional<Frame> request = take_frame(received);
    if (!request) return;
    connection.has_asked = true;
    take_request(connection, request->text);
}

void send_waiting(Connection& connection) {
    bool is_closing = false;
    if (connection.sending.empty()) {
        const std::lock_guard lock(guard);
        std::swap(connection.sending, connection.waiting);
        is_closing = connection.state == State::kClosing;
    }
    if (connection.sending.empty()) {
        connection.is_gone |= is_closing;
        return;
    }
    const ssize_t sent = send(connection.descriptor, connection.sending.data(),
                              connection.sending.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent < 0 && errno != EAGAIN && errno != EINTR) connection.is_gone = true;
    if (sent > 0) connection.sending.erase(0, static_cast<std::size_t>(sent));
}

bool has_to_send(const Connection& connection) {
    const std::lock_guard lock(guard);
    return !connection.sending.empty() || !connection.waiting.empty() ||
           connection.state == State::kClosing;
}

void remove_gone() {
    for (auto connection = connections.begin(); connection != connections.end();) {
        const auto next = std::next(connection);
        if (connection->is_gone) {
            close(connection->descriptor);
            const std::lock_guard lock(guard);
            connections.erase(connection);
            connected = connections.size();
        }
        connection = next;
    }
}

// One that was cut off keeps its place for what it may still read until somebody needs it.
bool make_room() {
    if (connections.size() < kMostConnections) return true;
    {
        const std::lock_guard lock(guard);
        const auto cut_off = std::ranges::find(connections, State::kClosing, &Connection::state);
        if (cut_off == connections.end()) return false;
        cut_off->is_gone = true;
    }
    remove_gone();
    return true;
}

void turn_away(int descriptor, std::string_view why) {
    const std::string line = frame(Kind::kRefused, why);
    static_cast<void>(!send(descriptor, line.data(), line.size(), MSG_DONTWAIT | MSG_NOSIGNAL));
    close(descriptor);
}

void take_connection() {
    const int descriptor = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (descriptor < 0) {
        // Out of descriptors: whoever waits is still there, and poll would not wait for others.
        if (errno != EAGAIN) std::this_thread::sleep_for(std::chrono::milliseconds(100));
        return;
    }
    if (!is_trusted(descriptor))
        return turn_away(descriptor, "the console is for the node's own user");
    if (!make_room()) return turn_away(descriptor, "too many processes follow the console");
    const std::lock_guard lock(guard);
    connections.emplace_back().descriptor = descriptor;
    connected = connections.size();
}

void serve() {
    for (;;) {
        std::vector<pollfd> wanted{{listener, POLLIN, 0}, {wake, POLLIN, 0}};
        for (const Connection& connection : connections) {
            const int events = has_to_send(connection) ? POLLIN | POLLOUT : POLLIN;
            wanted.push_back({connection.descriptor, static_cast<short>(events), 0});
        }
        static_cast<void>(poll(wanted.data(), wanted.size(), -1));
        std::uint64_t count = 0;
        if (wanted[1].revents != 0) static_cast<void>(!read(wake, &count, sizeof count));
        std::size_t at = 2;
        for (Connection& connection : connections) {
            const int events = wanted[at++].revents;
            if ((events & ~POLLOUT) != 0) receive(connection);
            if ((events & POLLOUT) != 0) send_waiting(connection);
        }
        remove_gone();
        if (wanted[0].revents != 0) take_connection();
    }
}

// ---- Start --------------------------------------------------------------------------------------

// What is in the way, or nothing.
std::string open_listener() {
    const std::optional<Address> where = address();
    if (!where) return "the IPC namespace is not to be learnt";
    listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    wake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (listener < 0 || wake < 0) return std::strerror(errno);
    const auto* const name = reinterpret_cast<const sockaddr*>(&where->name);
    if (bind(listener, name, where->size) == 0 && listen(listener, SOMAXCONN) == 0) return "";
    return errno == EADDRINUSE ? "another process has its name" : std::strerror(errno);
}

}  // namespace

void offer(void (*complain)(const std::string& line), std::vector<TextRequest> requests) {
    std::string missing = open_listener();
    if (missing.empty() && !listen_to_output(hear)) missing = "no memory";
    if (!missing.empty()) {
        close(std::exchange(listener, -1));
        return complain("no console for other processes: " + missing);
    }
    text_requests = std::move(requests);
    driver::start_without_signals([]() -> std::int32_t {
        std::thread(serve).detach();
        return 0;
    });
}

bool is_followed() { return connected != 0; }

// What the buffer of stdout holds was printed before the record, or by it.
void record_taken(std::string_view record) {
    if (!is_followed()) return;
    std::fflush(stdout);
    const std::lock_guard lock(guard);
    Connection* const connection = awaiting(record);
    if (connection != nullptr) connection->state = State::kAnswering;
}

void record_done() {
    if (!is_followed()) return;
    std::fflush(stdout);
    const std::lock_guard lock(guard);
    for (Connection& connection : connections) {
        if (connection.state != State::kAnswering) continue;
        add(connection, Kind::kDone);
        connection.state = State::kClosing;
    }
}

void end() {
    constexpr int kLooks = 100;
    constexpr std::chrono::milliseconds kBetween{5};
    {
        const std::lock_guard lock(guard);
        for (Connection& connection : connections) {
            if (connection.state == State::kClosing) continue;
            add(connection, Kind::kEnd);
            connection.state = State::kClosing;
        }
    }
    for (int i = 0; i < kLooks && is_followed(); ++i) std::this_thread::sleep_for(kBetween);
}

}  // namespace console
