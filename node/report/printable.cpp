#include "node/report/printable.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace report {
namespace {

constexpr unsigned char kFirstPrintable = 0x20;
constexpr unsigned char kDelete = 0x7F;

// Characters of several bytes: the least and the most that the second byte may be after these first
// ones. Left out are longer forms of shorter characters, surrogates, and U+0080 to U+009F, which
// are control characters too.
struct Sequence {
    unsigned char first;
    unsigned char last;
    unsigned char second_least;
    unsigned char second_most;
    std::size_t length;
};

constexpr std::array<Sequence, 9> kSequences{{
    {0xC2, 0xC2, 0xA0, 0xBF, 2},
    {0xC3, 0xDF, 0x80, 0xBF, 2},
    {0xE0, 0xE0, 0xA0, 0xBF, 3},
    {0xE1, 0xEC, 0x80, 0xBF, 3},
    {0xED, 0xED, 0x80, 0x9F, 3},
    {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4},
    {0xF1, 0xF3, 0x80, 0xBF, 4},
    {0xF4, 0xF4, 0x80, 0x8F, 4},
}};

unsigned char byte_at(std::string_view text, std::size_t at) {
    return static_cast<unsigned char>(text[at]);
}

bool is_continuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// How many bytes the printable character at the beginning takes; 0 when there is none.
std::size_t printable_length(std::string_view text) {
    const unsigned char first = byte_at(text, 0);
    if (first < kDelete) return first >= kFirstPrintable ? 1 : 0;
    const auto* const known = std::ranges::find_if(kSequences, [&](const Sequence& each) {
        return first >= each.first && first <= each.last;
    });
    if (known == kSequences.end() || text.size() < known->length) return 0;
    const unsigned char second = byte_at(text, 1);
    if (second < known->second_least || second > known->second_most) return 0;
    const std::string_view rest = text.substr(2, known->length - 2);
    return std::ranges::all_of(rest, is_continuation) ? known->length : 0;
}

std::string escaped(unsigned char byte) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    switch (byte) {
        case '\n':
            return "\\n";
        case '\t':
            return "\\t";
        case '\r':
            return "\\r";
        case '\\':
            return "\\\\";
        default:
            return {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 0xF]};
    }
}

}  // namespace

std::string printable(std::string_view text) {
    std::string line;
    while (!text.empty()) {
        const std::size_t length = text.front() == '\\' ? 0 : printable_length(text);
        if (length == 0) line += escaped(byte_at(text, 0));
        line += text.substr(0, length);
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return line;
}

}  // namespace report
