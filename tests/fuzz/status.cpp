// Fuzzing of mcstat, for libFuzzer: segments of right and wrong sizes with anything in them, and
// descriptions of fields. What it prints as JSON is parsed again, each value looked up in the
// segment; what it refuses is one line of complaint.
//
// An input is six bytes of choices, the text of a description (or the words of a command line) up
// to a zero byte, and what the segment is filled with.
#include <sys/msg.h>
#include <sys/shm.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "command/command.h"
#include "common/bytes.h"
#include "tests/fuzz/chances.h"
#include "tests/fuzz/streams.h"
#include "tools/mcstat_fields.h"
#include "tools/mcstat_ipc.h"

// The program, whose main has another name here.
int mcstat_main(int argc, char** argv);

namespace {

using mcstat::Field;
using mcstat::Fields;
using nlohmann::json;
using Bytes = std::span<const std::uint8_t>;
using Words = std::vector<std::string>;

// ---- The machine: a segment of any size, and a queue that nobody reads --------------------------

struct Machine {
    std::unique_ptr<std::uint8_t[]> segment;
    std::size_t size = 0;
    int open_error = 0;  // of the segment; 0: none
    int attach_error = 0;
    int queue_error = 0;
    int post_error = 0;
    unsigned full = 0;   // so often the queue has no room
    unsigned looks = 0;  // at the segment; it is gone after some
    int attached = 0;
    unsigned posted = 0;
};
Machine machine;

constexpr unsigned kMostLooks = 3;

int fail(int error) {
    errno = error;
    return -1;
}

}  // namespace

extern "C" {

int shmget(key_t key, size_t size, int /*flags*/) {
    must(key == mc::kStatusSegmentKey, "the key of the segment");
    if (++machine.looks > kMostLooks) return fail(ENOENT);
    if (machine.open_error != 0) return fail(machine.open_error);
    return size > machine.size ? fail(EINVAL) : 82;
}

void* shmat(int id, const void* /*address*/, int flags) {
    must(id == 82 && (flags & SHM_RDONLY) != 0, "how the segment is attached");
    if (machine.attach_error != 0) {
        errno = machine.attach_error;
        return reinterpret_cast<void*>(-1);
    }
    ++machine.attached;
    return machine.segment.get();
}

int shmdt(const void* address) {
    must(address == machine.segment.get(), "which segment is detached");
    --machine.attached;
    return 0;
}

int msgget(key_t key, int /*flags*/) {
    must(key == MC_QUEUE_KEY, "the key of the queue");
    return machine.queue_error != 0 ? fail(machine.queue_error) : 81;
}

int msgsnd(int /*queue*/, const void* /*message*/, size_t size, int flags) {
    must(size <= MC_RECORD_TEXT && (flags & IPC_NOWAIT) != 0, "a message");
    if (machine.full > 0) {
        --machine.full;
        return fail(EAGAIN);
    }
    if (machine.post_error != 0) return fail(machine.post_error);
    ++machine.posted;
    return 0;
}

int msgctl(int /*queue*/, int /*command*/, msqid_ds* state) {
    state->msg_qnum = 0;
    return 0;
}

// Nobody waits here.
int nanosleep(const timespec* /*wanted*/, timespec* /*left*/) { return 0; }
int clock_nanosleep(clockid_t /*clock*/, int /*flags*/, const timespec* /*wanted*/,
                    timespec* /*left*/) {
    return 0;
}
}

namespace {

// ---- The input ----------------------------------------------------------------------------------

enum class Way { kText, kJson, kWatch, kWords, kPrint };

struct Input {
    Way way = Way::kText;
    bool has_fields = false;
    bool refreshes = false;
    std::string text;
};

std::size_t some_size(std::uint8_t choice) {
    constexpr std::array<std::size_t, 8> kSizes{0, 1, 4, 14491, 14493, 16384, 65536, 14488};
    return choice < 224 ? mc::kStatusSegmentSize : kSizes[choice % kSizes.size()];
}

// None most of the time.
int some_error(std::uint8_t choice) {
    constexpr std::array<int, 6> kErrors{ENOENT, EACCES, EINVAL, EIDRM, ENOMEM, EINTR};
    return choice < 240 ? 0 : kErrors[choice % kErrors.size()];
}

// The segment holds what is left, over and over.
void fill_segment(std::uint8_t choice, std::uint8_t groups, const std::string& text) {
    machine.size = some_size(choice);
    machine.segment.reset(new std::uint8_t[machine.size]);
    std::vector<std::uint8_t> rest;
    while (chances_left() != 0) rest.push_back(next_byte());
    for (std::size_t i = 0; i < machine.size; ++i) {
        machine.segment[i] =
            rest.empty() ? static_cast<std::uint8_t>(text.size() + i) : rest[i % rest.size()];
    }
    // As many groups as a few homes have, or any number.
    if (groups < UINT8_MAX && machine.size >= 4) mc::store_be32(machine.segment.get(), groups % 8U);
}

Input read_input() {
    Input input;
    machine = {};
    const std::uint8_t way = next_byte();
    input.way = static_cast<Way>(way % 5);
    input.has_fields = (way & 0x40) != 0;
    input.refreshes = (way & 0x80) != 0;
    const std::uint8_t size = next_byte();
    const std::uint8_t groups = next_byte();
    const std::uint8_t error = next_byte();
    machine.open_error = some_error(error);
    machine.attach_error = some_error(static_cast<std::uint8_t>(error + 16));
    const std::uint8_t queue = next_byte();
    machine.queue_error = some_error(queue);
    machine.post_error = some_error(static_cast<std::uint8_t>(queue + 16));
    if (machine.post_error == EINTR) machine.post_error = EACCES;  // one that is tried again
    machine.full = next_byte() % 4;
    while (chances_left() != 0) {
        const std::uint8_t byte = next_byte();
        if (byte == 0) break;
        input.text += static_cast<char>(byte);
    }
    // A full table takes its time: it has few columns then.
    constexpr std::size_t kFewColumns = 40;
    if (groups == UINT8_MAX && input.way != Way::kWords) {
        input.has_fields = true;
        input.text.resize(std::min(input.text.size(), kFewColumns));
    }
    fill_segment(size, groups, input.text);
    return input;
}

// ---- The report ---------------------------------------------------------------------------------

Fields fields_of(const Input& input) {
    return mcstat::parse_fields(input.has_fields ? input.text : mcstat::default_description(),
                                "again");
}

std::string name_in_json(const Field& field) {
    std::string key = field.name;
    std::ranges::replace(key, '-', '_');
    return key;
}

std::uint32_t load(Bytes record, std::size_t offset, std::size_t width) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < width; ++i) value = value << 8 | record[offset + i];
    return value;
}

