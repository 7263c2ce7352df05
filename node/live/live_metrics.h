// What a live node tells monitoring.
#pragma once

#include <string>

#include "node/live/live_driver.h"

namespace live {

// As it is at this moment, without the line that ends a text.
[[nodiscard]] std::string metric_families(LiveDriver& driver);

}  // namespace live
