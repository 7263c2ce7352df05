// Start-up: the order in which core, records, call-backs, driver and tasks come up.
#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "adapt/adapt.h"
#include "adapt/tables.h"
#include "command/command.h"
#include "common/diagnostics.h"
#include "igmp/igmp.h"
#include "mld/mld.h"
#include "platform/l2_multicast.h"
#include "platform/pal.h"
#include "platform/protocol_core.h"
#include "settings/settings.h"

namespace {

using mc::igmp_checked;
using mc::igmp_checked_line;
using mc::igmp_checked_ret;
using mc::igmp_says;
using mc::kFlow;

struct Task {
    const char* name;
    std::uint32_t priority;
    std::uint32_t stack_size;  // bytes
    PalTaskEntry entry;
};

constexpr Task kReceiveTask = {"tMCPktRecv", 29, 51200, igmp_adapt_pkt_recv_task};
constexpr Task kCommandTask = {"tMCCmd", 40, 40000, recv_igmp_interface_msg};

[[nodiscard]] std::int32_t start(const Task& task) {
    std::uint32_t task_id = 0;
    return pal_task_create(&task_id, task.name, task.priority, 0, task.stack_size, task.entry);
}

void init_mld_side() {
    mldinitVlancfgNode();
    initmldGlobleParmeter();
    mldinitPortStateNode();
    // Failures are reported inside; start-up goes on.
    static_cast<void>(mld_adapt_init());
}

[[nodiscard]] std::int32_t open_driver() {
    constexpr std::uint32_t kFilterMethod = 2;
    const std::int32_t ret = igmp_checked_line(
        L2_multicast_init(), "\r\n[MC_DBG_ERR]: \n ERROR! L2_multicast_init Fail !");
    if (ret != 0) return ret;
    return igmp_checked_line(L2_multicast_set_filter_method(kFilterMethod),
                             "\r\n[MC_DBG_ERR]: \n ERROR! L2_multicast_set_filter_method Fail !");
}

}  // namespace

std::int32_t IgmpInit() {
    // No step stops the ones behind it: a node that cannot do everything still does what it can.
    static_cast<void>(igmp_data_init());
    static_cast<void>(igmp_task_init(50, 51));
    static_cast<void>(mld_data_init());
    static_cast<void>(mld_task_init(50));
    static_cast<void>(adapt_init());
    static_cast<void>(igmp_adapt_task_init());
    return 0;
}

std::int32_t adapt_init() {
    if (const std::int32_t ret = mc_hal_init_share_memory(); ret != 0) {
        std::printf("[igmp_adapt_init]: mc_hal_init_share_memory() return %d, error!\r\n", ret);
    }
    mc::clear_template_list();
    igmp_checked_ret(igmp_vlan_del_all(),
                     "\r\n[MC_DBG_ERR]: igmp_vlan_del_all is error! ret = %d\r\n");
    mc::clear_rules(PortVlanCfg, setVlanCfgNumber);
    initIgmpGlobleParmeter();
    mc::fill_ports(portState);
    igmp_get_cpu_mac();
    static_cast<void>(igmp_adapt_init());  // every failing step is reported inside
    init_mld_side();

    if (const std::int32_t ret = open_driver(); ret != 0) return ret;

    igmp_checked(omci_set_multicast_mode(MC_MODE_SNOOPING),
                 "\r\n[MC_DBG_ERR]: \n ERROR!omci_set_multicast_mode snooping Fail");
    return igmp_checked(igmp_globle_proxyip_set(globle_parm.proxy_ip),
                        "\r\n[MC_DBG_ERR]: \n ERROR!igmp_globle_proxyip_set snooping Fail");
}

std::int32_t igmp_adapt_init() {
    igmp_checked_line(igmp_register_switch_send_pkt(send_pkt_igmp),
                      "\r\n[MC_DBG_ERR]: \n ERROR! igmp_register_switch_send_pkt Fail !");
    const std::int32_t added = igmp_register_switch_add_table(igmp_add_grp);
    if (igmp_says(kFlow)) {
        std::puts("\r\n[MC_DBG_DBG]: \n igmp_register_switch_add_table !");
    }
    igmp_checked_line(added, "\r\n[MC_DBG_ERR]: \n ERROR! igmp_register_switch_add_table Fail !");
    igmp_checked_line(igmp_register_switch_del_table(igmp_del_grp),
                      "\r\n[MC_DBG_ERR]: \n ERROR! igmp_register_switch_del_table Fail !");
    return igmp_checked_line(igmp_adapt_port_conf_set(),
                             "\r\n[MC_DBG_ERR]: \n ERROR! igmp_adapt_port_conf_set Fail !");
}

std::int32_t igmp_adapt_task_init() {
    std::int32_t status = igmp_checked_line(
        start(kReceiveTask),
        "\r\n[MC_DBG_ERR]: \n ERROR! pal_task_create MC_TASK_PKT_RECV_NAME Fail !");
    if (status != 0) return -1;
    status = igmp_checked_line(
        start(kCommandTask),
        "\r\n[MC_DBG_ERR]: \n ERROR! pal_task_create MC_TASK_CMD_RECV_NAME Fail !");
    return status == 0 ? 0 : -1;
}
