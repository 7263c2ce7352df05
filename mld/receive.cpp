// Reception of MLD frames: what classification does on this side.
#include "packet/receive.h"

#include <cstdint>
#include <cstdio>

#include "mld/mld.h"
#include "mld/record.h"
#include "mld/side.h"
#include "platform/protocol_core.h"

namespace mc {

namespace {

constinit std::uint32_t frames_received = 0;
constinit MldReceiveRecord receive_record{};

// The first word of the frame plus this is all that the core learns of the frame itself.
constexpr std::uint32_t kFrameWordAdds = 12;

constexpr std::uint32_t kPayloadLengthOffset = 4;
constexpr std::uint32_t kIpv6Header = 40;

}  // namespace

void MldSide::count_frame() {
    // The time stamp is taken for the first frame after start-up, and then stays.
    if (frames_received == 0) static_cast<void>(igmp_time_now(&receive_record.time_stamp));
    ++frames_received;
}

// A tagged frame leaves its TCI, not its TPID, in tag_tpid; behind two tags the inner VID counts
// and the priority is 0. Both kept on purpose: what the core sends next carries them.
void MldSide::keep_tag(const Framing& framing) {
    mldInitParams.tag_tpid = kTpid;
    mldInitParams.tag_vid = framing.vid();
    mldInitParams.tag_pri = 0;
    if (framing.kind == FrameKind::kTagged || framing.kind == FrameKind::kTaggedPppoe) {
        mldInitParams.tag_tpid = framing.tci;
        mldInitParams.tag_pri = static_cast<std::uint8_t>(framing.tci >> 13);
    }
}

// As many entries as the receive port's number are searched, since the byte that counts them has
// just been overwritten with it: a frame from port 0 always gets the default VLAN. Kept on purpose.
std::uint32_t MldSide::template_vlan(std::uint32_t vlan) {
    const int used = list_used();
    for (int i = 0; i < used; ++i) {
        const std::int32_t entry = mldInitParams.portVlan[i];
        if ((static_cast<std::uint32_t>(entry) & kVidMask) != vlan) continue;
        if (says(kFlow)) std::printf("\r\n[MC_DBG_DBG]: \n vlan is %d", entry);
        return vlan;
    }
    return mldInitParams.defaultVlan;
}

std::uint32_t MldSide::packet_length(const std::uint8_t* packet) {
    return load_be16(packet + kPayloadLengthOffset) + kIpv6Header;
}

std::int32_t MldSide::hand_to_core(const ReceivedFrame& received, std::uint32_t length,
                                   std::uint32_t vlan) {
    receive_record.frame_word =
        static_cast<std::uint16_t>(load_be16(received.frame.bytes) + kFrameWordAdds);
    const std::int32_t ret =
        mld_pkt_recv(received.packet, length, received.at.port, vlan, &receive_record);
    if (ret != 0 && says(kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: mld_pkt_recv ret = %d\r\n", ret);
    }
    return ret;
}

void MldSide::dump_received(const std::uint8_t* frame, std::uint32_t len, std::uint32_t /*port*/) {
    if (frame != nullptr) dump_hex({frame, len}, len);
}

void MldSide::say_entered(std::uint32_t port) {
    if (says(kFlow)) std::printf("\r\n[MC_DBG_DBG]: mldL2PktProc is in! %d\n", port);
}

void MldSide::say_own_frame() {
    if (says(kFlow)) std::puts("\r\n[MC_DBG_DBG]: Error! mld Packet comes from myself!\r");
}

void MldSide::say_received(std::uint32_t port) {
    if (says(kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: \r\n[INFO]Rcieve L2 data on interface %d(%d):\r\n", port,
                    port);
    }
}

void MldSide::say_search_vlan(std::uint32_t vid, std::uint32_t port) {
    if (says(kFlow)) {
        std::printf(
            "\r\n[MC_DBG_DBG]: in mldsearchRecievePktPortCfgVlan vlan_id = %d usPort = %d \r\n",
            vid, port);
    }
}

void MldSide::say_from_uplink() {
    if (says(kFlow)) {
        std::puts("\r\n[MC_DBG_DBG]: recieve paket from uplink,no need vlan config search!\r");
    }
}

void MldSide::say_mode(std::uint32_t mode) {
    if (says(kFlow)) std::printf("\r\n[MC_DBG_DBG]: MLD MODE = %d\r\n", mode);
}

void MldSide::say_kept_from_core(std::uint32_t mode, std::uint32_t port) {
    if (says(kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]: mldL2PktProc  mld_mode = %d usPort = %d\r\n", mode, port);
    }
}

}  // namespace mc

std::int32_t mldL2PktProc(std::uint8_t* frame, std::uint32_t len, std::uint32_t port) {
    return mc::receive<mc::MldSide>(frame, len, port & 0xFF);
}
