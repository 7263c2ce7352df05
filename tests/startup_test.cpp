// Start-up: which neighbours are called, in which order and with what, how far a failure reaches,
// and the small switches beside it.
#include <gmock/gmock.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "adapt/adapt.h"
#include "adapt/status_segment.h"
#include "igmp/igmp.h"
#include "mld/mld.h"
#include "settings/settings.h"
#include "tests/support/console.h"
#include "tests/support/frames.h"
#include "tests/support/fresh_library.h"

namespace {

using namespace mc_test;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::StartsWith;

using Lines = std::vector<std::string>;

const Lines kCoreInitialisation = {
    "igmp_data_init()",
    "igmp_task_init(50, 51)",
    "mld_data_init()",
    "mld_task_init(50)",
};

const Lines kDefaults = {
    "igmp_default_vid_set(4088)", "igmp_para_globle_set(2, 125, 10, 1, 2, 1)",
    "igmp_mode_switch_globle(1)", "igmp_fast_leave_enable_globle(0)",
    "igmp_vlan_learning_set(0)",
};

const Lines kIgmpRegistration = {
    "igmp_register_switch_send_pkt(send_pkt_igmp)",
    "igmp_register_switch_add_table(igmp_add_grp)",
    "igmp_register_switch_del_table(igmp_del_grp)",
    "igmp_port_add_all_vlan(0)",
    "igmp_port_add_all_vlan(1)",
    "igmp_port_add_all_vlan(2)",
    "igmp_port_add_all_vlan(3)",
    "igmp_port_add_all_vlan(4)",
    "igmp_port_add_all_vlan(5)",
    "igmp_port_add_all_vlan(65535)",
};

const Lines kMldRegistration = {
    "mld_register_switch_send_pkt(send_pkt_mld)",
    "mld_register_switch_add_table(mld_add_grp)",
    "mld_register_switch_del_table(mld_del_grp)",
    "mld_port_conf_set(0, 2)",
    "mld_port_conf_set(1, 2)",
    "mld_port_conf_set(2, 2)",
    "mld_port_conf_set(3, 2)",
    "mld_port_conf_set(4, 2)",
    "mld_port_conf_set(5, 2)",
    "mld_port_conf_set(29, 1)",
    "mld_proxy_snoop_set_globle(2)",
};

const Lines kDriver = {"L2_multicast_init()", "L2_multicast_set_filter_method(2)"};

const Lines kModeAndAddress = {"igmp_mode_switch_globle(1)", "igmp_globle_proxyip_set(169414164)"};

const Lines kTasks = {
    "pal_task_create(0, \"tMCPktRecv\", 29, 0, 51200, igmp_adapt_pkt_recv_task)",
    "pal_task_create(0, \"tMCCmd\", 40, 0, 40000, recv_igmp_interface_msg)",
};

Lines operator+(Lines head, const Lines& tail) {
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
}

Lines adapt_init_calls() {
    return Lines{"igmp_vlan_del_all()"} + kDefaults + kIgmpRegistration + kMldRegistration +
           kDriver + kModeAndAddress;
}

Lines start_up_calls() { return kCoreInitialisation + adapt_init_calls() + kTasks; }

Bytes status_bytes(std::uint32_t offset, std::uint32_t size) {
    return {mc_status_global + offset, mc_status_global + offset + size};
}

bool segment_refused() {
    return reinterpret_cast<std::uintptr_t>(mc_status_global) == ~std::uintptr_t{0};
}

// Runs the checks in a child process; its failures are printed there and count here.
void in_child(const std::function<void()>& checks) {
    std::fflush(nullptr);
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        checks();
        std::fflush(nullptr);
        _exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "in the child";
}

// From here on the process may open only what permission bits let it.
bool drop_privileges() {
    constexpr uid_t kNobody = 65534;
    if (geteuid() == 0 && setuid(kNobody) == 0) return true;
    struct {
        std::uint32_t version;
        int process;
    } header = {0x20080522, 0};
    const std::uint32_t no_capabilities[6] = {};
    return syscall(SYS_capset, &header, no_capabilities) == 0;
}

class StartUp : public LibraryTest {};

// ---- Order -------------------------------------------------------------------------------

TEST_F(StartUp, CallsTheNeighboursInOrder) {
    EXPECT_EQ(IgmpInit(), 0);
    EXPECT_THAT(calls(), ElementsAreArray(start_up_calls()));
}

TEST_F(StartUp, AdaptInitMakesAllButTheCoreAndTheTasks) {
    EXPECT_EQ(adapt_init(), 0);
    EXPECT_THAT(calls(), ElementsAreArray(adapt_init_calls()));
}

TEST_F(StartUp, IsSilent) {
    EXPECT_EQ(printed([] { IgmpInit(); }), "");
}

TEST_F(StartUp, SaysNothingUnderErrorsWhenAllIsWell) {
    mld_debug = kErr;
    EXPECT_EQ(said(mc_debug, kErr, [] { IgmpInit(); }), "");
}

TEST_F(StartUp, TracesTheFlow) {
    expect_said(mc_debug, kDbg,
                "\r\n[MC_DBG_DBG]: omci_set_multicast_mode proxy_adapt_mode =1\n"
                "\r\n[MC_DBG_DBG]: \n igmp_register_switch_add_table !\n"
                "\r\n[MC_DBG_DBG]: igmp_adapt_port_conf_set is in\r\n"
                "\r\n[MC_DBG_DBG]: omci_set_multicast_mode proxy_adapt_mode =1\n",
                [] { IgmpInit(); });
}

TEST_F(StartUp, AttachesTheSegmentBeforeTheModeIsPublished) {
    bool seen = false;
    during("igmp_default_vid_set", [&] {
        seen = true;
        ASSERT_NE(mc_status_global, nullptr);
        EXPECT_EQ(hex(status_bytes(mc::kStatusMode, 4)), "[00000001]");
    });
    adapt_init();
    EXPECT_TRUE(seen);
}

TEST_F(StartUp, EmptiesTheTemplateListBeforeTheCoreDoes) {
    PortVlan[0] = 100;
    PortVlan[1] = 200;
    PortVlan[2] = 300;
    setVlanNumber = 2;
    during("igmp_vlan_del_all", [] {
        EXPECT_EQ(setVlanNumber, 0);
        EXPECT_EQ(PortVlan[0], 0);
        EXPECT_EQ(PortVlan[1], 0);
    });
    adapt_init();
    EXPECT_EQ(setVlanNumber, 0);
    EXPECT_EQ(PortVlan[2], 300) << "behind the entries in use";
}

TEST_F(StartUp, LeavesATemplateListWithoutEntriesAlone) {
    PortVlan[0] = 100;
    setVlanNumber = -1;
    adapt_init();
    EXPECT_EQ(setVlanNumber, 0);
    EXPECT_EQ(PortVlan[0], 100);
}

TEST_F(StartUp, FillsRulesAndPortsBeforeTheCallBacksCanCome) {
    bool seen = false;
    during("igmp_register_switch_send_pkt", [&] {
        seen = true;
        EXPECT_EQ(PortVlanCfg[6][9].prouptagmode, MC_TAG_MODE_EMPTY);
        EXPECT_EQ(portState[6].port_id, MC_UPLINK_PORT);
        EXPECT_EQ(sys_mac[5], 0x11);
    });
    adapt_init();
    EXPECT_TRUE(seen);
}

TEST_F(StartUp, FillsTheMldRecordBeforeItsCallBacksCanCome) {
    bool seen = false;
    during("mld_register_switch_send_pkt", [&] {
        seen = true;
        EXPECT_EQ(mldInitParams.mldPortVlanCfg[6][9].prouptagmode, MC_TAG_MODE_EMPTY);
        EXPECT_EQ(mldInitParams.port[6].port_id, MC_UPLINK_PORT);
        EXPECT_EQ(mldInitParams.multiMode, MLD_MODE_SNOOPING);
    });
    adapt_init();
    EXPECT_TRUE(seen);
}

TEST_F(StartUp, StartsTheTasksWhenEverythingIsSet) {
    bool seen = false;
    during("pal_task_create", [&] {
        seen = true;
        EXPECT_EQ(last_call("igmp_globle_proxyip_set").name, "igmp_globle_proxyip_set");
    });
    IgmpInit();
    EXPECT_TRUE(seen);
}

TEST_F(StartUp, MayBeRepeated) {
    IgmpInit();
    forget_calls();
    EXPECT_EQ(IgmpInit(), 0);
    EXPECT_THAT(calls(), ElementsAreArray(start_up_calls()));
}

// ---- Failures ----------------------------------------------------------------------------

// Steps whose failure stops nothing.
class StartUpGoesOn : public StartUp, public ::testing::WithParamInterface<const char*> {};

TEST_P(StartUpGoesOn, WhenThisFails) {
    fail_call(GetParam(), 1);
    EXPECT_EQ(IgmpInit(), 0);
    EXPECT_THAT(calls(), ElementsAreArray(start_up_calls()));
}

INSTANTIATE_TEST_SUITE_P(
    Step, StartUpGoesOn,
    ::testing::Values("igmp_data_init", "igmp_task_init", "mld_data_init", "mld_task_init",
                      "igmp_vlan_del_all", "igmp_default_vid_set", "igmp_para_globle_set",
                      "igmp_mode_switch_globle", "igmp_fast_leave_enable_globle",
                      "igmp_vlan_learning_set", "igmp_register_switch_send_pkt",
                      "igmp_register_switch_add_table", "igmp_register_switch_del_table",
                      "mld_register_switch_send_pkt", "mld_register_switch_add_table",
                      "mld_register_switch_del_table", "mld_proxy_snoop_set_globle",
                      "igmp_globle_proxyip_set"),
    [](const auto& param_info) { return std::string(param_info.param); });

TEST_F(StartUp, GoesOnWhenAPortIsRefused) {
    fail_call("igmp_port_add_all_vlan", 3);
    fail_call("mld_port_conf_set", 1);
    EXPECT_EQ(IgmpInit(), 0);
    EXPECT_EQ(count_of("igmp_port_add_all_vlan"), 3u);
    EXPECT_EQ(count_of("mld_port_conf_set"), 1u);
    EXPECT_THAT(calls(), Contains("mld_proxy_snoop_set_globle(2)"));
    EXPECT_EQ(count_of("pal_task_create"), 2u);
}

TEST_F(StartUp, DriverThatCannotBeOpenedEndsAdaptInitWithItsStatus) {
    answer("L2_multicast_init", kFailure);
    EXPECT_EQ(adapt_init(), kFailure);
    EXPECT_EQ(calls().back(), "L2_multicast_init()");
    expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: \n ERROR! L2_multicast_init Fail !\n",
                [] { adapt_init(); });
}

