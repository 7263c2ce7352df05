// The group records of a report in the newest version, of IGMPv3 or MLDv2:
//
//   message   0  type    2  checksum    6  number of records    8  records
//   record    0  type    1  auxiliary data, in words            2  number of sources
//             4  group, then the sources, then the auxiliary data
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "common/bytes.h"

namespace mcore {

inline constexpr std::size_t kReportHeader = 8;
inline constexpr std::size_t kRecordCountAt = 6;
inline constexpr std::size_t kRecordHeader = 4;
inline constexpr std::size_t kSourceCountAt = 2;

// The record that rest begins with, whole; nothing when it does not fit. Addresses are of so many
// bytes.
[[nodiscard]] inline std::optional<std::span<const std::uint8_t>> first_record(
    std::size_t address, std::span<const std::uint8_t> rest) {
    if (rest.size() < kRecordHeader + address) return std::nullopt;
    const std::size_t sources = mc::load_be16(rest.data() + kSourceCountAt);
    const std::size_t length = kRecordHeader + (1 + sources) * address + rest[1] * std::size_t{4};
    if (rest.size() < length) return std::nullopt;
    return rest.first(length);
}

// Calls each with the bytes of one record after the other, whatever their type; false when one does
// not fit. The report has its header at least.
template <class Each>
bool walk_records(std::size_t address, std::span<const std::uint8_t> report, const Each& each) {
    auto rest = report.subspan(kReportHeader);
    for (std::size_t left = mc::load_be16(report.data() + kRecordCountAt); left > 0; --left) {
        const auto record = first_record(address, rest);
        if (!record) return false;
        each(*record);
        rest = rest.subspan(record->size());
    }
    return true;
}

}  // namespace mcore
