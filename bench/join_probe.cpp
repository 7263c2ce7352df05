// How long after a report has entered a port does the stream leave it?
//
// Both times are taken by the kernel at one place, a packet socket on the switch's side of the
// port: the stamp of the report that comes in and that of the first stream frame that goes out.
// With --sockets 1 an ordinary socket joins instead, and the time runs from the system call to the
// first datagram's stamp; the host's own delay before its report is part of that.
//
// Prints a line a join: kind, nanoseconds to the stream, nanoseconds from the leave to the stream's
// last frame ("-" where the stream did not come or did not stop), and the sender's longest pause
// between the report and the stream.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <optional>
#include <random>
#include <stdexcept>
#include <vector>

#include "bench/arguments.h"
#include "bench/frames.h"
#include "bench/sockets.h"
#include "bench/stream_sender.h"

namespace bench {
namespace {

constexpr std::int64_t kMicrosecond = 1'000;
constexpr std::int64_t kMillisecond = 1'000'000;
constexpr std::int64_t kWarmUp = kMillisecond;       // of the sender, before the report
constexpr std::int64_t kUndisturbed = kMillisecond;  // in which the probe leaves its CPU to others
constexpr std::int64_t kSilence = 3 * kMillisecond;  // after which a stream has stopped
constexpr std::uint8_t kHost = 10;

struct Options {
    Place host, port, uplink;
    bool sockets;
    std::int64_t patience_ns;
    std::int64_t pause_ns;  // on average
    std::uint32_t first_group;
    std::int64_t joins;
};

using Time = std::optional<std::int64_t>;

// One membership, made and ended by frames of the probe's own.
class RawMember {
 public:
    RawMember(const Options& options, const Descriptor& tap)
        : tap_(tap), sender_(raw_sender(options.host)), patience_ns_(options.patience_ns) {}

    // When the report came in, by the tap's stamp.
    std::int64_t join(Kind kind, std::uint32_t group) {
        return send_and_find(report(kind, group, kHost));
    }
    std::int64_t leave(Kind kind, std::uint32_t group) {
        return send_and_find(bench::leave(kind, group, kHost));
    }

    Time first_frame(Kind kind, std::uint32_t group, std::int64_t deadline) {
        Seen seen;
        while (receive(tap_, seen, deadline)) {
            if (seen.going_out && is_stream(seen.frame, kind, group)) return seen.when_ns;
        }
        return std::nullopt;
    }

 private:
    std::int64_t send_and_find(const Frame& frame) {
        send(sender_, frame);
        // Whoever handles the frame gets the CPU now; the stamps wait in the tap.
        sleep_ns(kUndisturbed);
        Seen seen;
        const std::int64_t deadline = now_ns(CLOCK_MONOTONIC) + patience_ns_;
        while (receive(tap_, seen, deadline)) {
            if (!seen.going_out && seen.frame == frame) return seen.when_ns;
        }
        throw std::runtime_error("a frame of the probe did not come in at the port");
    }

    const Descriptor& tap_;
    Descriptor sender_;
    std::int64_t patience_ns_;
};

// One membership of an ordinary socket.
class SocketMember {
 public:
    explicit SocketMember(const Options& options)
        : host_(options.host), interface_(index_of(options.host)) {}

    std::int64_t join(Kind kind, std::uint32_t group) {
        socket_ = Descriptor(bound_socket(kind, group));
        want_time_stamps(socket_);
        const std::int64_t before = now_ns(CLOCK_REALTIME);
        change(kind, group, true);
        return before;
    }

    std::int64_t leave(Kind kind, std::uint32_t group) {
        const std::int64_t before = now_ns(CLOCK_REALTIME);
        change(kind, group, false);
        return before;
    }

    Time first_frame(Kind, std::uint32_t, std::int64_t deadline) {
        Seen seen;
        return receive(socket_, seen, deadline) ? Time(seen.when_ns) : std::nullopt;
    }

