// The defaults of the global IGMP parameters, and the ways into the store.
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "adapt/adapt.h"
#include "adapt/status_segment.h"
#include "common/diagnostics.h"
#include "platform/protocol_core.h"
#include "settings/settings.h"

namespace {

using mc::igmp_says;
using mc::kErrors;

constexpr char kBuildDate[] = "Mar  6 2015";
constexpr char kBuildTime[] = "10:30:50";
constexpr char kVersion[] = "MCHAL-1.0.0";
static_assert(sizeof(kVersion) - 1 == 11);

constexpr std::uint32_t kDefaultProxyAddress = 0x0A190E14;  // 10.25.14.20

void set_default_values() {
    globle_parm = IgmpGlobleParm{};
    globle_parm.defaultVlan = MC_DEFAULT_VLAN;
    globle_parm.multiMode = MC_MODE_SNOOPING;
    globle_parm.robustness = 2;
    globle_parm.version = 3;
    globle_parm.query_interval = 125;
    globle_parm.query_max_resp_time = 10;
    globle_parm.last_member_query_interval = 1;
    globle_parm.last_member_query_count = 2;
    globle_parm.general_member_interval = 1;
    globle_parm.proxy_ip = kDefaultProxyAddress;
    for (IgmpPortParm& port : globle_parm.port) {
        port.sig_vlan = MC_NO_VLAN;
        port.sig_vlan_a = MC_NO_VLAN;
        port.sig_vlan_b = MC_NO_VLAN;
    }
    // The frame path reads this copy of the default VLAN.
    defaultVlan = MC_DEFAULT_VLAN;
}

void push_parameters() {
    if (const std::int32_t ret = igmp_default_vid_set(MC_DEFAULT_VLAN);
        ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: igmp_default_vid_set is error! ret = %d\r\n", ret);
    }
    if (const std::int32_t ret = igmp_para_globle_set(
            globle_parm.robustness, globle_parm.query_interval, globle_parm.query_max_resp_time,
            globle_parm.last_member_query_interval, globle_parm.last_member_query_count,
            globle_parm.general_member_interval);
        ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: igmp_para_globle_set is error! ret = %d\r\n", ret);
    }
    if (const std::int32_t ret = omci_set_multicast_mode(globle_parm.multiMode & 0xFFu);
        ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: omci_set_multicast_mode is error! ret = %d\r\n", ret);
    }
    // The global fast-leave switch follows the first port's leave mode.
    if (const std::int32_t ret =
            igmp_fast_leave_enable_globle(static_cast<std::uint8_t>(globle_parm.port[0].leavemod));
        ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: igmp_fast_leave_enable_globle is error! ret = %d\r\n", ret);
    }
    if (const std::int32_t ret =
            igmp_vlan_learning_set(static_cast<std::uint8_t>(globle_parm.learningMode));
        ret != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!igmp_adapt_vlan_learning Fail ret = %d", ret);
    }
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
