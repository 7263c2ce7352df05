// The packet task and the command task at full speed on the same tables, without a lock, while the
// core's timers send and program: what a device does all its life. Frames and commands may meet a
// half of each other's work, but never leave a table, and nothing stays broken behind them.
//
// The neighbours answer at once and take no lock, so that nothing orders the tasks; ThreadSanitizer
// then sees every meeting that docs/threads.md does not name.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/msg.h>
#include <sys/shm.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

#include "adapt/adapt.h"
#include "adapt/records.h"
#include "adapt/status_segment.h"
#include "command/command.h"
#include "command/config_commands.h"
#include "command/debug_commands.h"
#include "command/record.h"
#include "common/bytes.h"
#include "igmp/igmp.h"
#include "mld/mld.h"
#include "mld/record.h"
#include "platform/l2_multicast.h"
#include "platform/protocol_core.h"
#include "settings/settings.h"
#include "tests/support/frames.h"
#include "vlan/vlan.h"

using namespace mc_test;

namespace {

constexpr std::uint32_t kLongest = 2000 + 8;  // a received frame and two tags
constexpr std::uint32_t kUserPorts = MC_PORTS - 1;
constexpr std::uint16_t kVlans[] = {0, 1, 100, 101, 300, 3000, 4088, 4095};

// ---- What the tasks share with this test: nothing but words without an order
// ---------------------

std::atomic<bool> over;
std::atomic<std::uint32_t> frames_delivered;
std::atomic<std::uint32_t> commands_delivered;
std::atomic<std::uint32_t> timers_run;
std::atomic<std::uint32_t> frames_sent;
std::atomic<std::uint32_t> wrong_ports;
std::atomic<std::uint32_t> wrong_lengths;
std::atomic<std::uint32_t> last_sent_vlan;

void count(std::atomic<std::uint32_t>& number) { number.fetch_add(1, std::memory_order_relaxed); }
std::uint32_t value(const std::atomic<std::uint32_t>& number) {
    return number.load(std::memory_order_relaxed);
}

// Where a task returns to when the time is up: its loop has no end.
thread_local std::jmp_buf end_of_task;
void end_when_over() {
    if (over.load(std::memory_order_relaxed)) std::longjmp(end_of_task, 1);
}

// ---- Chance, one for each task
// -------------------------------------------------------------------

thread_local std::uint32_t chance_state = 1;
std::uint32_t chance() {
    chance_state ^= chance_state << 13;
    chance_state ^= chance_state >> 17;
    chance_state ^= chance_state << 5;
    return chance_state;
}
std::uint32_t below(std::uint32_t limit) { return (chance() >> 4) % limit; }
bool one_in(std::uint32_t n) { return below(n) == 0; }
std::uint16_t some_vlan() { return kVlans[below(std::size(kVlans))]; }
std::uint8_t some_port() {
    return static_cast<std::uint8_t>(one_in(4) ? std::uint32_t{MC_UPLINK_PORT} : below(kUserPorts));
}

// ---- Frames
// --------------------------------------------------------------------------------------

std::vector<Bytes> make_frames() {
    std::vector<Bytes> all;
    const auto add = [&all](const EthernetBuilder& builder) {
        all.push_back(padded(
            builder.ipv4(ipv4_packet("192.0.2.20", "239.255.1.1", igmp_v2_report("239.255.1.1")))));
        all.push_back(padded(builder.ipv4(ipv4_packet("192.0.2.1", "224.0.0.1", igmp_v2_query()))));
        all.push_back(
            padded(builder.ipv6(ipv6_packet("fe80::20", "ff1e::101", mld_v1_report("ff1e::101")))));
        all.push_back(padded(builder.ipv6(ipv6_packet("fe80::1", "ff02::1", mld_v1_query()))));
    };
    add(ethernet());
    add(ethernet().pppoe());
    for (const std::uint16_t vlan : kVlans) add(ethernet().tag(vlan, 5));
    add(ethernet().tag(100).tag(300));
    Bytes longest = ethernet().tag(100).ipv4(
        ipv4_packet("192.0.2.20", "239.255.1.1", igmp_v2_report("239.255.1.1")));
    longest.resize(2000);
    all.push_back(longest);
    all.emplace_back(Bytes{0x01, 0x00, 0x5e});
    return all;
}

const std::vector<Bytes>& frames() {
    static const std::vector<Bytes> all = make_frames();
    return all;
}

// ---- The core
// ------------------------------------------------------------------------------------

void core_sends_and_programs() {
    thread_local std::uint8_t packet[1400];
    const std::uint16_t port = one_in(5) ? std::uint16_t{MC_CORE_UPLINK} : some_port();
    const auto len = static_cast<std::uint16_t>(one_in(8) ? below(1400) : 32);
    IgmpVlanTag tag = {0x8100, some_vlan(), 5};
    IgmpGroupEntry igmp{};
    igmp.group = 0xEFFF0101;
    igmp.vlan = some_vlan();
    igmp.port = port;
    MldGroupEntry mld{};
    mld.vlan = some_vlan();
    mld.port = port;
    switch (below(6)) {
        case 0:
            send_pkt_mld(packet, port, nullptr, len);
            break;
        case 1:
            static_cast<void>(igmp_add_grp(&igmp));
            break;
        case 2:
            static_cast<void>(igmp_del_grp(&igmp));
            break;
        case 3:
            static_cast<void>(one_in(2) ? mld_add_grp(&mld) : mld_del_grp(&mld));
            break;
        default:
            send_pkt_igmp(port, packet, &tag, len);
            break;
    }
}

// ---- Commands
// ------------------------------------------------------------------------------------

struct Record {
    std::uint8_t bytes[MC_RECORD_SIZE] = {};

