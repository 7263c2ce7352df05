// The library between the multicast core and the capture driver, over the recorded home: a rule
// that is set between two frames changes the tag of the second.
#include <gmock/gmock.h>
#include <pcap/pcap.h>
#include <sched.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "adapt/adapt.h"
#include "adapt/records.h"
#include "common/bytes.h"
#include "node/capture/capture_driver.h"
#include "node/core/multicast_core.h"
#include "vlan/vlan.h"

namespace {

using ::testing::Each;
using ::testing::IsEmpty;
using ::testing::Not;

// The host on port 3 sends behind a tag with VID 100 and PCP 5.
constexpr std::uint8_t kHost[6] = {0x02, 0x00, 0x00, 0x00, 0x00, 0x13};
constexpr std::uint8_t kPort = 3;
constexpr std::uint16_t kHostVid = 100;
constexpr std::uint16_t kNetworkVid = 4000;
constexpr std::uint64_t kRuleSetAfter = 30'000'000;  // microseconds into the recording

struct SentFrame {
    std::uint64_t stamp_us;
    std::uint16_t vid;
};

// The IGMP frames of the host in a capture, with the VID that they carry.
std::vector<SentFrame> frames_of_host(const std::filesystem::path& file) {
    char error[PCAP_ERRBUF_SIZE] = {};
    const std::unique_ptr<pcap_t, decltype(&pcap_close)> capture(
        pcap_open_offline(file.c_str(), error), pcap_close);
    std::vector<SentFrame> frames;
    if (capture == nullptr) {
        ADD_FAILURE() << error;
        return frames;
    }
    pcap_pkthdr* header = nullptr;
    const u_char* bytes = nullptr;
    while (pcap_next_ex(capture.get(), &header, &bytes) == 1) {
        const bool ours = std::equal(std::begin(kHost), std::end(kHost), bytes + 6);
        const bool igmp = bytes[0] == 0x01 && mc::load_be16(bytes + 12) == 0x8100;
        if (!ours || !igmp) continue;
        const auto seconds = static_cast<std::uint64_t>(header->ts.tv_sec);
        const auto micros = static_cast<std::uint64_t>(header->ts.tv_usec);
        frames.push_back({seconds * 1'000'000 + micros,
                          static_cast<std::uint16_t>(mc::load_be16(bytes + 14) & 0x0FFF)});
    }
    return frames;
}

PortVlanCfgEntry translate(std::uint16_t from, std::uint16_t to) {
    return {.portNO = kPort,
            .prouptagmode = MC_TAG_MODE_TRANSLATE,
            .in_up_vlan = from,
            .out_up_vlan = to,
            .prodntagmode = MC_TAG_MODE_TRANSLATE,
            .in_dn_vlan = to,
            .out_dn_vlan = from,
            .datedntagmode = MC_TAG_MODE_TRANSLATE,
            .in_data_vlan = to,
            .out_data_vlan = from,
            .rule_flag = 0};
}

std::vector<capture::Input> recorded_home() {
    const std::filesystem::path home = std::filesystem::path(MC_SOURCE_DIR) / "scenario" / "home";
    std::vector<capture::Input> inputs;
    for (std::uint8_t port = 0; port < 6; ++port) {
        inputs.push_back({port, home / ("port" + std::to_string(port) + ".pcap")});
    }
    inputs.push_back({MC_UPLINK_PORT, home / "uplink.pcap"});
    return inputs;
}

std::vector<std::uint16_t> vids(const std::vector<SentFrame>& frames, std::uint64_t from,
                                std::uint64_t to) {
    std::vector<std::uint16_t> result;
    for (const SentFrame& frame : frames) {
        if (frame.stamp_us >= from && frame.stamp_us < to) result.push_back(frame.vid);
    }
    return result;
}

bool has_membership(std::uint8_t port, std::uint16_t vlan) {
    const auto all = mcore::memberships();
    return std::ranges::any_of(all, [port, vlan](const mcore::Membership& membership) {
        return membership.port == port && membership.vlan == vlan && membership.programmed;
    });
}

// One replay: the library, its tasks and the driver live as long as the process.
TEST(RuleDuringAReplay, ChangesTheTagAndTheGroupVlanOfTheNextFrame) {
    const std::filesystem::path out =
        std::filesystem::path(testing::TempDir()) / ("rules" + std::to_string(getpid()));
    capture::Driver& driver = capture::Driver::instance();
    std::int32_t status = -1;
    const capture::Event set_rule = {kRuleSetAfter, [&status] {
                                         PortVlanCfgEntry rule = translate(kHostVid, kNetworkVid);
                                         status = onu_std_omci_set_multicast_vlan(&rule);
                                     }};
    driver.prepare({recorded_home(), out, 1, 0, {mcore::set_clock, mcore::next_timer}, {set_rule}});
    IgmpInit();
    driver.start();
    ASSERT_TRUE(driver.wait_until_finished(std::chrono::seconds(60)));
    const capture::Report report = driver.report();
    ASSERT_TRUE(report.span);
    EXPECT_THAT(report.failures, IsEmpty());

    EXPECT_EQ(status, 0);
    const std::uint64_t change = report.span->first_us + kRuleSetAfter;
    const auto frames = frames_of_host(out / "uplink.pcap");
    EXPECT_THAT(vids(frames, 0, change), Not(IsEmpty()));
    EXPECT_THAT(vids(frames, 0, change), Each(kHostVid));
    EXPECT_THAT(vids(frames, change, ~0ull), Not(IsEmpty()));
    EXPECT_THAT(vids(frames, change, ~0ull), Each(kNetworkVid));
    // The same frames are classified by the rule: the network's VLAN is now the group VLAN.
    EXPECT_TRUE(has_membership(kPort, kNetworkVid));
    EXPECT_FALSE(has_membership(kPort + 1, kNetworkVid));
    std::filesystem::remove_all(out);
}

}  // namespace

int main(int argc, char** argv) {
    // Queue 81 and segment 82 of the machine are left alone where the machine lets us.
    if (unshare(CLONE_NEWIPC) != 0) static_cast<void>(unshare(CLONE_NEWUSER | CLONE_NEWIPC));
    testing::InitGoogleMock(&argc, argv);
    const int result = RUN_ALL_TESTS();
    std::fflush(nullptr);
    _exit(result);  // the library's tasks go on until the process ends
}
