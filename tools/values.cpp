#include "tools/values.h"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <system_error>

#include "tools/command_line.h"

namespace commands {
namespace {

bool read_address(const std::string& text, std::uint32_t& value) {
    in_addr address{};
    if (inet_pton(AF_INET, text.c_str(), &address) != 1) return false;
    value = ntohl(address.s_addr);
    return true;
}

bool read_digits(const Field& field, const std::string& text, std::uint32_t& value) {
    if (field.is_address()) return read_address(text, value);
    if (field.kind == Kind::kWord && read_address(text, value)) return true;
    return read_number(text, value);
}

bool accepts(const Field& field, std::uint32_t value) {
    if (value >= field.least && value <= field.most) return true;
    return std::ranges::find(field.words, value, &Choice::value) != field.words.end();
}

std::string digits(const Field& field, std::uint32_t value) {
    if (!field.is_address()) return std::to_string(value);
    const in_addr address{.s_addr = htonl(value)};
    char text[INET_ADDRSTRLEN] = {};
    inet_ntop(AF_INET, &address, text, sizeof text);
    return text;
}

}  // namespace

bool read_number(std::string_view text, std::uint32_t& value) {
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        text.remove_prefix(2);
        base = 16;
    }
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, base);
    return error == std::errc{} && stop == end;
}

std::uint32_t read_value(const Field& field, const std::string& text) {
    const auto known = std::ranges::find(field.words, std::string_view(text), &Choice::word);
    if (known != field.words.end()) return known->value;
    std::uint32_t value = 0;
    if (read_digits(field, text, value) && accepts(field, value)) return value;
    throw UsageError(std::string(field.name) + ": '" + text + "' is not one of " +
                     describe_values(field));
}

std::string describe_values(const Field& field) {
    std::string text;
    if (field.kind == Kind::kWord) {
        text = "numbers of 32 bits and IPv4 addresses";
    } else if (field.least <= field.most) {
        text = digits(field, field.least) + " to " + digits(field, field.most);
    }
    for (const Choice& choice : field.words) {
        if (!text.empty()) text += ", ";
        text += std::string(choice.word) + " (" + digits(field, choice.value) + ")";
    }
    return text;
}

std::string describe_default(const Field& field) {
    if (!field.like.empty()) return "that of " + std::string(field.like);
    if (!field.fallback) return {};
    const auto word = std::ranges::find(field.words, *field.fallback, &Choice::value);
    if (word != field.words.end()) return std::string(word->word);
    return digits(field, *field.fallback);
}

const Field* argument_at(const Command& command, const mc::FieldPlace& place) {
    const auto found = std::ranges::find(command.fields, place.offset,
                                         [](const Field& field) { return field.at.offset; });
    return found == command.fields.end() ? nullptr : &*found;
}

std::string path_text(const Command& command) {
    std::string text;
    for (const std::string_view word : command.path) {
        if (!text.empty()) text += ' ';
        text += word;
    }
    return text;
}

}  // namespace commands
