#include "node/live/guard.h"

#include <nftables/libnftables.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace live {
namespace {

// Deleting what is not there would fail, so it is made first. All of it is one transaction.
constexpr const char* kRemoval =
    "add table bridge mc_node\n"
    "delete table bridge mc_node\n"
    "add table netdev mc_node\n"
    "delete table netdev mc_node\n";

constexpr const char* kMldTypes = "{ 130, 131, 132, 143, 151, 152, 153 }";

// The protocol is given although the type implies it: left alone, nft puts a test of the Ethernet
// type in front, and of a tagged frame that is the tag's. As a number, here and below: names are
// looked up in a file that a small system does not have.
std::string icmpv6(const std::string& types) {
    return "meta protocol ip6 meta l4proto 58 icmpv6 type " + types + " ";
}

std::string quoted(const std::string& name) { return "\"" + name + "\""; }

// A raw match in the frame as it was on the wire: bytes from its beginning.
std::string match(std::size_t at, std::size_t bytes, const std::string& value) {
    return "@ll," + std::to_string(at * 8) + "," + std::to_string(bytes * 8) + " " + value + " ";
}

// Drops IGMP (is_ipv6: MLD) in a packet that begins at a byte, behind framing that framed matches.
std::string packet_stops(const std::string& framed, std::size_t packet, bool is_ipv6) {
    constexpr std::size_t kBody = 40;
    if (!is_ipv6) return "  " + framed + match(packet + 9, 1, "2") + "drop\n";
    return "  " + framed + match(packet + 6, 1, "58") + match(packet + kBody, 1, kMldTypes) +
           "drop\n"
           "  " +
           framed + match(packet + 6, 1, "0") + match(packet + kBody, 1, "58") +
           match(packet + kBody + 8, 1, kMldTypes) + "drop\n";
}

// What the trap takes. nftables itself looks behind one tag; the framings that it does not know,
// two tags and PPPoE, are matched by their bytes. A service tag (802.1ad) is none of the trap's.
std::string trapped_frames_stop() {
    std::string rules =
        "  ether type 8021ad accept\n"
        "  meta l4proto 2 drop\n"
        "  " +
        icmpv6(kMldTypes) +
        "drop\n"
        // Nearly all there is, streams above all.
        "  meta protocol { ip, ip6, arp } accept\n";
    std::string tags;
    for (std::size_t type = 12; type <= 20; type += 4) {
        const std::string pppoe = tags + match(type, 2, "0x8864");
        // The PPP protocol, or an Ethernet type in its place.
        for (const char* const ipv4 : {"0x0021", "0x0800"}) {
            rules += packet_stops(pppoe + match(type + 8, 2, ipv4), type + 10, false);
        }
        for (const char* const ipv6 : {"0x0057", "0x86dd"}) {
            rules += packet_stops(pppoe + match(type + 8, 2, ipv6), type + 10, true);
        }
        tags += match(type, 2, "0x8100");
    }
    const std::string two_tags = match(12, 2, "0x8100") + match(16, 2, "0x8100");
    rules += packet_stops(two_tags + match(20, 2, "0x0800"), 22, false);
    rules += packet_stops(two_tags + match(20, 2, "0x86dd"), 22, true);
    return rules;
}

// "{ "eth1", "eth2" }": by name, so that an interface that comes back is met at once.
std::string set_of_names(const std::vector<GuardedPort>& ports) {
    std::string set;
    for (const GuardedPort& port : ports) set += (set.empty() ? "" : ", ") + quoted(port.interface);
    return "{ " + set + " } ";
}

std::vector<GuardedPort> ports_of_hosts(const std::vector<GuardedPort>& ports) {
    std::vector<GuardedPort> of_hosts = ports;
    std::erase_if(of_hosts, [](const GuardedPort& port) { return port.gets_everything; });
    return of_hosts;
}

std::string flood_stops(const GuardedBridge& bridge) {
    const auto users = ports_of_hosts(bridge.ports);
    if (!bridge.is_flooding || users.empty()) return {};
    const std::string to_users = "  oifname " + set_of_names(users);
    return " chain flooded {\n"
           "  type filter hook forward priority 0; policy accept;\n" +
           to_users + "ip daddr 224.0.0.0/4 ip daddr != 224.0.0.0/24 drop\n" + to_users +
           "ip6 daddr ff00::/8 ip6 daddr != ff02::/16 drop\n" + " }\n";
}

std::string bridge_table(const GuardedBridge& bridge) {
    const std::string ports = set_of_names(bridge.ports);
    return "table bridge mc_node {\n"
           " chain trapped {\n" +
           trapped_frames_stop() +
           " }\n"
           " chain arriving {\n"
           "  type filter hook prerouting priority -400; policy accept;\n"
           "  iifname " +
           ports +
           "jump trapped\n"
           " }\n"
           " chain leaving {\n"
           "  type filter hook output priority 0; policy accept;\n"
           "  oifname " +
           ports +
           "ip saddr 0.0.0.0 igmp type membership-query drop\n"
           "  oifname " +
           ports + icmpv6("130") +
           "drop\n"
           " }\n" +
           flood_stops(bridge) + "}\n";
}

// One rule a target: a port that cannot be sent to does not stop the others.
std::string passed_on(const GuardedPort* from, const std::vector<GuardedPort>& ports) {
    std::string rules;
    for (const GuardedPort& to : ports) {
        const bool kept_apart = from != nullptr && from->isolated && to.isolated;
        if (to.gets_everything || !to.is_there || &to == from || kept_apart) continue;
        rules += "  dup to " + quoted(to.interface) + "\n";
    }
    return rules;
}

std::string netdev_chain(const std::string& name, const std::string& hook,
                         const std::string& device, const std::string& rules) {
    return " chain " + name +
           " {\n"
           "  type filter hook " +
           hook + " device " + quoted(device) +
           " priority 0;"
           " policy accept;\n"
           "  meta protocol != ip6 accept\n"
           "  ip6 daddr != ff02::/16 accept\n"
           "  ip6 daddr ff02::1 accept\n"
           "  " +
           icmpv6(kMldTypes) + "accept\n" + rules + " }\n";
}

std::string netdev_table(const GuardedBridge& bridge) {
    std::string text = "table netdev mc_node {\n";
    for (std::size_t i = 0; i < bridge.ports.size(); ++i) {
        const GuardedPort& port = bridge.ports[i];
        const std::string rules = passed_on(&port, bridge.ports);
        if (!port.is_there || rules.empty()) continue;
        text += netdev_chain("from" + std::to_string(i), "ingress", port.interface, rules);
    }
    const std::string own = passed_on(nullptr, bridge.ports);
    if (!own.empty() && !bridge.name.empty()) {
        text += netdev_chain("from_here", "egress", bridge.name, own);
    }
    return text + "}\n";
}

}  // namespace

