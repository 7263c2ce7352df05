// How one capture was split, as a table to be read and as JSON.
#pragma once

#include <optional>
#include <string>

#include "node/capture/split.h"
#include "node/report/json.h"

namespace replay {

// Both are empty without a split.
[[nodiscard]] std::string split_text(const std::optional<capture::Split>& split);
[[nodiscard]] report::Json split_json(const std::optional<capture::Split>& split);

}  // namespace replay
