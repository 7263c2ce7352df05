// The multicast mode, and the reset of everything.
#include <cstdint>
#include <cstdio>

#include "adapt/adapt.h"
#include "adapt/status_segment.h"
#include "adapt/tables.h"
#include "common/bytes.h"
#include "common/diagnostics.h"
#include "platform/protocol_core.h"
#include "settings/settings.h"

namespace {

using mc::igmp_checked;
using mc::igmp_checked_ret;
using mc::igmp_says;
using mc::kErrors;
using mc::kFlow;

// What the mode command carries for proxy; control is requested with its own code.
constexpr std::uint8_t kRequestProxy = 100;

// The mode is stored, and other processes see it, before the core hears of it; it stays when the
// core refuses.
[[nodiscard]] std::int32_t switch_mode(std::uint8_t mode) {
    proxy_adapt_mode = mode;
    globle_parm.multiMode = mode;
    mc::status_store_word(mc::kStatusMode, mode);
    return igmp_mode_switch_globle(mode);
}

[[nodiscard]] std::int32_t switch_to_control() {
    const std::int32_t status = switch_mode(MC_MODE_CONTROL);
    if (status != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: ERROR!proxy_adapt_mode =%d ", proxy_adapt_mode);
    }
    return status;
}

[[nodiscard]] std::int32_t switch_to_proxy_or_snooping(std::uint8_t mode) {
    const std::int32_t status = switch_mode(mode);
    if (status != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: \n ERROR!proxy_adapt_mode =%d ", proxy_adapt_mode);
    }
    return status;
}

}  // namespace

std::int32_t omci_set_multicast_mode(std::uint32_t mode) {
    // Until the switch below the packet task sees the request itself, which may be no mode at all;
    // such a frame goes to the core and to no handler. Kept on purpose.
    const auto requested = static_cast<std::uint8_t>(mode);
    proxy_adapt_mode = requested;
    if (igmp_says(kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: omci_set_multicast_mode proxy_adapt_mode =%d\n", requested);
    }
    if (flood_trap(requested) != 0 && igmp_says(kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: ERROR!flood_trap =%d ", requested);
    }
    // Read again: the hook may have chosen another mode.
    switch (mc::read_once(proxy_adapt_mode)) {
        case MC_MODE_CONTROL:
            return switch_to_control();
        case kRequestProxy:
            return switch_to_proxy_or_snooping(MC_MODE_PROXY);
        default:
            return switch_to_proxy_or_snooping(MC_MODE_SNOOPING);
    }
}

std::int32_t onu_std_omci_set_multicast_mode(std::uint32_t std_mode) {
    if (igmp_says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: std_omci_set_multicast_mode is in!");
    const auto mode = static_cast<std::uint8_t>(std_mode);
    if (mode == 1 || mode == 2) {
        if (igmp_says(kErrors)) {
            std::printf(
                "\r\n[MC_DBG_ERR]: \n ERROR!std_omci_set_multicast_mode Fail(don't support this mode!)");
        }
        return -1;
    }
    // The value itself goes no further: every mode of the standard that is not refused is snooping.
    return igmp_checked(omci_set_multicast_mode(0),
                        "\r\n[MC_DBG_ERR]: \n ERROR!std_omci_set_multicast_mode Fail");
}

std::int32_t omci_clear_igmp_all_parmeter() {
    mc::clear_rules(PortVlanCfg, setVlanCfgNumber);
    mc::clear_template_list();
    igmp_checked_ret(igmp_vlan_del_all(),
                     "\r\n[MC_DBG_ERR]: igmp_vlan_del_all is error! ret = %d\r\n");
    initIgmpGlobleParmeter();
    return igmp_del_all_group();
}
