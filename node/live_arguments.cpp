#include "node/live_arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <utility>

#include "node/argument_values.h"
#include "node/driver/ports.h"
#include "node/usage_error.h"

namespace node {
namespace {

constexpr std::size_t kLongestName = 15;  // of an interface

constexpr const char* kFooter =
    "The interfaces are ports of the bridge. IGMP and MLD reach the node in place of the bridge; it\n"
    "forwards them, and programs the bridge's multicast database with what hosts join. Commands are\n"
    "taken from the queue (mcctl). At SIGINT, SIGTERM or SIGHUP the bridge is given back as it was\n"
    "and the summary printed. With --json what the library prints goes to standard error.\n"
    "\n"
    "Exit status: 0 done; 1 the summary could not be written; 2 the command line, the bridge or an\n"
    "interface cannot be used, or privileges are missing (CAP_NET_ADMIN and CAP_NET_RAW).";

void check_name(const std::string& name) {
    const bool is_odd = name.find_first_of("/\"\\ \t\r\n") != std::string::npos;
    if (name.empty() || name.size() > kLongestName || is_odd) {
        throw UsageError("'" + name + "' is no name of an interface");
    }
}

void add(std::vector<live::PortInterface>& ports, std::uint8_t port, std::string interface) {
    check_name(interface);
    for (const live::PortInterface& other : ports) {
        if (other.port == port) {
            throw UsageError("two interfaces for " +
                             driver::name_of_slot(*driver::slot_of_port(port)));
        }
        if (other.interface == interface) throw UsageError(interface + ": stands for two ports");
    }
    ports.push_back({port, std::move(interface)});
}

}  // namespace

live::Arguments meaning_of(const LiveWords& words) {
    live::Arguments arguments;
    if (words.bridge.empty()) throw UsageError("which bridge? Give --bridge");
    check_name(words.bridge);
    arguments.bridge = words.bridge;
    for (const std::string& text : words.ports) {
        auto [port, interface] = parse_port(text, "INTERFACE");
        add(arguments.ports, port, std::move(interface));
    }
    for (const std::string& uplink : words.uplinks) {
        add(arguments.ports, driver::kUplinkPort, uplink);
    }
    if (arguments.ports.empty()) throw UsageError("no ports: give --port and --uplink");
    std::ranges::sort(arguments.ports, {}, &live::PortInterface::port);
    arguments.onu_id = parse_onu_id(words.onu_id);
    arguments.debug = parse_debug_mask(words.debug);
    arguments.json = words.json;
    return arguments;
}

CLI::App* declare_live(CLI::App& app, LiveWords& words) {
    CLI::App* live = app.add_subcommand("live", "Runs the node on the ports of a Linux bridge");
    live->add_option("--bridge", words.bridge, "The bridge that switches the streams")
        ->type_name("INTERFACE");
    live->add_option("--port", words.ports, "Interface of a user port, 0 to 5")
        ->type_name("PORT=INTERFACE")
        ->allow_extra_args(false);
    live->add_option("--uplink", words.uplinks, "Interface towards the network")
        ->type_name("INTERFACE")
        ->allow_extra_args(false);
    live->add_option("--onu-id", words.onu_id, "ONU id, 255 for none (default 1)")
        ->type_name("0..255")
        ->take_last();
    live->add_option("--debug", words.debug,
                     "Diagnostics of the library: flow, errors, tx, rx, config, all, separated by "
                     "commas, or a mask such as 0x25")
        ->type_name("MASK")
        ->take_last();
    live->add_flag("--json", words.json, "Print the summary as one JSON object");
    live->footer(kFooter);
    return live;
}

}  // namespace node
