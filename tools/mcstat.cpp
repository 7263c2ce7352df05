// mcstat: what the library knows about ports and groups, from outside. It reads the status segment
// as a management process does; what the records in it mean is mcstat_fields.h's.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string>
#include <thread>

#include "node/console/protocol.h"
#include "node/metrics/exposition.h"
#include "node/report/printable.h"
#include "node/report/table.h"
#include "tools/console_client.h"
#include "tools/mcstat_fields.h"
#include "tools/mcstat_ipc.h"
#include "tools/mcstat_report.h"
#include "tools/option_parser.h"
#include "tools/screen.h"

namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kUnusable = 2;

constexpr std::chrono::milliseconds kPatience{2000};
constexpr double kLongestPause = 86400;  // seconds

constexpr const char* kClearScreen = "\x1b[H\x1b[J";

struct Arguments {
    std::string fields;
    std::string watch;
    bool json = false;
    bool openmetrics = false;
    bool no_refresh = false;
    bool print_fields = false;
};

void complain(const std::string& line) {
    std::fprintf(stderr, "mcstat: %s\n", report::printable(line).c_str());
}

void declare(options::Parser& parser, Arguments& arguments) {
    parser.flag("--json", arguments.json, "Print one JSON object");
    parser.flag("--openmetrics", arguments.openmetrics,
                "Print numbers for monitoring, for the text files of node_exporter, say");
    parser.once_or_bare({"--watch", "[SECONDS]", "Print again every so many seconds (default 1)"},
                        arguments.watch, "1");
    parser.flag("--no-refresh", arguments.no_refresh,
                "Do not ask the library for fresh contents first");
    parser.once({"--fields", "FILE",
                 "Description of what the core's records hold, in place of the built-in one"},
                arguments.fields);
    parser.flag("--print-fields", arguments.print_fields, "Print the built-in description");
    parser.footer(
        "Exit status: 0 done; 1 the segment is missing or cannot be read, or nobody takes commands\n"
        "from the queue; 2 the command line or the description cannot be used.");
}

// Nothing when --watch was not given; less than 0 when its value is of no use.
std::optional<double> pause_of(const options::Parser& parser, const Arguments& arguments) {
    if (!parser.is_given("--watch")) return std::nullopt;
    const char* const text = arguments.watch.c_str();
    char* end = nullptr;
    const double seconds = std::strtod(text, &end);
    const bool known = end != text && *end == '\0';
    // Asked this way round, so that "not a number" is refused too.
    return known && seconds > 0 && seconds <= kLongestPause ? seconds : -1;
}

std::string fresh_report(const mcstat::Fields& fields, const Arguments& arguments) {
    const mcstat::Segment segment;
    if (!arguments.no_refresh) mcstat::refresh(kPatience);
    const mcstat::Contents contents = segment.read();
    if (arguments.json) return mcstat::report_json(contents, fields);
    if (arguments.openmetrics) {
        const auto of_node = commands::ask_for_text(console::kMetricsWord);
        return mcstat::report_metrics(contents, fields) + of_node.value_or("") +
               std::string(metrics::kEnd);
    }
    const auto screen = tools::screen();
    return mcstat::report_text(contents, fields,
                               screen ? screen->columns : report::Table::kAnyWidth);
}

bool write(const std::string& text) {
    return std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
}

// What is at the top of the screen stays there, however much comes behind it.
std::string in_place(const std::string& text, const tools::Screen& screen) {
    return kClearScreen + tools::first_lines(text, screen.lines);
}

// Until it fails; an interrupt ends the program, which has nothing to put in order.
bool watch(const mcstat::Fields& fields, const Arguments& arguments, double pause_s) {
    for (bool is_first = true;; is_first = false) {
        const std::string text = fresh_report(fields, arguments);
        const auto screen = tools::screen();
        const char* const gap = is_first ? "" : "\n";
        if (!write(screen ? in_place(text, *screen) : gap + text)) return false;
        std::this_thread::sleep_for(std::chrono::duration<double>(pause_s));
    }
}

int show_as_told(const options::Parser& parser, const Arguments& arguments) {
    if (arguments.print_fields) {
        std::fputs(mcstat::default_description().c_str(), stdout);
        return kDone;
    }
    if (arguments.json && arguments.openmetrics) {
        complain("--json or --openmetrics: one of them");
        return kUnusable;
    }
    const std::optional<double> pause_s = pause_of(parser, arguments);
    if (pause_s && *pause_s < 0) {
        complain("--watch: '" + arguments.watch + "' is no number of seconds above 0");
        return kUnusable;
    }
    const mcstat::Fields fields =
        arguments.fields.empty()
            ? mcstat::parse_fields(mcstat::default_description(), "built-in description")
            : mcstat::read_fields(arguments.fields);
    const bool written =
        pause_s ? watch(fields, arguments, *pause_s) : write(fresh_report(fields, arguments));
    if (!written) complain("standard output takes nothing");
    return written ? kDone : kFailed;
}

int run(int argc, char** argv) {
    Arguments arguments;
    options::Parser parser(
        "mcstat", "Prints what the multicast adaptation layer knows about ports and groups.");
    declare(parser, arguments);
    try {
        if (!parser.parse({argv + std::min(argc, 1), argv + argc})) return kDone;
    } catch (const options::ParseError& wrong) {
        complain(wrong.what());
        return kUnusable;
    }
    return show_as_told(parser, arguments);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const mcstat::FieldsError& error) {
        complain(error.what());
        return kUnusable;
    } catch (const std::exception& error) {
        complain(error.what());
        return kFailed;
    }
}