    explicit Record(std::uint32_t code) { mc::store_be32(bytes, code); }
    std::uint32_t code() const { return mc::load_be32(bytes); }

    Record& set(mc::U8 field, std::uint32_t value) {
        bytes[field.offset] = static_cast<std::uint8_t>(value);
        return *this;
    }
    Record& set(mc::U16 field, std::uint32_t value) {
        mc::store_be16(bytes + field.offset, value);
        return *this;
    }
    Record& set(mc::U32 field, std::uint32_t value) {
        mc::store_be32(bytes + field.offset, value);
        return *this;
    }
};

Record some_rule(std::uint32_t code) {
    using Rule = mc::VlanRule;
    return Record(code)
        .set(Rule::port, below(kUserPorts))
        .set(Rule::up_mode, below(4))
        .set(Rule::in_up, some_vlan())
        .set(Rule::out_up, some_vlan())
        .set(Rule::down_mode, below(4))
        .set(Rule::in_down, some_vlan())
        .set(Rule::out_down, some_vlan())
        .set(Rule::data_mode, below(4))
        .set(Rule::in_data, 1 + below(4094))  // mostly one that the list does not hold yet
        .set(Rule::out_data, some_vlan());
}

// Any other code, with any payload. Not those that walk a long range, nor those whose values are
// chosen below.
Record any_record() {
    static constexpr std::uint32_t kChosenBelow[] = {
        mc::SetControlList::code, mc::AddVlans::code,     mc::SetPortVlanMode::code,
        mc::SetRule::code,        mc::DeleteRule::code,   mc::SetWebRule::code,
        mc::SetTestUplink::code,  mc::DebugFromCli::code, mc::SwitchDebugMask::code};
    Record record(below(120));
    if (std::ranges::count(kChosenBelow, record.code()) != 0) return Record(mc::ExportGroups::code);
    for (std::uint32_t at = mc::kRecordHeader; at < 40; ++at) {
        record.bytes[at] = static_cast<std::uint8_t>(one_in(3) ? chance() : 0);
    }
    return record;
}

Record some_setting() {
    switch (below(9)) {
        case 0:
            return Record(mc::SetMode::code).set(mc::SetMode::mode, below(3));
        case 1:
            return Record(mc::SetSignallingVlan::code)
                .set(mc::SetSignallingVlan::port, below(kUserPorts))
                .set(mc::SetSignallingVlan::outer_vid, some_vlan())
                .set(mc::SetSignallingVlan::down_vid, some_vlan());
        case 2:
            return Record(mc::SetDefaultVlan::code).set(mc::OneVlan::vlan, some_vlan());
        case 3:
            return Record(mc::SetPortVlanMode::code)
                .set(mc::ServicePort::port, below(kUserPorts))
                .set(mc::ServicePort::mode, below(4))
                .set(mc::ServicePort::vlan, some_vlan());
        case 4:
            return Record(mc::DeleteVlan::code).set(mc::OneVlan::vlan, some_vlan());
        case 5:
            // Off most of the time: what is printed slows the tasks down.
            return Record(mc::SwitchDebugMask::code)
                .set(mc::SwitchDebugMask::offset, 1 + below(6))
                .set(mc::SwitchDebugMask::enable, one_in(200));
        case 6:
            return one_in(20) ? Record(mc::DeleteAllVlans::code) : any_record();
        case 7:
            return one_in(20) ? Record(mc::ClearAllParameters::code) : any_record();
        default:
            return any_record();
    }
}

Record some_record() {
    switch (below(11)) {
        case 0:
        case 1:
            return some_setting();
        case 2:
            return Record(mc::InjectTestFrame::code).set(mc::OnePort::port, some_port());
        case 3:
            return Record(mc::ExportPortStatus::code).set(mc::OnePort::port, some_port());
        case 4:
            return Record(mc::SetTestUplink::code)
                .set(mc::SetTestUplink::port,
                     one_in(2) ? below(kUserPorts) : std::uint32_t{MC_NO_TEST_UPLINK});
        case 5:
            return some_rule(mc::SetWebRule::code);
        case 6:
        case 7:
            return some_rule(mc::DeleteRule::code);
        default:
            return some_rule(mc::SetRule::code);
    }
}

// ---- The tables, once all is quiet
// ---------------------------------------------------------------

bool is_used(const PortVlanCfgEntry& rule) { return rule.in_up_vlan != MC_NO_VLAN; }

void expect_packed(const PortVlanCfgEntry (&rules)[MC_PORTS][MC_RULES],
                   const std::int32_t (&counts)[MC_PORTS]) {
    for (int p = 0; p < MC_PORTS; ++p) {
        EXPECT_THAT(rules[p], ::testing::Truly([](const auto& block) {
                        return std::ranges::is_partitioned(block, is_used);
                    }))
            << "port " << p;
        EXPECT_EQ(std::ranges::count_if(rules[p], is_used), counts[p]) << "port " << p;
    }
}

void expect_ports_as_wired(const PortStateEntry (&ports)[MC_PORTS]) {
    for (std::uint32_t p = 0; p < MC_PORTS; ++p) {
        const bool user = p < kUserPorts;
        EXPECT_EQ(ports[p].port_id, user ? p : std::uint32_t{MC_UPLINK_PORT});
        EXPECT_EQ(ports[p].port_type, user ? MC_PORT_USER : MC_PORT_UPLINK);
    }
}

// ---- The tasks
// -----------------------------------------------------------------------------------

void run_packet_task() {
    chance_state = 2;
    if (setjmp(end_of_task) == 0) static_cast<void>(igmp_adapt_pkt_recv_task());
}

void run_command_task() {
    chance_state = 3;
    if (setjmp(end_of_task) == 0) static_cast<void>(recv_igmp_interface_msg());
}

void run_timers() {
    chance_state = 4;
    while (!over.load(std::memory_order_relaxed)) {
        core_sends_and_programs();
        count(timers_run);
    }
}

// What the library prints meanwhile is formatted, and thrown away.
class Silence {
 public:
    Silence() : before_(dup(STDOUT_FILENO)) {
        std::fflush(stdout);
        const int nowhere = open("/dev/null", O_WRONLY);
        dup2(nowhere, STDOUT_FILENO);
        close(nowhere);
    }
    ~Silence() {
        std::fflush(stdout);
        dup2(before_, STDOUT_FILENO);
        close(before_);
    }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;