TEST_F(StartUp, FilterMethodThatIsRefusedEndsAdaptInitWithItsStatus) {
    answer("L2_multicast_set_filter_method", -5);
    EXPECT_EQ(adapt_init(), -5);
    EXPECT_EQ(calls().back(), "L2_multicast_set_filter_method(2)");
    expect_said(mc_debug, kErr,
                "\r\n[MC_DBG_ERR]: \n ERROR! L2_multicast_set_filter_method Fail !\n",
                [] { adapt_init(); });
}

TEST_F(StartUp, StartsTheTasksEvenWithoutADriver) {
    answer("L2_multicast_init", kFailure);
    EXPECT_EQ(IgmpInit(), 0);
    EXPECT_THAT(calls(), ElementsAreArray(kCoreInitialisation + Lines{"igmp_vlan_del_all()"} +
                                          kDefaults + kIgmpRegistration + kMldRegistration +
                                          Lines{"L2_multicast_init()"} + kTasks));
}

TEST_F(StartUp, VlanListThatCannotBeEmptiedIsReported) {
    answer("igmp_vlan_del_all", kFailure);
    EXPECT_EQ(adapt_init(), 0);
    expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: igmp_vlan_del_all is error! ret = 77\r\n",
                [] { adapt_init(); });
}

TEST_F(StartUp, SnoopingThatTheCoreRefusesIsReportedAndTheAddressStillPushed) {
    fail_call("igmp_mode_switch_globle", 2);
    expect_said(mc_debug, kErr,
                "\r\n[MC_DBG_ERR]: \n ERROR!proxy_adapt_mode =1 "
                "\r\n[MC_DBG_ERR]: \n ERROR!omci_set_multicast_mode snooping Fail",
                [] { EXPECT_EQ(adapt_init(), 0); });
    EXPECT_EQ(calls().back(), "igmp_globle_proxyip_set(169414164)");
}

