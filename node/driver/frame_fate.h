// What became of a frame that the library took: each is handed to the core, sent on, both, or
// neither, and then there is a reason.
//
// The library tells none of this. What it does with a frame it does before it asks for the next
// one, on the same thread: what is sent there meanwhile, and not by the core, is the frame.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace driver {

// Why the library does nothing with a frame that the trap lets through.
enum class LibraryDrop : std::uint8_t {
    kOwnFrame,        // its source is the library's own address: the network has sent it back
    kIgmpToNoGroup,   // by the first bytes of the destination it is MLD, by its type it is not
    kMldToIpv4Group,  // the other way round
    kPppProtocol,     // the library looks for an Ethernet type there
    kPppoeBehindTag,  // it looks for PPPoE behind no tag
    kTakenForPppoe,   // a tag that reads like the type of PPPoE
    kOther,
};

inline constexpr std::size_t kLibraryDrops = static_cast<std::size_t>(LibraryDrop::kOther) + 1;

[[nodiscard]] std::string_view name(LibraryDrop reason);

// The library's records of its own addresses, which may change; without them no frame is its own.
struct OwnAddresses {
    std::span<const std::uint8_t, 6> igmp;
    std::span<const std::uint8_t, 6> mld;
};
// Before the library starts.
void know_own_frames(const OwnAddresses& addresses);

// Why the library drops the frame, if it does: one that is trapped and is not refused.
[[nodiscard]] LibraryDrop explain_drop(std::span<const std::uint8_t> frame);

// Each frame is in one of the kinds.
struct FateCounts {
    std::uint64_t core_and_sent = 0;
    std::uint64_t core_only = 0;
    std::uint64_t sent_only = 0;
    std::array<std::uint64_t, kLibraryDrops> drops{};

    [[nodiscard]] std::uint64_t dropped() const;
    [[nodiscard]] std::uint64_t total() const {
        return core_and_sent + core_only + sent_only + dropped();
    }
    FateCounts& operator+=(const FateCounts& more);
};

struct FrameFate {
    std::size_t slot;  // of the port that it came in on
    bool to_core;
    bool sent;
    LibraryDrop reason;  // where it is neither
};

void count(const FrameFate& fate, FateCounts& counts);

// A frame is in hand from its delivery until the library asks for the next one, both on the thread
// that reads.
void take_in_hand(std::size_t slot, std::span<const std::uint8_t> frame,
                  std::uint64_t arrived_ns = 0);
[[nodiscard]] std::optional<FrameFate> put_down();  // nothing when there was none

// For whoever is asked to send, on any thread.
void note_sent();

// When the frame in hand of the calling thread arrived, as it was told; nothing without one.
[[nodiscard]] std::optional<std::uint64_t> arrival_in_hand();

}  // namespace driver
