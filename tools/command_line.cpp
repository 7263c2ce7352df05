#include "tools/command_line.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include "command/command.h"
#include "command/record.h"
#include "tools/command_table.h"
#include "tools/documents.h"
#include "tools/option_parser.h"
#include "tools/values.h"

namespace commands {
namespace {

using Words = std::vector<std::string>;

constexpr std::uint32_t kLargestCode = 0x7FFFFFFF;  // what a message's type holds everywhere

bool begins_with(const Command& command, const Words& words) {
    return words.size() >= command.path.size() &&
           std::equal(command.path.begin(), command.path.end(), words.begin());
}

// The command with the longest path that the words begin with: `fast-leave all` is not
// `fast-leave`.
const Command* find_command(const Words& words) {
    const Command* found = nullptr;
    for (const Command& command : table()) {
        if (!begins_with(command, words)) continue;
        if (found == nullptr || command.path.size() > found->path.size()) found = &command;
    }
    return found;
}

std::string join(const std::vector<std::string_view>& words) {
    std::string text;
    for (const std::string_view word : words) {
        if (!text.empty()) text += ", ";
        text += word;
    }
    return text;
}

// Words that match no command: says how far they went.
[[noreturn]] void refuse(const Words& words) {
    if (words.empty()) throw UsageError("no command: --help lists them");
    std::string known;
    Words prefix;
    for (const std::string& word : words) {
        prefix.push_back(word);
        if (next_words(prefix).empty()) break;
        known += (known.empty() ? "" : " ") + word;
    }
    if (known.empty()) throw UsageError("unknown command '" + words.front() + "'");
    if (prefix.size() == words.size() && !next_words(prefix).empty()) {
        throw UsageError("'" + known + "' is followed by one of " + join(next_words(prefix)));
    }
    const std::string wrong = prefix.back();
    prefix.pop_back();
    throw UsageError("'" + known + "' is followed by one of " + join(next_words(prefix)) +
                     ", not by '" + wrong + "'");
}

std::string describe(const Field& field) {
    std::string text(field.help);
    text += ": " + describe_values(field);
    const std::string otherwise = describe_default(field);
    if (!otherwise.empty()) text += "; default: " + otherwise;
    return text;
}

// The parser of one command: the texts behind the path, by the names of the fields.
class Parser {
 public:
    explicit Parser(const Command& command) : parser_("mcctl " + path_text(command), command.help) {
        parser_.without_help();
        for (const Field& field : command.fields) {
            const std::string text = describe(field);
            const options::Shown shown{field.name, field.is_option() ? "VALUE" : "", text};
            if (field.is_required()) {
                parser_.required(shown, texts_[field.name]);
            } else {
                parser_.once(shown, texts_[field.name]);
            }
        }
    }

    std::string help() const { return parser_.help(); }

    // The first words are the command's path.
    void parse(const Words& words, std::size_t skipped) {
        try {
            // Without a --help there is nothing but the words.
            static_cast<void>(
                parser_.parse({words.begin() + static_cast<std::ptrdiff_t>(skipped), words.end()}));
        } catch (const options::ParseError& error) {
            throw UsageError(error.what());
        }
    }

    const std::string* text_of(const Field& field) const {
        return parser_.is_given(field.name) ? &texts_.at(field.name) : nullptr;
    }

 private:
    options::Parser parser_;
    std::map<std::string_view, std::string> texts_;
};

class Values {
 public:
    Values(const Command& command, const Parser& parser) {
        for (const Field& field : command.fields) {
            const std::string* const text = parser.text_of(field);
            if (text != nullptr) given_[field.name] = read_value(field, *text);
        }
        for (const Order& order : command.ordered) check(order);
        for (const Exclusion& exclusion : command.excluded) check(command, exclusion);
    }

    std::uint32_t of(const Field& field) const {
        for (const std::string_view name : {field.name, field.like}) {
            const auto found = given_.find(name);
            if (found != given_.end()) return found->second;
        }
        return field.fallback.value_or(0);
    }

 private:
    void check(const Order& order) const {
        if (!given_.contains(order.high) || given_.at(order.low) <= given_.at(order.high)) return;
        throw UsageError(std::string(order.low) + " is above " + std::string(order.high));
    }

    void check(const Command& command, const Exclusion& exclusion) const {
        if (of(field_of(command, exclusion.field)) != exclusion.value) return;
        const Field& other = field_of(command, exclusion.other);
        const auto found = std::ranges::find(exclusion.others, of(other), &Choice::value);
        if (found == exclusion.others.end()) return;
        const auto word = std::ranges::find(field_of(command, exclusion.field).words,
                                            exclusion.value, &Choice::value);
        throw UsageError(std::string(exclusion.field) + " " + std::string(word->word) + " with " +
                         std::string(exclusion.other) + " " + std::string(found->word) + ": " +
                         std::string(exclusion.why));
    }

