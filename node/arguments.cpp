#include "node/arguments.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>

#include "node/bound_arguments.h"
#include "node/configuration.h"
#include "node/core/multicast_core.h"
#include "node/live_arguments.h"
#include "node/replay_arguments.h"
#include "node/usage_error.h"
#include "tools/option_parser.h"

namespace node {
namespace {

using options::Parser;

constexpr const char* kReplayFooter =
    "Captures are pcap or pcapng, as they are or in gzip; - is the standard input.\n"
    "\n"
    "With --json the diagnostics of the library and what commands show go to standard error, so\n"
    "that standard output holds the JSON object alone; it leaves out how long the replay took, so\n"
    "that equal replays print equal objects.\n"
    "\n"
    "Exit status: 0 done; 1 a capture broke in its middle, an output is incomplete or the library\n"
    "did not start; 2 the command line or a file it names cannot be used, nothing was replayed;\n"
    "3 the command queue was removed; 130 interrupted (after both the summary covers what was\n"
    "replayed). The signal that ends --hold is no interruption.";

constexpr const char* kLiveFooter =
    "It needs root, or CAP_NET_ADMIN and CAP_NET_RAW.\n"
    "\n"
    "The interfaces are ports of the bridge. IGMP and MLD reach the node in place of the bridge; it\n"
    "forwards them, and programs the bridge's multicast database with what hosts join. Commands are\n"
    "taken from the queue (mcctl). At SIGINT, SIGTERM or SIGHUP the bridge is given back as it was\n"
    "and the summary printed. With --json what the library prints goes to standard error.\n"
    "\n"
    "Exit status: 0 done; 1 the summary, the events or the timeline could not be written; 2 the command line, the bridge or an\n"
    "interface cannot be used, or privileges are missing; 3 the command queue was removed, the bridge\n"
    "was given back.";

// What both sub-commands take.
template <class Words>
void declare_common(Parser& parser, Words& words) {
    parser.last({"--onu-id", "0..255", "ONU id, 255 for none (default 1)"}, words.onu_id);
    parser.last({"--debug", "MASK",
                 "Diagnostics of the library: flow, errors, tx, rx, config, all, separated by "
                 "commas, or a mask such as 0x25"},
                words.debug);
    parser.last({"--config", "FILE",
                 "Configuration: options without dashes and commands in the words of mcctl, a line "
                 "each; options of the command line overrule the file's"},
                words.config);
    parser.last({"--ipc", "private|shared",
                 "Take commands in an IPC namespace of the node's own, or where it is started "
                 "(default, but for a replay without --hold, which takes none from outside)"},
                words.ipc);
    parser.flag("--json", words.json, "Print the summary as one JSON object");
    parser.last({"--events", "FILE", "Write what happens to this file, a JSON object a line"},
                words.recorded.events);
    parser.last({"--timeline", "FILE",
                 "Write a page that shows it as a timeline, with SIGUSR1 of a "
                 "live node at once, too"},
                words.recorded.timeline);
}

void declare_bounds(Parser& parser, BoundWords& words) {
    constexpr mcore::Bounds kDefaults;
    const auto declare = [&parser](const char* option, const std::string& what,
                                   std::uint32_t standard, auto& word) {
        parser.last({option, "N", what + " (default " + std::to_string(standard) + ")"}, word);
    };
    declare("--most-sources", "Sources kept of a host and group", kDefaults.sources_per_host,
            words.sources);
    declare("--most-group-sources", "Sources kept of a group and port", kDefaults.sources_per_group,
            words.group_sources);
    declare("--most-hosts", "Hosts kept of a group and port", kDefaults.hosts_per_group,
            words.hosts);
    declare("--most-groups", "Groups kept of a port, IGMP and MLD each", kDefaults.groups_per_port,
            words.groups);
    declare("--most-addresses", "Hosts and sources kept of a port", kDefaults.addresses_per_port,
            words.addresses);
    declare("--most-ranges", "Ranges in the control list of a port", kDefaults.control_list_ranges,
            words.ranges);
}

// Both fill the words when the command line is parsed.
Parser& declare_replay(Parser& program, ReplayWords& words, BoundWords& bounds) {
    Parser& replay = program.command(
        "replay", "Feeds captures to the node, as fast as it goes, and sums up what it did");
    replay.once({"scenario", "SCENARIO_DIR",
                 "Folder with the captures: any of port0.pcap to port5.pcap and uplink.pcap, "
                 "and the commands, commands.txt, if there are any"},
                words.scenario);
    replay.each({"--port", "PORT=FILE", "Capture of the frames that come in at a port, 0 to 5"},
                words.ports);
    replay.each({"--uplink", "FILE", "Capture of the frames that come in at the uplink"},
                words.uplinks);
    replay.once({"--capture", "FILE",
                 "One capture of all ports, as of a mirror port, to be split by who sent what: "
                 "routers are at the uplink"},
                words.capture);
    replay.once(
        {"--hosts-from", "HOW",
         "What tells the hosts of --capture apart: mac (default) or vlan, a port each; or a "
         "file of lines MAC PORT, vlan VID PORT, uplink MAC"},
        words.hosts_from);
    replay.last({"--out", "DIR", "Write the frames sent to one capture a port in this folder"},
                words.output);
    replay.last({"--commands", "FILE",
                 "Run these commands during the replay, in place of the folder's commands.txt: "
                 "lines of SECONDS WORDS, the words as for mcctl"},
                words.commands);
    declare_common(replay, words);
    declare_bounds(replay, bounds);
    replay.last({"--until", "SECONDS", "Let timers run on for so long after the last frame"},
                words.tail_s);
    replay.flag("--hold", words.hold,
                "Stay after the summary and take commands from the queue until SIGINT or "
                "SIGTERM; the clock stands still");
    replay.footer(kReplayFooter);
    return replay;
}

Parser& declare_live(Parser& program, LiveWords& words, BoundWords& bounds) {
    Parser& live = program.command("live", "Runs the node on the ports of a Linux bridge");
    live.once({"--bridge", "INTERFACE", "The bridge that switches the streams"}, words.bridge);
    live.each({"--port", "PORT=INTERFACE", "Interface of a user port, 0 to 5"}, words.ports);
    live.each({"--uplink", "INTERFACE", "Interface towards the network"}, words.uplinks);
    live.flag("--restore", words.restore,
              "Give the bridge back as a node that was killed had found it, and end");
    declare_common(live, words);
    live.once({"--metrics", "ADDRESS:PORT",
               "Serve numbers for monitoring over HTTP, at /metrics; 127.0.0.1:9550, say"},
              words.metrics);
    declare_bounds(live, bounds);
    live.footer(kLiveFooter);
    return live;
}

}  // namespace

std::optional<Arguments> parse_arguments(int argc, char** argv) {
    ReplayWords replay_words;
    LiveWords live_words;
    BoundWords bound_words;
    Parser program("mc_node", "Runs the multicast adaptation layer on the multicast core.");
    program.keep_unknown_words();
    program.footer("'mc_node replay --help' and 'mc_node live --help' tell more.");
    const Parser& replay = declare_replay(program, replay_words, bound_words);
    const Parser& live = declare_live(program, live_words, bound_words);

    try {
        if (!program.parse({argv + std::min(argc, 1), argv + argc})) return std::nullopt;
    } catch (const options::ParseError& wrong) {
        throw UsageError(wrong.what());
    }
    if (!replay.is_named() && !live.is_named()) {
        std::fputs(program.help().c_str(), stdout);
        throw UsageError("which sub-command? There are: replay, live");
    }
    if (const auto unknown = program.unknown_words(); !unknown.empty()) {
        throw UsageError("'" + unknown.front() + "' is not an option of " +
                         (live.is_named() ? "live" : "replay"));
    }
    const Parser& named = live.is_named() ? live : replay;
    config::File file;
    const std::string& name = live.is_named() ? live_words.config : replay_words.config;
    if (!name.empty()) file = config::read_file(name);
    const auto is_given = [&named](const std::string& option) { return named.is_given(option); };
    take_bounds(file, is_given, bound_words);
    const mcore::Bounds bounds = meaning_of(bound_words);
    if (live.is_named()) {
        take_options(file, is_given, live_words);
        return Arguments{meaning_of(live_words), bounds, ipc_place_of(live_words), std::move(file)};
    }
    take_options(file, is_given, replay_words);
    return Arguments{meaning_of(replay_words), bounds, ipc_place_of(replay_words), std::move(file)};
}

}  // namespace node
