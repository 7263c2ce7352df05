// The frames that the probes send: reports and leaves as hosts send them, and stream frames. Groups
// and hosts are numbers, so that both ends of a measurement agree on a group without writing it
// out.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace bench {

using Frame = std::vector<std::uint8_t>;
using FrameView = std::span<const std::uint8_t>;

enum class Kind { kIgmpV2, kIgmpV3, kMldV1, kMldV2 };
inline constexpr Kind kKinds[] = {Kind::kIgmpV2, Kind::kIgmpV3, Kind::kMldV1, Kind::kMldV2};

inline constexpr std::uint16_t kStreamPort = 5004;

const char* name(Kind kind);
Kind kind_named(const std::string& text);  // throws std::invalid_argument
bool is_mld(Kind kind);

// The group's address, packed: 4 bytes for the IGMP kinds, 16 for the MLD ones.
std::vector<std::uint8_t> group_address(Kind kind, std::uint32_t group);
std::string group_text(Kind kind, std::uint32_t group);

Frame report(Kind kind, std::uint32_t group, std::uint8_t host);
Frame leave(Kind kind, std::uint32_t group, std::uint8_t host);
Frame igmp_general_query();
Frame stream(Kind kind, std::uint32_t group);

// Whether this is a stream frame to that group.
bool is_stream(FrameView frame, Kind kind, std::uint32_t group);

}  // namespace bench
