// The global protocol parameters. One shape throughout: trace, store, push to the core, report.
#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "adapt/adapt.h"
#include "adapt/tables.h"
#include "common/diagnostics.h"
#include "mld/record.h"
#include "platform/protocol_core.h"
#include "settings/settings.h"

namespace {

using mc::igmp_checked;
using mc::igmp_says;
using mc::kConfig;
using mc::kFlow;

std::int32_t void_function() {
    if (igmp_says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: void function unused!\r");
    return 0;
}

}  // namespace

std::int32_t omci_set_para_rv_globle(std::uint32_t robustness) {
    const auto value = static_cast<std::uint8_t>(robustness);
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: omci_set_para_rv_globle is in!robustness = %d\n", value);
    }
    globle_parm.robustness = value;
    return igmp_checked(igmp_para_rv_globle_set(value),
                        "\r\n[MC_DBG_ERR]: \n ERROR!igmp_para_rv_globle_set Fail");
}

std::int32_t omci_set_para_qi_globle(std::uint32_t query_interval) {
    const auto value = static_cast<std::uint16_t>(query_interval);
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: omci_para_qi_globle is in! query_interval = %d\n", value);
    }
    globle_parm.query_interval = value;
    return igmp_checked(igmp_para_qi_globle_set(value),
                        "\r\n[MC_DBG_ERR]: \n ERROR!igmp_para_qi_globle_set Fail");
}

std::int32_t omci_set_para_qri_globle(std::uint32_t query_response_interval) {
    const auto value = static_cast<std::uint16_t>(query_response_interval);
    if (igmp_says(kConfig)) {
        std::printf("\r\n[MC_DBG_CFG]: omci_para_qri_globle is in! query_response_interval = %d\n",
                    value);
    }
    globle_parm.query_max_resp_time = value;
    return igmp_checked(igmp_para_qri_globle_set(value),
                        "\r\n[MC_DBG_ERR]: \n ERROR!igmp_para_qri_globle_set Fail");
}

std::int32_t omci_set_para_lmqi_globle(std::uint32_t last_member_query_interval) {
    const auto value = static_cast<std::uint16_t>(last_member_query_interval);
    if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: omci_set_para_lmqi_globle is in! last_member_query_interval = %d\n",
            value);
    }
    globle_parm.last_member_query_interval = value;
    return igmp_checked(igmp_para_lmqi_globle_set(value),
                        "\r\n[MC_DBG_ERR]: \n ERROR!igmp_para_lmqi_globle_set Fail");
}

std::int32_t omci_set_para_lmqc_globle(std::uint32_t last_member_query_count) {
    const auto value = static_cast<std::uint16_t>(last_member_query_count);
    if (igmp_says(kConfig)) {
        std::printf(
            "\r\n[MC_DBG_CFG]: omci_set_para_lmqc_globle is in! last_member_query_count = %d\n",
            value);
    }
    globle_parm.last_member_query_count = value;
    // The interval's text stands here for the count too, kept on purpose.
    return igmp_checked(igmp_para_lmqc_globle_set(value),
                        "\r\n[MC_DBG_ERR]: \n ERROR!igmp_para_lmqi_globle_set Fail");
}

