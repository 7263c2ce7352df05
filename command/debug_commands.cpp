// The debug, show and test commands. The shape is that of the configuration commands; what the core
// displays, it prints itself.
#include "command/debug_commands.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "adapt/adapt.h"
#include "adapt/records.h"
#include "command/config_commands.h"
#include "command/dumps.h"
#include "common/diagnostics.h"
#include "igmp/igmp.h"
#include "mld/mld.h"
#include "platform/pal.h"
#include "platform/protocol_core.h"

namespace mc {

// ---- Tests and diagnostics of the library ------------------------------------------------------

// The built-in report, as if it had come in on the port. Forwarding may rewrite a frame, so each
// time it is a copy that comes in.
std::int32_t InjectTestFrame::run(CommandRecord record) {
    std::uint8_t report[MC_JION_BUFFER_SIZE];
    std::copy_n(jion_buffer, MC_JION_BUFFER_SIZE, report);
    return igmpL2PktProc(report, MC_JION_BUFFER_SIZE, record[port]);
}

std::int32_t SetTestUplink::run(CommandRecord record) {
    return igmp_adapt_set_test_uplink(record.as_signed(port));
}

// Offsets 1 to 6 name one category each, 7 all eight low bits. Enabling a category that is on turns
// it off, kept on purpose.
std::int32_t SwitchDebugMask::run(CommandRecord record) {
    const std::uint32_t category = record[offset];
    const std::uint32_t on = record[enable];
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: SET_IGMP_PROT_DEBUG offset = %d port_no = %d\r\n", category,
                    on);
    }
    if (category < 1 || category > 7) return 0;
    const std::uint32_t bits = category == 7 ? 0xFF : 1u << (category - 1);
    if (on != 0 && (mc_debug & bits) == 0) {
        mc_debug |= bits;
    } else {
        mc_debug &= ~bits;
    }
    std::printf("[mc_set_debug]: result: 0x%x.\r\n", mc_debug);
    mld_adapt_set_debug(bits, on);
    return 0;
}

namespace {

constexpr std::uint8_t kSelectAdapt = 0x61;  // 'a'
constexpr std::uint8_t kSelectIgmp = 0x69;   // 'i'

void report_cli_debug_error() {
    constexpr int kReportedLine = 4361;
    if (igmp_adapt < -1) return;
    std::printf("\r\n [IGMP_ERROR]%s(%d): ", "process_interface_msg", kReportedLine);
    std::puts("cli debug is error\r");
    std::puts("\r");
}

// Report level of the library; without a sub-selector ageing is switched off as well.
void set_report_level(std::uint32_t value, std::uint8_t sub_selector) {
    if (value == 0) igmp_adapt = -2;
    if (value == 1) igmp_adapt = 1;
    if (sub_selector != 0) return;
    setIgmpAgeEnable(0);
    static_cast<void>(push_stored_parameters());
}

// The core's own switches. A selector that is not listed does nothing.
void set_core_debug(std::uint32_t value, std::uint8_t selector) {
    if (selector >= 1 && selector <= 7) {
        static_cast<void>(igmp_dbg_set(static_cast<std::uint16_t>(value), selector));
        return;
    }
    switch (selector) {
        case 8:
            igmpv3_rcv = 3;
            return;
        case 9:
            igmpv3_rcv = 1;
            return;
        case 10:
            igmpv3_rcv = 2;
            return;
        case 11:
            igmpv3_snd = 1;
            return;
        default:
            return;
    }
}

}  // namespace

std::int32_t DebugFromCli::run(CommandRecord record) {
    // Each selector has its own meaning alone; the two together have none.
    const bool adapt = record[selector] == kSelectAdapt;
    const bool igmp = record[sub_selector] == kSelectIgmp;
    if (adapt == igmp) {
        report_cli_debug_error();
    } else if (adapt) {
        set_report_level(record[value], record[sub_selector]);
    } else {
        set_core_debug(record[value], record[selector]);
    }
    return 0;
}

std::int32_t ShowConfiguration::run(CommandRecord /*record*/) {
    print_configuration();
    return 0;
}

// ---- Status export -----------------------------------------------------------------------------

std::int32_t ExportPortStatus::run(CommandRecord record) {
    return igmp_hal_sync_if_status(record[port]);
}

std::int32_t ExportGroups::run(CommandRecord /*record*/) {
    constexpr std::uint32_t kAllPorts = 255;
    return igmp_hal_sync_grp_infor(kAllPorts);
}

// ---- Displays of the core ----------------------------------------------------------------------

std::int32_t ShowAllGroups::run(CommandRecord /*record*/) { return igmp_display_all_group(); }

std::int32_t ShowGroup::run(CommandRecord record) {
    return igmp_display_special_group(record[group]);
}

std::int32_t ShowStandardVlan::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: STD_IGMP_DEBUG_SHOW_VLAN vlan_id = %d port_no = %d flag = %d\r\n",
            record[vlan], record[port], record[flag]);
    }
    return igmp_show_vlan_config(record[port], record[vlan], record[flag]);
}

std::int32_t ShowVlan::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: SHOW_VLAN vlan_id = %d port_no = %d flag = %d\r\n",
                    record[vlan], record[port], record[flag]);
    }
    return igmp_show_vlan_config(record[port], record[vlan], record[flag]);
}

std::int32_t ShowProxyGroups::run(CommandRecord /*record*/) { return show_igmp_all_proxy_group(); }

std::int32_t ShowProxyGroup::run(CommandRecord record) {
    return show_igmp_special_proxy_group(record[group]);
}

std::int32_t ShowVlanInstances::run(CommandRecord /*record*/) { return igmp_show_vlan_instance(); }

