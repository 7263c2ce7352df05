// The debug, show and test commands. The shape is that of the configuration commands; what the core
// displays, it prints itself.
#include <cstdint>
#include <cstdio>

#include "adapt/adapt.h"
#include "adapt/records.h"
#include "command/dumps.h"
#include "command/handlers.h"
#include "command/record.h"
#include "common/diagnostics.h"
#include "igmp/igmp.h"
#include "mld/mld.h"
#include "platform/pal.h"
#include "platform/protocol_core.h"

namespace mc {

// ---- Tests and diagnostics of the library ----

// The built-in report, as if it had come in on the port.
void inject_test_frame(const CommandRecord& record) {
    if (igmpL2PktProc(jion_buffer, MC_JION_BUFFER_SIZE, record.u8(8)) != 0 && igmp_says(kErrors)) {
        std::puts("\r\n[MC_DBG_ERR]: test igmpL2PktProc error\r");
    }
}

void set_test_uplink(const CommandRecord& record) {
    static_cast<void>(igmp_adapt_set_test_uplink(static_cast<std::int32_t>(record.be32(8))));
}

// Offsets 1 to 6 name one category each, 7 all eight low bits. Enabling a category that is on turns
// it off, kept on purpose.
void switch_debug_mask(const CommandRecord& record) {
    const std::uint32_t offset = record.be32(8);
    const std::uint32_t enable = record.be32(12);
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: SET_IGMP_PROT_DEBUG offset = %d port_no = %d\r\n", offset,
                    enable);
    }
    if (offset < 1 || offset > 7) return;
    const std::uint32_t bits = offset == 7 ? 0xFF : 1u << (offset - 1);
    if (enable != 0 && (mc_debug & bits) == 0) {
        mc_debug |= bits;
    } else {
        mc_debug &= ~bits;
    }
    std::printf("[mc_set_debug]: result: 0x%x.\r\n", mc_debug);
    mld_adapt_set_debug(bits, enable);
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

void debug_from_cli(const CommandRecord& record) {
    const std::uint32_t value = record.be32(8);
    const std::uint8_t selector = record.u8(12);
    const std::uint8_t sub_selector = record.u8(13);
    // Each selector has its own meaning alone; the two together have none.
    const bool adapt = selector == kSelectAdapt;
    const bool igmp = sub_selector == kSelectIgmp;
    if (adapt == igmp) {
        report_cli_debug_error();
    } else if (adapt) {
        set_report_level(value, sub_selector);
    } else {
        set_core_debug(value, selector);
    }
}

void show_configuration(const CommandRecord& /*record*/) { print_configuration(); }

// ---- Status export ----

void export_port_status(const CommandRecord& record) {
    if (igmp_hal_sync_if_status(record.u8(8)) != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!igmp_hal_sync_if_status Fail");
    }
}

void export_groups(const CommandRecord& /*record*/) {
    constexpr std::uint32_t kAllPorts = 255;
    if (igmp_hal_sync_grp_infor(kAllPorts) != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!igmp_hal_sync_grp_inform Fail");
    }
}

// ---- Displays of the core ----

void show_all_groups(const CommandRecord& /*record*/) {
    static_cast<void>(igmp_display_all_group());
}

void show_group(const CommandRecord& record) {
    static_cast<void>(igmp_display_special_group(record.be32(8)));
}

void show_standard_vlan(const CommandRecord& record) {
    const std::uint16_t vlan = record.be16(8);
    const std::uint32_t port = record.be32(10);
    const std::uint16_t flag = record.be16(14);
    if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: STD_IGMP_DEBUG_SHOW_VLAN vlan_id = %d port_no = %d flag = %d\r\n",
            vlan, port, flag);
    }
    static_cast<void>(igmp_show_vlan_config(port, vlan, flag));
}

void show_vlan(const CommandRecord& record) {
    const std::uint16_t vlan = record.be16(8);
    const std::uint32_t port = record.be32(10);
    const std::uint16_t flag = record.be16(14);
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: SHOW_VLAN vlan_id = %d port_no = %d flag = %d\r\n", vlan,
                    port, flag);
    }
    static_cast<void>(igmp_show_vlan_config(port, vlan, flag));
}