 private:
    [[nodiscard]] int bound_socket(Kind kind, std::uint32_t group) const {
        const InNamespace inside(host_.net);
        const int made = ::socket(is_mld(kind) ? AF_INET6 : AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        if (made < 0) fail("socket");
        const std::vector<std::uint8_t> address = group_address(kind, group);
        sockaddr_storage storage{};
        socklen_t length = sizeof(sockaddr_in);
        if (is_mld(kind)) {
            auto& name = reinterpret_cast<sockaddr_in6&>(storage);
            name.sin6_family = AF_INET6;
            name.sin6_port = htons(kStreamPort);
            std::memcpy(&name.sin6_addr, address.data(), address.size());
            length = sizeof(sockaddr_in6);
        } else {
            auto& name = reinterpret_cast<sockaddr_in&>(storage);
            name.sin_family = AF_INET;
            name.sin_port = htons(kStreamPort);
            std::memcpy(&name.sin_addr, address.data(), address.size());
        }
        if (bind(made, reinterpret_cast<sockaddr*>(&storage), length) != 0) fail("bind");
        return made;
    }

    void change(Kind kind, std::uint32_t group, bool member) const {
        const std::vector<std::uint8_t> address = group_address(kind, group);
        int result = 0;
        if (is_mld(kind)) {
            ipv6_mreq wanted{};
            std::memcpy(&wanted.ipv6mr_multiaddr, address.data(), address.size());
            wanted.ipv6mr_interface = static_cast<unsigned>(interface_);
            result =
                setsockopt(socket_.get(), IPPROTO_IPV6, member ? IPV6_JOIN_GROUP : IPV6_LEAVE_GROUP,
                           &wanted, sizeof wanted);
        } else {
            ip_mreqn wanted{};
            std::memcpy(&wanted.imr_multiaddr, address.data(), address.size());
            wanted.imr_ifindex = interface_;
            result =
                setsockopt(socket_.get(), IPPROTO_IP,
                           member ? IP_ADD_MEMBERSHIP : IP_DROP_MEMBERSHIP, &wanted, sizeof wanted);
        }
        if (result != 0) fail("change of a membership");
    }

    Place host_;
    int interface_;
    Descriptor socket_;
};

// False when the stream runs already: then somebody floods, and no join can be measured.
bool is_quiet(const Descriptor& tap, Kind kind, std::uint32_t group) {
    Seen seen;
    while (receive(tap, seen, 0)) {
        if (seen.going_out && is_stream(seen.frame, kind, group)) return false;
    }
    return true;
}

// The last stamp of the stream before it was silent; nothing when it ran on.
Time last_frame(const Descriptor& tap, Kind kind, std::uint32_t group, std::int64_t patience_ns) {
    Time last;
    Seen seen;
    const std::int64_t end = now_ns(CLOCK_MONOTONIC) + patience_ns;
    std::int64_t silent_at = now_ns(CLOCK_MONOTONIC) + kSilence;
    while (receive(tap, seen, silent_at)) {
        if (!seen.going_out || !is_stream(seen.frame, kind, group)) continue;
        last = seen.when_ns;
        if (now_ns(CLOCK_MONOTONIC) > end) return std::nullopt;
        silent_at = now_ns(CLOCK_MONOTONIC) + kSilence;
    }
    return last.value_or(0);
}

void print_time(Time from_start) {
    if (from_start) {
        std::printf(" %lld", static_cast<long long>(*from_start));
    } else {
        std::printf(" -");
    }
}

class Probe {
 public:
    Probe(const Options& options, const Descriptor& tap, StreamSender& sender)
        : options_(options),
          tap_(tap),
          sender_(sender),
          pause_(options.pause_ns / 2, options.pause_ns * 3 / 2) {}

    template <class Member>
    void run(Member member, Kind kind) {
        for (std::int64_t i = 0; i < options_.joins; ++i) {
            one_join(member, kind, options_.first_group + static_cast<std::uint32_t>(i));
            // Long enough for everybody to fall asleep, and never in step with anything.
            sleep_ns(pause_(random_));
        }
    }

 private:
    template <class Member>
    void one_join(Member& member, Kind kind, std::uint32_t group) {
        sender_.start(kind, group);
        sleep_ns(kWarmUp + jitter_(random_));
        if (!is_quiet(tap_, kind, group)) {
            throw std::runtime_error("streams are flooded to the port");
        }
        const std::int64_t joined = member.join(kind, group);
        const Time first =
            member.first_frame(kind, group, now_ns(CLOCK_MONOTONIC) + options_.patience_ns);
        const std::int64_t left = member.leave(kind, group);
        const Time last = last_frame(tap_, kind, group, options_.patience_ns);
        sender_.stop();
        std::printf("%s", name(kind));
        print_time(first ? Time(*first - joined) : first);
        print_time(last ? Time(std::max<std::int64_t>(*last - left, 0)) : last);
        print_time(sender_.longest_pause(joined, first.value_or(left)));
        std::printf("\n");
        std::fflush(stdout);
    }

    const Options& options_;
    const Descriptor& tap_;
    StreamSender& sender_;
    std::mt19937 random_{std::random_device{}()};
    std::uniform_int_distribution<std::int64_t> pause_;
    std::uniform_int_distribution<std::int64_t> jitter_{0, 200 * kMicrosecond};
};

void run(const Arguments& arguments) {
    const Options options = {
        .host = place(arguments.text("host")),
        .port = place(arguments.text("port")),
        .uplink = place(arguments.text("uplink")),
        .sockets = arguments.number("sockets") != 0,
        .patience_ns = arguments.number("patience-ms") * kMillisecond,
        .pause_ns = arguments.number("pause-ms") * kMillisecond,
        .first_group = static_cast<std::uint32_t>(arguments.number("first-group")),
        .joins = arguments.number("joins")};
    // The sender never sleeps while it sends, so that it gets a CPU that nobody else is bound to.
    StreamSender sender(options.uplink, arguments.number("period-ns"),
                        static_cast<int>(arguments.number("sender-cpu")));
    run_on_cpu(static_cast<int>(arguments.number("probe-cpu")));
    const Descriptor port_tap = tap(options.port);
    Probe probe(options, port_tap, sender);
    const Kind kind = kind_named(arguments.text("kind"));
    if (options.sockets) {
        probe.run(SocketMember(options), kind);
    } else {
        probe.run(RawMember(options, port_tap), kind);
    }
}

}  // namespace
}  // namespace bench

int main(int count, char** words) {
    return bench::run_program("join_probe", count, words, bench::run);
}
