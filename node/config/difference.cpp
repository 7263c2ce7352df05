#include "node/config/difference.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <string>
#include <string_view>

#include "adapt/records.h"
#include "node/config/group_difference.h"
#include "node/config/rule_difference.h"

namespace config {
namespace {

// ---- Settings of one value ----------------------------------------------------------------------

// A setting and the line that puts it back. With `of_port` there is one for each port, and what
// puts it back stands behind the port.
struct Setting {
    std::string_view path;
    bool of_port;
    std::string_view fresh;
};

// Where two settings meet, the wider one comes first.
constexpr std::array<Setting, 21> kSettings{{
    {"version", false, "3"},
    {"robustness", false, "2"},
    {"query-interval", false, "125"},
    {"response-interval", false, "10"},
    {"last-member-interval", false, "1"},
    {"last-member-count", false, "2"},
    {"ageing-interval", false, "1"},
    {"ageing", false, "on"},
    {"mld ageing", false, "on"},
    {"proxy-address", false, ""},
    {"ssm range", false, "232.0.0.0 232.255.255.255"},
    {"ssm map", false, ""},
    {"mode", false, "snooping"},
    {"table-return", false, "on"},
    {"fast-leave all", false, "off"},
    {"fast-leave", true, "off"},
    // Once set, a limit is never again the "none" of a fresh node.
    {"group-limit", true, "1024"},
    {"bandwidth-limit", true, "0 --enable off"},
    {"signalling-vlan", true, "--outer none"},
    {"default-vlan", false, "4088"},
    {"learning", false, "off"},
}};

// The line up to its value: what one line replaces of another.
std::string key_of(const Setting& setting, const std::string& line) {
    std::string key(setting.path);
    if (!setting.of_port) return key;
    const std::size_t end = line.find(' ', key.size() + std::string_view(" --port ").size());
    return line.substr(0, end);
}

bool is_of(const Setting& setting, const std::string& line) {
    const std::string begin = std::string(setting.path) + (setting.of_port ? " --port " : " ");
    return line.starts_with(begin) || line == setting.path;
}

std::map<std::string, std::string> by_key(const Setting& setting, const Lines& lines) {
    std::map<std::string, std::string> found;
    for (const std::string& line : lines) {
        // "fast-leave all" is not the "fast-leave" of a port, nor "mode" that of "mode standard".
        if (is_of(setting, line)) found[key_of(setting, line)] = line;
    }
    return found;
}

// A switch that a line has put off is on in a fresh node, and the other way round.
std::string opposite(const std::string& line) {
    const std::string off = " off";
    if (line.ends_with(off)) return line.substr(0, line.size() - off.size()) + " on";
    return line.substr(0, line.size() - std::string_view(" on").size()) + off;
}

std::string fresh_line(const Setting& setting, const std::string& key, const std::string& line,
                       const Change& change) {
    if (setting.path == "proxy-address") {
        return key + " " + ipv4_word(change.own_ip.value_or(MC_DEFAULT_PROXY_IP));
    }
    // They tell how a port or the list differs from what other lines have made of it.
    if (setting.path == "learning" || setting.path == "fast-leave") return opposite(line);
    return setting.fresh.empty() ? key : key + " " + std::string(setting.fresh);
}

void change_setting(const Setting& setting, const Lines& running, const Lines& wanted,
                    const Change& change, Lines& posted) {
    const auto are = by_key(setting, running);
    const auto shall_be = by_key(setting, wanted);
    for (const auto& [key, line] : are) {
        const std::string fresh = fresh_line(setting, key, line, change);
        if (!shall_be.contains(key) && line != fresh) posted.push_back(fresh);
    }
    for (const auto& [key, line] : shall_be) {
        const auto is = are.find(key);
        if (is == are.end() || is->second != line) posted.push_back(line);
    }
}

}  // namespace

Lines difference(const Lines& running, const Lines& wanted, const Change& change) {
    Lines posted;
    for (const Setting& setting : kSettings) {
        change_setting(setting, running, wanted, change, posted);
    }
    change_rules(running, wanted, change.all_rules_anew, posted);
    change_core_vlans(running, wanted, posted);
    change_ranges(running, wanted, posted);
    change_private_groups(running, wanted, posted);
    change_control_lists(running, wanted, posted);
    return posted;
}

}  // namespace config
