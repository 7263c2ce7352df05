/*
 * A join and its leave on a core of their own, so that the next real one finds code and tables of
 * this size in the processor's caches. Nothing that the core knows changes.
 */
#include <algorithm>
#include <array>

#include "common/bytes.h"
#include "node/core/membership.h"
#include "node/core/message.h"
#include "node/core/state.h"

namespace devcore {
namespace {

constexpr std::uint32_t kHost = 0xC0000201;   // 192.0.2.1, for examples
constexpr std::uint32_t kGroup = 0xE9FC0001;  // 233.252.0.1, likewise
constexpr std::uint32_t kPort = 0;

Bytes with_ip_header(const Bytes& message) {
    Bytes packet{0x45, 0xC0, 0, 0, 0, 0, 0, 0, 1, 2, 0, 0};
    packet.resize(20);
    mc::store_be16(&packet[2], static_cast<std::uint32_t>(packet.size() + message.size()));
    mc::store_be32(&packet[12], kHost);
    mc::store_be32(&packet[16], kGroup);
    mc::store_be16(&packet[10], internet_checksum(packet));
    packet.insert(packet.end(), message.begin(), message.end());
    return packet;
}

Bytes igmp_report(RecordType type) {
    Address group{};
    mc::store_be32(group.data(), kGroup);
    return with_ip_header(igmp_v3_reports({{type, group, {}}}).front());
}

/* What real hosts need not be asked for: everything declared, leaves at once. */
void prepare(Core& scratch, const Core& real) {
    scratch.call_backs = real.call_backs;
    scratch.call_backs.send = nullptr;
    scratch.call_backs.mld_send = nullptr;
    scratch.now_us = real.now_us;
    scratch.settings.default_vid = real.settings.default_vid;
    Port& port = scratch.ports[kPort];
    port.declared = true;
    port.fast_leave = true;
}

void go_through() {
    static const Bytes* const join = new Bytes(igmp_report(RecordType::kToExclude));
    static const Bytes* const leave = new Bytes(igmp_report(RecordType::kToInclude));
    for (const Bytes* packet : {join, leave}) {
        std::array<std::uint8_t, 64> copy{};
        std::ranges::copy(*packet, copy.begin());
        (void)igmp_pkt_recv(copy.data(), static_cast<std::uint16_t>(packet->size()), kPort,
                            core().settings.default_vid, nullptr);
    }
}

}  // namespace

void rehearse_join() {
    const Lock lock;
    const Core& real = core();
    const OnScratchCore on_scratch;
    prepare(core(), real);
    go_through();
}

}  // namespace devcore
