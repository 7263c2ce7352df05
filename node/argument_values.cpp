#include "node/argument_values.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <sstream>
#include <string_view>

#include "common/diagnostics.h"
#include "node/driver/ports.h"
#include "node/usage_error.h"
#include "tools/values.h"

namespace node {
namespace {

struct MaskName {
    std::string_view name;
    std::uint32_t bits;
};

constexpr std::array<MaskName, 6> kMaskNames{{
    {"flow", mc::kFlow},
    {"errors", mc::kErrors},
    {"tx", mc::kTransmitDump},
    {"rx", mc::kReceiveDump},
    {"config", mc::kConfig},
    {"all", mc::kFlow | mc::kErrors | mc::kTransmitDump | mc::kReceiveDump | mc::kConfig},
}};

std::uint32_t mask_of(const std::string& word) {
    const auto known = std::ranges::find(kMaskNames, std::string_view(word), &MaskName::name);
    if (known != kMaskNames.end()) return known->bits;
    if (std::uint32_t mask = 0; commands::read_number(word, mask)) return mask;
    throw UsageError("--debug: '" + word +
                     "' is neither a number nor one of flow, errors, tx, rx, config, all");
}

}  // namespace

std::uint8_t parse_onu_id(const std::string& text) {
    std::uint32_t number = 0;
    if (!commands::read_number(text, number) || number > UINT8_MAX) {
        throw UsageError("'" + text + "' is no ONU id: a number from 0 to 255 is needed");
    }
    return static_cast<std::uint8_t>(number);
}

std::uint32_t parse_debug_mask(const std::string& text) {
    std::uint32_t mask = 0;
    std::istringstream words(text);
    for (std::string word; std::getline(words, word, ',');) mask |= mask_of(word);
    return mask;
}

std::pair<std::uint8_t, std::string> parse_port(const std::string& text, const std::string& what) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals + 1 == text.size()) {
        throw UsageError("--port: '" + text + "' is not of the form PORT=" + what);
    }
    const std::string port = text.substr(0, equals);
    std::uint32_t number = 0;
    if (!commands::read_number(port, number) || !driver::slot_of_port(number)) {
        throw UsageError("--port: there is no port '" + port +
                         "', user ports are 0 to 5 and the uplink is 29");
    }
    return {static_cast<std::uint8_t>(number), text.substr(equals + 1)};
}

void check_interface_name(const std::string& name) {
    constexpr std::size_t kLongest = 15;
    const bool is_odd = name.find_first_of("/\"\\ \t\r\n") != std::string::npos;
    if (name.empty() || name.size() > kLongest || is_odd) {
        throw UsageError("'" + name + "' is no name of an interface");
    }
}

IpcPlace parse_ipc_place(const std::string& text, IpcPlace usual) {
    const bool is_private = text == "private";
    if (!text.empty() && !is_private && text != "shared") {
        throw UsageError("--ipc: '" + text + "' is neither private nor shared");
    }
    if (text.empty() || usual == IpcPlace::kNone) return usual;
    return is_private ? IpcPlace::kPrivate : IpcPlace::kShared;
}

}  // namespace node
