// The functions of platform/l2_multicast.h, as the chosen driver gives them.
#include "platform/l2_multicast.h"

#include <array>
#include <cstddef>
#include <cstdint>

#include <unistd.h>

#include "node/driver/driver.h"

namespace driver {
namespace {

constexpr std::int32_t kDone = 0;
constexpr std::int32_t kRefused = 1;

constexpr std::size_t kReadBuffer = 2048;  // what the caller of L2_multicast_read_msg provides

Driver* chosen_driver = nullptr;

std::int32_t status(bool done) { return done ? kDone : kRefused; }

MacAddress bytes_of(const L2MulticastMac& mac) { return std::to_array(mac.byte); }

}  // namespace

void use(Driver& driver) { chosen_driver = &driver; }

Driver& chosen() { return *chosen_driver; }

}  // namespace driver

MC_C_BEGIN

int32_t L2_multicast_init(void) { return driver::kDone; }

int32_t L2_multicast_set_filter_method(uint32_t /*method*/) { return driver::kDone; }

int32_t L2_multicast_read_msg(uint8_t* buf, uint8_t* port, uint32_t* len) {
    const auto frame = driver::chosen().read({buf, driver::kReadBuffer});
    // "Nothing now" would be asked again every second; at the end there is no again.
    while (!frame) pause();
    *port = frame->port;
    *len = frame->length;
    return driver::kDone;
}

int32_t L2_multicast_send_msg(uint8_t* frame, uint8_t port, uint16_t len, uint8_t /*src_port*/,
                              uint32_t /*vlan*/) {
    return driver::status(driver::chosen().send(port, {frame, len}));
}

int32_t L2_multicast_set_port_iptv_entry(int16_t port, L2MulticastMac mac, uint16_t vlan) {
    return driver::status(driver::chosen().set_entry(port, driver::bytes_of(mac), vlan));
}

int32_t L2_multicast_remove_port_iptv_entry(int16_t port, L2MulticastMac mac, uint16_t vlan) {
    return driver::status(driver::chosen().remove_entry(port, driver::bytes_of(mac), vlan));
}

int32_t L2_multicast_get_onu_id(uint8_t* onu_id) {
    *onu_id = driver::chosen().onu_id();
    return driver::kDone;
}

MC_C_END
