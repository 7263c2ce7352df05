// The L2 multicast driver over the ports of a Linux bridge. It plays the trap with a packet socket
// a port and the switch with the bridge's multicast database; streams themselves never come here.
//
//      supervisor (main thread)        packet task            command task
//      begin()
//      IgmpInit()  --- creates -----> waits                   waits
//      start()     ----------------->  read: a frame          set_entry, remove_entry, send
//      look() after news of links      set_entry, send
//      end()       ----------------->  read: nothing more
//
// One mutex covers everything but the waiting for frames; it is never held while the core runs, and
// the core's own lock is held when it asks for entries.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "node/driver/driver.h"
#include "node/driver/frame_check.h"
#include "node/driver/frame_fate.h"
#include "node/driver/ports.h"
#include "node/live/bridge.h"
#include "node/live/news.h"
#include "node/live/port_socket.h"
#include "node/live/say.h"
#include "node/metrics/exposition.h"

namespace live {

struct PortCounters {
    std::string interface;  // empty: the node has no such port
    std::uint64_t igmp = 0;
    std::uint64_t mld = 0;
    std::uint64_t not_trapped = 0;  // let through by the socket's filter, refused on a closer look
    std::uint64_t too_long = 0;     // above driver::kLongestFrame
    driver::RefusalCounts refused{};
    driver::FateCounts fates{};        // of what the library took, but for a frame in hand
    std::uint64_t socket_dropped = 0;  // came when the socket had no room
    std::uint64_t sent = 0;
    std::uint64_t send_failed = 0;
};

struct EntryReport {
    std::uint8_t port;
    Group group;
    std::vector<std::uint16_t> vlans;
    mcore::Filter filter;  // what it lets through, or would
    EntryState state;
};

struct Report {
    driver::PerPort<PortCounters> ports;
    std::vector<EntryReport> entries;
    std::uint64_t send_invalid_port = 0;
    metrics::Histogram entry_latency;  // from a report's arrival to the entry that it makes
};

class LiveDriver final : public driver::Driver {
 public:
    // now moves the core's clock to the present; it is called before each frame.
    LiveDriver(const std::string& bridge, const std::vector<PortInterface>& ports,
               std::uint8_t onu_id, Say say, void (*now)());

    // Becomes the chosen driver and takes the bridge. Throws LiveError; end() is due either way.
    void begin();
    // Lets the packet task have frames.
    void start();
    // No more frames; gives the bridge back as it was.
    void end();

    // For the supervisor, after news. The core hears of ports that are down.
    [[nodiscard]] std::optional<std::chrono::milliseconds> look();  // again after that, if any

    // For the supervisor: who is asked about news.
    [[nodiscard]] NewsReader news_reader();

    // For the core.
    void set_router_port(std::uint32_t port, bool is_router);
    void set_filter(const mcore::EntryOwner& owner);

    [[nodiscard]] driver::MacAddress bridge_mac();
    [[nodiscard]] Report report();
    // The same without the entries, of which there may be many.
    [[nodiscard]] Report counts();

    // ---- What the L2_multicast_ functions do ----

    [[nodiscard]] std::optional<driver::Delivery> read(std::span<std::uint8_t> buf) override;
    [[nodiscard]] bool send(std::int64_t port, std::span<const std::uint8_t> frame) override;
    [[nodiscard]] bool set_entry(std::int64_t port, const driver::MacAddress& mac,
                                 std::uint16_t vlan) override;
    [[nodiscard]] bool remove_entry(std::int64_t port, const driver::MacAddress& mac,
                                    std::uint16_t vlan) override;
    [[nodiscard]] std::uint8_t onu_id() const override { return onu_id_; }
    void set_onu_id(std::uint8_t onu_id) override { onu_id_ = onu_id; }

 private:
    void open_port(std::size_t slot, int index);
    void count_last_frame();
    [[nodiscard]] std::optional<Arrival> take_frame(std::size_t slot, std::span<std::uint8_t> buf);
    [[nodiscard]] Report counts_now();
    void note_drops(std::size_t slot);
    [[nodiscard]] std::optional<mcore::EntryOwner> owner_in_hand(const driver::MacAddress& mac);

    Say say_;
    void (*now_)();
    std::atomic<std::uint8_t> onu_id_;

    bool is_prepared_ = false;  // the packet task's alone

    int wake_;   // an event that is there once reading has come to its end
    int epoll_;  // over the port sockets, and wake_

    std::mutex mutex_;
    bool ended_ = false;
    Bridge bridge_;
    driver::PerPort<std::unique_ptr<PortSocket>> sockets_;
    driver::PerPort<PortCounters> counters_;
    std::uint64_t send_invalid_port_ = 0;
    metrics::Histogram entry_latency_;
    bool said_no_group_ = false;

    std::atomic<bool> started_ = false;
};

}  // namespace live
