#include "node/arguments.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>

#include "node/live_arguments.h"
#include "node/usage_error.h"

namespace node {
namespace {

/* CLI11 explains over several lines at times; the first says what is wrong. */
std::string first_line(const std::string& text) { return text.substr(0, text.find('\n')); }

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
