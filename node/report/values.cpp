#include "node/report/values.h"

#include <array>
#include <cstdio>

#include "node/driver/ports.h"

namespace report {

std::string number(std::uint64_t value) { return std::to_string(value); }

std::string fixed(double value, int digits) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.*f", digits, value);
    return text.data();
}

double seconds(std::uint64_t us) { return static_cast<double>(us) / 1e6; }

std::string mac_text(const driver::MacAddress& mac) {
    std::array<char, 24> text{};
    std::snprintf(text.data(), text.size(), "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2],
                  mac[3], mac[4], mac[5]);
    return text.data();
}

std::string port_text(std::int64_t port) {
    const auto slot = driver::slot_of_port(port);
    return slot ? driver::name_of_slot(*slot) : std::to_string(port);
}

}  // namespace report
