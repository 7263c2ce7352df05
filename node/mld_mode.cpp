#include "node/mld_mode.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "adapt/records.h"
#include "mld/record.h"
#include "node/core/multicast_core.h"
#include "node/usage_error.h"
#include "platform/protocol_core.h"

namespace node {
namespace {

struct ModeName {
    std::uint16_t mode;
    std::string_view name;
};

constexpr std::array<ModeName, 3> kModeNames{
    {{MLD_MODE_SNOOPING, "snooping"}, {MLD_MODE_CONTROL, "control"}, {kMldProxyMode, "proxy"}}};

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

std::uint16_t own_mld_mode() {
    const bool follows =
        proxy_adapt_mode == MC_MODE_PROXY && mldInitParams.multiMode == kMldProxyMode;
    return follows ? mode_before_proxy : mldInitParams.multiMode;
}

std::string name_of_mld_mode(std::uint16_t mode) {
    const auto* const known = std::ranges::find(kModeNames, mode, &ModeName::mode);
    return known != kModeNames.end() ? std::string(known->name) : std::to_string(mode);
}

std::uint16_t parse_mld_mode(const std::string& name) {
    const auto* const known =
        std::ranges::find(kModeNames, std::string_view(name), &ModeName::name);
    if (known != kModeNames.end()) return known->mode;
    throw UsageError("'" + name + "' is no mode of MLD: snooping, control or proxy");
}

void let_mld_follow_igmp_proxy() { mcore::watch_proxy_mode(follow); }

}  // namespace node
