// Values as the node's summaries write them.
#pragma once

#include <cstdint>
#include <string>

#include "node/driver/driver.h"

namespace report {

[[nodiscard]] std::string number(std::uint64_t value);
[[nodiscard]] std::string fixed(double value, int digits);
[[nodiscard]] double seconds(std::uint64_t us);
[[nodiscard]] std::string mac_text(const driver::MacAddress& mac);
// "port2" or "uplink"; the number of a port that the switch does not have.
[[nodiscard]] std::string port_text(std::int64_t port);

}  // namespace report
