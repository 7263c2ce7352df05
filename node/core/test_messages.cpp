// Messages that commands send for a test: upstream, whatever the mode, in the VLAN given, 0 for the
// default. The port only has to be one: a report has its place upstream.
#include <cstdint>

#include "node/core/address.h"
#include "node/core/report_message.h"
#include "node/core/state.h"

namespace {

constexpr std::uint32_t kTestGroup = 0xEFFF0102;  // 239.255.1.2
constexpr std::uint8_t kVersion2 = 2;

bool can_test(std::uint16_t port) {
    return mcore::find_declared_port(port) != nullptr && mcore::core().call_backs.send != nullptr;
}

mcore::UpstreamKey test_key(std::uint16_t vlan) {
    const std::uint16_t vid = vlan == 0 ? mcore::core().settings.default_vid : vlan;
    return {{mcore::Family::kIpv4, vid}, mcore::from_ipv4(kTestGroup)};
}

}  // namespace

int32_t test_igmp_report_v2_l3(uint16_t port, uint16_t vlan) {
    const mcore::Lock lock;
    if (!can_test(port)) return 1;
    mcore::send_report(test_key(vlan), kVersion2);
    return 0;
}

int32_t test_igmp_leave_v2_l3(uint16_t port, uint16_t vlan) {
    const mcore::Lock lock;
    if (!can_test(port)) return 1;
    mcore::send_leave(test_key(vlan), kVersion2);
    return 0;
}
