// Trapped frames that the library is not to see. The library forwards IGMP and MLD as they come,
// the core alone looks at what they say; what a switch should not forward is kept from both:
//
//   damaged messages        RFC 3376, 4.1.2 and 4.2.2; RFC 4541, 2.1.1: a switch should not forward
//                           them
//   reports of the uplink   RFC 4541, 2.1.1, 1a: a switch forwards reports to router ports only.
//   Here
//                           they would go to all users, whose hosts would then keep silent.
//
// A fragment is not looked into: its message is whole nowhere.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace driver {

enum class Refusal : std::uint8_t {
    kIpChecksum,        // of the IPv4 header
    kChecksum,          // of the IGMP or ICMPv6 message
    kTruncated,         // less in the frame than the packet says, or in the message than it needs
    kReportFromUplink,  // or a leave, or a done
};

inline constexpr std::size_t kRefusals = static_cast<std::size_t>(Refusal::kReportFromUplink) + 1;

// "wrong checksum", say.
[[nodiscard]] std::string_view name(Refusal reason);

// Why a frame that is trapped is refused; nothing when it is not.
[[nodiscard]] std::optional<Refusal> refuse(std::span<const std::uint8_t> frame, bool from_uplink);

// Frames refused, by reason.
struct RefusalCounts {
    std::array<std::uint64_t, kRefusals> of{};

    void count(Refusal reason) { ++of[static_cast<std::size_t>(reason)]; }
    [[nodiscard]] std::uint64_t operator[](Refusal reason) const {
        return of[static_cast<std::size_t>(reason)];
    }
    [[nodiscard]] std::uint64_t total() const;
    RefusalCounts& operator+=(const RefusalCounts& more);
};

}  // namespace driver
