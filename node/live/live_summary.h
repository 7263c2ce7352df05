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

// The frames that the driver kept from the library, those of which the library made nothing, and
// the sends that came to nothing.
[[nodiscard]] report::Drops drops_of(const Report& report);

[[nodiscard]] std::string as_text(const Summary& summary);
// Ends with a line feed.
[[nodiscard]] std::string as_json(const Summary& summary);

}  // namespace live
