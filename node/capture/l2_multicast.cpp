/* The functions of platform/l2_multicast.h, as the capture driver gives them. */
#include "platform/l2_multicast.h"

#include <array>
#include <optional>

#include "node/capture/capture_driver.h"

namespace {

using capture::Driver;

constexpr std::int32_t kDone = 0;
constexpr std::int32_t kRefused = 1;

constexpr std::size_t kReadBuffer = 2048;  // what the caller of L2_multicast_read_msg provides

std::int32_t status(bool done) { return done ? kDone : kRefused; }

capture::MacAddress bytes_of(const L2MulticastMac& mac) { return std::to_array(mac.byte); }

}  // namespace

MC_C_BEGIN

int32_t L2_multicast_init(void) { return kDone; }

int32_t L2_multicast_set_filter_method(uint32_t /*method*/) { return kDone; }

int32_t L2_multicast_read_msg(uint8_t* buf, uint8_t* port, uint32_t* len) {
    const std::optional<Driver::Delivery> frame = Driver::instance().read({buf, kReadBuffer});
    // "Nothing now" would be asked again every second; at the end of a replay there is no again.
    if (!frame) Driver::instance().park();
    *port = frame->port;
    *len = frame->length;
    return kDone;
}

int32_t L2_multicast_send_msg(uint8_t* frame, uint8_t port, uint16_t len, uint8_t /*src_port*/,
                              uint32_t /*vlan*/) {
    return status(Driver::instance().send(port, {frame, len}));
}

int32_t L2_multicast_set_port_iptv_entry(int16_t port, L2MulticastMac mac, uint16_t vlan) {
    return status(Driver::instance().set_entry(port, bytes_of(mac), vlan));
}

int32_t L2_multicast_remove_port_iptv_entry(int16_t port, L2MulticastMac mac, uint16_t vlan) {
    return status(Driver::instance().remove_entry(port, bytes_of(mac), vlan));
}

int32_t L2_multicast_get_onu_id(uint8_t* onu_id) {
    *onu_id = Driver::instance().onu_id();
    return kDone;
}

MC_C_END
