// Fuzzing of captures, for libFuzzer: what reads and merges them, and their replay through the
// library and the multicast core, up to the captures that it writes.
//
// An input is a byte of choices and then either the bytes of one to three files, or chances from
// which files are made that can be read, with frames that hold IGMP and MLD. Half of the inputs
// replay their first file as one capture of all ports, which is split.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "adapt/adapt.h"
#include "adapt/records.h"
#include "command/command.h"
#include "common/bytes.h"
#include "mld/record.h"
#include "node/capture/capture_driver.h"
#include "node/capture/capture_error.h"
#include "node/core/multicast_core.h"
#include "node/core/state.h"
#include "node/replay/replay_summary.h"
#include "platform/protocol_core.h"
#include "tests/fuzz/core_checks.h"
#include "tests/fuzz/core_packets.h"
#include "tests/fuzz/draw.h"
#include "tests/fuzz/node.h"
#include "tests/fuzz/streams.h"
#include "tools/command_line.h"

namespace {

using fuzz::below;
using fuzz::Bytes;
using fuzz::one_in;
using fuzz::one_of;

constexpr std::size_t kMostFiles = 3;
constexpr std::uint64_t kNanoseconds = 1'000'000'000;

void append(Bytes& bytes, const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

// ---- Frames -------------------------------------------------------------------------------------

void append16(Bytes& bytes, std::uint32_t value) {
    bytes.push_back(static_cast<std::uint8_t>(value >> 8));
    bytes.push_back(static_cast<std::uint8_t>(value));
}

Bytes some_frame() {
    static constexpr std::array<std::uint16_t, 6> kVlans{100, 200, 4000, 4088, 0, 4095};
    const bool is_ipv4 = !one_in(3);
    Bytes frame = is_ipv4 ? Bytes{0x01, 0x00, 0x5E, 1, 1, 1} : Bytes{0x33, 0x33, 0, 0, 1, 1};
    if (one_in(16)) frame[0] = next_byte();
    append(frame, {0x02, 0, 0, 0, 0, static_cast<std::uint8_t>(below(4))});
    for (std::uint32_t tags = one_in(4) ? below(4) : below(2); tags > 0; --tags) {
        append16(frame, 0x8100);
        append16(frame, one_of(kVlans));
    }
    if (one_in(8)) {
        append(frame, {0x88, 0x64, 0x11, 0, 0, 1, 0, 40});
        append16(frame, is_ipv4 ? 0x0021 : 0x0057);
    } else {
        append16(frame, is_ipv4 ? 0x0800 : 0x86DD);
    }
    append(frame,
           is_ipv4 ? fuzz::some_igmp_packet(0xEF010101 + below(4)) : fuzz::some_mld_packet());
    if (one_in(32)) frame.resize(below(2100));
    return frame;
}

// ---- Files --------------------------------------------------------------------------------------

// Words of a file, in its byte order.
struct File {
    bool is_big;
    Bytes bytes{};

    void word(std::uint32_t value) {
        for (unsigned i = 0; i < 4; ++i) {
            bytes.push_back(static_cast<std::uint8_t>(value >> 8 * (is_big ? 3 - i : i)));
        }
    }
    void half(std::uint32_t value) {
        const Bytes both{static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8)};
        bytes.push_back(both[is_big ? 1 : 0]);
        bytes.push_back(both[is_big ? 0 : 1]);
    }
};

struct Stamped {
    std::uint64_t stamp_ns;
    std::uint32_t length;
    Bytes bytes;
};

std::vector<Stamped> some_frames() {
    static constexpr std::array<std::uint64_t, 6> kPauses{
        1'000'000, 0, 1, kNanoseconds, 20 * kNanoseconds, 300 * kNanoseconds};
    std::uint64_t now = 1000 * kNanoseconds + below(3) * kNanoseconds;
    std::vector<Stamped> frames;
    for (std::uint32_t left = below(12); left > 0; --left) {
        now += one_of(kPauses);
        Bytes frame = some_frame();
        auto length = static_cast<std::uint32_t>(frame.size());
        if (one_in(32)) frame.resize(below(length + 1));  // cut by the capture
        if (one_in(32)) length = below(length + 1);       // and now and then more than there was
        frames.push_back({one_in(16) ? now - kNanoseconds / 2 : now, length, std::move(frame)});
    }
    return frames;
}

Bytes pcap_of(const std::vector<Stamped>& frames) {
    const bool is_fine = one_in(4);
    File file{one_in(4)};
    file.word(is_fine ? 0xA1B23C4D : 0xA1B2C3D4);
    file.half(2);
    file.half(4);
    file.word(0);
    file.word(0);
    file.word(65535);
    file.word(1);
    for (const Stamped& frame : frames) {
        file.word(static_cast<std::uint32_t>(frame.stamp_ns / kNanoseconds));
        file.word(static_cast<std::uint32_t>(frame.stamp_ns % kNanoseconds / (is_fine ? 1 : 1000)));
        file.word(static_cast<std::uint32_t>(frame.bytes.size()));
        file.word(frame.length);
        append(file.bytes, frame.bytes);
    }
    return file.bytes;
}

Bytes pcapng_of(const std::vector<Stamped>& frames) {
    File file{one_in(4)};
    for (const std::uint32_t word : {0x0A0D0D0AU, 28U, 0x1A2B3C4DU}) file.word(word);
    file.half(1);
    file.half(0);
    for (const std::uint32_t word : {0xFFFFFFFFU, 0xFFFFFFFFU, 28U, 1U, 20U}) file.word(word);
    file.half(1);
    file.half(0);
    for (const std::uint32_t word : {65535U, 20U}) file.word(word);
    for (const Stamped& frame : frames) {
        const auto held = static_cast<std::uint32_t>(frame.bytes.size());
        const std::uint32_t padding = (4 - held % 4) % 4;
        const std::uint64_t micros = frame.stamp_ns / 1000;
        file.word(6);
        file.word(32 + held + padding);
        file.word(0);
        file.word(static_cast<std::uint32_t>(micros >> 32));
        file.word(static_cast<std::uint32_t>(micros));
        file.word(held);
        file.word(frame.length);
        append(file.bytes, frame.bytes);
        file.bytes.resize(file.bytes.size() + padding);
        file.word(32 + held + padding);
    }
    return file.bytes;
}

// RFC 1952, 8.
std::uint32_t crc_of(const Bytes& bytes) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (const std::uint8_t byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ (0xEDB88320 & (0 - (crc & 1)));
    }
    return ~crc;
}

