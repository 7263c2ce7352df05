#include "node/arguments.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>

#include "node/live_arguments.h"
#include "node/replay_arguments.h"
#include "node/usage_error.h"

namespace node {
namespace {

constexpr const char* kReplayFooter =
    "With --json the diagnostics of the library and what commands show go to standard error, so\n"
    "that standard output holds the JSON object alone; it leaves out how long the replay took, so\n"
    "that equal replays print equal objects.\n"
    "\n"
    "Exit status: 0 done; 1 a capture broke in its middle, an output is incomplete or the library\n"
    "did not start; 2 the command line or a file it names cannot be used, nothing was replayed;\n"
    "130 interrupted (the summary covers what was replayed). The signal that ends --hold is no\n"
    "interruption.";

constexpr const char* kLiveFooter =
    "The interfaces are ports of the bridge. IGMP and MLD reach the node in place of the bridge; it\n"
    "forwards them, and programs the bridge's multicast database with what hosts join. Commands are\n"
    "taken from the queue (mcctl). At SIGINT, SIGTERM or SIGHUP the bridge is given back as it was\n"
    "and the summary printed. With --json what the library prints goes to standard error.\n"
    "\n"
    "Exit status: 0 done; 1 the summary could not be written; 2 the command line, the bridge or an\n"
    "interface cannot be used, or privileges are missing (CAP_NET_ADMIN and CAP_NET_RAW).";

// CLI11 explains over several lines at times; the first says what is wrong.
std::string first_line(const std::string& text) { return text.substr(0, text.find('\n')); }

// What both sub-commands take. Wherever one value is wanted the last one counts, so that a script's
// choice can be overridden behind it.
template <class Words>
void declare_common(CLI::App& app, Words& words) {
    app.add_option("--onu-id", words.onu_id, "ONU id, 255 for none (default 1)")
        ->type_name("0..255")
        ->take_last();
    app.add_option("--debug", words.debug,
                   "Diagnostics of the library: flow, errors, tx, rx, config, all, separated by "
                   "commas, or a mask such as 0x25")
        ->type_name("MASK")
        ->take_last();
    app.add_flag("--json", words.json, "Print the summary as one JSON object");
}

// Both fill the words when the command line is parsed.
CLI::App* declare_replay(CLI::App& app, ReplayWords& words) {
    CLI::App* replay = app.add_subcommand(
        "replay", "Feeds captures to the node, as fast as it goes, and sums up what it did");
    replay
        ->add_option("scenario", words.scenario,
                     "Folder with the captures: any of port0.pcap to port5.pcap and uplink.pcap, "
                     "and the commands, commands.txt, if there are any")
        ->type_name("SCENARIO_DIR");
    replay
        ->add_option("--port", words.ports, "Capture of the frames that come in at a port, 0 to 5")
        ->type_name("PORT=FILE")
        ->allow_extra_args(false);
    replay
        ->add_option("--uplink", words.uplinks, "Capture of the frames that come in at the uplink")
        ->type_name("FILE")
        ->allow_extra_args(false);
    replay
        ->add_option("--out", words.output,
                     "Write the frames sent to one capture a port in this folder")
        ->type_name("DIR")
        ->take_last();
    replay
        ->add_option("--commands", words.commands,
                     "Run these commands during the replay, in place of the folder's commands.txt: "
                     "lines of SECONDS WORDS, the words as for mcctl")
        ->type_name("FILE")
        ->take_last();
    declare_common(*replay, words);
    replay
        ->add_option("--until", words.tail_s, "Let timers run on for so long after the last frame")
        ->type_name("SECONDS")
        ->take_last();
    replay->add_flag("--hold", words.hold,
                     "Stay after the summary and take commands from the queue until SIGINT or "
                     "SIGTERM; the clock stands still");
    replay->footer(kReplayFooter);
    return replay;
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
    declare_common(*live, words);
    live->footer(kLiveFooter);
    return live;
}

}  // namespace

std::optional<Arguments> parse_arguments(int argc, char** argv) {
    ReplayWords replay_words;
    LiveWords live_words;
    CLI::App app{"Runs the multicast adaptation layer on the development core.", "mc_node"};
    app.allow_extras();
    app.footer("'mc_node replay --help' and 'mc_node live --help' tell more.");
    const CLI::App* replay = declare_replay(app, replay_words);
    const CLI::App* live = declare_live(app, live_words);

    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& help) {
        app.exit(help);
        return std::nullopt;
    } catch (const CLI::ParseError& wrong) {
        throw UsageError(first_line(wrong.what()));
    }
    if (!replay->parsed() && !live->parsed()) {
        std::fputs(app.help().c_str(), stdout);
        if (argc > 1) throw UsageError("which sub-command? There are: replay, live");
        return std::nullopt;
    }
    if (const auto extras = app.remaining(true); !extras.empty()) {
        throw UsageError("'" + extras.front() + "' is not an option of " +
                         (live->parsed() ? "live" : "replay"));
    }
    if (live->parsed()) return meaning_of(live_words);
    return meaning_of(replay_words);
}

}  // namespace node