TEST_F(StartUp, StatusOfTheProxyAddressIsTheResult) {
    answer("igmp_globle_proxyip_set", kFailure);
    expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: \n ERROR!igmp_globle_proxyip_set snooping Fail",
                [] { EXPECT_EQ(adapt_init(), kFailure); });
}

// ---- Call-backs --------------------------------------------------------------------------

class Registration : public StartedTest {};

TEST_F(Registration, HandsTheCallBacksAndThePortsToTheCore) {
    EXPECT_EQ(igmp_adapt_init(), 0);
    EXPECT_THAT(calls(), ElementsAreArray(kIgmpRegistration));
}

TEST_F(Registration, TracesTheTableCallBackWhateverTheResult) {
    for (const std::int32_t status : {0, kFailure}) {
        answer("igmp_register_switch_add_table", status);
        expect_said(mc_debug, kDbg,
                    "\r\n[MC_DBG_DBG]: \n igmp_register_switch_add_table !\n"
                    "\r\n[MC_DBG_DBG]: igmp_adapt_port_conf_set is in\r\n",
                    [] { igmp_adapt_init(); });
    }
}

TEST_F(Registration, TraceStandsBeforeTheError) {
    answer("igmp_register_switch_add_table", kFailure);
    EXPECT_EQ(said(mc_debug, kDbg | kErr, [] { igmp_adapt_init(); }),
              "\r\n[MC_DBG_DBG]: \n igmp_register_switch_add_table !\n"
              "\r\n[MC_DBG_ERR]: \n ERROR! igmp_register_switch_add_table Fail !\n"
              "\r\n[MC_DBG_DBG]: igmp_adapt_port_conf_set is in\r\n");
}

