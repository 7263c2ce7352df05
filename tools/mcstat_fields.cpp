#include "tools/mcstat_fields.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string_view>

#include "adapt/status_segment.h"
#include "common/bytes.h"
#include "node/report/printable.h"

namespace mcstat {
namespace {

// tools/mcstat-fields.txt holds the same for those who want to change it; a test compares them.
constexpr std::string_view kDefault =
    R"(# What the multicast core puts into the status of a port and into a group record. Give a changed
# copy to "mcstat --fields". Formats: number, limit (0 is none), port, ip, vlan, seconds (all ones
# is never), hex, flag, filter (1 include, 2 exclude).
#
# record  name             offset  width  format

port      groups                0      4  number
port      core-limit            4      4  limit
port      bandwidth             8      4  number
port      bandwidth-limit      12      4  limit

group     port                  0      1  port
group     vlan                  8      4  vlan
group     group                 4      4  ip
group     version               1      1  number
group     filter               24      1  filter
group     sources              25      1  number
group     last-reporter        12      4  ip
group     age                  16      4  seconds
group     expires              20      4  seconds
group     in-switch            26      1  flag
)";

struct FormatName {
    std::string_view name;
    Format format;
};

constexpr std::array<FormatName, 9> kFormats{{
    {"number", Format::kNumber},
    {"limit", Format::kLimit},
    {"port", Format::kPort},
    {"ip", Format::kIp},
    {"vlan", Format::kVlan},
    {"seconds", Format::kSeconds},
    {"hex", Format::kHex},
    {"flag", Format::kFlag},
    {"filter", Format::kFilter},
}};

// Decimal digits alone; what is too large for any record is as good as no number.
std::uint32_t parse_number(const std::string& text, const char* what) {
    constexpr std::size_t kLongest = 4;
    const bool digits = text.find_first_not_of("0123456789") == std::string::npos;
    if (text.empty() || text.size() > kLongest || !digits) {
        throw FieldsError(std::string("the ") + what + " '" + text + "' is no number that fits");
    }
    return static_cast<std::uint32_t>(std::stoul(text));
}

Format parse_format(const std::string& text) {
    const auto known = std::ranges::find(kFormats, std::string_view(text), &FormatName::name);
    if (known != kFormats.end()) return known->format;
    std::string names;
    for (const FormatName& format : kFormats) {
        names += (names.empty() ? "" : ", ") + std::string(format.name);
    }
    throw FieldsError("there is no format '" + text + "', only " + names);
}

void check(const Field& field, std::uint32_t record_size) {
    if (field.width != 1 && field.width != 2 && field.width != 4) {
        throw FieldsError("the width is not 1, 2 or 4");
    }
    if (field.offset + field.width > record_size) {
        throw FieldsError("the field ends behind the record, which has " +
                          std::to_string(record_size) + " bytes");
    }
    if (field.format == Format::kIp && field.width != 4) {
        throw FieldsError("an ip takes 4 bytes");
    }
}

// A name goes to the terminal as the title of a column.
void check_name(const std::vector<Field>& list, const std::string& name) {
    if (report::printable(name) != name) {
        throw FieldsError("the name '" + name + "' holds a backslash or what cannot be printed");
    }
    const auto is_same = [&](const Field& each) { return key_of(each.name) == key_of(name); };
    if (std::ranges::any_of(list, is_same)) {
        throw FieldsError("'" + name + "' is there twice");
    }
}

void add_line(Fields& fields, const std::string& line) {
    std::istringstream words(line.substr(0, line.find('#')));
    std::vector<std::string> parts;
    for (std::string word; words >> word;) parts.push_back(word);
    if (parts.empty()) return;
    if (parts.size() != 5)
        throw FieldsError("five words are needed: record, name, offset, width, format");

    const bool is_port = parts[0] == "port";
    if (!is_port && parts[0] != "group") {
        throw FieldsError("'" + parts[0] + "' is no record, there are port and group");
    }
    const Field field{parts[1], parse_number(parts[2], "offset"), parse_number(parts[3], "width"),
                      parse_format(parts[4])};
    check(field, is_port ? kPortStatusSize : mc::kStatusGroupSize);
    std::vector<Field>& list = is_port ? fields.port : fields.group;
    check_name(list, field.name);
    list.push_back(field);
}

std::string hex(const Field& field, std::uint32_t value) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%0*x", static_cast<int>(2 * field.width), value);
    return text.data();
}

std::string address(std::uint32_t value) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%u.%u.%u.%u", value >> 24, value >> 16 & 0xFF,
                  value >> 8 & 0xFF, value & 0xFF);
    return text.data();
}

std::string filter(std::uint32_t value) {
    if (value == 1) return "include";
    if (value == 2) return "exclude";
    return std::to_string(value);
}

// No limit, or a time that never comes.
bool is_nothing(const Field& field, std::uint32_t value) {
    if (field.format == Format::kLimit) return value == 0;
    return field.format == Format::kSeconds && value == UINT32_MAX >> (32 - 8 * field.width);
}

}  // namespace

std::string default_description() { return std::string(kDefault); }

Fields parse_fields(const std::string& text, const std::string& name) {
    Fields fields;
    std::istringstream lines(text);
    std::size_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        try {
            add_line(fields, line);
        } catch (const FieldsError& error) {
            throw FieldsError(name + ":" + std::to_string(number) + ": " + error.what());
        }
    }
    return fields;
}

Fields read_fields(const std::filesystem::path& file) {
    std::ifstream in(file);
    std::string text;
    for (std::string line; std::getline(in, line);) text += line + "\n";
    // A file that does not open, and a folder, never come to their end.
    if (!in.eof()) throw FieldsError(file.string() + ": cannot be read");
    return parse_fields(text, file.string());
}

std::string key_of(std::string name) {
    std::ranges::replace(name, '-', '_');
    return name;
}

std::optional<std::uint32_t> value_of(const Field& field, std::span<const std::uint8_t> record) {
    std::uint32_t value = 0;
    for (const std::uint8_t byte : record.subspan(field.offset, field.width)) {
        value = value << 8 | byte;
    }
    if (is_nothing(field, value)) return std::nullopt;
    return value;
}

std::string as_text(const Field& field, std::uint32_t value) {
    switch (field.format) {
        case Format::kPort:
            return port_name(value);
        case Format::kIp:
            return address(value);
        case Format::kHex:
            return hex(field, value);
        case Format::kFlag:
            return value != 0 ? "yes" : "no";
        case Format::kFilter:
            return filter(value);
        default:
            return std::to_string(value);
    }
}

std::string port_name(std::uint32_t port) {
    if (port == MC_UPLINK_PORT) return "uplink";
    return port < MC_PORTS - 1 ? "port" + std::to_string(port) : std::to_string(port);
}

}  // namespace mcstat
