/*
 * The capture driver: what it takes out of capture files, in which order and at which time, and
 * what it keeps of the frames sent and the switch entries set. Frames go in as commented bytes, in
 * files that the tests write themselves.
 */
#include <gtest/gtest.h>
#include <pcap/pcap.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "node/capture/capture_driver.h"
#include "node/capture/capture_error.h"
#include "platform/l2_multicast.h"
#include "support/capture_files.h"
#include "support/frame_pieces.h"

namespace {

namespace fs = std::filesystem;
using capture::CaptureError;
using capture::Driver;
using capture::Input;
using capture::Replay;
using namespace capture_files;
using namespace frame_pieces;

constexpr std::uint64_t kStart = 1'700'000'000 * kSecond;

// ---- Capture files ------------------------------------------------------------------------------

std::vector<Stamped> read_capture(const fs::path& file) {
    std::array<char, PCAP_ERRBUF_SIZE> why{};
    pcap_t* handle = pcap_open_offline(file.c_str(), why.data());
    if (handle == nullptr) {
        ADD_FAILURE() << why.data();
        return {};
    }
    std::vector<Stamped> frames;
    pcap_pkthdr* header = nullptr;
    const u_char* bytes = nullptr;
    while (pcap_next_ex(handle, &header, &bytes) == 1) {
        const auto seconds = static_cast<std::uint64_t>(header->ts.tv_sec);
        frames.push_back({seconds * kSecond + static_cast<std::uint64_t>(header->ts.tv_usec),
                          Bytes(bytes, bytes + header->caplen), header->len});
    }
    pcap_close(handle);
    return frames;
}

// ---- The core's clock, faked ----

struct FakeCore {
    std::uint64_t now = 0;
    std::vector<std::uint64_t> settings;  // every time that the clock was set to
    std::map<std::uint64_t, std::function<void()>> timers;

    capture::CoreClock clock() {
        return {[this](std::uint64_t now_us) { set(now_us); },
                [this]() -> std::optional<std::uint64_t> {
                    if (timers.empty()) return std::nullopt;
                    return timers.begin()->first;
                }};
    }

    void set(std::uint64_t now_us) {
        now = now_us;
        settings.push_back(now_us);
        while (!timers.empty() && timers.begin()->first <= now) {
            const auto run = timers.begin()->second;
            timers.erase(timers.begin());
            run();
        }
    }
};

struct Received {
    int port;
    Bytes bytes;
    std::uint64_t at;

    bool operator==(const Received&) const = default;
};

class CaptureDriver : public ::testing::Test {
 protected:
    CaptureDriver()
        : folder_(fs::temp_directory_path() /
                  ("node_capture_test." + std::to_string(::getpid()) + "." +
                   ::testing::UnitTest::GetInstance()->current_test_info()->name())) {
        fs::create_directories(folder_);
    }
    ~CaptureDriver() override { fs::remove_all(folder_); }

    fs::path file(const std::string& name) const { return folder_ / name; }

    Input input(std::uint8_t port, const Bytes& content) {
        const fs::path path = file("in" + std::to_string(port));
        write_file(path, content);
        return {port, path};
    }

    Replay replay(std::vector<Input> inputs) {
        return {std::move(inputs), {}, 1, 0, core_.clock()};
    }

    void prepare(std::vector<Input> inputs) { driver_.prepare(replay(std::move(inputs))); }

    void prepare_with_output(std::vector<Input> inputs, const fs::path& output) {
        Replay with_output = replay(std::move(inputs));
        with_output.output = output;
        driver_.prepare(std::move(with_output));
    }

    /* All that the driver delivers. */
    std::vector<Received> run() {
        driver_.start();
        std::vector<Received> received;
        Bytes buf(2048);
        while (const auto frame = driver_.read(buf)) {
            received.push_back(
                {frame->port, Bytes(buf.begin(), buf.begin() + frame->length), core_.now});
        }
        return received;
    }