TEST_F(Registration, FailuresAreReportedAndStopNothing) {
    for (const std::string name :
         {"igmp_register_switch_send_pkt", "igmp_register_switch_add_table",
          "igmp_register_switch_del_table"}) {
        reset_neighbours();
        answer(name, kFailure);
        expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: \n ERROR! " + name + " Fail !\n",
                    [] { EXPECT_EQ(igmp_adapt_init(), 0); });
        EXPECT_THAT(calls(), ElementsAreArray(kIgmpRegistration));
    }
}

TEST_F(Registration, RefusedPortIsTheResult) {
    fail_call("igmp_port_add_all_vlan", 3);
    expect_said(mc_debug, kErr,
                "\r\n[MC_DBG_ERR]: \n ERROR!igmp_port_conf_set Fail"
                "\r\n[MC_DBG_ERR]: \n ERROR! igmp_adapt_port_conf_set Fail !\n",
                [] { EXPECT_EQ(igmp_adapt_init(), -1); });
}

// ---- Tasks -------------------------------------------------------------------------------

class Tasks : public LibraryTest {};

TEST_F(Tasks, AreThePacketTaskAndThenTheCommandTask) {
    EXPECT_EQ(igmp_adapt_task_init(), 0);
    EXPECT_THAT(calls(), ElementsAreArray(kTasks));
}

TEST_F(Tasks, CommandTaskIsNotStartedWithoutThePacketTask) {
    fail_call("pal_task_create", 1);
    expect_said(mc_debug, kErr,
                "\r\n[MC_DBG_ERR]: \n ERROR! pal_task_create MC_TASK_PKT_RECV_NAME Fail !\n",
                [] { EXPECT_EQ(igmp_adapt_task_init(), -1); });
    EXPECT_THAT(calls(), ElementsAre(kTasks[0]));
}

TEST_F(Tasks, CommandTaskThatDoesNotStartIsReported) {
    fail_call("pal_task_create", 2);
    expect_said(mc_debug, kErr,
                "\r\n[MC_DBG_ERR]: \n ERROR! pal_task_create MC_TASK_CMD_RECV_NAME Fail !\n",
                [] { EXPECT_EQ(igmp_adapt_task_init(), -1); });
    EXPECT_THAT(calls(), ElementsAreArray(kTasks));
}

TEST_F(Tasks, FailureDoesNotReachTheHost) {
    answer("pal_task_create", kFailure);
    EXPECT_EQ(IgmpInit(), 0);
    EXPECT_EQ(count_of("pal_task_create"), 1u);
}

// ---- Shared status segment ---------------------------------------------------------------

class Segment : public LibraryTest {
 protected:
    static int segment_id() { return shmget(mc::kStatusSegmentKey, 0, 0); }
};

