// The library's side of the shared status segment, whose layout is in adapt/status_layout.h: the
// same places as unsigned constants, and who stores there.
#pragma once

#include <cstdint>
#include <span>

#include "adapt/status_layout.h"

namespace mc {

constexpr int kStatusSegmentKey = MC_STATUS_KEY;
constexpr std::uint32_t kStatusSegmentSize = MC_STATUS_SIZE;

constexpr std::uint32_t kStatusGroups = MC_STATUS_GROUPS;  // records
constexpr std::uint32_t kStatusGroupSize = MC_STATUS_GROUP_SIZE;

constexpr std::uint32_t kStatusGroupCount = MC_STATUS_GROUP_COUNT;
constexpr std::uint32_t kStatusGroupTable = MC_STATUS_GROUP_TABLE;
constexpr std::uint32_t kStatusPorts = MC_STATUS_PORTS;
constexpr std::uint32_t kStatusFastLeave = MC_STATUS_FAST_LEAVE;
constexpr std::uint32_t kStatusGroupLimits = MC_STATUS_GROUP_LIMITS;
constexpr std::uint32_t kStatusMode = MC_STATUS_MODE;

// False while there is no segment: not yet attached, or refused (shmat answers all-ones then).
bool status_attached();

// Stores a word. Without a segment nothing happens: whoever sets a mode or a limit must not care.
void status_store_word(std::uint32_t offset, std::uint32_t value);
// The same for bytes that are stored as they are.
void status_store_bytes(std::uint32_t offset, std::span<const std::uint8_t> bytes);

}  // namespace mc
