// Fuzzing of mcctl, for libFuzzer: any words give one record, or one line of complaint, and never
// both. A record that was accepted has its fields where the table of commands says, in the range
// that it says, and comes out the same when it is put into words again.
//
// An input is the words of a command line, a line each.
#include <sys/msg.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <numeric>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "command/command.h"
#include "tests/fuzz/chances.h"
#include "tests/fuzz/streams.h"
#include "tools/command_line.h"
#include "tools/command_table.h"
#include "tools/configuration.h"
#include "tools/console_client.h"
#include "tools/documents.h"
#include "tools/queue_reader.h"
#include "tools/values.h"

// The program, whose main has another name here.
int mcctl_main(int argc, char** argv);

namespace {

using commands::Command;
using commands::Field;
using commands::Record;
using Words = std::vector<std::string>;

// ---- The queue ----------------------------------------------------------------------------------

// What has been posted: a type, and as many bytes as said.
std::optional<Record> posted;
unsigned sum = 0;  // of the input

constexpr int kReasons[] = {EACCES, EAGAIN, EIDRM, ENOENT, ENOSPC};

// Of the queue's calls some fail, each for another reason.
bool fails(unsigned n) {
    if (sum % n != 0) return false;
    errno = kReasons[sum / n % std::size(kReasons)];
    return true;
}

}  // namespace

// In place of the look at what runs on this machine.
bool commands::is_surely_unread() { return sum % 13 == 0; }

// ---- The console --------------------------------------------------------------------------------

namespace {

constexpr std::string_view kAnswer = "what the node prints\n";
std::optional<Record> awaited;
bool is_gone = false;  // the node, behind a record

}  // namespace

std::optional<commands::Conversation> commands::await_answer(const Record& record) {
    must(!posted && !awaited, "an answer is awaited before the record is posted, and once");
    if (sum % 17 == 0) throw ConsoleError("silent");
    if (sum % 3 == 0) return std::nullopt;
    awaited = record;
    return Conversation{-1, {}, 0};
}

std::string commands::take_answer(Conversation& /*conversation*/) {
    must(posted.has_value(), "an answer to what was posted");
    is_gone = sum % 5 == 0;
    if (is_gone) throw ConsoleError("gone");
    return sum % 2 == 0 ? std::string(kAnswer) : "";
}

bool commands::follow_console() {
    if (sum % 5 == 0) throw ConsoleError("none");
    std::fwrite(kAnswer.data(), 1, kAnswer.size(), stdout);
    return sum % 2 == 0;
}

// ---- Configurations -----------------------------------------------------------------------------

// They are files and processes, which words do not make.
commands::Notes commands::save_configuration(const std::string& /*file*/) {
    throw ConsoleError("none");
}
commands::Notes commands::apply_configuration(const std::string& /*file*/, bool /*dry_run*/) {
    throw ConsoleError("none");
}

extern "C" {

int msgget(key_t key, int /*flags*/) {
    must(key == MC_QUEUE_KEY, "the key of the queue");
    return fails(7) ? -1 : 81;
}

int msgsnd(int queue, const void* message, size_t size, int flags) {
    must(queue == 81 && size <= MC_RECORD_TEXT && (flags & IPC_NOWAIT) != 0, "a message");
    must(!posted, "a second message");
    if (fails(11)) return -1;
    long type = 0;
    std::memcpy(&type, message, sizeof type);
    must(type > 0, "a message without a type");
    const auto* const text = static_cast<const std::uint8_t*>(message) + sizeof type;
    posted = Record{static_cast<std::uint32_t>(type), {text, text + size}};
    return 0;
}
}

namespace {

// ---- Words --------------------------------------------------------------------------------------

Words lines_of(const std::uint8_t* data, std::size_t size) {
    Words words;
    std::string word;
    for (std::size_t i = 0; i < size; ++i) {
        if (data[i] == '\n') {
            words.push_back(std::exchange(word, {}));
        } else if (data[i] != 0) {  // no argument of a program holds it
            word += static_cast<char>(data[i]);
        }
    }
    if (!word.empty()) words.push_back(word);
    return words;
}

// As a shell takes it.
std::string quoted(const Words& words) {
    std::string line;
    for (const std::string& word : words) {
        line += line.empty() ? "'" : " '";
        for (const char c : word) line += c == '\'' ? std::string("'\\''") : std::string(1, c);
        line += "'";
    }
    return line;
}

// ---- A record -----------------------------------------------------------------------------------

std::uint32_t load(const Record& record, std::size_t offset, std::size_t width) {
    must(offset + width <= record.bytes.size(), "a field behind the record");
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < width; ++i) value = value << 8 | record.bytes[offset + i];
    return value;
}

bool begins_with(const Words& words, const Command& command) {
    return words.size() >= command.path.size() &&
           std::equal(command.path.begin(), command.path.end(), words.begin());
}

const Command* command_of(const Words& words) {
    const Command* found = nullptr;
    for (const Command& command : commands::table()) {
        const bool is_longer = found == nullptr || command.path.size() > found->path.size();
        if (begins_with(words, command) && is_longer) found = &command;
    }
    return found;
}