// A number is what stands in the segment; nothing is one that stands for nothing.
void check_value(const Field& field, Bytes record, const json& value) {
    const std::uint32_t stored = load(record, field.offset, field.width);
    if (value.is_null()) {
        const std::uint32_t ones = field.width == 4 ? UINT32_MAX : (1U << 8 * field.width) - 1;
        must(stored == (field.format == mcstat::Format::kLimit ? 0 : ones), "a value left out");
    } else if (value.is_number()) {
        must(value.get<std::uint64_t>() == stored, "a value of the segment");
    } else if (value.is_boolean()) {
        must(value.get<bool>() == (stored != 0), "a flag of the segment");
    } else {
        must(value.is_string() && !value.get<std::string>().empty(), "a text for a value");
    }
}

void check_object(const std::vector<Field>& fields, Bytes record, const json& object) {
    must(object.is_object() && object.size() == fields.size(), "a member for each field");
    for (const Field& field : fields) {
        must(object.contains(name_in_json(field)), "the name of a field");
        check_value(field, record, object.at(name_in_json(field)));
    }
}

void check_json(const std::string& text, const Fields& fields) {
    const json report = json::parse(text, nullptr, false);
    must(!report.is_discarded(), "what is printed is JSON");
    const Bytes segment{machine.segment.get(), machine.size};
    must(report.at("mode") == load(segment, mc::kStatusMode, 4), "the mode");
    const json& ports = report.at("ports");
    must(ports.size() == MC_PORTS, "how many ports are shown");
    for (std::size_t i = 0; i < ports.size(); ++i) {
        check_object(fields.port, segment.subspan(mc::kStatusPorts + 16 * i, 16),
                     ports[i].at("status"));
    }
    const json& groups = report.at("groups");
    const std::size_t count =
        std::min<std::size_t>(load(segment, mc::kStatusGroupCount, 4), mc::kStatusGroups);
    must(groups.size() == count, "how many groups are shown");
    for (std::size_t i = 0; i < count; ++i) {
        check_object(
            fields.group,
            segment.subspan(mc::kStatusGroupTable + mc::kStatusGroupSize * i, mc::kStatusGroupSize),
            groups[i]);
    }
}

// Lines for a terminal: nothing but line ends controls it.
void check_text(std::string text) {
    must(text.ends_with('\n'), "a text ends with a line");
    std::ranges::replace(text, '\n', ' ');
    must(fuzz::is_printable(text), "control bytes in a table");
}

// ---- The program --------------------------------------------------------------------------------

// No word names a file of this machine.
Words lines_of(const std::string& text) {
    Words words(1);
    for (const char c : text) {
        if (c == '\n') {
            words.emplace_back();
        } else if (c != '/') {
            words.back() += c;
        }
    }
    return words;
}

Words words_of(const Input& input, const fuzz::MemoryFile& file) {
    if (input.way == Way::kWords) return lines_of(input.text);
    Words words;
    if (!input.refreshes) words.emplace_back("--no-refresh");
    if (input.way == Way::kJson) words.emplace_back("--json");
    if (input.way == Way::kPrint) words.emplace_back("--print-fields");
    if (input.way == Way::kWatch) words.insert(words.end(), {"--watch", "5"});
    if (input.has_fields) words.insert(words.end(), {"--fields", file.path().string()});
    return words;
}

void check_refused(const Input& input, const fuzz::Ran& ran) {
    fuzz::check_complaint(ran.complaint);
    const bool may_show = input.way == Way::kWatch || input.way == Way::kWords;
    must(may_show || ran.output.empty(), "a complaint, and a report");
}

void check_shown(const Input& input, const fuzz::Ran& ran) {
    must(ran.complaint.empty(), "a report, and a complaint");
    must(input.way != Way::kWatch, "watching ends with the segment");
    check_text(ran.output);
    if (input.way == Way::kJson) check_json(ran.output, fields_of(input));
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::MemoryFile file;
    begin_chances(data, size);
    const Input input = read_input();
    if (input.has_fields) file.put(input.text);
    const fuzz::Ran ran = fuzz::run_program(mcstat_main, "mcstat", words_of(input, file));
    must(machine.attached == 0, "the segment is left attached");
    must(ran.status >= 0 && ran.status <= 2, "the status of the program");
    ran.status == 0 ? check_shown(input, ran) : check_refused(input, ran);
    return 0;
}
