#include "node/split_table.h"

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string_view>
#include <vector>

#include "node/driver/ports.h"
#include "node/line_file.h"
#include "node/usage_error.h"
#include "tools/values.h"

namespace node {
namespace {

using capture::Placed;
using capture::SplitRules;
using driver::MacAddress;
using Words = std::vector<std::string>;

constexpr std::uint32_t kLargestVid = 4094;

int digit_of(char letter) {
    const auto byte = static_cast<unsigned char>(letter);
    if (std::isxdigit(byte) == 0) return -1;
    return std::isdigit(byte) != 0 ? byte - '0' : std::tolower(byte) - 'a' + 10;
}

// "02:00:00:00:00:10" or "02-00-00-00-00-10".
MacAddress parse_mac(const std::string& text) {
    constexpr std::size_t kPerByte = 3;  // two digits and what stands between
    MacAddress mac{};
    bool is_right = text.size() == mac.size() * kPerByte - 1;
    for (std::size_t i = 0; is_right && i < mac.size(); ++i) {
        const std::string_view part = std::string_view(text).substr(i * kPerByte);
        const int high = digit_of(part[0]);
        const int low = digit_of(part[1]);
        is_right = high >= 0 && low >= 0 &&
                   (part.size() == 2 || ((part[2] == ':' || part[2] == '-') && part[2] == text[2]));
        mac[i] = static_cast<std::uint8_t>(high * 16 + low);
    }
    if (!is_right) {
        throw UsageError("'" + text + "' is no MAC address such as 02:00:00:00:00:10");
    }
    if ((mac[0] & 1U) != 0) throw UsageError("'" + text + "' is a group address, nobody sends it");
    return mac;
}

std::uint8_t parse_user_port(const std::string& text) {
    std::uint32_t port = 0;
    if (!commands::read_number(text, port) || port >= driver::kUserPorts) {
        throw UsageError("'" + text + "' is no user port: a number from 0 to 5 is needed");
    }
    return static_cast<std::uint8_t>(port);
}

std::uint16_t parse_vlan(const std::string& text) {
    std::uint32_t vid = 0;
    if (text == "none") return capture::kNoVlan;
    if (!commands::read_number(text, vid) || vid == 0 || vid > kLargestVid) {
        throw UsageError("'" + text + "' is no VID: a number from 1 to 4094, or none, is needed");
    }
    return static_cast<std::uint16_t>(vid);
}

template <class Key>
void place(std::map<Key, Placed>& lines, const Key& key, const std::string& word,
           const Placed& placed) {
    const auto [known, is_new] = lines.emplace(key, placed);
    if (is_new) return;
    throw UsageError("'" + word + "' stands in line " + std::to_string(known->second.line) +
                     " already");
}

void take_line(SplitRules& rules, const Words& words, std::size_t line) {
    if (words.size() == 3 && words[0] == "vlan") {
        place(rules.vlans, parse_vlan(words[1]), words[1], {parse_user_port(words[2]), line});
    } else if (words.size() == 2 && words[0] == "uplink") {
        place(rules.addresses, parse_mac(words[1]), words[1], {driver::kUplinkPort, line});
    } else if (words.size() == 2 && words[0] != "vlan") {
        place(rules.addresses, parse_mac(words[0]), words[0], {parse_user_port(words[1]), line});
    } else {
        throw UsageError("neither MAC PORT nor vlan VID PORT nor uplink MAC");
    }
}

}  // namespace

SplitRules read_split_table(const std::string& file) {
    SplitRules rules;
    rules.table = file;
    read_lines(file,
               [&rules](const Words& words, std::size_t line) { take_line(rules, words, line); });
    return rules;
}

}  // namespace node
