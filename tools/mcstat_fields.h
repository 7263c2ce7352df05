// What the protocol core put into a port's status and into a group record. The library carries both
// without knowing what they mean, so a description says it. It is text, a field a line:
//
//     # record  name    offset  width  format
//     port      groups       0      4  number
//     group     group        4      4  ip
//
// Offsets count from the start of the record, as it lies in the status segment; a width is 1, 2 or
// 4 bytes, big-endian. Formats:
//
//     number    decimal                          port      0 to 5, or 29 for the uplink
//     limit     decimal, 0 is none               ip        IPv4 address, 4 bytes
//     vlan      decimal                          seconds   decimal, all ones is never
//     hex       with a leading 0x                flag      0 is no, anything else is yes
//     filter    1 include, 2 exclude
//
// A name is anything that can be printed, without blanks and backslashes.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "adapt/status_layout.h"

namespace mcstat {

inline constexpr std::uint32_t kPortStatusSize = MC_STATUS_PORT_SIZE;

// A description that cannot be used; what() says why, and repeats words as they were given.
struct FieldsError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

enum class Format : std::uint8_t {
    kNumber,
    kLimit,
    kPort,
    kIp,
    kVlan,
    kSeconds,
    kHex,
    kFlag,
    kFilter,
};

struct Field {
    std::string name;
    std::uint32_t offset = 0;
    std::uint32_t width = 0;
    Format format = Format::kNumber;
};

// In the order of their columns.
struct Fields {
    std::vector<Field> port;
    std::vector<Field> group;
};

// The description of the multicast core's records, as text.
[[nodiscard]] std::string default_description();

// name is what complaints call the text: "NAME:LINE: why". Throws FieldsError.
[[nodiscard]] Fields parse_fields(const std::string& text, const std::string& name);
[[nodiscard]] Fields read_fields(const std::filesystem::path& file);

// What JSON calls a field of this name. No two fields of a record have the same there.
[[nodiscard]] std::string key_of(std::string name);

// The field's value in a record; nothing for no limit, or for a time that never comes.
[[nodiscard]] std::optional<std::uint32_t> value_of(const Field& field,
                                                    std::span<const std::uint8_t> record);

[[nodiscard]] std::string as_text(const Field& field, std::uint32_t value);

// "port0" to "port5", "uplink"; another number as it is.
[[nodiscard]] std::string port_name(std::uint32_t port);

}  // namespace mcstat