std::int32_t ShowIgmpv3Globals::run(CommandRecord /*record*/) { return show_igmpv3_globle(); }

std::int32_t ShowPacketStatistics::run(CommandRecord /*record*/) {
    return show_igmp_packet_statistic();
}

std::int32_t ShowInterfaces::run(CommandRecord /*record*/) { return show_igmp_if_list(); }

std::int32_t ShowTimers::run(CommandRecord /*record*/) { return igmp_timer_show_api(); }

std::int32_t ShowAuthorisedGroups::run(CommandRecord /*record*/) {
    return igmp_auth_group_show_api();
}

std::int32_t ShowPortConfiguration::run(CommandRecord record) {
    return igmp_if_show_if_cfg(record[port]);
}

std::int32_t ShowPortStatus::run(CommandRecord record) {
    return igmp_if_show_if_status(record[port]);
}

std::int32_t ShowPortAuthorisedGroup::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: portno = %d grp_addr = 0x%x\r\n", record[port],
                    record[group]);
    }
    return igmp_if_show_auth_group_cfg(record[port], record[group]);
}

std::int32_t ShowMld::run(CommandRecord /*record*/) {
    static_cast<void>(mld_unpack_show_mld_sys(0));
    static_cast<void>(mld_unpack_show_mld_thread(0));
    static_cast<void>(mld_unpack_show_vlan_global(0));
    return mld_show_if_list();
}

std::int32_t ShowMemory::run(CommandRecord /*record*/) { return pal_mem_show(); }

std::int32_t ResetMemoryStatistics::run(CommandRecord /*record*/) { return pal_mem_reset(); }

std::int32_t ShowMemoryType::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: SHOW_MEMORY_TYPE  %d \r\n", record[type]);
    }
    return pal_mtype_show(record[type]);
}

std::int32_t SetMemoryTypeRange::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: SET_MEMORY_TYPE_RANGE %d %d\r\n", record[first],
                    record[last]);
    }
    return pal_mrecord_range_set(record[first], record[last]);
}

// ---- Debug switches and tests of the core ------------------------------------------------------

namespace {

// The core's trace of packets: no port, and no port of the MLD side either.
constexpr std::uint16_t kTraceNoPort = 65534;

}  // namespace

std::int32_t SetWarnings::run(CommandRecord record) { return igmp_warn_printf_set(record[enable]); }

namespace {

// The leave's text stands for both tests, kept on purpose.
void trace_test(std::uint32_t port, std::uint16_t vlan) {
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: SET_IGMP_LEAVE_TEST port_no = %d vlan_id = %d\r\n", port,
                    vlan);
    }
}

}  // namespace

std::int32_t TestReport::run(CommandRecord record) {
    trace_test(record[port], record[vlan]);
    return test_igmp_report_v2_l3(static_cast<std::uint16_t>(record[port]), record[vlan]);
}

std::int32_t TestLeave::run(CommandRecord record) {
    trace_test(record[port], record[vlan]);
    return test_igmp_leave_v2_l3(static_cast<std::uint16_t>(record[port]), record[vlan]);
}

std::int32_t SetVlanDebug::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: DEBUG_IGMP_VLAN %d,%d \r\n", record[vlan], record[selector]);
    }
    return igmp_dbg_set(record[vlan], record[selector]);
}

std::int32_t UnsetVlanDebug::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: NO_DEBUG_IGMP_VLAN %d, %d \r\n", record[vlan],
                    record[selector]);
    }
    return igmp_dbg_unset(record[vlan], record[selector]);
}

std::int32_t SetDebugLevel::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: DEBUG_IGMP_LEVEL  %d \r\n", record[level]);
    }
    return igmp_set_debug_level(record[level], 1);
}

std::int32_t UnsetDebugLevel::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: NO_DEBUG_IGMP_LEVEL  %d \r\n", record[level]);
    }
    return igmp_set_debug_level(record[level], 0);
}

std::int32_t SetPacketDebug::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: DEBUG_IGMP  %d  %d\r\n", record[which], record[port]);
    }
    igmp_checked_ret(igmp_set_debug_pkt_port(record[port]),
                     "\r\n[MC_DBG_ERR]:  igmp_set_debug_pkt_port is error ret = %d\r\n");
    return igmp_set_debug_switch(record[which], 1);
}

std::int32_t SetOtherDebug::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: OTHER_DEBUG_IGMP %d \r\n", record[which]);
    }
    return igmp_set_debug_switch(record[which], 1);
}

std::int32_t UnsetDebug::run(CommandRecord record) {
    constexpr std::uint32_t kEverything = 65535;
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: NO_ALL_DEBUG_IGMP %d \r\n", record[which]);
    }
    static_cast<void>(igmp_set_debug_switch(record[which], 0));
    static_cast<void>(igmp_set_debug_pkt_port(kTraceNoPort));
    if (record[which] == kEverything) static_cast<void>(igmp_no_debug_all());
    return 0;
}

std::int32_t SetMldPortDebug::run(CommandRecord record) {
    constexpr std::uint32_t kAllPorts = 255;
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: SET_MLD_PROT_DEBUG offset = %d.\r\n", record[value]);
    }
    return mld_set_mld_debug_port(record[value] == 1 ? kAllPorts : kTraceNoPort);
}

std::int32_t SetMldDebug::run(CommandRecord record) {
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: SET_MLD_DEBUG offset = %d port_no = %d\r\n", record[value],
                    record[port]);
    }
    return mld_set_mld_debug(record[value] == 1 ? 255u : 0u, record[port]);
}

}  // namespace mc