TEST_F(Segment, IsCreatedWithItsSizeAndWithoutPermissions) {
    EXPECT_EQ(printed([] { EXPECT_EQ(mc_hal_init_share_memory(), 0); }), "");
    shmid_ds info{};
    ASSERT_EQ(shmctl(segment_id(), IPC_STAT, &info), 0);
    EXPECT_EQ(info.shm_segsz, 14492u);
    EXPECT_EQ(info.shm_perm.mode & 0777, 0);
    EXPECT_EQ(info.shm_nattch, 1u);
}

TEST_F(Segment, IsClearedWhenItIsAttached) {
    const int id = shmget(82, 14492, IPC_CREAT);
    ASSERT_NE(id, -1);
    auto* const other = static_cast<std::uint8_t*>(shmat(id, nullptr, 0));
    ASSERT_NE(reinterpret_cast<std::uintptr_t>(other), ~std::uintptr_t{0});
    other[0] = 1;
    other[14491] = 2;
    EXPECT_EQ(mc_hal_init_share_memory(), 0);
    EXPECT_EQ(other[0], 0);
    EXPECT_EQ(other[14491], 0);
    other[7] = 3;
    EXPECT_EQ(mc_status_global[7], 3) << "the same memory";
    shmdt(other);
}

TEST_F(Segment, SecondProcessAttachesTheSameAndClearsIt) {
    ASSERT_EQ(mc_hal_init_share_memory(), 0);
    omci_set_multicast_mode(MC_MODE_CONTROL);
    EXPECT_EQ(hex(status_bytes(mc::kStatusMode, 4)), "[00000003]");
    in_child([] {
        mc_status_global = nullptr;
        EXPECT_EQ(mc_hal_init_share_memory(), 0);
        mc_status_global[0] = 0x5A;
    });
    EXPECT_EQ(hex(status_bytes(mc::kStatusMode, 4)), "[00000000]");
    EXPECT_EQ(mc_status_global[0], 0x5A);
}

TEST_F(Segment, OfAnotherSizeIsRefusedWithoutBeingAsked) {
    ASSERT_NE(shmget(82, 100, IPC_CREAT), -1);
    EXPECT_EQ(printed([] { EXPECT_EQ(mc_hal_init_share_memory(), -1); }),
              "[mc_hal_init_share_memory]: 82 shmget error!\r\n");
    EXPECT_EQ(mc_status_global, nullptr);
}

TEST_F(Segment, FailureDoesNotStopAdaptInit) {
    ASSERT_NE(shmget(82, 100, IPC_CREAT), -1);
    EXPECT_EQ(printed([] { EXPECT_EQ(adapt_init(), 0); }),
              "[mc_hal_init_share_memory]: 82 shmget error!\r\n"
              "[igmp_adapt_init]: mc_hal_init_share_memory() return -1, error!\r\n");
    EXPECT_THAT(calls(), ElementsAreArray(adapt_init_calls()));
}

TEST_F(Segment, RefusedToAnUnprivilegedProcessLeavesItWorking) {
    in_child([] {
        ASSERT_TRUE(drop_privileges());
        const std::string text = printed([] { EXPECT_EQ(IgmpInit(), 0); });
        EXPECT_TRUE(segment_refused());
        EXPECT_EQ(text, "[mc_hal_init_share_memory]: " + std::to_string(segment_id()) +
                            " shmat error!\r\n"
                            "[igmp_adapt_init]: mc_hal_init_share_memory() return -1, error!\r\n");
        EXPECT_THAT(calls(), ElementsAreArray(start_up_calls()));
        EXPECT_EQ(omci_set_multicast_mode(MC_MODE_CONTROL), 0);
        EXPECT_EQ(omci_set_port_igmpgroup_limit(3, 5), 0);
        EXPECT_EQ(omci_clear_igmp_parmeter(3, 2), 0);
        EXPECT_EQ(proxy_adapt_mode, MC_MODE_CONTROL);
        EXPECT_EQ(globle_parm.port[3].grouplimit, 1024);
        EXPECT_TRUE(segment_refused());
    });
}

TEST_F(Segment, OfAPrivilegedProcessIsRefusedToAnUnprivilegedOne) {
    ASSERT_EQ(mc_hal_init_share_memory(), 0);
    mc_status_global[0] = 0x5A;
    in_child([] {
        ASSERT_TRUE(drop_privileges());
        mc_status_global = nullptr;
        EXPECT_THAT(printed([] { EXPECT_EQ(IgmpInit(), 0); }),
                    StartsWith("[mc_hal_init_share_memory]: " + std::to_string(segment_id()) +
                               " shmat error!\r\n"));
        EXPECT_TRUE(segment_refused());
        EXPECT_EQ(count_of("pal_task_create"), 2u);
    });
    EXPECT_EQ(mc_status_global[0], 0x5A) << "not cleared by a process that may not";
}

