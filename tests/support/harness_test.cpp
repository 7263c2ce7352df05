// The harness itself: what every other test relies on.
#include <gmock/gmock.h>
#include <stdio.h>
#include <sys/msg.h>
#include <sys/shm.h>

#include "adapt/adapt.h"
#include "adapt/status_segment.h"
#include "command/command.h"
#include "igmp/igmp.h"
#include "mld/mld.h"
#include "platform/l2_multicast.h"
#include "platform/protocol_core.h"
#include "settings/settings.h"
// All of them in one file: none says again what another says.
#include "tests/support/commands.h"
#include "tests/support/console.h"
#include "tests/support/forwarding.h"
#include "tests/support/frames.h"
#include "tests/support/fresh_library.h"
#include "tests/support/hex_dump.h"
#include "tests/support/ipc.h"
#include "tests/support/neighbours.h"
#include "tests/support/reception.h"
#include "tests/support/rules.h"
#include "tests/support/sides.h"
#include "tests/support/vlan_rules.h"

namespace {

using namespace mc_test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Harness : public LibraryTest {};

TEST_F(Harness, RestoresExportedVariables) {
    mc_debug = 0x3D;
    defaultVlan = 7;
    globle_parm.port[6].sig_vlan_b = 9;
    PortVlanCfg[6][9].out_data_vlan = 9;
    mldInitParams.tag_inner[3] = 9;
    jion_buffer[67] = 9;
    restore_library();
    EXPECT_EQ(mc_debug, 0u);
    EXPECT_EQ(defaultVlan, MC_DEFAULT_VLAN);
    EXPECT_EQ(globle_parm.port[6].sig_vlan_b, 0);
    EXPECT_EQ(PortVlanCfg[6][9].out_data_vlan, 0);
    EXPECT_EQ(mldInitParams.tag_inner[3], 0);
    EXPECT_EQ(jion_buffer[67], 0);
}

// The library counts frames where no test can look, and asks for the time with the first one.
TEST_F(Harness, RestoresInternalVariables) {
    FrameBuffer frame(Igmp::report());
    igmpL2PktProc(frame.data(), frame.len(), 1);
    igmpL2PktProc(frame.data(), frame.len(), 1);
    EXPECT_EQ(count_of("igmp_time_now"), 1u);
    restore_library();
    igmpL2PktProc(frame.data(), frame.len(), 1);
    EXPECT_EQ(count_of("igmp_time_now"), 2u);
}

TEST_F(Harness, WritesCallsDownInOrder) {
    igmp_adapt_task_init();
    omci_set_para_qi_globle(70000);
    omci_clear_igmp_parmeter(6, 1);
    omci_igmp_ssm_map_globle_set(1, 2, 3, 4, 0xFFFFFFFF);
    EXPECT_THAT(
        calls(),
        ElementsAre(
            "pal_task_create(0, \"tMCPktRecv\", 29, 0, 51200, igmp_adapt_pkt_recv_task)",
            "pal_task_create(0, \"tMCCmd\", 40, 0, 40000, recv_igmp_interface_msg)",
            call("igmp_para_qi_globle_set", 4464),
            call("igmp_if_snp_uplinkvlan_set", 6, fields(0x8100, 0xFFFF, 0), "{33024, 65535, 0}"),
            "igmp_ssm_map_change({1, 2, 3, 4, 4294967295})"));
}

TEST_F(Harness, AnswersWhatTheTestAsksFor) {
    EXPECT_EQ(igmp_vlan_add(1), 0);
    answer("igmp_vlan_add", 5);
    fail_call("igmp_vlan_add", 3);
    EXPECT_EQ(igmp_vlan_add(2), 5);
    EXPECT_EQ(igmp_vlan_add(3), kFailure);
    EXPECT_EQ(igmp_vlan_add(4), 5);
    EXPECT_EQ(igmp_vlan_del(4), 0);
    forget_calls();
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(igmp_vlan_add(1), 5);
    reset_neighbours();
    EXPECT_EQ(igmp_vlan_add(1), 0);
}

TEST_F(Harness, RunsActionsInsideACall) {
    during("igmp_mode_switch_globle", [](const Call& call) {
        EXPECT_EQ(call.text, "igmp_mode_switch_globle(3)");
        EXPECT_EQ(proxy_adapt_mode, 3);
        IgmpGroupEntry group{};
        group.group = ipv4_number("239.255.1.1");
        group.vlan = 100;
        group.port = 2;
        EXPECT_EQ(igmp_add_grp(&group), 0);
    });
    omci_set_multicast_mode(3);
    EXPECT_THAT(calls(),
                ElementsAre("igmp_mode_switch_globle(3)",
                            "L2_multicast_set_port_iptv_entry(2, 01:00:5e:7f:01:01, 100)"));
}

TEST_F(Harness, KeepsPacketsAsTheyWere) {
    const Bytes frame = Igmp::report();
    FrameBuffer buffer(frame);
    igmpL2PktProc(buffer.data(), buffer.len(), 1);
    // cppcheck-suppress unreadVariable ; must not be seen in what was kept
    buffer.data()[14] = 0;
    const Bytes packet(frame.begin() + 14, frame.end());
    EXPECT_THAT(calls_of({"igmp_pkt_recv"}),
                ElementsAre(call("igmp_pkt_recv", packet, 32, 1, MC_DEFAULT_VLAN, "null")));
}

TEST_F(Harness, CutsPacketsThatClaimToBeLonger) {
    Bytes frame = Igmp::report();
    frame[16] = 0xFF;
    FrameBuffer buffer(frame);
    igmpL2PktProc(buffer.data(), buffer.len(), 1);
    const Bytes packet(frame.begin() + 14, frame.end());
    EXPECT_EQ(last_call("igmp_pkt_recv").text,
              call("igmp_pkt_recv", packet, 0xFF20, 1, MC_DEFAULT_VLAN, "null"));
}

TEST_F(Harness, LeavesThePacketTask) {
    deliver(Igmp::report(), 1);
    deliver(Igmp::report(), 2);
    run_packet_task(1);
    EXPECT_THAT(calls_without({"igmp_pkt_recv", "igmp_time_now", "L2_multicast_send_msg"}),
                ElementsAre("L2_multicast_read_msg()", "L2_multicast_read_msg()",
                            "L2_multicast_read_msg()", "sleep(1)", "L2_multicast_read_msg()"));
    EXPECT_EQ(count_of("igmp_pkt_recv"), 2u);
}

TEST_F(Harness, LeavesFromInsideACall) {
    during("igmp_mode_switch_globle", leave_library);
    EXPECT_TRUE(run_until_left([] {
        omci_set_multicast_mode(1);
        ADD_FAILURE() << "came back";
    }));
    EXPECT_FALSE(run_until_left([] {}));
}

TEST_F(Harness, CatchesWhatIsPrinted) {
    EXPECT_EQ(printed([] {
                  printf("%d", 1);
                  puts("\r");
              }),
              "1\r\n");
    EXPECT_EQ(printed([] {}), "");
}

TEST_F(Harness, BuildsTheBuiltInReport) {
    const Bytes report =
        padded(ethernet()
                   .from("02:00:00:00:01:01")
                   .tag(100)
                   .ipv4(ipv4_packet("192.0.2.20", "239.255.1.1", igmp_v2_report("239.255.1.1"))),
               MC_JION_BUFFER_SIZE);
    EXPECT_EQ(hex(report), hex(Bytes(jion_buffer, jion_buffer + MC_JION_BUFFER_SIZE)));
}

// A kernel sent this frame, see scenario/home/port4.pcap: an opinion of its own on the checksum.
TEST_F(Harness, BuildsMldReportsAsAKernelDoes) {
    const Bytes packet = ipv6_packet("fe80::ff:fe00:14", "ff02::16",
                                     mld_v2_report({{kToExclude, "ff02::1:ff00:14"}}));
    EXPECT_EQ(hex(ethernet().from("02:00:00:00:00:14").tag(200, 5).ipv6(packet)),
              "[333300000016020000000014"
              "8100a0c886dd"
              "6000000000240001"
              "fe80000000000000000000fffe000014"
              "ff020000000000000000000000000016"
              "3a00050200000100"
              "8f0071e100000001"
              "04000000ff0200000000000000000001ff000014]");
}

TEST_F(Harness, StartsWithoutQueueAndSegment) {
    EXPECT_EQ(shmget(mc::kStatusSegmentKey, 0, 0), -1);
    EXPECT_EQ(msgget(MC_QUEUE_KEY, 0), -1);
    EXPECT_EQ(mc_status_global, nullptr);
    EXPECT_EQ(mc_hal_init_share_memory(), 0);
    EXPECT_NE(shmget(mc::kStatusSegmentKey, 0, 0), -1);
    EXPECT_NE(msgget(MC_QUEUE_KEY, IPC_CREAT), -1);
    remove_ipc();
    EXPECT_EQ(shmget(mc::kStatusSegmentKey, 0, 0), -1);
    EXPECT_EQ(msgget(MC_QUEUE_KEY, 0), -1);
}

class HarnessStarted : public StartedTest {};

TEST_F(HarnessStarted, IsStartedAndSilent) {
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(portState[6].port_id, 29u);
    EXPECT_NE(mc_status_global, nullptr);
    EXPECT_EQ(proxy_adapt_mode, MC_MODE_SNOOPING);
}

}  // namespace
