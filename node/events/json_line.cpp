#include "node/events/json_line.h"

#include "node/report/printable.h"

namespace events {

std::string json_text(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : report::printable(text)) {
        if (c == '<') {
            quoted += "\\u003c";
            continue;
        }
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return quoted + '"';
}

JsonLine& JsonLine::add(std::string_view name, std::string_view text) {
    return add_raw(name, json_text(text));
}

JsonLine& JsonLine::add(std::string_view name, std::uint64_t number) {
    return add_raw(name, std::to_string(number));
}

JsonLine& JsonLine::add_raw(std::string_view name, std::string_view json) {
    if (members_.size() > 1) members_ += ',';
    members_ += '"';
    members_ += name;
    members_ += "\":";
    members_ += json;
    return *this;
}

}  // namespace events
