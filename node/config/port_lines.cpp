// What single ports are set to.
#include <cstddef>
#include <cstdint>
#include <string>

#include "adapt/records.h"
#include "adapt/status_segment.h"
#include "common/bytes.h"
#include "node/config/status_word.h"
#include "node/config/writers.h"

namespace config {
namespace {

using std::to_string;

}  // namespace

std::uint32_t fast_leave_word() {
    // Nothing, or what shmat answers when it refuses.
    const auto base = reinterpret_cast<std::uintptr_t>(mc_status_global);
    if (base == 0 || base == ~std::uintptr_t{0}) return 0;
    return mc::load_be32(mc_status_global + mc::kStatusFastLeave);
}

// Other processes read what was last commanded for all user ports: that comes first, then each port
// that differs from it.
void write_fast_leave(const Running& running, Lines& lines) {
    const std::uint32_t word = fast_leave_word();
    if (word != 0) lines.push_back("fast-leave all " + on_off(word == kFastLeaveOn));
    for (const mcore::PortConfiguration& port : running.core.ports) {
        const bool so_far = word == kFastLeaveOn && port.number != MC_UPLINK_PORT;
        if (port.fast_leave == so_far) continue;
        lines.push_back("fast-leave " + port_option(port.number) + " " + on_off(port.fast_leave));
    }
}

void write_group_limits(const Running& running, Lines& lines) {
    for (const mcore::PortConfiguration& port : running.core.ports) {
        if (port.group_limit == 0) continue;
        lines.push_back("group-limit " + port_option(port.number) + " " +
                        to_string(port.group_limit));
    }
}

void write_bandwidth_limits(const Running& running, Lines& lines) {
    for (const mcore::PortConfiguration& port : running.core.ports) {
        const bool is_fresh =
            !port.bandwidth_limited && port.bandwidth_limit == 0 && port.bandwidth_extra == 0;
        if (is_fresh) continue;
        std::string line =
            "bandwidth-limit " + port_option(port.number) + " " + to_string(port.bandwidth_limit);
        if (!port.bandwidth_limited) line += " --enable off";
        if (port.bandwidth_extra != 0) line += " --extra " + to_string(port.bandwidth_extra);
        lines.push_back(line);
    }
}

void write_signalling_vlans(const Running& /*running*/, Lines& lines) {
    for (std::size_t i = 0; i < MC_PORTS; ++i) {
        const IgmpPortParm& port = globle_parm.port[i];
        std::string words;
        if (port.sig_vlan_a != MC_NO_VLAN) words += " --inner " + vlan_word(port.sig_vlan_a);
        if (port.sig_vlan_b != MC_NO_VLAN) words += " --down " + vlan_word(port.sig_vlan_b);
        if (port.sig_vlan == MC_NO_VLAN && words.empty()) continue;
        lines.push_back("signalling-vlan " + port_option(portState[i].port_id) + " --outer " +
                        vlan_word(port.sig_vlan) + words);
    }
}

}  // namespace config
