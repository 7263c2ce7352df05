// Sends reports at an even pace, of all four kinds and from several hosts, round and round over all
// ports and groups.
//
// Prints a line for each membership that must come of it, port's number and group, and at last how
// many reports were sent in how many nanoseconds, and how many came out of the uplink.
#include <linux/filter.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

#include "bench/arguments.h"
#include "bench/frames.h"
#include "bench/sockets.h"

namespace bench {
namespace {

constexpr std::int64_t kSecond = 1'000'000'000;
constexpr std::uint8_t kFirstHost = 20;
constexpr std::int64_t kHosts = 4;  // at every port

// Counts the reports that come out of the uplink, without ever reading one: the kernel counts what
// the filter lets through, whether there is room for it or not.
class Counter {
 public:
    explicit Counter(const Place& where) : socket_(tap(where)) {
        constexpr auto kPacketType = static_cast<std::uint32_t>(SKF_AD_OFF + SKF_AD_PKTTYPE);
        constexpr std::uint32_t kMacOfHosts = 0x02000000;  // the first four bytes
        sock_filter code[] = {
            BPF_STMT(BPF_LD | BPF_B | BPF_ABS, kPacketType),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, PACKET_OUTGOING, 3, 0),
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, ETH_ALEN),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, kMacOfHosts, 0, 1),
            BPF_STMT(BPF_RET | BPF_K, 1),
            BPF_STMT(BPF_RET | BPF_K, 0),
        };
        const sock_fprog program = {sizeof code / sizeof code[0], code};
        if (setsockopt(socket_.get(), SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program) !=
            0) {
            fail("filter");
        }
        counted();  // what came before the filter was there
    }

    // Since the last call.
    std::int64_t counted() {
        tpacket_stats statistics{};
        socklen_t length = sizeof statistics;
        if (getsockopt(socket_.get(), SOL_PACKET, PACKET_STATISTICS, &statistics, &length) != 0) {
            fail("statistics");
        }
        return statistics.tp_packets;
    }

 private:
    Descriptor socket_;
};

// One report of the round: which port it enters, which group it names.
struct Membership {
    std::size_t port;
    std::uint32_t group;
    bool mld;
};

std::vector<Membership> memberships(std::size_t ports, std::int64_t groups) {
    std::vector<Membership> all;
    for (std::uint32_t group = 0; group < groups; ++group) {
        for (std::size_t port = 0; port < ports; ++port) {
            all.push_back({port, group, group % 2 != 0});
        }
    }
    return all;
}

// The version changes from round to round, half of the groups starting with the older one.
Kind kind_in_round(const Membership& membership, std::int64_t round) {
    const bool newer = (round + membership.group / 2) % 2 != 0;
    if (membership.mld) return newer ? Kind::kMldV2 : Kind::kMldV1;
    return newer ? Kind::kIgmpV3 : Kind::kIgmpV2;
}

void wait_until(std::int64_t when) {
    const timespec due{when / kSecond, when % kSecond};
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &due, nullptr);
}

void run(const Arguments& arguments) {
    run_on_cpu(static_cast<int>(arguments.number("cpu")));
    std::vector<Descriptor> ports;
    for (const std::string& port : arguments.all("host")) ports.push_back(raw_sender(place(port)));
    Counter forwarded(place(arguments.text("uplink")));
    const std::vector<Membership> all = memberships(ports.size(), arguments.number("groups"));
    const std::int64_t rate = arguments.number("rate");
    const std::int64_t reports = rate * arguments.number("seconds");
    const auto round_length = static_cast<std::int64_t>(all.size());

    const std::int64_t begin = now_ns(CLOCK_MONOTONIC);
    for (std::int64_t i = 0; i < reports; ++i) {
        const Membership& one = all[static_cast<std::size_t>(i % round_length)];
        const std::int64_t round = i / round_length;
        const auto host = static_cast<std::uint8_t>(kFirstHost + round % kHosts);
        const Frame frame = report(kind_in_round(one, round), one.group, host);
        wait_until(begin + i * kSecond / rate);
        send(ports[one.port], frame);
    }
    const std::int64_t duration = now_ns(CLOCK_MONOTONIC) - begin;
    sleep_ns(kSecond / 2);  // for what is still waiting to be forwarded

    for (std::int64_t i = 0; i < std::min(round_length, reports); ++i) {
        const Membership& one = all[static_cast<std::size_t>(i)];
        const Kind kind = one.mld ? Kind::kMldV1 : Kind::kIgmpV2;
        std::printf("member %zu %s\n", one.port, group_text(kind, one.group).c_str());
    }
    std::printf("sent %lld %lld %lld\n", static_cast<long long>(reports),
                static_cast<long long>(duration), static_cast<long long>(forwarded.counted()));
}

}  // namespace
}  // namespace bench

int main(int count, char** words) {
    return bench::run_program("report_load", count, words, bench::run);
}