std::string digits(const Field& field, std::uint32_t value) {
    if (!field.is_address()) return std::to_string(value);
    return std::to_string(value >> 24) + "." + std::to_string(value >> 16 & 0xFF) + "." +
           std::to_string(value >> 8 & 0xFF) + "." + std::to_string(value & 0xFF);
}

bool is_known(const Field& field, std::uint32_t value) {
    return (field.least <= value && value <= field.most) ||
           std::ranges::find(field.words, value, &commands::Choice::value) != field.words.end() ||
           field.fallback == value;
}

// The words for what a record holds. A value that only the fallback has is left out.
Words words_of(const Command& command, const Record& record) {
    Words words(command.path.begin(), command.path.end());
    for (const Field& field : command.fields) {
        const std::uint32_t stored = load(record, field.at.offset, field.at.width);
        const std::uint32_t value = stored - field.added;
        must(is_known(field, value), "a value out of its range");
        const auto word = std::ranges::find(field.words, value, &commands::Choice::value);
        const bool has_word = word != field.words.end();
        if (!has_word && (value < field.least || value > field.most)) continue;
        if (field.is_option()) words.emplace_back(field.name);
        words.push_back(has_word ? std::string(word->word) : digits(field, value));
    }
    return words;
}

void check_header(const Record& record) {
    const std::size_t size = record.bytes.size();
    must(size >= 8 && size <= MC_RECORD_SIZE, "the length of a record");
    must(load(record, 0, 4) == record.code && record.code >= 1 && record.code <= INT32_MAX,
         "the code of a record");
    must(load(record, 4, 4) == size, "the dump length of a record");
}

bool equal(const Record& a, const Record& b) { return a.code == b.code && a.bytes == b.bytes; }

Words as_raw(const Record& record) {
    Words words{"raw", std::to_string(record.code)};
    constexpr std::string_view kDigits = "0123456789abcdef";
    for (std::size_t i = 8; i < record.bytes.size(); ++i) {
        words.push_back({kDigits[record.bytes[i] >> 4], kDigits[record.bytes[i] & 0xF]});
    }
    return words;
}

void check_record(const Words& words, const Record& record) {
    check_header(record);
    must(equal(commands::encode(as_raw(record)), record), "a record and its bytes");
    if (words.front() == "raw") return;
    const Command* const command = command_of(words);
    must(command != nullptr && command->record.code == record.code, "the command of a record");
    must(command->record_size() == record.bytes.size(), "the length of a command's record");
    must(equal(commands::encode(words_of(*command, record)), record),
         "a record and what its words say again");
}

// ---- The program --------------------------------------------------------------------------------

bool is_dry_run(const Words& words) { return std::ranges::count(words, "--dry-run") != 0; }

// One record or one complaint; what is no command prints something.
void check_run(const Words& words) {
    posted.reset();
    awaited.reset();
    is_gone = false;
    const fuzz::Ran ran = fuzz::run_program(mcctl_main, "mcctl", words);
    must(ran.status >= 0 && ran.status <= 2, "the status of the program");
    const bool has_note = ran.status == 0 && ran.complaint.starts_with("mcctl: note: ");
    must(has_note || (ran.status != 0) == !ran.complaint.empty(), "a status and a complaint");
    if (has_note) fuzz::check_complaint(ran.complaint);
    if (ran.status != 0) {
        fuzz::check_complaint(ran.complaint);
        must(posted.has_value() == is_gone && ran.output.empty(),
             "a complaint, and something else");
        return;
    }
    const bool is_answered = awaited && ran.output == kAnswer;
    must(posted.has_value() == (ran.output.empty() || is_answered),
         "a command prints its answer, and anything else something");
    if (posted) must(!is_dry_run(words), "a dry run posts nothing");
}

// The words are a command, and nothing that the program itself understands stands among them.
bool is_plain(const Words& words) {
    constexpr std::string_view kOwn[] = {"--help",     "-h",      "--dry-run", "--reference",
                                         "completion", "console", "help"};
    return !words.empty() && std::ranges::none_of(words, [&](const std::string& word) {
        return std::ranges::find(kOwn, word) != std::end(kOwn);
    });
}

void check_posted(const Record& record) {
    if (!posted) return;  // the queue failed
    must(posted->code == record.code, "the type of what is posted");
    must(!awaited || equal(*awaited, record), "the record whose answer is awaited");
    must(std::ranges::equal(posted->bytes, record.text()), "the bytes of what is posted");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Words words = lines_of(data, size);
    sum = std::accumulate(data, data + size, 1U);
    must(commands::split(quoted(words)) == words, "words in quotes are the same words");
    check_run(words);
    if (!is_plain(words)) return 0;
    try {
        const Record record = commands::encode(words);
        check_record(words, record);
        check_posted(record);
    } catch (const commands::UsageError&) {
        must(!posted, "what is refused is posted");
    }
    return 0;
}