std::string guard_rules(const GuardedBridge& bridge) {
    return kRemoval + bridge_table(bridge) + netdev_table(bridge);
}

void Guard::Free::operator()(nft_ctx* context) const { nft_ctx_free(context); }

Guard::Guard() : nft_(nft_ctx_new(NFT_CTX_DEFAULT)) {
    if (nft_ != nullptr) {
        nft_ctx_buffer_output(nft_.get());
        nft_ctx_buffer_error(nft_.get());
    }
}

std::string Guard::put_up(const std::string& rules) {
    std::string error = run(rules);
    if (!error.empty()) return error;
    is_up_ = true;
    listing_ = list();
    return {};
}

// Each by a command of its own: of several at a time nft reads what the last one needs. Without one
// of the tables there is nothing to list.
std::string Guard::list() {
    std::string listing;
    bool is_there = true;
    for (const char* const command :
         {"list table bridge mc_node\n", "list table netdev mc_node\n"}) {
        is_there = run(command).empty() && is_there;
        listing += nft_ctx_get_output_buffer(nft_.get());
    }
    return is_there ? listing : "";
}

bool Guard::is_untouched() { return list() == listing_; }

void Guard::take_down() {
    if (std::exchange(is_up_, false)) static_cast<void>(clear());
}

std::string Guard::clear() { return run(kRemoval); }

std::string Guard::run(const std::string& commands) {
    if (nft_ == nullptr) return "nftables cannot be used";
    if (nft_run_cmd_from_buffer(nft_.get(), commands.c_str()) == 0) return {};
    // "Error: ..." and then the place in the rules.
    std::string error = nft_ctx_get_error_buffer(nft_.get());
    error.resize(std::min(error.find('\n'), error.size()));
    return error.empty() ? "nftables refuses the rules" : error;
}

}  // namespace live
