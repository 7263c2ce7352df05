#include "node/config/group_difference.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "command/config_commands.h"
#include "node/config/record_fields.h"

namespace config {
namespace {

Lines lines_of(std::string_view path, const Lines& lines) {
    Lines found;
    for (const std::string& line : lines) {
        if (line.starts_with(path)) found.push_back(line);
    }
    return found;
}

bool holds(const Lines& lines, const std::string& line) {
    return std::ranges::find(lines, line) != lines.end();
}

std::string in_place_of(std::string_view path, std::string_view other, const std::string& line) {
    return std::string(other) + line.substr(path.size());
}

// ---- Ranges -------------------------------------------------------------------------------------

constexpr std::string_view kAddRange = "auth add-only ";
constexpr std::string_view kRangeSwitch = "auth range ";

struct Range {
    std::uint32_t port;
    std::uint32_t start;
    std::uint32_t end;
    std::uint16_t vlan;

    bool operator==(const Range&) const = default;
};

Range range_in(const std::string& line) {
    using Fields = mc::GroupRange;
    const RecordFields fields(line);
    return {fields[Fields::port], fields[Fields::start], fields[Fields::end], fields[Fields::vlan]};
}

bool has_range(const Lines& lines, const Range& range) {
    return std::ranges::any_of(lines,
                               [&](const std::string& line) { return range_in(line) == range; });
}

std::string delete_range_line(const Range& range) {
    return "auth delete " + port_option(range.port) + " --start " + ipv4_word(range.start) +
           " --end " + ipv4_word(range.end) + " --vlan " + std::to_string(range.vlan);
}

// A range that is there gets another bandwidth where it stands, so lines are the same by their
// range. Those that stay are the ones with which the wanted ones begin.
std::vector<bool> staying(const Lines& are, const Lines& shall_be) {
    std::map<std::uint32_t, std::vector<Range>> left;
    for (const std::string& line : shall_be) left[range_in(line).port].push_back(range_in(line));
    std::vector<bool> stays;
    for (const std::string& line : are) {
        const Range range = range_in(line);
        std::vector<Range>& of_port = left[range.port];
        stays.push_back(!of_port.empty() && of_port.front() == range);
        if (stays.back()) of_port.erase(of_port.begin());
    }
    return stays;
}

// Off first where it allows more, on last where it allows less.
void change_range_switches(const Lines& running, const Lines& wanted, bool to_on, Lines& posted) {
    const Lines on = lines_of(kRangeSwitch, running);
    const Lines shall_be_on = lines_of(kRangeSwitch, wanted);
    for (const std::string& line : to_on ? shall_be_on : on) {
        if (holds(to_on ? on : shall_be_on, line)) continue;
        posted.push_back(to_on ? line : line.substr(0, line.rfind(' ')) + " off");
    }
}

// ---- Control lists ------------------------------------------------------------------------------

constexpr std::string_view kAddControl = "control-list add ";

// Ranges in a row by port and VLAN, the last address with the first.
using Addresses = std::map<std::uint32_t, std::uint32_t>;
using ListKey = std::pair<std::uint32_t, std::uint16_t>;
using ControlLists = std::map<ListKey, Addresses>;

ControlLists control_lists_in(const Lines& lines) {
    using Fields = mc::SetControlList;
    ControlLists lists;
    for (const std::string& line : lines_of(kAddControl, lines)) {
        const RecordFields fields(line);
        lists[{fields[Fields::port], fields[Fields::vlan]}][fields[Fields::start]] =
            fields[Fields::end];
    }
    return lists;
}

// What of `all` is not in `others`; both without overlaps.
Addresses without(Addresses all, const Addresses& others) {
    for (const auto& [first, last] : others) {
        Addresses left;
        for (const auto& [start, end] : all) {
            if (end < first || start > last) {
                left[start] = end;
                continue;
            }
            if (start < first) left[start] = first - 1;
            if (end > last) left[last + 1] = end;
        }
        all = std::move(left);
    }
    return all;
}

void write_control_lines(const char* action, const ControlLists& lists, const ControlLists& others,
                         Lines& posted) {
    for (const auto& [key, addresses] : lists) {
        const auto found = others.find(key);
        const Addresses changed =
            found == others.end() ? addresses : without(addresses, found->second);
        for (const auto& [start, end] : changed) {
            std::string line = std::string("control-list ") + action + " " +
                               port_option(key.first) + " --start " + ipv4_word(start);
            if (end != start) line += " --end " + ipv4_word(end);
            posted.push_back(line + " --vlan " + std::to_string(key.second));
        }
    }
}

bool has_port(const ControlLists& lists, std::uint32_t port) {
    const auto found = lists.lower_bound({port, 0});
    return found != lists.end() && found->first.first == port;
}

// A list that ends whole is cleared by one address, and what the others have had goes from it.
void clear_control_lists(ControlLists& are, const ControlLists& shall_be, Lines& posted) {
    for (auto list = are.begin(); list != are.end();) {
        const std::uint32_t port = list->first.first;
        if (has_port(shall_be, port)) {
            ++list;
            continue;
        }
        posted.push_back("control-list clear " + port_option(port) + " --start 224.0.0.0 --vlan 1");
        while (list != are.end() && list->first.first == port) list = are.erase(list);
    }
}

}  // namespace

void change_ranges(const Lines& running, const Lines& wanted, Lines& posted) {
    const Lines are = lines_of(kAddRange, running);
    const Lines shall_be = lines_of(kAddRange, wanted);
    const std::vector<bool> stays = staying(are, shall_be);
    change_range_switches(running, wanted, false, posted);
    for (const std::string& line : shall_be) {
        if (!has_range(are, range_in(line))) posted.push_back(line);
    }
    for (std::size_t i = 0; i < are.size(); ++i) {
        const Range range = range_in(are[i]);
        if (!stays[i]) posted.push_back(delete_range_line(range));
    }
    // What has gone for its place comes back behind the others; what has another bandwidth stays.
    for (const std::string& line : shall_be) {
        const Range range = range_in(line);
        for (std::size_t i = 0; i < are.size(); ++i) {
            if (range_in(are[i]) == range && (!stays[i] || are[i] != line)) posted.push_back(line);
        }
    }
    change_range_switches(running, wanted, true, posted);
}

void change_private_groups(const Lines& running, const Lines& wanted, Lines& posted) {
    constexpr std::string_view kAdd = "auth private add ";
    const Lines are = lines_of(kAdd, running);
    const Lines shall_be = lines_of(kAdd, wanted);
    for (const std::string& line : shall_be) {
        if (!holds(are, line)) posted.push_back(line);
    }
    for (const std::string& line : are) {
        if (holds(shall_be, line)) continue;
        posted.push_back(in_place_of(kAdd, "auth private delete ", line));
    }
}

void change_control_lists(const Lines& running, const Lines& wanted, Lines& posted) {
    ControlLists are = control_lists_in(running);
    const ControlLists shall_be = control_lists_in(wanted);
    clear_control_lists(are, shall_be, posted);
    write_control_lines("add", shall_be, are, posted);
    write_control_lines("delete", are, shall_be, posted);
}

}  // namespace config
