// What a replay came to, as tables to be read and as one JSON object.
#pragma once

#include <cstddef>
#include <string>

#include "node/capture/capture_driver.h"
#include "node/replay/arguments.h"
#include "node/report/core_report.h"

namespace replay {

struct Summary {
    Arguments arguments;
    capture::Report report;
    report::CoreReport core;
    std::size_t commands_run;  // so many of the arguments' commands, from the first on
    bool interrupted;
    double took_s;
};

[[nodiscard]] std::string as_text(const Summary& summary);

// Equal for equal replays: how long the replay took is not in it. Ends with a line feed.
[[nodiscard]] std::string as_json(const Summary& summary);

}  // namespace replay
