#include "node/config/config_file.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

#include "node/argument_values.h"
#include "node/bound_arguments.h"
#include "node/mld_mode.h"
#include "node/usage_error.h"
#include "tools/values.h"

namespace config {
namespace {

using node::UsageError;
using Words = std::vector<commands::PlacedWord>;

// ---- Options ------------------------------------------------------------------------------------

void check_interface(const std::string& value) { node::check_interface_name(value); }
void check_port(const std::string& value) {
    node::check_interface_name(node::parse_port(value, "INTERFACE").second);
}
void check_onu_id(const std::string& value) { static_cast<void>(node::parse_onu_id(value)); }
void check_mld_mode(const std::string& value) { static_cast<void>(node::parse_mld_mode(value)); }
void check_debug(const std::string& value) { static_cast<void>(node::parse_debug_mask(value)); }
void check_bound(const std::string& value) { static_cast<void>(node::parse_bound(value)); }

// ADDRESS:PORT; whether the address is one of this machine shows when it is served at.
void check_metrics(const std::string& value) {
    const std::size_t colon = value.rfind(':');
    std::uint32_t port = 0;
    const bool is_good = colon != std::string::npos && colon != 0 &&
                         commands::read_number(value.substr(colon + 1), port) && port <= 65535;
    if (!is_good) throw UsageError("metrics: '" + value + "' is not of the form ADDRESS:PORT");
}

struct Known {
    std::string_view name;
    void (*check)(const std::string& value);
};

constexpr std::array<Known, 13> kOptions{{
    {"bridge", check_interface},
    {"uplink", check_interface},
    {"port", check_port},
    {"onu-id", check_onu_id},
    {"mld-mode", check_mld_mode},
    {"debug", check_debug},
    {"metrics", check_metrics},
    {"most-sources", check_bound},
    {"most-group-sources", check_bound},
    {"most-hosts", check_bound},
    {"most-groups", check_bound},
    {"most-addresses", check_bound},
    {"most-ranges", check_bound},
}};

constexpr std::string_view kPort = "port";

// "port 0 eth1" stands for --port 0=eth1.
std::string value_of(const Known& known, const Words& words) {
    const std::size_t needed = known.name == kPort ? 3 : 2;
    if (words.size() != needed) {
        throw UsageError(known.name == kPort ? "port: a number and an interface are needed"
                                             : std::string(known.name) + ": one value is needed");
    }
    return needed == 2 ? words[1].text : words[1].text + "=" + words[2].text;
}

bool is_same(const Option& a, const Option& b) {
    if (a.name != b.name) return false;
    return a.name != kPort ||
           a.value.substr(0, a.value.find('=')) == b.value.substr(0, b.value.find('='));
}

// ---- Commands -----------------------------------------------------------------------------------

// "show", or "mld debug": what such commands begin with.
struct Refused {
    std::array<std::string_view, 2> words;
    std::string_view why;
};

constexpr std::string_view kNoState = "nothing that lasts: it is no configuration";
constexpr std::array<Refused, 7> kRefused{{
    {{"show", ""}, "shows something once: it is no configuration"},
    {{"export", ""}, kNoState},
    {{"test", ""}, "a test: it is no configuration"},
    {{"memory", ""}, kNoState},
    {{"mld", "debug"}, "a trace: it is no configuration"},
    {{"mld", "debug-ports"}, "a trace: it is no configuration"},
    {{"raw", ""}, "a record without a name: it cannot be checked"},
}};

void refuse_what_does_not_last(const Words& words) {
    for (const Refused& refused : kRefused) {
        if (words.front().text != refused.words[0]) continue;
        const bool is_second =
            refused.words[1].empty() || (words.size() > 1 && words[1].text == refused.words[1]);
        if (is_second) throw UsageError(words.front().text + ": " + std::string(refused.why));
    }
}

Command command_of(const Words& words) {
    refuse_what_does_not_last(words);
    std::vector<std::string> texts;
    Command command;
    for (const commands::PlacedWord& word : words) {
        texts.push_back(word.text);
        command.words += (command.words.empty() ? "" : " ") + word.text;
    }
    command.record = commands::encode(texts);
    return command;
}

// ---- Lines --------------------------------------------------------------------------------------

class Reader {
 public:
    explicit Reader(std::string name) : name_(std::move(name)) {}

    void take(const std::string& line) {
        ++line_;
        Words words;
        try {
            words = commands::split_placed(line);
            if (!words.empty()) take(words);
        } catch (const UsageError& error) {
            complain(words, error);
        } catch (const commands::UsageError& error) {
            complain(words, error);
        }
    }

    File file;

 private:
    void take(const Words& words) {
        const auto* const known =
            std::ranges::find(kOptions, std::string_view(words.front().text), &Known::name);
        if (known == kOptions.end()) {
            file.commands.push_back(command_of(words));
            file.commands.back().line = line_;
            return;
        }
        Option option{words.front().text, value_of(*known, words), line_};
        known->check(option.value);
        for (const Option& other : file.options) {
            if (!is_same(option, other)) continue;
            throw UsageError(option.name + ": stands in line " + std::to_string(other.line) +
                             " already");
        }
        file.options.push_back(std::move(option));
    }

    // The column is that of the last word that the complaint repeats, else of the first one.
    [[noreturn]] void complain(const Words& words, const std::runtime_error& error) const {
        const std::string why = error.what();
        std::size_t column = words.empty() ? 1 : words.front().column;
        for (const commands::PlacedWord& word : words) {
            if (why.find("'" + word.text + "'") != std::string::npos) column = word.column;
        }
        throw UsageError(name_ + ":" + std::to_string(line_) + ":" + std::to_string(column) + ": " +
                         why);
    }

    std::string name_;
    std::size_t line_ = 0;
};

}  // namespace

File read_text(const std::string& name, const std::string& text) {
    Reader reader(name);
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) reader.take(line);
    return std::move(reader.file);
}

File read_file(const std::filesystem::path& file) {
    std::ifstream stream(file);
    std::string text{std::istreambuf_iterator<char>(stream), {}};
    // A folder opens and cannot be read; a file that is not there does not open.
    std::error_code unknown;
    if (!stream.is_open() || stream.bad() || std::filesystem::is_directory(file, unknown)) {
        throw UsageError(file.string() + ": cannot be read");
    }
    return read_text(file.string(), text);
}

// Names of interfaces hold nothing that ends such quotes.
std::string quoted(const std::string& word) {
    return word.find_first_of("#'") == std::string::npos ? word : '"' + word + '"';
}

std::string line_of(const Option& option) {
    if (option.name != kPort) return option.name + " " + quoted(option.value);
    const std::size_t equals = option.value.find('=');
    return option.name + " " + option.value.substr(0, equals) + " " +
           quoted(option.value.substr(equals + 1));
}

}  // namespace config
