#include "node/live/live.h"

#include <poll.h>
#include <sys/random.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "adapt/adapt.h"
#include "adapt/records.h"
#include "mld/record.h"
#include "node/console/protocol.h"
#include "node/console/server.h"
#include "node/core/multicast_core.h"
#include "node/driver/host.h"
#include "node/live/core_clock.h"
#include "node/live/live_driver.h"
#include "node/live/live_error.h"
#include "node/live/live_metrics.h"
#include "node/live/live_summary.h"
#include "node/live/news.h"
#include "node/live/own_address.h"
#include "node/live/restore.h"
#include "node/metrics/http_server.h"
#include "node/report/console.h"
#include "node/timeline/recording.h"

namespace live {
namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;

// News of one event comes in pieces, an interface that is deleted goes down first: wait for the
// rest.
constexpr std::uint64_t kNewsSettleUs = 30'000;

// Blocked in every thread that is started from here on: the supervisor alone hears of them.
int catch_signals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGUSR1);  // for a timeline up to now
    sigaddset(&signals, SIGHUP);   // the terminal is gone: the bridge must not be left as it is
    static_cast<void>(pthread_sigmask(SIG_BLOCK, &signals, nullptr));
    const int descriptor = signalfd(-1, &signals, SFD_CLOEXEC);
    if (descriptor < 0) throw LiveError(std::string("signalfd: ") + std::strerror(errno));
    return descriptor;
}

// Two nodes in one network namespace would take the rules and entries from each other. A name in
// the namespace's own list of sockets goes with the process, however that ends.
void be_the_only_one() {
    constexpr std::string_view kName = "mc_node live";
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::ranges::copy(kName, address.sun_path + 1);
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + kName.size());
    const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (bind(descriptor, reinterpret_cast<const sockaddr*>(&address), size) != 0) {
        throw LiveError("another node is live in this network namespace");
    }
}

// The library has an address of its own that no interface has, for MLD none at all, and switches
// refuse frames from nobody.
void send_from(const driver::MacAddress& mac) {
    std::ranges::copy(mac, sys_mac);
    std::ranges::copy(mac, mld_sys_mac);
}

// Otherwise all nodes of a network would answer the same queries at the same times.
void draw_seed() {
    std::uint64_t seed = 0;
    const ssize_t drawn = getrandom(&seed, sizeof seed, 0);
    if (drawn != static_cast<ssize_t>(sizeof seed)) throw LiveError("no random numbers to be had");
    mcore::seed_chance(seed);
}

class Supervisor {
 public:
    Supervisor(LiveDriver& driver, OwnAddress& own_address, const CoreClock& clock, int signals,
               int queue_lost, std::function<void()> write_page)
        : driver_(driver),
          own_address_(own_address),
          clock_(clock),
          signals_(signals),
          queue_lost_(queue_lost),
          write_page_(std::move(write_page)),
          news_(driver.news_reader()) {}

    // Until a signal, or until the command queue is lost.
    void run() {
        while (true) {
            std::array<pollfd, 4> wanted{{{signals_, POLLIN, 0},
                                          {clock_.descriptor(), POLLIN, 0},
                                          {news_.descriptor(), POLLIN, 0},
                                          {queue_lost_, POLLIN, 0}}};
            static_cast<void>(poll(wanted.data(), wanted.size(), patience_ms()));
            if (wanted[3].revents != 0) return;
            if (wanted[0].revents != 0 && !is_for_page()) return;
            if (wanted[1].revents != 0) CoreClock::move();
            if (wanted[2].revents != 0) take_news();
            look_when_settled();
        }
    }

 private:
    // Whether the signal that has come only asks for a page.
    [[nodiscard]] bool is_for_page() {
        signalfd_siginfo signal{};
        if (read(signals_, &signal, sizeof signal) != sizeof signal) return true;
        if (signal.ssi_signo != SIGUSR1) return false;
        CoreClock::move();
        write_page_();
        return true;
    }

    [[nodiscard]] int patience_ms() const {
        if (!look_at_us_) return -1;
        const std::uint64_t now = CoreClock::now_us();
        return *look_at_us_ <= now ? 0 : static_cast<int>((*look_at_us_ - now) / 1000 + 1);
    }

    void take_news() {
        if (!news_.take()) return;
        if (!look_at_us_) look_at_us_ = CoreClock::now_us() + kNewsSettleUs;
    }

    void look_when_settled() {
        if (!look_at_us_ || *look_at_us_ > CoreClock::now_us()) return;
        look_at_us_.reset();
        own_address_.look();
        const auto again = driver_.look();
        if (!again) return;
        look_at_us_ = CoreClock::now_us() + 1000 * static_cast<std::uint64_t>(again->count());
    }

    LiveDriver& driver_;
    OwnAddress& own_address_;
    const CoreClock& clock_;
    int signals_;
    int queue_lost_;
    std::function<void()> write_page_;
    News news_;
    std::optional<std::uint64_t> look_at_us_;
};

std::string uplink_of(const Arguments& arguments) {
    for (const PortInterface& port : arguments.ports) {
        if (port.port == driver::kUplinkPort) return port.interface;
    }
    return "";
}

