#include "node/live/restore.h"

#include <map>
#include <optional>

#include "node/live/entry_table.h"
#include "node/live/guard.h"
#include "node/live/links.h"
#include "node/live/live_error.h"
#include "node/live/multicast_database.h"
#include "node/live/netlink.h"
#include "node/live/originals.h"
#include "node/live/state_file.h"

namespace live {
namespace {

// What has been changed since the node was killed stays.
void give_settings_back(Netlink& netlink, const Link& bridge, const Originals& left) {
    Originals originals{bridge.index, original_settings(bridge, left), {}};
    for (const auto& [interface, port] : left.ports) {
        const auto link = find_link(netlink, interface);
        if (!link || link->index != port.index || link->bridge != bridge.index) continue;
        originals.ports[interface] = {link->index, original_router(interface, *link, left)};
    }
    give_back(netlink, originals);
}

}  // namespace

void restore(const std::string& bridge, const Say& say) {
    // Of this network namespace, whether the bridge is there still or not.
    if (const std::string error = Guard().clear(); !error.empty()) {
        throw LiveError("nftables: " + error);
    }
    Netlink netlink;
    const auto link = find_link(netlink, bridge);
    if (!link) throw LiveError(bridge + ": there is no such interface");
    if (!link->bridged) throw LiveError(bridge + ": is no bridge");
    require_right_to_change(netlink, bridge, *link);
    MulticastDatabase database(netlink);
    EntryTable entries(database, say);
    entries.use_bridge(link->index, bridge, link->hash_max);
    entries.take_back(true);
    StateFile state(bridge, say);
    const auto left = state.read();
    const bool is_known = left && left->bridge == link->index;
    if (is_known) give_settings_back(netlink, *link, *left);
    state.remove_left();
    say(bridge + (is_known ? ": given back as the node that was killed had found it"
                           : ": rules and entries of a node are gone; settings stay, as there is "
                             "no record of what they were"));
}

}  // namespace live