 private:
    int before_;
};

}  // namespace

// ---- The neighbours; the others do nothing (bench/paths/neighbours.c)
// ----------------------------

std::int32_t L2_multicast_read_msg(std::uint8_t* buf, std::uint8_t* port, std::uint32_t* len) {
    end_when_over();
    const Bytes& frame = frames()[below(static_cast<std::uint32_t>(frames().size()))];
    std::ranges::copy(frame, buf);
    *len = static_cast<std::uint32_t>(frame.size());
    *port = some_port();
    count(frames_delivered);
    return 0;
}

std::int32_t L2_multicast_send_msg(std::uint8_t* frame, std::uint8_t port, std::uint16_t len,
                                   std::uint8_t /*src_port*/, std::uint32_t /*vlan*/) {
    thread_local volatile std::uint8_t sum;
    for (std::uint32_t i = 0; i < len; ++i) sum = static_cast<std::uint8_t>(sum + frame[i]);
    if (port >= kUserPorts && port != MC_UPLINK_PORT) count(wrong_ports);
    if (len > kLongest) count(wrong_lengths);
    count(frames_sent);
    if (len > 16) last_sent_vlan.store(mc::load_be16(frame + 14), std::memory_order_relaxed);
    return one_in(20) ? -1 : 0;
}

std::int32_t igmp_pkt_recv(std::uint8_t* /*ip_packet*/, std::uint16_t /*ip_total_length*/,
                           std::uint32_t /*port*/, std::uint32_t /*group_vlan*/, void* /*record*/) {
    if (one_in(3)) core_sends_and_programs();
    return 0;
}

