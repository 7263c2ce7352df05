// mcctl: posts one command on the command queue, by its name, and prints what the node prints on
// it; or follows the console of the node.
//
// The queue belongs to the node. It is never created here: a command that nobody takes would wait
// for a node that starts much later.

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "node/report/printable.h"
#include "tools/command_line.h"
#include "tools/configuration.h"
#include "tools/console_client.h"
#include "tools/documents.h"
#include "tools/post.h"
#include "tools/rule_caution.h"

namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kUnusable = 2;

void print(const std::string& text) { std::fputs(text.c_str(), stdout); }

bool take(std::vector<std::string>& words, std::string_view word) {
    return std::erase(words, word) != 0;
}

void say_note(const std::string& line) {
    if (!line.empty()) std::fprintf(stderr, "mcctl: note: %s\n", report::printable(line).c_str());
}

// The answer to a command that is there for it would be missed.
bool is_for_its_answer(const std::vector<std::string>& words) { return words.front() == "show"; }

void carry_out(const commands::Record& record, const std::vector<std::string>& words) {
    auto conversation = commands::await_answer(record);
    commands::post(record);
    if (conversation) return print(commands::take_answer(*conversation));
    if (is_for_its_answer(words)) say_note("the answer is on the console of the node");
}

void follow(const std::vector<std::string>& words, bool dry_run) {
    if (dry_run) throw commands::UsageError("console posts no record for --dry-run to print");
    if (words.size() != 1) throw commands::UsageError("console stands alone");
    if (commands::follow_console()) say_note("the node has ended");
}

void save_running(const std::vector<std::string>& words, bool dry_run) {
    if (dry_run) throw commands::UsageError("save posts no record for --dry-run to print");
    if (words.size() > 2) throw commands::UsageError("save is followed by a file, or by nothing");
    for (const std::string& note :
         commands::save_configuration(words.size() == 2 ? words[1] : "")) {
        say_note(note);
    }
}

void apply_file(const std::vector<std::string>& words, bool dry_run) {
    if (words.size() != 2) throw commands::UsageError("apply is followed by a file");
    for (const std::string& note : commands::apply_configuration(words[1], dry_run)) say_note(note);
}

void run(std::vector<std::string> words) {
    // These may stand anywhere: no value of a command looks like them.
    const bool dry_run = take(words, "--dry-run");
    const bool wants_help = take(words, "--help") || take(words, "-h");
    if (wants_help) return print(commands::help(words));
    if (words.empty()) throw commands::UsageError("no command: --help lists them");
    if (words.front() == "help") return print(commands::help({words.begin() + 1, words.end()}));
    if (words.front() == "--reference") return print(commands::reference());
    if (words.front() == "completion") {
        if (words.size() != 2 || words[1] != "bash") {
            throw commands::UsageError("completion is followed by bash");
        }
        return print(commands::bash_completion());
    }
    if (words.front() == "console") return follow(words, dry_run);
    if (words.front() == "save") return save_running(words, dry_run);
    if (words.front() == "apply") return apply_file(words, dry_run);
    const commands::Record record = commands::encode(words);
    if (dry_run) {
        print(commands::hex_text(record.bytes) + "\n");
    } else {
        carry_out(record, words);
    }
    say_note(commands::caution(record));
}

int complain(const std::exception& error, int status) {
    std::fprintf(stderr, "mcctl: %s\n", report::printable(error.what()).c_str());
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        run({argv + std::min(argc, 1), argv + argc});
    } catch (const commands::UsageError& error) {
        return complain(error, kUnusable);
    } catch (const std::exception& error) {
        return complain(error, kFailed);
    }
    if (std::fflush(stdout) != 0) {
        std::fprintf(stderr, "mcctl: standard output: %s\n", std::strerror(errno));
        return kFailed;
    }
    return kDone;
}