// One member of one block that is not compressed (RFC 1951, 3.2.4).
Bytes gzip_of(const Bytes& bytes) {
    File file{false, {0x1F, 0x8B, 8, 0, 0, 0, 0, 0, 0, 0xFF, 1}};
    const auto size = static_cast<std::uint32_t>(std::min<std::size_t>(bytes.size(), 0xFFFF));
    file.half(size);
    file.half(~size);
    file.bytes.insert(file.bytes.end(), bytes.begin(), bytes.begin() + size);
    file.word(crc_of({bytes.begin(), bytes.begin() + size}));
    file.word(size);
    return file.bytes;
}

Bytes made_file(bool is_in_gzip) {
    const auto frames = some_frames();
    Bytes file = one_in(3) ? pcapng_of(frames) : pcap_of(frames);
    if (is_in_gzip) file = gzip_of(file);
    if (one_in(32)) file.resize(below(static_cast<std::uint32_t>(file.size()) + 1));
    return file;
}

Bytes plain_file(std::size_t size) {
    Bytes file;
    while (file.size() < size && chances_left() != 0) file.push_back(next_byte());
    return file;
}

// ---- What happens between the frames ------------------------------------------------------------

std::vector<commands::Record> encoded(const std::vector<std::string>& lines) {
    std::vector<commands::Record> records;
    for (const std::string& line : lines)
        records.push_back(commands::encode(commands::split(line)));
    return records;
}

const std::vector<commands::Record>& some_commands() {
    static const auto& records = *new std::vector<commands::Record>(encoded(
        {"mode control", "mode proxy", "mode snooping", "fast-leave --port 0 on",
         "group-limit --port 1 1", "show groups", "show config", "core-vlan delete-all",
         "vlan add --port 0 --mode translate --up-in 100 --up-out 4000 --down-in 4000 --down-out "
         "100 --data-in 4000 --data-out 100",
         "vlan add --port 1 --mode tag --up-in none --up-out 4000 --data-in 4000",
         "vlan add --port 2 --mode untag --up-in 200 --data-in 4088"}));
    return records;
}