    /* The line with which the driver refuses these inputs. */
    std::string refusal(std::vector<Input> inputs) {
        try {
            prepare(std::move(inputs));
        } catch (const CaptureError& error) {
            return error.what();
        }
        return "";
    }

    fs::path folder_;
    FakeCore core_;
    Driver driver_;
};

// ---- Order and time ----

TEST_F(CaptureDriver, MergesByStampThenPortTheUplinkLast) {
    prepare(
        {input(29, pcap_bytes({{kStart, igmp_query_frame(1)}, {kStart + 5, igmp_query_frame(2)}})),
         input(4, pcap_bytes({{kStart, igmp_frame(3)}, {kStart + 9, igmp_frame(4)}})),
         input(0, pcap_bytes({{kStart, igmp_frame(5)}, {kStart + 5, igmp_frame(6)}}))});
    const std::vector<Received> expected{{0, igmp_frame(5), kStart},
                                         {4, igmp_frame(3), kStart},
                                         {29, igmp_query_frame(1), kStart},
                                         {0, igmp_frame(6), kStart + 5},
                                         {29, igmp_query_frame(2), kStart + 5},
                                         {4, igmp_frame(4), kStart + 9}};
    EXPECT_EQ(run(), expected);
}

TEST_F(CaptureDriver, MergesNanosecondsThoughTheClockHasMicroseconds) {
    const std::uint64_t start_ns = kStart * 1000;
    prepare(
        {input(0, pcap_bytes(le, 0xA1B23C4D, 1'000'000'000, {{start_ns + 900, igmp_frame(1)}})),
         input(1, pcap_bytes(le, 0xA1B23C4D, 1'000'000'000, {{start_ns + 100, igmp_frame(2)}}))});
    const std::vector<Received> expected{{1, igmp_frame(2), kStart}, {0, igmp_frame(1), kStart}};
    EXPECT_EQ(run(), expected);
}

TEST_F(CaptureDriver, TimeNeverGoesBack) {
    prepare({input(0, pcap_bytes({{kStart + 9, igmp_frame(1)},
                                  {kStart + 2, igmp_frame(2)},
                                  {kStart + 12, igmp_frame(3)}}))});
    const std::vector<Received> expected{{0, igmp_frame(1), kStart + 9},
                                         {0, igmp_frame(2), kStart + 9},
                                         {0, igmp_frame(3), kStart + 12}};
    EXPECT_EQ(run(), expected);
    EXPECT_EQ(driver_.report().counters.in[0].out_of_order, 1u);
    EXPECT_TRUE(std::ranges::is_sorted(core_.settings));
}

TEST_F(CaptureDriver, ReadsEitherByteOrderAndPcapng) {
    prepare({input(0, pcap_bytes(be, 0xA1B2C3D4, kSecond, {{kStart, igmp_frame(1)}})),
             input(1, pcap_bytes(le, 0xA1B2C3D4, kSecond, {{kStart + 1, igmp_frame(2)}})),
             input(2, pcapng_bytes({{kStart + 2, igmp_frame(3)}, {kStart + 4, mld_frame()}})),
             input(3, pcap_bytes(be, 0xA1B23C4D, kSecond * 1000,
                                 {{kStart * 1000 + 3000, mld_frame()}}))});
    const std::vector<Received> expected{{0, igmp_frame(1), kStart},
                                         {1, igmp_frame(2), kStart + 1},
                                         {2, igmp_frame(3), kStart + 2},
                                         {3, mld_frame(), kStart + 3},
                                         {2, mld_frame(), kStart + 4}};
    EXPECT_EQ(run(), expected);
}

TEST_F(CaptureDriver, StartUpHappensAtTheFirstStamp) {
    prepare({input(3, pcap_bytes({{kStart + 7, udp_frame()}, {kStart + 9, igmp_frame()}}))});
    EXPECT_EQ(core_.now, kStart + 7);
}

TEST_F(CaptureDriver, TimersRunAtTheirOwnTimeBetweenFrames) {
    std::vector<std::uint64_t> ran;
    for (const std::uint64_t at : {kStart + 3, kStart + 4, kStart + 20, kStart + 21}) {
        core_.timers[at] = [this, &ran] { ran.push_back(core_.now); };
    }
    prepare({input(0, pcap_bytes({{kStart, igmp_frame(1)}, {kStart + 10, igmp_frame(2)}})),
             input(1, pcap_bytes({{kStart + 20, udp_frame()}}))});
    EXPECT_EQ(run().size(), 2u);
    // The last stamp is that of a frame which was not trapped; the timer after it stays.
    EXPECT_EQ(ran, (std::vector<std::uint64_t>{kStart + 3, kStart + 4, kStart + 20}));
    EXPECT_EQ(driver_.report().span->end_us, kStart + 20);
}

TEST_F(CaptureDriver, TheTailLetsTimersRunOn) {
    int ran = 0;
    core_.timers[kStart + 30] = [&] { ++ran; };
    core_.timers[kStart + 31] = [&] { ++ran; };
    Replay with_tail = replay({input(0, pcap_bytes({{kStart, igmp_frame()}}))});
    with_tail.tail_us = 30;
    driver_.prepare(std::move(with_tail));
    run();
    EXPECT_EQ(ran, 1);
    const auto span = driver_.report().span;
    EXPECT_EQ(span->last_us, kStart);
    EXPECT_EQ(span->end_us, kStart + 30);
}

TEST_F(CaptureDriver, ATimerThatNeverRunsDoesNotHoldTheReplay) {
    Replay stuck = replay({input(0, pcap_bytes({{kStart, igmp_frame()}}))});
    stuck.clock.next_timer = [] { return std::optional<std::uint64_t>(kStart); };
    driver_.prepare(std::move(stuck));
    EXPECT_EQ(run().size(), 1u);
}

TEST_F(CaptureDriver, StopEndsTheReplayAtTheNextRead) {
    prepare({input(0, pcap_bytes({{kStart, igmp_frame(1)}, {kStart + 1, igmp_frame(2)}}))});
    driver_.start();
    Bytes buf(2048);
    ASSERT_TRUE(driver_.read(buf));
    driver_.stop();
    EXPECT_FALSE(driver_.read(buf));
    EXPECT_TRUE(driver_.wait_until_finished(std::chrono::milliseconds(0)));
    EXPECT_EQ(driver_.report().counters.in[0].igmp, 1u);
}

TEST_F(CaptureDriver, CapturesWithoutFramesReplay) {
    prepare({input(0, pcap_bytes({}))});
    EXPECT_TRUE(run().empty());
    EXPECT_FALSE(driver_.report().span);
}

// ---- The trap ----

TEST_F(CaptureDriver, CountsEveryFrameByKind) {
    Bytes damaged = igmp_frame();
    damaged.back() ^= 1;
    prepare({input(2, pcap_bytes({{kStart, igmp_frame()},
                                  {kStart + 1, mld_frame()},
                                  {kStart + 2, mld_frame()},
                                  {kStart + 3, udp_frame()},
                                  {kStart + 4, padded(igmp_frame(), 2000)},
                                  {kStart + 5, padded(igmp_frame(), 2001)},
                                  {kStart + 6, padded(udp_frame(), 2001)},
                                  {kStart + 7, igmp_frame(), 100},  // cut
                                  {kStart + 8, udp_frame(), 100},   // cut, and not for us anyway
                                  {kStart + 9, kMacs, 60},          // cut too short to tell
                                  {kStart + 10, kMacs},
                                  {kStart + 11, damaged}}))});
    const std::vector<Received> received = run();
    ASSERT_EQ(received.size(), 4u);
    EXPECT_EQ(received.back().bytes.size(), 2000u);

    const capture::FramesIn counted = driver_.report().counters.in[2];
    EXPECT_EQ(counted.total(), 12u);
    EXPECT_EQ(counted.refused[driver::Refusal::kChecksum], 1u);
    EXPECT_EQ(counted.refused.total(), 1u);
    EXPECT_EQ(counted.igmp, 2u);
    EXPECT_EQ(counted.mld, 2u);
    EXPECT_EQ(counted.not_trapped, 4u);
    EXPECT_EQ(counted.too_long, 1u);
    EXPECT_EQ(counted.truncated, 2u);
}

TEST_F(CaptureDriver, KeepsReportsOfTheUplinkFromTheLibrary) {
    prepare({input(driver::kUplinkPort,
                   pcap_bytes({{kStart, igmp_frame()}, {kStart + 1, mld_frame()}}))});
    EXPECT_TRUE(run().empty());
    const capture::FramesIn counted = driver_.report().counters.in[driver::kUplinkSlot];
    EXPECT_EQ(counted.refused[driver::Refusal::kReportFromUplink], 2u);
    EXPECT_EQ(counted.total(), 2u);
}

TEST_F(CaptureDriver, DeliversNoMoreThanTheFrameHad) {
    prepare({input(0, pcap_bytes({{kStart, padded(igmp_frame(), 5000), 60}}))});
    const std::vector<Received> expected{{0, padded(igmp_frame(), 60), kStart}};
    EXPECT_EQ(run(), expected);
}

// ---- Files that cannot be used ----

TEST_F(CaptureDriver, RefusesFilesThatAreNoCaptures) {
    EXPECT_EQ(refusal({{0, file("absent")}}),
              file("absent").string() + ": No such file or directory");
    EXPECT_NE(refusal({{0, folder_}}), "");
    EXPECT_NE(refusal({input(0, {})}).find("not a readable capture"), std::string::npos);
    EXPECT_NE(refusal({input(0, Bytes(100, 'x'))}).find("not a readable capture"),
              std::string::npos);
    EXPECT_NE(refusal({input(0, pcap_bytes({}, DLT_LINUX_SLL))}).find("only Ethernet"),
              std::string::npos);
}

TEST_F(CaptureDriver, RefusesACaptureDamagedAtItsFirstFrame) {
    Bytes content = pcap_bytes({{kStart, igmp_frame()}});
    content.pop_back();
    EXPECT_NE(refusal({input(0, content)}).find("damaged capture"), std::string::npos);
    EXPECT_EQ(refusal({input(0, content)}).find('\n'), std::string::npos);
}

TEST_F(CaptureDriver, ReplaysWhatABrokenCaptureHolds) {
    Bytes content = pcap_bytes({{kStart, igmp_frame(1)}, {kStart + 2, igmp_frame(2)}});
    content.erase(content.end() - 3, content.end());
    prepare({input(0, content),
             input(1, pcap_bytes({{kStart + 1, igmp_frame(3)}, {kStart + 5, igmp_frame(4)}}))});
    const std::vector<Received> expected{
        {0, igmp_frame(1), kStart}, {1, igmp_frame(3), kStart + 1}, {1, igmp_frame(4), kStart + 5}};
    EXPECT_EQ(run(), expected);
    const auto failures = driver_.report().failures;
    ASSERT_EQ(failures.size(), 1u);
    EXPECT_NE(failures[0].find("breaks after frame 1"), std::string::npos);
}

// ---- What leaves the node ----

TEST_F(CaptureDriver, FramesSentGoToOneCaptureAPort) {
    const Bytes query = padded(igmp_frame(9), 64);
    core_.timers[kStart + 5 * kSecond] = [&] { EXPECT_TRUE(driver_.send(3, query)); };
    prepare_with_output({input(0, pcap_bytes({{kStart + 250, igmp_frame()},
                                              {kStart + 9 * kSecond, igmp_frame()}}))},
                        file("out"));
    driver_.start();
    Bytes buf(2048);
    while (driver_.read(buf)) EXPECT_TRUE(driver_.send(29, igmp_frame(1)));
    EXPECT_TRUE(driver_.report().failures.empty());

    const auto up = read_capture(file("out") / "uplink.pcap");
    ASSERT_EQ(up.size(), 2u);
    EXPECT_EQ(up[0].stamp, kStart + 250);
    EXPECT_EQ(up[1].stamp, kStart + 9 * kSecond);
    EXPECT_EQ(up[1].bytes, igmp_frame(1));
    const auto down = read_capture(file("out") / "port3.pcap");
    ASSERT_EQ(down.size(), 1u);
    EXPECT_EQ(down[0].stamp, kStart + 5 * kSecond);
    EXPECT_EQ(down[0].bytes, query);
    EXPECT_EQ(down[0].wire_length, query.size());
    for (const char* empty : {"port0", "port1", "port2", "port4", "port5"}) {
        EXPECT_TRUE(read_capture(file("out") / (std::string(empty) + ".pcap")).empty()) << empty;
    }
    EXPECT_EQ(driver_.report().counters.out[driver::kUplinkSlot].sent, 2u);
}

TEST_F(CaptureDriver, ReplacesTheOutputsOfAnEarlierReplay) {
    fs::create_directories(file("a") / "b");
    write_file(file("a") / "b" / "port5.pcap", Bytes(1000, 'x'));
    prepare_with_output({input(0, pcap_bytes({{kStart, igmp_frame()}}))}, file("a") / "b");
    run();
    EXPECT_TRUE(driver_.report().failures.empty());
    EXPECT_TRUE(read_capture(file("a") / "b" / "port5.pcap").empty());
}

TEST_F(CaptureDriver, NeverOverwritesWhatItReplays) {
    const Bytes content = pcap_bytes({{kStart, igmp_frame()}});
    write_file(file("port4.pcap"), content);
    EXPECT_THROW(prepare_with_output({{1, file("port4.pcap")}}, folder_), CaptureError);
    EXPECT_EQ(fs::file_size(file("port4.pcap")), content.size());
    EXPECT_FALSE(fs::exists(file("port0.pcap")));
}

TEST_F(CaptureDriver, RefusesAnOutputFolderThatCannotBe) {
    const std::vector<Input> inputs{input(0, pcap_bytes({{kStart, igmp_frame()}}))};
    write_file(file("occupied"), {1});
    EXPECT_THROW(prepare_with_output(inputs, file("occupied")), CaptureError);
    EXPECT_THROW(prepare_with_output(inputs, file("occupied") / "below"), CaptureError);
}

TEST_F(CaptureDriver, ReportsAnOutputThatIsIncomplete) {
    fs::create_directory(file("out"));
    fs::create_symlink("/dev/full", file("out") / "port1.pcap");
    prepare_with_output({input(0, pcap_bytes({{kStart, igmp_frame()}}))}, file("out"));
    driver_.start();
    for (int i = 0; i < 100; ++i) {
        if (!driver_.send(1, padded(igmp_frame(), 1500))) break;
    }
    EXPECT_EQ(driver_.report().counters.out[1].failed, 1u);
    ASSERT_EQ(driver_.report().failures.size(), 1u);
    EXPECT_NE(driver_.report().failures[0].find("incomplete"), std::string::npos);
}

TEST_F(CaptureDriver, RefusesToSendWhereThereIsNoPort) {
    for (const int port : {6, 28, 30, 255}) EXPECT_FALSE(driver_.send(port, igmp_frame())) << port;
    EXPECT_FALSE(driver_.send(0, {}));
    EXPECT_TRUE(driver_.send(0, igmp_frame()));
    const capture::Counters counters = driver_.report().counters;
    EXPECT_EQ(counters.send_invalid_port, 4u);
    EXPECT_EQ(counters.send_empty, 1u);
    EXPECT_EQ(counters.out[0].sent, 1u);
}

// ---- The switch table ----

TEST_F(CaptureDriver, KeepsEntriesInOrderWithCounts) {
    const driver::MacAddress first{0x01, 0x00, 0x5E, 0x01, 0x01, 0x01};
    const driver::MacAddress second{0x33, 0x33, 0x00, 0x00, 0x00, 0x05};
    EXPECT_TRUE(driver_.set_entry(29, first, 100));
    EXPECT_TRUE(driver_.set_entry(2, second, 100));
    EXPECT_TRUE(driver_.set_entry(2, first, 4088));
    EXPECT_TRUE(driver_.set_entry(2, first, 100));
    EXPECT_TRUE(driver_.set_entry(2, first, 100));
    EXPECT_FALSE(driver_.set_entry(6, first, 100));
    EXPECT_FALSE(driver_.set_entry(-1, first, 100));
    EXPECT_FALSE(driver_.remove_entry(30, first, 100));
    EXPECT_TRUE(driver_.remove_entry(2, second, 100));
    EXPECT_TRUE(driver_.remove_entry(2, second, 100));

    const capture::SwitchTable table = driver_.report().table;
    const std::map<capture::SwitchEntry, std::uint64_t> expected{
        {{2, 100, first}, 2}, {{2, 4088, first}, 1}, {{29, 100, first}, 1}};
    EXPECT_EQ(table.entries, expected);
    EXPECT_EQ(table.added, 4u);
    EXPECT_EQ(table.repeated, 1u);
    EXPECT_EQ(table.removed, 1u);
    EXPECT_EQ(table.absent, 1u);
    EXPECT_EQ(table.invalid_port, 3u);
}

// ---- The functions that the library calls ----

TEST_F(CaptureDriver, TheLibrarysDoorsLeadToTheOneDriver) {
    FakeCore& core = *new FakeCore;  // like the driver it outlives the test
    Driver& driver = Driver::instance();
    driver.prepare({{input(5, pcap_bytes({{kStart, igmp_frame(1)}}))}, {}, 7, 0, core.clock()});
    EXPECT_EQ(L2_multicast_init(), 0);
    EXPECT_EQ(L2_multicast_set_filter_method(2), 0);

    std::atomic<int> delivered = 0;
    std::thread([&delivered] {
        std::array<std::uint8_t, 2048> buf{};
        std::uint8_t port = 0;
        std::uint32_t len = 0;
        while (L2_multicast_read_msg(buf.data(), &port, &len) == 0) {
            EXPECT_EQ(port, 5);
            EXPECT_EQ(Bytes(buf.begin(), buf.begin() + len), igmp_frame(1));
            ++delivered;
        }
    }).detach();  // it stays inside the last read, as the packet task does

    EXPECT_FALSE(driver.wait_until_finished(std::chrono::milliseconds(50)));
    EXPECT_EQ(delivered, 0);  // nothing moves before start()
    driver.start();
    EXPECT_TRUE(driver.wait_until_finished(std::chrono::seconds(30)));
    EXPECT_EQ(delivered, 1);
    EXPECT_TRUE(driver.asked_for_frames());

    Bytes frame = igmp_frame();
    const auto length = static_cast<std::uint16_t>(frame.size());
    EXPECT_EQ(L2_multicast_send_msg(frame.data(), 29, length, 5, 4088), 0);
    EXPECT_EQ(L2_multicast_send_msg(frame.data(), 6, length, 5, 4088), 1);
    EXPECT_EQ(L2_multicast_send_msg(nullptr, 0, length, 5, 4088), 1);

    const L2MulticastMac mac{{0x01, 0x00, 0x5E, 0x01, 0x01, 0x01}};
    EXPECT_EQ(L2_multicast_set_port_iptv_entry(0, mac, 100), 0);
    EXPECT_EQ(L2_multicast_set_port_iptv_entry(-1, mac, 100), 1);
    EXPECT_EQ(L2_multicast_remove_port_iptv_entry(7, mac, 100), 1);
    const auto entries = driver.report().table.entries;
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries.begin()->first.mac, std::to_array(mac.byte));

    std::uint8_t onu_id = 0;
    EXPECT_EQ(L2_multicast_get_onu_id(&onu_id), 0);
    EXPECT_EQ(onu_id, 7);
}

}  // namespace
