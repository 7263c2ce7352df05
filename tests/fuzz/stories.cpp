// Fuzzing of files of timed commands, for libFuzzer: a file is read as a whole, or refused in one
// line that names the place. What was read runs in the order of its times, through the library and
// the multicast core.
//
// An input is such a file.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "command/config_commands.h"
#include "common/bytes.h"
#include "node/command_file.h"
#include "node/core/multicast_core.h"
#include "node/core/state.h"
#include "node/report/printable.h"
#include "node/usage_error.h"
#include "tests/fuzz/chances.h"
#include "tests/fuzz/core_checks.h"
#include "tests/fuzz/node.h"
#include "tests/fuzz/streams.h"
#include "tools/command_line.h"

namespace {

using Story = std::vector<replay::TimedCommand>;

// A switch that takes everything, and no frame ever comes.
class Quiet final : public driver::Driver {
 public:
    std::optional<driver::Delivery> read(std::span<std::uint8_t> /*buf*/) override {
        return std::nullopt;
    }
    bool send(std::int64_t /*port*/, std::span<const std::uint8_t> frame) override {
        return !frame.empty();
    }
    bool set_entry(std::int64_t /*port*/, const driver::MacAddress& /*mac*/,
                   std::uint16_t /*vlan*/) override {
        return true;
    }
    bool remove_entry(std::int64_t /*port*/, const driver::MacAddress& /*mac*/,
                      std::uint16_t /*vlan*/) override {
        return true;
    }
    [[nodiscard]] std::uint8_t onu_id() const override { return onu_id_; }
    void set_onu_id(std::uint8_t onu_id) override { onu_id_ = onu_id; }

 private:
    std::uint8_t onu_id_ = 1;
};

// ---- Reading ------------------------------------------------------------------------------------

void check_complaint(std::string_view why, const std::string& file, std::string_view text) {
    const auto lines = static_cast<std::size_t>(std::ranges::count(text, '\n')) + 1;
    must(why.starts_with(file + ":"), "a complaint names the file");
    why.remove_prefix(file.size() + 1);
    const std::size_t line = std::stoul(std::string(why.substr(0, why.find(':'))));
    must(line >= 1 && line <= lines, "a complaint names a line of the file");
    fuzz::check_complaint(report::printable(why) + "\n");
}

std::optional<Story> read(const fuzz::MemoryFile& file, std::string_view text) {
    file.put(text);
    try {
        return node::read_commands(file.path());
    } catch (const node::UsageError& error) {
        check_complaint(error.what(), file.path(), text);
        return std::nullopt;
    }
}

// ---- What was read ------------------------------------------------------------------------------

// Nothing in its words means something to who splits a line.
bool is_plain(const replay::TimedCommand& command) {
    return command.words.find_first_of("\"'\\#\t\r") == std::string::npos &&
           command.words.find("  ") == std::string::npos && !command.words.ends_with(' ');
}

// The line of a command, its time to the microsecond.
std::string line_of(const replay::TimedCommand& command) {
    constexpr std::uint64_t kMicros = 1'000'000;
    std::string digits = std::to_string(command.after_us % kMicros);
    digits.insert(0, 6 - digits.size(), '0');
    return std::to_string(command.after_us / kMicros) + "." + digits + " " + command.words + "\n";
}

// Written again it is the same. Words of which blanks are part are not told apart there.
void check_again(const fuzz::MemoryFile& file, const Story& story) {
    if (!std::ranges::all_of(story, is_plain)) return;
    std::string text;
    for (const replay::TimedCommand& command : story) text += line_of(command);
    file.put(text);
    Story again;
    try {
        again = node::read_commands(file.path());
    } catch (const node::UsageError&) {
        return;  // a word held blanks
    }
    must(again.size() == story.size(), "a story written again has as many commands");
    for (std::size_t i = 0; i < story.size(); ++i) {
        must(again[i].after_us == story[i].after_us, "the time of a command written again");
        must(again[i].code == story[i].code, "the code of a command written again");
        must(again[i].words == story[i].words, "the words of a command written again");
    }
}

// The library walks a range of a control list address by address, however long it is.
bool is_long_walk(const replay::TimedCommand& command) {
    constexpr std::uint32_t kLong = 256;
    if (command.code != mc::SetControlList::code) return false;
    try {
        const auto bytes = commands::encode(commands::split(command.words)).bytes;
        const auto word = [&bytes](std::uint32_t at) {
            return at + 4 <= bytes.size() ? mc::load_be32(&bytes[at]) : 0;
        };
        return word(mc::SetControlList::end.offset) - word(mc::SetControlList::start.offset) >
               kLong;
    } catch (const commands::UsageError&) {
        return true;  // words that held blanks
    }
}

void run(const Story& story) {
    constexpr std::uint64_t kLongestPause = 300 * mcore::kSecond;
    static Quiet driver;
    driver.set_onu_id(1);
    fuzz::start_node(driver, mcore::kSecond);
    std::size_t ran = 0;
    const auto events = replay::events_of(story, [&ran] { ++ran; });
    must(events.size() == story.size(), "an event for each command");
    std::uint64_t before = 0;
    for (std::size_t i = 0; i < events.size(); ++i) {
        must(events[i].after_us >= before, "commands in the order of their times");
        const std::uint64_t pause = events[i].after_us - before;
        before = events[i].after_us;
        mcore::set_clock(mcore::core().now_us + std::min(pause, kLongestPause));
        if (is_long_walk(story[i])) continue;
        const std::size_t ran_before = ran;
        events[i].run();
        must(ran == ran_before + 1, "a command that ran is counted");
        fuzz::check_core(nullptr, {});
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::MemoryFile file;
    const std::string text(data, data + size);
    const auto story = read(file, text);
    if (!story) return 0;
    for (const replay::TimedCommand& command : *story) {
        must(!command.words.empty() && command.run != nullptr, "a command does something");
        must(command.after_us <= 1'000'000'000'000'000, "the latest time of a command");
    }
    check_again(file, *story);
    run(*story);
    return 0;
}
