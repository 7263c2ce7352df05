// The shared status segment: System V shared memory, key 82, through which other processes read
// what the library knows. Every word in it is big-endian on every machine.
//
//   offset   size       field
//   0        4          number of group records in use
//   4        512 x 28   group records
//   14340    7 x 16     status of each logical port, four words
//   14452    4          fast leave mode of all ports, as last commanded
//   14456    4          reserved
//   14460    7 x 4      group limit of each logical port
//   14488    4          1 from the reset of the parameters, then the internal multicast mode
#pragma once

#include <cstdint>
#include <span>

#include "adapt/records.h"

namespace mc {

constexpr int kStatusSegmentKey = 82;
constexpr std::uint32_t kStatusSegmentSize = 14492;

constexpr std::uint32_t kStatusGroups = 512;  // records
constexpr std::uint32_t kStatusGroupSize = 28;

constexpr std::uint32_t kStatusGroupCount = 0;
constexpr std::uint32_t kStatusGroupTable = 4;
constexpr std::uint32_t kStatusPorts = 14340;
constexpr std::uint32_t kStatusFastLeave = 14452;
constexpr std::uint32_t kStatusGroupLimits = 14460;
constexpr std::uint32_t kStatusMode = 14488;

static_assert(kStatusGroupTable + kStatusGroups * kStatusGroupSize == kStatusPorts);
static_assert(kStatusPorts + 16 * MC_PORTS == kStatusFastLeave);
static_assert(kStatusGroupLimits + 4 * MC_PORTS == kStatusMode);
static_assert(kStatusMode + 4 == kStatusSegmentSize);

// False while there is no segment: not yet attached, or refused (shmat answers all-ones then).
bool status_attached();

// Stores a word. Without a segment nothing happens: whoever sets a mode or a limit must not care.
void status_store_word(std::uint32_t offset, std::uint32_t value);
// The same for bytes that are stored as they are.
void status_store_bytes(std::uint32_t offset, std::span<const std::uint8_t> bytes);

}  // namespace mc