std::string ready_line(const Arguments& arguments, const OwnAddress& own_address,
                       const std::string& way_in) {
    std::string line = "live on " + arguments.bridge + ":";
    for (const PortInterface& port : arguments.ports) {
        line += (line.back() == ':' ? " " : ", ") + name_of(port) + " " + port.interface;
    }
    line += "; IGMP from " + own_address.text();
    return way_in.empty() ? line : line + "; commands by " + way_in + " mcctl ...";
}

// Tasks of the library use it to the end of the process.
LiveDriver& make_driver(const Arguments& arguments, const driver::Host& host) {
    return *new LiveDriver(arguments.bridge, arguments.ports, arguments.onu_id, host.complain,
                           CoreClock::move);
}

// The core's clock began with the machine.
std::uint64_t wall_offset_us() {
    const auto wall = std::chrono::system_clock::now().time_since_epoch();
    const auto wall_us = std::chrono::duration_cast<std::chrono::microseconds>(wall).count();
    return static_cast<std::uint64_t>(wall_us) - CoreClock::now_us();
}

std::unique_ptr<metrics::HttpServer> serve_metrics(const Arguments& arguments, LiveDriver& driver) {
    if (arguments.metrics.empty()) return nullptr;
    return std::make_unique<metrics::HttpServer>(arguments.metrics,
                                                 [&driver] { return metric_families(driver); });
}

void take_bridge(LiveDriver& driver) {
    try {
        driver.begin();
    } catch (const LiveError&) {
        driver.end();
        throw;
    }
}

void start_library(const Arguments& arguments, LiveDriver& driver) {
    CoreClock::move();
    driver::set_before_command(CoreClock::move);
    driver::know_own_frames({sys_mac, mld_sys_mac});
    driver::start_without_signals(IgmpInit);
    mc_debug = arguments.debug;
    mld_debug = arguments.debug;
    send_from(driver.bridge_mac());
    mcore::watch_router_ports(
        [&driver](std::uint32_t port, bool is_router) { driver.set_router_port(port, is_router); });
    mcore::watch_filters(kMostSources,
                         [&driver](const mcore::EntryOwner& owner) { driver.set_filter(owner); });
}

// Until a signal, or until the command queue is lost.
void work(const Arguments& arguments, const driver::Host& host, LiveDriver& driver, int signals,
          const std::function<void()>& write_page, const std::string& metrics_url) {
    OwnAddress own_address(arguments.bridge, uplink_of(arguments), host.complain);
    own_address.begin();
    const CoreClock clock;
    Supervisor supervisor(driver, own_address, clock, signals, host.queue_lost, write_page);
    // No frame meets half a configuration, and whoever reads that the node is live sends commands.
    if (!host.run_first_commands()) {
        driver.end();
        throw LiveError("the library takes no commands");
    }
    driver.start();
    host.complain(ready_line(arguments, own_address, host.way_in));
    if (!metrics_url.empty()) host.complain("metrics at " + metrics_url);
    supervisor.run();
}

int sum_up(const Arguments& arguments, const driver::Host& host, const Summary& summary,
           const std::vector<std::string>& unwritten, std::FILE* out) {
    const std::string text = arguments.json ? as_json(summary) : as_text(summary);
    const bool is_written = std::fputs(text.c_str(), out) >= 0 && std::fflush(out) == 0;
    if (!is_written) host.complain("the summary could not be written");
    for (const std::string& line : unwritten) host.complain(line);
    if (driver::is_queue_lost(host, 0)) return driver::kQueueLost;
    return is_written && unwritten.empty() ? kDone : kFailed;
}

}  // namespace

int run(const Arguments& arguments, const driver::Host& host) {
    if (arguments.restore) {
        be_the_only_one();
        restore(arguments.bridge, host.complain);
        return kDone;
    }
    const int signals = catch_signals();
    be_the_only_one();
    LiveDriver& driver = make_driver(arguments, host);
    console::offer(host.complain,
                   {{console::kMetricsWord, [&driver] { return metric_families(driver); }},
                    {console::kConfigWord, host.configuration}});
    std::FILE* const out = arguments.json ? report::divert_library_output() : stdout;
    if (out == nullptr) throw LiveError("standard output cannot be diverted");
    // Whoever watches sees what the library prints when it is printed.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    draw_seed();
    CoreClock::move();
    timeline::Recording recording(arguments.recorded,
                                  {events::FrameSource::kInterface, wall_offset_us()});

    // Or say why not before the bridge is taken.
    const auto metrics = serve_metrics(arguments, driver);
    take_bridge(driver);
    const std::uint64_t begin_us = CoreClock::now_us();
    start_library(arguments, driver);
    const auto write_page = [&] {
        if (const auto failure = recording.write_page()) host.complain(*failure);
    };
    work(arguments, host, driver, signals, write_page, metrics ? metrics->url() : "");

    const std::uint64_t end_us = CoreClock::now_us();
    const Summary summary{arguments.bridge, driver.report(), report::core_report(end_us),
                          static_cast<double>(end_us - begin_us) / 1e6};
    driver.end();
    return sum_up(arguments, host, summary, recording.end(), out);
}

}  // namespace live