// ---- Small switches ----------------------------------------------------------------------

class Switches : public StartedTest {
 protected:
    static Bytes report_packet() {
        return ipv4_packet("192.0.2.20", "239.255.1.1", igmp_v2_report("239.255.1.1"));
    }

    // The port that the core is told for a report from this port.
    static std::string receive_from(std::uint32_t port) {
        FrameBuffer frame(ethernet().ipv4(report_packet()));
        proxy_adapt_mode = MC_MODE_PROXY;
        igmpL2PktProc(frame.data(), frame.len(), port);
        return last_call("igmp_pkt_recv").text;
    }

    static unsigned sent_to(std::uint16_t port) {
        FrameBuffer frame(ethernet().ipv4(report_packet()));
        l2_igmp_send_pkt(frame.data(), static_cast<std::uint16_t>(frame.len()), port);
        return sent_frames().back().port;
    }
};

TEST_F(Switches, OwnAddressIsFixed) {
    for (std::uint8_t& byte : sys_mac) byte = 0xFF;
    igmp_get_cpu_mac();
    EXPECT_THAT(sys_mac, ElementsAre(0x00, 0x00, 0x00, 0x11, 0x00, 0x11));
    EXPECT_THAT(mld_sys_mac, ElementsAre(0, 0, 0, 0, 0, 0));
}

TEST_F(Switches, TestUplinkIsStoredWhateverItIs) {
    for (const std::int32_t port : {0, 3, 29, 65534, -1, 100000}) {
        EXPECT_EQ(igmp_adapt_set_test_uplink(port), 0);
        EXPECT_EQ(testuplink, port);
    }
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(Switches, FramesOfTheTestUplinkCountAsUplinkFrames) {
    igmp_adapt_set_test_uplink(3);
    EXPECT_EQ(receive_from(3), call("igmp_pkt_recv", report_packet(), 32, 0xFFFF, 4088, "null"));
    EXPECT_EQ(receive_from(2), call("igmp_pkt_recv", report_packet(), 32, 2, 4088, "null"));
    igmp_adapt_set_test_uplink(MC_NO_TEST_UPLINK);
    EXPECT_EQ(receive_from(3), call("igmp_pkt_recv", report_packet(), 32, 3, 4088, "null"));
}

TEST_F(Switches, FramesToTheUplinkLeaveOnTheTestUplink) {
    igmp_adapt_set_test_uplink(3);
    EXPECT_EQ(sent_to(29), 3u);
    EXPECT_EQ(sent_to(2), 2u);
    igmp_adapt_set_test_uplink(MC_NO_TEST_UPLINK);
    EXPECT_EQ(sent_to(29), 29u);
}

TEST_F(Switches, TableReturnIsOneForAnythingAboveZero) {
    EXPECT_EQ(igmp_set_table_return(-5), 0);
    EXPECT_EQ(tablereturn, 0);
    EXPECT_EQ(igmp_set_table_return(7), 1);
    EXPECT_EQ(tablereturn, 1);
    EXPECT_EQ(igmp_set_table_return(0), 0);
    EXPECT_EQ(tablereturn, 0);
    EXPECT_EQ(igmp_set_table_return(1), 1);
    EXPECT_EQ(tablereturn, 1);
}

TEST_F(Switches, DriverSwitchesOnlySaySo) {
    expect_said(mc_debug, kDbg,
                "\r\n[MC_DBG_DBG]: \nSFU Project have no that function,default enable!",
                [] { EXPECT_EQ(igmp_driver_enable(), 0); });
    expect_said(mc_debug, kDbg, "\r\n[MC_DBG_DBG]: \nSFU Project have no that function!",
                [] { EXPECT_EQ(igmp_driver_disable(), 0); });
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(Switches, FloodTrapDoesNothing) {
    EXPECT_EQ(said(mc_debug, kAllCategories, [] { EXPECT_EQ(flood_trap(3), 0); }), "");
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(proxy_adapt_mode, MC_MODE_SNOOPING);
}

}  // namespace
