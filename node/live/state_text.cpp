#include "node/live/state_text.h"

#include <array>
#include <cstddef>
#include <limits>
#include <set>
#include <sstream>

namespace live {
namespace {

constexpr std::uint64_t kByte = std::numeric_limits<std::uint8_t>::max();
constexpr std::uint64_t kIndex = std::numeric_limits<std::int32_t>::max();

// A line that is taken apart word by word; what a word is not makes the whole line wrong.
class Words {
 public:
    explicit Words(const std::string& line) : words_(line) {}

    [[nodiscard]] std::string word() {
        std::string word;
        is_right_ = static_cast<bool>(words_ >> word) && is_right_;
        return word;
    }

    [[nodiscard]] std::uint64_t number(std::uint64_t most) {
        const std::string digits = word();
        std::uint64_t value = 0;
        for (const char digit : digits) {
            const bool is_digit = digit >= '0' && digit <= '9';
            const auto more = static_cast<std::uint64_t>(digit - '0');
            if (!is_digit || value > (most - more) / 10) {
                is_right_ = false;
                return 0;
            }
            value = 10 * value + more;
        }
        return value;
    }

    [[nodiscard]] bool is_right_and_over() {
        std::string more;
        return is_right_ && !(words_ >> more);
    }

 private:
    std::istringstream words_;
    bool is_right_ = true;
};

bool read_place(const std::string& name, Words& words, Record& record) {
    if (name == "boot") {
        record.place.boot = words.word();
    } else if (name == "netns") {
        record.place.netns = words.number(std::numeric_limits<std::uint64_t>::max());
        record.place.netns_cookie = words.number(std::numeric_limits<std::uint64_t>::max());
    } else if (name == "bridge") {
        record.place.bridge = words.word();
        record.originals.bridge = static_cast<int>(words.number(kIndex));
    } else {
        return false;
    }
    return true;
}

bool read_setting(const std::string& name, Words& words, Record& record) {
    for (std::size_t i = 0; i < kBridgeSettings; ++i) {
        if (name != kBridgeSettingNames[i]) continue;
        const bool is_time = i == static_cast<std::size_t>(BridgeSetting::kQueryResponseInterval);
        record.originals.settings[i] =
            words.number(is_time ? std::numeric_limits<std::uint64_t>::max() : kByte);
        return true;
    }
    return false;
}

bool read_port(Words& words, Record& record) {
    const std::string interface = words.word();
    OriginalPort port;
    port.index = static_cast<int>(words.number(kIndex));
    const bool is_named = words.word() == "mcast_router";
    port.multicast_router = static_cast<std::uint8_t>(words.number(kByte));
    return is_named && record.originals.ports.emplace(interface, port).second;
}

}  // namespace

std::string text_of(const Record& record) {
    const Place& place = record.place;
    std::ostringstream text;
    text << "# What mc_node found on " << place.bridge
         << " and gives back at its end. Killed, it leaves this"
         << " to the next one,\n# or to mc_node live --restore --bridge " << place.bridge << "\n"
         << "boot " << place.boot << "\n"
         << "netns " << place.netns << " " << place.netns_cookie << "\n"
         << "bridge " << place.bridge << " " << record.originals.bridge << "\n";
    for (std::size_t i = 0; i < kBridgeSettings; ++i) {
        text << kBridgeSettingNames[i] << " " << record.originals.settings[i] << "\n";
    }
    for (const auto& [interface, port] : record.originals.ports) {
        text << "port " << interface << " " << port.index << " mcast_router "
             << +port.multicast_router << "\n";
    }
    return text.str();
}

std::optional<Record> parse_record(const std::string& text) {
    constexpr std::size_t kOnceEach = 3 + kBridgeSettings;  // lines that are no port's
    Record record;
    std::set<std::string> once;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with('#')) continue;
        Words words(line);
        const std::string name = words.word();
        const bool is_port = name == "port";
        const bool is_known =
            is_port ? read_port(words, record)
                    : read_place(name, words, record) || read_setting(name, words, record);
        if (!is_known || !words.is_right_and_over()) return std::nullopt;
        if (!is_port && !once.insert(name).second) return std::nullopt;
    }
    if (once.size() != kOnceEach) return std::nullopt;
    return record;
}

}  // namespace live
