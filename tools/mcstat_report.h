// The contents of the status segment, to be read and for programs.
#pragma once

#include <string>

#include "tools/mcstat_fields.h"
#include "tools/mcstat_ipc.h"

namespace mcstat {

[[nodiscard]] std::string report_text(const Contents& contents, const Fields& fields);
[[nodiscard]] std::string report_json(const Contents& contents, const Fields& fields);

}  // namespace mcstat
