// What became of the frames that the library took, for summaries.
#pragma once

#include <string>
#include <vector>

#include "node/driver/frame_fate.h"
#include "node/report/core_report.h"
#include "node/report/json.h"

namespace report {

struct PortFates {
    std::string port;
    driver::FateCounts counts;
};

// A row a port, and their sum.
[[nodiscard]] std::string fates_text(const std::vector<PortFates>& ports);
[[nodiscard]] Json fates_json(const driver::FateCounts& counts);

// A row for each reason of the library.
[[nodiscard]] std::vector<Count> library_drops(const driver::FateCounts& counts);

}  // namespace report
