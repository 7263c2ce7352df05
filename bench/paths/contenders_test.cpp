// Those that the library is compared with do its work: they send its frames.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "bench/paths/cases.h"
#include "bench/paths/contenders.h"
#include "bench/paths/own_ipc.h"
#include "platform/l2_multicast.h"

namespace {

// In hex, two digits a byte: so they are read when they differ.
using Frames = std::vector<std::string>;

Frames sent;

std::int32_t keep(const std::uint8_t* bytes, std::uint32_t len) {
    constexpr const char* kDigits = "0123456789abcdef";
    std::string& frame = sent.emplace_back();
    for (std::uint32_t i = 0; i < len; ++i) {
        frame += {kDigits[bytes[i] >> 4], kDigits[bytes[i] & 15]};
    }
    return 0;
}

}  // namespace

// The driver of the library that is under test.
std::int32_t L2_multicast_send_msg(std::uint8_t* frame, std::uint8_t /*port*/, std::uint16_t len,
                                   std::uint8_t /*src_port*/, std::uint32_t /*vlan*/) {
    return keep(frame, len);
}

namespace {

// None: the contender can do nothing for the load.
Frames frames_of(std::string_view contender, const bench::Load& load) {
    const auto found = bench::contender_named(contender);
    if (!found || !bench::prepare_for(*found, load)) return {};
    bench::send_with(keep);
    bench::run_prepared();  // one that is not looked at: the next must find the frame as it came
    sent.clear();
    bench::run_prepared();
    return sent;
}

// A segment or a queue of the machine may belong to a node that runs.
class OwnIpc : public testing::Environment {
 public:
    void SetUp() override { static_cast<void>(bench::enter_own_ipc()); }
};

[[maybe_unused]] const auto* const environment = testing::AddGlobalTestEnvironment(new OwnIpc);

class Contenders : public testing::TestWithParam<bench::NamedLoad> {};

TEST_P(Contenders, LimitSendsWhatTheLibrarySends) {
    const Frames expected = frames_of("library", GetParam().load);
    ASSERT_FALSE(expected.empty());
    EXPECT_EQ(frames_of("limit", GetParam().load), expected);
}

#ifdef MC_HAVE_LIBTINS
TEST_P(Contenders, LibtinsSendsWhatTheLibrarySends) {
    const Frames expected = frames_of("library", GetParam().load);
    ASSERT_FALSE(expected.empty());
    EXPECT_EQ(frames_of("libtins", GetParam().load), expected);
}
#endif

#ifdef MC_HAVE_LIBPCAP
TEST_P(Contenders, BpfMatchesEveryFrameThatComesInAndNotOneOfAnotherProtocol) {
    const auto bpf = bench::contender_named("bpf");
    ASSERT_TRUE(bpf);
    bench::prepare(GetParam().load);
    const bench::Receiver matches = bpf->prepare(GetParam().load);
    if (GetParam().load.way == bench::Way::kCorePacket) {
        EXPECT_EQ(matches, nullptr);
        return;
    }
    const auto prepared = bench::prepared_frame();
    std::vector<std::uint8_t> frame(prepared.begin(), prepared.end());
    const auto len = static_cast<std::uint32_t>(frame.size());
    EXPECT_NE(matches(frame.data(), len, 0), 0);
    constexpr std::uint8_t kUdp = 17;
    constexpr std::size_t kIpv4Protocol = 18 + 9;
    constexpr std::size_t kBehindHopByHop = 18 + 40;
    for (const auto at : {kIpv4Protocol, kBehindHopByHop}) frame[at] = kUdp;
    EXPECT_EQ(matches(frame.data(), len, 0), 0);
}
#endif

INSTANTIATE_TEST_SUITE_P(Loads, Contenders, testing::ValuesIn(bench::reviewed_loads()),
                         [](const auto& load) { return std::string(load.param.name); });

}  // namespace