void run(const commands::Record& record) {
    std::array<std::uint8_t, MC_RECORD_SIZE> image{};
    std::ranges::copy(record.bytes, image.begin());
    static_cast<void>(process_interface_msg(image.data()));
}

void set_mld_mode(std::uint16_t mode) {
    mldInitParams.multiMode = mode;
    static_cast<void>(mld_proxy_snoop_set_globle(mode));
}

std::vector<capture::Event> some_events(capture::Driver& driver) {
    std::vector<capture::Event> events;
    for (std::uint32_t left = below(6); left > 0; --left) {
        const std::uint64_t after_us = below(64) * mcore::kSecond;
        if (one_in(4)) {
            events.push_back({after_us, [&driver, id = next_byte()] { driver.set_onu_id(id); }});
        } else if (one_in(8)) {
            const std::uint16_t mode = one_in(4) ? MLD_MODE_SNOOPING : MLD_MODE_CONTROL;
            events.push_back({after_us, [mode] { set_mld_mode(mode); }});
        } else {
            const commands::Record* const record =
                &some_commands()[below(static_cast<std::uint32_t>(some_commands().size()))];
            events.push_back({after_us, [record] { run(*record); }});
        }
    }
    return events;
}

// ---- Reading and merging ------------------------------------------------------------------------

// What one file holds: read alone, before it is merged.
struct Alone {
    std::uint64_t frames = 0;
    std::uint64_t bytes = 0;
    bool is_sorted = true;
    bool is_damaged = false;
};

Alone read_alone(const capture::Input& input) {
    Alone alone;
    capture::CaptureReader reader(input.file, input.port);
    std::uint64_t before = 0;
    for (; reader.head(); reader.drop()) {
        const capture::CapturedFrame& frame = *reader.head();
        must(frame.bytes.size() <= frame.length, "a capture holds more of a frame than there was");
        alone.is_sorted = alone.is_sorted && frame.stamp_ns >= before;
        before = frame.stamp_ns;
        ++alone.frames;
        for (const std::uint8_t byte : frame.bytes) alone.bytes += byte;  // all of it is there
    }
    must(reader.frames_read() == alone.frames, "the count of frames read");
    alone.is_damaged = reader.damage().has_value();
    return alone;
}

void check_merge(const std::vector<capture::Input>& inputs, const std::vector<Alone>& alone) {
    capture::CaptureMerge merge(inputs);
    const bool all_sorted = std::ranges::all_of(alone, &Alone::is_sorted);
    std::vector<Alone> merged(inputs.size());
    std::uint64_t before = 0;
    while (const auto next = merge.next()) {
        const auto input = std::ranges::find(inputs, next->port, &capture::Input::port);
        Alone& one = merged[static_cast<std::size_t>(input - inputs.begin())];
        ++one.frames;
        for (const std::uint8_t byte : next->frame.bytes) one.bytes += byte;
        must(!all_sorted || next->frame.stamp_ns >= before, "sorted captures merge in order");
        before = next->frame.stamp_ns;
    }
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        must(merged[i].frames == alone[i].frames && merged[i].bytes == alone[i].bytes,
             "a merge has all frames of each capture");
    }
    const auto damaged =
        static_cast<std::size_t>(std::ranges::count(alone, true, &Alone::is_damaged));
    must(merge.damage().size() == damaged, "a line for each capture that broke");
}

// ---- The split ----------------------------------------------------------------------------------

// The sources of some_frame, more VLANs than it has, and lines that contradict nobody.
capture::SplitRules some_rules(unsigned kind) {
    capture::SplitRules rules;
    rules.hosts_by_vlan = kind == 1;
    if (kind != 2) return rules;
    rules.table = "table";
    for (std::uint32_t line = below(6); line > 0; --line) {
        const std::uint8_t port = one_in(4) ? 29 : static_cast<std::uint8_t>(below(6));
        const driver::MacAddress mac{0x02, 0, 0, 0, 0, static_cast<std::uint8_t>(below(5))};
        if (one_in(3)) {
            rules.vlans[static_cast<std::uint16_t>(below(2) * 100)] = {
                static_cast<std::uint8_t>(below(6)), line};
        } else {
            rules.addresses[mac] = {port, line};
        }
    }
    return rules;
}

