// The defaults of the global IGMP parameters, and the ways into the store.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "adapt/adapt.h"
#include "adapt/defaults.h"
#include "adapt/records.h"
#include "adapt/status_segment.h"
#include "common/diagnostics.h"
#include "platform/protocol_core.h"
#include "settings/settings.h"

namespace {

using mc::igmp_checked_ret;

constexpr char kBuildDate[sizeof(IgmpGlobleParm::build_date)] = "Mar  6 2015";
constexpr char kBuildTime[sizeof(IgmpGlobleParm::build_time)] = "10:30:50";
constexpr char kVersion[sizeof(IgmpGlobleParm::version_str)] = "MCHAL-1.0.0";

// The signalling VLANs go from what they were to "none" in one store each: a frame that is under
// way must not meet the 0 of a cleared record, which is a VLAN to tag with upstream and stands for
// untagging downstream.
void reset_port(IgmpPortParm& port) {
    port.sig_vlan = MC_NO_VLAN;
    port.sig_vlan_a = MC_NO_VLAN;
    port.sig_vlan_b = MC_NO_VLAN;
    port.leavemod = 0;
    port.grouplimit = 0;
    port.max_bandwidth = 0;
    port.auth_group_num = 0;
    std::ranges::fill(port.reserved, std::uint8_t{0});
    std::ranges::fill(port.auth_group, AuthGroupEntry{});
}

void set_default_values() {
    for (IgmpPortParm& port : globle_parm.port) reset_port(port);
    std::ranges::fill(globle_parm.TemplateVlan, std::uint16_t{0});
    globle_parm.multiMode = MC_MODE_SNOOPING;
    mc::set_default_parameters(globle_parm);
    // The frame path reads this copy of the default VLAN.
    defaultVlan = MC_DEFAULT_VLAN;
}

void push_parameters() {
    igmp_checked_ret(igmp_default_vid_set(MC_DEFAULT_VLAN),
                     "\r\n[MC_DBG_ERR]: igmp_default_vid_set is error! ret = %d\r\n");
    igmp_checked_ret(igmp_para_globle_set(
                         globle_parm.robustness, globle_parm.query_interval,
                         globle_parm.query_max_resp_time, globle_parm.last_member_query_interval,
                         globle_parm.last_member_query_count, globle_parm.general_member_interval),
                     "\r\n[MC_DBG_ERR]: igmp_para_globle_set is error! ret = %d\r\n");
    igmp_checked_ret(omci_set_multicast_mode(globle_parm.multiMode & 0xFFu),
                     "\r\n[MC_DBG_ERR]: omci_set_multicast_mode is error! ret = %d\r\n");
    // The global fast-leave switch follows the first port's leave mode.
    igmp_checked_ret(
        igmp_fast_leave_enable_globle(static_cast<std::uint8_t>(globle_parm.port[0].leavemod)),
        "\r\n[MC_DBG_ERR]: igmp_fast_leave_enable_globle is error! ret = %d\r\n");
    igmp_checked_ret(igmp_vlan_learning_set(static_cast<std::uint8_t>(globle_parm.learningMode)),
                     "\r\n[MC_DBG_ERR]: \n ERROR!igmp_adapt_vlan_learning Fail ret = %d");
}

}  // namespace

void initIgmpGlobleParmeter() {
    set_default_values();
    mc::status_store_word(mc::kStatusMode, 1);
    push_parameters();
    std::memcpy(globle_parm.build_date, kBuildDate, sizeof(kBuildDate));
    std::memcpy(globle_parm.build_time, kBuildTime, sizeof(kBuildTime));
    std::memcpy(globle_parm.version_str, kVersion, sizeof(kVersion));
}

void setIgmpAgeEnable(std::uint32_t value) { globle_parm.general_member_interval = value; }

IgmpGlobleParm* getIgmpGlobleParmeter() { return &globle_parm; }

std::int32_t* getPortVlanConfigNumber() { return setVlanCfgNumber; }

std::int32_t getTemplateVlanNumber() { return setVlanNumber; }
