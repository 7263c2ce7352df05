// The contents of the status segment, to be read and for programs.
#pragma once

#include <cstddef>
#include <string>

#include "tools/mcstat_fields.h"
#include "tools/mcstat_ipc.h"

namespace mcstat {

// In lines of at most so many bytes, as far as single cells allow.
[[nodiscard]] std::string report_text(const Contents& contents, const Fields& fields,
                                      std::size_t width);
[[nodiscard]] std::string report_json(const Contents& contents, const Fields& fields);
// For monitoring: families of OpenMetrics, without the line that ends a text.
[[nodiscard]] std::string report_metrics(const Contents& contents, const Fields& fields);

}  // namespace mcstat