void show_proxy_groups(const CommandRecord& /*record*/) {
    static_cast<void>(show_igmp_all_proxy_group());
}

void show_proxy_group(const CommandRecord& record) {
    static_cast<void>(show_igmp_special_proxy_group(record.be32(8)));
}

void show_vlan_instances(const CommandRecord& /*record*/) {
    static_cast<void>(igmp_show_vlan_instance());
}

void show_igmpv3_globals(const CommandRecord& /*record*/) {
    static_cast<void>(show_igmpv3_globle());
}

void show_packet_statistics(const CommandRecord& /*record*/) {
    static_cast<void>(show_igmp_packet_statistic());
}

void show_interfaces(const CommandRecord& /*record*/) { static_cast<void>(show_igmp_if_list()); }

void show_timers(const CommandRecord& /*record*/) { static_cast<void>(igmp_timer_show_api()); }

void show_authorised_groups(const CommandRecord& /*record*/) {
    static_cast<void>(igmp_auth_group_show_api());
}

void show_port_configuration(const CommandRecord& record) {
    if (const std::int32_t ret = igmp_if_show_if_cfg(record.u8(8));
        ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: test igmp_if_show_if_cfg error(%d)\r\n", ret);
    }
}

void show_port_status(const CommandRecord& record) {
    if (const std::int32_t ret = igmp_if_show_if_status(record.u8(8));
        ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: test igmp_if_show_if_status error(%d)\r\n", ret);
    }
}

void show_port_authorised_group(const CommandRecord& record) {
    const std::uint8_t port = record.u8(8);
    const std::uint32_t group = record.be32(9);
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: portno = %d grp_addr = 0x%x\r\n", port, group);
    }
    if (const std::int32_t ret = igmp_if_show_auth_group_cfg(port, group);
        ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: test igmp_if_show_auth_group_cfg error(%d)\r\n", ret);
    }
}

void show_mld(const CommandRecord& /*record*/) {
    static_cast<void>(mld_unpack_show_mld_sys(0));
    static_cast<void>(mld_unpack_show_mld_thread(0));
    static_cast<void>(mld_unpack_show_vlan_global(0));
    static_cast<void>(mld_show_if_list());
}

void show_memory(const CommandRecord& /*record*/) { static_cast<void>(pal_mem_show()); }

void reset_memory_statistics(const CommandRecord& /*record*/) {
    static_cast<void>(pal_mem_reset());
}

void show_memory_type(const CommandRecord& record) {
    const std::uint32_t type = record.be32(8);
    if (igmp_says(kConfig)) std::printf("\r\n[MC_DBG_CFG]: SHOW_MEMORY_TYPE  %d \r\n", type);
    if (const std::int32_t ret = pal_mtype_show(type); ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]:  pal_mtype_show is error ret = %d\r\n", ret);
    }
}

void set_memory_type_range(const CommandRecord& record) {
    const std::uint32_t first = record.be32(8);
    const std::uint32_t second = record.be32(12);
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: SET_MEMORY_TYPE_RANGE %d %d\r\n", first, second);
    }
    static_cast<void>(pal_mrecord_range_set(first, second));
}

// ---- Debug switches and tests of the core ----

void set_warnings(const CommandRecord& record) {
    static_cast<void>(igmp_warn_printf_set(record.u8(8)));
}

namespace {

// The leave's text stands for both tests, kept on purpose.
void trace_test(std::uint32_t port, std::uint16_t vlan) {
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: SET_IGMP_LEAVE_TEST port_no = %d vlan_id = %d\r\n", port,
                    vlan);
    }
}

}  // namespace

void test_report(const CommandRecord& record) {
    trace_test(record.be32(8), record.be16(12));
    static_cast<void>(
        test_igmp_report_v2_l3(static_cast<std::uint16_t>(record.be32(8)), record.be16(12)));
}

void test_leave(const CommandRecord& record) {
    trace_test(record.be32(8), record.be16(12));
    static_cast<void>(
        test_igmp_leave_v2_l3(static_cast<std::uint16_t>(record.be32(8)), record.be16(12)));
}

