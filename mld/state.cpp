// The MLD record: its defaults, its way into the protocol core, its settings and its display.
#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "adapt/defaults.h"
#include "adapt/tables.h"
#include "command/config_text.h"
#include "common/diagnostics.h"
#include "mld/mld.h"
#include "mld/record.h"
#include "platform/protocol_core.h"

constinit MldInitParams mldInitParams{};

namespace {

using mc::kFlow;
using mc::mld_checked_line;
using mc::mld_says;

}  // namespace

void initmldGlobleParmeter() {
    MldInitParams& mld = mldInitParams;
    mld.testuplink = MC_NO_TEST_UPLINK;
    mld.mld_adapt = -1;
    mld.mld_flag_omci_version = 0;
    mld.multiMode = MLD_MODE_SNOOPING;
    mc::set_default_parameters(mld);
    std::ranges::fill(mld.TemplateVlan, std::uint16_t{0});
    std::ranges::fill(mld.mldport, MldPortParm{});
}

void mldinitPortStateNode() { mc::fill_ports(mldInitParams.port); }

void mldinitVlancfgNode() {
    mc::clear_rules(mldInitParams.mldPortVlanCfg, mldInitParams.vlancfgnum);
}

std::int32_t mld_adapt_init() {
    mld_checked_line(mld_register_switch_send_pkt(send_pkt_mld),
                     "\r\n[MC_DBG_ERR]: \n ERROR! mld_register_switch_send_pkt Fail !");
    mld_checked_line(mld_register_switch_add_table(mld_add_grp),
                     "\r\n[MC_DBG_ERR]: \n ERROR! mld_register_switch_add_table Fail !");
    mld_checked_line(mld_register_switch_del_table(mld_del_grp),
                     "\r\n[MC_DBG_ERR]: \n ERROR! mld_register_switch_del_table Fail !");
    mld_checked_line(mld_adapt_port_conf_set(),
                     "\r\n[MC_DBG_ERR]: \n ERROR! mld_port_conf_set Fail !");
    return mld_checked_line(mld_proxy_snoop_set_globle(mldInitParams.multiMode),
                            "\r\n[MC_DBG_ERR]: \n ERROR!mld_pack_set_mc_mode snooping Fail");
}

std::int32_t mld_adapt_port_conf_set() {
    if (mld_says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: mld_adapt_port_conf_set is in\r");
    for (const PortStateEntry& port : mldInitParams.port) {
        if (port.port_type == 0) continue;  // an empty entry
        const std::int32_t status =
            mld_checked_line(mld_port_conf_set(port.port_id, port.port_type),
                             "\r\n[MC_DBG_ERR]: \n ERROR!mld_adapt_port_conf_set Fail");
        if (status != 0) return -1;
    }
    return 0;
}

void mld_adapt_set_debug(std::uint32_t mask, std::uint32_t on) {
    const bool any_set = (mld_debug & mask) != 0;
    if (on != 0 && !any_set) {
        mld_debug |= mask;
    } else {
        mld_debug &= ~mask;
    }
}

std::int32_t mld_omci_set_igmp_global_parmeter(std::uint32_t robustness,
                                               std::uint32_t query_interval,
                                               std::uint32_t query_max_resp_time,
                                               std::uint32_t last_member_query_interval,
                                               std::uint32_t last_member_query_count) {
    // The name of the IGMP operation stands in the text, kept on purpose.
    if (mld_says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: igmp_adapt_para_globle_set is in!");
    MldInitParams& mld = mldInitParams;
    mld.robustness = static_cast<std::uint8_t>(robustness);
    mld.query_interval = query_interval;
    mld.query_max_resp_time = query_max_resp_time;
    mld.last_member_query_interval = last_member_query_interval;
    mld.last_member_query_count = last_member_query_count;
    // The core has one entry for the parameters of both sides.
    return mld_checked_line(
        igmp_para_globle_set(mld.robustness, query_interval, query_max_resp_time,
                             last_member_query_interval, last_member_query_count,
                             mld.general_member_interval),
        "\r\n[MC_DBG_ERR]: \n ERROR!mld_omci_set_igmp_global_parmeter Fail");
}

void mld_adapt_globe() {
    mc::print_rules(mldInitParams.mldPortVlanCfg, mldInitParams.vlancfgnum);
    mc::print_ports(mldInitParams.mldport);
    mc::print_template_list(mldInitParams.portVlan, mldInitParams.TemplateVlan);
    static_cast<void>(mc::print_mld_globals());
}
