// What a live run came to, as tables to be read and as one JSON object.
#pragma once

#include <string>

#include "node/live/live_driver.h"
#include "node/report/core_report.h"

namespace live {

struct Summary {
    std::string bridge;
    Report report;
    report::CoreReport core;
    double ran_s;
};

[[nodiscard]] std::string as_text(const Summary& summary);
// Ends with a line feed.
[[nodiscard]] std::string as_json(const Summary& summary);

}  // namespace live