void set_vlan_debug(const CommandRecord& record) {
    const std::uint16_t vlan = record.be16(8);
    const std::uint8_t selector = record.u8(10);
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: DEBUG_IGMP_VLAN %d,%d \r\n", vlan, selector);
    }
    static_cast<void>(igmp_dbg_set(vlan, selector));
}

void unset_vlan_debug(const CommandRecord& record) {
    const std::uint16_t vlan = record.be16(8);
    const std::uint8_t selector = record.u8(10);
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: NO_DEBUG_IGMP_VLAN %d, %d \r\n", vlan, selector);
    }
    static_cast<void>(igmp_dbg_unset(vlan, selector));
}

void set_debug_level(const CommandRecord& record) {
    const std::uint32_t level = record.be32(8);
    if (igmp_says(kConfig)) std::printf("\r\n[MC_DBG_CFG]: DEBUG_IGMP_LEVEL  %d \r\n", level);
    if (const std::int32_t ret = igmp_set_debug_level(level, 1); ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]:  DEBUG_IGMP_LEVEL is error ret = %d\r\n", ret);
    }
}

void unset_debug_level(const CommandRecord& record) {
    const std::uint32_t level = record.be32(8);
    if (igmp_says(kConfig)) std::printf("\r\n[MC_DBG_CFG]: NO_DEBUG_IGMP_LEVEL  %d \r\n", level);
    if (const std::int32_t ret = igmp_set_debug_level(level, 0); ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]:  NO_DEBUG_IGMP_LEVEL is error ret = %d\r\n", ret);
    }
}

void set_packet_debug(const CommandRecord& record) {
    const std::uint32_t which = record.be32(8);
    const std::uint16_t port = record.be16(12);
    if (igmp_says(kConfig)) std::printf("\r\n[MC_DBG_CFG]: DEBUG_IGMP  %d  %d\r\n", which, port);
    if (const std::int32_t ret = igmp_set_debug_pkt_port(port); ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]:  igmp_set_debug_pkt_port is error ret = %d\r\n", ret);
    }
    if (const std::int32_t ret = igmp_set_debug_switch(which, 1); ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]:  igmp_set_debug_switch is error ret = %d\r\n", ret);
    }
}

void set_other_debug(const CommandRecord& record) {
    const std::uint32_t which = record.be32(8);
    if (igmp_says(kConfig)) std::printf("\r\n[MC_DBG_CFG]: OTHER_DEBUG_IGMP %d \r\n", which);
    if (const std::int32_t ret = igmp_set_debug_switch(which, 1); ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]:  OTHER_DEBUG_IGMP is error ret = %d\r\n", ret);
    }
}

void unset_debug(const CommandRecord& record) {
    constexpr std::uint16_t kNoPort = 65534;
    constexpr std::uint32_t kEverything = 65535;
    const std::uint32_t which = record.be32(8);
    if (igmp_says(kConfig)) std::printf("\r\n[MC_DBG_CFG]: NO_ALL_DEBUG_IGMP %d \r\n", which);
    static_cast<void>(igmp_set_debug_switch(which, 0));
    static_cast<void>(igmp_set_debug_pkt_port(kNoPort));
    if (which == kEverything) static_cast<void>(igmp_no_debug_all());
}

void set_mld_port_debug(const CommandRecord& record) {
    constexpr std::uint32_t kAllPorts = 255;
    constexpr std::uint32_t kNoPort = 65534;
    const std::uint32_t value = record.be32(8);
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: SET_MLD_PROT_DEBUG offset = %d.\r\n", value);
    }
    static_cast<void>(mld_set_mld_debug_port(value == 1 ? kAllPorts : kNoPort));
}

void set_mld_debug(const CommandRecord& record) {
    const std::uint32_t value = record.be32(8);
    const std::uint32_t port = record.be32(12);
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: SET_MLD_DEBUG offset = %d port_no = %d\r\n", value, port);
    }
    static_cast<void>(mld_set_mld_debug(value == 1 ? 255u : 0u, port));
}

}  // namespace mc