// By party: what does not depend on the order of the frames.
struct Side {
    std::uint64_t frames;
    std::uint64_t messages;
    capture::RouterSigns signs;
    capture::Why why;
    bool is_uplink;

    bool operator==(const Side&) const = default;
};

std::map<capture::Party, Side> sides_of(const capture::Split& split) {
    std::map<capture::Party, Side> sides;
    for (const capture::SplitRow& row : split.rows) {
        const Side side{row.seen.frames, row.seen.messages, row.signs, row.why,
                        row.port == driver::kUplinkPort};
        must(sides.emplace(row.party, side).second, "a party has one row");
    }
    return sides;
}

// Each frame goes to one port, and a router's to the uplink.
void check_ports(const capture::Split& split, const std::vector<Bytes>& frames) {
    driver::PerPort<std::uint64_t> sent{};
    for (const Bytes& frame : frames) {
        const std::uint8_t port = capture::port_of(split, frame);
        const auto slot = driver::slot_of_port(port);
        must(slot.has_value(), "a frame goes to a port that is there");
        ++sent[*slot];
        const auto sender = capture::sender_of(frame);
        must(sender || port == 0, "who is not known is at port 0");
        if (!sender || split.rules.addresses.contains(sender->mac)) continue;
        must(!capture::router_sign(frame) || port == driver::kUplinkPort, "a router is up");
    }
    for (const capture::SplitRow& row : split.rows) {
        sent[*driver::slot_of_port(row.port)] -= row.seen.frames;
    }
    must(sent == driver::PerPort<std::uint64_t>{}, "the rows count what goes to their ports");
}

void check_split(const capture::Input& input, const capture::SplitRules& rules) {
    std::vector<Bytes> frames;
    capture::CaptureReader reader(input.file, input.port);
    for (; reader.head(); reader.drop()) {
        frames.emplace_back(reader.head()->bytes.begin(), reader.head()->bytes.end());
    }
    capture::Seen seen;
    capture::Seen backwards;
    for (const Bytes& frame : frames) capture::note(seen, frame);
    for (auto frame = frames.rbegin(); frame != frames.rend(); ++frame) {
        capture::note(backwards, *frame);
    }
    const capture::Split split = capture::settle(rules, seen);
    check_ports(split, frames);
    must(sides_of(split) == sides_of(capture::settle(rules, backwards)),
         "sides do not depend on the order of frames");

    capture::CaptureMerge merge(input.file, rules);
    std::size_t next = 0;
    for (; const auto merged = merge.next(); ++next) {
        must(next < frames.size() && merged->port == capture::port_of(split, frames[next]),
             "the second pass splits as the first one decided");
    }
    must(next == frames.size(), "a split capture has all its frames");
    must(merge.damage().size() == (reader.damage() ? 1 : 0), "and breaks where it did");
}

// ---- The replay ---------------------------------------------------------------------------------

// In memory where the machine has such a folder; taken away at the end.
const std::filesystem::path& output_folder() {
    static const auto& folder = *new std::filesystem::path([] {
        std::string name = std::filesystem::exists("/dev/shm") ? "/dev/shm" : "/tmp";
        name += "/mc-fuzz-XXXXXX";
        must(mkdtemp(name.data()) != nullptr, "a folder for what is written");
        return name;
    }());
    static const int registered = std::atexit([] {
        std::error_code ignored;
        std::filesystem::remove_all(output_folder(), ignored);
    });
    static_cast<void>(registered);
    return folder;
}

void check_written(const capture::Report& report, bool is_made) {
    for (std::size_t slot = 0; slot < driver::kSlots; ++slot) {
        const auto file = output_folder() / (driver::name_of_slot(slot) + ".pcap");
        const Alone written = read_alone({driver::port_of_slot(slot), file});
        must(written.frames == report.counters.out[slot].sent, "what was sent is written");
        must(!written.is_damaged, "a capture that was written is whole");
        must(!is_made || written.is_sorted, "what was sent is in order");
    }
}