std::int32_t omci_set_igmp_global_parmeter(std::uint32_t robustness, std::uint32_t query_interval,
                                           std::uint32_t query_max_resp_time,
                                           std::uint32_t last_member_query_interval,
                                           std::uint32_t last_member_query_count) {
    if (igmp_says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: igmp_adapt_para_globle_set is in!");
    const std::uint32_t ageing = globle_parm.general_member_interval;
    globle_parm.robustness = static_cast<std::uint8_t>(robustness);
    globle_parm.query_interval = query_interval;
    globle_parm.query_max_resp_time = query_max_resp_time;
    globle_parm.last_member_query_count = last_member_query_count;
    globle_parm.last_member_query_interval = last_member_query_interval;
    return igmp_checked(igmp_para_globle_set(static_cast<std::uint8_t>(robustness), query_interval,
                                             query_max_resp_time, last_member_query_interval,
                                             last_member_query_count, ageing),
                        "\r\n[MC_DBG_ERR]: \n ERROR!igmp_adapt_para_globle_set Fail");
}

std::int32_t omci_igmp_version_globle_set(std::uint32_t version) {
    const auto value = static_cast<std::uint8_t>(version);
    if (igmp_says(kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: omci_igmp_version_globle_set version = %d\n", value);
    }
    globle_parm.version = value;
    return igmp_checked(igmp_version_globle_set(value),
                        "\r\n[MC_DBG_ERR]: \n ERROR!omci_igmp_version_globle_set Fail");
}

std::int32_t omci_igmp_ssm_ip_globle_set(std::uint32_t start, std::uint32_t end) {
    if (igmp_says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: igmp_adapt_ssm_ip_globle_set is in!");
    globle_parm.ssm_ip_start = start;
    globle_parm.ssm_ip_end = end;
    return igmp_checked(igmp_ssm_ip_globle_set(start, end),
                        "\r\n[MC_DBG_ERR]: \n ERROR!igmp_adapt_ssm_ip_globle_set Fail");
}

std::int32_t omci_igmp_ssm_map_globle_set(std::uint32_t w0, std::uint32_t w1, std::uint32_t w2,
                                          std::uint32_t w3, std::uint32_t w4) {
    if (igmp_says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: igmp_adapt_ssm_map_change is in!");
    // The core keeps the address: the words are stored first, and stay where they are.
    const std::uint32_t words[] = {w0, w1, w2, w3, w4};
    std::ranges::copy(words, globle_parm.ssm_map);
    return igmp_checked(igmp_ssm_map_change(globle_parm.ssm_map),
                        "\r\n[MC_DBG_ERR]: \n ERROR!igmp_adapt_ssm_map_change Fail");
}

std::int32_t omci_set_igmp_dynamic_enable(std::uint32_t enable) {
    if (igmp_says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: omci_set_igmp_dynamic_enable is in!");
    const auto value = static_cast<std::uint8_t>(enable);
    globle_parm.learningMode = value;
    return igmp_checked(igmp_vlan_learning_set(value),
                        "\r\n[MC_DBG_ERR]: \n ERROR!igmp_adapt_vlan_learning Fail");
}

std::int32_t omci_set_igmp_leave_mode(std::uint32_t mode) {
    const auto value = static_cast<std::uint8_t>(mode);
    if (igmp_says(kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: omci_set_port_igmp_leave_mode leave mode = %d\n", value);
    }
    // The switch of the core is global, yet it is set once for each port; the last answer counts.
    std::int32_t status = 0;
    for (IgmpPortParm& port : globle_parm.port) {
        port.leavemod = value;
        status = igmp_checked(igmp_fast_leave_enable_globle(value),
                              "\r\n[MC_DBG_ERR]: \n ERROR!igmp_fast_leave_enable_globle Fail");
    }
    return status;
}

std::int32_t omci_set_igmp_default_vlan(std::uint32_t vlan) {
    const auto value = static_cast<std::uint16_t>(vlan);
    if (igmp_says(kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: omci_set_igmp_default_vlan %d is in!\n", value);
    }
    const std::uint16_t old = globle_parm.defaultVlan;
    const std::uint16_t* const template_vlan = mc::find_template_vlan(old);
    if (template_vlan != nullptr && igmp_says(kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: \n vlan is %d", *template_vlan);
    }
    if (value == old) {
        if (igmp_says(kFlow)) {
            std::printf("\r\n[MC_DBG_DBG]: \n igmp_default_vid_set vlan is already set");
        }
    } else {
        globle_parm.defaultVlan = value;
        defaultVlan = value;
        mldInitParams.defaultVlan = value;
    }
    igmp_checked(mld_api_set_default_vlan(value),
                 "\r\n[MC_DBG_ERR]: \n ERROR!mld_api_set_default_vlan Fail");
    const std::int32_t status = igmp_checked(
        igmp_default_vid_set(value), "\r\n[MC_DBG_ERR]: \n ERROR!igmp_adapt_default_vid_set Fail");
    if (template_vlan == nullptr) return status;

    // The old default goes on as a template VLAN, so the core must keep it in its list.
    return igmp_checked(igmp_vlan_add(old), "\r\n[MC_DBG_ERR]: \n ERROR!igmp_vlan_add Fail");
}

std::int32_t omci_set_igmp_vid() { return void_function(); }
std::int32_t omci_get_voip_igmp_vid() { return void_function(); }
std::int32_t omci_set_multicast_vlan() { return void_function(); }
std::int32_t omci_set_igmp_age_time() { return void_function(); }
