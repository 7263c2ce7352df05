// Which groups ports may join. The core's lists are what holds; of the library's copy, which holds
// eight ranges of a port, only displays know.
#include <string>

#include "node/config/writers.h"

namespace config {
namespace {

using std::to_string;

std::string range_words(const mcore::PortConfiguration& port, const mcore::GroupRange& range) {
    std::string words = port_option(port.number) + " --start " + ipv4_word(range.start);
    if (range.end != range.start) words += " --end " + ipv4_word(range.end);
    if (range.bandwidth != 0) words += " --bandwidth " + to_string(range.bandwidth);
    return words + " --vlan " + to_string(range.vlan);
}

}  // namespace

void write_ranges(const Running& running, Lines& lines) {
    for (const mcore::PortConfiguration& port : running.core.ports) {
        for (const mcore::GroupRange& range : port.ranges) {
            lines.push_back("auth add-only " + range_words(port, range));
        }
        if (port.range_auth) lines.push_back("auth range " + port_option(port.number) + " on");
    }
}

void write_private_groups(const Running& running, Lines& lines) {
    for (const auto& [vlan, group] : running.core.private_list) {
        lines.push_back("auth private add " + ipv4_word(group) + " --vlan " + to_string(vlan));
    }
}

void write_control_lists(const Running& running, Lines& lines) {
    for (const mcore::PortConfiguration& port : running.core.ports) {
        for (const mcore::GroupRange& range : port.control_list) {
            lines.push_back("control-list add " + range_words(port, range));
        }
    }
}

}  // namespace config
