#include "node/mld_mode.h"

#include "mld/record.h"
#include "node/core/multicast_core.h"
#include "platform/protocol_core.h"

namespace node {
namespace {

std::uint16_t mode_before_proxy = MLD_MODE_SNOOPING;

// Leaves alone what a word has set meanwhile.
void follow(bool is_proxy) {
    if (is_proxy) {
        mode_before_proxy = mldInitParams.multiMode;
        set_mld_mode(kMldProxyMode);
    } else if (mldInitParams.multiMode == kMldProxyMode) {
        set_mld_mode(mode_before_proxy);
    }
}

}  // namespace

// The record and the core, in the order in which start-up sets them.
void set_mld_mode(std::uint16_t mode) {
    mldInitParams.multiMode = mode;
    static_cast<void>(mld_proxy_snoop_set_globle(mode));  // takes all three
}

void let_mld_follow_igmp_proxy() { mcore::watch_proxy_mode(follow); }

}  // namespace node
