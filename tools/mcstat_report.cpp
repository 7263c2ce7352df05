#include "tools/mcstat_report.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "common/bytes.h"
#include "node/metrics/exposition.h"
#include "node/report/json.h"
#include "node/report/table.h"

namespace mcstat {
namespace {

using report::Json;
using Bytes = std::span<const std::uint8_t>;

std::uint32_t word(const Contents& contents, std::uint32_t offset) {
    return mc::load_be32(contents.data() + offset);
}

Bytes port_record(const Contents& contents, std::uint32_t logical) {
    return Bytes(contents).subspan(mc::kStatusPorts + logical * kPortStatusSize, kPortStatusSize);
}

Bytes group_record(const Contents& contents, std::uint32_t index) {
    return Bytes(contents).subspan(mc::kStatusGroupTable + index * mc::kStatusGroupSize,
                                   mc::kStatusGroupSize);
}

std::uint32_t group_count(const Contents& contents) {
    return std::min(word(contents, mc::kStatusGroupCount), mc::kStatusGroups);
}

std::uint32_t group_limit(const Contents& contents, std::uint32_t logical) {
    return word(contents, mc::kStatusGroupLimits + 4 * logical);
}

// The last of the logical ports is the uplink.
std::uint32_t port_number(std::uint32_t logical) {
    return logical == MC_PORTS - 1 ? std::uint32_t{MC_UPLINK_PORT} : logical;
}

std::string mode_name(std::uint32_t mode) {
    switch (mode) {
        case MC_MODE_SNOOPING:
            return "snooping";
        case MC_MODE_PROXY:
            return "proxy";
        case MC_MODE_CONTROL:
            return "control";
        default:
            return std::to_string(mode);
    }
}

// The command that sets it switches it on with 2 and off with every other number.
std::string fast_leave_name(std::uint32_t mode) {
    constexpr std::uint32_t kOn = 2;
    return (mode == kOn ? "on (" : "off (") + std::to_string(mode) + ")";
}

report::Column column_of(const Field& field) {
    const bool left = field.format == Format::kPort || field.format == Format::kIp ||
                      field.format == Format::kFlag || field.format == Format::kFilter;
    std::string title = field.name;
    std::ranges::replace(title, '-', ' ');
    return {title, left ? report::Align::kLeft : report::Align::kRight};
}

std::string cell(const Field& field, Bytes record) {
    const auto value = value_of(field, record);
    return value ? as_text(field, *value) : "-";
}

Json as_json(const Field& field, Bytes record) {
    const auto value = value_of(field, record);
    if (!value) return {};
    switch (field.format) {
        case Format::kIp:
        case Format::kHex:
        case Format::kFilter:
            return as_text(field, *value);
        case Format::kFlag:
            return *value != 0;
        default:
            return *value;
    }
}

std::string ports_text(const Contents& contents, const Fields& fields, std::size_t width) {
    constexpr std::size_t kPortColumn = 1;
    std::vector<report::Column> columns{{"port", report::Align::kLeft}, {"group limit"}};
    for (const Field& field : fields.port) columns.push_back(column_of(field));
    report::Table table("Ports", columns);
    for (std::uint32_t logical = 0; logical < MC_PORTS; ++logical) {
        const std::uint32_t limit = group_limit(contents, logical);
        std::vector<std::string> row{port_name(port_number(logical)),
                                     limit == 0 ? "-" : std::to_string(limit)};
        for (const Field& field : fields.port) {
            row.push_back(cell(field, port_record(contents, logical)));
        }
        table.add(row);
    }
    return table.text(width, kPortColumn);
}

// As far as the group's address, before which are the port and what else tells groups apart.
std::size_t columns_of_key(const std::vector<Field>& fields) {
    const auto address = std::ranges::find(fields, Format::kIp, &Field::format);
    return address == fields.end() ? 0 : static_cast<std::size_t>(address - fields.begin()) + 1;
}

std::string groups_text(const Contents& contents, const Fields& fields, std::size_t width) {
    std::vector<report::Column> columns;
    for (const Field& field : fields.group) columns.push_back(column_of(field));
    report::Table table("IGMP groups", columns);
    for (std::uint32_t i = 0; i < group_count(contents) && !columns.empty(); ++i) {
        std::vector<std::string> row;
        for (const Field& field : fields.group) {
            row.push_back(cell(field, group_record(contents, i)));
        }
        table.add(row);
    }
    return table.text(width, columns_of_key(fields.group));
}

Json fields_json(const std::vector<Field>& fields, Bytes record) {
    Json object = Json::object();
    for (const Field& field : fields) object.set(key_of(field.name), as_json(field, record));
    return object;
}

Json port_json(const Contents& contents, const Fields& fields, std::uint32_t logical) {
    const std::uint32_t limit = group_limit(contents, logical);
    return Json::object({{"port", port_number(logical)},
                         {"name", port_name(port_number(logical))},
                         {"group_limit", limit == 0 ? Json() : Json(limit)},
                         {"status", fields_json(fields.port, port_record(contents, logical))}});
}

// Of the groups that are listed; those of no port are left out.
std::uint64_t groups_of_port(const Contents& contents, const Fields& fields, std::uint32_t port) {
    const auto field = std::ranges::find(fields.group, Format::kPort, &Field::format);
    if (field == fields.group.end()) return 0;
    std::uint64_t groups = 0;
    for (std::uint32_t i = 0; i < group_count(contents); ++i) {
        if (value_of(*field, group_record(contents, i)) == port) ++groups;
    }
    return groups;
}

}  // namespace

std::string report_text(const Contents& contents, const Fields& fields, std::size_t width) {
    const std::uint32_t fast_leave = word(contents, mc::kStatusFastLeave);
    return "Mode        " + mode_name(word(contents, mc::kStatusMode)) + "\nFast leave  " +
           fast_leave_name(fast_leave) + "\n\n" + ports_text(contents, fields, width) + "\n" +
           groups_text(contents, fields, width) + "\nGroups of MLD are not in the segment.\n";
}

std::string report_json(const Contents& contents, const Fields& fields) {
    Json ports = Json::array();
    for (std::uint32_t logical = 0; logical < MC_PORTS; ++logical) {
        ports.add(port_json(contents, fields, logical));
    }
    Json groups = Json::array();
    for (std::uint32_t i = 0; i < group_count(contents); ++i) {
        groups.add(fields_json(fields.group, group_record(contents, i)));
    }
    const Json object = Json::object({{"mode", word(contents, mc::kStatusMode)},
                                      {"mode_name", mode_name(word(contents, mc::kStatusMode))},
                                      {"fast_leave", word(contents, mc::kStatusFastLeave)},
                                      {"ports", ports},
                                      {"groups", groups}});
    return object.text();
}

// What a field of a description is called is its user's choice, so it is a label and no name.
std::string report_metrics(const Contents& contents, const Fields& fields) {
    metrics::Exposition text;
    text.gauge("mc_status_mode", "Multicast mode of the IGMP side: 1 where it is this one.");
    text.sample({{"mode", mode_name(word(contents, mc::kStatusMode))}}, 1);
    text.gauge("mc_status_fast_leave", "The global fast leave, as the command set it.");
    text.sample({}, word(contents, mc::kStatusFastLeave));
    text.gauge("mc_status_group_limit", "How many groups a port may join; 0 is not set.");
    for (std::uint32_t logical = 0; logical < MC_PORTS; ++logical) {
        text.sample({{"port", port_name(port_number(logical))}}, group_limit(contents, logical));
    }
    text.gauge("mc_status_port", "What the core tells about a port.");
    for (std::uint32_t logical = 0; logical < MC_PORTS; ++logical) {
        for (const Field& field : fields.port) {
            const auto value = value_of(field, port_record(contents, logical));
            if (!value) continue;
            text.sample({{"port", port_name(port_number(logical))}, {"field", field.name}}, *value);
        }
    }
    text.gauge("mc_status_groups", "IGMP groups in the status segment.");
    for (std::uint32_t logical = 0; logical < MC_PORTS; ++logical) {
        const std::uint32_t port = port_number(logical);
        text.sample({{"port", port_name(port)}}, groups_of_port(contents, fields, port));
    }
    return text.families();
}

}  // namespace mcstat
