#include "tools/configuration.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <thread>

#include "node/config/change_plan.h"
#include "node/config/config_file.h"
#include "node/config/difference.h"
#include "node/config/fresh_node.h"
#include "node/config/snapshot.h"
#include "node/console/protocol.h"
#include "node/report/printable.h"
#include "node/usage_error.h"
#include "tools/command_line.h"
#include "tools/console_client.h"
#include "tools/post.h"

namespace commands {
namespace {

using config::Lines;
using config::Snapshot;

constexpr std::chrono::milliseconds kBetweenLooks{10};
constexpr int kLooks = 500;  // at a full queue

Snapshot ask_for_configuration() {
    const auto answer = ask_for_text(console::kConfigWord);
    if (!answer) throw ConsoleError("no node tells us its configuration");
    return config::read_answer(*answer);
}

// ---- Saving -------------------------------------------------------------------------------------

[[noreturn]] void give_up(const std::string& file) {
    throw std::runtime_error(file + ": " + std::strerror(errno));
}

void write_all(int descriptor, const std::string& text, const std::string& file) {
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t written = write(descriptor, text.data() + done, text.size() - done);
        if (written < 0 && errno != EINTR) give_up(file);
        if (written > 0) done += static_cast<std::size_t>(written);
    }
}

// A file beside it takes its place at once, when it is on the disk.
void replace_file(const std::string& file, const std::string& text) {
    constexpr mode_t kReadable = 0644;
    std::string beside = file + ".XXXXXX";
    const int descriptor = mkostemp(beside.data(), O_CLOEXEC);
    if (descriptor < 0) give_up(file);
    try {
        write_all(descriptor, text, file);
        if (fchmod(descriptor, kReadable) != 0 || fsync(descriptor) != 0) give_up(file);
        if (std::rename(beside.c_str(), file.c_str()) != 0) give_up(file);
    } catch (const std::exception&) {
        close(descriptor);
        unlink(beside.c_str());
        throw;
    }
    close(descriptor);
}

// ---- Applying -----------------------------------------------------------------------------------

config::File read_checked(const std::string& file) {
    try {
        return config::read_file(file);
    } catch (const node::UsageError& error) {
        throw UsageError(error.what());
    }
}

Lines lines_of(const config::File& file) {
    Lines lines;
    for (const config::Option& option : file.options) {
        if (option.name == "mld-mode") lines.push_back(config::line_of(option));
    }
    for (const config::Command& command : file.commands) lines.push_back(command.words);
    return lines;
}

// A node that takes commands makes room.
void post_patiently(const Record& record) {
    for (int i = 0;; ++i) {
        try {
            return post(record);
        } catch (const QueueFull&) {
            if (i == kLooks) throw;
        }
        std::this_thread::sleep_for(kBetweenLooks);
    }
}

// Each command is done before the next one is posted, and before the node is asked what came of it.
void carry_out(const std::string& line) {
    const Record record = encode(split(line));
    auto conversation = await_answer(record);
    if (!conversation) throw ConsoleError("the console of the node has no place for us any more");
    post_patiently(record);
    std::puts(report::printable(line).c_str());
    std::fputs(take_answer(*conversation).c_str(), stdout);
}

Notes notes_on_options(const std::string& file, const config::File& wanted,
                       const Snapshot& running) {
    Notes notes;
    for (const config::Option& option : wanted.options) {
        if (config::holds_already(option, running)) continue;
        notes.push_back(file + ":" + std::to_string(option.line) + ": '" + config::line_of(option) +
                        "' holds from the next start of the node on");
    }
    return notes;
}

// Nothing but a file names the mode of MLD, so one that is not named there any more is to go.
void add_note_on_mld_mode(const config::File& wanted, const Snapshot& running, Notes& notes) {
    if (std::ranges::find(wanted.options, "mld-mode", &config::Option::name) !=
        wanted.options.end()) {
        return;
    }
    for (const std::string& line : running.commands()) {
        if (!line.starts_with("mld-mode ")) continue;
        notes.push_back("'" + line + "' holds until the node ends");
    }
}

void add_notes_on_what_is_left(const Lines& wanted, Notes& notes) {
    const Snapshot now = ask_for_configuration();
    for (const std::string& line :
         config::difference(now.commands(), wanted, {now.own_ip, false})) {
        notes.push_back("the node is not as the file says: '" + line + "' is missing");
    }
}

}  // namespace

Notes save_configuration(const std::string& file) {
    const Snapshot running = ask_for_configuration();
    const Snapshot made = fresh_node_after(config::started_as(running), running.commands());
    const Lines not_expressible = config::differing(running.facts, made.facts);
    const std::string text = config::file_text(running, not_expressible);
    if (file.empty()) {
        std::fputs(text.c_str(), stdout);
    } else {
        replace_file(file, text);
    }
    Notes notes;
    for (const std::string& line : not_expressible) notes.push_back("not expressible: " + line);
    return notes;
}

Notes apply_configuration(const std::string& file, bool dry_run) {
    const config::File checked = read_checked(file);
    const Snapshot running = ask_for_configuration();
    const Lines wanted =
        fresh_node_after(config::started_as(running), lines_of(checked)).commands();
    const Lines changes = config::plan_changes(running, wanted);
    Notes notes = notes_on_options(file, checked, running);
    add_note_on_mld_mode(checked, running, notes);
    if (changes.empty()) std::puts("nothing to change");
    for (const std::string& line : changes) {
        if (dry_run) {
            std::puts(report::printable(line).c_str());
        } else {
            carry_out(line);
        }
    }
    if (!dry_run && !changes.empty()) add_notes_on_what_is_left(wanted, notes);
    return notes;
}

}  // namespace commands