std::int32_t mld_pkt_recv(std::uint8_t* /*ip_packet*/, std::uint32_t /*length*/,
                          std::uint32_t /*port*/, std::uint32_t /*group_vlan*/,
                          MldReceiveRecord* /*record*/) {
    if (one_in(3)) core_sends_and_programs();
    return 0;
}

std::int32_t igmp_if_gather_if_status(std::uint32_t /*port*/, std::uint32_t size,
                                      std::uint8_t* buf) {
    std::memset(buf, 0x5A, size);
    return 1;
}

std::int32_t igmp_gather_grp_info(std::uint32_t /*port*/, std::uint32_t size, std::uint8_t* buf) {
    const std::uint32_t groups = chance();  // more than the table holds, mostly
    std::memset(buf, 0x5A, size);
    std::memcpy(buf, &groups, sizeof groups);
    return 1;
}

// No queue and no segment of the machine is touched.
int msgget(key_t /*key*/, int /*flags*/) { return 1; }

ssize_t msgrcv(int /*queue*/, void* message, size_t size, long /*type*/, int /*flags*/) {
    end_when_over();
    if (one_in(100)) return -1;
    const Record record = some_record();
    const long code = static_cast<long>(record.code());
    std::memcpy(message, &code, sizeof code);
    std::memcpy(static_cast<std::uint8_t*>(message) + sizeof code, record.bytes + 4, size);
    count(commands_delivered);
    return static_cast<ssize_t>(size);
}

int shmget(key_t /*key*/, size_t /*size*/, int /*flags*/) { return 1; }
void* shmat(int /*id*/, const void* /*address*/, int /*flags*/) {
    static std::uint8_t segment[mc::kStatusSegmentSize];
    return segment;
}

