#include "tests/fuzz/fresh_library.h"

#include <stdint.h>
#include <string.h>

#include "adapt/records.h"
#include "mld/record.h"

void unload_library(void) {
    memset(&mldInitParams, 0, sizeof mldInitParams);
    memset(PortVlanCfg, 0, sizeof PortVlanCfg);
    memset(&globle_parm, 0, sizeof globle_parm);
    memset(PortVlan, 0, sizeof(uint16_t[MC_TEMPLATE_VLANS]));
    setVlanNumber = 0;
    srcPortNum = 0;
    ponVlan = 0;
    testuplink = MC_NO_TEST_UPLINK;
    tablereturn = 1;
    igmp_adapt = -1;
    flag_omci_version = 0;
    mc_debug = 0;
    mld_debug = 0;
}
