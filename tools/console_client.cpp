#include "tools/console_client.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "node/console/protocol.h"

namespace commands {
namespace {

using console::Kind;

constexpr int kPatience = 5;  // seconds without a word from the node

// How long a call on the connection may wait, that of connecting too.
void set_patience(int connection, int seconds) {
    const timeval patience{seconds, 0};
    setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    setsockopt(connection, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
}

// A connection to the node's console, or -1; errno is EAGAIN when the node is there and silent.
int connect_to_node() {
    const auto where = console::address();
    const int connection = where ? socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0) : -1;
    if (connection < 0) return -1;
    set_patience(connection, kPatience);
    const auto* const name = reinterpret_cast<const sockaddr*>(&where->name);
    if (connect(connection, name, where->size) == 0) {
        if (console::is_trusted(connection)) return connection;
        errno = EPERM;
    }
    const int error = errno;
    close(connection);
    errno = error;
    return -1;
}

// A request that the node does not take is one that it answers nevertheless.
Conversation ask(std::string_view request) {
    Conversation conversation{connect_to_node(), {}, 0};
    const std::string bytes = console::frame(Kind::kRequest, request);
    if (conversation.connection >= 0) {
        static_cast<void>(!send(conversation.connection, bytes.data(), bytes.size(), MSG_NOSIGNAL));
    }
    return conversation;
}

// More of what the node says. False when it has closed the connection, or was silent for too long,
// and errno is EAGAIN then.
bool receive(Conversation& conversation) {
    std::array<char, 65536> space{};
    ssize_t size = 0;
    do {
        errno = 0;
        size = recv(conversation.connection, space.data(), space.size(), 0);
    } while (size < 0 && errno == EINTR);
    if (size <= 0) return false;
    conversation.received.erase(0, conversation.heard);
    conversation.heard = 0;
    conversation.received.append(space.data(), static_cast<std::size_t>(size));
    return true;
}

// The next of what the node has said, if it is here as a whole. It lies in the conversation until
// more is received.
std::optional<console::Frame> heard_already(Conversation& conversation) {
    std::string_view rest = std::string_view(conversation.received).substr(conversation.heard);
    const auto frame = console::take_frame(rest);
    conversation.heard = conversation.received.size() - rest.size();
    return frame;
}

// What the node says next; nothing when receive fails.
std::optional<console::Frame> listen_to(Conversation& conversation) {
    do {
        const auto frame = heard_already(conversation);
        if (frame) return frame;
    } while (receive(conversation));
    return std::nullopt;
}

// Whether the node is ready for what was asked for. Otherwise why is what it says to that, if
// anything.
bool is_ready(Conversation& conversation, std::string& why) {
    if (conversation.connection < 0) return false;
    const auto first = listen_to(conversation);
    if (first && first->kind == Kind::kReady) return true;
    const int error = errno;
    if (first && first->kind == Kind::kRefused) why = first->text;
    close(conversation.connection);
    errno = first ? 0 : error;
    return false;
}

std::string request_of(const Record& record) {
    std::string request(console::kAnswerWord);
    request += ' ';
    for (const std::uint8_t byte : record.bytes) request += static_cast<char>(byte);
    return request;
}

// Waits until the node says more; false once nobody reads what is printed here.
bool await_words_or_reader(int connection) {
    std::array<pollfd, 2> wanted{{{connection, POLLIN, 0}, {STDOUT_FILENO, 0, 0}}};
    while (poll(wanted.data(), wanted.size(), -1) < 0 && errno == EINTR) {
    }
    return (wanted[1].revents & POLLERR) == 0;
}

bool print(std::string_view text) {
    return std::fwrite(text.data(), 1, text.size(), stdout) == text.size() &&
           std::fflush(stdout) == 0;
}

// False once nobody reads it.
bool print_or_throw(std::string_view text) {
    if (print(text)) return true;
    if (errno == EPIPE) return false;
    throw ConsoleError(std::string("standard output: ") + std::strerror(errno));
}

}  // namespace

std::optional<Conversation> await_answer(const Record& record) {
    Conversation conversation = ask(request_of(record));
    std::string why;
    if (is_ready(conversation, why)) return conversation;
    if (errno != EAGAIN) return std::nullopt;
    throw ConsoleError("the node has not answered for " + std::to_string(kPatience) +
                       " seconds: nothing was posted");
}

std::string take_answer(Conversation& conversation) {
    std::string answer;
    while (const auto words = listen_to(conversation)) {
        if (words->kind == Kind::kDone) {
            close(conversation.connection);
            return answer;
        }
        if (words->kind == Kind::kRefused) throw ConsoleError(std::string(words->text));
        if (words->kind == Kind::kEnd) {
            throw ConsoleError("the command was posted, but the node ended before it was done");
        }
        answer += words->text;
    }
    if (errno != EAGAIN) {
        throw ConsoleError("the command was posted, but the node was gone before it was done");
    }
    throw ConsoleError("the command was posted, but the node has not said a word for " +
                       std::to_string(kPatience) + " seconds and is not done");
}

std::optional<std::string> ask_for_text(std::string_view word) {
    Conversation conversation = ask(word);
    if (conversation.connection < 0 && errno != EAGAIN) return std::nullopt;
    std::string text;
    while (const auto words =
               conversation.connection < 0 ? std::nullopt : listen_to(conversation)) {
        const bool is_refused = words->kind == Kind::kRefused;
        if (is_refused || words->kind == Kind::kDone) {
            close(conversation.connection);
            return is_refused ? std::nullopt : std::optional(text);
        }
        text += words->text;
    }
    throw ConsoleError("the node has not answered for " + std::to_string(kPatience) + " seconds");
}

bool follow_console() {
    Conversation conversation = ask(console::kConsoleWord);
    std::string why;
    if (!is_ready(conversation, why)) {
        throw ConsoleError("no console of a node is there for us" +
                           (why.empty() ? why : ": " + why));
    }
    set_patience(conversation.connection, 0);
    for (;;) {
        const auto words = heard_already(conversation);
        if (!words) {
            if (!await_words_or_reader(conversation.connection)) return false;
            if (!receive(conversation)) throw ConsoleError("the node is gone");
        } else if (words->kind == Kind::kEnd) {
            return true;
        } else if (words->kind == Kind::kRefused) {
            throw ConsoleError(std::string(words->text));
        } else if (!print_or_throw(words->text)) {
            return false;
        }
    }
}

}  // namespace commands
