#include "node/driver/frame_fate.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "common/bytes.h"
#include "common/ethernet.h"
#include "node/core/handed.h"
#include "node/driver/trap_filter.h"

namespace driver {
namespace {

constexpr std::size_t kTypeBehindTag = mc::kMacsLength + mc::kTagLength;
constexpr std::size_t kPppProtocolAt = 20;  // behind the header of PPPoE without a tag

struct InHand {
    std::size_t slot;
    std::uint64_t handed_before;
    LibraryDrop reason;  // told at once: the library rewrites frames in place
    std::uint64_t arrived_ns;
    bool is_sent = false;
};

thread_local std::optional<InHand> in_hand;

std::optional<OwnAddresses> own_addresses;

bool is_to_ipv4_group(std::span<const std::uint8_t> frame) {
    return frame[0] == 0x01 && frame[1] == 0x00 && frame[2] == 0x5E;
}

bool comes_from_library(std::span<const std::uint8_t> frame) {
    if (!own_addresses) return false;
    const auto source = frame.subspan(mc::kMacLength, mc::kMacLength);
    return std::ranges::equal(source,
                              is_to_ipv4_group(frame) ? own_addresses->igmp : own_addresses->mld);
}

// What the library makes of the framing (common/ethernet.h) where it is not what the trap makes.
std::optional<LibraryDrop> explain_framing(std::span<const std::uint8_t> frame) {
    const std::uint16_t type = mc::load_be16(&frame[mc::kMacsLength]);
    if (type == mc::kEtherTypePppoe) {
        const std::uint16_t protocol = mc::load_be16(&frame[kPppProtocolAt]);
        const bool is_type = protocol == mc::kEtherTypeIpv4 || protocol == mc::kEtherTypeIpv6;
        if (!is_type) return LibraryDrop::kPppProtocol;
        return std::nullopt;
    }
    if (type != mc::kTpid) return std::nullopt;
    const std::uint16_t tci = mc::load_be16(&frame[mc::kMacsLength + 2]);
    if (tci == mc::kEtherTypePppoe) return LibraryDrop::kTakenForPppoe;
    std::uint16_t behind = mc::load_be16(&frame[kTypeBehindTag]);
    if (behind == mc::kTpid) behind = mc::load_be16(&frame[kTypeBehindTag + mc::kTagLength]);
    if (behind == mc::kEtherTypePppoe) return LibraryDrop::kPppoeBehindTag;
    return std::nullopt;
}

}  // namespace

std::string_view name(LibraryDrop reason) {
    switch (reason) {
        case LibraryDrop::kOwnFrame:
            return "sent by the node itself";
        case LibraryDrop::kIgmpToNoGroup:
            return "IGMP to a MAC address of no IPv4 group";
        case LibraryDrop::kMldToIpv4Group:
            return "MLD to a MAC address of an IPv4 group";
        case LibraryDrop::kPppProtocol:
            return "PPPoE with a PPP protocol number";
        case LibraryDrop::kPppoeBehindTag:
            return "PPPoE behind a tag";
        case LibraryDrop::kTakenForPppoe:
            return "tag of VID 2148 and priority 4, taken for PPPoE";
        case LibraryDrop::kOther:
            return "not taken by the library";
    }
    return "";
}

LibraryDrop explain_drop(std::span<const std::uint8_t> frame) {
    if (comes_from_library(frame)) return LibraryDrop::kOwnFrame;
    if (const auto framing = explain_framing(frame)) return *framing;
    const bool is_mld = classify(frame) == TrapVerdict::kMld;
    if (is_mld && is_to_ipv4_group(frame)) return LibraryDrop::kMldToIpv4Group;
    if (!is_mld && !is_to_ipv4_group(frame)) return LibraryDrop::kIgmpToNoGroup;
    return LibraryDrop::kOther;
}

std::uint64_t FateCounts::dropped() const {
    return std::accumulate(drops.begin(), drops.end(), std::uint64_t{0});
}

FateCounts& FateCounts::operator+=(const FateCounts& more) {
    core_and_sent += more.core_and_sent;
    core_only += more.core_only;
    sent_only += more.sent_only;
    for (std::size_t i = 0; i < drops.size(); ++i) drops[i] += more.drops[i];
    return *this;
}

void count(const FrameFate& fate, FateCounts& counts) {
    if (fate.to_core) {
        ++(fate.sent ? counts.core_and_sent : counts.core_only);
    } else if (fate.sent) {
        ++counts.sent_only;
    } else {
        ++counts.drops[static_cast<std::size_t>(fate.reason)];
    }
}

void know_own_frames(const OwnAddresses& addresses) { own_addresses = addresses; }

void take_in_hand(std::size_t slot, std::span<const std::uint8_t> frame, std::uint64_t arrived_ns) {
    in_hand = InHand{slot, mcore::handed.packets, explain_drop(frame), arrived_ns};
}

std::optional<FrameFate> put_down() {
    const auto frame = std::exchange(in_hand, std::nullopt);
    if (!frame) return std::nullopt;
    const bool to_core = mcore::handed.packets != frame->handed_before;
    return FrameFate{frame->slot, to_core, frame->is_sent, frame->reason};
}

std::optional<std::uint64_t> arrival_in_hand() {
    if (!in_hand) return std::nullopt;
    return in_hand->arrived_ns;
}

void note_sent() {
    if (in_hand && !mcore::handed.is_inside) in_hand->is_sent = true;
}

}  // namespace driver