    static const Field& field_of(const Command& command, std::string_view name) {
        return *std::ranges::find(command.fields, name, &Field::name);
    }

    std::map<std::string_view, std::uint32_t> given_;
};

void store(std::vector<std::uint8_t>& bytes, std::uint32_t offset, std::uint32_t width,
           std::uint32_t value) {
    for (std::uint32_t i = 0; i < width; ++i) {
        bytes.at(offset + i) = static_cast<std::uint8_t>(value >> (8 * (width - 1 - i)));
    }
}

Record empty_record(std::uint32_t code, std::uint32_t size) {
    Record record{code, std::vector<std::uint8_t>(size)};
    store(record.bytes, 0, 4, code);
    store(record.bytes, 4, 4, size);
    return record;
}

Record encode_fields(const Command& command, const Words& words) {
    Parser parser(command);
    parser.parse(words, command.path.size());
    const Values values(command, parser);
    Record record = empty_record(command.record.code, command.record_size());
    for (const Field& field : command.fields) {
        store(record.bytes, field.at.offset, field.at.width, values.of(field) + field.added);
    }
    return record;
}

// raw CODE [HEX ...]
Record encode_raw(const Words& words) {
    std::uint32_t code = 0;
    if (words.size() < 2) throw UsageError("raw: CODE is missing");
    if (!read_number(words[1], code) || code == 0 || code > kLargestCode) {
        throw UsageError("raw: '" + words[1] + "' is not one of 1 to 2147483647");
    }
    std::string digits;
    for (std::size_t i = 2; i < words.size(); ++i) digits += words[i];
    const auto wrong = std::ranges::find_if_not(digits, [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
    });
    if (wrong != digits.end()) {
        throw UsageError(std::string("raw: '") + *wrong + "' is not a hexadecimal digit");
    }
    if (digits.size() % 2 != 0) throw UsageError("raw: half a byte is left over");
    if (digits.size() / 2 > MC_RECORD_SIZE - mc::kRecordHeader) {
        throw UsageError("raw: " + std::to_string(digits.size() / 2) + " bytes do not fit, 124 do");
    }
    Record record =
        empty_record(code, mc::kRecordHeader + static_cast<std::uint32_t>(digits.size() / 2));
    for (std::size_t i = 0; i < digits.size() / 2; ++i) {
        record.bytes[mc::kRecordHeader + i] =
            static_cast<std::uint8_t>(std::stoul(digits.substr(2 * i, 2), nullptr, 16));
    }
    return record;
}

}  // namespace

Record encode(const std::vector<std::string>& words) {
    if (!words.empty() && words.front() == "raw") return encode_raw(words);
    const Command* const command = find_command(words);
    if (command == nullptr) refuse(words);
    try {
        return encode_fields(*command, words);
    } catch (const UsageError& error) {
        throw UsageError(path_text(*command) + ": " + error.what());
    }
}

std::vector<PlacedWord> split_placed(const std::string& line) {
    std::vector<PlacedWord> words;
    std::optional<PlacedWord> word;  // "" is a word too
    char quote = 0;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        const bool last = i + 1 == line.size();
        const bool is_blank = c == ' ' || c == '\t' || c == '\r' || c == '\n';
        if (quote == 0 && c == '#' && !word) break;
        if (!word && !is_blank) word = PlacedWord{"", i + 1};
        if (quote != 0 && c == quote) {
            quote = 0;
        } else if (quote == '"' && c == '\\' && !last &&
                   (line[i + 1] == '"' || line[i + 1] == '\\')) {
            word->text += line[++i];
        } else if (quote != 0) {
            word->text += c;
        } else if (c == '\'' || c == '"') {
            quote = c;
        } else if (is_blank) {
            if (word) words.push_back(*std::exchange(word, std::nullopt));
        } else {
            word->text += c == '\\' && !last ? line[++i] : c;
        }
    }
    if (quote != 0) throw UsageError(std::string("a ") + quote + " is not closed");
    if (word) words.push_back(*word);
    return words;
}

std::vector<std::string> split(const std::string& line) {
    Words words;
    for (PlacedWord& word : split_placed(line)) words.push_back(std::move(word.text));
    return words;
}

std::string help_of_command(const Command& command) { return Parser(command).help(); }

}  // namespace commands
