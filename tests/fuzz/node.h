// The library over the multicast core and a driver, in one process without tasks.
#pragma once

#include "node/driver/driver.h"

namespace fuzz {

// All of them as after start-up, at this time of the core's clock; the driver is to outlive what
// follows.
void start_node(driver::Driver& driver, std::uint64_t now_us);

// Has the library's packet task take frames until the driver has no more.
void run_packet_task();

}  // namespace fuzz
