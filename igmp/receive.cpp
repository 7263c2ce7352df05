// Reception of IGMP frames: the packet task, and what classification does on this side.
#include "packet/receive.h"

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <span>

#include "adapt/records.h"
#include "adapt/tables.h"
#include "common/protocols.h"
#include "igmp/igmp.h"
#include "igmp/side.h"
#include "mld/mld.h"
#include "platform/l2_multicast.h"
#include "platform/protocol_core.h"

namespace mc {

namespace {

constinit std::uint32_t frames_received = 0;

constexpr std::uint32_t kProtocolOffset = 9;

constexpr std::uint32_t kReadBuffer = 2048;
constexpr unsigned kIdlePause = 1;  // seconds

bool is_ipv4_multicast(const std::uint8_t* mac) {
    return mac[0] == 0x01 && mac[1] == 0x00 && mac[2] == 0x5E;
}

}  // namespace

void IgmpSide::count_frame() {
    if (frames_received == 0) {
        // The core takes its first time stamp here; what it answers is of no use.
        std::uint32_t now = 0;
        static_cast<void>(igmp_time_now(&now));
    }
    ++frames_received;
}

std::uint32_t IgmpSide::template_vlan(std::uint32_t vlan) {
    const std::uint16_t* const found = find_template_vlan(vlan);
    const std::uint16_t group = found != nullptr ? *found : std::uint16_t{MC_NO_VLAN};
    if (found != nullptr && says(kFlow)) std::printf("\r\n[MC_DBG_DBG]: \n vlan is %d", group);
    if (says(kFlow)) std::printf("\r\n[MC_DBG_DBG]: out searchVlan vlan = %d\r\n", group);
    return group != MC_NO_VLAN ? group : defaultVlan;
}

bool IgmpSide::accept_protocol(const std::uint8_t* packet) {
    const std::uint8_t protocol = packet[kProtocolOffset];
    if (says(kFlow)) std::printf("\r\n[MC_DBG_DBG]: PROTOL TYPE = %d", protocol);
    if (protocol == kProtocolIgmp) return true;
    // The text of an own frame stands here too, kept on purpose.
    if (says(kErrors)) std::puts("\r\n[MC_DBG_ERR]: Error! Igmp Packet comes from myself!\r");
    return false;
}

std::int32_t IgmpSide::hand_to_core(const ReceivedFrame& received, std::uint32_t length,
                                    std::uint32_t vlan) {
    std::uint32_t port = received.at.port;
    if (port == MC_UPLINK_PORT) {
        if (says(kFlow)) std::printf("\r\n[MC_DBG_DBG]: The port no is (%d)\r\n", port);
        port = MC_CORE_UPLINK;
    }
    return igmp_pkt_recv(received.packet, static_cast<std::uint16_t>(length), port, vlan, nullptr);
}

void IgmpSide::dump_received(const std::uint8_t* frame, std::uint32_t len, std::uint32_t port) {
    std::printf("[igmpL2PktProc]: Pkt recv from port %d, len %d.\r\n", port, len);
    if (frame != nullptr) dump_hex({frame, len}, len);
}

void IgmpSide::say_entered(std::uint32_t port) {
    if (says(kFlow)) std::printf("\r\n[MC_DBG_DBG]: igmpL2PktProc is in! %d\n", port);
}

void IgmpSide::say_own_frame() {
    if (says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: Error! Igmp Packet comes from myself!\r");
}

void IgmpSide::say_received(std::uint32_t port) {
    if (says(kFlow)) {
        std::printf(
            "\r\n[MC_DBG_DBG]: \r\n[INFO][IGMP-RCV] : Rcieve L2 data on interface %d(%d):\r\n",
            port, port);
    }
}

void IgmpSide::say_search_vlan(std::uint32_t vid, std::uint32_t port) {
    if (says(kFlow)) {
        std::printf(
            "\r\n[MC_DBG_DBG]: in searchRecievePktPortCfgVlan vlan_id = %d usPort = %d \r\n", vid,
            port);
    }
}

void IgmpSide::say_from_uplink() {
    if (says(kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: recieve paket from uplink,no need vlan config search!\r");
    }
}

void IgmpSide::say_mode(std::uint32_t mode) {
    if (says(kFlow)) std::printf("\r\n[MC_DBG_DBG]: IGMP MODE = %d\r\n", mode);
}

void IgmpSide::say_kept_from_core(std::uint32_t mode, std::uint32_t port) {
    if (says(kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: igmpL2PktProc  igmp_mode = %d usPort = %d\r\n", mode, port);
    }
}

}  // namespace mc

std::int32_t igmpL2PktProc(std::uint8_t* frame, std::uint32_t len, std::uint32_t port) {
    return mc::receive<mc::IgmpSide>(frame, len, port);
}

std::int32_t MuticastReceive(std::uint8_t* frame, std::uint32_t len, std::uint32_t port,
                             std::uint32_t kind) {
    constexpr std::uint32_t kIgmpFrame = 1;
    if (kind != kIgmpFrame) return 1;
    if (igmpL2PktProc(frame, len, port) != 0 && mc::igmp_says(mc::kErrors)) {
        return std::puts("\r\n[MC_DBG_ERR]: \n ERROR!Pkt recive Fail !");
    }
    return 0;
}

std::int32_t igmp_adapt_pkt_recv_task() {
    // Bytes of an earlier frame stay behind a shorter one: the buffer is cleared only here.
    std::uint8_t buffer[mc::kReadBuffer] = {};
    std::uint8_t port = 0;
    std::uint32_t len = 0;
    for (;;) {
        if (L2_multicast_read_msg(buffer, &port, &len) != 0) {
            sleep(mc::kIdlePause);
            continue;
        }
        if (mc::is_ipv4_multicast(buffer)) {
            static_cast<void>(igmpL2PktProc(buffer, len, port));
        } else {
            static_cast<void>(mldL2PktProc(buffer, len, port));
        }
    }
}
