// The operations that call no neighbour: no fault reaches them. That they call none is checked.
#include <cstdint>

#include "adapt/adapt.h"
#include "adapt/records.h"
#include "command/dumps.h"
#include "igmp/igmp.h"
#include "mld/mld.h"
#include "settings/settings.h"
#include "tests/faults/row.h"
#include "tests/support/rules.h"
#include "vlan/vlan.h"

namespace mc_test {

namespace {

Row alone(const char* operation, std::function<void()> run, bool stores = false) {
    return {.operation = operation, .stores = stores, .run = [run] {
                run();
                return 0;
            }};
}

constexpr bool kStores = true;

}  // namespace

Rows rows_without_neighbours() {
    return {
        alone("debugPrint", debugPrint),
        alone("mldPrint", mldPrint),
        alone("mld_adapt_globe", mld_adapt_globe),
        alone("flood_trap", [] { flood_trap(3); }),
        alone("igmp_driver_enable", igmp_driver_enable),
        alone("igmp_driver_disable", igmp_driver_disable),
        alone("igmp_get_cpu_mac", igmp_get_cpu_mac),
        alone("getIgmpGlobleParmeter", getIgmpGlobleParmeter),
        alone("getPortVlanConfigNumber", getPortVlanConfigNumber),
        alone("getTemplateVlanNumber", getTemplateVlanNumber),
        alone("mldgetPortVlanConfigNumber", mldgetPortVlanConfigNumber),
        alone(
            "setIgmpAgeEnable", [] { setIgmpAgeEnable(300); }, kStores),
        alone(
            "igmp_adapt_set_test_uplink", [] { igmp_adapt_set_test_uplink(3); }, kStores),
        alone(
            "igmp_set_table_return", [] { igmp_set_table_return(0); }, kStores),
        alone(
            "igmp_adapt_set_sig_vlan", [] { igmp_adapt_set_sig_vlan(2, 100, 5, 6); }, kStores),
        alone("omci_set_igmp_vid", omci_set_igmp_vid),
        alone("omci_get_voip_igmp_vid", omci_get_voip_igmp_vid),
        alone("omci_set_multicast_vlan", omci_set_multicast_vlan),
        alone("omci_set_igmp_age_time", omci_set_igmp_age_time),
        alone("initmldGlobleParmeter", initmldGlobleParmeter),
        alone("mldinitPortStateNode", mldinitPortStateNode),
        alone("mldinitVlancfgNode", mldinitVlancfgNode),
        alone(
            "mld_adapt_set_debug", [] { mld_adapt_set_debug(0x08, 1); }, kStores),
        alone("sortPortVlanCfg", [] { sortPortVlanCfg(PortVlanCfg, 3); }),
        alone("mldsortPortVlanCfg", [] { mldsortPortVlanCfg(mldInitParams.mldPortVlanCfg, 3); }),
        alone("sortMcVlan", [] { sortMcVlan(PortVlan); }),
        alone("sortmldVlan", [] { sortmldVlan(mldInitParams.TemplateVlan); }),
        alone("IsSameVlanExist", [] { IsSameVlanExist(300); }),
        alone("searchDownSnoopPortCfgVlan",
              [] {
                  std::uint16_t counts[MC_PORTS];
                  searchDownSnoopPortCfgVlan(100, counts);
              }),
    };
}

}  // namespace mc_test
