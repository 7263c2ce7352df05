// Sockets in namespaces that others hold, and what the kernel tells with a frame.
#pragma once

#include <cstdint>
#include <string>

#include "bench/frames.h"

namespace bench {

class Descriptor {
 public:
    Descriptor() = default;
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor();

    [[nodiscard]] int get() const { return fd_; }

 private:
    int fd_ = -1;
};

// While it lives, this thread makes its sockets in the namespace that the path names.
class InNamespace {
 public:
    explicit InNamespace(const std::string& path);
    InNamespace(const InNamespace&) = delete;
    InNamespace& operator=(const InNamespace&) = delete;
    ~InNamespace();

 private:
    Descriptor own_;
};

// An interface in a namespace.
struct Place {
    std::string net;
    std::string interface;
};

// "PATH,INTERFACE"; throws std::invalid_argument.
Place place(const std::string& text);
int index_of(const Place& where);

// A packet socket that only sends.
Descriptor raw_sender(const Place& where);

// A packet socket that sees every frame of the interface, both ways, stamped by the kernel.
Descriptor tap(const Place& where);

struct Seen {
    Frame frame;
    std::int64_t when_ns = 0;  // of the real-time clock, stamped by the kernel
    bool going_out = false;
};

// Waits until deadline_ns of the monotonic clock; false when nothing came.
bool receive(const Descriptor& socket, Seen& seen, std::int64_t deadline_ns);

void want_time_stamps(const Descriptor& socket);
void send(const Descriptor& socket, FrameView frame);
std::int64_t now_ns(int clock);
void sleep_ns(std::int64_t duration);

// A negative number stands for wherever the kernel likes.
void run_on_cpu(int cpu);
// Before everything else that wants this CPU.
void rule_cpu(int cpu);

[[noreturn]] void fail(const std::string& what);  // throws std::system_error with errno

}  // namespace bench