namespace {

class TwoTasks : public ::testing::Test {
 protected:
    static void SetUpTestSuite() {
        ASSERT_EQ(adapt_init(), 0);
        ASSERT_FALSE(frames().empty());
        const Silence silence;
        std::thread packets(run_packet_task);
        std::thread commands(run_command_task);
        std::thread timers(run_timers);
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
        over = true;
        packets.join();
        commands.join();
        timers.join();
        mc_debug = mld_debug = 0;
    }
};

TEST_F(TwoTasks, BothRunAtFullSpeed) {
    EXPECT_GT(value(frames_delivered), 1000u);
    EXPECT_GT(value(commands_delivered), 1000u);
    EXPECT_GT(value(timers_run), 1000u);
    EXPECT_GT(value(frames_sent), 1000u);
}

TEST_F(TwoTasks, SendNothingToAPortThatIsNotThere) { EXPECT_EQ(value(wrong_ports), 0u); }

TEST_F(TwoTasks, SendNothingLongerThanWhatCameInAndTwoTags) { EXPECT_EQ(value(wrong_lengths), 0u); }

TEST_F(TwoTasks, LeaveTheRulesPackedAndCounted) {
    expect_packed(PortVlanCfg, setVlanCfgNumber);
    expect_packed(mldInitParams.mldPortVlanCfg, mldInitParams.vlancfgnum);
}

TEST_F(TwoTasks, LeaveTheTemplateListAndItsMirrorEqual) {
    ASSERT_THAT(setVlanNumber,
                ::testing::AllOf(::testing::Ge(0), ::testing::Le(MC_TEMPLATE_VLANS)));
    EXPECT_THAT(globle_parm.TemplateVlan, ::testing::ElementsAreArray(PortVlan));
    EXPECT_THAT(std::vector(PortVlan + setVlanNumber, PortVlan + MC_TEMPLATE_VLANS),
                ::testing::Each(0));
}

TEST_F(TwoTasks, LeaveWhatOnlyStartUpWritesAsItWas) {
    expect_ports_as_wired(portState);
    expect_ports_as_wired(mldInitParams.port);
    EXPECT_THAT(sys_mac, ::testing::ElementsAre(0, 0, 0, 0x11, 0, 0x11));
    EXPECT_THAT(mld_sys_mac, ::testing::Each(0));
    EXPECT_EQ(jion_buffer[MC_JION_BUFFER_SIZE - 1], 0);
    EXPECT_EQ(mc::load_be32(jion_buffer), 0x01005e7fu);
}

TEST_F(TwoTasks, LeaveANodeThatWorks) {
    ASSERT_EQ(omci_clear_igmp_all_parmeter(), 0);
    ASSERT_EQ(omci_set_multicast_mode(MC_MODE_SNOOPING), 0);
    Record rule = Record(mc::SetRule::code)
                      .set(mc::VlanRule::port, 3)
                      .set(mc::VlanRule::up_mode, MC_TAG_MODE_TRANSLATE)
                      .set(mc::VlanRule::in_up, 77)
                      .set(mc::VlanRule::out_up, 1077)
                      .set(mc::VlanRule::in_down, 1077)
                      .set(mc::VlanRule::out_down, 77)
                      .set(mc::VlanRule::in_data, 1077)
                      .set(mc::VlanRule::out_data, 77);
    while (is_used(PortVlanCfg[3][0])) {
        PortVlanCfgEntry first = PortVlanCfg[3][0];
        static_cast<void>(onu_std_omci_delete_multicast_vlan(&first));
    }
    ASSERT_EQ(process_interface_msg(rule.bytes), 0);
    igmp_adapt_set_test_uplink(MC_NO_TEST_UPLINK);
    Bytes report = padded(ethernet().tag(77).ipv4(
        ipv4_packet("192.0.2.20", "239.255.1.1", igmp_v2_report("239.255.1.1"))));
    EXPECT_EQ(igmpL2PktProc(report.data(), static_cast<std::uint32_t>(report.size()), 3), 0);
    EXPECT_EQ(value(last_sent_vlan), 1077u);
}

}  // namespace
