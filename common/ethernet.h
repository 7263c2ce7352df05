// Ethernet framing as the switch traps it: where the tag, the ethertype and the packet are, and the
// tag edits that forwarding makes.
#pragma once

#include <cstdint>
#include <cstring>
#include <initializer_list>

#include "common/bytes.h"

namespace mc {

constexpr std::uint16_t kTpid = 0x8100;  // IEEE 802.1Q C-tag
constexpr std::uint16_t kEtherTypeIpv4 = 0x0800;
constexpr std::uint16_t kEtherTypeIpv6 = 0x86DD;
constexpr std::uint16_t kEtherTypePppoe = 0x8864;  // RFC 2516 session stage

// Of a TCI.
constexpr std::uint16_t kVidMask = 0x0FFF;
constexpr std::uint16_t kNoDeiMask = 0xEFFF;  // what forwarding writes never carries the DEI bit

constexpr std::uint32_t kMacLength = 6;
constexpr std::uint32_t kMacsLength = 12;       // destination and source
constexpr std::uint32_t kTagLength = 4;         // TPID and TCI
constexpr std::uint32_t kEthernetHeader = 14;   // MACs and ethertype
constexpr std::uint32_t kLongestFrame = 2000;   // longest frame that reception lets through
constexpr std::uint32_t kTransmitFrame = 1518;  // longest frame built around a packet of the core

// What a received frame is framed in. A minimum length belongs to each kind; the packet of a frame
// that is too short must not be looked at.
enum class FrameKind : std::uint8_t { kUntagged, kPppoe, kTagged, kTaggedPppoe, kDoubleTagged };

struct Framing {
    FrameKind kind;
    bool too_short;
    std::uint16_t tci;            // of the tag that counts; 0 without one
    std::uint16_t ethertype;      // what the packet is taken for; not set when too short
    std::uint16_t packet_offset;  // not set when too short

    constexpr std::uint16_t vid() const { return tci & kVidMask; }
};

// Reads the framing of a frame of len bytes whose buffer is readable to the ethertype of each kind.
//
//   kind           bytes from 12 on                     least  VID of   ethertype  packet
//   tagged PPPoE   8100 8864                               22  bytes 14        20      22
//   double-tagged  8100 TCI  8100 TCI                      18  bytes 18        20      22
//   tagged         8100 TCI                                18  bytes 14        16      18
//   PPPoE          8864                                    22  none            20      22
//   untagged       anything else                           14  none            12      14
//
// Kept on purpose: PPPoE behind a tag is told by the TCI (a tag with PCP 4 and VID 0x864), not by
// the type behind it; both PPPoE kinds look for an ethertype where the PPP protocol field is; and a
// double-tagged frame passes with the length of a single-tagged one.
Framing parse_framing(const std::uint8_t* frame, std::uint32_t len);

// Two bytes that differ are found sooner than a call of memcmp returns: most addresses differ in
// the first.
constexpr bool is_mac(const std::uint8_t* bytes, const std::uint8_t (&mac)[kMacLength]) {
    for (std::uint32_t i = 0; i < kMacLength; ++i) {
        if (bytes[i] != mac[i]) return false;
    }
    return true;
}

// A received frame, 14 to kLongestFrame bytes, that forwarding may rewrite in place.
struct Frame {
    std::uint8_t* bytes;
    std::uint32_t len;
};

inline bool is_tagged(const Frame& frame) {
    return frame.len >= kMacsLength + kTagLength && load_be16(frame.bytes + kMacsLength) == kTpid;
}

// Gives a tagged frame another TCI, in place.
inline void write_tci(const Frame& frame, std::uint16_t tci) {
    store_be16(frame.bytes + kMacsLength + 2, tci);
}

// Writes a tag over the 4 bytes behind the MACs, in place. The frame must have them.
inline void write_tag(const Frame& frame, std::uint16_t tci) {
    store_be16(frame.bytes + kMacsLength, kTpid);
    write_tci(frame, tci);
}

// Where forwarding builds a frame with other tags. It is at first the frame itself, and bytes
// behind what an edit writes stay as they are. Most frames need no copy, and most edits write all
// of it: it is made when it is first needed.
class WorkingCopy {
 public:
    // The frame as it is now. Needed before a first edit that others follow.
    void fill(const Frame& frame);

    // Rebuilds the frame as its MACs, the given tags, and the rest of it from byte `from` on (12:
    // all that follows the MACs, 16: all that follows a tag). Returns the length that this makes.
    std::uint32_t rebuild(const Frame& frame, std::initializer_list<std::uint16_t> tcis,
                          std::uint32_t from);

    // Behind the first fill or edit.
    std::uint8_t* bytes() { return bytes_; }

 private:
    // cppcheck-suppress uninitMemberVarPrivate ; filled before it is read, and clearing 2 KB a
    // frame is not free
    std::uint8_t bytes_[kLongestFrame + 2 * kTagLength];
    bool is_filled_ = false;
};

constexpr std::uint32_t kBehindMacs = kMacsLength;
constexpr std::uint32_t kBehindTag = kMacsLength + kTagLength;

}  // namespace mc