void check_counts(const std::vector<capture::Input>& inputs, const std::vector<Alone>& alone,
                  const capture::Report& report) {
    std::uint64_t total = 0;
    for (const capture::FramesIn& in : report.counters.in) {
        total += in.total();
        must(in.out_of_order <= in.total(), "the frames out of order");
    }
    std::uint64_t expected = 0;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        const capture::FramesIn& in = report.counters.in[*driver::slot_of_port(inputs[i].port)];
        expected += alone[i].frames;
        must(report.split || in.total() == alone[i].frames, "each frame is counted once");
    }
    must(total == expected, "all frames are counted");
    for (const capture::FramesOut& out : report.counters.out) {
        must(out.failed == 0, "a frame was not written");
    }
    std::uint64_t held = 0;
    for (const auto& [entry, times] : report.table.entries) {
        must(times >= 1 && driver::slot_of_port(entry.port).has_value(), "an entry of the switch");
        ++held;
    }
    must(report.table.added - report.table.removed == held, "how many entries the switch has");
}

void check_summary(const replay::Arguments& arguments, capture::Report report) {
    const std::uint64_t end_us = report.span ? report.span->end_us : 0;
    const replay::Summary summary{
        arguments, std::move(report), report::core_report(end_us), 0, false, 0.5};
    std::string text = replay::as_text(summary);
    std::ranges::replace(text, '\n', ' ');
    must(fuzz::is_printable(text), "control bytes in a summary");
    must(replay::as_json(summary).ends_with("}\n"), "a summary as JSON");
}

// What a replay is told besides its captures.
struct Choices {
    bool is_made;
    bool is_written;
    bool is_summed_up;
    std::uint64_t tail_us;
    std::uint32_t debug;
    std::vector<capture::Event> events;
    std::optional<capture::SplitRules> split;
};

// Nothing happens between frames that may be years apart: the proxy would ask its hosts for years.
Choices some_choices(bool is_made, capture::Driver& driver) {
    Choices choices{
        is_made, one_in(2), one_in(4), below(4) * 100 * mcore::kSecond, one_in(4) ? below(64) : 0,
        {},      {}};
    if (is_made) choices.events = some_events(driver);
    return choices;
}

void replay_all(capture::Driver& driver, const std::vector<capture::Input>& inputs,
                const std::vector<Alone>& alone, const Choices& choices) {
    replay::Arguments arguments;
    arguments.inputs = inputs;
    if (choices.is_written) arguments.output = output_folder();
    arguments.tail_us = choices.tail_us;
    arguments.split = choices.split;
    fuzz::start_node(driver, 0);
    driver.prepare({inputs,
                    arguments.output,
                    1,
                    arguments.tail_us,
                    {mcore::set_clock, mcore::next_timer},
                    choices.events,
                    choices.split});
    mc_debug = mld_debug = choices.debug;
    driver.start();
    fuzz::run_packet_task();
    must(driver.wait_until_finished(std::chrono::milliseconds(0)), "the replay ends");
    fuzz::check_core(nullptr, {});
    const capture::Report report = driver.report();
    check_counts(inputs, alone, report);
    if (choices.is_written) check_written(report, choices.is_made);
    if (choices.is_summed_up) check_summary(arguments, report);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const auto& files = *new std::deque<fuzz::MemoryFile>(kMostFiles);
    static constexpr std::array<std::uint8_t, kMostFiles> kPorts{0, 29, 2};
    begin_chances(data, size);
    const std::uint8_t choice = next_byte();
    // All by this byte, or the inputs of the corpus would mean something else.
    const bool is_made = choice < 128;
    const bool is_in_gzip = choice / kMostFiles / 6 % 4 == 3;
    const std::size_t count = 1 + choice % kMostFiles;
    capture::Driver driver;
    Choices choices = some_choices(is_made, driver);
    std::vector<capture::Input> inputs;
    for (std::size_t i = 0; i < count; ++i) {
        const Bytes file = is_made ? made_file(is_in_gzip) : plain_file(size / count + 1);
        files[i].put({reinterpret_cast<const char*>(file.data()), file.size()});
        inputs.push_back({kPorts[i], files[i].path()});
    }
    try {
        std::vector<Alone> alone;
        for (const capture::Input& input : inputs) alone.push_back(read_alone(input));
        check_merge(inputs, alone);
        const unsigned kind = choice / kMostFiles % 6;
        const capture::SplitRules rules = some_rules(kind % 3);
        check_split(inputs.front(), rules);
        if (kind < 3) {
            choices.split = rules;
            inputs.resize(1);
            alone.resize(1);
        }
        replay_all(driver, inputs, alone, choices);
    } catch (const capture::CaptureError& error) {
        must(*error.what() != '\0', "a complaint says why");
    }
    return 0;
}
